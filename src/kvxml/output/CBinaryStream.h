#pragma once

#include <cstdint>
#include <string>

#include "kvxml/base/CInstanceMonitor.h"
#include "kvxml/output/OutputEnums.h"
#include "kvxml/platform/KvExport.h"
#include "kvxml/values/CBinaryData.h"

namespace KvXmlLib16 {

// Binary output collected in memory. Writers of binary formats append to the data directly.
class KVXML_API CBinaryStream : public CInstanceMonitor {
public:
    CBinaryStream();
    explicit CBinaryStream(const CBinaryData& data);
    ~CBinaryStream() override;

    // A handle on the bytes written, sharing them by reference count.
    CBinaryData GetData() const { return m_data; }
    // The data itself, for the writers that append to it.
    CBinaryData& GetBuffer() { return m_data; }
    const CBinaryData& GetBuffer() const { return m_data; }

    void Append(const unsigned char* bytes, uint32_t length) { m_data.Append(bytes, length); }
    void Append(unsigned char byte) { m_data.Append(byte); }

protected:
    CBinaryData m_data;
};

// A block of bytes written to a file at once, with the UTF-16 byte-order mark in front when the
// encoding asks for one.
class KVXML_API CFileBinaryStream : public CBinaryStream {
public:
    CFileBinaryStream(const char16_t* fileName, XmlEncoding encoding);
    CFileBinaryStream(const char16_t* fileName, XmlEncoding encoding, const CBinaryData& data);
    ~CFileBinaryStream() override;

    // Creates (or truncates) the file and writes the mark and the data with blocking writes.
    void WriteToFile();

    const std::u16string& GetFileName() const { return m_fileName; }
    XmlEncoding GetEncoding() const { return m_encoding; }

private:
    std::u16string m_fileName;
    XmlEncoding m_encoding;
};

// Replaces the bytes by their gzip (1) or zlib (2) form; any other type and an empty block
// leave the data as it is. Throws when the compressed form would not be smaller than the input.
KVXML_API void Compress(CBinaryData& data, CompressionType type);
// The same on a block allocated by new[]: on success the block is freed and replaced by the
// compressed one (new[]) and the size updated; on failure both stay as they were.
KVXML_API void CompressBuffer(unsigned char** buffer, uint32_t* size, CompressionType type);

} // namespace KvXmlLib16
