#include "ui/LogViewer.h"

#include "core/AppInfo.h"
#include "core/DateTime.h"
#include "core/FileSubs.h"
#include "core/mSHAREDGetDate.h"
#include "core/mSHAREDLogging.h"
#include "ui/DisplayText.h"

#include <QDialogButtonBox>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace corva::ui {

LogViewer::LogViewer(QWidget* parent) : QDialog(parent) {
    auto* layout = new QVBoxLayout(this);
    txtLog_ = new QPlainTextEdit;
    txtLog_->setReadOnly(true);
    txtLog_->setLineWrapMode(QPlainTextEdit::NoWrap);
    txtLog_->setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    layout->addWidget(txtLog_);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    QPushButton* refreshButton =
        buttons->addButton(QStringLiteral("Refresh"), QDialogButtonBox::ActionRole);
    connect(refreshButton, &QPushButton::clicked, this, &LogViewer::refresh);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    layout->addWidget(buttons);
    resize(760, 480);
    refresh();
}

void LogViewer::refresh() {
    std::string log;
    FlushLog();
    LoadTextFile(AppPath() + "log.txt", log);
    txtLog_->setPlainText(toDisplay(log));
    setWindowTitle(toDisplay("Log file as of " + DatePlusTime(DateTime::now())));
}

QString LogViewer::text() const {
    return txtLog_->toPlainText();
}

} // namespace corva::ui
