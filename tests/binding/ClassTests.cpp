// Child classes, nil objects, classes without an element of their own, attributes, text values,
// collections and abstract children chosen by a factory.
#include "BindingTestSupport.h"

#include "kvxml/binding/CClassfactoryBase.h"

#include <random>

namespace BindingTest {
namespace {

CSerializationContext XsiContext() {
    CSerializationContext context;
    context.GetNamespaceAliases().Add(u"xsi", kXsi);
    return context;
}

// ---- nil objects ------------------------------------------------------------------------------

struct NilFixture {
    Tables child{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"child"), {StringMnd(u"v", 0)},
                 {StringAttribute(u"id", 1)}};
    Tables root{ClassInfo(XmlElementGroupType_Seq),
                {new CElementInfoSeqClsMnd(u"req", u"", 0, XmlElementType_Element, &CreateClass, 0, true),
                 new CElementInfoSeqClsOpt(u"opt", u"", 1, XmlElementType_Element, &CreateClass, 10)}};
    NilFixture() { Define(10, child); }
    void Attach(CTestObject& object) {
        object.onInit = [this](CTestObject& o) {
            o.props[0].SetXmlObject(new CNillableTestObject(child, u"req"));
        };
        object.Init();
    }
};

TEST(NilObject, WritesTagAttributesAndNilOnlyAndReadsNothingBehindNil) {
    NilFixture f;
    CTestObject root(f.root);
    f.Attach(root);
    CNillableTestObject* child = dynamic_cast<CNillableTestObject*>(root.Child(0));
    child->props[0].SetString(u"left out");
    child->props[1].SetString(u"7");
    child->nil = true;
    EXPECT_EQ(Write(root, XsiContext()),
              "<root xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"><req id=\"7\" xsi:nil=\"true\"/></root>");

    const std::string xsi = "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'>";
    Read(root, (xsi + "<req xsi:nil='1' id='9'><junk/></req></root>").c_str(), CSerializationContext());
    child = dynamic_cast<CNillableTestObject*>(root.Child(0));
    EXPECT_TRUE(child->nil);
    EXPECT_EQ(child->Text(0) + "|" + child->Text(1) + "|" + Narrow(child->GetElementName()), "<unset>|9|req");
    // The value false really clears the state.
    Read(root, (xsi + "<req xsi:nil='false'><v>x</v></req></root>").c_str(), CSerializationContext());
    child = dynamic_cast<CNillableTestObject*>(root.Child(0));
    EXPECT_FALSE(child->nil);
    EXPECT_EQ(child->Text(0), "x");
}

TEST(ChildClass, OptionalMadeOnlyWhenItsElementIsThereMandatoryMissingReportedAtTheParent) {
    NilFixture f;
    CTestObject root(f.root);
    f.Attach(root);
    Read(root, "<root><req><v>x</v></req></root>", CSerializationContext());
    EXPECT_EQ(root.Child(1), nullptr);
    Read(root, "<root><req><v>x</v></req><opt id='3'><v>y</v></opt></root>", CSerializationContext());
    ASSERT_NE(root.TestChild(1), nullptr);
    EXPECT_EQ(Narrow(root.TestChild(1)->GetElementName()) + root.TestChild(1)->Text(0) + root.TestChild(1)->Text(1), "opty3");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><req><v>x</v></req><opt id=\"3\"><v>y</v></opt></root>");
    EXPECT_EQ(MessageOf([&] { Read(root, "<root><opt/></root>", CSerializationContext()); }),
              "Failed to find the required child element [req].\nPath: /root");
    CSerializationContext lenient;
    lenient.SetIgnoreMissingMandatoryElements(true);
    CTestObject partial(f.root);
    f.Attach(partial);
    Read(partial, "<root><opt id='4'><v>z</v></opt></root>", lenient);
    ASSERT_NE(partial.TestChild(1), nullptr);
    EXPECT_EQ(partial.TestChild(1)->Text(0) + partial.TestChild(1)->Text(1), "z4");
    root.props[0].SetXmlObject(nullptr);
    EXPECT_EQ(FullMessageOf([&] { Write(root, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nThe Property [req] is mandatory, it may not be NULL");
}

// ---- classes without an element of their own --------------------------------------------------

struct GroupFixture {
    explicit GroupFixture(XmlElementType groupType)
        : group(ClassInfo(XmlElementGroupType_Seq, groupType, u"grp", false), {StringOpt(u"g1", 0)},
                {StringAttribute(u"ga", 1)}),
          root(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"root", false),
               {StringMnd(u"a", 0),
                new CElementInfoSeqClsMnd(u"grp", u"", 1, groupType, &CreateClass, 0, false),
                StringOpt(u"z", 2)}) {}
    void Attach(CTestObject& object) {
        object.onInit = [this](CTestObject& o) { o.props[1].SetXmlObject(new CTestObject(group, u"grp")); };
        object.Init();
    }
    Tables group;
    Tables root;
};

// A class without an element of its own writes its attributes into the parent; an inline one loses them.
TEST(GroupClass, PseudoChildKeepsItsAttributesInTheParentAndInlineLosesThem) {
    for (XmlElementType type : {XmlElementType_Pseudo, XmlElementType_Inline}) {
        GroupFixture f(type);
        CTestObject root(f.root);
        f.Attach(root);
        root.props[0].SetString(u"1");
        root.TestChild(1)->props[0].SetString(u"y");
        root.TestChild(1)->props[1].SetString(u"x");
        const std::string text = Write(root, CSerializationContext());
        EXPECT_EQ(text, type == XmlElementType_Pseudo ? "<root ga=\"x\"><a>1</a><g1>y</g1></root>"
                                                      : "<root><a>1</a><g1>y</g1></root>");
        CTestObject back(f.root);
        f.Attach(back);
        Read(back, text.c_str(), CSerializationContext());
        EXPECT_EQ(back.TestChild(1)->Text(0) + back.TestChild(1)->Text(1), type == XmlElementType_Pseudo ? "yx" : "y<unset>");
        EXPECT_EQ(Write(back, CSerializationContext()), text);
    }
}

TEST(GroupClass, GroupWithoutContentPassesAndUnknownElementsAreOfferedToIt) {
    GroupFixture f(XmlElementType_Pseudo);
    CTestObject root(f.root);
    f.Attach(root);
    Read(root, "<root><a>1</a><z>2</z></root>", CSerializationContext());
    EXPECT_EQ(root.TestChild(1)->Text(0), "<unset>");
    EXPECT_EQ(root.Text(2), "2");
    CSerializationContext ignore;
    ignore.SetIgnoreUnknownElements(true);
    Read(root, "<root><a>1</a><q/><g1>y</g1><z>2</z></root>", ignore);
    EXPECT_EQ(root.TestChild(1)->Text(0), "y");
    EXPECT_EQ(root.Text(2), "2");
}

TEST(GroupClass, OptionalGroupThatTookNothingIsDropped) {
    Tables group(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Pseudo, u"grp", false), {StringOpt(u"g1", 0)});
    Tables root(ClassInfo(XmlElementGroupType_Seq),
                {new CElementInfoSeqClsOpt(u"grp", u"", 0, XmlElementType_Pseudo, &CreateClass, 11),
                 StringOpt(u"z", 1)});
    Define(11, group);
    CTestObject object(root);
    Read(object, "<root><z>1</z></root>", CSerializationContext());
    EXPECT_EQ(object.Child(0), nullptr);
    Read(object, "<root><g1>q</g1><z>1</z></root>", CSerializationContext());
    ASSERT_NE(object.TestChild(0), nullptr);
    EXPECT_EQ(object.TestChild(0)->Text(0), "q");
}

TEST(GroupClass, GroupThatRequiresContentFailsInARealElement) {
    Tables group(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Pseudo, u"grp", false), {StringOpt(u"g1", 0)});
    Tables root(ClassInfo(XmlElementGroupType_Seq),
                {StringMnd(u"a", 0), new CElementInfoSeqClsMnd(u"grp", u"", 1, XmlElementType_Pseudo,
                                                                &CreateClass, 0, true),
                 StringOpt(u"z", 2)});
    CTestObject object(root);
    object.onInit = [&group](CTestObject& o) { o.props[1].SetXmlObject(new CTestObject(group, u"grp")); };
    const std::string missing = "Failed to find the required child element [grp].\nPath: /root";
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><a>1</a><z>2</z></root>", CSerializationContext()); }), missing);
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><a>1</a></root>", CSerializationContext()); }), missing);
    Read(object, "<root><a>1</a><g1>y</g1><z>2</z></root>", CSerializationContext());
    EXPECT_EQ(object.TestChild(1)->Text(0) + object.Text(2), "y2");
}

TEST(GroupClass, CollectionBelowItsMinimumInAGroupReportsNoProgress) {
    Tables item(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"it"), {StringMnd(u"v", 0)});
    Tables group(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Inline, u"grp", false),
                 {new CElementInfoSeqClsCol(u"it", u"", 0, XmlElementType_Element)});
    Tables root(ClassInfo(XmlElementGroupType_Seq),
                {new CElementInfoSeqClsMnd(u"grp", u"", 0, XmlElementType_Inline, &CreateClass, 0, false)});
    CTestObject object(root);
    object.onInit = [&](CTestObject& o) {
        CTestObject* inner = new CTestObject(group, u"grp");
        inner->onInit = [&item](CTestObject& i) { i.props[0].SetXmlObject(new CTestCol(item, u"it", 2, -1)); };
        inner->Init();
        o.props[0].SetXmlObject(inner);
    };
    // No count failure: the group gives its position back and the item, though read, is left over.
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><it><v>1</v></it></root>", CSerializationContext()); }),
              "Failed read all the elements held within the element [root]. The unexpected element [it] remains un "
              "processed\nPath: /root");
    EXPECT_EQ(dynamic_cast<CTestCol*>(object.TestChild(0)->Child(0))->GetCount(), 1);
    Read(object, "<root><it><v>1</v></it><it><v>2</v></it></root>", CSerializationContext());
    EXPECT_EQ(dynamic_cast<CTestCol*>(object.TestChild(0)->Child(0))->GetCount(), 2);
}

