// The corva program users start. It runs the bulk commands (score, train)
// itself, without Qt: loading the window and network libraries costs more than
// scoring hundreds of messages. Everything else (the windows, the other
// commands, help) is the full program, corva-qt, which this process becomes.
#include "app/Command.h"
#include "app/CommandLine.h"
#include "app/FolderAccess.h"
#include "app/Terminal.h"
#include "platform/ConsolePrompts.h"
#include "platform/Platform.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <iostream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using namespace corva;

// The window serves its channel as a Unix socket in the runtime folder (else
// the temporary one); whether it runs is whether that socket answers.
class ChannelProbe : public platform::LocalChannel {
public:
    void setListener(platform::LocalChannelListener*) override {}
    bool listen(const std::string&) override { return false; }
    void reply(int, const std::string&) override {}
    platform::HandOverResult handOver(const std::string&, const std::string&, int) override {
        return {};
    }
    bool served(const std::string& name) override {
        const std::string path = folder() + "/" + name;
        sockaddr_un address{};
        if (path.size() >= sizeof address.sun_path) return false;
        address.sun_family = AF_UNIX;
        std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (fd < 0) return false;
        const bool live =
            ::connect(fd, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
        ::close(fd);
        return live;
    }

private:
    static std::string folder() {
        const char* runtime = std::getenv("XDG_RUNTIME_DIR");
        struct stat st {};
        if (runtime && *runtime && ::stat(runtime, &st) == 0 && S_ISDIR(st.st_mode) &&
            ::access(runtime, W_OK) == 0)
            return withoutSlash(runtime);
        const char* temp = std::getenv("TMPDIR");
        return temp && *temp ? withoutSlash(temp) : "/tmp";
    }
    static std::string withoutSlash(std::string path) {
        while (path.size() > 1 && path.back() == '/') path.pop_back();
        return path;
    }
};

class FrontPlatform : public platform::Platform {
public:
    std::unique_ptr<platform::LocalChannel> createLocalChannel() override {
        return std::make_unique<ChannelProbe>();
    }
    platform::Prompts& prompts() override { return console_; }

private:
    platform::ConsolePrompts console_;
};

bool runsHere(const std::string& command, const std::vector<std::string>& words) {
    if (command != "score" && command != "train") return false;
    return std::find(words.begin(), words.end(), "--help") == words.end();
}

std::string ownFolder() {
    char path[PATH_MAX];
    const ssize_t n = ::readlink("/proc/self/exe", path, sizeof path - 1);
    if (n <= 0) return ".";
    std::string exe(path, static_cast<size_t>(n));
    const size_t slash = exe.rfind('/');
    return slash == std::string::npos ? "." : exe.substr(0, slash);
}

// Beside this program in the build tree, in libexec once installed.
int becomeFullProgram(char** argv) {
    const std::string folder = ownFolder();
    std::string tried;
    for (const std::string& candidate :
         {folder + "/" CORVA_FULL_PROGRAM,
          folder + "/" CORVA_LIBEXEC_FROM_BIN "/" CORVA_FULL_PROGRAM}) {
        if (::access(candidate.c_str(), X_OK) != 0) continue;
        ::execv(candidate.c_str(), argv);
        tried = candidate + ": " + std::strerror(errno);
    }
    if (tried.empty())
        tried = folder + "/" CORVA_LIBEXEC_FROM_BIN "/" CORVA_FULL_PROGRAM " is missing";
    std::cerr << "corva: can't start Corva's windows and mail commands (" << tried
              << "); reinstall Corva.\n";
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    using Face = app::Invocation::Face;
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const std::string wrongOutput = app::TakeOutputOptions(arguments, app::Output());
    app::Invocation call = app::ParseCommandLine(arguments);
    if (!wrongOutput.empty() || call.face != Face::Command ||
        !runsHere(call.words.front(), call.words))
        return becomeFullProgram(argv);
    app::SetHomeOption(call.home);

    // Thousands of file names may follow: they are moved, not copied.
    std::vector<std::string> words = std::move(call.words);
    const std::string first = words.front();
    words.erase(words.begin());
    for (const auto& c : app::Commands()) {
        if (first != c.name) continue;
        FrontPlatform platform;
        platform::ScopedPlatform installed(platform);
        return app::RunInFolder(c, words, call.home);
    }
    return becomeFullProgram(argv);
}
