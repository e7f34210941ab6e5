#pragma once

// Helpers shared by the big integer and decimal tests.

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>

#include "kvxml/base/CKvException.h"

namespace BigNumTest {

inline std::u16string W(const std::string& s) { return std::u16string(s.begin(), s.end()); }

inline std::string N(const std::u16string& s)
{
    std::string r;
    for (char16_t c : s)
        r.push_back(c < 128 ? char(c) : '?');
    return r;
}

// Runs f, expects exception type E with exactly this message.
template <typename E>
void ExpectThrowMessage(const std::function<void()>& f, const std::string& message)
{
    try {
        f();
        ADD_FAILURE() << "no exception, expected: " << message;
    } catch (const E& e) {
        EXPECT_EQ(N(e.GetMessage()), message);
    } catch (const KvXmlLib16::CKvException& e) {
        ADD_FAILURE() << "wrong exception type, message: " << N(e.GetMessage());
    }
}

// A random run of up to maxLength digits, the first non-zero, or now and then a lone "0".
inline std::string RandomDigits(std::mt19937_64& rng, size_t maxLength)
{
    if (rng() % 16 == 0)
        return "0";
    size_t length = 1 + rng() % maxLength;
    std::string s(1, char('1' + rng() % 9));
    while (s.size() < length)
        s.push_back(char('0' + rng() % 10));
    return s;
}

} // namespace BigNumTest
