// A local date and time as a count of days since 30 December 1899 with the
// time as the fraction, so that ages and differences are plain subtraction.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace corva {

class DateTime {
public:
    DateTime() = default;
    explicit DateTime(double serial) : serial_(serial) {}
    static DateTime fromParts(int year, int month, int day, int hour = 0, int minute = 0,
                              int second = 0);
    // Local time of a system clock point.
    static DateTime fromTimePoint(std::chrono::system_clock::time_point tp);
    static DateTime fromTimeT(long long t);
    // Now, by the platform's clock.
    static DateTime now();
    static DateTime today();

    double serial() const { return serial_; }
    bool isZero() const { return serial_ == 0; }
    int year() const;
    int month() const;
    int day() const;
    int hour() const;
    int minute() const;
    int second() const;
    int weekday() const; // 1 Sunday .. 7 Saturday
    long long toTimeT() const;
    DateTime dateOnly() const;

    DateTime addDays(double days) const { return DateTime(serial_ + days); }
    DateTime addSeconds(double seconds) const { return DateTime(serial_ + seconds / 86400.0); }

    // Formats with the letters yyyy yy mmmm mmm mm m dd d hh h nn ss ddd dddd AM/PM
    // ("mm" after "h" or "hh" is minutes); other characters stand as they are.
    std::string format(const std::string& pattern) const;

    auto operator<=>(const DateTime& other) const = default;

private:
    double serial_ = 0;
};

// Seconds since local midnight by the platform's clock, as a single-precision
// number: deadlines that cross midnight behave as they always have.
float SecondsOfDay();

// Reads a date in the common forms of mail headers and of this program's own
// files: "Tue, 3 Jun 2008 11:05:30 +0200", "2008-06-03 11:05:30", "03/06/2008".
// The time zone is ignored: the time is taken as local.
std::optional<DateTime> ParseDate(const std::string& text);

// Days from 1970-01-01 to a date of the proleptic Gregorian calendar, and back.
long long DaysFromCivil(long long year, int month, int day);
void CivilFromDays(long long days, int& year, int& month, int& day);

const char* MonthName(int month);      // "January"
const char* MonthShortName(int month); // "Jan"
const char* DayShortName(int weekday); // "Sun" for 1

} // namespace corva
