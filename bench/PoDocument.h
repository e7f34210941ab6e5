#pragma once
// The shared benchmark document: the purchase orders that gen_po.py writes, so that our figures can
// be set beside other tools' on the same bytes. KVXML_BENCH_DOC names an existing document;
// otherwise a 20 MB one (seed 1) is generated once into /tmp and reused. KVXML_GEN_PO overrides
// the generator, which is looked up beside the source tree by default.
//
// Units: every program reports the counter "MB/s", the document's UTF-8 size in bytes / 1e6 per
// second of processor time, whatever form it actually reads or writes (UTF-16 text, JSON, Fast
// Infoset), so that the rates of one document compare as inverse times.
#include <benchmark/benchmark.h>
#include <expat.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "kvxml/binding/CSerializationContext.h"
#include "po.h"

namespace BenchDoc {

inline std::string Env(const char* name, const char* fallback) {
    const char* value = std::getenv(name);
    return value && *value ? value : fallback;
}

// The path of the document, generated when missing.
inline const std::string& PoDocumentPath() {
    static const std::string path = [] {
        const std::string given = Env("KVXML_BENCH_DOC", "");
        if (!given.empty()) return given;
        const std::string file = "/tmp/kvxml_po_20mb.xml";
        if (!std::ifstream(file)) {
            const std::string command = "python3 '" + Env("KVXML_GEN_PO", KVXML_GEN_PO_DEFAULT) +
                                        "' --bytes 20000000 --seed 1 -o " + file + ".part && mv " + file + ".part " +
                                        file;
            if (std::system(command.c_str()) != 0) std::fprintf(stderr, "could not make %s\n", file.c_str());
        }
        return file;
    }();
    return path;
}

// The document's UTF-8 bytes, read once (empty when it cannot be read or made).
inline const std::string& PoDocument() {
    static const std::string bytes = [] {
        std::ifstream in(PoDocumentPath(), std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }();
    return bytes;
}

// False, and the benchmark skipped, when there is no document.
inline bool Ready(benchmark::State& state) {
    if (!PoDocument().empty()) return true;
    state.SkipWithError("no document: set KVXML_BENCH_DOC or KVXML_GEN_PO");
    return false;
}

// The one throughput figure of every program: documentBytes (UTF-8) per iteration, in MB/s.
inline void SetRate(benchmark::State& state, size_t documentBytes = PoDocument().size()) {
    state.counters["MB/s"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(documentBytes) / 1e6,
                           benchmark::Counter::kIsRate);
}

// The context of the purchase orders: their namespace is the default one.
inline const KvXmlLib16::CSerializationContext& PoContext() {
    static const KvXmlLib16::CSerializationContext context = [] {
        KvXmlLib16::CSerializationContext c;
        c.SetDefaultNamespaceURI(u"urn:example:po");
        return c;
    }();
    return context;
}

// Reads the document into fresh objects once per iteration. The objects belong to the caller
// afterwards: freeing them is not part of reading and stays outside the timing.
template <class Read>
void TimeReads(benchmark::State& state, Read read) {
    for (auto _ : state) {
        KvXmlLib16::CSmartPtr<GeneratedPo::COrders> orders = new GeneratedPo::COrders();
        read(*orders);
        benchmark::DoNotOptimize(orders->GetOrders()->GetCount());
        state.PauseTiming();
        orders = nullptr;
        state.ResumeTiming();
    }
}

namespace Detail {
inline void XMLCALL NoStart(void*, const XML_Char*, const XML_Char**) {}
inline void XMLCALL NoEnd(void*, const XML_Char*) {}
inline void XMLCALL NoText(void*, const XML_Char*, int) {}
inline void XMLCALL NoNamespaceStart(void*, const XML_Char*, const XML_Char*) {}
inline void XMLCALL NoNamespaceEnd(void*, const XML_Char*) {}
} // namespace Detail

// The floor of every reader: the same Expat build parsing the bytes with empty handlers.
inline bool ExpatParse(const std::string& bytes) {
    using namespace Detail;
    XML_Parser parser = XML_ParserCreateNS(nullptr, '|');
    XML_SetElementHandler(parser, NoStart, NoEnd);
    XML_SetCharacterDataHandler(parser, NoText);
    XML_SetNamespaceDeclHandler(parser, NoNamespaceStart, NoNamespaceEnd);
    const bool ok = XML_Parse(parser, bytes.data(), static_cast<int>(bytes.size()), XML_TRUE) == XML_STATUS_OK;
    XML_ParserFree(parser);
    return ok;
}

} // namespace BenchDoc
