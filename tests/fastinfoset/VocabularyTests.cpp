#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kvxml/fastinfoset/CFastInfosetContext.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/values/ItemType.h"
#include "support/KvTestText.h"

using namespace KvXmlLib16;
using KvTest::MessageOf;

namespace {

std::vector<std::u16string> Strings(const CFIVocabulary::CFIStringTable& t) { return {t.begin(), t.end()}; }

std::vector<std::vector<uint32_t>> Names(const CFIVocabulary::CFIQNameTable& t) {
    std::vector<std::vector<uint32_t>> out;
    for (const auto& q : t) out.push_back({q.m_prefixIndex, q.m_namespaceIndex, q.m_localNameIndex});
    return out;
}

uint32_t Find(const CFIVocabulary::IndexMap& map, const std::u16string& s) {
    uint32_t index = 0;
    return CFIVocabulary::FindIndex(map, s, index) ? index : 0;
}

} // namespace

TEST(FastInfosetVocabulary, BuiltInEntriesAndQNames) {
    CFIVocabulary v;
    EXPECT_EQ(v.GetRestrictedAlphabets(), (std::vector<std::u16string>{u"0123456789-+.e ", u"0123456789-:TZ "}));
    EXPECT_EQ(Strings(v.GetPrefixNamesTable()), std::vector<std::u16string>{u"xml"});
    EXPECT_EQ(Strings(v.GetNamespaceNamesTable()), std::vector<std::u16string>{kXmlNamespaceURI});
    uint32_t index = 0;
    EXPECT_TRUE(v.FindPrefixNameIndex(u"xml", index) && index == 1);
    EXPECT_TRUE(v.FindNamespaceNameIndex(kXmlNamespaceURI, index) && index == 1);
    EXPECT_FALSE(v.FindLocalNameIndex(u"a", index));

    v.AddElement(u"", u"", u"a");
    v.AddElement(u"", u"", u"a"); // a second time adds nothing
    v.AddElement(u"xml", u"urn:n", u"b");
    v.AddElement(u"p", u"urn:n", u"a");
    v.AddAttribute(u"", u"urn:n", u"b");
    EXPECT_EQ(Names(v.GetElementNamesTable()), (std::vector<std::vector<uint32_t>>{{0, 0, 1}, {1, 2, 2}, {2, 2, 1}}));
    EXPECT_EQ(Names(v.GetAttributeNamesTable()), (std::vector<std::vector<uint32_t>>{{0, 2, 2}}));
    EXPECT_EQ(Strings(v.GetLocalNamesTable()), (std::vector<std::u16string>{u"a", u"b"}));
    EXPECT_EQ(Strings(v.GetPrefixNamesTable()), (std::vector<std::u16string>{u"xml", u"p"}));

    // The public adds append to the table even when the map keeps its older index.
    v.AddPrefixName(u"xml");
    v.AddElementValue(u"x");
    v.AddElementValue(u"x");
    v.AddAttributeValue(u"y");
    EXPECT_EQ(Strings(v.GetPrefixNamesTable()).size(), 3u);
    EXPECT_TRUE(v.FindPrefixNameIndex(u"xml", index) && index == 1);
    EXPECT_EQ(Strings(v.GetCharacterChunksTable()), (std::vector<std::u16string>{u"x", u"x"}));
    EXPECT_EQ(Strings(v.GetAttributeValuesTable()), std::vector<std::u16string>{u"y"});

    // A copy is independent of its source.
    CFIVocabulary copy(v);
    copy.AddLocalName(u"c");
    EXPECT_EQ(Strings(v.GetLocalNamesTable()).size(), 2u);
    EXPECT_EQ(Strings(copy.GetLocalNamesTable()).size(), 3u);
}

TEST(FastInfosetVocabulary, TablesStopAtTheLargestIndex) {
    CFIVocabulary::IndexMap map;
    CFIVocabulary::CFIQNameTable names;
    map.reserve(CFIVocabulary::kMaxTableSize);
    for (uint32_t i = 0; i < CFIVocabulary::kMaxTableSize; ++i) {
        CFIVocabulary::AddValueToMap(std::u16string(reinterpret_cast<const char16_t*>(&i), 2), map);
        CFIVocabulary::AddQNameToVector(0, 0, i + 1, names);
    }
    const uint32_t last = CFIVocabulary::kMaxTableSize - 1;
    EXPECT_EQ(Find(map, std::u16string(reinterpret_cast<const char16_t*>(&last), 2)), CFIVocabulary::kMaxTableSize);
    CFIVocabulary::AddValueToMap(u"one more", map);
    CFIVocabulary::AddQNameToVector(0, 0, 1, names);
    EXPECT_EQ(map.size(), CFIVocabulary::kMaxTableSize);
    EXPECT_EQ(Find(map, u"one more"), 0u);
    EXPECT_EQ(static_cast<size_t>(names.end() - names.begin()), CFIVocabulary::kMaxTableSize);
}

TEST(FastInfosetContext, DefaultsAndSuggestedValues) {
    CSerializationContext sc;
    CFastInfosetContext& c = sc.GetFIContext();
    // The other defaults show in the writer's and the reader's tests.
    EXPECT_EQ(c.GetDefaultStringEncoding(), 0);
    EXPECT_EQ(c.GetElementMaxAddLength(), 6u);

    c.SetEncoding(ItemType_string, {2, 10});
    c.SetEncoding(ItemType_duration, {2, 1});
    c.SetSuggestedValues();
    // kind * 100 + index, by ItemType.
    const uint32_t expected[29] = {0,   201, 202, 203, 203, 204, 205, 203, 204, 205, 205, 207, 208, 0, 102,
                                   102, 102, 102, 102, 102, 102, 102, 0,   210, 206, 101, 101, 0,   0};
    for (uint32_t t = 0; t < 29; ++t) {
        const auto e = c.GetEncoding(t);
        EXPECT_EQ(e.kind == 0 ? 0 : e.kind * 100 + e.index, expected[t]) << t;
    }
    EXPECT_EQ(MessageOf([&] { c.GetEncoding(29); }),
              "Fast Infoset encoding index 29 is out of range; it must be below 29");
    EXPECT_THROW(c.SetEncoding(static_cast<uint32_t>(-1), {0, 0}), CKvException);
}
