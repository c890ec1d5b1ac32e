// The messages behind the scanner's list, one row per line, as the cycle
// keeps them. A parsed message costs several times its header text, and a
// mailbox of thousands made the list the biggest thing in memory; a row keeps
// only the text the server sent and the verdict. A retrieved message is
// stored, not listed, so it has no row. A command that needs the
// message gets it parsed again from the row; Item keeps what it hands out
// until the list is cleared, so that a command's changes stay with the row.
#pragma once

#include "message/clsMessage.h"

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace corva {

class ServerRows {
public:
    using Ptr = std::shared_ptr<clsMessage>;

    // A scanned message: its text as the server sent it, and its verdict.
    void Add(const clsMessage& msg);
    long Count() const { return static_cast<long>(rows_.size()); }
    void Clear();

    // By position from 1; nullptr out of range. Kept until Clear.
    Ptr Item(long index) const;
    // The same without keeping it: for a pass over every row, which then
    // writes the verdict back with Update.
    Ptr Peek(long index) const;
    void Update(long index, const clsMessage& msg);

    class Iterator {
    public:
        Iterator(const ServerRows* rows, long index) : rows_(rows), index_(index) {}
        Ptr operator*() const { return rows_->Item(index_ + 1); }
        Iterator& operator++() {
            ++index_;
            return *this;
        }
        bool operator!=(const Iterator& other) const { return index_ != other.index_; }

    private:
        const ServerRows* rows_;
        long index_;
    };
    Iterator begin() const { return {this, 0}; }
    Iterator end() const { return {this, Count()}; }

private:
    struct Row {
        std::string text; // the server's text
        // What the cycle and the rule check set beside the parsed fields.
        std::string Subject, From, To, FilterReason, DestFolder, ReceiveDate;
        float Bayes = 0;
        float Size = 0;
        long MessageNumThisAcc = 0;
        int32_t Colour = 0;
        int16_t FromAccount = 0;
        bool Deleted = false, Ignored = false, Suspicious = false, BlockedSender = false,
             BlockedRecip = false, Read = false;
    };
    static void keepVerdict(Row& row, const clsMessage& msg);
    Ptr build(const Row& row) const;

    std::vector<Row> rows_;
    mutable std::unordered_map<long, Ptr> handedOut_;
};

} // namespace corva
