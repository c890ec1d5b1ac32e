#include "mailer/frmEmail.h"

#include "core/Account.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "core/modSubs.h"
#include "localise/modLanguages.h"
#include "mailer/frmShortcuts.h"
#include "mailer/modAutoReply.h"
#include "mailer/modSignatures.h"
#include "message/modMIME.h"
#include "platform/Platform.h"
#include "platform/SpeechControl.h"
#include "smtp/frmSendMailWrapper.h"
#include "store/modMessageFiles.h"
#include "store/modTags.h"

#include <algorithm>

namespace corva {
namespace {

const char* Module = "frmEmail";
const std::string CRLF = "\r\n";

platform::Answer ask(const std::string& text, platform::Buttons buttons,
                     platform::Icon icon = platform::Icon::Exclamation) {
    return platform::current().prompts().messageBox(text, buttons, icon);
}

// Keeps the wrapper's last status text: a spool that failed says why there.
class SpoolStatus : public SendMailWrapperListener {
public:
    void Progress(const std::string& text) override { last = text; }
    void Failed(const std::string& text) override { last = text; }
    std::string last;
};

// Line ends as the body control hands them back: every CR, LF or CRLF one CRLF.
std::string crlfLines(const std::string& text) {
    std::string out;
    out.reserve(text.size() + text.size() / 32);
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '\r' || text[i] == '\n') {
            out += CRLF;
            if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        } else {
            out += text[i];
        }
    }
    return out;
}

} // namespace

frmEmail::frmEmail(frmEmailView* view, frmEmailEvents* events)
    : view_(view ? view : &noView_), events_(events ? events : &noEvents_) {
    guarded("Form_Load", Module, [&] { fillcombo(); });
}

void frmEmail::Form_Load() {
    guarded("Form_Load", Module, [&] {
        platform::SpeechControl* speech = platform::speechControl();
        view_->ShowSpeechEntries(speech && speech->available());
    });
}

frmEmail::~frmEmail() = default;

std::string frmEmail::Caption() const {
    if (!fields_.subject.empty()) return fields_.subject;
    return reading_ ? "Message" : "New message";
}

void frmEmail::show() {
    view_->ShowFields();
}

// ---- Setting up ----

void frmEmail::fillcombo() {
    fields_.senders.clear();
    bool any = false;
    for (int n = 0; n < Account::Count; ++n) {
        std::string address = Account(n).replyAddress();
        any = any || !address.empty();
        fields_.senders.push_back(address.empty() ? NotSpecifiedText : address);
    }
    if (!any)
        view_->ShowStatus(
            gettranslation("No reply address set up. You won't be able to send email."));
}

void frmEmail::setupforreading() {
    view_->SetupForReading();
}

void frmEmail::setupforwriting() {
    view_->SetupForWriting();
}

std::string frmEmail::signature() const {
    return signatureForMessage(current_ ? current_->Filename() : "");
}

void frmEmail::showMessageParts(const clsMessage& message) {
    fields_.attachments.clear();
    if (!message.HasAttachment) return;
    for (int part = 1; part <= message.MimePartCount(); ++part)
        if (!message.MimePart(part).SectionName.empty())
            fields_.attachments.push_back({message.MimePart(part).SectionName, Str(part)});
}

void frmEmail::populatewithmessage(const clsMessage& message, const std::string& text,
                                   bool ToSender, bool ToAll) {
    fields_.attachments.clear();
    fields_.lblTo = message.To_Email;
    fields_.lblFrom = message.From;
    fields_.lblDate = message.SendDate;
    fields_.lblSubject = message.Subject;
    showMessageParts(message);
    fields_.to = ToSender || extractemail(message.ReplyTo).empty() ? message.From : message.ReplyTo;
    fields_.cc = ToAll ? message.CC : "";
    fields_.sender = Account::isNumber(message.FromAccount) ? message.FromAccount : -1;
    fields_.subject =
        LCase(Left(message.Subject, 3)) == "re:" ? message.Subject : "Re: " + message.Subject;
    fields_.body = text;
}

// ---- The four entries ----

void frmEmail::ReadMessage(std::shared_ptr<clsMessage> message) {
    guarded("ReadMessage", Module, [&] {
        if (!message) return;
        setupforreading();
        reading_ = true;
        writing_ = false;
        replying_ = false;
        LogAction("Populating with: " + message->Subject);
        current_ = message;
        populatewithmessage(*message, extractplainmessage(*message), false, false);
        // What the reader shows is the message's own subject.
        fields_.subject = message->Subject;
        fields_.caret = 0;
        textChanged_ = false;
        show();
    });
}

