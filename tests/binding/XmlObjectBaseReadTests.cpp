#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/CSmartPtr.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"

using namespace KvXmlLib16;

namespace {

const ItemType kString = static_cast<ItemType>(23);
const char16_t* kNs = u"urn:people";

// A hand-written class that writes and reads itself: attributes, one text child per field,
// and nested contacts, the way generated classes use the tree.
class Person : public CXmlObjectBase {
public:
    Person() { SetElementName(u"person"); }

    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return kNs; }
    std::u16string GetNamespace() override { return kNs; }

    void ToXml_Int(CXmlWriter* writer, bool, const char16_t* namespaceUri, const CSerializationContext& context,
                   bool) const override {
        writer->WriteStartElement(m_elementName, namespaceUri);
        writer->WriteAttribute(u"id", u"", id, kString);
        for (const auto& [field, value] : Fields()) {
            writer->WriteStartElement(field, namespaceUri);
            writer->WriteElementText(*value, kString, false);
            writer->WriteEndElement();
        }
        for (const auto& contact : contacts)
            CXmlObjectBase::ToXml_Int(contact.get(), writer, false, namespaceUri, context, false);
        writer->WriteEndElement();
    }

    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild, const CSerializationContext& context,
                             bool ignoreMissingChoice) override {
        seenElement = element;
        seenFirstChild = firstChild;
        seenNames = element->GetLocalName() + u"/" + (firstChild ? firstChild->GetLocalName() : u"-");
        seenIgnoreMissingChoice = ignoreMissingChoice;
        id = element->GetAttribute(u"id", u"");
        CXmlElement* current = firstChild;
        for (const auto& [field, value] : Fields()) {
            if (current && DoesElementNameMatch(context, current, field, kNs)) {
                *value = current->GetText();
                current = current->GetNextSiblingElement();
            }
        }
        while (current && DoesElementNameMatch(context, current, u"person", kNs)) {
            CSmartPtr<Person> contact(new Person());
            CXmlObjectBase::FromXml_Int(contact.get(), current, current->GetFirstElement(), context);
            contacts.push_back(contact);
            current = current->GetNextSiblingElement();
        }
        return current;
    }

    std::vector<std::pair<const char16_t*, std::u16string*>> Fields() const {
        auto* self = const_cast<Person*>(this);
        return {{u"name", &self->name}, {u"city", &self->city}};
    }

    std::u16string id, name, city;
    std::vector<CSmartPtr<Person>> contacts;
    CXmlElement* seenElement = nullptr;
    CXmlElement* seenFirstChild = nullptr;
    std::u16string seenNames;
    bool seenIgnoreMissingChoice = true;
};

std::u16string MessageOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const CKvException& e) {
        return e.GetMessage();
    }
    return u"<no exception>";
}

} // namespace

TEST(CXmlObjectBaseRead, ObjectWithItsOwnReadAndWriteMakesARoundTrip) {
    CSerializationContext context;
    CSmartPtr<Person> original(new Person());
    original->id = u"7";
    original->name = u"Ann & <Bob> \u00E9\U0001F600";
    original->city = u"Z\u00FCrich";
    CSmartPtr<Person> contact(new Person());
    contact->id = u"8";
    contact->name = u"Carl";
    original->contacts.push_back(contact);

    const std::u16string xml = original->ToXml(true, true, EOLType_LF, context);
    CSmartPtr<Person> copy(new Person());
    const int64_t aliveBefore = CXmlElement::GetLiveElementCount();
    copy->FromXml(xml.c_str(), context);
    // The document and its tree are gone when the call returns.
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), aliveBefore);

    EXPECT_EQ(copy->id, u"7");
    EXPECT_EQ(copy->name, original->name);
    EXPECT_EQ(copy->city, original->city);
    ASSERT_EQ(copy->contacts.size(), 1u);
    EXPECT_EQ(copy->contacts[0]->id, u"8");
    EXPECT_EQ(copy->contacts[0]->name, u"Carl");
    EXPECT_EQ(copy->contacts[0]->city, u"");
    EXPECT_EQ(copy->ToXml(true, true, EOLType_LF, context), xml);
    EXPECT_FALSE(copy->seenIgnoreMissingChoice);
}

