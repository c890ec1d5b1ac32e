// Signatures: sig.txt in a mail folder signs the messages of that folder,
// sig.txt in the mail root is the default, and the numbered ones live in the
// data folder's Sigs folder. frmSig is the small editor of one folder's file.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace corva {

// sig.txt in the mail root.
std::string defaultSignaturePath();
// sig.txt in a folder.
std::string folderSignaturePath(const std::string& folder);
// Sigs/Sig<n>.txt in the data folder.
std::string numberedSignaturePath(int number);
// The numbered signatures there are, by number; the path of each.
std::vector<std::pair<int, std::string>> numberedSignatures();
// The default signature's text; "" without one.
std::string defaultSignature();
// The signature for a message stored in this file: its folder's own when the
// folder has one, else the default. "" (no file) gives the default.
std::string signatureForMessage(const std::string& messageFile);

class frmSig {
public:
    // Loads the folder's sig.txt into the field.
    explicit frmSig(const std::string& folder);
    std::string Text;
    // "OK": writes the folder's file; false when the write failed.
    bool cmdOK_Click();
    // "Read Default": the field takes the default signature.
    void cmdReadDefault_Click();
    // "Set as Default": asks, then writes the field as the default. False when
    // the user said no or the write failed.
    bool cmdSetDefault_Click();

private:
    std::string folder_;
};

} // namespace corva
