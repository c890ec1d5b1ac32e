// One support ticket: a small "key:value" record in the CMS folder with two
// side files for its long texts (the request and the staff comment), and the
// web page it is published as.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace corva {

class clsMessage;

class clsCMSTicket {
public:
    std::string ownername;
    std::string owneremail;
    std::string desc;     // the subject
    std::string bodytext; // the request, kept in the desc file
    std::string comment;  // the staff comment, kept in the comment file
    std::string date;     // not in the record: set when the ticket is made
    bool notify = false;
    bool closed = false;
    std::vector<std::string> interested;
    std::string category;
    std::string type;
    std::string version;
    int32_t ticketnum = 0;
    int16_t priority = 5;
    std::string ticketfile, descfile, commentfile;
    bool isnew = false;

    // Writes the record and its side files, numbering a new ticket past any
    // file that already holds its number, then publishes it.
    void Save();
    bool Load(long number);
    // Reads a record; unknown keys are logged and passed over, a number that
    // is no number reads as 0. False when the file can't be read.
    bool Loadfile(const std::string& path);
    // A new ticket from a message; text (a selection) stands for the body when given.
    void LoadWithMessage(const clsMessage& message, const std::string& text);
    // Writes the ticket's page into the Webpath folder from webtemplate.txt.
    // Text from mail goes in escaped, so a sender can't put markup in the page.
    void PublishToWeb() const;
    // The page's file name under Webpath ("" when Webpath is empty).
    std::string WebPagePath() const;

    // The record's text, in the file's order.
    std::string RecordText() const;
};

// "<", ">", "&" and quotes as character references.
std::string HtmlEscaped(const std::string& text);

} // namespace corva