// ---- attributes -------------------------------------------------------------------------------

struct AttributeFixture {
    explicit AttributeFixture(bool failIfUnknown = true)
        : tables(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"root", failIfUnknown), {},
                 {StringAttribute(u"id", 0, false),
                  new CAttributeInfoPrimitive(u"opt", u"", 1, true, ItemType_i4, nullptr, kNone,
                                              CPrimitiveRestrictions(nullptr, -1, -1, nullptr, u"9", nullptr, nullptr,
                                                                     -1, -1, -1),
                                              u"5"),
                  new CAttributeInfoEnum(u"kind", u"urn:x", 2, true, &ColourToText, &ColourFromText, u"red"),
                  new CAttributeInfoPrimitive(u"p", u"urn:x", 3, true, ItemType_string, nullptr, kNone, NoFacets(),
                                              nullptr),
                  new CAttributeInfoPrimitive(u"must", u"", 4, false, ItemType_string, nullptr, kNone, NoFacets(),
                                              u"m")}) {}
    Tables tables;
};

TEST(Attributes, WritingFollowsOptionalityAndDefaults) {
    AttributeFixture f;
    CTestObject object(f.tables);
    object.props[0].SetString(u"a");
    object.props[4].SetString(u"m");
    CSerializationContext context;
    context.GetNamespaceAliases().Add(u"x", u"urn:x");
    EXPECT_EQ(Write(object, context), "<root xmlns:x=\"urn:x\" id=\"a\" must=\"m\"/>");
    object.props[1].SetI4(5);
    object.props[2].SetI4(0);
    object.props[3].SetString(u"");
    EXPECT_EQ(Write(object, context),
              "<root xmlns:x=\"urn:x\" id=\"a\" opt=\"5\" x:kind=\"red\" x:p=\"\" must=\"m\"/>");
    // Defaults of optional attributes are left out on request; a mandatory one always stays.
    context.SetNoOptionalAttributeDefaultOutput(true);
    EXPECT_EQ(Write(object, context), "<root xmlns:x=\"urn:x\" id=\"a\" x:p=\"\" must=\"m\"/>");
    object.props[1].SetI4(12);
    EXPECT_EQ(FullMessageOf([&] { Write(object, context); }),
              "Failed to convert the element [root] to XML\nFailed to convert attributes to XML\n"
              "Invalid Value for opt [12]");
    object.props[1].SetI4(1);
    object.props[0] = KvVariant();
    EXPECT_EQ(FullMessageOf([&] { Write(object, context); }),
              "Failed to convert the element [root] to XML\nFailed to convert attributes to XML\n"
              "Invalid Type 0 to convert to string");
}

