// The purchase-order example classes: round trips of whole documents and the options of a call.
#include "BindingTestSupport.h"

#include <thread>

#include "../../examples/purchase_order/PurchaseOrder.cpp"

namespace BindingTest {
namespace {

using namespace PurchaseOrderSample;

CSmartPtr<CPurchaseOrder> MakeOrder() {
    CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
    order->SetOrderId(u"PO-1001");
    order->SetCurrency(u"USD");
    order->SetStatus(OrderStatus::Shipped);
    order->GetAnyAttributes()->Add(u"ref", u"A&B", u"urn:partner");
    order->SetCustomer(u"Alice <Smith>");
    order->SetCustomerNumber(4000000000u);
    order->SetPriority(2);
    order->SetExpress(true);
    order->SetShipMethod(u"ground");
    CAddress* billTo = order->GetBillTo();
    billTo->SetName(u"Alice Smith");
    billTo->SetStreet(u"1 Main St");
    billTo->SetCity(u"Springfield");
    billTo->SetZip(u"12345");
    CSmartPtr<CAddress> shipTo = new CAddress();
    shipTo->SetCountry(u"US");
    shipTo->SetName(u"Bob");
    shipTo->SetStreet(u"2 Side St");
    shipTo->SetCity(u"Shelbyville");
    shipTo->SetZip(u"54321");
    order->SetShipTo(shipTo);
    for (int i = 1; i <= 2; ++i) {
        CSmartPtr<CItem> item = new CItem();
        item->SetPartNumber(i == 1 ? u"123-AB" : u"456-CD");
        item->SetProductName(i == 1 ? u"Lawnmower" : u"Baby Monitor");
        item->GetQuantity()->SetValue(i);
        if (i == 2) item->GetQuantity()->SetUnit(u"box");
        item->SetUnitPrice(i == 1 ? 148.95 : 39.5);
        if (i == 1) {
            item->SetGiftWrap(false);
            item->GetTracking()->SetAddedBy(u"web");
            item->GetTracking()->SetLineNumber(1);
            item->GetTracking()->SetComment(u"Confirm this is electric");
        }
        order->GetItems()->Add(item);
    }
    CSmartPtr<CCreditCardPayment> payment = new CCreditCardPayment();
    payment->SetAmount(188.45);
    payment->SetCardHolder(u"Alice Smith");
    payment->SetCardNumber(u"4111111111111111");
    order->SetPayment(payment);
    CSmartPtr<CElement> extension = new CElement(u"note", u"urn:partner");
    extension->SetText(u"leave at the door");
    order->SetExtension(extension);
    return order;
}

CSerializationContext OrderContext() {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(kTargetNamespace);
    context.GetNamespaceAliases().Add(u"xsi", kXsi);
    return context;
}

const char kOrderText[] =
    "<purchaseOrder xmlns=\"urn:kvxml:samples:purchase-order\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
    " orderId=\"PO-1001\" currency=\"USD\" status=\"shipped\" xmlns:AA=\"urn:partner\" AA:ref=\"A&amp;B\">"
    "<customer>Alice &lt;Smith&gt;</customer><customerNumber>4000000000</customerNumber><priority>2</priority>"
    "<express>true</express><shipMethod/>"
    "<billTo><name>Alice Smith</name><street>1 Main St</street><city>Springfield</city><zip>12345</zip></billTo>"
    "<shipTo country=\"US\"><name>Bob</name><street>2 Side St</street><city>Shelbyville</city><zip>54321</zip>"
    "</shipTo>"
    "<item partNumber=\"123-AB\" addedBy=\"web\" lineNumber=\"1\"><productName>Lawnmower</productName>"
    "<quantity>1</quantity><unitPrice>148.95</unitPrice><giftWrap>false</giftWrap>"
    "<comment>Confirm this is electric</comment></item>"
    "<item partNumber=\"456-CD\"><productName>Baby Monitor</productName><quantity unit=\"box\">2</quantity>"
    "<unitPrice>39.5</unitPrice></item>"
    "<payment xsi:type=\"CreditCardPaymentType\"><amount>188.45</amount><cardHolder>Alice Smith</cardHolder>"
    "<cardNumber>4111111111111111</cardNumber></payment>"
    "<AA:note>leave at the door</AA:note></purchaseOrder>";

const char kOrderFormatted[] =
    "<purchaseOrder xmlns=\"urn:kvxml:samples:purchase-order\" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""
    " orderId=\"PO-1001\" currency=\"USD\" status=\"shipped\" xmlns:AA=\"urn:partner\" AA:ref=\"A&amp;B\">\n"
    "\t<customer>Alice &lt;Smith&gt;</customer>\n"
    "\t<customerNumber>4000000000</customerNumber>\n"
    "\t<priority>2</priority>\n"
    "\t<express>true</express>\n"
    "\t<shipMethod/>\n"
    "\t<billTo>\n\t\t<name>Alice Smith</name>\n\t\t<street>1 Main St</street>\n\t\t<city>Springfield</city>\n"
    "\t\t<zip>12345</zip>\n\t</billTo>\n"
    "\t<shipTo country=\"US\">\n\t\t<name>Bob</name>\n\t\t<street>2 Side St</street>\n\t\t<city>Shelbyville</city>\n"
    "\t\t<zip>54321</zip>\n\t</shipTo>\n"
    "\t<item partNumber=\"123-AB\" addedBy=\"web\" lineNumber=\"1\">\n\t\t<productName>Lawnmower</productName>\n"
    "\t\t<quantity>1</quantity>\n\t\t<unitPrice>148.95</unitPrice>\n\t\t<giftWrap>false</giftWrap>\n"
    "\t\t<comment>Confirm this is electric</comment>\n\t</item>\n"
    "\t<item partNumber=\"456-CD\">\n\t\t<productName>Baby Monitor</productName>\n"
    "\t\t<quantity unit=\"box\">2</quantity>\n\t\t<unitPrice>39.5</unitPrice>\n\t</item>\n"
    "\t<payment xsi:type=\"CreditCardPaymentType\">\n\t\t<amount>188.45</amount>\n"
    "\t\t<cardHolder>Alice Smith</cardHolder>\n\t\t<cardNumber>4111111111111111</cardNumber>\n\t</payment>\n"
    "\t<AA:note>leave at the door</AA:note>\n"
    "</purchaseOrder>\n";

TEST(PurchaseOrder, WritesTheWholeDocument) {
    CSmartPtr<CPurchaseOrder> order = MakeOrder();
    EXPECT_EQ(Write(*order, OrderContext()), kOrderText);
    EXPECT_EQ(Write(*order, OrderContext(), true), kOrderFormatted);
}

TEST(PurchaseOrder, ReadsBackEveryKindOfChild) {
    for (const char* text : {kOrderText, kOrderFormatted}) {
        CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
        Read(*order, text, OrderContext());
        EXPECT_EQ(order->GetOrderId(), u"PO-1001");
        EXPECT_EQ(order->GetStatus(), OrderStatus::Shipped);
        ASSERT_EQ(order->GetAnyAttributes()->GetCount(), 1);
        EXPECT_EQ(order->GetCustomer(), u"Alice <Smith>");
        EXPECT_EQ(order->GetCustomerNumber(), 4000000000u);
        EXPECT_EQ(order->GetPriority(), 2);
        EXPECT_EQ(order->GetExpress(), true);
        EXPECT_EQ(order->GetShipMethod(), u"ground");
        EXPECT_EQ(order->GetBillTo()->GetCity(), u"Springfield");
        EXPECT_EQ(order->GetBillTo()->GetCountry(), std::nullopt);
        ASSERT_NE(order->GetShipTo(), nullptr);
        EXPECT_EQ(order->GetShipTo()->GetCountry(), u"US");
        ASSERT_EQ(order->GetItems()->GetCount(), 2);
        CSmartPtr<CItem> first = order->GetItems()->Item(0);
        EXPECT_EQ(first->GetQuantity()->GetValue(), 1u);
        EXPECT_EQ(first->GetQuantity()->GetUnit(), std::nullopt);
        EXPECT_EQ(first->GetUnitPrice(), 148.95);
        EXPECT_EQ(first->GetTracking()->GetAddedBy(), u"web");
        EXPECT_EQ(first->GetTracking()->GetLineNumber(), 1);
        EXPECT_EQ(first->GetTracking()->GetComment(), u"Confirm this is electric");
        EXPECT_EQ(order->GetItems()->Item(1)->GetQuantity()->GetUnit(), u"box");
        CCreditCardPayment* payment = dynamic_cast<CCreditCardPayment*>(order->GetPayment());
        ASSERT_NE(payment, nullptr);
        EXPECT_EQ(payment->GetCardNumber(), u"4111111111111111");
        EXPECT_EQ(payment->GetElementName(), u"payment");
        ASSERT_NE(order->GetExtension(), nullptr);
        EXPECT_EQ(order->GetExtension()->GetText(), u"leave at the door");
        // And writes the same text again.
        EXPECT_EQ(Write(*order, OrderContext()), kOrderText);
    }
}

TEST(PurchaseOrder, DefaultsOfOptionalValues) {
    CSmartPtr<CPurchaseOrder> order = MakeOrder();
    order->SetCurrency(u"EUR");
    CSerializationContext context = OrderContext();
    EXPECT_NE(Write(*order, context).find("currency=\"EUR\""), std::string::npos);
    context.SetNoOptionalAttributeDefaultOutput(true);
    EXPECT_EQ(Write(*order, context).find("currency="), std::string::npos);
    EXPECT_NE(Write(*order, context).find("<shipMethod/>"), std::string::npos);
    context.SetWriteDefaultElementValues(true);
    EXPECT_NE(Write(*order, context).find("<shipMethod>ground</shipMethod>"), std::string::npos);

    CSmartPtr<CPurchaseOrder> back = new CPurchaseOrder();
    Read(*back, Write(*order, context).c_str(), context);
    EXPECT_EQ(back->GetCurrency(), std::nullopt);
    EXPECT_EQ(back->GetShipMethod(), u"ground");
}

TEST(PurchaseOrder, RootOptionsComeInTheirOrder) {
    CSmartPtr<CPurchaseOrder> order = MakeOrder();
    order->SetShipTo(nullptr);
    order->SetExtension(nullptr);
    order->GetAnyAttributes()->Clear();
    order->GetItems()->Remove(1);
    CSerializationContext context;
    context.GetProcessingInstructions().push_back(u"<?xml-stylesheet href=\"po.xsl\"?>");
    context.SetInLineSchema(u"<xs:schema/>");
    context.GetAdditionalRootAttributes()->Add(u"batch", u"7", u"");
    context.SetWriteTypeAttribute(false);
    EXPECT_EQ(Write(*order, context),
              "<?xml-stylesheet href=\"po.xsl\"?>\n\n"
              "<AA:purchaseOrder xmlns:AA=\"urn:kvxml:samples:purchase-order\" batch=\"7\" orderId=\"PO-1001\" "
              "currency=\"USD\" status=\"shipped\" \n<xs:schema/>\n>"
              "<AA:customer>Alice &lt;Smith&gt;</AA:customer><AA:customerNumber>4000000000</AA:customerNumber>"
              "<AA:priority>2</AA:priority><AA:express>true</AA:express><AA:shipMethod/>"
              "<AA:billTo><AA:name>Alice Smith</AA:name><AA:street>1 Main St</AA:street>"
              "<AA:city>Springfield</AA:city><AA:zip>12345</AA:zip></AA:billTo>"
              "<AA:item partNumber=\"123-AB\" addedBy=\"web\" lineNumber=\"1\"><AA:productName>Lawnmower"
              "</AA:productName><AA:quantity>1</AA:quantity><AA:unitPrice>148.95</AA:unitPrice>"
              "<AA:giftWrap>false</AA:giftWrap><AA:comment>Confirm this is electric</AA:comment></AA:item>"
              "<AA:payment><AA:amount>188.45</AA:amount><AA:cardHolder>Alice Smith</AA:cardHolder>"
              "<AA:cardNumber>4111111111111111</AA:cardNumber></AA:payment></AA:purchaseOrder>");
}

TEST(PurchaseOrder, EveryAliasTheContextListsIsDeclared) {
    CSmartPtr<CPurchaseOrder> order = MakeOrder();
    CSerializationContext context = OrderContext();
    context.GetNamespaceAliases().Add(u"p", u"urn:partner");
    context.GetNamespaceAliases().Add(u"q", u"urn:unused");
    const std::string text = Write(*order, context);
    const CNamespaceAliasMap& aliases = context.GetNamespaceAliases();
    for (int32_t i = 0; i < aliases.GetNamespaceCount(); ++i) {
        const std::u16string uri = aliases.GetNamespaceAt(i);
        const std::string declaration =
            " xmlns:" + Narrow(aliases.GetAliasFromNamespace(uri.c_str())) + "=\"" + Narrow(uri) + "\"";
        EXPECT_NE(text.find(declaration), std::string::npos) << declaration;
    }
}

TEST(PurchaseOrder, WritingFailuresListTheElementsFromTheRoot) {
    CSmartPtr<CPurchaseOrder> order = MakeOrder();
    order->GetItems()->Item(1)->SetPartNumber(u"bad");
    EXPECT_EQ(FullMessageOf([&] { Write(*order, OrderContext()); }),
              "Failed to convert the element [purchaseOrder] to XML\nFailed to convert the element [item] to XML\n"
              "Failed to convert attributes to XML\nInvalid Value for partNumber [bad].");
    order = MakeOrder();
    order->GetItems()->Item(0)->GetTracking()->SetLineNumber(0);
    EXPECT_EQ(FullMessageOf([&] { Write(*order, OrderContext()); }),
              "Failed to convert the element [purchaseOrder] to XML\nFailed to convert the element [item] to XML\n"
              "Failed to convert attributes to XML\nFailed to convert attributes to XML\n"
              "Invalid Value for lineNumber [0]");
    order = MakeOrder();
    order->SetPriority(6);
    EXPECT_EQ(FullMessageOf([&] { Write(*order, OrderContext()); }),
              "Failed to convert the element [purchaseOrder] to XML\nInvalid Value for priority [6]");
    order = MakeOrder();
    order->SetPayment(nullptr);
    EXPECT_EQ(FullMessageOf([&] { Write(*order, OrderContext()); }),
              "Failed to convert the element [purchaseOrder] to XML\n"
              "The Property [payment] is mandatory, it may not be NULL");
    order = MakeOrder();
    while (order->GetItems()->GetCount() > 0) order->GetItems()->Remove(0);
    EXPECT_EQ(FullMessageOf([&] { Write(*order, OrderContext()); }),
              "Failed to convert the element [purchaseOrder] to XML\n"
              "The Minimum number of [item] elements allowed in this collection is 1");
}

std::string Replace(std::string text, const std::string& from, const std::string& to) {
    const size_t at = text.find(from);
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

struct OrderFailureCase {
    const char* name;
    std::string xml;
    const char* message;
    const char* path;
};

TEST(PurchaseOrder, ReadingFailuresCarryTheInnermostPath) {
    const std::string good = kOrderText;
    const OrderFailureCase cases[] = {
        {"text of a nested class", Replace(good, "<quantity unit=\"box\">2<", "<quantity unit=\"box\">two<"),
         "Failed to process the element.\nPath: /purchaseOrder/item[2]/quantity", "/purchaseOrder/item[2]/quantity"},
        {"missing mandatory value", Replace(good, "<cardHolder>Alice Smith</cardHolder>", ""),
         "Failed to find the required child element [cardHolder].\nPath: /purchaseOrder/payment",
         "/purchaseOrder/payment"},
        {"unknown payment type", Replace(good, "CreditCardPaymentType", "CashPaymentType"),
         "Failed to find a suitable substitution element for [payment].\nPath: /purchaseOrder", "/purchaseOrder"},
        {"unknown attribute of the target namespace",
         Replace(good, "orderId=", "xmlns:po=\"urn:kvxml:samples:purchase-order\" po:bogus=\"1\" orderId="),
         "Unexpected Attribute found.\nPath: /purchaseOrder/@bogus", "/purchaseOrder/@bogus"},
        {"unknown element", Replace(good, "<payment", "<discount/><payment"),
         "Failed to find a suitable substitution element for [payment].\nPath: /purchaseOrder", "/purchaseOrder"},
        {"invalid enumeration", Replace(good, "status=\"shipped\"", "status=\"lost\""),
         "Failed to process the element.\nPath: /purchaseOrder", "/purchaseOrder"},
        {"missing mandatory attribute", Replace(good, " partNumber=\"456-CD\"", ""),
         "Failed to process the element.\nPath: /purchaseOrder/item[2]", "/purchaseOrder/item[2]"},
        {"nil on the nillable address ends its reading", Replace(good, "<billTo>", "<billTo xsi:nil=\"true\">"),
         "<no exception>", ""},
    };
    for (const OrderFailureCase& c : cases) {
        CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
        std::string message = "<no exception>";
        std::string path;
        try {
            Read(*order, c.xml.c_str(), OrderContext());
        } catch (const CKvException& e) {
            message = Narrow(e.GetMessage());
            path = Narrow(e.GetPath());
        }
        EXPECT_EQ(message, c.message) << c.name;
        EXPECT_EQ(path, c.path) << c.name;
    }
}

TEST(PurchaseOrder, ReadingOptions) {
    const std::string good = kOrderText;
    CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
    CSerializationContext ignoreUnknown = OrderContext();
    ignoreUnknown.SetIgnoreUnknownElements(true);
    Read(*order, Replace(good, "<billTo>", "<discount>5</discount><billTo>").c_str(), ignoreUnknown);
    EXPECT_EQ(order->GetBillTo()->GetCity(), u"Springfield");
    // The abstract payment never skips what stands in front of it.
    EXPECT_EQ(MessageOf([&] { Read(*order, Replace(good, "<payment", "<discount/><payment").c_str(), ignoreUnknown); }),
              "Failed to find a suitable substitution element for [payment].\nPath: /purchaseOrder");

    CSerializationContext ignoreMissing = OrderContext();
    ignoreMissing.SetIgnoreMissingMandatoryElements(true);
    Read(*order, Replace(good, "<customer>Alice &lt;Smith&gt;</customer>", "").c_str(), ignoreMissing);
    EXPECT_EQ(order->GetCustomer(), u"");
    EXPECT_EQ(order->GetCustomerNumber(), 4000000000u);

    CSerializationContext ignoreAttributes = OrderContext();
    ignoreAttributes.SetIgnoreUnknownAttributes(true);
    Read(*order, Replace(good, "<customer>", "<customer note=\"x\">").c_str(), ignoreAttributes);
    EXPECT_EQ(order->GetCustomer(), u"Alice <Smith>");

    // Without namespaces, a document in no namespace reads as well.
    std::string plain = Replace(good, " xmlns=\"urn:kvxml:samples:purchase-order\"", "");
    CSerializationContext noNamespaces;
    noNamespaces.SetIgnoreNamespaces(true);
    Read(*order, plain.c_str(), noNamespaces);
    EXPECT_EQ(order->GetItems()->GetCount(), 2);
    EXPECT_NE(dynamic_cast<CCreditCardPayment*>(order->GetPayment()), nullptr);
}

TEST(PurchaseOrder, ItemCountBounds) {
    CSmartPtr<CPurchaseOrder> order = MakeOrder();
    while (order->GetItems()->GetCount() < 101) {
        CSmartPtr<CItem> item = new CItem();
        item->SetPartNumber(u"999-ZZ");
        item->SetProductName(u"Filler");
        order->GetItems()->Add(item);
    }
    CSerializationContext context = OrderContext();
    EXPECT_EQ(FullMessageOf([&] { Write(*order, context); }),
              "Failed to convert the element [purchaseOrder] to XML\n"
              "The Maximum number of [item] elements allowed in this collection is 100");
    context.SetIgnoreInvalidCollectionCounts(true);
    const std::string text = Write(*order, context);
    CSmartPtr<CPurchaseOrder> back = new CPurchaseOrder();
    EXPECT_EQ(FullMessageOf([&] { Read(*back, text.c_str(), OrderContext()); }),
              "Failed to process the element.\nPath: /purchaseOrder\n"
              "The Maximum number of [item] elements allowed in this collection is 100");
    Read(*back, text.c_str(), context);
    EXPECT_EQ(back->GetItems()->GetCount(), 101);
}

TEST(PurchaseOrder, ReadsBinaryValues) {
    const std::string text = Replace(kOrderText, "<shipMethod/>", "<signature>0aFF10</signature><shipMethod/>");
    CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
    Read(*order, text.c_str(), OrderContext());
    ASSERT_TRUE(order->GetSignature().has_value());
    EXPECT_EQ(order->GetSignature()->GetLength(), 3u);
    EXPECT_EQ(order->GetSignature()->GetAsHexString(), u"0AFF10");
}

TEST(PurchaseOrder, BatchRoundTrip) {
    CSmartPtr<CPurchaseOrderBatch> batch = new CPurchaseOrderBatch();
    batch->SetBatchId(u"B-7");
    for (int i = 0; i < 3; ++i) batch->GetOrders()->Add(MakeOrder());
    const std::string text = Write(*batch, OrderContext());
    CSmartPtr<CPurchaseOrderBatch> back = new CPurchaseOrderBatch();
    Read(*back, text.c_str(), OrderContext());
    EXPECT_EQ(back->GetOrders()->GetCount(), 3);
    EXPECT_EQ(back->GetBatchId(), u"B-7");
    EXPECT_EQ(Write(*back, OrderContext()), text);
}

TEST(PurchaseOrder, TablesAreBuiltOnceAndReleasedThroughCleanMetaData) {
    CSmartPtr<CPurchaseOrder> order = MakeOrder();
    CParentElementInfo* info = order->GetClassInfo();
    EXPECT_EQ(order->GetClassInfo(), info);
    EXPECT_EQ(order->GetClassElementInfoCount(), 11);
    CleanPurchaseOrderMetaData();
    // The next use builds the tables again, and the engine works on them as before.
    EXPECT_EQ(Write(*order, OrderContext()), kOrderText);
}

TEST(PurchaseOrder, TablesBuiltByManyThreadsAtOnceServeThemAll) {
    CleanPurchaseOrderMetaData();
    std::vector<std::string> texts(4);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < texts.size(); ++i)
        threads.emplace_back([&texts, i] {
            CSmartPtr<CPurchaseOrder> order = MakeOrder();
            texts[i] = Write(*order, OrderContext());
        });
    for (std::thread& thread : threads) thread.join();
    for (const std::string& text : texts) EXPECT_EQ(text, kOrderText);
}

} // namespace
} // namespace BindingTest
