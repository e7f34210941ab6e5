#pragma once
// Date and duration helpers shared by the value tests.

#include <gtest/gtest.h>

#include <string>

#include "kvxml/base/CKvException.h"
#include "kvxml/values/CDateTime.h"
#include "kvxml/values/CDateTimeSpan.h"
#include "support/KvTestText.h"
#include "support/ZoneScope.h"

namespace DateTimeTestUtil {

using namespace KvXmlLib16;
using DT = CDateTime;

using KvTest::Narrow;

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

using KvTest::ZoneScope;

} // namespace DateTimeTestUtil
