#include "kvxml/binding/ReadRelease.h"

#include "kvxml/binding/CXmlGeneratedClass.h"
#include "kvxml/collections/CElement.h"
#include "kvxml/collections/CXmlCollectionBase.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16 {
namespace ReadRelease {

namespace {

thread_local State* t_state = nullptr;

using ReadMember = CXmlElement* (CXmlObjectBase::*)(CXmlElement*, CXmlElement*, const CSerializationContext&, bool);
using ReadFunction = CXmlElement* (*)(CXmlObjectBase*, CXmlElement*, CXmlElement*, const CSerializationContext&, bool);

#if defined(__GNUC__) && !defined(__clang__)
// The function that the object's FromXml_Int dispatches to (g++'s bound member extraction).
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wpmf-conversions"
ReadFunction ReaderOf(CXmlObjectBase* object) {
    const ReadMember read = &CXmlObjectBase::FromXml_Int;
    return (ReadFunction)(object->*read);
}
#pragma GCC diagnostic pop

// A class that keeps the engine's FromXml_Int, to learn the engine's address from.
class CProbe final : public CXmlGeneratedClass {
public:
    CXmlObjectBase* GetBase() override { return this; }
    std::u16string GetTargetNamespace() override { return std::u16string(); }
    std::u16string GetNamespace() override { return std::u16string(); }
    void AccessProperty(int32_t, bool, KvVariant&) override {}
    KvXmlLib16Data::CParentElementInfo* GetClassInfo() const override { return nullptr; }
    KvXmlLib16Data::CElementInfo** GetClassElementInfo() const override { return nullptr; }
    KvXmlLib16Data::CAttributeInfo** GetClassAttributeInfo() const override { return nullptr; }
    void Init() override {}
};

ReadFunction Engine() {
    static const ReadFunction engine = [] {
        CProbe probe;
        return ReaderOf(&probe);
    }();
    return engine;
}

bool UsesEngine(CXmlObjectBase* object) { return ReaderOf(object) == Engine(); }
#else
// Without g++'s bound member extraction an override cannot be told apart: nothing is freed.
bool UsesEngine(CXmlObjectBase*) { return false; }
#endif

// Readers of the library besides the engine: collections take items one after the other and
// never go back, a wildcard copies its element.
bool IsLibraryReader(CXmlObjectBase* object) {
    return dynamic_cast<CXmlCollectionBase*>(object) || dynamic_cast<CElement*>(object);
}

} // namespace

Scope::Scope(CXmlObjectBase* rootObject, CXmlElement* root) : m_previous(t_state) {
    m_state.root = root;
    m_state.next = root ? root->GetFirstElement() : nullptr;
    if (root && rootObject && UsesEngine(rootObject)) {
        const KvXmlLib16Data::CParentElementInfo* info = static_cast<CXmlGeneratedClass*>(rootObject)->GetClassInfo();
        m_state.enabled = info && info->GetElementType() == XmlElementType_Element;
    }
    t_state = &m_state;
}

Scope::~Scope() { t_state = m_previous; }

Frame::Frame(CXmlGeneratedClass* object) : m_state(t_state) {
    if (!m_state || !m_state->enabled) {
        m_state = nullptr;
        return;
    }
    // An override that calls the engine on its way: it may look at anything afterwards.
    if (!UsesEngine(object)) {
        m_state->enabled = false;
        m_state = nullptr;
        return;
    }
    ++m_state->frames;
}

bool ReadsRootLevel(const CXmlElement* parent, XmlElementType parentType) {
    const State* state = t_state;
    return state && state->enabled && state->frames == 1 && parent == state->root &&
           parentType == XmlElementType_Element;
}

void ReleaseBefore(const CXmlElement* current) {
    State* state = t_state;
    if (!state || !state->enabled) return;
    // The cursor only moves forward; should it ever stand before what was freed, free nothing.
    size_t count = 0;
    CXmlElement* node = state->next;
    for (; node && node != current; node = node->GetNextSiblingElement()) ++count;
    if (node != current) return;
    for (; count > 0; --count) {
        state->next->ReleaseContent();
        state->next = state->next->GetNextSiblingElement();
    }
}

CXmlElement* ReadChild(CXmlObjectBase* object, CXmlElement* element, CXmlElement* firstChild,
                       const CSerializationContext& context, bool ignoreMissingChoice) {
    State* state = t_state;
    if (!state || !state->enabled) return object->FromXml_Int(element, firstChild, context, ignoreMissingChoice);
    const bool engine = UsesEngine(object);
    if (!engine && !IsLibraryReader(object)) state->enabled = false;
    // Called straight from the root object's reader, or from a collection that reader fills: a
    // class that reads a child of the root as its own element leaves nothing in it to go back to.
    const bool ownChildOfRoot = engine && state->enabled && state->frames == 1 && element && element != state->root &&
                                element->GetParentElm() == state->root;
    CXmlElement* result = object->FromXml_Int(element, firstChild, context, ignoreMissingChoice);
    if (ownChildOfRoot && state->enabled) element->ReleaseContent();
    return result;
}

} // namespace ReadRelease
} // namespace KvXmlLib16
