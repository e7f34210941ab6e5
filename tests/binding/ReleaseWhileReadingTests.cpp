// An entry point that parses its own document frees each child of the root as soon as it has been
// read. Reading the same text from a tree the caller keeps (FromXmlElement, which never frees)
// must give the same objects and the same failures.
#include "BindingTestSupport.h"

namespace BindingTest {
namespace {

// item   sequence: a, b?
// Grp    sequence without an element: item?, p   (may read an item and then give up)
// seq    sequence: x?, w? (any content), Grp, item*, z?
// choice choice: item | x | Grp
// all    all: item?, x?, z?  (z of the class of item)
struct Model {
    Tables item{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"item"),
                {StringMnd(u"a", 0), StringOpt(u"b", 1)}};
    Tables grp{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Pseudo, u"Grp"),
               {new CElementInfoSeqClsOpt(u"item", u"", 1, XmlElementType_Element, &CreateClass, 901), StringMnd(u"p", 0)}};
    Tables seq{ClassInfo(XmlElementGroupType_Seq),
               {StringOpt(u"x", 0), new CElementInfoSeqUntpdOpt(u"w", u"", 1, u"##any", u""),
                new CElementInfoSeqClsMnd(u"Grp", u"", 3, XmlElementType_Pseudo, &CreateClass, 902, false),
                new CElementInfoSeqClsCol(u"item", u"", 2, XmlElementType_Element),
                StringOpt(u"z", 4)}};
    Tables choice{ClassInfo(XmlElementGroupType_Choice),
                  {ChoiceCls(u"item", 0, 901), ChoicePrim(u"x", 1), ChoiceCls(u"Grp", 2, 902, XmlElementType_Pseudo)}};
    Tables all{ClassInfo(XmlElementGroupType_All),
               {new CElementInfoAllClsOpt(u"item", u"", 0, XmlElementType_Element, &CreateClass, 901),
                AllPrimOpt(u"x", 1), new CElementInfoAllClsOpt(u"z", u"", 2, XmlElementType_Element, &CreateClass, 901)}};

    // Live elements whenever an object is set up for reading.
    std::vector<int64_t> live;

    Model() {
        Define(901, item, [this](CTestObject&) { live.push_back(CXmlElement::GetLiveElementCount()); });
        Define(902, grp);
    }
    CSmartPtr<CTestObject> Root(const Tables& tables, CTestObject* made = nullptr) {
        CSmartPtr<CTestObject> root = made ? made : new CTestObject(tables);
        root->onInit = [this, &tables](CTestObject& o) {
            live.push_back(CXmlElement::GetLiveElementCount());
            if (&tables != &seq) return;
            auto* items = new CTestCol(item, u"item", 0, -1);
            items->onItemInit = [this](CTestObject&) { live.push_back(CXmlElement::GetLiveElementCount()); };
            o.props[2].SetXmlObject(items);
            o.props[3].SetXmlObject(NewObject(902, u"Grp"));
        };
        return root;
    }
};

// The objects, or the failure, of one read, in one line.
std::string ReadReport(CTestObject& root, const std::string& xml, const CSerializationContext& context,
                       bool ownDocument) {
    try {
        if (ownDocument) {
            root.FromXml(xml.c_str(), context);
        } else {
            CXmlDocument document(context);
            document.LoadXml(xml.c_str());
            root.FromXmlElement(document.GetDocumentElement(), context);
        }
        return Dump(&root);
    } catch (const CKvException& e) {
        return Narrow(e.GetFullMessage()) + " | " + Dump(&root);
    }
}

const Tables& RootTables(Model& m, int which) { return which == 0 ? m.seq : which == 1 ? m.choice : m.all; }

