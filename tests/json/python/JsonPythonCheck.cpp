// Feeds the JSON that ToJson writes for the example classes, in every mode, formatted and not, to
// Python's own json module. Everything must be accepted except the shapes that the format gives
// as non-JSON by design, which are named here and must be refused (so that the list stays true).
//   kvxml_json_python_check <python3>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "../JsonSamples.h"

using namespace JsonTest;
using namespace PurchaseOrderSample;

namespace {

struct Sample {
    const char* name;
    CSmartPtr<CXmlObjectBase> object;
    // Why the text is no JSON, or null when it must be JSON.
    const char* notJson;
};

std::string Utf8(const std::u16string& text) {
    const CBinaryData bytes = WideToUtf8(text.c_str());
    return std::string(reinterpret_cast<const char*>(bytes.GetData()), bytes.GetLength());
}

// True when Python accepts the text.
bool PythonAccepts(const std::string& python, const std::string& json) {
    const std::string command =
        "PYTHONIOENCODING=utf-8 " + python + " -c 'import json,sys; json.load(sys.stdin)' 2>/dev/null";
    FILE* pipe = popen(command.c_str(), "w");
    if (!pipe) return false;
    fwrite(json.data(), 1, json.size(), pipe);
    return pclose(pipe) == 0;
}

} // namespace

int main(int argc, char** argv) {
    const std::string python = argc > 1 ? argv[1] : "python3";
    CSmartPtr<CItem> item = MakeOrder()->GetItems()->Item(1);
    item->SetElementName(u"item");
    CSmartPtr<CAddress> address = MakeOrder()->GetShipTo();
    address->SetElementName(u"shipTo");
    const Sample samples[] = {
        {"checkout paying by card", MakeCheckout().get(), nullptr},
        {"purchase-order item", item.get(), nullptr},
        {"address with non-ASCII text", address.get(), nullptr},
        {"purchase order", MakeOrder().get(), "the payment after the item collection lands inside the item array"},
        {"checkout paying from a wallet", MakeCheckout(2).get(),
         "items of a primitive collection repeat their name and the ']' has no '['"},
    };
    int failures = 0;
    for (const Sample& sample : samples) {
        for (JsonRoundTrip mode : {JsonRoundTrip_None, JsonRoundTrip_Simple, JsonRoundTrip_Full}) {
            for (bool formatted : {false, true}) {
                std::u16string json;
                try {
                    json = sample.object->ToJson(formatted, EOLType_LF, SampleContext(mode));
                } catch (const CKvException& e) {
                    std::printf("%s: %s\n", sample.name, Utf8(e.GetFullMessage()).c_str());
                    return EXIT_FAILURE;
                }
                const bool accepted = PythonAccepts(python, Utf8(json));
                if (accepted == (sample.notJson == nullptr)) continue;
                ++failures;
                std::printf("%s, mode %d, %s: Python %s it%s%s\n%s\n", sample.name, static_cast<int>(mode),
                            formatted ? "formatted" : "unformatted", accepted ? "accepts" : "refuses",
                            sample.notJson ? ", although " : "", sample.notJson ? sample.notJson : "",
                            Utf8(json).c_str());
            }
        }
    }
    std::printf("%d of %d texts as expected\n", 30 - failures, 30);
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
