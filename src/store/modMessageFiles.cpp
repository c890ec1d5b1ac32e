#include "store/modMessageFiles.h"

#include "store/ReplacedFiles.h"

#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "platform/Platform.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <filesystem>
#include <optional>

namespace corva {

namespace {

const char* kModule = "modMessageFiles";

// Reads up to limit bytes (all when negative). A FIFO or device named like a
// message can't hang the folder: the platform refuses it without waiting.
bool readBytes(const std::string& path, long long limit, std::string& text, long long& length,
               DateTime& written) {
    platform::FileContents contents;
    const platform::FileResult read = platform::current().files().readFile(path, limit, contents);
    if (read.error == platform::FileError::NotAFile)
        throw RunError(Err::BadFileName, path + " is not a message file");
    if (!read)
        throw RunError(read.error == platform::FileError::Access ? Err::PermissionDenied
                                                                 : Err::PathFileAccess,
                       read.detail);
    length = contents.length;
    written = DateTime::fromTimeT(static_cast<std::time_t>(contents.modified));
    text = std::move(contents.bytes);
    return true;
}

// Writes beside the target and renames over it. The name is used exactly as
// given: resolving it without regard to case would land on the file's other
// spelling, which is about to be removed.
void writeExactly(const std::string& path, const std::string& text) {
    if (!WriteFileExactly(path, text)) throw RunError(Err::DiskFull, "Can't write " + path);
}

bool isFile(const std::string& path) {
    std::error_code ec;
    const auto status = std::filesystem::symlink_status(path, ec);
    return std::filesystem::exists(status) && !std::filesystem::is_directory(status);
}

} // namespace

namespace {

enum class Reading { Header, Whole, WholeHeaderParsed };

std::shared_ptr<clsMessage> readAs(const std::string& rawPath, Reading reading) {
    const bool headerOnly = reading == Reading::Header;
    auto message = std::make_shared<clsMessage>();
    guarded("readmessage", kModule, [&] {
        std::string path = ResolvePath(rawPath);
        std::error_code ec;
        const auto status = std::filesystem::status(path, ec);
        if (!std::filesystem::exists(status)) {
            // A link to nothing is listed like a message but can't be one.
            if (std::filesystem::exists(std::filesystem::symlink_status(path, ec)))
                throw RunError(Err::FileNotFound, path);
            return;
        }
        if (std::filesystem::is_directory(status)) return;

        std::string text;
        long long length = 0;
        DateTime written;
        readBytes(path, headerOnly ? HeaderReadLimit : -1, text, length, written);
        if (length == 0) {
            RecordAction("Empty message file " + path, "readmessage", kModule);
            return;
        }
        // A file saved with Unix line ends reads as if it had CR LF, whole or
        // header only alike.
        if (InStr(text, "\r\n") == 0) text = Replace(text, "\n", "\r\n");
        size_t blank = InStr(text, "\r\n\r\n");
        if (headerOnly) {
            if (blank == 0) {
                text += "\r\n\r\n";
            } else {
                // Only the header is kept, so a cut body can't confuse the parser.
                text = Left(text, blank) + "\r\n\r\n ";
            }
        }
        message->CreateFromText(text, reading != Reading::Whole);
        message->setFilename(path);
        if (message->ReceiveDate.empty())
            message->ReceiveDate = written.format("yyyy-mm-dd hh:nn:ss");
        float size = static_cast<float>(std::nearbyint(static_cast<double>(length) / 1024.0));
        message->Size = size == 0 ? 1.0f : size;
    });
    return message;
}

} // namespace

std::shared_ptr<clsMessage> readmessage(const std::string& path, bool headerOnly) {
    return readAs(path, headerOnly ? Reading::Header : Reading::Whole);
}

std::shared_ptr<clsMessage> readmessageforsaving(const std::string& path) {
    return readAs(path, Reading::WholeHeaderParsed);
}

std::shared_ptr<clsMessage> readmessageheader(const std::string& path) {
    return readmessage(path, true);
}

std::shared_ptr<clsMessage> readfullmessage(const std::string& path) {
    return readmessage(path, false);
}

std::shared_ptr<clsMessage> readmessageforwordcount(const std::string& path) {
    // A backslash reads as a folder step in the full reader.
    platform::FileContents contents;
    if (path.find('\\') != std::string::npos ||
        !platform::current().files().readFile(path, -1, contents))
        return readfullmessage(path);
    auto message = std::make_shared<clsMessage>();
    guarded("readmessage", kModule, [&] {
        if (contents.length == 0) {
            RecordAction("Empty message file " + path, "readmessage", kModule);
            return;
        }
        std::string& text = contents.bytes;
        if (text.find("\r\n") == std::string::npos) text = Replace(text, "\n", "\r\n");
        message->CreateForWordCount(text);
    });
    return message;
}

namespace {

// What saving one message means on disk: the text for its name, and the
// other spellings of the name, which go once the text is safely written.
struct SavePlan {
    std::string path;
    std::string raw;
    bool empty = false;
    std::vector<std::string> others; // full paths
};

std::optional<SavePlan> planSave(const clsMessage& message) {
    std::string path = message.Filename();
    if (Trim(path).empty()) return std::nullopt;
    SavePlan plan;
    std::string folder = addslash(ResolvePath(pathonly(path)));
    std::string name = fileonly(path);
    plan.path = folder + name;
    plan.raw = message.RawMessage();
    plan.empty = Trim(Replace(plan.raw, "\r\n", "")).empty();
    // The other spellings are the same message in its old read state. Our
    // own names are all upper or all lower case; a name of mixed case (a
    // file brought in from elsewhere) is looked for only when neither is there.
    std::vector<std::string> others;
    for (const std::string& other : {LCase(name), UCase(name), name})
        if (isFile(folder + other) &&
            std::find(others.begin(), others.end(), other) == others.end())
            others.push_back(other);
    if (others.empty()) {
        std::error_code ec;
        for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
            const std::string found = entry.path().filename().string();
            if (EqualsNoCase(found, name) && isFile(folder + found)) others.push_back(found);
        }
    }
    for (const std::string& other : others)
        if (plan.empty || other != name) plan.others.push_back(folder + other);
    return plan;
}

void removeOthers(const SavePlan& plan) {
    for (const std::string& other : plan.others) {
        std::error_code ec;
        std::filesystem::remove(other, ec);
    }
}

} // namespace

