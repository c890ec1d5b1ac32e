#include "core/Variant.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace corva {

std::string numberText(double n) {
    if (std::isnan(n)) return "0";
    if (n == std::floor(n) && std::fabs(n) < 1e15) {
        char buf[32];
        std::snprintf(buf, sizeof buf, "%.0f", n);
        return buf;
    }
    char buf[40];
    for (int precision = 1; precision <= 15; ++precision) {
        std::snprintf(buf, sizeof buf, "%.*g", precision, n);
        if (std::strtod(buf, nullptr) == n) break;
    }
    return buf;
}

std::string Variant::toText() const {
    switch (kind_) {
    case Kind::Empty:
        return "";
    case Kind::Bool:
        return number_ != 0 ? "True" : "False";
    case Kind::Number:
        return numberText(number_);
    case Kind::Text:
        return text_;
    }
    return "";
}

std::string Variant::printForm() const {
    if (kind_ == Kind::Number) return (number_ < 0 ? "" : " ") + numberText(number_) + " ";
    return toText();
}

bool Variant::toBool() const {
    switch (kind_) {
    case Kind::Empty:
        return false;
    case Kind::Bool:
    case Kind::Number:
        return number_ != 0;
    case Kind::Text: {
        std::string t = UCase(Trim(text_));
        if (t == "TRUE") return true;
        if (t == "FALSE") return false;
        return isNumeric() && toNumber() != 0;
    }
    }
    return false;
}

double Variant::toNumber() const {
    switch (kind_) {
    case Kind::Empty:
        return 0;
    case Kind::Bool:
    case Kind::Number:
        return number_;
    case Kind::Text: {
        std::string t = UCase(Trim(text_));
        if (t == "TRUE") return -1;
        return Val(text_);
    }
    }
    return 0;
}

long long Variant::toLong() const {
    double n = toNumber();
    if (!std::isfinite(n) || std::fabs(n) > 9.2e18) return 0;
    return static_cast<long long>(std::nearbyint(n)); // the default mode rounds ties to even
}

int16_t Variant::toInt16() const {
    long long n = toLong();
    if (n < -32768 || n > 32767) throw RunError(Err::Overflow);
    return static_cast<int16_t>(n);
}

bool Variant::isNumeric() const {
    if (kind_ == Kind::Number || kind_ == Kind::Bool) return true;
    if (kind_ != Kind::Text) return false;
    std::string t = Trim(text_);
    if (t.empty()) return false;
    char* end = nullptr;
    std::strtod(t.c_str(), &end);
    return end && *end == '\0';
}

bool Variant::operator==(const Variant& other) const {
    if (kind_ == other.kind_) {
        if (kind_ == Kind::Text) return text_ == other.text_;
        return number_ == other.number_;
    }
    return toText() == other.toText();
}

} // namespace corva
