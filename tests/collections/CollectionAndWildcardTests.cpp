#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "support/KvTestText.h"
#include "kvxml/base/CKvException.h"
#include "kvxml/base/CNestingGuard.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/collections/CAttributeCol.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/collections/CXmlCollection.h"
#include "kvxml/collections/CXmlTypeCollection.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"
#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;

namespace {

using KvTest::MessageOf;
using KvTest::Narrow;

int g_itemsAlive = 0;

// A minimal object: written as <name/>, or as the attribute name="1" of its parent.
class Item : public CXmlObjectBase {
public:
    explicit Item(const char16_t* name) {
        SetElementName(name);
        ++g_itemsAlive;
    }
    ~Item() override { --g_itemsAlive; }
    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return u""; }
    std::u16string GetNamespace() override { return u""; }
    void AttributesToXml_Int(CXmlWriter* writer, const CSerializationContext&) const override {
        writer->WriteAttribute(m_elementName, u"", u"1", ItemType_string);
    }
    void ToXml_Int(CXmlWriter* writer, bool, const char16_t*, const CSerializationContext&, bool) const override {
        writer->WriteStartElement(m_elementName, u"");
        writer->WriteEndElement();
    }
    CXmlElement* FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext&, bool) override {
        return element ? element->GetNextSiblingElement() : nullptr;
    }
};

// A typed collection as generated code writes one, with the protected list operations opened.
class ItemCol : public CXmlCollection {
public:
    ItemCol(int32_t minOccurs = 0, int32_t maxOccurs = -1) : CXmlCollection(u"item", u"urn:i", minOccurs, maxOccurs) {}
    using CXmlCollection::AddAfterItem, CXmlCollection::AddBeforeItem, CXmlCollection::AddItemAt,
        CXmlCollection::AppendItem, CXmlCollection::PrependItem, CXmlCollection::FireOnCollectionRemove,
        CXmlCollection::FireOnCollectionRemoveComplete, CXmlCollection::GetNodeAtIndex;

    void ToXml_Int(CXmlWriter* writer, bool, const char16_t* ns, const CSerializationContext& context,
                   bool) const override {
        ValidateCount(context);
        for (const CNode* n = m_head; n; n = n->m_next)
            n->m_item->GetBase()->ToXml_Int(writer, false, ns, context, false);
    }
    CXmlElement* FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext&, bool) override {
        for (; element && element->GetLocalName() == m_elementName; element = element->GetNextSiblingElement())
            AppendItem(new Item(element->GetLocalName().c_str()));
        return element;
    }
    // The names in list order; the backward links must tell the same story.
    std::string Names() const {
        std::string out, back;
        for (const CNode* n = m_head; n; n = n->m_next) out += Narrow(n->m_item->GetElementName());
        for (const CNode* n = m_tail; n; n = n->m_previous) back.insert(0, Narrow(n->m_item->GetElementName()));
        EXPECT_EQ(out, back);
        return out;
    }
};

struct Event {
    CXmlObjectBase* source;
    int message;
    void* data;
    int index; // read during the call, for messages 3 and 4 with data
};

class Recorder : public IEventSink {
public:
    void OnEvent(CXmlObjectBase* source, MsgType message, void* data) override {
        events.push_back({source, message, data, (message >= 3 && data) ? *static_cast<int32_t*>(data) : -100});
        if (addLate) std::exchange(addLate, nullptr)->AddEventListener(late);
    }
    std::string Messages() const {
        std::string s;
        for (const Event& e : events) s += char('0' + e.message);
        return s;
    }
    std::vector<Event> events;
    CXmlCollectionBase* addLate = nullptr; // adds `late` to this collection during its first event
    IEventSink* late = nullptr;
};

