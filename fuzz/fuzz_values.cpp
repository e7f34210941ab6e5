// Every XSD value parser, each result written back as text, and the value arithmetic: big
// integers and decimals (+ - * / %, compare), dates plus and minus durations, date differences
// and comparisons. The first byte picks the operation and the whitespace rule; a NUL byte
// divides the two operands of the arithmetic.
#include "FuzzSupport.h"

#include <string>

using namespace KvXmlLib16;

namespace {

using Rule = CWhitespaceUtils::WhitespaceRule;
using C = CConversions;

void Parse(uint8_t op, const std::u16string& t, Rule r) {
    switch (op % 25) {
    case 0: C::i1FromString(t, r); break;
    case 1: C::i2FromString(t, r); break;
    case 2: C::i4FromString(t, r); break;
    case 3: C::i8FromString(t, r); break;
    case 4: C::ui1FromString(t, r); break;
    case 5: C::ui2FromString(t, r); break;
    case 6: C::ui4FromString(t, r); break;
    case 7: C::ui8FromString(t, r); break;
    case 8: C::r4FromString(t, r); break;
    case 9: C::r8FromString(t, r); break;
    case 10: C::charFromString(t, r); break;
    case 11: C::stringFromString(t, r); break;
    case 12: C::booleanFromString(t, r); break;
    case 13: C::hexBinaryToString(C::hexBinaryFromString(t, r)); break;
    case 14: C::base64BinaryToString(C::base64BinaryFromString(t, r)); break;
    case 15: C::dateToString(C::dateFromString(t, r)); break;
    case 16: C::yearMonthFromString(t, r).ToString(); break;
    case 17: C::monthDayFromString(t, r).ToString(); break;
    case 18: C::timeFromString(t, r).ToString(); break;
    case 19: C::datetimeFromString(t, r).ToString(); break;
    case 20: C::yearToString(C::yearFromString(t, r)); break;
    case 21: C::monthToString(C::monthFromString(t, r)); break;
    case 22: C::dayToString(C::dayFromString(t, r)); break;
    case 23: C::durationToString(C::durationFromString(t, r)); break;
    default: C::decimalToString(C::decimalFromString(t, r)); break;
    }
}

void Arithmetic(uint8_t op, const std::u16string& a, const std::u16string& b) {
    const Rule r = CWhitespaceUtils::WhitespaceRule_Collapse;
    switch (op % 4) {
    case 0: {
        const CBigInteger x = C::integerFromString(a, r), y = C::integerFromString(b, r);
        C::integerToString(x + y);
        C::integerToString(x - y);
        (void)(x < y), (void)(x == y);
        if (a.size() + b.size() < 4000) C::integerToString(x * y); // products of 1M digits are slow, not wrong
        if (y != CBigInteger(0)) C::integerToString(x / y), C::integerToString(x % y);
        break;
    }
    case 1: {
        const CDecimal x = C::decimalFromString(a, r), y = C::decimalFromString(b, r);
        C::decimalToString(x + y);
        C::decimalToString(x - y);
        (void)(x < y), (void)(x == y);
        if (a.size() + b.size() < 4000) C::decimalToString(x * y);
        if (y != CDecimal()) C::decimalToString(x / y);
        break;
    }
    case 2: {
        CDateTime date(a.c_str());
        const CDateTimeSpan span = C::durationFromString(b, r);
        (date + span).ToString();
        (date - span).ToString();
        date += span;
        (void)(span < span);
        break;
    }
    default: {
        const CDateTime x(a.c_str()), y(b.c_str());
        (void)x.CompareTo(y);
        (x - y).ToString();
        break;
    }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 1) return 0;
    const uint8_t op = data[0];
    const std::u16string text = KvFuzz::Widen(data + 1, size - 1);
    try {
        if (op < 200) {
            Parse(op, text, static_cast<Rule>(op / 25 % 4));
            // The big integer is parsed on its own path as well.
            if (op % 25 == 24) C::integerToString(C::integerFromString(text, static_cast<Rule>(op % 4)));
        } else {
            const size_t cut = text.find(u'\0');
            Arithmetic(op, text.substr(0, cut), cut == std::u16string::npos ? u"" : text.substr(cut + 1));
        }
    } catch (const CKvException&) {}
    return 0;
}
