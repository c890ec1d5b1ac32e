#include "core/mSHAREDGetDate.h"

#include "core/Strings.h"
#include "core/mSHAREDLogging.h"

#include <clocale>
#include <ctime>
#include <locale.h>

namespace corva {

namespace {

struct DateFormats {
    bool initialised = false;
    std::string separator = "/";
    std::string shortFormat = "MM/DD/YYYY";
    std::string fullFormat = "MMMM/DD/YYYY";
};

DateFormats& formats() {
    static DateFormats f;
    return f;
}

// The user's short date of 25 December 2001, as the desktop writes it.
std::string sampleDate() {
    std::tm t{};
    t.tm_year = 101;
    t.tm_mon = 11;
    t.tm_mday = 25;
    char buf[64] = {0};
    locale_t user = newlocale(LC_TIME_MASK, "", static_cast<locale_t>(nullptr));
    if (user) {
        strftime_l(buf, sizeof buf, "%x", &t, user);
        freelocale(user);
    } else {
        std::strftime(buf, sizeof buf, "%x", &t);
    }
    return buf;
}

void checkinitialised() {
    if (!formats().initialised) setuplocale();
}

// Turns a format of the form "MM/DD/YYYY" into one DateTime::format reads.
std::string toPattern(const std::string& f) {
    std::string p = Replace(f, "MMMM", "mmmm");
    p = Replace(p, "MM", "mm");
    p = Replace(p, "DD", "dd");
    p = Replace(p, "YYYY", "yyyy");
    p = Replace(p, "YY", "yy");
    return p;
}

} // namespace

void setuplocale() {
    DateFormats& f = formats();
    f.initialised = true;
    std::string sample = sampleDate();
    bool shortYear = InStr(sample, "2001") == 0;
    size_t y = shortYear ? InStr(sample, "01") : InStr(sample, "2001");
    size_t m = InStr(sample, "12");
    size_t d = InStr(sample, "25");
    std::string order;
    if (y && m && d) {
        if (m < d && d < y)
            order = "MM/DD/YYYY";
        else if (d < m && m < y)
            order = "DD/MM/YYYY";
        else if (y < d && d < m)
            order = "YYYY/DD/MM";
        else
            order = "YYYY/MM/DD";
    } else {
        order = "MM/DD/YYYY";
    }
    f.separator = "/";
    if (InStr(sample, ".")) f.separator = ".";
    if (InStr(sample, "-")) f.separator = "-";
    order = Replace(order, "/", f.separator);
    if (shortYear) order = Replace(order, "YYYY", "YY");
    f.shortFormat = order;
    f.fullFormat = Replace(order, "MM", "MMMM");
    LogAction("Date format: " + f.shortFormat);
    LogAction("Full date format: " + f.fullFormat);
    LogAction("Full date format plus time: " + f.fullFormat + " HH:MM");
    LogAction("Date separator: " + f.separator);
    LogAction("True string: True False string: False");
}

std::string fdateseparator() {
    checkinitialised();
    return formats().separator;
}
std::string flocaldateformatstring() {
    checkinitialised();
    return formats().shortFormat;
}
std::string flocalfulldateformat() {
    checkinitialised();
    return formats().fullFormat;
}
std::string formatdate(const DateTime& date) {
    return date.format(toPattern(flocalfulldateformat()));
}
std::string shortformatdate(const DateTime& date) {
    return date.format(toPattern(flocaldateformatstring()));
}
std::string DatePlusTime(const DateTime& date) {
    return formatdate(date) + date.format(" hh:nn");
}

} // namespace corva