TEST(CXmlCollection, InsertionPositionsAndTheirMessages) {
    Recorder rec; // outlives the collection, whose destructor fires
    CSmartPtr<ItemCol> col(new ItemCol);
    col->AddEventListener(&rec);
    CSmartPtr<Item> a(new Item(u"a")), b(new Item(u"b")), c(new Item(u"c")), d(new Item(u"d")), e(new Item(u"e"));
    col->AppendItem(b);
    ASSERT_EQ(rec.Messages(), "120");
    EXPECT_TRUE(rec.events[0].data == b.get() && rec.events[1].data == b.get() && rec.events[2].data == nullptr);
    for (const Event& ev : rec.events) EXPECT_EQ(ev.source, col.get());
    col->PrependItem(a);
    col->AddAfterItem(nullptr, c);  // null: first
    col->AddBeforeItem(nullptr, d); // null: last
    EXPECT_EQ(col->Names(), "cabd");
    // how: 0 after, 1 before, 2 at index
    // clang-format off
    const struct { int how, at; const char* expected; } rows[] = {
        {0, 'd', "cabde"}, {1, 'c', "ecabd"}, {0, 'a', "caebd"}, {2, 4, "cabde"}, {2, 0, "ecabd"}, {2, 2, "caebd"}};
    // clang-format on
    CXmlObjectBase* byName[] = {a, b, c, d};
    for (const auto& r : rows) {
        if (r.how == 0) col->AddAfterItem(byName[r.at - 'a'], e);
        if (r.how == 1) col->AddBeforeItem(byName[r.at - 'a'], e);
        if (r.how == 2) col->AddItemAt(r.at, e);
        EXPECT_EQ(col->Names(), r.expected);
        col->Remove(static_cast<int32_t>(std::string(r.expected).find('e')));
    }

    // A failed lookup has fired message 1 only and leaves the list.
    rec.events.clear();
    CSmartPtr<Item> stranger(new Item(u"s"));
    EXPECT_EQ(MessageOf<CKvInvalidParamException>([&] { col->AddBeforeItem(stranger, e); }),
              "The object was not found in the collection");
    // Null items are refused before anything is fired.
    EXPECT_THROW(col->AppendItem(nullptr), CKvInvalidParamException);
    EXPECT_THROW(col->AddItemAt(0, nullptr), CKvInvalidParamException);
    EXPECT_EQ(rec.Messages(), "1");
    EXPECT_EQ(col->Names(), "cabd");
}

TEST(CXmlCollection, IndexMessages) {
    CSmartPtr<ItemCol> col(new ItemCol);
    EXPECT_EQ(MessageOf([&] { col->Remove(0); }), "Index 0 is out of range, use 0 - 0");
    for (const char16_t* n : {u"a", u"b", u"c"}) col->AppendItem(new Item(n));
    for (int32_t bad : {3, -1, 100}) {
        const std::string expected = "Index " + std::to_string(bad) + " is out of range, use 0 - 3";
        EXPECT_EQ(MessageOf<CKvInvalidParamException>([&] { col->Remove(bad); }), expected);
        EXPECT_EQ(MessageOf([&] { col->GetNodeAtIndex(bad); }), expected);
    }
    CSmartPtr<Item> x(new Item(u"x"));
    for (int32_t bad : {-1, 4}) EXPECT_EQ(MessageOf([&] { col->AddItemAt(bad, x); }), "Index out of range");
    EXPECT_EQ(col->Names(), "abc");
}

