// Reading a large purchase-order batch into the example classes and writing it back, beside the
// floor of parsing the same bytes with Expat and empty handlers.
#include <benchmark/benchmark.h>
#include <expat.h>

#include <string>

#include "PurchaseOrderBatch.h"
#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;
using namespace PurchaseOrderSample;
using namespace BenchPurchaseOrders;

namespace {

// The document as UTF-8 bytes (it is ASCII) and the batch it came from.
struct Document {
    Document() : batch(MakeBatch(21u << 20)) {
        const std::u16string text = batch->ToXml(false, false, EOLType_LF, Context());
        bytes.assign(text.begin(), text.end());
    }
    CSmartPtr<CPurchaseOrderBatch> batch;
    std::string bytes;
};

const Document& TheDocument() {
    static const Document document;
    return document;
}

void XMLCALL OnStart(void*, const XML_Char*, const XML_Char**) {}
void XMLCALL OnEnd(void*, const XML_Char*) {}
void XMLCALL OnText(void*, const XML_Char*, int) {}

void BM_ExpatFloor(benchmark::State& state) {
    const std::string& bytes = TheDocument().bytes;
    for (auto _ : state) {
        XML_Parser parser = XML_ParserCreateNS(nullptr, '|');
        XML_SetElementHandler(parser, OnStart, OnEnd);
        XML_SetCharacterDataHandler(parser, OnText);
        if (XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), 1) != XML_STATUS_OK)
            state.SkipWithError("parse failed");
        XML_ParserFree(parser);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
    state.counters["document_MB"] = static_cast<double>(bytes.size()) / 1e6;
}

// The share of FromXml that building the tree takes, for reference.
void BM_LoadTreeOnly(benchmark::State& state) {
    const std::string& bytes = TheDocument().bytes;
    for (auto _ : state) {
        CXmlDocument document(Context());
        document.LoadXml(bytes.c_str());
        benchmark::DoNotOptimize(document.GetDocumentElement());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}

// The share of FromXml that the binding takes: the tree is built once, outside the timing.
void BM_BindOnly(benchmark::State& state) {
    const std::string& bytes = TheDocument().bytes;
    CXmlDocument document(Context());
    document.LoadXml(bytes.c_str());
    CXmlElement* root = document.GetDocumentElement();
    for (auto _ : state) {
        CSmartPtr<CPurchaseOrderBatch> batch = new CPurchaseOrderBatch();
        batch->FromXml_Int(root, root->GetFirstElement(), Context(), false);
        benchmark::DoNotOptimize(batch->GetOrders()->GetCount());
        // The objects belong to the caller afterwards: freeing them is not part of reading.
        state.PauseTiming();
        batch = nullptr;
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}

void BM_FromXml(benchmark::State& state) {
    const std::string& bytes = TheDocument().bytes;
    for (auto _ : state) {
        CSmartPtr<CPurchaseOrderBatch> batch = new CPurchaseOrderBatch();
        batch->FromXml(bytes.c_str(), Context());
        benchmark::DoNotOptimize(batch->GetOrders()->GetCount());
        state.PauseTiming();
        batch = nullptr;
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes.size()));
}

void BM_ToXml(benchmark::State& state) {
    const CPurchaseOrderBatch& batch = *TheDocument().batch;
    size_t characters = 0;
    for (auto _ : state) {
        std::u16string text = batch.ToXml(false, false, EOLType_LF, Context());
        characters = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    // Output measured in bytes of its UTF-8 form, which for this ASCII document is one per character.
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(characters));
}

BENCHMARK(BM_ExpatFloor)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_LoadTreeOnly)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_BindOnly)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_FromXml)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ToXml)->Unit(benchmark::kMillisecond)->MinTime(2.0);

} // namespace
