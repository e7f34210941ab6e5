#include "kvxml/binding/CXmlObjectBase.h"

#include <string_view>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"

namespace KvXmlLib16 {

CXmlObjectBase::CXmlObjectBase() = default;

CXmlObjectBase::CXmlObjectBase(const CXmlObjectBase& other)
    : IEventSink(other), CRefCounted(other), m_elementName(other.m_elementName) {}

CXmlObjectBase& CXmlObjectBase::operator=(const CXmlObjectBase& other) {
    CRefCounted::operator=(other);
    m_elementName = other.m_elementName;
    return *this;
}

CXmlObjectBase::~CXmlObjectBase() { m_elementName.clear(); }

void CXmlObjectBase::OnEvent(CXmlObjectBase*, MsgType, void*) {}

const CXmlObjectBase* CXmlObjectBase::GetBase() const { return const_cast<CXmlObjectBase*>(this)->GetBase(); }

void CXmlObjectBase::SetElementName(const char16_t* name) { m_elementName = name ? name : u""; }

void CXmlObjectBase::SetElementName(CXmlObjectBase* object, const char16_t* name) { object->SetElementName(name); }

// ---- writing ----

namespace {
inline const char16_t* Safe(const char16_t* s) { return s ? s : u""; }
} // namespace

std::u16string CXmlObjectBase::ToXml(bool includeDeclaration, bool formatted, EOLType eolType,
                                     const CSerializationContext& context) const {
    CTextStream stream(4095, XmlEncoding_None);
    CXmlTextWriter writer(&stream);
    stream.Open();
    writer.SetFormatted(formatted);
    writer.SetIndent(context.GetIndentChars());
    writer.SetEOLType(eolType);
    writer.SetWriteDefaultValues(context.GetWriteDefaultElementValues());
    if (includeDeclaration) writer.WriteXmlDeclaration();
    // The target namespace is asked of the object as it stands; asking changes nothing.
    const std::u16string targetNamespace = const_cast<CXmlObjectBase*>(this)->GetTargetNamespace();
    ToXml_Int(&writer, true, targetNamespace.c_str(), context, false);
    stream.Close();
    if (writer.GetCurrentContext()) throw CKvException(u"An Element has not been closed.");
    return stream.GetText();
}

void CXmlObjectBase::AttributesToXml_Int(CXmlWriter*, const CSerializationContext&) const {}

void CXmlObjectBase::AttributesToXml_Int(const CXmlObjectBase* object, CXmlWriter* writer,
                                         const CSerializationContext& context) {
    object->AttributesToXml_Int(writer, context);
}

void CXmlObjectBase::ToXml_Int(const CXmlObjectBase* object, CXmlWriter* writer, bool isRoot,
                               const char16_t* namespaceUri, const CSerializationContext& context,
                               bool noErrorOnEmptyChoice) {
    object->ToXml_Int(writer, isRoot, namespaceUri, context, noErrorOnEmptyChoice);
}

// The pattern is scanned token by token, but after the first blank the rest of the pattern is not
// what stays: only a single blank does. So the first token alone is tested by its own text, and
// every later pass tests an empty token (true for the empty namespace, or for a namespace equal to
// the whole pattern). A later pass that fails would repeat the same test for ever; the library ends
// that scan with the result false instead of hanging.
bool CXmlObjectBase::IsNamespaceValid(const char16_t* namespaceUri, const char16_t* pattern,
                                      const char16_t* targetNamespace) {
    const std::u16string_view ns = Safe(namespaceUri);
    const std::u16string_view whole = Safe(pattern);
    const std::u16string_view target = Safe(targetNamespace);
    const size_t blank = whole.find(u' ');
    const std::u16string_view token = whole.substr(0, blank);
    const bool emptyTokenTest = ns == whole || ns.empty();
    bool result;
    if (token == u"##any")
        result = true;
    else if (token == u"##other")
        result = ns != target;
    else if (token == u"##local")
        result = ns.empty();
    else if (token == u"##targetNamespace")
        result = ns == target;
    else
        result = emptyTokenTest;
    if (result || blank == std::u16string_view::npos) return result;
    return emptyTokenTest;
}

void CXmlObjectBase::TestNamespace(const char16_t* namespaceUri, const char16_t* pattern,
                                   const char16_t* targetNamespace) {
    if (!IsNamespaceValid(namespaceUri, pattern, targetNamespace))
        throw CKvInvalidNamespaceException(
            FormatString(
                u"Invalid namespace [%s]. The namespace must be one of [%s] where the target namespace is [%s].",
                Safe(namespaceUri), Safe(pattern), Safe(targetNamespace)),
            std::u16string());
}

void CXmlObjectBase::Throw_IfPropertyIsNull(const CXmlObjectBase* object, const char16_t* propertyName) {
    if (!object)
        throw CKvInvalidParamException(
            FormatString(u"The Property [%s] is mandatory, it may node be NULL", Safe(propertyName)));
}

void CXmlObjectBase::Throw_IfElementNameDiffers(const CXmlObjectBase* object, const char16_t* requiredName) {
    if (!object) return;
    const CXmlObjectBase* base = object->GetBase();
    const std::u16string& actual = base->m_elementName;
    if (actual != Safe(requiredName))
        throw CKvInvalidParamException(FormatString(
            u"This property requires an element with the name %s the element being set has the element name %s",
            Safe(requiredName), actual.c_str()));
}

void CXmlObjectBase::Choice_SetElementValid(bool valid, const char16_t* propertyName,
                                            std::u16string& selectedProperty) {
    if (!valid) {
        selectedProperty.clear();
        return;
    }
    // Nothing selected differs from any name too, so a first selection through here fails as well.
    if (selectedProperty != Safe(propertyName))
        throw CKvInvalidStateException(
            FormatString(u"The Property %s is already set. Only one element within this class bay be set at a time",
                         selectedProperty.c_str()));
    selectedProperty = Safe(propertyName);
}

void CXmlObjectBase::Choice_SelectElement(const char16_t* propertyName, const CXmlObjectBase* newValue,
                                          std::u16string& selectedProperty) {
    if (selectedProperty == Safe(propertyName)) {
        if (!newValue) selectedProperty.clear();
        return;
    }
    if (!selectedProperty.empty()) {
        if (!newValue) return;
        throw CKvInvalidStateException(
            FormatString(u"The Property [%s] is already set. Only one element within this class bay be set at a time",
                         selectedProperty.c_str()));
    }
    selectedProperty = Safe(propertyName);
}

void CXmlObjectBase::Choice_CollectionChanged(const char16_t* propertyName, int32_t newItemCount,
                                              std::u16string& selectedProperty) {
    if (selectedProperty == Safe(propertyName)) {
        if (newItemCount == 0) selectedProperty.clear();
        return;
    }
    if (!selectedProperty.empty()) {
        if (newItemCount == 0) return;
        throw CKvInvalidStateException(
            FormatString(u"The Property [%s] is already set. Only one element within this class bay be set at a time",
                         selectedProperty.c_str()));
    }
    if (newItemCount < 1) return;
    selectedProperty = Safe(propertyName);
}

// ---- the collection helpers of CXmlObjectBase ----

void CXmlObjectBase::FireOnCollectionChangeEvent(IEventSink* sink, CXmlCollectionBase* collection) {
    sink->OnEvent(collection->GetBase(), IEventSink::MsgType_CollectionChanged, nullptr);
}

void CXmlObjectBase::FireOnCollectionAddEvent(IEventSink* sink, CXmlCollectionBase* collection, void* item) {
    sink->OnEvent(collection->GetBase(), IEventSink::MsgType_ItemAdding, item);
}

void CXmlObjectBase::FireOnCollectionAddCompleteEvent(IEventSink* sink, CXmlCollectionBase* collection, void* item) {
    sink->OnEvent(collection->GetBase(), IEventSink::MsgType_ItemAdded, item);
}

void CXmlObjectBase::FireOnCollectionRemoveEvent(IEventSink* sink, CXmlCollectionBase* collection, int32_t index) {
    sink->OnEvent(collection->GetBase(), IEventSink::MsgType_ItemRemoving, index == -1 ? nullptr : &index);
}

void CXmlObjectBase::FireOnCollectionRemoveCompleteEvent(IEventSink* sink, CXmlCollectionBase* collection,
                                                         int32_t index) {
    sink->OnEvent(collection->GetBase(), IEventSink::MsgType_ItemRemoved, index == -1 ? nullptr : &index);
}

void CXmlObjectBase::Choice_Read_Collection(CXmlCollectionBase* collection, CXmlElement* parent, CXmlElement*& current,
                                            int32_t& itemsRead, const CSerializationContext& context) {
    if (itemsRead >= 1) return;
    CXmlElement* next = collection->FromXml_Int(parent, current, context, false);
    if (next != current) {
        current = next;
        collection->ValidateCount(context);
        ++itemsRead;
    }
}

} // namespace KvXmlLib16