void frmEmail::WriteNewMessage(const std::string& address) {
    guarded("WriteNewMessage", Module, [&] {
        setupforwriting();
        writing_ = true;
        reading_ = false;
        replying_ = false;
        current_.reset();
        fields_.sender = Account::firstWithReplyAddress();
        if (fields_.sender < 0) view_->ShowStatus(gettranslation("No reply address specified"));
        fields_.body = CRLF + defaultSignature();
        fields_.caret = std::min<size_t>(3, fields_.body.size());
        fields_.selectionLength = 0;
        fields_.to = address;
        textChanged_ = false;
        show();
    });
}

std::string frmEmail::quotedReply(const clsMessage& message) {
    std::string body = "> " + extractplainmessage(message) + CRLF;
    body = Replace(body, CRLF, CRLF + "> ") + CRLF + CRLF;
    std::string name = extractname(message.From);
    return (name.empty() ? std::string("You") : name) + " wrote: " + CRLF + CRLF + body;
}

void frmEmail::ReplyToMessage(std::shared_ptr<clsMessage> message, bool ToAll, bool ToSender) {
    guarded("ReplyToMessage", Module, [&] {
        if (!message) return;
        reading_ = false;
        writing_ = true;
        setupforwriting();
        current_ = message;
        sourceFile_ = message->Filename();
        replying_ = true;
        std::string quoted = quotedReply(*message);
        // A reply takes no attachments along.
        message->ClearAttachments();
        message->RemoveReceiveDate();
        std::string body = CRLF + CRLF + signature() + CRLF + quoted;
        populatewithmessage(*message, body, ToSender, ToAll);
        fields_.attachments.clear();
        fields_.caret = std::min<size_t>(3, fields_.body.size());
        fields_.selectionLength = 0;
        textChanged_ = false;
        show();
    });
}

std::string frmEmail::forwardedText(clsMessage& message) {
    const std::string CR = "\r";
    std::string text =
        message.MimePartCount() > 0 ? message.MimePart(1).Content : message.MessageBody;
    if (message.Sender.empty()) message.Sender = message.From;
    if (message.Sender.empty()) message.Sender = message.ReplyTo;
    return "- - - - Begin Forwarded Message: - - - - - - - - - - " + CR + CR +
           "Original Sender: " + message.Sender + CR + "Original Subject: " + message.Subject + CR +
           CR + text + CR + CR + CR + "- - - - - End Forwarded Message: - - - - - - - - - - " + CR +
           CR;
}

void frmEmail::ForwardMessage(std::shared_ptr<clsMessage> message, bool AsAttachment) {
    guarded("ForwardMessage", Module, [&] {
        if (!message) return;
        writing_ = true;
        reading_ = false;
        setupforwriting();
        replying_ = false;
        current_ = message;
        message->ClearAttachments();
        fields_.attachments.clear();
        fields_.to.clear();
        fields_.cc.clear();
        std::string body;
        if (AsAttachment) {
            const std::string file = message->Filename();
            message->AddAttachment(file);
            fields_.attachments.push_back({fileonly(file), file});
        } else {
            body = forwardedText(*message);
        }
        fields_.sender = Account::isNumber(message->FromAccount) ? message->FromAccount : -1;
        // A forward puts no prefix before the subject.
        fields_.subject = message->Subject;
        fields_.body = body + CRLF + CRLF + signature();
        fields_.caret = std::min<size_t>(3, fields_.body.size());
        fields_.selectionLength = 0;
        textChanged_ = false;
        show();
    });
}

bool frmEmail::Open(const EmailRequest& request) {
    return guardedValue("Open", Module, false, [&] {
        if (request.kind == EmailRequest::Kind::New) {
            WriteNewMessage(request.to);
            // The composer has one copy line, Cc or Bcc: with any Bcc it is all
            // Bcc, so a hidden address is never shown to the others.
            fields_.cc = request.cc;
            if (!request.bcc.empty()) {
                fields_.cc += (fields_.cc.empty() ? "" : ";") + request.bcc;
                fields_.bcc = true;
            }
            fields_.subject = request.subject;
            if (!request.body.empty()) {
                fields_.body = crlfLines(request.body) + CRLF + fields_.body;
                fields_.caret = 0;
            }
            show();
            return true;
        }
        auto message = readfullmessage(request.path);
        if (message->Filename().empty()) {
            ask(request.path + gettranslation(" could not be read"), platform::Buttons::Ok);
            return false;
        }
        switch (request.kind) {
        case EmailRequest::Kind::Read:
            ReadMessage(message);
            break;
        case EmailRequest::Kind::Reply:
            ReplyToMessage(message, request.toAll, request.toSender);
            break;
        default:
            ForwardMessage(message, request.asAttachment);
            break;
        }
        return true;
    });
}

// ---- Sending ----

std::string frmEmail::cleanCopyList(const std::string& text) {
    std::string list = Replace(text, ",", ";");
    while (list.find(" ;") != std::string::npos) list = Replace(list, " ;", ";");
    while (list.find("; ") != std::string::npos) list = Replace(list, "; ", ";");
    return list;
}

