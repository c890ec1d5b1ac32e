// The error report: for the few failures that can't go on. Shows the error
// and the log, takes the user's comments, previews the report and hands it
// to the desktop's mail program as a link.
#pragma once

#include <QDialog>
#include <string>

class QPlainTextEdit;
class QStackedWidget;

namespace corva::ui {

class ErrorReportWindow : public QDialog {
    Q_OBJECT
public:
    explicit ErrorReportWindow(QWidget* parent = nullptr);
    // Fills the error and the log (or "No log file").
    void showerror(const std::string& logName, const std::string& text);
    // The report text as "View Error Report" writes it to fulllog.txt.
    std::string reportText() const;
    // The mail link of "Submit Error Report".
    std::string mailLink() const;
    void openComments();
    // Creates a window for one error and waits until it closes.
    static void showerr(const std::string& text);

private:
    QPlainTextEdit* txtError_;
    QPlainTextEdit* txtLog_;
    QPlainTextEdit* txtUserMessage_;
    QStackedWidget* panes_;
    bool commentsOpened_ = false;
    std::string logPath_;
};

} // namespace corva::ui
