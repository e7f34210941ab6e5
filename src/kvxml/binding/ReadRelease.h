#pragma once

// Internal to the binding engine: not part of the public interface.
//
// An entry point that parses a document of its own frees each child of the document element as
// soon as it has been read into objects, so that the tree and the objects are not both alive in
// full. A child counts as read only where nothing can go back to it: the root object's own group
// reader has moved its cursor past it, or a class read it as its own element directly on behalf
// of that reader (a record of the root class, or a collection such a record fills). Classes
// without an element of their own between the root and the child may still give up and have
// their elements read again, so nothing is freed below them.
//
// Only the library's own reader is trusted: a class that overrides FromXml_Int may look at any
// part of the tree at any time, so the first one met ends freeing for the rest of the load.

#include "kvxml/binding/CParentElementInfo.h"

namespace KvXmlLib16 {

class CXmlElement;
class CXmlObjectBase;
class CXmlGeneratedClass;
class CSerializationContext;

namespace ReadRelease {

struct State {
    CXmlElement* root = nullptr;
    CXmlElement* next = nullptr; // the first child of the root not yet freed by the root's reader
    int frames = 0;              // FromXml_Int of the engine being run, the root object's included
    bool enabled = false;
};

// The state of the reads of one entry point, for the length of the root object's read. With a
// null root (a tree the caller holds) nothing is freed, also by reads nested in this one.
class Scope {
public:
    Scope(CXmlObjectBase* rootObject, CXmlElement* root);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

private:
    State m_state;
    State* m_previous;
};

// One run of the engine's FromXml_Int on an object: counts the frame, and ends freeing when the
// object's class overrides the engine.
class Frame {
public:
    explicit Frame(CXmlGeneratedClass* object);
    ~Frame() {
        if (m_state) --m_state->frames;
    }
    Frame(const Frame&) = delete;
    Frame& operator=(const Frame&) = delete;

private:
    State* m_state;
};

// Whether a group reader with these arguments is the root object's reader of the document element.
bool ReadsRootLevel(const CXmlElement* parent, XmlElementType parentType);
// For that reader: frees the children of the document element before current (all, if it is null).
void ReleaseBefore(const CXmlElement* current);

// Where the engine and the collections call a child's FromXml_Int.
CXmlElement* ReadChild(CXmlObjectBase* object, CXmlElement* element, CXmlElement* firstChild,
                       const CSerializationContext& context, bool ignoreMissingChoice);

} // namespace ReadRelease
} // namespace KvXmlLib16
