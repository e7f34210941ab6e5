#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>

#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CSerializationContext.h"

using namespace KvXmlLib16;

namespace {

const std::u16string kBoth =
    u"The parser can only ignore additional elements, or ignore the fact that some required ones are missing, "
    u"you can not ignore both\n";

std::u16string MessageOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const CKvException& e) {
        return e.GetMessage();
    }
    return u"<no exception>";
}

} // namespace

TEST(CSerializationContext, FreshContextDefaults) {
    const CSerializationContext c;
    EXPECT_TRUE(c.GetWriteTypeAttribute());
    EXPECT_TRUE(c.GetStripCDATA());
    EXPECT_EQ(c.GetIndentChars(), u"\t");
    EXPECT_EQ(c.GetDefaultNamespaceURI(), u"");
    EXPECT_EQ(c.GetInLineSchema(), u"");
    EXPECT_FALSE(c.GetIgnoreInvalidCollectionCounts());
    EXPECT_FALSE(c.GetIgnoreMissingChoice());
    EXPECT_FALSE(c.GetIgnoreMissingMandatoryElements());
    EXPECT_FALSE(c.GetIgnoreUnknownElements());
    EXPECT_FALSE(c.GetIgnoreUnknownAttributes());
    EXPECT_FALSE(c.GetIgnoreNamespaces());
    EXPECT_EQ(c.GetSchemaType(), SchemaType_Default);
    EXPECT_FALSE(c.GetNoOptionalAttributeDefaultOutput());
    EXPECT_FALSE(c.GetWriteDefaultElementValues());
    EXPECT_EQ(c.GetNamespaceAliases().GetNamespaceCount(), 0);
    EXPECT_TRUE(c.GetProcessingInstructions().empty());
}

// Unknown elements and missing mandatory elements cannot both be ignored; the refused flag stays.
TEST(CSerializationContext, IgnoreFlagsExcludeEachOther) {
    CSerializationContext c;
    c.SetIgnoreUnknownElements(true);
    EXPECT_EQ(MessageOf([&] { c.SetIgnoreMissingMandatoryElements(true); }),
              kBoth + u"Set IgnoreUnknownElements to false before setting IgnoreMissingMandatoryElements to true");
    EXPECT_FALSE(c.GetIgnoreMissingMandatoryElements());
    EXPECT_NO_THROW(c.SetIgnoreMissingMandatoryElements(false));
    c.SetIgnoreUnknownElements(false);
    c.SetIgnoreMissingMandatoryElements(true);
    EXPECT_TRUE(c.GetIgnoreMissingMandatoryElements());

    try {
        c.SetIgnoreUnknownElements(true);
        FAIL() << "no exception";
    } catch (const CKvInvalidStateException& e) {
        EXPECT_EQ(e.GetMessage(),
                  kBoth + u"Set IgnoreMissingMandatoryElements to false before setting IgnoreUnknownElements to true");
    }
    EXPECT_FALSE(c.GetIgnoreUnknownElements());
    EXPECT_NO_THROW(c.SetIgnoreUnknownElements(false));
}

TEST(CSerializationContext, SchemaTypeTwoIgnoresNamespaces) {
    CSerializationContext c;
    c.SetSchemaType(SchemaType_NoNamespaces);
    EXPECT_TRUE(c.GetIgnoreNamespaces());
    c.SetIgnoreNamespaces(false);
    EXPECT_TRUE(c.GetIgnoreNamespaces());
    c.SetSchemaType(SchemaType_Other);
    EXPECT_FALSE(c.GetIgnoreNamespaces());
    c.SetIgnoreNamespaces(true);
    EXPECT_TRUE(c.GetIgnoreNamespaces());
}

TEST(CSerializationContext, IndentCharsAcceptOnlyBlanksAndTabs) {
    struct Case {
        const char16_t* input;
        bool accepted;
        std::u16string result;
    };
    const Case cases[] = {
        {nullptr, true, u""}, {u"", true, u""},     {u" \t\t", true, u" \t\t"},
        {u"  ", true, u"  "}, {u"\tx", false, u"\t"}, {u"\n", false, u"\t"},
    };
    for (const Case& c : cases) {
        CSerializationContext context;
        if (c.accepted) {
            context.SetIndentChars(c.input);
        } else {
            try {
                context.SetIndentChars(c.input);
                ADD_FAILURE() << "accepted";
            } catch (const CKvInvalidParamException& e) {
                EXPECT_EQ(e.GetMessage(), u"IndentChars can only contain Whitespace characters, i.e. \\t or spaces");
            }
        }
        EXPECT_EQ(context.GetIndentChars(), c.result);
    }
}