struct AttributeReadCase {
    const char* name;
    const char* xml;
    bool ignoreNamespaces;
    bool ignoreUnknownAttributes;
    bool failIfUnknown;
    const char* expected; // "id|opt|kind|p" or the full message of the failure
};

const AttributeReadCase kAttributeReadCases[] = {
    {"plain", "<root id='a' opt='7' must='m'/>", false, false, true, "a|7|<unset>|<unset>"},
    {"namespace attributes are skipped",
     "<root xmlns:q='urn:q' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:type='T' "
     "xsi:schemaLocation='a b' id='a' must='m'/>",
     false, false, true, "a|<unset>|<unset>|<unset>"},
    {"qualified attributes", "<root xmlns:y='urn:x' id='a' y:kind='blue' y:p='v' must='m'/>", false, false, true,
     "a|<unset>|2|v"},
    {"missing mandatory attribute after the present ones", "<root opt='7'/>", false, false, true,
     "Failed to process the element.\nPath: /root\nFailed to find the required Attribute [id]."},
    {"unknown attribute", "<root id='a' bogus='1' must='m'/>", false, false, true,
     "Unexpected Attribute found.\nPath: /root/@bogus"},
    {"unknown attribute ignored by the context", "<root id='a' bogus='1' must='m'/>", false, true, true,
     "a|<unset>|<unset>|<unset>"},
    {"unknown attribute dropped by the class", "<root id='a' bogus='1' must='m'/>", false, false, false,
     "a|<unset>|<unset>|<unset>"},
    {"enumeration in another namespace under ignored namespaces",
     "<root xmlns:y='urn:y' id='a' y:kind='green' must='m'/>", true, false, true, "a|<unset>|1|<unset>"},
    {"primitive in another namespace stays unknown under ignored namespaces",
     "<root xmlns:y='urn:y' id='a' y:p='v' must='m'/>", true, false, true,
     "Unexpected Attribute found.\nPath: /root/y:@p"},
    {"nil on a class that cannot be nil", "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' id='a' "
                                          "xsi:nil='false' must='m'/>",
     false, false, true, "Invalid use of 'nil' attribute in non-nillable element.\nPath: /root"},
    {"value that does not convert", "<root id='a' opt='seven' must='m'/>", false, false, true,
     "Failed to process the element.\nPath: /root\nThe value [seven] can not be converted to a i4"},
};

