#include "core/FileSubs.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDGeneral.h"
#include "core/mSHAREDLogging.h"
#include "platform/Platform.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace fs = std::filesystem;

namespace corva {

namespace {

const char* kModule = "FileSubs";

platform::Files& files() {
    return platform::current().files();
}

bool writesOff() {
    return !files().writesAllowed();
}

fs::file_status statusOf(const std::string& path) {
    std::error_code ec;
    return fs::status(path, ec);
}

bool entryExists(const std::string& path) {
    std::error_code ec;
    return fs::exists(fs::symlink_status(path, ec));
}

// The entry of a folder whose name equals name without regard to case, or "".
std::string findNoCase(const std::string& folder, const std::string& name) {
    std::error_code ec;
    for (fs::directory_iterator it(folder.empty() ? "." : folder, ec), end; !ec && it != end;
         it.increment(ec)) {
        std::string entry = it->path().filename().string();
        if (EqualsNoCase(entry, name)) return entry;
    }
    return "";
}

DateTime fromFileTime(fs::file_time_type written) {
    auto system = std::chrono::file_clock::to_sys(written);
    return DateTime::fromTimeT(std::chrono::system_clock::to_time_t(
        std::chrono::time_point_cast<std::chrono::system_clock::duration>(system)));
}

// True when the file holds exactly text already; then it is only narrowed to
// its owner, and not written. The size is compared first, so a changed file
// costs no read.
bool alreadyHolds(const std::string& path, const std::string& text) {
    std::error_code ec;
    if (!fs::is_regular_file(statusOf(path)) || fs::file_size(path, ec) != text.size() || ec)
        return false;
    std::string current;
    if (!LoadTextFile(path, current) || current != text) return false;
    if (files().writesAllowed()) files().restrictToOwner(path);
    return true;
}

// Records a failed write where the user's error reports look, and says false.
bool reportFailure(const char* procedure, const platform::FileResult& result) {
    if (result.ok()) return true;
    if (result.error != platform::FileError::WritesOff) NoteFailedWrite(procedure, result.detail);
    return false;
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
    fs::file_status st = statusOf(ResolvePath(path));
    return fs::exists(st) && !fs::is_directory(st);
}

bool FolderExists(const std::string& path) {
    std::string p = ToSlashes(path);
    while (p.size() > 1 && p.back() == '/') p.pop_back();
    if (p.empty()) return false;
    return fs::is_directory(statusOf(ResolvePath(p)));
}

void MkMissingDir(const std::string& rawPath) {
    guarded("MkMissingDir", kModule, [&] {
        std::string path = Trim(ToSlashes(rawPath));
        if (path.empty()) return;
        // Resolving a missing name reads its whole parent folder (a spam folder
        // of thousands of files), so one resolution serves the look and the make.
        std::string bare = path;
        while (bare.size() > 1 && bare.back() == '/') bare.pop_back();
        std::string resolved = ResolvePath(bare);
        if (fs::is_directory(statusOf(resolved))) return;
        if (bare != path) resolved = ResolvePath(path);
        platform::FileResult made = files().makeFolder(resolved);
        if (!made && made.error != platform::FileError::WritesOff)
            throw RunError(Err::PathFileAccess, made.detail);
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
        std::ifstream in(source, std::ios::binary);
        if (!in) throw RunError(Err::PathFileAccess);
        platform::FileResult opened;
        auto out = files().openOverwrite(destination, opened);
        if (!out) return reportFailure("copyfile", opened);
        std::vector<char> block(256000);
        long long sinceReport = 0;
        bool ok = true;
        while (ok && in) {
            in.read(block.data(), static_cast<std::streamsize>(block.size()));
            size_t n = static_cast<size_t>(in.gcount());
            if (n == 0) break;
            ok = out->write(std::string_view(block.data(), n));
            sinceReport += static_cast<long long>(n);
            if (sinceReport >= 1500000) {
                sinceReport = 0;
                if (progress) progress(fileonly(source));
                DoEvents();
            }
        }
        platform::FileResult finished = out->finish();
        if (!ok || !finished) {
            EraseFile(destination);
            reportFailure("copyfile", finished);
            throw RunError(Err::DiskFull);
        }
        SetFileDate(destination, date);
        return true;
    });
}

bool movefile(const std::string& rawSource, const std::string& destination) {
    return guardedValue("movefile", kModule, false, [&] {
        std::string source = ResolvePath(rawSource);
        std::string dest = ResolvePath(destination);
        if (writesOff()) return false;
        if (FileExists(dest)) MakeReadWrite(dest);
        std::error_code ec;
        fs::rename(source, dest, ec);
        if (!ec) return true;
        if (ec == std::errc::cross_device_link && copyfile(source, dest)) return EraseFile(source);
        return false;
    });
}

bool isReadOnly(const std::string& path) {
    fs::file_status st = statusOf(ResolvePath(path));
    return fs::exists(st) && (st.permissions() & fs::perms::owner_write) == fs::perms::none;
}

bool MakeReadWrite(const std::string& rawPath) {
    std::string path = ResolvePath(rawPath);
    fs::file_status st = statusOf(path);
    if (!fs::exists(st)) return false;
    if ((st.permissions() & fs::perms::owner_write) != fs::perms::none) return true;
    if (writesOff()) return false;
    std::error_code ec;
    fs::permissions(path, fs::perms::owner_write, fs::perm_options::add, ec);
    return !ec;
}

bool EraseFile(const std::string& path) {
    if (writesOff()) return false;
    std::error_code ec;
    return fs::remove(ResolvePath(path), ec) && !ec;
}

long long FileSize(const std::string& path) {
    std::error_code ec;
    std::string p = ResolvePath(path);
    if (!fs::is_regular_file(statusOf(p))) return 0;
    auto size = fs::file_size(p, ec);
    return ec ? 0 : static_cast<long long>(size);
}

DateTime FileDate(const std::string& path) {
    std::error_code ec;
    auto written = fs::last_write_time(ResolvePath(path), ec);
    return ec ? DateTime() : fromFileTime(written);
}

bool SetFileDate(const std::string& path, const DateTime& date) {
    if (writesOff()) return false;
    auto system = std::chrono::system_clock::from_time_t(static_cast<std::time_t>(date.toTimeT()));
    std::error_code ec;
    fs::last_write_time(ResolvePath(path), std::chrono::file_clock::from_sys(system), ec);
    return !ec;
}

bool LoadTextFile(const std::string& path, std::string& text) {
    text.clear();
    return guardedValue("LoadTextFile", kModule, false, [&] {
        std::string p = ResolvePath(path);
        if (fs::is_directory(statusOf(p))) return false;
        std::FILE* f = std::fopen(p.c_str(), "rbe");
        if (!f) return false;
        std::error_code ec;
        auto size = fs::file_size(p, ec);
        if (!ec && size > 0) text.reserve(static_cast<size_t>(size));
        char buffer[65536];
        while (size_t n = std::fread(buffer, 1, sizeof buffer, f)) text.append(buffer, n);
        bool ok = !std::ferror(f);
        std::fclose(f);
        return ok;
    });
}

std::string LoadTextFile(const std::string& path) {
    std::string text;
    LoadTextFile(path, text);
    return text;
}

bool WriteTextFile(const std::string& path, const std::string& text) {
    return WriteFileAtomically(path, text, true);
}

bool AppendToTextFile(const std::string& path, const std::string& text) {
    return guardedValue("AppendToTextFile", kModule, false, [&] {
        std::string p = ResolvePath(path);
        if (FileExists(p)) MakeReadWrite(p);
        return reportFailure("AppendToTextFile", files().append(p, text));
    });
}

bool WriteFileExactly(const std::string& target, const std::string& text, bool sync) {
    return WriteFileInSlices(target, text, sync ? Durability::Synced : Durability::Cached, false);
}

std::vector<bool> WriteFilesExactly(const std::vector<std::pair<std::string, std::string>>& batch) {
    std::vector<bool> written(batch.size(), false);
    guarded("WriteFilesExactly", kModule, [&] {
        std::vector<std::pair<std::string, std::string_view>> views;
        views.reserve(batch.size());
        for (const auto& [path, text] : batch) views.emplace_back(path, text);
        std::vector<platform::FileResult> results = files().replaceAll(views);
        for (size_t i = 0; i < results.size() && i < written.size(); ++i)
            written[i] = reportFailure("WriteFilesExactly", results[i]);
    });
    return written;
}

bool WriteFileInSlices(const std::string& target, const std::string& text, Durability durability,
                       bool yield) {
    return guardedValue("WriteFileInSlices", kModule, false, [&] {
        std::function<void()> pass;
        if (yield) pass = [] { DoEvents(); };
        return reportFailure("WriteFileInSlices", files().replace(target, text, durability, pass));
    });
}

bool WriteFileInPlace(const std::string& path, const std::string& text) {
    return guardedValue("WriteFileInPlace", kModule, false, [&] {
        std::string target = ResolvePath(path);
        if (alreadyHolds(target, text)) return true;
        if (FileExists(target)) MakeReadWrite(target);
        return reportFailure("WriteFileInPlace", files().overwrite(target, text));
    });
}

bool WriteFileAtomically(const std::string& path, const std::string& text, bool sync) {
    std::string target = ResolvePath(path);
    if (alreadyHolds(target, text)) return true;
    return WriteFileExactly(target, text, sync);
}

namespace {
int g_failedWrites = 0;
}

void NoteFailedWrite(const std::string& procedure, const std::string& detail) {
    ++g_failedWrites;
    RecordAction("Write failed: " + detail, procedure, kModule);
    LogAction("Write failed in " + procedure + ": " + detail);
}

int FailedWrites() {
    return g_failedWrites;
}

bool CopyToBackup(const std::string& path) {
    std::string text;
    if (!FileExists(path) || !LoadTextFile(path, text)) return false;
    return WriteFileAtomically(ResolvePath(path) + ".bak", text, true);
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
        std::error_code ec;
        int seen = 0;
        for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
            // The entry's type comes with the listing; only a link (or a file
            // system that doesn't say) costs a look at the file itself.
            std::error_code statError;
            const bool folderEntry = it->is_directory(statError);
            if (statError || folderEntry) continue;
            const std::string& full = it->path().native();
            std::string name = full.substr(full.rfind('/') + 1);
            size_t dot = name.rfind('.');
            std::string ext = dot == std::string::npos ? "" : name.substr(dot + 1);
            bool counts = ext.empty() ? types.empty() : InStrNoCase(types, ext) > 0;
            if (!counts) continue;
            if (onlyNewer || onlyOlder) {
                std::error_code timeError;
                DateTime written = fromFileTime(it->last_write_time(timeError));
                if (onlyNewer && written < date) continue;
                if (onlyOlder && written > date) continue;
            }
            files.push_back(name);
            if (details) {
                std::error_code sizeError;
                auto size = it->file_size(sizeError);
                details->push_back({name, folder, sizeError ? 0 : static_cast<long long>(size)});
            }
            if (++seen % 50 == 0) DoEvents();
        }
    });
}

void fillfolders(const std::string& rawFolder, std::vector<std::string>& folders) {
    guarded("fillfolders", kModule, [&] {
        std::string folder = addslash(ResolvePath(ToSlashes(rawFolder)));
        std::error_code ec;
        for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
            std::error_code statError;
            if (fs::is_directory(it->status(statError)) && !statError)
                folders.push_back(it->path().filename().string());
        }
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
