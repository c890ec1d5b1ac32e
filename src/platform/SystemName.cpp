#include "platform/SystemName.h"

#include <sys/utsname.h>

namespace corva::platform {

std::string systemName() {
    utsname u{};
    if (uname(&u) != 0) return "Linux";
    return std::string(u.sysname) + " " + u.release + " " + u.machine;
}

} // namespace corva::platform
