// The command line's own pieces, in process: the words it takes, the colour
// it chooses, the tables it fits, the JSON it writes and the account values
// it refuses.
#include "app/Command.h"
#include "app/Json.h"
#include "app/Table.h"
#include "app/Terminal.h"
#include "core/AccountRules.h"
#include "core/TerminalText.h"

#include <gtest/gtest.h>

namespace corva::test {
namespace {

using app::ColourMode;

TEST(CommandWords, ProblemsAreNamedAndRefusedWithStatusTwo) {
    struct Case {
        std::vector<std::string> words;
        std::string says; // "" when the words are fine
    };
    for (const Case& c : std::vector<Case>{
             {{"--account"}, "--account needs a number"},
             {{"--account", "--tabs"}, "--account needs a number"},
             {{"--account="}, "--account needs a number"},
             {{"--account", "x1"}, "from 0 to 19"},
             {{"--account", "20"}, "from 0 to 19"},
             {{"--account", "19", "--frob"}, "unknown option --frob"},
             {{"--account=7", "file"}, ""},
             {{"--to", "-"}, ""}, // "-" is standard input, a value
         }) {
        app::CommandArgs args(c.words, "scan");
        args.account();
        args.option("--to", "an address");
        testing::internal::CaptureStderr();
        auto status = args.refused("corva scan", 0, 1);
        const std::string err = testing::internal::GetCapturedStderr();
        EXPECT_EQ(status.has_value(), !c.says.empty()) << err;
        if (status) {
            EXPECT_EQ(*status, 2);
        }
        EXPECT_NE(err.find(c.says), std::string::npos) << err;
    }
}

TEST(Colour, OnlyOnATerminalUnlessAskedAndNeverWhereRefused) {
    struct Case {
        ColourMode mode;
        bool terminal;
        const char *noColor, *term;
        bool colour;
    };
    for (const Case& c : {Case{ColourMode::Auto, true, nullptr, "xterm", true},
                          Case{ColourMode::Auto, false, nullptr, "xterm", false},
                          Case{ColourMode::Auto, true, "1", "xterm", false},
                          Case{ColourMode::Auto, true, "", "xterm", true},
                          Case{ColourMode::Auto, true, nullptr, "dumb", false},
                          Case{ColourMode::Always, false, "1", "dumb", true},
                          Case{ColourMode::Never, true, nullptr, "xterm", false}})
        EXPECT_EQ(app::ColourWanted(c.mode, c.terminal, c.noColor, c.term), c.colour)
            << static_cast<int>(c.mode) << c.terminal << (c.noColor ? c.noColor : "-") << c.term;

    app::OutputOptions options;
    std::vector<std::string> words{"--color=never", "x", "-q", "--tabs"};
    EXPECT_EQ(app::TakeOutputOptions(words, options), "");
    EXPECT_EQ(words, (std::vector<std::string>{"x", "--tabs"}));
    EXPECT_EQ(options.colour, ColourMode::Never);
    EXPECT_EQ(options.verbosity, app::Verbosity::Quiet);
    // A bare --color is always, and leaves the next word to the command.
    words = {"--color", "Inbox"};
    EXPECT_EQ(app::TakeOutputOptions(words, options), "");
    EXPECT_EQ(words, std::vector<std::string>{"Inbox"});
    EXPECT_EQ(options.colour, ColourMode::Always);
    words = {"--color", "never"};
    EXPECT_EQ(app::TakeOutputOptions(words, options), "");
    EXPECT_EQ(options.colour, ColourMode::Never);
    words = {"--color=sometimes"};
    EXPECT_NE(app::TakeOutputOptions(words, options).find("auto, always or never"),
              std::string::npos);
}

TEST(Tables, RowsFitTheWidthAndTabsKeepFieldsWhole) {
    const std::vector<app::TableColumn> columns{
        {"Status", 6, false}, {"From", 28, true}, {"Subject", 36, true}, {"Msg", 5, false}};
    const std::vector<std::string> cells{"PASS", "Ann Example <ann@example.org>",
                                         "日本語の件名がとても長い場合でも列は揃う subject", "12"};
    for (size_t width : {20u, 40u, 60u, 80u, 200u}) {
        app::Table table(columns, width);
        const std::string row = table.row(cells);
        EXPECT_LE(displayWidth(row), width) << row;
        EXPECT_LE(displayWidth(table.heading()), width);
        EXPECT_EQ(row.substr(0, 4), "PASS");
        if (width >= 40) {
            EXPECT_NE(row.find("12"), std::string::npos) << row;
        }
    }
    EXPECT_EQ(app::Table(columns).row(cells),
              cells[0] + "\t" + cells[1] + "\t" + cells[2] + "\t" + cells[3]);
}

TEST(Json, TextIsDecodedAndControlsEscapedWhileBytesStayBytes) {
    EXPECT_EQ(app::JsonText("Gr\xc3\xbc\xc3\x9f"
                            "e"),
              "\"Grüße\"");
    EXPECT_EQ(app::JsonText("caf\xe9"), "\"café\"");                // Windows-1252 fallback
    EXPECT_EQ(app::JsonText("\xe9t\xe9", "iso-8859-1"), "\"été\""); // the declared charset
    EXPECT_EQ(app::JsonText("a\"b\\c\x1b[2J\x7f"), "\"a\\\"b\\\\c\\u001b[2J\\u007f\"");
    EXPECT_EQ(app::JsonText("x\xc2\x9by"), "\"x\\u009by\"");
    EXPECT_EQ(app::JsonBytes("Gr\xc3\xbc\r\n"), "\"Gr\\u00c3\\u00bc\\r\\n\"");
    EXPECT_EQ(app::RgbText(0xC08040), "#4080C0"); // red in the low byte
    EXPECT_EQ(app::JsonObject().text("a", "b").integer("n", 3).truth("t", false).str(),
              "{\"a\": \"b\", \"n\": 3, \"t\": false}");
}

TEST(AccountValues, TheWizardsTestsAndKeysInAnyCase) {
    for (const char* good : {"fred@example.com", "a.b+c@sub.example.org", "x@localhost"})
        EXPECT_TRUE(IsMailAddress(good)) << good;
    for (const char* bad : {"", "notanaddress", "@example.com", "fred@", "a b@example.com", "a@b@c",
                            "fred@example.", "<fred@example.com>"})
        EXPECT_FALSE(IsMailAddress(bad)) << bad;
    for (const char* good : {"pop.example.com", "pop.example.com:995", "127.0.0.1:1100", "[::1]"})
        EXPECT_TRUE(IsServer(good)) << good;
    for (const char* bad : {"", "pop example", "pop:0", "pop:65536", "pop:x", ":110"})
        EXPECT_FALSE(IsServer(bad)) << bad;

    EXPECT_EQ(std::string(FindAccountKey("server")->name), "SERVER");
    EXPECT_EQ(std::string(FindAccountKey("SmtpAuth")->name), "SMTPAuth");
    EXPECT_EQ(std::string(FindAccountKey("SMTP-USER")->name), "SMTPUNAME");
    EXPECT_FALSE(FindAccountKey("bogus"));

    auto problem = [](const char* key, const char* value) {
        return AccountValueProblem(*FindAccountKey(key), value);
    };
    EXPECT_EQ(problem("title", " "), NoTitleText);
    EXPECT_EQ(problem("server", ""), NoInboundText);
    EXPECT_EQ(problem("address", "fred"), BadAddressText);
    EXPECT_NE(problem("smtp", "mail:99999"), "");
    EXPECT_NE(problem("check", "maybe"), "");
    EXPECT_EQ(problem("check", "Yes"), "");
    EXPECT_EQ(problem("pop-security", "STARTTLS"), "");
    EXPECT_NE(problem("smtpsecurity", "3"), "");
    EXPECT_EQ(problem("password", ""), "");
}

} // namespace
} // namespace corva::test
