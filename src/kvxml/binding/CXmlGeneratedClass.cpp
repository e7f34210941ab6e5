#include "kvxml/binding/CXmlGeneratedClass.h"

#include <memory>
#include <typeinfo>
#include <vector>

#include "kvxml/base/CKvException.h"
#include "kvxml/base/CNestingGuard.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/BindingHelpers.h"
#include "kvxml/binding/CElementInfoChoice.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/binding/INillable.h"
#include "kvxml/binding/ReadRelease.h"
#include "kvxml/collections/CAttributeCol.h"
#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16 {

using namespace KvXmlLib16Data;

CKVCriticalSection CXmlGeneratedClass::m_csInit;

namespace {

// Found flags per record: on the stack for the usual small tables, on the heap beyond.
class FoundFlags {
public:
    explicit FoundFlags(size_t count) : m_heap(count > kInline ? new bool[count]() : nullptr) {
        m_flags = m_heap ? m_heap.get() : m_inline;
        if (!m_heap)
            for (size_t i = 0; i < count; ++i) m_inline[i] = false;
    }
    bool& operator[](size_t i) { return m_flags[i]; }

private:
    static constexpr size_t kInline = 64;
    bool m_inline[kInline];
    std::unique_ptr<bool[]> m_heap;
    bool* m_flags;
};

template <class T>
size_t CountOf(T** table) {
    size_t count = 0;
    if (table)
        while (table[count]) ++count;
    return count;
}

const CParentElementInfo& ClassInfoOf(const CXmlGeneratedClass* object) {
    const CParentElementInfo* info = object->GetClassInfo();
    if (!info) throw CKvException(u"The class has no class metadata.");
    return *info;
}

using BindingHelpers::ThrowLeftOver;

// Whether the object's class implements INillable. The cross cast walks the class graph, once per
// object read; the answer belongs to the dynamic type, so the last few types keep theirs.
bool IsNillableClass(const CXmlGeneratedClass* object) {
    struct Entry {
        const std::type_info* type;
        bool nillable;
    };
    constexpr size_t kEntries = 8;
    thread_local Entry entries[kEntries] = {};
    thread_local size_t next = 0;
    const std::type_info* type = &typeid(*object);
    for (const Entry& entry : entries)
        if (entry.type == type) return entry.nillable;
    const bool nillable = dynamic_cast<const INillable*>(object) != nullptr;
    entries[next] = {type, nillable};
    next = (next + 1) % kEntries;
    return nillable;
}

} // namespace

CXmlGeneratedClass::CXmlGeneratedClass() = default;
CXmlGeneratedClass::CXmlGeneratedClass(const CXmlGeneratedClass& other) = default;
CXmlGeneratedClass& CXmlGeneratedClass::operator=(const CXmlGeneratedClass& other) {
    CXmlObjectBase::operator=(other);
    return *this;
}
CXmlGeneratedClass::~CXmlGeneratedClass() = default;

void CXmlGeneratedClass::CleanMetaData(CParentElementInfo*& classInfo, CElementInfo**& elementInfo,
                                       CAttributeInfo**& attributeInfo) {
    delete classInfo;
    classInfo = nullptr;
    if (elementInfo) {
        for (size_t i = 0; elementInfo[i]; ++i) {
            delete elementInfo[i];
            elementInfo[i] = nullptr;
        }
        delete[] elementInfo;
        elementInfo = nullptr;
    }
    if (attributeInfo) {
        for (size_t i = 0; attributeInfo[i]; ++i) {
            delete attributeInfo[i];
            attributeInfo[i] = nullptr;
        }
        delete[] attributeInfo;
        attributeInfo = nullptr;
    }
}

int32_t CXmlGeneratedClass::GetClassElementInfoCount() const {
    return static_cast<int32_t>(CountOf(GetClassElementInfo()));
}

void CXmlGeneratedClass::ReadProperty(int32_t propertyIndex, KvVariant& value) const {
    const_cast<CXmlGeneratedClass*>(this)->AccessProperty(propertyIndex, true, value);
}

// ---- writing ----------------------------------------------------------------------------------

