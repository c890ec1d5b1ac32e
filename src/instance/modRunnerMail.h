// What the running copy does with a handed-over text: show itself, open a
// composer for a mail link, or open the reader for a message file.
#pragma once

#include "instance/MailLink.h"

#include <string>

namespace corva {

class RunnerMailView {
public:
    virtual ~RunnerMailView() = default;
    virtual bool MailerLoaded() const = 0;
    virtual void ShowMailer() = 0;
    virtual bool MainVisible() const = 0;
    // Activates the program and raises the scanner above other windows.
    virtual void BringMainForward() = 0;
    virtual void ShowMain() = 0;
    // A new message, its fields taken from the link.
    virtual void OpenComposer(const MailLink& link) = 0;
    // The reader on a message file that exists.
    virtual void OpenMessageFile(const std::string& path) = 0;
};

void Runner_ShowWindow(RunnerMailView& view);
// text: a mail link ("mailto:", "/mailto:") or the path of an .eml file,
// quoted or not. The path keeps its case: file names here are case-sensitive.
// Anything else is ignored without a word.
void Runner_ShowMail(const std::string& text, RunnerMailView& view);

} // namespace corva
