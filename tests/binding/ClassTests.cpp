// Child classes, nil objects, classes without an element of their own, attributes, text values,
// collections and abstract children chosen by a factory.
#include "BindingTestSupport.h"

#include "kvxml/binding/CClassfactoryBase.h"

namespace BindingTest {
namespace {

constexpr auto kNone = CWhitespaceUtils::WhitespaceRule_None;

CElementInfo* StringMnd(const char16_t* name, int32_t index) {
    return new CElementInfoSeqPrimMnd(name, u"", index, false, ItemType_string, nullptr, kNone, NoFacets(), nullptr);
}
CElementInfo* StringOpt(const char16_t* name, int32_t index) {
    return new CElementInfoSeqPrimOpt(name, u"", index, false, ItemType_string, nullptr, kNone, NoFacets(), nullptr);
}
CAttributeInfo* StringAttribute(const char16_t* name, int32_t index, bool optional = true) {
    return new CAttributeInfoPrimitive(name, u"", index, optional, ItemType_string, nullptr, kNone, NoFacets(),
                                       nullptr);
}

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
                {new CElementInfoSeqClsMnd(u"req", u"", 0, XmlElementType_Element, &CreateRegistered, 0, true),
                 new CElementInfoSeqClsOpt(u"opt", u"", 1, XmlElementType_Element, &CreateRegistered, 10)}};
    NilFixture() { Registry()[10] = &child; }
    void Attach(CTestObject& object) {
        object.onInit = [this](CTestObject& o) {
            o.props[0].SetXmlObject(new CNillableTestObject(child, u"req"));
        };
        object.Init();
    }
};

TEST(NilObject, WritesTagAttributesAndNilOnly) {
    NilFixture f;
    CTestObject root(f.root);
    f.Attach(root);
    CNillableTestObject* child = dynamic_cast<CNillableTestObject*>(root.Child(0));
    child->props[0].SetString(u"left out");
    child->props[1].SetString(u"7");
    child->nil = true;
    EXPECT_EQ(Write(root, XsiContext()),
              "<root xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"><req id=\"7\" xsi:nil=\"true\"/></root>");
}

TEST(NilObject, ReadingStopsAtTheNilAttribute) {
    NilFixture f;
    CTestObject root(f.root);
    f.Attach(root);
    Read(root,
         "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'><req xsi:nil='1' id='9'><junk/></req></root>",
         CSerializationContext());
    CNillableTestObject* child = dynamic_cast<CNillableTestObject*>(root.Child(0));
    ASSERT_NE(child, nullptr);
    EXPECT_TRUE(child->nil);
    EXPECT_EQ(child->Text(0), "<unset>");
    EXPECT_EQ(child->Text(1), "9");
    EXPECT_EQ(child->GetElementName(), u"req");
}

TEST(NilObject, ReadingNilFalseClearsTheState) {
    NilFixture f;
    CTestObject root(f.root);
    f.Attach(root);
    Read(root,
         "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'><req xsi:nil='false'><v>x</v></req></root>",
         CSerializationContext());
    CNillableTestObject* child = dynamic_cast<CNillableTestObject*>(root.Child(0));
    EXPECT_FALSE(child->nil);
    EXPECT_EQ(child->Text(0), "x");
}

TEST(NilObject, NilOnAClassWithoutTheInterfaceFailsWhateverItsValue) {
    NilFixture f;
    CTestObject root(f.root);
    f.Attach(root);
    const char* xml = "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'><req><v>x</v></req>"
                      "<opt xsi:nil='false'><v>y</v></opt></root>";
    EXPECT_EQ(MessageOf([&] { Read(root, xml, CSerializationContext()); }),
              "Invalid use of 'nil' attribute in non-nillable element.\nPath: /root/opt");
}

TEST(OptionalClass, MadeOnlyWhenItsElementIsThere) {
    NilFixture f;
    CTestObject root(f.root);
    f.Attach(root);
    Read(root, "<root><req><v>x</v></req></root>", CSerializationContext());
    EXPECT_EQ(root.Child(1), nullptr);
    Read(root, "<root><req><v>x</v></req><opt id='3'><v>y</v></opt></root>", CSerializationContext());
    CTestObject* opt = root.TestChild(1);
    ASSERT_NE(opt, nullptr);
    EXPECT_EQ(opt->GetElementName(), u"opt");
    EXPECT_EQ(opt->Text(0), "y");
    EXPECT_EQ(opt->Text(1), "3");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><req><v>x</v></req><opt id=\"3\"><v>y</v></opt></root>");
}

