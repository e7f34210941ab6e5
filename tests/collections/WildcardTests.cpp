#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"
#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;

namespace {

std::string Narrow(const std::u16string& s) { return std::string(s.begin(), s.end()); }

template <class F>
std::string MessageOf(F f) {
    try {
        f();
    } catch (const CKvException& e) {
        return Narrow(e.GetMessage());
    }
    return "(no exception)";
}

std::string Xml(const CXmlObjectBase* object, bool formatted = false) {
    return Narrow(object->ToXml(false, formatted, EOLType_LF, CSerializationContext::GetDefaultContext()));
}

TEST(CElement, ConstructorNamespaceRules) {
    for (const char16_t* keyword : {u"##any", u"##other", u"##local", u"##targetNamespace"}) {
        try {
            CElement e(u"a", keyword);
            ADD_FAILURE() << Narrow(keyword);
        } catch (const CKvInvalidNamespaceException& ex) {
            EXPECT_EQ(Narrow(ex.GetMessage()), "Invalid Namespace [" + Narrow(keyword) + "].");
            EXPECT_EQ(ex.GetPath(), u"");
        }
    }
    CElement plain(u"a");  // takes "##any" as its restriction silently
    EXPECT_EQ(Narrow(plain.GetNamespaceRestriction()), "##any");
    EXPECT_EQ(Narrow(plain.GetNamespace()), "");
    CElement own(u"a", u"urn:x");  // the namespace doubles as the restriction
    EXPECT_EQ(Narrow(own.GetNamespaceRestriction()), "urn:x");
    EXPECT_EQ(Narrow(own.GetTargetNamespace()), "urn:x");
    EXPECT_EQ(Narrow(own.GetAttributes()->GetNamespace()), "urn:x");
    EXPECT_EQ(Narrow(own.GetChildElements()->GetCollectionNamespace()), "urn:x");

    const struct {
        const char16_t *name, *restriction, *target;
        const char* expected;
    } nulls[] = {
        {nullptr, u"##any", u"", "Element Name must have a value"},
        {u"a", nullptr, u"", "Namespace Restriction must have a value"},
        {u"a", u"##any", nullptr, "Target Namespace must have a value"},
    };
    for (const auto& n : nulls) {
        EXPECT_EQ(MessageOf([&] { CElement e(n.name, u"", n.restriction, n.target); }), n.expected);
        EXPECT_THROW(CElement(n.name, u"", n.restriction, n.target), CKvInvalidNamespaceException);
    }
    EXPECT_NO_THROW(CElement(u"", u"", u"", u""));  // empty strings pass
    EXPECT_THROW(CElement(u"a", u"urn:other", u"##local", u""), CKvInvalidNamespaceException);
}

TEST(CAttributeCol, NamespaceFromALiteralFirstTokenOnly) {
    const struct {
        const char16_t *ns, *restriction;
        const char* expected;
    } rows[] = {
        {u"", u"http://a http://b", "http://a"},
        {u"", u"urn:x", "urn:x"},
        {u"urn:given", u"urn:x", "urn:given"},
        {u"", u"##any", ""},
        {u"", u"#a", ""},
        {u"", u"a#", ""},
        {u"", u"x", ""},  // too short
        {u"", u"", ""},
    };
    for (const auto& r : rows) {
        CSmartPtr<CAttributeCol> col(new CAttributeCol(r.ns, r.restriction, u""));
        EXPECT_EQ(Narrow(col->GetNamespace()), r.expected) << Narrow(r.restriction);
        EXPECT_EQ(Narrow(col->GetTargetNamespace()), r.expected);
    }
}

TEST(CAttributeCol, AddFormsTestTheirNamespaceButThePointerFormDoesNot) {
    CSmartPtr<CAttributeCol> col(new CAttributeCol(u"urn:a", u"urn:a", u"urn:t"));
    CAttribute* full = col->Add(u"x", u"1", u"urn:a");
    CAttribute* inOwn = col->Add(u"y", u"2");
    CAttribute* bare = col->Add(u"z");
    EXPECT_EQ(Narrow(full->GetNamespace()), "urn:a");
    EXPECT_EQ(Narrow(inOwn->GetNamespace()), "urn:a");
    EXPECT_EQ(Narrow(bare->GetValue()), "");
    EXPECT_THROW(col->Add(u"w", u"1", u"urn:b"), CKvInvalidNamespaceException);
    CSmartPtr<CAttributeCol> other(new CAttributeCol(u"urn:b", u"urn:b", u""));
    CAttribute* foreign = other->Add(u"f", u"9");
    EXPECT_NO_THROW(col->Add(foreign));
    ASSERT_EQ(col->GetCount(), 4);
    EXPECT_EQ(col->Item(3).get(), foreign);
    EXPECT_EQ(Narrow(col->Item(1)->GetName()), "y");
    EXPECT_EQ(MessageOf([&] { col->Item(4); }), "Index 4 is out of range, use 0 - 4");

    // Attributes of a collection in no namespace restricted to no namespace.
    CSmartPtr<CAttributeCol> local(new CAttributeCol(u"", u"##local", u""));
    EXPECT_NO_THROW(local->Add(u"a", u"1"));
    EXPECT_THROW(local->Add(u"b", u"1", u"urn:q"), CKvInvalidNamespaceException);
}

TEST(CElementCol, RestrictionIsAlwaysAnyAndNamespaceRuleIsReversed) {
    CSmartPtr<CElementCol> other(new CElementCol(u"", u"##other", u"urn:t", 3, 4));
    EXPECT_EQ(Narrow(other->GetNamespaceRestriction()), "##any");
    EXPECT_EQ(Narrow(other->GetCollectionNamespace()), "##other");
    EXPECT_EQ(Narrow(other->GetNamespace()), "urn:t");
    EXPECT_EQ(Narrow(other->GetTargetNamespace()), "urn:t");
    EXPECT_EQ(other->GetMinOccurs(), 0);  // the bounds passed in are not used
    EXPECT_EQ(other->GetMaxOccurs(), -1);
    EXPECT_NO_THROW(other->Add(u"e", u"urn:t"));  // "##other" was not kept
    EXPECT_NO_THROW(other->Add(u"f", u"urn:anything"));

    CSmartPtr<CElementCol> literal(new CElementCol(u"", u"urn:lit", u"", 0, -1));
    EXPECT_EQ(Narrow(literal->GetCollectionNamespace()), "");
    EXPECT_EQ(MessageOf([&] { literal->Add(u"e"); }), "A Namespace has not been set for this Collection");
    EXPECT_THROW(literal->Add(u"e"), CKvInvalidStateException);

    CSmartPtr<CElementCol> named(new CElementCol(u"urn:n", u"##any", u"", 0, -1));
    CElement* e = named->Add(u"e");
    EXPECT_EQ(Narrow(e->GetNamespace()), "urn:n");
    // The constructor tests its own namespace.
    EXPECT_THROW(CElementCol(u"urn:x", u"##local", u"", 0, -1), CKvInvalidNamespaceException);
}

TEST(CElementCol, PositionalAddsIteratorAndItem) {
    CSmartPtr<CElementCol> col(new CElementCol(u"urn:n", u"##any", u"", 0, -1));
    CElement* a = col->Add(u"a");
    CElement* c = col->Add(u"c");
    CSmartPtr<CElement> b(new CElement(u"b", u"urn:elsewhere"));
    CSmartPtr<CElement> z(new CElement(u"z", u"urn:elsewhere"));
    col->AddAfter(a, b);  // no namespace test
    col->AddBefore(nullptr, z);
    std::string names;
    for (CElement* e : *col) names += Narrow(e->GetName());
    EXPECT_EQ(names, "abcz");
    EXPECT_EQ(col->Item(2).get(), c);
    EXPECT_EQ(col->begin(), col->begin());
    EXPECT_NE(col->begin(), col->end());
    EXPECT_EQ(MessageOf([&] { col->AddAfter(z, nullptr); }), "A collection item may not be NULL");
}

TEST(CElement, SetNamespaceRestrictionsChecksButChangesNothing) {
    CSmartPtr<CElement> root(new CElement(u"r", u"urn:a"));
    root->GetAttributes()->Add(u"x", u"1");
    CElement* child = root->GetChildElements()->Add(u"c", u"urn:a");
    EXPECT_NO_THROW(root->SetNamespaceRestrictions(u"urn:a", u""));

    // The element itself fails: thrown by pointer.
    try {
        root->SetNamespaceRestrictions(u"urn:b", u"");
        ADD_FAILURE();
    } catch (CKvInvalidNamespaceException* e) {
        EXPECT_EQ(Narrow(e->GetMessage()), "The namespace urn:a in the class r is invalid against restriction urn:b");
        delete e;
    }
    EXPECT_EQ(Narrow(root->GetNamespaceRestriction()), "urn:a");

    // An attribute fails: thrown by value, as the test threw it.
    CSmartPtr<CElement> mixed(new CElement(u"m", u"", u"##any", u"urn:t"));
    mixed->GetAttributes()->Add(u"q", u"1", u"urn:q");
    EXPECT_THROW(mixed->SetNamespaceRestrictions(u"##local", u"urn:t"), CKvInvalidNamespaceException);

    // A child fails: its own pointer form.
    child->SetNamespace(u"urn:z");
    try {
        root->SetNamespaceRestrictions(u"urn:a", u"");
        ADD_FAILURE();
    } catch (CKvInvalidNamespaceException* e) {
        EXPECT_EQ(Narrow(e->GetMessage()), "The namespace urn:z in the class c is invalid against restriction urn:a");
        delete e;
    }
    // Nothing was changed: a forbidden attribute can still be added.
    EXPECT_NO_THROW(root->GetAttributes()->Add(u"late", u"1", u"urn:a"));
}

TEST(CElement, WritesTextBehindChildrenAndAttributesInThePrefixOfTheirNamespace) {
    CSmartPtr<CElement> root(new CElement(u"r", u"urn:r"));
    root->SetText(u"t&");
    root->GetAttributes()->Add(u"a", u"1", u"");
    root->GetAttributes()->Add(u"b", u"2", u"urn:b");
    CElement* child = root->GetChildElements()->Add(u"c", u"urn:r");
    child->SetText(u"in");
    root->GetChildElements()->Add(u"d", u"");
    EXPECT_EQ(Xml(root),
              "<AA:r xmlns:AA=\"urn:r\" a=\"1\" xmlns:AB=\"urn:b\" AB:b=\"2\"><AA:c>in</AA:c><d/>t&amp;</AA:r>");
    EXPECT_EQ(Xml(root, true),
              "<AA:r xmlns:AA=\"urn:r\" a=\"1\" xmlns:AB=\"urn:b\" AB:b=\"2\">\n\t<AA:c>in</AA:c>\n\t<d/>\nt&amp;</AA:r>\n");
}

TEST(CElement, DefaultNamespaceIsWrittenBySeparateWriterWithoutAttributes) {
    CSmartPtr<CElement> root(new CElement(u"r"));
    CSmartPtr<CElement> inner(new CElement(u"i", u"urn:d"));
    inner->SetDefaultNamespace(u"urn:d");
    inner->GetAttributes()->Add(u"dropped", u"1");
    inner->GetChildElements()->Add(u"k", u"urn:d");
    inner->SetText(u"x");
    root->GetChildElements()->Add(inner);
    root->GetChildElements()->Add(u"after", u"");
    EXPECT_EQ(Xml(root), "<r><i xmlns=\"urn:d\"><k/>x</i><after/></r>");
    // Formatted: the spliced text starts at the root's indentation; its own closing line break
    // and the outer writer's make an empty line.
    EXPECT_EQ(Xml(root, true), "<r>\n<i xmlns=\"urn:d\">\n\t<k/>\nx</i>\n\n\t<after/>\n</r>\n");
    // Alone as the root.
    EXPECT_EQ(Xml(inner), "<i xmlns=\"urn:d\"><k/>x</i>");
}

// A writer that is not the XML text writer cannot take the splice.
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

TEST(CElement, CopyXmlElementTakesTheTreeAndReplacesWhatWasThere) {
    CXmlDocument doc;
    doc.LoadXml(u"<r xmlns='urn:r' xmlns:p='urn:p' a='1' p:b='2'>x<c>in</c>y<d><e/></d></r>");
    CSmartPtr<CElement> e(new CElement(u"old"));
    e->GetChildElements()->Add(u"stale", u"");
    e->GetAttributes()->Add(u"stale", u"1");
    e->CopyXmlElement(doc.GetDocumentElement());
    EXPECT_EQ(Narrow(e->GetName()), "r");
    EXPECT_EQ(Narrow(e->GetNamespace()), "urn:r");
    EXPECT_EQ(Narrow(e->GetText()), "xy");
    ASSERT_EQ(e->GetAttributes()->GetCount(), 2);
    EXPECT_EQ(Narrow(e->GetAttributes()->Item(1)->GetNamespace()), "urn:p");
    ASSERT_EQ(e->GetChildElements()->GetCount(), 2);
    CSmartPtr<CElement> d = e->GetChildElements()->Item(1);
    EXPECT_EQ(Narrow(d->GetNamespace()), "urn:r");
    EXPECT_EQ(d->GetChildElements()->GetCount(), 1);
    EXPECT_EQ(Narrow(e->GetDefaultNamespace()), "");

    // A tree from a parser that leaves declarations as attributes.
    CXmlElement hand(nullptr, nullptr);
    hand.SetElementName(u"h");
    hand.AddAttribute(u"xmlns", u"urn:h", u"");
    CSmartPtr<CElement> h(new CElement(u"x"));
    h->CopyXmlElement(&hand);
    EXPECT_EQ(Narrow(h->GetDefaultNamespace()), "urn:h");
    EXPECT_EQ(h->GetAttributes()->GetCount(), 1);
}

TEST(CElement, CloneIsDeepAndDropsTheDefaultNamespace) {
    CSmartPtr<CElement> e(new CElement(u"r", u"urn:r", u"##any", u"urn:t"));
    e->SetText(u"text");
    e->SetDefaultNamespace(u"urn:d");
    e->GetAttributes()->Add(u"a", u"1");
    e->GetChildElements()->Add(u"c", u"urn:r")->GetChildElements()->Add(u"g", u"urn:r");
    CSmartPtr<CElement> copy = e->Clone();
    EXPECT_EQ(Narrow(copy->GetDefaultNamespace()), "");
    EXPECT_EQ(Narrow(copy->GetText()), "text");
    EXPECT_EQ(Narrow(copy->GetNamespaceRestriction()), "##any");
    ASSERT_EQ(copy->GetChildElements()->GetCount(), 1);
    EXPECT_NE(copy->GetChildElements().get(), e->GetChildElements().get());
    EXPECT_NE(copy->GetChildElements()->Item(0).get(), e->GetChildElements()->Item(0).get());
    EXPECT_NE(copy->GetAttributes()->Item(0).get(), e->GetAttributes()->Item(0).get());
    copy->GetChildElements()->Item(0)->SetName(u"changed");
    copy->GetAttributes()->Item(0)->SetValue(u"2");
    EXPECT_EQ(Narrow(e->GetChildElements()->Item(0)->GetName()), "c");
    EXPECT_EQ(Narrow(e->GetAttributes()->Item(0)->GetValue()), "1");
    EXPECT_EQ(Xml(copy), "<AA:r xmlns:AA=\"urn:r\" AA:a=\"2\"><AA:changed><AA:g/></AA:changed>text</AA:r>");

    // The member-wise copy shares the collections instead.
    CElement shallow(*e);
    EXPECT_EQ(shallow.GetChildElements().get(), e->GetChildElements().get());
}

TEST(CElement, FromXmlReadsAttributesChildrenAndText) {
    CSmartPtr<CElement> e(new CElement(u"placeholder"));
    e->FromXml(u"<r xmlns='urn:r' xmlns:p='urn:p' a='1' p:b='2'>x<c>in</c>y<p:d/></r>");
    EXPECT_EQ(Narrow(e->GetName()), "r");
    EXPECT_EQ(Narrow(e->GetNamespace()), "urn:r");
    EXPECT_EQ(Narrow(e->GetText()), "xy");
    EXPECT_EQ(e->GetAttributes()->GetCount(), 2);
    ASSERT_EQ(e->GetChildElements()->GetCount(), 2);
    EXPECT_EQ(Narrow(e->GetChildElements()->Item(1)->GetNamespace()), "urn:p");
    EXPECT_EQ(Narrow(e->GetChildElements()->Item(0)->GetText()), "in");
    // Mixed content comes back out with the text behind the children.
    EXPECT_EQ(Xml(e), "<AA:r xmlns:AA=\"urn:r\" a=\"1\" xmlns:AB=\"urn:p\" AB:b=\"2\"><AA:c>in</AA:c><AB:d/>xy</AA:r>");
}

TEST(CElement, ReadingRespectsTheRestriction) {
    CXmlDocument doc;
    doc.LoadXml(u"<r xmlns='urn:r' xmlns:q='urn:q' q:a='1'><c/></r>");
    CXmlElement* root = doc.GetDocumentElement();
    const CSerializationContext& context = CSerializationContext::GetDefaultContext();
    CSmartPtr<CElement> wrong(new CElement(u"r", u"", u"urn:other", u""));
    EXPECT_EQ(wrong->FromXml_Int(root, root, context, false), root);  // consumed nothing
    EXPECT_EQ(wrong->GetChildElements()->GetCount(), 0);

    // Attributes outside the collection's restriction fail with the element's path.
    CSmartPtr<CAttributeCol> local(new CAttributeCol(u"", u"##local", u""));
    EXPECT_EQ(MessageOf([&] { local->FromXml_Int(root, nullptr, context, false); }),
              "Invalid Attribute [a]. The attributes namespace is Inappropriate.\nPath: /r");
    CSmartPtr<CAttributeCol> any(new CAttributeCol(u"", u"##any", u""));
    EXPECT_EQ(any->FromXml_Int(root, root->GetFirstElement(), context, false), root->GetFirstElement());
    EXPECT_EQ(any->GetCount(), 1);

    CSmartPtr<CAttribute> attribute = any->Item(0);
    EXPECT_EQ(MessageOf([&] { attribute->FromXml_Int(root, nullptr, context, false); }),
              "This should be done by the collection");
}

TEST(CElementCol, LockedNameTakesOnlyTheNamedElements) {
    CXmlDocument doc;
    doc.LoadXml(u"<r xmlns='urn:r'><n>1</n><n>2</n><m/><n>3</n></r>");
    CXmlElement* root = doc.GetDocumentElement();
    const CSerializationContext& context = CSerializationContext::GetDefaultContext();
    CSmartPtr<CElementCol> col(new CElementCol(u"", u"##any", u"urn:t", 0, -1));
    CXmlElement* next = col->FromXmlLockElementName_Int(u"n", u"urn:r", root, root->GetFirstElement(), context, false);
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(Narrow(next->GetLocalName()), "m");
    ASSERT_EQ(col->GetCount(), 2);
    EXPECT_EQ(Narrow(col->Item(1)->GetText()), "2");
    EXPECT_EQ(Narrow(col->Item(1)->GetNamespaceRestriction()), "##any");
    EXPECT_EQ(col->FromXmlLockElementName_Int(u"n", u"", root, root->GetFirstElement(), context, false),
              root->GetFirstElement());
    // The wildcard form takes everything to the end.
    CSmartPtr<CElementCol> all(new CElementCol(u"", u"##any", u"", 0, -1));
    EXPECT_EQ(all->FromXml_Int(root, root->GetFirstElement(), context, false), nullptr);
    EXPECT_EQ(all->GetCount(), 4);
}

// Records what reading hands it.
class Reader : public CXmlObjectBase {
public:
    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return u""; }
    std::u16string GetNamespace() override { return u""; }
    void ToXml_Int(CXmlWriter*, bool, const char16_t*, const CSerializationContext&, bool) const override {}
    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild, const CSerializationContext& context,
                             bool) override {
        seen = Narrow(element->GetNamespaceURI() + u"|" + element->GetLocalName() + u"|" + element->GetText());
        for (CXmlElement* c = firstChild; c; c = c->GetNextSiblingElement()) seen += "|" + Narrow(c->GetLocalName());
        for (const CXmlAttribute* a : element->GetAttributes()) seen += "|@" + Narrow(a->GetLocalName());
        contextSeen = &context;
        return nullptr;
    }
    std::string seen;
    const CSerializationContext* contextSeen = nullptr;
};

