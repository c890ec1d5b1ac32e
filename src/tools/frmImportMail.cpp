#include "tools/frmImportMail.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDSettings.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"
#include "store/modMessageFiles.h"
#include "store/modTags.h"
#include "tools/MailFiles.h"
#include "tools/modMbox.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

namespace corva {
namespace {
constexpr const char* kModule = "frmImportMail";
namespace fs = std::filesystem;

bool isMaildir(const fs::path& folder) {
    std::error_code ec;
    return fs::is_directory(folder / "cur", ec) || fs::is_directory(folder / "new", ec);
}

} // namespace

std::string frmImportMail::LastSource() {
    return sget("ImportMailStore", "").toText();
}

std::string frmImportMail::ImportedFolder() {
    return MessageFolder + "Imported/";
}

ImportSource frmImportMail::SourceKind(const std::string& source) {
    std::error_code ec;
    const fs::path path(ResolvePath(ToSlashes(source)));
    if (fs::is_regular_file(path, ec)) return ImportSource::Mbox;
    if (!fs::is_directory(path, ec)) return ImportSource::Missing;
    return isMaildir(path) ? ImportSource::Maildir : ImportSource::EmlFolder;
}

ImportOutcome frmImportMail::cmdimport_click(const std::string& source, bool subfolders) {
    outcome_ = {};
    unread_ = 0;
    shownPercent_ = -1;
    guarded("cmdimport_click", kModule, [&] {
        sset("ImportMailStore", source);
        MkMissingDir(ImportedFolder());
        store_.reset();
        folder_ = store_.folder(MessageFolder, "Imported");
        if (folder_.empty()) folder_ = ImportedFolder();
        listener_->SetBusy(true);
        listener_->Status(gettranslation("Scanning Folders"));
        switch (SourceKind(source)) {
        case ImportSource::EmlFolder:
            importEmlFolder(source, subfolders);
            break;
        case ImportSource::Maildir:
            importMaildir(source, subfolders);
            break;
        case ImportSource::Mbox:
            importMbox(source);
            break;
        case ImportSource::Missing:
            break;
        }
        finish();
    });
    return outcome_;
}

void frmImportMail::step(int percent) {
    if (percent != shownPercent_) {
        shownPercent_ = percent;
        listener_->Status(std::to_string(percent) + "%");
    }
    DoEvents();
    if (listener_->StopRequested()) outcome_.Stopped = true;
}

void frmImportMail::finish() {
    if (unread_ > 0) addtounreadtag(folder_, static_cast<int>(std::min<long>(unread_, 32767)));
    listener_->SetBusy(false);
    listener_->Status((outcome_.Stopped ? gettranslation("Import stopped. ")
                                        : gettranslation("Import Complete. ")) +
                      std::to_string(outcome_.Imported) + gettranslation(" message(s) imported"));
}

void frmImportMail::importEmlFolder(const std::string& source, bool subfolders) {
    std::vector<std::string> files;
    if (subfolders)
        fillfilesrecursed(source, "EML", files);
    else {
        FillFiles(source, "EML", files);
        for (auto& name : files) name = addslash(ToSlashes(source)) + name;
    }
    const size_t total = files.size();
    for (size_t i = 0; i < total && !outcome_.Stopped; ++i) {
        guarded("cmdimport_click", kModule, [&] {
            auto message = readmessageheader(files[i]);
            std::string target = folder_ + fileonly(files[i]);
            // A name already taken gets a new one, so that no message is written over.
            if (FileExists(target))
                target = getunusedfilename(message->Read, folder_, fileroot(files[i]), ".eml");
            if (copyfile(files[i], target)) {
                ++outcome_.Imported;
                if (!message->Read) ++unread_;
            } else
                ++outcome_.Failed;
        });
        step(static_cast<int>((i + 1) * 100 / total));
    }
}

void frmImportMail::storeMessage(const std::string& text) {
    // An opening line with nothing after it (an unquoted "From " in a body) is no message.
    if (text.find_first_not_of("\r\n \t") == std::string::npos) return;
    guarded("storeMessage", kModule, [&] {
        std::string stored = ToStoreLineEnds(text);
        size_t blank = stored.find("\r\n\r\n");
        clsMessage header;
        header.CreateFromText(blank == std::string::npos ? stored + "\r\n\r\n"
                                                         : stored.substr(0, blank) + "\r\n\r\n ",
                              true);
        std::string path = store_.unusedPath(folder_, false, header.Subject);
        if (!path.empty() && store_.write(path, stored, false)) {
            ++outcome_.Imported;
            ++unread_;
        } else
            ++outcome_.Failed;
    });
}

void frmImportMail::importMaildir(const std::string& source, bool subfolders) {
    std::vector<fs::path> boxes{fs::path(ResolvePath(ToSlashes(source)))};
    std::error_code ec;
    if (subfolders)
        for (fs::recursive_directory_iterator it(boxes.front(), ec), end; !ec && it != end;
             it.increment(ec))
            if (it->is_directory(ec) && isMaildir(it->path())) boxes.push_back(it->path());
    std::vector<fs::path> files;
    for (const auto& box : boxes)
        for (const char* part : {"cur", "new"})
            for (fs::directory_iterator it(box / part, ec), end; !ec && it != end; it.increment(ec))
                if (it->is_regular_file(ec)) files.push_back(it->path());
    // Maildir names begin with the delivery time, so their order is the mail's.
    std::sort(files.begin(), files.end());
    const size_t total = files.size();
    for (size_t i = 0; i < total && !outcome_.Stopped; ++i) {
        std::string text;
        if (LoadTextFile(files[i].string(), text) && !text.empty())
            storeMessage(text);
        else
            ++outcome_.Failed;
        step(static_cast<int>((i + 1) * 100 / total));
    }
}

void frmImportMail::importMbox(const std::string& source) {
    const std::string path = ResolvePath(ToSlashes(source));
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        ++outcome_.Failed;
        return;
    }
    const uint64_t size = static_cast<uint64_t>(std::max<long long>(1, FileSize(path)));
    MboxReader reader(in);
    std::string message;
    while (!outcome_.Stopped && reader.next(message)) {
        storeMessage(message);
        step(static_cast<int>(std::min<uint64_t>(100, reader.position() * 100 / size)));
    }
}

} // namespace corva
