#pragma once

// Internal helpers of the binding engine; not part of the public interface.

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

inline constexpr const char16_t* kXsiNamespace = u"http://www.w3.org/2001/XMLSchema-instance";
// The name of a wildcard record that takes any element.
inline constexpr const char16_t* kAnyElement = u"AnyElement";

// ASCII case-insensitive equality, enough for the literals of xsi:nil.
bool EqualsNoCase(const std::u16string& text, const char16_t* literal);

// The object a property variant holds, whether stored as an object or as a collection; null otherwise.
CSmartPtr<CXmlObjectBase> ObjectOf(const KvVariant& value);
CSmartPtr<CXmlCollectionBase> CollectionOf(const CSmartPtr<CXmlObjectBase>& object);

// Marks the collection state of the writer's innermost open element, if there is one.
void SetCollectionState(CXmlWriter* writer, int state);

// The facet check of a single value.
void CheckFacets(const char16_t* name, const KvVariant& value, ItemType kind,
                 const CPrimitiveRestrictions& restrictions);

CXmlElement* CallFromXml(CXmlObjectBase* object, CXmlElement* element, CXmlElement* firstChild,
                         const CSerializationContext& context, bool ignoreMissingChoice);

} // namespace BindingHelpers
} // namespace KvXmlLib16
