#pragma once

// Internal: the inflation of byte input, apart so that its size limit can be tried small.

#include <cstdint>

#include "kvxml/values/CBinaryData.h"

namespace KvXmlLib16 {

// Inflates a complete zlib or gzip stream into out and returns true; anything else (plain text,
// a damaged or truncated stream) returns false with out unspecified. Output beyond limit bytes
// throws CKvException instead of growing on.
bool InflateZlibOrGzip(const unsigned char* bytes, uint32_t size, uint32_t limit, CBinaryData& out);

} // namespace KvXmlLib16
