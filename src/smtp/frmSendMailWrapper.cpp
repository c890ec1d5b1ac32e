// Spooling into the Outbox and the upload run over it. A file leaves the
// Outbox only after its copy stands in Sent Items.
#include "smtp/frmSendMailWrapper.h"

#include "core/Account.h"
#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/ErrorReport.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDGeneral.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "core/modSubs.h"
#include "localise/modLanguages.h"
#include "smtp/SmtpFailures.h"
#include "store/modTags.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace corva {

namespace {

constexpr const char* Module = "frmSendMailWrapper";

// Creates the file only if it is not there; true when this call made it,
// false when it was there already.
bool createExclusively(const std::string& path) {
    const platform::FileResult made = platform::current().files().createExclusive(path);
    if (made.error == platform::FileError::Exists) return false;
    if (!made) throw RunError(Err::PathFileAccess, "Cannot write " + path + ": " + made.detail);
    return true;
}

// The whole value of a header of a spooled file, its folded lines joined.
// The reader keeps only the last line of a folded header, but a spooled
// message puts each further recipient on a line of its own, and a recipient
// dropped here would never get the mail.
std::string unfoldedHeader(const std::string& headers, const std::string& name) {
    std::string value;
    bool inside = false;
    for (const std::string& line : SplitLines(headers)) {
        if (inside && !line.empty() && (line[0] == ' ' || line[0] == '\t')) {
            value += " " + Trim(line);
            continue;
        }
        inside = false;
        if (line.size() > name.size() && line[name.size()] == ':' &&
            EqualsNoCase(std::string_view(line).substr(0, name.size()), name)) {
            value = Trim(line.substr(name.size() + 1));
            inside = true;
        }
    }
    return value;
}

// The addresses of a header value as the engine takes them, "a@x;b@y": each
// one in angle brackets, or, without brackets, each piece between commas.
std::string addresslist(const std::string& value) {
    std::vector<std::string> found;
    size_t at = 0;
    while ((at = value.find('<', at)) != std::string::npos) {
        size_t end = value.find('>', at);
        if (end == std::string::npos) break;
        std::string address = extractemail(value.substr(at, end - at + 1));
        if (!address.empty()) found.push_back(address);
        at = end + 1;
    }
    if (found.empty())
        for (const std::string& piece : Split(Replace(value, ";", ","), ","))
            if (std::string address = extractemail(piece); !address.empty())
                found.push_back(address);
    return Join(found, ";");
}

// A spooled file as a message: the whole text, parsed by its headers only.
// Sending and filing it need its header fields and its text, never decoded
// attachments, and a file may carry megabytes of them.
std::shared_ptr<clsMessage> readspooled(const std::string& path) {
    auto message = std::make_shared<clsMessage>();
    std::string text;
    if (!LoadTextFile(path, text)) return message;
    DoEvents();
    message->CreateFromText(text, true);
    message->setFilename(path);
    return message;
}

// The sent file moves to Sent Items by a rename, which can neither lose it
// nor leave it in both folders, and then takes its new text (the Date line,
// the read mark) where it stands. A new copy and an erase would cost two
// directory updates more per message.
bool movesent(const std::string& outboxPath, const std::string& target, const std::string& text) {
    if (::rename(outboxPath.c_str(), target.c_str()) != 0) return false;
    // A big text goes beside the file and over it, so that what stands under
    // the name is always whole; a small one is a single write.
    bool ok = text.size() <= (size_t{1} << 20)
                  ? WriteFileInPlace(target, text)
                  : WriteFileInSlices(target, text, Durability::Started, true);
    if (!ok) LogAction("Can't write " + target);
    return true;
}

// Where the rename can't be made (another file system), a copy is written and
// the Outbox file goes only once the copy stands.
bool copysent(const std::string& outboxPath, const std::string& target, const std::string& text) {
    if (!WriteFileInSlices(target, text, Durability::Synced, true)) {
        LogAction("Can't write " + target);
        return false;
    }
    EraseFile(outboxPath);
    return true;
}

} // namespace

frmSendMailWrapper::frmSendMailWrapper() : TimerSendNext_(platform::current().createTimer()) {
    poSendMail_.setListener(this);
    TimerSendNext_->setInterval(250);
    TimerSendNext_->setEnabled(false);
    TimerSendNext_->setCallback([this] { TimerSendNext_Tick(); });
}

frmSendMailWrapper::~frmSendMailWrapper() {
    TimerSendNext_->setEnabled(false);
    TimerSendNext_->setCallback({});
    poSendMail_.setListener(nullptr);
}