bool frmEmail::CheckBeforeSend() {
    return guardedValue("Send", Module, false, [&] {
        const int sender = fields_.sender;
        if (sender < 0 || sender >= static_cast<int>(fields_.senders.size()) ||
            fields_.senders[static_cast<size_t>(sender)] == NotSpecifiedText) {
            ask(gettranslation("Please choose a valid sender account"), platform::Buttons::Ok);
            return false;
        }
        if (Trim(fields_.to).empty()) {
            ask(gettranslation("Please enter a 'To:' address"), platform::Buttons::Ok);
            return false;
        }
        return fields_.to.find('@') != std::string::npos ||
               ask(gettranslation("'To:' email address (") + fields_.to +
                       gettranslation(") does not seem to be valid. Click 'Cancel' to change it "
                                      "or 'OK' to continue."),
                   platform::Buttons::OkCancel) == platform::Answer::Ok;
    });
}

clsMessage frmEmail::OutgoingMessage() const {
    clsMessage message;
    guarded("Send", Module, [&] {
        const int sender = fields_.sender;
        message.MessageBody = crlfLines(fields_.body);
        if (sender >= 0 && sender < static_cast<int>(fields_.senders.size()))
            message.From = message.ReplyTo = message.ReturnPath =
                fields_.senders[static_cast<size_t>(sender)];
        std::string copies = cleanCopyList(fields_.cc);
        message.BCC = fields_.bcc ? copies : "";
        message.CC = fields_.bcc ? "" : copies;
        message.Subject = fields_.subject;
        message.To_Email = fields_.to;
        for (const EmailAttachmentRow& row : fields_.attachments) message.AddAttachment(row.Key);
        message.FromAccount = static_cast<int16_t>(sender);
        message.RemoveReceiveDate();
    });
    return message;
}

void frmEmail::MessageSpooled() {
    guarded("Send", Module, [&] {
        addtounreadtag(MessageFolder + OutboxFolder, 0);
        if (!replying_ || !current_) return;
        // A message read from no file (the scanner's) has nothing to mark.
        if (!current_->Replied && !current_->Filename().empty()) {
            current_->Replied = true;
            savemessage(*current_);
        }
        events_->MarkReplied(current_->Filename());
    });
}

bool frmEmail::Send() {
    return guardedValue("Send", Module, false, [&] {
        if (!CheckBeforeSend()) return false;
        view_->SetBusy(true);
        clsMessage message = OutgoingMessage();
        std::string spooled;
        SpoolStatus status;
        {
            frmSendMailWrapper wrapper;
            wrapper.setListener(&status);
            spooled = wrapper.SpoolMessage(message, "", "");
        }
        view_->SetBusy(false);
        // A message that didn't reach the Outbox stays on screen with the reason.
        if (spooled.empty()) {
            view_->ShowStatus(status.last.empty()
                                  ? gettranslation("The message could not be spooled")
                                  : status.last);
            return false;
        }
        MessageSpooled();
        writing_ = false;
        closing_ = true;
        view_->CloseView();
        return true;
    });
}

// ---- Editing ----

void frmEmail::InsertAtCaret(const std::string& text) {
    size_t at = std::min(fields_.caret, fields_.body.size());
    size_t length = std::min(fields_.selectionLength, fields_.body.size() - at);
    fields_.body = fields_.body.substr(0, at) + text + fields_.body.substr(at + length);
    fields_.caret = at + text.size();
    fields_.selectionLength = 0;
    show();
}

bool frmEmail::TB1_KeyDown(int digit, bool alt, bool ctrlS) {
    if (!writing_) return false;
    if (ctrlS) {
        InsertAtCaret(signature());
        textChanged_ = true;
        return true;
    }
    if (alt && digit >= 0 && digit <= 9) {
        InsertAtCaret(frmShortcuts::ShortcutText(digit));
        textChanged_ = true;
        return true;
    }
    return false;
}

std::vector<EmailAttachmentRow> frmEmail::InsertMenu() {
    std::vector<EmailAttachmentRow> menu;
    guarded("mnuInsert", Module, [&] {
        inserts_.loadinserts();
        for (long i = 1; i <= inserts_.Count(); ++i)
            menu.push_back({inserts_.Insert(i).Title, inserts_.Insert(i).Filename});
    });
    return menu;
}

std::vector<EmailAttachmentRow> frmEmail::AutoReplyMenu() const {
    std::vector<EmailAttachmentRow> menu;
    for (const std::string& path : autoReplyTemplates())
        menu.push_back({autoReplyCaption(path), path});
    return menu;
}