TEST(CXmlCollection, RemovalFiresWithNullDataReleasesItemsAndSinksMayJoinDuringAFiring) {
    const int before = g_itemsAlive;
    Recorder rec, late, twice;
    {
        CSmartPtr<ItemCol> col(new ItemCol);
        for (const char16_t* n : {u"a", u"b", u"c", u"d"}) col->AppendItem(new Item(n));
        col->AddEventListener(&rec);
        col->Remove(1);
        EXPECT_EQ(rec.Messages(), "340");
        for (const Event& e : rec.events) EXPECT_EQ(e.data, nullptr);
        EXPECT_EQ(g_itemsAlive, before + 3);
        rec.events.clear();
        col->Clear();
        EXPECT_EQ(rec.Messages(), "340340340");
        EXPECT_EQ(g_itemsAlive, before);

        rec.addLate = col; // the sink added during message 1 hears message 1 as well
        rec.late = &late;
        col->AppendItem(new Item(u"e"));
        EXPECT_EQ(late.Messages(), "120");
        col->AddEventListener(&twice);
        col->AddEventListener(&twice);
        col->Remove(0);
        EXPECT_EQ(twice.Messages(), "334400");
        col->RemoveEventListener(&twice); // removes every copy
        col->AppendItem(new Item(u"f"));
        rec.events.clear();
    }
    EXPECT_EQ(twice.Messages(), "334400");
    EXPECT_EQ(rec.Messages(), "340"); // the destructor empties the list the same way
    EXPECT_EQ(g_itemsAlive, before);
}

// Copies hold their own nodes on the same items, so that both may be destroyed.
TEST(CXmlCollection, CopiesShareItemsNotNodes) {
    const int before = g_itemsAlive;
    {
        ItemCol original;
        original.AppendItem(new Item(u"a"));
        original.AppendItem(new Item(u"b"));
        ItemCol copy(original), assigned;
        assigned.AppendItem(new Item(u"z"));
        assigned = original;
        EXPECT_EQ(assigned.Names(), "ab");
        EXPECT_EQ(copy.GetHead()->m_item.get(), original.GetHead()->m_item.get());
        copy.Remove(0);
        EXPECT_EQ(original.Names(), "ab");
        EXPECT_EQ(g_itemsAlive, before + 2);
    }
    EXPECT_EQ(g_itemsAlive, before);
}

// Counts are checked against the bounds unless the context says to ignore them (a maximum below the
// minimum is checked first); a collection writes its items without a wrapper and fails before any.
TEST(CXmlCollectionBase, CountValidation) {
    // clang-format off
    // expected empty: valid
    const struct { int32_t min, max, count; bool ignore; const char* expected; } rows[] = {
        {0, -1, 50, false, ""}, {0, 2, 2, false, ""},
        {0, 2, 3, false, "The Maximum number of [item] elements allowed in this collection is 2"},
        {2, 5, 1, false, "The Minimum number of [item] elements allowed in this collection is 2"},
        {0, 2, 3, true, ""}, {2, 5, 1, true, ""},
        {5, 2, 3, false, "The Maximum number of [item] elements allowed in this collection is 2"},
    };
    // clang-format on
    for (const auto& r : rows) {
        CSmartPtr<ItemCol> col(new ItemCol(r.min, r.max));
        for (int32_t i = 0; i < r.count; ++i) col->AppendItem(new Item(u"x"));
        CSerializationContext context;
        context.SetIgnoreInvalidCollectionCounts(r.ignore);
        EXPECT_EQ(col->IsValidCount(context), !*r.expected) << r.expected;
        EXPECT_EQ(MessageOf<CKvValidationException>([&] { col->ValidateCount(context); }),
                  *r.expected ? r.expected : "<no exception>");
    }
    EXPECT_EQ(MessageOf([] { ItemCol().GetTargetNamespace(); }),
              "CXmlCollectionBase::GetTargetNamespace Should not be used from within a Collection (program logic "
              "error)");

    CSmartPtr<ItemCol> col(new ItemCol(0, 1));
    col->AppendItem(new Item(u"a"));
    col->AppendItem(new Item(u"b"));
    CSerializationContext lenient;
    lenient.SetIgnoreInvalidCollectionCounts(true);
    for (const CSerializationContext* context : {&lenient, &CSerializationContext::GetDefaultContext()}) {
        CTextStream stream(4095, XmlEncoding_None);
        stream.Open();
        CXmlTextWriter w(&stream);
        w.SetFormatted(false);
        w.WriteStartElement(u"p", u"");
        col->AttributesToXml_Int(&w, *context);
        const bool failed = MessageOf<CKvValidationException>(
                                [&] { col->ToXml_Int(&w, false, u"", *context, false); }) != "<no exception>";
        EXPECT_EQ(Narrow(stream.GetText()), failed ? "<p a=\"1\" b=\"1\"" : "<p a=\"1\" b=\"1\"><a/><b/>");
        EXPECT_EQ(failed, context != &lenient);
    }
}

