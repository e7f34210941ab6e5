// Peak resident memory of a process that reads the shared purchase-order document into objects
// with FromXml and does nothing else. The text is read into a string first, as a caller of FromXml
// holds it; the report gives the resident size before the call (that text and the program) and
// the peak. `fromxml_rss file` reads with FromXmlFile instead, with no text held by the caller.
//   KVXML_BENCH_DOC=/path/po.xml build-rel/bench/fromxml_rss [file]
// The objects are the classes generated from po.xsd.
#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>

#include "PoDocument.h"
#include "po.h"
using Orders = GeneratedPo::COrders;

using namespace KvXmlLib16;

namespace {

// A size in MiB from /proc/self/status: VmRSS now, VmHWM the peak.
double StatusMiB(const char* key) {
    std::ifstream in("/proc/self/status");
    for (std::string line; std::getline(in, line);)
        if (line.rfind(key, 0) == 0) return std::stod(line.substr(std::strlen(key))) / 1024.0;
    return -1;
}

} // namespace

int main(int argc, char** argv) {
    const bool fromFile = argc > 1 && std::strcmp(argv[1], "file") == 0;
    const std::string& path = BenchDoc::PoDocumentPath();
    CSerializationContext context;
    context.SetDefaultNamespaceURI(u"urn:example:po");
    // Sized once, so that growing the string leaves no peak of its own.
    std::string text;
    if (!fromFile) {
        std::ifstream in(path, std::ios::binary | std::ios::ate);
        text.resize(static_cast<size_t>(in.tellg()));
        in.seekg(0).read(text.data(), static_cast<std::streamsize>(text.size()));
    }
    const double before = StatusMiB("VmRSS:");
    CSmartPtr<Orders> orders = new Orders();
    if (fromFile)
        orders->FromXmlFile(std::u16string(path.begin(), path.end()).c_str(), context);
    else
        orders->FromXml(text.c_str(), context);
    std::printf("%s of %s: resident before %.1f MiB, peak %.1f MiB\n", fromFile ? "FromXmlFile" : "FromXml",
                path.c_str(), before, StatusMiB("VmHWM:"));
    return 0;
}
