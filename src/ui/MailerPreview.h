// Where the mailer shows a message: the pane under its list and the reader
// window share one widget and these few calls, so the pane behind them can
// change without touching either window.
#pragma once

#include <QWidget>
#include <string>

namespace corva {
class clsMessage;
}

namespace corva::ui {

QWidget* makePreviewWidget(QWidget* parent);
// nullptr clears the pane.
void showInPreview(QWidget* pane, const clsMessage* message);
std::string previewSelectedText(QWidget* pane);
// All the pane shows, as text (for tests).
QString previewShownText(QWidget* pane);
void printPreviewed(QWidget* pane);
void viewPreviewedSource(QWidget* pane);
// The message in a window of its own (a double click in the mailer, the
// scanner's Read), showing it as the preview does.
void showInReader(QWidget* parent, const clsMessage& message);

} // namespace corva::ui
