#pragma once

#include <cstddef>

namespace KvXmlLib16 {

// snprintf of one double, with the result always in the C locale's form: a process that has
// switched its numeric locale still gets "0.5", never "0,5", so that written values read back.
// Returns what snprintf returns.
int FormatDoubleC(char* buffer, size_t size, const char* format, double value);

} // namespace KvXmlLib16
