// Loading a large document into the tree, against the floor of the same Expat build parsing the
// same bytes with empty handlers.
#include <benchmark/benchmark.h>

#include <expat.h>

#include <string>

#include "kvxml/xml/CXmlDocument.h"

using namespace KvXmlLib16;

namespace {

std::string MakeDocument(size_t size) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<records xmlns=\"urn:example:records\">\n";
    for (int i = 0; text.size() < size; ++i) {
        const std::string n = std::to_string(i);
        text += "  <record id=\"" + n +
                "\" type=\"customer\" status=\"active\">\n"
                "    <name>Customer number " +
                n +
                "</name>\n"
                "    <email>user" +
                n +
                "@example.com</email>\n"
                "    <amount currency=\"EUR\">" +
                n +
                ".25</amount>\n"
                "    <note>Free text of record " +
                n +
                ", with &amp; an entity and some more words.</note>\n"
                "  </record>\n";
    }
    text += "</records>\n";
    return text;
}

// About 24 MB: many repeated records with attributes, text and an entity.
const std::string& Document() {
    static const std::string xml = MakeDocument(24u * 1024 * 1024);
    return xml;
}

// A message of about 2 KB, the size a service reads many of.
const std::string& SmallDocument() {
    static const std::string xml = MakeDocument(2048);
    return xml;
}

void XMLCALL NoStart(void*, const XML_Char*, const XML_Char**) {}
void XMLCALL NoEnd(void*, const XML_Char*) {}
void XMLCALL NoText(void*, const XML_Char*, int) {}
void XMLCALL NoNamespaceStart(void*, const XML_Char*, const XML_Char*) {}
void XMLCALL NoNamespaceEnd(void*, const XML_Char*) {}

void BM_ExpatFloor(benchmark::State& state) {
    const std::string& xml = state.range(0) ? Document() : SmallDocument();
    for (auto _ : state) {
        XML_Parser parser = XML_ParserCreateNS(nullptr, '|');
        XML_SetElementHandler(parser, NoStart, NoEnd);
        XML_SetCharacterDataHandler(parser, NoText);
        XML_SetNamespaceDeclHandler(parser, NoNamespaceStart, NoNamespaceEnd);
        if (XML_Parse(parser, xml.data(), static_cast<int>(xml.size()), XML_TRUE) != XML_STATUS_OK)
            state.SkipWithError("parse failed");
        XML_ParserFree(parser);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(xml.size()));
}
BENCHMARK(BM_ExpatFloor)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ExpatFloor)->Arg(0)->Unit(benchmark::kMicrosecond);

void BM_LoadTree(benchmark::State& state) {
    const std::string& xml = state.range(0) ? Document() : SmallDocument();
    for (auto _ : state) {
        CXmlDocument document;
        document.LoadXml(xml.c_str());
        benchmark::DoNotOptimize(document.GetDocumentElement());
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(xml.size()));
}
BENCHMARK(BM_LoadTree)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_LoadTree)->Arg(0)->Unit(benchmark::kMicrosecond);

} // namespace

namespace {

// The same load with the destruction of the tree left out of the timing.
void BM_LoadTreeWithoutDestruction(benchmark::State& state) {
    const std::string& xml = Document();
    for (auto _ : state) {
        auto* document = new CXmlDocument();
        document->LoadXml(xml.c_str());
        benchmark::DoNotOptimize(document->GetDocumentElement());
        state.PauseTiming();
        delete document;
        state.ResumeTiming();
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * static_cast<int64_t>(xml.size()));
}
BENCHMARK(BM_LoadTreeWithoutDestruction)->Unit(benchmark::kMillisecond);

} // namespace
