#pragma once

#include <cstdint>
#include <string>

#include "kvxml/platform/KvExport.h"
#include "kvxml/values/KvVariant.h"

namespace KvXmlLib16 {

// The model group of a generated class.
enum XmlElementGroupType : int32_t {
    XmlElementGroupType_Seq = 0,
    XmlElementGroupType_Choice = 1,
    XmlElementGroupType_All = 2,
};

// How a class, or a class-valued child, stands in a document.
enum XmlElementType : int32_t {
    XmlElementType_Element = 0, // start tag, attributes, content, end tag of its own
    XmlElementType_Pseudo = 1,  // no element; children and attributes go into the parent's element
    XmlElementType_Inline = 2,  // no element; children go into the parent's element, attributes are lost
};

} // namespace KvXmlLib16

namespace KvXmlLib16Data {

using KvXmlLib16::XmlElementGroupType;
using KvXmlLib16::XmlElementGroupType_All;
using KvXmlLib16::XmlElementGroupType_Choice;
using KvXmlLib16::XmlElementGroupType_Seq;
using KvXmlLib16::XmlElementType;
using KvXmlLib16::XmlElementType_Element;
using KvXmlLib16::XmlElementType_Inline;
using KvXmlLib16::XmlElementType_Pseudo;

// One per generated class: how the class's own element behaves.
class KVXML_API CParentElementInfo {
public:
    CParentElementInfo(XmlElementGroupType groupType, XmlElementType elementType, const char16_t* elementName,
                       const char16_t* elementNamespace, bool fromXmlFailIfAttributeUnknown, bool hasBaseClasses,
                       int32_t primitiveValuePropertyIndex, KvXmlLib16::ItemType primitiveDataType,
                       const char16_t* primitiveFormatOverride, bool outputPrimitiveClassAsTextProperty);
    CParentElementInfo(const CParentElementInfo& other) = default;
    CParentElementInfo& operator=(const CParentElementInfo& other) = default;
    virtual ~CParentElementInfo();

    XmlElementGroupType GetElementGroupType() const { return m_groupType; }
    XmlElementType GetElementType() const { return m_elementType; }
    std::u16string GetElementName() const { return m_elementName; }
    std::u16string GetElementNamespace() const { return m_elementNamespace; }
    bool GetFromXmlFailIfAttributeUnknown() const { return m_fromXmlFailIfAttributeUnknown; }
    bool GetHasBaseClasses() const { return m_hasBaseClasses; }
    int32_t GetPrimitiveValuePropertyIndex() const { return m_primitiveValuePropertyIndex; }
    KvXmlLib16::ItemType GetPrimitiveDataType() const { return m_primitiveDataType; }
    std::u16string GetPrimitiveFormatOverride() const { return m_primitiveFormatOverride; }
    bool GetOutputPrimitiveClassAsTextProperty() const { return m_outputPrimitiveClassAsTextProperty; }

    // Borrowed views for the engine's own hot paths, where a copy per element would cost.
    const std::u16string& ElementNameRef() const { return m_elementName; }
    const std::u16string& ElementNamespaceRef() const { return m_elementNamespace; }
    const std::u16string& PrimitiveFormatOverrideRef() const { return m_primitiveFormatOverride; }

private:
    XmlElementGroupType m_groupType;
    XmlElementType m_elementType;
    std::u16string m_elementName;
    std::u16string m_elementNamespace;
    bool m_fromXmlFailIfAttributeUnknown;
    bool m_hasBaseClasses;
    int32_t m_primitiveValuePropertyIndex;
    KvXmlLib16::ItemType m_primitiveDataType;
    std::u16string m_primitiveFormatOverride;
    bool m_outputPrimitiveClassAsTextProperty;
};

} // namespace KvXmlLib16Data
