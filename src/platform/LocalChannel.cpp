// The plain channel: serving succeeds and nothing ever arrives, and a hand-over
// finds nobody, so a process without Qt always runs as the only copy.
#include "platform/Platform.h"

namespace corva::platform {

namespace {

class UnservedChannel : public LocalChannel {
public:
    void setListener(LocalChannelListener*) override {}
    bool listen(const std::string&) override { return true; }
    void reply(int, const std::string&) override {}
    bool served(const std::string&) override { return false; }
    HandOverResult handOver(const std::string&, const std::string&, int) override { return {}; }
};

} // namespace

std::unique_ptr<LocalChannel> Platform::createLocalChannel() {
    return std::make_unique<UnservedChannel>();
}

} // namespace corva::platform