class AttributeRead : public ::testing::TestWithParam<AttributeReadCase> {};

TEST_P(AttributeRead, ReadsOrReports) {
    const AttributeReadCase& c = GetParam();
    AttributeFixture f(c.failIfUnknown);
    CTestObject object(f.tables);
    CSerializationContext context;
    context.SetIgnoreNamespaces(c.ignoreNamespaces);
    context.SetIgnoreUnknownAttributes(c.ignoreUnknownAttributes);
    const Outcome outcome = ReadOutcome(object, c.xml, context);
    EXPECT_EQ(outcome.failed ? outcome.message
                             : object.Text(0) + "|" + object.Text(1) + "|" + object.Text(2) + "|" + object.Text(3),
              c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, AttributeRead, ::testing::ValuesIn(kAttributeReadCases), CaseName<AttributeReadCase>);

TEST(Attributes, FailuresComeAfterTheAttributesBeforeThem) {
    AttributeFixture f;
    CTestObject object(f.tables);
    EXPECT_NE(MessageOf([&] { Read(object, "<root opt='7'/>", CSerializationContext()); }), "<no exception>");
    EXPECT_EQ(object.Text(1), "7");
    object.failOnSet = 1;
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root id='a' opt='7'/>", CSerializationContext()); }),
              "Failed to set the property value [7].\nPath: /root/@opt\nsetter refused");
    EXPECT_EQ(object.Text(0), "a");
}