TEST(CXmlObjectBaseRead, NarrowTextIsReadAsUtf8AndTheRootNameIsNotChecked) {
    CSerializationContext context;
    Person person;
    person.FromXml("<other xmlns='urn:people' id='1'><name>J\xC3\xBCrg</name><city>Bern</city></other>", context);
    EXPECT_EQ(person.seenNames, u"other/name");
    EXPECT_EQ(person.id, u"1");
    EXPECT_EQ(person.name, u"J\u00FCrg");
    EXPECT_EQ(person.city, u"Bern");
}

TEST(CXmlObjectBaseRead, FromXmlElementReadsATreeBuiltByHand) {
    CSerializationContext context;
    CXmlElement root(nullptr, nullptr);
    root.SetElementName(u"person");
    root.SetNamespace(kNs);
    root.AddAttribute(u"id", u"42", u"");
    CXmlElement* name = root.CreateNewChildElement();
    name->SetElementName(u"name");
    name->SetNamespace(kNs);
    name->AppendText(u"Hand");
    CXmlElement* stray = root.CreateNewChildElement();
    stray->SetElementName(u"stray");

    Person person;
    person.FromXmlElement(&root, context);
    EXPECT_EQ(person.seenElement, &root);
    EXPECT_EQ(person.seenFirstChild, name);
    EXPECT_EQ(person.id, u"42");
    EXPECT_EQ(person.name, u"Hand");
    EXPECT_FALSE(person.seenIgnoreMissingChoice);
    EXPECT_EQ(MessageOf([&] { person.FromXmlElement(static_cast<CXmlElement*>(nullptr), context); }),
              u"FromXmlElement needs an element to read from, not NULL");
}

TEST(CXmlObjectBaseRead, LoadFailuresReachTheCaller) {
    CSerializationContext context;
    Person person;
    EXPECT_EQ(MessageOf([&] { person.FromXml("", context); }), u"XML String is empty!");
    EXPECT_EQ(MessageOf([&] { person.FromXml(u"", context); }), u"no element found at line 1");
    EXPECT_EQ(MessageOf([&] { person.FromXml("<person>\n<name></person>", context); }), u"mismatched tag at line 2");
    EXPECT_EQ(person.seenElement, nullptr);
}

TEST(CXmlObjectBaseRead, ElementNamesMatchByLocalNameAndNamespaceUnlessIgnored) {
    CSerializationContext strict;
    CSerializationContext ignoring;
    ignoring.SetIgnoreNamespaces(true);
    CSerializationContext noNamespaces;
    noNamespaces.SetSchemaType(SchemaType_NoNamespaces);

    CXmlElement element(nullptr, nullptr);
    element.SetElementName(u"a");
    element.SetNamespace(u"urn:x");
    struct Case {
        const CSerializationContext* context;
        const char16_t* name;
        const char16_t* ns;
        bool match;
    } cases[] = {
        {&strict, u"a", u"urn:x", true},     {&strict, u"a", u"urn:y", false},
        {&strict, u"a", u"", false},         {&strict, u"A", u"urn:x", false},
        {&strict, u"b", u"urn:x", false},    {&ignoring, u"a", u"urn:y", true},
        {&ignoring, u"b", u"urn:x", false},  {&noNamespaces, u"a", nullptr, true},
        {&noNamespaces, u"ab", u"urn:x", false},
    };
    for (const Case& c : cases)
        EXPECT_EQ(CXmlObjectBase::DoesElementNameMatch(*c.context, &element, c.name, c.ns), c.match)
            << (c.name[0] == u'a' ? "a" : "other");

    CXmlElement bare(nullptr, nullptr);
    bare.SetElementName(u"a");
    EXPECT_TRUE(CXmlObjectBase::DoesElementNameMatch(strict, &bare, u"a", nullptr));
    EXPECT_TRUE(CXmlObjectBase::DoesElementNameMatch(strict, &bare, u"a", u""));
}
