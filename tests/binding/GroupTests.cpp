// Choice and All groups: their writing rules, the choice failures and the readers of both.
#include "BindingTestSupport.h"

#include "kvxml/collections/CAttributeCol.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/collections/CElementCol.h"

namespace BindingTest {
namespace {

constexpr auto kNone = CWhitespaceUtils::WhitespaceRule_None;

CElementInfo* ChoicePrim(const char16_t* name, int32_t index) {
    return new CElementInfoChoicePrimOpt(name, u"", index, false, ItemType_string, nullptr, kNone, NoFacets(),
                                         nullptr);
}

struct ChoiceFixture {
    Tables item{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"it"),
                {new CElementInfoSeqPrimMnd(u"v", u"", 0, false, ItemType_string, nullptr, kNone, NoFacets(),
                                            nullptr)}};
    // A choice of two primitives.
    Tables primitives{ClassInfo(XmlElementGroupType_Choice), {ChoicePrim(u"x", 0), ChoicePrim(u"y", 1)}};
    // A choice whose only alternative is a collection of at least `minimum` items.
    Tables collections{ClassInfo(XmlElementGroupType_Choice),
                       {new CElementInfoChoiceClsCol(u"it", u"", 0, XmlElementType_Element)}};
    void AttachCollection(CTestObject& object, int32_t minimum) {
        object.onInit = [this, minimum](CTestObject& o) {
            o.props[0].SetXmlObject(new CTestCol(item, u"it", minimum, -1));
        };
        object.Init();
    }
};

TEST(Choice, WritesTheFirstAlternativeThatIsSet) {
    ChoiceFixture f;
    CTestObject object(f.primitives);
    CSerializationContext context;
    EXPECT_EQ(Write(object, context), "<root/>");
    object.props[1].SetString(u"2");
    EXPECT_EQ(Write(object, context), "<root><y>2</y></root>");
    object.props[0].SetString(u"1");
    EXPECT_EQ(Write(object, context), "<root><x>1</x></root>");
}

TEST(Choice, EmptyChoiceOfMandatoryCollectionsFailsUnlessExcused) {
    ChoiceFixture f;
    CTestObject object(f.collections);
    f.AttachCollection(object, 1);
    CSerializationContext context;
    EXPECT_EQ(FullMessageOf([&] { Write(object, context); }),
              "Failed to convert the element [root] to XML\nThis element is a choice, and as such must have at one "
              "(and only one) valid item, currently there are none set");
    const char* noChild =
        "No child elements within the element [root] were populated. The element represents a choice, so one and "
        "only one element should be populated. The element contained no sutable child elements\nPath: /root";
    EXPECT_EQ(MessageOf([&] { Read(object, "<root/>", context); }), noChild);
    context.SetIgnoreMissingChoice(true);
    EXPECT_EQ(Write(object, context), "<root/>");
    EXPECT_EQ(MessageOf([&] { Read(object, "<root/>", context); }), "<no exception>");

    // A collection that may be empty excuses the choice.
    CTestObject optional(f.collections);
    f.AttachCollection(optional, 0);
    EXPECT_EQ(Write(optional, CSerializationContext()), "<root/>");
    EXPECT_TRUE(optional.DoesElementContainOptionalElements());
}

TEST(Choice, CollectionBoundsAreLeftToTheCollectionOnWritingAndCheckedOnReading) {
    ChoiceFixture f;
    CTestObject object(f.collections);
    f.AttachCollection(object, 2);
    dynamic_cast<CTestCol*>(object.Child(0))->Add()->props[0].SetString(u"1");
    // The record does not count; the collection's own writing does.
    EXPECT_EQ(FullMessageOf([&] { Write(object, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nThe Minimum number of [it] elements allowed in this "
              "collection is 2");
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root><it><v>1</v></it></root>", CSerializationContext()); }),
              "Failed to process the element.\nPath: /root\nThe Minimum number of [it] elements allowed in this "
              "collection is 2");
}

TEST(Choice, ReadsOneAlternative) {
    ChoiceFixture f;
    CTestObject object(f.primitives);
    CSerializationContext context;
    Read(object, "<root><y>2</y></root>", context);
    EXPECT_EQ(object.Text(0), "<unset>");
    EXPECT_EQ(object.Text(1), "2");
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><x>1</x><y>2</y></root>", context); }),
              "Failed read all the elements held within the element [root]. The unexpected element [y] remains un "
              "processed\nPath: /root");
    context.SetIgnoreUnknownElements(true);
    Read(object, "<root><z/><x>1</x><y>2</y></root>", context);
    EXPECT_EQ(object.Text(0), "1");
    EXPECT_EQ(object.Text(1), "<unset>");
}

struct AllFixture {
    Tables tables{ClassInfo(XmlElementGroupType_All),
                  {new CElementInfoAllPrimMnd(u"a", u"", 0, false, ItemType_string, nullptr, kNone, NoFacets(),
                                              nullptr),
                   new CElementInfoAllPrimMnd(u"b", u"", 1, false, ItemType_string, nullptr, kNone, NoFacets(),
                                              nullptr),
                   new CElementInfoAllPrimOpt(u"c", u"", 2, false, ItemType_string, nullptr, kNone, NoFacets(),
                                              nullptr)}};
};

TEST(All, ReadsInAnyOrderAndWritesInTableOrder) {
    AllFixture f;
    CTestObject object(f.tables);
    Read(object, "<root><c>3</c><b>2</b><a>1</a></root>", CSerializationContext());
    EXPECT_EQ(object.Text(0) + object.Text(1) + object.Text(2), "123");
    EXPECT_EQ(Write(object, CSerializationContext()), "<root><a>1</a><b>2</b><c>3</c></root>");
}

TEST(All, MissingMandatoryAndUnknownElements) {
    AllFixture f;
    CTestObject object(f.tables);
    CSerializationContext context;
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root><a>1</a></root>", context); }),
              "Failed to process the element.\nPath: /root\nFailed to find the mandatory element [b].");
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><a>1</a><b>2</b><a>1</a></root>", context); }),
              "Failed read all the elements held within the element [root]. The unexpected element [a] remains un "
              "processed\nPath: /root");
    // An unknown element blocks what stands behind it, even when unknown elements are ignored.
    context.SetIgnoreUnknownElements(true);
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root><a>1</a><z/><b>2</b></root>", context); }),
              "Failed to process the element.\nPath: /root\nFailed to find the mandatory element [b].");
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><b>2</b><a>1</a><z/><c>3</c></root>", context); }),
              "<no exception>");
    EXPECT_EQ(object.Text(2), "<unset>");
}