// A choice takes its collection once: a second visit reads nothing, and nothing taken is not validated.
TEST(CXmlObjectBase, ChoiceReadCollectionReadsOnceAndValidates) {
    CXmlDocument doc;
    doc.LoadXml(u"<r><item/><item/><other/></r>");
    CXmlElement* first = doc.GetDocumentElement()->GetFirstElement();
    CXmlElement* other = first->GetNextSiblingElement()->GetNextSiblingElement();
    const struct {
        int32_t min, max, itemsRead;
        CXmlElement *start, *end;
        int32_t readAfter, countAfter;
        bool throws;
    } rows[] = {
        {0, -1, 0, first, other, 1, 2, false},
        {0, -1, 1, first, first, 1, 0, false},
        {5, 6, 0, other, other, 0, 0, false},
        {0, 1, 0, first, other, 0, 2, true}, // taken out of bounds: the cursor has moved
    };
    for (const auto& r : rows) {
        CSmartPtr<ItemCol> col(new ItemCol(r.min, r.max));
        CXmlElement* current = r.start;
        int32_t itemsRead = r.itemsRead;
        const std::string message = MessageOf<CKvValidationException>([&] {
            CXmlObjectBase::Choice_Read_Collection(col, doc.GetDocumentElement(), current, itemsRead,
                                                   CSerializationContext::GetDefaultContext());
        });
        EXPECT_EQ(std::tuple(current, itemsRead, col->GetCount(), message != "<no exception>"),
                  std::tuple(r.end, r.readAfter, r.countAfter, r.throws))
            << &r - rows;
    }
}

std::string Xml(const CXmlObjectBase* object, bool formatted = false) {
    return Narrow(object->ToXml(false, formatted, EOLType_LF, CSerializationContext::GetDefaultContext()));
}

TEST(CAttributeCol, NamespaceFromALiteralFirstTokenAndAddForms) {
    // clang-format off
    const struct { const char16_t *ns, *restriction; const char* expected; } rows[] = {
        {u"", u"http://a http://b", "http://a"}, {u"", u" urn:x", ""}, {u"urn:given", u"urn:x", "urn:given"},
        {u"", u"##any", ""}, {u"", u"#a", ""}, {u"", u"a#", ""}, {u"", u"x", ""}, {u"", u"", ""}
    };
    // clang-format on
    for (const auto& r : rows) {
        CSmartPtr<CAttributeCol> col(new CAttributeCol(r.ns, r.restriction, u""));
        EXPECT_EQ(Narrow(col->GetNamespace()), r.expected) << Narrow(r.restriction);
        EXPECT_EQ(Narrow(col->GetTargetNamespace()), r.expected);
    }

    CSmartPtr<CAttributeCol> col(new CAttributeCol(u"urn:a", u"urn:a", u"urn:t"));
    EXPECT_EQ(Narrow(col->Add(u"y", u"2")->GetNamespace() + col->Add(u"z")->GetValue()), "urn:a");
    EXPECT_THROW(col->Add(u"w", u"1", u"urn:b"), CKvInvalidNamespaceException);
    CSmartPtr<CAttributeCol> other(new CAttributeCol(u"urn:b", u"urn:b", u""));
    CAttribute* foreign = other->Add(u"f", u"9");
    EXPECT_EQ(col->Add(foreign), foreign); // the pointer form tests nothing
    EXPECT_EQ(MessageOf([&] { col->Item(3); }), "Index 3 is out of range, use 0 - 3");
}

