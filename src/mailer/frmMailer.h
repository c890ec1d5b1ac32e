// The mailer: the client face of the program over the local store. It holds no
// mail of its own, only the open folder, the rows of its list (read from the
// folder's cache) and the tree; the store's modules do the work on files, tags
// and caches, and the window shows what this object tells it.
#pragma once

#include "mailer/frmMailerEvents.h"
#include "mailer/frmMailerView.h"
#include "platform/Platform.h"
#include "store/FolderCaches.h"
#include "store/MailerListener.h"
#include "store/ReplacedFiles.h"

#include <memory>
#include <string>
#include <vector>

namespace corva {

class frmBayesFilter;
class frmFilters;

// One entry of the list's context menu: the command it runs and its caption.
struct MailerMenuEntry {
    std::string key;
    std::string caption;
};

inline constexpr const char* WorkInProgressText =
    "Work in progress - should be in the next version.";

class frmMailer : private MailerListener, private CacheView {
public:
    // The folder caches live as long as the mailer: a program folder's lists
    // never reach the next mailer, which may serve another. Events and the
    // view may be set later.
    frmMailer();
    // With caches the caller keeps.
    explicit frmMailer(FolderCaches& caches);
    ~frmMailer() override;
    frmMailer(const frmMailer&) = delete;
    frmMailer& operator=(const frmMailer&) = delete;

    void setView(frmMailerView* view) { view_ = view ? view : &noView_; }
    void setEvents(frmMailerEvents* events) { events_ = events ? events : &noEvents_; }
    // The local rules and the classifier; without them the commands that need
    // them do nothing.
    void setLocalFilters(frmFilters* filters) { localFilters_ = filters; }
    void setBayes(frmBayesFilter* bayes) { bayes_ = bayes; }

    // ---- The window ----
    // Shows the window: geometry, tree, then the Inbox.
    void Open();
    // Loaded: the window has been opened and not unloaded.
    bool Loaded() const { return loaded_; }
    void Hide();
    // Keeps the geometry and lets the window go.
    void Unload();
    void SaveGeometry();

    // ---- The tree ----
    void treeview1_nodeclick(int node);
    int SelectedNode() const { return selectedNode_; }
    int NodeCount() const { return static_cast<int>(nodes_.size()); }
    const FolderNode& Node(int node) const { return nodes_.at(static_cast<size_t>(node)).look; }
    // The node's directory, ending in "/"; "" for no node.
    std::string getpathfromnode(int node) const;
    int FindNode(const std::string& name) const;
    // The node of a folder's directory; -1 when the tree has none.
    int NodeOfFolder(const std::string& folder) const { return nodeOfFolder(folder); }
    // Lists a folder as a click on its node would, building the tree first if
    // needed (the commands work so, with no window); false when there is no such folder.
    bool OpenFolder(const std::string& folder);
    void rescanfolders();
    void DisplaySpecialCounts();

    // ---- The list ----
    long RowCount() const { return static_cast<long>(rows_.size()); }
    const MailerRow& Row(long row) const { return rows_.at(static_cast<size_t>(row)); }
    // The row with its charsets: a row from cache.csv doesn't know them, so a
    // row with 8-bit text has its file's header read the first time it shows.
    const MailerRow& RowToShow(long row) const;
    std::string OpenFolder() const { return openFolder_; }
    // The selection changed; current is the row with the focus (-1: the first selected).
    void SelectionChanged(long current);
    void listview1_dblclick();
    // A key released in the list: Delete (46), up and down (38, 40), Ctrl+A (65).
    void listview1_keyup(int keyCode, bool shift, bool ctrl);
    void DeleteSelected();
    void SortBy(MailerColumn column);
    void SelectAndPreviewLastMsg();
    // Whether the node can take the selected rows.
    bool treeview1_oledragover(int node) const;
    void treeview1_oledragdrop(int node);

    // ---- Commands ----
    void markselectedReadUnread(bool read);
    void markselectedRepliedOrNot(bool replied);
    void MarkPriority(bool high);
    void markselectedAsJunkOrNot(bool junk);
    void showbayes();
    void ApplyLocalFilters();
    void seldupes();
    void mnuDupeEmail();
    // "Add Suggestion to ...": the lists, and adding the selected message to one.
    std::vector<std::string> SuggestionMenu() const;
    void mnuSug_Click(const std::string& name);
    void AddFolder();
    void mnudeletefolder_click();
    void ClickedRescanFolders();
    void RescanSingleFolders();
    void ClearAllCaches() { caches_.ClearAllCaches(); }
    // A toolbar button or drop-down entry, by key.
    void Command(const std::string& key);
    // The list's context menu for the selected row ("" keys are separators).
    std::vector<MailerMenuEntry> ContextMenu() const;
    void ContextCommand(const std::string& key);
    // The ticket entries stand only in CMS mode (key CMSMODE).
    static bool ShowsTickets();

