// The commands of a POP3 session that are on their way, oldest first, and the
// cutting of what the server says into their replies. A server answers in the
// order it was asked, so each byte belongs to the oldest command not yet
// answered: a multi-line reply ends at its dot line, a single-line one (and a
// refusal of any command) at its CR LF.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <string_view>

namespace corva {

class ReplyQueue {
public:
    enum class Kind : uint8_t {
        Top,
        Retr,
        // DELE of a blocked message: its reply is what DeletedSpam reports.
        Dele,
        // DELE of a message already stored: its reply reports nothing.
        DeleStored
    };
    struct Command {
        Kind kind = Kind::Top;
        int32_t number = 0;
        // The count of replies handled that the message takes when handed over.
        int16_t handled = 0;
    };
    // One stretch of a reply, in the order the bytes came.
    struct Piece {
        Command command;
        std::string_view bytes;
        bool first = false;   // the reply starts here
        bool last = false;    // the reply is complete with this piece
        bool refused = false; // the reply starts with "-"
    };

    void sent(const Command& command) { commands_.push_back(command); }
    bool empty() const { return commands_.empty(); }
    size_t size() const { return commands_.size(); }
    // The command of the reply that comes next; only when not empty.
    const Command& front() const { return commands_.front(); }
    void clear();

    // Cuts data into pieces and hands each on in order; `take` returns false to
    // stop at once (the session ended). Bytes nobody asked for are counted,
    // not handed on. Returns false when stopped.
    bool feed(std::string_view data, const std::function<bool(const Piece&)>& take);
    long long strayBytes() const { return stray_; }

private:
    // Where the reply begun at or before `from` ends in data, or npos.
    size_t replyEnd(std::string_view data, size_t from) const;

    std::deque<Command> commands_;
    // The last bytes of the reply under way, to find an end split between data events.
    std::string tail_;
    bool started_ = false;
    bool multiLine_ = false;
    bool refused_ = false;
    long long stray_ = 0;
};

} // namespace corva
