#include "core/ErrorHandler.h"

#include "core/ErrorReport.h"
#include "core/mSHAREDLogging.h"

#include <new>

namespace corva {

std::string errorDescription(int number) {
    switch (number) {
    case 5:
        return "Invalid procedure call or argument";
    case 6:
        return "Overflow";
    case 7:
        return "Out of memory";
    case 9:
        return "Subscript out of range";
    case 11:
        return "Division by zero";
    case 13:
        return "Type mismatch";
    case 52:
        return "Bad file name or number";
    case 53:
        return "File not found";
    case 57:
        return "Device I/O error";
    case 58:
        return "File already exists";
    case 61:
        return "Disk full";
    case 70:
        return "Permission denied";
    case 75:
        return "Path/File access error";
    case 76:
        return "Path not found";
    default:
        return "Application-defined or object-defined error";
    }
}

RunError::RunError(int number) : std::runtime_error(errorDescription(number)), number_(number) {}

int errorNumber(const std::exception& e) {
    if (auto* r = dynamic_cast<const RunError*>(&e)) return r->number();
    if (dynamic_cast<const std::bad_alloc*>(&e)) return Err::OutOfMemory;
    if (dynamic_cast<const std::out_of_range*>(&e)) return Err::SubscriptOutOfRange;
    return Err::InvalidCall;
}

std::string errorText(const std::exception& e) {
    // Library exceptions carry library words; the ring and the report speak the program's own.
    if (dynamic_cast<const RunError*>(&e)) return e.what();
    return errorDescription(errorNumber(e));
}

void HandleError(const std::exception& e, const std::string& procedure, const std::string& module) {
    try {
        RecordAction(errorText(e) + "(" + std::to_string(errorNumber(e)) + ")", procedure, module);
        // Whatever failed may bring the program down next; what led up to it stays on disk.
        FlushLog();
    } catch (...) {
        // The handler itself must never stop the program.
    }
}

void HandleUnknownError(const std::string& procedure, const std::string& module) {
    try {
        RecordAction(errorDescription(0) + "(0)", procedure, module);
        FlushLog();
    } catch (...) {
    }
}

} // namespace corva
