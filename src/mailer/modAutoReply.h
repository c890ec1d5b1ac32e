// Auto-reply templates: the .txt files of the AutoReply folder in the data
// folder. A template may open with a "subject:" line and then an
// "attachment:" line; everything from the first other line on is the text.
#pragma once

#include <string>
#include <vector>

namespace corva {

struct AutoReplyTemplate {
    bool hasSubject = false;
    std::string subject;
    // The attachment line's file: relative names resolved against the
    // template's folder; "" when the template names none.
    std::string attachment;
    // The attachment line began with "?": the user chooses the file, starting
    // in chooseFrom ("" for wherever the chooser starts).
    bool chooseAttachment = false;
    std::string chooseFrom;
    std::string text;
};

std::string autoReplyFolder();
// Every template file, sorted by name.
std::vector<std::string> autoReplyTemplates();
// The menu caption of a template: its name without folder and extension.
std::string autoReplyCaption(const std::string& path);
// Splits a template's text; folder is where relative attachment names point.
AutoReplyTemplate parseAutoReply(const std::string& text, const std::string& folder);

} // namespace corva
