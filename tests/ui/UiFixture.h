// What the windows' tests share: prompts that answer instead of blocking, the
// scanner window started with frmMain in a fresh program folder, a way to find
// a list line, and screenshots written into the build folder.
#pragma once

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/mSHAREDSettings.h"
#include "cycle/frmMain.h"
#include "platform/Platform.h"
#include "support/RecordingPlatform.h"
#include "support/TempDir.h"
#include "support/TestAccounts.h"
#include "ui/ScannerListModel.h"
#include "ui/ScannerWindow.h"

#include <QApplication>
#include <QBrush>
#include <QCoreApplication>
#include <QDir>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QWidget>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace corva::test {

using UiPlatform = RecordingPlatform;

// Writes a window's picture to <build>/screenshots/<name>.png for people to look
// at, with an open menu (a window of its own) drawn where it stands.
inline void saveScreenshot(QWidget& widget, const QString& name, QWidget* menu = nullptr) {
    // Pending relayouts first, as a paint on screen would have them; nothing else runs.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    QPixmap picture = widget.grab();
    if (menu) QPainter(&picture).drawPixmap(widget.mapFromGlobal(menu->pos()), menu->grab());
    QDir dir(QStringLiteral(CORVA_BINARY_DIR "/screenshots"));
    dir.mkpath(QStringLiteral("."));
    EXPECT_TRUE(picture.save(dir.filePath(name + QStringLiteral(".png"))));
}

// A dark desktop theme, for the windows' colours under it.
inline QPalette darkPalette() {
    QPalette dark = QApplication::palette();
    dark.setColor(QPalette::Window, QColor(0x2B, 0x2B, 0x2B));
    dark.setColor(QPalette::Base, QColor(0x1E, 0x1E, 0x1E));
    dark.setColor(QPalette::AlternateBase, QColor(0x26, 0x26, 0x26));
    dark.setColor(QPalette::Highlight, QColor(0x3D, 0x6F, 0xB0));
    for (QPalette::ColorRole text : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        dark.setColor(text, QColor(0xE0, 0xE0, 0xE0));
    dark.setColor(QPalette::Button, QColor(0x33, 0x33, 0x33));
    return dark;
}

// A message as a server keeps it.
inline std::string mailText(const std::string& from, const std::string& to,
                            const std::string& subject) {
    return "From: " + from + "\nTo: " + to + "\nSubject: " + subject +
           "\nDate: Mon, 2 Jan 2023 10:00:00 +0000\nMessage-ID: <" +
           std::to_string(subject.size()) + "." +
           std::to_string(std::hash<std::string>{}(subject)) + "@test>\n\nHello.\n";
}

class ScannerFixture : public ::testing::Test {
protected:
    ScannerFixture() : scoped_(platform_) {}

    void SetUp() override {
        dir.makeProgramFolder();
        // An existing Corva.ini: no first-run wizard to block the start.
        writeFile(dir.file("Corva.ini"), "DISABLEAUTOUPDATECHECK,TRUE\r\n");
    }
    void TearDown() override { stop(); }

    void start() {
        window = std::make_unique<ui::ScannerWindow>();
        main = std::make_unique<frmMain>(window.get());
        window->attach(main.get());
        frmMain::StartOptions options;
        options.autoScan = frmMain::AutoScan::Off;
        main->StartProgram(options);
        sset("MailTimeout", 3);
        // As the program does: shown unless start-up hid it.
        if (!window->hiddenAtStart()) window->show();
    }
    void stop() {
        platform_.prompts_.answer = platform::Answer::Yes;
        if (main) main->exitprog();
        main.reset();
        window.reset();
    }

    bool scan(int timeoutMs = 30000) {
        main->mnuScan_Click();
        return platform::current().eventLoop().runUntil([&] { return !main->CycleRunning(); },
                                                        timeoutMs);
    }

    ui::ScannerListModel& model() { return window->listModel(); }
    // The first message row with this subject, or -1.
    int rowOf(const std::string& subject) {
        for (int r = 0; r < model().lineCount(); ++r)
            if (model().line(r).kind == ListLine::Kind::Message &&
                model().line(r).Subject == subject)
                return r;
        return -1;
    }
    // What the user reads in a column, and the colour the word is drawn in.
    QString shown(int row, int column) {
        return model().data(model().index(row, column), Qt::DisplayRole).toString();
    }
    QColor colour(int row) {
        return model().data(model().index(row, 0), Qt::ForegroundRole).value<QBrush>().color();
    }
    const std::vector<std::string>& prompts() { return platform_.prompts_.messages; }

    UiPlatform platform_;
    platform::ScopedPlatform scoped_;
    TempDir dir;
    std::unique_ptr<ui::ScannerWindow> window;
    std::unique_ptr<frmMain> main;
};

} // namespace corva::test