void savemessage(const clsMessage& message) {
    guarded("savemessage", kModule, [&] {
        std::optional<SavePlan> plan = planSave(message);
        if (!plan) return;
        if (!plan->empty) writeExactly(plan->path, plan->raw);
        removeOthers(*plan);
    });
}

void savemessages(const std::vector<const clsMessage*>& messages, ReplacedFiles* replaced) {
    guarded("savemessage", kModule, [&] {
        std::vector<SavePlan> plans;
        for (const clsMessage* message : messages)
            if (message)
                if (auto plan = planSave(*message)) plans.push_back(std::move(*plan));
        std::vector<std::pair<std::string, std::string>> texts;
        std::vector<size_t> writing;
        for (size_t i = 0; i < plans.size(); ++i)
            if (!plans[i].empty) {
                texts.emplace_back(plans[i].path, std::move(plans[i].raw));
                writing.push_back(i);
            }
        std::vector<bool> written = WriteFilesExactly(texts);
        std::vector<bool> done(plans.size(), true);
        for (size_t k = 0; k < writing.size(); ++k)
            done[writing[k]] = k < written.size() && written[k];
        for (size_t i = 0; i < plans.size(); ++i) {
            if (!done[i]) continue;
            if (!replaced) {
                removeOthers(plans[i]);
                continue;
            }
            for (const std::string& other : plans[i].others) replaced->setAside(other);
        }
    });
}

} // namespace corva