TEST(MandatoryClass, MissingChildIsReportedAtTheParent) {
    NilFixture f;
    CTestObject root(f.root);
    f.Attach(root);
    EXPECT_EQ(MessageOf([&] { Read(root, "<root><opt/></root>", CSerializationContext()); }),
              "Failed to find the required child element [req].\nPath: /root");
    root.props[0].SetXmlObject(nullptr);
    EXPECT_EQ(FullMessageOf([&] { Write(root, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nThe Property [req] is mandatory, it may not be NULL");
}

TEST(MandatoryClass, DeepFailureHasThePathOnceAndTheWritingChainListsTheElements) {
    NilFixture f;
    CTestObject root(f.root);
    f.Attach(root);
    try {
        Read(root, "<root><req><v>x</v></req><opt><w/></opt></root>", CSerializationContext());
        FAIL();
    } catch (const CKvException& e) {
        EXPECT_EQ(Narrow(e.GetFullMessage()), "Failed to find the required child element [v].\nPath: /root/opt");
        EXPECT_EQ(e.GetInnerException(), nullptr);
    }
    // A child whose mandatory value is missing fails inside the parent's element.
    CTestObject* opt = new CTestObject(f.child, u"opt");
    root.props[1].SetXmlObject(opt);
    EXPECT_EQ(FullMessageOf([&] { Write(root, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nFailed to convert the element [opt] to XML\n"
              "The Property [v] is mandatory, it may not be NULL");
}

// ---- classes without an element of their own --------------------------------------------------

struct GroupFixture {
    explicit GroupFixture(XmlElementType groupType)
        : group(ClassInfo(XmlElementGroupType_Seq, groupType, u"grp", false), {StringOpt(u"g1", 0)},
                {StringAttribute(u"ga", 1)}),
          root(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"root", false),
               {StringMnd(u"a", 0),
                new CElementInfoSeqClsMnd(u"grp", u"", 1, groupType, &CreateRegistered, 0, false),
                StringOpt(u"z", 2)}) {}
    void Attach(CTestObject& object) {
        object.onInit = [this](CTestObject& o) { o.props[1].SetXmlObject(new CTestObject(group, u"grp")); };
        object.Init();
    }
    Tables group;
    Tables root;
};

TEST(GroupClass, PseudoChildWritesItsAttributesIntoTheParentAndReadsBack) {
    GroupFixture f(XmlElementType_Pseudo);
    CTestObject root(f.root);
    f.Attach(root);
    root.props[0].SetString(u"1");
    root.TestChild(1)->props[0].SetString(u"y");
    root.TestChild(1)->props[1].SetString(u"x");
    const std::string text = Write(root, CSerializationContext());
    EXPECT_EQ(text, "<root ga=\"x\"><a>1</a><g1>y</g1></root>");

    CTestObject back(f.root);
    f.Attach(back);
    Read(back, text.c_str(), CSerializationContext());
    EXPECT_EQ(back.TestChild(1)->Text(0), "y");
    EXPECT_EQ(back.TestChild(1)->Text(1), "x");
    EXPECT_EQ(Write(back, CSerializationContext()), text);
}

TEST(GroupClass, InlineChildLosesItsAttributes) {
    GroupFixture f(XmlElementType_Inline);
    CTestObject root(f.root);
    f.Attach(root);
    root.props[0].SetString(u"1");
    root.TestChild(1)->props[0].SetString(u"y");
    root.TestChild(1)->props[1].SetString(u"x");
    EXPECT_EQ(Write(root, CSerializationContext()), "<root><a>1</a><g1>y</g1></root>");
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
                {new CElementInfoSeqClsOpt(u"grp", u"", 0, XmlElementType_Pseudo, &CreateRegistered, 11),
                 StringOpt(u"z", 1)});
    Registry()[11] = &group;
    CTestObject object(root);
    Read(object, "<root><z>1</z></root>", CSerializationContext());
    EXPECT_EQ(object.Child(0), nullptr);
    Read(object, "<root><g1>q</g1><z>1</z></root>", CSerializationContext());
    ASSERT_NE(object.TestChild(0), nullptr);
    EXPECT_EQ(object.TestChild(0)->Text(0), "q");
}

// ---- attributes -------------------------------------------------------------------------------

const char16_t* ColourToText(int32_t v) {
    static const char16_t* names[] = {u"red", u"green", u"blue"};
    return v >= 0 && v < 3 ? names[v] : nullptr;
}
int32_t ColourFromText(const char16_t* text) {
    for (int32_t i = 0; i < 3; ++i)
        if (std::u16string(text) == ColourToText(i)) return i;
    throw CKvInvalidValueException(u"not a colour");
}

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
    std::string outcome;
    try {
        Read(object, c.xml, context);
        outcome = object.Text(0) + "|" + object.Text(1) + "|" + object.Text(2) + "|" + object.Text(3);
    } catch (const CKvException& e) {
        outcome = Narrow(e.GetFullMessage());
    }
    EXPECT_EQ(outcome, c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, AttributeRead, ::testing::ValuesIn(kAttributeReadCases),
                         [](const ::testing::TestParamInfo<AttributeReadCase>& info) {
                             std::string name;
                             for (const char* p = info.param.name; *p; ++p)
                                 name += isalnum(static_cast<unsigned char>(*p)) ? *p : '_';
                             return name;
                         });

TEST(Attributes, PresentAttributesAreStoredBeforeAMissingOneFails) {
    AttributeFixture f;
    CTestObject object(f.tables);
    EXPECT_NE(MessageOf([&] { Read(object, "<root opt='7'/>", CSerializationContext()); }), "<no exception>");
    EXPECT_EQ(object.Text(1), "7");
}

TEST(Attributes, SetterFailureQuotesTheValueAndTheAttributePath) {
    AttributeFixture f;
    CTestObject object(f.tables);
    object.failOnSet = 1;
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root id='a' opt='7'/>", CSerializationContext()); }),
              "Failed to set the property value [7].\nPath: /root/@opt\nsetter refused");
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
}

TEST(TextValue, HandedOverAsTextWhenTheClassAsksForIt) {
    Tables q(new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"q", u"", true, false, 0,
                                    ItemType_i4, nullptr, true),
             {});
    CTestObject object(q, u"q");
    Read(object, "<q> not a number </q>", CSerializationContext());
    EXPECT_EQ(object.props[0].GetTypeAsEnum(), ItemType_string);
    EXPECT_EQ(object.Text(0), " not a number ");
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

} // namespace
} // namespace BindingTest

namespace BindingTest {
namespace {

TEST(Nesting, DeepDocumentsAndCyclesFailInsteadOfExhaustingTheStack) {
    Tables node(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"node"),
                {new CElementInfoSeqClsOpt(u"node", u"", 0, XmlElementType_Element, &CreateRegistered, 20)});
    Registry()[20] = &node;
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

} // namespace
} // namespace BindingTest
