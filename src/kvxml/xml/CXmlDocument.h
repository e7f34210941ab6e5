#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/platform/KvFile.h"
#include "kvxml/xml/CXmlAttribute.h"
#include "kvxml/xml/CXmlElement.h"

namespace KvXmlLib16 {

class CBinaryData;
class CSerializationContext;
enum SchemaType : int32_t;
class CXmlNodePool;

// Called with each element once it is complete (children first). Returning true drops the
// element from the tree at once, which lets a caller read a huge document in constant memory.
// The return value is ignored for the root.
typedef bool (*XmlElementFilter)(CXmlElement* element);

// Process-wide choice of how Load reads a file: whole, then parsed (off, the default), or in
// chunks whose reading overlaps the parse (on). Chunked reading takes XML text only: compressed
// files must be read whole.
KVXML_API void AsyncFromXmlFile(bool async);
KVXML_API bool GetAsyncFromXmlFile();

// Owns the tree and the input bytes of one load. The alias map is document wide: each namespace
// declaration met anywhere writes map[alias] = URI, the default namespace under the empty alias.
class KVXML_API CXmlDocument : public CInstanceMonitor {
public:
    CXmlDocument();
    explicit CXmlDocument(const CSerializationContext& context);
    explicit CXmlDocument(XmlElementFilter filter);
    CXmlDocument(XmlElementFilter filter, const CSerializationContext& context);
    // Shallow like the tree: the copy shares root and input, and only one may be destroyed
    // while they hold any.
    CXmlDocument(const CXmlDocument& other);
    CXmlDocument& operator=(const CXmlDocument& other);
    ~CXmlDocument() override;

    // Deletes the tree and the input; the document may then be loaded again.
    virtual void Cleanup();

    CXmlElement* GetDocumentElement() const { return m_documentElement; }
    std::u16string LookupNamespaceFromAlias(const char16_t* alias) const;
    // First alias in ascending alias order whose URI equals the given one. Answered from an index
    // rebuilt after the map changes, so paths stay cheap in documents with many declarations.
    std::u16string LookupAliasFromNamespace(const char16_t* namespaceURI) const;
    std::u16string LookupAliasFromNamespace(std::u16string_view namespaceURI) const;

    // Loading from strings. A failed load throws CKvException and leaves the partial tree.
    void LoadXml(const char* xml);
    void LoadXml(const char16_t* xml);
    // Parses what the input buffer holds as XML text.
    void ParseText();
    // Whether a successful LoadXml, LoadXmlStream or Load keeps its input in the input buffer for
    // ParseText (on, the default). Off, strings and byte blocks are parsed where the caller holds
    // them, with no copy, and the input buffer is empty after the load: for documents that are
    // loaded once and read. A failed load keeps a copy of its input either way.
    void SetKeepInput(bool keep) { m_keepInput = keep; }
    bool GetKeepInput() const { return m_keepInput; }
    // Loading from a file, whole or in chunks as AsyncFromXmlFile selects.
    void Load(const char16_t* fileName);
    // Loading from bytes, which are copied first; a complete gzip or zlib stream is inflated.
    void LoadXmlStream(const unsigned char* bytes, uint32_t count);

    // Loading JSON: the text is turned into XML bytes (UTF-8, with a declaration), which are
    // returned for the XML path; the tree stays empty. The narrow form and files and byte blocks
    // are taken as UTF-8; files and byte blocks are inflated first when compressed.
    CBinaryData LoadJson(const char* json);
    CBinaryData LoadJson(const char16_t* json);
    CBinaryData LoadJsonFile(const char16_t* fileName);
    CBinaryData LoadJsonStream(const unsigned char* bytes, uint32_t count);

    const CSerializationContext& GetContext() const { return *m_context; }

