// The attachment question, decided by extension.
#include "mailer/frmAttachWarning.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"

#include <array>

namespace corva {

namespace {
constexpr const char* Module = "frmAttachWarning";

std::string extensionOf(const std::string& name) {
    size_t dot = name.rfind('.');
    return dot == std::string::npos ? "" : LCase(name.substr(dot + 1));
}
} // namespace

bool frmAttachWarning::illegalfile(const std::string& extension) {
    static constexpr std::array<const char*, 9> programs = {"exe", "pif", "scr", "bat", "vbs",
                                                            "com", "js",  "wsh", "lnk"};
    for (const char* p : programs)
        if (extension == p) return true;
    return false;
}

bool frmAttachWarning::acceptedfile(const std::string& extension) {
    return extension == "txt";
}

AttachWarningForm frmAttachWarning::setuprestofform(const std::string& name) {
    AttachWarningForm form;
    form.name = name;
    form.FrameWarning = true;
    if (illegalfile(extensionOf(name))) {
        form.FrameExe = true;
    } else {
        form.FrameNonExe = true;
        form.optRunEnabled = true;
    }
    return form;
}

AttachAnswer frmAttachWarning::GetConfirmation(const std::string& name) {
    return guardedValue("GetConfirmation", Module, AttachAnswer::Cancel, [&] {
        if (acceptedfile(extensionOf(name))) return AttachAnswer::Run;
        AttachWarningForm form = setuprestofform(name);
        AttachAnswer answer = view_.showAttachWarning(form);
        // A view can't make running a program possible by answering Run anyway.
        if (answer == AttachAnswer::Run && !form.optRunEnabled) return AttachAnswer::Cancel;
        return answer;
    });
}

} // namespace corva
