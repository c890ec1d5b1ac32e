// The one in-memory form of a mail message: header fields, the verdict of the
// rule check, the MIME parts, and the raw text the store writes back.
#pragma once

#include "message/clsMimeType.h"

#include <cstdint>
#include <string>
#include <vector>

namespace corva {

class clsMessage {
public:
    // ---- Public fields ----
    bool HeaderOnly = false;      // the body was not decoded
    std::string StrippedBody;     // body for the word tests, tags kept
    std::string HtmlStrippedBody; // body with tags removed
    std::string SpamSplit;        // word-by-word Bayesian breakdown
    std::string ContentTypeMain;  // first Content-Type value, every ";" removed
    // Position inside a .qbx container.
    long IdxRec = 0;
    long QBXFileLoc = 0;
    long QBXFileEndLoc = 0;
    bool InQBXFile = false;
    bool Replied = false;
    bool HighPriority = false;
    std::string XSpamStatus; // all X-Spam-Status lines, joined
    std::string XSpamReport; // all X-Spam-Report lines, joined
    std::string XMailer;
    std::string FilterReason;
    // Verdict marks of the rule check.
    bool Ignored = false;
    bool Suspicious = false;
    float Bayes = 0; // the Bayesian score
    bool BlockedSender = false;
    bool BlockedRecip = false;
    std::string DomainKey; // all DomainKey-Signature lines, joined
    std::string ReturnReceiptTo;
    long MessageNumThisAcc = 0;

    // ---- Properties (plain ones are plain members) ----
    std::string SpamTestsFailed;
    std::string XEnvelopeTo;
    bool Deleted = false;
    bool HasAttachment = false;
    bool Read = false;
    int16_t FromAccount = 0; // index of the account the message came from
    int32_t Colour = 0;      // colour of the list line
    float Size = 0;          // kilobytes, at least 1 once parsed
    std::string Headers;     // everything before the first blank line
    // The stored path; read back in lower case when Read, upper case when not,
    // because the case of the file's own name is how the store keeps the read state.
    std::string Filename() const;
    void setFilename(const std::string& path);
    std::string DestFolder;
    std::string MessageBody; // everything after the first blank line, undecoded
    std::string Messagetext; // the text exactly as given to CreateFromText
    std::string Encrypted;
    std::string Comments;
    std::string Keywords;
    std::string References;
    std::string InReplyTo;
    std::string OrigIP;
    std::string UserAgent;
    std::string To_Email; // the decoded To header; read this for the recipient
    std::string BCC;
    std::string CC;
    std::string Sender;
    std::string ReplyTo;
    std::string Subject;
    std::string From;
    std::string MessageTo; // never filled by the parser
    std::string MessageID;
    std::string SendDate;
    std::string Received;
    std::string ReceiveDate;
    std::string ReturnPath;

    // ---- Read-only ----
    // 1-based; an index out of range gives an empty part.
    const clsMimeType& MimePart(int index) const;
    int16_t MimePartCount() const;
    const std::vector<std::string>& AttachmentNames() const { return attachments_; }
    // The raw text with the store's X-Message-* and X-Receive-Date lines brought
    // into line with the flags; computed at each call.
    std::string RawMessage() const;

    // ---- Operations ----
    // Fills the object from raw text. Called again on the same object it
    // clears only the bodies, parts, attachments, Received, the X-Spam and
    // DomainKey lines, Read, HighPriority, HasAttachment and ContentTypeMain;
    // a field the new text lacks (From, Subject, CC, Replied ...) keeps the
    // old value, on purpose. A message of its own wants a fresh object.
    void CreateFromText(const std::string& strMessage, bool vHeaderOnly);
    // Fills only what the word counts read: the header fields, Headers, Read and
    // the stripped body the tokens come from (HtmlStrippedBody when it has
    // text, else StrippedBody). Nothing is kept for saving or showing. For a
    // new object.
    void CreateForWordCount(const std::string& strMessage);
    void AddAttachment(const std::string& name);
    void ClearAttachments();
    void DeleteMimeParts();
    // Tags "Subject: " lines of the raw text with "SPAM: ".
    void TagAsSpam();
    // Replaces the raw text only; no field is parsed again.
    void ReplaceRawMessage(const std::string& NewRawMessage);
    // Drops an X-Receive-Date line planted by the sender.
    void RemoveReceiveDate();
    // Builds StrippedBody and HtmlStrippedBody.
    void CreateStripped();

    // ---- MIME reader (loose by design: it searches, it does not parse) ----
    void NewDecodePart(const std::string& text);
    void DecodeMultipartBody(const std::string& body, const std::string& boundary);
    static void decodeheader(const std::string& header, std::string& contentType,
                             std::string& encoding, std::string& boundary);
    static std::string extractboundarystring(const std::string& header);
    static std::string extractcontenttype(const std::string& header);
    static std::string extractcontentencoding(const std::string& header);
    static std::string extractfilename(const std::string& header, const std::string& contentType);
    static std::string appendextension(const std::string& name, const std::string& contentType);
    // Strips the content's trailing junk in place, as callers have always seen.
    void AddMimePart(const std::string& contentType, std::string& content,
                     const std::string& sectionName, const std::string& encoding);

private:
    void create(const std::string& strMessage, bool headerOnly, bool wordCountOnly);
    void strip(bool wordCountOnly);
    void parseHeaderLines();
    void decodePart(const std::string& text, int depth);
    void decodeMultipart(const std::string& body, const std::string& boundary, int depth);

    std::string raw_;
    std::string filename_;
    std::vector<clsMimeType> parts_;
    std::vector<std::string> attachments_;
    int16_t unnamedMessages_ = 0; // running number of unnamed attached messages
};

} // namespace corva
