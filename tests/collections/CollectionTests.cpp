#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/collections/CAttributeCol.h"
#include "kvxml/collections/CXmlCollection.h"
#include "kvxml/collections/CXmlTypeCollection.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"
#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;

namespace {

std::string Narrow(const std::u16string& s) { return std::string(s.begin(), s.end()); }

int g_itemsAlive = 0;

// A minimal object: written as <name/>, or as the attribute name="1" of its parent.
class Item : public CXmlObjectBase {
public:
    explicit Item(const char16_t* name) { SetElementName(name); ++g_itemsAlive; }
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
        for (const CNode* n = m_head; n; n = n->m_next) n->m_item->GetBase()->ToXml_Int(writer, false, ns, context, false);
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
    int index;  // read during the call, for messages 3 and 4 with data
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
    CXmlCollectionBase* addLate = nullptr;  // adds `late` to this collection during its first event
    IEventSink* late = nullptr;
};

template <class F>
std::string MessageOf(F f) {
    try {
        f();
    } catch (const CKvException& e) {
        return Narrow(e.GetMessage());
    }
    return "(no exception)";
}

TEST(CXmlCollection, InsertionPositionsAndTheirMessages) {
    Recorder rec;  // outlives the collection, whose destructor fires
    CSmartPtr<ItemCol> col(new ItemCol);
    col->AddEventListener(&rec);
    CSmartPtr<Item> a(new Item(u"a")), b(new Item(u"b")), c(new Item(u"c")), d(new Item(u"d")), e(new Item(u"e"));
    col->AppendItem(b);
    ASSERT_EQ(rec.Messages(), "120");
    EXPECT_TRUE(rec.events[0].data == b.get() && rec.events[1].data == b.get() && rec.events[2].data == nullptr);
    for (const Event& ev : rec.events) EXPECT_EQ(ev.source, col.get());
    col->PrependItem(a);
    col->AddAfterItem(nullptr, c);   // null: first
    col->AddBeforeItem(nullptr, d);  // null: last
    EXPECT_EQ(col->Names(), "cabd");
    const struct {
        int how, at;  // 0 after, 1 before, 2 at index
        const char* expected;
    } rows[] = {{0, 'd', "cabde"}, {1, 'c', "ecabd"}, {0, 'a', "caebd"}, {2, 4, "cabde"}, {2, 0, "ecabd"}, {2, 2, "caebd"}};
    CXmlObjectBase* byName[] = {a, b, c, d};
    for (const auto& r : rows) {
        if (r.how == 2) col->AddItemAt(r.at, e);
        else (col.get()->*(r.how ? &ItemCol::AddBeforeItem : &ItemCol::AddAfterItem))(byName[r.at - 'a'], e);
        EXPECT_EQ(col->Names(), r.expected);
        col->Remove(static_cast<int32_t>(std::string(r.expected).find('e')));
    }

    // A failed lookup has fired message 1 only and leaves the list.
    rec.events.clear();
    CSmartPtr<Item> stranger(new Item(u"s"));
    EXPECT_EQ(MessageOf([&] { col->AddAfterItem(stranger, e); }), "The object was not found in the collection");
    EXPECT_THROW(col->AddBeforeItem(stranger, e), CKvInvalidParamException);
    EXPECT_EQ(rec.Messages(), "11");
    // Null items are refused before anything is fired.
    EXPECT_THROW(col->AppendItem(nullptr), CKvInvalidParamException);
    EXPECT_THROW(col->AddItemAt(0, nullptr), CKvInvalidParamException);
    EXPECT_EQ(rec.Messages(), "11");
    EXPECT_EQ(col->Names(), "cabd");
}

TEST(CXmlCollection, IndexMessages) {
    CSmartPtr<ItemCol> col(new ItemCol);
    EXPECT_EQ(MessageOf([&] { col->Remove(0); }), "Index 0 is out of range, use 0 - 0");
    for (const char16_t* n : {u"a", u"b", u"c"}) col->AppendItem(new Item(n));
    for (int32_t bad : {3, -1, 100}) {
        const std::string expected = "Index " + std::to_string(bad) + " is out of range, use 0 - 3";
        EXPECT_EQ(MessageOf([&] { col->Remove(bad); }), expected);
        EXPECT_EQ(MessageOf([&] { col->GetNodeAtIndex(bad); }), expected);
    }
    CSmartPtr<Item> x(new Item(u"x"));
    for (int32_t bad : {-1, 4}) EXPECT_EQ(MessageOf([&] { col->AddItemAt(bad, x); }), "Index out of range");
    EXPECT_THROW(col->Remove(3), CKvInvalidParamException);
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

        rec.addLate = col;  // the sink added during message 1 hears message 1 as well
        rec.late = &late;
        col->AppendItem(new Item(u"e"));
        EXPECT_EQ(late.Messages(), "120");
        col->AddEventListener(&twice);
        col->AddEventListener(&twice);
        col->Remove(0);
        EXPECT_EQ(twice.Messages(), "334400");
        col->RemoveEventListener(&twice);  // removes every copy
        col->AppendItem(new Item(u"f"));
        rec.events.clear();
    }
    EXPECT_EQ(twice.Messages(), "334400");
    EXPECT_EQ(rec.Messages(), "340");  // the destructor empties the list the same way
    EXPECT_EQ(g_itemsAlive, before);
}

