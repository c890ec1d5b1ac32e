// Why sending failed, in English as the log keeps it. "@@@" in a form stands
// for words of the server, the account or the certificate, which no language
// file can hold; ShownFailure gives the same text in the chosen language.
#pragma once

#include <initializer_list>
#include <string>

namespace corva {

inline constexpr const char* HtmlNeedsMimeText = "Sending HTML requires MIME encoding";
inline constexpr const char* NoRecipientText = "No Recipient E-mail Address Specified";
inline constexpr const char* TooManyRecipientsText = "Too many recipients";
inline constexpr const char* InvalidPortText = "Invalid Remote Port";
inline constexpr const char* MissingAttachmentText = "The file you tried to attach does not exist";
inline constexpr const char* SmtpTimeoutText =
    "Timeout occurred: The SMTP Host did not respond to the request";
inline constexpr const char* SmtpClosedText = "The SMTP Host closed the connection";
inline constexpr const char* NoStartTlsText = "The server does not offer STARTTLS";
inline constexpr const char* StartTlsRefusedForm = "The server refuses STARTTLS: @@@";
inline constexpr const char* SecureFailedText = "The secure connection failed";
inline constexpr const char* LoginRefusedForm = "Login refused: @@@";
inline constexpr const char* LoginUnansweredText = "Login failed: the server did not answer";
inline constexpr const char* SocketErrorForm = "Socket error @@@";
inline constexpr const char* CertificateRefusedForm = "The certificate of @@@ was not accepted.";
inline constexpr const char* CertificateChangedForm =
    "The certificate of @@@ has changed since you trusted it, and is refused.";
inline constexpr const char* TrustHintForm = "To trust it: corva trust --account @@@";

// Each "@@@" of form filled in turn, so that a language may put the words
// where its grammar wants them; what is filled in is never searched.
std::string FilledIn(const std::string& form, std::initializer_list<std::string> words);

// The failure text (errors joined by CRLF, a certificate's lines by LF) with
// every line the engine wrote in the chosen language; the server's own lines
// and the certificate's values stay as they came.
std::string ShownFailure(const std::string& english);

} // namespace corva
