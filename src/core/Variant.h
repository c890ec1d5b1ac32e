// A settings value: empty, a truth value, a number or text. Settings keep the
// type they were given, and their print form in the file depends on it.
#pragma once

#include <cstdint>
#include <string>

namespace corva {

class Variant {
public:
    enum class Kind { Empty, Bool, Number, Text };

    Variant() = default;
    Variant(bool b) : kind_(Kind::Bool), number_(b ? -1 : 0) {}
    Variant(int n) : kind_(Kind::Number), number_(n) {}
    Variant(long n) : kind_(Kind::Number), number_(static_cast<double>(n)) {}
    Variant(long long n) : kind_(Kind::Number), number_(static_cast<double>(n)) {}
    Variant(double n) : kind_(Kind::Number), number_(n) {}
    Variant(const char* s) : kind_(Kind::Text), text_(s ? s : "") {}
    Variant(std::string s) : kind_(Kind::Text), text_(std::move(s)) {}

    Kind kind() const { return kind_; }
    bool isEmpty() const { return kind_ == Kind::Empty; }
    bool isBool() const { return kind_ == Kind::Bool; }
    bool isNumber() const { return kind_ == Kind::Number; }
    bool isText() const { return kind_ == Kind::Text; }

    // The value as text: "True"/"False", the number in its shortest form, "" when empty.
    std::string toText() const;
    // The form written to a settings file: numbers get a blank before and after.
    std::string printForm() const;
    // Truth: a boolean as it is; a number not 0; text "true"/"false" in any case
    // and with blanks, or a numeric text not 0. Other text is false.
    bool toBool() const;
    // The number at the front of the text, blanks tolerated ("  30 " is 30, "abc" is 0).
    double toNumber() const;
    // toNumber rounded to the nearest whole number, ties to even.
    long long toLong() const;
    int toInt() const { return static_cast<int>(toLong()); }
    // 16-bit conversion; throws RunError 6 (Overflow) outside -32768..32767.
    int16_t toInt16() const;
    // True when the value is a number or a text that reads wholly as one.
    bool isNumeric() const;

    // Equal kinds compare by value; otherwise the texts compare.
    bool operator==(const Variant& other) const;

private:
    Kind kind_ = Kind::Empty;
    double number_ = 0;
    std::string text_;
};

// A double's text in the shortest form that reads back the same (15 digits at most).
std::string numberText(double n);

} // namespace corva