TEST(CSerializationContext, CopyTakesEveryOption) {
    CSerializationContext a;
    a.SetDefaultNamespaceURI(u"urn:d");
    a.SetWriteTypeAttribute(false);
    a.GetNamespaceAliases().Add(u"p", u"urn:p");
    a.GetProcessingInstructions().push_back(u"<?pi?>");
    a.SetInLineSchema(u"<s/>");
    a.SetIgnoreInvalidCollectionCounts(true);
    a.SetIgnoreMissingChoice(true);
    a.SetIgnoreUnknownElements(true);
    a.SetIgnoreUnknownAttributes(true);
    a.SetIgnoreNamespaces(true);
    a.SetSchemaType(SchemaType_Other);
    a.SetNoOptionalAttributeDefaultOutput(true);
    a.SetWriteDefaultElementValues(true);
    a.SetStripCDATA(false);
    a.SetIndentChars(u"  ");

    CSerializationContext b(a);
    CSerializationContext c;
    c.SetIgnoreMissingMandatoryElements(true);
    c = a;
    for (const CSerializationContext* x : {&b, &c}) {
        EXPECT_EQ(x->GetDefaultNamespaceURI(), u"urn:d");
        EXPECT_FALSE(x->GetWriteTypeAttribute());
        EXPECT_EQ(x->GetNamespaceAliases().GetAliasFromNamespace(u"urn:p"), u"p");
        EXPECT_EQ(x->GetProcessingInstructions().size(), 1u);
        EXPECT_EQ(x->GetInLineSchema(), u"<s/>");
        EXPECT_TRUE(x->GetIgnoreInvalidCollectionCounts());
        EXPECT_TRUE(x->GetIgnoreMissingChoice());
        EXPECT_FALSE(x->GetIgnoreMissingMandatoryElements());
        EXPECT_TRUE(x->GetIgnoreUnknownElements());
        EXPECT_TRUE(x->GetIgnoreUnknownAttributes());
        EXPECT_TRUE(x->GetIgnoreNamespaces());
        EXPECT_EQ(x->GetSchemaType(), SchemaType_Other);
        EXPECT_TRUE(x->GetNoOptionalAttributeDefaultOutput());
        EXPECT_TRUE(x->GetWriteDefaultElementValues());
        EXPECT_FALSE(x->GetStripCDATA());
        EXPECT_EQ(x->GetIndentChars(), u"  ");
    }
    // The copies hold their own alias maps.
    b.GetNamespaceAliases().Add(u"q", u"urn:q");
    EXPECT_FALSE(a.GetNamespaceAliases().DoesNamespaceExist(u"urn:q"));
    c = c;
    EXPECT_EQ(c.GetNamespaceAliases().GetNamespaceCount(), 1);
}

// The options made on first use are shared by a copy, and released once by the last holder.
TEST(CSerializationContext, CopiesShareTheLazyParts) {
    struct Probe : CSerializationContext {
        using CSerializationContext::CSerializationContext;
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
        EXPECT_FALSE(watch.expired());
    }
    EXPECT_TRUE(watch.expired());
}

TEST(CSerializationContext, DefaultContextIsOneSharedObject) {
    CSerializationContext& a = CSerializationContext::GetDefaultContext();
    CSerializationContext& b = CSerializationContext::GetDefaultContext();
    EXPECT_EQ(&a, &b);
    a.SetInLineSchema(u"<shared/>");
    EXPECT_EQ(b.GetInLineSchema(), u"<shared/>");
    a.SetInLineSchema(nullptr);
    EXPECT_EQ(b.GetInLineSchema(), u"");
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
    EXPECT_TRUE(map.DoesAliasExist(u"a"));
    EXPECT_EQ(map.GetNamespaceFromAlias(u"a"), u"urn:0");
    EXPECT_EQ(map.GetNamespaceFromAlias(u"b"), u"urn:2");
    EXPECT_TRUE(map.DoesNamespaceExist(u"urn:1"));
    EXPECT_FALSE(map.DoesNamespaceExist(u"urn:9"));
    EXPECT_EQ(map.GetNamespaceCount(), 4);

    struct At {
        int32_t index;
        std::u16string uri;
    };
    for (const At& at : {At{-5, u"urn:0"}, At{0, u"urn:0"}, At{1, u"urn:0"}, At{2, u"urn:1"}, At{3, u"urn:2"}})
        EXPECT_EQ(map.GetNamespaceAt(at.index), at.uri) << at.index;
    EXPECT_THROW(map.GetNamespaceAt(4), CKvException);
    EXPECT_THROW(map.GetNamespaceAt(1000), CKvException);

    EXPECT_EQ(MessageOf([&] { map.GetNamespaceFromAlias(u"zz"); }), u"Namespace alias [zz] not found");

    map.RemoveNamespace(u"urn:0");
    map.RemoveNamespace(u"urn:absent");
    EXPECT_EQ(map.GetNamespaceFromAlias(u"a"), u"urn:1");
    EXPECT_EQ(map.GetNamespaceCount(), 3);
}

// Looking up an unknown URI enters it with an empty alias, even through a const map.
TEST(CNamespaceAliasMap, LookupOfUnknownUriGrowsTheMap) {
    CSerializationContext context;
    const CNamespaceAliasMap& map = context.GetNamespaceAliases();
    EXPECT_EQ(map.GetAliasFromNamespace(u"urn:new"), u"");
    EXPECT_EQ(map.GetNamespaceCount(), 1);
    EXPECT_TRUE(map.DoesNamespaceExist(u"urn:new"));
    EXPECT_TRUE(map.DoesAliasExist(u""));
}