TEST(Attributes, TypeAttributeIsWrittenForAClassUnderAnotherName) {
    Tables derived(new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"DerivedType", u"", true,
                                          true, -1, ItemType_Invalid, nullptr, false),
                   {}, {StringAttribute(u"id", 0)});
    CTestObject object(derived, u"base");
    object.props[0].SetString(u"1");
    CSerializationContext context = XsiContext();
    EXPECT_EQ(Write(object, context),
              "<base xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" xsi:type=\"DerivedType\" id=\"1\"/>");
    context.SetWriteTypeAttribute(false);
    EXPECT_EQ(Write(object, context), "<base xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" id=\"1\"/>");
    context.SetWriteTypeAttribute(true);
    object.SetElementName(u"DerivedType");
    EXPECT_EQ(Write(object, context),
              "<DerivedType xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\" id=\"1\"/>");
}

// ---- text values ------------------------------------------------------------------------------

TEST(TextValue, WrittenAfterTheChildrenAndReadFromTheText) {
    Tables q(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"q", true, false, 0, ItemType_i4),
             {StringOpt(u"note", 2)}, {StringAttribute(u"unit", 1)});
    CTestObject object(q, u"q");
    object.props[0].SetI4(-12);
    object.props[1].SetString(u"kg");
    EXPECT_EQ(Write(object, CSerializationContext()), "<q unit=\"kg\">-12</q>");
    object.props[2].SetString(u"n");
    EXPECT_EQ(Write(object, CSerializationContext()), "<q unit=\"kg\"><note>n</note>-12</q>");

    CTestObject back(q, u"q");
    Read(back, "<q unit='g'>42</q>", CSerializationContext());
    EXPECT_EQ(back.Text(0), "42");
    EXPECT_EQ(back.Text(1), "g");
    EXPECT_EQ(MessageOf([&] { Read(back, "<q> 42</q>", CSerializationContext()); }), "<no exception>");
    EXPECT_EQ(MessageOf([&] { Read(back, "<q>4 2</q>", CSerializationContext()); }),
              "Failed to process the element.\nPath: /q");
    // A class may ask for the text as it stands.
    Tables raw(new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"q", u"", true, false, 0,
                                    ItemType_i4, nullptr, true),
             {});
    CTestObject text(raw, u"q");
    Read(text, "<q> not a number </q>", CSerializationContext());
    EXPECT_EQ(text.props[0].GetTypeAsEnum(), ItemType_string);
    EXPECT_EQ(text.Text(0), " not a number ");
}

// ---- collections ------------------------------------------------------------------------------

struct CollectionFixture {
    Tables item{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"it"), {StringMnd(u"v", 0)}};
    Tables root{ClassInfo(XmlElementGroupType_Seq),
                {new CElementInfoSeqClsCol(u"it", u"", 0, XmlElementType_Element), StringOpt(u"tail", 1)}};
    void Attach(CTestObject& object) {
        object.onInit = [this](CTestObject& o) { o.props[0].SetXmlObject(new CTestCol(item, u"it", 1, 2)); };
        object.Init();
    }
    static CTestCol* Col(CTestObject& object) { return dynamic_cast<CTestCol*>(object.Child(0)); }
};

