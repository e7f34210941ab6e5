#include "kvxml/collections/CAttribute.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/values/ItemType.h"

namespace KvXmlLib16 {

CAttribute::CAttribute(const char16_t* name, const char16_t* value, const char16_t* namespaceUri)
    : m_name(name ? name : u""), m_value(value ? value : u""), m_namespace(namespaceUri ? namespaceUri : u"") {}

CAttribute::~CAttribute() = default;

CSmartPtr<CAttribute> CAttribute::Clone() const {
    return CSmartPtr<CAttribute>(new CAttribute(m_name.c_str(), m_value.c_str(), m_namespace.c_str()));
}

void CAttribute::ToXml_Int(CXmlWriter* writer, bool, const char16_t*, const CSerializationContext&, bool) const {
    writer->WriteAttribute(m_name, m_namespace, m_value, ItemType_string);
}

CXmlElement* CAttribute::FromXml_Int(CXmlElement*, CXmlElement*, const CSerializationContext&, bool) {
    throw CKvException(u"This should be done by the collection");
}

} // namespace KvXmlLib16
