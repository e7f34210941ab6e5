#include <benchmark/benchmark.h>

#include <random>
#include <string>
#include <vector>

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

// The byte-wise growth that the binary writers rely on.
void BM_AppendByte(benchmark::State& state) {
    for (auto _ : state) {
        CBinaryData out;
        for (uint32_t i = 0; i < 65536; ++i) out.Append(static_cast<unsigned char>(i));
        benchmark::DoNotOptimize(out.GetData());
    }
    state.SetBytesProcessed(int64_t(state.iterations()) * 65536);
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

void BM_R8ToString(benchmark::State& state) {
    std::mt19937_64 rng(2);
    std::uniform_real_distribution<double> dist(-1e6, 1e6);
    std::vector<double> values(4096);
    for (auto& v : values) v = dist(rng);
    for (auto _ : state) {
        for (double v : values) benchmark::DoNotOptimize(CConversions::r8ToString(v));
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * int64_t(values.size()));
}
BENCHMARK(BM_R8ToString);

} // namespace
