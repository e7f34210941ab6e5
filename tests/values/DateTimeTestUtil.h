#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <string>

#include "kvxml/base/CKvException.h"
#include "kvxml/values/CDateTime.h"
#include "kvxml/values/CDateTimeSpan.h"

namespace DateTimeTestUtil {

using namespace KvXmlLib16;
using DT = CDateTime;

inline std::string Narrow(const std::u16string& s) {
    std::string out;
    for (char16_t c : s)
        out.push_back(c < 128 ? static_cast<char>(c) : '?');
    return out;
}

// The message of the E that f raises, or a marker when it raises another or none.
template <class E = CKvInvalidValueException, class F>
std::u16string MessageOf(F&& f) {
    try {
        f();
    } catch (const E& e) {
        return e.GetMessage();
    } catch (const CKvException& e) {
        return u"<other exception> " + e.GetMessage();
    }
    return u"<no exception>";
}

// By the shape of the text: with "T" a dateTime, with ":" at 2 a time, else a date form.
inline CDateTime Parse(const std::u16string& text) {
    CDateTime d;
    if (text.find(u'T') != std::u16string::npos)
        d.ParseXSDDateTime(text.c_str());
    else if (text.size() > 2 && text[2] == u':')
        d.ParseXSDTime(text.c_str());
    else
        d.ParseXSDDate(text.c_str());
    return d;
}

inline CDateTimeSpan Span(const char16_t* text) {
    CDateTimeSpan s;
    s.ParseXSDDuration(text);
    return s;
}

// Sets the process time zone (POSIX form, no zone database needed) for one scope.
class ZoneScope {
public:
    explicit ZoneScope(const char* zone) {
        const char* old = std::getenv("TZ");
        if (old != nullptr)
            m_old = old;
        m_had = old != nullptr;
        setenv("TZ", zone, 1);
        tzset();
    }
    ~ZoneScope() {
        m_had ? setenv("TZ", m_old.c_str(), 1) : unsetenv("TZ");
        tzset();
    }

private:
    bool m_had = false;
    std::string m_old;
};

} // namespace DateTimeTestUtil
