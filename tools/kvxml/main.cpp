// kvxml: converts untyped documents between XML, JSON and Fast Infoset, and checks that
// documents read. It uses only the public API: a CXmlDocument loads the input, a CElement
// (the untyped element of wildcards) copies its root and writes it in the chosen format.
#include <kvxml/KvXmlLib16.h>

#include "../common/KvUtf8.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>
#include <vector>

using namespace KvXmlLib16;
namespace fs = std::filesystem;

namespace {

constexpr int kExitOk = 0;
constexpr int kExitFailed = 1;
constexpr int kExitUsage = 2;

const char* const kMainHelp =
    "usage: kvxml <command> [options]\n"
    "\n"
    "commands:\n"
    "  convert IN OUT [options]  convert a document between XML, JSON and Fast Infoset\n"
    "  check FILE...             read each document and report whether it is well formed\n"
    "\n"
    "'kvxml <command> --help' describes a command. '-' stands for standard input or output.\n";

const char* const kConvertHelp =
    "usage: kvxml convert IN OUT [--to xml|json|fi] [--json-mode 0|1|2] [--gzip|--zlib]\n"
    "                            [--utf16] [--indent|--compact]\n"
    "\n"
    "The input's format is found from its content: XML text (UTF-8 or UTF-16), JSON,\n"
    "Fast Infoset, each possibly gzip or zlib compressed. The output's format comes from\n"
    "--to, else from OUT's extension (.xml, .json, .fi or .finf, optionally followed by\n"
    ".gz, which implies --gzip); standard output defaults to XML.\n"
    "\n"
    "  --to FORMAT       xml, json or fi\n"
    "  --json-mode N     JSON round-trip mode, for reading and writing JSON: 0 plain members,\n"
    "                    1 also attributes and text, 2 (default) also namespaces\n"
    "  --gzip, --zlib    compress the output (files take gzip only)\n"
    "  --utf16           write UTF-16 instead of UTF-8 (XML and JSON)\n"
    "  --indent          indent the output (default); --compact writes it on one line\n"
    "\n"
    "The output file is written under a temporary name and renamed when complete.\n";

const char* const kCheckHelp =
    "usage: kvxml check FILE...\n"
    "\n"
    "Reads each document (XML, JSON or Fast Infoset, possibly compressed) and prints\n"
    "'FILE: ok' or the reason it cannot be read. Exits 0 when every document reads, else 1.\n";

struct UsageError {
    std::string text;
};

enum class Format { Unknown, Xml, Json, FastInfoset };

struct ConvertOptions {
    std::string in;
    std::string out;
    Format to = Format::Unknown;
    int jsonMode = 2;
    CompressionType compression = CompressionType_None;
    bool utf16 = false;
    bool formatted = true;
};

using KvTools::ToUtf8;

// One line: the message and its inner messages joined, then the path when there is one.
std::string DescribeException(const CKvException& e) {
    std::string line = ToUtf8(e.GetFullMessage());
    for (char& c : line)
        if (c == '\n' || c == '\r') c = ' ';
    while (!line.empty() && line.back() == ' ') line.pop_back();
    const std::u16string path = e.GetPath();
    if (!path.empty() && line.find(ToUtf8(path)) == std::string::npos) line += " (at " + ToUtf8(path) + ")";
    return line;
}

std::vector<unsigned char> ReadInput(const std::string& name) {
    std::vector<unsigned char> bytes;
    if (name == "-") {
        bytes.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
        return bytes;
    }
    std::error_code ec;
    if (fs::is_directory(name, ec)) throw std::runtime_error(name + " is a directory");
    std::ifstream file(name, std::ios::binary);
    if (!file) throw std::runtime_error("cannot open " + name + ": " + std::strerror(errno));
    bytes.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    if (file.bad()) throw std::runtime_error("cannot read " + name);
    return bytes;
}

// JSON opens with an object or an array, in UTF-8 (with or without a byte-order mark) or in
// UTF-16 little endian with its mark, as JSON files of the library are written.
bool StartsLikeJson(const unsigned char* bytes, size_t count) {
    if (bytes == nullptr) return false;
    size_t i = 0;
    size_t step = 1;
    if (count >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF) {
        i = 3;
    } else if (count >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) {
        i = 2;
        step = 2;
    }
    auto high = [&](size_t at) { return step == 2 && at + 1 < count ? bytes[at + 1] : 0; };
    while (i + step <= count && high(i) == 0 &&
           (bytes[i] == ' ' || bytes[i] == '\t' || bytes[i] == '\r' || bytes[i] == '\n'))
        i += step;
    return i + step <= count && high(i) == 0 && (bytes[i] == '{' || bytes[i] == '[');
}

// The loader takes JSON bytes as UTF-8; UTF-16 text goes through the wide form.
void LoadJsonBytes(CXmlDocument& document, const unsigned char* bytes, uint32_t count) {
    CBinaryData xml;
    if (count >= 2 && bytes[0] == 0xFF && bytes[1] == 0xFE) {
        std::u16string text;
        text.reserve(count / 2);
        for (uint32_t i = 2; i + 1 < count; i += 2) text += static_cast<char16_t>(bytes[i] | (bytes[i + 1] << 8));
        xml = document.LoadJson(text.c_str());
    } else {
        xml = document.LoadJsonStream(bytes, count);
    }
    document.LoadXmlStream(xml.GetData(), xml.GetLength());
}

// Loads the bytes as the library reads them (XML text or Fast Infoset, inflated when
// compressed); JSON, which the loader does not take directly, is turned into XML first.
void LoadDocument(CXmlDocument& document, const std::vector<unsigned char>& bytes) {
    if (bytes.size() > UINT32_MAX) throw CKvException(u"The input is larger than 4 GB and cannot be read");
    const uint32_t count = static_cast<uint32_t>(bytes.size());
    if (StartsLikeJson(bytes.data(), bytes.size())) {
        LoadJsonBytes(document, bytes.data(), count);
    } else {
        try {
            document.LoadXmlStream(bytes.data(), count);
        } catch (const CKvException&) {
            // Compressed JSON is only seen once inflated; the loader leaves the inflated bytes.
            if (!StartsLikeJson(document.GetInputBuffer(), document.GetInputSize())) throw;
            const std::vector<unsigned char> inflated(document.GetInputBuffer(),
                                                      document.GetInputBuffer() + document.GetInputSize());
            LoadJsonBytes(document, inflated.data(), static_cast<uint32_t>(inflated.size()));
        }
    }
    if (document.GetDocumentElement() == nullptr) throw CKvException(u"The document has no root element");
}

// The untyped root as the converter writes it: on the root it declares the namespaces of the
// context, as generated classes do, so that every writer knows the prefixes before it needs them.
class CDocumentRoot : public CElement {
public:
    CDocumentRoot() : CElement(u"") {}
    void ToXml_Int(CXmlWriter* writer, bool isRoot, const char16_t* namespaceUri, const CSerializationContext& context,
                   bool flag) const override {
        if (isRoot) {
            for (const auto& entry : context.GetNamespaceAliases().GetMap())
                writer->AddNamespaceAlias(entry.second, entry.first);
            const std::u16string defaultNamespace = context.GetDefaultNamespaceURI();
            if (!defaultNamespace.empty()) writer->SetDefaultNamespace(defaultNamespace);
        }
        CElement::ToXml_Int(writer, isRoot, namespaceUri, context, flag);
    }
};

bool IsBlank(const std::u16string& text) {
    for (char16_t c : text)
        if (c != u' ' && c != u'\t' && c != u'\r' && c != u'\n') return false;
    return true;
}

// Walks the untyped tree without recursion (documents may nest deeply): drops blank text of
// elements that have children, which is only the input's indentation and would otherwise be
// written again around the new one, and gathers the namespaces in use.
void PrepareTree(CElement& root, std::vector<std::u16string>& namespaces) {
    std::vector<CElement*> pending{&root};
    auto note = [&namespaces](const std::u16string& uri) {
        if (!uri.empty() && std::find(namespaces.begin(), namespaces.end(), uri) == namespaces.end())
            namespaces.push_back(uri);
    };
    while (!pending.empty()) {
        CElement* element = pending.back();
        pending.pop_back();
        note(element->GetNamespace());
        const CSmartPtr<CAttributeCol> attributes = element->GetAttributes();
        for (int32_t i = 0; i < attributes->GetCount(); ++i) note(attributes->Item(i)->GetNamespace());
        const CSmartPtr<CElementCol> children = element->GetChildElements();
        const int32_t count = children->GetCount();
        if (count > 0 && IsBlank(element->GetText())) element->SetText(u"");
        for (int32_t i = count - 1; i >= 0; --i) pending.push_back(children->Item(i).get());
    }
}

// The root's namespace becomes the default one; every other namespace keeps the prefix the
// input gave it where there was one, so that the output reads like the input.
void DeclareNamespaces(CSerializationContext& context, const CXmlDocument& document, CElement& root,
                       const std::vector<std::u16string>& namespaces) {
    const std::u16string rootNamespace = root.GetNamespace();
    if (!rootNamespace.empty()) context.SetDefaultNamespaceURI(rootNamespace.c_str());
    CNamespaceAliasMap& aliases = context.GetNamespaceAliases();
    int32_t generated = 0;
    for (const std::u16string& uri : namespaces) {
        if (uri == rootNamespace) continue;
        std::u16string alias = document.LookupAliasFromNamespace(uri.c_str());
        if (uri == u"http://www.w3.org/2001/XMLSchema-instance" && alias.empty()) alias = u"xsi";
        while (alias.empty() || aliases.DoesAliasExist(alias.c_str())) {
            const std::string number = std::to_string(++generated);
            alias = u"ns" + std::u16string(number.begin(), number.end());
        }
        aliases.Add(alias.c_str(), uri.c_str());
    }
}

Format FormatFromName(std::string_view name) {
    if (name == "xml") return Format::Xml;
    if (name == "json") return Format::Json;
    if (name == "fi" || name == "finf") return Format::FastInfoset;
    return Format::Unknown;
}

std::string NextValue(const std::vector<std::string>& args, size_t& i) {
    if (i + 1 >= args.size()) throw UsageError{"option " + args[i] + " needs a value"};
    return args[++i];
}

ConvertOptions ParseConvert(const std::vector<std::string>& args) {
    ConvertOptions options;
    std::vector<std::string> positional;
    bool compressionGiven = false;
    bool layoutGiven = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--to") {
            const std::string v = NextValue(args, i);
            options.to = FormatFromName(v);
            if (options.to == Format::Unknown || v == "finf")
                throw UsageError{"--to takes xml, json or fi, not '" + v + "'"};
        } else if (a == "--json-mode") {
            const std::string v = NextValue(args, i);
            if (v != "0" && v != "1" && v != "2") throw UsageError{"--json-mode takes 0, 1 or 2, not '" + v + "'"};
            options.jsonMode = v[0] - '0';
        } else if (a == "--gzip" || a == "--zlib") {
            if (compressionGiven) throw UsageError{"give at most one of --gzip and --zlib"};
            compressionGiven = true;
            options.compression = a == "--gzip" ? CompressionType_GZip : CompressionType_ZLib;
        } else if (a == "--utf16") {
            options.utf16 = true;
        } else if (a == "--indent" || a == "--compact") {
            if (layoutGiven) throw UsageError{"give at most one of --indent and --compact"};
            layoutGiven = true;
            options.formatted = a == "--indent";
        } else if (a.size() > 1 && a[0] == '-') {
            throw UsageError{"unknown option '" + a + "'"};
        } else {
            positional.push_back(a);
        }
    }
    if (positional.size() != 2)
        throw UsageError{positional.size() < 2 ? "convert needs an input and an output"
                                               : "convert takes one input and one output"};
    options.in = positional[0];
    options.out = positional[1];
    if (options.to == Format::Unknown) {
        if (options.out == "-") {
            options.to = Format::Xml;
        } else {
            fs::path out(options.out);
            std::string ext = out.extension().string();
            if (ext == ".gz") {
                if (options.compression == CompressionType_None) options.compression = CompressionType_GZip;
                ext = out.stem().extension().string();
            }
            options.to = ext.empty() ? Format::Unknown : FormatFromName(ext.substr(1));
            if (options.to == Format::Unknown)
                throw UsageError{"cannot tell the output format from '" + options.out + "'; give --to"};
        }
    }
    if (options.utf16 && options.to == Format::FastInfoset)
        throw UsageError{"--utf16 applies to XML and JSON output only"};
    return options;
}

