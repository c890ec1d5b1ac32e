// The file facility under every write: modes, the read-only switch, the lock
// that keeps one writer per program folder, and saves racing each other.
#include "core/FileSubs.h"
#include "core/cSHAREDSettings.h"
#include "platform/Platform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace corva;
using corva::test::TempDir;

namespace {

unsigned modeOf(const std::string& path) {
    struct stat st {};
    return ::stat(path.c_str(), &st) == 0 ? st.st_mode & 0777 : 0;
}

long entries(const std::string& folder) {
    return std::distance(std::filesystem::directory_iterator(folder), {});
}

// Every way of writing, each making or changing the file at path.
struct Writer {
    const char* name;
    platform::FileResult (*write)(platform::Files&, const std::string&);
};
const Writer writers[] = {
    {"replace", [](platform::Files& f, const std::string& p) { return f.replace(p, "x"); }},
    {"overwrite", [](platform::Files& f, const std::string& p) { return f.overwrite(p, "x"); }},
    {"append", [](platform::Files& f, const std::string& p) { return f.append(p, "x"); }},
    {"createExclusive",
     [](platform::Files& f, const std::string& p) { return f.createExclusive(p); }},
    {"openOverwrite",
     [](platform::Files& f, const std::string& p) {
         platform::FileResult r;
         auto out = f.openOverwrite(p, r);
         return out && out->write("x") ? out->finish() : r;
     }},
};

} // namespace

TEST(Files, EveryWriterMakesOwnerOnlyFilesInOwnerOnlyFolders) {
    TempDir dir;
    platform::Files& files = platform::current().files();
    ASSERT_TRUE(files.makeFolder(dir.file("a/b/c")));
    for (const char* folder : {"a", "a/b", "a/b/c"}) EXPECT_EQ(modeOf(dir.file(folder)), 0700u);
    for (const Writer& w : writers) {
        std::string path = dir.file("a/b/c/") + w.name;
        ASSERT_TRUE(w.write(files, path)) << w.name;
        EXPECT_EQ(modeOf(path), 0600u) << w.name;
    }
    // Nothing beside the written files: no temporary file is left.
    EXPECT_EQ(entries(dir.file("a/b/c")), static_cast<long>(std::size(writers)));
    EXPECT_EQ(files.createExclusive(dir.file("a/b/c/replace")).error, platform::FileError::Exists);

    ::chmod(dir.file("a/b/c/replace").c_str(), 0644);
    ::chmod(dir.file("a").c_str(), 0755);
    EXPECT_TRUE(files.restrictToOwner(dir.file("a/b/c/replace")));
    EXPECT_TRUE(files.restrictToOwner(dir.file("a")));
    EXPECT_EQ(modeOf(dir.file("a/b/c/replace")), 0600u);
    EXPECT_EQ(modeOf(dir.file("a")), 0700u);

    std::string temp = files.privateTempFolder();
    ASSERT_FALSE(temp.empty());
    EXPECT_EQ(files.privateTempFolder(), temp);
    EXPECT_EQ(modeOf(temp), 0700u);
}

TEST(Files, WithWritesOffNothingIsTouched) {
    TempDir dir;
    test::writeFile(dir.file("old"), "old");
    platform::Files& files = platform::current().files();
    files.setWritesAllowed(false);
    for (const Writer& w : writers) {
        EXPECT_EQ(w.write(files, dir.file(w.name)).error, platform::FileError::WritesOff) << w.name;
        EXPECT_EQ(w.write(files, dir.file("old")).error, platform::FileError::WritesOff) << w.name;
    }
    EXPECT_FALSE(files.makeFolder(dir.file("sub")));
    EXPECT_FALSE(files.lock(dir.file("lock")).lock);
    // The helpers above them fail quietly too.
    EXPECT_FALSE(WriteTextFile(dir.file("t"), "t"));
    EXPECT_FALSE(EraseFile(dir.file("old")));
    MkMissingDir(dir.file("made"));
    files.setWritesAllowed(true);
    EXPECT_EQ(entries(dir.path()), 1);
    EXPECT_EQ(test::readFile(dir.file("old")), "old");
}

TEST(Files, OneProcessHoldsTheLockAndADeadOneHoldsNothing) {
    TempDir dir;
    platform::Files& files = platform::current().files();
    const std::string path = dir.file("corva.lock");

    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    pid_t child = ::fork();
    if (child == 0) {
        auto held = files.lock(path);
        char c = held.lock ? 'y' : 'n';
        (void)!::write(ready[1], &c, 1);
        ::pause();
        ::_exit(0);
    }
    char c = 0;
    ASSERT_EQ(::read(ready[0], &c, 1), 1);
    ASSERT_EQ(c, 'y');
    auto refused = files.lock(path);
    EXPECT_FALSE(refused.lock);
    EXPECT_EQ(refused.ownerPid, child);

    // Killed, it leaves its file with its pid behind; the next one takes over.
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    ASSERT_TRUE(std::filesystem::exists(path));
    auto taken = files.lock(path);
    ASSERT_TRUE(taken.lock);
    EXPECT_EQ(test::readFile(path), std::to_string(::getpid()) + "\n");
    EXPECT_EQ(modeOf(path), 0600u);
    taken.lock.reset();
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST(Files, TwoProcessesSavingSettingsNeverLeaveAShortFile) {
    TempDir dir;
    const std::string path = dir.file("Corva.ini");
    auto save = [&](int round, size_t padding) {
        cSHAREDSettings s;
        s.StoreSetting("PAD", std::string(padding, 'p'));
        s.StoreSetting("ROUND", round);
        s.StoreSetting("ZZZ", std::string("end"));
        return s.SaveSettings(path);
    };
    ASSERT_TRUE(save(0, 10));
    pid_t child = ::fork();
    if (child == 0) {
        for (int i = 1; i <= 300; ++i) save(i, 9000);
        ::_exit(0);
    }
    int bad = 0;
    for (int i = 1; i <= 300; ++i) {
        save(i, 20);
        std::string text = test::readFile(path);
        if (text.size() < 30 || text.substr(text.size() - 9) != "ZZZ,end\r\n") ++bad;
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(bad, 0);
    EXPECT_EQ(entries(dir.path()), 1);
}