TEST(Collection, WritesItemsInOrderAndChecksBoundsFirst) {
    CollectionFixture f;
    CTestObject object(f.root);
    f.Attach(object);
    CSerializationContext context;
    EXPECT_EQ(FullMessageOf([&] { Write(object, context); }),
              "Failed to convert the element [root] to XML\nThe Minimum number of [it] elements allowed in this "
              "collection is 1");
    context.SetIgnoreInvalidCollectionCounts(true);
    EXPECT_EQ(Write(object, context), "<root/>");
    CollectionFixture::Col(object)->Add()->props[0].SetString(u"1");
    CollectionFixture::Col(object)->Add()->props[0].SetString(u"2");
    CollectionFixture::Col(object)->Add()->props[0].SetString(u"3");
    EXPECT_EQ(Write(object, context), "<root><it><v>1</v></it><it><v>2</v></it><it><v>3</v></it></root>");
    context.SetIgnoreInvalidCollectionCounts(false);
    EXPECT_EQ(FullMessageOf([&] { Write(object, context); }),
              "Failed to convert the element [root] to XML\nThe Maximum number of [it] elements allowed in this "
              "collection is 2");
}

TEST(Collection, ReadsRunsOfItemsAndValidatesTheCount) {
    CollectionFixture f;
    CTestObject object(f.root);
    f.Attach(object);
    CSerializationContext context;
    Read(object, "<root><it><v>1</v></it><it><v>2</v></it><tail>t</tail></root>", context);
    ASSERT_EQ(CollectionFixture::Col(object)->GetCount(), 2);
    EXPECT_EQ(CollectionFixture::Col(object)->At(1)->Text(0), "2");
    EXPECT_EQ(object.Text(1), "t");

    const char* three = "<root><it><v>1</v></it><it><v>2</v></it><it><v>3</v></it></root>";
    EXPECT_EQ(FullMessageOf([&] { Read(object, three, context); }),
              "Failed to process the element.\nPath: /root\nThe Maximum number of [it] elements allowed in this "
              "collection is 2");
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root><tail/></root>", context); }),
              "Failed to process the element.\nPath: /root\nThe Minimum number of [it] elements allowed in this "
              "collection is 1");
    context.SetIgnoreInvalidCollectionCounts(true);
    Read(object, three, context);
    EXPECT_EQ(CollectionFixture::Col(object)->GetCount(), 3);
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><it><v>1</v></it><it><w/></it></root>", context); }),
              "Failed to find the required child element [v].\nPath: /root/it[2]");
}

// ---- abstract children ------------------------------------------------------------------------

const Tables* g_cardTables = nullptr;

class CTestFactory : public CClassfactoryBase {
public:
    static CSmartPtr<CXmlObjectBase> Create(CXmlElement* element) {
        if (GetElementType(element) == u"CardType" && GetElementTypeNamespaceUri(element).empty())
            return CSmartPtr<CXmlObjectBase>(new CTestObject(*g_cardTables, u"pay"));
        return CSmartPtr<CXmlObjectBase>();
    }
    using CClassfactoryBase::GetElementType;
    using CClassfactoryBase::GetElementTypeNamespaceUri;
};

struct AbstractFixture {
    explicit AbstractFixture(bool mandatory)
        : card(new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"CardType", u"", true, true,
                                      -1, ItemType_Invalid, nullptr, false),
               {StringMnd(u"no", 0)}),
          root(ClassInfo(XmlElementGroupType_Seq),
               {mandatory ? static_cast<CElementInfo*>(new CElementInfoSeqAbsClsMnd(
                                u"pay", u"", 0, XmlElementType_Element, &CTestFactory::Create))
                          : new CElementInfoSeqAbsClsOpt(u"pay", u"", 0, XmlElementType_Element,
                                                         &CTestFactory::Create)}) {
        g_cardTables = &card;
    }
    Tables card;
    Tables root;
};

