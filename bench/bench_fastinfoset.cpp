// Fast Infoset output of the generated 20 MB purchase-order document against XML output of the
// same objects: time, and the size of the binary form against the XML (UTF-8) size.
//   The document is the shared one of PoDocument.h (KVXML_BENCH_DOC, or generated).
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "PoModel.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/fastinfoset/CFastInfosetContext.h"

#include "PoDocument.h"

using namespace KvXmlLib16;

namespace {

std::string ReadDocument() { return BenchDoc::ReadPoDocument(); }

struct Document {
    Document() {
        // Two contexts of their own: copies would share their Fast Infoset options.
        plain.SetDefaultNamespaceURI(PoModel::kNs);
        typed.SetDefaultNamespaceURI(PoModel::kNs);
        typed.GetFIContext().SetSuggestedValues();
        const std::string xml = ReadDocument();
        try {
            if (!xml.empty()) orders = PoModel::Load(xml.c_str(), plain);
            if (orders) {
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
    CSmartPtr<PoModel::CPoObject> orders;
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
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.xmlBytes));
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
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.xmlBytes));
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
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * d.xmlBytes));
    state.counters["fi_MB"] = static_cast<double>(size) / 1e6;
    state.counters["fi_per_xml_percent"] = 100.0 * static_cast<double>(size) / static_cast<double>(d.xmlBytes);
}

void BM_ToFastInfosetStream(benchmark::State& state) { FastInfoset(state, &Document::plain); }
void BM_ToFastInfosetStreamTyped(benchmark::State& state) { FastInfoset(state, &Document::typed); }

BENCHMARK(BM_ToXml)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_ToXmlStream)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_ToFastInfosetStream)->Unit(benchmark::kMillisecond)->MinTime(1.0);
BENCHMARK(BM_ToFastInfosetStreamTyped)->Unit(benchmark::kMillisecond)->MinTime(1.0);

} // namespace
