// Classes that kvxmlc generated from po.xsd against classes written by hand for the same schema:
// reading and writing one large document of gen_po.py, in the same run.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "HandWrittenPo.h"
#include "po.h"

using namespace KvXmlLib16;

namespace {

// KVXML_PO_DOC names the document; without it one of 20 MB is made with the generator script.
const std::string& Document() {
    static const std::string text = [] {
        std::string path = std::getenv("KVXML_BENCH_DOC") ? std::getenv("KVXML_BENCH_DOC") : "";
        if (path.empty()) {
            path = "/tmp/kvxml_po_bench_20mb.xml";
            const std::string command = "python3 '" KVXML_PO_GENERATOR "' --bytes 20000000 --seed 1 -o " + path;
            if (std::system(command.c_str()) != 0) std::fprintf(stderr, "cannot run %s\n", command.c_str());
        }
        std::ifstream in(path, std::ios::binary);
        std::stringstream buffer;
        buffer << in.rdbuf();
        return buffer.str();
    }();
    return text;
}

const CSerializationContext& Context() {
    static const CSerializationContext context = [] {
        CSerializationContext c;
        c.SetDefaultNamespaceURI(u"urn:example:po");
        return c;
    }();
    return context;
}

template <class Orders>
void BM_Read(benchmark::State& state) {
    const std::string& text = Document();
    for (auto _ : state) {
        CSmartPtr<Orders> orders = new Orders();
        orders->FromXml(text.c_str(), Context());
        benchmark::DoNotOptimize(orders.get());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(text.size()));
}

template <class Orders>
void BM_Write(benchmark::State& state) {
    CSmartPtr<Orders> orders = new Orders();
    orders->FromXml(Document().c_str(), Context());
    size_t size = 0;
    for (auto _ : state) {
        const std::u16string text = orders->ToXml(true, true, EOLType_LF, Context());
        size = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(size));
}

// Both sets of classes must write the same text, or the comparison means nothing.
void BM_SameOutput(benchmark::State& state) {
    CSmartPtr<HandWrittenPo::COrders> hand = new HandWrittenPo::COrders();
    CSmartPtr<GeneratedPo::COrders> generated = new GeneratedPo::COrders();
    hand->FromXml(Document().c_str(), Context());
    generated->FromXml(Document().c_str(), Context());
    const bool same =
        hand->ToXml(true, true, EOLType_LF, Context()) == generated->ToXml(true, true, EOLType_LF, Context());
    for (auto _ : state) benchmark::DoNotOptimize(same);
    if (!same) state.SkipWithError("the two sets of classes write different documents");
    state.SetLabel(same ? "identical" : "DIFFERENT");
}

} // namespace

BENCHMARK(BM_SameOutput)->Iterations(1);
BENCHMARK_TEMPLATE(BM_Read, HandWrittenPo::COrders)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK_TEMPLATE(BM_Read, GeneratedPo::COrders)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK_TEMPLATE(BM_Write, HandWrittenPo::COrders)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK_TEMPLATE(BM_Write, GeneratedPo::COrders)->Unit(benchmark::kMillisecond)->MinTime(2.0);
