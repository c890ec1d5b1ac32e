// What the composer and reader window shows and asks: its fields come from
// frmEmail::Fields(), the window writes the user's edits back there and
// forwards its commands. Every method has an empty default.
#pragma once

#include <string>
#include <vector>

namespace corva {

class clsMessage;

// One row of the attachment list: the name shown and the key (the full path
// of a file to send, or the MIME part's number when reading).
struct EmailAttachmentRow {
    std::string Name;
    std::string Key;
};

// The window's fields as the logic sets them.
struct EmailFields {
    // cmbFrom: one entry per account, "Not Specified" for one without an
    // address, so that the entry's index is the account's number.
    std::vector<std::string> senders;
    int sender = -1; // -1: none selected
    std::string to;
    std::string cc;
    bool bcc = false;
    std::string subject;
    // TB1, line ends as the text holds them; caret and selection count bytes from 0.
    std::string body;
    size_t caret = 0;
    size_t selectionLength = 0;
    std::vector<EmailAttachmentRow> attachments;
    // The reading labels.
    std::string lblFrom, lblTo, lblDate, lblSubject;
};

class frmEmailView {
public:
    virtual ~frmEmailView() = default;
    // The fields changed; the view shows them all again.
    virtual void ShowFields() {}
    virtual void SetupForReading() {}
    virtual void SetupForWriting() {}
    virtual void ShowStatus(const std::string& text) { (void)text; }
    virtual void SetBusy(bool busy) { (void)busy; }
    // The read-aloud and stop entries; hidden without a speech engine.
    virtual void ShowSpeechEntries(bool visible) { (void)visible; }
    virtual void CloseView() {}
    // The file chooser for attachments, several files at once; empty on cancel.
    virtual std::vector<std::string> ChooseFiles(const std::string& title,
                                                 const std::string& startFolder) {
        (void)title;
        (void)startFolder;
        return {};
    }
    // The contact book in pick mode; false on cancel.
    virtual bool SelectContact(std::string& name, std::string& address) {
        (void)name;
        (void)address;
        return false;
    }
    // Opens a MIME part of the message read (its number, from 1).
    virtual void OpenPart(int part) { (void)part; }
    virtual void PrintMessage() {}
    // Support tickets (CMS mode): the text the user has selected, and a new
    // ticket from the message with that text standing for its body.
    virtual std::string SelectedText() { return {}; }
    virtual void OpenTicket(const clsMessage& message, const std::string& text) {
        (void)message;
        (void)text;
    }
};

// How a composer or reader window is to open.
struct EmailRequest {
    enum class Kind { Read, New, Reply, Forward };
    Kind kind = Kind::New;
    // The message file read, answered or forwarded.
    std::string path;
    bool toAll = false;        // a reply copies the Cc
    bool toSender = false;     // a reply goes to From, whatever Reply-To says
    bool asAttachment = false; // a forward attaches the message's own file
    // A new message's fields, as a mail link or a clicked address gives them.
    std::string to, cc, bcc, subject, body;
};

// What the composer tells its owner.
class frmEmailEvents {
public:
    virtual ~frmEmailEvents() = default;
    // A reply to the message in this file was sent.
    virtual void MarkReplied(const std::string& filename) { (void)filename; }
};

} // namespace corva
