#include "pop3/ReplyQueue.h"

namespace corva {

namespace {

constexpr std::string_view DotLine("\n.\r\n");
constexpr std::string_view LineEnd("\r\n");

} // namespace

void ReplyQueue::clear() {
    commands_.clear();
    tail_.clear();
    started_ = false;
}

size_t ReplyQueue::replyEnd(std::string_view data, size_t from) const {
    const std::string_view end = multiLine_ ? DotLine : LineEnd;
    if (!tail_.empty()) {
        // An end that began in an earlier data event.
        std::string seam = tail_;
        seam.append(data.substr(from, end.size() - 1));
        const size_t at = seam.find(end);
        if (at != std::string::npos) return from + at + end.size() - tail_.size();
    }
    const size_t at = data.find(end, from);
    return at == std::string_view::npos ? at : at + end.size();
}

bool ReplyQueue::feed(std::string_view data, const std::function<bool(const Piece&)>& take) {
    size_t pos = 0;
    while (pos < data.size()) {
        if (commands_.empty()) {
            stray_ += static_cast<long long>(data.size() - pos);
            return true;
        }
        Piece piece;
        piece.command = commands_.front();
        if (!started_) {
            started_ = true;
            piece.first = true;
            refused_ = data[pos] == '-';
            multiLine_ =
                !refused_ && (piece.command.kind == Kind::Top || piece.command.kind == Kind::Retr);
            tail_.clear();
        }
        piece.refused = refused_;
        const size_t end = replyEnd(data, pos);
        if (end == std::string_view::npos) {
            piece.bytes = data.substr(pos);
            const size_t keep = (multiLine_ ? DotLine : LineEnd).size() - 1;
            if (piece.bytes.size() >= keep)
                tail_.assign(piece.bytes.substr(piece.bytes.size() - keep));
            else
                tail_.append(piece.bytes);
            if (tail_.size() > keep) tail_.erase(0, tail_.size() - keep);
            pos = data.size();
        } else {
            piece.bytes = data.substr(pos, end - pos);
            piece.last = true;
            commands_.pop_front();
            started_ = false;
            tail_.clear();
            pos = end;
        }
        if (!take(piece)) return false;
    }
    return true;
}

} // namespace corva
