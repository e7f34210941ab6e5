// Reading the shared purchase-order document into the classes generated from its schema and writing
// it back, beside the floor of parsing the same bytes with Expat and empty handlers.
#include <benchmark/benchmark.h>

#include <string>

#include "PoDocument.h"
#include "kvxml/xml/CXmlDocument.h"
#include "po.h"

using namespace KvXmlLib16;
using BenchDoc::PoContext;
using BenchDoc::PoDocument;

namespace {

void BM_ExpatFloor(benchmark::State& state) {
    if (!BenchDoc::Ready(state)) return;
    for (auto _ : state)
        if (!BenchDoc::ExpatParse(PoDocument())) state.SkipWithError("parse failed");
    BenchDoc::SetRate(state);
    state.counters["document_MB"] = static_cast<double>(PoDocument().size()) / 1e6;
}

// The share of FromXml that building the tree takes, for reference.
void BM_LoadTreeOnly(benchmark::State& state) {
    if (!BenchDoc::Ready(state)) return;
    for (auto _ : state) {
        CXmlDocument document(PoContext());
        document.LoadXml(PoDocument().c_str());
        benchmark::DoNotOptimize(document.GetDocumentElement());
    }
    BenchDoc::SetRate(state);
}

// The share of FromXml that the binding takes: the tree is built once, outside the timing.
void BM_BindOnly(benchmark::State& state) {
    if (!BenchDoc::Ready(state)) return;
    CXmlDocument document(PoContext());
    document.LoadXml(PoDocument().c_str());
    CXmlElement* root = document.GetDocumentElement();
    BenchDoc::TimeReads(
        state, [&](GeneratedPo::COrders& o) { o.FromXml_Int(root, root->GetFirstElement(), PoContext(), false); });
    BenchDoc::SetRate(state);
}

void BM_FromXml(benchmark::State& state) {
    if (!BenchDoc::Ready(state)) return;
    BenchDoc::TimeReads(state, [](GeneratedPo::COrders& o) { o.FromXml(PoDocument().c_str(), PoContext()); });
    BenchDoc::SetRate(state);
}

// One FromXml and nothing else, for the peak resident memory of reading the document.
void BM_FromXmlOnce(benchmark::State& state) {
    if (!BenchDoc::Ready(state)) return;
    for (auto _ : state) {
        CSmartPtr<GeneratedPo::COrders> orders = new GeneratedPo::COrders();
        orders->FromXml(PoDocument().c_str(), PoContext());
        benchmark::DoNotOptimize(orders->GetOrders()->GetCount());
    }
    BenchDoc::SetRate(state);
}

void BM_ToXml(benchmark::State& state) {
    if (!BenchDoc::Ready(state)) return;
    CSmartPtr<GeneratedPo::COrders> orders = new GeneratedPo::COrders();
    orders->FromXml(PoDocument().c_str(), PoContext());
    for (auto _ : state) {
        std::u16string text = orders->ToXml(false, true, EOLType_LF, PoContext());
        benchmark::DoNotOptimize(text.data());
    }
    BenchDoc::SetRate(state);
}

BENCHMARK(BM_ExpatFloor)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadTreeOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BindOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromXml)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromXmlOnce)->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(BM_ToXml)->Unit(benchmark::kMillisecond);

} // namespace