std::string frmSendMailWrapper::outboxfolder() {
    return addslash(ResolvePath(MessageFolder + OutboxFolder));
}

std::string frmSendMailWrapper::sentitemsfolder() {
    return addslash(ResolvePath(MessageFolder + SentItemsFolder));
}

void frmSendMailWrapper::raiseProgress(const std::string& text) {
    if (listener_) listener_->Progress(text);
}

// ---- Spooling ----

std::string frmSendMailWrapper::SpoolMessage(clsMessage& message, const std::string& FromAddress,
                                             const std::string& FromName) {
    std::string path;
    Sendmail(message, true, FromAddress, FromName, &path);
    return path;
}

// Throws when the Outbox can't be written.
std::string frmSendMailWrapper::reserveoutboxname(int account) {
    std::string folder = outboxfolder();
    MkMissingDir(folder);
    for (long k = 0;; ++k) {
        std::string name = folder + TwoDigits(account) + "_outbound_" + Str(k) + ".eml";
        // The spool writes name.tmp first and renames it over the name.
        if (FileExists(name)) continue;
        if (createExclusively(name + ".tmp")) return name;
    }
}

void frmSendMailWrapper::splitaddresses(const std::string& text, std::string& addresses,
                                        std::string& names) {
    addresses.clear();
    names.clear();
    if (text.empty()) return;
    std::vector<std::string> entries = Split(text, ";");
    for (size_t i = 0; i < entries.size(); ++i) {
        addresses += extractemail(entries[i]);
        std::string name = extractname(entries[i]);
        // Settled behaviour: a nameless entry carries the addresses so far.
        names += name.empty() ? addresses : name;
        if (i + 1 < entries.size()) {
            addresses += ";";
            names += ";";
        }
    }
}

bool frmSendMailWrapper::Sendmail(clsMessage& message, bool Spool, const std::string& FromAddress,
                                  const std::string& FromName, std::string* spooledPath) {
    return reportedValue("Sendmail", Module, false, [&] {
        frmSendMail& mail = poSendMail_;
        mail.Initialise(message.FromAccount);
        message.From = extractemail(message.From);

        std::string attachments;
        for (const std::string& name : message.AttachmentNames())
            if (!name.empty()) attachments += name + ";";
        if (attachments.size() > 1 && EndsWith(attachments, ";")) attachments.pop_back();
        mail.setAttachment(attachments);

        std::string fileName;
        if (Spool) fileName = reserveoutboxname(message.FromAccount);

        mail.setRecipient(extractemail(message.To_Email));
        mail.setRecipientDisplayName(extractname(message.To_Email));
        mail.setSubject(message.Subject);
        mail.setMessage(message.MessageBody);

        std::string addresses, names;
        splitaddresses(message.CC, addresses, names);
        mail.setCcRecipient(addresses);
        mail.setCcDisplayName(names);
        splitaddresses(message.BCC, addresses, names);
        mail.setBccRecipient(addresses);

        if (!FromAddress.empty()) mail.setFrom(FromAddress);
        if (!FromName.empty()) mail.setFromDisplayName(FromName);

        if (!Spool) return mail.Send(false);
        bool written = mail.SpoolToFile(fileName);
        EraseFile(fileName + ".tmp");
        if (!written) return false;
        if (spooledPath) *spooledPath = fileName;
        return true;
    });
}

// ---- Upload ----

bool frmSendMailWrapper::connect(int account) {
    return reportedValue("connect", Module, false, [&] {
        frmSendMail& mail = poSendMail_;
        const Account settings(account);
        mail.Initialise(account);
        server_ = settings.smtpServer();
        LogAction("Using server: " + server_);
        if (server_.empty()) {
            LogAction("Error, server not defined. Sendmail cancelled.");
            std::string text = gettranslation("Please specify SMTP server #") + Str(account + 1) +
                               gettranslation(" in the settings");
            platform::current().prompts().messageBox(text);
            if (listener_) listener_->Failed(text);
            connected_ = false;
            return false;
        }
        mail.setConnectTimeout(static_cast<int32_t>(sget("MailTimeout", 30).toLong()));
        mail.setSMTPHost(settings.smtpAddress().first);
        if (settings.smtpAuth()) {
            user_ = settings.smtpUserName();
            password_ = settings.smtpPassword();
        } else {
            user_.clear();
            password_.clear();
        }
        if (!user_.empty()) {
            LogAction("Using SMTP authorisation");
            mail.setUseAuthentication(true);
            mail.setUsername(user_);
            mail.setPassword(password_);
        } else {
            LogAction("No password required");
            mail.setUseAuthentication(false);
        }
        mail.setDelimiter(";");
        raiseProgress(Replace(gettranslation("Connecting to @@@"), "@@@", server_));
        LogAction("Connecting to " + server_);
        connected_ = mail.Connect();
        if (!connected_) LogAction("Connection Failed");
        return connected_;
    });
}

