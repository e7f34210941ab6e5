// JSON against XML on the same 20 MB purchase-order batch: FromJson against FromXml (JSON is read
// by way of XML text, so it cannot be faster), ToJson against ToXml.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <string>

#include "PurchaseOrderBatch.h"
#include "kvxml/json/CJsonReaderHandlers.h"
#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;
using namespace PurchaseOrderSample;
using namespace BenchPurchaseOrders;

namespace {

// The JSON writer puts a sibling that follows a collection inside the collection's array, and an
// order's payment follows its items, so ToJson of the batch does not read back. The input of the
// reading benchmark is therefore written from the XML tree, with repetition as repeated member
// names: the other form of repetition that the reader turns into the same XML.
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
        out += u"\"@xmlns\":\"";
        out += kTargetNamespace;
        out += u"\",\"@xmlns:xsi\":\"http://www.w3.org/2001/XMLSchema-instance\"";
    }
    for (const CXmlAttribute* attribute : element->GetAttributes()) {
        separator();
        AppendJsonString(out, (attribute->GetNamespaceURI().empty() ? u"@" : u"@xsi:") + attribute->GetLocalName());
        out += u':';
        AppendJsonString(out, attribute->GetValue());
    }
    for (const CXmlElement* child = element->GetFirstElement(); child; child = child->GetNextSiblingElement()) {
        separator();
        AppendElement(out, child, false);
    }
    if (!element->GetText().empty()) {
        separator();
        out += u"\"#text\":";
        AppendJsonString(out, element->GetText());
    }
    out += u'}';
}

struct Documents {
    Documents() : batch(MakeBatch(21u << 20)) {
        const std::u16string text = batch->ToXml(false, false, EOLType_LF, Context());
        xml.assign(text.begin(), text.end());
        CXmlDocument document(Context());
        document.LoadXml(xml.c_str());
        json.push_back(u'{');
        AppendElement(json, document.GetDocumentElement(), true);
        json += u'}';
        // Both must read back into the same objects.
        CSmartPtr<CPurchaseOrderBatch> back = new CPurchaseOrderBatch();
        try {
            back->FromJson(json.c_str(), Context());
        } catch (const CKvException& e) {
            const std::u16string message =
                e.GetInnerException() ? e.GetInnerException()->GetFullMessage() : e.GetMessage();
            std::fprintf(
                stderr, "%s\n",
                std::string(message.begin(), message.begin() + std::min<size_t>(message.size(), 2000)).c_str());
            std::abort();
        }
        if (back->ToXml(false, false, EOLType_LF, Context()) != text) std::abort();
    }
    CSmartPtr<CPurchaseOrderBatch> batch;
    std::string xml; // UTF-8 (ASCII) bytes
    std::u16string json;
};

const Documents& TheDocuments() {
    static const Documents documents;
    return documents;
}

template <class Read>
void ReadBenchmark(benchmark::State& state, Read read, size_t bytes) {
    for (auto _ : state) {
        CSmartPtr<CPurchaseOrderBatch> batch = new CPurchaseOrderBatch();
        read(*batch);
        benchmark::DoNotOptimize(batch->GetOrders()->GetCount());
        // The objects belong to the caller afterwards: freeing them is not part of reading.
        state.PauseTiming();
        batch = nullptr;
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(bytes));
}

void BM_FromXml(benchmark::State& state) {
    const Documents& d = TheDocuments();
    ReadBenchmark(
        state, [&](CPurchaseOrderBatch& b) { b.FromXml(d.xml.c_str(), Context()); }, d.xml.size());
}

void BM_FromJson(benchmark::State& state) {
    const Documents& d = TheDocuments();
    ReadBenchmark(
        state, [&](CPurchaseOrderBatch& b) { b.FromJson(d.json.c_str(), Context()); }, d.json.size());
    state.counters["json_MB"] = static_cast<double>(d.json.size()) / 1e6;
}

// The share of FromJson that turning the JSON into XML bytes takes.
void BM_ConvertJsonToXmlOnly(benchmark::State& state) {
    const Documents& d = TheDocuments();
    for (auto _ : state) {
        CBinaryData xml = ConvertJsonToXml(d.json, Context());
        benchmark::DoNotOptimize(xml.GetData());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(d.json.size()));
}

template <class Write>
void WriteBenchmark(benchmark::State& state, Write write) {
    size_t characters = 0;
    for (auto _ : state) {
        std::u16string text = write(*TheDocuments().batch);
        characters = text.size();
        benchmark::DoNotOptimize(text.data());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(characters));
}

void BM_ToXml(benchmark::State& state) {
    WriteBenchmark(state, [](const CPurchaseOrderBatch& b) { return b.ToXml(false, false, EOLType_LF, Context()); });
}

void BM_ToJson(benchmark::State& state) {
    WriteBenchmark(state, [](const CPurchaseOrderBatch& b) { return b.ToJson(false, EOLType_LF, Context()); });
}

BENCHMARK(BM_FromXml)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_FromJson)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ConvertJsonToXmlOnly)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ToXml)->Unit(benchmark::kMillisecond)->MinTime(2.0);
BENCHMARK(BM_ToJson)->Unit(benchmark::kMillisecond)->MinTime(2.0);

} // namespace