TEST(AbstractChild, ClassChosenByTypeAndWrittenBackWithIt) {
    AbstractFixture f(true);
    CTestObject object(f.root);
    const char* xml = "<root xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"><pay xsi:type=\"CardType\">"
                      "<no>42</no></pay></root>";
    Read(object, xml, CSerializationContext());
    ASSERT_NE(object.TestChild(0), nullptr);
    EXPECT_EQ(object.TestChild(0)->Text(0), "42");
    EXPECT_EQ(Write(object, XsiContext()), xml);
}

TEST(AbstractChild, MissingOrUnknownTypeFails) {
    AbstractFixture mandatory(true);
    CTestObject object(mandatory.root);
    const std::string failure = "Failed to find a suitable substitution element for [pay].\nPath: /root";
    EXPECT_EQ(MessageOf([&] { Read(object, "<root/>", CSerializationContext()); }), failure);
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><pay><no>1</no></pay></root>", CSerializationContext()); }),
              failure);
    CSerializationContext ignore;
    ignore.SetIgnoreUnknownElements(true);
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><x/><pay/></root>", ignore); }), failure);

    AbstractFixture optional(false);
    CTestObject other(optional.root);
    EXPECT_EQ(MessageOf([&] { Read(other, "<root/>", CSerializationContext()); }), "<no exception>");
    EXPECT_EQ(MessageOf([&] {
                  Read(other, "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'><pay xsi:type='Other'/></root>",
                       CSerializationContext());
              }),
              "Failed read all the elements held within the element [root]. The unexpected element [pay] remains un "
              "processed\nPath: /root");
}

struct TypeCase {
    const char* xml;
    const char* type;
    const char* ns;
};

TEST(ClassFactory, ReadsTheStatedType) {
    const TypeCase cases[] = {
        {"<e xmlns='urn:e'/>", "", "urn:e"},
        {"<e xmlns='urn:e' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:type='T'/>", "T", "urn:e"},
        {"<e xmlns:p='urn:p' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:type='p:T'/>", "T", "urn:p"},
        {"<e xmlns='urn:e' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:type='q:T'/>", "T", "urn:e"},
        {"<e xmlns:p='urn:p' xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:type='p:T:U'/>", "T:U",
         "urn:p"},
    };
    for (const TypeCase& c : cases) {
        CXmlDocument document;
        document.LoadXml(c.xml);
        EXPECT_EQ(Narrow(CTestFactory::GetElementType(document.GetDocumentElement())), c.type) << c.xml;
        EXPECT_EQ(Narrow(CTestFactory::GetElementTypeNamespaceUri(document.GetDocumentElement())), c.ns) << c.xml;
    }
}


TEST(Nesting, DeepDocumentsAndCyclesFailInsteadOfExhaustingTheStack) {
    Tables node(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"node"),
                {new CElementInfoSeqClsOpt(u"node", u"", 0, XmlElementType_Element, &CreateClass, 20)});
    Define(20, node);
    std::string deep;
    for (int i = 0; i < 5000; ++i) deep += "<node>";
    for (int i = 0; i < 5000; ++i) deep += "</node>";
    CTestObject object(node, u"node");
    const std::string message = FullMessageOf([&] { Read(object, deep.c_str(), CSerializationContext()); });
    EXPECT_NE(message.find("The nesting of elements exceeds 500 levels."), std::string::npos);

    // A modest depth still reads and writes.
    std::string shallow;
    for (int i = 0; i < 100; ++i) shallow += "<node>";
    for (int i = 0; i < 100; ++i) shallow += "</node>";
    Read(object, shallow.c_str(), CSerializationContext());
    std::string written = shallow;
    // The innermost element has no content and closes at once.
    written.replace(99 * 6, 13, "<node/>");
    EXPECT_EQ(Write(object, CSerializationContext()), written);

    // An object that holds itself.
    CSmartPtr<CTestObject> cyclic = new CTestObject(node, u"node");
    cyclic->props[0].SetXmlObject(cyclic);
    EXPECT_NE(FullMessageOf([&] { Write(*cyclic, CSerializationContext()); }).find("exceeds 500 levels"),
              std::string::npos);
    cyclic->props[0] = KvVariant();
}