TEST(CElementCol, RestrictionIsAlwaysAnyAndTheNamespaceRuleIsReversed) {
    CSmartPtr<CElementCol> other(new CElementCol(u"", u"##other", u"urn:t", 3, 4));
    EXPECT_EQ(Narrow(other->GetNamespaceRestriction() + u"|" + other->GetCollectionNamespace()), "##any|##other");
    EXPECT_EQ(Narrow(other->GetNamespace() + u"|" + other->GetTargetNamespace()), "urn:t|urn:t");
    EXPECT_EQ(std::pair(other->GetMinOccurs(), other->GetMaxOccurs()), std::pair(0, -1)); // bounds not used
    EXPECT_NO_THROW(other->Add(u"e", u"urn:t"));                                          // "##other" was not kept
    EXPECT_THROW(CElementCol(u"urn:x", u"##local", u"", 0, -1), CKvInvalidNamespaceException);

    CSmartPtr<CElementCol> literal(new CElementCol(u"", u"urn:lit", u"", 0, -1));
    EXPECT_EQ(MessageOf<CKvInvalidStateException>([&] { literal->Add(u"e"); }),
              "A Namespace has not been set for this Collection");

    CSmartPtr<CElementCol> col(new CElementCol(u"urn:n", u"##any", u"", 0, -1));
    CElement* a = col->Add(u"a");
    EXPECT_EQ(Narrow(a->GetNamespace()), "urn:n");
    col->Add(u"c");
    CSmartPtr<CElement> b(new CElement(u"b", u"urn:elsewhere")), z(new CElement(u"z", u"urn:elsewhere"));
    col->AddAfter(a, b); // no namespace test on these two
    col->AddBefore(nullptr, z);
    std::string names;
    for (CElement* e : *col) names += Narrow(e->GetName());
    EXPECT_EQ(names, "abcz");
}

// Keywords are restrictions, not namespaces; a null name, restriction or target is refused.
TEST(CElement, ConstructorNamespaceRules) {
    for (const char16_t* keyword : {u"##any", u"##other", u"##local", u"##targetNamespace"})
        EXPECT_EQ(MessageOf<CKvInvalidNamespaceException>([&] { CElement e(u"a", keyword); }),
                  "Invalid Namespace [" + Narrow(keyword) + "].");
    // clang-format off
    const struct { const char16_t *name, *restriction, *target; const char* expected; } nulls[] = {
        {nullptr, u"##any", u"", "Element Name must have a value"},
        {u"a", nullptr, u"", "Namespace Restriction must have a value"},
        {u"a", u"##any", nullptr, "Target Namespace must have a value"},
        {u"a", u"##local", u"", "<no exception>"},
    };
    // clang-format on
    for (const auto& n : nulls)
        EXPECT_EQ(MessageOf<CKvInvalidNamespaceException>([&] { CElement e(n.name, u"", n.restriction, n.target); }),
                  n.expected);
    EXPECT_THROW(CElement(u"a", u"urn:other", u"##local", u""), CKvInvalidNamespaceException);
    CElement plain(u"a"), own(u"a", u"urn:x"); // "##any" silently; the namespace doubles as the restriction
    EXPECT_EQ(Narrow(plain.GetNamespaceRestriction() + u"|" + own.GetNamespaceRestriction() + u"|" +
                     own.GetAttributes()->GetNamespace()),
              "##any|urn:x|urn:x");
}

