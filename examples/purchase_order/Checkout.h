// Checkout documents of the purchase-order schema: who to contact and how the order is paid. They
// show the two other model groups in generated form: an xs:all block of contact details and an
// xs:choice of payment methods, one of whose alternatives is itself a choice without an element.
//
// Schema outline (target namespace urn:kvxml:samples:purchase-order, elementFormDefault qualified):
//   checkout           orderRef; contact (ContactType); paymentMethod (PaymentMethodType); giftMessage?
//   ContactType        xs:all: name, email, phone?, preferredChannel? (email|phone|post),
//                      postalAddress? (AddressType)
//   PaymentMethodType  xs:choice: card (CardType) | bankTransfer (BankTransferType)
//                      | invoice (InvoiceType) | group Wallet
//   CardType           holder, number (pattern [0-9]{12,19}), expiry (pattern [0-9]{4}-[0-9]{2})
//   BankTransferType   xs:all: iban, bic?, accountHolder?
//   InvoiceType        dueInDays (1..90, default 30), purchaseOrderNumber?
//   group Wallet       xs:choice: paypalAccount | giftCard{1..3}
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "PurchaseOrder.h"

#include "kvxml/collections/CXmlCollectionBase.h"

namespace PurchaseOrderSample {

enum CheckoutClassId : int32_t {
    ClassId_Contact = 100,
    ClassId_Card,
    ClassId_BankTransfer,
    ClassId_Invoice,
    ClassId_Wallet,
    ClassId_PaymentMethod
};
// The creator of the checkout classes; other ids go to the purchase-order creator.
CSmartPtr<KvXmlLib16::CXmlObjectBase> CreateCheckoutClass(int32_t classId, const char16_t* elementName);
// Releases the tables of the checkout classes.
void CleanCheckoutMetaData();

enum class ContactChannel : int32_t { Email = 0, Phone = 1, Post = 2 };
const char16_t* ContactChannelToText(int32_t value);
int32_t ContactChannelFromText(const char16_t* text);

// ---- ContactType: an xs:all, the children in any order ------------------------------------------

class CContact : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CContact();
    const std::u16string& GetName() const { return m_name; }
    void SetName(const std::u16string& value) { m_name = value; }
    const std::u16string& GetEmail() const { return m_email; }
    void SetEmail(const std::u16string& value) { m_email = value; }
    const std::optional<std::u16string>& GetPhone() const { return m_phone; }
    void SetPhone(const std::optional<std::u16string>& value) { m_phone = value; }
    const std::optional<ContactChannel>& GetPreferredChannel() const { return m_preferredChannel; }
    void SetPreferredChannel(const std::optional<ContactChannel>& value) { m_preferredChannel = value; }
    CAddress* GetPostalAddress() const { return m_postalAddress; }
    void SetPostalAddress(CAddress* value);

private:
    enum Property { Property_Name, Property_Email, Property_Phone, Property_PreferredChannel, Property_PostalAddress };
    std::u16string m_name;
    std::u16string m_email;
    std::optional<std::u16string> m_phone;
    std::optional<ContactChannel> m_preferredChannel;
    CSmartPtr<CAddress> m_postalAddress;
};

// ---- the alternatives of a payment method ------------------------------------------------------

class CCard : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CCard();
    const std::u16string& GetHolder() const { return m_holder; }
    void SetHolder(const std::u16string& value) { m_holder = value; }
    const std::u16string& GetNumber() const { return m_number; }
    void SetNumber(const std::u16string& value) { m_number = value; }
    const std::u16string& GetExpiry() const { return m_expiry; }
    void SetExpiry(const std::u16string& value) { m_expiry = value; }

private:
    enum Property { Property_Holder, Property_Number, Property_Expiry };
    std::u16string m_holder, m_number, m_expiry;
};

class CBankTransfer : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CBankTransfer();
    const std::u16string& GetIban() const { return m_iban; }
    void SetIban(const std::u16string& value) { m_iban = value; }
    const std::optional<std::u16string>& GetBic() const { return m_bic; }
    void SetBic(const std::optional<std::u16string>& value) { m_bic = value; }
    const std::optional<std::u16string>& GetAccountHolder() const { return m_accountHolder; }
    void SetAccountHolder(const std::optional<std::u16string>& value) { m_accountHolder = value; }

private:
    enum Property { Property_Iban, Property_Bic, Property_AccountHolder };
    std::u16string m_iban;
    std::optional<std::u16string> m_bic, m_accountHolder;
};

