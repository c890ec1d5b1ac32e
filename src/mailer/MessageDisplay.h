// The preview pane's logic: the header strip, the message as plain text with
// its links, the attachment menu and what its entries do. The pane's window
// implements MessageDisplayView; everything it shows arrives decoded (UTF-8).
#pragma once

#include "mailer/HtmlAnchors.h"
#include "mailer/frmAttachWarning.h"
#include "message/clsMessage.h"
#include "platform/Printer.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corva {

// A run of the shown text, by byte offset into its UTF-8 (from 0).
struct TextRange {
    size_t start = 0;
    size_t length = 0;
    bool operator==(const TextRange&) const = default;
};

// Everything the pane shows for one message; the command line prints the same.
struct PreviewContent {
    std::vector<std::string> headerLines; // "From: ... To: ... Cc: ...", "Subject: ..."
    std::string warningLine;              // the red line at the strip's foot, "" for none
    bool suspicious = false;              // "&#1;" in a message of 250 KB or less
    std::vector<MisleadingLink> misleading;
    std::string text;                     // the body, line ends "\n"
    std::vector<TextRange> links;         // underlined runs of text
    std::vector<std::string> attachments; // menu entries: "name (12kb)"
    std::vector<int> attachmentParts;     // the MIME part (from 1) of each entry
};

class MessageDisplayView : public frmAttachWarningView {
public:
    // Whether one line of the header strip fits its width.
    virtual bool headerLineFits(const std::string& line) = 0;
    virtual void showHeader(const std::vector<std::string>& lines,
                            const std::string& warningLine) = 0;
    // Replaces the text; the ranges are underlined and clickable.
    virtual void showText(const std::string& text, const std::vector<TextRange>& links) = 0;
    virtual void setAttachmentMenu(const std::vector<std::string>& entries) = 0;
    // key: "attachments" or "warning".
    virtual void setButtonVisible(const std::string& key, bool visible) = 0;
    // The common save dialog; nothing when cancelled.
    virtual std::optional<std::string> askSavePath(const std::string& defaultName) = 0;
    // The folder dialog; nothing when cancelled.
    virtual std::optional<std::string> askFolder(const std::string& title,
                                                 const std::string& text) = 0;
    // An attached message in a reader window of its own.
    virtual void openReader(const std::string& path) = 0;
};

// The runs of text that look like links or addresses (UnderlineLinks).
std::vector<TextRange> UnderlineLinks(const std::string& text);

// The body as the pane shows it (displaymailbody's text), decoded.
std::string displayBodyText(const clsMessage& message);

// The charset a message's shown text was written in: the text part's, else
// the HTML part's, else the message's own; "" when none is named.
std::string bodyCharset(const clsMessage& message);

// The strip's lines: From, To and Cc (bare addresses when the full line
// doesn't fit), then Subject.
std::vector<std::string> headerStrip(const clsMessage& message,
                                     const std::function<bool(const std::string&)>& fits = {});

// The whole preview of a message; fits tells whether a header line fits.
PreviewContent buildPreview(const clsMessage& message,
                            const std::function<bool(const std::string&)>& fits = {});

// The text of the [!] button's message box for what the preview found.
std::string warningText(const PreviewContent& content);

// Saves every named part into folder under a safe name; the paths written.
std::vector<std::string> saveAllAttachments(const clsMessage& message, const std::string& folder);

// What a printed message holds: From, To, Cc (when any), Date and Subject,
// then the text as the pane shows it.
platform::PrintJob buildPrintJob(const clsMessage& message);

class MessageDisplay {
public:
    explicit MessageDisplay(MessageDisplayView& view);

    // Shows the message stored at path.
    void MessagePreview(const std::string& path);
    // Shows a message already read.
    void showMessage(std::shared_ptr<clsMessage> message);
    void clear();

    void displaymailheader();
    void displaymailbody();
    // Shows the strip again after its width changed.
    void refitHeader();
    void showchar1warning();
    // A click at a byte offset of the shown text.
    void txtMessage_MouseUp(size_t position);
    // entry: index into the attachment menu, from 0.
    void OpenAttachment(size_t entry);
    void mnusaveattach_click();
    void mnuviewsource_click();
    // Prints the message shown; the pages made, 0 when nothing was printed.
    int printMessage(platform::PrintTarget target, const std::string& pdfPath = "");

    // Where an address click goes; until set, the click says the composer
    // is still to come.
    void setComposer(std::function<void(const std::string&)> compose) {
        compose_ = std::move(compose);
    }

    const clsMessage* message() const { return message_.get(); }
    const PreviewContent& content() const { return content_; }
    bool suspicious() const { return content_.suspicious; }

private:
    // A folder for files the desktop opens, private to this process.
    std::string openFolder();

    MessageDisplayView& view_;
    frmAttachWarning attachWarning_;
    std::shared_ptr<clsMessage> message_;
    PreviewContent content_;
    std::function<void(const std::string&)> compose_;
    int opened_ = 0;
};

} // namespace corva
