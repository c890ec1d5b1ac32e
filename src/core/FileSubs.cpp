#include "core/FileSubs.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDGeneral.h"
#include "core/mSHAREDLogging.h"
#include "platform/Platform.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace corva {

namespace {

const char* kModule = "FileSubs";

bool statPath(const std::string& path, struct stat& st) {
    return ::stat(path.c_str(), &st) == 0;
}

bool entryExists(const std::string& path) {
    struct stat st;
    return statPath(path, st);
}

// The entry of a folder whose name equals name without regard to case, or "".
std::string findNoCase(const std::string& folder, const std::string& name) {
    DIR* dir = ::opendir(folder.empty() ? "." : folder.c_str());
    if (!dir) return "";
    std::string found;
    while (dirent* e = ::readdir(dir)) {
        if (EqualsNoCase(e->d_name, name)) {
            found = e->d_name;
            break;
        }
    }
    ::closedir(dir);
    return found;
}

} // namespace

std::string ToSlashes(std::string_view path) {
    return Replace(path, "\\", "/");
}

std::string ResolvePath(const std::string& rawPath) {
    std::string path = ToSlashes(rawPath);
    if (path.empty() || entryExists(path)) return path;
    bool absolute = path[0] == '/';
    bool trailing = path.back() == '/';
    std::vector<std::string> parts = Split(path, "/");
    std::string resolved = absolute ? "/" : "";
    bool lost = false; // once a component is missing, the rest is kept as given
    for (size_t i = 0; i < parts.size(); ++i) {
        const std::string& part = parts[i];
        if (part.empty()) continue;
        std::string candidate = resolved + part;
        if (!lost && !entryExists(candidate) && part != "." && part != "..") {
            std::string match = findNoCase(resolved.empty() ? "." : resolved, part);
            if (!match.empty())
                candidate = resolved + match;
            else
                lost = true;
        }
        resolved = candidate;
        if (i + 1 < parts.size()) resolved += "/";
    }
    if (trailing && (resolved.empty() || resolved.back() != '/')) resolved += "/";
    return resolved;
}

bool FileExists(const std::string& path) {
    if (Trim(path).empty()) return false;
    struct stat st;
    return statPath(ResolvePath(path), st) && !S_ISDIR(st.st_mode);
}

bool FolderExists(const std::string& path) {
    std::string p = ToSlashes(path);
    while (p.size() > 1 && p.back() == '/') p.pop_back();
    if (p.empty()) return false;
    struct stat st;
    return statPath(ResolvePath(p), st) && S_ISDIR(st.st_mode);
}

void MkMissingDir(const std::string& rawPath) {
    guarded("MkMissingDir", kModule, [&] {
        std::string path = Trim(ToSlashes(rawPath));
        if (path.empty() || FolderExists(path)) return;
        std::error_code ec;
        fs::create_directories(ResolvePath(path), ec);
        if (ec) throw RunError(Err::PathFileAccess, ec.message());
    });
}

std::string pathonly(const std::string& name) {
    std::string n = ToSlashes(name);
    size_t p = n.rfind('/');
    return p == std::string::npos ? "./" : n.substr(0, p + 1);
}

std::string fileonly(const std::string& name) {
    std::string n = ToSlashes(name);
    size_t p = n.rfind('/');
    return p == std::string::npos ? n : n.substr(p + 1);
}

std::string extonly(const std::string& name) {
    size_t p = name.rfind('.');
    return p == std::string::npos ? "" : name.substr(p + 1);
}

std::string filewithoutext(const std::string& name) {
    size_t dot = name.rfind('.');
    size_t slash = ToSlashes(name).rfind('/');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return name;
    return name.substr(0, dot);
}

std::string fileroot(const std::string& name) {
    return filewithoutext(fileonly(name));
}
std::string fileexpath(const std::string& name) {
    return fileonly(name);
}

std::string addslash(const std::string& path) {
    if (path.empty() || path.back() == '/' || path.back() == '\\') return path;
    return path + "/";
}

