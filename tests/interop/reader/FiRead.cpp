// The reading half of the interoperability check: documents that Debian's Java codec wrote from
// XML files, read by this library and compared with the library's tree of the XML itself (parsed
// by Expat, CDATA markers stripped, as the codec carries CDATA content as plain text).
//   FiRead <manifest.tsv>
// Each line: id, expectation ("pass" or "unsupported:<why>"), .finf file, .xml file.
#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "../../fastinfoset/TreeText.h"
#include "../../support/KvTestText.h"
#include "kvxml/KvXmlLib16.h"

using namespace KvXmlLib16;

namespace {

using KvTest::Narrow;

std::u16string Wide(const std::string& s) { return std::u16string(s.begin(), s.end()); }

// Null text when equal, else where the two trees part or what the reader said.
std::string Outcome(const std::string& finf, const std::string& expected) {
    CXmlDocument document;
    try {
        document.Load(Wide(finf).c_str());
    } catch (const CKvException& e) {
        return "refused: " + Narrow(e.GetFullMessage());
    }
    const std::string actual = KvTest::TreeText(document);
    if (actual == expected) return std::string();
    size_t at = 0;
    while (at < actual.size() && at < expected.size() && actual[at] == expected[at]) ++at;
    const size_t from = at > 40 ? at - 40 : 0;
    return "trees part at character " + std::to_string(at) + ": expected [" + expected.substr(from, 100) + "] got [" +
           actual.substr(from, 100) + "]";
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: FiRead <manifest.tsv>\n");
        return 2;
    }
    std::ifstream manifest(argv[1]);
    int passed = 0;
    int failed = 0;
    std::vector<std::string> apart;
    std::string cachedXml;
    std::string expected;
    std::string line;
    while (std::getline(manifest, line)) {
        std::vector<std::string> field;
        std::stringstream fields(line);
        for (std::string f; std::getline(fields, f, '\t');) field.push_back(f);
        if (field.size() < 4) continue;
        const std::string& id = field[0];
        const std::string& expectation = field[1];
        if (field[3] != cachedXml) {
            CSerializationContext context;
            context.SetStripCDATA(true);
            CXmlDocument xml(context);
            try {
                xml.Load(Wide(field[3]).c_str());
            } catch (const CKvException& e) {
                std::printf("FAILED %s: its XML does not load: %s\n", id.c_str(), Narrow(e.GetFullMessage()).c_str());
                ++failed;
                continue;
            }
            expected = KvTest::TreeText(xml);
            cachedXml = field[3];
        }
        const std::string outcome = Outcome(field[2], expected);
        if (expectation == "pass") {
            if (outcome.empty()) {
                ++passed;
            } else {
                ++failed;
                std::printf("FAILED %s: %s\n", id.c_str(), outcome.c_str());
            }
        } else {
            apart.push_back(id + " (" + expectation.substr(expectation.find(':') + 1) +
                            "): " + (outcome.empty() ? "read and equal" : outcome));
        }
    }
    if (!apart.empty()) {
        std::printf("Features this reader does not support (not counted):\n");
        for (const std::string& a : apart) std::printf("  %s\n", a.c_str());
    }
    std::printf("%d passed, %d failed\n", passed, failed);
    return failed == 0 ? 0 : 1;
}