// Writes the element in the chosen format into a file, using the library's file writers.
void WriteFile(const CElement& root, const ConvertOptions& o, const std::u16string& file,
               const CSerializationContext& context) {
    const XmlEncoding encoding = o.utf16 ? XmlEncoding_UTF16 : XmlEncoding_UTF8;
    switch (o.to) {
    case Format::Xml:
        root.ToXmlFile(file.c_str(), true, o.formatted, encoding, EOLType_LF, context, o.compression);
        break;
    case Format::Json: root.ToJsonFile(file.c_str(), o.formatted, encoding, EOLType_LF, context, o.compression); break;
    case Format::FastInfoset: root.ToFastInfosetFile(file.c_str(), FInfoDecl_None, context, o.compression); break;
    case Format::Unknown: break;
    }
}

CBinaryData WriteBytes(const CElement& root, const ConvertOptions& o, const CSerializationContext& context) {
    const XmlEncoding encoding = o.utf16 ? XmlEncoding_UTF16 : XmlEncoding_UTF8;
    switch (o.to) {
    case Format::Json: return root.ToJsonStream(o.formatted, encoding, EOLType_LF, context, o.compression);
    case Format::FastInfoset: return root.ToFastInfosetStream(FInfoDecl_None, context, o.compression);
    default: return root.ToXmlStream(true, o.formatted, encoding, EOLType_LF, context, o.compression);
    }
}

