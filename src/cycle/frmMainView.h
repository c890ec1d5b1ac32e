// What the scanner shows of the cycle: list lines, status panels, toolbar
// images and the tray icon, plus the hooks the cycle needs from the windows
// around it (splash, wizard, settings, mailer). The scanner window implements
// it; the command line implements it with text. Every method has an empty
// default, so a view overrides only what it shows.
#pragma once

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

    // The message asked for on its own (read, view source, download) has arrived.
    virtual void SpecificMessageArrived(clsMessage& message) { (void)message; }

    // ---- Dialogs ----
    // The settings dialog; true when it was confirmed.
    virtual bool ShowSettingsDialog() { return false; }

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
