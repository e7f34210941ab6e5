#include "BindingTestSupport.h"

#include <memory>
#include <tuple>

using namespace KvXmlLib16;
using BindingTest::MessageOf;

namespace {

const std::string kBoth =
    "The parser can only ignore additional elements, or ignore the fact that some required ones are missing, "
    "you can not ignore both\n";

using Context = CSerializationContext;
// Every boolean option with its default.
const struct Flag {
    void (Context::*set)(bool);
    bool (Context::*get)() const;
    bool initial;
} kFlags[] = {
    {&Context::SetWriteTypeAttribute, &Context::GetWriteTypeAttribute, true},
    {&Context::SetIgnoreInvalidCollectionCounts, &Context::GetIgnoreInvalidCollectionCounts, false},
    {&Context::SetIgnoreMissingChoice, &Context::GetIgnoreMissingChoice, false},
    {&Context::SetIgnoreMissingMandatoryElements, &Context::GetIgnoreMissingMandatoryElements, false},
    {&Context::SetIgnoreUnknownAttributes, &Context::GetIgnoreUnknownAttributes, false},
    {&Context::SetIgnoreNamespaces, &Context::GetIgnoreNamespaces, false},
    {&Context::SetNoOptionalAttributeDefaultOutput, &Context::GetNoOptionalAttributeDefaultOutput, false},
    {&Context::SetWriteDefaultElementValues, &Context::GetWriteDefaultElementValues, false},
    {&Context::SetStripCDATA, &Context::GetStripCDATA, true},
};

} // namespace

TEST(CSerializationContext, FreshContextDefaults) {
    const Context c;
    for (const Flag& f : kFlags) EXPECT_EQ((c.*f.get)(), f.initial);
    EXPECT_FALSE(c.GetIgnoreUnknownElements());
    EXPECT_EQ(c.GetIndentChars(), u"\t");
    EXPECT_EQ(c.GetSchemaType(), SchemaType_Default);
}

// Unknown elements and missing mandatory elements cannot both be ignored; the refused flag stays.
TEST(CSerializationContext, IgnoreFlagsExcludeEachOther) {
    Context c;
    c.SetIgnoreUnknownElements(true);
    EXPECT_EQ(MessageOf([&] { c.SetIgnoreMissingMandatoryElements(true); }),
              kBoth + "Set IgnoreUnknownElements to false before setting IgnoreMissingMandatoryElements to true");
    EXPECT_FALSE(c.GetIgnoreMissingMandatoryElements());
    EXPECT_NO_THROW(c.SetIgnoreMissingMandatoryElements(false));
    c.SetIgnoreUnknownElements(false);
    c.SetIgnoreMissingMandatoryElements(true);
    EXPECT_THROW(c.SetIgnoreUnknownElements(true), CKvInvalidStateException);
    EXPECT_EQ(MessageOf([&] { c.SetIgnoreUnknownElements(true); }),
              kBoth + "Set IgnoreMissingMandatoryElements to false before setting IgnoreUnknownElements to true");
    EXPECT_FALSE(c.GetIgnoreUnknownElements());
    EXPECT_NO_THROW(c.SetIgnoreUnknownElements(false));
}

TEST(CSerializationContext, SchemaTypeTwoIgnoresNamespaces) {
    Context c;
    c.SetSchemaType(SchemaType_NoNamespaces);
    c.SetIgnoreNamespaces(false);
    EXPECT_TRUE(c.GetIgnoreNamespaces());
    EXPECT_EQ(&Context::GetDefaultContext(), &Context::GetDefaultContext());
}

TEST(CSerializationContext, IndentCharsAcceptOnlyBlanksAndTabs) {
    const std::string refused = "IndentChars can only contain Whitespace characters, i.e. \\t or spaces";
    const std::tuple<const char16_t*, std::u16string, std::string> cases[] = {
        {nullptr, u"", "<no exception>"}, {u"", u"", "<no exception>"}, {u" \t\t", u" \t\t", "<no exception>"},
        {u"\tx", u"\t", refused}, {u"\n", u"\t", refused}};
    for (const auto& [input, result, message] : cases) {
        Context context;
        EXPECT_EQ(MessageOf([&] { context.SetIndentChars(input); }), message);
        EXPECT_EQ(context.GetIndentChars(), result);
    }
    EXPECT_THROW(Context().SetIndentChars(u"x"), CKvInvalidParamException);
}