std::vector<EmailAttachmentRow> frmEmail::SignatureMenu() const {
    std::vector<EmailAttachmentRow> menu;
    for (const auto& [number, path] : numberedSignatures())
        menu.push_back({gettranslation("Signature") + " " + Str(number), path});
    return menu;
}

std::string frmEmail::SignatureFolder() const {
    if (current_ && !current_->Filename().empty()) return pathonly(current_->Filename());
    return MessageFolder;
}

void frmEmail::InsertFile(const std::string& file) {
    guarded("InsertFile", Module, [&] {
        std::string path = StartsWith(ToSlashes(file), "/") ? file : DataFolder + file;
        std::string text;
        if (!FileExists(path) || !LoadTextFile(path, text) || text.empty()) {
            ask(file + gettranslation(" is either missing or empty"), platform::Buttons::Ok);
            return;
        }
        InsertAtCaret(text);
    });
}

void frmEmail::InsertAutoReply(const std::string& file) {
    guarded("InsertAutoReply", Module, [&] {
        std::string text;
        if (!FileExists(file) || !LoadTextFile(file, text) || text.empty()) {
            ask(file + gettranslation(" is either missing or empty"), platform::Buttons::Ok);
            return;
        }
        AutoReplyTemplate reply = parseAutoReply(text, pathonly(file));
        if (reply.hasSubject) fields_.subject = reply.subject;
        if (reply.chooseAttachment)
            AttachFiles(
                view_->ChooseFiles(gettranslation("Select file(s) to attach"), reply.chooseFrom));
        else if (!reply.attachment.empty())
            AttachFiles({reply.attachment});
        InsertAtCaret(reply.text);
        textChanged_ = true;
    });
}

void frmEmail::AttachFiles(const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        bool listed = std::any_of(fields_.attachments.begin(), fields_.attachments.end(),
                                  [&](const EmailAttachmentRow& row) { return row.Key == file; });
        if (!listed && !file.empty()) fields_.attachments.push_back({fileonly(file), file});
    }
    show();
}

void frmEmail::RemoveAttachments(std::vector<size_t> rows) {
    if (reading_) return;
    std::sort(rows.rbegin(), rows.rend());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    for (size_t row : rows)
        if (row < fields_.attachments.size())
            fields_.attachments.erase(fields_.attachments.begin() + static_cast<long>(row));
    show();
}

void frmEmail::lstAttach_DblClick(size_t row) {
    if (!reading_ || row >= fields_.attachments.size()) return;
    view_->OpenPart(static_cast<int>(Val(fields_.attachments[row].Key)));
}

void frmEmail::cmdPicTo_Click(bool cc) {
    guarded("cmdPicTo_Click", Module, [&] {
        std::string name, address;
        if (!view_->SelectContact(name, address) || address.empty()) return;
        std::string& field = cc ? fields_.cc : fields_.to;
        std::string entry = name + " <" + address + ">";
        field = Trim(field).empty() ? entry : field + "; " + entry;
        show();
    });
}

void frmEmail::Command(const std::string& key) {
    guarded("Toolbar1_ButtonClick", Module, [&] {
        if (key == "send") {
            Send();
        } else if (key == "reply" || key == "replysender") {
            if (current_) ReplyToMessage(current_, false, key == "replysender");
        } else if (key == "forward") {
            if (!current_) return;
            current_->ClearAttachments();
            ForwardMessage(current_, true);
        } else if (key == "print") {
            view_->PrintMessage();
        } else if (key == "attach") {
            AttachFiles(view_->ChooseFiles(gettranslation("Select file(s) to attach"), ""));
        } else if (key == "insertsig") {
            InsertAtCaret(signature());
        } else if (key == "readaloud") {
            platform::SpeechControl* control = platform::speechControl();
            if (!control || !control->available()) {
                ask(gettranslation(NoSpeechEngineText), platform::Buttons::Ok);
                return;
            }
            size_t at = std::min(fields_.caret, fields_.body.size());
            platform::current().speech().speak(
                fields_.selectionLength > 0 ? fields_.body.substr(at, fields_.selectionLength)
                                            : fields_.body);
        } else if (key == "cms") {
            // Only in CMS mode, and only with text selected: the selection is the ticket.
            if (!current_ || !sget("CMSMODE", false).toBool()) return;
            const std::string text = view_->SelectedText();
            if (!text.empty()) view_->OpenTicket(*current_, text);
        } else if (key == "stopreading") {
            if (platform::SpeechControl* control = platform::speechControl()) control->stop();
        }
    });
}

bool frmEmail::QueryUnload() {
    return guardedValue("QueryUnload", Module, true, [&] {
        if (closing_ || !writing_ || !textChanged_) return true;
        return ask(gettranslation("You will lose any changes to this message. Are you sure?"),
                   platform::Buttons::YesNo, platform::Icon::Question) == platform::Answer::Yes;
    });
}

} // namespace corva
