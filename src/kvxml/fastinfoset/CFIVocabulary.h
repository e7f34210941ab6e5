#pragma once

#include <cstdint>
#include <functional>
#include <unordered_map>
#include <string>
#include <string_view>
#include <vector>

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CFastInfosetReader;
class CFastInfosetWriter;

// The dynamic vocabulary of a Fast Infoset document: tables that writer and reader grow in step,
// so that a repeated name or value travels as an index. Each table has two views: a map from
// string to index for the writer and an array from index to string for the reader. Index 0 is
// never given out; indexes start at 1 (at 2 for prefixes and namespace names, whose index 1 is
// the built-in "xml" binding).
class KVXML_API CFIVocabulary {
public:
    // The largest index the format can express; no table or map grows beyond it.
    static constexpr uint32_t kMaxTableSize = 0x100000;

    // A qualified name as three indexes into the string tables; 0 means absent.
    class KVXML_API CQNameParts {
    public:
        CQNameParts(uint32_t prefixIndex, uint32_t namespaceIndex, uint32_t localNameIndex)
            : m_prefixIndex(prefixIndex), m_namespaceIndex(namespaceIndex), m_localNameIndex(localNameIndex) {}

        uint32_t m_prefixIndex;
        uint32_t m_namespaceIndex;
        uint32_t m_localNameIndex;
    };

    // Reader's view of a table of strings: entry i (from 0) has the index i + 1.
    class KVXML_API CFIStringTable {
    public:
        using const_iterator = std::vector<std::u16string>::const_iterator;

        CFIStringTable() = default;
        CFIStringTable(const CFIStringTable&) = default;
        CFIStringTable& operator=(const CFIStringTable&) = default;
        virtual ~CFIStringTable() = default;

        const_iterator begin() const { return m_items.begin(); }
        const_iterator end() const { return m_items.end(); }

    private:
        friend class CFIVocabulary;
        friend class CFastInfosetReader;
        std::vector<std::u16string> m_items;
    };

    // Reader's view of a table of qualified names.
    class KVXML_API CFIQNameTable {
    public:
        using const_iterator = std::vector<CQNameParts>::const_iterator;

        CFIQNameTable() = default;
        CFIQNameTable(const CFIQNameTable&) = default;
        CFIQNameTable& operator=(const CFIQNameTable&) = default;
        virtual ~CFIQNameTable() = default;

        const_iterator begin() const { return m_items.begin(); }
        const_iterator end() const { return m_items.end(); }

    private:
        friend class CFIVocabulary;
        friend class CFastInfosetReader;
        std::vector<CQNameParts> m_items;
    };

    // Writer's view: string to index. Hashed rather than ordered: the writer only ever looks up
    // exact strings, and a table of many short values would make a tree walk the writer's main
    // cost. The transparent hash lets it look up a view without building a string.
    struct KeyHash {
        using is_transparent = void;
        size_t operator()(std::u16string_view s) const noexcept { return std::hash<std::u16string_view>()(s); }
    };
    using IndexMap = std::unordered_map<std::u16string, uint32_t, KeyHash, std::equal_to<>>;

    CFIVocabulary();
    CFIVocabulary(const CFIVocabulary&) = default;
    CFIVocabulary& operator=(const CFIVocabulary&) = default;
    virtual ~CFIVocabulary() = default;

    // Filling a prepared vocabulary: each adds to both views.
    void AddAttribute(std::u16string prefix, std::u16string namespaceUri, std::u16string localName);
    void AddElement(std::u16string prefix, std::u16string namespaceUri, std::u16string localName);
    void AddAttributeValue(std::u16string value);
    void AddElementValue(std::u16string value);
    // These three append to the table even when the map already holds the string (the map keeps
    // its index), so that the two views can then disagree.
    void AddPrefixName(std::u16string value);
    void AddNamespaceName(std::u16string value);
    void AddLocalName(std::u16string value);

    const CFIStringTable& GetAttributeValuesTable() const { return m_attributeValuesTable; }
    const CFIQNameTable& GetAttributeNamesTable() const { return m_attributeNamesTable; }
    const CFIQNameTable& GetElementNamesTable() const { return m_elementNamesTable; }
    const CFIStringTable& GetCharacterChunksTable() const { return m_characterChunksTable; }
    const CFIStringTable& GetLocalNamesTable() const { return m_localNamesTable; }
    const CFIStringTable& GetNamespaceNamesTable() const { return m_namespaceNamesTable; }
    const CFIStringTable& GetPrefixNamesTable() const { return m_prefixNamesTable; }

    // The built-in restricted alphabets; alphabet n (from 1) is entry n - 1.
    const std::vector<std::u16string>& GetRestrictedAlphabets() const { return m_restrictedAlphabets; }

    // ---- for the writer and the reader ----
    bool FindPrefixNameIndex(std::u16string_view value, uint32_t& index) const;
    bool FindNamespaceNameIndex(std::u16string_view value, uint32_t& index) const;
    bool FindLocalNameIndex(std::u16string_view value, uint32_t& index) const;
    static bool FindIndex(const IndexMap& map, std::u16string_view value, uint32_t& index);
    // Adds the name under its key (local name, U+0001, namespace, U+0001, prefix) and, as needed,
    // its parts to the string tables; a name already in the map changes nothing.
    void AddQName(const std::u16string& prefix, const std::u16string& namespaceUri, const std::u16string& localName,
                  IndexMap& map, CFIQNameTable& array);
    static void AddQNameToVector(uint32_t prefixIndex, uint32_t namespaceIndex, uint32_t localNameIndex,
                                 CFIQNameTable& array);
    static void AddValueToVector(const std::u16string& value, CFIStringTable& array);
    // A string already present keeps its index; a full map stays as it is. Neither is an error.
    static void AddValueToMap(std::u16string value, IndexMap& map);

    // The map key of a qualified name, built into `key` (reused to spare allocations).
    static void MakeQNameKey(std::u16string_view prefix, std::u16string_view namespaceUri,
                             std::u16string_view localName, std::u16string& key);

protected:
    friend class CFastInfosetReader;
    friend class CFastInfosetWriter;

    std::vector<std::u16string> m_restrictedAlphabets;
    IndexMap m_attributeNameMap;
    IndexMap m_attributeValueMap;
    IndexMap m_elementNameMap;
    IndexMap m_characterChunkMap;
    IndexMap m_localNameMap;
    IndexMap m_namespaceNameMap;
    IndexMap m_prefixMap;
    CFIQNameTable m_attributeNamesTable;
    CFIStringTable m_attributeValuesTable;
    CFIQNameTable m_elementNamesTable;
    CFIStringTable m_characterChunksTable;
    CFIStringTable m_localNamesTable;
    CFIStringTable m_namespaceNamesTable;
    CFIStringTable m_prefixNamesTable;
};

} // namespace KvXmlLib16
