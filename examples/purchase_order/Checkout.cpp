#include "Checkout.h"
#include "SampleSupport.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CElementInfoAll.h"
#include "kvxml/binding/CElementInfoChoice.h"
#include "kvxml/binding/CElementInfoSeq.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/xml/CXmlElement.h"

namespace PurchaseOrderSample {

using namespace KvXmlLib16;
using namespace KvXmlLib16Data;

using namespace Support;

// ---- support ----------------------------------------------------------------------------------

void CleanCheckoutMetaData() {
    CContact::ReleaseMetaData();
    CCard::ReleaseMetaData();
    CBankTransfer::ReleaseMetaData();
    CInvoice::ReleaseMetaData();
    CWallet::ReleaseMetaData();
    CPaymentMethod::ReleaseMetaData();
    CCheckout::ReleaseMetaData();
}

CSmartPtr<CXmlObjectBase> CreateCheckoutClass(int32_t classId, const char16_t* elementName) {
    CSmartPtr<CXmlObjectBase> created;
    switch (classId) {
    case ClassId_Contact: created = new CContact(); break;
    case ClassId_Card: created = new CCard(); break;
    case ClassId_BankTransfer: created = new CBankTransfer(); break;
    case ClassId_Invoice: created = new CInvoice(); break;
    case ClassId_Wallet: created = new CWallet(); break;
    case ClassId_PaymentMethod: created = new CPaymentMethod(); break;
    default: return CreateClass(classId, elementName);
    }
    created->SetElementName(elementName);
    return created;
}

const char16_t* ContactChannelToText(int32_t value) {
    switch (static_cast<ContactChannel>(value)) {
    case ContactChannel::Email: return u"email";
    case ContactChannel::Phone: return u"phone";
    case ContactChannel::Post: return u"post";
    }
    return nullptr;
}

int32_t ContactChannelFromText(const char16_t* text) {
    const std::u16string value = text ? text : u"";
    if (value == u"email") return static_cast<int32_t>(ContactChannel::Email);
    if (value == u"phone") return static_cast<int32_t>(ContactChannel::Phone);
    if (value == u"post") return static_cast<int32_t>(ContactChannel::Post);
    throw CKvInvalidValueException(FormatString(u"Invalid ContactChannel [%s].", value.c_str()));
}

// ---- CContact ---------------------------------------------------------------------------------

CClassTables CContact::s_tables(&CContact::BuildTables);

void CContact::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_All, XmlElementType_Element, u"ContactType",
                                           kTargetNamespace, true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoAllPrimMnd(u"name", kTargetNamespace, Property_Name, false, ItemType_string, nullptr, kPreserve,
                                   kNoFacets, nullptr),
        new CElementInfoAllPrimMnd(u"email", kTargetNamespace, Property_Email, false, ItemType_string, nullptr,
                                   kCollapse, Pattern(u"[^@ ]+@[^@ ]+"), nullptr),
        new CElementInfoAllPrimOpt(u"phone", kTargetNamespace, Property_Phone, false, ItemType_string, nullptr,
                                   kCollapse, kNoFacets, nullptr),
        new CElementInfoAllEnumOpt(u"preferredChannel", kTargetNamespace, Property_PreferredChannel, false,
                                   &ContactChannelToText, &ContactChannelFromText, nullptr),
        new CElementInfoAllClsOpt(u"postalAddress", kTargetNamespace, Property_PostalAddress, XmlElementType_Element,
                                  &CreateCheckoutClass, ClassId_Address),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

CContact::CContact() {
    Init();
    SetElementName(u"contact");
}

void CContact::Init() {
    m_name.clear();
    m_email.clear();
    m_phone.reset();
    m_preferredChannel.reset();
    m_postalAddress = nullptr;
}

void CContact::SetPostalAddress(CAddress* value) {
    if (value) value->SetElementName(u"postalAddress");
    m_postalAddress = value;
}

void CContact::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_Name:
        if (get)
            value.SetString(m_name);
        else
            m_name = value.GetString();
        return;
    case Property_Email:
        if (get)
            value.SetString(m_email);
        else
            m_email = value.GetString();
        return;
    case Property_Phone: get ? GetString(m_phone, value) : SetString(m_phone, value); return;
    case Property_PreferredChannel:
        if (get) {
            if (m_preferredChannel) value.SetI4(static_cast<int32_t>(*m_preferredChannel));
        } else if (value.GetTypeAsEnum() == ItemType_i4 && !value.IsNil()) {
            m_preferredChannel = static_cast<ContactChannel>(value.GetI4());
        } else {
            m_preferredChannel.reset();
        }
        return;
    case Property_PostalAddress:
        if (get)
            value.SetXmlObject(m_postalAddress);
        else
            m_postalAddress = ObjectFrom<CAddress>(value);
        return;
    default: ThrowUnknownProperty(index);
    }
}

