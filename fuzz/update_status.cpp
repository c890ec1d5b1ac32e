// The status file of the update server: any bytes give a version (or none)
// and an address, in time even when the suffix itself holds "@@@", and a
// digest is either absent or 64 hex digits.
#include "FuzzSupport.h"

#include "updates/UpdateVersion.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    const std::string text(fuzz::asText(data, size));
    const UpdateVersion v = ExtractVersion(text);
    if (!v.sha256.empty() && v.sha256.size() != 64) std::abort();
    if (v.major < 0 || v.minor < 0 || v.revision < 0) std::abort();
    (void)IsNewerVersion(v, RunningVersion());
    (void)v.text();
    return 0;
}