void CXmlGeneratedClass::AttributesToXml_Int(CXmlWriter* writer, const CSerializationContext& context) const {
    try {
        if (context.GetWriteTypeAttribute()) {
            const CParentElementInfo& info = ClassInfoOf(this);
            // xsi:type states the class when it is held under an element that is not its own type's.
            if (info.GetHasBaseClasses() && m_elementName != info.ElementNameRef())
                writer->WriteXsiType(info.ElementNamespaceRef(), info.ElementNameRef(), ItemType_string);
        }
        ProcessAttributesToXml(context, GetClassElementInfo(), GetClassAttributeInfo(), writer);
    } catch (const CKvException& e) {
        throw CKvException(u"Failed to convert attributes to XML", e);
    }
}

void CXmlGeneratedClass::ProcessAttributesToXml(const CSerializationContext& context, CElementInfo** elements,
                                                CAttributeInfo** attributes, CXmlWriter* writer) const {
    if (attributes)
        for (size_t i = 0; attributes[i]; ++i) attributes[i]->AttributeToXml(context, this, writer);
    if (elements)
        for (size_t i = 0; elements[i]; ++i) elements[i]->PseudoChildAttributeToXml(context, this, writer);
}

void CXmlGeneratedClass::ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri,
                                   const CSerializationContext& context, bool noErrorOnEmptyChoice) const {
    try {
        CNestingGuard nesting;
        const CParentElementInfo& info = ClassInfoOf(this);
        const bool ownElement = info.GetElementType() == XmlElementType_Element;
        // The namespace handed down is nearly always the class's own: reuse that string then.
        std::u16string passed;
        const std::u16string* nsRef = &info.ElementNamespaceRef();
        if (!namespaceUri || !BindingHelpers::SameText(*nsRef, namespaceUri)) {
            passed = namespaceUri ? namespaceUri : u"";
            nsRef = &passed;
        }
        const std::u16string& ns = *nsRef;
        if (ownElement) {
            if (isRoot) {
                for (const std::u16string& instruction : context.GetProcessingInstructions())
                    writer->WriteProcessingInstruction(instruction);
                // Every alias once, in URI order: the entries that indexes 0 to count-1 step through.
                for (const auto& entry : context.GetNamespaceAliases().GetMap())
                    writer->AddNamespaceAlias(entry.second, entry.first);
                const std::u16string defaultNamespace = context.GetDefaultNamespaceURI();
                if (!defaultNamespace.empty()) writer->SetDefaultNamespace(defaultNamespace);
            }
            writer->WriteStartElement(m_elementName, ns);
            if (isRoot) {
                CSmartPtr<CAttributeCol> extra = context.GetAdditionalRootAttributes();
                if (extra)
                    CXmlObjectBase::ToXml_Int(extra.get(), writer, false, ns.c_str(), context, noErrorOnEmptyChoice);
            }
            AttributesToXml_Int(writer, context);
            if (isRoot) {
                const std::u16string schema = context.GetInLineSchema();
                if (!schema.empty()) writer->WriteInLineSchema(schema);
            }
        }
        WriteBody(info, context, writer, noErrorOnEmptyChoice);
        if (ownElement) writer->WriteEndElement();
    } catch (const CKvException& e) {
        throw CKvValidationException(FormatString(u"Failed to convert the element [%s] to XML", m_elementName.c_str()),
                                     std::u16string(), e);
    }
}

void CXmlGeneratedClass::WriteBody(const CParentElementInfo& info, const CSerializationContext& context,
                                   CXmlWriter* writer, bool noErrorOnEmptyChoice) const {
    const INillable* nillable = dynamic_cast<const INillable*>(this);
    if (nillable && nillable->IsNil()) {
        writer->WriteXsiNil();
        return;
    }
    switch (info.GetElementGroupType()) {
    case XmlElementGroupType_Seq: ProcessElementSeqToXml(context, GetClassElementInfo(), writer); break;
    case XmlElementGroupType_Choice:
        ProcessElementChoiceToXml(context, GetClassElementInfo(), writer, noErrorOnEmptyChoice);
        break;
    case XmlElementGroupType_All: ProcessElementAllToXml(context, GetClassElementInfo(), writer); break;
    default: throw CKvException(u"Unknown XML Group Type");
    }
    // The text value comes after the children.
    if (info.GetPrimitiveValuePropertyIndex() != -1 && info.GetPrimitiveDataType() != ItemType_Invalid) {
        KvVariant value;
        ReadProperty(info.GetPrimitiveValuePropertyIndex(), value);
        if (value.IsNil())
            writer->WriteXsiNil();
        else
            writer->WriteElementText(value.ToString(info.PrimitiveFormatOverrideRef().c_str()), value.GetTypeAsEnum(),
                                     false);
    }
}

