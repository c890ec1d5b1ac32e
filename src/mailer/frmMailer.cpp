#include "mailer/frmMailer.h"

#include "bayes/frmBayesFilter.h"
#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "core/modSubs.h"
#include "filters/frmFilters.h"
#include "localise/modLanguages.h"
#include "mailer/MailerSuggestions.h"
#include "mailer/MessageDisplay.h"
#include "message/clsMessages.h"
#include "store/modFolders.h"
#include "store/modMailerActions.h"
#include "store/modMessageFiles.h"
#include "store/modTags.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>

namespace corva {

namespace {

const char* kModule = "frmMailer";

// The view is told of new rows in batches: a screenful first, so the list
// shows at once, then a batch at a time.
constexpr long kFirstBatch = 60;
constexpr long kBatch = 2000;

constexpr int kTimer1Interval = 2000;
constexpr int kTimer2Interval = 500;

std::string sizeText(float kilobytes) {
    char buffer[48];
    std::snprintf(buffer, sizeof buffer, "%.2fKB", static_cast<double>(kilobytes));
    return buffer;
}

std::string folderKey(const std::string& folder) {
    return LCase(addslash(ResolvePath(addslash(ToSlashes(folder)))));
}

// "Subject: " gains "PART: " unless it says so already; a message without a
// subject line gets one.
std::string partSubject(const std::string& headers) {
    std::string text = headers;
    size_t at = 0;
    while (at < text.size()) {
        if (StartsWithNoCase(std::string_view(text).substr(at), "Subject:")) {
            size_t end = text.find('\n', at);
            std::string line =
                text.substr(at, end == std::string::npos ? std::string::npos : end - at);
            if (InStrNoCase(line, "PART:") == 0) {
                size_t value = at + 8;
                while (value < text.size() && text[value] == ' ') ++value;
                text.insert(value, "PART: ");
            }
            return text;
        }
        size_t next = text.find('\n', at);
        if (next == std::string::npos) break;
        at = next + 1;
    }
    return text + (EndsWith(text, "\n") || text.empty() ? "" : "\r\n") + "Subject: PART: ";
}

} // namespace

frmMailer::frmMailer() : ownCaches_(std::make_unique<FolderCaches>()), caches_(*ownCaches_) {
    mailer_.setListener(this);
}

frmMailer::frmMailer(FolderCaches& caches) : caches_(caches) {
    mailer_.setListener(this);
}

frmMailer::~frmMailer() {
    guarded("unloadform", kModule, [&] {
        mailer_.StopPopulating();
        mailer_.setListener(nullptr);
    });
}

// ---- The window ----

void frmMailer::Open() {
    guarded("Form_Load", kModule, [&] {
        if (loaded_) {
            view_->ShowWindow();
            return;
        }
        loaded_ = true;
        MailerGeometry g;
        g.TreeViewWidth = static_cast<int>(sget("TreeViewWidth", 0).toNumber());
        g.ListViewHeight = static_cast<int>(sget("ListViewHeight", 0).toNumber());
        g.TreeViewHeight = static_cast<int>(sget("TreeViewHeight", 0).toNumber());
        g.MessageViewHeight = static_cast<int>(sget("MessageViewHeight", 0).toNumber());
        g.ServerListHeight = static_cast<int>(sget("ServerListHeight", 0).toNumber());
        g.MailerWidth = static_cast<int>(sget("MailerWidth", 0).toNumber());
        g.MailerHeight = static_cast<int>(sget("MailerHeight", 0).toNumber());
        g.MailerWindowState = static_cast<int>(sget("MailerWindowState", 0).toNumber());
        view_->ApplyGeometry(g);
        view_->ShowWindow();
        timer1_ = platform::current().createTimer();
        timer1_->setCallback([this] { Timer1_Timer(); });
        timer1_->setInterval(kTimer1Interval);
        timer1_->setEnabled(true);
        timer2_ = platform::current().createTimer();
        timer2_->setCallback([this] { Timer2_Timer(); });
        timer2_->setInterval(kTimer2Interval);
        mailer_.PopulateFolders(false);
    });
}

void frmMailer::Hide() {
    guarded("Form_Hide", kModule, [&] {
        if (!loaded_) return;
        SaveGeometry();
        view_->HideWindow();
    });
}

void frmMailer::Unload() {
    guarded("Form_Unload", kModule, [&] {
        if (!loaded_) return;
        mailer_.StopPopulating();
        SaveGeometry();
        if (timer1_) timer1_->setEnabled(false);
        if (timer2_) timer2_->setEnabled(false);
        loaded_ = false;
    });
}

void frmMailer::SaveGeometry() {
    guarded("SaveGeometry", kModule, [&] {
        MailerGeometry g = view_->Geometry();
        // A view that never laid itself out has nothing worth keeping.
        if (g.MailerWidth <= 0 || g.MailerHeight <= 0) return;
        sset("TreeViewWidth", g.TreeViewWidth);
        sset("ListViewHeight", g.ListViewHeight);
        sset("TreeViewHeight", g.TreeViewHeight);
        sset("MessageViewHeight", g.MessageViewHeight);
        sset("ServerListHeight", g.ServerListHeight);
        sset("MailerWidth", g.MailerWidth);
        sset("MailerHeight", g.MailerHeight);
        sset("MailerWindowState", g.MailerWindowState);
    });
}

// ---- The tree ----

void frmMailer::ClearFolders() {
    nodes_.clear();
    selectedNode_ = -1;
    view_->ClearTree();
}

void frmMailer::AddFolder(const std::string& NodeText, const std::string& NodeParentText) {
    TreeNode node;
    node.name = NodeText;
    node.look.Text = NodeText;
    if (!NodeParentText.empty()) {
        // Names are all folders.ini gives: a parent is the latest node of that name.
        for (int i = NodeCount() - 1; i >= 0; --i)
            if (EqualsNoCase(nodes_[static_cast<size_t>(i)].name, NodeParentText)) {
                node.parent = i;
                break;
            }
        if (node.parent < 0) node.parent = 0;
    }
    nodes_.push_back(node);
    int index = NodeCount() - 1;
    if (index > 0) scanfolder(getpathfromnode(index), nodes_.back().look);
    view_->AddNode(index, node.parent, nodes_.back().look);
}

void frmMailer::FinishedAddingFolders() {
    LogAction("Finished adding folders");
    std::string keep = keepFolder_;
    keepFolder_.clear();
    int node = keep.empty() ? -1 : nodeOfFolder(keep);
    if (node < 0) node = FindNode("inbox");
    if (node < 0) {
        if (!rebuildingTree_) {
            LogAction("Inbox not found, rescanning");
            rebuildingTree_ = true;
            mailer_.PopulateFolders(true);
            rebuildingTree_ = false;
            return;
        }
        if (NodeCount() == 0) return;
        node = 0;
    }
    selectedNode_ = node;
    view_->SelectNode(node);
    LogAction("Populating message folder");
    treeview1_nodeclick(node);
    rescanfolders();
    DisplaySpecialCounts();
}

std::string frmMailer::getpathfromnode(int node) const {
    if (node < 0 || node >= NodeCount()) return "";
    std::string path;
    for (int at = node; at >= 0; at = nodes_[static_cast<size_t>(at)].parent)
        path = nodes_[static_cast<size_t>(at)].name + (path.empty() ? "" : "\\" + path);
    return extractmessagefolder(path);
}

int frmMailer::FindNode(const std::string& name) const {
    for (int i = 1; i < NodeCount(); ++i)
        if (LCase(nodes_[static_cast<size_t>(i)].name) == LCase(name)) return i;
    return -1;
}

bool frmMailer::OpenFolder(const std::string& folder) {
    return guardedValue("OpenFolder", kModule, false, [&] {
        if (nodes_.empty()) {
            keepFolder_ = folder;
            mailer_.PopulateFolders(false);
        }
        int node = nodeOfFolder(folder);
        if (node < 0) return false;
        if (node != selectedNode_ || !isOpenFolder(folder)) treeview1_nodeclick(node);
        return true;
    });
}

int frmMailer::nodeOfFolder(const std::string& folder) const {
    std::string key = folderKey(folder);
    for (int i = 1; i < NodeCount(); ++i)
        if (folderKey(getpathfromnode(i)) == key) return i;
    return -1;
}

bool frmMailer::isOpenFolder(const std::string& folder) const {
    return !openFolder_.empty() && folderKey(folder) == folderKey(openFolder_);
}

void frmMailer::refreshNode(int node) {
    if (node <= 0 || node >= NodeCount()) return;
    TreeNode& n = nodes_[static_cast<size_t>(node)];
    if (scanfolder(getpathfromnode(node), n.look)) view_->SetNode(node, n.look);
    if (EqualsNoCase(n.name, OutboxFolder)) DisplaySpecialCounts();
}

void frmMailer::rescanfolders() {
    if (rescanning_) return;
    rescanning_ = true;
    guarded("rescanfolders", kModule, [&] {
        AgeColours ages = AgeColours::FromSettings();
        for (int i = 1; i < NodeCount(); ++i) {
            TreeNode& n = nodes_[static_cast<size_t>(i)];
            if (EqualsNoCase(n.name, OutboxFolder) && n.parent == 0) continue;
            if (scanfolder(getpathfromnode(i), n.look, ages)) view_->SetNode(i, n.look);
        }
    });
    DoEvents();
    rescanning_ = false;
}

void frmMailer::DisplaySpecialCounts() {
    guarded("DisplaySpecialCounts", kModule, [&] {
        int node = nodeOfFolder(MessageFolder + OutboxFolder);
        if (node < 0) return;
        std::vector<std::string> files;
        FillFiles(getpathfromnode(node), "*.EML", files);
        long count = 0;
        for (const auto& f : files)
            if (EqualsNoCase(extonly(f), "eml")) ++count;
        // The Outbox counts what waits to be sent, read or not.
        FolderNode look;
        look.Text = nodes_[static_cast<size_t>(node)].name;
        if (count > 0) {
            look.Text += " (" + Str(count) + ")";
            look.Colour = SystemButtonTextColour;
        }
        FolderNode& n = nodes_[static_cast<size_t>(node)].look;
        if (!(n == look)) {
            n = look;
            view_->SetNode(node, n);
        }
    });
}

void frmMailer::treeview1_nodeclick(int node) {
    guarded("treeview1_nodeclick", kModule, [&] {
        if (node < 0 || node >= NodeCount()) return;
        mailer_.StopPopulating();
        selectedNode_ = node;
        openFolder_ = node == 0 ? "" : getpathfromnode(node);
        showTo_ = WhoHeading(openFolder_) == "To";
        view_->SetWhoHeading(WhoHeading(openFolder_));
        populatelistview();
    });
}

std::string frmMailer::WhoHeading(const std::string& folderPath) {
    std::string relative = LCase(relativefolder(addslash(ToSlashes(folderPath))));
    return relative == "sent items/" || relative == "outbox/" ? "To" : "From";
}

// ---- The list ----

void frmMailer::populatelistview() {
    guarded("populatelistview", kModule, [&] {
        rows_.clear();
        rowsTold_ = 0;
        unreadCount_ = 0;
        view_->RowsReset();
        view_->PreviewMessage("");
        if (openFolder_.empty()) return;
        unreadOnly_ = ShowUnreadOnly(openFolder_);
        if (unreadOnly_)
            view_->SetUnreadButton("Show all messages", "readandunread");
        else
            view_->SetUnreadButton("Show unread messages only", "unread");
        // The folder's path below the root names its cache, so two folders of
        // the same name in different places never share one.
        std::string name = relativefolder(openFolder_);
        if (EndsWith(name, "/")) name.pop_back();
        caches_.populatelistview(mailer_, this, openFolder_, name, unreadOnly_);
    });
}

void frmMailer::ClearMessages() {
    rows_.clear();
    rowsTold_ = 0;
    view_->RowsReset();
}

void frmMailer::AddMessage(clsMessage& message, long, long) {
    rows_.push_back(MakeRow(message, showTo_));
    long waiting = RowCount() - rowsTold_;
    if ((rowsTold_ == 0 && waiting >= kFirstBatch) || waiting >= kBatch) flushRows();
}

void frmMailer::flushRows() {
    long waiting = RowCount() - rowsTold_;
    if (waiting <= 0) return;
    rowsTold_ = RowCount();
    view_->RowsAppended(waiting);
}

void frmMailer::FinishedAddingMessages(long UnreadCount, long MostRecentUnread) {
    guarded("FinishedAddingMessages", kModule, [&] {
        flushRows();
        unreadCount_ = UnreadCount;
        // Only a full listing knows the count: this is what repairs a drifted tag.
        if (!unreadOnly_) {
            if (UnreadCount > 0) {
                createunreadtag(openFolder_, static_cast<int>(UnreadCount));
                CreateLastMessageTag(openFolder_, MostRecentUnread);
            } else {
                DeleteUnreadTag(openFolder_);
                DeleteLastMessageTag(openFolder_);
            }
        }
        refreshNode(selectedNode_);
        displaycount();
        if (sortChosen_) {
            sortRows();
            view_->RowsReset();
        }
        view_->FinishedAddingRows();
        SelectAndPreviewLastMsg();
    });
}

void frmMailer::ShowStatus(const std::string& text) {
    view_->ShowStatus(text);
}

void frmMailer::ShowListProgress(const std::string& text) {
    view_->ShowListProgress(text);
}

void frmMailer::displaycount() {
    std::string folder = selectedNode_ > 0 ? nodes_[static_cast<size_t>(selectedNode_)].name : "";
    long count = RowCount();
    std::string text = (count == 0 ? std::string("No") : Str(count)) +
                       (count == 1 ? " message in " : " messages in ") + folder;
    if (unreadCount_ > 0) text += ", " + Str(unreadCount_) + " unread";
    view_->ShowStatus(text);
}

std::string frmMailer::IconKey(bool highPriority, bool unread, bool replied) {
    if (highPriority) {
        if (unread && replied) return "exclaimunreadreply";
        if (unread) return "exclaimunread";
        if (replied) return "exclaimreply";
    } else {
        if (unread && replied) return "unreadreply";
        if (unread) return "unread";
        if (replied) return "reply";
    }
    return "blank";
}

MailerRow frmMailer::MakeRow(const clsMessage& message, bool showTo) {
    MailerRow row;
    row.Path = message.Filename();
    row.Unread = !message.Read;
    row.Replied = message.Replied;
    row.HighPriority = message.HighPriority;
    row.Icon = IconKey(row.HighPriority, row.Unread, row.Replied);
    row.Who = showTo ? message.To_Email : message.From;
    row.Subject = message.Subject;
    row.ReceiveDate = message.ReceiveDate;
    row.SendDate = message.SendDate;
    row.SizeKB = message.Size;
    row.Size = sizeText(message.Size);
    row.Colour = message.Colour;
    if (!message.Headers.empty()) {
        row.WhoCharset = headerCharset(message.Headers, showTo ? "To" : "From");
        row.SubjectCharset = headerCharset(message.Headers, "Subject");
        row.CharsetsKnown = true;
    }
    return row;
}

const MailerRow& frmMailer::RowToShow(long row) const {
    const MailerRow& r = Row(row);
    if (r.CharsetsKnown) return r;
    r.CharsetsKnown = true;
    // 8-bit text, or the escapes of the 7-bit Japanese encoding.
    auto eightBit = [](const std::string& text) {
        return std::any_of(text.begin(), text.end(), [](char c) {
            return static_cast<unsigned char>(c) >= 0x80 || c == '\x1b';
        });
    };
    if (!eightBit(r.Who) && !eightBit(r.Subject)) return r;
    guarded("RowToShow", kModule, [&] {
        auto header = readmessageheader(r.Path);
        r.WhoCharset = headerCharset(header->Headers, showTo_ ? "To" : "From");
        r.SubjectCharset = headerCharset(header->Headers, "Subject");
    });
    return r;
}

std::vector<long> frmMailer::selected() const {
    std::vector<long> rows;
    for (long r : view_->SelectedRows())
        if (r >= 0 && r < RowCount()) rows.push_back(r);
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

std::vector<std::string> frmMailer::selectedPaths() const {
    std::vector<std::string> paths;
    for (long r : selected()) paths.push_back(rows_[static_cast<size_t>(r)].Path);
    return paths;
}

long frmMailer::rowOfPath(const std::string& path) const {
    for (long r = 0; r < RowCount(); ++r)
        if (EqualsNoCase(rows_[static_cast<size_t>(r)].Path, path)) return r;
    return -1;
}

void frmMailer::previewRow(long row) {
    view_->PreviewMessage(row >= 0 && row < RowCount() ? rows_[static_cast<size_t>(row)].Path
                                                       : std::string());
}

void frmMailer::SelectionChanged(long current) {
    // Showing a message leaves its read state alone.
    std::vector<long> rows = selected();
    if (current < 0 || current >= RowCount()) current = rows.empty() ? -1 : rows.front();
    previewRow(current);
}

void frmMailer::listview1_dblclick() {
    guarded("listview1_dblclick", kModule, [&] {
        std::vector<long> rows = selected();
        if (rows.empty()) return;
        markselectedReadUnread(true);
        view_->OpenReader(rows_[static_cast<size_t>(rows.front())].Path);
    });
}

void frmMailer::listview1_keyup(int keyCode, bool shift, bool ctrl) {
    if (keyCode == 46 && !shift) {
        DeleteSelected();
    } else if (keyCode == 38 || keyCode == 40) {
        SelectionChanged(-1);
    } else if (keyCode == 65 && ctrl) {
        std::vector<long> all(static_cast<size_t>(RowCount()));
        for (long r = 0; r < RowCount(); ++r) all[static_cast<size_t>(r)] = r;
        view_->SelectRows(all, RowCount() - 1);
        SelectionChanged(RowCount() - 1);
    }
}

void frmMailer::removeRows(std::vector<long> rows) {
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    std::vector<bool> gone(rows_.size(), false);
    for (long r : rows)
        if (r >= 0 && r < RowCount()) gone[static_cast<size_t>(r)] = true;
    size_t kept = 0;
    for (size_t i = 0; i < rows_.size(); ++i) {
        if (gone[i]) continue;
        if (kept != i) rows_[kept] = std::move(rows_[i]);
        ++kept;
    }
    rows_.resize(kept);
    rowsTold_ = RowCount();
    unreadCount_ = 0;
    for (const auto& r : rows_)
        if (r.Unread) ++unreadCount_;
    view_->RowsReset();
}

void frmMailer::DeleteSelected() {
    guarded("listview1_keyup", kModule, [&] {
        std::vector<long> rows = selected();
        if (rows.empty() || openFolder_.empty()) return;
        std::vector<std::string> paths;
        for (long r : rows) paths.push_back(rows_[static_cast<size_t>(r)].Path);
        DeleteMessages(caches_, openFolder_, paths);
        removeRows(rows);
        refreshNode(selectedNode_);
        refreshNode(nodeOfFolder(MessageFolder + DeletedFolder));
        displaycount();
        if (RowCount() == 0) {
            previewRow(-1);
            return;
        }
        long next = std::min(rows.front(), RowCount() - 1);
        view_->SelectRows({next}, next);
        previewRow(next);
    });
}

void frmMailer::SelectAndPreviewLastMsg() {
    if (RowCount() == 0) return;
    long last = RowCount() - 1;
    view_->SelectRows({last}, last);
    previewRow(last);
}

bool frmMailer::treeview1_oledragover(int node) const {
    if (node <= 0 || node >= NodeCount() || openFolder_.empty()) return false;
    std::string target = getpathfromnode(node);
    // The Outbox takes only what the composer spools.
    if (EqualsNoCase(relativefolder(target), std::string(OutboxFolder) + "/")) return false;
    return !isOpenFolder(target) && !selected().empty();
}

void frmMailer::treeview1_oledragdrop(int node) {
    guarded("treeview1_oledragdrop", kModule, [&] {
        if (!treeview1_oledragover(node)) return;
        std::vector<long> rows = selected();
        std::vector<std::string> paths;
        for (long r : rows) paths.push_back(rows_[static_cast<size_t>(r)].Path);
        std::vector<std::string> moved =
            MoveMessages(caches_, openFolder_, getpathfromnode(node), paths);
        std::vector<long> gone;
        for (size_t i = 0; i < moved.size() && i < rows.size(); ++i)
            if (!moved[i].empty()) gone.push_back(rows[i]);
        removeRows(gone);
        refreshNode(selectedNode_);
        refreshNode(node);
        displaycount();
        SelectAndPreviewLastMsg();
    });
}

// ---- Sorting ----

void frmMailer::SortBy(MailerColumn column) {
    guarded("listview1_columnclick", kModule, [&] {
        if (sortChosen_ && column == sortColumn_)
            sortAscending_ = !sortAscending_;
        else
            sortAscending_ = true;
        sortColumn_ = column;
        sortChosen_ = true;
        std::string current;
        std::vector<long> rows = selected();
        if (!rows.empty()) current = rows_[static_cast<size_t>(rows.back())].Path;
        sortRows();
        view_->SetSortIndicator(sortColumn_, sortAscending_);
        view_->RowsReset();
        long row = current.empty() ? -1 : rowOfPath(current);
        if (row >= 0) view_->SelectRows({row}, row);
    });
}

namespace {

// "YYYY-MM-DD HH:MM:SS", the store's own form, read without the general
// parser: a folder of tens of thousands sorts by it at every click.
double receivedKey(const std::string& text) {
    auto digits = [&](size_t at, size_t n) {
        int v = 0;
        for (size_t i = at; i < at + n; ++i) {
            if (text[i] < '0' || text[i] > '9') return -1;
            v = v * 10 + (text[i] - '0');
        }
        return v;
    };
    if (text.size() >= 19 && text[4] == '-' && text[7] == '-' && text[10] == ' ') {
        int y = digits(0, 4), mo = digits(5, 2), d = digits(8, 2);
        int h = digits(11, 2), mi = digits(14, 2), se = digits(17, 2);
        if (y >= 0 && mo >= 0 && d >= 0 && h >= 0 && mi >= 0 && se >= 0)
            return ((((y * 13.0 + mo) * 32 + d) * 24 + h) * 60 + mi) * 60 + se;
    }
    auto date = ParseDate(text);
    if (!date) return 0;
    return receivedKey(date->format("yyyy-mm-dd hh:nn:ss"));
}

} // namespace

void frmMailer::sortRows() {
    if (rows_.empty()) return;
    // Keys are made once per row, not once per comparison.
    std::vector<size_t> order(rows_.size());
    for (size_t i = 0; i < order.size(); ++i) order[i] = i;
    auto sortBy = [&](auto key) {
        using Key = decltype(key(rows_[0]));
        std::vector<Key> keys;
        keys.reserve(rows_.size());
        for (const auto& r : rows_) keys.push_back(key(r));
        // Ties keep their order, as a stable sort would, at a plain sort's cost.
        std::sort(order.begin(), order.end(), [&](size_t a, size_t b) {
            if (keys[a] < keys[b]) return sortAscending_;
            if (keys[b] < keys[a]) return !sortAscending_;
            return a < b;
        });
    };
    switch (sortColumn_) {
    case MailerColumn::Icon:
        sortBy([](const MailerRow& r) { return r.Icon; });
        break;
    case MailerColumn::Who:
        sortBy([](const MailerRow& r) { return LCase(r.Who); });
        break;
    case MailerColumn::Subject:
        sortBy([](const MailerRow& r) { return LCase(r.Subject); });
        break;
    case MailerColumn::ReceiveDate:
        sortBy([](const MailerRow& r) { return receivedKey(r.ReceiveDate); });
        break;
    case MailerColumn::SendDate:
        sortBy([](const MailerRow& r) {
            if (r.SendKey == 0) {
                auto d = ParseDate(r.SendDate);
                r.SendKey = d ? d->serial() : -1;
            }
            return r.SendKey;
        });
        break;
    case MailerColumn::Size:
        sortBy([](const MailerRow& r) { return r.SizeKB; });
        break;
    }
    std::vector<MailerRow> sorted;
    sorted.reserve(rows_.size());
    for (size_t i : order) sorted.push_back(std::move(rows_[i]));
    rows_ = std::move(sorted);
}

// ---- Marks ----

void frmMailer::markselectedReadUnread(bool read) {
    guarded("markselectedReadUnread", kModule, [&] {
        std::vector<long> rows = selected();
        if (rows.empty() || openFolder_.empty()) return;
        view_->SetBusy(true);
        std::vector<std::string> paths;
        for (long r : rows) paths.push_back(rows_[static_cast<size_t>(r)].Path);
        std::vector<std::string> now =
            MarkMessagesReadUnread(caches_, openFolder_, paths, read, &replaced_);
        for (size_t i = 0; i < rows.size() && i < now.size(); ++i) {
            MailerRow& row = rows_[static_cast<size_t>(rows[i])];
            if (row.Unread == read) unreadCount_ += read ? -1 : 1;
            row.Path = now[i];
            row.Unread = !read;
            row.Icon = IconKey(row.HighPriority, row.Unread, row.Replied);
            view_->RowChanged(rows[i]);
        }
        if (unreadCount_ < 0) unreadCount_ = 0;
        refreshNode(selectedNode_);
        displaycount();
        view_->SetBusy(false);
    });
}

template <class Apply> void frmMailer::markSelected(const char* procedure, Apply apply) {
    guarded(procedure, kModule, [&] {
        std::vector<long> rows = selected();
        if (rows.empty()) return;
        view_->SetBusy(true);
        int index = caches_.cacheindexbypath(openFolder_);
        for (long r : rows) {
            MailerRow& row = rows_[static_cast<size_t>(r)];
            guarded(procedure, kModule, [&] {
                auto message = readfullmessage(row.Path);
                if (message->Filename().empty()) return;
                if (apply(*message, index >= 0 ? &caches_.Item(index) : nullptr))
                    savemessage(*message);
                row.Replied = message->Replied;
                row.HighPriority = message->HighPriority;
                row.Icon = IconKey(row.HighPriority, row.Unread, row.Replied);
                view_->RowChanged(r);
            });
        }
        if (index >= 0) caches_.Item(index).WriteCache();
        view_->SetBusy(false);
    });
}

void frmMailer::markselectedRepliedOrNot(bool replied) {
    markSelected("markselectedRepliedOrNot", [&](clsMessage& m, clsCache* cache) {
        if (cache) cache->MarkMsgRepliedOrNot(m.Filename(), replied);
        if (m.Replied == replied) return false;
        m.Replied = replied;
        return true;
    });
}

void frmMailer::MarkPriority(bool high) {
    markSelected("MarkPriority", [&](clsMessage& m, clsCache* cache) {
        if (cache) cache->MarkMsgPriority(m.Filename(), high);
        if (m.HighPriority == high) return false;
        m.HighPriority = high;
        return true;
    });
}

void frmMailer::fEmail_MarkReplied(const std::string& filename) {
    guarded("Event_MarkReplied", kModule, [&] {
        long row = -1;
        for (long r = 0; r < RowCount() && row < 0; ++r)
            if (EqualsNoCase(fileonly(rows_[static_cast<size_t>(r)].Path), fileonly(filename)))
                row = r;
        if (row >= 0) {
            std::vector<long> before = selected();
            view_->SelectRows({row}, row);
            markselectedRepliedOrNot(true);
            view_->SelectRows(before, before.empty() ? -1 : before.back());
            return;
        }
        // Not in the open folder: the file alone is marked.
        auto message = readfullmessage(filename);
        if (message->Filename().empty() || message->Replied) return;
        message->Replied = true;
        savemessage(*message);
    });
}

void frmMailer::markselectedAsJunkOrNot(bool junk) {
    guarded("markselectedAsJunkOrNot", kModule, [&] {
        if (!bayes_) return;
        clsMessages chosen;
        for (const auto& path : selectedPaths()) {
            auto message = readmessageheader(path);
            if (!message->Filename().empty()) chosen.Add(message);
        }
        if (chosen.Count() > 0) bayes_->MarkMessagesJunkOrNot(chosen, junk);
    });
}

void frmMailer::showbayes() {
    guarded("showbayes", kModule, [&] {
        std::vector<std::string> paths = selectedPaths();
        if (!bayes_ || paths.empty()) return;
        auto message = readfullmessage(paths.front());
        if (message->Filename().empty()) return;
        std::string text;
        for (const auto& line : bayes_->ShowBayesBreakdown(*message)) text += line + "\n";
        view_->ShowText("Bayes breakdown", text);
    });
}

// ---- Folder-wide commands ----

void frmMailer::ApplyLocalFilters() {
    guarded("ApplyLocalFilters", kModule, [&] {
        if (!localFilters_ || openFolder_.empty()) return;
        view_->ShowStatus(gettranslation("Applying local filters"));
        std::vector<std::string> paths;
        for (const auto& r : rows_) paths.push_back(r.Path);
        for (const auto& path : paths) {
            guarded("ApplyLocalFilters", kModule, [&] {
                auto message = readfullmessage(path);
                if (message->Filename().empty()) return;
                localFilters_->CheckMessage(*message, true);
                std::string dest = Trim(ToSlashes(message->DestFolder));
                while (!dest.empty() && dest.front() == '/') dest.erase(0, 1);
                if (!dest.empty()) {
                    std::string target = addslash(MessageFolder + dest);
                    if (!isOpenFolder(target)) {
                        MkMissingDir(target);
                        bool read = message->Read;
                        std::string name =
                            getunusedfilename(read, target, fileroot(fileonly(path)), ".eml");
                        if (!read) {
                            addtounreadtag(target, 0);
                            AddToLastMessageTag(target, *message);
                            removefromunreadtag(openFolder_, 0);
                        }
                        caches_.removemsgfromcache(openFolder_, path);
                        if (movefile(path, name)) {
                            caches_.addmsgtocache(target, *readmessageheader(name));
                            view_->ShowStatus(gettranslation("Moved: ") + message->Subject);
                            refreshNode(nodeOfFolder(target));
                        }
                    }
                }
                view_->ShowStatus(gettranslation("Checked: ") + message->Subject);
            });
        }
        view_->ShowStatus(gettranslation("Finished applying filters"));
        populatelistview();
        caches_.ClearAllCaches();
    });
}

void frmMailer::seldupes() {
    std::vector<bool> chosen(rows_.size(), false);
    for (size_t i = 0; i + 1 < rows_.size(); ++i)
        if (!chosen[i] && EqualsNoCase(Trim(rows_[i].Subject), Trim(rows_[i + 1].Subject)))
            chosen[i + 1] = true;
    std::vector<long> rows;
    for (size_t i = 0; i < chosen.size(); ++i)
        if (chosen[i]) rows.push_back(static_cast<long>(i));
    view_->SelectRows(rows, rows.empty() ? -1 : rows.back());
}

std::vector<std::string> frmMailer::SuggestionMenu() const {
    return guardedValue("FillSuggestionMenu", kModule, std::vector<std::string>(),
                        [] { return FillSuggestionMenu(); });
}

void frmMailer::mnuSug_Click(const std::string& name) {
    guarded("mnuSug_Click", kModule, [&] {
        std::vector<long> rows = selected();
        if (rows.empty()) return;
        auto message = readfullmessage(rows_[static_cast<size_t>(rows.front())].Path);
        if (message->Filename().empty()) return;
        const std::string text = displayBodyText(*message);
        AddToSuggestions(name, *message, text);
        if (auto reply = SuggestionReplyFor(name, *message, text))
            events_->SpoolReply(message->FromAccount, reply->to, reply->subject, reply->body);
    });
}

void frmMailer::mnuDupeEmail() {
    guarded("mnuDupeEmail", kModule, [&] {
        std::vector<std::string> paths = selectedPaths();
        std::string piece = view_->PreviewSelectedText();
        if (paths.empty() || piece.empty() || openFolder_.empty()) return;
        auto original = readfullmessage(paths.front());
        if (original->Filename().empty()) return;
        clsMessage part;
        part.CreateFromText(partSubject(original->Headers) + "\r\n\r\n" + piece, false);
        part.Read = original->Read;
        part.setFilename(getunusedfilename(part.Read, openFolder_, "DupeMsg", ".eml"));
        savemessage(part);
        if (!part.Read) addtounreadtag(openFolder_, 0);
        auto header = readmessageheader(part.Filename());
        caches_.addmsgtocache(openFolder_, *header);
        header->Colour = 0;
        rows_.push_back(MakeRow(*header, showTo_));
        if (header->Read == false) ++unreadCount_;
        flushRows();
        long row = RowCount() - 1;
        view_->SelectRows({row}, row);
        previewRow(row);
        refreshNode(selectedNode_);
        displaycount();
    });
}

void frmMailer::AddFolder() {
    guarded("AddFolder", kModule, [&] {
        std::string parent =
            selectedNode_ > 0 ? getpathfromnode(selectedNode_) : addslash(MessageFolder);
        auto& prompts = platform::current().prompts();
        for (;;) {
            auto name = prompts.inputBox(gettranslation("Enter a name for the new folder"),
                                         gettranslation("New folder"), "");
            if (!name) return;
            NewFolderResult made = CreateNewFolder(parent, *name);
            if (made.created) {
                keepFolder_ = openFolder_;
                mailer_.PopulateFolders(false);
                return;
            }
            prompts.messageBox(made.message, platform::Buttons::Ok, platform::Icon::Exclamation,
                               gettranslation("New folder"));
        }
    });
}

void frmMailer::mnudeletefolder_click() {
    guarded("mnudeletefolder_click", kModule, [&] {
        auto& prompts = platform::current().prompts();
        if (selectedNode_ <= 0) {
            prompts.messageBox(gettranslation("Please click a message folder"));
            return;
        }
        std::string folder = getpathfromnode(selectedNode_);
        std::vector<std::string> files;
        FillFiles(folder, "*.EML", files);
        for (const auto& f : files)
            if (EqualsNoCase(extonly(f), "eml")) {
                prompts.messageBox(gettranslation("You can't delete a folder containing "
                                                  "messages.  Please move or delete the "
                                                  "messages first."));
                return;
            }
        std::vector<std::string> subfolders;
        fillfolders(folder, subfolders);
        if (!subfolders.empty()) {
            prompts.messageBox(gettranslation("You can't delete a folder containing sub-folders.  "
                                              "Please move or delete the sub-folders first."));
            return;
        }
        mailer_.StopPopulating();
        int index = caches_.cacheindexbypath(folder);
        if (index >= 0) caches_.Item(index).Clear(true);
        std::vector<std::string> all;
        FillFiles(folder, "*.*", all);
        for (const auto& f : all) EraseFile(addslash(folder) + f);
        std::error_code ec;
        std::filesystem::remove(ResolvePath(folder), ec);
        if (ec) LogAction("Could not remove the folder " + folder + ": " + ec.message());
        openFolder_.clear();
        mailer_.PopulateFolders(true);
    });
}

void frmMailer::ClickedRescanFolders() {
    caches_.ClearAllCaches();
    RescanSingleFolders();
}

void frmMailer::RescanSingleFolders() {
    guarded("RescanSingleFolders", kModule, [&] {
        if (openFolder_.empty()) return;
        DeleteUnreadTag(openFolder_);
        populatelistview();
        refreshNode(selectedNode_);
    });
}

void frmMailer::workInProgress() {
    platform::current().prompts().messageBox(gettranslation(WorkInProgressText));
}

void frmMailer::openComposer(const std::string& key, const std::vector<std::string>& paths) {
    if (key == "contacts") {
        view_->ShowContacts();
        return;
    }
    EmailRequest request;
    if (key != "newemail") {
        // Reply and forward answer the message with the focus, the first selected.
        if (paths.empty()) return;
        request.kind = key == "reply" ? EmailRequest::Kind::Reply : EmailRequest::Kind::Forward;
        request.path = paths.front();
    }
    view_->OpenComposer(request);
}

void frmMailer::Command(const std::string& key) {
    guarded("Toolbar1_ButtonClick", kModule, [&] {
        auto transfer = [&](const std::string& button, auto start) {
            if (flashKey_ == button) {
                events_->StopTransfer();
                return;
            }
            starticonflash(button);
            (events_->*start)();
        };
        if (key == "help")
            view_->ShowHelp();
        else if (key == "scanner")
            events_->ShowScanner();
        else if (key == "print")
            view_->PrintPreviewed();
        else if (key == "unread") {
            if (openFolder_.empty()) return;
            SetShowUnreadOnly(openFolder_, !ShowUnreadOnly(openFolder_));
            populatelistview();
        } else if (key == "settings")
            events_->ShowSettings();
        else if (key == "upanddown")
            transfer("upanddown", &frmMailerEvents::DownloadMail);
        else if (key == "sendrcvdel")
            transfer("sendrcvdel", &frmMailerEvents::SendRcvDel);
        else if (key == "filters")
            showbayes();
        else if (key == "training")
            events_->ShowTraining();
        else if (key == "editlocal" || key == "editserver")
            events_->EditFilters(key == "editlocal", "");
        else if (key == "close")
            Hide();
        else if (key == "quit")
            events_->QuitProg();
        else if (key == "applylocal")
            ApplyLocalFilters();
        else if (key == "seldupes")
            seldupes();
        else if (key == "newfolder")
            AddFolder();
        else if (key == "deletefolder")
            mnudeletefolder_click();
        else if (key == "cms") {
            if (ShowsTickets()) view_->ShowTicketList();
        } else if (key == "rescanfolders")
            ClickedRescanFolders();
        else if (key == "splitmessage")
            mnuDupeEmail();
        else if (key == "scan")
            events_->Scan();
        else if (key == "scandel")
            events_->ScanDel();
        else if (key == "download")
            events_->DownloadMailNoUpload();
        else if (key == "dlwithclear")
            events_->DLWithClear();
        else if (key == "updownwithclear")
            events_->UpDownWithClear();
        else if (key == "upload")
            events_->UploadMail();
        else if (key == "archive" || key == "importmail") {
            view_->OpenTool(key);
            // Whatever they changed, the caches no longer describe the folders.
            caches_.ClearAllCaches();
            // They may have made folders (Imported, Archive/Y2024/M03 ...).
            keepFolder_ = openFolder_;
            mailer_.PopulateFolders(true);
        } else if (key == "search" || key == "mailmerge")
            view_->OpenTool(key);
        else if (key == "newemail" || key == "reply" || key == "forward" || key == "contacts")
            openComposer(key, selectedPaths());
        else if (key == "tkl") {
            if (events_) events_->ShowTKL();
        } else
            workInProgress();
    });
}

bool frmMailer::ShowsTickets() {
    return sget("CMSMODE", false).toBool();
}

std::vector<MailerMenuEntry> frmMailer::ContextMenu() const {
    std::vector<MailerMenuEntry> entries;
    guarded("listview1_mouseup", kModule, [&] {
        std::vector<std::string> paths = selectedPaths();
        if (paths.empty()) return;
        auto message = readmessageheader(paths.front());
        std::string address = extractemail(message->From);
        if (!address.empty()) {
            // The address goes into the translated entry as it is.
            const auto with = [&](const std::string& text) {
                return Replace(text, "@@@", address);
            };
            entries.push_back({"reply", with(gettranslation("Reply to <@@@>"))});
            entries.push_back({"addcontact", with(gettranslation("Add <@@@> to Contacts"))});
            entries.push_back({"copyaddress", with(gettranslation("Copy <@@@> to Clipboard"))});
            entries.push_back({"bounce", with(gettranslation("Bounce message to <@@@>"))});
            entries.push_back({"", ""});
        }
        entries.insert(entries.end(), {{"markread", "Mark as read"},
                                       {"markunread", "Mark as unread"},
                                       {"markreplied", "Mark as replied"},
                                       {"marknotreplied", "Mark as not replied"},
                                       {"markpriority", "Mark as high priority"},
                                       {"marknormal", "Mark as normal priority"},
                                       {"markjunk", "Mark as junk"},
                                       {"markgood", "Mark as good"},
                                       {"", ""},
                                       {"createfilter", "Create filter"},
                                       {"createlocalfilter", "Create local filter"},
                                       {"showbayes", "Show spam split"},
                                       {"spamreport", "Submit to a spam report service"},
                                       {"", ""},
                                       {"splitmessage", "Split message"},
                                       {"print", "Print"},
                                       {"viewsource", "View source"},
                                       {"exportaddresses", "Export addresses"}});
        if (ShowsTickets()) entries.insert(entries.end(), {{"", ""}, {"openincms", "Open in CMS"}});
    });
    return entries;
}

void frmMailer::ContextCommand(const std::string& key) {
    guarded("listview1_mouseup", kModule, [&] {
        std::vector<std::string> paths = selectedPaths();
        if (paths.empty()) return;
        if (key == "markread")
            markselectedReadUnread(true);
        else if (key == "markunread")
            markselectedReadUnread(false);
        else if (key == "markreplied")
            markselectedRepliedOrNot(true);
        else if (key == "marknotreplied")
            markselectedRepliedOrNot(false);
        else if (key == "markpriority")
            MarkPriority(true);
        else if (key == "marknormal")
            MarkPriority(false);
        else if (key == "markjunk")
            markselectedAsJunkOrNot(true);
        else if (key == "markgood")
            markselectedAsJunkOrNot(false);
        else if (key == "showbayes")
            showbayes();
        else if (key == "splitmessage")
            mnuDupeEmail();
        else if (key == "print")
            view_->PrintPreviewed();
        else if (key == "viewsource")
            view_->ViewPreviewedSource();
        else if (key == "copyaddress")
            view_->CopyToClipboard(extractemail(readmessageheader(paths.front())->From));
        else if (key == "bounce")
            events_->BounceMessage(paths.front());
        else if (key == "reply")
            openComposer(key, paths);
        else if (key == "addcontact")
            view_->AddContact(extractemail(readmessageheader(paths.front())->From));
        else if (key == "createfilter" || key == "createlocalfilter")
            events_->EditFilters(key == "createlocalfilter", paths.front());
        else if (key == "openincms") {
            if (ShowsTickets()) view_->OpenInCMS(paths.front());
        } else
            // spamreport, exportaddresses: their windows come later.
            workInProgress();
    });
}

// ---- From the cycle ----

void frmMailer::AddNewMessage(const std::string& path, const std::string& folder,
                              clsMessage& message) {
    guarded("AddNewMessage", kModule, [&] { caches_.AddNewMessage(path, folder, message); });
    MessageStored(path, folder, message);
}

void frmMailer::MessageStored(const std::string& path, const std::string& folder,
                              clsMessage& message) {
    guarded("AddNewMessage", kModule, [&] {
        if (isOpenFolder(folder) && !(unreadOnly_ && message.Read)) {
            message.setFilename(path);
            rows_.push_back(MakeRow(message, showTo_));
            if (!message.Read) ++unreadCount_;
            flushRows();
            displaycount();
        }
        int node = nodeOfFolder(folder);
        if (node >= 0) refreshNode(node);
    });
}

void frmMailer::NotifyFinishedGettingMail(const std::string& text) {
    view_->ShowStatus(text);
    stopiconflash();
    DisplaySpecialCounts();
}

void frmMailer::NotifyFinishedSendingMail() {
    stopiconflash();
    DisplaySpecialCounts();
    // Sent mail left the Outbox for Sent Items: a list of either is stale.
    std::string relative = LCase(relativefolder(openFolder_));
    if (relative == "outbox/" || relative == "sent items/") populatelistview();
}

void frmMailer::UploadComplete() {
    NotifyFinishedSendingMail();
}

void frmMailer::ShowProgressMsg(const std::string& text) {
    view_->ShowStatus(text);
}

// ---- Timers ----

void frmMailer::starticonflash(const std::string& key) {
    stopiconflash();
    flashKey_ = key;
    flashOn_ = true;
    view_->SetToolbarButton(key, "stop");
    if (timer2_) timer2_->setEnabled(true);
}

void frmMailer::stopiconflash() {
    if (timer2_) timer2_->setEnabled(false);
    if (flashKey_.empty()) return;
    view_->SetToolbarButton(flashKey_, flashKey_);
    flashKey_.clear();
}

void frmMailer::Timer2_Timer() {
    if (flashKey_.empty()) return;
    flashOn_ = !flashOn_;
    view_->SetToolbarButton(flashKey_, flashOn_ ? "stop" : "");
}

} // namespace corva
