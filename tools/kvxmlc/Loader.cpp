// Reading schema documents: the library's tree for the content, a light scan of the raw text for
// what the tree does not keep (line numbers and the scope of namespace declarations).

#include <filesystem>
#include <fstream>
#include <sstream>

#include "../common/KvUtf8.h"
#include "Model.h"
#include "kvxml/base/CKvException.h"
#include "kvxml/xml/CXmlAttribute.h"

namespace Kvxmlc {

namespace fs = std::filesystem;
using KvXmlLib16::CXmlElement;

std::string Utf8(const std::u16string& text) { return KvTools::ToUtf8(text); }

std::string Attr(Node node, const char* name) {
    for (const KvXmlLib16::CXmlAttribute* a : node->GetAttributes())
        if (a->GetNamespaceURI().empty() && Utf8(a->GetLocalName()) == name) return Utf8(a->GetValue());
    return std::string();
}

bool HasAttr(Node node, const char* name) {
    for (const KvXmlLib16::CXmlAttribute* a : node->GetAttributes())
        if (a->GetNamespaceURI().empty() && Utf8(a->GetLocalName()) == name) return true;
    return false;
}

std::string Local(Node node) { return Utf8(node->GetLocalName()); }

bool IsXs(Node node, const char* local) {
    return node && Utf8(node->GetNamespaceURI()) == kXsNs && Local(node) == local;
}

// Children in the XML Schema namespace; annotations are skipped, since nothing is made of them.
std::vector<Node> Children(Node node) {
    std::vector<Node> out;
    for (Node c = node->GetFirstElement(); c; c = c->GetNextSiblingElement())
        if (Utf8(c->GetNamespaceURI()) == kXsNs && Local(c) != "annotation") out.push_back(c);
    return out;
}

int Doc::Line(Node node) const {
    const auto found = m_order.find(node);
    return found == m_order.end() ? 0 : m_lines[static_cast<size_t>(found->second)];
}

void Doc::Fail(Node node, const std::string& message) const { throw CompileError(m_path, Line(node), message); }

std::pair<std::string, std::string> Doc::Resolve(Node node, const std::string& qname) const {
    const size_t colon = qname.find(':');
    const std::string prefix = colon == std::string::npos ? std::string() : qname.substr(0, colon);
    const std::string local = colon == std::string::npos ? qname : qname.substr(colon + 1);
    if (prefix == "xml") return {kXmlNs, local};
    for (Node n = node; n; n = n->GetParentElm()) {
        const auto found = m_order.find(n);
        if (found == m_order.end()) continue;
        for (const auto& decl : m_decls[static_cast<size_t>(found->second)])
            if (decl.first == prefix) return {decl.second, local};
    }
    // Beyond the scan, the document-wide table of the tree.
    const std::u16string known = m_xml->LookupNamespaceFromAlias(std::u16string(prefix.begin(), prefix.end()).c_str());
    if (!known.empty()) return {Utf8(known), local};
    if (!prefix.empty()) Fail(node, "the prefix '" + prefix + "' of '" + qname + "' is not declared");
    return {std::string(), local};
}

namespace {

// Start tags of the raw text in document order, each with its line and its xmlns declarations.
void ScanStartTags(const std::string& text, Doc& doc) {
    int line = 1;
    size_t i = 0;
    auto skipTo = [&](const char* end) {
        const size_t stop = text.find(end, i);
        const size_t to = stop == std::string::npos ? text.size() : stop + std::char_traits<char>::length(end);
        for (; i < to; ++i)
            if (text[i] == '\n') ++line;
    };
    while (i < text.size()) {
        const char c = text[i];
        if (c == '\n') {
            ++line;
            ++i;
            continue;
        }
        if (c != '<') {
            ++i;
            continue;
        }
        if (text.compare(i, 4, "<!--") == 0) {
            skipTo("-->");
            continue;
        }
        if (text.compare(i, 9, "<![CDATA[") == 0) {
            skipTo("]]>");
            continue;
        }
        if (text.compare(i, 2, "<?") == 0) {
            skipTo("?>");
            continue;
        }
        if (text.compare(i, 2, "<!") == 0 || text.compare(i, 2, "</") == 0) {
            skipTo(">");
            continue;
        }
        doc.m_lines.push_back(line);
        std::vector<std::pair<std::string, std::string>> decls;
        ++i;
        while (i < text.size() && text[i] != '>') {
            if (text[i] == '\n') ++line;
            if (text.compare(i, 5, "xmlns") == 0 && i > 0 && isspace(static_cast<unsigned char>(text[i - 1]))) {
                size_t p = i + 5;
                std::string prefix;
                if (p < text.size() && text[p] == ':') {
                    const size_t eq = text.find('=', p);
                    if (eq == std::string::npos) break;
                    prefix = text.substr(p + 1, eq - p - 1);
                    while (!prefix.empty() && isspace(static_cast<unsigned char>(prefix.back()))) prefix.pop_back();
                    p = eq;
                }
                while (p < text.size() && isspace(static_cast<unsigned char>(text[p]))) ++p;
                if (p < text.size() && text[p] == '=') {
                    ++p;
                    while (p < text.size() && isspace(static_cast<unsigned char>(text[p]))) ++p;
                    if (p < text.size() && (text[p] == '"' || text[p] == '\'')) {
                        const size_t close = text.find(text[p], p + 1);
                        if (close == std::string::npos) break;
                        decls.emplace_back(prefix, text.substr(p + 1, close - p - 1));
                        for (; i < close; ++i)
                            if (text[i] == '\n') ++line;
                    }
                }
            } else if (text[i] == '"' || text[i] == '\'') {
                const size_t close = text.find(text[i], i + 1);
                if (close == std::string::npos) break;
                for (; i < close; ++i)
                    if (text[i] == '\n') ++line;
            }
            ++i;
        }
        doc.m_decls.push_back(std::move(decls));
    }
}

// Numbers the elements in document order, without recursion. The compiler's own walks recurse along
// the nesting, so a schema nested deeper than any real one is refused here.
int Number(Doc& doc, Node root) {
    constexpr int kMaxDepth = 500;
    int next = 0, depth = 0;
    Node node = root;
    while (node) {
        doc.m_order[node] = next++;
        if (Node child = node->GetFirstElement()) {
            if (++depth > kMaxDepth) {
                const size_t index = static_cast<size_t>(next - 1);
                throw CompileError(doc.m_path, index < doc.m_lines.size() ? doc.m_lines[index] : 0,
                                   "elements nested deeper than 500 levels");
            }
            node = child;
            continue;
        }
        while (node && node != root && !node->GetNextSiblingElement()) {
            node = node->GetParentElm();
            --depth;
        }
        node = node && node != root ? node->GetNextSiblingElement() : nullptr;
    }
    return next;
}

bool IsUrl(const std::string& location) { return location.find("://") != std::string::npos; }

} // namespace

std::string SchemaSet::Locate(const std::string& location, const Doc* from, Node at) const {
    if (!IsUrl(location)) {
        const fs::path beside = from ? fs::path(from->m_path).parent_path() / location : fs::path(location);
        if (fs::is_regular_file(beside)) return beside.lexically_normal().string();
        if (!from) return location;
    }
    const std::string name = fs::path(location).filename().string();
    for (const std::string& dir : m_searchPath) {
        const fs::path candidate = fs::path(dir) / name;
        if (fs::is_regular_file(candidate)) return candidate.lexically_normal().string();
    }
    from->Fail(at, "cannot find the schema '" + location + "'");
}

void SchemaSet::Load(const std::string& path) {
    if (!fs::is_regular_file(path)) throw CompileError(path, 0, "cannot read the schema");
    Read(path, std::string(), nullptr, nullptr);
}

Doc* SchemaSet::Read(const std::string& path, const std::string& chameleonNs, const Doc* from, Node at) {
    std::error_code ec;
    fs::path canonical = fs::weakly_canonical(path, ec);
    const std::string key = ec ? path : canonical.string();
    if (const auto found = m_byPath.find(key); found != m_byPath.end()) return found->second;

    std::ifstream in(path, std::ios::binary);
    if (!in) {
        if (from) from->Fail(at, "cannot read the schema '" + path + "'");
        throw CompileError(path, 0, "cannot read the schema");
    }
    std::stringstream buffer;
    buffer << in.rdbuf();
    const std::string text = buffer.str();

    auto doc = std::make_unique<Doc>();
    doc->m_path = path;
    doc->m_stem = fs::path(path).stem().string();
    doc->m_xml = std::make_unique<KvXmlLib16::CXmlDocument>();
    try {
        doc->m_xml->LoadXml(text.c_str());
    } catch (const KvXmlLib16::CKvException& e) {
        const std::string message = Utf8(e.GetMessage());
        int line = 0;
        const size_t at_ = message.rfind(" at line ");
        if (at_ != std::string::npos) line = std::atoi(message.c_str() + at_ + 9);
        throw CompileError(path, line, "not well-formed: " + message.substr(0, at_));
    }
    Node root = doc->m_xml->GetDocumentElement();
    if (!root) throw CompileError(path, 1, "not well-formed: no document element");
    ScanStartTags(text, *doc);
    const int next = Number(*doc, root);
    if (static_cast<size_t>(next) != doc->m_lines.size()) {
        // The scan lost its way (unusual markup): lines fall back to none rather than wrong ones.
        doc->m_lines.assign(static_cast<size_t>(next), 0);
        doc->m_decls.assign(static_cast<size_t>(next), {});
    }
    if (!IsXs(root, "schema")) doc->Fail(root, "the document element is not xs:schema");

    doc->m_tns = HasAttr(root, "targetNamespace") ? Attr(root, "targetNamespace") : chameleonNs;
    doc->m_elementQualified = Attr(root, "elementFormDefault") == "qualified";
    doc->m_attributeQualified = Attr(root, "attributeFormDefault") == "qualified";
    Doc* raw = doc.get();
    m_docs.push_back(std::move(doc));
    m_byPath[key] = raw;

    for (Node child : Children(root)) {
        const std::string kind = Local(child);
        if (kind != "include" && kind != "import" && kind != "redefine") continue;
        const std::string location = Attr(child, "schemaLocation");
        if (kind == "import") {
            const std::string ns = Attr(child, "namespace");
            if (ns == kXmlNs) continue;     // xml:lang and its kin are known without the document
            if (location.empty()) continue; // names from it fail as undefined when used
            Read(Locate(location, raw, child), std::string(), raw, child);
            continue;
        }
        if (kind == "redefine") raw->Fail(child, "xs:redefine is not supported");
        Doc* included = Read(Locate(location, raw, child), raw->m_tns, raw, child);
        if (included->m_tns != raw->m_tns)
            raw->Fail(child, "xs:include of '" + location + "' with target namespace '" + included->m_tns +
                                 "' into target namespace '" + raw->m_tns + "'");
    }
    Index(raw);
    return raw;
}

void SchemaSet::Index(Doc* doc) {
    for (Node child : Children(doc->m_xml->GetDocumentElement())) {
        const std::string kind = Local(child);
        std::map<std::string, Comp>* table = kind == "complexType" || kind == "simpleType" ? &m_types
                                             : kind == "element"                           ? &m_elements
                                             : kind == "group"                             ? &m_groups
                                             : kind == "attributeGroup"                    ? &m_attributeGroups
                                             : kind == "attribute"                         ? &m_attributes
                                                                                           : nullptr;
        if (!table) continue;
        Comp comp{doc, child, doc->m_tns, Attr(child, "name")};
        if (comp.m_name.empty()) doc->Fail(child, "a global xs:" + kind + " without a name");
        table->emplace(Key(comp.m_ns, comp.m_name), comp);
    }
}

} // namespace Kvxmlc
