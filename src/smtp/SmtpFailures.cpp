#include "smtp/SmtpFailures.h"

#include "localise/modLanguages.h"

#include <utility>
#include <vector>

namespace corva {

namespace {

// The lines platform::describeCertificate writes under a refusal.
constexpr const char* CertificateSubjectForm = "Subject: @@@";
constexpr const char* CertificateIssuerForm = "Issuer: @@@";
constexpr const char* CertificateValidityForm = "Valid from @@@ to @@@";
constexpr const char* CertificateFingerprintForm = "SHA-256 fingerprint: @@@";
constexpr const char* CertificateProblemsForm = "Problems: @@@";

// Each form beside its translation; named one by one so the language files
// carry every one of them.
std::vector<std::pair<std::string, std::string>> forms() {
    return {
        {HtmlNeedsMimeText, gettranslation(HtmlNeedsMimeText)},
        {NoRecipientText, gettranslation(NoRecipientText)},
        {TooManyRecipientsText, gettranslation(TooManyRecipientsText)},
        {InvalidPortText, gettranslation(InvalidPortText)},
        {MissingAttachmentText, gettranslation(MissingAttachmentText)},
        {SmtpTimeoutText, gettranslation(SmtpTimeoutText)},
        {SmtpClosedText, gettranslation(SmtpClosedText)},
        {NoStartTlsText, gettranslation(NoStartTlsText)},
        {StartTlsRefusedForm, gettranslation(StartTlsRefusedForm)},
        {SecureFailedText, gettranslation(SecureFailedText)},
        {LoginRefusedForm, gettranslation(LoginRefusedForm)},
        {LoginUnansweredText, gettranslation(LoginUnansweredText)},
        {SocketErrorForm, gettranslation(SocketErrorForm)},
        {CertificateRefusedForm, gettranslation(CertificateRefusedForm)},
        {CertificateChangedForm, gettranslation(CertificateChangedForm)},
        {TrustHintForm, gettranslation(TrustHintForm)},
        {CertificateSubjectForm, gettranslation(CertificateSubjectForm)},
        {CertificateIssuerForm, gettranslation(CertificateIssuerForm)},
        {CertificateValidityForm, gettranslation(CertificateValidityForm)},
        {CertificateFingerprintForm, gettranslation(CertificateFingerprintForm)},
        {CertificateProblemsForm, gettranslation(CertificateProblemsForm)},
    };
}

// The words a line holds where form has "@@@", when the line is that form.
bool matches(const std::string& line, const std::string& form, std::vector<std::string>& words) {
    words.clear();
    size_t at = form.find("@@@");
    if (at == std::string::npos) return line == form;
    if (line.compare(0, at, form, 0, at) != 0) return false;
    size_t from = at; // in line
    for (;;) {
        const size_t piece = at + 3;
        const size_t next = form.find("@@@", piece);
        const std::string literal =
            form.substr(piece, next == std::string::npos ? std::string::npos : next - piece);
        if (next == std::string::npos) {
            // The last piece ends the line.
            if (line.size() < from + literal.size() ||
                line.compare(line.size() - literal.size(), literal.size(), literal) != 0)
                return false;
            words.push_back(line.substr(from, line.size() - literal.size() - from));
            return true;
        }
        const size_t found = line.find(literal, from);
        if (found == std::string::npos) return false;
        words.push_back(line.substr(from, found - from));
        from = found + literal.size();
        at = next;
    }
}

std::string fill(const std::string& form, const std::vector<std::string>& words) {
    std::string out;
    size_t from = 0;
    for (const std::string& word : words) {
        const size_t at = form.find("@@@", from);
        if (at == std::string::npos) break;
        out += form.substr(from, at - from) + word;
        from = at + 3;
    }
    return out + form.substr(from);
}

std::string shownLine(const std::string& line,
                      const std::vector<std::pair<std::string, std::string>>& known) {
    std::vector<std::string> words;
    for (const auto& [english, shown] : known)
        if (matches(line, english, words)) return fill(shown, words);
    return line;
}

} // namespace

std::string FilledIn(const std::string& form, std::initializer_list<std::string> words) {
    return fill(form, words);
}

std::string ShownFailure(const std::string& english) {
    const auto known = forms();
    std::string out;
    size_t from = 0;
    while (from <= english.size()) {
        size_t end = english.find_first_of("\r\n", from);
        if (end == std::string::npos) end = english.size();
        out += shownLine(english.substr(from, end - from), known);
        if (end == english.size()) break;
        const size_t breakLength = english.compare(end, 2, "\r\n") == 0 ? 2 : 1;
        out += english.substr(end, breakLength);
        from = end + breakLength;
    }
    return out;
}

} // namespace corva
