// Parsing, printing, multiplying and dividing 40-digit big integers and decimals.

#include <benchmark/benchmark.h>

#include <string>

#include "kvxml/values/CBigInteger.h"
#include "kvxml/values/CDecimal.h"

using namespace KvXmlLib16;

namespace {

const char16_t* kInteger40a = u"1234567890123456789012345678901234567890";
const char16_t* kInteger40b = u"-9876543210987654321098765432109876543211";
const char16_t* kInteger20 = u"98765432109876543211";
// 40 digits each: 25 before the point, 15 after.
const char16_t* kDecimal40a = u"1234567890123456789012345.678901234567890";
const char16_t* kDecimal40b = u"-987654321098765432109876.543210987654321";

void BigIntegerParse(benchmark::State& state) {
    for (auto _ : state) {
        CBigInteger v(kInteger40a);
        benchmark::DoNotOptimize(v);
    }
}
BENCHMARK(BigIntegerParse);

void BigIntegerToString(benchmark::State& state) {
    CBigInteger v(kInteger40b);
    for (auto _ : state) {
        std::u16string s = v.ToString();
        benchmark::DoNotOptimize(s);
    }
}
BENCHMARK(BigIntegerToString);

void BigIntegerMultiply(benchmark::State& state) {
    CBigInteger a(kInteger40a), b(kInteger40b);
    for (auto _ : state) {
        CBigInteger r = a * b;
        benchmark::DoNotOptimize(r);
    }
}
BENCHMARK(BigIntegerMultiply);

void BigIntegerDivide(benchmark::State& state) {
    // 80 digits by 40, and 40 by 20: the quotient lengths that matter in practice.
    CBigInteger a = CBigInteger(kInteger40a) * CBigInteger(kInteger40b), b(kInteger40b);
    CBigInteger c(kInteger40a), d(kInteger20);
    for (auto _ : state) {
        CBigInteger q = a / b;
        CBigInteger r = c / d;
        benchmark::DoNotOptimize(q);
        benchmark::DoNotOptimize(r);
    }
}
BENCHMARK(BigIntegerDivide);

void DecimalParse(benchmark::State& state) {
    for (auto _ : state) {
        CDecimal v(kDecimal40a);
        benchmark::DoNotOptimize(v);
    }
}
BENCHMARK(DecimalParse);

void DecimalToString(benchmark::State& state) {
    CDecimal v(kDecimal40b);
    for (auto _ : state) {
        std::u16string s = v.ToString();
        benchmark::DoNotOptimize(s);
    }
}
BENCHMARK(DecimalToString);

void DecimalToStringPlaces(benchmark::State& state) {
    CDecimal v(kDecimal40b);
    for (auto _ : state) {
        std::u16string s = v.ToString(4);
        benchmark::DoNotOptimize(s);
    }
}
BENCHMARK(DecimalToStringPlaces);

void DecimalMultiply(benchmark::State& state) {
    CDecimal a(kDecimal40a), b(kDecimal40b);
    for (auto _ : state) {
        CDecimal r = a * b;
        benchmark::DoNotOptimize(r);
    }
}
BENCHMARK(DecimalMultiply);

void DecimalDivide(benchmark::State& state) {
    CDecimal a(kDecimal40a), b(kDecimal40b);
    for (auto _ : state) {
        CDecimal r = a / b;
        benchmark::DoNotOptimize(r);
    }
}
BENCHMARK(DecimalDivide);

void DecimalAdd(benchmark::State& state) {
    CDecimal a(kDecimal40a), b(kDecimal40b);
    for (auto _ : state) {
        CDecimal r = a + b;
        benchmark::DoNotOptimize(r);
    }
}
BENCHMARK(DecimalAdd);

} // namespace