void cleanstring(std::string& text) {
    for (char& c : text) {
        switch (c) {
        case '\\':
        case '/':
        case ':':
        case '*':
        case '?':
        case '<':
        case '>':
        case '|':
        case '&':
        case ',':
        case '%':
            c = ' ';
            break;
        default:
            break;
        }
    }
    // Device names are tested before the trim, so " CON" stays as it is.
    if (text == "PRN" || text == "CON" || text == "NUL" || text == "AUX") text += "1";
    for (char& c : text)
        if (c == '"') c = ' ';
    text = Trim(text);
}

std::string getunusedfilename(bool lowerCase, const std::string& rawFolder,
                              const std::string& rawBase, const std::string& rawExtension) {
    std::string resolvedFolder;
    // Our own files are all lower or all upper case: both are taken.
    return getunusedfilename(
        lowerCase, rawFolder, rawBase, rawExtension, [&](const std::string& name) {
            if (resolvedFolder.empty())
                resolvedFolder = addslash(ResolvePath(addslash(ToSlashes(rawFolder))));
            return entryExists(resolvedFolder + name) || entryExists(resolvedFolder + UCase(name));
        });
}

std::string getunusedfilename(bool lowerCase, const std::string& rawFolder,
                              const std::string& rawBase, const std::string& rawExtension,
                              const std::function<bool(const std::string&)>& taken) {
    return guardedValue("getunusedfilename", kModule, std::string(), [&] {
        std::string extension = rawExtension;
        if (!extension.empty() && extension[0] != '.') extension = "." + extension;
        std::string base = rawBase;
        size_t paren = base.rfind('(');
        if (paren != std::string::npos) base = base.substr(0, paren);
        removenonalphanumeric(base);
        base = Trim(base);
        if (base.empty()) base = "message";
        base += DateTime::now().format(" (HHMMSS-YYMMDD) ");
        std::string folder = addslash(ToSlashes(rawFolder));
        std::string number;
        std::string name;
        for (;;) {
            name = LCase(base + number + extension);
            if (!taken(name)) break;
            number = number.empty() ? "1" : std::to_string(std::stoll(number) + 1);
        }
        // The read state lives in the case of the file's own name, never in its folders.
        return folder + (lowerCase ? name : UCase(name));
    });
}

bool copyfile(const std::string& rawSource, const std::string& rawDestination,
              const std::function<void(const std::string&)>& progress) {
    return guardedValue("copyfile", kModule, false, [&] {
        std::string source = ResolvePath(rawSource);
        std::string destination = ResolvePath(rawDestination);
        if (!FileExists(source)) {
            LogAction(source + " doesn't exist, can't copy it");
            return false;
        }
        if (FileExists(destination) && isReadOnly(destination) && !MakeReadWrite(destination)) {
            LogAction(destination +
                      " is read only, can't change it to read write, can't update it");
            return false;
        }
        EraseFile(destination);
        DateTime date = FileDate(source);
        FILE* in = std::fopen(source.c_str(), "rb");
        if (!in) throw RunError(Err::PathFileAccess);
        FILE* out = std::fopen(destination.c_str(), "wb");
        if (!out) {
            std::fclose(in);
            throw RunError(Err::PathFileAccess);
        }
        std::vector<char> block(256000);
        long long sinceReport = 0;
        bool ok = true;
        for (;;) {
            size_t n = std::fread(block.data(), 1, block.size(), in);
            if (n == 0) break;
            if (std::fwrite(block.data(), 1, n, out) != n) {
                ok = false;
                break;
            }
            sinceReport += static_cast<long long>(n);
            if (sinceReport >= 1500000) {
                sinceReport = 0;
                if (progress) progress(fileonly(source));
                DoEvents();
            }
        }
        std::fclose(in);
        if (std::fclose(out) != 0) ok = false;
        if (!ok) throw RunError(Err::DiskFull);
        SetFileDate(destination, date);
        return true;
    });
}

bool movefile(const std::string& rawSource, const std::string& destination) {
    return guardedValue("movefile", kModule, false, [&] {
        std::string source = ResolvePath(rawSource);
        std::string dest = ResolvePath(destination);
        if (FileExists(dest)) MakeReadWrite(dest);
        if (::rename(source.c_str(), dest.c_str()) == 0) return true;
        if (errno == EXDEV && copyfile(source, dest)) return EraseFile(source);
        return false;
    });
}

bool isReadOnly(const std::string& path) {
    struct stat st;
    if (!statPath(ResolvePath(path), st)) return false;
    return (st.st_mode & S_IWUSR) == 0;
}

