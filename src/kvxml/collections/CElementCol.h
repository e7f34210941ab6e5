#pragma once

#include <cstdint>
#include <iterator>
#include <string>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/base/CSmartPtr.h"
#include "kvxml/collections/CXmlCollection.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

class CElement;

// The elements of an xs:any wildcard. Its restriction is always "##any", whatever it was built
// with; GetNamespace and GetTargetNamespace both give the target namespace.
class KVXML_API CElementCol : public CXmlCollection, public CInstanceMonitor {
public:
    // Walks the list in order, giving the elements.
    class Iterator {
    public:
        using iterator_category = std::forward_iterator_tag;
        using value_type = CElement*;
        using difference_type = std::ptrdiff_t;
        using pointer = CElement**;
        using reference = CElement*;

        explicit Iterator(const CNode* node = nullptr) : m_node(node) {}
        CElement* operator*() const;
        Iterator& operator++() {
            m_node = m_node->m_next;
            return *this;
        }
        Iterator operator++(int) {
            Iterator old = *this;
            m_node = m_node->m_next;
            return old;
        }
        bool operator==(const Iterator& other) const { return m_node == other.m_node; }
        bool operator!=(const Iterator& other) const { return m_node != other.m_node; }

    private:
        const CNode* m_node;
    };

    // minOccurs and maxOccurs are accepted and not used: the collection stays unbounded.
    CElementCol(const char16_t* namespaceUri, const char16_t* restriction, const char16_t* targetNamespace,
                int32_t minOccurs, int32_t maxOccurs);
    CElementCol(const CElementCol& other) = default;
    CElementCol& operator=(const CElementCol& other) = default;
    ~CElementCol() override;

    std::u16string GetTargetNamespace() override { return m_targetNamespace; }
    std::u16string GetNamespace() override { return m_targetNamespace; }

    CElement* Add(const char16_t* name, const char16_t* namespaceUri);
    // In the collection's namespace; throws CKvInvalidStateException when it has none.
    CElement* Add(const char16_t* name);
    // Tests the element's namespace against the restriction, then appends.
    CElement* Add(CElement* element);
    CSmartPtr<CElement> Item(int32_t index) const;
    // No namespace test on these two.
    void AddAfter(CElement* existing, CElement* element);
    void AddBefore(CElement* existing, CElement* element);

    Iterator begin() const { return Iterator(m_head); }
    Iterator end() const { return Iterator(nullptr); }

    CSmartPtr<CElementCol> Clone() const;

    const std::u16string& GetNamespaceRestriction() const { return m_restriction; }
    const std::u16string& GetCollectionNamespace() const { return m_elementNamespace; }

    // Checks the count, then writes every element.
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri, const CSerializationContext& context,
                   bool noErrorOnEmptyChoice) const override;
    // Takes elements from `element` on while their namespace passes the restriction; returns the
    // first one not taken.
    CXmlElement* FromXml_Int(CXmlElement* parent, CXmlElement* element, const CSerializationContext& context,
                             bool ignoreMissingChoice) override;
    // The same for an element that the schema names although its type is any: takes elements
    // whose local name and namespace equal the given ones exactly.
    virtual CXmlElement* FromXmlLockElementName_Int(const char16_t* name, const char16_t* namespaceUri,
                                                    CXmlElement* parent, CXmlElement* element,
                                                    const CSerializationContext& context, bool ignoreMissingChoice);

protected:
    std::u16string m_restriction;
    std::u16string m_elementNamespace;
    std::u16string m_targetNamespace;
};

} // namespace KvXmlLib16
