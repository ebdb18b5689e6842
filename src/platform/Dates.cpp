#include "platform/Dates.h"

#include <date/date.h>

#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>

namespace tidemark::dates {

namespace {

using namespace std::chrono_literals;
using Nanoseconds = std::chrono::nanoseconds;

constexpr std::array<std::string_view, 7> weekdayNames{"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr std::array<std::string_view, 12> monthNames{"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                                      "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

bool isDigit(char c)
{
    return c >= '0' && c <= '9';
}
char lowered(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool equalsIgnoringCase(std::string_view a, std::string_view b)
{
    if (a.size() != b.size()) return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (lowered(a[i]) != lowered(b[i])) return false;
    return true;
}

/// Takes a text apart from front to back; a step that does not match makes all later ones fail too.
class Scanner
{
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    bool failed() const { return failed_; }
    bool complete() const { return !failed_ && rest_.empty(); }

    bool skip(std::string_view literal)
    {
        if (failed_ || !rest_.starts_with(literal)) return fail();
        rest_.remove_prefix(literal.size());
        return true;
    }

    /// Like skip, without failing where the text goes on otherwise.
    bool accept(std::string_view literal)
    {
        if (failed_ || !equalsIgnoringCase(rest_.substr(0, literal.size()), literal)) return false;
        rest_.remove_prefix(literal.size());
        return true;
    }

    int number(std::size_t minimumDigits, std::size_t maximumDigits)
    {
        int value = 0;
        std::size_t digits = 0;
        while (digits < maximumDigits && digits < rest_.size() && isDigit(rest_[digits]))
            value = value * 10 + (rest_[digits++] - '0');
        if (digits < minimumDigits) fail();
        rest_.remove_prefix(digits);
        return value;
    }

    /// The position of the name that comes next.
    template <std::size_t N>
    int name(const std::array<std::string_view, N>& names)
    {
        for (std::size_t i = 0; i < N; ++i)
            if (accept(names[i])) return static_cast<int>(i);
        fail();
        return 0;
    }

private:
    bool fail()
    {
        failed_ = true;
        return false;
    }

    std::string_view rest_;
    bool failed_ = false;
};

/// Seconds east of Greenwich of "GMT", "UTC" or an offset.
std::chrono::seconds parseZone(Scanner& scanner)
{
    if (scanner.accept("GMT") || scanner.accept("UTC")) return 0s;
    bool west = scanner.accept("-");
    if (!west) scanner.skip("+");
    auto hours = scanner.number(2, 2);
    scanner.accept(":");
    auto minutes = scanner.number(2, 2);
    if (hours > 23 || minutes > 59) scanner.skip("invalid offset");
    auto offset = std::chrono::hours(hours) + std::chrono::minutes(minutes);
    return west ? -offset : offset;
}

struct ClockFields
{
    int hour = 0;
    int minute = 0;
    int second = 0;
};

ClockFields parseClock(Scanner& scanner)
{
    ClockFields clock;
    clock.hour = scanner.number(2, 2);
    scanner.skip(":");
    clock.minute = scanner.number(2, 2);
    scanner.skip(":");
    clock.second = scanner.number(2, 2);
    return clock;
}

std::optional<Time> timeFromFields(date::year_month_day day, ClockFields clock, std::chrono::seconds offset)
{
    // Time counts nanoseconds in 64 bits, which end in the year 2262.
    constexpr date::year first{1678};
    constexpr date::year last{2261};
    if (!day.ok() || day.year() < first || day.year() > last) return std::nullopt;
    if (clock.hour > 23 || clock.minute > 59 || clock.second > 59) return std::nullopt;
    return date::sys_days(day) + std::chrono::hours(clock.hour) + std::chrono::minutes(clock.minute) +
           std::chrono::seconds(clock.second) - offset;
}

date::year_month_day makeDay(int year, int month, int day)
{
    return date::year(year) / month / day;
}

CalendarFields gmtFields(Time time)
{
    auto day = date::floor<date::days>(time);
    date::year_month_day ymd(day);
    date::hh_mm_ss clock(date::floor<std::chrono::seconds>(time - day));
    CalendarFields fields;
    fields.year = static_cast<int>(ymd.year());
    fields.month = static_cast<int>(static_cast<unsigned>(ymd.month()));
    fields.day = static_cast<int>(static_cast<unsigned>(ymd.day()));
    fields.weekday = static_cast<int>(date::weekday(day).c_encoding()) + 1;
    fields.hour = static_cast<int>(clock.hours().count());
    fields.minute = static_cast<int>(clock.minutes().count());
    fields.second = static_cast<int>(clock.seconds().count());
    return fields;
}

int milliseconds(Time time)
{
    auto fraction = time - date::floor<std::chrono::seconds>(time);
    return static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(fraction).count());
}

std::string padded(int value, std::size_t width)
{
    auto digits = std::to_string(value);
    return digits.size() < width ? std::string(width - digits.size(), '0') + digits : digits;
}

/// What a run of one pattern letter stands for; nothing for letters without a meaning.
std::optional<int> fieldOf(char letter, const CalendarFields& fields, int fraction)
{
    switch (letter) {
    case 'y':
        return fields.year;
    case 'M':
        return fields.month;
    case 'd':
        return fields.day;
    case 'H':
        return fields.hour;
    case 'm':
        return fields.minute;
    case 's':
        return fields.second;
    case 'S':
        return fraction;
    default:
        return std::nullopt;
    }
}

/// Copies quoted text at the front of `pattern` and takes it off; two quotes stand for one.
void appendQuoted(std::string& text, std::string_view& pattern)
{
    pattern.remove_prefix(1);
    if (pattern.starts_with('\'')) {
        text += '\'';
        pattern.remove_prefix(1);
        return;
    }
    auto end = std::min(pattern.find('\''), pattern.size());
    text += pattern.substr(0, end);
    pattern.remove_prefix(std::min(end + 1, pattern.size()));
}

std::string formatFields(const CalendarFields& fields, int fraction, std::string_view pattern)
{
    std::string text;
    while (!pattern.empty()) {
        if (pattern.front() == '\'') {
            appendQuoted(text, pattern);
            continue;
        }
        auto run = std::min(pattern.find_first_not_of(pattern.front()), pattern.size());
        if (auto value = fieldOf(pattern.front(), fields, fraction))
            text += padded(*value, run);
        else
            text += pattern.substr(0, run);
        pattern.remove_prefix(run);
    }
    return text;
}

template <class... Fields>
std::string print(const char* format, Fields... fields)
{
    char buffer[96];
    auto length = std::snprintf(buffer, sizeof buffer, format, fields...);
    return {buffer, static_cast<std::size_t>(length)};
}

} // namespace

Time fromSeconds(Seconds seconds)
{
    constexpr double limit = 9.2e9; // within the nanoseconds that 64 bits hold
    if (std::isnan(seconds)) return Time{};
    auto clamped = std::min(std::max(seconds, -limit), limit);
    auto whole = std::floor(clamped);
    auto fraction = std::llround((clamped - whole) * 1e9);
    return Time(std::chrono::seconds(static_cast<std::int64_t>(whole)) + Nanoseconds(fraction));
}

Seconds toSeconds(Time time)
{
    auto whole = date::floor<std::chrono::seconds>(time);
    auto fraction = Nanoseconds(time - whole).count();
    return static_cast<double>(whole.time_since_epoch().count()) + static_cast<double>(fraction) * 1e-9;
}

std::optional<Time> parseHttpDate(std::string_view text)
{
    Scanner scanner(text);
    scanner.name(weekdayNames);
    scanner.skip(", ");
    auto day = scanner.number(1, 2);
    scanner.skip(" ");
    auto month = scanner.name(monthNames) + 1;
    scanner.skip(" ");
    auto year = scanner.number(4, 4);
    scanner.skip(" ");
    auto clock = parseClock(scanner);
    scanner.skip(" ");
    auto offset = parseZone(scanner);
    if (!scanner.complete()) return std::nullopt;
    return timeFromFields(makeDay(year, month, day), clock, offset);
}

std::string formatHttpDate(Time time)
{
    auto fields = gmtFields(time);
    auto weekday = weekdayNames[static_cast<std::size_t>(fields.weekday - 1)];
    auto month = monthNames[static_cast<std::size_t>(fields.month - 1)];
    return print("%s, %02d %s %04d %02d:%02d:%02d +0000", weekday.data(), fields.day, month.data(), fields.year,
                 fields.hour, fields.minute, fields.second);
}

std::optional<Time> parseIsoDate(std::string_view text)
{
    Scanner scanner(text);
    auto year = scanner.number(4, 4);
    scanner.skip("-");
    auto month = scanner.number(2, 2);
    scanner.skip("-");
    auto day = scanner.number(2, 2);
    scanner.skip("T");
    auto clock = parseClock(scanner);
    scanner.skip("Z");
    if (!scanner.complete()) return std::nullopt;
    return timeFromFields(makeDay(year, month, day), clock, 0s);
}

std::string formatIsoDate(Time time)
{
    auto fields = gmtFields(time);
    return print("%04d-%02d-%02dT%02d:%02d:%02dZ", fields.year, fields.month, fields.day, fields.hour, fields.minute,
                 fields.second);
}

std::string formatLocal(Time time, std::string_view pattern)
{
    return formatFields(localFields(time), milliseconds(time), pattern);
}

std::string formatGmt(Time time, std::string_view pattern)
{
    return formatFields(gmtFields(time), milliseconds(time), pattern);
}

CalendarFields localFields(Time time)
{
    // The C library's zone follows TZ and /etc/localtime while a program runs.
    ::tzset();
    auto seconds = static_cast<std::time_t>(date::floor<std::chrono::seconds>(time).time_since_epoch().count());
    std::tm local{};
    ::localtime_r(&seconds, &local);
    return {local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_wday + 1,
            local.tm_hour,        local.tm_min,     local.tm_sec};
}

} // namespace tidemark::dates
