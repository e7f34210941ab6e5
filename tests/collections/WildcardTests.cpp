#include <gtest/gtest.h>

#include <random>
#include <string>

#include "kvxml/base/CKvException.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/output/CXmlWriter.h"
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
        EXPECT_EQ(MessageOf([&] { CElement e(u"a", keyword); }), "Invalid Namespace [" + Narrow(keyword) + "].");
        EXPECT_THROW(CElement(u"a", keyword), CKvInvalidNamespaceException);
    }
    CElement plain(u"a");  // takes "##any" silently
    EXPECT_EQ(Narrow(plain.GetNamespaceRestriction() + u"|" + plain.GetNamespace()), "##any|");
    CElement own(u"a", u"urn:x");  // the namespace doubles as the restriction
    EXPECT_EQ(Narrow(own.GetNamespaceRestriction() + u"|" + own.GetTargetNamespace()), "urn:x|urn:x");
    EXPECT_EQ(Narrow(own.GetAttributes()->GetNamespace() + u"|" + own.GetChildElements()->GetCollectionNamespace()),
              "urn:x|urn:x");

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

TEST(CAttributeCol, NamespaceFromALiteralFirstTokenAndAddForms) {
    const struct {
        const char16_t *ns, *restriction;
        const char* expected;
    } rows[] = {
        {u"", u"http://a http://b", "http://a"}, {u"", u"  urn:x", "urn:x"}, {u"", u"urn:x\turn:y", "urn:x"}, {u"urn:given", u"urn:x", "urn:given"},
        {u"", u"##any", ""}, {u"", u"#a", ""}, {u"", u"a#", ""}, {u"", u"x", ""}, {u"", u"", ""},
    };
    for (const auto& r : rows) {
        CSmartPtr<CAttributeCol> col(new CAttributeCol(r.ns, r.restriction, u""));
        EXPECT_EQ(Narrow(col->GetNamespace()), r.expected) << Narrow(r.restriction);
        EXPECT_EQ(Narrow(col->GetTargetNamespace()), r.expected);
    }

    CSmartPtr<CAttributeCol> col(new CAttributeCol(u"urn:a", u"urn:a", u"urn:t"));
    EXPECT_EQ(Narrow(col->Add(u"x", u"1", u"urn:a")->GetNamespace()), "urn:a");
    EXPECT_EQ(Narrow(col->Add(u"y", u"2")->GetNamespace()), "urn:a");
    EXPECT_EQ(Narrow(col->Add(u"z")->GetValue()), "");
    EXPECT_THROW(col->Add(u"w", u"1", u"urn:b"), CKvInvalidNamespaceException);
    CSmartPtr<CAttributeCol> other(new CAttributeCol(u"urn:b", u"urn:b", u""));
    CAttribute* foreign = other->Add(u"f", u"9");
    EXPECT_EQ(col->Add(foreign), foreign);  // the pointer form tests nothing
    EXPECT_EQ(col->Item(3).get(), foreign);
    EXPECT_EQ(MessageOf([&] { col->Item(4); }), "Index 4 is out of range, use 0 - 4");
    CSmartPtr<CAttributeCol> local(new CAttributeCol(u"", u"##local", u""));
    EXPECT_NO_THROW(local->Add(u"a", u"1"));
    EXPECT_THROW(local->Add(u"b", u"1", u"urn:q"), CKvInvalidNamespaceException);
}

