// The SMTP engine sending one message to a server whose every reply is the
// fuzzer's. The first byte picks the switches; the rest, cut at each NUL, is
// what the server says, one data event per piece.
#include "FuzzSupport.h"
#include "ScriptedNet.h"

#include "core/mSHAREDSettings.h"
#include "smtp/frmSendMail.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    if (size < 1) return 0;
    static const std::string attachment = [] {
        sset("SMTP0", "smtp.corva.example");
        sset("Uname0", "ann");
        sset("ReplyAddress0", "ann@corva.example");
        sset("DisplayName0", "Ann Lee");
        return fuzz::writeFile("notes.txt", "first line\r\n.second line\r\n\x80\xff binary\r\n");
    }();
    const uint8_t switches = data[0];
    sset("UseAuthentication", (switches & 1) != 0);
    std::vector<std::string> replies;
    for (std::string_view piece :
         fuzz::split(fuzz::asText(data + 1, size - 1), std::string_view("\0", 1)))
        replies.emplace_back(piece);

    fuzz::ScriptedNet net(std::move(replies));
    frmSendMail mail;
    mail.Initialise(0);
    mail.setPassword("secret");
    mail.setRecipient("bob@corva.example;carol@corva.example");
    mail.setRecipientDisplayName("Bob;Carol");
    if (switches & 16) mail.setCcRecipient("dave@corva.example");
    mail.setSubject("Fuzz \xe9t\xe9");
    mail.setAsHTML((switches & 2) != 0);
    if (switches & 4) mail.setAttachment(attachment);
    const bool formatted = (switches & 8) != 0;
    mail.setMessage(formatted ? "Subject: ready\r\n\r\nHello\r\n.\r\nBye\r\n"
                              : "Hello\r\n.\r\nBye \xe2\x82\xac\r\n");
    mail.Send(formatted);
    if (switches & 32) mail.Send(formatted);
    mail.Disconnect();
    for (int steps = 0; steps < 1000 && net.step(); ++steps) {
    }
    return 0;
}