// ---- CCard ------------------------------------------------------------------------------------

CClassTables CCard::s_tables(&CCard::BuildTables);

void CCard::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"CardType",
                                           kTargetNamespace, true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqPrimMnd(u"holder", kTargetNamespace, Property_Holder, false, ItemType_string, nullptr,
                                   kPreserve, kNoFacets, nullptr),
        new CElementInfoSeqPrimMnd(u"number", kTargetNamespace, Property_Number, false, ItemType_string, nullptr,
                                   kCollapse, Pattern(u"[0-9]{12,19}"), nullptr),
        new CElementInfoSeqPrimMnd(u"expiry", kTargetNamespace, Property_Expiry, false, ItemType_string, nullptr,
                                   kCollapse, Pattern(u"[0-9]{4}-[0-9]{2}"), nullptr),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

CCard::CCard() {
    Init();
    SetElementName(u"card");
}

void CCard::Init() {
    m_holder.clear();
    m_number.clear();
    m_expiry.clear();
}

void CCard::AccessProperty(int32_t index, bool get, KvVariant& value) {
    std::u16string* text = nullptr;
    switch (index) {
    case Property_Holder: text = &m_holder; break;
    case Property_Number: text = &m_number; break;
    case Property_Expiry: text = &m_expiry; break;
    default: ThrowUnknownProperty(index);
    }
    if (get)
        value.SetString(*text);
    else
        *text = value.GetString();
}

// ---- CBankTransfer ----------------------------------------------------------------------------

CClassTables CBankTransfer::s_tables(&CBankTransfer::BuildTables);

void CBankTransfer::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_All, XmlElementType_Element, u"BankTransferType",
                                           kTargetNamespace, true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoAllPrimMnd(u"iban", kTargetNamespace, Property_Iban, false, ItemType_string, nullptr, kCollapse,
                                   Pattern(u"[A-Z]{2}[0-9]{2}[A-Z0-9]{11,30}"), nullptr),
        new CElementInfoAllPrimOpt(u"bic", kTargetNamespace, Property_Bic, false, ItemType_string, nullptr, kCollapse,
                                   kNoFacets, nullptr),
        new CElementInfoAllPrimOpt(u"accountHolder", kTargetNamespace, Property_AccountHolder, false, ItemType_string,
                                   nullptr, kPreserve, kNoFacets, nullptr),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

CBankTransfer::CBankTransfer() {
    Init();
    SetElementName(u"bankTransfer");
}

void CBankTransfer::Init() {
    m_iban.clear();
    m_bic.reset();
    m_accountHolder.reset();
}

void CBankTransfer::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_Iban:
        if (get)
            value.SetString(m_iban);
        else
            m_iban = value.GetString();
        return;
    case Property_Bic: get ? GetString(m_bic, value) : SetString(m_bic, value); return;
    case Property_AccountHolder: get ? GetString(m_accountHolder, value) : SetString(m_accountHolder, value); return;
    default: ThrowUnknownProperty(index);
    }
}

// ---- CInvoice ---------------------------------------------------------------------------------

CClassTables CInvoice::s_tables(&CInvoice::BuildTables);

void CInvoice::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"InvoiceType",
                                           kTargetNamespace, true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqPrimMnd(
            u"dueInDays", kTargetNamespace, Property_DueInDays, false, ItemType_i4, nullptr, kCollapse,
            CPrimitiveRestrictions(nullptr, -1, -1, u"1", u"90", nullptr, nullptr, -1, -1, -1), u"30"),
        new CElementInfoSeqPrimOpt(u"purchaseOrderNumber", kTargetNamespace, Property_PurchaseOrderNumber, false,
                                   ItemType_string, nullptr, kCollapse, kNoFacets, nullptr),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

CInvoice::CInvoice() {
    Init();
    SetElementName(u"invoice");
}