void CXmlGeneratedClass::ProcessElementSeqToXml(const CSerializationContext& context, CElementInfo** elements,
                                                CXmlWriter* writer) const {
    if (!elements) return;
    for (size_t i = 0; elements[i]; ++i) elements[i]->ElementToXml(context, this, writer);
}

void CXmlGeneratedClass::ProcessElementAllToXml(const CSerializationContext& context, CElementInfo** elements,
                                                CXmlWriter* writer) const {
    ProcessElementSeqToXml(context, elements, writer);
}

void CXmlGeneratedClass::ProcessElementChoiceToXml(const CSerializationContext& context, CElementInfo** elements,
                                                   CXmlWriter* writer, bool noErrorOnEmptyChoice) const {
    if (elements)
        for (size_t i = 0; elements[i]; ++i)
            if (elements[i]->ElementToXml(context, this, writer)) return;
    if (DoesElementContainOptionalElements() || noErrorOnEmptyChoice || context.GetIgnoreMissingChoice()) return;
    throw CKvValidationException(
        u"This element is a choice, and as such must have at one (and only one) valid item, "
        u"currently there are none set",
        std::u16string());
}

bool CXmlGeneratedClass::DoesElementContainOptionalElements() const {
    CElementInfo** elements = GetClassElementInfo();
    if (!elements) return false;
    for (size_t i = 0; elements[i]; ++i) {
        const CElementInfo* record = elements[i];
        if (dynamic_cast<const CElementInfoChoicePrimCol*>(record) ||
            dynamic_cast<const CElementInfoChoiceClsCol*>(record) ||
            dynamic_cast<const CElementInfoChoiceAbsClsCol*>(record) ||
            dynamic_cast<const CElementInfoChoiceEnumCol*>(record) ||
            dynamic_cast<const CElementInfoChoiceUntpdCol*>(record)) {
            KvVariant value;
            ReadProperty(record->GetPropertyIndex(), value);
            CSmartPtr<CXmlCollectionBase> collection = BindingHelpers::CollectionOf(BindingHelpers::ObjectOf(value));
            if (collection && collection->GetMinOccurs() == 0) return true;
        } else if (dynamic_cast<const CElementInfoChoicePrimOpt*>(record) ||
                   dynamic_cast<const CElementInfoChoiceClsOpt*>(record) ||
                   dynamic_cast<const CElementInfoChoiceAbsClsOpt*>(record) ||
                   dynamic_cast<const CElementInfoChoiceEnumOpt*>(record) ||
                   dynamic_cast<const CElementInfoChoiceUntpdOpt*>(record)) {
            return true;
        }
    }
    return false;
}

bool CXmlGeneratedClass::IsElementInList(const CSerializationContext& context, CXmlElement* element) const {
    if (!element) return false;
    CElementInfo** elements = GetClassElementInfo();
    if (!elements) return false;
    for (size_t i = 0; elements[i]; ++i) {
        if (elements[i]->ElementNameRef() != element->GetLocalName()) continue;
        if (context.GetIgnoreNamespaces() || elements[i]->ElementNamespaceRef() == element->GetNamespaceURI())
            return true;
    }
    return false;
}

// ---- reading ----------------------------------------------------------------------------------

CXmlElement* CXmlGeneratedClass::FromXml_Int(CXmlElement* element, CXmlElement* firstChild,
                                             const CSerializationContext& context, bool ignoreMissingChoice) {
    if (!element) throw CKvException(u"No element to read from.");
    CXmlElement* result = nullptr;
    try {
        CNestingGuard nesting;
        ReadRelease::Frame frame(this);
        Init();
        const CParentElementInfo& info = ClassInfoOf(this);
        // The object takes the name of the element it was read from, and writes itself under it later.
        if (info.GetElementType() == XmlElementType_Element) m_elementName = element->GetLocalName();
        ProcessAttributesFromXml(context, element, info.GetFromXmlFailIfAttributeUnknown());
        const INillable* nillable = IsNillableClass(this) ? dynamic_cast<const INillable*>(this) : nullptr;
        // The content of a nil element is not read, not even to be refused.
        if (nillable && nillable->IsNil()) return firstChild;
        ReadBody(info, element, result, firstChild, context, ignoreMissingChoice);
    } catch (const CKvException& e) {
        // Only the innermost level adds a path; outer levels pass on a plain copy.
        if (e.GetPath().empty())
            throw CKvValidationException(u"Failed to process the element.", element->GetXPath(), e);
        throw CKvException(e);
    }
    return result;
}

