// The scanner as text, for the command line: list lines as aligned columns,
// server and notice lines, and the status texts, written to two streams.
#pragma once

#include "cycle/frmMainView.h"

#include <iosfwd>
#include <string>

namespace corva {

class frmMain;

class frmMainTextView : public frmMainView {
public:
    // Lines go to out, status texts to status; colour adds terminal colours.
    frmMainTextView(std::ostream& out, std::ostream& status, bool colour);

    // Status texts are left out (list lines and notices still print).
    void setQuiet(bool quiet) { quiet_ = quiet; }
    // Columns separated by tabs, whole, for scripts.
    void setTabs(bool tabs) { tabs_ = tabs; }

    void RunAccountWizard() override;
    void ClearList() override { headerPrinted_ = false; }
    void AddListLine(const ListLine& line) override;
    void SetStatusPanel(int panel, const std::string& text) override;
    void SetStatusPicture(PanelPicture picture) override;
    bool ShowSettingsDialog() override;

    // Server errors, time-outs and lost connections seen so far.
    int problems() const { return problems_; }
    // The closing line of a cycle: what was seen, kept, deleted and saved.
    void printCounts(const frmMain& main, long savedBefore, double deletedBefore);

    // One message line in columns (without colour), and the heading above them.
    static std::string formatLine(const ListLine& line, bool tabs = false);
    static std::string heading(bool tabs = false);

private:
    std::ostream& out_;
    std::ostream& status_;
    bool colour_;
    bool quiet_ = false;
    bool tabs_ = false;
    bool headerPrinted_ = false;
    int problems_ = 0;
    std::string lastStatus_;
};

} // namespace corva
