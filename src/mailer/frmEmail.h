// The window for one message without its window: it reads a stored message,
// or composes a new message, a reply or a forward, and sending means spooling
// the finished message into the Outbox. The view shows the fields kept here
// and forwards the user's edits and commands.
#pragma once

#include "mailer/clsInserts.h"
#include "mailer/frmEmailView.h"
#include "message/clsMessage.h"

#include <memory>
#include <string>
#include <vector>

namespace corva {

inline constexpr const char* NotSpecifiedText = "Not Specified";
inline constexpr const char* NoSpeechEngineText =
    "No speech engine was found, so the message can't be read aloud.";

class frmEmail {
public:
    // view and events may be null; they must outlive this object.
    explicit frmEmail(frmEmailView* view = nullptr, frmEmailEvents* events = nullptr);
    ~frmEmail();
    frmEmail(const frmEmail&) = delete;
    frmEmail& operator=(const frmEmail&) = delete;

    // The window is shown: its speech entries hide without an engine.
    void Form_Load();

    // ---- The four entries ----
    void ReadMessage(std::shared_ptr<clsMessage> message);
    void WriteNewMessage(const std::string& address);
    void ReplyToMessage(std::shared_ptr<clsMessage> message, bool ToAll, bool ToSender);
    void ForwardMessage(std::shared_ptr<clsMessage> message, bool AsAttachment);
    // Reads the request's file and runs its entry; false (and a notice) when
    // the file can't be read.
    bool Open(const EmailRequest& request);

    // ---- State ----
    EmailFields& Fields() { return fields_; }
    const EmailFields& Fields() const { return fields_; }
    bool Reading() const { return reading_; }
    bool Writing() const { return writing_; }
    bool Replying() const { return replying_; }
    bool TextChanged() const { return textChanged_; }
    bool Closing() const { return closing_; }
    const std::string& SourceFile() const { return sourceFile_; }
    const clsMessage* CurrentMessage() const { return current_.get(); }
    // The window's caption: the subject, or a new message's.
    std::string Caption() const;

    // ---- From the window ----
    // A key pressed in the body.
    void TB1_KeyPress() { textChanged_ = true; }
    // Alt+digit and Ctrl+S in the body: true when the key was taken.
    bool TB1_KeyDown(int digit, bool alt, bool ctrlS);
    // "send"; false when a check kept the window open.
    bool Send();
    // Send's steps, for the command line: the checks (asking the user), the
    // message the fields make, and what follows a spool (the Outbox's tag,
    // the original marked replied and the event).
    bool CheckBeforeSend();
    clsMessage OutgoingMessage() const;
    void MessageSpooled();
    // "reply", "replysender", "forward", "print", "attach", "readaloud",
    // "stopreading", "insertsig".
    void Command(const std::string& key);
    // The insert menu: one entry per insert, key = file name, caption = title.
    std::vector<EmailAttachmentRow> InsertMenu();
    // The autoreply menu: every template, key = path, caption = its name.
    std::vector<EmailAttachmentRow> AutoReplyMenu() const;
    // The signature menu: the numbered signatures, key = path, caption
    // "Signature n"; an entry goes in through InsertFile.
    std::vector<EmailAttachmentRow> SignatureMenu() const;
    // The folder whose sig.txt the signature editor opens on: the answered
    // or read message's, else the mail root's, which is the default.
    std::string SignatureFolder() const;
    void InsertFile(const std::string& file);
    void InsertAutoReply(const std::string& file);
    // The contact picker for To (or Cc).
    void cmdPicTo_Click(bool cc);
    void AttachFiles(const std::vector<std::string>& files);
    // Delete in the attachment list: the rows, from 0.
    void RemoveAttachments(std::vector<size_t> rows);
    void lstAttach_DblClick(size_t row);
    // The close box; false when the user chose to stay.
    bool QueryUnload();
    // Puts text in at the caret, over the selection; the caret ends behind it.
    void InsertAtCaret(const std::string& text);

    // ---- Texts the send step builds, for the command line too ----
    // The copy list as it goes out: "," turned ";" and the blanks around ";" gone.
    static std::string cleanCopyList(const std::string& text);
    // The reply body before the signature: attribution and quoted text.
    static std::string quotedReply(const clsMessage& message);
    // The forward body before the signature.
    static std::string forwardedText(clsMessage& message);

private:
    void fillcombo();
    void setupforreading();
    void setupforwriting();
    void populatewithmessage(const clsMessage& message, const std::string& text, bool ToSender,
                             bool ToAll);
    void showMessageParts(const clsMessage& message);
    std::string signature() const;
    void show();

    frmEmailView noView_;
    frmEmailView* view_;
    frmEmailEvents noEvents_;
    frmEmailEvents* events_;
    EmailFields fields_;
    std::shared_ptr<clsMessage> current_;
    bool reading_ = false;
    bool writing_ = false;
    bool replying_ = false;
    bool textChanged_ = false;
    bool closing_ = false;
    std::string sourceFile_;
    clsInserts inserts_;
};

} // namespace corva