TEST(CElement, SetNamespaceRestrictionsChecksButChangesNothing) {
    CSmartPtr<CElement> root(new CElement(u"r", u"urn:a"));
    root->GetAttributes()->Add(u"x", u"1");
    CElement* child = root->GetChildElements()->Add(u"c", u"urn:a");
    EXPECT_NO_THROW(root->SetNamespaceRestrictions(u"urn:a", u""));
    auto pointerMessage = [&](const char16_t* restriction) {
        try {
            root->SetNamespaceRestrictions(restriction, u"");
        } catch (CKvInvalidNamespaceException* e) { // kept on purpose: thrown by pointer, the handler owns it
            const std::string m = Narrow(e->GetMessage());
            delete e;
            return m;
        }
        return std::string("(no exception)");
    };
    EXPECT_EQ(pointerMessage(u"urn:b"), "The namespace urn:a in the class r is invalid against restriction urn:b");
    child->SetNamespace(u"urn:z");
    EXPECT_EQ(pointerMessage(u"urn:a"), "The namespace urn:z in the class c is invalid against restriction urn:a");
    EXPECT_NO_THROW(root->GetAttributes()->Add(u"late", u"1", u"urn:b")); // the collection is unchanged

    // An attribute that fails passes its exception on by value.
    CSmartPtr<CElement> mixed(new CElement(u"m", u"", u"##any", u"urn:t"));
    mixed->GetAttributes()->Add(u"q", u"1", u"urn:q");
    EXPECT_THROW(mixed->SetNamespaceRestrictions(u"##local", u"urn:t"), CKvInvalidNamespaceException);
}

TEST(CElement, WritesTextBehindChildrenAndADefaultNamespaceThroughAWriterOfItsOwn) {
    CSmartPtr<CElement> root(new CElement(u"r", u"urn:r"));
    root->SetText(u"t&");
    root->GetAttributes()->Add(u"a", u"1", u"");
    root->GetAttributes()->Add(u"b", u"2", u"urn:b");
    root->GetChildElements()->Add(u"c", u"urn:r")->SetText(u"in");
    root->GetChildElements()->Add(u"d", u"");
    EXPECT_EQ(
        Xml(root, true),
        "<AA:r xmlns:AA=\"urn:r\" a=\"1\" xmlns:AB=\"urn:b\" AB:b=\"2\">\n\t<AA:c>in</AA:c>\n\t<d/>\nt&amp;</AA:r>\n");

    CSmartPtr<CElement> outer(new CElement(u"r"));
    CSmartPtr<CElement> inner(new CElement(u"i", u"urn:d"));
    inner->SetDefaultNamespace(u"urn:d");
    inner->GetAttributes()->Add(u"dropped", u"1");
    inner->GetChildElements()->Add(u"k", u"urn:d");
    inner->SetText(u"x");
    outer->GetChildElements()->Add(inner);
    outer->GetChildElements()->Add(u"after", u"");
    EXPECT_EQ(Xml(outer), "<r><i xmlns=\"urn:d\"><k/>x</i><after/></r>");
    // Formatted: indented as a root, its own line end and the outer writer's make an empty line.
    EXPECT_EQ(Xml(outer, true), "<r>\n<i xmlns=\"urn:d\">\n\t<k/>\nx</i>\n\n\t<after/>\n</r>\n");
}

// A writer that is not the XML text writer cannot take the splice of the separate writer.
class NullWriter : public CXmlWriter {
public:
    void WriteComment(const std::u16string&) override {}
    void WriteProcessingInstruction(const std::u16string&) override {}
    void WriteInLineSchema(const std::u16string&) override {}
    void WriteStartElement(const std::u16string&, const std::u16string&) override {}
    void WriteElementText(const std::u16string&, ItemType, bool) override {}
    void WriteEndElement() override {}
    void WriteAttribute(const std::u16string&, const std::u16string&, const std::u16string&, ItemType) override {}
    void WriteXsiType(const std::u16string&, const std::u16string&, ItemType) override {}
    void WriteXsiNil() override {}
};

TEST(CElement, SeparateWriterPathRefusesOtherWriters) {
    CSmartPtr<CElement> e(new CElement(u"i", u"urn:d"));
    NullWriter writer;
    EXPECT_NO_THROW(e->ToXml_Int(&writer, true, u"", CSerializationContext::GetDefaultContext(), false));
    e->SetDefaultNamespace(u"urn:d");
    EXPECT_THROW(e->ToXml_Int(&writer, true, u"", CSerializationContext::GetDefaultContext(), false), CKvException);
}

