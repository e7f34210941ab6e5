#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

#include "kvxml/base/CNumberText.h"
#include "kvxml/values/CBinaryData.h"
#include "kvxml/values/CConversions.h"

using namespace KvXmlLib16;

namespace {

constexpr uint32_t kBlock = 1 << 20;

CBinaryData RandomBlock() {
    std::mt19937 rng(42);
    std::vector<unsigned char> bytes(kBlock);
    for (auto& b : bytes) b = static_cast<unsigned char>(rng());
    return CBinaryData(bytes.data(), kBlock, false);
}

void BM_Base64Encode(benchmark::State& state) {
    const CBinaryData data = RandomBlock();
    for (auto _ : state) benchmark::DoNotOptimize(data.GetAsBase64());
    state.SetBytesProcessed(int64_t(state.iterations()) * kBlock);
}
BENCHMARK(BM_Base64Encode);

void BM_Base64Decode(benchmark::State& state) {
    const std::u16string text = RandomBlock().GetAsBase64();
    CBinaryData out;
    for (auto _ : state) {
        out.SetAsBase64(text.c_str());
        benchmark::DoNotOptimize(out.GetData());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kBlock);
}
BENCHMARK(BM_Base64Decode);

void BM_HexEncode(benchmark::State& state) {
    const CBinaryData data = RandomBlock();
    for (auto _ : state) benchmark::DoNotOptimize(data.GetAsHexString());
    state.SetBytesProcessed(int64_t(state.iterations()) * kBlock);
}
BENCHMARK(BM_HexEncode);

void BM_HexDecode(benchmark::State& state) {
    const std::u16string text = RandomBlock().GetAsHexString();
    CBinaryData out;
    for (auto _ : state) {
        out.SetAsHexString(text.c_str());
        benchmark::DoNotOptimize(out.GetData());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * kBlock);
}
BENCHMARK(BM_HexDecode);

// The byte-wise growth that the binary writers rely on; MB are 1e6 bytes.
void BM_AppendByte(benchmark::State& state) {
    for (auto _ : state) {
        CBinaryData out;
        for (uint32_t i = 0; i < 65536; ++i) out.Append(static_cast<unsigned char>(i));
        benchmark::DoNotOptimize(out.GetData());
    }
    state.counters["MB/s"] = benchmark::Counter(double(state.iterations()) * 65536 / 1e6, benchmark::Counter::kIsRate);
}
BENCHMARK(BM_AppendByte);

void BM_I4FromString(benchmark::State& state) {
    std::mt19937 rng(1);
    std::vector<std::u16string> texts;
    for (int i = 0; i < 4096; ++i) texts.push_back(CConversions::i4ToString(static_cast<int32_t>(rng())));
    for (auto _ : state) {
        int64_t sum = 0;
        for (const auto& t : texts) sum += CConversions::i4FromString(t, CWhitespaceUtils::WhitespaceRule_Collapse);
        benchmark::DoNotOptimize(sum);
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(texts.size()));
}
BENCHMARK(BM_I4FromString);

// The number formatter as it was before its own digit generation: printf of "%.16g" / "%.7g",
// widened. Kept here only, as the yardstick for speed and for the randomized comparison.
std::u16string ReferenceRealText(double value, const char* format) {
    if (std::isnan(value)) return u"NaN";
    if (std::isinf(value)) return value < 0 ? u"-INF" : u"INF";
    char buf[64];
    FormatDoubleC(buf, sizeof buf, format, value);
    std::u16string out;
    for (const char* s = buf; *s; ++s) out.push_back(static_cast<char16_t>(static_cast<unsigned char>(*s)));
    return out;
}
std::u16string ReferenceR8(double value) { return ReferenceRealText(value, "%.16g"); }
std::u16string ReferenceR4(float value) { return ReferenceRealText(static_cast<double>(value), "%.7g"); }

// Values as documents hold them: a few digits before and after the point.
template <class T>
std::vector<T> DecimalValues() {
    std::mt19937_64 rng(2);
    std::uniform_real_distribution<double> dist(-1e6, 1e6);
    std::vector<T> values(4096);
    for (auto& v : values) v = static_cast<T>(dist(rng));
    return values;
}

template <class T, std::u16string (*Format)(T)>
void RealTextBench(benchmark::State& state) {
    const std::vector<T> values = DecimalValues<T>();
    for (auto _ : state) {
        for (T v : values) benchmark::DoNotOptimize(Format(v));
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(values.size()));
}
std::u16string NewR8(double value) { return CConversions::r8ToString(value); }
std::u16string NewR4(float value) { return CConversions::r4ToString(value); }

void BM_r8ToString(benchmark::State& state) { RealTextBench<double, NewR8>(state); }
void BM_r8ToStringReference(benchmark::State& state) { RealTextBench<double, ReferenceR8>(state); }
void BM_r4ToString(benchmark::State& state) { RealTextBench<float, NewR4>(state); }
void BM_r4ToStringReference(benchmark::State& state) { RealTextBench<float, ReferenceR4>(state); }
BENCHMARK(BM_r8ToString);
BENCHMARK(BM_r8ToStringReference);
BENCHMARK(BM_r4ToString);
BENCHMARK(BM_r4ToStringReference);

// Ten million values, new formatter against the reference: random bit patterns of double and
// float (every magnitude, denormals, NaN payloads) and random decimal values of 1 to 17 digits
// scaled by 10^-12 .. 10^12. Any difference fails the run.
void BM_RealTextRandomized10M(benchmark::State& state) {
    constexpr int64_t kCount = 10000000;
    int64_t differences = 0;
    for (auto _ : state) {
        std::mt19937_64 rng(7);
        for (int64_t i = 0; i < kCount; ++i) {
            const uint64_t bits = rng();
            double d = 0;
            float f = 0;
            if (i % 4 == 0) {
                std::memcpy(&d, &bits, sizeof d);
            } else if (i % 4 == 1) {
                const uint32_t low = static_cast<uint32_t>(bits);
                std::memcpy(&f, &low, sizeof f);
            } else {
                const int digits = 1 + int(bits % 17);
                const int scale = int(bits >> 8 & 0xFF) % 25 - 12;
                const double mantissa = double(int64_t(rng() % uint64_t(std::pow(10.0, digits))));
                // Division by an exact power of ten gives the double nearest to the decimal text.
                d = scale < 0 ? mantissa / std::pow(10.0, -scale) : mantissa * std::pow(10.0, scale);
                if (bits >> 16 & 1) d = -d;
                f = static_cast<float>(d);
            }
            const bool same = i % 4 == 1 || i % 4 == 3 ? CConversions::r4ToString(f) == ReferenceR4(f)
                                                       : CConversions::r8ToString(d) == ReferenceR8(d);
            if (!same && ++differences <= 5) {
                std::fprintf(stderr, "difference at %lld: %a / %a\n", static_cast<long long>(i), d, double(f));
            }
        }
    }
    state.counters["differences"] = double(differences);
    if (differences != 0) state.SkipWithError("r8ToString / r4ToString differ from the reference formatter");
    state.SetItemsProcessed(int64_t(state.iterations()) * kCount);
}
BENCHMARK(BM_RealTextRandomized10M)->Iterations(1)->Unit(benchmark::kMillisecond);

} // namespace
