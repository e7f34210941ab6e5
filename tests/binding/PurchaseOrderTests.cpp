// The purchase-order example classes: round trips of whole documents and the options of a call.
#include "BindingTestSupport.h"

#include <cxxabi.h>
#include <random>
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
    const unsigned char signature[] = {0x0a, 0xff, 0x10};
    order->SetSignature(CBinaryData(signature, 3, false));
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
    "<express>true</express><signature>0AFF10</signature><shipMethod/>"
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

TEST(PurchaseOrder, WritesAndReadsBackEveryKindOfChild) {
    CSmartPtr<CPurchaseOrder> order = MakeOrder();
    EXPECT_EQ(Write(*order, OrderContext()), kOrderText);
    // Indented text reads back too; writing again gives the same text, so every value arrived.
    for (const std::string& text : {std::string(kOrderText), Write(*order, OrderContext(), true)}) {
        CSmartPtr<CPurchaseOrder> back = new CPurchaseOrder();
        Read(*back, text.c_str(), OrderContext());
        EXPECT_EQ(Write(*back, OrderContext()), kOrderText);
        EXPECT_EQ(back->GetBillTo()->GetCountry(), std::nullopt);
        EXPECT_EQ(back->GetItems()->Item(0)->GetQuantity()->GetUnit(), std::nullopt);
        CCreditCardPayment* payment = dynamic_cast<CCreditCardPayment*>(back->GetPayment());
        ASSERT_NE(payment, nullptr);
        EXPECT_EQ(payment->GetElementName(), u"payment");
    }
}

TEST(PurchaseOrder, RootOptionsComeInTheirOrder) {
    CSmartPtr<CPurchaseOrder> order = MakeOrder();
    order->GetAnyAttributes()->Clear();
    CSerializationContext context;
    context.GetProcessingInstructions().push_back(u"<?xml-stylesheet href=\"po.xsl\"?>");
    context.SetInLineSchema(u"<xs:schema/>");
    context.GetAdditionalRootAttributes()->Add(u"batch", u"7", u"");
    const std::string text = Write(*order, context);
    EXPECT_EQ(text.substr(0, text.find("<AA:customer>")),
              "<?xml-stylesheet href=\"po.xsl\"?>\n\n"
              "<AA:purchaseOrder xmlns:AA=\"urn:kvxml:samples:purchase-order\" batch=\"7\" orderId=\"PO-1001\" "
              "currency=\"USD\" status=\"shipped\" \n<xs:schema/>\n>");
    // Only the root carries them.
    EXPECT_EQ(text.find("batch", text.find("<AA:customer>")), std::string::npos);
}

TEST(PurchaseOrder, EveryAliasOfTheContextIsDeclaredOnceInUriOrder) {
    CSmartPtr<CPurchaseOrder> order = MakeOrder();
    for (int extra = 0; extra <= 2; ++extra) {
        CSerializationContext context = OrderContext();
        if (extra > 0) context.GetNamespaceAliases().Add(u"q", u"urn:a-first");
        if (extra > 1) context.GetNamespaceAliases().Add(u"p", u"urn:partner");
        std::vector<std::string> expected{" xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\""};
        if (extra > 0) expected.push_back(" xmlns:q=\"urn:a-first\"");
        if (extra > 1) expected.push_back(" xmlns:p=\"urn:partner\"");
        const std::string text = Write(*order, context);
        size_t from = 0;
        for (const std::string& declaration : expected) {
            const size_t at = text.find(declaration, from);
            ASSERT_NE(at, std::string::npos) << extra << declaration << "\n" << text;
            EXPECT_EQ(text.find(declaration, at + 1), std::string::npos) << declaration;
            from = at;
        }
    }
}

