// The composer and reader window: frmEmail's view. It shows the fields the
// logic keeps, writes the user's edits back and forwards every command.
#pragma once

#include "mailer/frmEmail.h"
#include "smtp/frmSendMailWrapper.h"

#include <QMainWindow>

#include <memory>
#include <string>
#include <vector>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QPlainTextEdit;
class QStackedWidget;
class QToolBar;
class QAction;

namespace corva::ui {

class EmailWindow : public QMainWindow, public frmEmailView, private frmEmailEvents {
    Q_OBJECT
public:
    // events may be null: a sent reply then goes to the program's listener
    // (setReplyListener), whichever is in force when it is sent.
    explicit EmailWindow(frmEmailEvents* events = nullptr, QWidget* parent = nullptr);
    // The listener of windows opened without one (the mailer's); null for none.
    static void setReplyListener(frmEmailEvents* listener);
    ~EmailWindow() override;

    frmEmail& email() { return *email_; }
    QLineEdit* toField() const { return to_; }
    QLineEdit* ccField() const { return cc_; }
    QLineEdit* subjectField() const { return subject_; }
    QPlainTextEdit* bodyField() const { return body_; }
    QWidget* readerPane() const { return reader_; }

    // frmEmailView
    void ShowFields() override;
    void SetupForReading() override;
    void SetupForWriting() override;
    void ShowStatus(const std::string& text) override;
    void SetBusy(bool busy) override;
    void ShowSpeechEntries(bool visible) override;
    void CloseView() override;
    std::vector<std::string> ChooseFiles(const std::string& title,
                                         const std::string& startFolder) override;
    bool SelectContact(std::string& name, std::string& address) override;
    void OpenPart(int part) override;
    void PrintMessage() override;
    std::string SelectedText() override;
    void OpenTicket(const clsMessage& message, const std::string& text) override;

protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void MarkReplied(const std::string& filename) override;
    void buildToolbar();
    void buildForm();
    void readBody();
    void fillInsertMenu(QMenu* menu, bool autoreply);
    void fillSignatureMenu(QMenu* menu);

    frmEmailEvents* events_;
    std::unique_ptr<frmEmail> email_;
    QToolBar* toolbar_ = nullptr;
    std::vector<QAction*> writingActions_;
    std::vector<QAction*> readingActions_;
    std::vector<QAction*> speechActions_;
    QStackedWidget* stack_ = nullptr;
    QComboBox* from_ = nullptr;
    QLineEdit* to_ = nullptr;
    QLineEdit* cc_ = nullptr;
    QCheckBox* bcc_ = nullptr;
    QLineEdit* subject_ = nullptr;
    QPlainTextEdit* body_ = nullptr;
    QListWidget* attach_ = nullptr;
    QWidget* reader_ = nullptr;
    std::unique_ptr<frmSendMailWrapper> ticketWrapper_;
    bool showing_ = false; // fields are being set from the logic
    bool reading_ = false;
};

// Opens a composer or reader window for the request; null when its file
// couldn't be read. The window deletes itself when closed.
EmailWindow* openEmailWindow(const EmailRequest& request, frmEmailEvents* events,
                             QWidget* parent = nullptr);

// The reader for a message in memory (the scanner's Read, the mailer's open).
EmailWindow* openReaderWindow(const clsMessage& message, QWidget* parent = nullptr);

} // namespace corva::ui