TEST(CSerializationContext, CopyTakesEveryOptionAndOwnsItsAliasMap) {
    Context a;
    for (const Flag& f : kFlags) (a.*f.set)(!f.initial);
    a.SetDefaultNamespaceURI(u"urn:d");
    a.GetNamespaceAliases().Add(u"p", u"urn:p");
    a.GetProcessingInstructions().push_back(u"<?pi?>");
    a.SetInLineSchema(u"<s/>");
    a.SetSchemaType(SchemaType_Other);
    a.SetIndentChars(u"  ");
    Context b(a);
    Context c;
    c.SetIgnoreUnknownElements(true);
    c = a;
    for (const Context* x : {&b, &c}) {
        for (const Flag& f : kFlags) EXPECT_NE((x->*f.get)(), f.initial);
        EXPECT_FALSE(x->GetIgnoreUnknownElements());
        EXPECT_EQ(x->GetDefaultNamespaceURI() + x->GetInLineSchema() + x->GetIndentChars(), u"urn:d<s/>  ");
        EXPECT_EQ(x->GetNamespaceAliases().GetAliasFromNamespace(u"urn:p"), u"p");
        EXPECT_EQ(x->GetProcessingInstructions().size(), 1u);
        EXPECT_EQ(x->GetSchemaType(), SchemaType_Other);
    }
    b.GetNamespaceAliases().Add(u"q", u"urn:q");
    EXPECT_FALSE(a.GetNamespaceAliases().DoesNamespaceExist(u"urn:q"));
    c = c;
    EXPECT_EQ(c.GetNamespaceAliases().GetNamespaceCount(), 1);
}

// The options made on first use are shared by a copy, and released once by the last holder.
TEST(CSerializationContext, CopiesShareTheLazyParts) {
    struct Probe : CSerializationContext {
        void Attach(const std::shared_ptr<int>& marker) {
            m_jsonContext = std::shared_ptr<CJsonContext>(marker, reinterpret_cast<CJsonContext*>(marker.get()));
            m_fiContext = std::shared_ptr<CFastInfosetContext>(marker, reinterpret_cast<CFastInfosetContext*>(marker.get()));
        }
        const void* Json() const { return m_jsonContext.get(); }
        const void* Fi() const { return m_fiContext.get(); }
    };
    std::weak_ptr<int> watch;
    {
        auto marker = std::make_shared<int>(7);
        watch = marker;
        Probe a;
        a.Attach(marker);
        marker.reset();
        Probe b(a);
        Probe c;
        c = b;
        EXPECT_EQ(b.Json(), a.Json());
        EXPECT_EQ(c.Fi(), a.Fi());
    }
    EXPECT_TRUE(watch.expired());
}

TEST(CNamespaceAliasMap, EntriesAndLookups) {
    CNamespaceAliasMap map;
    map.Add(u"b", u"urn:2");
    map.Add(u"a", u"urn:1");
    map.Add(u"x", u"urn:3");
    map.Add(u"c", u"urn:3");  // replaces the alias of urn:3
    map.Add(u"a", u"urn:0");  // two URIs may share an alias
    EXPECT_EQ(map.GetNamespaceCount(), 4);
    EXPECT_EQ(map.GetAliasFromNamespace(u"urn:3"), u"c");
    EXPECT_FALSE(map.DoesAliasExist(u"x"));
    EXPECT_EQ(map.GetNamespaceFromAlias(u"a"), u"urn:0");
    EXPECT_EQ(MessageOf([&] { map.GetNamespaceFromAlias(u"zz"); }), "Namespace alias [zz] not found");

    // Counted from 0 in URI order, as the root's declarations walk it; below 0 stays on the first.
    const std::pair<int32_t, std::u16string> at[] = {{-5, u"urn:0"}, {0, u"urn:0"}, {1, u"urn:1"}, {3, u"urn:3"}};
    for (const auto& [index, uri] : at) EXPECT_EQ(map.GetNamespaceAt(index), uri) << index;
    EXPECT_THROW(map.GetNamespaceAt(4), CKvException);
    EXPECT_THROW(CNamespaceAliasMap().GetNamespaceAt(-1), CKvException);

    map.RemoveNamespace(u"urn:0");
    map.RemoveNamespace(u"urn:absent");
    EXPECT_EQ(map.GetNamespaceFromAlias(u"a"), u"urn:1");
    EXPECT_FALSE(map.DoesNamespaceExist(u"urn:0"));

    // Looking up an unknown URI enters it with an empty alias, even through a const map.
    const CNamespaceAliasMap& constant = map;
    EXPECT_EQ(constant.GetAliasFromNamespace(u"urn:new"), u"");
    EXPECT_EQ(constant.GetNamespaceCount(), 4);
    EXPECT_TRUE(constant.DoesAliasExist(u""));
}

// Random operations with random indexes either answer or fail with a library exception.
TEST(CNamespaceAliasMap, RandomOperationsStayInsideTheMap) {
    std::mt19937 random(11);
    const char16_t* words[] = {u"", u"a", u"b", u"urn:1", u"urn:2", u"urn:3"};
    auto word = [&] { return words[random() % 6]; };
    CNamespaceAliasMap map;
    for (int i = 0; i < 4000; ++i) {
        try {
            switch (random() % 6) {
            case 0: map.Add(word(), word()); break;
            case 1: map.RemoveNamespace(word()); break;
            case 2: map.GetNamespaceFromAlias(word()); break;
            case 3: map.GetAliasFromNamespace(word()); break;
            default: map.GetNamespaceAt(static_cast<int32_t>(random() % 12) - 4); break;
            }
        } catch (const CKvException&) {
        }
    }
}
