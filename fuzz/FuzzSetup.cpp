// Shared start of every fuzz target: the ring of last actions flushes into the
// run log when it wraps, which must not fill a real log.txt while fuzzing.
#include "core/mSHAREDLogging.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    corva::SetLogFileOverride("/dev/null");
    return 0;
}