void CXmlGeneratedClass::ReadBody(const CParentElementInfo& info, CXmlElement* element, CXmlElement*& result,
                                  CXmlElement* firstChild, const CSerializationContext& context,
                                  bool ignoreMissingChoice) {
    const XmlElementType type = info.GetElementType();
    switch (info.GetElementGroupType()) {
    case XmlElementGroupType_Seq: result = ProcessElementSeqFromXml(context, element, firstChild, type); break;
    case XmlElementGroupType_Choice:
        result = ProcessElementChoiceFromXml(context, element, firstChild, type, ignoreMissingChoice);
        break;
    case XmlElementGroupType_All: result = ProcessElementAllFromXml(context, element, firstChild, type); break;
    default: throw CKvException(u"Unknown Group Type");
    }
    const int32_t index = info.GetPrimitiveValuePropertyIndex();
    if (index != -1 && info.GetPrimitiveDataType() != ItemType_Invalid) {
        KvVariant value;
        if (info.GetOutputPrimitiveClassAsTextProperty())
            value.SetString(std::u16string(element->TextView()));
        else
            value.FromString(element->TextView(), info.GetPrimitiveDataType(), CWhitespaceUtils::WhitespaceRule_None);
        value.SetTransient();
        AccessProperty(index, false, value);
    }
}

std::u16string CXmlGeneratedClass::NamespaceFor(CElementInfo** records, size_t count) {
    // Only the wildcard records read the namespace; asking for it costs a string per object.
    for (size_t i = 0; i < count; ++i)
        if (records[i]->UsesNamespace()) return GetNamespace();
    return std::u16string();
}

void CXmlGeneratedClass::ProcessAttributesFromXml(const CSerializationContext& context, CXmlElement* element,
                                                  bool failIfUnknown) {
    CAttributeInfo** records = GetClassAttributeInfo();
    const size_t count = CountOf(records);
    FoundFlags found(count);
    for (CXmlAttribute* attribute : element->AttributeSpan()) {
        // Both tests need the instance or the xmlns namespace: an attribute in none skips them.
        const bool inNamespace = !attribute->GetNamespaceURI().empty();
        if (inNamespace && attribute->IsNamespaceAttribute()) continue;
        if (inNamespace && attribute->IsNilAttribute()) {
            INillable* nillable = dynamic_cast<INillable*>(this);
            if (!nillable)
                throw CKvValidationException(u"Invalid use of 'nil' attribute in non-nillable element.",
                                             element->GetXPath());
            const std::u16string_view value = attribute->ValueView();
            if (BindingHelpers::EqualsNoCase(value, u"true") || BindingHelpers::EqualsNoCase(value, u"1"))
                nillable->SetNil(true);
            else if (BindingHelpers::EqualsNoCase(value, u"false") || BindingHelpers::EqualsNoCase(value, u"0"))
                nillable->SetNil(false);
            else
                throw CKvValidationException(
                    FormatString(u"Unexpected Value [%s] for 'nil' Attribute found.", std::u16string(value).c_str()),
                    attribute->GetXPath());
            continue;
        }
        bool taken = false;
        for (size_t i = 0; i < count && !taken; ++i) {
            if (records[i]->AttributeFromXml(context, this, attribute)) {
                found[i] = true;
                taken = true;
            }
        }
        if (!taken && failIfUnknown && !context.GetIgnoreUnknownAttributes())
            throw CKvValidationException(u"Unexpected Attribute found.", attribute->GetXPath());
    }
    for (size_t i = 0; i < count; ++i) records[i]->Validate(context, found[i]);
}

