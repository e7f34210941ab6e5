#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <utility>

#include "support/KvTestText.h"
#include "kvxml/values/CConversions.h"

using KvTest::N;
using KvXmlLib16::CConversions;

// Default texts at the edges of the number formatter: smallest and largest values, the switch
// between fixed and exponent form, ties and carries at the last digit.
TEST(RealText, EdgeValues) {
    using D = std::numeric_limits<double>;
    using F = std::numeric_limits<float>;
    // clang-format off
    const std::pair<double, const char16_t*> r8[] = {
        {D::denorm_min(), u"4.940656458412465e-324"}, {std::nextafter(D::min(), 0.0), u"2.225073858507201e-308"},
        {D::max(), u"1.797693134862316e+308"},  {-D::max(), u"-1.797693134862316e+308"},
        {1e-5, u"1e-05"},                       {9.9999999999999995e-5, u"9.999999999999999e-05"},
        {1e-4, u"0.0001"},                      {-0.00012345678901234567, u"-0.0001234567890123457"},
        {1.5e-7, u"1.5e-07"},                   {9.99999999999999e-8, u"9.99999999999999e-08"},
        {std::nextafter(1e15, 0.0), u"999999999999999.9"}, {1e15, u"1000000000000000"},
        {9999999999999998.0, u"9999999999999998"}, {1e16, u"1e+16"},
        {1.2345678901234567e16, u"1.234567890123457e+16"}, {1e23, u"9.999999999999999e+22"},
        {4503599627370496.5, u"4503599627370496"}, {4503599627370497.5, u"4503599627370498"},
        {0.30000000000000004, u"0.3"},          {2.0 / 3.0, u"0.6666666666666666"},
        {std::nextafter(1.0, 0.0), u"0.9999999999999999"}, {std::nextafter(100.0, 0.0), u"99.99999999999999"},
        {123456.789, u"123456.789"},            {0.0, u"0"},  {-0.0, u"-0"},  {1e-300, u"1e-300"},
    };
    const std::pair<float, const char16_t*> r4[] = {
        {F::denorm_min(), u"1.401298e-45"},     {std::nextafter(F::min(), 0.0f), u"1.175494e-38"},
        {F::max(), u"3.402823e+38"},            {-F::max(), u"-3.402823e+38"},
        {1e-5f, u"1e-05"},                      {9.9999997e-5f, u"0.0001"},  {1e-17f, u"1e-17"},
        {9999999.0f, u"9999999"},               {1e7f, u"1e+07"},            {16777215.0f, u"1.677722e+07"},
        {1234567.5f, u"1234568"},               {1234568.5f, u"1234568"},    {0.1f * 3, u"0.3"},
        {3.14159274f, u"3.141593"},             {-0.0f, u"-0"},
    };
    // clang-format on
    for (const auto& [value, text] : r8) EXPECT_EQ(N(CConversions::r8ToString(value)), N(text));
    for (const auto& [value, text] : r4) EXPECT_EQ(N(CConversions::r4ToString(value)), N(text));
}