TEST(PurchaseOrder, WritingFailuresListTheElementsFromTheRoot) {
    const std::string top = "Failed to convert the element [purchaseOrder] to XML\n";
    const std::string item = top + "Failed to convert the element [item] to XML\nFailed to convert attributes to XML\n";
    const std::pair<std::function<void(CPurchaseOrder&)>, std::string> cases[] = {
        {[](CPurchaseOrder& o) { o.GetItems()->Item(1)->SetPartNumber(u"bad"); },
         item + "Invalid Value for partNumber [bad]."},
        // The attributes of a pseudo child fail inside its parent's attribute line.
        {[](CPurchaseOrder& o) { o.GetItems()->Item(0)->GetTracking()->SetLineNumber(0); },
         item + "Failed to convert attributes to XML\nInvalid Value for lineNumber [0]"},
        {[](CPurchaseOrder& o) { o.SetPriority(6); }, top + "Invalid Value for priority [6]"},
        {[](CPurchaseOrder& o) { o.SetPayment(nullptr); }, top + "The Property [payment] is mandatory, it may not be NULL"},
        {[](CPurchaseOrder& o) { o.GetItems()->Clear(); },
         top + "The Minimum number of [item] elements allowed in this collection is 1"},
    };
    for (const auto& [spoil, message] : cases) {
        CSmartPtr<CPurchaseOrder> order = MakeOrder();
        spoil(*order);
        EXPECT_EQ(FullMessageOf([&] { Write(*order, OrderContext()); }), message);
    }
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

TEST(PurchaseOrder, ReadsBinaryValues) {
    const std::string text = Replace(kOrderText, "0AFF10", "0aFf10");
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


// Mutated orders, under every combination of the reading options, either read or fail with a
// CKvException; a written-back object must write again.
TEST(PurchaseOrder, MutatedDocumentsReadOrFailCleanly) {
    const std::string good = kOrderText;
    const char* const pieces[] = {"<item/>", "<payment/>", "<note/>", " xsi:nil=\"true\"", " xsi:nil=\"maybe\"",
                                  " xsi:type=\"x:y:z\"", " xsi:type=\"CreditCardPaymentType\"", "</item>",
                                  "<quantity>-1</quantity>", "<AA:any/>", "&amp;", "<billTo>", "x", ""};
    std::mt19937 random(16);
    auto pick = [&](size_t n) { return static_cast<size_t>(random() % n); };
    int failures = 0;
    for (int round = 0; round < 2000; ++round) {
        std::string text = good;
        for (int edits = 1 + static_cast<int>(pick(3)); edits > 0; --edits) {
            // Edits at tag boundaries keep most texts well-formed enough to reach the binding.
            size_t at = text.find('<', pick(text.size()));
            if (at == std::string::npos) at = text.size();
            switch (pick(4)) {
            case 0: text.insert(at, pieces[pick(std::size(pieces))]); break;
            case 1: {
                const size_t end = text.find('<', at + 1);
                if (end != std::string::npos) text.erase(at, end - at);
                break;
            }
            case 2: {
                const size_t space = text.find(' ', at);
                if (space != std::string::npos) text.insert(space, pieces[3 + pick(4)]);
                break;
            }
            default: {
                const size_t end = text.find('<', at + 1);
                if (end != std::string::npos) text.insert(at, text.substr(at, end - at));
            }
            }
        }
        CSerializationContext context = OrderContext();
        context.SetIgnoreUnknownElements(round & 1);
        context.SetIgnoreMissingMandatoryElements((round & 3) == 2);
        context.SetIgnoreUnknownAttributes(round & 4);
        context.SetIgnoreNamespaces(round & 8);
        context.SetIgnoreInvalidCollectionCounts(round & 16);
        CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
        try {
            Read(*order, text.c_str(), context);
            Write(*order, context);
        } catch (const CKvException&) {
            ++failures;
        } catch (...) {
            ADD_FAILURE() << abi::__cxa_current_exception_type()->name() << "\n" << text;
            return;
        }
    }
    EXPECT_GT(failures, 0);
    EXPECT_LT(failures, 2000);
}

} // namespace
} // namespace BindingTest
