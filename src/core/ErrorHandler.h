// The general error handler. A procedure that fails records what failed, where
// and why in the ring of last actions, and the program goes on: with the next
// step of the procedure, or with the procedure's empty default.
#pragma once

#include <exception>
#include <stdexcept>
#include <string>

namespace corva {

// A failure with a classic run-time error number, so that handlers can tell
// kinds apart (6 overflow, 13 type mismatch, 53 file not found, 61 disk full ...).
class RunError : public std::runtime_error {
public:
    RunError(int number, const std::string& description)
        : std::runtime_error(description), number_(number) {}
    explicit RunError(int number);
    int number() const { return number_; }

private:
    int number_;
};

namespace Err {
constexpr int InvalidCall = 5;
constexpr int Overflow = 6;
constexpr int OutOfMemory = 7;
constexpr int SubscriptOutOfRange = 9;
constexpr int DivisionByZero = 11;
constexpr int TypeMismatch = 13;
constexpr int BadFileName = 52;
constexpr int FileNotFound = 53;
constexpr int DeviceIO = 57;
constexpr int FileExists = 58;
constexpr int DiskFull = 61;
constexpr int PermissionDenied = 70;
constexpr int PathFileAccess = 75;
constexpr int PathNotFound = 76;
} // namespace Err

// The standard description for an error number ("Overflow", "File not found" ...).
std::string errorDescription(int number);

// The number of an exception: a RunError's own, 7 for bad_alloc, 5 for anything else.
int errorNumber(const std::exception& e);

// Records "description(number)" with procedure and module in the ring of last actions.
void HandleError(const std::exception& e, const std::string& procedure, const std::string& module);
void HandleUnknownError(const std::string& procedure, const std::string& module);

// Runs one step of a procedure under the general handler; false if it failed.
template <class F> bool guarded(const char* procedure, const char* module, F&& step) noexcept {
    try {
        step();
        return true;
    } catch (const std::exception& e) {
        HandleError(e, procedure, module);
    } catch (...) {
        HandleUnknownError(procedure, module);
    }
    return false;
}

// Runs a function under the general handler; its result, or the fallback if it failed.
template <class T, class F>
T guardedValue(const char* procedure, const char* module, T fallback, F&& fn) noexcept {
    try {
        return fn();
    } catch (const std::exception& e) {
        HandleError(e, procedure, module);
    } catch (...) {
        HandleUnknownError(procedure, module);
    }
    return fallback;
}

} // namespace corva
