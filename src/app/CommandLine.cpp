#include "app/CommandLine.h"

#include "core/Strings.h"

namespace corva::app {

bool IsWindowArgument(const std::string& word) {
    return InStrNoCase(word, "mailto:") > 0 || InStrNoCase(word, ".eml") > 0;
}

Invocation ParseCommandLine(const std::vector<std::string>& args) {
    Invocation result;
    std::vector<std::string> words;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& word = args[i];
        if (word == "--home" || StartsWith(word, "--home=")) {
            bool joined = word.size() > 6;
            if (!joined && i + 1 >= args.size()) {
                result.face = Invocation::Face::Error;
                result.error = "--home needs a folder";
                return result;
            }
            result.home = joined ? word.substr(7) : args[++i];
            if (result.home.empty()) {
                result.face = Invocation::Face::Error;
                result.error = "--home needs a folder";
                return result;
            }
        } else {
            words.push_back(word);
        }
    }

    if (words.empty() || IsWindowArgument(words.front())) {
        result.face = Invocation::Face::Windows;
        result.startLine = Join(words, " ");
        return result;
    }
    const std::string& first = words.front();
    if (first == "--help" || first == "-h" || first == "help") {
        result.face = Invocation::Face::Help;
        if (first == "help" && words.size() > 1) result.words.push_back(words[1]);
        return result;
    }
    if (first == "--version") {
        result.face = Invocation::Face::Version;
        return result;
    }
    result.face = Invocation::Face::Command;
    result.words = std::move(words);
    return result;
}

} // namespace corva::app
