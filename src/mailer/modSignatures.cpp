#include "mailer/modSignatures.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "localise/modLanguages.h"
#include "platform/Platform.h"

#include <algorithm>

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

std::vector<std::pair<int, std::string>> numberedSignatures() {
    return guardedValue(
        "numberedSignatures", Module, std::vector<std::pair<int, std::string>>(), [] {
            const std::string folder = DataFolder + "Sigs/";
            std::vector<std::string> files;
            FillFiles(folder, "txt", files);
            std::vector<std::pair<int, std::string>> found;
            for (const std::string& name : files) {
                // "Sig" + digits + ".txt", in any case.
                const std::string lower = LCase(name);
                const std::string digits = lower.substr(3, lower.size() > 7 ? lower.size() - 7 : 0);
                if (!StartsWith(lower, "sig") || digits.empty() || digits.size() > 4 ||
                    digits.find_first_not_of("0123456789") != std::string::npos)
                    continue;
                found.emplace_back(std::stoi(digits), folder + name);
            }
            std::sort(found.begin(), found.end());
            return found;
        });
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
