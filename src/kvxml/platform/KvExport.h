#pragma once

// Symbols of the library are hidden unless marked; KVXML_API marks the public API.
#if defined(__GNUC__)
#define KVXML_API __attribute__((visibility("default")))
#else
#define KVXML_API
#endif
