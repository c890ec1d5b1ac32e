// What the cycle's tests share: a platform whose prompts and sound are
// recorded, a view that keeps what it was shown, and a fixture that starts
// frmMain headless in a fresh program folder and shuts it down afterwards.
#pragma once

#include "core/Strings.h"
#include "core/Variant.h"
#include "core/mSHAREDSettings.h"
#include "cycle/frmMain.h"
#include "platform/Platform.h"
#include "support/RecordingPlatform.h"
#include "support/TempDir.h"
#include "support/TestAccounts.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace corva::test {

class RecordingView : public frmMainView {
public:
    void RunAccountWizard() override { ++wizardRuns; }
    void ClearList() override { list.clear(); }
    void AddListLine(const ListLine& line) override { list.push_back(line); }
    void SetStatusPanel(int panel, const std::string& text) override {
        if (panel >= 1 && panel <= 4) panels[panel] = text;
        if (panel == 1 && !text.empty()) progress.push_back(text);
    }
    void SetToolbarButtonImage(const std::string& key, const std::string& image) override {
        if (key == "upanddown") toolbarImage = image;
    }
    void ShowTrayIcon(const std::string& tip, TrayPicture picture) override {
        addedTip = tip;
        trayTip = tip;
        trayPicture = picture;
    }
    void ChangeTrayIcon(const std::string& tip, TrayPicture picture) override {
        if (!tip.empty()) trayTip = tip;
        trayPicture = picture;
    }
    void HideWindow() override { ++hides; }
    bool ShowSettingsDialog() override {
        ++settingsDialogs;
        return settingsConfirmed;
    }
    bool TrayAvailable() const override { return trayAvailable; }
    void NotifyNewMail(const std::string& title, const std::string& text) override {
        notifications.push_back(title + ": " + text);
    }
    std::vector<std::string> OpenForms() const override { return forms; }
    bool UnloadForm(size_t index) override {
        unloaded.push_back(forms.at(index));
        return forms.at(index) != refusingForm;
    }
    bool MailerLoaded() const override { return mailerLoaded; }
    void MailerFinishedGettingMail(const std::string& text) override {
        mailerNotices.push_back(text);
        if (onMailerNotice) onMailerNotice(text);
    }

    // Lines of one kind in the list as it stands.
    std::vector<ListLine> lines(ListLine::Kind kind) const {
        std::vector<ListLine> out;
        for (const auto& l : list)
            if (l.kind == kind) out.push_back(l);
        return out;
    }
    std::vector<ListLine> messages() const { return lines(ListLine::Kind::Message); }
    std::vector<std::string> texts(ListLine::Kind kind) const {
        std::vector<std::string> out;
        for (const auto& l : lines(kind)) out.push_back(l.Status);
        return out;
    }
    // The message line with this subject; a failed expectation when there is none.
    ListLine line(const std::string& subject) const {
        for (const auto& l : list)
            if (l.kind == ListLine::Kind::Message && l.Subject == subject) return l;
        ADD_FAILURE() << "no line for " << subject;
        return {};
    }

    std::vector<ListLine> list; // since the last ClearList
    std::string panels[5];
    std::vector<std::string> progress;
    std::string toolbarImage;
    std::string addedTip; // the tip the icon was added with
    std::string trayTip;  // the tip it shows now
    TrayPicture trayPicture = TrayPicture::LargeS;
    int wizardRuns = 0;
    int hides = 0;
    int settingsDialogs = 0;
    bool settingsConfirmed = false;
    bool mailerLoaded = false;
    bool trayAvailable = true;
    std::vector<std::string> notifications;
    std::vector<std::string> forms;    // the open windows, this one first
    std::vector<std::string> unloaded; // in the order they were asked to go
    std::string refusingForm;          // the one that stays, if any
    std::vector<std::string> mailerNotices;
    std::function<void(const std::string&)> onMailerNotice;
};

// A message as a server keeps it.
inline std::string mailText(const std::string& from, const std::string& to,
                            const std::string& subject, const std::string& body = "Hello.\n") {
    return "From: " + from + "\nTo: " + to + "\nSubject: " + subject +
           "\nDate: Mon, 2 Jan 2023 10:00:00 +0000\nMessage-ID: <" + Replace(subject, " ", ".") +
           "@test>\n\n" + body;
}

class CycleFixture : public ::testing::Test {
protected:
    CycleFixture() : scoped_(platform_) {}

    void SetUp() override { dir.makeProgramFolder(); }
    void TearDown() override { stop(); }

    // Starts a fresh frmMain in the program folder, as a command does.
    void start(frmMain::AutoScan autoScan = frmMain::AutoScan::Off) {
        main = std::make_unique<frmMain>(&view);
        frmMain::StartOptions options;
        options.headless = true;
        options.autoScan = autoScan;
        main->StartProgram(options);
        // Short waits keep failing servers quick.
        sset("MailTimeout", 3);
    }
    void stop() {
        if (main) main->exitprog();
        main.reset();
    }

    // Runs one cycle to its end; false when it didn't end in time.
    bool cycle(bool deleteMode, bool retrieve, int timeoutMs = 30000) {
        CycleRequest request;
        request.deleteBlocked = deleteMode;
        request.retrieve = retrieve;
        main->checkmail(request);
        return waitForCycle(timeoutMs);
    }
    bool waitForCycle(int timeoutMs = 30000) {
        return platform::current().eventLoop().runUntil([&] { return !main->CycleRunning(); },
                                                        timeoutMs);
    }

    RecordingPlatform platform_;
    platform::ScopedPlatform scoped_;
    TempDir dir;
    RecordingView view;
    std::unique_ptr<frmMain> main;
};

} // namespace corva::test
