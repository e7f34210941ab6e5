#pragma once
// Helpers shared by the value tests.

#include <gtest/gtest.h>

#include <string>

#include "kvxml/base/CKvException.h"
#include "kvxml/values/CDateTime.h"
#include "kvxml/values/CDateTimeSpan.h"
#include "support/KvTestText.h"
#include "support/ZoneScope.h"

namespace ValuesTest {

using namespace KvXmlLib16;
using DT = CDateTime;
using KvTest::N;
using KvTest::Narrow;
using KvTest::ZoneScope;

// The message of the E that f raises; marked when another of the family or none is raised.
template <class E = CKvInvalidValueException, class F>
std::string MessageOf(F&& f) {
    return KvTest::MessageOf<E>(f);
}

inline std::u16string W(const std::string& s) { return std::u16string(s.begin(), s.end()); }

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

} // namespace ValuesTest
