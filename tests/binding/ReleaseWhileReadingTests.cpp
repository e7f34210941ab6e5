// An entry point that parses its own document frees each child of the root once it has been read.
// The same text read from a tree the caller keeps (FromXmlElement, which never frees) must give the
// same objects and failures, and there the live elements stay as they are.
#include "BindingTestSupport.h"

namespace BindingTest {
namespace {

// item: a, b?   Grp (no element): item?, p   roots: sequence x?, w (any)?, Grp, item*
// and all item?, x?, z? (z of the class of item)
struct Model {
    Tables item{ClassInfo(XmlElementGroupType_Seq, XmlElementType_Element, u"item"),
                {StringMnd(u"a", 0), StringOpt(u"b", 1)}};
    Tables grp{
        ClassInfo(XmlElementGroupType_Seq, XmlElementType_Pseudo, u"Grp"),
        {new CElementInfoSeqClsOpt(u"item", u"", 1, XmlElementType_Element, &CreateClass, 901), StringMnd(u"p", 0)}};
    Tables seq{ClassInfo(XmlElementGroupType_Seq),
               {StringOpt(u"x", 0), new CElementInfoSeqUntpdOpt(u"w", u"", 1, u"##any", u""),
                new CElementInfoSeqClsMnd(u"Grp", u"", 3, XmlElementType_Pseudo, &CreateClass, 902, false),
                new CElementInfoSeqClsCol(u"item", u"", 2, XmlElementType_Element)}};
    Tables all{
        ClassInfo(XmlElementGroupType_All),
        {new CElementInfoAllClsOpt(u"item", u"", 0, XmlElementType_Element, &CreateClass, 901), AllPrimOpt(u"x", 1),
         new CElementInfoAllClsOpt(u"z", u"", 2, XmlElementType_Element, &CreateClass, 901)}};
    std::vector<int64_t> live; // live elements whenever an object starts reading
    std::function<void(CTestObject&)> count = [this](CTestObject&) {
        live.push_back(CXmlElement::GetLiveElementCount());
    };

    Model() {
        Define(901, item, count);
        Define(902, grp);
    }
    // The objects, or the failure, of one read.
    std::string Read(CTestObject* object, const char* xml, const CSerializationContext& context, bool own) {
        CSmartPtr<CTestObject> hold = object;
        object->onInit = [this](CTestObject& o) {
            count(o);
            if (o.GetClassInfo() != seq.classInfo) return;
            auto* items = new CTestCol(item, u"item", 0, -1);
            items->onItemInit = count;
            o.props[2].SetXmlObject(items);
            o.props[3].SetXmlObject(NewObject(902, u"Grp"));
        };
        live.clear();
        CXmlDocument document(context);
        try {
            if (!own) document.LoadXml(xml);
            own ? object->FromXml(xml, context) : object->FromXmlElement(document.GetDocumentElement(), context);
            return Dump(object);
        } catch (const CKvException& e) {
            return Narrow(e.GetFullMessage());
        }
    }
};

TEST(ReleaseWhileReading, SameOutcomeAsOnAKeptTree) {
    const struct {
        bool all, ignoreUnknown, frees;
        const char* xml;
        const char* expected;
    } cases[] = {
        {false, false, true, "<root><item><a>1</a></item><item><a>2</a></item><item><b>3</b></item></root>",
         "Failed to find the required child element [a].\nPath: /root/item[3]"},
        // the group without an element reads the first item, gives up, and the item is read again
        {false, false, true, "<root><w><c/></w><item><a>1</a></item><item><a>2</a></item></root>",
         "{1=<w> 2=[{0=1},{0=2}] 3={1={0=1}}}"},
        // an element left over is dropped, and the last record reads on behind it
        {false, true, true, "<root><p>0</p><item><a>1</a></item><q><r/></q><item><a>2</a></item><q/></root>",
         "{2=[{0=1},{0=2}] 3={0=0}}"},
        {true, false, true, "<root><z><a>1</a><b>2</b></z><x>3</x><item><a>4</a></item></root>",
         "{0={0=4} 1=3 2={0=1 1=2}}"},
        {true, false, true, "<root><x>1</x><z><a>1</a></z><item><b>2</b></item></root>",
         "Failed to find the required child element [a].\nPath: /root/item"},
    };
    for (const auto& c : cases) {
        Model m;
        CSerializationContext context;
        context.SetIgnoreUnknownElements(c.ignoreUnknown);
        const std::string kept = m.Read(new CTestObject(c.all ? m.all : m.seq), c.xml, context, false);
        EXPECT_EQ(m.live.front(), m.live.back()) << c.xml;
        EXPECT_EQ(m.Read(new CTestObject(c.all ? m.all : m.seq), c.xml, context, true), kept) << c.xml;
        EXPECT_EQ(kept, c.expected) << c.xml;
        EXPECT_EQ(m.live.back() < m.live.front(), c.frees) << c.xml;
    }
}

// A root class that reads through the engine and then walks the whole tree finds it intact.
class CWalkingRoot : public CTestObject {
public:
    using CTestObject::CTestObject;
    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* first, const CSerializationContext& context,
                             bool ignoreMissingChoice) override {
        CXmlElement* result = CTestObject::FromXml_Int(element, first, context, ignoreMissingChoice);
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
    CSmartPtr<CWalkingRoot> root = new CWalkingRoot(m.seq);
    m.Read(root.get(), "<root><x>1</x><item><a>2</a></item><p>5</p><item><a>3</a><b>4</b></item></root>",
           CSerializationContext(), true);
    EXPECT_EQ(root->seen, "root()x(1)item()a(2)p(5)item()a(3)b(4)");
}

} // namespace
} // namespace BindingTest