// A name beside the target, so that the final rename stays within one file system.
fs::path TemporaryBeside(const fs::path& target) {
    std::random_device random;
    const fs::path dir = target.has_parent_path() ? target.parent_path() : fs::path(".");
    for (int attempt = 0; attempt < 100; ++attempt) {
        fs::path candidate = dir / ("." + target.filename().string() + ".kvxml-" + std::to_string(random()));
        std::error_code ec;
        if (!fs::exists(candidate, ec)) return candidate;
    }
    throw std::runtime_error("cannot find a free temporary name beside " + target.string());
}

int Convert(const ConvertOptions& o) {
    CSerializationContext context;
    context.GetJsonContext().SetSupportRoundtrip(static_cast<JsonRoundTrip>(o.jsonMode));
    const std::vector<unsigned char> input = ReadInput(o.in);

    CXmlDocument document(context);
    LoadDocument(document, input);
    CSmartPtr<CDocumentRoot> rootHolder = new CDocumentRoot();
    CDocumentRoot& root = *rootHolder;
    root.CopyXmlElement(document.GetDocumentElement());
    std::vector<std::u16string> namespaces;
    PrepareTree(root, namespaces);
    DeclareNamespaces(context, document, root, namespaces);

    if (o.out == "-") {
        const CBinaryData bytes = WriteBytes(root, o, context);
        std::cout.write(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetLength());
        std::cout.flush();
        if (!std::cout) throw std::runtime_error("cannot write to standard output");
        return kExitOk;
    }
    const fs::path target(o.out);
    const fs::path temporary = TemporaryBeside(target);
    try {
        WriteFile(root, o, temporary.u16string(), context);
        fs::rename(temporary, target);
    } catch (...) {
        std::error_code ec;
        fs::remove(temporary, ec);
        throw;
    }
    return kExitOk;
}