TEST(All, CollectionRecordEndsInNotImplemented) {
    Tables item(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"it"), {});
    Tables tables(ClassInfo(XmlElementGroupType_All), {new CElementInfoAllClsCol(u"it", u"", 0, XmlElementType_Element)});
    CTestObject object(tables);
    object.onInit = [&item](CTestObject& o) { o.props[0].SetXmlObject(new CTestCol(item, u"it", 0, -1)); };
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root><it/><it/></root>", CSerializationContext()); }),
              "Failed to process the element.\nPath: /root\nNot implemented, should never be called");
    EXPECT_EQ(dynamic_cast<CTestCol*>(object.Child(0))->GetCount(), 2);
}

// ---- wildcards --------------------------------------------------------------------------------

TEST(Wildcard, OptionalAnyElementRoundTrip) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq),
                  {new CElementInfoSeqPrimOpt(u"a", u"", 0, false, ItemType_string, nullptr, kNone, NoFacets(),
                                              nullptr),
                   new CElementInfoSeqUntpdOpt(u"AnyElement", u"", 1, u"##other", u"urn:t")});
    CTestObject object(tables, u"root", u"urn:t");
    const char* xml = "<root><a>1</a><w:ext xmlns:w=\"urn:w\" k=\"v\"><w:inner>t</w:inner></w:ext></root>";
    Read(object, xml, CSerializationContext());
    CElement* ext = dynamic_cast<CElement*>(object.Child(1));
    ASSERT_NE(ext, nullptr);
    EXPECT_EQ(ext->GetName(), u"ext");
    EXPECT_EQ(ext->GetChildElements()->GetCount(), 1);
    EXPECT_EQ(Write(object, CSerializationContext()),
              "<AA:root xmlns:AA=\"urn:t\"><a>1</a><AB:ext xmlns:AB=\"urn:w\" k=\"v\"><AB:inner>t</AB:inner>"
              "</AB:ext></AA:root>");
    // An element of the target namespace is not other: it stays and is reported as left over.
    EXPECT_EQ(MessageOf([&] { Read(object, "<root xmlns='urn:t'><a xmlns=''>1</a><ext/></root>", CSerializationContext()); }),
              "Failed read all the elements held within the element [root]. The unexpected element [ext] remains un "
              "processed\nPath: /root");
}

