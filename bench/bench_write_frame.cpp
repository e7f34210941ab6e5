// Throughput of writing the shared purchase-order document (PoDocument.h) through ToXml, against a
// floor that only appends the same text, piece by piece, to one std::u16string. Both walk the
// same objects: one per element of the document, with its attributes and text.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "kvxml/base/CSmartPtr.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/xml/CXmlDocument.h"

#include "PoDocument.h"

using namespace KvXmlLib16;

namespace {

const ItemType kString = static_cast<ItemType>(23);

struct Attribute {
    std::u16string name, value;
};

class Node : public CXmlObjectBase {
public:
    Node(const char16_t* name, const char16_t* ns) : m_ns(ns) { SetElementName(name); }
    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return m_ns; }
    std::u16string GetNamespace() override { return m_ns; }
    // Only written here, never read.
    CXmlElement* FromXml_Int(CXmlElement*, CXmlElement* child, const CSerializationContext&, bool) override {
        return child;
    }

    void AttributesToXml_Int(CXmlWriter* writer, const CSerializationContext&) const override {
        for (const Attribute& a : m_attributes) writer->WriteAttribute(a.name, std::u16string(), a.value, kString);
    }
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri, const CSerializationContext& context,
                   bool) const override {
        if (isRoot) writer->SetDefaultNamespace(context.GetDefaultNamespaceURI());
        writer->WriteStartElement(m_elementName, m_nsString);
        CXmlObjectBase::AttributesToXml_Int(this, writer, context);
        writer->WriteElementText(m_text, kString, false);
        for (const auto& child : m_children)
            CXmlObjectBase::ToXml_Int(child.get(), writer, false, namespaceUri, context, false);
        writer->WriteEndElement();
    }

    // What the writer escapes in text, and in attribute values also the quote; runs between are
    // appended whole.
    static void AppendEscaped(std::u16string& out, const std::u16string& text, bool attribute) {
        size_t start = 0;
        for (size_t i = 0; i < text.size(); ++i) {
            const char16_t c = text[i];
            const char16_t* entity = c == u'&'                ? u"&amp;"
                                     : c == u'<'              ? u"&lt;"
                                     : c == u'>'              ? u"&gt;"
                                     : c == u'"' && attribute ? u"&quot;"
                                                              : nullptr;
            if (!entity) continue;
            out.append(text, start, i - start);
            out += entity;
            start = i + 1;
        }
        out.append(text, start);
    }

    // The same text, appended without a writer: what ToXml cannot beat.
    void AppendTo(std::u16string& out, int depth) const {
        for (int i = 0; i < depth; ++i) out += u'\t';
        out += u'<';
        out += m_elementName;
        if (depth == 0) {
            out += u" xmlns=\"";
            out += m_ns;
            out += u'"';
        }
        for (const Attribute& a : m_attributes) {
            out += u' ';
            out += a.name;
            out += u"=\"";
            AppendEscaped(out, a.value, true);
            out += u'"';
        }
        if (m_text.empty() && m_children.empty()) {
            out += u"/>\n";
            return;
        }
        out += u'>';
        if (!m_children.empty()) out += u'\n';
        AppendEscaped(out, m_text, false);
        for (const auto& child : m_children) child->AppendTo(out, depth + 1);
        if (!m_children.empty())
            for (int i = 0; i < depth; ++i) out += u'\t';
        out += u"</";
        out += m_elementName;
        out += u">\n";
    }

    std::u16string m_ns;
    std::u16string m_nsString = m_ns;
    std::vector<Attribute> m_attributes;
    std::u16string m_text;
    std::vector<CSmartPtr<Node>> m_children;
};

const char16_t* kNs = u"urn:example:po";

CSmartPtr<Node> Convert(const CXmlElement* element) {
    CSmartPtr<Node> node(new Node(element->GetLocalName().c_str(), kNs));
    // Through the views: the accessors that return strings would build them inside the tree,
    // between the nodes built here, and leave those scattered once the tree is gone.
    for (const CXmlAttribute* a : element->AttributeSpan())
        node->m_attributes.push_back({a->GetLocalName(), std::u16string(a->ValueView())});
    if (!element->GetFirstElement()) node->m_text = element->TextView();
    for (const CXmlElement* child = element->GetFirstElement(); child; child = child->GetNextSiblingElement())
        node->m_children.push_back(Convert(child));
    return node;
}

CSmartPtr<Node> BuildDocument() {
    CXmlDocument document;
    document.LoadXml(BenchDoc::PoDocument().c_str());
    return Convert(document.GetDocumentElement());
}

const CSmartPtr<Node>& Document() {
    static const CSmartPtr<Node> doc = [] {
        CSmartPtr<Node> d = BuildDocument();
        CSerializationContext context;
        context.SetDefaultNamespaceURI(kNs);
        std::u16string floor;
        d->AppendTo(floor, 0);
        const std::u16string written = d->ToXml(false, true, EOLType_LF, context);
        if (written != floor) {
            size_t i = 0;
            while (i < written.size() && i < floor.size() && written[i] == floor[i]) ++i;
            std::fprintf(stderr, "floor text and ToXml text differ at %zu of %zu/%zu\n", i, written.size(),
                         floor.size());
            std::string a(written.begin() + (i > 40 ? i - 40 : 0), written.begin() + std::min(written.size(), i + 40));
            std::string b(floor.begin() + (i > 40 ? i - 40 : 0), floor.begin() + std::min(floor.size(), i + 40));
            std::fprintf(stderr, "[%s]\n[%s]\n", a.c_str(), b.c_str());
            std::abort();
        }
        return d;
    }();
    return doc;
}

void BM_ToXml(benchmark::State& state) {
    if (!BenchDoc::Ready(state)) return;
    const CSmartPtr<Node>& doc = Document();
    CSerializationContext context;
    context.SetDefaultNamespaceURI(kNs);
    size_t chars = 0;
    for (auto _ : state) {
        std::u16string text = doc->ToXml(false, true, EOLType_LF, context);
        chars = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    BenchDoc::SetRate(state);
    state.counters["output_MB"] = static_cast<double>(chars * sizeof(char16_t)) / 1e6;
}

void BM_AppendFloor(benchmark::State& state) {
    if (!BenchDoc::Ready(state)) return;
    const CSmartPtr<Node>& doc = Document();
    size_t chars = 0;
    for (auto _ : state) {
        std::u16string text;
        doc->AppendTo(text, 0);
        chars = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    BenchDoc::SetRate(state);
    state.counters["output_MB"] = static_cast<double>(chars * sizeof(char16_t)) / 1e6;
}

} // namespace

BENCHMARK(BM_ToXml)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_AppendFloor)->Unit(benchmark::kMillisecond);
