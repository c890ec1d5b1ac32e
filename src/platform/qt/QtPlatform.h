// The platform on Qt 6: sockets, timers and the event yield on Qt's event
// loop; prompts as dialogs when a widget application runs, else on the console.
#pragma once

#include "platform/Platform.h"

#include <memory>

namespace corva::platform::qt {

class QtPlatform : public Platform {
public:
    QtPlatform();
    ~QtPlatform() override;
    std::unique_ptr<Socket> createSocket() override;
    std::unique_ptr<Timer> createTimer() override;
    std::unique_ptr<LocalChannel> createLocalChannel() override;
    EventLoop& eventLoop() override;
    Prompts& prompts() override;
    Clock& clock() override;
    FileTypes& fileTypes() override;
    Shell& shell() override;
    Sound& sound() override;
    Speech& speech() override;
    const TextDecoder& textDecoder() override;
    Printer& printer() override;
    // Replaces the prompts (the command line installs its console prompts).
    void setPrompts(Prompts* prompts) { promptsOverride_ = prompts; }

private:
    struct Impl;
    std::unique_ptr<Impl> impl_;
    Prompts* promptsOverride_ = nullptr;
};

} // namespace corva::platform::qt
