// The purchase-order example classes: a whole document read and written again.
#include "BindingTestSupport.h"
#include "support/PurchaseOrderSamples.h"

#include <thread>

namespace BindingTest {
namespace {

using namespace PurchaseOrderSample;

CSerializationContext OrderContext() {
    CSerializationContext context;
    context.SetDefaultNamespaceURI(KvTest::kSampleNamespace);
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

// Every kind of child reads into new objects, which write the same text again; the tables are
// built by many threads at once.
TEST(PurchaseOrder, TablesBuiltByManyThreadsServeThemAllAndTheTextReadsBack) {
    ReleaseMetaData();
    std::vector<std::string> texts(4);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < texts.size(); ++i)
        threads.emplace_back([&texts, i] {
            CSmartPtr<CPurchaseOrder> order = new CPurchaseOrder();
            Read(*order, kOrderText, OrderContext());
            texts[i] = Write(*order, OrderContext());
        });
    for (std::thread& thread : threads) thread.join();
    for (const std::string& text : texts) EXPECT_EQ(text, kOrderText);
}

} // namespace
} // namespace BindingTest
