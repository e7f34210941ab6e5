#include "kvxml/binding/CParentElementInfo.h"

namespace KvXmlLib16Data {

CParentElementInfo::CParentElementInfo(XmlElementGroupType groupType, XmlElementType elementType,
                                       const char16_t* elementName, const char16_t* elementNamespace,
                                       bool fromXmlFailIfAttributeUnknown, bool hasBaseClasses,
                                       int32_t primitiveValuePropertyIndex, KvXmlLib16::ItemType primitiveDataType,
                                       const char16_t* primitiveFormatOverride, bool outputPrimitiveClassAsTextProperty)
    : m_groupType(groupType),
      m_elementType(elementType),
      m_elementName(elementName ? elementName : u""),
      m_elementNamespace(elementNamespace ? elementNamespace : u""),
      m_fromXmlFailIfAttributeUnknown(fromXmlFailIfAttributeUnknown),
      m_hasBaseClasses(hasBaseClasses),
      m_primitiveValuePropertyIndex(primitiveValuePropertyIndex),
      m_primitiveDataType(primitiveDataType),
      m_primitiveFormatOverride(primitiveFormatOverride ? primitiveFormatOverride : u""),
      m_outputPrimitiveClassAsTextProperty(outputPrimitiveClassAsTextProperty) {}

CParentElementInfo::~CParentElementInfo() = default;

} // namespace KvXmlLib16Data
