#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kvxml/base/CSmartPtr.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CAttributeCol;
class CFastInfosetContext;
class CJsonContext;

// How a document's names are read. Only the value 2 has an effect: names are then read unsplit,
// without namespaces.
enum SchemaType : int32_t {
    SchemaType_Default = 0,
    SchemaType_Other = 1,
    SchemaType_NoNamespaces = 2,
};

// Maps namespace URIs to the prefixes a writer declares for them, ordered by URI code units.
class KVXML_API CNamespaceAliasMap {
public:
    CNamespaceAliasMap() = default;
    CNamespaceAliasMap(const CNamespaceAliasMap&) = default;
    CNamespaceAliasMap& operator=(const CNamespaceAliasMap&) = default;
    virtual ~CNamespaceAliasMap() = default;

    // A second Add for the same URI replaces its alias.
    void Add(const char16_t* alias, const char16_t* namespaceUri);
    void RemoveNamespace(const char16_t* namespaceUri);
    // The URI of the first entry (in URI order) with this alias; throws CKvException when none.
    std::u16string GetNamespaceFromAlias(const char16_t* alias) const;
    // Indexing semantics: an unknown URI is entered with an empty alias, which is returned.
    std::u16string GetAliasFromNamespace(const char16_t* namespaceUri) const;
    bool DoesNamespaceExist(const char16_t* namespaceUri) const;
    bool DoesAliasExist(const char16_t* alias) const;
    int32_t GetNamespaceCount() const;
    // Counted from 0 in URI order; a negative index gives the first entry, one at or past the count throws.
    std::u16string GetNamespaceAt(int32_t index) const;

    // Entries in URI order, for the writers.
    const std::map<std::u16string, std::u16string>& GetMap() const { return m_map; }

private:
    // Mutable because looking up an unknown URI enters it, also through a const map.
    mutable std::map<std::u16string, std::u16string> m_map;
};

// Per-call options. Passed by const reference through every layer; only the parts made on first
// use (Fast Infoset and JSON options, additional root attributes) change through a const context.
class KVXML_API CSerializationContext {
public:
    CSerializationContext();
    CSerializationContext(const CSerializationContext& other);
    CSerializationContext& operator=(const CSerializationContext& other);
    virtual ~CSerializationContext();

    // The process-wide context with all defaults; changes through this reference are seen by all.
    static CSerializationContext& GetDefaultContext();

    std::u16string GetDefaultNamespaceURI() const { return m_defaultNamespaceURI; }
    void SetDefaultNamespaceURI(const char16_t* uri);
    bool GetWriteTypeAttribute() const { return m_writeTypeAttribute; }
    void SetWriteTypeAttribute(bool value) { m_writeTypeAttribute = value; }
    std::u16string GetInLineSchema() const { return m_inLineSchema; }
    void SetInLineSchema(const char16_t* schema);
    bool GetIgnoreInvalidCollectionCounts() const { return m_ignoreInvalidCollectionCounts; }
    void SetIgnoreInvalidCollectionCounts(bool value) { m_ignoreInvalidCollectionCounts = value; }
    bool GetIgnoreMissingChoice() const { return m_ignoreMissingChoice; }
    void SetIgnoreMissingChoice(bool value) { m_ignoreMissingChoice = value; }
    bool GetIgnoreMissingMandatoryElements() const { return m_ignoreMissingMandatoryElements; }
    // Refuses true while unknown elements are ignored: the two cannot both be ignored.
    void SetIgnoreMissingMandatoryElements(bool value);
    bool GetIgnoreUnknownElements() const { return m_ignoreUnknownElements; }
    // Refuses true while missing mandatory elements are ignored.
    void SetIgnoreUnknownElements(bool value);
    bool GetIgnoreUnknownAttributes() const { return m_ignoreUnknownAttributes; }
    void SetIgnoreUnknownAttributes(bool value) { m_ignoreUnknownAttributes = value; }
    // True when the flag is set or the schema type reads without namespaces.
    bool GetIgnoreNamespaces() const { return m_ignoreNamespaces || m_schemaType == SchemaType_NoNamespaces; }
    void SetIgnoreNamespaces(bool value) { m_ignoreNamespaces = value; }
    SchemaType GetSchemaType() const { return m_schemaType; }
    void SetSchemaType(SchemaType value) { m_schemaType = value; }
    bool GetNoOptionalAttributeDefaultOutput() const { return m_noOptionalAttributeDefaultOutput; }
    void SetNoOptionalAttributeDefaultOutput(bool value) { m_noOptionalAttributeDefaultOutput = value; }
    bool GetWriteDefaultElementValues() const { return m_writeDefaultElementValues; }
    void SetWriteDefaultElementValues(bool value) { m_writeDefaultElementValues = value; }
    bool GetStripCDATA() const { return m_stripCDATA; }
    void SetStripCDATA(bool value) { m_stripCDATA = value; }
    std::u16string GetIndentChars() const { return m_indentChars; }
    // Only blanks and tabs are accepted; null sets the empty string.
    void SetIndentChars(const char16_t* indent);

    CNamespaceAliasMap& GetNamespaceAliases() { return m_namespaceAliases; }
    const CNamespaceAliasMap& GetNamespaceAliases() const { return m_namespaceAliases; }
    std::vector<std::u16string>& GetProcessingInstructions() { return m_processingInstructions; }
    const std::vector<std::u16string>& GetProcessingInstructions() const { return m_processingInstructions; }
    // The context's own collection (namespace empty, restriction "##any", no target namespace),
    // made on first use: attributes added to it are written on the root element.
    CSmartPtr<CAttributeCol> GetAdditionalRootAttributes() const;
    // The JSON options, made with their defaults on first use and shared by copies. Making them
    // changes the context: threads sharing a context must have it made before.
    CJsonContext& GetJsonContext() const;
    // The Fast Infoset options, made with their defaults on first use (defined with that class).
    CFastInfosetContext& GetFIContext() const;

protected:
    // Shared, not cloned, by copies: a copy sees the same Fast Infoset and JSON options as its
    // source, and the last holder destroys them. Made on first use by their const getters.
    mutable std::shared_ptr<CFastInfosetContext> m_fiContext;
    mutable std::shared_ptr<CJsonContext> m_jsonContext;
    std::u16string m_defaultNamespaceURI;
    bool m_writeTypeAttribute;
    CNamespaceAliasMap m_namespaceAliases;
    // Attributes written on every root element; made on first use, shared by copies.
    mutable CSmartPtr<CAttributeCol> m_additionalRootAttributes;
    std::vector<std::u16string> m_processingInstructions;
    std::u16string m_inLineSchema;
    bool m_ignoreInvalidCollectionCounts;
    bool m_ignoreMissingChoice;
    bool m_ignoreMissingMandatoryElements;
    bool m_ignoreUnknownElements;
    bool m_ignoreUnknownAttributes;
    // Mutable: reading JSON written without namespaces sets it for the length of the call.
    mutable bool m_ignoreNamespaces;
    SchemaType m_schemaType;
    bool m_noOptionalAttributeDefaultOutput;
    bool m_writeDefaultElementValues;
    bool m_stripCDATA;
    std::u16string m_indentChars;

    static CSerializationContext m_defaultContext;

private:
    friend class CXmlObjectBase;
};

} // namespace KvXmlLib16
