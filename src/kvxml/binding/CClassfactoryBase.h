#pragma once

#include <string>

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CXmlElement;

// Base of generated factories that choose a class by the type an instance document states (xsi:type).
class KVXML_API CClassfactoryBase {
public:
    virtual ~CClassfactoryBase();

protected:
    // The local part of the element's xsi:type, or the empty string.
    static std::u16string GetElementType(CXmlElement* element);
    // The namespace of the element's xsi:type; the element's own namespace when the type has no
    // prefix, is missing, or its prefix is not known to the document.
    static std::u16string GetElementTypeNamespaceUri(CXmlElement* element);
};

} // namespace KvXmlLib16
