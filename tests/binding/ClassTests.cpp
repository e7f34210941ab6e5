// Nil objects, classes without an element of their own, attributes, nesting limits, and the edges
// of the driver and of its records.
#include "BindingTestSupport.h"

#include <random>

namespace BindingTest {
namespace {

// ---- nil objects ------------------------------------------------------------------------------

TEST(NilObject, WritesTagAttributesAndNilOnlyAndReadsNothingBehindNil) {
    Tables childTables(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"child"), {StringMnd(u"v", 0)},
                       {StringAttribute(u"id", 1)});
    Tables rootTables(ClassInfo(XmlElementGroupType_Seq),
                      {new CElementInfoSeqClsMnd(u"req", u"", 0, XmlElementType_Element, &CreateClass, 0, true)});
    CTestObject root(rootTables);
    root.onInit = [&](CTestObject& o) { o.props[0].SetXmlObject(new CNillableTestObject(childTables, u"req")); };
    root.Init();
    CNillableTestObject* child = dynamic_cast<CNillableTestObject*>(root.Child(0));
    child->props[0].SetString(u"left out");
    child->props[1].SetString(u"7");
    child->nil = true;
    CSerializationContext context;
    context.GetNamespaceAliases().Add(u"xsi", kXsi);
    EXPECT_EQ(Write(root, context),
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

// ---- classes without an element of their own --------------------------------------------------

// A class without an element of its own writes its attributes into the parent; an inline one loses them.
TEST(GroupClass, PseudoChildKeepsItsAttributesInTheParentAndInlineLosesThem) {
    for (XmlElementType type : {XmlElementType_Pseudo, XmlElementType_Inline}) {
        Tables group(ClassInfo(XmlElementGroupType_Seq, type, u"grp", false), {StringOpt(u"g1", 0)},
                     {StringAttribute(u"ga", 1)});
        Tables tables(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"root", false),
                      {StringMnd(u"a", 0), new CElementInfoSeqClsMnd(u"grp", u"", 1, type, &CreateClass, 0, false),
                       StringOpt(u"z", 2)});
        CTestObject root(tables);
        root.onInit = [&](CTestObject& o) { o.props[1].SetXmlObject(new CTestObject(group, u"grp")); };
        root.Init();
        root.props[0].SetString(u"1");
        root.TestChild(1)->props[0].SetString(u"y");
        root.TestChild(1)->props[1].SetString(u"x");
        const std::string text = Write(root, CSerializationContext());
        EXPECT_EQ(text, type == XmlElementType_Pseudo ? "<root ga=\"x\"><a>1</a><g1>y</g1></root>"
                                                      : "<root><a>1</a><g1>y</g1></root>");
        // Reading starts from a new group object.
        Read(root, text.c_str(), CSerializationContext());
        EXPECT_EQ(root.TestChild(1)->Text(0) + root.TestChild(1)->Text(1),
                  type == XmlElementType_Pseudo ? "yx" : "y<unset>");
        EXPECT_EQ(Write(root, CSerializationContext()), text);
    }
}

// ---- attributes -------------------------------------------------------------------------------

struct AttributeFixture {
    explicit AttributeFixture(bool failIfUnknown = true)
        : tables(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"root", failIfUnknown), {},
                 {StringAttribute(u"id", 0, false),
                  new CAttributeInfoPrimitive(
                      u"opt", u"", 1, true, ItemType_i4, nullptr, kNone,
                      CPrimitiveRestrictions(nullptr, -1, -1, nullptr, u"9", nullptr, nullptr, -1, -1, -1), u"5"),
                  new CAttributeInfoEnum(u"kind", u"urn:x", 2, true, &EnumToText<kColours>, &EnumFromText<kColours>,
                                         u"red"),
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

// clang-format off
// expected: "id|opt|kind|p" or the full message of the failure
struct AttributeReadCase { const char* name; const char* xml; bool ignoreNamespaces;
    bool ignoreUnknownAttributes; bool failIfUnknown; const char* expected; };
const AttributeReadCase kAttributeReadCases[] = {
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
};
// clang-format on

TEST(AttributeRead, ReadsOrReports) {
    for (const AttributeReadCase& c : kAttributeReadCases) {
        SCOPED_TRACE(c.name);
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
    Tables root(
        ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"root", false),
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

// ---- edges of the driver and the records themselves ------------------------------------------

TEST(GroupType, UnknownValueFailsBothWays) {
    Tables tables(ClassInfo(static_cast<XmlElementGroupType>(7)), {});
    CTestObject object(tables);
    EXPECT_EQ(FullMessageOf([&] { Write(object, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nUnknown XML Group Type");
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root/>", CSerializationContext()); }),
              "Failed to process the element.\nPath: /root\nUnknown Group Type");
}

TEST(SequenceEdge, WildcardInAGroupWithoutElementFailsAtTheEnd) {
    Tables group(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Inline, u"grp", false),
                 {new CElementInfoSeqUntpdMnd(u"AnyElement", u"", 0, u"##any", u"")});
    Tables root(ClassInfo(XmlElementGroupType_Seq),
                {new CElementInfoSeqClsMnd(u"grp", u"", 0, XmlElementType_Inline, &CreateClass, 0, false)});
    CTestObject object(root);
    object.onInit = [&group](CTestObject& o) {
        CTestObject* inner = new CTestObject(group, u"grp");
        inner->onInit = [](CTestObject& i) { i.props[0].SetXmlObject(new CElement(u"any")); };
        o.props[0].SetXmlObject(inner);
    };
    EXPECT_EQ(MessageOf([&] { Read(object, "<root/>", CSerializationContext()); }),
              "Failed to find the required child element [AnyElement].\nPath: /root");
    Read(object, "<root><w>x</w></root>", CSerializationContext());
    EXPECT_EQ(dynamic_cast<CElement*>(object.TestChild(0)->Child(0))->GetText(), u"x");
}

TEST(ElementInfo, PropertyFailuresAreWrapped) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq), {StringOpt(u"far", 20)});
    CTestObject object(tables);
    EXPECT_EQ(FullMessageOf([&] { Write(object, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nFailed to get the property value for [far].\n"
              "bad property index");
}

} // namespace
} // namespace BindingTest