class CInvoice : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CInvoice();
    int32_t GetDueInDays() const { return m_dueInDays; }
    void SetDueInDays(int32_t value) { m_dueInDays = value; }
    const std::optional<std::u16string>& GetPurchaseOrderNumber() const { return m_purchaseOrderNumber; }
    void SetPurchaseOrderNumber(const std::optional<std::u16string>& value) { m_purchaseOrderNumber = value; }

private:
    enum Property { Property_DueInDays, Property_PurchaseOrderNumber };
    int32_t m_dueInDays;
    std::optional<std::u16string> m_purchaseOrderNumber;
};

// The repeated giftCard element: 1 to 3 codes.
class CGiftCardCol : public KvXmlLib16::CXmlCollectionBase {
public:
    CGiftCardCol();
    void Add(const std::u16string& code) { m_codes.push_back(code); }
    const std::u16string& Item(int32_t index) const { return m_codes.at(static_cast<size_t>(index)); }
    int32_t GetCount() const override { return static_cast<int32_t>(m_codes.size()); }
    void Clear() override { m_codes.clear(); }
    void Remove(int32_t index) override;

    void ToXml_Int(KvXmlLib16::CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri,
                   const KvXmlLib16::CSerializationContext& context, bool noErrorOnEmptyChoice) const override;
    KvXmlLib16::CXmlElement* FromXml_Int(KvXmlLib16::CXmlElement* parent, KvXmlLib16::CXmlElement* element,
                                         const KvXmlLib16::CSerializationContext& context,
                                         bool ignoreMissingChoice) override;

private:
    std::vector<std::u16string> m_codes;
};

// The group Wallet: a choice with no element of its own; its alternative stands directly in the
// paymentMethod element.
class CWallet : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CWallet();
    const std::optional<std::u16string>& GetPaypalAccount() const { return m_paypalAccount; }
    void SetPaypalAccount(const std::optional<std::u16string>& value) { m_paypalAccount = value; }
    CGiftCardCol* GetGiftCards() const { return m_giftCards; }

private:
    enum Property { Property_PaypalAccount, Property_GiftCards };
    std::optional<std::u16string> m_paypalAccount;
    CSmartPtr<CGiftCardCol> m_giftCards;
};

// ---- PaymentMethodType: an xs:choice; the setters keep one alternative selected ------------------

class CPaymentMethod : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CPaymentMethod();
    CCard* GetCard() const { return m_card; }
    CBankTransfer* GetBankTransfer() const { return m_bankTransfer; }
    CInvoice* GetInvoice() const { return m_invoice; }
    CWallet* GetWallet() const { return m_wallet; }
    // Each throws CKvInvalidStateException while another alternative is set; null clears.
    void SetCard(CCard* value);
    void SetBankTransfer(CBankTransfer* value);
    void SetInvoice(CInvoice* value);
    void SetWallet(CWallet* value);
    // The name of the selected alternative, empty while none is.
    const std::u16string& GetSelected() const { return m_selected; }

private:
    enum Property { Property_Card, Property_BankTransfer, Property_Invoice, Property_Wallet };
    CSmartPtr<CCard> m_card;
    CSmartPtr<CBankTransfer> m_bankTransfer;
    CSmartPtr<CInvoice> m_invoice;
    CSmartPtr<CWallet> m_wallet;
    std::u16string m_selected;
};

// ---- checkout: the root ---------------------------------------------------------------------------

class CCheckout : public KvXmlLib16::CXmlGeneratedClass {
    KVXML_SAMPLE_GENERATED_MEMBERS()
public:
    CCheckout();
    const std::u16string& GetOrderRef() const { return m_orderRef; }
    void SetOrderRef(const std::u16string& value) { m_orderRef = value; }
    CContact* GetContact() const { return m_contact; }
    CPaymentMethod* GetPaymentMethod() const { return m_paymentMethod; }
    const std::optional<std::u16string>& GetGiftMessage() const { return m_giftMessage; }
    void SetGiftMessage(const std::optional<std::u16string>& value) { m_giftMessage = value; }

private:
    enum Property { Property_OrderRef, Property_Contact, Property_PaymentMethod, Property_GiftMessage };
    std::u16string m_orderRef;
    CSmartPtr<CContact> m_contact;
    CSmartPtr<CPaymentMethod> m_paymentMethod;
    std::optional<std::u16string> m_giftMessage;
};

} // namespace PurchaseOrderSample
