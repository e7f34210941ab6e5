#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "kvxml/base/CKVCriticalSection.h"
#include "kvxml/binding/CAttributeInfo.h"
#include "kvxml/binding/CElementInfo.h"
#include "kvxml/binding/CParentElementInfo.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/values/KvVariant.h"

namespace KvXmlLib16 {

class CSerializationContext;
class CXmlWriter;
class CXmlElement;

// Base of every generated class and the one engine that writes and reads them: it asks the object
// for its three metadata tables and walks them. It holds no fields of its own.
class KVXML_API CXmlGeneratedClass : public CXmlObjectBase {
public:
    CXmlGeneratedClass();
    CXmlGeneratedClass(const CXmlGeneratedClass& other);
    CXmlGeneratedClass& operator=(const CXmlGeneratedClass& other);
    ~CXmlGeneratedClass() override;

    // What generated code implements (besides GetBase, GetTargetNamespace, GetNamespace).
    virtual void AccessProperty(int32_t propertyIndex, bool get, KvVariant& value) = 0;
    virtual KvXmlLib16Data::CParentElementInfo* GetClassInfo() const = 0;
    virtual KvXmlLib16Data::CElementInfo** GetClassElementInfo() const = 0;
    virtual KvXmlLib16Data::CAttributeInfo** GetClassAttributeInfo() const = 0;
    virtual void Init() = 0;

    // The engine.
    void AttributesToXml_Int(CXmlWriter* writer, const CSerializationContext& context) const override;
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri, const CSerializationContext& context,
                   bool noErrorOnEmptyChoice) const override;
    CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild, const CSerializationContext& context,
                             bool ignoreMissingChoice) override;

    void ProcessAttributesToXml(const CSerializationContext& context, KvXmlLib16Data::CElementInfo** elements,
                                KvXmlLib16Data::CAttributeInfo** attributes, CXmlWriter* writer) const;
    void ProcessAttributesFromXml(const CSerializationContext& context, CXmlElement* element, bool failIfUnknown);

    // Generated code builds its tables under this lock on first use; the library never enters it.
    static CKVCriticalSection m_csInit;
    // Destroys a class's tables and nulls the three pointers.
    static void CleanMetaData(KvXmlLib16Data::CParentElementInfo*& classInfo,
                              KvXmlLib16Data::CElementInfo**& elementInfo,
                              KvXmlLib16Data::CAttributeInfo**& attributeInfo);
    int32_t GetClassElementInfoCount() const;
    void ReadProperty(int32_t propertyIndex, KvVariant& value) const;

protected:
    bool DoesElementContainOptionalElements() const;
    // For generated code; the driver itself does not call it.
    bool IsElementInList(const CSerializationContext& context, CXmlElement* element) const;

private:
    CXmlElement* ProcessElementSeqFromXml(const CSerializationContext& context, CXmlElement* parent,
                                          CXmlElement* firstChild, XmlElementType parentType);
    CXmlElement* ProcessElementChoiceFromXml(const CSerializationContext& context, CXmlElement* parent,
                                             CXmlElement* firstChild, XmlElementType parentType,
                                             bool ignoreMissingChoice);
    CXmlElement* ProcessElementAllFromXml(const CSerializationContext& context, CXmlElement* parent,
                                          CXmlElement* firstChild, XmlElementType parentType);
    void ProcessElementSeqToXml(const CSerializationContext& context, KvXmlLib16Data::CElementInfo** elements,
                                CXmlWriter* writer) const;
    void ProcessElementAllToXml(const CSerializationContext& context, KvXmlLib16Data::CElementInfo** elements,
                                CXmlWriter* writer) const;
    void ProcessElementChoiceToXml(const CSerializationContext& context, KvXmlLib16Data::CElementInfo** elements,
                                   CXmlWriter* writer, bool noErrorOnEmptyChoice) const;
    // The namespace handed to the records, asked for only when one of them reads it.
    std::u16string NamespaceFor(KvXmlLib16Data::CElementInfo** records, size_t count);
    void WriteBody(const KvXmlLib16Data::CParentElementInfo& classInfo, const CSerializationContext& context,
                   CXmlWriter* writer, bool noErrorOnEmptyChoice) const;
    void ReadBody(const KvXmlLib16Data::CParentElementInfo& classInfo, CXmlElement* element, CXmlElement*& result,
                  CXmlElement* firstChild, const CSerializationContext& context, bool ignoreMissingChoice);
};

} // namespace KvXmlLib16
