#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/collections/CAttributeCol.h"
#include "kvxml/collections/CXmlCollection.h"
#include "kvxml/collections/CXmlTypeCollection.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"
#include "kvxml/values/KvVariant.h"
#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;

namespace {

std::string Narrow(const std::u16string& s) { return std::string(s.begin(), s.end()); }

int g_itemsAlive = 0;

// A minimal object: written as <name a="name"/>.
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

// A typed collection as generated code would write one, with the protected list operations opened.
class ItemCol : public CXmlCollection {
public:
    ItemCol(int32_t minOccurs = 0, int32_t maxOccurs = -1) : CXmlCollection(u"item", u"urn:i", minOccurs, maxOccurs) {}
    using CXmlCollection::AddAfterItem;
    using CXmlCollection::AddBeforeItem;
    using CXmlCollection::AddItemAt;
    using CXmlCollection::AppendItem;
    using CXmlCollection::FireOnCollectionAdd;
    using CXmlCollection::FireOnCollectionRemove;
    using CXmlCollection::FireOnCollectionRemoveComplete;
    using CXmlCollection::GetNodeAtIndex;
    using CXmlCollection::GetNodeForItem;
    using CXmlCollection::PrependItem;

    void ToXml_Int(CXmlWriter* writer, bool, const char16_t* ns, const CSerializationContext& context,
                   bool) const override {
        ValidateCount(context);
        for (const CNode* n = m_head; n; n = n->m_next) n->m_item->GetBase()->ToXml_Int(writer, false, ns, context, false);
    }
    CXmlElement* FromXml_Int(CXmlElement*, CXmlElement* element, const CSerializationContext&, bool) override {
        while (element && element->GetLocalName() == m_elementName) {
            AppendItem(new Item(element->GetLocalName().c_str()));
            element = element->GetNextSiblingElement();
        }
        return element;
    }

