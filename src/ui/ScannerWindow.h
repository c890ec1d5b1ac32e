// The scanner: the window of frmMain. A list of what lies on the servers with
// a verdict word per line, the headers of the selected line, a status bar, a
// toolbar and a tray icon. Commands go to frmMain; it decides.
#pragma once

#include "cycle/frmMainView.h"

#include <QMainWindow>
#include <QPointer>
#include <array>
#include <map>
#include <memory>
#include <optional>
#include <vector>

class QLabel;
class QMenu;
class QPlainTextEdit;
class QSystemTrayIcon;
class QTimer;
class QToolButton;
class QTreeView;
class QSplashScreen;

namespace corva {
class frmMain;
}

namespace corva::ui {

class MailerWindow;
class ScannerListModel;
class TextWindow;

class ScannerWindow : public QMainWindow, public frmMainView {
    Q_OBJECT
public:
    ScannerWindow();
    ~ScannerWindow() override;
    void attach(frmMain* main) { main_ = main; }
    // Start-up asked for the window to stay hidden (STARTMIN).
    bool hiddenAtStart() const { return hiddenAtStart_; }

    // frmMainView
    void ShowSplash() override;
    void SplashStatus(const std::string& text) override;
    void HideSplash() override;
    void RunAccountWizard() override;
    void SetupListColumns(const std::vector<std::string>& captions) override;
    void ShowCmsButton(bool visible) override;
    int ScreenWidth() const override;
    int ScreenHeight() const override;
    void MaximiseWindow() override;
    void SetWindowSize(int widthTwips, int heightTwips) override;
    int WindowWidth() const override;
    int WindowHeight() const override;
    int CurrentWindowState() const override;
    void HideWindow() override;
    void ClearList() override;
    void AddListLine(const ListLine& line) override;
    void SetStatusPanel(int panel, const std::string& text) override;
    void SetStatusPicture(PanelPicture picture) override;
    void SetToolbarButtonImage(const std::string& key, const std::string& image) override;
    void SetReadOnServerEnabled(bool enabled) override;
    void SetSilentChecked(bool checked) override;
    void SetListFontSize(int size) override;
    void ShowTrayIcon(const std::string& tip, TrayPicture picture) override;
    void ChangeTrayIcon(const std::string& tip, TrayPicture picture) override;
    void RemoveTrayIcon() override;
    void SpecificMessageArrived(clsMessage& message) override;
    bool ShowSettingsDialog() override;
    void ShowRuleEditor(bool isLocal, const clsMessage* fromMessage,
                        const std::string& filterName) override;
    void ShowTrainingWindow() override;
    void ShowMailerFirst() override;
    void ShowComposer(const std::string& to, const std::string& cc, const std::string& bcc,
                      const std::string& subject, const std::string& body) override;
    void ShowReader(const std::string& path) override;
    bool MailerLoaded() const override;
    bool MailerVisible() const override;
    void MailerStatus(const std::string& text) override;
    void MailerFinishedGettingMail(const std::string& text) override;
    void MailerNewMessageStored(const std::string& path, const std::string& folder,
                                clsMessage& message, bool inOpenFolder) override;
    void HideMailer() override;
    void UnloadMailer() override;
    void ShowScanner() override;
    void QuitProgram() override;

    // The mailer's window, made on first use, shown and filled.
    MailerWindow* openMailer();
    MailerWindow* mailerWindow() const;
    bool TrayAvailable() const override;
    void NotifyNewMail(const std::string& title, const std::string& text) override;
    std::vector<std::string> OpenForms() const override;
    bool UnloadForm(size_t index) override;

    // Whether the desktop shows a notification area, unless a test says.
    void setTrayAvailable(bool available) { trayAvailable_ = available; }
    // The size the window first opens at on a screen of this available size.
    static QSize firstWindowSize(const QSize& available);

    // For tests and screenshots.
    // The list as shown, with any lines still waiting for their batch.
    ScannerListModel& listModel();
    QTreeView& listView() { return *list_; }
    QString statusPanelText(int panel) const;
    QString headersText() const;
    QString trayTip() const { return trayTip_; }
    TrayPicture trayPicture() const { return trayPicture_; }
    // Selects a list row as a click would.
    void selectRow(int row);
    // The right-click menu as it would open on the selected line.
    QMenu* buildRightClickMenu();
    // Runs a right-click command by its entry's caption, on the selected line.
    void runLineCommand(const QString& entry);
    QAction* toolbarAction(const QString& key) const;
    // The tray's Show and the icon's double click.
    void showFromTray();
    // The headless fetch scheme: what the next fetched message is for.
    enum class FetchPurpose { None, Source, Read, Download };

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void flushPending();
    void buildToolbar();
    void buildMenus();
    void buildStatusBar();
    void onSelectionChanged();
    void onDoubleClick();
    void showContextMenu(const QPoint& pos);
    const ListLine* selectedLine() const;
    clsMessage* selectedMessage() const;
    std::vector<ListLine> selectedLines() const;
    void fetchSelected(FetchPurpose purpose);
    void bounceSelected();
    TextWindow* showTextWindow(const QString& title, const QString& text);
    void act(const QString& key);
    void quit();
    std::vector<QWidget*> openForms() const;

    frmMain* main_ = nullptr;
    QPointer<MailerWindow> mailerWindow_;
    ScannerListModel* model_ = nullptr;
    std::vector<ListLine> pending_;
    std::array<std::optional<QString>, 4> pendingPanels_;
    QTimer* flushTimer_ = nullptr;
    QTreeView* list_ = nullptr;
    QPlainTextEdit* headers_ = nullptr;
    QLabel* lblMessageNumber_ = nullptr;
    QLabel* panels_[4] = {};
    QSystemTrayIcon* tray_ = nullptr;
    QMenu* trayMenu_ = nullptr;
    QMenu* scanAccountMenu_ = nullptr;
    QAction* silentAction_ = nullptr;
    QToolButton* upAndDown_ = nullptr;
    std::map<QString, QAction*> actions_;
    QString trayTip_;
    QString upAndDownImage_ = QStringLiteral("upanddown");
    TrayPicture trayPicture_ = TrayPicture::LargeS;
    std::unique_ptr<QSplashScreen> splash_;
    FetchPurpose fetchPurpose_ = FetchPurpose::None;
    bool readOnServerEnabled_ = true;
    bool hiddenAtStart_ = false;
    bool everShown_ = false;
    std::optional<bool> trayAvailable_;
};

} // namespace corva::ui
