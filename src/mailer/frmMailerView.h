// What the mailer window shows and what it is asked: the folder tree, the
// message list, the toolbar, the status line and the preview. The window
// implements it; frmMailer decides. Every method has an empty default, so a
// view overrides what it shows.
#pragma once

#include "store/FolderNode.h"

#include <cstdint>
#include <string>
#include <vector>

namespace corva {

// One line of the message list: what it shows, and its file as the hidden value.
struct MailerRow {
    std::string Path;
    std::string Icon; // "blank", "unread", "exclaimunreadreply", ...
    std::string Who;  // From, or To in Sent Items and the Outbox
    std::string Subject;
    std::string ReceiveDate;
    std::string SendDate;
    std::string Size; // "12.00KB"
    float SizeKB = 0;
    bool Unread = false;
    bool Replied = false;
    bool HighPriority = false;
    int32_t Colour = 0; // red in the low byte
    // SendDate as a number for sorting, read on the first sort by it (0: not yet).
    mutable double SendKey = 0;
    // The charsets Who and Subject declare in their encoded words, so the view
    // decodes them as the message means; see frmMailer::RowToShow.
    mutable std::string WhoCharset;
    mutable std::string SubjectCharset;
    mutable bool CharsetsKnown = false;
};

// The list's columns, in order.
enum class MailerColumn { Icon, Who, Subject, ReceiveDate, SendDate, Size };
inline constexpr int MailerColumnCount = 6;

// A system palette colour rather than an RGB value: the Outbox node's text
// while mail waits in it.
inline constexpr int32_t SystemButtonTextColour = static_cast<int32_t>(0x80000012u);

// The window's splitters and size, in twips, as the settings keep them.
struct MailerGeometry {
    int TreeViewWidth = 0;
    int ListViewHeight = 0;
    int TreeViewHeight = 0;
    int MessageViewHeight = 0;
    int ServerListHeight = 0;
    int MailerWidth = 0;
    int MailerHeight = 0;
    int MailerWindowState = 0;
};

class frmMailerView {
public:
    virtual ~frmMailerView() = default;

    // ---- The window ----
    virtual void ShowWindow() {}
    virtual void HideWindow() {}
    virtual MailerGeometry Geometry() const { return {}; }
    virtual void ApplyGeometry(const MailerGeometry& geometry) { (void)geometry; }
    virtual void SetBusy(bool busy) { (void)busy; }

    // ---- The tree; nodes are numbered from 0 in the order they were added ----
    virtual void ClearTree() {}
    // parent is -1 for the root.
    virtual void AddNode(int node, int parent, const FolderNode& look) {
        (void)node;
        (void)parent;
        (void)look;
    }
    virtual void SetNode(int node, const FolderNode& look) {
        (void)node;
        (void)look;
    }
    virtual void SelectNode(int node) { (void)node; }

    // ---- The list; rows are read from frmMailer::Row on demand ----
    virtual void SetWhoHeading(const std::string& heading) { (void)heading; }
    // The rows changed wholesale (cleared, sorted, removed).
    virtual void RowsReset() {}
    // Rows were added at the end since the last call; the view may show them
    // at its own pace, but must show them all by FinishedAddingRows.
    virtual void RowsAppended(long count) { (void)count; }
    virtual void FinishedAddingRows() {}
    virtual void RowChanged(long row) { (void)row; }
    virtual void SetSortIndicator(MailerColumn column, bool ascending) {
        (void)column;
        (void)ascending;
    }
    // The selected rows, from 0, in list order.
    virtual std::vector<long> SelectedRows() const { return {}; }
    // Selects exactly these rows; current gets the focus and is made visible
    // (-1: none).
    virtual void SelectRows(const std::vector<long>& rows, long current) {
        (void)rows;
        (void)current;
    }

    // ---- Status and toolbar ----
    virtual void ShowStatus(const std::string& text) { (void)text; }
    virtual void ShowListProgress(const std::string& text) { (void)text; }
    virtual void SetUnreadButton(const std::string& caption, const std::string& icon) {
        (void)caption;
        (void)icon;
    }
    // key "upanddown" or "sendrcvdel"; image "stop", "" (the flash's dark
    // half) or the key itself.
    virtual void SetToolbarButton(const std::string& key, const std::string& image) {
        (void)key;
        (void)image;
    }

    // ---- The preview and the windows it hands over to ----
    // The message of a row is to be shown; "" clears the preview.
    virtual void PreviewMessage(const std::string& path) { (void)path; }
    // The message in a window of its own (a double click, Enter, the scanner's Read).
    virtual void OpenReader(const std::string& path) { (void)path; }
    // The text the user has selected in the preview.
    virtual std::string PreviewSelectedText() const { return ""; }
    // Prints the message shown in the preview.
    virtual void PrintPreviewed() {}
    virtual void ViewPreviewedSource() {}
    // A read-only text window (the Bayesian breakdown).
    virtual void ShowText(const std::string& title, const std::string& text) {
        (void)title;
        (void)text;
    }
    virtual void CopyToClipboard(const std::string& text) { (void)text; }
    // A mail tool's window: "search", "archive", "importmail" or "mailmerge".
    // Archive, import and merge are done when it returns.
    virtual void OpenTool(const std::string& key) { (void)key; }
    // Support tickets (CMS mode): a new ticket from the message in this file,
    // and the list of tickets.
    virtual void OpenInCMS(const std::string& path) { (void)path; }
    virtual void ShowTicketList() {}
    virtual void ShowHelp() {}
};

} // namespace corva
