// A generated mailbox that looks like a real one to the code that reads it:
// several Received lines, plain and multipart mail, HTML alternatives,
// quoted-printable and base64 parts, attachments, encoded subjects, and
// sizes from 2 to 100 KB with most of them small. The same index always
// gives the same message, so two runs compare like with like.
#pragma once

#include <cstdint>
#include <random>
#include <string>

namespace corva::bench {

namespace corpus_detail {

inline const char* const Words[] = {
    "the",     "quarterly", "figures", "meeting",  "report",  "invoice",  "project",  "deadline",
    "update",  "please",    "review",  "attached", "budget",  "schedule", "team",     "customer",
    "release", "version",   "notes",   "summary",  "thanks",  "regards",  "tomorrow", "office",
    "server",  "backup",    "order",   "shipping", "account", "offer",    "free",     "price"};

inline std::string words(std::mt19937& rng, size_t count) {
    std::string text;
    for (size_t i = 0; i < count; ++i) {
        if (i) text += ' ';
        text += Words[rng() % (sizeof Words / sizeof Words[0])];
    }
    return text;
}

// Body text in lines of about 70 characters, bytes long.
inline std::string paragraphText(std::mt19937& rng, size_t bytes) {
    std::string text;
    while (text.size() < bytes) {
        std::string line = words(rng, 8 + rng() % 5);
        line[0] = static_cast<char>(line[0] - 'a' + 'A');
        text += line + ".\r\n";
        if (rng() % 6 == 0) text += "\r\n";
    }
    return text;
}

// Lines of 76 characters; each after the first starts with indent, so that a
// header's value can be folded.
inline std::string base64Lines(std::mt19937& rng, size_t bytes, const char* indent = "") {
    static const char Alphabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    size_t column = 0;
    for (size_t i = 0; i < bytes; ++i) {
        text += Alphabet[rng() % 64];
        if (++column == 76 && i + 1 < bytes) {
            text += "\r\n";
            text += indent;
            column = 0;
        }
    }
    return text + "\r\n";
}

// Most mail is small; a few messages carry attachments up to 100 KB.
inline size_t pickSize(std::mt19937& rng) {
    unsigned r = rng() % 100;
    if (r < 55) return 2000 + rng() % 6000;
    if (r < 85) return 8000 + rng() % 22000;
    return 30000 + rng() % 70000;
}

} // namespace corpus_detail

inline std::string realisticMessage(int index) {
    using namespace corpus_detail;
    std::mt19937 rng(static_cast<uint32_t>(index) * 2654435761u + 17u);
    const std::string n = std::to_string(index);
    const size_t target = pickSize(rng);
    const std::string sender = std::string(Words[rng() % 32]) + "." + n;
    const std::string domain =
        std::string(Words[rng() % 32]) + (rng() % 3 ? ".example.com" : ".example.net");

    std::string head;
    head += "Return-Path: <" + sender + "@" + domain + ">\r\n";
    head += "Delivered-To: user@example.org\r\n";
    for (unsigned hop = 0, hops = 2 + rng() % 4; hop < hops; ++hop)
        head += "Received: from relay" + std::to_string(rng() % 90) + "." + domain +
                " (relay.example.net [198.51.100." + std::to_string(rng() % 250) + "])\r\n\tby mx" +
                std::to_string(hop) + ".example.org (Postfix) with ESMTPS id 4F" + n + "X" +
                std::to_string(hop) + "\r\n\tfor <user@example.org>; Tue, 3 Jun 2025 11:0" +
                std::to_string(hop) + ":30 +0200 (CEST)\r\n";
    if (rng() % 2)
        head +=
            "DKIM-Signature: v=1; a=rsa-sha256; c=relaxed/relaxed; d=" + domain +
            "; s=mail;\r\n\th=from:to:subject:date:message-id; bh=" + base64Lines(rng, 44, "\t") +
            "\tb=" + base64Lines(rng, 300, "\t");
    if (rng() % 4 == 0) head += "X-Spam-Status: No, score=-0.1 required=5.0 tests=NONE\r\n";
    head += "From: \"" + sender + "\" <" + sender + "@" + domain + ">\r\n";
    head += "To: \"User\" <user@example.org>\r\n";
    if (rng() % 5 == 0) head += "Cc: team@example.org, boss@example.org\r\n";
    if (rng() % 7 == 0)
        head += "Subject: =?UTF-8?B?w5xiZXJzaWNodA==?= " + words(rng, 4) + " " + n + "\r\n";
    else
        head += "Subject: " + words(rng, 3 + rng() % 6) + " " + n + "\r\n";
    head += "Date: Tue, 3 Jun 2025 11:05:28 +0200\r\n";
    head += "Message-ID: <" + n + "." + std::to_string(rng()) + "@" + domain + ">\r\n";
    head += "MIME-Version: 1.0\r\n";
    if (rng() % 3 == 0) head += "X-Mailer: Example Mailer 4." + std::to_string(rng() % 10) + "\r\n";

    const unsigned kind = rng() % 10;
    size_t bodyBytes = target > head.size() + 600 ? target - head.size() - 600 : 500;
    if (kind < 4) {
        head += "Content-Type: text/plain; charset=us-ascii\r\n\r\n";
        return head + paragraphText(rng, bodyBytes);
    }
    const std::string boundary = "----=_Part_" + n + "_" + std::to_string(rng());
    if (kind < 7) {
        head += "Content-Type: multipart/alternative; boundary=\"" + boundary + "\"\r\n\r\n";
        std::string text = paragraphText(rng, bodyBytes / 3);
        std::string html =
            "<html><body><p>" + paragraphText(rng, bodyBytes * 2 / 3) + "</p></body></html>\r\n";
        return head + "This is a multi-part message in MIME format.\r\n\r\n--" + boundary +
               "\r\nContent-Type: text/plain; charset=utf-8\r\nContent-Transfer-Encoding: "
               "quoted-printable\r\n\r\n" +
               text + "--" + boundary +
               "\r\nContent-Type: text/html; charset=utf-8\r\nContent-Transfer-Encoding: "
               "quoted-printable\r\n\r\n" +
               html + "--" + boundary + "--\r\n";
    }
    head += "Content-Type: multipart/mixed; boundary=\"" + boundary + "\"\r\n\r\n";
    std::string text = paragraphText(rng, 400 + bodyBytes / 8);
    size_t attached = bodyBytes > text.size() ? bodyBytes - text.size() : 300;
    const char* names[] = {"report.pdf", "photo.jpg", "figures.xlsx", "notes.docx"};
    const char* types[] = {"application/pdf", "image/jpeg", "application/vnd.ms-excel",
                           "application/msword"};
    unsigned which = rng() % 4;
    return head + "--" + boundary + "\r\nContent-Type: text/plain; charset=us-ascii\r\n\r\n" +
           text + "--" + boundary + "\r\nContent-Type: " + types[which] + "; name=\"" +
           names[which] +
           "\"\r\nContent-Transfer-Encoding: base64\r\nContent-Disposition: attachment; "
           "filename=\"" +
           names[which] + "\"\r\n\r\n" + base64Lines(rng, attached * 3 / 4 * 4 / 3) + "--" +
           boundary + "--\r\n";
}

} // namespace corva::bench