TEST(CElement, CopyXmlElementCloneAndFromXml) {
    const char16_t* xml = u"<r xmlns='urn:r' xmlns:p='urn:p' a='1' p:b='2'>x<c>in</c>y<p:d><e/></p:d></r>";
    CXmlDocument doc;
    doc.LoadXml(xml);
    CSmartPtr<CElement> copied(new CElement(u"old")), read(new CElement(u"old"));
    copied->GetChildElements()->Add(u"stale", u"");
    copied->GetAttributes()->Add(u"stale", u"1");
    copied->CopyXmlElement(doc.GetDocumentElement());
    read->FromXml(xml);
    for (CElement* e : {copied.get(), read.get()}) {
        EXPECT_EQ(Narrow(e->GetName() + u"|" + e->GetNamespace() + u"|" + e->GetText()), "r|urn:r|xy");
        // Mixed content is written with all its text behind the children.
        EXPECT_EQ(Xml(e),
                  "<AA:r xmlns:AA=\"urn:r\" a=\"1\" xmlns:AB=\"urn:p\" AB:b=\"2\"><AA:c>in</AA:c>"
                  "<AB:d><AA:e/></AB:d>xy</AA:r>");
    }

    // A tree from a parser that leaves declarations as attributes.
    CXmlElement hand(nullptr, nullptr);
    hand.SetElementName(u"h");
    hand.AddAttribute(u"xmlns", u"urn:h", u"");
    CSmartPtr<CElement> h(new CElement(u"x"));
    h->CopyXmlElement(&hand);
    EXPECT_EQ(Narrow(h->GetDefaultNamespace()), "urn:h");

    // Clone is deep and loses the default namespace; the member-wise copy shares the collections.
    read->SetDefaultNamespace(u"urn:d");
    CSmartPtr<CElement> clone = read->Clone();
    clone->GetChildElements()->Item(0)->SetName(u"changed");
    clone->GetAttributes()->Item(0)->SetValue(u"2");
    EXPECT_EQ(Narrow(read->GetChildElements()->Item(0)->GetName() + read->GetAttributes()->Item(0)->GetValue()), "c1");
    EXPECT_EQ(Xml(clone),
              "<AA:r xmlns:AA=\"urn:r\" a=\"2\" xmlns:AB=\"urn:p\" AB:b=\"2\"><AA:changed>in</AA:changed>"
              "<AB:d><AA:e/></AB:d>xy</AA:r>");
    CElement shallow(*read);
    EXPECT_EQ(shallow.GetChildElements().get(), read->GetChildElements().get());
}

