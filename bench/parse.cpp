// Throughput of the message reader over a generated set of everyday mail:
// header-only parses as a server scan does them, full parses as retrieval and
// the store do them, and the decoding of one 20 MB Base64 attachment.
#include "core/mSHAREDLogging.h"
#include "message/clsMessage.h"
#include "message/modMIME.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <random>
#include <string>
#include <vector>

using namespace corva;
using Clock = std::chrono::steady_clock;

namespace {

std::mt19937 rng(42);

std::string words(size_t count) {
    static const char* pool[] = {"the",      "meeting", "invoice", "tomorrow", "please", "review",
                                 "attached", "report",  "thanks",  "project",  "café",   "update",
                                 "schedule", "budget",  "regards", "offer",    "link",   "team"};
    std::string out;
    for (size_t i = 0; i < count; ++i) {
        if (i) out += (i % 12 == 0) ? "\r\n" : " ";
        out += pool[rng() % (sizeof pool / sizeof *pool)];
    }
    return out;
}

std::string base64Of(size_t bytes) {
    static const char* a = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    size_t chars = (bytes + 2) / 3 * 4;
    for (size_t i = 0; i < chars; ++i) {
        out += a[rng() % 64];
        if (i % 76 == 75) out += "\r\n";
    }
    return out;
}

std::string headerBlock(int n) {
    std::string h;
    for (int i = 0; i < 4; ++i)
        h += "Received: from mx" + std::to_string(i) + ".example.net (mx" + std::to_string(i) +
             ".example.net [192.0.2." + std::to_string(i + n % 200) +
             "])\r\n\tby mail.example.org with ESMTP id abc" + std::to_string(n) +
             "\r\n\tfor <bob@example.org>; Tue, 3 Jun 2008 11:05:30 +0200\r\n";
    h += "DomainKey-Signature: a=rsa-sha1; c=nofws; d=example.net; s=sel;\r\n"
         "  h=Received:From:To:Subject:Date:Message-ID;\r\n"
         "  b=" +
         base64Of(96) + "\r\n";
    h += "X-Spam-Status: No, score=-2.6 required=5.0 tests=BAYES_00\r\n\tautolearn=ham\r\n";
    h += "Message-ID: <" + std::to_string(n) + ".1234@example.net>\r\n";
    h += "Date: Tue, 3 Jun 2008 11:05:30 +0200\r\n";
    h += "From: =?iso-8859-1?Q?Ren=E9_Dupont?= <rene@example.net>\r\n";
    h += "To: Bob <bob@example.org>\r\n";
    h += "Subject: =?utf-8?B?TWVldGluZyBub3Rlcw==?= " + std::to_string(n) + "\r\n";
    h += "MIME-Version: 1.0\r\nX-Mailer: Generator 2.1\r\n";
    return h;
}

// A message of about 5 KB: plain and HTML alternatives, some with a small attachment.
std::string typicalMessage(int n) {
    std::string text = words(180);
    std::string html = "<html><body><p>" + text +
                       "</p><p><a href=\"http://example.net/x\">link</a>"
                       "&nbsp;&copy; 2008</p></body></html>";
    std::string m = headerBlock(n);
    m += "Content-Type: multipart/mixed; boundary=\"outer" + std::to_string(n) + "\"\r\n\r\n";
    m += "--outer" + std::to_string(n) +
         "\r\nContent-Type: multipart/alternative; boundary=\"alt\"\r\n\r\n";
    m += "--alt\r\nContent-Type: text/plain; charset=iso-8859-1\r\n"
         "Content-Transfer-Encoding: quoted-printable\r\n\r\n" +
         text + "\r\n";
    m += "--alt\r\nContent-Type: text/html; charset=iso-8859-1\r\n"
         "Content-Transfer-Encoding: quoted-printable\r\n\r\n" +
         html + "\r\n--alt--\r\n";
    if (n % 3 == 0)
        m += "--outer" + std::to_string(n) +
             "\r\nContent-Type: application/pdf; name=\"r.pdf\"\r\n"
             "Content-Transfer-Encoding: base64\r\n\r\n" +
             base64Of(900) + "\r\n";
    m += "--outer" + std::to_string(n) + "--\r\n";
    return m;
}

// Wall time and the process's CPU time: on a shared machine the CPU time is
// the figure that tells the code's own speed.
struct Stopwatch {
    Clock::time_point wall = Clock::now();
    std::clock_t cpu = std::clock();
    double wallSeconds() const {
        return std::chrono::duration<double>(Clock::now() - wall).count();
    }
    double cpuSeconds() const { return double(std::clock() - cpu) / CLOCKS_PER_SEC; }
};

void report(const char* what, size_t messages, size_t bytes, const Stopwatch& w) {
    double cpu = w.cpuSeconds(), wall = w.wallSeconds();
    std::printf("%-20s %6zu msgs %6.1f MB  cpu %6.3f s: %8.0f msgs/s %6.1f MB/s  (wall %6.3f s: "
                "%8.0f msgs/s)\n",
                what, messages, bytes / 1e6, cpu, messages / cpu, bytes / 1e6 / cpu, wall,
                messages / wall);
}

} // namespace

