#pragma once

#include <cstdint>

namespace KvXmlLib16 {

// Line breaks that the text writers emit.
enum EOLType : int32_t {
    EOLType_CRLF = 0,
    EOLType_LF = 1,
};

// Encoding of written text. The wide-string entry points use XmlEncoding_None; UTF16_NoDecl is
// UTF-16 whose declaration carries no encoding pseudo-attribute.
enum XmlEncoding : int32_t {
    XmlEncoding_None = 0,
    XmlEncoding_UTF8 = 1,
    XmlEncoding_UTF16 = 2,
    XmlEncoding_UTF16_NoDecl = 3,
};

// Compression of byte and file output. ZLib is offered by the stream forms only.
enum CompressionType : int32_t {
    CompressionType_None = 0,
    CompressionType_GZip = 1,
    CompressionType_ZLib = 2,
};

} // namespace KvXmlLib16
