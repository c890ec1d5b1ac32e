#include "platform/qt/QtTimeZone.h"

#include <QDateTime>
#include <QTimeZone>

namespace corva::platform::qt {

namespace {

// An IANA name, or the Windows name some calendar programs write instead
// ("W. Europe Standard Time").
QTimeZone zoneNamed(const std::string& name) {
    const QByteArray id = QByteArray::fromStdString(name);
    if (QTimeZone::isTimeZoneIdAvailable(id)) return QTimeZone(id);
    const QByteArray iana = QTimeZone::windowsIdToDefaultIanaId(id);
    if (!iana.isEmpty() && QTimeZone::isTimeZoneIdAvailable(iana)) return QTimeZone(iana);
    return QTimeZone();
}

} // namespace

std::optional<long long> QtTimeZones::toUtc(const std::string& zone, const WallTime& w) const {
    const QTimeZone tz = zoneNamed(zone);
    const QDate date(w.year, w.month, w.day);
    if (!tz.isValid() || !date.isValid()) return {};
    const QDateTime at(date, QTime(w.hour, w.minute, w.second), tz);
    if (!at.isValid()) return {};
    return at.toSecsSinceEpoch();
}

std::optional<WallTime> QtTimeZones::fromUtc(const std::string& zone, long long utc) const {
    const QTimeZone tz = zoneNamed(zone);
    if (!tz.isValid()) return {};
    const QDateTime at = QDateTime::fromSecsSinceEpoch(utc, tz);
    if (!at.isValid()) return {};
    const QDate d = at.date();
    const QTime t = at.time();
    return WallTime{d.year(), d.month(), d.day(), t.hour(), t.minute(), t.second()};
}

} // namespace corva::platform::qt
