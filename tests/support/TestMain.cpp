// Every test executable runs on Qt's event loop with the real platform, as the
// program does; tests that need fakes install them for their own scope. The
// program folder is a throw-away one, so a test that logs without choosing its
// own folder writes nowhere that matters.
#include "core/AppInfo.h"
#include "core/mSHAREDLogging.h"
#include "platform/qt/QtPlatform.h"
#include "support/TempDir.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    corva::platform::qt::QtPlatform platform;
    corva::platform::ScopedPlatform installed(platform);
    corva::test::TempDir home;
    corva::SetAppPath(home.path());
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
