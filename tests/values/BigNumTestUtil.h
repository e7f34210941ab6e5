#pragma once

// Helpers shared by the big integer and decimal tests.

#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>

#include "kvxml/base/CKvException.h"
#include "support/KvTestText.h"

namespace BigNumTest {

inline std::string N(const std::u16string& s) { return KvTest::Narrow(s); }

inline std::u16string W(const std::string& s) { return std::u16string(s.begin(), s.end()); }

// Runs f, expects exception type E with exactly this message.
template <typename E>
void ExpectThrowMessage(const std::function<void()>& f, const std::string& message) {
    EXPECT_EQ(KvTest::MessageOf<E>(f), message);
}

// A random run of up to maxLength digits, the first non-zero, or now and then a lone "0".
inline std::string RandomDigits(std::mt19937_64& rng, size_t maxLength) {
    if (rng() % 16 == 0) return "0";
    size_t length = 1 + rng() % maxLength;
    std::string s(1, char('1' + rng() % 9));
    while (s.size() < length) s.push_back(char('0' + rng() % 10));
    return s;
}

} // namespace BigNumTest
