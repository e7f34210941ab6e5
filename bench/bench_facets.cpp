#include <benchmark/benchmark.h>

#include <string>

#include "kvxml/values/CPrimitiveRestrictions.h"

using namespace KvXmlLib16;

namespace {

const char* const kPattern = "[A-Z]{3}-\\d{4}-[a-z]+";
const std::u16string kValue = u"ABC-1234-abcdefghijk"; // 20 characters

void BM_PatternCached(benchmark::State& state) {
    bool ok = true;
    for (auto _ : state) {
        ok &= PatternMatch(kPattern, kValue);
        benchmark::DoNotOptimize(ok);
    }
    if (!ok) state.SkipWithError("value did not match");
}
BENCHMARK(BM_PatternCached);

void BM_PatternUncached(benchmark::State& state) {
    bool ok = true;
    for (auto _ : state) {
        ok &= PatternInternals::PatternMatchUncached(kPattern, kValue);
        benchmark::DoNotOptimize(ok);
    }
    if (!ok) state.SkipWithError("value did not match");
}
BENCHMARK(BM_PatternUncached);

// The whole string facet check as the metadata runs it: wide pattern, length facets, then match.
void BM_StringCheckCached(benchmark::State& state) {
    const CPrimitiveRestrictions r(u"[A-Z]{3}-\\d{4}-[a-z]+", 1, 64, nullptr, nullptr, nullptr, nullptr, -1, -1, -1);
    for (auto _ : state) CheckStringRestrictions(u"code", kValue, r);
}
BENCHMARK(BM_StringCheckCached);

void BM_PatternCachedThreads(benchmark::State& state) {
    bool ok = true;
    for (auto _ : state) {
        ok &= PatternMatch(kPattern, kValue);
        benchmark::DoNotOptimize(ok);
    }
    if (!ok) state.SkipWithError("value did not match");
}
BENCHMARK(BM_PatternCachedThreads)->Threads(2);

} // namespace
