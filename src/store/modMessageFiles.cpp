#include "store/modMessageFiles.h"

#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace corva {

namespace {

const char* kModule = "modMessageFiles";

// Reads up to limit bytes (all when negative). Non-blocking open, so a FIFO
// or device named like a message can't hang the folder.
bool readBytes(const std::string& path, long long limit, std::string& text, long long& length,
               DateTime& written) {
    int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0)
        throw RunError(errno == EACCES ? Err::PermissionDenied : Err::PathFileAccess,
                       path + ": " + std::strerror(errno));
    struct stat st;
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        throw RunError(Err::BadFileName, path + " is not a message file");
    }
    length = static_cast<long long>(st.st_size);
    written = DateTime::fromTimeT(st.st_mtim.tv_sec);
    long long want = limit >= 0 && length > limit ? limit : length;
    text.resize(static_cast<size_t>(want));
    long long done = 0;
    while (done < want) {
        ssize_t n = ::read(fd, text.data() + done, static_cast<size_t>(want - done));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) break;
        done += n;
    }
    ::close(fd);
    text.resize(static_cast<size_t>(done));
    return true;
}

// Writes beside the target and renames over it. The name is used exactly as
// given: resolving it without regard to case would land on the file's other
// spelling, which is about to be removed.
void writeExactly(const std::string& path, const std::string& text) {
    if (!WriteFileExactly(path, text)) throw RunError(Err::DiskFull, "Can't write " + path);
}

bool isFile(const std::string& path) {
    struct stat st;
    return ::lstat(path.c_str(), &st) == 0 && !S_ISDIR(st.st_mode);
}

} // namespace

std::shared_ptr<clsMessage> readmessage(const std::string& rawPath, bool headerOnly) {
    auto message = std::make_shared<clsMessage>();
    guarded("readmessage", kModule, [&] {
        std::string path = ResolvePath(rawPath);
        struct stat st;
        if (::stat(path.c_str(), &st) != 0) {
            // A link to nothing is listed like a message but can't be one.
            if (::lstat(path.c_str(), &st) == 0) throw RunError(Err::FileNotFound, path);
            return;
        }
        if (S_ISDIR(st.st_mode)) return;

        std::string text;
        long long length = 0;
        DateTime written;
        readBytes(path, headerOnly ? HeaderReadLimit : -1, text, length, written);
        if (length == 0) {
            RecordAction("Empty message file " + path, "readmessage", kModule);
            return;
        }
        size_t blank = InStr(text, "\r\n\r\n");
        if (headerOnly) {
            if (blank == 0) {
                if (InStr(text, "\r\n") == 0) text = Replace(text, "\n", "\r\n");
                text += "\r\n\r\n";
            } else {
                // Only the header is kept, so a cut body can't confuse the parser.
                text = Left(text, blank) + "\r\n\r\n ";
            }
        }
        message->CreateFromText(text, headerOnly);
        message->setFilename(path);
        if (message->ReceiveDate.empty())
            message->ReceiveDate = written.format("yyyy-mm-dd hh:nn:ss");
        float size = static_cast<float>(std::nearbyint(static_cast<double>(length) / 1024.0));
        message->Size = size == 0 ? 1.0f : size;
    });
    return message;
}

std::shared_ptr<clsMessage> readmessageheader(const std::string& path) {
    return readmessage(path, true);
}

std::shared_ptr<clsMessage> readfullmessage(const std::string& path) {
    return readmessage(path, false);
}

void savemessage(const clsMessage& message) {
    guarded("savemessage", kModule, [&] {
        std::string path = message.Filename();
        if (Trim(path).empty()) return;
        std::string folder = addslash(ResolvePath(pathonly(path)));
        std::string name = fileonly(path);
        std::string raw = message.RawMessage();
        bool empty = Trim(Replace(raw, "\r\n", "")).empty();
        // The other spellings are the same message in its old read state. Our
        // own names are all upper or all lower case; a name of mixed case (a
        // file brought in from elsewhere) is looked for only when neither is there.
        std::vector<std::string> others;
        for (const std::string& other : {LCase(name), UCase(name), name})
            if (isFile(folder + other) &&
                std::find(others.begin(), others.end(), other) == others.end())
                others.push_back(other);
        if (others.empty()) {
            if (DIR* dir = ::opendir(folder.c_str())) {
                while (dirent* e = ::readdir(dir))
                    if (EqualsNoCase(e->d_name, name) && isFile(folder + e->d_name))
                        others.push_back(e->d_name);
                ::closedir(dir);
            }
        }
        if (!empty) writeExactly(folder + name, raw);
        // They go only once the new text is safely written.
        for (const std::string& other : others)
            if (empty || other != name) ::unlink((folder + other).c_str());
    });
}

} // namespace corva