    std::string Names() const {
        std::string out;
        for (const CNode* n = m_head; n; n = n->m_next) out += Narrow(n->m_item->GetElementName());
        // The backward links must tell the same story.
        std::string back;
        for (const CNode* n = m_tail; n; n = n->m_previous) back.insert(0, Narrow(n->m_item->GetElementName()));
        EXPECT_EQ(out, back);
        return out;
    }
};

struct Event {
    CXmlObjectBase* source;
    int message;
    void* data;
    int index;  // copied at the time of the call for messages 3 and 4 with data
};

class Recorder : public IEventSink {
public:
    void OnEvent(CXmlObjectBase* source, MsgType message, void* data) override {
        const int index = (message >= 3 && data) ? *static_cast<int32_t*>(data) : -100;
        events.push_back({source, static_cast<int>(message), data, index});
    }
    std::string Messages() const {
        std::string s;
        for (const Event& e : events) s += char('0' + e.message);
        return s;
    }
    std::vector<Event> events;
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

TEST(CXmlCollection, AddingFiresAboutToAddAddedChangedWithTheItem) {
    Recorder rec;  // sinks must outlive the collection, whose destructor fires
    CSmartPtr<ItemCol> col(new ItemCol);
    col->AddEventListener(&rec);
    CSmartPtr<Item> a(new Item(u"a"));
    col->AppendItem(a);
    ASSERT_EQ(rec.Messages(), "120");
    EXPECT_EQ(rec.events[0].data, a.get());
    EXPECT_EQ(rec.events[1].data, a.get());
    EXPECT_EQ(rec.events[2].data, nullptr);
    for (const Event& e : rec.events) EXPECT_EQ(e.source, col.get());
    EXPECT_EQ(col->GetCount(), 1);
}

TEST(CXmlCollection, InsertionPositions) {
    CSmartPtr<ItemCol> col(new ItemCol);
    CSmartPtr<Item> a(new Item(u"a")), b(new Item(u"b")), c(new Item(u"c")), d(new Item(u"d")), e(new Item(u"e"));
    col->AppendItem(b);
    col->PrependItem(a);
    EXPECT_EQ(col->Names(), "ab");
    col->AddAfterItem(nullptr, c);  // null: first
    EXPECT_EQ(col->Names(), "cab");
    col->AddBeforeItem(nullptr, d);  // null: last
    EXPECT_EQ(col->Names(), "cabd");
    col->AddAfterItem(d, e);
    EXPECT_EQ(col->Names(), "cabde");
    col->Remove(4);
    col->AddBeforeItem(c, e);
    EXPECT_EQ(col->Names(), "ecabd");
    col->Remove(0);
    col->AddAfterItem(a, e);
    EXPECT_EQ(col->Names(), "caebd");
    col->Remove(2);
    col->AddItemAt(4, e);  // index == count appends
    EXPECT_EQ(col->Names(), "cabde");
    col->Remove(4);
    col->AddItemAt(0, e);
    EXPECT_EQ(col->Names(), "ecabd");
    col->Remove(0);
    col->AddItemAt(2, e);
    EXPECT_EQ(col->Names(), "caebd");
    EXPECT_EQ(col->GetCount(), 5);
}

TEST(CXmlCollection, FailedLookupFiresOnlyTheFirstMessageAndLeavesTheList) {
    Recorder rec;
    CSmartPtr<ItemCol> col(new ItemCol);
    CSmartPtr<Item> a(new Item(u"a")), stranger(new Item(u"s")), b(new Item(u"b"));
    col->AppendItem(a);
    col->AddEventListener(&rec);
    EXPECT_EQ(MessageOf([&] { col->AddAfterItem(stranger, b); }), "The object was not found in the collection");
    EXPECT_EQ(MessageOf([&] { col->AddBeforeItem(stranger, b); }), "The object was not found in the collection");
    EXPECT_EQ(rec.Messages(), "11");
    EXPECT_EQ(col->Names(), "a");
    EXPECT_THROW(col->AddAfterItem(stranger, b), CKvInvalidParamException);
}

TEST(CXmlCollection, IndexMessages) {
    CSmartPtr<ItemCol> col(new ItemCol);
    CSmartPtr<Item> x(new Item(u"x"));
    EXPECT_EQ(MessageOf([&] { col->Remove(0); }), "Index 0 is out of range, use 0 - 0");
    for (const char16_t* n : {u"a", u"b", u"c"}) col->AppendItem(new Item(n));
    const struct {
        int32_t index;
        const char* expected;
    } removeRows[] = {
        {3, "Index 3 is out of range, use 0 - 3"},  // the count, not count - 1
        {-1, "Index -1 is out of range, use 0 - 3"},
        {100, "Index 100 is out of range, use 0 - 3"},
    };
    for (const auto& r : removeRows) {
        EXPECT_EQ(MessageOf([&] { col->Remove(r.index); }), r.expected);
        EXPECT_EQ(MessageOf([&] { col->GetNodeAtIndex(r.index); }), r.expected);
    }
    for (int32_t bad : {-1, 4}) EXPECT_EQ(MessageOf([&] { col->AddItemAt(bad, x); }), "Index out of range");
    EXPECT_THROW(col->AddItemAt(-1, x), CKvInvalidParamException);
    EXPECT_THROW(col->Remove(3), CKvInvalidParamException);
    EXPECT_EQ(col->Names(), "abc");
    EXPECT_EQ(Narrow(col->GetNodeAtIndex(2)->m_item->GetElementName()), "c");
}

TEST(CXmlCollection, RemoveAndClearFireWithNullDataAndReleaseItems) {
    const int before = g_itemsAlive;
    Recorder rec;
    {
        CSmartPtr<ItemCol> col(new ItemCol);
        for (const char16_t* n : {u"a", u"b", u"c"}) col->AppendItem(new Item(n));
        EXPECT_EQ(g_itemsAlive, before + 3);
        col->AddEventListener(&rec);
        col->Remove(1);
        EXPECT_EQ(rec.Messages(), "340");
        for (const Event& e : rec.events) EXPECT_EQ(e.data, nullptr);
        EXPECT_EQ(g_itemsAlive, before + 2);
        EXPECT_EQ(col->Names(), "ac");
        rec.events.clear();
        col->AppendItem(new Item(u"d"));
        rec.events.clear();
        col->Clear();
        EXPECT_EQ(rec.Messages(), "340340340");
        EXPECT_EQ(col->GetCount(), 0);
        EXPECT_EQ(g_itemsAlive, before);
        col->AppendItem(new Item(u"e"));
        rec.events.clear();
    }
    // The destructor empties the list the same way.
    EXPECT_EQ(rec.Messages(), "340");
    EXPECT_EQ(g_itemsAlive, before);
}

TEST(CXmlCollection, NullItemsAreRefusedBeforeAnyMessage) {
    Recorder rec;
    CSmartPtr<ItemCol> col(new ItemCol);
    col->AddEventListener(&rec);
    EXPECT_THROW(col->AppendItem(nullptr), CKvInvalidParamException);
    EXPECT_THROW(col->PrependItem(nullptr), CKvInvalidParamException);
    EXPECT_THROW(col->AddAfterItem(nullptr, nullptr), CKvInvalidParamException);
    EXPECT_THROW(col->AddItemAt(0, nullptr), CKvInvalidParamException);
    EXPECT_EQ(rec.Messages(), "");
    EXPECT_EQ(col->GetCount(), 0);
}

TEST(CXmlCollection, CopyHoldsItsOwnNodesOnTheSameItems) {
    const int before = g_itemsAlive;
    {
        ItemCol original;
        original.AppendItem(new Item(u"a"));
        original.AppendItem(new Item(u"b"));
        ItemCol copy(original);
        ItemCol assigned;
        assigned.AppendItem(new Item(u"z"));
        assigned = original;
        EXPECT_EQ(copy.Names(), "ab");
        EXPECT_EQ(assigned.Names(), "ab");
        EXPECT_EQ(copy.GetHead()->m_item.get(), original.GetHead()->m_item.get());
        EXPECT_NE(copy.GetHead(), original.GetHead());
        copy.Remove(0);
        EXPECT_EQ(original.Names(), "ab");
        EXPECT_EQ(g_itemsAlive, before + 2);
    }
    EXPECT_EQ(g_itemsAlive, before);
}

class AddingSink : public IEventSink {
public:
    AddingSink(CXmlCollectionBase* col, IEventSink* late) : m_col(col), m_late(late) {}
    void OnEvent(CXmlObjectBase*, MsgType, void*) override {
        if (m_late) m_col->AddEventListener(m_late);
        m_late = nullptr;
    }

private:
    CXmlCollectionBase* m_col;
    IEventSink* m_late;
};

TEST(CXmlCollection, SinksAddedDuringAFiringHearTheSameMessageAndRemovalTakesAllCopies) {
    Recorder late, twice;
    CSmartPtr<ItemCol> col(new ItemCol);
    AddingSink adder(col, &late);
    col->AddEventListener(&adder);
    col->AppendItem(new Item(u"a"));
    EXPECT_EQ(late.Messages(), "120");

    col->AddEventListener(&twice);
    col->AddEventListener(&twice);
    col->Remove(0);
    EXPECT_EQ(twice.Messages(), "334400");
    col->RemoveEventListener(&twice);
    col->RemoveEventListener(&late);
    col->AppendItem(new Item(u"b"));
    EXPECT_EQ(twice.Messages(), "334400");
    EXPECT_EQ(late.Messages(), "120340");
    col->RemoveEventListener(&adder);
}

TEST(CXmlCollection, IndexEventsPointAtTheIndexOrAreNull) {
    Recorder rec;
    CSmartPtr<ItemCol> col(new ItemCol);
    col->AddEventListener(&rec);
    col->FireOnCollectionRemove(7);
    col->FireOnCollectionRemoveComplete(0);
    col->FireOnCollectionRemove(-1);
    ASSERT_EQ(rec.Messages(), "343");
    EXPECT_EQ(rec.events[0].index, 7);
    EXPECT_EQ(rec.events[1].index, 0);
    EXPECT_EQ(rec.events[2].data, nullptr);

    // The single-sink forms of the object base.
    Recorder one;
    int value = 5;
    CXmlObjectBase::FireOnCollectionChangeEvent(&one, col);
    CXmlObjectBase::FireOnCollectionAddEvent(&one, col, &value);
    CXmlObjectBase::FireOnCollectionAddCompleteEvent(&one, col, &value);
    CXmlObjectBase::FireOnCollectionRemoveEvent(&one, col, 2);
    CXmlObjectBase::FireOnCollectionRemoveCompleteEvent(&one, col, -1);
    ASSERT_EQ(one.Messages(), "01234");
    EXPECT_EQ(one.events[0].data, nullptr);
    EXPECT_EQ(one.events[1].data, &value);
    EXPECT_EQ(one.events[2].data, &value);
    EXPECT_EQ(one.events[3].index, 2);
    EXPECT_EQ(one.events[4].data, nullptr);
    for (const Event& e : one.events) EXPECT_EQ(e.source, col.get());
}

TEST(CXmlCollectionBase, CountValidation) {
    const struct {
        int32_t min, max, count;
        bool ignore;
        const char* expected;  // empty: valid
    } rows[] = {
        {0, -1, 50, false, ""},
        {0, 2, 2, false, ""},
        {0, 2, 3, false, "The Maximum number of [item] elements allowed in this collection is 2"},
        {2, 5, 1, false, "The Minimum number of [item] elements allowed in this collection is 2"},
        {2, 5, 2, false, ""},
        {1, -1, 0, false, "The Minimum number of [item] elements allowed in this collection is 1"},
        {0, 2, 3, true, ""},
        {2, 5, 1, true, ""},
        // Both bounds broken: the maximum is reported.
        {5, 2, 3, false, "The Maximum number of [item] elements allowed in this collection is 2"},
    };
    for (const auto& r : rows) {
        CSmartPtr<ItemCol> col(new ItemCol(r.min, r.max));
        for (int32_t i = 0; i < r.count; ++i) col->AppendItem(new Item(u"x"));
        CSerializationContext context;
        context.SetIgnoreInvalidCollectionCounts(r.ignore);
        const std::string expected = r.expected;
        EXPECT_EQ(col->IsValidCount(context), expected.empty()) << expected;
        if (expected.empty()) {
            EXPECT_NO_THROW(col->ValidateCount(context));
        } else {
            EXPECT_EQ(MessageOf([&] { col->ValidateCount(context); }), expected);
            EXPECT_THROW(col->ValidateCount(context), CKvValidationException);
        }
        EXPECT_EQ(col->GetMinOccurs(), r.min);
        EXPECT_EQ(col->GetMaxOccurs(), r.max);
    }
}

TEST(CXmlCollectionBase, HasNoTargetNamespace) {
    CSmartPtr<ItemCol> col(new ItemCol);
    EXPECT_EQ(Narrow(col->GetNamespace()), "urn:i");
    EXPECT_EQ(MessageOf([&] { col->GetTargetNamespace(); }),
              "CXmlCollectionBase::GetTargetNamespace Should not be used from within a Collection (program logic "
              "error)");
}

std::u16string Write(const std::function<void(CXmlTextWriter&)>& body) {
    CTextStream stream(4095, XmlEncoding_None);
    stream.Open();
    CXmlTextWriter writer(&stream);
    writer.SetFormatted(false);
    body(writer);
    return stream.GetText();
}

TEST(CXmlCollection, WritesItemsWithoutAWrapperAndAttributesIntoTheParent) {
    CSmartPtr<ItemCol> col(new ItemCol(0, 1));
    col->AppendItem(new Item(u"a"));
    col->AppendItem(new Item(u"b"));
    const CSerializationContext context;
    EXPECT_EQ(Narrow(Write([&](CXmlTextWriter& w) {
                  w.WriteStartElement(u"p", u"");
                  col->AttributesToXml_Int(&w, context);
                  w.WriteEndElement();
              })),
              "<p a=\"1\" b=\"1\"/>");
    // Out of bounds: nothing of the items is written.
    std::u16string partial;
    EXPECT_THROW(Write([&](CXmlTextWriter& w) {
                     w.WriteStartElement(u"p", u"");
                     col->ToXml_Int(&w, false, u"", context, false);
                 }),
                 CKvValidationException);
    CSerializationContext lenient;
    lenient.SetIgnoreInvalidCollectionCounts(true);
    EXPECT_EQ(Narrow(Write([&](CXmlTextWriter& w) {
                  w.WriteStartElement(u"p", u"");
                  col->ToXml_Int(&w, false, u"", lenient, false);
                  w.WriteEndElement();
              })),
              "<p><a/><b/></p>");
}

TEST(CXmlObjectBase, ChoiceReadCollectionReadsOnceAndValidates) {
    CXmlDocument doc;
    doc.LoadXml(u"<r><item/><item/><other/></r>");
    CXmlElement* root = doc.GetDocumentElement();
    const CSerializationContext context;

    CSmartPtr<ItemCol> col(new ItemCol);
    CXmlElement* current = root->GetFirstElement();
    int32_t itemsRead = 0;
    CXmlObjectBase::Choice_Read_Collection(col, root, current, itemsRead, context);
    EXPECT_EQ(itemsRead, 1);
    EXPECT_EQ(col->GetCount(), 2);
    ASSERT_NE(current, nullptr);
    EXPECT_EQ(Narrow(current->GetLocalName()), "other");
    // Already read once: nothing happens.
    CXmlElement* before = root->GetFirstElement();
    current = before;
    CXmlObjectBase::Choice_Read_Collection(col, root, current, itemsRead, context);
    EXPECT_EQ(current, before);
    EXPECT_EQ(col->GetCount(), 2);
    // Nothing to take: no count, no validation.
    CSmartPtr<ItemCol> strict(new ItemCol(5, 6));
    current = root->GetFirstElement()->GetNextSiblingElement()->GetNextSiblingElement();
    itemsRead = 0;
    CXmlObjectBase::Choice_Read_Collection(strict, root, current, itemsRead, context);
    EXPECT_EQ(itemsRead, 0);
    // Taken but out of bounds: the validation fails after the cursor moved.
    CSmartPtr<ItemCol> bounded(new ItemCol(0, 1));
    current = root->GetFirstElement();
    EXPECT_THROW(CXmlObjectBase::Choice_Read_Collection(bounded, root, current, itemsRead, context),
                 CKvValidationException);
    EXPECT_EQ(Narrow(current->GetLocalName()), "other");
    EXPECT_EQ(itemsRead, 0);
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
    doc.LoadXml(u"<r xmlns='urn:v'><v>ab</v><v>cd</v><w>x</w><v>ef</v></r>");
    CXmlElement* root = doc.GetDocumentElement();
    CSmartPtr<TextCol> col(new TextCol);
    EXPECT_EQ(col->GetItemType(), ItemType_string);
    EXPECT_EQ(col->GetRestrictions().GetMaxLength(), 9);
    EXPECT_EQ(col->GetFormatOverride(), u"");
    const CSerializationContext context;
    CXmlElement* next = col->FromXml_Int(root, root->GetFirstElement(), context, false);
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(Narrow(next->GetLocalName()), "w");
    EXPECT_EQ(col->texts, (std::vector<std::string>{"ab", "cd"}));
    EXPECT_EQ(col->FromXml_Int(root, next->GetNextSiblingElement(), context, false), nullptr);
    EXPECT_EQ(col->texts.size(), 3u);

    CXmlDocument other;
    other.LoadXml(u"<r><v>ab</v></r>");  // no namespace: not ours
    EXPECT_EQ(col->FromXml_Int(other.GetDocumentElement(), other.GetDocumentElement()->GetFirstElement(), context,
                               false),
              other.GetDocumentElement()->GetFirstElement());
    CXmlDocument bad;
    bad.LoadXml(u"<r xmlns='urn:v'><v>AB</v></r>");
    EXPECT_THROW(col->FromXml_Int(bad.GetDocumentElement(), bad.GetDocumentElement()->GetFirstElement(), context, false),
                 CKvException);
}

TEST(KvVariant, HoldsACollectionByReference) {
    CSmartPtr<ItemCol> col(new ItemCol);
    {
        KvVariant v;
        v.SetXmlCollection(col.get());
        EXPECT_EQ(v.GetTypeAsEnum(), ItemType_xmlCollection);
        CSmartPtr<CXmlCollectionBase> back = v.GetXmlCollection();
        EXPECT_EQ(back.get(), col.get());
        KvVariant copy(v);
        EXPECT_EQ(copy.GetXmlCollection().get(), col.get());
    }
    EXPECT_EQ(col->AddRef(), 2);  // only ours is left
    col->Release();
}

TEST(CSerializationContext, AdditionalRootAttributesAreMadeOnceAndShared) {
    CSerializationContext context;
    CSmartPtr<CAttributeCol> first = context.GetAdditionalRootAttributes();
    ASSERT_FALSE(first.IsNull());
    EXPECT_EQ(first.get(), context.GetAdditionalRootAttributes().get());
    EXPECT_EQ(Narrow(first->GetNamespace()), "");
    EXPECT_EQ(Narrow(first->GetNamespaceRestriction()), "##any");
    first->Add(u"extra", u"1");
    CSerializationContext copy(context);
    EXPECT_EQ(copy.GetAdditionalRootAttributes().get(), first.get());
    CSerializationContext assigned;
    assigned = context;
    EXPECT_EQ(assigned.GetAdditionalRootAttributes()->GetCount(), 1);
    CSerializationContext fresh;
    EXPECT_NE(fresh.GetAdditionalRootAttributes().get(), first.get());
}

} // namespace
