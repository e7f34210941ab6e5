#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// The kind of a primitive value; defined with the variant. Declared here with its fixed 32-bit
// underlying type so that the writer interface does not depend on the value classes.
enum ItemType : int32_t;

// The three namespace names that the writers treat by name.
inline constexpr char16_t kXmlNamespaceURI[] = u"http://www.w3.org/XML/1998/namespace";
inline constexpr char16_t kXsiNamespaceURI[] = u"http://www.w3.org/2001/XMLSchema-instance";
inline constexpr char16_t kXmlnsNamespaceURI[] = u"http://www.w3.org/2000/xmlns/";

// Abstract event interface that every serialiser implements: XML text, JSON, Fast Infoset.
// The base keeps the stack of open elements and the namespace scopes, so that all writers share
// one way of declaring defaults and aliases.
class KVXML_API CXmlWriter : public CInstanceMonitor {
public:
    using NamespaceMap = std::map<std::u16string, std::u16string>;

    // One open element. A context owns its parent, so that deleting the top of the stack frees
    // the whole stack when a failure unwinds; the normal pop detaches the parent first.
    class KVXML_API CXmlWriterContext : public CInstanceMonitor {
    public:
        CXmlWriterContext();
        CXmlWriterContext(const CXmlWriterContext&) = delete;
        CXmlWriterContext& operator=(const CXmlWriterContext&) = delete;
        ~CXmlWriterContext() override;

        int32_t GetChildCount() const { return m_childCount; }
        void IncrementChildCount() { ++m_childCount; }
        bool IsStartTagOpen() const { return m_startTagOpen; }
        void SetStartTagOpen(bool open) { m_startTagOpen = open; }
        int32_t GetDepth() const { return m_depth; }
        // The JSON writer counts indent levels here, which arrays raise.
        void SetDepth(int32_t depth) { m_depth = depth; }
        const std::u16string& GetNamespaceURI() const { return m_namespaceURI; }
        const std::u16string& GetName() const { return m_name; }
        CXmlWriterContext* GetParent() const { return m_parent; }
        // Free for the use of one writer (the Fast Infoset writer marks attributes with it).
        int32_t GetWriterMark() const { return m_writerMark; }
        void SetWriterMark(int32_t mark) { m_writerMark = mark; }
        // 0 none, 1 a collection is about to write its items, 2 inside it, 3 it has ended.
        int32_t GetCollectionState() const { return m_collectionState; }
        void SetCollectionState(int32_t state) { m_collectionState = state; }

        // The scope in force: this context's own, or that of the nearest ancestor that has one.
        bool InheritsScope() const { return m_inherit; }
        const std::u16string& GetEffectiveDefaultNamespace() const { return m_scope->m_defaultNamespace; }
        const NamespaceMap& GetEffectiveMap() const { return *m_scope->m_namespaceMap; }

        // Gives the context a scope of its own, starting as a copy of the parent's effective map
        // (and, with copyDefault, of its default namespace). Nothing happens if it has one.
        void MakeOwnScope(bool copyDefault);
        void SetDefaultNamespace(const std::u16string& uri);
        void AddNamespaceAlias(const std::u16string& alias, const std::u16string& uri);

    private:
        friend class CXmlWriter;
        void Reset();

        int32_t m_childCount;
        bool m_startTagOpen;
        int32_t m_depth;
        std::u16string m_namespaceURI;
        std::u16string m_name;
        CXmlWriterContext* m_parent;
        int32_t m_writerMark;
        int32_t m_collectionState;
        std::u16string m_defaultNamespace;
        NamespaceMap* m_namespaceMap;
        bool m_inherit;
        bool m_ownsMap;
        // The context whose default namespace and map are in force (this one when it owns a scope);
        // saves walking the parent chain on every lookup.
        CXmlWriterContext* m_scope;
    };

    CXmlWriter();
    CXmlWriter(const CXmlWriter&) = delete;
    CXmlWriter& operator=(const CXmlWriter&) = delete;
    ~CXmlWriter() override;

    virtual void OpenOutput();
    // Refuses to end while an element is still open.
    virtual void CloseOutput();
    // With an open element the declaration lands in its scope; before the root, in the writer's own
    // fields, which the root then declares.
    virtual void SetDefaultNamespace(const std::u16string& uri);
    virtual void AddNamespaceAlias(const std::u16string& alias, const std::u16string& uri);
    virtual void WriteComment(const std::u16string& text) = 0;
    virtual void WriteProcessingInstruction(const std::u16string& text) = 0;
    virtual void WriteInLineSchema(const std::u16string& text) = 0;
    virtual void WriteStartElement(const std::u16string& name, const std::u16string& namespaceUri) = 0;
    virtual void WriteElementText(const std::u16string& text, ItemType kind, bool isDefault) = 0;
    virtual void WriteEndElement() = 0;
    virtual void WriteAttribute(const std::u16string& name, const std::u16string& namespaceUri,
                                const std::u16string& value, ItemType kind) = 0;
    virtual void WriteXsiType(const std::u16string& namespaceUri, const std::u16string& typeName, ItemType kind) = 0;
    virtual void WriteXsiNil() = 0;

    // The innermost open element, null when none is open.
    CXmlWriterContext* GetCurrentContext() const { return m_currentContext; }
    const std::u16string& GetDefaultNamespace() const { return m_defaultNamespace; }
    const NamespaceMap& GetNamespaceMap() const { return m_namespaceMap; }

    // The first alias of AA, AB, ... AZ, BA, ... that is not yet a value of the map.
    static std::u16string AllocateAlias(const NamespaceMap& map);

protected:
    // Opens a context for an element beneath the current one and makes it current. The root gets
    // its own scope, copied from the writer's default namespace and map; any other inherits.
    CXmlWriterContext* PushContext(const std::u16string& name, const std::u16string& namespaceUri);
    // Closes the current context and makes its parent current.
    void PopContext();

    std::u16string m_defaultNamespace;
    CXmlWriterContext* m_currentContext;
    NamespaceMap m_namespaceMap;

private:
    // Closed contexts kept for reuse, so that an element costs no allocation once the stack has
    // been as deep before.
    std::vector<CXmlWriterContext*> m_freeContexts;
};

} // namespace KvXmlLib16
