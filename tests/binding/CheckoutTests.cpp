// The checkout example classes: an all block and a choice of payment methods inside a sequence,
// one alternative of which is a choice without an element; whole documents both ways.
#include "GroupTestSupport.h"

// The purchase-order classes it reuses are compiled with PurchaseOrderTests.cpp.
#include "../../examples/purchase_order/Checkout.cpp"

namespace BindingTest {
namespace {

using namespace PurchaseOrderSample;

CSerializationContext CheckoutContext() {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(kTargetNamespace);
    return context;
}

const char kHead[] = "<checkout xmlns=\"urn:kvxml:samples:purchase-order\"><orderRef>PO-1001</orderRef>";
const char kContact[] =
    "<contact><name>Alice Smith</name><email>alice@example.com</email><phone>+49 30 1234567</phone>"
    "<preferredChannel>post</preferredChannel><postalAddress country=\"US\"><name>Alice Smith</name>"
    "<street>1 Main St</street><city>Springfield</city><zip>12345</zip></postalAddress></contact>";
const char kShortContact[] = "<contact><name>Bob</name><email>bob@example.com</email></contact>";

std::string Document(const std::string& contact, const std::string& payment, const std::string& tail = "") {
    const std::string method = payment.empty() ? "<paymentMethod/>" : "<paymentMethod>" + payment + "</paymentMethod>";
    return kHead + contact + method + tail + "</checkout>";
}

CSmartPtr<CCheckout> MakeCheckout() {
    CSmartPtr<CCheckout> checkout = new CCheckout();
    checkout->SetOrderRef(u"PO-1001");
    CContact* contact = checkout->GetContact();
    contact->SetName(u"Alice Smith");
    contact->SetEmail(u"alice@example.com");
    contact->SetPhone(u"+49 30 1234567");
    contact->SetPreferredChannel(ContactChannel::Post);
    CSmartPtr<CAddress> address = new CAddress();
    address->SetCountry(u"US");
    address->SetName(u"Alice Smith");
    address->SetStreet(u"1 Main St");
    address->SetCity(u"Springfield");
    address->SetZip(u"12345");
    contact->SetPostalAddress(address);
    CSmartPtr<CCard> card = new CCard();
    card->SetHolder(u"Alice Smith");
    card->SetNumber(u"4111111111111111");
    card->SetExpiry(u"2028-04");
    checkout->GetPaymentMethod()->SetCard(card);
    checkout->SetGiftMessage(u"Happy birthday!");
    return checkout;
}

const char kCard[] =
    "<card><holder>Alice Smith</holder><number>4111111111111111</number><expiry>2028-04</expiry></card>";

TEST(Checkout, WritesTheWholeDocument) {
    CSmartPtr<CCheckout> checkout = MakeCheckout();
    EXPECT_EQ(Write(*checkout, CheckoutContext()),
              Document(kContact, kCard, "<giftMessage>Happy birthday!</giftMessage>"));
}

TEST(Checkout, ReadsTheContactInAnyOrder) {
    const std::string shuffled = Document(
        "<contact><postalAddress><name>A</name><street>S</street><city>C</city><zip>Z</zip></postalAddress>"
        "<preferredChannel>phone</preferredChannel><email>a@b.c</email><name>Alice</name></contact>",
        kCard);
    CSmartPtr<CCheckout> checkout = new CCheckout();
    Read(*checkout, shuffled.c_str(), CheckoutContext());
    CContact* contact = checkout->GetContact();
    EXPECT_EQ(contact->GetName(), u"Alice");
    EXPECT_EQ(contact->GetEmail(), u"a@b.c");
    EXPECT_EQ(contact->GetPhone(), std::nullopt);
    EXPECT_EQ(contact->GetPreferredChannel(), ContactChannel::Phone);
    ASSERT_NE(contact->GetPostalAddress(), nullptr);
    EXPECT_EQ(contact->GetPostalAddress()->GetElementName(), u"postalAddress");
    EXPECT_EQ(contact->GetPostalAddress()->GetCity(), u"C");
    // Written back in schema order.
    EXPECT_EQ(Write(*checkout, CheckoutContext()),
              Document("<contact><name>Alice</name><email>a@b.c</email><preferredChannel>phone</preferredChannel>"
                       "<postalAddress><name>A</name><street>S</street><city>C</city><zip>Z</zip></postalAddress>"
                       "</contact>",
                       kCard));
}

struct PaymentCase {
    const char* name;
    const char* payment;     // the content of paymentMethod as read
    const char* written;     // as written back; null: the same
    const char* selected;    // the alternative the setters hold after reading
};

const PaymentCase kPaymentCases[] = {
    {"card", kCard, nullptr, "card"},
    {"bank transfer in schema order",
     "<bankTransfer><iban>DE89370400440532013000</iban><bic>COBADEFFXXX</bic><accountHolder>A. Smith</accountHolder>"
     "</bankTransfer>",
     nullptr, "bankTransfer"},
    {"bank transfer in another order",
     "<bankTransfer><accountHolder>A. Smith</accountHolder><iban>DE89370400440532013000</iban></bankTransfer>",
     "<bankTransfer><iban>DE89370400440532013000</iban><accountHolder>A. Smith</accountHolder></bankTransfer>",
     "bankTransfer"},
    {"invoice", "<invoice><dueInDays>14</dueInDays><purchaseOrderNumber>4711</purchaseOrderNumber></invoice>", nullptr,
     "invoice"},
    {"invoice with the default term", "<invoice><dueInDays/></invoice>", nullptr, "invoice"},
    {"paypal from the wallet group", "<paypalAccount>alice@example.com</paypalAccount>", nullptr, "Wallet"},
    {"gift cards from the wallet group", "<giftCard>GC-1</giftCard><giftCard>GC-2</giftCard>", nullptr, "Wallet"},
    {"no payment method: the optional alternatives excuse it", "", nullptr, ""},
};

class CheckoutPayment : public ::testing::TestWithParam<PaymentCase> {};

TEST_P(CheckoutPayment, RoundTrip) {
    const PaymentCase& c = GetParam();
    CSmartPtr<CCheckout> checkout = new CCheckout();
    Read(*checkout, Document(kShortContact, c.payment).c_str(), CheckoutContext());
    EXPECT_EQ(Narrow(checkout->GetPaymentMethod()->GetSelected()), c.selected);
    EXPECT_EQ(Write(*checkout, CheckoutContext()), Document(kShortContact, c.written ? c.written : c.payment));
}

INSTANTIATE_TEST_SUITE_P(Cases, CheckoutPayment, ::testing::ValuesIn(kPaymentCases),
                         BindingTest::CaseName<PaymentCase>);

TEST(Checkout, ReadValues) {
    CSmartPtr<CCheckout> checkout = new CCheckout();
    Read(*checkout, Document(kShortContact, "<invoice><dueInDays/></invoice>").c_str(), CheckoutContext());
    ASSERT_NE(checkout->GetPaymentMethod()->GetInvoice(), nullptr);
    EXPECT_EQ(checkout->GetPaymentMethod()->GetInvoice()->GetDueInDays(), 30);
    EXPECT_EQ(checkout->GetPaymentMethod()->GetCard(), nullptr);

    Read(*checkout, Document(kShortContact, "<giftCard>GC-1</giftCard><giftCard>GC-2</giftCard>").c_str(),
         CheckoutContext());
    CWallet* wallet = checkout->GetPaymentMethod()->GetWallet();
    ASSERT_NE(wallet, nullptr);
    EXPECT_EQ(wallet->GetPaypalAccount(), std::nullopt);
    ASSERT_EQ(wallet->GetGiftCards()->GetCount(), 2);
    EXPECT_EQ(wallet->GetGiftCards()->Item(1), u"GC-2");
}

const char kFourGiftCards[] = "<giftCard>1</giftCard><giftCard>2</giftCard><giftCard>3</giftCard><giftCard>4</giftCard>";

struct FailureCase {
    const char* name;
    std::string document;
    const char* message; // full message
    const char* path;
};

const FailureCase kFailureCases[] = {
    {"two payment methods", Document(kShortContact, std::string(kCard) + "<invoice><dueInDays>7</dueInDays></invoice>"),
     "Failed read all the elements held within the element [paymentMethod]. The unexpected element [invoice] remains "
     "un processed\nPath: /checkout/paymentMethod",
     "/checkout/paymentMethod"},
    {"contact without email", Document("<contact><name>Bob</name></contact>", kCard),
     "Failed to process the element.\nPath: /checkout/contact\nFailed to find the mandatory element [email].",
     "/checkout/contact"},
    {"contact with two names",
     Document("<contact><name>Bob</name><email>b@c.d</email><name>Rob</name></contact>", kCard),
     "Failed read all the elements held within the element [contact]. The unexpected element [name] remains un "
     "processed\nPath: /checkout/contact",
     "/checkout/contact"},
    {"too many gift cards",
     Document(kShortContact, kFourGiftCards),
     "Failed read all the elements held within the element [paymentMethod]. The unexpected element [giftCard] "
     "remains un processed\nPath: /checkout/paymentMethod",
     "/checkout/paymentMethod"},
};

class CheckoutFailure : public ::testing::TestWithParam<FailureCase> {};

TEST_P(CheckoutFailure, ReportsWithPath) {
    const FailureCase& c = GetParam();
    CSmartPtr<CCheckout> checkout = new CCheckout();
    const Groups::Outcome outcome = Groups::ReadOutcome(*checkout, c.document.c_str(), CheckoutContext());
    EXPECT_EQ(outcome.failed ? outcome.message : "<none>", c.message);
    EXPECT_EQ(outcome.path, c.path);
}

INSTANTIATE_TEST_SUITE_P(Cases, CheckoutFailure, ::testing::ValuesIn(kFailureCases),
                         BindingTest::CaseName<FailureCase>);

TEST(Checkout, WalletWithTooManyGiftCards) {
    // Read with counts ignored, the wallet writes back the same; the collection's own count check
    // refuses it otherwise, although the choice record itself checks no count.
    CSmartPtr<CCheckout> checkout = new CCheckout();
    CSerializationContext lenient = CheckoutContext();
    lenient.SetIgnoreInvalidCollectionCounts(true);
    const std::string four = Document(kShortContact, kFourGiftCards);
    Read(*checkout, four.c_str(), lenient);
    ASSERT_EQ(checkout->GetPaymentMethod()->GetWallet()->GetGiftCards()->GetCount(), 4);
    EXPECT_EQ(Write(*checkout, lenient), four);
    EXPECT_EQ(FullMessageOf([&] { Write(*checkout, CheckoutContext()); }),
              "Failed to convert the element [checkout] to XML\nFailed to convert the element [paymentMethod] to "
              "XML\nFailed to convert the element [Wallet] to XML\nThe Maximum number of [giftCard] elements allowed "
              "in this collection is 3");
}

TEST(Checkout, SettersKeepOneAlternative) {
    CSmartPtr<CCheckout> checkout = MakeCheckout();
    CPaymentMethod* method = checkout->GetPaymentMethod();
    CSmartPtr<CInvoice> invoice = new CInvoice();
    EXPECT_EQ(MessageOf([&] { method->SetInvoice(invoice); }),
              "The Property [card] is already set. Only one element within this class bay be set at a time");
    method->SetCard(nullptr);
    CSmartPtr<CBankTransfer> transfer = new CBankTransfer();
    transfer->SetIban(u"DE89370400440532013000");
    method->SetBankTransfer(transfer);
    EXPECT_EQ(Write(*checkout, CheckoutContext()),
              Document(kContact, "<bankTransfer><iban>DE89370400440532013000</iban></bankTransfer>",
                       "<giftMessage>Happy birthday!</giftMessage>"));
}

} // namespace
} // namespace BindingTest

namespace BindingTest {
namespace {

TEST(CheckoutRobustness, RandomDocumentsReturnOrFail) {
    const std::vector<const char*> names = {
        "orderRef", "contact", "name", "email", "phone", "preferredChannel", "postalAddress", "street", "city", "zip",
        "paymentMethod", "card", "holder", "number", "expiry", "bankTransfer", "iban", "bic", "accountHolder",
        "invoice", "dueInDays", "purchaseOrderNumber", "paypalAccount", "giftCard", "giftMessage"};
    std::mt19937 random(1328);
    CSmartPtr<CCheckout> checkout = new CCheckout();
    for (int i = 0; i < 800; ++i) {
        CSerializationContext context = Groups::RandomContext(random);
        context.SetDefaultNamespaceURI(kTargetNamespace);
        Groups::ReadWriteSurvives(
            *checkout, Groups::RandomDocument(random, names, "checkout", " xmlns='urn:kvxml:samples:purchase-order'"),
            context);
    }
}

} // namespace
} // namespace BindingTest
