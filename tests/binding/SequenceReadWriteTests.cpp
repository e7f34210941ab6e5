// Reading and writing of sequences of primitives and enumerations through the driver.
#include "BindingTestSupport.h"

namespace BindingTest {
namespace {

// root: a (string, mandatory), b (i4, mandatory), n (string, optional, nillable, default "dflt",
// at most 4 characters), c (colour, optional, default "green").
struct SeqFixture {
    SeqFixture()
        : tables(ClassInfo(XmlElementGroupType_Seq),
                 {new CElementInfoSeqPrimMnd(u"a", u"", 0, false, ItemType_string, nullptr,
                                             CWhitespaceUtils::WhitespaceRule_Preserve, NoFacets(), nullptr),
                  new CElementInfoSeqPrimMnd(u"b", u"", 1, false, ItemType_i4, nullptr,
                                             CWhitespaceUtils::WhitespaceRule_Collapse, NoFacets(), nullptr),
                  new CElementInfoSeqPrimOpt(
                      u"n", u"", 2, true, ItemType_string, nullptr, CWhitespaceUtils::WhitespaceRule_Preserve,
                      CPrimitiveRestrictions(nullptr, -1, 4, nullptr, nullptr, nullptr, nullptr, -1, -1, -1), u"dflt"),
                  new CElementInfoSeqEnumOpt(u"c", u"", 3, false, &EnumToText<kColours>, &EnumFromText<kColours>,
                                             u"green")}) {}
    Tables tables;
};

// clang-format off
// expected: "a|b|n|c" on success, or the full message of the failure
// path: path of the failure
struct ReadCase { const char* name; const char* xml; bool ignoreUnknownElements; bool ignoreMissingMandatory;
    bool ignoreUnknownAttributes; const char* expected; const char* path; };
const ReadCase kReadCases[] = {
    {"in order", "<root><a>x</a><b> 5 </b><n>v</n><c>blue</c></root>", false, false, false,
     "x|5|v|2", ""},
    {"empty element takes the default", "<root><a/><b>5</b><n/><c/></root>", false, false, false, "|5|dflt|1",
     ""},
    {"unknown element in front of each mandatory", "<root><z/><a>x</a><z/><b>5</b></root>", false, false, false,
     "Failed to find the required child element [a].\nPath: /root", "/root"},
    {"missing mandatory passes when ignored", "<root><b>5</b></root>", false, true, false, "<unset>|5|<unset>|<unset>",
     ""},
    {"wrong order with unknown ignored: the later record finds nothing", "<root><b>5</b><a>x</a></root>", true, false,
     false, "Failed to find the required child element [b].\nPath: /root", "/root"},
    {"left-over element", "<root><a>x</a><b>5</b><z/></root>", false, false, false,
     "Failed read all the elements held within the element [root]. The unexpected element [z] remains un "
     "processed\nPath: /root",
     "/root"},
    {"last record reads a late repeat over the first", "<root><a>x</a><b>5</b><c>red</c><z/><c>blue</c></root>",
     true, false, false, "x|5|<unset>|2", ""},
    {"unknown attribute on a primitive", "<root><a q='1'>x</a><b>5</b></root>", false, false, false,
     "Unexpected Attribute found.\nPath: /root/a/@q", "/root/a/@q"},
    {"nil on a non-nillable element", "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'>"
                                      "<a xsi:nil='true'/><b>5</b></root>",
     false, false, false, "Invalid use of 'nil' attribute in non-nillable element.\nPath: /root/a", "/root/a"},
    {"nil in any case leaves the property", "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'>"
                                            "<a>x</a><b>5</b><n xsi:nil='TrUe'>ignored</n></root>",
     false, false, false, "x|5|<unset>|<unset>", ""},
    {"nil with another value", "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance'>"
                               "<a>x</a><b>5</b><n xsi:nil='yes'/></root>",
     false, false, false, "Unexpected Value [yes] for 'nil' Attribute found.\nPath: /root/n/xsi:@nil",
     "/root/n/xsi:@nil"},
    {"text that does not convert gets the element's parent path", "<root><a>x</a><b>five</b></root>", false, false,
     false, "Failed to process the element.\nPath: /root\nThe value [five] can not be converted to a i4", "/root"},
};
// clang-format on

TEST(SequenceRead, ReadsOrReportsWithPath) {
    for (const ReadCase& c : kReadCases) {
        SCOPED_TRACE(c.name);
        SeqFixture f;
        CTestObject object(f.tables);
        CSerializationContext context;
        context.SetIgnoreUnknownElements(c.ignoreUnknownElements);
        context.SetIgnoreMissingMandatoryElements(c.ignoreMissingMandatory);
        context.SetIgnoreUnknownAttributes(c.ignoreUnknownAttributes);
        const Outcome outcome = ReadOutcome(object, c.xml, context);
        EXPECT_EQ(outcome.failed ? outcome.message
                                 : object.Text(0) + "|" + object.Text(1) + "|" + object.Text(2) + "|" + object.Text(3),
                  c.expected);
        EXPECT_EQ(outcome.path, c.path);
    }
}

TEST(SequenceRead, FailuresKeepTheirCauseAndWhatWasReadBeforeThem) {
    SeqFixture f;
    CTestObject object(f.tables);
    CSerializationContext context;
    // A level that passes a failure with a path on does not keep its concrete class.
    EXPECT_EQ(MessageOf<CKvValidationException>([&] { Read(object, "<root><b>5</b></root>", context); }),
              "<not the expected type> Failed to find the required child element [a].\nPath: /root");
    try {
        Read(object, "<root><a>x</a><b>five</b></root>", context);
        FAIL() << "no exception";
    } catch (const CKvValidationException& e) {
        EXPECT_NE(dynamic_cast<const CKvInvalidValueException*>(e.GetInnerException()), nullptr);
    }
    EXPECT_EQ(object.Text(0), "x");
    object.failOnSet = 1;
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root><a>x</a><b>5</b></root>", context); }),
              "Failed to set the property value.\nPath: /root/b\nsetter refused");
}

// Every document here declares the alias that the context adds for the instance namespace.
#define kRootXsi "<root xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\">"

// clang-format off
// expected: the text, or the full message of the failure
struct WriteCase { const char* name; std::function<void(CTestObject&)> fill;
    bool writeDefaults; const char* expected; };
const WriteCase kWriteCases[] = {
    {"all set", [](CTestObject& o) { o.props[0].SetString(u"x<&>"); o.props[1].SetI4(-5); o.props[2].SetString(u"v");
                                     o.props[3].SetI4(2); },
     false, kRootXsi "<a>x&lt;&amp;&gt;</a><b>-5</b><n>v</n><c>blue</c></root>"},
    {"unset optionals are left out", [](CTestObject& o) { o.props[0].SetString(u"x"); o.props[1].SetI4(1); }, false,
     kRootXsi "<a>x</a><b>1</b></root>"},
    {"default value gives an empty element", [](CTestObject& o) { o.props[0].SetString(u"x"); o.props[1].SetI4(1);
                                                                  o.props[2].SetString(u"dflt"); o.props[3].SetI4(1); },
     false, kRootXsi "<a>x</a><b>1</b><n/><c/></root>"},
    {"default value written on request", [](CTestObject& o) { o.props[0].SetString(u"x"); o.props[1].SetI4(1);
                                                              o.props[2].SetString(u"dflt"); o.props[3].SetI4(1); },
     true, kRootXsi "<a>x</a><b>1</b><n>dflt</n><c>green</c></root>"},
    {"nil wins over the default", [](CTestObject& o) { o.props[0].SetString(u"x"); o.props[1].SetI4(1);
                                                       o.props[2].SetString(u"dflt"); o.props[2].SetNil(); },
     false, "<root xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"><a>x</a><b>1</b><n xsi:nil=\"true\"/></root>"},
    {"mandatory nil is satisfied", [](CTestObject& o) { o.props[0].SetString(u"x"); o.props[0].SetNil(); o.props[1].SetI4(1); },
     false, "<root xmlns:xsi=\"http://www.w3.org/2001/XMLSchema-instance\"><a xsi:nil=\"true\"/><b>1</b></root>"},
    {"mandatory value unset", [](CTestObject& o) { o.props[1].SetI4(1); }, false,
     "Failed to convert the element [root] to XML\nThe Property [a] is mandatory, it may not be NULL"},
    // The facet check runs before the start tag, but not for a value equal to the default.
    {"facet refuses the value", [](CTestObject& o) { o.props[0].SetString(u"x"); o.props[1].SetI4(1);
                                                     o.props[2].SetString(u"toolong"); },
     false, "Failed to convert the element [root] to XML\nInvalid Value for n [toolong]."},
    {"enumeration value out of range", [](CTestObject& o) { o.props[0].SetString(u"x"); o.props[1].SetI4(1);
                                                            o.props[3].SetI4(7); },
     false, "Failed to convert the element [root] to XML\nInvalid enumeration value 7 for [c]."},
};
// clang-format on

TEST(SequenceWrite, WritesTheWholeText) {
    for (const WriteCase& c : kWriteCases) {
        SCOPED_TRACE(c.name);
        SeqFixture f;
        CTestObject object(f.tables);
        c.fill(object);
        CSerializationContext context;
        context.GetNamespaceAliases().Add(u"xsi", kXsi);
        context.SetWriteDefaultElementValues(c.writeDefaults);
        std::string text;
        const std::string failure = FullMessageOf([&] { text = Write(object, context); });
        EXPECT_EQ(failure == "<no exception>" ? text : failure, c.expected);
    }
}

TEST(SequenceRead, NamespacesMustMatchUnlessIgnored) {
    Tables tables(new CParentElementInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"root", u"urn:t", true,
                                         false, -1, ItemType_Invalid, nullptr, false),
                  {StringMnd(u"a", 0, u"urn:t")});
    CTestObject object(tables, u"root", u"urn:t");
    CSerializationContext context;
    EXPECT_EQ(MessageOf([&] { Read(object, "<t:root xmlns:t='urn:t'><t:a>x</t:a></t:root>", context); }),
              "<no exception>");
    EXPECT_EQ(MessageOf([&] { Read(object, "<t:root xmlns:t='urn:t'><a>x</a></t:root>", context); }),
              "Failed to find the required child element [a].\nPath: /t:root");
    context.SetIgnoreNamespaces(true);
    EXPECT_EQ(MessageOf([&] { Read(object, "<t:root xmlns:t='urn:t'><a>x</a></t:root>", context); }), "<no exception>");
    CSerializationContext noNamespaces;
    noNamespaces.SetSchemaType(static_cast<SchemaType>(2));
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><a>y</a></root>", noNamespaces); }), "<no exception>");
    EXPECT_EQ(object.Text(0), "y");
}

} // namespace
} // namespace BindingTest