void frmSendMailWrapper::disconnect() {
    poSendMail_.Disconnect();
    connected_ = false;
}

bool frmSendMailWrapper::accounthasfiles(int account) const {
    const std::string prefix = TwoDigits(account);
    return std::any_of(files_.begin(), files_.end(),
                       [&](const std::string& f) { return StartsWith(f, prefix); });
}

void frmSendMailWrapper::findnextaccount() {
    while (account_ < AccountCount && !accounthasfiles(account_)) ++account_;
    if (account_ >= AccountCount) account_ = NoAccount;
}

// Moves on to the next account that has mail and whose server answers; an
// account that can't be reached is skipped and its files wait for a later run.
void frmSendMailWrapper::nextserver(int startAccount) {
    account_ = startAccount + 1;
    findnextaccount();
    while (account_ != NoAccount) {
        if (connect(account_)) return;
        ++account_;
        findnextaccount();
    }
    uploading_ = false;
    if (listener_) listener_->SendingFinished();
}

void frmSendMailWrapper::UploadSpooledMail() {
    reported("UploadSpooledMail", Module, [&] {
        if (uploading_) {
            raiseProgress(gettranslation("Already sending mail."));
            return;
        }
        sending_ = false;
        files_.clear();
        FillFiles(outboxfolder(), "EML", files_);
        // Oldest spool number first within each account.
        std::sort(files_.begin(), files_.end(), [](const std::string& a, const std::string& b) {
            return a.size() != b.size() ? a.size() < b.size() : a < b;
        });
        if (files_.empty()) {
            raiseProgress(gettranslation("No mail to send"));
            if (listener_) listener_->NoMailToSend();
            uploading_ = false;
            return;
        }
        uploading_ = true;
        index_ = 0;
        account_ = 0;
        nextserver(-1);
        if (connected_ && uploading_) {
            TimerSendNext_->setEnabled(true);
        } else {
            if (listener_) listener_->NoMailToSend();
            raiseProgress(gettranslation("Unable to connect."));
        }
    });
}

void frmSendMailWrapper::TimerSendNext_Tick() {
    if (sending_) return;
    guarded("TimerSendNext_Timer", Module, [&] {
        TimerSendNext_->setEnabled(false);
        ++index_;
        if (index_ > static_cast<int>(files_.size())) {
            index_ = 1;
            disconnect();
            nextserver(account_);
            if (account_ == NoAccount) return;
        }
        const std::string& name = files_[static_cast<size_t>(index_ - 1)];
        if (Left(name, 2) == TwoDigits(account_)) {
            current_ = readspooled(outboxfolder() + name);
            DoEvents();
            sending_ = true;
            SendSpooledMessage(*current_);
            current_.reset();
        }
        if (uploading_) TimerSendNext_->setEnabled(true);
    });
}

void frmSendMailWrapper::SendSpooledMessage(clsMessage& message) {
    frmSendMail& mail = poSendMail_;
    if (!connected_) {
        sending_ = false;
        raiseProgress(gettranslation("Can't send - not connected to server"));
        return;
    }
    mail.setFrom(extractemail(message.From));
    const std::string to = addresslist(unfoldedHeader(message.Headers, "To"));
    mail.setRecipient(to.empty() ? extractemail(message.To_Email) : to);
    for (int pass = 0; pass < 2; ++pass) {
        const std::string unfolded =
            addresslist(unfoldedHeader(message.Headers, pass == 0 ? "Cc" : "Bcc"));
        const std::string& list = !unfolded.empty() ? unfolded
                                  : pass == 0       ? message.CC
                                                    : message.BCC;
        std::vector<std::string> addresses;
        if (!list.empty())
            for (const std::string& entry : Split(list, ";"))
                addresses.push_back(extractemail(entry));
        std::string joined = Join(addresses, ";");
        if (pass == 0)
            mail.setCcRecipient(joined);
        else
            mail.setBccRecipient(joined);
    }
    std::string raw = message.Messagetext;
    RemoveCRLFFromEnd(raw);
    // Every LF goes and every CR becomes CRLF, in one pass with an event pass
    // every few megabytes.
    std::string text;
    text.reserve(raw.size() + raw.size() / 32);
    const size_t slice = 4 << 20;
    for (size_t from = 0; from < raw.size(); from += slice) {
        size_t end = std::min(raw.size(), from + slice);
        for (size_t i = from; i < end; ++i) {
            char c = raw[i];
            if (c == '\n') continue;
            text.push_back(c);
            if (c == '\r') text.push_back('\n');
        }
        DoEvents();
    }
    raw.clear();
    raw.shrink_to_fit();
    // Event passes between the whole-text steps keep a big message from
    // freezing the windows.
    DoEvents();
    // Stuffed here and again by the assignment: the spooled body was stuffed
    // once already, so a ".x" line reaches the wire with four dots.
    text = mail.FormatMail(text);
    DoEvents();
    mail.setMessage(text);
    text.clear();
    text.shrink_to_fit();
    DoEvents();
    LogAction("Sending message");
    mail.Send(true);
    // A login refused on a reconnect ends Send without an event.
    sending_ = false;
}

