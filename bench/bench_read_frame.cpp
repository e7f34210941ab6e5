// Loading the shared purchase-order document into the tree, against the floor of the same Expat
// build parsing the same bytes with empty handlers; argument 0 takes a message of about 2 KB cut
// from the document's start, the size a service reads many of.
#include <benchmark/benchmark.h>

#include <string>

#include "PoDocument.h"
#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;

namespace {

// The first orders of the document up to about 2 KB, closed like the document.
const std::string& SmallDocument() {
    static const std::string xml = [] {
        const std::string& doc = BenchDoc::PoDocument();
        const size_t end = doc.rfind("</order>", 2048);
        const size_t root = doc.find("<orders");
        if (end == std::string::npos || root == std::string::npos) return std::string();
        return doc.substr(0, end + 8) + "\n</orders>\n";
    }();
    return xml;
}

const std::string& Input(benchmark::State& state) { return state.range(0) ? BenchDoc::PoDocument() : SmallDocument(); }

void BM_ExpatFloor(benchmark::State& state) {
    const std::string& xml = Input(state);
    if (xml.empty()) return state.SkipWithError("no document: set KVXML_BENCH_DOC or KVXML_GEN_PO");
    for (auto _ : state)
        if (!BenchDoc::ExpatParse(xml)) state.SkipWithError("parse failed");
    BenchDoc::SetRate(state, xml.size());
}
BENCHMARK(BM_ExpatFloor)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExpatFloor)->Arg(0)->Unit(benchmark::kMicrosecond);

void BM_LoadTree(benchmark::State& state) {
    const std::string& xml = Input(state);
    if (xml.empty()) return state.SkipWithError("no document: set KVXML_BENCH_DOC or KVXML_GEN_PO");
    for (auto _ : state) {
        CXmlDocument document;
        document.LoadXml(xml.c_str());
        benchmark::DoNotOptimize(document.GetDocumentElement());
    }
    BenchDoc::SetRate(state, xml.size());
}
BENCHMARK(BM_LoadTree)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadTree)->Arg(0)->Unit(benchmark::kMicrosecond);

// The same load with the destruction of the tree left out of the timing.
void BM_LoadTreeWithoutDestruction(benchmark::State& state) {
    if (!BenchDoc::Ready(state)) return;
    const std::string& xml = BenchDoc::PoDocument();
    for (auto _ : state) {
        auto* document = new CXmlDocument();
        document->LoadXml(xml.c_str());
        benchmark::DoNotOptimize(document->GetDocumentElement());
        state.PauseTiming();
        delete document;
        state.ResumeTiming();
    }
    BenchDoc::SetRate(state);
}
BENCHMARK(BM_LoadTreeWithoutDestruction)->Unit(benchmark::kMillisecond);

} // namespace
