// Files, byte blocks and compression on the shared 20 MB purchase-order document, each beside
// the call it is measured against: FromXmlFile and FromXmlStream against FromXml from a string,
// the chunked filtered load against Expat reading the same file, ToXmlFile streamed against
// ToXml, and gzip output against zlib's own deflate at the same level.
//
// The document is the shared one of PoDocument.h (KVXML_BENCH_DOC, or generated), read into the
// classes generated from its schema.
#include <benchmark/benchmark.h>
#include <expat.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "kvxml/KvXmlLib16.h"

#include "PoDocument.h"
#include "po.h"

using namespace KvXmlLib16;

namespace {

using BenchDoc::Env;

const std::string& DocumentPath() { return BenchDoc::PoDocumentPath(); }

std::u16string WidePath() {
    const std::string& path = DocumentPath();
    return std::u16string(path.begin(), path.end());
}

const std::string& DocumentBytes() { return BenchDoc::PoDocument(); }

const std::u16string& OutputPath() {
    static const std::u16string path = [] {
        const std::string file = Env("KVXML_BENCH_OUT", "/tmp/kvxml_bench_out.xml");
        return std::u16string(file.begin(), file.end());
    }();
    return path;
}

// The file's size, without reading it: the chunked load runs on documents too big to hold.
uint64_t DocumentSize() {
    std::error_code error;
    const uintmax_t size = std::filesystem::file_size(DocumentPath(), error);
    return error ? 0 : size;
}

bool Ready(benchmark::State& state) {
    if (DocumentSize() != 0) return true;
    state.SkipWithError("no document: set KVXML_BENCH_DOC or KVXML_GEN_PO");
    return false;
}

void Bytes(benchmark::State& state) { BenchDoc::SetRate(state, DocumentSize()); }

// Reading: each iteration makes a fresh object; freeing the tree of objects is not timed.
template <class Read>
void ReadInto(benchmark::State& state, Read read) {
    if (!Ready(state)) return;
    const CSerializationContext& context = BenchDoc::PoContext();
    BenchDoc::TimeReads(state, [&](GeneratedPo::COrders& o) { read(o, context); });
    Bytes(state);
}

void BM_FromXml_String(benchmark::State& state) {
    const std::string& bytes = DocumentBytes();
    ReadInto(state, [&](CXmlObjectBase& o, const CSerializationContext& c) { o.FromXml(bytes.c_str(), c); });
}

void BM_FromXmlFile(benchmark::State& state) {
    AsyncFromXmlFile(state.range(0) != 0);
    const std::u16string path = WidePath();
    ReadInto(state, [&](CXmlObjectBase& o, const CSerializationContext& c) { o.FromXmlFile(path.c_str(), c); });
    AsyncFromXmlFile(false);
}

void BM_FromXmlStream(benchmark::State& state) {
    const std::string& bytes = DocumentBytes();
    const auto* data = reinterpret_cast<const unsigned char*>(bytes.data());
    ReadInto(state, [&](CXmlObjectBase& o, const CSerializationContext& c) {
        o.FromXmlStream(data, static_cast<uint32_t>(bytes.size()), c);
    });
}

// Chunked load that keeps nothing but the root, against Expat reading the same file in chunks
// of the same size with empty handlers.
void BM_ChunkedLoadKeepNothing(benchmark::State& state) {
    if (!Ready(state)) return;
    const std::u16string path = WidePath();
    AsyncFromXmlFile(true);
    for (auto _ : state) {
        CXmlDocument document([](CXmlElement*) { return true; });
        document.Load(path.c_str());
        benchmark::DoNotOptimize(document.GetDocumentElement());
    }
    AsyncFromXmlFile(false);
    Bytes(state);
}

void XMLCALL OnStart(void*, const XML_Char*, const XML_Char**) {}
void XMLCALL OnEnd(void*, const XML_Char*) {}
void XMLCALL OnText(void*, const XML_Char*, int) {}

void BM_ExpatFileChunks(benchmark::State& state) {
    if (!Ready(state)) return;
    std::unique_ptr<char[]> buffer(new char[131072]);
    for (auto _ : state) {
        std::FILE* file = std::fopen(DocumentPath().c_str(), "rb");
        XML_Parser parser = XML_ParserCreateNS(nullptr, '|');
        XML_SetElementHandler(parser, OnStart, OnEnd);
        XML_SetCharacterDataHandler(parser, OnText);
        size_t count;
        do {
            count = std::fread(buffer.get(), 1, 131072, file);
            if (XML_Parse(parser, buffer.get(), static_cast<int>(count), count < 131072) != XML_STATUS_OK) {
                state.SkipWithError("parse failed");
                break;
            }
        } while (count == 131072);
        XML_ParserFree(parser);
        std::fclose(file);
    }
    Bytes(state);
}

const GeneratedPo::COrders& Loaded() {
    static CSmartPtr<GeneratedPo::COrders> orders = [] {
        CSmartPtr<GeneratedPo::COrders> o = new GeneratedPo::COrders();
        o->FromXml(DocumentBytes().c_str(), BenchDoc::PoContext());
        return o;
    }();
    return *orders;
}

void BM_ToXml(benchmark::State& state) {
    if (!Ready(state)) return;
    const GeneratedPo::COrders& orders = Loaded();
    for (auto _ : state) {
        std::u16string text = orders.ToXml(true, false, EOLType_LF, BenchDoc::PoContext());
        benchmark::DoNotOptimize(text.data());
    }
    Bytes(state);
}

// Argument 1: the streaming route; 0: the whole document in memory, then one write.
void BM_ToXmlFile(benchmark::State& state) {
    if (!Ready(state)) return;
    const GeneratedPo::COrders& orders = Loaded();
    AsyncToXmlFile(state.range(0) != 0);
    for (auto _ : state)
        orders.ToXmlFile(OutputPath().c_str(), true, false, XmlEncoding_UTF8, EOLType_LF, BenchDoc::PoContext(),
                         CompressionType_None);
    AsyncToXmlFile(false);
    std::remove(std::string(OutputPath().begin(), OutputPath().end()).c_str());
    Bytes(state);
}

void BM_GzipCompress(benchmark::State& state) {
    if (!Ready(state)) return;
    const std::string& bytes = DocumentBytes();
    for (auto _ : state) {
        state.PauseTiming();
        CBinaryData data(reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<uint32_t>(bytes.size()),
                         false);
        state.ResumeTiming();
        Compress(data, CompressionType_GZip);
        benchmark::DoNotOptimize(data.GetLength());
    }
    Bytes(state);
}

void BM_ZlibDeflateLevel1(benchmark::State& state) {
    if (!Ready(state)) return;
    const std::string& bytes = DocumentBytes();
    std::unique_ptr<unsigned char[]> out(new unsigned char[bytes.size()]);
    for (auto _ : state) {
        z_stream zs{};
        deflateInit2(&zs, 1, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY);
        zs.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(bytes.data()));
        zs.avail_in = static_cast<uInt>(bytes.size());
        zs.next_out = out.get();
        zs.avail_out = static_cast<uInt>(bytes.size());
        if (deflate(&zs, Z_FINISH) != Z_STREAM_END) state.SkipWithError("deflate failed");
        deflateEnd(&zs);
        benchmark::DoNotOptimize(zs.total_out);
    }
    Bytes(state);
}

BENCHMARK(BM_FromXml_String)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromXmlFile)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FromXmlStream)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ChunkedLoadKeepNothing)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExpatFileChunks)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToXml)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ToXmlFile)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GzipCompress)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ZlibDeflateLevel1)->Unit(benchmark::kMillisecond);

} // namespace