void frmSendMailWrapper::CancelSend() {
    guarded("CancelSend", Module, [&] {
        TimerSendNext_->setEnabled(false);
        uploading_ = false;
        sending_ = false;
        poSendMail_.Disconnect();
        connected_ = false;
        raiseProgress(gettranslation("Send cancelled"));
    });
}

// ---- Engine events ----

void frmSendMailWrapper::Progress(int PercentComplete) {
    raiseProgress(Replace(gettranslation("Sending Mail: @@@%"), "@@@", Str(PercentComplete)));
}

void frmSendMailWrapper::Status(const std::string& Status) {
    raiseProgress(Status);
}

void frmSendMailWrapper::SendFailed(const std::string& english) {
    // The engine logged it in English; the person reads it in the chosen language.
    const std::string Explanation = ShownFailure(english);
    raiseProgress(Explanation);
    if (listener_ && uploading_ && sending_ && index_ >= 1 &&
        index_ <= static_cast<int>(files_.size()))
        listener_->messageFailed(files_[static_cast<size_t>(index_ - 1)], Explanation);
    // A server that could not be reached, refused the login or showed a
    // certificate nobody trusts fails no message in particular; its reason
    // must still reach the user (the fingerprint to trust, above all).
    else if (listener_ && uploading_ && !sending_)
        listener_->Failed(Explanation);
    sending_ = false;
}

void frmSendMailWrapper::SendSuccessful() {
    if (!uploading_ || !sending_ || index_ < 1 || index_ > static_cast<int>(files_.size())) return;
    guarded("poSendMail_SendSuccessful", Module, [&] {
        const std::string name = files_[static_cast<size_t>(index_ - 1)];
        const std::string outboxPath = outboxfolder() + name;
        // The file is as it was when the tick read it for sending.
        std::shared_ptr<clsMessage> message = current_ ? current_ : readspooled(outboxPath);
        DateTime now = DateTime::now();
        message->SendDate = now.format("yyyy-mm-dd hh:nn:ss");

        std::string raw = message->Messagetext;
        size_t blank = InStr(raw, "\r\n\r\n");
        if (blank > 0 && InStr(Left(raw, blank - 1), "\rDate:") == 0) {
            raw = Left(raw, blank - 1) + "\r\nDate: " + now.format("yyyy-mm-dd hh:nn:ss") +
                  "\r\n\r\n" + Mid(raw, blank + 4);
            message->ReplaceRawMessage(raw);
        }
        raw.clear();
        raw.shrink_to_fit();
        DoEvents();

        std::string sentFolder = sentitemsfolder();
        MkMissingDir(sentFolder);
        std::string target = getunusedfilename(true, sentFolder, fileroot(name), ".eml");
        message->setFilename(target);
        message->Read = true;
        const std::string text = message->RawMessage();
        DoEvents();
        if (!target.empty() &&
            (movesent(outboxPath, target, text) || copysent(outboxPath, target, text)))
            removefromunreadtag(outboxfolder(), 0);
        else
            LogAction("Could not store the sent copy of " + name + "; it stays in the Outbox");
        sending_ = false;
        raiseProgress(
            FilledIn(gettranslation("Sent @@@ to @@@"), {message->Subject, message->To_Email}));
        if (listener_) listener_->messageSent(name, *message);
    });
    sending_ = false;
}

} // namespace corva
