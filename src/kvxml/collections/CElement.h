#pragma once

#include <string>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/base/CSmartPtr.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/collections/CAttributeCol.h"
#include "kvxml/collections/CElementCol.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CXmlElement;

// One untyped element of an xs:any wildcard: attributes, child elements and one text, which is
// written behind the children. Each element carries the namespace restriction and target
// namespace it is tested against.
class KVXML_API CElement : public CXmlObjectBase, public CInstanceMonitor {
public:
    // Deepest nesting that reading and copying from a tree accept.
    static constexpr int32_t MaxNestingDepth = 1000;

    // Restriction "##any", no namespace, no target namespace.
    explicit CElement(const char16_t* name);
    // The namespace is its own restriction; a wildcard keyword as namespace throws
    // CKvInvalidNamespaceException.
    CElement(const char16_t* name, const char16_t* namespaceUri);
    CElement(const char16_t* name, const char16_t* namespaceUri, const char16_t* restriction,
             const char16_t* targetNamespace);
    // The untyped form of a generated object, made by writing it as UTF-8 text and reading
    // that back: restriction "##any". A non-null default namespace is kept as this element's
    // own and is the default namespace of the write.
    CElement(const CXmlObjectBase* object, const char16_t* defaultNamespace);
    // Shares the attribute and child collections with the source; Clone is the deep copy.
    CElement(const CElement& other) = default;
    CElement& operator=(const CElement& other) = default;
    ~CElement() override;

    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return m_namespace; }
    std::u16string GetNamespace() override { return m_namespace; }

    const std::u16string& GetName() const { return m_name; }
    void SetName(const char16_t* name) { m_name = name ? name : u""; }
    const std::u16string& GetText() const { return m_text; }
    void SetText(const char16_t* text) { m_text = text ? text : u""; }
    void SetNamespace(const char16_t* namespaceUri) { m_namespace = namespaceUri ? namespaceUri : u""; }
    CSmartPtr<CAttributeCol> GetAttributes() const { return m_attributes; }
    CSmartPtr<CElementCol> GetChildElements() const { return m_childElements; }
    const std::u16string& GetNamespaceRestriction() const { return m_namespaceRestriction; }
    // Non-empty: the element is written through a writer of its own that declares this default
    // namespace, and its attributes are left out.
    const std::u16string& GetDefaultNamespace() const { return m_defaultNamespace; }
    void SetDefaultNamespace(const char16_t* namespaceUri) { m_defaultNamespace = namespaceUri ? namespaceUri : u""; }

    // Checks this element, its attributes and its children against a restriction; changes
    // nothing. The first failure for the element itself is thrown as a heap pointer,
    // `CKvInvalidNamespaceException*`, which the handler owns and must delete.
    void SetNamespaceRestrictions(const char16_t* restriction, const char16_t* targetNamespace);

    CSmartPtr<CElement> Clone() const;
    // Replaces names, text, attributes and children by those of a tree element.
    void CopyXmlElement(const CXmlElement* element);
    // Reads the element from XML text, with the default context.
    void FromXml(const char16_t* xml);
    using CXmlObjectBase::FromXml;

    void ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri, const CSerializationContext& context,
                   bool noErrorOnEmptyChoice) const override;
    // Reads `element` if its namespace passes the restriction; returns its next sibling, or
    // `element` itself when it was not taken.
    CXmlElement* FromXml_Int(CXmlElement* parent, CXmlElement* element, const CSerializationContext& context,
                             bool ignoreMissingChoice) override;

protected:
    void Init(const char16_t* name, const char16_t* namespaceUri, const char16_t* restriction,
              const char16_t* targetNamespace);
    // Change hooks; the setters do not call them.
    void FireOnChangeName() {}
    void FireOnChangeNamespace() {}
    void FireOnChangeText() {}

    std::u16string m_name;
    std::u16string m_text;
    std::u16string m_namespace;
    std::u16string m_namespaceRestriction;
    std::u16string m_targetNamespace;
    CSmartPtr<CAttributeCol> m_attributes;
    CSmartPtr<CElementCol> m_childElements;
    std::u16string m_defaultNamespace;

private:
    void ToXmlWithOwnWriter(CXmlWriter* writer, const CSerializationContext& context, bool flag) const;
};

} // namespace KvXmlLib16
