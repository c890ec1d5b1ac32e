// The scanner's list on the command line: message lines as a table fitted to
// the terminal, as tab-separated rows, or as one JSON object at the end; the
// progress on standard error as one line rewriting itself on a terminal, on
// lines of their own with --verbose, and otherwise only the closing summary.
#pragma once

#include "app/Json.h"
#include "app/Table.h"
#include "app/Terminal.h"
#include "cycle/frmMainView.h"

#include <iosfwd>
#include <string>
#include <vector>

namespace corva {
class frmMain;
}

namespace corva::app {

class ScanPrinter : public frmMainView {
public:
    enum class Form { Table, Tabs, Json };
    ScanPrinter(std::ostream& out, std::ostream& status, Form form);

    void RunAccountWizard() override;
    void ClearList() override { headingPrinted_ = false; }
    void AddListLine(const ListLine& line) override;
    void SetStatusPanel(int panel, const std::string& text) override;
    void SetStatusPicture(PanelPicture picture) override;
    bool ShowSettingsDialog() override;
    // A fetch lists no line for what it stored: one notice each says where it went.
    void MessageStored(const std::string& path, const clsMessage& message) override;

    // Server errors, time-outs and lost connections seen so far.
    int problems() const { return problems_; }
    // The end of a cycle: the progress line goes, the counts come (the JSON
    // object is written whole).
    void finish(const frmMain& main, long savedBefore, double deletedBefore);

    // The table's columns for a width; shared with the tests of its layout.
    static std::vector<TableColumn> Columns();

private:
    void progress(const std::string& text);
    void endProgress();

    std::ostream& out_;
    std::ostream& status_;
    Form form_;
    Table table_;
    bool colour_;
    ProgressLine progress_;
    bool headingPrinted_ = false;
    int problems_ = 0;
    std::string lastStatus_;
    std::vector<std::string> messages_, notices_; // JSON, gathered for the end
};

} // namespace corva::app
