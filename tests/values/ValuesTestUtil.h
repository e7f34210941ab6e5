#pragma once

#include <gtest/gtest.h>

#include <string>

#include "kvxml/base/CKvException.h"

namespace KvTest {

// Narrow copy of a wide text for readable failure output; non-ASCII units are shown as \uXXXX.
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

} // namespace KvTest

// Expects `stmt` to throw exactly `Type` (or a subclass) with the message `msg`.
#define EXPECT_KV_THROW(stmt, Type, msg)                                                \
    do {                                                                                 \
        bool kvThrown = false;                                                           \
        try {                                                                            \
            stmt;                                                                        \
        } catch (const Type& e) {                                                        \
            kvThrown = true;                                                             \
            EXPECT_EQ(KvTest::N(e.GetMessage()), KvTest::N(msg)) << #stmt;               \
        }                                                                                \
        EXPECT_TRUE(kvThrown) << #stmt << " did not throw " #Type;                       \
    } while (0)
