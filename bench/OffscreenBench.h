// The window benchmarks: Qt offscreen, the program's Qt platform installed,
// and prompts printed and answered Yes, since nothing may wait on a person.
#pragma once

#include "cycle/frmMain.h"
#include "platform/qt/QtPlatform.h"
#include "ui/ScannerWindow.h"

#include <QApplication>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <string>

namespace corva::bench {

class PrintingPrompts : public platform::Prompts {
public:
    platform::Answer messageBox(const std::string& text, platform::Buttons, platform::Icon,
                                const std::string&) override {
        std::cerr << "prompt: " << text << "\n";
        return platform::Answer::Yes;
    }
    platform::PasswordReply askPassword(const std::string&) override { return {"", true, false}; }
    std::optional<std::string> inputBox(const std::string&, const std::string&,
                                        const std::string&) override {
        return std::nullopt;
    }
    void setCursor(platform::Cursor) override {}
};

class OffscreenBench {
public:
    OffscreenBench(int& argc, char** argv) : app_((offscreen(), argc), argv) {
        QApplication::setQuitOnLastWindowClosed(false);
        platform_.setPrompts(&prompts_);
    }
    platform::qt::QtPlatform& platform() { return platform_; }

private:
    // Before the application is made, and leaving a platform the caller chose.
    static void offscreen() { setenv("QT_QPA_PLATFORM", "offscreen", 0); }

    QApplication app_;
    platform::qt::QtPlatform platform_;
    PrintingPrompts prompts_;
    platform::ScopedPlatform installed_{platform_};
};

// The scanner window and its program, started without the scan at start-up.
struct StartedScanner {
    StartedScanner() {
        window.attach(&main);
        frmMain::StartOptions options;
        options.autoScan = frmMain::AutoScan::Off;
        main.StartProgram(options);
    }

    ui::ScannerWindow window;
    frmMain main{&window};
};

} // namespace corva::bench
