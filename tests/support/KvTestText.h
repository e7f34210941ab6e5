#pragma once

// Text helpers that the test programs share.

#include <cstdio>
#include <string>
#include <type_traits>

#include "kvxml/base/CKvException.h"

namespace KvTest {

// ASCII form of a wide text for readable expectations; other characters become '?'.
inline std::string Narrow(const std::u16string& s) {
    std::string out;
    for (char16_t c : s) out += c < 0x80 ? static_cast<char>(c) : '?';
    return out;
}

// Exact copy of a wide text for readable failure output; units outside printable ASCII as \uXXXX.
inline std::string N(const std::u16string& s) {
    std::string out;
    for (char16_t c : s) {
        if (c >= 32 && c < 127) {
            out.push_back(static_cast<char>(c));
        } else {
            char buf[8];
            std::snprintf(buf, sizeof buf, "\\u%04X", static_cast<unsigned>(c));
            out += buf;
        }
    }
    return out;
}

// The message of the CKvException that the call throws, or "<no exception>"; an exception of
// the family that is not an E is marked as such.
template <class E = KvXmlLib16::CKvException, class F>
std::string MessageOf(F&& call) {
    try {
        call();
    } catch (const KvXmlLib16::CKvException& e) {
        if constexpr (!std::is_same_v<E, KvXmlLib16::CKvException>)
            if (!dynamic_cast<const E*>(&e)) return "<not the expected type> " + Narrow(e.GetMessage());
        return Narrow(e.GetMessage());
    }
    return "<no exception>";
}

} // namespace KvTest
