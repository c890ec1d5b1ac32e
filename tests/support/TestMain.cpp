// Every test executable runs on Qt's event loop with the real platform, as the
// program does; tests that need fakes install them for their own scope.
#include "core/mSHAREDLogging.h"
#include "platform/qt/QtPlatform.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    corva::platform::qt::QtPlatform platform;
    corva::platform::ScopedPlatform installed(platform);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
