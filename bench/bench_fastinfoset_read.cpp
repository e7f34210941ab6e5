// Fast Infoset input of the shared purchase-order document (PoDocument.h) against XML input of the
// same document: into objects (FromXmlStream of the binary form against FromXml of the text), and
// into the tree alone (the Fast Infoset reader against Expat's parse).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "PoDocument.h"
#include "kvxml/fastinfoset/CFastInfosetContext.h"
#include "kvxml/xml/CXmlDocument.h"
#include "po.h"

using namespace KvXmlLib16;

namespace {

// The XML as our writer makes it from the objects, and the Fast Infoset forms of the same objects,
// so that both sides carry the same content.
struct Documents {
    Documents() {
        plain.SetDefaultNamespaceURI(u"urn:example:po");
        typed.SetDefaultNamespaceURI(u"urn:example:po");
        typed.GetFIContext().SetSuggestedValues();
        const std::string& source = BenchDoc::PoDocument();
        try {
            if (source.empty()) return;
            CSmartPtr<GeneratedPo::COrders> orders = new GeneratedPo::COrders();
            orders->FromXml(source.c_str(), plain);
            const CBinaryData text = WideToUtf8(orders->ToXml(false, false, EOLType_LF, plain).c_str());
            xml.assign(reinterpret_cast<const char*>(text.GetData()), text.GetLength());
            fiPlain = orders->ToFastInfosetStream(FInfoDecl_None, plain, CompressionType_None);
            fiTyped = orders->ToFastInfosetStream(FInfoDecl_None, typed, CompressionType_None);
        } catch (const CKvException& e) {
            const std::u16string message = e.GetFullMessage();
            std::fprintf(stderr, "%s\n", std::string(message.begin(), message.end()).c_str());
            xml.clear();
        }
    }
    CSerializationContext plain, typed;
    std::string xml;
    CBinaryData fiPlain, fiTyped;
};

const Documents& TheDocuments() {
    static const Documents documents;
    return documents;
}

bool Ready(benchmark::State& state) {
    if (!TheDocuments().xml.empty()) return true;
    state.SkipWithError("no document: set KVXML_BENCH_DOC or KVXML_GEN_PO");
    return false;
}

void Finish(benchmark::State& state, size_t inputBytes) {
    // The source document's bytes for every case, so the rates compare directly.
    BenchDoc::SetRate(state);
    state.counters["input_MB"] = static_cast<double>(inputBytes) / 1e6;
}

// The objects read are destroyed outside the timing: freeing a graph of a million objects costs
// as much for either format and is not part of reading.
void BM_FromXml(benchmark::State& state) {
    if (!Ready(state)) return;
    const Documents& d = TheDocuments();
    BenchDoc::TimeReads(state, [&](GeneratedPo::COrders& o) { o.FromXml(d.xml.c_str(), d.plain); });
    Finish(state, d.xml.size());
}

void FromFastInfoset(benchmark::State& state, const CBinaryData& data, const CSerializationContext& context) {
    if (!Ready(state)) return;
    BenchDoc::TimeReads(state, [&](GeneratedPo::COrders& o) { o.FromXmlStream(data, context); });
    Finish(state, data.GetLength());
}

void BM_FromFastInfosetStream(benchmark::State& state) {
    FromFastInfoset(state, TheDocuments().fiPlain, TheDocuments().plain);
}
void BM_FromFastInfosetStreamTyped(benchmark::State& state) {
    FromFastInfoset(state, TheDocuments().fiTyped, TheDocuments().typed);
}

void BM_LoadTreeXml(benchmark::State& state) {
    if (!Ready(state)) return;
    const Documents& d = TheDocuments();
    for (auto _ : state) {
        CXmlDocument document(d.plain);
        document.LoadXml(d.xml.c_str());
        benchmark::DoNotOptimize(document.GetDocumentElement());
    }
    Finish(state, d.xml.size());
}

void LoadTreeFastInfoset(benchmark::State& state, const CBinaryData& data, const CSerializationContext& context) {
    if (!Ready(state)) return;
    for (auto _ : state) {
        CXmlDocument document(context);
        document.LoadXmlStream(data.GetData(), data.GetLength());
        benchmark::DoNotOptimize(document.GetDocumentElement());
    }
    Finish(state, data.GetLength());
}

void BM_LoadTreeFastInfoset(benchmark::State& state) {
    LoadTreeFastInfoset(state, TheDocuments().fiPlain, TheDocuments().plain);
}
void BM_LoadTreeFastInfosetTyped(benchmark::State& state) {
    LoadTreeFastInfoset(state, TheDocuments().fiTyped, TheDocuments().typed);
}

BENCHMARK(BM_FromXml)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromFastInfosetStream)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromFastInfosetStreamTyped)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadTreeXml)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadTreeFastInfoset)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadTreeFastInfosetTyped)->Unit(benchmark::kMillisecond);

} // namespace
