#pragma once

namespace corva::platform {

// The implementation of a facility the program has installed, else the
// facility's own do-nothing default: logic and tests run without a platform.
template <class Facility> class Installed {
public:
    static Facility& get() {
        static Facility plain;
        return current_ ? *current_ : plain;
    }
    // Installs `facility` (null: back to the default) and returns the one before.
    static Facility* set(Facility* facility) {
        Facility* before = current_;
        current_ = facility;
        return before;
    }

private:
    static inline Facility* current_ = nullptr;
};

} // namespace corva::platform