TEST(CXmlCollection, IndexEventsAndTheSingleSinkForms) {
    Recorder rec, one;
    CSmartPtr<ItemCol> col(new ItemCol);
    col->AddEventListener(&rec);
    col->FireOnCollectionRemove(7);
    col->FireOnCollectionRemoveComplete(-1);
    ASSERT_EQ(rec.Messages(), "34");
    EXPECT_EQ(rec.events[0].index, 7);
    EXPECT_EQ(rec.events[1].data, nullptr);

    int value = 5;
    CXmlObjectBase::FireOnCollectionChangeEvent(&one, col);
    CXmlObjectBase::FireOnCollectionAddEvent(&one, col, &value);
    CXmlObjectBase::FireOnCollectionAddCompleteEvent(&one, col, &value);
    CXmlObjectBase::FireOnCollectionRemoveEvent(&one, col, 2);
    CXmlObjectBase::FireOnCollectionRemoveCompleteEvent(&one, col, -1);
    ASSERT_EQ(one.Messages(), "01234");
    EXPECT_TRUE(one.events[0].data == nullptr && one.events[1].data == &value && one.events[2].data == &value);
    EXPECT_EQ(one.events[3].index, 2);
    EXPECT_EQ(one.events[4].data, nullptr);
    for (const Event& e : one.events) EXPECT_EQ(e.source, col.get());
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

TEST(CXmlCollectionBase, CountValidationAndNamespaces) {
    const struct {
        int32_t min, max, count;
        bool ignore;
        const char* expected;  // empty: valid
    } rows[] = {
        {0, -1, 50, false, ""},
        {0, 2, 2, false, ""},
        {0, 2, 3, false, "The Maximum number of [item] elements allowed in this collection is 2"},
        {2, 5, 1, false, "The Minimum number of [item] elements allowed in this collection is 2"},
        {0, 2, 3, true, ""},
        {2, 5, 1, true, ""},
        {5, 2, 3, false, "The Maximum number of [item] elements allowed in this collection is 2"},
    };
    for (const auto& r : rows) {
        CSmartPtr<ItemCol> col(new ItemCol(r.min, r.max));
        for (int32_t i = 0; i < r.count; ++i) col->AppendItem(new Item(u"x"));
        CSerializationContext context;
        context.SetIgnoreInvalidCollectionCounts(r.ignore);
        EXPECT_EQ(col->IsValidCount(context), !*r.expected) << r.expected;
        EXPECT_EQ(MessageOf([&] { col->ValidateCount(context); }), *r.expected ? r.expected : "(no exception)");
        if (*r.expected) {
            EXPECT_THROW(col->ValidateCount(context), CKvValidationException);
        }
    }
    CSmartPtr<ItemCol> col(new ItemCol);
    EXPECT_EQ(Narrow(col->GetNamespace()), "urn:i");
    EXPECT_EQ(MessageOf([&] { col->GetTargetNamespace(); }),
              "CXmlCollectionBase::GetTargetNamespace Should not be used from within a Collection (program logic error)");
}

std::string Write(const std::function<void(CXmlTextWriter&)>& body) {
    CTextStream stream(4095, XmlEncoding_None);
    stream.Open();
    CXmlTextWriter writer(&stream);
    writer.SetFormatted(false);
    body(writer);
    return Narrow(stream.GetText());
}

TEST(CXmlCollection, WritesItemsWithoutAWrapperAndFailsOutOfBoundsBeforeAnyItem) {
    CSmartPtr<ItemCol> col(new ItemCol(0, 1));
    col->AppendItem(new Item(u"a"));
    col->AppendItem(new Item(u"b"));
    const CSerializationContext strict;
    CSerializationContext lenient;
    lenient.SetIgnoreInvalidCollectionCounts(true);
    EXPECT_EQ(Write([&](CXmlTextWriter& w) {
                  w.WriteStartElement(u"p", u"");
                  col->AttributesToXml_Int(&w, strict);
                  col->ToXml_Int(&w, false, u"", lenient, false);
                  w.WriteEndElement();
              }),
              "<p a=\"1\" b=\"1\"><a/><b/></p>");
    EXPECT_THROW(Write([&](CXmlTextWriter& w) {
                     w.WriteStartElement(u"p", u"");
                     col->ToXml_Int(&w, false, u"", strict, false);
                 }),
                 CKvValidationException);
}

TEST(CXmlObjectBase, ChoiceReadCollectionReadsOnceAndValidates) {
    CXmlDocument doc;
    doc.LoadXml(u"<r><item/><item/><other/></r>");
    CXmlElement* first = doc.GetDocumentElement()->GetFirstElement();
    CXmlElement* other = first->GetNextSiblingElement()->GetNextSiblingElement();
    const CSerializationContext context;
    const struct {
        int32_t min, max, itemsRead;
        CXmlElement* start;
        CXmlElement* end;
        int32_t readAfter, countAfter;
        bool throws;
    } rows[] = {
        {0, -1, 0, first, other, 1, 2, false},
        {0, -1, 1, first, first, 1, 0, false},  // already read: nothing happens
        {5, 6, 0, other, other, 0, 0, false},   // nothing taken: no count, no validation
        {0, 1, 0, first, other, 0, 2, true},    // taken out of bounds: the cursor has moved
    };
    for (const auto& r : rows) {
        CSmartPtr<ItemCol> col(new ItemCol(r.min, r.max));
        CXmlElement* current = r.start;
        int32_t itemsRead = r.itemsRead;
        if (r.throws)
            EXPECT_THROW(CXmlObjectBase::Choice_Read_Collection(col, doc.GetDocumentElement(), current, itemsRead, context),
                         CKvValidationException);
        else
            CXmlObjectBase::Choice_Read_Collection(col, doc.GetDocumentElement(), current, itemsRead, context);
        EXPECT_EQ(current, r.end);
        EXPECT_EQ(itemsRead, r.readAfter);
        EXPECT_EQ(col->GetCount(), r.countAfter);
    }
}

// The primitive frame: every matching sibling's text goes to the add-from-text slot.
class TextCol : public CXmlTypeCollection {
public:
    TextCol()
        : CXmlTypeCollection(ItemType_string, u"v", u"urn:v", 0, -1, u"[a-z]+", 1, 9, nullptr, nullptr, nullptr,
                             nullptr, -1, -1, -1, CWhitespaceUtils::WhitespaceRule_Collapse, nullptr) {}
    int32_t GetCount() const override { return static_cast<int32_t>(texts.size()); }
    void Clear() override { texts.clear(); }
    void Remove(int32_t index) override { texts.erase(texts.begin() + index); }
    void ToXml_Int(CXmlWriter*, bool, const char16_t*, const CSerializationContext&, bool) const override {}
    void AddFromString(const std::u16string& text) override {
        CheckStringRestrictions(m_elementName.c_str(), text, m_restrictions);
        texts.push_back(Narrow(text));
    }
    std::vector<std::string> texts;
};

TEST(CXmlTypeCollection, ReadsMatchingSiblingsAndStopsAtTheFirstOther) {
    CXmlDocument doc;
    doc.LoadXml(u"<r xmlns='urn:v'><v>ab</v><v>cd</v><w>x</w><v>ef</v><x:v xmlns:x='urn:x'/><v>AB</v></r>");
    CXmlElement* v1 = doc.GetDocumentElement()->GetFirstElement();
    CXmlElement* w = v1->GetNextSiblingElement()->GetNextSiblingElement();
    CXmlElement* xv = w->GetNextSiblingElement()->GetNextSiblingElement();
    CSmartPtr<TextCol> col(new TextCol);
    const CSerializationContext context;
    EXPECT_EQ(col->FromXml_Int(nullptr, v1, context, false), w);
    EXPECT_EQ(col->texts, (std::vector<std::string>{"ab", "cd"}));
    EXPECT_EQ(col->FromXml_Int(nullptr, w->GetNextSiblingElement(), context, false), xv);  // other namespace
    EXPECT_THROW(col->FromXml_Int(nullptr, xv->GetNextSiblingElement(), context, false), CKvException);  // facet
    EXPECT_EQ(col->FromXml_Int(nullptr, nullptr, context, false), nullptr);
}

TEST(CSerializationContext, AdditionalRootAttributesAreMadeOnceAndShared) {
    CSerializationContext context;
    CSmartPtr<CAttributeCol> first = context.GetAdditionalRootAttributes();
    EXPECT_EQ(first.get(), context.GetAdditionalRootAttributes().get());
    EXPECT_EQ(Narrow(first->GetNamespace() + u"|" + first->GetNamespaceRestriction()), "|##any");
    CSerializationContext copy(context);
    EXPECT_EQ(copy.GetAdditionalRootAttributes().get(), first.get());
    EXPECT_NE(CSerializationContext().GetAdditionalRootAttributes().get(), first.get());
}

} // namespace