int Check(const std::vector<std::string>& files) {
    int status = kExitOk;
    for (const std::string& name : files) {
        std::string verdict = "ok";
        try {
            CXmlDocument document;
            LoadDocument(document, ReadInput(name));
        } catch (const CKvException& e) {
            verdict = DescribeException(e);
            status = kExitFailed;
        } catch (const std::exception& e) {
            verdict = e.what();
            status = kExitFailed;
        }
        std::cout << name << ": " << verdict << '\n';
    }
    return status;
}

bool WantsHelp(const std::vector<std::string>& args) {
    for (const std::string& a : args)
        if (a == "--help" || a == "-h") return true;
    return false;
}

int Run(const std::vector<std::string>& args) {
    if (args.empty()) throw UsageError{"no command given; try 'kvxml --help'"};
    const std::string& command = args[0];
    const std::vector<std::string> rest(args.begin() + 1, args.end());
    if (command == "--help" || command == "-h" || command == "help") {
        std::cout << kMainHelp;
        return kExitOk;
    }
    if (command == "convert") {
        if (WantsHelp(rest)) {
            std::cout << kConvertHelp;
            return kExitOk;
        }
        return Convert(ParseConvert(rest));
    }
    if (command == "check") {
        if (WantsHelp(rest)) {
            std::cout << kCheckHelp;
            return kExitOk;
        }
        if (rest.empty()) throw UsageError{"check needs at least one file"};
        for (const std::string& a : rest)
            if (a.size() > 1 && a[0] == '-') throw UsageError{"unknown option '" + a + "'"};
        return Check(rest);
    }
    throw UsageError{"unknown command '" + command + "'; try 'kvxml --help'"};
}

} // namespace

int main(int argc, char** argv) {
    try {
        return Run(std::vector<std::string>(argv + 1, argv + argc));
    } catch (const UsageError& e) {
        std::cerr << "kvxml: " << e.text << '\n';
        return kExitUsage;
    } catch (const CKvException& e) {
        std::cerr << "kvxml: " << DescribeException(e) << '\n';
    } catch (const std::exception& e) {
        std::cerr << "kvxml: " << e.what() << '\n';
    } catch (...) {
        std::cerr << "kvxml: unexpected failure\n";
    }
    return kExitFailed;
}