TEST(CElementCol, RestrictionIsAlwaysAnyAndTheNamespaceRuleIsReversed) {
    CSmartPtr<CElementCol> other(new CElementCol(u"", u"##other", u"urn:t", 3, 4));
    EXPECT_EQ(Narrow(other->GetNamespaceRestriction() + u"|" + other->GetCollectionNamespace()), "##any|##other");
    EXPECT_EQ(Narrow(other->GetNamespace() + u"|" + other->GetTargetNamespace()), "urn:t|urn:t");
    EXPECT_EQ(other->GetMinOccurs(), 0);  // the bounds passed in are not used
    EXPECT_EQ(other->GetMaxOccurs(), -1);
    EXPECT_NO_THROW(other->Add(u"e", u"urn:t"));  // "##other" was not kept
    EXPECT_NO_THROW(other->Add(u"f", u"urn:anything"));
    EXPECT_THROW(CElementCol(u"urn:x", u"##local", u"", 0, -1), CKvInvalidNamespaceException);

    CSmartPtr<CElementCol> literal(new CElementCol(u"", u"urn:lit", u"", 0, -1));
    EXPECT_EQ(MessageOf([&] { literal->Add(u"e"); }), "A Namespace has not been set for this Collection");
    EXPECT_THROW(literal->Add(u"e"), CKvInvalidStateException);

    CSmartPtr<CElementCol> col(new CElementCol(u"urn:n", u"##any", u"", 0, -1));
    CElement* a = col->Add(u"a");
    EXPECT_EQ(Narrow(a->GetNamespace()), "urn:n");
    col->Add(u"c");
    CSmartPtr<CElement> b(new CElement(u"b", u"urn:elsewhere")), z(new CElement(u"z", u"urn:elsewhere"));
    col->AddAfter(a, b);  // no namespace test on these two
    col->AddBefore(nullptr, z);
    std::string names;
    for (CElement* e : *col) names += Narrow(e->GetName());
    EXPECT_EQ(names, "abcz");
    EXPECT_EQ(col->Item(1).get(), b.get());
}

