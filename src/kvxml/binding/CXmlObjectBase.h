#pragma once

#include <cstdint>
#include <string>

#include "kvxml/base/CRefCounted.h"
#include "kvxml/base/CSmartPtr.h"
#include "kvxml/base/IEventSink.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/fastinfoset/FInfoDecl.h"
#include "kvxml/output/OutputEnums.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CBinaryData.h"

namespace KvXmlLib16 {

class CBinaryData;
class CSerializationContext;
class CXmlWriter;
class CXmlElement;
class CXmlCollectionBase;
class CElement;

// Root of everything that can be written to or read from a document. Carries the element name
// that the object is written as and the reference count of CRefCounted.
class KVXML_API CXmlObjectBase : public IEventSink, public CRefCounted {
public:
    CXmlObjectBase();
    // Copies take the element name and, unusually, the source's reference count too.
    CXmlObjectBase(const CXmlObjectBase& other);
    CXmlObjectBase& operator=(const CXmlObjectBase& other);
    ~CXmlObjectBase() override;

    void OnEvent(CXmlObjectBase* source, MsgType message, void* data) override;
    virtual CXmlObjectBase* GetBase() = 0;
    const CXmlObjectBase* GetBase() const;

    // Writes this object as a document and returns its text. The writer takes its indent and its
    // default-value rule from the context; an element left open fails the call.
    virtual std::u16string ToXml(bool includeDeclaration, bool formatted, EOLType eolType,
                                 const CSerializationContext& context) const;

    // Writes this object as a document of bytes in the encoding (UTF-8, or UTF-16 without a
    // byte-order mark), compressed as asked. Encoding 0 is refused once the text stands.
    virtual CBinaryData ToXmlStream(bool includeDeclaration, bool formatted, XmlEncoding encoding, EOLType eolType,
                                    const CSerializationContext& context, CompressionType compression) const;
    // Writes this object as a document file; UTF-16 files begin with the byte-order mark. Gzip
    // is offered, zlib is not. With AsyncToXmlFile on and no compression the text goes to the
    // file while it is produced; otherwise the whole document is built in memory first.
    virtual void ToXmlFile(const char16_t* fileName, bool includeDeclaration, bool formatted, XmlEncoding encoding,
                           EOLType eolType, const CSerializationContext& context, CompressionType compression) const;

    virtual std::u16string GetTargetNamespace() = 0;
    virtual std::u16string GetNamespace() = 0;

    // Writes the object's attributes into the current start tag; nothing by default.
    virtual void AttributesToXml_Int(CXmlWriter* writer, const CSerializationContext& context) const;
    // Writes the object as one element (or, for classes without one, as its content).
    virtual void ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri,
                           const CSerializationContext& context, bool noErrorOnEmptyChoice) const = 0;

    static void AttributesToXml_Int(const CXmlObjectBase* object, CXmlWriter* writer,
                                    const CSerializationContext& context);
    static void ToXml_Int(const CXmlObjectBase* object, CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri,
                          const CSerializationContext& context, bool noErrorOnEmptyChoice);

    // Local names must be equal; the namespaces too unless the context ignores them. Exact,
    // by code unit.
    static bool DoesElementNameMatch(const CSerializationContext& context, const CXmlElement* element,
                                     const char16_t* name, const char16_t* namespaceUri);
    // Tests a namespace against a wildcard pattern ("##any", "##other", "##local",
    // "##targetNamespace" or a URI) given the target namespace.
    static bool IsNamespaceValid(const char16_t* namespaceUri, const char16_t* pattern,
                                 const char16_t* targetNamespace);
    // As IsNamespaceValid, failing with CKvInvalidNamespaceException instead of returning false.
    static void TestNamespace(const char16_t* namespaceUri, const char16_t* pattern, const char16_t* targetNamespace);
    static void Throw_IfPropertyIsNull(const CXmlObjectBase* object, const char16_t* propertyName);
    // A null object passes; otherwise the element name of its GetBase must equal the required name.
    static void Throw_IfElementNameDiffers(const CXmlObjectBase* object, const char16_t* requiredName);

    // Keep the one selected property of a choice; selectedProperty is empty while none is selected.
    static void Choice_SetElementValid(bool valid, const char16_t* propertyName, std::u16string& selectedProperty);
    static void Choice_SelectElement(const char16_t* propertyName, const CXmlObjectBase* newValue,
                                     std::u16string& selectedProperty);
    static void Choice_CollectionChanged(const char16_t* propertyName, int32_t newItemCount,
                                         std::u16string& selectedProperty);