TEST(CElement, ReadingRespectsTheRestrictions) {
    CXmlDocument doc;
    doc.LoadXml(u"<r xmlns='urn:r' xmlns:q='urn:q' q:a='1'><n>1</n><n>2</n><m/></r>");
    CXmlElement* root = doc.GetDocumentElement();
    CXmlElement* m = root->GetFirstElement()->GetNextSiblingElement()->GetNextSiblingElement();
    const CSerializationContext& context = CSerializationContext::GetDefaultContext();
    CSmartPtr<CElement> wrong(new CElement(u"r", u"", u"urn:other", u""));
    EXPECT_EQ(wrong->FromXml_Int(root, root, context, false), root); // consumed nothing

    CSmartPtr<CAttributeCol> local(new CAttributeCol(u"", u"##local", u""));
    EXPECT_EQ(MessageOf([&] { local->FromXml_Int(root, nullptr, context, false); }),
              "Invalid Attribute [a]. The attributes namespace is Inappropriate.\nPath: /r");
    CSmartPtr<CAttributeCol> any(new CAttributeCol(u"", u"##any", u""));
    EXPECT_EQ(any->FromXml_Int(root, m, context, false), m); // the cursor comes back unchanged
    EXPECT_EQ(MessageOf([&] { any->Item(0)->FromXml_Int(root, nullptr, context, false); }),
              "This should be done by the collection");

    // The locked form takes only the named elements, with restriction "##any".
    CSmartPtr<CElementCol> col(new CElementCol(u"", u"##any", u"urn:t", 0, -1));
    EXPECT_EQ(col->FromXmlLockElementName_Int(u"n", u"urn:r", root, root->GetFirstElement(), context, false), m);
    ASSERT_EQ(col->GetCount(), 2);
    EXPECT_EQ(Narrow(col->Item(1)->GetText() + col->Item(1)->GetNamespaceRestriction()), "2##any");
    EXPECT_EQ(col->FromXmlLockElementName_Int(u"n", u"", root, root->GetFirstElement(), context, false),
              root->GetFirstElement());
    CSmartPtr<CElementCol> all(new CElementCol(u"", u"##any", u"", 0, -1));
    EXPECT_EQ(all->FromXml_Int(root, root->GetFirstElement(), context, false), nullptr);
    EXPECT_EQ(all->GetCount(), 3);
}

std::u16string Nested(int depth) {
    std::u16string xml;
    for (int i = 0; i < depth; ++i) xml += u"<a>";
    for (int i = 0; i < depth; ++i) xml += u"</a>";
    return xml;
}

// Mutated documents and random restrictions through every wildcard path only return or throw.
TEST(CElement, RandomDocumentsAndNamespacesOnlyReturnOrThrow) {
    std::mt19937 rng(3);
    const std::u16string seed =
        u"<r xmlns='urn:r' xmlns:p='urn:p' a='1' p:b='&amp;'>x<c>in</c><![CDATA[y]]><p:d><e p:f=''/></p:d></r>";
    const std::u16string noise = u"<>/='\"&;#:px \u00e9\xD800";
    const char16_t* words[] = {u"",      u"##any", u"##other",       u"##local", u"##targetNamespace",
                               u"urn:r", u"urn:p", u"##other urn:r", u" ",       u"#"};
    for (int i = 0; i < 2000; ++i) {
        std::u16string xml = seed;
        for (int n = static_cast<int>(rng() % 4); n >= 0 && !xml.empty(); --n) {
            const std::size_t at = rng() % xml.size();
            if (rng() % 2)
                xml.erase(at, 1 + rng() % 8);
            else
                xml.insert(at, 1, noise[rng() % noise.size()]);
        }
        const char16_t* pick[3];
        for (auto& p : pick) p = words[rng() % std::size(words)];
        try {
            CSmartPtr<CElement> e(new CElement(u"e", pick[0], pick[1], pick[2]));
            CXmlDocument doc;
            doc.LoadXml(xml.c_str());
            if (doc.GetDocumentElement())
                CSmartPtr<CElement>(new CElement(u"c"))->CopyXmlElement(doc.GetDocumentElement());
            e->FromXml(xml.c_str());
            e->SetNamespaceRestrictions(pick[1], pick[2]);
            Xml(e->Clone());
        } catch (const CKvException&) {
        } catch (CKvException* e) {
            delete e;
        }
    }
}

TEST(CElement, DeepNestingFailsCleanly) {
    CSmartPtr<CElement> e(new CElement(u"x"));
    EXPECT_NO_THROW(e->FromXml(Nested(kMaxNestingDepth).c_str()));
    EXPECT_THROW(e->FromXml(Nested(kMaxNestingDepth + 1).c_str()), CKvException);
    CXmlDocument doc;
    doc.LoadXml(Nested(kMaxNestingDepth + 5).c_str());
    EXPECT_THROW(e->CopyXmlElement(doc.GetDocumentElement()), CKvException);
}

} // namespace
