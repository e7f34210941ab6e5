#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "kvxml/base/CInstanceMonitor.h"

struct XML_ParserStruct;

namespace KvXmlLib16 {

class CXmlDocument;
class CXmlElement;

// Adapter that turns Expat's callbacks into the building operations of CXmlDocument.
// Lives on the stack of one load; the input is always the document's input buffer.
class CExpatReader : public CInstanceMonitor {
public:
    explicit CExpatReader(CXmlDocument* document);
    CExpatReader(const CExpatReader&) = delete;
    CExpatReader& operator=(const CExpatReader&) = delete;
    ~CExpatReader() override;

    void Initialise();
    // Feeds the whole input buffer. The parser is freed on a final success and on any failure;
    // a failure throws CKvException "<Expat's message> at line <n>".
    void ParseBuffer(bool final);
    // Same for the given bytes instead of the input buffer.
    void ParseBytes(const unsigned char* data, size_t size, bool final);

private:
    // Expat is C: nothing may unwind through it. A callback that fails keeps its exception
    // here, stops the parser, and ParseBuffer rethrows it.
    void Fail();
    void FreeParser();
    // Text waits here until its element ends, so that each element's text is stored in one
    // piece of the right size. The buffer holds the waiting text of every open element, the
    // outermost first: an element's part starts at its entry in m_textStarts and runs to the
    // next entry, or to the end for the innermost. The buffer stays below a bound; text beyond
    // it goes to the element at once.
    void AppendPending(const char16_t* text, size_t length);
    // Hands the innermost element its waiting text.
    void FlushInnermost();
    // After a failure: every open element gets the text read so far.
    void FlushAll();
    CXmlElement* Innermost() const;

    static void StartElement(void* user, const unsigned short* name, const unsigned short** attributes);
    static void EndElement(void* user, const unsigned short* name);
    static void CharacterData(void* user, const unsigned short* text, int length);
    static void StartNamespace(void* user, const unsigned short* alias, const unsigned short* uri);
    static void EndNamespace(void* user, const unsigned short* alias);
    static void StartCdata(void* user);
    static void EndCdata(void* user);

    CXmlDocument* m_document;
    XML_ParserStruct* m_parser;
    std::exception_ptr m_failure;
    std::unique_ptr<char16_t[]> m_pendingText;
    size_t m_pendingLength;
    size_t m_pendingCapacity;
    std::vector<size_t> m_textStarts;
    // Input handed to Expat so far, and whether it takes the rest in one piece (see ParseBuffer).
    uint64_t m_bytesFed;
    bool m_feedWhole;
};

} // namespace KvXmlLib16
