// The file facility on POSIX calls. It is the default of every platform, the
// Qt one included: Qt's file classes neither sync a folder nor take a lock
// that dies with its process.
#include "platform/Files.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace corva::platform {

namespace {

FileResult failure(int number, const std::string& what) {
    FileError error = FileError::Other;
    switch (number) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        error = FileError::DiskFull;
        break;
    case EACCES:
    case EPERM:
    case EROFS:
    case EISDIR:
    case ETXTBSY:
        error = FileError::Access;
        break;
    case ENOENT:
    case ENOTDIR:
        error = FileError::NotFound;
        break;
    case ENAMETOOLONG:
    case EINVAL:
        error = FileError::BadName;
        break;
    case EEXIST:
        error = FileError::Exists;
        break;
    default:
        break;
    }
    return {error, what + ": " + std::strerror(number)};
}

FileResult writesOff(const std::string& path) {
    return {FileError::WritesOff, "not written (read-only run): " + path};
}

std::string folderOf(const std::string& path) {
    size_t slash = path.rfind('/');
    if (slash == std::string::npos) return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

// Writes bytes at offset, whatever short writes the system makes of it.
bool writeAt(int fd, std::string_view bytes, off_t offset) {
    size_t done = 0;
    while (done < bytes.size()) {
        ssize_t n = ::pwrite(fd, bytes.data() + done, bytes.size() - done,
                             offset + static_cast<off_t>(done));
        if (n < 0 && errno == EINTR) continue;
        if (n < 0) return false;
        if (n == 0) {
            errno = ENOSPC;
            return false;
        }
        done += static_cast<size_t>(n);
    }
    return true;
}

bool syncFolder(const std::string& folder) {
    int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return false;
    bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

class PosixOutputFile : public OutputFile {
public:
    explicit PosixOutputFile(FILE* file) : file_(file) {}
    ~PosixOutputFile() override { finish(); }
    bool write(std::string_view bytes) override {
        if (!file_ || failed_) return false;
        if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size()) {
            failed_ = true;
            error_ = errno;
        }
        return !failed_;
    }
    FileResult finish() override {
        if (!file_) return {};
        if (!failed_ &&
            (std::fflush(file_) != 0 || ::ftruncate(::fileno(file_), ::ftello(file_)) != 0)) {
            failed_ = true;
            error_ = errno;
        }
        if (std::fclose(file_) != 0 && !failed_) {
            failed_ = true;
            error_ = errno;
        }
        file_ = nullptr;
        return failed_ ? failure(error_, "write") : FileResult{};
    }

private:
    FILE* file_;
    bool failed_ = false;
    int error_ = 0;
};

class PosixLock : public FolderLock {
public:
    PosixLock(int fd, std::string path) : fd_(fd), path_(std::move(path)) {}
    ~PosixLock() override {
        // Removed while still held, so nobody takes over a file about to vanish.
        ::unlink(path_.c_str());
        ::close(fd_);
    }

private:
    int fd_;
    std::string path_;
};

// The private temporary folder, removed at the end of the process.
struct TempFolder {
    std::string path;
    bool tried = false;
    ~TempFolder() {
        if (path.empty()) return;
        std::error_code ec;
        std::filesystem::remove_all(path, ec);
    }
};

class PosixFiles : public Files {
public:
    FileResult replace(const std::string& path, std::string_view bytes, Durability durability,
                       const std::function<void()>& betweenSlices) override {
        if (!writesAllowed()) return writesOff(path);
        // A name of our own, so two processes saving the same file never
        // write into one temporary file.
        std::string temp = path + "~XXXXXX";
        int fd = ::mkostemp(temp.data(), O_CLOEXEC);
        if (fd < 0) return failure(errno, "create " + temp);
        const size_t slice = size_t{1} << 20;
        bool ok = true;
        for (size_t done = 0; ok && done < bytes.size();) {
            size_t end = std::min(bytes.size(), done + slice);
            ok = writeAt(fd, bytes.substr(done, end - done), static_cast<off_t>(done));
            done = end;
            // Starting each slice's writeback now keeps the final wait to the last one.
            if (ok && durability != Durability::Cached)
                ::sync_file_range(fd, 0, static_cast<off_t>(done),
                                  durability == Durability::Synced
                                      ? SYNC_FILE_RANGE_WAIT_BEFORE | SYNC_FILE_RANGE_WRITE
                                      : SYNC_FILE_RANGE_WRITE);
            if (ok && betweenSlices && done < bytes.size()) betweenSlices();
        }
        if (ok && durability == Durability::Synced) ok = ::fsync(fd) == 0;
        int error = ok ? 0 : errno;
        if (::close(fd) != 0 && ok) {
            ok = false;
            error = errno;
        }
        if (ok && ::rename(temp.c_str(), path.c_str()) != 0) {
            ok = false;
            error = errno;
        }
        if (!ok) {
            ::unlink(temp.c_str());
            return failure(error, "write " + path);
        }
        if (durability == Durability::Synced) syncFolder(folderOf(path));
        return {};
    }

    std::vector<FileResult>
    replaceAll(const std::vector<std::pair<std::string, std::string_view>>& batch) override {
        std::vector<FileResult> results(batch.size());
        if (!writesAllowed()) {
            for (size_t i = 0; i < batch.size(); ++i) results[i] = writesOff(batch[i].first);
            return results;
        }
        struct Pending {
            std::string temp;
            int fd = -1;
        };
        std::vector<Pending> pending(batch.size());
        auto fail = [&](size_t i, int error, const std::string& what) {
            if (pending[i].fd >= 0) ::close(pending[i].fd);
            pending[i].fd = -1;
            if (!pending[i].temp.empty()) ::unlink(pending[i].temp.c_str());
            pending[i].temp.clear();
            results[i] = failure(error, what);
        };
        // Everything written and on its way to the disk before the first wait.
        for (size_t i = 0; i < batch.size(); ++i) {
            const auto& [path, bytes] = batch[i];
            pending[i].temp = path + "~XXXXXX";
            pending[i].fd = ::mkostemp(pending[i].temp.data(), O_CLOEXEC);
            if (pending[i].fd < 0) {
                int error = errno;
                pending[i].temp.clear();
                fail(i, error, "create " + path);
                continue;
            }
            if (!writeAt(pending[i].fd, bytes, 0)) {
                fail(i, errno, "write " + path);
                continue;
            }
            ::sync_file_range(pending[i].fd, 0, static_cast<off_t>(bytes.size()),
                              SYNC_FILE_RANGE_WRITE);
        }
        // Only whole files get their names. One sync of the file system takes
        // them all to the disk with one flush; a flush per file costs the
        // disk's round trip a thousand times over.
        int any = -1;
        for (const Pending& p : pending)
            if (p.fd >= 0) any = p.fd;
        const bool allSynced = any >= 0 && ::syncfs(any) == 0;
        for (size_t i = 0; i < batch.size(); ++i) {
            if (pending[i].fd < 0) continue;
            if (!allSynced && ::fsync(pending[i].fd) != 0) {
                fail(i, errno, "write " + batch[i].first);
                continue;
            }
            int fd = std::exchange(pending[i].fd, -1);
            if (::close(fd) != 0) fail(i, errno, "write " + batch[i].first);
        }
        std::vector<std::string> folders;
        for (size_t i = 0; i < batch.size(); ++i) {
            if (pending[i].temp.empty() || !results[i].ok()) continue;
            if (::rename(pending[i].temp.c_str(), batch[i].first.c_str()) != 0) {
                fail(i, errno, "write " + batch[i].first);
                continue;
            }
            std::string folder = folderOf(batch[i].first);
            if (std::find(folders.begin(), folders.end(), folder) == folders.end())
                folders.push_back(folder);
        }
        for (const auto& folder : folders) syncFolder(folder);
        return results;
    }

    FileResult overwrite(const std::string& path, std::string_view bytes) override {
        if (!writesAllowed()) return writesOff(path);
        int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0) return failure(errno, "open " + path);
        bool ok = writeAt(fd, bytes, 0) && ::ftruncate(fd, static_cast<off_t>(bytes.size())) == 0;
        int error = ok ? 0 : errno;
        if (::close(fd) != 0 && ok) {
            ok = false;
            error = errno;
        }
        return ok ? FileResult{} : failure(error, "write " + path);
    }

    FileResult append(const std::string& path, std::string_view bytes) override {
        if (!writesAllowed()) return writesOff(path);
        int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
        if (fd < 0) return failure(errno, "open " + path);
        bool ok = true;
        for (size_t done = 0; ok && done < bytes.size();) {
            ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                if (n == 0) errno = ENOSPC;
                ok = false;
                break;
            }
            done += static_cast<size_t>(n);
        }
        int error = ok ? 0 : errno;
        if (::close(fd) != 0 && ok) {
            ok = false;
            error = errno;
        }
        return ok ? FileResult{} : failure(error, "append to " + path);
    }

    std::unique_ptr<OutputFile> openOverwrite(const std::string& path,
                                              FileResult& result) override {
        result = {};
        if (!writesAllowed()) {
            result = writesOff(path);
            return nullptr;
        }
        int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0 && errno == EACCES && ::unlink(path.c_str()) == 0)
            fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (fd < 0) {
            result = failure(errno, "open " + path);
            return nullptr;
        }
        FILE* file = ::fdopen(fd, "wb");
        if (!file) {
            result = failure(errno, "open " + path);
            ::close(fd);
            return nullptr;
        }
        return std::make_unique<PosixOutputFile>(file);
    }

    FileResult readFile(const std::string& path, long long limit, FileContents& contents) override {
        contents = {};
        int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
        if (fd < 0) return failure(errno, "open " + path);
        struct stat st;
        if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
            ::close(fd);
            return {FileError::NotAFile, path + " is not a regular file"};
        }
        contents.length = static_cast<long long>(st.st_size);
        contents.modified = static_cast<long long>(st.st_mtim.tv_sec);
        long long want = limit >= 0 && contents.length > limit ? limit : contents.length;
        contents.bytes.resize(static_cast<size_t>(want));
        long long done = 0;
        while (done < want) {
            ssize_t n = ::read(fd, contents.bytes.data() + done, static_cast<size_t>(want - done));
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) break;
            done += n;
        }
        ::close(fd);
        contents.bytes.resize(static_cast<size_t>(done));
        return {};
    }

    FileResult createExclusive(const std::string& path) override {
        if (!writesAllowed()) return writesOff(path);
        int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0) return failure(errno, "create " + path);
        ::close(fd);
        return {};
    }

    FileResult makeFolder(const std::string& path) override {
        if (!writesAllowed()) return writesOff(path);
        if (path.empty()) return {};
        // Each missing step is made by hand: create_directories would give 0777 less umask.
        for (size_t slash = path.find('/', 1);; slash = path.find('/', slash + 1)) {
            std::string step = slash == std::string::npos ? path : path.substr(0, slash);
            if (!step.empty() && ::mkdir(step.c_str(), 0700) != 0 && errno != EEXIST)
                return failure(errno, "create folder " + step);
            if (slash == std::string::npos) break;
        }
        struct stat st {};
        if (::stat(path.c_str(), &st) != 0) return failure(errno, "create folder " + path);
        if (!S_ISDIR(st.st_mode)) return failure(ENOTDIR, "create folder " + path);
        return {};
    }

    FileResult restrictToOwner(const std::string& path) override {
        if (!writesAllowed()) return writesOff(path);
        struct stat st {};
        if (::stat(path.c_str(), &st) != 0) return failure(errno, path);
        mode_t mode = S_ISDIR(st.st_mode) ? 0700 : (st.st_mode & 0700);
        if ((st.st_mode & 07777) == mode) return {};
        if (::chmod(path.c_str(), mode) != 0) return failure(errno, "chmod " + path);
        return {};
    }

    std::string privateTempFolder() override {
        if (!temp_.tried) {
            temp_.tried = true;
            const char* base = std::getenv("TMPDIR");
            std::string pattern = std::string(base && *base ? base : "/tmp") + "/corva-XXXXXX";
            if (::mkdtemp(pattern.data())) temp_.path = pattern;
        }
        return temp_.path;
    }

    LockAttempt lock(const std::string& path) override {
        LockAttempt attempt;
        if (!writesAllowed()) {
            attempt.result = writesOff(path);
            return attempt;
        }
        // The kernel's lock on the open file is the truth: it dies with its
        // process, so a lock file left by a crash is simply taken. The pid in
        // the file tells the refused who is in the way.
        for (int round = 0; round < 5; ++round) {
            int fd = ::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
            if (fd < 0) {
                attempt.result = failure(errno, "open " + path);
                return attempt;
            }
            if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
                int error = errno;
                char text[32] = {};
                ssize_t n = ::pread(fd, text, sizeof text - 1, 0);
                ::close(fd);
                if (error != EWOULDBLOCK) {
                    attempt.result = failure(error, "lock " + path);
                    return attempt;
                }
                attempt.ownerPid = n > 0 ? std::strtol(text, nullptr, 10) : 0;
                attempt.result = {FileError::Access, "locked by another process: " + path};
                return attempt;
            }
            // The holder before us may have removed the file between our open
            // and our lock; then we hold a lock on nothing and try again.
            struct stat mine {
            }, named{};
            if (::fstat(fd, &mine) != 0 || ::stat(path.c_str(), &named) != 0 ||
                mine.st_ino != named.st_ino || mine.st_dev != named.st_dev) {
                ::close(fd);
                continue;
            }
            std::string pid = std::to_string(static_cast<long>(::getpid())) + "\n";
            if (::ftruncate(fd, 0) != 0 || !writeAt(fd, pid, 0)) {
                attempt.result = failure(errno, "write " + path);
                ::close(fd);
                return attempt;
            }
            attempt.lock = std::make_unique<PosixLock>(fd, path);
            return attempt;
        }
        attempt.result = {FileError::Other, "lock keeps moving: " + path};
        return attempt;
    }

private:
    TempFolder temp_;
};

} // namespace

Files& systemFiles() {
    static PosixFiles files;
    return files;
}

} // namespace corva::platform