    // ---- From the cycle and the composer ----
    // The scan stored a message; the store hears of it, then the list and tree.
    void AddNewMessage(const std::string& path, const std::string& folder, clsMessage& message);
    // Where the scan's stored messages reach the folders' lists.
    FolderCaches& Caches() { return caches_; }
    // The list and tree part of it, for a message whose store part is done.
    void MessageStored(const std::string& path, const std::string& folder, clsMessage& message);
    void NotifyFinishedGettingMail(const std::string& text);
    void NotifyFinishedSendingMail();
    void UploadComplete();
    void ShowProgressMsg(const std::string& text);
    // A reply to the message in this file was sent.
    void fEmail_MarkReplied(const std::string& filename);

    // ---- Timers ----
    void Timer1_Timer() { DisplaySpecialCounts(); }
    void Timer2_Timer();
    void starticonflash(const std::string& key);
    void stopiconflash();
    bool Flashing() const { return !flashKey_.empty(); }

    // The caption of the second column for a folder: "To" in Sent Items and
    // the Outbox.
    static std::string WhoHeading(const std::string& folderPath);
    static std::string IconKey(bool highPriority, bool unread, bool replied);
    static MailerRow MakeRow(const clsMessage& message, bool showTo);

private:
    struct TreeNode {
        std::string name;
        int parent = -1;
        FolderNode look;
    };

    // MailerListener
    void ClearFolders() override;
    void AddFolder(const std::string& NodeText, const std::string& NodeParentText) override;
    void FinishedAddingFolders() override;
    void ClearMessages() override;
    void AddMessage(clsMessage& message, long CurrentCount, long TotalCount) override;
    void FinishedAddingMessages(long UnreadCount, long MostRecentUnread) override;
    // CacheView
    void ShowStatus(const std::string& text) override;
    void ShowListProgress(const std::string& text) override;

    void populatelistview();
    void displaycount();
    void flushRows();
    void previewRow(long row);
    void refreshNode(int node);
    // Marks the selected rows with one flag through readfullmessage and savemessage.
    template <class Apply> void markSelected(const char* procedure, Apply apply);
    void removeRows(std::vector<long> rows);
    void sortRows();
    std::vector<long> selected() const;
    std::vector<std::string> selectedPaths() const;
    long rowOfPath(const std::string& path) const;
    int nodeOfFolder(const std::string& folder) const;
    bool isOpenFolder(const std::string& folder) const;
    void workInProgress();
    // "newemail", "reply", "forward", "contacts": the windows they open.
    void openComposer(const std::string& key, const std::vector<std::string>& paths);

    std::unique_ptr<FolderCaches> ownCaches_;
    FolderCaches& caches_;
    ReplacedFiles replaced_; // the old files of a marking, removed while idle
    clsMailer mailer_;
    frmMailerView noView_;
    frmMailerView* view_ = &noView_;
    frmMailerEvents noEvents_;
    frmMailerEvents* events_ = &noEvents_;
    frmFilters* localFilters_ = nullptr;
    frmBayesFilter* bayes_ = nullptr;
    std::unique_ptr<platform::Timer> timer1_;
    std::unique_ptr<platform::Timer> timer2_;

    bool loaded_ = false;
    std::vector<TreeNode> nodes_;
    int selectedNode_ = -1;
    std::string openFolder_; // directory of the selected node, ending in "/"
    bool showTo_ = false;
    bool unreadOnly_ = false;
    std::vector<MailerRow> rows_;
    long rowsTold_ = 0; // rows the view has been told of
    long folderTotal_ = 0;
    MailerColumn sortColumn_ = MailerColumn::ReceiveDate;
    bool sortAscending_ = true;
    bool rescanning_ = false;
    bool rebuildingTree_ = false;
    // The folder to open again once the tree is rebuilt ("": the Inbox).
    std::string keepFolder_;
    long unreadCount_ = 0;
    bool sortChosen_ = false;
    std::string flashKey_;
    bool flashOn_ = false;
};

} // namespace corva
