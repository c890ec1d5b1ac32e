// The mailer's preview pane: the header strip, the message as plain text with
// clickable links, and Toolbar2 with the "attachments" menu and the [!]
// button. It shows what MessageDisplay decides and forwards clicks to it.
#pragma once

#include "mailer/MessageDisplay.h"

#include <QString>
#include <QWidget>

#include <functional>
#include <memory>
#include <string>

class QLabel;
class QMenu;
class QTextEdit;
class QToolBar;
class QToolButton;
class QAction;

namespace corva::ui {

class MessagePreviewPane : public QWidget, public MessageDisplayView {
    Q_OBJECT
public:
    explicit MessagePreviewPane(QWidget* parent = nullptr);
    ~MessagePreviewPane() override;

    // Shows the message stored at path (MessagePreview).
    void showMessage(const std::string& path);
    void clear();
    // Where a click on an address goes; until set, the click says the
    // composer is still to come.
    void setComposer(std::function<void(const std::string&)> compose);

    // Printing of the message shown; false when nothing was printed.
    bool print();
    bool printPreview();
    bool printToPdf(const std::string& path);

    MessageDisplay& display() { return *display_; }
    QTextEdit* textBox() const { return text_; }
    QMenu* attachmentMenu() const { return attachMenu_; }
    QAction* attachmentsButton() const { return attachAction_; }
    QAction* warningButton() const { return warningAction_; }
    QLabel* warningLabel() const { return warning_; }
    // The header strip's lines as shown.
    QStringList headerLines() const;

    // MessageDisplayView
    bool headerLineFits(const std::string& line) override;
    void showHeader(const std::vector<std::string>& lines, const std::string& warningLine) override;
    void showText(const std::string& text, const std::vector<TextRange>& links) override;
    void setAttachmentMenu(const std::vector<std::string>& entries) override;
    void setButtonVisible(const std::string& key, bool visible) override;
    std::optional<std::string> askSavePath(const std::string& defaultName) override;
    std::optional<std::string> askFolder(const std::string& title,
                                         const std::string& text) override;
    void openReader(const std::string& path) override;
    AttachAnswer showAttachWarning(const AttachWarningForm& form) override;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    void buildAttachmentMenu();

    QWidget* strip_;
    QList<QLabel*> lines_;
    QLabel* warning_;
    QToolBar* toolbar_;
    QAction* attachAction_;
    QAction* warningAction_;
    QMenu* attachMenu_;
    QTextEdit* text_;
    std::string shownText_;
    std::vector<std::string> entries_;
    std::unique_ptr<MessageDisplay> display_;
};

} // namespace corva::ui
