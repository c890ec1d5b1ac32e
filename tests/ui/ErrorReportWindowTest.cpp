// The error report window: what it shows with and without a log, and that the
// comments reach the report only once their pane was opened.
#include "ui/ErrorReportWindow.h"

#include "ui/UiFixture.h"

#include <QPlainTextEdit>

namespace corva::test {
namespace {

class ErrorReportWindowTest : public ::testing::Test {
protected:
    void SetUp() override { dir.makeProgramFolder(); }
    QString pane(const char* name) {
        return window.findChild<QPlainTextEdit*>(name)->toPlainText();
    }
    TempDir dir;
    ui::ErrorReportWindow window;
};

TEST_F(ErrorReportWindowTest, WithoutALogFileTheReportIsStillMade) {
    window.showerror("nolog.txt", "Error 5 - Invalid procedure call in checkmail of frmMain");
    EXPECT_EQ(pane("txtLog"), "No log file");
    std::string report = window.reportText();
    EXPECT_EQ(report.rfind("Error Report: ", 0), 0u);
    EXPECT_NE(report.find("Invalid procedure call in checkmail of frmMain"), std::string::npos);
    EXPECT_NE(report.find("No log file"), std::string::npos);
    EXPECT_EQ(window.mailLink().rfind("mailto:", 0), 0u);
}

TEST_F(ErrorReportWindowTest, CommentsCountOnlyOnceTheirPaneWasOpened) {
    writeFile(dir.file("log.txt"), "Corva version 1 startup.\r\nLoading settings\r\n");
    window.showerror("log.txt", "Error 53 - File not found in LoadSettings of mSHAREDSettings");
    EXPECT_TRUE(pane("txtLog").contains("Loading settings"));
    window.findChild<QPlainTextEdit*>("txtUserMessage")->setPlainText("It happened at start.");
    EXPECT_EQ(window.reportText().find("It happened at start."), std::string::npos);

    window.openComments();
    EXPECT_NE(window.reportText().find("It happened at start."), std::string::npos);
    window.show();
    saveScreenshot(window, "error-report");
}

} // namespace
} // namespace corva::test
