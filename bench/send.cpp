// Times the upload of N spooled messages (default 1,000) to a local SMTP server
// through frmSendMailWrapper, the path of "corva send", against a minimal
// Python smtplib sender over one connection, and measures the longest gap
// between event passes while a 20 MB attachment is spooled and sent.
//
//   bench_send [N] [attachment MB]
//
// The upload runs twice: with no pause between messages (the engine's own
// speed) and, on a sample, with the stock 250 ms pause of the send timer.
#include "BenchSupport.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/mSHAREDSettings.h"
#include "platform/qt/QtPlatform.h"
#include "smtp/frmSendMailWrapper.h"
#include "support/SmtpServer.h"
#include "support/TempDir.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace corva;
using namespace corva::bench;

// The longest time between two ticks of a 5 ms timer: how long the event loop
// went without a pass.
class GapMeter {
public:
    GapMeter() : timer_(platform::current().createTimer()) {
        timer_->setInterval(5);
        timer_->setCallback([this] { tick(); });
    }
    void start() {
        longest_ = 0;
        last_ = Clock::now();
        timer_->setEnabled(true);
    }
    double stop() {
        tick();
        timer_->setEnabled(false);
        return longest_;
    }

private:
    void tick() {
        auto now = Clock::now();
        longest_ = std::max(longest_, std::chrono::duration<double>(now - last_).count());
        last_ = now;
    }
    std::unique_ptr<platform::Timer> timer_;
    Clock::time_point last_;
    double longest_ = 0;
};

class Quiet : public SendMailWrapperListener {
public:
    void messageSent(const std::string&, const clsMessage&) override { ++sent; }
    void messageFailed(const std::string&, const std::string& why) override {
        if (failed++ == 0) std::cerr << "failed: " << why << "\n";
    }
    int sent = 0;
    int failed = 0;
};

clsMessage note(int i, const std::string& body) {
    clsMessage m;
    m.FromAccount = 0;
    m.To_Email = "bob@example.net";
    m.Subject = "Note " + std::to_string(i);
    m.MessageBody = body;
    return m;
}

std::string body() {
    std::string text;
    for (int line = 0; line < 40; ++line)
        text += "Line " + std::to_string(line) +
                " of a message of about three kilobytes, "
                "as people write them.\r\n";
    return text;
}

// Uploads everything in the Outbox; seconds taken.
double uploadAll(frmSendMailWrapper& wrapper) {
    auto start = Clock::now();
    wrapper.UploadSpooledMail();
    platform::current().eventLoop().runUntil([&] { return !wrapper.Uploading(); },
                                             24 * 3600 * 1000);
    return secondsSince(start);
}

// The reference: smtplib sending the same message n times over one connection.
double reference(int port, int n, const std::string& message, const std::string& folder) {
    std::string data = folder + "ref-message.eml";
    std::string script = folder + "ref.py";
    test::writeFile(data, message);
    test::writeFile(script, "import smtplib, sys, time\n"
                            "data = open(sys.argv[3], 'rb').read()\n"
                            "t = time.perf_counter()\n"
                            "s = smtplib.SMTP('127.0.0.1', int(sys.argv[1]))\n"
                            "s.helo('example.com')\n"
                            "for i in range(int(sys.argv[2])):\n"
                            "    s.sendmail('ann@example.com', ['bob@example.net'], data)\n"
                            "s.quit()\n"
                            "print(time.perf_counter() - t)\n");
    std::string command = "/usr/bin/python3 " + script + " " + std::to_string(port) + " " +
                          std::to_string(n) + " " + data;
    FILE* pipe = ::popen(command.c_str(), "r");
    if (!pipe) return -1;
    char line[128] = {};
    double seconds = -1;
    if (std::fgets(line, sizeof line, pipe)) seconds = std::atof(line);
    ::pclose(pipe);
    return seconds;
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    platform::qt::QtPlatform qt;
    platform::ScopedPlatform installed(qt);
    const int n = argc > 1 ? std::atoi(argv[1]) : 1000;
    const int megabytes = argc > 2 ? std::atoi(argv[2]) : 20;

    test::TempDir home;
    home.makeProgramFolder();
    UseDefaultFolders(home.path());
    MkMissingDir(MessageFolder + "Outbox/");
    MkMissingDir(MessageFolder + "Sent Items/");
    test::SmtpServer server;
    if (!server.running()) {
        std::cerr << "The SMTP server (python3-aiosmtpd) did not start\n";
        return 1;
    }
    sset("SMTP0", "127.0.0.1");
    sset("SMTPPort0", server.port());
    sset("ReplyAddress0", "ann@example.com");
    sset("MailTimeout", 30);

    frmSendMailWrapper wrapper;
    Quiet quiet;
    wrapper.setListener(&quiet);
    const std::string text = body();

    // 1. N messages with no pause between them.
    auto spoolStart = Clock::now();
    for (int i = 0; i < n; ++i) wrapper.SpoolMessage(note(i, text));
    double spoolSeconds = secondsSince(spoolStart);
    std::string sample = test::readFile(MessageFolder + "Outbox/00_outbound_0.eml");
    wrapper.setSendInterval(0);
    double ours = uploadAll(wrapper);
    double ref = reference(server.port(), n, "Date: Sat, 1 Jan 2000 00:00:00 +0000\r\n" + sample,
                           home.path());
    std::printf("upload of %d messages: %.2f s (%.0f per second), %d sent, %d failed\n", n, ours,
                n / ours, quiet.sent, quiet.failed);
    std::printf("reference smtplib, one connection: %.2f s (%.0f per second)\n", ref, n / ref);
    std::printf("ratio: %.2f times the reference\n", ours / ref);
    std::printf("spooling %d messages: %.2f s\n", n, spoolSeconds);

    // 2. A sample at the stock pace of the send timer.
    const int paced = std::min(n, 20);
    for (int i = 0; i < paced; ++i) wrapper.SpoolMessage(note(i, text));
    wrapper.setSendInterval(250);
    double pacedSeconds = uploadAll(wrapper);
    std::printf("with the 250 ms send timer: %d messages in %.2f s (%.0f ms each)\n", paced,
                pacedSeconds, pacedSeconds * 1000 / paced);

    // 3. A big attachment: the longest stretch without an event pass.
    std::string big = home.file("big.bin");
    {
        std::string block(1 << 20, '\0');
        for (size_t i = 0; i < block.size(); ++i) block[i] = static_cast<char>((i * 7919) >> 3);
        std::string all;
        for (int i = 0; i < megabytes; ++i) all += block;
        test::writeFile(big, all);
    }
    GapMeter meter;
    clsMessage m = note(0, text);
    m.AddAttachment(big);
    meter.start();
    auto bigStart = Clock::now();
    wrapper.SpoolMessage(m);
    double spoolGap = meter.stop();
    double spoolBig = secondsSince(bigStart);
    wrapper.setSendInterval(0);
    int before = quiet.sent;
    meter.start();
    double sendBig = uploadAll(wrapper);
    double sendGap = meter.stop();
    std::printf("%d MB attachment: spooled in %.2f s (longest gap %.0f ms), uploaded in %.2f s "
                "(longest gap %.0f ms), %s\n",
                megabytes, spoolBig, spoolGap * 1000, sendBig, sendGap * 1000,
                quiet.sent > before ? "sent" : "NOT sent");
    return 0;
}