TEST(CXmlObjectBase, FromXmlElementGoesThroughTextAndReadsWithTheGivenContext) {
    CSmartPtr<CElement> e(new CElement(u"r", u"urn:r"));
    e->SetText(u"t");
    e->GetAttributes()->Add(u"a", u"1", u"");
    e->GetChildElements()->Add(u"c", u"urn:r");
    CSerializationContext context;
    context.SetIndentChars(u"  ");
    CSmartPtr<Reader> reader(new Reader);
    reader->FromXmlElement(e, context);
    EXPECT_EQ(reader->seen, "urn:r|r|t|c|@a");
    EXPECT_EQ(reader->contextSeen, &context);

    // With a default namespace the text comes from the separate writer, attributes left out.
    e->SetDefaultNamespace(u"urn:r");
    reader->FromXmlElement(e, context);
    EXPECT_EQ(reader->seen, "urn:r|r|t|c");
    EXPECT_THROW(reader->FromXmlElement(static_cast<CElement*>(nullptr), context), CKvInvalidParamException);
}

std::u16string Nested(int depth) {
    std::u16string xml;
    for (int i = 0; i < depth; ++i) xml += u"<a>";
    for (int i = 0; i < depth; ++i) xml += u"</a>";
    return xml;
}

TEST(CElement, DeepNestingFailsCleanly) {
    CSmartPtr<CElement> ok(new CElement(u"x"));
    EXPECT_NO_THROW(ok->FromXml(Nested(CElement::MaxNestingDepth).c_str()));
    CSmartPtr<CElement> deep(new CElement(u"x"));
    EXPECT_THROW(deep->FromXml(Nested(CElement::MaxNestingDepth + 1).c_str()), CKvException);
    EXPECT_THROW(deep->FromXml(Nested(100000).c_str()), CKvException);

    CXmlDocument doc;
    doc.LoadXml(Nested(CElement::MaxNestingDepth + 5).c_str());
    CSmartPtr<CElement> copy(new CElement(u"x"));
    EXPECT_THROW(copy->CopyXmlElement(doc.GetDocumentElement()), CKvException);
}

} // namespace
