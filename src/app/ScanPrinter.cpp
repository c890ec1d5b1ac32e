#include "app/ScanPrinter.h"
#include "message/clsMessage.h"

#include "app/Terminal.h"
#include "core/AppInfo.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/Variant.h"
#include "core/mSHAREDSettings.h"
#include "cycle/frmMain.h"

#include <ostream>

namespace corva::app {

namespace {

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

Table makeTable(ScanPrinter::Form form) {
    if (form == ScanPrinter::Form::Table) return Table(ScanPrinter::Columns(), TableWidth());
    return Table(ScanPrinter::Columns());
}

} // namespace

std::vector<TableColumn> ScanPrinter::Columns() {
    return {{"Status", 6, false},  {"Size", 6, false},        {"From", 28, true},
            {"Subject", 36, true}, {"Filtered By", 18, true}, {"To", 24, true},
            {"Accnt", 5, false},   {"Msg", 5, false},         {"MsgNum", 6, false}};
}

ScanPrinter::ScanPrinter(std::ostream& out, std::ostream& status, Form form)
    : out_(out), status_(status), form_(form), table_(makeTable(form)),
      colour_(form == Form::Table && ColourOnStdout()) {}

void ScanPrinter::RunAccountWizard() {
    endProgress();
    status_ << "No settings yet: " << SettingsFilePath()
            << " is missing. Before using this program you will have to set up a mail account;"
               " 'corva account add' does it without a window.\n";
}

void ScanPrinter::AddListLine(const ListLine& line) {
    if (line.kind == ListLine::Kind::Notice && StartsWith(line.Status, "Timed out after"))
        ++problems_;
    if (form_ == Form::Json) {
        if (line.kind != ListLine::Kind::Message) {
            notices_.push_back(
                JsonObject()
                    .raw("kind", line.kind == ListLine::Kind::Server ? "\"server\"" : "\"notice\"")
                    .text("text", line.Lines.empty() ? line.Status : line.Lines)
                    .str());
            return;
        }
        messages_.push_back(JsonObject()
                                .text("status", line.Status)
                                .number("size", Val(line.Size))
                                .text("from", line.From, line.FromCharset)
                                .text("subject", line.Subject, line.SubjectCharset)
                                .text("filteredBy", line.FilteredBy)
                                .text("to", line.To)
                                .integer("account", static_cast<long long>(Val(line.Accnt)))
                                .integer("msg", static_cast<long long>(Val(line.Msg)))
                                .integer("msgNum", static_cast<long long>(Val(line.MsgNum)))
                                .raw("colour", JsonQuote(RgbText(line.Colour)))
                                .str());
        return;
    }
    if (line.kind != ListLine::Kind::Message) {
        // With --tabs standard output carries rows only; the rest is commentary.
        std::ostream& to = form_ == Form::Tabs ? status_ : out_;
        if (form_ == Form::Tabs && Output().verbosity == Verbosity::Quiet) return;
        endProgress();
        if (!line.Lines.empty()) {
            // An error of several lines keeps them, indented under its first.
            std::string text = "-- ";
            for (const std::string& part : Split(Replace(line.Lines, "\r\n", "\n"), "\n"))
                if (!Trim(part).empty())
                    text += (text.size() > 3 ? "\n   " : "") + terminalLine(part);
            to << text << "\n";
            to.flush();
            return;
        }
        to << (line.kind == ListLine::Kind::Server ? "== " : "-- ") << terminalLine(line.Status)
           << (line.kind == ListLine::Kind::Server ? " ==\n" : "\n");
        to.flush();
        return;
    }
    endProgress();
    if (!headingPrinted_ && form_ == Form::Table) {
        out_ << table_.heading() << "\n";
        headingPrinted_ = true;
    }
    const std::vector<std::string> cells{terminalLine(line.Status),
                                         terminalLine(line.Size),
                                         terminalLine(line.From, line.FromCharset),
                                         terminalLine(line.Subject, line.SubjectCharset),
                                         terminalLine(line.FilteredBy),
                                         terminalLine(line.To),
                                         terminalLine(line.Accnt),
                                         terminalLine(line.Msg),
                                         terminalLine(line.MsgNum)};
    const char* code = colour_ ? colourCode(line.Colour) : "";
    out_ << code << table_.row(cells) << (*code ? "\x1b[0m" : "") << "\n";
    out_.flush();
    progress_.restore();
}

void ScanPrinter::MessageStored(const std::string& path, const clsMessage& message) {
    if (form_ == Form::Json) {
        notices_.push_back(
            JsonObject()
                .raw("kind", "\"saved\"")
                .text("from", message.From, headerCharset(message.Headers, "From"))
                .text("subject", message.Subject, headerCharset(message.Headers, "Subject"))
                .text("path", path)
                .str());
        return;
    }
    ListLine saved;
    saved.kind = ListLine::Kind::Notice;
    saved.Status =
        "Saved: " + terminalLine(message.From, headerCharset(message.Headers, "From")) + " - " +
        terminalLine(message.Subject, headerCharset(message.Headers, "Subject")) + " -> " + path;
    AddListLine(saved);
}

void ScanPrinter::SetStatusPanel(int panel, const std::string& text) {
    // Only the progress panel speaks; the others are the window's furniture.
    if (panel != 1 || text.empty() || text == lastStatus_) return;
    lastStatus_ = text;
    progress(text);
}

void ScanPrinter::progress(const std::string& text) {
    progress_.show(terminalLine(text));
}

void ScanPrinter::endProgress() {
    progress_.clear();
}

void ScanPrinter::SetStatusPicture(PanelPicture picture) {
    if (picture == PanelPicture::Error) ++problems_;
}

bool ScanPrinter::ShowSettingsDialog() {
    endProgress();
    status_ << "Accounts are set with 'corva account add' and 'corva account set', or in "
            << SettingsFilePath() << ".\n";
    return false;
}

void ScanPrinter::finish(const frmMain& main, long savedBefore, double deletedBefore) {
    endProgress();
    const double deleted = main.DeletedThisRun() - deletedBefore;
    const long saved = main.MessagesSaved() - savedBefore;
    if (form_ == Form::Json) {
        std::string messages, notices;
        for (const auto& m : messages_) messages += (messages.empty() ? "\n    " : ",\n    ") + m;
        for (const auto& n : notices_) notices += (notices.empty() ? "\n    " : ",\n    ") + n;
        out_ << "{\n  \"messages\": [" << messages << (messages.empty() ? "" : "\n  ")
             << "],\n  \"notices\": [" << notices << (notices.empty() ? "" : "\n  ") << "],\n"
             << "  \"seen\": " << main.MessagesSeen() << ", \"kept\": " << main.MessagesKept()
             << ", \"deletedOnServer\": " << numberText(deleted) << ", \"saved\": " << saved
             << ", \"totalDeleted\": " << numberText(main.TotalDeleted())
             << ", \"problems\": " << problems_ << "\n}\n";
        messages_.clear();
        notices_.clear();
        out_.flush();
        return;
    }
    std::ostream& to = form_ == Form::Tabs ? status_ : out_;
    if (form_ == Form::Tabs && Output().verbosity == Verbosity::Quiet) return;
    to << "Seen: " << main.MessagesSeen() << "  Kept: " << main.MessagesKept()
       << "  Deleted on server: " << numberText(deleted) << "  Saved: " << saved
       << "  Total deleted: " << numberText(main.TotalDeleted()) << "\n";
    to.flush();
}

} // namespace corva::app
