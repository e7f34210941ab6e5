#pragma once

// Text helpers that the test programs share.

#include <string>

#include "kvxml/base/CKvException.h"

namespace KvTest {

// ASCII form of a wide text for readable expectations; other characters become '?'.
inline std::string Narrow(const std::u16string& s) {
    std::string out;
    for (char16_t c : s) out += c < 0x80 ? static_cast<char>(c) : '?';
    return out;
}

// The message of the CKvException that the call throws, or "<no exception>".
template <class F>
std::string MessageOf(F&& call) {
    try {
        call();
    } catch (const KvXmlLib16::CKvException& e) {
        return Narrow(e.GetMessage());
    }
    return "<no exception>";
}

} // namespace KvTest