TEST(CElement, SetNamespaceRestrictionsChecksButChangesNothing) {
    CSmartPtr<CElement> root(new CElement(u"r", u"urn:a"));
    root->GetAttributes()->Add(u"x", u"1");
    CElement* child = root->GetChildElements()->Add(u"c", u"urn:a");
    EXPECT_NO_THROW(root->SetNamespaceRestrictions(u"urn:a", u""));
    auto pointerMessage = [&](const char16_t* restriction) {
        try {
            root->SetNamespaceRestrictions(restriction, u"");
        } catch (CKvInvalidNamespaceException* e) {  // thrown by pointer; the handler owns it
            const std::string m = Narrow(e->GetMessage());
            delete e;
            return m;
        }
        return std::string("(no exception)");
    };
    EXPECT_EQ(pointerMessage(u"urn:b"), "The namespace urn:a in the class r is invalid against restriction urn:b");
    child->SetNamespace(u"urn:z");
    EXPECT_EQ(pointerMessage(u"urn:a"), "The namespace urn:z in the class c is invalid against restriction urn:a");
    EXPECT_EQ(Narrow(root->GetNamespaceRestriction()), "urn:a");
    EXPECT_NO_THROW(root->GetAttributes()->Add(u"late", u"1", u"urn:b"));  // the collection is unchanged

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
    EXPECT_EQ(Xml(root), "<AA:r xmlns:AA=\"urn:r\" a=\"1\" xmlns:AB=\"urn:b\" AB:b=\"2\"><AA:c>in</AA:c><d/>t&amp;</AA:r>");
    EXPECT_EQ(Xml(root, true),
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
        ASSERT_EQ(e->GetAttributes()->GetCount(), 2);
        ASSERT_EQ(e->GetChildElements()->GetCount(), 2);
        EXPECT_EQ(Narrow(e->GetChildElements()->Item(1)->GetNamespace()), "urn:p");
        EXPECT_EQ(e->GetChildElements()->Item(1)->GetChildElements()->GetCount(), 1);
        // Mixed content is written with all its text behind the children.
        EXPECT_EQ(Xml(e), "<AA:r xmlns:AA=\"urn:r\" a=\"1\" xmlns:AB=\"urn:p\" AB:b=\"2\"><AA:c>in</AA:c>"
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
    EXPECT_EQ(Narrow(clone->GetDefaultNamespace()), "");
    clone->GetChildElements()->Item(0)->SetName(u"changed");
    clone->GetAttributes()->Item(0)->SetValue(u"2");
    EXPECT_EQ(Narrow(read->GetChildElements()->Item(0)->GetName() + read->GetAttributes()->Item(0)->GetValue()), "c1");
    EXPECT_EQ(Xml(clone), "<AA:r xmlns:AA=\"urn:r\" a=\"2\" xmlns:AB=\"urn:p\" AB:b=\"2\"><AA:changed>in</AA:changed>"
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
    EXPECT_EQ(wrong->FromXml_Int(root, root, context, false), root);  // consumed nothing

    CSmartPtr<CAttributeCol> local(new CAttributeCol(u"", u"##local", u""));
    EXPECT_EQ(MessageOf([&] { local->FromXml_Int(root, nullptr, context, false); }),
              "Invalid Attribute [a]. The attributes namespace is Inappropriate.\nPath: /r");
    CSmartPtr<CAttributeCol> any(new CAttributeCol(u"", u"##any", u""));
    EXPECT_EQ(any->FromXml_Int(root, m, context, false), m);  // the cursor comes back unchanged
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
    e->SetDefaultNamespace(u"urn:r");  // the separate writer leaves the attributes out
    reader->FromXmlElement(e, context);
    EXPECT_EQ(reader->seen, "urn:r|r|t|c");
}

std::u16string Nested(int depth) {
    std::u16string xml;
    for (int i = 0; i < depth; ++i) xml += u"<a>";
    for (int i = 0; i < depth; ++i) xml += u"</a>";
    return xml;
}

TEST(CElement, DeepNestingFailsCleanly) {
    CSmartPtr<CElement> e(new CElement(u"x"));
    EXPECT_NO_THROW(e->FromXml(Nested(CElement::MaxNestingDepth).c_str()));
    EXPECT_THROW(e->FromXml(Nested(CElement::MaxNestingDepth + 1).c_str()), CKvException);
    CXmlDocument doc;
    doc.LoadXml(Nested(CElement::MaxNestingDepth + 5).c_str());
    EXPECT_THROW(e->CopyXmlElement(doc.GetDocumentElement()), CKvException);
}

TEST(CElement, RandomDocumentsAndNamespacesOnlyReturnOrThrow) {
    std::mt19937 rng(3);
    const std::u16string seed =
        u"<r xmlns='urn:r' xmlns:p='urn:p' a='1' p:b='&amp;'>x<c>in</c><![CDATA[y]]><p:d><e p:f=''/></p:d></r>";
    const char16_t noise[] = u"<>/='\"&;#:px \u00e9\xD800";
    const char16_t* words[] = {u"", u"##any", u"##other", u"##local", u"##targetNamespace", u"urn:r", u"urn:p",
                               u"##other urn:r", u"##local ##targetNamespace", u" ", u"#"};
    for (int i = 0; i < 2000; ++i) {
        std::u16string xml = seed;
        for (int n = static_cast<int>(rng() % 4); n >= 0; --n) {
            const std::size_t at = rng() % xml.size();
            switch (rng() % 3) {
            case 0: xml[at] = noise[rng() % (std::size(noise) - 1)]; break;
            case 1: xml.erase(at, 1 + rng() % 8); break;
            default: xml.insert(at, 1, noise[rng() % (std::size(noise) - 1)]); break;
            }
            if (xml.empty()) xml = u"<";
        }
        const char16_t* pick[3];
        for (auto& p : pick) p = words[rng() % std::size(words)];
        try {
            CSmartPtr<CElement> e(new CElement(u"e", pick[0], pick[1], pick[2]));
            e->FromXml(xml.c_str());
            e->SetNamespaceRestrictions(pick[1], pick[2]);
            Xml(e->Clone());
        } catch (const CKvException&) {
        } catch (CKvException* e) {
            delete e;
        }
    }
}

} // namespace
