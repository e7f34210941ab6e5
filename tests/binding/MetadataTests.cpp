// The records themselves: fields, matching, defaults of wildcards, the release of tables.
#include "BindingTestSupport.h"

namespace BindingTest {
namespace {

TEST(ElementInfo, AnyDefaultNamespace) {
    struct Case {
        const char16_t* pattern;
        const char16_t* defaultNamespace;
        const char* expected;
    };
    const Case cases[] = {
        {u"##any", u"urn:d", "urn:d"},
        {u"##other", u"", "DefaultNamespace"},
        {u"##other", u"urn:d", ""},
        {u"##local", u"urn:d", ""},
        {u"##targetNamespace", u"urn:d", "urn:t"},
        {u"##targetNamespace ##local", u"urn:d", "urn:t"},
        {u"##other urn:x", u"", "DefaultNamespace"},
        {u"urn:x urn:y", u"urn:d", ""},
        {u"urn:x", u"urn:d", ""},
        {u"##any", nullptr, ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(Narrow(CElementInfo::GetAnyDefaultNamespace(c.pattern, c.defaultNamespace, u"urn:t")), c.expected)
            << Narrow(c.pattern);
}

TEST(ElementInfo, ChecksOnlyPrimitiveRecordsAndBaseValidateRefuses) {
    CElementInfoSeqEnumOpt enumRecord(u"e", u"", 0, false, nullptr, nullptr, nullptr);
    KvVariant value;
    value.SetI4(1);
    EXPECT_EQ(MessageOf([&] { enumRecord.CheckRestriction(value); }), "Cannot CheckRestriction for type: i4");
    CElementInfoSeqPrimOpt primitive(u"p", u"", 0, false, ItemType_i4, nullptr, kNone,
                                     CPrimitiveRestrictions(nullptr, -1, -1, u"2", nullptr, nullptr, nullptr, -1, -1,
                                                            -1),
                                     nullptr);
    EXPECT_EQ(MessageOf([&] { primitive.CheckRestriction(value); }), "Invalid Value for p [1]");
    Tables tables(ClassInfo(XmlElementGroupType_Seq), {});
    CTestObject object(tables);
    EXPECT_EQ(MessageOf([&] { primitive.Validate(CSerializationContext(), &object, true, true); }),
              "Not implemented, should never be called");
}

TEST(ElementInfo, PropertyFailuresAreWrapped) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq),
                  {StringOpt(u"far", 20)});
    CTestObject object(tables);
    EXPECT_EQ(FullMessageOf([&] { Write(object, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nFailed to get the property value for [far].\n"
              "bad property index");
}

int g_destroyed = 0;

class CCountedElement : public CElementInfoSeqPrimOpt {
public:
    CCountedElement() : CElementInfoSeqPrimOpt(u"c", u"", 0, false, ItemType_string, nullptr, kNone, NoFacets(),
                                               nullptr) {}
    ~CCountedElement() override { ++g_destroyed; }
};

class CCountedAttribute : public CAttributeInfoPrimitive {
public:
    CCountedAttribute()
        : CAttributeInfoPrimitive(u"c", u"", 0, true, ItemType_string, nullptr, kNone, NoFacets(), nullptr) {}
    ~CCountedAttribute() override { ++g_destroyed; }
};

TEST(CleanMetaData, DestroysEveryRecordAndNullsThePointers) {
    CParentElementInfo* info = nullptr;
    CElementInfo** elements = nullptr;
    CAttributeInfo** attributes = nullptr;
    CXmlGeneratedClass::CleanMetaData(info, elements, attributes);
    EXPECT_EQ(info, nullptr);

    g_destroyed = 0;
    info = ClassInfo(XmlElementGroupType_Seq);
    elements = new CElementInfo* [3] { new CCountedElement(), new CCountedElement(), nullptr };
    attributes = new CAttributeInfo* [2] { new CCountedAttribute(), nullptr };
    CXmlGeneratedClass::CleanMetaData(info, elements, attributes);
    EXPECT_EQ(g_destroyed, 3);
    EXPECT_EQ(info, nullptr);
    EXPECT_EQ(elements, nullptr);
    EXPECT_EQ(attributes, nullptr);
}

// A record matches its element by name and namespace; the class table by any of its records.
TEST(ElementInfo, RecordAndTableMatchNameAndNamespaceUnlessIgnored) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq), {StringOpt(u"a", 0, u"urn:a"), StringOpt(u"b", 1)});
    CTestObject object(tables);
    EXPECT_EQ(object.GetClassElementInfoCount(), 2);
    const CElementInfo& record = *tables.elementInfo[0];
    CXmlDocument document;
    document.LoadXml("<r xmlns:b='urn:b' xmlns:a='urn:a'><a:a/><b:a/><a:x/><b/></r>");
    CXmlElement* same = document.GetDocumentElement()->GetFirstElement();
    CXmlElement* otherNamespace = same->GetNextSiblingElement();
    CXmlElement* otherName = otherNamespace->GetNextSiblingElement();
    CXmlElement* b = otherName->GetNextSiblingElement();
    CSerializationContext strict, ignoring, schemaType2;
    ignoring.SetIgnoreNamespaces(true);
    schemaType2.SetSchemaType(static_cast<SchemaType>(2));
    for (const CSerializationContext* context : {&strict, &ignoring, &schemaType2}) {
        const bool loose = context != &strict;
        EXPECT_FALSE(record.IsThisElement(*context, nullptr));
        EXPECT_TRUE(record.IsThisElement(*context, same));
        EXPECT_EQ(record.IsThisElement(*context, otherNamespace), loose);
        EXPECT_FALSE(record.IsThisElement(*context, otherName));
        EXPECT_FALSE(object.IsElementInList(*context, nullptr));
        EXPECT_TRUE(object.IsElementInList(*context, same) && object.IsElementInList(*context, b));
        EXPECT_EQ(object.IsElementInList(*context, otherNamespace), loose);
        EXPECT_FALSE(object.IsElementInList(*context, otherName));
    }
}

} // namespace
} // namespace BindingTest
