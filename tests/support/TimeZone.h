// Another time zone while it exists.
#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

class TimeZone {
public:
    explicit TimeZone(const char* zone)
    {
        if (const char* before = std::getenv("TZ")) {
            m_before = before;
        }
        setenv("TZ", zone, 1);
        tzset();
    }
    ~TimeZone()
    {
        m_before ? setenv("TZ", m_before->c_str(), 1) : unsetenv("TZ");
        tzset();
    }
    TimeZone(const TimeZone&) = delete;
    TimeZone& operator=(const TimeZone&) = delete;

private:
    std::optional<std::string> m_before;
};