    // Collections. A choice reads its collection once: while itemsRead is below 1 the collection
    // reads from `current`; if it took anything, current moves on, the count is validated and
    // itemsRead grows by one.
    static void Choice_Read_Collection(CXmlCollectionBase* collection, CXmlElement* parent, CXmlElement*& current,
                                       int32_t& itemsRead, const CSerializationContext& context);
    // Single-sink forms of the collection events, with the collection's GetBase as the source.
    static void FireOnCollectionChangeEvent(IEventSink* sink, CXmlCollectionBase* collection);
    static void FireOnCollectionAddEvent(IEventSink* sink, CXmlCollectionBase* collection, void* item);
    static void FireOnCollectionAddCompleteEvent(IEventSink* sink, CXmlCollectionBase* collection, void* item);
    // The data points at the index, or is null for the index -1.
    static void FireOnCollectionRemoveEvent(IEventSink* sink, CXmlCollectionBase* collection, int32_t index);
    static void FireOnCollectionRemoveCompleteEvent(IEventSink* sink, CXmlCollectionBase* collection, int32_t index);

    // Writes this object as a Fast Infoset document (ITU-T X.891), with the 'finf' declaration
    // chosen, in the encodings of the context's GetFIContext; compressed unless the type is 0.
    virtual CBinaryData ToFastInfosetStream(FInfoDecl declaration, const CSerializationContext& context,
                                            CompressionType compression) const;
    // The same into a file, created or truncated; zlib (2) is refused before the file is touched.
    virtual void ToFastInfosetFile(const char16_t* fileName, FInfoDecl declaration,
                                   const CSerializationContext& context, CompressionType compression) const;

    std::u16string GetElementName() const { return m_elementName; }
    void SetElementName(const char16_t* name);
    static void SetElementName(CXmlObjectBase* object, const char16_t* name);

    // Reading entry points
    //
    // Parses the text into a document on the stack and fills this object from its root; the
    // root's name is not compared with anything here. The narrow form takes bytes as they stand,
    // encoding chosen by the XML declaration, UTF-8 by default.
    virtual void FromXml(const char16_t* xml, const CSerializationContext& context);
    virtual void FromXml(const char* xml, const CSerializationContext& context);
    // Reads a document file, whole or in chunks as AsyncFromXmlFile selects.
    virtual void FromXmlFile(const char16_t* fileName, const CSerializationContext& context);
    // Reads a document from bytes; a complete gzip or zlib stream is inflated first.
    virtual void FromXmlStream(const CBinaryData& data, const CSerializationContext& context);
    virtual void FromXmlStream(const unsigned char* bytes, uint32_t count, const CSerializationContext& context);
    // Writes the untyped element as text (no declaration, unformatted, LF, the default context)
    // and reads that text with the given context.
    virtual void FromXmlElement(CElement* element, const CSerializationContext& context);
    // Fills this object from a tree the caller holds, with no parsing.
    virtual void FromXmlElement(CXmlElement* element, const CSerializationContext& context);
    // Reads the object from the element, its content starting at firstChild; returns the element
    // where reading stopped.
    virtual CXmlElement* FromXml_Int(CXmlElement* element, CXmlElement* firstChild,
                                     const CSerializationContext& context, bool ignoreMissingChoice) = 0;
    static CXmlElement* FromXml_Int(CXmlObjectBase* object, CXmlElement* element, CXmlElement* firstChild,
                                    const CSerializationContext& context);

    // JSON entry points
    //
    // Writes this object as a JSON object with one member named after the element, in the
    // round-trip mode of the context's JSON options.
    virtual std::u16string ToJson(bool formatted, EOLType eolType, const CSerializationContext& context) const;
    // Turns the JSON into XML text and reads that as FromXml would. The narrow form takes UTF-8.
    virtual void FromJson(const char16_t* json, const CSerializationContext& context);
    virtual void FromJson(const char* json, const CSerializationContext& context);
    // Byte and file forms. Encoding and compression as for XML (gzip only for files); input is
    // read as UTF-8, inflated first when it is a complete gzip or zlib stream.
    virtual CBinaryData ToJsonStream(bool formatted, XmlEncoding encoding, EOLType eolType,
                                     const CSerializationContext& context, CompressionType compression) const;
    virtual void ToJsonFile(const char16_t* fileName, bool formatted, XmlEncoding encoding, EOLType eolType,
                            const CSerializationContext& context, CompressionType compression) const;
    virtual void FromJsonFile(const char16_t* fileName, const CSerializationContext& context);
    virtual void FromJsonStream(const CBinaryData& data, const CSerializationContext& context);
    virtual void FromJsonStream(const unsigned char* bytes, uint32_t count, const CSerializationContext& context);

protected:
    // Reads the XML that a JSON text became. Outside the full round-trip mode namespaces are
    // ignored for the length of the call; a failure is wrapped with the XML text it met.
    void FromJson_Int(const CBinaryData& xml, const CSerializationContext& context);

    std::u16string m_elementName;
};

} // namespace KvXmlLib16
