// The scanner as text for the command line.
#include "cycle/frmMainTextView.h"

#include "core/AppInfo.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/Variant.h"
#include "core/mSHAREDSettings.h"
#include "cycle/frmMain.h"

#include <ostream>

namespace corva {

namespace {

// Column widths for a terminal; the last column is never cut.
struct Column {
    const char* caption;
    size_t width;
};
const Column Columns[] = {{"Status", 7},   {"Size", 6},         {"From", 28},
                          {"Subject", 36}, {"Filtered By", 18}, {"To", 24},
                          {"Accnt", 5},    {"Msg", 5},          {"MsgNum", 6}};

// Texts come from mail and servers: one line, no control characters, cut in
// terminal cells so that wide characters keep the columns straight.
std::string fit(const std::string& text, size_t width, bool last, const std::string& charset = "") {
    std::string shown = terminalLine(text, charset);
    if (last) return shown;
    return fitToWidth(shown, width) + " ";
}

// Terminal colours standing for the list colours.
const char* colourCode(int32_t colour) {
    switch (colour) {
    case 32768:
        return "\x1b[32m"; // green
    case 33023:
        return "\x1b[38;5;208m"; // orange
    case 0x8080FF:
        return "\x1b[35m"; // pink
    case 0xC0C0C0:
        return "\x1b[90m"; // grey
    default:
        return "";
    }
}

} // namespace

frmMainTextView::frmMainTextView(std::ostream& out, std::ostream& status, bool colour)
    : out_(out), status_(status), colour_(colour) {}

std::string frmMainTextView::heading(bool tabs) {
    std::string text;
    const size_t n = std::size(Columns);
    for (size_t i = 0; i < n; ++i) {
        if (tabs)
            text += std::string(i ? "\t" : "") + Columns[i].caption;
        else
            text += fit(Columns[i].caption, Columns[i].width, i + 1 == n);
    }
    return text;
}

std::string frmMainTextView::formatLine(const ListLine& line, bool tabs) {
    const std::string fields[] = {line.Status, line.Size,  line.From, line.Subject, line.FilteredBy,
                                  line.To,     line.Accnt, line.Msg,  line.MsgNum};
    auto charset = [&](size_t i) -> const std::string& {
        static const std::string none;
        return i == 2 ? line.FromCharset : i == 3 ? line.SubjectCharset : none;
    };
    std::string text;
    const size_t n = std::size(Columns);
    for (size_t i = 0; i < n; ++i) {
        if (tabs)
            text += std::string(i ? "\t" : "") + fit(fields[i], 0, true, charset(i));
        else
            text += fit(fields[i], Columns[i].width, i + 1 == n, charset(i));
    }
    return text;
}

void frmMainTextView::RunAccountWizard() {
    status_ << "No settings yet: " << SettingsFilePath()
            << " is missing. Before using this program you will have to set up a mail account.\n";
}

void frmMainTextView::AddListLine(const ListLine& line) {
    switch (line.kind) {
    case ListLine::Kind::Server:
        out_ << "== " << terminalLine(line.Status) << " ==\n";
        break;
    case ListLine::Kind::Notice:
        if (StartsWith(line.Status, "Timed out after")) ++problems_;
        out_ << "-- " << terminalLine(line.Status) << "\n";
        break;
    case ListLine::Kind::Message: {
        if (!headerPrinted_) {
            out_ << heading(tabs_) << "\n";
            headerPrinted_ = true;
        }
        const char* code = colour_ && !tabs_ ? colourCode(line.Colour) : "";
        out_ << code << formatLine(line, tabs_) << (*code ? "\x1b[0m" : "") << "\n";
        break;
    }
    }
    out_.flush();
}

void frmMainTextView::SetStatusPanel(int panel, const std::string& text) {
    // Only the progress panel speaks; the others are the window's furniture.
    if (panel != 1 || text.empty() || quiet_ || text == lastStatus_) return;
    lastStatus_ = text;
    status_ << terminalLine(text) << "\n";
    status_.flush();
}

void frmMainTextView::SetStatusPicture(PanelPicture picture) {
    if (picture == PanelPicture::Error) ++problems_;
}

bool frmMainTextView::ShowSettingsDialog() {
    status_ << "The accounts are the keys SERVERn, UNAMEn, PWDn, TITLEn and REPLYADDRESSn in "
            << SettingsFilePath() << ".\n";
    return false;
}

void frmMainTextView::printCounts(const frmMain& main, long savedBefore, double deletedBefore) {
    out_ << "Seen: " << main.MessagesSeen() << "  Kept: " << main.MessagesKept()
         << "  Deleted on server: " << numberText(main.DeletedThisRun() - deletedBefore)
         << "  Saved: " << (main.MessagesSaved() - savedBefore)
         << "  Total deleted: " << numberText(main.TotalDeleted()) << "\n";
    out_.flush();
}

} // namespace corva
