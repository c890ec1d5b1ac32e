// Prompts for the command line: questions go to the terminal, and without a
// terminal every question gets the cautious answer (Cancel, No, no password).
#pragma once

#include "platform/Platform.h"

#include <iosfwd>

namespace corva::platform {

class ConsolePrompts : public Prompts {
public:
    // assumeYes answers every Yes/No question with Yes (the --yes of the command line).
    explicit ConsolePrompts(bool assumeYes = false);
    Answer messageBox(const std::string& text, Buttons buttons, Icon icon,
                      const std::string& title) override;
    PasswordReply askPassword(const std::string& prompt) override;
    std::optional<std::string> inputBox(const std::string& prompt, const std::string& title,
                                        const std::string& defaultText) override;
    void setCursor(Cursor) override {}
    void setAssumeYes(bool yes) { assumeYes_ = yes; }

private:
    bool interactive() const;
    bool assumeYes_;
};

} // namespace corva::platform
