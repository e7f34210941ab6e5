#pragma once

#include <cstdint>
#include <string>

namespace KvXmlLib16 {

// The name or namespace URI of a tree node: either a string interned in the document's node pool
// and shared by every node of that name, or a string the node owns. The low bit of the pointer
// marks an owned one. Never null: an empty name points at a shared empty string.
struct CXmlNodeName {
    uintptr_t bits;

    const std::u16string& Get() const {
        return *reinterpret_cast<const std::u16string*>(bits & ~static_cast<uintptr_t>(1));
    }
    bool IsOwned() const { return (bits & 1) != 0; }
};

} // namespace KvXmlLib16
