// The mbox format other clients export: messages one after another, each
// opened by a "From " line and closed by a blank line. Lines that would read
// as an opening are quoted with ">" (the mboxrd rule, undone on reading, so a
// message survives any number of round trips). The store keeps CR LF line
// ends and mbox files LF: a message read from an LF file and written back is
// the same bytes.
#pragma once

#include <cstdint>
#include <istream>
#include <string>
#include <string_view>

namespace corva {

class MboxReader {
public:
    explicit MboxReader(std::istream& in) : in_(in) {}
    // The next message as its bytes stood in the file, with the "From " line,
    // the closing blank line and the quoting taken off; false at the end.
    // Anything before the first "From " line is no message and is passed over.
    bool next(std::string& message);
    // Bytes read so far, for progress.
    uint64_t position() const { return position_; }

private:
    std::istream& in_;
    std::string line_;
    bool started_ = false;  // the first "From " line was seen
    bool lastBlank_ = true; // the line before was empty (or this is the start)
    uint64_t position_ = 0;
};

// True when the text begins as an mbox file does.
bool LooksLikeMbox(std::string_view start);

// A message of the store as one mbox entry: the "From " line with the sender
// and the date, the text with LF line ends and quoted, a closing blank line.
std::string MboxEntry(const std::string& storeText, const std::string& sender, int64_t sentTime);
// mboxrd quoting of one LF text: ">From " gains one more ">".
std::string QuoteFromLines(std::string_view text);

// Lone LF line ends become CR LF, as the store's files have them; CR LF stays.
std::string ToStoreLineEnds(std::string_view text);
// CR LF line ends become LF.
std::string ToUnixLineEnds(std::string_view text);

} // namespace corva
