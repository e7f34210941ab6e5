#pragma once

// The schema compiler's view of a set of schema documents, and of the classes made from them.
// Text is held as UTF-8 throughout; the tree of the library is read once and converted at the edge.

#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"

namespace Kvxmlc {

inline const std::string kXsNs = "http://www.w3.org/2001/XMLSchema";
inline const std::string kXmlNs = "http://www.w3.org/XML/1998/namespace";

// A failure that names the schema file and line it comes from; the compiler stops at the first.
struct CompileError : std::runtime_error {
    CompileError(std::string file, int line, const std::string& message)
        : std::runtime_error(message), m_file(std::move(file)), m_line(line) {}
    std::string m_file;
    int m_line;
};

std::string Utf8(const std::u16string& text);

struct Doc;
using Node = const KvXmlLib16::CXmlElement*;

// A top-level schema component: the document that declares it and its element.
struct Comp {
    Doc* m_doc = nullptr;
    Node m_node = nullptr;
    std::string m_ns, m_name;
};

struct Doc {
    std::string m_path; // as found, used in messages
    std::string m_stem; // names the generated pair
    std::string m_tns;
    bool m_elementQualified = false;
    bool m_attributeQualified = false;
    std::unique_ptr<KvXmlLib16::CXmlDocument> m_xml;
    // Line and namespace declarations of every start tag, by element in document order.
    std::unordered_map<Node, int> m_order;
    std::vector<int> m_lines;
    std::vector<std::vector<std::pair<std::string, std::string>>> m_decls;

    int Line(Node node) const;
    // Resolves a QName value in the scope of the element; throws when the prefix is unknown.
    std::pair<std::string, std::string> Resolve(Node node, const std::string& qname) const;
    [[noreturn]] void Fail(Node node, const std::string& message) const;
};

// Attribute value of a schema element ("" when absent) and the schema children of an element.
std::string Attr(Node node, const char* name);
bool HasAttr(Node node, const char* name);
std::string Local(Node node);
bool IsXs(Node node, const char* local);
std::vector<Node> Children(Node node);

class SchemaSet {
public:
    explicit SchemaSet(std::vector<std::string> searchPath) : m_searchPath(std::move(searchPath)) {}
    void Load(const std::string& path);

    std::vector<std::unique_ptr<Doc>> m_docs; // in the order first reached
    std::map<std::string, Comp> m_types, m_elements, m_groups, m_attributeGroups, m_attributes;

    static std::string Key(const std::string& ns, const std::string& name) { return ns + "|" + name; }

private:
    Doc* Read(const std::string& path, const std::string& chameleonNs, const Doc* from, Node at);
    void Index(Doc* doc);
    std::string Locate(const std::string& location, const Doc* from, Node at) const;

    std::vector<std::string> m_searchPath;
    std::map<std::string, Doc*> m_byPath;
};

} // namespace Kvxmlc
