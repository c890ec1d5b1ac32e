// The windows' tests need a QApplication, not the QCoreApplication every other
// test executable runs on; otherwise the same: the Qt platform installed.
#include "core/AppInfo.h"
#include "platform/qt/QtPlatform.h"
#include "support/TempDir.h"
#include "ui/LanguageWalker.h"

#include <QApplication>
#include <gtest/gtest.h>

#include <cstdlib>

int main(int argc, char** argv) {
    // No display on a build machine: draw into memory.
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    corva::platform::qt::QtPlatform platform;
    corva::platform::ScopedPlatform installed(platform);
    corva::test::TempDir home;
    corva::SetAppPath(home.path());
    corva::ui::installLanguages();
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