bool MakeReadWrite(const std::string& rawPath) {
    std::string path = ResolvePath(rawPath);
    struct stat st;
    if (!statPath(path, st)) return false;
    if (st.st_mode & S_IWUSR) return true;
    return ::chmod(path.c_str(), st.st_mode | S_IWUSR) == 0;
}

bool EraseFile(const std::string& path) {
    std::string p = ResolvePath(path);
    return ::unlink(p.c_str()) == 0;
}

long long FileSize(const std::string& path) {
    struct stat st;
    if (!statPath(ResolvePath(path), st)) return 0;
    return static_cast<long long>(st.st_size);
}

DateTime FileDate(const std::string& path) {
    struct stat st;
    if (!statPath(ResolvePath(path), st)) return DateTime();
    return DateTime::fromTimeT(st.st_mtim.tv_sec);
}

bool SetFileDate(const std::string& path, const DateTime& date) {
    timeval times[2];
    times[0].tv_sec = times[1].tv_sec = static_cast<time_t>(date.toTimeT());
    times[0].tv_usec = times[1].tv_usec = 0;
    return ::utimes(ResolvePath(path).c_str(), times) == 0;
}

bool LoadTextFile(const std::string& path, std::string& text) {
    text.clear();
    return guardedValue("LoadTextFile", kModule, false, [&] {
        std::string p = ResolvePath(path);
        int fd = ::open(p.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) return false;
        struct stat st;
        if (::fstat(fd, &st) != 0 || S_ISDIR(st.st_mode)) {
            ::close(fd);
            return false;
        }
        if (st.st_size > 0) text.reserve(static_cast<size_t>(st.st_size));
        char buffer[65536];
        for (;;) {
            ssize_t n = ::read(fd, buffer, sizeof buffer);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) break;
            text.append(buffer, static_cast<size_t>(n));
        }
        ::close(fd);
        return true;
    });
}

std::string LoadTextFile(const std::string& path) {
    std::string text;
    LoadTextFile(path, text);
    return text;
}

namespace {
bool writeBytes(const std::string& path, const std::string& text, const char* mode) {
    FILE* f = std::fopen(path.c_str(), mode);
    if (!f) return false;
    bool ok = std::fwrite(text.data(), 1, text.size(), f) == text.size();
    return std::fclose(f) == 0 && ok;
}
} // namespace

bool WriteTextFile(const std::string& path, const std::string& text) {
    return guardedValue("WriteTextFile", kModule, false, [&] {
        std::string p = ResolvePath(path);
        if (FileExists(p)) MakeReadWrite(p);
        return writeBytes(p, text, "wb");
    });
}

bool AppendToTextFile(const std::string& path, const std::string& text) {
    return guardedValue("AppendToTextFile", kModule, false, [&] {
        std::string p = ResolvePath(path);
        if (FileExists(p)) MakeReadWrite(p);
        return writeBytes(p, text, "ab");
    });
}

namespace {
// Writes text[from, to) at the same offsets in the file, whatever short
// writes the system makes of it.
bool writeRange(int fd, const std::string& text, size_t from, size_t to) {
    while (from < to) {
        ssize_t n = ::pwrite(fd, text.data() + from, to - from, static_cast<off_t>(from));
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return false;
        from += static_cast<size_t>(n);
    }
    return true;
}
} // namespace

bool WriteFileExactly(const std::string& target, const std::string& text, bool sync) {
    return WriteFileInSlices(target, text, sync ? Durability::Synced : Durability::Cached, false);
}

bool WriteFileInSlices(const std::string& target, const std::string& text, Durability durability,
                       bool yield) {
    return guardedValue("WriteFileInSlices", kModule, false, [&] {
        std::string temp = target + ".part";
        int fd = ::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
        if (fd < 0) return false;
        const size_t slice = size_t{1} << 20;
        bool ok = true;
        for (size_t done = 0; ok && done < text.size();) {
            size_t end = std::min(text.size(), done + slice);
            ok = writeRange(fd, text, done, end);
            done = end;
            // Waiting for the slices before keeps the final wait to the last one.
            if (ok && durability != Durability::Cached)
                ::sync_file_range(fd, 0, static_cast<off_t>(done),
                                  durability == Durability::Synced
                                      ? SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE
                                      : SYNC_FILE_RANGE_WRITE);
            if (yield && done < text.size()) DoEvents();
        }
        if (durability == Durability::Synced) ok = ::fsync(fd) == 0 && ok;
        ok = ::close(fd) == 0 && ok;
        if (!ok || ::rename(temp.c_str(), target.c_str()) != 0) {
            ::unlink(temp.c_str());
            return false;
        }
        return true;
    });
}