int main() {
    SetLogFileOverride("/dev/null");
    std::vector<std::string> set;
    size_t totalBytes = 0;
    for (int i = 0; i < 2000; ++i) {
        set.push_back(typicalMessage(i));
        totalBytes += set.back().size();
    }
    std::printf("Set: %zu messages, average %.0f bytes\n", set.size(),
                static_cast<double>(totalBytes) / set.size());

    const int rounds = 10;
    size_t parts = 0;
    Stopwatch start;
    for (int r = 0; r < rounds; ++r)
        for (const auto& text : set) {
            clsMessage m;
            m.CreateFromText(text, true);
            parts += m.Subject.size();
        }
    report("header-only parse", set.size() * rounds, totalBytes * rounds, start);

    start = Stopwatch();
    for (int r = 0; r < rounds; ++r)
        for (const auto& text : set) {
            clsMessage m;
            m.CreateFromText(text, false);
            parts += static_cast<size_t>(m.MimePartCount());
        }
    report("full parse", set.size() * rounds, totalBytes * rounds, start);

    start = Stopwatch();
    for (const auto& text : set) {
        clsMessage m;
        m.CreateFromText(text, false);
        parts += extractplainmessage(m).size();
    }
    report("full parse + plain", set.size(), totalBytes, start);

    std::string big = base64Of(15 * 1000 * 1000);
    while (big.size() < 20 * 1000 * 1000) big += base64Of(3000);
    std::string bigMessage = "Subject: big\r\nContent-Type: multipart/mixed; boundary=\"b\"\r\n\r\n"
                             "--b\r\nContent-Type: text/plain\r\n\r\nsee attached\r\n"
                             "--b\r\nContent-Type: application/octet-stream; name=\"big.bin\"\r\n"
                             "Content-Transfer-Encoding: base64\r\n\r\n" +
                             big + "\r\n--b--\r\n";
    start = Stopwatch();
    std::string decoded = vbDecodeMime64(big);
    std::printf("20 MB base64 decode: %.1f MB in, %.1f MB out, cpu %.3f s, wall %.3f s\n",
                big.size() / 1e6, decoded.size() / 1e6, start.cpuSeconds(), start.wallSeconds());

    start = Stopwatch();
    clsMessage m;
    m.CreateFromText(bigMessage, false);
    std::string attachment = DecodedPartText(m, 2);
    std::printf("20 MB message full parse and attachment decode: cpu %.3f s, wall %.3f s (%zu "
                "parts, %zu bytes)\n",
                start.cpuSeconds(), start.wallSeconds(), static_cast<size_t>(m.MimePartCount()),
                attachment.size());
    return parts == 0 ? 1 : 0;
}