CXmlElement* CXmlGeneratedClass::ProcessElementSeqFromXml(const CSerializationContext& context, CXmlElement* parent,
                                                          CXmlElement* firstChild, XmlElementType parentType) {
    CElementInfo** records = GetClassElementInfo();
    const size_t count = CountOf(records);
    const std::u16string ns = NamespaceFor(records, count);
    CXmlElement* const start = firstChild;
    CXmlElement* current = firstChild;
    // The root object's reader frees what its cursor has passed: it never goes back.
    const bool release = ReadRelease::ReadsRootLevel(parent, parentType);
    size_t i = 0;
    for (;;) {
        for (; i < count; ++i) {
            while (!records[i]->ElementFromXml(context, this, parent, &current, ns.c_str(), parentType)) {
                // The record could not be satisfied here: skip one element and retry, if allowed.
                if (!context.GetIgnoreUnknownElements() || !current) return start;
                current = current->GetNextSiblingElement();
                if (release) ReadRelease::ReleaseBefore(current);
            }
            if (release) ReadRelease::ReleaseBefore(current);
        }
        if (parentType != XmlElementType_Element || !current) return current;
        if (!context.GetIgnoreUnknownElements()) ThrowLeftOver(parent, current);
        // Drop the element left over; the last record gets another look at what follows.
        current = current->GetNextSiblingElement();
        if (release) ReadRelease::ReleaseBefore(current);
        if (!current) return nullptr;
        i = count > 0 ? count - 1 : 0;
    }
}

CXmlElement* CXmlGeneratedClass::ProcessElementChoiceFromXml(const CSerializationContext& context, CXmlElement* parent,
                                                             CXmlElement* firstChild, XmlElementType parentType,
                                                             bool ignoreMissingChoice) {
    CElementInfo** records = GetClassElementInfo();
    const size_t count = CountOf(records);
    const std::u16string ns = NamespaceFor(records, count);
    const bool ignoreUnknown = context.GetIgnoreUnknownElements();
    CXmlElement* const start = firstChild;
    CXmlElement* current = firstChild;
    const bool release = ReadRelease::ReadsRootLevel(parent, parentType);
    bool found = false;
    CXmlElement* passStart;
    do {
        passStart = current;
        found = false;
        for (size_t i = 0; i < count && !found; ++i) {
            found = records[i]->ElementFromXml(context, this, parent, &current, ns.c_str(), parentType);
            if (release) ReadRelease::ReleaseBefore(current);
        }
        if (current) {
            if (!ignoreUnknown) break;
            if (!found && parentType == XmlElementType_Element) current = current->GetNextSiblingElement();
        }
        // Another pass only after an element was skipped: a pass that moved nothing would repeat itself.
    } while (ignoreUnknown && !found && current && current != passStart && parentType == XmlElementType_Element);

    if (!found && !ignoreMissingChoice) {
        if (parentType == XmlElementType_Pseudo) return ignoreUnknown ? start : current;
        if (parentType == XmlElementType_Inline) return current;
        if (parentType == XmlElementType_Element && !DoesElementContainOptionalElements() &&
            !context.GetIgnoreMissingChoice())
            throw CKvValidationException(
                FormatString(u"No child elements within the element [%s] were populated. The element represents a "
                             u"choice, so one and only one element should be populated. The element contained no "
                             u"sutable child elements",
                             parent->GetLocalName().c_str()),
                parent->GetXPath());
    }
    if ((found || ignoreMissingChoice) && parentType != XmlElementType_Element) return current;
    if (!current || ignoreUnknown) return current;
    ThrowLeftOver(parent, current);
}

CXmlElement* CXmlGeneratedClass::ProcessElementAllFromXml(const CSerializationContext& context, CXmlElement* parent,
                                                          CXmlElement* firstChild, XmlElementType parentType) {
    CElementInfo** records = GetClassElementInfo();
    const size_t count = CountOf(records);
    const std::u16string ns = NamespaceFor(records, count);
    FoundFlags found(count);
    CXmlElement* const start = firstChild;
    CXmlElement* current = firstChild;
    const bool release = ReadRelease::ReadsRootLevel(parent, parentType);
    // Repeated passes take the elements in any order; a pass that consumes nothing ends the loop.
    for (CXmlElement* passStart = nullptr; current && current != passStart;) {
        passStart = current;
        for (size_t i = 0; i < count; ++i) {
            if (found[i]) continue;
            found[i] = records[i]->ElementFromXml(context, this, parent, &current, ns.c_str(), parentType);
            if (release) ReadRelease::ReleaseBefore(current);
        }
    }
    const bool strict = parentType == XmlElementType_Element;
    for (size_t i = 0; i < count; ++i)
        if (!records[i]->Validate(context, this, found[i], strict)) return start;
    if (parentType != XmlElementType_Element || !current || context.GetIgnoreUnknownElements()) return current;
    ThrowLeftOver(parent, current);
}

} // namespace KvXmlLib16
