#pragma once

#include <string>

#include "kvxml/platform/KvExport.h"

namespace KvXmlLib16 {

// printf-like formatting into a wide string with the conventions of the Windows wide formatter:
// %s is a wide (char16_t) string, %S a narrow one, h/l force narrow/wide, I64 marks 64-bit integers.
// The buffer is sized in a first pass over format and arguments, so output is never cut.
KVXML_API std::u16string FormatString(const char16_t* format, ...);

} // namespace KvXmlLib16
