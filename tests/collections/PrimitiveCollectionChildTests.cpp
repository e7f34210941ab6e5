#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/KvTestText.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/collections/CXmlTypeCollection.h"
#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;

namespace {

class Strings : public CXmlTypeCollection {
public:
    Strings()
        : CXmlTypeCollection(ItemType_string, u"v", u"", 0, -1, nullptr, -1, -1, nullptr, nullptr, nullptr, nullptr, -1,
                             -1, -1, CWhitespaceUtils::WhitespaceRule_None, nullptr) {}
    int32_t GetCount() const override { return static_cast<int32_t>(texts.size()); }
    void Clear() override { texts.clear(); }
    void Remove(int32_t index) override { texts.erase(texts.begin() + index); }
    void ToXml_Int(CXmlWriter*, bool, const char16_t*, const CSerializationContext&, bool) const override {}
    void AddFromString(const std::u16string& text) override { texts.push_back(KvTest::Narrow(text)); }
    std::vector<std::string> texts;
};

// An item of a collection of primitives holds text only: a child element in it is refused with
// its path, or passed over when unknown elements are ignored.
TEST(PrimitiveCollection, ChildElementInAnItemIsUnexpected) {
    CXmlDocument doc;
    doc.LoadXml(u"<r><v>a</v><v>b<x/></v></r>");
    CXmlElement* first = doc.GetDocumentElement()->GetFirstElement();
    CSmartPtr<Strings> col(new Strings);
    CSerializationContext context;
    EXPECT_EQ(KvTest::MessageOf([&] { col->FromXml_Int(nullptr, first, context, false); }),
              "Failed read all the elements held within the element [v]. The unexpected element [x] remains un "
              "processed\nPath: /r/v[2]/x");
    context.SetIgnoreUnknownElements(true);
    col->Clear();
    EXPECT_EQ(col->FromXml_Int(nullptr, first, context, false), nullptr);
    EXPECT_EQ(col->texts, (std::vector<std::string>{"a", "b"}));
}

} // namespace
