#include "kvxml/fastinfoset/CFIVocabulary.h"

#include "kvxml/output/CXmlWriter.h"

namespace KvXmlLib16 {

CFIVocabulary::CFIVocabulary() {
    m_restrictedAlphabets.emplace_back(u"0123456789-+.e ");
    m_restrictedAlphabets.emplace_back(u"0123456789-:TZ ");
    // Index 1 of prefixes and namespace names is the built-in binding of "xml".
    m_prefixMap.emplace(u"xml", 1);
    m_prefixNamesTable.m_items.emplace_back(u"xml");
    m_namespaceNameMap.emplace(kXmlNamespaceURI, 1);
    m_namespaceNamesTable.m_items.emplace_back(kXmlNamespaceURI);
}

void CFIVocabulary::AddAttribute(std::u16string prefix, std::u16string namespaceUri, std::u16string localName) {
    AddQName(prefix, namespaceUri, localName, m_attributeNameMap, m_attributeNamesTable);
}

void CFIVocabulary::AddElement(std::u16string prefix, std::u16string namespaceUri, std::u16string localName) {
    AddQName(prefix, namespaceUri, localName, m_elementNameMap, m_elementNamesTable);
}

void CFIVocabulary::AddAttributeValue(std::u16string value) {
    AddValueToVector(value, m_attributeValuesTable);
    AddValueToMap(std::move(value), m_attributeValueMap);
}

void CFIVocabulary::AddElementValue(std::u16string value) {
    AddValueToVector(value, m_characterChunksTable);
    AddValueToMap(std::move(value), m_characterChunkMap);
}

void CFIVocabulary::AddPrefixName(std::u16string value) {
    AddValueToVector(value, m_prefixNamesTable);
    AddValueToMap(std::move(value), m_prefixMap);
}

void CFIVocabulary::AddNamespaceName(std::u16string value) {
    AddValueToVector(value, m_namespaceNamesTable);
    AddValueToMap(std::move(value), m_namespaceNameMap);
}

void CFIVocabulary::AddLocalName(std::u16string value) {
    AddValueToVector(value, m_localNamesTable);
    AddValueToMap(std::move(value), m_localNameMap);
}

bool CFIVocabulary::FindPrefixNameIndex(std::u16string_view value, uint32_t& index) const {
    return FindIndex(m_prefixMap, value, index);
}

bool CFIVocabulary::FindNamespaceNameIndex(std::u16string_view value, uint32_t& index) const {
    return FindIndex(m_namespaceNameMap, value, index);
}

bool CFIVocabulary::FindLocalNameIndex(std::u16string_view value, uint32_t& index) const {
    return FindIndex(m_localNameMap, value, index);
}

bool CFIVocabulary::FindIndex(const IndexMap& map, std::u16string_view value, uint32_t& index) {
    const auto it = map.find(value);
    if (it == map.end()) return false;
    index = it->second;
    return true;
}

void CFIVocabulary::MakeQNameKey(std::u16string_view prefix, std::u16string_view namespaceUri,
                                 std::u16string_view localName, std::u16string& key) {
    key.assign(localName);
    key += u'\x0001';
    key += namespaceUri;
    key += u'\x0001';
    key += prefix;
}

void CFIVocabulary::AddQName(const std::u16string& prefix, const std::u16string& namespaceUri,
                             const std::u16string& localName, IndexMap& map, CFIQNameTable& array) {
    std::u16string key;
    MakeQNameKey(prefix, namespaceUri, localName, key);
    if (map.find(key) != map.end()) return;
    uint32_t prefixIndex = 0, namespaceIndex = 0, localIndex = 0;
    if (!prefix.empty() && !FindPrefixNameIndex(prefix, prefixIndex)) {
        AddPrefixName(prefix);
        prefixIndex = static_cast<uint32_t>(m_prefixNamesTable.m_items.size());
    }
    if (!namespaceUri.empty() && !FindNamespaceNameIndex(namespaceUri, namespaceIndex)) {
        AddNamespaceName(namespaceUri);
        namespaceIndex = static_cast<uint32_t>(m_namespaceNamesTable.m_items.size());
    }
    if (!FindLocalNameIndex(localName, localIndex)) {
        AddLocalName(localName);
        localIndex = static_cast<uint32_t>(m_localNamesTable.m_items.size());
    }
    AddValueToMap(std::move(key), map);
    AddQNameToVector(prefixIndex, namespaceIndex, localIndex, array);
}

void CFIVocabulary::AddQNameToVector(uint32_t prefixIndex, uint32_t namespaceIndex, uint32_t localNameIndex,
                                     CFIQNameTable& array) {
    if (array.m_items.size() < kMaxTableSize) array.m_items.emplace_back(prefixIndex, namespaceIndex, localNameIndex);
}

void CFIVocabulary::AddValueToVector(const std::u16string& value, CFIStringTable& array) {
    if (array.m_items.size() < kMaxTableSize) array.m_items.push_back(value);
}

void CFIVocabulary::AddValueToMap(std::u16string value, IndexMap& map) {
    if (map.size() < kMaxTableSize) map.try_emplace(std::move(value), static_cast<uint32_t>(map.size() + 1));
}

} // namespace KvXmlLib16
