// Training, the probability formula and the score. The score is not a
// Bayesian product: it is the mean of the most extreme token probabilities,
// corrected by what is known of the sender.
#include "bayes/frmBayesFilter.h"

#include "bayes/modHash.h"
#include "contacts/clsContacts.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDGeneral.h"
#include "core/mSHAREDSettings.h"
#include "core/modSubs.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"
#include "message/clsMessages.h"
#include "platform/Platform.h"
#include "store/modMessageFiles.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>

namespace corva {

namespace {

constexpr const char* Module = "frmBayesFilter";

// Long loops let events in now and then, not at every step.
class Yielder {
public:
    void maybe() {
        auto now = std::chrono::steady_clock::now();
        if (now - last_ < std::chrono::milliseconds(50)) return;
        last_ = now;
        DoEvents();
    }

private:
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

void appendFloat(std::string& out, float value) {
    // Nearly every probability is a whole hundredth; their texts are made once.
    struct Hundredths {
        float value[101];
        std::string text[101];
        Hundredths() {
            for (int k = 0; k <= 100; ++k) {
                value[k] = roundToHundredths(static_cast<float>(k / 100.0));
                char b[64];
                auto [e, c] = std::to_chars(b, b + sizeof b, value[k], std::chars_format::fixed);
                if (c == std::errc()) text[k].assign(b, e);
            }
        }
    };
    static const Hundredths known;
    if (value >= 0 && value <= 1 && !std::signbit(value)) {
        const long k = std::lround(static_cast<double>(value) * 100.0);
        if (known.value[k] == value && !known.text[k].empty()) {
            out += known.text[k];
            return;
        }
    }
    char buffer[64];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    if (ec == std::errc()) out.append(buffer, end);
}

} // namespace

float roundToHundredths(float value) {
    return static_cast<float>(std::nearbyint(static_cast<double>(value) * 100.0) / 100.0);
}

bool nameInAddress(const std::string& name, const std::string& address) {
    const std::string_view all(name);
    for (size_t from = 0; from <= all.size();) {
        size_t blank = all.find(' ', from);
        if (blank == std::string_view::npos) blank = all.size();
        const std::string_view piece = all.substr(from, blank - from);
        if (!piece.empty() && InStrNoCase(address, piece) > 0) return true;
        from = blank + 1;
    }
    return false;
}

ConfirmMarkAsText ConfirmMarkAs(long count, bool asJunk) {
    ConfirmMarkAsText t;
    t.caption = gettranslation("Confirm your selection");
    if (asJunk) {
        t.title = gettranslation("Mark as Junk?");
        t.text = gettranslation(
            "You are about to mark @@@ as Junk mail. If you proceed, future messages "
            "containing similar parts (subject words, sender, addressee) have a higher "
            "probability of being recognised as spam.  Are you certain you want to mark "
            "the selected message(s) as Junk?");
        t.text = Replace(t.text, "@@@", std::to_string(count) + gettranslation(" message(s)"));
        t.text = Replace(t.text, "(s)", count == 1 ? "" : "s");
    } else {
        t.title = gettranslation("Mark as Good?");
        t.text = gettranslation("Do you want to mark the @@@ as 'Good' mail?");
        t.text = Replace(t.text, "@@@",
                         count == 1 ? gettranslation("selected message")
                                    : std::to_string(count) + gettranslation(" selected messages"));
    }
    return t;
}

frmBayesFilter::frmBayesFilter() {
    LoadViewSettings();
}

frmBayesFilter::~frmBayesFilter() {
    if (&currentBayesScore() == this) setBayesScore(nullptr);
}

void frmBayesFilter::Install() {
    setBayesScore(this);
}

std::string frmBayesFilter::wordfilename() {
    return addslash(FilterFolder) + "HashTable.dat";
}
std::string frmBayesFilter::goodfilename() {
    return addslash(FilterFolder) + "HashGood.dat";
}
std::string frmBayesFilter::badfilename() {
    return addslash(FilterFolder) + "HashBad.dat";
}

void frmBayesFilter::status(const std::string& text) {
    if (listener_) listener_->Status(text);
}

void frmBayesFilter::LoadViewSettings() {
    SpamminessPercent = static_cast<int>(std::lround(corva::Spamminess * 100.0));
    SaveToSpamPercent = static_cast<int>(std::lround(corva::SaveToSpamScore * 100.0));
    HeaderWordsChoice = corva::HeaderWords;
    SpamWordCountChoice = corva::SpamWordCount;
}

// A table about to be filled from a big file is made big enough first, so its
// chains stay short; a small file gets the standard table a plain load makes.
void frmBayesFilter::loadFilled(clsHashTable& table, const std::string& rawPath) {
    std::string path = ResolvePath(rawPath);
    if (!table.Initialised() && FileExists(path)) {
        long long bytes = FileSize(path);
        if (bytes > 2'000'000)
            table.InitHuge();
        else if (bytes > 800'000)
            table.InitBig();
    }
    table.LoadTable(path);
}

void frmBayesFilter::LoadWordHash() {
    wordLoaded_ = true;
    // Into an empty table (a program's first score) the file goes to the
    // score's index alone: the table's nodes cost more to make than scoring
    // hundreds of messages, and only training and marking need them.
    if (!wordPending_ && word_.MaxIndex == 0) {
        wordPending_ = index_.Load(ResolvePath(wordfilename()));
        return;
    }
    fillWordTable();
    loadFilled(word_, wordfilename());
}

void frmBayesFilter::fillWordTable() {
    if (!wordPending_) return;
    wordPending_ = false;
    // Sized as loadFilled sizes a table for a file of this length.
    const size_t bytes = index_.Text().size();
    if (!word_.Initialised()) {
        if (bytes > 2'000'000)
            word_.InitHuge();
        else if (bytes > 800'000)
            word_.InitBig();
    }
    word_.LoadText(index_.Text());
    index_.Clear();
}

void frmBayesFilter::clearWordTable() {
    word_.HashClear();
    wordPending_ = false;
    index_.Clear();
}

clsHashTable& frmBayesFilter::WordTable() {
    fillWordTable();
    return word_;
}

void frmBayesFilter::LoadGood() {
    if (goodLoaded_) return;
    loadFilled(good_, goodfilename());
    goodLoaded_ = true;
}

void frmBayesFilter::LoadBad() {
    if (badLoaded_) return;
    loadFilled(bad_, badfilename());
    badLoaded_ = true;
}

std::string frmBayesFilter::goodFolderPath() const {
    std::string folder = ToSlashes(GoodFolder);
    if (!StartsWith(folder, "/")) folder = addslash(MessageFolder) + folder;
    return addslash(ResolvePath(folder));
}

bool frmBayesFilter::ArchiveAvailable() const {
    std::string archive =
        PathsStore().RetrieveSetting("SpamFolder", addslash(MessageFolder) + "SpamBayes").toText();
    return !isequal(addslash(ToSlashes(archive)), addslash(MessageFolder), false);
}

void frmBayesFilter::savelocalsettings() {
    sset("Spamminess", SpamminessPercent / 100.0);
    sset("SaveToSpamScore", SaveToSpamPercent / 100.0);
    sset("HeaderWords", HeaderWordsChoice);
    sset("SpamWordCount", SpamWordCountChoice);
    ReadScoringNumbers();
}

void frmBayesFilter::ResetToDefaults() {
    sset("Spamminess", 0.99);
    sset("SaveToSpamScore", 0.7);
    sset("HeaderWords", 12);
    sset("SpamWordCount", 2);
    ReadScoringNumbers();
    LoadViewSettings();
}

void frmBayesFilter::GenerateTables(const std::string& label, const std::string& folder,
                                    bool unreadOnly, bool withSubfolders, clsHashTable& table) {
    std::vector<std::string> files;
    std::string base = addslash(ResolvePath(ToSlashes(folder)));
    if (withSubfolders) {
        fillfilesrecursed(base, "EML", files);
    } else {
        FillFiles(base, "EML", files);
        for (std::string& name : files) name = base + name;
    }
    Yielder yielder;
    const std::string total = std::to_string(files.size());
    size_t read = 0;
    for (size_t i = 0; i < files.size() && !StopRequested; ++i, ++read) {
        guarded("GenerateTables", Module, [&] {
            auto msg = readmessageforwordcount(files[i]);
            if (msg && !(unreadOnly && msg->Read)) hashmessage(table, *msg, false);
        });
        if (listener_) status(label + " - Message " + std::to_string(i + 1) + " of " + total);
        yielder.maybe();
    }
    // Read messages that an unread-only pass skipped count as well.
    table.Count += static_cast<int32_t>(read);
}

void frmBayesFilter::GenerateWordHash(clsHashTable& good, clsHashTable& bad, int minCount) {
    guarded("GenerateWordHash", Module, [&] {
        clearWordTable();
        word_.InitHuge();
        const double G = good.Count == 0 ? 1 : good.Count;
        const double B = bad.Count == 0 ? 1 : bad.Count;
        Yielder yielder;
        status("Checking Good Words");
        for (int32_t i = 1; i <= good.MaxIndex; ++i) {
            const std::string& w = good.KeyAt(i);
            float g = good.ValueAt(i);
            // The threshold is on the good count alone: a word seen often enough
            // in good mail gets its ratio whatever its spam count.
            if (w.empty() || g < minCount) continue;
            const uint64_t hash = good.FullHashAt(i);
            int32_t found = bad.RecIndexHashed(w, hash);
            float p = 0.01f;
            if (found != 0) {
                double b = bad.ValueAt(found);
                double spamShare = b / B;
                double denominator = g / G + spamShare;
                p = denominator == 0
                        ? 0.01f
                        : roundToHundredths(static_cast<float>(spamShare / denominator));
            }
            if (p < 0.01) p = 0.01f;
            word_.InsertRecordHashed(w, hash, p);
            if ((i & 0xFFFF) == 0) yielder.maybe();
        }
        status("Checking Spam Words");
        for (int32_t i = 1; i <= bad.MaxIndex; ++i) {
            const std::string& w = bad.KeyAt(i);
            float b = bad.ValueAt(i);
            if (w.empty() || b < minCount) continue;
            // A word of the good table gets nothing here, even when its good count
            // was too low for the first pass.
            const uint64_t hash = bad.FullHashAt(i);
            if (good.RecIndexHashed(w, hash) == 0) word_.InsertRecordHashed(w, hash, 0.99f);
            if ((i & 0xFFFF) == 0) yielder.maybe();
        }
        word_.WriteHashTable(wordfilename());
    });
}

bool frmBayesFilter::stopped() {
    status("Stopped: the tables keep the mail read so far");
    normalmouse();
    return false;
}

bool frmBayesFilter::generatefilters() {
    busymouse();
    savelocalsettings();
    clearWordTable();
    wordLoaded_ = false;

    if (GoodSource == GoodMailSource::Folder) {
        good_.ClearArrays();
        good_.InitHuge();
        GenerateTables("Good Mail", goodFolderPath(), false, GoodSubfolders, good_);
        good_.WriteHashTable(goodfilename());
        goodLoaded_ = true;
    } else {
        LoadGood();
    }
    if (StopRequested) return stopped();

    if (SpamSource == SpamMailSource::File) {
        LoadBad();
    } else {
        std::string folder = addslash(MessageFolder) + "SpamBayes/";
        if (SpamSource == SpamMailSource::Archive) {
            folder = PathsStore().RetrieveSetting("SpamFolder", folder).toText();
            folder = addslash(ResolvePath(ToSlashes(folder)));
            if (!FolderExists(folder)) {
                // The busy mark stays: the view reports and the user starts again.
                status("Spam Archive " + folder + " not found. Exiting.");
                return false;
            }
        }
        bad_.ClearArrays();
        bad_.InitHuge();
        GenerateTables("Spam Mail", folder, false, SpamSubfolders, bad_);
        bad_.WriteHashTable(badfilename());
        badLoaded_ = true;
    }
    if (StopRequested) return stopped();

    GenerateWordHash(good_, bad_, corva::SpamWordCount);
    status("Spam filters created");
    normalmouse();
    return true;
}

void frmBayesFilter::UpdateFromUnread() {
    busymouse();
    if (!badLoaded_) status("Loading 'Spam' words");
    LoadBad();
    GenerateTables("Spam Mail", addslash(MessageFolder) + "SpamBayes/", true, false, bad_);
    if (!goodLoaded_) status("Loading 'Good' words");
    LoadGood();
    // The new counts reach HashTable.dat but not HashBad.dat until the next save.
    GenerateWordHash(good_, bad_, corva::SpamWordCount);
    status("Spam filters updated");
    normalmouse();
}

void frmBayesFilter::RecreateWordHash() {
    if (goodLoaded_)
        good_.WriteHashTable(goodfilename());
    else
        LoadGood();
    if (badLoaded_)
        bad_.WriteHashTable(badfilename());
    else
        LoadBad();
    GenerateWordHash(good_, bad_, corva::SpamWordCount);
}

void frmBayesFilter::Spamminess(clsMessage& msg, bool headersOnly, float& result) {
    result = 0.01f;
    guarded("Spamminess", Module, [&] { result = score(msg, headersOnly); });
}

namespace {

// Sorts the count lowest and the count highest probabilities into place at the
// two ends, leaving the middle in any order.
void sortEnds(std::vector<std::pair<float, int32_t>>& ranked, size_t count) {
    auto lower = [](const auto& a, const auto& b) { return a.first < b.first; };
    const auto begin = ranked.begin(), end = ranked.end();
    if (ranked.size() < 2 * count) {
        std::sort(begin, end, lower);
        return;
    }
    const auto low = begin + static_cast<std::ptrdiff_t>(count);
    const auto high = end - static_cast<std::ptrdiff_t>(count);
    std::nth_element(begin, low, end, lower);
    std::sort(begin, low, lower);
    std::nth_element(low, high, end, lower);
    std::sort(high, end, lower);
}

} // namespace

float frmBayesFilter::score(clsMessage& msg, bool headersOnly) {
    for (const char* word : {"PHARMA", "MEDS"}) {
        if (subjectHidesWord(msg.Subject, word)) {
            msg.FilterReason = std::string("Blacklisted Subject - ") + word;
            return 0.99f;
        }
    }
    if (!wordLoaded_) LoadWordHash();
    // No filters yet: nothing below applies, the clamps included. A table file
    // that holds no words is no filters either.
    if (wordPending_ ? index_.Records() == 0 : word_.Size == 0 || word_.MaxIndex == 0) return 0.01f;

    tokens_.clear();
    hashmessage(tokens_, msg, headersOnly);
    float s = 0.01f;
    if (tokens_.size() > 0) {
        ranked_.resize(tokens_.size());
        for (size_t i = 0; i < tokens_.size(); ++i) {
            float p = 0.4f;
            if (wordPending_) {
                if (const float* known = index_.Find(tokens_.key(i), tokens_.hash(i))) p = *known;
            } else if (int32_t known = word_.RecIndexHashed(tokens_.key(i), tokens_.hash(i))) {
                p = word_.ValueAt(known);
            }
            ranked_[i] = {p, static_cast<int32_t>(i)};
        }
        const long n = static_cast<long>(ranked_.size());
        const int H = corva::HeaderWords;
        double sum = 0;
        if (n < H && H > 0) {
            for (const auto& r : ranked_) sum += r.first;
            s = sum == 0 ? 0.01f : static_cast<float>(sum / static_cast<double>(n));
        } else {
            // The breakdown lists equal probabilities in the order their tokens
            // were found, so its sort is stable; the pick below sums the same
            // values whichever of equal ones it takes and reads no further than
            // H from either end, so without a breakdown only the ends are sorted.
            if (keepSplit_)
                sortRanked();
            else
                sortEnds(ranked_, static_cast<size_t>(std::max(H, 0)));
            if (keepSplit_) {
                std::string split;
                split.reserve(ranked_.size() * 32);
                for (const auto& r : ranked_) {
                    split += '(';
                    appendFloat(split, r.first);
                    split += ") \t";
                    split += tokens_.key(static_cast<size_t>(r.second));
                    split += "\r\n";
                }
                msg.SpamSplit = std::move(split);
            }
            // The H most extreme, from whichever end lies further from 0.5;
            // a tie goes to the spam end.
            long lo = 0, hi = n - 1;
            for (int k = 0; k < H; ++k) {
                double low = ranked_[static_cast<size_t>(lo)].first;
                double high = ranked_[static_cast<size_t>(hi)].first;
                if (high - 0.5 < 0.5 - low) {
                    sum += low;
                    ++lo;
                } else {
                    sum += high;
                    --hi;
                }
            }
            s = (sum == 0 || H == 0) ? 0.01f : static_cast<float>(sum / H);
        }
    }
    s = roundToHundredths(s);

    const std::string fromAddress = extractemail(msg.From);
    if (s < 0.99) {
        // A display name that shows up in the address itself marks the sender up.
        if (nameInAddress(extractname(msg.From), fromAddress)) s = static_cast<float>(s + 0.25);
    }
    const std::string senderAddress = extractemail(msg.Sender);
    // The good table is consulted as it stands in memory; the score never loads it.
    auto inGood = [this](const std::string& address) {
        return !address.empty() && good_.Initialised() && good_.RecIndex(address) != 0;
    };
    if (inGood(senderAddress) || inGood(fromAddress)) s = static_cast<float>(s - 0.15);
    if (s >= corva::SaveToSpamScore) {
        clsContacts& book = contacts_ ? *contacts_ : Contacts();
        auto known = [&book](const std::string& address) {
            return !address.empty() && book.SeekByEmail(address) > 0;
        };
        if (known(senderAddress) || known(fromAddress)) s = static_cast<float>(s - 0.5);
    }
    if (s < 0) s = 0.01f;
    if (s > 0.99) s = 0.99f;
    return s;
}

// Insertion sort for the few tokens of a header (no buffer to allocate), the
// library's merge sort for a long body; both stable.
void frmBayesFilter::sortRanked() {
    auto lower = [](const auto& a, const auto& b) { return a.first < b.first; };
    if (ranked_.size() > 64) {
        std::stable_sort(ranked_.begin(), ranked_.end(), lower);
        return;
    }
    for (size_t i = 1; i < ranked_.size(); ++i) {
        const auto item = ranked_[i];
        size_t j = i;
        for (; j > 0 && lower(item, ranked_[j - 1]); --j) ranked_[j] = ranked_[j - 1];
        ranked_[j] = item;
    }
}

void frmBayesFilter::SwapStatus(clsMessage& msg, bool toJunk) {
    guarded("SwapStatus", Module, [&] {
        if (toJunk)
            LoadBad();
        else
            LoadGood();
        clsHashTable& counts = toJunk ? bad_ : good_;
        clsHashTable tokens;
        tokens.InitSmall();
        // Marking never takes link tokens, though full training does.
        hashmessage(tokens, msg, true);
        counts.Count += 1;
        for (int32_t i = 1; i <= tokens.MaxIndex; ++i)
            if (!tokens.KeyAt(i).empty()) counts.AlterValue(tokens.KeyAt(i), 1.0f);
    });
}

void frmBayesFilter::MarkMessagesJunkOrNot(clsMessages& messages, bool asJunk) {
    if (messages.Count() == 0) return;
    ConfirmMarkAsText ask = ConfirmMarkAs(messages.Count(), asJunk);
    auto answer = platform::current().prompts().messageBox(ask.title + "\r\n\r\n" + ask.text,
                                                           platform::Buttons::YesNo,
                                                           platform::Icon::Question, ask.caption);
    if (answer != platform::Answer::Yes) return;
    busymouse();
    long done = 0;
    while (messages.Count() > 0) {
        if (auto msg = messages.Item(1)) {
            if (asJunk)
                AddToJunk(*msg);
            else
                RemoveFromJunk(*msg);
            ++done;
        }
        messages.Remove(1);
    }
    normalmouse();
    if (done > 0) {
        // Every confirmed marking rebuilds the word table and writes all three
        // files, so that the next scan already sees what was learnt.
        busymouse();
        RecreateWordHash();
        LoadWordHash();
        normalmouse();
    }
}

std::vector<std::string> frmBayesFilter::ShowBayesBreakdown(clsMessage& msg) {
    float s = 0;
    const bool keep = keepSplit_;
    keepSplit_ = true;
    Spamminess(msg, false, s);
    keepSplit_ = keep;
    std::vector<std::string> lines = Split(msg.SpamSplit, "\r\n");
    if (!lines.empty()) lines.pop_back();
    return lines;
}

} // namespace corva
