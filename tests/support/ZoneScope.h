#pragma once

#include <cstdlib>
#include <ctime>
#include <string>

namespace KvTest {

// Sets the process time zone (POSIX form, no zone database needed) for one scope.
class ZoneScope {
public:
    explicit ZoneScope(const char* zone) {
        const char* old = std::getenv("TZ");
        if (old != nullptr) m_old = old;
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

} // namespace KvTest
