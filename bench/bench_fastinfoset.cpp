// Fast Infoset output of the shared purchase-order document (PoDocument.h) against XML output of
// the same objects: time, and the size of the binary form against the XML (UTF-8) size.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "PoDocument.h"
#include "kvxml/fastinfoset/CFastInfosetContext.h"
#include "po.h"

using namespace KvXmlLib16;

namespace {

struct Document {
    Document() {
        // Two contexts of their own: copies would share their Fast Infoset options.
        plain.SetDefaultNamespaceURI(u"urn:example:po");
        typed.SetDefaultNamespaceURI(u"urn:example:po");
        typed.GetFIContext().SetSuggestedValues();
        const std::string& xml = BenchDoc::PoDocument();
        try {
            if (!xml.empty()) {
                orders = new GeneratedPo::COrders();
                orders->FromXml(xml.c_str(), plain);
                const std::u16string text = orders->ToXml(false, false, EOLType_LF, plain);
                xmlBytes = WideToUtf8(text.c_str()).GetLength();
            }
        } catch (const CKvException& e) {
            const std::u16string message = e.GetFullMessage();
            std::fprintf(stderr, "%s\n", std::string(message.begin(), message.end()).c_str());
            orders = nullptr;
        }
    }
    CSerializationContext plain, typed;
    CSmartPtr<GeneratedPo::COrders> orders;
    size_t xmlBytes = 0;
};

const Document& TheDocument() {
    static const Document document;
    return document;
}

void BM_ToXml(benchmark::State& state) {
    const Document& d = TheDocument();
    if (!d.orders) return state.SkipWithError("no document: set KVXML_BENCH_DOC or KVXML_GEN_PO");
    for (auto _ : state) {
        std::u16string text = d.orders->ToXml(false, false, EOLType_LF, d.plain);
        benchmark::DoNotOptimize(text.data());
    }
    BenchDoc::SetRate(state);
    state.counters["xml_MB"] = static_cast<double>(d.xmlBytes) / 1e6;
}

// The byte-block form of XML, the like of ToFastInfosetStream.
void BM_ToXmlStream(benchmark::State& state) {
    const Document& d = TheDocument();
    if (!d.orders) return state.SkipWithError("no document: set KVXML_BENCH_DOC or KVXML_GEN_PO");
    for (auto _ : state) {
        CBinaryData data =
            d.orders->ToXmlStream(false, false, XmlEncoding_UTF8, EOLType_LF, d.plain, CompressionType_None);
        benchmark::DoNotOptimize(data.GetData());
    }
    BenchDoc::SetRate(state);
}

void FastInfoset(benchmark::State& state, const CSerializationContext Document::*context) {
    const Document& d = TheDocument();
    if (!d.orders) return state.SkipWithError("no document: set KVXML_BENCH_DOC or KVXML_GEN_PO");
    size_t size = 0;
    for (auto _ : state) {
        CBinaryData data = d.orders->ToFastInfosetStream(FInfoDecl_None, d.*context, CompressionType_None);
        size = data.GetLength();
        benchmark::DoNotOptimize(data.GetData());
    }
    BenchDoc::SetRate(state);
    state.counters["fi_MB"] = static_cast<double>(size) / 1e6;
    state.counters["fi_per_xml_percent"] = 100.0 * static_cast<double>(size) / static_cast<double>(d.xmlBytes);
}

void BM_ToFastInfosetStream(benchmark::State& state) { FastInfoset(state, &Document::plain); }
void BM_ToFastInfosetStreamTyped(benchmark::State& state) { FastInfoset(state, &Document::typed); }

BENCHMARK(BM_ToXml)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToXmlStream)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToFastInfosetStream)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToFastInfosetStreamTyped)->Unit(benchmark::kMillisecond);

} // namespace
