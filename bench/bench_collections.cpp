#include <benchmark/benchmark.h>

#include <charconv>
#include <ctime>
#include <cstdint>
#include <string>
#include <vector>

#include "kvxml/base/CSmartPtr.h"
#include "kvxml/binding/CSerializationContext.h"
#include "kvxml/collections/CPrimitiveCollections.h"
#include "kvxml/output/CTextStream.h"
#include "kvxml/output/CXmlTextWriter.h"
#include "kvxml/xml/CXmlDocument.h"
#include "kvxml/xml/CXmlElement.h"

// Ten million i4 values added to a collection, written as XML and read back, against the floor
// of a plain vector turned into the same text with to_chars and back with from_chars.
// Run with --benchmark_repetitions=N: each repetition is one pass over all the values.

using namespace KvXmlLib16;

namespace {

constexpr int32_t kCount = 10'000'000;

int32_t ValueAt(int32_t i) { return i * 37 - kCount; }

// Phases are timed in processor time of the process: on a shared machine wall time mostly
// measures the other processes.
struct Clock {
    static std::clock_t now() { return std::clock(); }
};
double MillisSince(std::clock_t start) { return 1000.0 * static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC; }

CSmartPtr<Ci4Col> NewCol() {
    return new Ci4Col(u"n", u"", 0, -1, nullptr, -1, -1, nullptr, nullptr, nullptr, nullptr, -1, -1, -1,
                      CWhitespaceUtils::WhitespaceRule_Collapse, nullptr);
}

void BM_Ci4ColThroughXml(benchmark::State& state) {
    const CSerializationContext context;
    double addMs = 0, writeMs = 0, loadMs = 0, readMs = 0;
    for (auto _ : state) {
        auto start = Clock::now();
        CSmartPtr<Ci4Col> col = NewCol();
        for (int32_t i = 0; i < kCount; ++i) col->Add(ValueAt(i));
        addMs += MillisSince(start);

        start = Clock::now();
        CTextStream stream(1 << 20, XmlEncoding_None);
        stream.Open();
        CXmlTextWriter writer(&stream);
        writer.SetFormatted(false);
        writer.WriteStartElement(u"r", u"");
        col->ToXml_Int(&writer, false, u"", context, false);
        writer.WriteEndElement();
        const std::u16string text = stream.GetText();
        writeMs += MillisSince(start);

        start = Clock::now();
        CXmlDocument doc;
        doc.LoadXml(text.c_str());
        loadMs += MillisSince(start);

        start = Clock::now();
        CSmartPtr<Ci4Col> back = NewCol();
        back->FromXml_Int(doc.GetDocumentElement(), doc.GetDocumentElement()->GetFirstElement(), context, false);
        int64_t sum = 0;
        for (const int32_t v : *back) sum += v;
        readMs += MillisSince(start);
        benchmark::DoNotOptimize(sum);
        if (back->GetCount() != kCount) state.SkipWithError("values lost on the way");
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["add_ms"] = addMs / n;
    state.counters["write_ms"] = writeMs / n;
    state.counters["load_ms"] = loadMs / n; // the document tree, before the collection sees it
    state.counters["read_ms"] = readMs / n;
    state.SetItemsProcessed(state.iterations() * kCount);
}
BENCHMARK(BM_Ci4ColThroughXml)->Unit(benchmark::kMillisecond)->Iterations(1);

void BM_VectorToCharsFloor(benchmark::State& state) {
    double addMs = 0, writeMs = 0, readMs = 0;
    for (auto _ : state) {
        auto start = Clock::now();
        std::vector<int32_t> values;
        for (int32_t i = 0; i < kCount; ++i) values.push_back(ValueAt(i));
        addMs += MillisSince(start);

        start = Clock::now();
        std::string text = "<r>";
        char number[16];
        for (const int32_t v : values) {
            text += "<n>";
            text.append(number, std::to_chars(number, number + sizeof number, v).ptr);
            text += "</n>";
        }
        text += "</r>";
        writeMs += MillisSince(start);

        start = Clock::now();
        std::vector<int32_t> back;
        const char* p = text.data() + 3;
        const char* const end = text.data() + text.size();
        while (end - p > 3 && p[1] == 'n') {
            int32_t v = 0;
            p = std::from_chars(p + 3, end, v).ptr + 4;
            back.push_back(v);
        }
        int64_t sum = 0;
        for (const int32_t v : back) sum += v;
        readMs += MillisSince(start);
        benchmark::DoNotOptimize(sum);
        if (back.size() != values.size()) state.SkipWithError("values lost on the way");
    }
    const double n = static_cast<double>(state.iterations());
    state.counters["add_ms"] = addMs / n;
    state.counters["write_ms"] = writeMs / n;
    state.counters["read_ms"] = readMs / n;
    state.SetItemsProcessed(state.iterations() * kCount);
}
BENCHMARK(BM_VectorToCharsFloor)->Unit(benchmark::kMillisecond)->Iterations(1);

} // namespace