TEST(ReleaseWhileReading, SameOutcomeAsOnAKeptTree) {
    struct Case {
        int root; // 0 sequence, 1 choice, 2 all
        bool ignoreUnknown;
        const char* xml;
        const char* expected;
    };
    const Case cases[] = {
        // a failure after earlier siblings were freed keeps its predicate
        {0, false, "<root><item><a>1</a></item><item><a>2</a></item><item><b>3</b></item></root>",
         "Failed to find the required child element [a].\nPath: /root/item[3]"},
        // an item that a group without an element read and gave up is read again
        {0, false, "<root><item><a>1</a></item><item><a>2</a></item></root>", "{2=[{0=1},{0=2}] 3={1={0=1}}}"},
        {0, false, "<root><x>1</x><item><a>1</a></item><p>2</p><q/></root>",
         "Failed read all the elements held within the element [root]. The unexpected element [q] remains un "
         "processed\nPath: /root"},
        // skipped unknown elements, before and between the records
        {0, true, "<root><x>1</x><w><r/></w><item><a>1</a></item><p>2</p><q><r/></q><z>9</z></root>",
         "{0=1 1=<w> 2=[] 3={0=2 1={0=1}} 4=9}"},
        {1, true, "<root><q><r/></q><item><a>1</a><b>2</b></item></root>", "{0={0=1 1=2} 2=null}"},
        {1, false, "<root><p>1</p></root>", "{2={0=1}}"},
        {2, false, "<root><z><a>1</a></z><x>2</x><item><a>4</a></item></root>", "{0={0=4} 1=2 2={0=1}}"},
        {2, false, "<root><x>1</x><z><a>1</a></z><item><b>2</b></item></root>",
         "Failed to find the required child element [a].\nPath: /root/item"},
        {2, false, "<root><z><a>1</a></z><item><a>2</a></item><item><a>3</a></item></root>",
         "Failed read all the elements held within the element [root]. The unexpected element [item] remains un "
         "processed\nPath: /root"},
    };
    for (const Case& c : cases) {
        Model m;
        CSerializationContext context;
        context.SetIgnoreUnknownElements(c.ignoreUnknown);
        const std::string freed = ReadReport(*m.Root(RootTables(m, c.root)), c.xml, context, true);
        EXPECT_EQ(freed, ReadReport(*m.Root(RootTables(m, c.root)), c.xml, context, false)) << c.xml;
        EXPECT_EQ(freed.substr(0, freed.find(" | ")), c.expected) << c.xml;
    }
}

TEST(ReleaseWhileReading, RandomDocumentsAsOnAKeptTree) {
    const std::vector<const char*> names = {"item", "a", "b", "x", "z", "p", "Grp", "q"};
    std::mt19937 random(2207);
    for (int i = 0; i < 600; ++i) {
        Model m;
        const std::string xml = RandomDocument(random, names, "root");
        const CSerializationContext context = RandomContext(random);
        const Tables& tables = RootTables(m, i % 3);
        EXPECT_EQ(ReadReport(*m.Root(tables), xml, context, true), ReadReport(*m.Root(tables), xml, context, false))
            << xml;
    }
}

// Read objects see the live elements fall with every child of the root that is done.
TEST(ReleaseWhileReading, ElementsAreFreedWhileReading) {
    const struct {
        int root;
        const char* xml;
    } cases[] = {
        {0, "<root><item><a>1</a></item><item><a>2</a></item><item><a>3</a></item></root>"},
        {0, "<root><w><c/><c/></w><item><a>1</a></item><item><a>2</a></item></root>"},
        {2, "<root><x>1</x><z><a>1</a><b>2</b></z><item><a>3</a></item></root>"},
    };
    for (const auto& c : cases) {
        for (bool ownDocument : {true, false}) {
            Model m;
            ReadReport(*m.Root(RootTables(m, c.root)), c.xml, CSerializationContext(), ownDocument);
            ASSERT_GE(m.live.size(), 3u) << c.xml;
            if (ownDocument) {
                EXPECT_LT(m.live.back(), m.live.front()) << c.xml;
            }
            for (size_t i = 1; i < m.live.size(); ++i) {
                if (ownDocument)
                    EXPECT_LE(m.live[i], m.live[i - 1]) << c.xml << " object " << i;
                else
                    EXPECT_EQ(m.live[i], m.live[0]) << c.xml << " object " << i;
            }
        }
    }
}

// A root class that reads through the engine and then walks the whole tree finds it intact.
class CWalkingRoot : public CTestObject {
public:
    using CTestObject::CTestObject;
    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild, const CSerializationContext& context,
                             bool ignoreMissingChoice) override {
        CXmlElement* result = CTestObject::FromXml_Int(element, firstChild, context, ignoreMissingChoice);
        seen.clear();
        Walk(element);
        return result;
    }
    void Walk(const CXmlElement* element) {
        seen += Narrow(element->GetLocalName()) + "(" + Narrow(element->GetText()) + ")";
        for (const CXmlElement* child = element->GetFirstElement(); child; child = child->GetNextSiblingElement())
            Walk(child);
    }
    std::string seen;
};

TEST(ReleaseWhileReading, OverridingRootSeesTheWholeTree) {
    Model m;
    CWalkingRoot* walking = new CWalkingRoot(m.seq);
    CSmartPtr<CTestObject> root = m.Root(m.seq, walking);
    ReadReport(*root, "<root><x>1</x><item><a>2</a></item><p>5</p><item><a>3</a><b>4</b></item></root>",
               CSerializationContext(), true);
    EXPECT_EQ(walking->seen, "root()x(1)item()a(2)p(5)item()a(3)b(4)");
    EXPECT_EQ(m.live.front(), m.live.back());
}

} // namespace
} // namespace BindingTest
