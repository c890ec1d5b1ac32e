// "corva rules" and "corva thresholds": the rule editor's list, checks, export
// and import, and the training window's thresholds, without a window.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/Json.h"
#include "bayes/frmBayesFilter.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/mSHAREDSettings.h"
#include "filters/FilterEditor.h"

#include <cmath>
#include <iostream>

namespace corva::app {
namespace {

const char* const rulesUsage = "corva rules list|validate [--local] [--json] | show N [--local] | "
                               "export FILE [--shared] [--local] | import FILE [--local]";

std::string actionText(const clsFilterNew& f) {
    if (f.Action < 0 || f.Action > 3) return "action " + Str(f.Action);
    std::string text = FilterActionTexts[f.Action];
    if (f.Action == 2 && !f.DestFolder.empty()) text += " " + f.DestFolder;
    return text;
}

std::string conditionText(const clsFilterNew& f, int i) {
    const std::string& c = f.Comparisons(i);
    const std::string shown = c == "cnt" ? "contains" : c == "!cnt" ? "doesn't contain" : c;
    return f.Fields(i) + " " + shown + " \"" + f.Strings(i) + "\"";
}

int listRules(const FilterCollection& set, bool json) {
    if (json) {
        std::cout << "[";
        for (size_t n = 0; n < set.size(); ++n) {
            const clsFilterNew& f = set[n];
            std::cout << (n ? ",\n " : "") << "{\"number\": " << n + 1
                      << ", \"name\": " << JsonText(f.FilterName) << ", \"action\": " << f.Action
                      << ", \"folder\": " << JsonText(f.DestFolder)
                      << ", \"category\": " << f.Category
                      << ", \"stop\": " << (f.StopProcessing ? "true" : "false")
                      << ", \"conditions\": [";
            const int used = std::clamp<int>(f.RuleCount, 0, clsFilterNew::MaxConditions);
            for (int i = 1; i <= used; ++i)
                std::cout << (i > 1 ? ", " : "") << "{\"field\": " << JsonText(f.Fields(i))
                          << ", \"comparison\": " << JsonText(f.Comparisons(i))
                          << ", \"text\": " << JsonText(f.Strings(i)) << "}";
            std::cout << "]}";
        }
        std::cout << "]\n";
        return 0;
    }
    for (size_t n = 0; n < set.size(); ++n)
        std::cout << n + 1 << "\t" << terminalLine(set[n].FilterName) << "\t"
                  << terminalLine(actionText(set[n])) << (set[n].StopProcessing ? "\tstop" : "")
                  << "\n";
    return 0;
}

int showRule(const FilterCollection& set, const std::string& word) {
    const double n = Val(word);
    if (n < 1 || n > static_cast<double>(set.size()) || n != std::floor(n))
        return RefuseWith("rules", "there is no filter " + terminalLine(word) + " (1 to " +
                                       Str(static_cast<long long>(set.size())) + ")");
    const clsFilterNew& f = set[static_cast<size_t>(n) - 1];
    std::cout << "Name: " << terminalLine(f.FilterName) << "\n";
    const int used = std::clamp<int>(f.RuleCount, 0, clsFilterNew::MaxConditions);
    for (int i = 1; i <= used; ++i)
        std::cout << (i == 1 ? "When: " : "And:  ") << terminalLine(conditionText(f, i)) << "\n";
    std::cout << "Then: " << terminalLine(actionText(f)) << "\n"
              << "Category: " << FilterCategoryTexts[f.Category == 0 ? 0 : 1] << "\n"
              << "Don't process subsequent rules: " << (f.StopProcessing ? "yes" : "no") << "\n";
    return 0;
}

int validateRules(const FilterCollection& set) {
    int bad = 0;
    for (size_t n = 0; n < set.size(); ++n)
        for (const std::string& problem : filterproblems(set[n])) {
            std::cout << n + 1 << "\t" << terminalLine(set[n].FilterName) << "\t" << problem
                      << "\n";
            ++bad;
        }
    std::cerr << set.size() << (set.size() == 1 ? " filter, " : " filters, ") << bad
              << (bad == 1 ? " problem\n" : " problems\n");
    return bad ? 1 : 0;
}

int rules(CommandArgs& args) {
    const bool local = args.flag("--local");
    const bool json = args.flag("--json");
    const bool shared = args.flag("--shared");
    if (auto status = args.refused(rulesUsage, 1, 2)) return *status;
    const std::vector<std::string> words = args.rest();
    const std::string verb = words[0];
    const size_t wanted = verb == "list" || verb == "validate" ? 1 : 2;
    if ((verb != "list" && verb != "validate" && verb != "show" && verb != "export" &&
         verb != "import") ||
        words.size() != wanted) {
        std::cerr << "usage: " << rulesUsage << "\n";
        return 2;
    }
    HeadlessSession session;
    frmFilters& set = local ? session.localFilters() : session.serverFilters();
    if (verb == "list") return listRules(set.Filters(), json);
    if (verb == "show") return showRule(set.Filters(), words[1]);
    if (verb == "validate") return validateRules(set.Filters());
    if (verb == "export") {
        if (!set.savefilters(words[1], shared)) {
            std::cerr << "corva rules: could not write " << terminalLine(words[1]) << "\n";
            return 1;
        }
        return 0;
    }
    // import: the file's filters whose names are new join the end, and the
    // rules file is written, as the editor's Import does.
    const size_t before = set.Filters().size();
    FilterCollection incoming;
    frmFilters::LoadFilters(incoming, words[1], true);
    if (incoming.empty()) {
        std::cerr << "corva rules: no filters in " << terminalLine(words[1]) << "\n";
        return 1;
    }
    importfilters(set, words[1]);
    const size_t added = set.Filters().size() - before;
    std::cout << "Imported " << added << " of " << incoming.size() << " filters\n";
    return 0;
}

int percent(float value) {
    return static_cast<int>(std::lround(value * 100.0));
}

int thresholds(CommandArgs& args) {
    const bool reset = args.flag("--reset");
    const auto spam = args.option("--spam", "a percentage");
    const auto saveToSpam = args.option("--save-to-spam", "a percentage");
    const auto headerWords = args.option("--header-words", "a number");
    const auto wordCount = args.option("--word-count", "a number");
    auto number = [&](const std::optional<std::string>& value, const char* name, int low,
                      int high) -> std::optional<int> {
        if (!value) return std::nullopt;
        const double n = Val(*value);
        if (Trim(*value).empty() || n < low || n > high || n != std::floor(n)) {
            args.problem(std::string(name) + " needs a whole number from " + Str(low) + " to " +
                         Str(high));
            return std::nullopt;
        }
        return static_cast<int>(n);
    };
    const auto spamN = number(spam, "--spam", 1, 100);
    const auto saveN = number(saveToSpam, "--save-to-spam", 1, 100);
    const auto headerN = number(headerWords, "--header-words", 1, 200);
    const auto countN = number(wordCount, "--word-count", 1, 100);
    if (reset && (spam || saveToSpam || headerWords || wordCount))
        args.problem("--reset doesn't go with values");
    if (auto status = args.refused("corva thresholds [--reset | [--spam P] [--save-to-spam P] "
                                   "[--header-words N] [--word-count N]]",
                                   0, 0))
        return *status;

    HeadlessSession session;
    frmBayesFilter& bayes = session.bayesFilter();
    bayes.LoadViewSettings();
    if (reset) {
        bayes.ResetToDefaults();
    } else if (spamN || saveN || headerN || countN) {
        if (spamN) bayes.SpamminessPercent = *spamN;
        if (saveN) bayes.SaveToSpamPercent = *saveN;
        if (headerN) bayes.HeaderWordsChoice = *headerN;
        if (countN) bayes.SpamWordCountChoice = *countN;
        bayes.savelocalsettings();
    }
    std::cout << "Spamminess\t" << percent(Spamminess) << "%\tdelete on the server\n"
              << "SaveToSpamScore\t" << percent(SaveToSpamScore) << "%\tSPAM?, to SpamBayes"
              << (SaveToSpamScore > 1 ? " (never: above every score)" : "") << "\n"
              << "HeaderWords\t" << HeaderWords << "\twords averaged for a score\n"
              << "SpamWordCount\t" << SpamWordCount << "\ttimes a word must appear\n";
    return 0;
}

const CommandRegistration rulesRegistration({
    "rules",
    rulesUsage,
    "List, check, export and import the filter rules",
    "The server rules (Rules.txt) judge mail on the server; --local works on the\n"
    "local rules (LocalRules.txt) that sort mail as it arrives. \"list\" prints\n"
    "number, name and action, one filter a line, in the order they are tried\n"
    "(--json: number, name, action, folder, category, stop, conditions). \"show\n"
    "N\" prints one filter. \"validate\" prints each filter the editor would\n"
    "refuse or that never fires, and exits 1 when there is one. \"export FILE\"\n"
    "writes the rules to FILE, only the shared ones with --shared. \"import FILE\"\n"
    "adds the filters of FILE whose names are new at the end, and saves.",
    rules,
});

const CommandRegistration thresholdsRegistration({
    "thresholds",
    "corva thresholds [--reset | [--spam P] [--save-to-spam P] [--header-words N] "
    "[--word-count N]]",
    "Show or set the classifier's thresholds",
    "Without options, prints the four thresholds. --spam is the score in percent\n"
    "at or above which mail is deleted on the server; --save-to-spam the score at\n"
    "or above which it is marked SPAM? and moved to SpamBayes (a first install\n"
    "has 200, which no score reaches); --header-words how many of the most\n"
    "telling words make a score; --word-count how often a word must appear in\n"
    "good or spam mail to count. --reset writes the defaults: 99, 70, 12 and 2.",
    thresholds,
});

} // namespace
} // namespace corva::app
