#include "devserver/HttpDate.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <iomanip>
#include <locale>
#include <sstream>

namespace devserver {

namespace {

constexpr std::array<const char*, 7> weekdays = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<const char*, 12> months = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

std::tm utc(std::time_t time)
{
    std::tm parts{};
    gmtime_r(&time, &parts);
    return parts;
}

std::optional<long> zoneSeconds(std::string_view zone)
{
    if (zone == "GMT" || zone == "UTC") return 0;
    if (zone.size() != 5 || (zone[0] != '+' && zone[0] != '-')) return std::nullopt;
    const long value = std::strtol(std::string(zone.substr(1)).c_str(), nullptr, 10);
    const long seconds = (value / 100) * 3600 + (value % 100) * 60;
    return zone[0] == '-' ? -seconds : seconds;
}

} // namespace

std::string httpDate(std::time_t time)
{
    const std::tm t = utc(time);
    char text[64];
    std::snprintf(text, sizeof text, "%s, %02d %s %04d %02d:%02d:%02d GMT",
                  weekdays[static_cast<std::size_t>(t.tm_wday)], t.tm_mday, months[static_cast<std::size_t>(t.tm_mon)],
                  t.tm_year + 1900, t.tm_hour, t.tm_min, t.tm_sec);
    return text;
}

std::string isoDate(std::time_t time)
{
    const std::tm t = utc(time);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02dT%02d:%02d:%02dZ", t.tm_year + 1900, t.tm_mon + 1, t.tm_mday,
                  t.tm_hour, t.tm_min, t.tm_sec);
    return text;
}

std::optional<std::time_t> parseHttpDate(std::string_view text)
{
    std::tm t{};
    std::string zone;
    std::istringstream in{std::string(text)};
    in.imbue(std::locale::classic());
    in >> std::get_time(&t, "%a, %d %b %Y %H:%M:%S") >> zone;
    const auto offset = in ? zoneSeconds(zone) : std::nullopt;
    if (!offset) return std::nullopt;
    return timegm(&t) - *offset;
}

} // namespace devserver
