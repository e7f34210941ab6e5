#pragma once

// Internal helpers of the binding engine; not part of the public interface.

#include <cstring>
#include <string>

#include "kvxml/base/CSmartPtr.h"
#include "kvxml/values/KvVariant.h"

namespace KvXmlLib16 {

class CXmlObjectBase;
class CXmlCollectionBase;
class CXmlWriter;
class CXmlElement;
class CSerializationContext;
class CPrimitiveRestrictions;

namespace BindingHelpers {

// The name of a wildcard record that takes any element.
inline constexpr const char16_t* kAnyElement = u"AnyElement";

// Equality of names and namespace URIs on the matching paths: one memcmp instead of the
// unit-by-unit loop of the char16_t traits.
inline bool SameText(const std::u16string& a, const std::u16string& b) {
    return a.size() == b.size() && std::memcmp(a.data(), b.data(), a.size() * sizeof(char16_t)) == 0;
}

// Equality with a C string in a single pass, stopping at the first difference.
inline bool SameText(const std::u16string& a, const char16_t* b) {
    const size_t n = a.size();
    for (size_t i = 0; i < n; ++i)
        if (b[i] != a[i] || b[i] == 0) return false;
    return b[n] == 0;
}

// ASCII case-insensitive equality, enough for the literals of xsi:nil.
bool EqualsNoCase(std::u16string_view text, const char16_t* literal);

// The object a property variant holds, whether stored as an object or as a collection; null otherwise.
CSmartPtr<CXmlObjectBase> ObjectOf(const KvVariant& value);
CSmartPtr<CXmlCollectionBase> CollectionOf(const CSmartPtr<CXmlObjectBase>& object);

// Marks the collection state of the writer's innermost open element, if there is one.
void SetCollectionState(CXmlWriter* writer, int state);

// The facet check of a single value.
void CheckFacets(const char16_t* name, const KvVariant& value, ItemType kind,
                 const CPrimitiveRestrictions& restrictions);

// An element left over in parent; the failure carries the path of pathOf, or of parent.
[[noreturn]] void ThrowLeftOver(const CXmlElement* parent, const CXmlElement* current,
                                const CXmlElement* pathOf = nullptr);

// A simple-typed element holds text only: a child element in it is unexpected content, refused
// with the child's path unless unknown elements are ignored.
inline void RefuseChildElements(const CXmlElement* element, const CXmlElement* firstChild, bool ignoreUnknownElements) {
    if (firstChild && !ignoreUnknownElements) ThrowLeftOver(element, firstChild, firstChild);
}

CXmlElement* CallFromXml(CXmlObjectBase* object, CXmlElement* element, CXmlElement* firstChild,
                         const CSerializationContext& context, bool ignoreMissingChoice);

} // namespace BindingHelpers
} // namespace KvXmlLib16
