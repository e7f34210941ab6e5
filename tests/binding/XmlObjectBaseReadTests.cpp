#include <gtest/gtest.h>

#include <functional>
#include <string>

#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"

using namespace KvXmlLib16;

namespace {

const char16_t* const kNs = u"urn:people";

// Reads the way generated classes do: an attribute, then children matched by name, in order.
class Person : public CXmlObjectBase {
public:
    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return kNs; }
    std::u16string GetNamespace() override { return kNs; }
    void ToXml_Int(CXmlWriter*, bool, const char16_t*, const CSerializationContext&, bool) const override {}

    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild, const CSerializationContext& context,
                             bool ignoreMissingChoice) override {
        seenElement = element;
        seenFirstChild = firstChild;
        seenIgnoreMissingChoice = ignoreMissingChoice;
        rootName = element->GetLocalName();
        id = element->GetAttribute(u"id", u"");
        CXmlElement* current = firstChild;
        for (auto [field, value] : {std::pair{u"name", &name}, std::pair{u"city", &city}}) {
            if (DoesElementNameMatch(context, current, field, kNs)) {
                *value = current->GetText();
                current = current->GetNextSiblingElement();
            }
        }
        liveDuringRead = CXmlElement::GetLiveElementCount();
        return current; // left over: never looked at by the entry points
    }

    std::u16string rootName, id, name, city;
    CXmlElement* seenElement = nullptr;
    CXmlElement* seenFirstChild = nullptr;
    bool seenIgnoreMissingChoice = true;
    int64_t liveDuringRead = 0;
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

TEST(CXmlObjectBaseRead, FromXmlReadsTheRootAndItsFirstChildThenDropsTheTree) {
    CSerializationContext context;
    const int64_t aliveBefore = CXmlElement::GetLiveElementCount();
    Person wide;
    wide.FromXml(u"<person xmlns='urn:people' id='7'><name>Ann \u00E9</name><city>Z</city><extra/></person>", context);
    Person narrow; // the name of the root is not compared with anything
    narrow.FromXml("<other xmlns='urn:people' id='1'><name>J\xC3\xBCrg</name><x/></other>", context);
    EXPECT_EQ(CXmlElement::GetLiveElementCount(), aliveBefore);
    EXPECT_EQ(wide.liveDuringRead - aliveBefore, 4);
    EXPECT_FALSE(wide.seenIgnoreMissingChoice);
    EXPECT_EQ(wide.rootName + wide.id + wide.name + wide.city, u"person7Ann \u00E9Z");
    EXPECT_EQ(narrow.rootName + narrow.id + narrow.name + narrow.city, u"other1J\u00FCrg");
}

TEST(CXmlObjectBaseRead, FromXmlElementReadsATreeBuiltByHand) {
    CSerializationContext context;
    CXmlElement root(nullptr, nullptr);
    root.SetElementName(u"person");
    root.AddAttribute(u"id", u"42", u"");
    CXmlElement* name = root.CreateNewChildElement();
    name->SetElementName(u"name");
    name->SetNamespace(kNs);
    name->AppendText(u"Hand");
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
    CXmlElement bare(nullptr, nullptr);
    bare.SetElementName(u"a");
    struct {
        const CSerializationContext* context;
        const CXmlElement* element;
        const char16_t* name;
        const char16_t* ns;
        bool match;
    } cases[] = {
        {&strict, &element, u"a", u"urn:x", true},    {&strict, &element, u"a", u"urn:y", false},
        {&strict, &element, u"a", u"", false},        {&strict, &element, u"A", u"urn:x", false},
        {&ignoring, &element, u"a", u"urn:y", true},  {&ignoring, &element, u"b", u"urn:x", false},
        {&noNamespaces, &element, u"a", nullptr, true}, {&noNamespaces, &element, u"ab", u"urn:x", false},
        {&strict, &bare, u"a", nullptr, true},        {&strict, &bare, u"a", u"", true},
        {&strict, nullptr, u"a", u"", false},
    };
    for (const auto& c : cases)
        EXPECT_EQ(CXmlObjectBase::DoesElementNameMatch(*c.context, c.element, c.name, c.ns), c.match);
}
