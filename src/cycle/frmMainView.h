// What the scanner shows of the cycle: list lines, status panels, toolbar
// images and the tray icon, plus the hooks the cycle needs from the windows
// around it (splash, wizard, settings, mailer). The scanner window implements
// it; the command line implements it with text. Every method has an empty
// default, so a view overrides only what it shows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace corva {

class clsMessage;

// One line of the scanner's list. Message lines carry the nine columns; a
// server line and a notice line carry their text in Status.
struct ListLine {
    enum class Kind { Message, Server, Notice };
    Kind kind = Kind::Message;
    std::string Status;
    std::string Size;
    std::string From;
    std::string Subject;
    std::string FilteredBy;
    std::string To;
    std::string Accnt;
    std::string Msg;
    std::string MsgNum;
    int32_t Colour = 0; // red in the low byte
    // The charsets the message's From and Subject declare in their encoded
    // words, so that every view decodes them alike; "" when none is named.
    std::string FromCharset;
    std::string SubjectCharset;
    // The message's position in the cycle's ServerMessages, from 1; 0 on a
    // server or notice line. MsgNum counts what the servers reported, which
    // includes what was deleted and never kept.
    long Item = 0;
    // A notice's text as it came, line ends and all; Status has them removed
    // for the one-line list, and a terminal can show the lines apart.
    std::string Lines;
};

// The list's column captions, in order.
inline const std::vector<std::string>& ListColumnCaptions() {
    static const std::vector<std::string> captions{
        "Status", "Size", "From", "Subject", "Filtered By", "To", "Accnt", "Msg", "MsgNum"};
    return captions;
}

enum class TrayPicture { LargeS, SmallS, GotMail, LotsOfMail, Error };
enum class PanelPicture { None, Error };

// Window states as they are stored under MainWindowState.
namespace WindowState {
constexpr int Normal = 0;
constexpr int Minimised = 1;
constexpr int Maximised = 2;
} // namespace WindowState

class frmMainView {
public:
    virtual ~frmMainView() = default;

    // ---- Start-up ----
    virtual void ShowSplash() {}
    // The splash's status line; also what a headless start may print.
    virtual void SplashStatus(const std::string& text) { (void)text; }
    virtual void HideSplash() {}
    // The first run: Corva.ini is missing. The window runs the account wizard.
    virtual void RunAccountWizard() {}
    virtual void SetupListColumns(const std::vector<std::string>& captions) { (void)captions; }
    virtual void ShowCmsButton(bool visible) { (void)visible; }
    // The screen in twips; 0 when there is none (no geometry is applied).
    virtual int ScreenWidth() const { return 0; }
    virtual int ScreenHeight() const { return 0; }
    virtual void MaximiseWindow() {}
    virtual void SetWindowSize(int widthTwips, int heightTwips) {
        (void)widthTwips;
        (void)heightTwips;
    }
    virtual int WindowWidth() const { return 7668; }
    virtual int WindowHeight() const { return 7300; }
    virtual int CurrentWindowState() const { return WindowState::Normal; }
    virtual void HideWindow() {}
    // A mail link or file given on the command line.
    virtual void HandleCommandLine(const std::string& commandLine) { (void)commandLine; }
    // ShowScannerFirst is false: the mailer takes over and the scanner stays hidden.
    virtual void ShowMailerFirst() {}
    // A composer window for a new message with these fields filled in.
    virtual void ShowComposer(const std::string& to, const std::string& cc, const std::string& bcc,
                              const std::string& subject, const std::string& body) {
        (void)to;
        (void)cc;
        (void)bcc;
        (void)subject;
        (void)body;
    }
    // A stored message file in the reader window.
    virtual void ShowReader(const std::string& path) { (void)path; }

    // ---- The list ----
    virtual void ClearList() {}
    virtual void AddListLine(const ListLine& line) { (void)line; }

    // ---- Status bar: panel 1 progress, 2 total deleted, 3 updater, 4 next scan ----
    virtual void SetStatusPanel(int panel, const std::string& text) {
        (void)panel;
        (void)text;
    }
    virtual void SetStatusPicture(PanelPicture picture) { (void)picture; }

    // ---- Toolbar and menus ----
    // image is "stop" while a cycle runs, "sendreceive" otherwise.
    virtual void SetToolbarButtonImage(const std::string& key, const std::string& image) {
        (void)key;
        (void)image;
    }
    virtual void SetupToolbar() {}
    virtual void SetReadOnServerEnabled(bool enabled) { (void)enabled; }
    virtual void SetSilentChecked(bool checked) { (void)checked; }
    virtual void SetListFontSize(int size) { (void)size; }

    // ---- Tray icon ----
    virtual void ShowTrayIcon(const std::string& tip, TrayPicture picture) {
        (void)tip;
        (void)picture;
    }
    virtual void ChangeTrayIcon(const std::string& tip, TrayPicture picture) {
        (void)tip;
        (void)picture;
    }
    virtual void RemoveTrayIcon() {}

    // A retrieved message was written to the store at path. It is no list
    // line; this is how a view that wants to can tell what arrived.
    virtual void MessageStored(const std::string& path, const clsMessage& message) {
        (void)path;
        (void)message;
    }

    // The message asked for on its own (read, view source, download) has arrived.
    virtual void SpecificMessageArrived(clsMessage& message) { (void)message; }

    // ---- Dialogs ----
    // The settings dialog; true when it was confirmed.
    virtual bool ShowSettingsDialog() { return false; }
    // The rule editor on the local or server set; with a message, a filter is
    // proposed from it; with a name, that filter is shown first.
    virtual void ShowRuleEditor(bool isLocal, const clsMessage* fromMessage,
                                const std::string& filterName) {
        (void)isLocal;
        (void)fromMessage;
        (void)filterName;
    }
    // The training window of the classifier, with its thresholds.
    virtual void ShowTrainingWindow() {}

    // ---- The desktop around the window ----
    // False when the desktop shows no notification area: closing the window
    // then quits, or the program would run on with no way back to it.
    virtual bool TrayAvailable() const { return true; }
    // A desktop notification of new mail, through the tray icon.
    virtual void NotifyNewMail(const std::string& title, const std::string& text) {
        (void)title;
        (void)text;
    }
    // The open windows by caption, in the order they were opened; the first is
    // this window itself. Shutdown unloads them from the last down to the second.
    virtual std::vector<std::string> OpenForms() const { return {}; }
    // Unloads the window at that position; false when it refuses, as a window
    // that runs a modal loop of its own must.
    virtual bool UnloadForm(size_t index) {
        (void)index;
        return true;
    }

    // ---- The mailer window, when there is one ----
    virtual bool MailerLoaded() const { return false; }
    virtual bool MailerVisible() const { return false; }
    virtual void MailerStatus(const std::string& text) { (void)text; }
    virtual void MailerFinishedGettingMail(const std::string& text) { (void)text; }
    virtual void MailerAddListLine(const ListLine& line) { (void)line; }
    // A message was stored by the cycle and the store's tags and caches know of
    // it; inOpenFolder says the open folder's cache took it, so its list shows it.
    virtual void MailerNewMessageStored(const std::string& path, const std::string& folder,
                                        clsMessage& message, bool inOpenFolder) {
        (void)path;
        (void)folder;
        (void)message;
        (void)inOpenFolder;
    }
    virtual void HideMailer() {}
    virtual void UnloadMailer() {}
    // The mailer asked for the scanner, or to quit the program.
    virtual void ShowScanner() {}
    virtual void QuitProgram() {}
};

} // namespace corva
