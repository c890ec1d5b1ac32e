#include "mailer/modSignatures.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "localise/modLanguages.h"
#include "platform/Platform.h"

namespace corva {
namespace {
const char* Module = "modSignatures";

std::string readIfPresent(const std::string& path) {
    std::string text;
    if (FileExists(path)) LoadTextFile(path, text);
    return text;
}
} // namespace

std::string defaultSignaturePath() {
    return MessageFolder + "sig.txt";
}

std::string folderSignaturePath(const std::string& folder) {
    return addslash(folder) + "sig.txt";
}

std::string numberedSignaturePath(int number) {
    return DataFolder + "Sigs/Sig" + Str(number) + ".txt";
}

std::string defaultSignature() {
    return guardedValue("defaultSignature", Module, std::string(),
                        [] { return readIfPresent(defaultSignaturePath()); });
}

std::string signatureForMessage(const std::string& messageFile) {
    return guardedValue("signatureForMessage", Module, std::string(), [&] {
        if (!messageFile.empty()) {
            std::string own = folderSignaturePath(pathonly(messageFile));
            if (FileExists(own)) return readIfPresent(own);
        }
        return defaultSignature();
    });
}

frmSig::frmSig(const std::string& folder) : folder_(folder) {
    Text = guardedValue("Form_Load", "frmSig", std::string(),
                        [&] { return readIfPresent(folderSignaturePath(folder_)); });
}

bool frmSig::cmdOK_Click() {
    return guardedValue("cmdOK_Click", "frmSig", false,
                        [&] { return WriteFileExactly(folderSignaturePath(folder_), Text); });
}

void frmSig::cmdReadDefault_Click() {
    Text = defaultSignature();
}

bool frmSig::cmdSetDefault_Click() {
    return guardedValue("cmdSetDefault_Click", "frmSig", false, [&] {
        if (platform::current().prompts().messageBox(
                gettranslation(
                    "This will set the default sig to the displayed text. Are you sure?"),
                platform::Buttons::YesNo, platform::Icon::Question) != platform::Answer::Yes)
            return false;
        return WriteFileExactly(defaultSignaturePath(), Text);
    });
}

} // namespace corva
