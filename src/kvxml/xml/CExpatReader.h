#pragma once

#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <utility>
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
    // While one final call parses a large input, hands back the pages of Expat's copy that it has
    // read, all but those holding the start tags of open elements, whose names Expat compares
    // with the end tags. Expat can then no longer count lines there: LineAt counts them in the
    // caller's bytes instead.
    void ReleaseConsumed(uint64_t at);
    int LineAt(int64_t index) const;

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
    // The first two bytes of the input, which tell how wide a line end is.
    unsigned char m_lead[2];
    // The final call whose input is released as it is read: its bytes and where they start.
    bool m_releasing;
    bool m_released;
    const unsigned char* m_callData;
    uint64_t m_callStart;
    uint64_t m_callSize;
    uint64_t m_releasedTo;
    uint64_t m_releaseNext;
    // Byte spans of the start tags of the open elements, outermost first.
    std::vector<std::pair<uint64_t, uint64_t>> m_openTags;
};

} // namespace KvXmlLib16
