#include <benchmark/benchmark.h>

#include "kvxml/values/CDateTime.h"
#include "kvxml/values/CDateTimeSpan.h"

using namespace KvXmlLib16;

namespace {

void BM_ParseDateTime(benchmark::State& state) {
    for (auto _ : state) {
        CDateTime d;
        d.ParseXSDDateTime(u"2001-10-26T21:32:52.123456+02:00");
        benchmark::DoNotOptimize(d);
    }
}
BENCHMARK(BM_ParseDateTime);

void BM_DateTimeToString(benchmark::State& state) {
    const CDateTime d(u"2001-10-26T21:32:52.123456+02:00");
    for (auto _ : state) benchmark::DoNotOptimize(d.ToString());
}
BENCHMARK(BM_DateTimeToString);

void BM_CompareZonedWithUnzoned(benchmark::State& state) {
    const CDateTime a(u"2001-10-26T21:32:52+02:00"), b(u"2001-10-26T10:00:00");
    for (auto _ : state) benchmark::DoNotOptimize(a.CompareTo(b));
}
BENCHMARK(BM_CompareZonedWithUnzoned);

void BM_ParseDuration(benchmark::State& state) {
    for (auto _ : state) {
        CDateTimeSpan s;
        s.ParseXSDDuration(u"P1Y2M3DT4H5M6.789S");
        benchmark::DoNotOptimize(s);
    }
}
BENCHMARK(BM_ParseDuration);

void BM_CompareDurations(benchmark::State& state) {
    CDateTimeSpan a, b;
    a.ParseXSDDuration(u"P1M");
    b.ParseXSDDuration(u"P30D");
    for (auto _ : state) benchmark::DoNotOptimize(a.CompareTo(b));
}
BENCHMARK(BM_CompareDurations);

void BM_AddHugeDays(benchmark::State& state) {
    const CDateTime start(2001, 3, 31);
    const CDateTimeSpan span(0, 0, 4294967295u, 0, 0, 0);
    for (auto _ : state) benchmark::DoNotOptimize(start + span);
}
BENCHMARK(BM_AddHugeDays);

} // namespace
