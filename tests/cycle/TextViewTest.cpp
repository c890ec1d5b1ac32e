// The command line's list: columns that line up whatever the texts hold.
#include "core/TerminalText.h"
#include "cycle/frmMainTextView.h"
#include "cycle/frmMainView.h"

#include <gtest/gtest.h>

#include <sstream>

namespace corva::test {
namespace {

ListLine sample() {
    ListLine l;
    l.Status = "BLOCK";
    l.Size = "12kb";
    l.From = "A very long sender name <someone.with.a.long.address@example.com>";
    l.Subject = "Line one\r\nline two\tand a tab";
    l.FilteredBy = "Sender Blocked";
    l.To = "me@example.org";
    l.Accnt = "3";
    l.Msg = "7";
    l.MsgNum = "42";
    l.Colour = 33023;
    return l;
}

TEST(TextView, ColumnsStayInPlaceAndTextsStayOnOneLine) {
    std::string line = frmMainTextView::formatLine(sample());
    std::string heading = frmMainTextView::heading();
    EXPECT_EQ(line.find('\n'), std::string::npos);
    EXPECT_EQ(line.find('\r'), std::string::npos);
    EXPECT_EQ(line.find('\t'), std::string::npos);
    // Each column starts where its caption does.
    for (const char* caption : {"Size", "From", "Subject", "Filtered By", "To ", "Accnt", "MsgNum"})
        EXPECT_NE(heading.find(caption), std::string::npos) << caption;
    EXPECT_EQ(line.substr(heading.find("Accnt"), 1), "3");
    EXPECT_EQ(line.substr(heading.find("MsgNum")), "42");
    EXPECT_NE(line.find("~"), std::string::npos) << "a cut text is marked";

    // Wide characters take two cells and escapes are shown, and still the
    // columns start where their captions do.
    ListLine wide = sample();
    wide.From = "\x1b[2J\xe5\xbc\xa0\xe4\xbc\x9f <zhang@example.cn>";
    wide.Subject = std::string(22, 'x') +
                   "\xe6\x97\xa5\xe6\x9c\xac\xe8\xaa\x9e\xe3\x81\xae\xe4\xbb\xb6\xe5\x90\x8d"
                   "\xe3\x81\xa7\xe3\x81\x99";
    line = frmMainTextView::formatLine(wide);
    EXPECT_EQ(line.find('\x1b'), std::string::npos);
    EXPECT_EQ(line.find("\\x1b[2J"), heading.find("From"));
    EXPECT_EQ(displayWidth(line.substr(0, line.rfind("42"))), heading.find("MsgNum")) << line;

    // A charset the subject's encoded word declared is the one it is read in.
    wide.Subject = "\xf0\xd2\xc9\xd7\xc5\xd4";
    wide.SubjectCharset = "koi8-r";
    EXPECT_NE(frmMainTextView::formatLine(wide, true)
                  .find("\t\xd0\x9f\xd1\x80\xd0\xb8\xd0\xb2\xd0\xb5\xd1\x82\t"),
              std::string::npos);
}

TEST(TextView, TabsKeepWholeTexts) {
    std::string line = frmMainTextView::formatLine(sample(), true);
    EXPECT_NE(line.find("someone.with.a.long.address@example.com>\tLine one  line two and a tab\t"),
              std::string::npos)
        << line;
    EXPECT_EQ(frmMainTextView::heading(true),
              "Status\tSize\tFrom\tSubject\tFiltered By\tTo\tAccnt\tMsg\tMsgNum");
}

TEST(TextView, PrintsLinesNoticesAndCountsProblems) {
    std::ostringstream out, status;
    frmMainTextView view(out, status, false);
    ListLine server;
    server.kind = ListLine::Kind::Server;
    server.Status = "Home";
    view.AddListLine(server);
    view.AddListLine(sample());
    ListLine notice;
    notice.kind = ListLine::Kind::Notice;
    notice.Status = "Timed out after 30 seconds.";
    view.AddListLine(notice);
    view.SetStatusPanel(1, "Listing messages");
    view.SetStatusPanel(1, "Listing messages");
    view.SetStatusPanel(4, "Next scan: 5");
    EXPECT_EQ(view.problems(), 1);
    EXPECT_EQ(status.str(), "Listing messages\n") << "repeats and other panels stay quiet";
    std::string text = out.str();
    EXPECT_EQ(text.find("== Home ==\n"), 0u);
    EXPECT_NE(text.find("Status"), std::string::npos);
    EXPECT_NE(text.find("-- Timed out after 30 seconds.\n"), std::string::npos);
    EXPECT_EQ(text.find("\x1b["), std::string::npos) << "no colours when not asked";
}

} // namespace
} // namespace corva::test
