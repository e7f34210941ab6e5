// A small tour of what the library offers so far.
#include <kvxml/KvXmlLib16.h>

#include <cstdio>
#include <string>

using namespace KvXmlLib16;

static std::string Narrow(const std::u16string& s) {
    std::string out;
    for (char16_t c : s) out += c < 0x80 ? static_cast<char>(c) : '?';
    return out;
}

int main() {
    try {
        throw CKvInvalidValueException(u"Value out of range", CKvException(u"inner cause"));
    } catch (const CKvException& e) {
        std::printf("caught: %s\n", Narrow(e.GetFullMessage()).c_str());
    }
    return 0;
}
