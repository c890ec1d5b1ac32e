// What an account's earlier sessions stored, so that a message the server
// still holds (its DELE rolled back by a broken session, or kept on purpose)
// is not stored a second time. One small file per account in the data folder.
#pragma once

#include <map>
#include <set>
#include <string>

namespace corva {

class clsMessage;

class RetrieveLedger {
public:
    // A message as the server lists it: its Message-ID, else its header block,
    // digested, with the size LIST gives. The same for a TOP and a RETR reply.
    static std::string keyFor(const clsMessage& msg, long long listedOctets);
    // The ledger file of an account.
    static std::string pathFor(int account);

    // Loads the ledger of a mailbox; one kept for another user or server starts empty.
    void open(const std::string& path, const std::string& user, const std::string& server);
    // Nothing is kept or written until the next open.
    void close();
    bool isOpen() const { return !path_.empty(); }

    // True when a session before this one stored the message.
    bool storedEarlier(const std::string& key) const;
    void recordStored(const std::string& key);
    // The server lists the message in this session.
    void seen(const std::string& key);
    // After LIST: whatever has a size the server no longer lists is gone from it.
    void keepSizes(const std::multiset<long long>& listedOctets);
    // After a session that saw every message: forget the ones it did not see.
    void forgetUnseen();
    // Writes the file when its content changed; false when that write failed.
    bool save();

    size_t size() const { return entries_.size(); }

private:
    struct Entry {
        bool earlier = false;
        bool seen = false;
    };
    std::string path_;
    std::string owner_;
    std::map<std::string, Entry> entries_;
    bool changed_ = false;
};

} // namespace corva
