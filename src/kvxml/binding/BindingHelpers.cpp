#include "kvxml/binding/BindingHelpers.h"

#include "kvxml/base/CKvException.h"
#include "kvxml/base/FormatString.h"
#include "kvxml/binding/CXmlObjectBase.h"
#include "kvxml/binding/ReadRelease.h"
#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/output/CXmlWriter.h"
#include "kvxml/values/CPrimitiveRestrictions.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16 {
namespace BindingHelpers {

void ThrowLeftOver(const CXmlElement* parent, const CXmlElement* current, const CXmlElement* pathOf) {
    throw CKvValidationException(
        FormatString(u"Failed read all the elements held within the element [%s]. The unexpected element [%s] "
                     u"remains un processed",
                     parent->GetLocalName().c_str(), current->GetLocalName().c_str()),
        (pathOf ? pathOf : parent)->GetXPath());
}

bool EqualsNoCase(std::u16string_view text, const char16_t* literal) {
    size_t i = 0;
    for (; literal[i]; ++i) {
        if (i >= text.size()) return false;
        char16_t a = text[i], b = literal[i];
        if (a >= u'A' && a <= u'Z') a = static_cast<char16_t>(a - u'A' + u'a');
        if (b >= u'A' && b <= u'Z') b = static_cast<char16_t>(b - u'A' + u'a');
        if (a != b) return false;
    }
    return i == text.size();
}

CSmartPtr<CXmlObjectBase> ObjectOf(const KvVariant& value) {
    // Kinds 27 and 28 both hold an object; any other kind holds none.
    return value.GetXmlObject();
}

CSmartPtr<CXmlCollectionBase> CollectionOf(const CSmartPtr<CXmlObjectBase>& object) {
    return CSmartPtr<CXmlCollectionBase>(dynamic_cast<CXmlCollectionBase*>(object.get()));
}

void SetCollectionState(CXmlWriter* writer, int state) {
    CXmlWriter::CXmlWriterContext* current = writer->GetCurrentContext();
    if (current) current->SetCollectionState(state);
}

void CheckFacets(const char16_t* name, const KvVariant& value, ItemType kind,
                 const CPrimitiveRestrictions& restrictions) {
    CheckPrimitiveRestrictions(name, value, kind, restrictions);
}

CXmlElement* CallFromXml(CXmlObjectBase* object, CXmlElement* element, CXmlElement* firstChild,
                         const CSerializationContext& context, bool ignoreMissingChoice) {
    return ReadRelease::ReadChild(object, element, firstChild, context, ignoreMissingChoice);
}

} // namespace BindingHelpers
} // namespace KvXmlLib16
