#include "core/DateTime.h"

#include "core/Strings.h"
#include "platform/Platform.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <vector>

namespace corva {

namespace {

constexpr long long kEpochOffset = 25569; // days from 1899-12-30 to 1970-01-01

const char* kMonths[] = {"January", "February", "March",     "April",   "May",      "June",
                         "July",    "August",   "September", "October", "November", "December"};
const char* kMonthsShort[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                              "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
const char* kDays[] = {"Sunday",   "Monday", "Tuesday", "Wednesday",
                       "Thursday", "Friday", "Saturday"};
const char* kDaysShort[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};

struct Parts {
    int y = 1899, mo = 12, d = 30, h = 0, mi = 0, s = 0;
};

Parts split(double serial) {
    Parts p;
    double days = std::floor(serial);
    double fraction = serial - days;
    long long seconds = std::llround(fraction * 86400.0);
    if (seconds >= 86400) {
        seconds -= 86400;
        days += 1;
    }
    CivilFromDays(static_cast<long long>(days) - kEpochOffset, p.y, p.mo, p.d);
    p.h = static_cast<int>(seconds / 3600);
    p.mi = static_cast<int>((seconds / 60) % 60);
    p.s = static_cast<int>(seconds % 60);
    return p;
}

} // namespace

long long DaysFromCivil(long long y, int m, int d) {
    y -= m <= 2;
    const long long era = (y >= 0 ? y : y - 399) / 400;
    const long long yoe = y - era * 400;
    const long long doy = (153 * (m + (m > 2 ? -3 : 9)) + 2) / 5 + d - 1;
    const long long doe = yoe * 365 + yoe / 4 - yoe / 100 + doy;
    return era * 146097 + doe - 719468;
}

void CivilFromDays(long long z, int& year, int& month, int& day) {
    z += 719468;
    const long long era = (z >= 0 ? z : z - 146096) / 146097;
    const long long doe = z - era * 146097;
    const long long yoe = (doe - doe / 1460 + doe / 36524 - doe / 146096) / 365;
    const long long doy = doe - (365 * yoe + yoe / 4 - yoe / 100);
    const long long mp = (5 * doy + 2) / 153;
    day = static_cast<int>(doy - (153 * mp + 2) / 5 + 1);
    month = static_cast<int>(mp < 10 ? mp + 3 : mp - 9);
    year = static_cast<int>(yoe + era * 400 + (month <= 2));
}

const char* MonthName(int month) {
    return month >= 1 && month <= 12 ? kMonths[month - 1] : "";
}
const char* MonthShortName(int month) {
    return month >= 1 && month <= 12 ? kMonthsShort[month - 1] : "";
}
const char* DayShortName(int weekday) {
    return weekday >= 1 && weekday <= 7 ? kDaysShort[weekday - 1] : "";
}

DateTime DateTime::fromParts(int year, int month, int day, int hour, int minute, int second) {
    // Months and days out of range roll over, as date arithmetic expects.
    long long y = year + (month - 1) / 12;
    int m = (month - 1) % 12;
    if (m < 0) {
        m += 12;
        --y;
    }
    long long days = DaysFromCivil(y, m + 1, 1) + (day - 1) + kEpochOffset;
    double time = (hour * 3600.0 + minute * 60.0 + second) / 86400.0;
    return DateTime(static_cast<double>(days) + time);
}

DateTime DateTime::fromTimeT(long long t) {
    std::time_t tt = static_cast<std::time_t>(t);
    std::tm local{};
    localtime_r(&tt, &local);
    return fromParts(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                     local.tm_min, local.tm_sec);
}

DateTime DateTime::fromTimePoint(std::chrono::system_clock::time_point tp) {
    auto ms = std::chrono::duration_cast<std::chrono::milliseconds>(tp.time_since_epoch()).count();
    long long secs = ms / 1000;
    if (ms % 1000 < 0) --secs;
    DateTime base = fromTimeT(secs);
    return DateTime(base.serial_ + static_cast<double>(ms - secs * 1000) / 86400000.0);
}

DateTime DateTime::now() {
    return fromTimePoint(platform::current().clock().now());
}
DateTime DateTime::today() {
    return now().dateOnly();
}

int DateTime::year() const {
    return split(serial_).y;
}
int DateTime::month() const {
    return split(serial_).mo;
}
int DateTime::day() const {
    return split(serial_).d;
}
int DateTime::hour() const {
    return split(serial_).h;
}
int DateTime::minute() const {
    return split(serial_).mi;
}
int DateTime::second() const {
    return split(serial_).s;
}
int DateTime::weekday() const {
    long long days = static_cast<long long>(std::floor(serial_));
    // 1899-12-30 was a Saturday.
    long long w = (days + 6) % 7;
    if (w < 0) w += 7;
    return static_cast<int>(w) + 1;
}
DateTime DateTime::dateOnly() const {
    return DateTime(std::floor(serial_));
}

long long DateTime::toTimeT() const {
    Parts p = split(serial_);
    std::tm local{};
    local.tm_year = p.y - 1900;
    local.tm_mon = p.mo - 1;
    local.tm_mday = p.d;
    local.tm_hour = p.h;
    local.tm_min = p.mi;
    local.tm_sec = p.s;
    local.tm_isdst = -1;
    return static_cast<long long>(std::mktime(&local));
}

// A token is a run of one letter, taken at the longest length the letter has
// (a run too long gives a token and then the rest); "yyy" is "yy" and a
// plain "y". Stores stamp every message they read, so this stays cheap: one
// pass, digits written by hand, no streams or locale.
std::string DateTime::format(const std::string& pattern) const {
    const Parts p = split(serial_);
    std::string out;
    out.reserve(pattern.size() + 8);
    auto number = [&out](int n, bool padded) {
        if (n >= 0 && n <= 99) {
            if (padded || n > 9) out += static_cast<char>('0' + n / 10);
            out += static_cast<char>('0' + n % 10);
        } else {
            out += std::to_string(n);
        }
    };
    auto lowerAt = [&pattern](size_t i) {
        const char c = pattern[i];
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c;
    };
    bool afterHour = false;
    size_t i = 0;
    while (i < pattern.size()) {
        const char c = lowerAt(i);
        if (pattern[i] == '\\' && i + 1 < pattern.size()) {
            out += pattern[i + 1];
            i += 2;
            continue;
        }
        if (c == 'a' && pattern.size() - i >= 5 &&
            EqualsNoCase(std::string_view(pattern).substr(i, 5), "AM/PM")) {
            out += p.h < 12 ? "AM" : "PM";
            i += 5;
            continue;
        }
        size_t run = 1;
        while (run < 4 && i + run < pattern.size() && lowerAt(i + run) == c) ++run;
        size_t taken = run;
        switch (c) {
        case 'y':
            if (run == 4) {
                out += std::to_string(p.y);
            } else if (run >= 2) {
                number(p.y % 100, true);
                taken = 2;
            } else {
                out += pattern[i];
            }
            break;
        case 'm':
            if (run == 4) {
                out += MonthName(p.mo);
            } else if (run == 3) {
                out += MonthShortName(p.mo);
            } else {
                number(afterHour ? p.mi : p.mo, run == 2);
                afterHour = false;
            }
            break;
        case 'd':
            if (run == 4)
                out += kDays[weekday() - 1];
            else if (run == 3)
                out += kDaysShort[weekday() - 1];
            else
                number(p.d, run == 2);
            break;
        case 'h':
        case 'n':
        case 's':
            taken = run >= 2 ? 2 : 1;
            number(c == 'h' ? p.h : c == 'n' ? p.mi : p.s, taken == 2);
            if (c == 'h') afterHour = true;
            break;
        default:
            out += pattern[i];
            taken = 1;
        }
        i += taken;
    }
    return out;
}

float SecondsOfDay() {
    DateTime now = DateTime::now();
    double fraction = now.serial() - std::floor(now.serial());
    return static_cast<float>(fraction * 86400.0);
}

namespace {

int monthFromName(std::string_view word) {
    if (word.size() < 3) return 0;
    for (int m = 1; m <= 12; ++m)
        if (EqualsNoCase(word.substr(0, 3), kMonthsShort[m - 1])) return m;
    return 0;
}

// Splits a date text into words of digits and words of letters.
std::vector<std::string> words(const std::string& text) {
    std::vector<std::string> out;
    std::string cur;
    auto flush = [&] {
        if (!cur.empty()) out.push_back(cur);
        cur.clear();
    };
    for (char c : text) {
        bool digit = c >= '0' && c <= '9';
        bool alpha = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (!digit && !alpha) {
            flush();
            if (c == ':') out.push_back(":");
            if (c == '+' || c == '-') out.push_back(std::string(1, c));
            continue;
        }
        if (!cur.empty() && (std::isdigit(static_cast<unsigned char>(cur.back())) != 0) != digit)
            flush();
        cur += c;
    }
    flush();
    return out;
}

bool isNumber(const std::string& w) {
    return !w.empty() && std::isdigit(static_cast<unsigned char>(w[0]));
}

} // namespace

std::optional<DateTime> ParseDate(const std::string& text) {
    std::vector<std::string> w = words(text);
    int year = -1, month = 0, day = 0, hour = 0, minute = 0, second = 0;
    std::vector<int> numbers;
    bool timeSeen = false;
    for (size_t i = 0; i < w.size(); ++i) {
        if (isNumber(w[i]) && i + 2 < w.size() && w[i + 1] == ":" && isNumber(w[i + 2]) &&
            !timeSeen) {
            timeSeen = true;
            hour = std::atoi(w[i].c_str());
            minute = std::atoi(w[i + 2].c_str());
            i += 2;
            if (i + 2 < w.size() && w[i + 1] == ":" && isNumber(w[i + 2])) {
                second = std::atoi(w[i + 2].c_str());
                i += 2;
            }
            // The rest (a zone such as +0200 or GMT) is not used.
            break;
        }
        if (isNumber(w[i])) {
            if (w[i].size() > 4) return std::nullopt;
            numbers.push_back(std::atoi(w[i].c_str()));
            if (w[i].size() == 4 && year < 0) year = numbers.back(), numbers.pop_back();
        } else if (int m = monthFromName(w[i]); m && !month) {
            month = m;
        } else if (EqualsNoCase(w[i], "PM") && timeSeen && hour < 12) {
            hour += 12;
        }
    }
    if (month) {
        if (numbers.empty()) return std::nullopt;
        day = numbers[0];
        if (year < 0 && numbers.size() > 1) year = numbers[1];
    } else {
        if (year >= 0 && numbers.size() >= 2 && StartsWith(Trim(text), std::to_string(year))) {
            month = numbers[0];
            day = numbers[1];
        } else if (numbers.size() >= 2) {
            // Day and month without names: the first above 12 must be the day.
            int a = numbers[0], b = numbers[1];
            if (a > 12) {
                day = a;
                month = b;
            } else {
                month = a;
                day = b;
            }
            if (year < 0 && numbers.size() > 2) year = numbers[2];
        } else {
            return std::nullopt;
        }
    }
    if (year < 0) return std::nullopt;
    if (year < 100) year += year < 30 ? 2000 : 1900;
    if (month < 1 || month > 12 || day < 1 || day > 31 || hour > 23 || minute > 59 || second > 60)
        return std::nullopt;
    return DateTime::fromParts(year, month, day, hour, minute, second);
}

} // namespace corva
