// The question asked before an attachment is opened: save it, or run it. Which
// answers are offered depends on the file's extension alone.
#pragma once

#include <string>

namespace corva {

enum class AttachAnswer { Cancel, Save, Run };

// How the form is laid out for one file (setuprestofform).
struct AttachWarningForm {
    std::string name;
    bool FrameExe = false;     // "this kind of file can harm your computer"
    bool FrameNonExe = false;  // "this file may hold something harmful"
    bool FrameWarning = false; // the general warning
    bool optSaveToDisk = true; // chosen when the form opens
    bool optRunEnabled = false;
};

class frmAttachWarningView {
public:
    virtual ~frmAttachWarningView() = default;
    // Shows the form modally; the user's answer, Cancel when closed.
    virtual AttachAnswer showAttachWarning(const AttachWarningForm& form) = 0;
};

class frmAttachWarning {
public:
    explicit frmAttachWarning(frmAttachWarningView& view) : view_(view) {}
    AttachAnswer GetConfirmation(const std::string& name);

    // Programs and scripts: only saving is offered.
    static bool illegalfile(const std::string& extension);
    // Plain text: opened without a question.
    static bool acceptedfile(const std::string& extension);
    static AttachWarningForm setuprestofform(const std::string& name);

private:
    frmAttachWarningView& view_;
};

} // namespace corva