// Random children for a sequence that holds groups of all three kinds without an element, a
// collection and a wildcard: every reading option ends, and only in CKvException failures.
TEST(Robustness, RandomChildrenThroughEveryGroupKind) {
    Tables item(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"it"), {StringOpt(u"v", 0)});
    Tables pseudo(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Pseudo, u"p", false),
                  {StringOpt(u"g", 0), StringMnd(u"h", 1)}, {StringAttribute(u"ga", 2)});
    Tables choice(ClassInfo(XmlElementGroupType_Choice, XmlElementType_Inline, u"c", false),
                  {ChoicePrim(u"x", 0), ChoicePrim(u"y", 1, ItemType_i4)});
    Tables all(ClassInfo(XmlElementGroupType_All, XmlElementType_Inline, u"l", false),
               {AllPrimMnd(u"m", 0), AllPrimOpt(u"n", 1)});
    Tables root(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"root", false),
                {StringMnd(u"a", 0), new CElementInfoSeqClsMnd(u"p", u"", 1, XmlElementType_Pseudo, &CreateClass, 0, false),
                 new CElementInfoSeqClsMnd(u"c", u"", 2, XmlElementType_Inline, &CreateClass, 0, true),
                 new CElementInfoSeqClsMnd(u"l", u"", 3, XmlElementType_Inline, &CreateClass, 0, false),
                 new CElementInfoSeqClsCol(u"it", u"", 4, XmlElementType_Element),
                 new CElementInfoSeqUntpdOpt(u"AnyElement", u"", 5, u"##any", u"")});
    CTestObject object(root);
    object.onInit = [&](CTestObject& o) {
        o.props[1].SetXmlObject(new CTestObject(pseudo, u"p"));
        o.props[2].SetXmlObject(new CTestObject(choice, u"c"));
        o.props[3].SetXmlObject(new CTestObject(all, u"l"));
        o.props[4].SetXmlObject(new CTestCol(item, u"it", 1, 3));
    };
    // A valid child list, then a few random drops, repeats, swaps and strangers.
    const std::vector<std::string> valid = {"a", "g", "h", "y", "n", "m", "it", "it", "z"};
    std::mt19937 random(3);
    int read = 0;
    for (int round = 0; round < 1500; ++round) {
        std::vector<std::string> names = valid;
        for (int n = static_cast<int>(random() % 4); n > 0; --n) {
            const size_t at = random() % names.size();
            switch (random() % 4) {
            case 0: names.erase(names.begin() + static_cast<std::ptrdiff_t>(at)); break;
            case 1: names.insert(names.begin() + static_cast<std::ptrdiff_t>(at), names[at]); break;
            case 2: std::swap(names[at], names[random() % names.size()]); break;
            default: names.insert(names.begin() + static_cast<std::ptrdiff_t>(at), valid[random() % valid.size()]);
            }
            if (names.empty()) names.push_back("w");
        }
        std::string xml = round % 3 ? "<root ga='1'>" : "<root>";
        for (const std::string& name : names)
            xml += "<" + name + (random() % 8 ? ">1" : "><v>2</v>") + "</" + name + ">";
        xml += "</root>";
        const CSerializationContext context = RandomContext(random);
        read += MessageOf([&] { Read(object, xml.c_str(), context); }) == "<no exception>";
        ReadWriteSurvives(object, xml, context);
    }
    EXPECT_GT(read, 0);
}

} // namespace
} // namespace BindingTest
