// The time is written as in recordings.
#include "simulator/clsValueLog.h"

#include <cstdio>
#include <ctime>
#include <stdexcept>

namespace simulator {

namespace {

/// "22.11.2026 09:14:05,123;456", the local time now.
std::string localTime()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    std::tm local{};
    localtime_r(&now.tv_sec, &local);
    char date[32];
    std::strftime(date, sizeof date, "%d.%m.%Y %H:%M:%S", &local);
    const long us = now.tv_nsec / 1000;
    char text[64];
    std::snprintf(text, sizeof text, "%s,%03ld;%03ld", date, us / 1000, us % 1000);
    return text;
}

} // namespace

clsValueLog::clsValueLog(const std::string& path) : m_file(path, std::ios::trunc)
{
    m_file << "number;time;us;value;fault" << std::endl;
    if (!m_file) {
        throw std::runtime_error("cannot write the log " + path);
    }
}

void clsValueLog::Sent(const SentValue& value, bool isHeard)
{
    const std::string_view fault = value.isDamaged ? "damaged" : isHeard ? "" : "unheard";
    writeLine(std::to_string(value.number), value.text, fault);
}

void clsValueLog::Received(std::string_view bytes)
{
    std::string text;
    for (const char byte : bytes) {
        text += byte > ' ' && byte <= '~' && byte != ';' ? byte : ' ';
    }
    writeLine({}, "command " + text, {});
    m_file.flush(); // commands are rare
}

void clsValueLog::writeLine(const std::string& number, const std::string& what, std::string_view fault)
{
    m_file << number << ';' << localTime() << ';' << what << ';' << fault << '\n';
}

} // namespace simulator