bool WriteFileInPlace(const std::string& path, const std::string& text) {
    return guardedValue("WriteFileInPlace", kModule, false, [&] {
        std::string target = ResolvePath(path);
        if (FileExists(target)) MakeReadWrite(target);
        int fd = ::open(target.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (fd < 0) return false;
        bool ok = writeRange(fd, text, 0, text.size()) &&
                  ::ftruncate(fd, static_cast<off_t>(text.size())) == 0;
        return ::close(fd) == 0 && ok;
    });
}

bool WriteFileAtomically(const std::string& path, const std::string& text, bool sync) {
    return WriteFileExactly(ResolvePath(path), text, sync);
}

long long CountLines(const std::string& path) {
    std::string text;
    if (!LoadTextFile(path, text)) return 0;
    long long lines = 0;
    for (char c : text)
        if (c == '\n') ++lines;
    if (!text.empty() && text.back() != '\n') ++lines;
    return lines;
}

void FillFiles(const std::string& rawFolder, const std::string& types,
               std::vector<std::string>& files, bool onlyNewer, bool onlyOlder,
               const DateTime& date, std::vector<FileRecord>* details) {
    guarded("FillFiles", kModule, [&] {
        std::string folder = addslash(ResolvePath(ToSlashes(rawFolder)));
        DIR* dir = ::opendir(folder.c_str());
        if (!dir) return;
        int seen = 0;
        while (dirent* e = ::readdir(dir)) {
            std::string name = e->d_name;
            if (name == "." || name == "..") continue;
            struct stat st;
            if (!statPath(folder + name, st) || S_ISDIR(st.st_mode)) continue;
            size_t dot = name.rfind('.');
            std::string ext = dot == std::string::npos ? "" : name.substr(dot + 1);
            bool counts = ext.empty() ? types.empty() : InStrNoCase(types, ext) > 0;
            if (!counts) continue;
            if (onlyNewer || onlyOlder) {
                DateTime written = DateTime::fromTimeT(st.st_mtim.tv_sec);
                if (onlyNewer && written < date) continue;
                if (onlyOlder && written > date) continue;
            }
            files.push_back(name);
            if (details) details->push_back({name, folder, static_cast<long long>(st.st_size)});
            if (++seen % 50 == 0) DoEvents();
        }
        ::closedir(dir);
    });
}

void fillfolders(const std::string& rawFolder, std::vector<std::string>& folders) {
    guarded("fillfolders", kModule, [&] {
        std::string folder = addslash(ResolvePath(ToSlashes(rawFolder)));
        DIR* dir = ::opendir(folder.c_str());
        if (!dir) return;
        while (dirent* e = ::readdir(dir)) {
            std::string name = e->d_name;
            if (name == "." || name == "..") continue;
            struct stat st;
            if (statPath(folder + name, st) && S_ISDIR(st.st_mode)) folders.push_back(name);
        }
        ::closedir(dir);
    });
}

void fillfoldersrecursed(const std::string& folder, std::vector<std::string>& folders) {
    std::vector<std::string> here;
    fillfolders(folder, here);
    for (const auto& name : here) {
        std::string full = addslash(ToSlashes(folder)) + name + "/";
        folders.push_back(full);
        fillfoldersrecursed(full, folders);
    }
}

void fillfilesrecursed(const std::string& folder, const std::string& types,
                       std::vector<std::string>& files) {
    std::vector<std::string> names;
    std::string base = addslash(ToSlashes(folder));
    FillFiles(base, types, names);
    for (auto& n : names) files.push_back(base + n);
    std::vector<std::string> subs;
    fillfolders(base, subs);
    for (const auto& s : subs) fillfilesrecursed(base + s + "/", types, files);
}

bool RunFile(const std::string& file, const std::string& parameters) {
    (void)parameters;
    return platform::current().shell().open(ResolvePath(file));
}

} // namespace corva
