// The running system as logs and error reports name it.
#pragma once

#include <string>

namespace corva::platform {

// Kernel name, release and machine, e.g. "Linux 6.1.0 x86_64".
std::string systemName();

} // namespace corva::platform
