#include "cycle/modScannerCommands.h"

#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "core/modSubs.h"
#include "message/clsMessage.h"

namespace corva {

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
