// kvxmlc: compiles XML schemas into classes for the kvxml16 run-time library.

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "Classes.h"
#include "kvxml/base/CKvException.h"

namespace {

const char kUsage[] =
    "usage: kvxmlc [options] SCHEMA.xsd... --out DIR\n"
    "Generates one C++ header and source per schema file, named after the file, plus KvGeneratedSupport.h.\n"
    "  --out DIR                  where the files are written (created if missing)\n"
    "  --cpp-namespace URI=NAME   the C++ namespace of a target namespace (repeatable); without it the name\n"
    "                             is made of the URI's words, e.g. urn:acme:orders -> AcmeOrders\n"
    "  --schema-path DIR          where an import or include is looked up by its file name when its\n"
    "                             schemaLocation is a URL or is not found beside the including file (repeatable)\n"
    "  --depfile FILE             also write the schema files read, as a make rule for build tools\n"
    "  --help                     this text\n";

int Usage(const char* problem) {
    std::fprintf(stderr, "kvxmlc: %s\n%s", problem, kUsage);
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    namespace fs = std::filesystem;
    std::vector<std::string> schemas, searchPath;
    std::map<std::string, std::string> cppNamespaces;
    std::string outDir, depfile;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        const bool hasValue = i + 1 < argc;
        if (arg == "--help" || arg == "-h") {
            std::fputs(kUsage, stdout);
            return 0;
        } else if (arg == "--out") {
            if (!hasValue) return Usage("--out needs a directory");
            outDir = argv[++i];
        } else if (arg == "--depfile") {
            if (!hasValue) return Usage("--depfile needs a file");
            depfile = argv[++i];
        } else if (arg == "--schema-path") {
            if (!hasValue) return Usage("--schema-path needs a directory");
            searchPath.push_back(argv[++i]);
        } else if (arg == "--cpp-namespace") {
            const std::string value = hasValue ? argv[++i] : "";
            const size_t eq = value.rfind('=');
            if (eq == std::string::npos || eq + 1 == value.size()) return Usage("--cpp-namespace needs URI=NAME");
            cppNamespaces[value.substr(0, eq)] = value.substr(eq + 1);
        } else if (arg.rfind("--", 0) == 0) {
            return Usage(("unknown option " + arg).c_str());
        } else {
            schemas.push_back(arg);
        }
    }
    if (schemas.empty()) return Usage("no schema given");
    if (outDir.empty()) return Usage("no --out directory given");

    std::vector<std::pair<std::string, std::string>> files;
    try {
        Kvxmlc::SchemaSet set(searchPath);
        for (const std::string& schema : schemas) set.Load(schema);
        Kvxmlc::Program program;
        Kvxmlc::MapSchemas(set, cppNamespaces, program);
        std::error_code ec;
        fs::create_directories(outDir, ec);
        files = Kvxmlc::EmitProgram(set, program, outDir);
        if (!depfile.empty()) {
            std::string rule = (fs::path(outDir) / "KvGeneratedSupport.h").string() + ":";
            for (const auto& doc : set.m_docs) rule += " " + fs::absolute(doc->m_path).string();
            files.emplace_back(depfile + ".kvxmlc-tmp", depfile);
            std::ofstream out(files.back().first, std::ios::trunc);
            out << rule << "\n";
        }
        // Only now, with every file written, do the new files take the place of the old ones.
        for (const auto& [temp, final] : files) {
            fs::rename(temp, final, ec);
            if (ec) throw Kvxmlc::CompileError(final, 0, "cannot write the file: " + ec.message());
        }
        return 0;
    } catch (const Kvxmlc::CompileError& e) {
        for (const auto& [temp, final] : files) {
            std::error_code ignored;
            fs::remove(temp, ignored);
        }
        std::fprintf(stderr, "%s:%d: %s\n", e.m_file.c_str(), e.m_line, e.what());
    } catch (const KvXmlLib16::CKvException& e) {
        std::fprintf(stderr, "kvxmlc: %s\n", Kvxmlc::Utf8(e.GetFullMessage()).c_str());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "kvxmlc: %s\n", e.what());
    }
    return 1;
}
