#pragma once

#include <cstdint>
#include <string>

namespace KvXmlLib16 {

// Local name and namespace URI of a tree node, which go together: nodes of one name share a pair.
struct CXmlNodeNamePair {
    std::u16string localName;
    std::u16string namespaceURI;
};

// The names of a tree node: either a pair interned in the document's node pool and shared by every
// node of that name, or a pair the node owns. The low bit of the pointer marks an owned one. Never
// null: a node without names points at a shared empty pair.
struct CXmlNodeName {
    uintptr_t bits;

    const CXmlNodeNamePair& Get() const {
        return *reinterpret_cast<const CXmlNodeNamePair*>(bits & ~static_cast<uintptr_t>(1));
    }
    const std::u16string& LocalName() const { return Get().localName; }
    const std::u16string& NamespaceURI() const { return Get().namespaceURI; }
    bool IsOwned() const { return (bits & 1) != 0; }
};

} // namespace KvXmlLib16