TEST(Wildcard, MandatoryNamedWildcardNamesTheNamespace) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq), {new CElementInfoSeqUntpdMnd(u"ext", u"urn:w", 0, u"##any", u"")});
    CTestObject object(tables);
    object.onInit = [](CTestObject& o) { o.props[0].SetXmlObject(new CElement(u"ext")); };
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><other/></root>", CSerializationContext()); }),
              "Failed to find the required element from namespace [urn:w].\nPath: /root");
    EXPECT_EQ(MessageOf([&] { Read(object, "<root/>", CSerializationContext()); }),
              "Failed to find the required child element [ext].\nPath: /root");
    Read(object, "<root><ext>x</ext></root>", CSerializationContext());
    EXPECT_EQ(dynamic_cast<CElement*>(object.Child(0))->GetText(), u"x");
}

TEST(Wildcard, CollectionOfAnyElements) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq), {new CElementInfoSeqUntpdCol(u"AnyElement", u"", 0)});
    CTestObject object(tables);
    object.onInit = [](CTestObject& o) { o.props[0].SetXmlObject(new CElementCol(u"", u"##any", u"", 0, -1)); };
    Read(object, "<root><p>1</p><q>2</q><r/></root>", CSerializationContext());
    EXPECT_EQ(dynamic_cast<CElementCol*>(object.Child(0))->GetCount(), 3);
    EXPECT_EQ(Write(object, CSerializationContext()), "<root><p>1</p><q>2</q><r/></root>");
}

TEST(Wildcard, AnyAttributeNeedsAnAttributeCollection) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq), {},
                  {new CAttributeInfoAny(u"AnyAttribute", u"", 0, true, u"##any", u"", nullptr)});
    CTestObject object(tables);
    object.onInit = [](CTestObject& o) { o.props[0].SetXmlObject(new CElement(u"wrong")); };
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root k='v'/>", CSerializationContext()); }),
              "Failed to process the element.\nPath: /root\n"
              "Serialization Data Error : The collection should be a CAttributeCol, it was not!");
    object.onInit = [](CTestObject& o) { o.props[0].SetXmlObject(new CAttributeCol(u"", u"##any", u"")); };
    Read(object, "<root k='v' l='w'/>", CSerializationContext());
    EXPECT_EQ(Write(object, CSerializationContext()), "<root k=\"v\" l=\"w\"/>");
}

} // namespace
} // namespace BindingTest

namespace BindingTest {
namespace {

TEST(GroupType, UnknownValueFailsBothWays) {
    Tables tables(ClassInfo(static_cast<XmlElementGroupType>(7)), {});
    CTestObject object(tables);
    EXPECT_EQ(FullMessageOf([&] { Write(object, CSerializationContext()); }),
              "Failed to convert the element [root] to XML\nUnknown XML Group Type");
    EXPECT_EQ(FullMessageOf([&] { Read(object, "<root/>", CSerializationContext()); }),
              "Failed to process the element.\nPath: /root\nUnknown Group Type");
}

TEST(NilObject, UnexpectedNilValueOnAClass) {
    Tables tables(ClassInfo(XmlElementGroupType_Seq), {});
    CNillableTestObject object(tables);
    EXPECT_EQ(MessageOf([&] {
                  Read(object, "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:nil='yes'/>",
                       CSerializationContext());
              }),
              "Unexpected Value [yes] for 'nil' Attribute found.\nPath: /root/xsi:@nil");
    Read(object, "<root xmlns:xsi='http://www.w3.org/2001/XMLSchema-instance' xsi:nil='TRUE'/>",
         CSerializationContext());
    EXPECT_TRUE(object.nil);
    EXPECT_EQ(Write(object, CSerializationContext()),
              "<root xmlns:AA=\"http://www.w3.org/2001/XMLSchema-instance\" AA:nil=\"true\"/>");
}

} // namespace
} // namespace BindingTest

