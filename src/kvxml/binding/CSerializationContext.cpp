#include "kvxml/binding/CSerializationContext.h"

#include <mutex>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/collections/CAttributeCol.h"

namespace KvXmlLib16 {

namespace {
inline std::u16string Str(const char16_t* s) { return s ? std::u16string(s) : std::u16string(); }
} // namespace

// ---- CNamespaceAliasMap ----

void CNamespaceAliasMap::Add(const char16_t* alias, const char16_t* namespaceUri) {
    m_map[Str(namespaceUri)] = Str(alias);
}

void CNamespaceAliasMap::RemoveNamespace(const char16_t* namespaceUri) { m_map.erase(Str(namespaceUri)); }

std::u16string CNamespaceAliasMap::GetNamespaceFromAlias(const char16_t* alias) const {
    const std::u16string wanted = Str(alias);
    for (const auto& entry : m_map)
        if (entry.second == wanted) return entry.first;
    throw CKvException(FormatString(u"Namespace alias [%s] not found", wanted.c_str()));
}

std::u16string CNamespaceAliasMap::GetAliasFromNamespace(const char16_t* namespaceUri) const {
    return m_map[Str(namespaceUri)];
}

bool CNamespaceAliasMap::DoesNamespaceExist(const char16_t* namespaceUri) const {
    return m_map.find(Str(namespaceUri)) != m_map.end();
}

bool CNamespaceAliasMap::DoesAliasExist(const char16_t* alias) const {
    const std::u16string wanted = Str(alias);
    for (const auto& entry : m_map)
        if (entry.second == wanted) return true;
    return false;
}

int32_t CNamespaceAliasMap::GetNamespaceCount() const { return static_cast<int32_t>(m_map.size()); }

std::u16string CNamespaceAliasMap::GetNamespaceAt(int32_t index) const {
    // Stepping past the last entry (or into an empty map) would leave the map, so that is refused
    // rather than followed.
    if (m_map.empty() || index >= static_cast<int64_t>(m_map.size()))
        throw CKvException(FormatString(u"Namespace index %d is out of range; the map holds %d entries", index,
                                        static_cast<int32_t>(m_map.size())));
    auto it = m_map.begin();
    for (int32_t i = 0; i < index; ++i) ++it;
    return it->first;
}

// ---- CSerializationContext ----

CSerializationContext CSerializationContext::m_defaultContext;

CSerializationContext::CSerializationContext()
    : m_writeTypeAttribute(true),
      m_ignoreInvalidCollectionCounts(false),
      m_ignoreMissingChoice(false),
      m_ignoreMissingMandatoryElements(false),
      m_ignoreUnknownElements(false),
      m_ignoreUnknownAttributes(false),
      m_ignoreNamespaces(false),
      m_schemaType(SchemaType_Default),
      m_noOptionalAttributeDefaultOutput(false),
      m_writeDefaultElementValues(false),
      m_stripCDATA(true),
      m_indentChars(u"\t") {}

CSerializationContext::CSerializationContext(const CSerializationContext& other) : CSerializationContext() {
    *this = other;
}

CSerializationContext& CSerializationContext::operator=(const CSerializationContext& other) {
    m_fiContext = other.m_fiContext;
    m_jsonContext = other.m_jsonContext;
    m_defaultNamespaceURI = other.m_defaultNamespaceURI;
    m_writeTypeAttribute = other.m_writeTypeAttribute;
    if (this != &other) m_namespaceAliases = other.m_namespaceAliases;
    m_additionalRootAttributes = other.m_additionalRootAttributes;
    m_processingInstructions = other.m_processingInstructions;
    m_inLineSchema = other.m_inLineSchema;
    m_ignoreInvalidCollectionCounts = other.m_ignoreInvalidCollectionCounts;
    m_ignoreMissingChoice = other.m_ignoreMissingChoice;
    m_ignoreMissingMandatoryElements = other.m_ignoreMissingMandatoryElements;
    m_ignoreUnknownElements = other.m_ignoreUnknownElements;
    m_ignoreUnknownAttributes = other.m_ignoreUnknownAttributes;
    m_ignoreNamespaces = other.m_ignoreNamespaces;
    m_schemaType = other.m_schemaType;
    m_noOptionalAttributeDefaultOutput = other.m_noOptionalAttributeDefaultOutput;
    m_writeDefaultElementValues = other.m_writeDefaultElementValues;
    m_stripCDATA = other.m_stripCDATA;
    m_indentChars = other.m_indentChars;
    return *this;
}

CSerializationContext::~CSerializationContext() = default;

CSerializationContext& CSerializationContext::GetDefaultContext() { return m_defaultContext; }

void CSerializationContext::SetDefaultNamespaceURI(const char16_t* uri) { m_defaultNamespaceURI = Str(uri); }

void CSerializationContext::SetInLineSchema(const char16_t* schema) { m_inLineSchema = Str(schema); }

void CSerializationContext::SetIgnoreMissingMandatoryElements(bool value) {
    if (value && m_ignoreUnknownElements)
        throw CKvInvalidStateException(
            u"The parser can only ignore additional elements, or ignore the fact that some required ones are "
            u"missing, you can not ignore both\nSet IgnoreUnknownElements to false before setting "
            u"IgnoreMissingMandatoryElements to true");
    m_ignoreMissingMandatoryElements = value;
}

void CSerializationContext::SetIgnoreUnknownElements(bool value) {
    if (value && m_ignoreMissingMandatoryElements)
        throw CKvInvalidStateException(
            u"The parser can only ignore additional elements, or ignore the fact that some required ones are "
            u"missing, you can not ignore both\nSet IgnoreMissingMandatoryElements to false before setting "
            u"IgnoreUnknownElements to true");
    m_ignoreUnknownElements = value;
}

void CSerializationContext::SetIndentChars(const char16_t* indent) {
    if (!indent) {
        m_indentChars.clear();
        return;
    }
    for (const char16_t* p = indent; *p; ++p)
        if (*p != u' ' && *p != u'\t')
            throw CKvInvalidParamException(u"IndentChars can only contain Whitespace characters, i.e. \\t or spaces");
    m_indentChars = indent;
}

// Made under a lock: the default context is shared by every thread of the process.
CSmartPtr<CAttributeCol> CSerializationContext::GetAdditionalRootAttributes() const {
    static std::mutex creation;
    std::lock_guard<std::mutex> lock(creation);
    if (!m_additionalRootAttributes) m_additionalRootAttributes = new CAttributeCol(u"", u"##any", u"");
    return m_additionalRootAttributes;
}

} // namespace KvXmlLib16