    // ---- Building side: every reader (XML text, Fast Infoset) fills the tree through these. ----
    // The tree is built once, in document order: start an element, add its attributes and text,
    // end it. The first element started is the root.
    CXmlElement* AddDocElement(const char16_t* namespaceURI, const char16_t* localName);
    CXmlElement* AddChildElement(const char16_t* namespaceURI, const char16_t* localName);
    // Counted forms of the two above, for parsers that cut names out of longer strings.
    // AddElement starts the root when there is none yet.
    CXmlElement* AddRootElement(std::u16string_view namespaceURI, std::u16string_view localName);
    CXmlElement* AddElement(std::u16string_view namespaceURI, std::u16string_view localName);
    // Closes the innermost open element and offers it to the element filter.
    void EndElement();
    void AddElementAttribute(CXmlElement* element, const std::u16string& name, const std::u16string& value,
                             const std::u16string& namespaceURI);
    // Appends at most length units, stopping at a NUL; every CR is left out.
    void AppendTextExcludingCR(CXmlElement* element, const char16_t* text, uint32_t length = UINT32_MAX);
    // A namespace declaration: map[alias] = URI for the whole document.
    void SetAlias(std::u16string_view alias, std::u16string_view namespaceURI);
    // The open elements, the root first; a reader keeps its own state in step with them.
    size_t GetOpenElementCount() const { return m_elementStack.size(); }
    CXmlElement* GetOpenElement(size_t level) const { return m_elementStack[level].element; }
    CXmlElement* GetInnermostElement() const {
        return m_elementStack.empty() ? nullptr : m_elementStack.back().element;
    }
    // The bytes of the load in progress, as the load routes left them (inflated if they were
    // compressed). Null and 0 when there are none.
    const unsigned char* GetInputBuffer() const { return m_inputBuffer; }
    uint32_t GetInputSize() const { return m_inputSize; }
    // Copied from the context when the document was made or last cleaned up.
    SchemaType GetSchemaType() const { return m_schemaType; }

private:
    friend class CXmlElement;

    // An open element and its preceding sibling, so that a dropped element is unlinked in
    // constant time however many siblings it has.
    struct OpenElement {
        CXmlElement* element;
        CXmlElement* previous;
    };

    void Init();
    // Takes a copy of the bytes as the input buffer.
    void SetInput(const unsigned char* bytes, size_t count);
    // Without the keep-input option: the caller's bytes as the input buffer, not copied.
    void BorrowInput(const unsigned char* bytes, size_t count);
    void FreeInput();
    // After a failed parse of a borrowed input: the document takes a copy, as any failed load keeps
    // its input.
    void KeepBorrowedInput();
    // The caller's bytes parsed as plain XML text or, plain false, as any byte input: copied first
    // with the keep-input option, else read where they are and copied only if the parse fails.
    void ParseCallerBytes(const unsigned char* bytes, size_t count, bool plain);
    // The UTF-16 text as the input buffer, behind a byte-order mark.
    void SetWideInput(const char16_t* xml, size_t length);
    // The input as XML text; markedUtf16 feeds a UTF-16LE byte-order mark in front of it.
    void PlainParse(bool markedUtf16 = false);
    // Reads the input as Fast Infoset if it opens as such; false, with nothing read, otherwise.
    bool ParseFastInfoset();
    // Byte input of the whole-file and stream paths: inflated when compressed, then parsed.
    void Parse();
    // Replaces the input by its inflated form when it is a complete zlib or gzip stream;
    // anything else is left as it stands for the parser to judge.
    void TryInflate();
    void LoadWholeFile(const char16_t* fileName);
    // The whole file into the input buffer, unparsed.
    void ReadWholeFile(const char16_t* fileName);
    // The input buffer as JSON: inflated when compressed, a UTF-8 byte-order mark skipped.
    CBinaryData ParseJson();
    void LoadInChunks(const char16_t* fileName);
    // Parses the chunked file from the chunk in the input buffer on.
    void AsyncParse(bool lastChunk);
    // Starts the read of the next chunk into the buffer; true when the end of the file is reached.
    bool ReadChunkFromFile(unsigned char* buffer);
    // The block pool of the tree, made on first use.
    CXmlNodePool* NodePool();

    uint64_t m_fileOffset;
    Platform::CPlatformFile* m_file;          // the file of a chunked load while it runs
    Platform::CFileOperation m_fileOperation; // the chunk read in flight
    unsigned char* m_spareBuffer;             // the chunk buffer the disk fills
    CXmlElement* m_documentElement;
    std::vector<OpenElement> m_elementStack;
    std::map<std::u16string, std::u16string, std::less<>> m_aliasMap;
    unsigned char* m_inputBuffer;
    uint32_t m_inputSize;
    bool m_inputBorrowed; // the caller's bytes, not to be freed or kept past the load
    bool m_keepInput;
    SchemaType m_schemaType;
    XmlElementFilter m_elementFilter;
    const CSerializationContext* m_context;
    CXmlNodePool* m_nodePool;
    mutable std::unordered_map<std::u16string, std::u16string> m_aliasByNamespace;
    mutable bool m_aliasIndexValid;
};

} // namespace KvXmlLib16
