#include "store/ReplacedFiles.h"

#include "core/ErrorHandler.h"
#include "platform/Files.h"
#include "platform/Platform.h"

#include <chrono>
#include <filesystem>

namespace corva {

namespace {

const char* kModule = "ReplacedFiles";
// Short slices, far below what a person notices as a stall.
constexpr int SliceMs = 20;
constexpr int IdleMs = 50;
// Every owner shares the process's one temporary folder.
long g_counter = 0;

} // namespace

ReplacedFiles::ReplacedFiles() = default;
ReplacedFiles::~ReplacedFiles() = default;

void ReplacedFiles::setAside(const std::string& path) {
    guarded("setAside", kModule, [&] {
        std::error_code ec;
        const std::string folder = platform::current().files().privateTempFolder();
        if (!folder.empty()) {
            std::string target = folder + "/replaced-" + std::to_string(++g_counter);
            std::filesystem::rename(path, target, ec);
            if (!ec) {
                if (next_ > 0 && next_ == aside_.size()) {
                    aside_.clear();
                    next_ = 0;
                }
                aside_.push_back(std::move(target));
                if (!timer_) {
                    timer_ = platform::current().createTimer();
                    if (!timer_) return;
                    timer_->setCallback([this] { removeSome(SliceMs); });
                    timer_->setInterval(IdleMs);
                }
                timer_->setEnabled(true);
                return;
            }
        }
        std::filesystem::remove(path, ec);
    });
}

bool ReplacedFiles::removeSome(int budgetMs) {
    const auto stop = std::chrono::steady_clock::now() + std::chrono::milliseconds(budgetMs);
    while (next_ < aside_.size()) {
        std::error_code ec;
        std::filesystem::remove(aside_[next_++], ec);
        if (std::chrono::steady_clock::now() >= stop) break;
    }
    if (next_ < aside_.size()) return false;
    aside_.clear();
    next_ = 0;
    if (timer_) timer_->setEnabled(false);
    return true;
}

} // namespace corva
