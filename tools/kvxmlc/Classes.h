#pragma once

// The classes, enumerations and records that the compiler generates, before they become text.

#include <deque>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Model.h"

namespace Kvxmlc {

struct Facets {
    std::string m_pattern, m_minInclusive, m_maxInclusive, m_minExclusive, m_maxExclusive;
    int m_minLength = -1, m_maxLength = -1, m_length = -1, m_totalDigits = -1, m_fractionDigits = -1;
    bool Empty() const {
        return m_pattern.empty() && m_minInclusive.empty() && m_maxInclusive.empty() && m_minExclusive.empty() &&
               m_maxExclusive.empty() && m_minLength < 0 && m_maxLength < 0 && m_length < 0 && m_totalDigits < 0 &&
               m_fractionDigits < 0;
    }
};

struct EnumDef {
    Doc* m_doc = nullptr;
    std::string m_cppName;
    std::vector<std::string> m_values, m_names;
};

// A simple type as the library sees it: its value kind, whitespace rule and facets.
struct Simple {
    std::string m_kind = "string"; // ItemType suffix
    int m_whitespace = 1;          // WhitespaceRule: 1 preserve, 2 replace, 3 collapse
    Facets m_facets;
    EnumDef* m_enum = nullptr;
};

struct ClassDef;

enum class Kind { Prim, Enum, Cls, AbsCls, Untpd, AnyAttr };
enum class Occ { Mnd, Opt, Col };

struct Member {
    bool m_isAttribute = false;
    std::string m_xmlName, m_xmlNs; // record name ("AnyElement" for wildcards) and namespace
    std::string m_prop;             // property name in C++: GetX/SetX, m_x, Property_X
    Kind m_kind = Kind::Prim;
    Occ m_occ = Occ::Mnd;
    int m_min = 1, m_max = 1; // -1: unbounded
    Simple m_simple;
    std::string m_default;
    bool m_hasDefault = false;
    bool m_nillable = false;
    ClassDef* m_class = nullptr; // Cls, AbsCls
    int m_elementType = 0;       // of a class record: 0 own element, 2 inline group
    bool m_contentRequired = true;
    std::string m_pattern; // wildcard namespaces
};

struct ClassDef {
    Doc* m_doc = nullptr;
    std::string m_cppName;
    std::string m_recordName, m_recordNs;
    int m_groupType = 0;   // 0 sequence, 1 choice, 2 all
    int m_elementType = 0; // 0 own element, 2 inline group
    ClassDef* m_base = nullptr;
    bool m_abstract = false;
    bool m_nillable = false;
    bool m_hasText = false; // a value (simple content) or the text of mixed content
    bool m_mixed = false;
    Simple m_text;
    std::vector<Member> m_members; // own members: attributes first, then elements
    std::vector<ClassDef*> m_derived;
    int m_classId = 0;
    bool m_built = false;
    bool m_building = false;
    bool m_inheritedContent = false;   // restriction: takes the base's content as it is
    std::string m_typeName, m_typeNs;  // of a named type, for xsi:type
    std::string m_rootName;            // of the one global element of a named type: a new object's name
    int m_rootElements = 0;            // global elements of this named type
    std::set<std::string> m_usedNames; // property names taken, with the base's

    bool NeedsFactory() const { return m_abstract || !m_derived.empty(); }
};

// A global element and what CreateForElement makes for it.
struct GlobalElement {
    Doc* m_doc = nullptr;
    std::string m_ns, m_name;
    ClassDef* m_class = nullptr;
};

struct Program {
    std::deque<ClassDef> m_classes; // stable addresses
    std::deque<EnumDef> m_enums;
    std::vector<GlobalElement> m_globals;
    std::map<std::string, std::string> m_cppNamespaces; // target namespace -> C++ namespace
};

// Builds the program from the loaded schemas; throws CompileError.
void MapSchemas(SchemaSet& schemas, const std::map<std::string, std::string>& cppNamespaces, Program& program);
// Writes one header and one source per schema document into outDir, under temporary names that
// the caller renames once everything is written.
std::vector<std::pair<std::string, std::string>> EmitProgram(const SchemaSet& schemas, const Program& program,
                                                             const std::string& outDir);

std::string CppNamespaceFor(const std::string& uri, const std::map<std::string, std::string>& explicitNames);
std::string Identifier(const std::string& xmlName);

} // namespace Kvxmlc