namespace BindingTest {
namespace {

// Groups without an element of their own inside a sequence: what passes and what fails.
TEST(GroupWithoutElement, ChoiceAndAllInsideASequence) {
    Tables choice(ClassInfo(XmlElementGroupType_Choice, XmlElementType_Inline, u"grp", false),
                  {ChoicePrim(u"x", 0), ChoicePrim(u"y", 1)});
    Tables all(ClassInfo(XmlElementGroupType_All, XmlElementType_Inline, u"grp", false),
               {new CElementInfoAllPrimMnd(u"x", u"", 0, false, ItemType_string, nullptr, kNone, NoFacets(),
                                           nullptr)});
    for (const Tables* group : {&choice, &all}) {
        Tables root(ClassInfo(XmlElementGroupType_Seq),
                    {new CElementInfoSeqClsMnd(u"grp", u"", 0, XmlElementType_Inline, &CreateRegistered, 0, false),
                     new CElementInfoSeqPrimOpt(u"z", u"", 1, false, ItemType_string, nullptr, kNone, NoFacets(),
                                                nullptr)});
        CTestObject object(root);
        object.onInit = [group](CTestObject& o) { o.props[0].SetXmlObject(new CTestObject(*group, u"grp")); };
        // Nothing of the group is there: no failure, the group reports no progress.
        Read(object, "<root><z>1</z></root>", CSerializationContext());
        EXPECT_EQ(object.Text(1), "1");
        Read(object, "<root><x>a</x><z>1</z></root>", CSerializationContext());
        EXPECT_EQ(object.TestChild(0)->Text(0), "a");
        EXPECT_EQ(Write(object, CSerializationContext()), "<root><x>a</x><z>1</z></root>");
    }
}

TEST(GroupWithoutElement, ChoiceAlternativeThatTookNothingIsEmptiedAgain) {
    Tables inner(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Pseudo, u"in", false),
                 {new CElementInfoSeqPrimOpt(u"p", u"", 0, false, ItemType_string, nullptr, kNone, NoFacets(),
                                             nullptr)});
    Registry()[30] = &inner;
    Tables root(ClassInfo(XmlElementGroupType_Choice),
                {new CElementInfoChoiceClsOpt(u"in", u"", 0, XmlElementType_Pseudo, &CreateRegistered, 30),
                 ChoicePrim(u"q", 1)});
    CTestObject object(root);
    Read(object, "<root><q>1</q></root>", CSerializationContext());
    EXPECT_EQ(object.props[0].GetTypeAsEnum(), ItemType_xmlObject);
    EXPECT_EQ(object.Child(0), nullptr);
    EXPECT_EQ(object.Text(1), "1");
    Read(object, "<root><p>2</p></root>", CSerializationContext());
    ASSERT_NE(object.TestChild(0), nullptr);
    EXPECT_EQ(object.TestChild(0)->Text(0), "2");
}

TEST(SequenceEdge, OptionalBeforeMandatoryOfTheSameName) {
    Tables root(ClassInfo(XmlElementGroupType_Seq),
                {new CElementInfoSeqPrimOpt(u"a", u"", 0, false, ItemType_string, nullptr, kNone, NoFacets(),
                                            nullptr),
                 new CElementInfoSeqPrimMnd(u"a", u"", 1, false, ItemType_string, nullptr, kNone, NoFacets(),
                                            nullptr)});
    CTestObject object(root);
    Read(object, "<root><a>1</a><a>2</a></root>", CSerializationContext());
    EXPECT_EQ(object.Text(0) + object.Text(1), "12");
    EXPECT_EQ(MessageOf([&] { Read(object, "<root><a>1</a></root>", CSerializationContext()); }),
              "Failed to find the required child element [a].\nPath: /root");
}

TEST(SequenceEdge, WildcardInAGroupWithoutElementFailsAtTheEnd) {
    Tables group(ClassInfo(XmlElementGroupType_Seq, XmlElementType_Inline, u"grp", false),
                 {new CElementInfoSeqUntpdMnd(u"AnyElement", u"", 0, u"##any", u"")});
    Tables root(ClassInfo(XmlElementGroupType_Seq),
                {new CElementInfoSeqClsMnd(u"grp", u"", 0, XmlElementType_Inline, &CreateRegistered, 0, false)});
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

} // namespace
} // namespace BindingTest