void CInvoice::Init() {
    m_dueInDays = 30;
    m_purchaseOrderNumber.reset();
}

void CInvoice::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_DueInDays:
        if (get)
            value.SetI4(m_dueInDays);
        else
            m_dueInDays = value.GetI4();
        return;
    case Property_PurchaseOrderNumber:
        get ? GetString(m_purchaseOrderNumber, value) : SetString(m_purchaseOrderNumber, value);
        return;
    default: ThrowUnknownProperty(index);
    }
}

// ---- CGiftCardCol -----------------------------------------------------------------------------

CGiftCardCol::CGiftCardCol() : CXmlCollectionBase(u"giftCard", kTargetNamespace, 1, 3) {}

void CGiftCardCol::Remove(int32_t index) {
    if (index < 0 || index >= GetCount())
        throw CKvInvalidParamException(FormatString(u"Index %d is outside the collection.", index));
    m_codes.erase(m_codes.begin() + index);
}

void CGiftCardCol::ToXml_Int(CXmlWriter* writer, bool, const char16_t* namespaceUri,
                             const CSerializationContext& context, bool) const {
    ValidateCount(context);
    const std::u16string ns = namespaceUri ? namespaceUri : u"";
    for (const std::u16string& code : m_codes) {
        writer->WriteStartElement(m_elementName, ns);
        writer->WriteElementText(code, ItemType_string, false);
        writer->WriteEndElement();
    }
}

CXmlElement* CGiftCardCol::FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext& context, bool) {
    while (element && element->GetLocalName() == m_elementName &&
           (context.GetIgnoreNamespaces() || element->GetNamespaceURI() == m_namespace)) {
        m_codes.push_back(element->GetText());
        element = element->GetNextSiblingElement();
    }
    return element;
}

// ---- CWallet ----------------------------------------------------------------------------------

CClassTables CWallet::s_tables(&CWallet::BuildTables);

void CWallet::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Choice, XmlElementType_Pseudo, u"Wallet",
                                           kTargetNamespace, true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoChoicePrimOpt(u"paypalAccount", kTargetNamespace, Property_PaypalAccount, false,
                                      ItemType_string, nullptr, kCollapse, kNoFacets, nullptr),
        new CElementInfoChoicePrimCol(u"giftCard", kTargetNamespace, Property_GiftCards),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

CWallet::CWallet() {
    Init();
    SetElementName(u"Wallet");
}

void CWallet::Init() {
    m_paypalAccount.reset();
    if (m_giftCards)
        m_giftCards->Clear();
    else
        m_giftCards = new CGiftCardCol();
}

void CWallet::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_PaypalAccount: get ? GetString(m_paypalAccount, value) : SetString(m_paypalAccount, value); return;
    case Property_GiftCards:
        if (get) {
            value.SetXmlObject(m_giftCards);
        } else {
            CSmartPtr<CGiftCardCol> giftCards = ObjectFrom<CGiftCardCol>(value);
            m_giftCards = giftCards ? giftCards : CSmartPtr<CGiftCardCol>(new CGiftCardCol());
        }
        return;
    default: ThrowUnknownProperty(index);
    }
}

// ---- CPaymentMethod ---------------------------------------------------------------------------

CClassTables CPaymentMethod::s_tables(&CPaymentMethod::BuildTables);

void CPaymentMethod::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Choice, XmlElementType_Element, u"PaymentMethodType",
                                           kTargetNamespace, true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoChoiceClsOpt(u"card", kTargetNamespace, Property_Card, XmlElementType_Element,
                                     &CreateCheckoutClass, ClassId_Card),
        new CElementInfoChoiceClsOpt(u"bankTransfer", kTargetNamespace, Property_BankTransfer, XmlElementType_Element,
                                     &CreateCheckoutClass, ClassId_BankTransfer),
        new CElementInfoChoiceClsOpt(u"invoice", kTargetNamespace, Property_Invoice, XmlElementType_Element,
                                     &CreateCheckoutClass, ClassId_Invoice),
        new CElementInfoChoiceClsOpt(u"Wallet", kTargetNamespace, Property_Wallet, XmlElementType_Pseudo,
                                     &CreateCheckoutClass, ClassId_Wallet),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

CPaymentMethod::CPaymentMethod() {
    Init();
    SetElementName(u"paymentMethod");
}

