#include "core/ErrorReport.h"

#include "core/ErrorHandler.h"
#include "core/mSHAREDLogging.h"
#include "platform/Platform.h"

namespace corva {

namespace {
std::function<void(const std::string&)>& handler() {
    static std::function<void(const std::string&)> h;
    return h;
}
} // namespace

void SetErrorReportHandler(std::function<void(const std::string&)> h) {
    handler() = std::move(h);
}

void showerr(const std::string& text) {
    try {
        RecordAction(text, "showerr", "fSHAREDErrorRpt");
        LogAction(text);
        if (handler()) {
            handler()(text);
            return;
        }
        platform::current().prompts().messageBox(text, platform::Buttons::Ok,
                                                 platform::Icon::Critical, "Error Reporter");
    } catch (...) {
    }
}

void showerrobj(const std::exception& e, const std::string& procedure, const std::string& module) {
    showerr("Error " + std::to_string(errorNumber(e)) + " - " + e.what() + " in " + procedure +
            " of " + module);
}

} // namespace corva
