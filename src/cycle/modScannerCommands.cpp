#include "cycle/modScannerCommands.h"

#include "bayes/frmBayesFilter.h"
#include "bayes/modMailSubs.h"
#include "core/Account.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "core/modSubs.h"
#include "cycle/frmMain.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"
#include "message/clsMessages.h"
#include "platform/Platform.h"
#include "smtp/frmSendMailWrapper.h"
#include "store/modMessageFiles.h"

namespace corva {

namespace {

void tell(const std::string& text, platform::Icon icon) {
    platform::current().prompts().messageBox(text, platform::Buttons::Ok, icon, "Corva");
}

} // namespace

bool RunScannerCommand(frmMain& main, const std::string& key) {
    auto orCancel = [&](auto start) {
        if (main.Checking())
            main.cancelcheck();
        else
            start();
    };
    if (key == "scan") {
        main.mnuScan_Click();
    } else if (key == "delete") {
        orCancel([&] {
            CycleRequest request;
            request.deleteBlocked = true;
            main.checkmail(request);
        });
    } else if (key == "upanddown") {
        orCancel([&] { main.KeyDown(frmMain::Key::F3, false); });
    } else if (key == "sendrcvdel") {
        orCancel([&] {
            main.setSendAfterCheck(true);
            main.downloadmail(true);
        });
    } else if (key == "updownwithclear") {
        main.fMailer_UpDownWithClear();
    } else if (key == "stop") {
        main.cancelcheck();
    } else if (key == "upload") {
        main.UploadMail();
    } else if (key == "download") {
        main.downloadmail(false);
    } else if (key == "settings") {
        main.showsettings();
    } else if (key == "tkl") {
        main.starttkl();
    } else if (key == "reinforce") {
        // The list is being rebuilt while a cycle checks; what it shows is no basis.
        if (main.Checking()) return true;
        std::vector<std::shared_ptr<clsMessage>> lines;
        for (long i = 1; i <= main.ServerMessages().Count(); ++i)
            lines.push_back(main.ServerMessages().Item(i));
        ReinforceUsingVisible(main.BayesFilter(), lines, [&main] { main.rescanCachedmail(); });
    } else {
        return false;
    }
    return true;
}

std::shared_ptr<clsMessage> MessageOfLine(const frmMain& main, const ListLine& line) {
    const ServerRows& messages = main.ServerMessages();
    if (line.kind != ListLine::Kind::Message || line.Item < 1 || line.Item > messages.Count())
        return nullptr;
    return messages.Item(line.Item);
}

bool FetchMessageOfLine(frmMain& main, const ListLine& line, bool toRead) {
    if (main.Checking() || main.Sending()) {
        main.View().SetStatusPanel(1, "BUSY: Cannot open message");
        return false;
    }
    auto msg = MessageOfLine(main, line);
    if (!msg) return false;
    if (toRead) main.View().SetStatusPanel(1, "Fetching selected message");
    CycleRequest request;
    request.accounts = AccountSet::one(msg->FromAccount);
    request.specific = msg->MessageNumThisAcc;
    return main.checkmail(request);
}

bool ReadLineOnServer(frmMain& main, const ListLine& line) {
    if (sget("DISPLAYNAME", "").toText().empty()) {
        tell(gettranslation("Before sending mail you must specify a Reply-To email address in "
                            "the settings."),
             platform::Icon::Information);
        return false;
    }
    return FetchMessageOfLine(main, line, true);
}

std::string SaveDownloadedMessage(const clsMessage& message) {
    clsMessage copy = message;
    copy.Read = false;
    copy.setFilename(getunusedfilename(false, MessageFolder + InboxFolder, "download", ".eml"));
    savemessage(copy);
    return copy.Filename();
}

std::string WriteSourceFile(const clsMessage& message) {
    std::string temp = platform::current().files().privateTempFolder();
    if (temp.empty()) return "";
    std::string file = getunusedfilename(true, temp, "temp", ".eml");
    return WriteTextFile(file, message.RawMessage()) ? file : "";
}

int BounceLines(frmMain& main, const std::vector<ListLine>& lines) {
    if (main.Checking()) return 0;
    int bounced = 0;
    for (const ListLine& line : lines) {
        auto msg = MessageOfLine(main, line);
        if (!msg) continue;
        if (!SpoolBounce(main, *msg)) {
            tell(gettranslation("Couldn't bounce message - can't determine the sender's email."),
                 platform::Icon::Exclamation);
            continue;
        }
        ++bounced;
    }
    if (bounced)
        tell(gettranslation("Selected messages have been bounced. If you change your mind, delete "
                            "the outbound messages before you do another 'send/receive mail'"),
             platform::Icon::Information);
    return bounced;
}

bool MarkLines(frmMain& main, const std::vector<ListLine>& lines, bool asJunk) {
    if (main.Checking()) return false;
    clsMessages chosen;
    for (const ListLine& line : lines)
        if (auto msg = MessageOfLine(main, line)) chosen.Add(msg);
    if (chosen.Count() == 0) return false;
    main.BayesFilter().MarkMessagesJunkOrNot(chosen, asJunk);
    main.rescanCachedmail();
    return true;
}

namespace {

bool fetchesMessage(const std::string& entry) {
    return entry == "Read Message" || entry == "View this message as source code" ||
           entry == "Download selected message to inbox";
}

} // namespace

bool LineCommandEnabled(const frmMain& main, const std::string& entry) {
    if (entry == "Dismiss Menu") return true;
    if (main.Checking()) return false;
    if (entry == "Read Message" || entry == "View this message as source code")
        return !sget("DisableReadOnServer", false).toBool();
    return true;
}

bool LineCommandRefused(frmMain& main, const std::string& entry) {
    if (LineCommandEnabled(main, entry)) return false;
    if (main.Checking() && fetchesMessage(entry))
        main.View().SetStatusPanel(1, "BUSY: Cannot open message");
    return true;
}

const std::vector<std::string>& RightClickEntries() {
    static const std::vector<std::string> entries{"Mark as Junk",
                                                  "Mark as Not Junk",
                                                  "Read Message",
                                                  "View this message as source code",
                                                  "Download selected message to inbox",
                                                  "Submit to Spamcop",
                                                  "Bounce selected message(s)",
                                                  "Block sender",
                                                  "Unblock sender",
                                                  "Block sender's domain",
                                                  "Unblock this sender's domain",
                                                  "Block recipient email",
                                                  "Unblock Recipient Email",
                                                  "Block recipient domain",
                                                  "Unblock recipient domain",
                                                  "Ignore Recipient",
                                                  "Remove 'Ignore'",
                                                  "Show Bayes Breakdown",
                                                  "Create filter from message",
                                                  "Edit this filter",
                                                  "Edit Filters",
                                                  "Dismiss Menu"};
    return entries;
}

TailoredMenu TailorRightClickMenu(const clsMessage& msg, const std::string& accountTitle) {
    TailoredMenu menu;
    std::string number = std::to_string(msg.MessageNumThisAcc);
    menu.readCaption = "Read Message " + number + " on account " + accountTitle;
    menu.sourceCaption = "View Message " + number + " Source";
    menu.editFilterVisible = !msg.FilterReason.empty();
    if (menu.editFilterVisible) menu.editFilterCaption = "Edit Filter '" + msg.FilterReason + "'";
    return menu;
}

std::string BounceRecipient(const clsMessage& msg, const std::string& replyAddress) {
    std::string to = Trim(msg.XEnvelopeTo);
    if (to.empty()) to = msg.To_Email;
    if (to.empty()) to = replyAddress;
    to = Replace(Replace(to, "<", ""), ">", "");
    if (size_t blank = to.find(' '); blank != std::string::npos) to = to.substr(blank + 1);
    if (size_t comma = to.find(','); comma != std::string::npos) to = to.substr(0, comma);
    return to;
}

bool SpoolBounce(frmMain& main, const clsMessage& msg) {
    auto bounce = BuildBounce(msg, Account(msg.FromAccount).replyAddress());
    if (!bounce) return false;
    clsMessage out;
    out.From = bounce->From;
    out.To_Email = bounce->To;
    out.Subject = bounce->Subject;
    out.MessageBody = bounce->Body;
    out.FromAccount = msg.FromAccount;
    main.SendMailWrapper().SpoolMessage(out, bounce->From, "");
    return true;
}

std::optional<Bounce> BuildBounce(const clsMessage& msg, const std::string& replyAddress) {
    std::string subject = sget("BOUNCESUBJECT", "Failure Notice").toText();
    std::string prefix = sget("BOUNCEPREFIX", "MAILER-DAEMON@").toText();
    std::string recipient = BounceRecipient(msg, replyAddress);
    std::string domain;
    if (size_t at = recipient.find('@'); at != std::string::npos)
        domain = Replace(recipient.substr(at + 1), ">", "");

    // The copy leaves out the lines that would tell where it was really delivered.
    std::string copy;
    for (const std::string& line : Split(msg.RawMessage(), "\r\n")) {
        if (StartsWith(line, "Delivered-To:")) continue;
        copy += line + "\r\n";
    }
    if (copy.size() >= 2) copy.resize(copy.size() - 2);
    copy = Replace(copy, "X-Message-Read: 1", "");

    std::string sender = extractemail(msg.From);
    if (sender.empty()) sender = extractemail(msg.ReplyTo);
    if (sender.empty()) sender = extractemail(msg.Sender);
    if (sender.empty()) sender = extractemail(msg.ReturnPath);
    sender = Replace(Replace(sender, "<", ""), ">", "");
    if (sender.empty()) return std::nullopt;

    Bounce b;
    b.From = prefix + domain;
    b.To = sender;
    b.Subject = subject;
    b.Body = "Hi. This is the qmail-send program at " + domain + "\r\n" +
             "I'm afraid I wasn't able to deliver your message to the following addresses.\r\n" +
             "This is a permanent error; I've given up. Sorry it didn't work out.\r\n" + "\r\n" +
             recipient + "\r\n" + "Sorry, no mailbox here by that name. (#5.1.1)\r\n" + "\r\n" +
             "--- Below this line is a copy of the message.\r\n" + "\r\n" + copy + "\r\n";
    return b;
}

} // namespace corva