void CPaymentMethod::Init() {
    m_card = nullptr;
    m_bankTransfer = nullptr;
    m_invoice = nullptr;
    m_wallet = nullptr;
    m_selected.clear();
}

void CPaymentMethod::SetCard(CCard* value) {
    Choice_SelectElement(u"card", value, m_selected);
    if (value) value->SetElementName(u"card");
    m_card = value;
}

void CPaymentMethod::SetBankTransfer(CBankTransfer* value) {
    Choice_SelectElement(u"bankTransfer", value, m_selected);
    if (value) value->SetElementName(u"bankTransfer");
    m_bankTransfer = value;
}

void CPaymentMethod::SetInvoice(CInvoice* value) {
    Choice_SelectElement(u"invoice", value, m_selected);
    if (value) value->SetElementName(u"invoice");
    m_invoice = value;
}

void CPaymentMethod::SetWallet(CWallet* value) {
    Choice_SelectElement(u"Wallet", value, m_selected);
    m_wallet = value;
}

void CPaymentMethod::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_Card:
        if (get)
            value.SetXmlObject(m_card);
        else
            SetCard(ObjectFrom<CCard>(value));
        return;
    case Property_BankTransfer:
        if (get)
            value.SetXmlObject(m_bankTransfer);
        else
            SetBankTransfer(ObjectFrom<CBankTransfer>(value));
        return;
    case Property_Invoice:
        if (get)
            value.SetXmlObject(m_invoice);
        else
            SetInvoice(ObjectFrom<CInvoice>(value));
        return;
    case Property_Wallet:
        if (get)
            value.SetXmlObject(m_wallet);
        else
            SetWallet(ObjectFrom<CWallet>(value));
        return;
    default: ThrowUnknownProperty(index);
    }
}

// ---- CCheckout --------------------------------------------------------------------------------

CClassTables CCheckout::s_tables(&CCheckout::BuildTables);

void CCheckout::BuildTables(CClassTables& t) {
    t.m_classInfo = new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"checkout",
                                           kTargetNamespace, true, false, -1, ItemType_Invalid, nullptr, false);
    t.m_elementInfo = ElementTable({
        new CElementInfoSeqPrimMnd(u"orderRef", kTargetNamespace, Property_OrderRef, false, ItemType_string, nullptr,
                                   kCollapse, kNoFacets, nullptr),
        new CElementInfoSeqClsMnd(u"contact", kTargetNamespace, Property_Contact, XmlElementType_Element,
                                  &CreateCheckoutClass, ClassId_Contact, true),
        new CElementInfoSeqClsMnd(u"paymentMethod", kTargetNamespace, Property_PaymentMethod, XmlElementType_Element,
                                  &CreateCheckoutClass, ClassId_PaymentMethod, true),
        new CElementInfoSeqPrimOpt(u"giftMessage", kTargetNamespace, Property_GiftMessage, false, ItemType_string,
                                   nullptr, kPreserve, kNoFacets, nullptr),
    });
    t.m_attributeInfo = EmptyAttributeTable();
}

CCheckout::CCheckout() {
    Init();
    SetElementName(u"checkout");
}

void CCheckout::Init() {
    m_orderRef.clear();
    // Children that always exist are reset in place rather than made anew for every read.
    if (m_contact)
        m_contact->Init();
    else
        m_contact = new CContact();
    if (m_paymentMethod)
        m_paymentMethod->Init();
    else
        m_paymentMethod = new CPaymentMethod();
    m_giftMessage.reset();
}

void CCheckout::AccessProperty(int32_t index, bool get, KvVariant& value) {
    switch (index) {
    case Property_OrderRef:
        if (get)
            value.SetString(m_orderRef);
        else
            m_orderRef = value.GetString();
        return;
    case Property_Contact:
        if (get)
            value.SetXmlObject(m_contact);
        else
            m_contact = ObjectFrom<CContact>(value);
        return;
    case Property_PaymentMethod:
        if (get)
            value.SetXmlObject(m_paymentMethod);
        else
            m_paymentMethod = ObjectFrom<CPaymentMethod>(value);
        return;
    case Property_GiftMessage: get ? GetString(m_giftMessage, value) : SetString(m_giftMessage, value); return;
    default: ThrowUnknownProperty(index);
    }
}

} // namespace PurchaseOrderSample
