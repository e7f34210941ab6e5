// JSON against XML on the shared purchase-order document: FromJson against FromXml (JSON is read
// by way of XML text, so it cannot be faster), ToJson against ToXml. The rates count the document's
// XML bytes for every case.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "PoDocument.h"
#include "kvxml/json/CJsonReaderHandlers.h"
#include "kvxml/xml/CXmlDocument.h"
#include "po.h"

using namespace KvXmlLib16;
using BenchDoc::PoContext;
using BenchDoc::PoDocument;

namespace {

// The JSON writer leaves quotes in strings unescaped, and the document's notes quote, so the input
// of the reading benchmark is written from the XML tree: the form the writer gives otherwise.
void AppendJsonString(std::u16string& out, const std::u16string& text) {
    out += u'"';
    for (char16_t c : text) {
        if (c == u'"' || c == u'\\') out += u'\\';
        out += c;
    }
    out += u'"';
}

void AppendElement(std::u16string& out, const CXmlElement* element, bool root) {
    AppendJsonString(out, element->GetLocalName());
    out += u':';
    if (element->GetAttributes().empty() && !element->GetFirstElement() && !root) {
        AppendJsonString(out, element->GetText());
        return;
    }
    out += u'{';
    bool first = true;
    const auto separator = [&] {
        if (!first) out += u',';
        first = false;
    };
    if (root) {
        separator();
        out += u"\"@xmlns\":\"urn:example:po\"";
    }
    for (const CXmlAttribute* attribute : element->GetAttributes()) {
        separator();
        out += u"\"@";
        out += attribute->GetLocalName();
        out += u"\"";
        out += u':';
        AppendJsonString(out, attribute->GetValue());
    }
    // Repeated elements as repeated member names, which the reader turns into the same XML.
    for (const CXmlElement* child = element->GetFirstElement(); child; child = child->GetNextSiblingElement()) {
        separator();
        AppendElement(out, child, false);
    }
    out += u'}';
}

struct Documents {
    Documents() {
        if (PoDocument().empty()) return;
        orders = new GeneratedPo::COrders();
        orders->FromXml(PoDocument().c_str(), PoContext());
        CXmlDocument document(PoContext());
        document.LoadXml(PoDocument().c_str());
        json.push_back(u'{');
        AppendElement(json, document.GetDocumentElement(), true);
        json += u'}';
        // Both must read back into the same objects.
        CSmartPtr<GeneratedPo::COrders> back = new GeneratedPo::COrders();
        back->FromJson(json.c_str(), PoContext());
        if (back->ToXml(false, false, EOLType_LF, PoContext()) !=
            orders->ToXml(false, false, EOLType_LF, PoContext())) {
            std::fprintf(stderr, "the JSON form does not read back into the same objects\n");
            std::abort();
        }
    }
    CSmartPtr<GeneratedPo::COrders> orders;
    std::u16string json;
};

const Documents& TheDocuments() {
    static const Documents documents;
    return documents;
}

template <class Read>
void ReadBenchmark(benchmark::State& state, Read read) {
    if (!BenchDoc::Ready(state)) return;
    TheDocuments();
    BenchDoc::TimeReads(state, read);
    BenchDoc::SetRate(state);
}

void BM_FromXml(benchmark::State& state) {
    ReadBenchmark(state, [](GeneratedPo::COrders& o) { o.FromXml(PoDocument().c_str(), PoContext()); });
}

void BM_FromJson(benchmark::State& state) {
    const std::u16string& json = TheDocuments().json;
    ReadBenchmark(state, [&](GeneratedPo::COrders& o) { o.FromJson(json.c_str(), PoContext()); });
    state.counters["json_MB"] = static_cast<double>(json.size()) / 1e6;
}

// The share of FromJson that turning the JSON into XML bytes takes.
void BM_ConvertJsonToXmlOnly(benchmark::State& state) {
    if (!BenchDoc::Ready(state)) return;
    const std::u16string& json = TheDocuments().json;
    for (auto _ : state) {
        CBinaryData xml = ConvertJsonToXml(json, PoContext());
        benchmark::DoNotOptimize(xml.GetData());
    }
    BenchDoc::SetRate(state);
}

template <class Write>
void WriteBenchmark(benchmark::State& state, Write write) {
    if (!BenchDoc::Ready(state)) return;
    for (auto _ : state) {
        std::u16string text = write(*TheDocuments().orders);
        benchmark::DoNotOptimize(text.data());
    }
    BenchDoc::SetRate(state);
}

void BM_ToXml(benchmark::State& state) {
    WriteBenchmark(state, [](const GeneratedPo::COrders& o) { return o.ToXml(false, false, EOLType_LF, PoContext()); });
}

void BM_ToJson(benchmark::State& state) {
    WriteBenchmark(state, [](const GeneratedPo::COrders& o) { return o.ToJson(false, EOLType_LF, PoContext()); });
}

BENCHMARK(BM_FromXml)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromJson)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ConvertJsonToXmlOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToXml)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToJson)->Unit(benchmark::kMillisecond);

} // namespace
