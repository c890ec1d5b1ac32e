// The plain platform prints nothing.
#include "platform/Printer.h"

#include "platform/Platform.h"

namespace corva::platform {

int Printer::print(const PrintJob&, PrintTarget, const std::string&) {
    return 0;
}

Printer& Platform::printer() {
    static Printer none;
    return none;
}

} // namespace corva::platform
