#pragma once
// The shared benchmark document: the purchase orders that gen_po.py writes, so that our figures can
// be set beside other tools' on the same bytes. KVXML_BENCH_DOC names an existing document;
// otherwise a 20 MB one (seed 1) is generated once into /tmp and reused. KVXML_GEN_PO overrides
// the generator, which is looked up beside the source tree by default.
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

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
            const std::string command = "python3 " + Env("KVXML_GEN_PO", KVXML_GEN_PO_DEFAULT) +
                                        " --bytes 20000000 --seed 1 -o " + file + ".part && mv " + file + ".part " +
                                        file;
            if (std::system(command.c_str()) != 0) std::fprintf(stderr, "could not make %s\n", file.c_str());
        }
        return file;
    }();
    return path;
}

// The document's bytes (empty when it cannot be read or made).
inline std::string ReadPoDocument() {
    std::ifstream in(PoDocumentPath(), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

} // namespace BenchDoc
