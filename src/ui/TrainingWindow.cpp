// The training window; TrainingForm decides, the classifier does the work.
#include "ui/TrainingWindow.h"

#include "ui/DisplayText.h"

#include <QCheckBox>
#include <QCloseEvent>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QRegularExpression>
#include <QVBoxLayout>

namespace corva::ui {

namespace {

void fillNumbers(QComboBox* box, const std::vector<int>& values) {
    box->clear();
    for (int v : values) box->addItem(QString::number(v), v);
}

void chooseNumber(QComboBox* box, int value) {
    box->setCurrentIndex(box->findData(value));
}

int chosenNumber(const QComboBox* box, int fallback) {
    const QVariant v = box->currentData();
    return v.isValid() ? v.toInt() : fallback;
}

QWidget* row(QWidget* parent, std::initializer_list<QWidget*> widgets) {
    auto* w = new QWidget(parent);
    auto* layout = new QHBoxLayout(w);
    layout->setContentsMargins(0, 0, 0, 0);
    for (QWidget* item : widgets) layout->addWidget(item);
    layout->addStretch(1);
    return w;
}

} // namespace

TrainingWindow::TrainingWindow(frmBayesFilter& bayes, QWidget* parent) : QDialog(parent) {
    setObjectName(QStringLiteral("frmBayesFilter"));
    setWindowTitle(QStringLiteral("Spam filters"));
    auto* top = new QVBoxLayout(this);

    auto* good = new QGroupBox(QStringLiteral("Good mail"), this);
    auto* goodLayout = new QVBoxLayout(good);
    optGoodFolder = new QRadioButton(QStringLiteral("Read good mail from a folder"), good);
    cmbGoodFolder = new QComboBox(good);
    cmbGoodFolder->setMinimumContentsLength(20);
    goodLayout->addWidget(row(good, {optGoodFolder, cmbGoodFolder}));
    optGoodFile = new QRadioButton(
        QStringLiteral("Read good mail from file generated during the previous run"), good);
    goodLayout->addWidget(optGoodFile);
    chkGoodSubfolders = new QCheckBox(QStringLiteral("Search sub-folders"), good);
    goodLayout->addWidget(chkGoodSubfolders);
    top->addWidget(good);

    auto* spam = new QGroupBox(QStringLiteral("Spam"), this);
    auto* spamLayout = new QVBoxLayout(spam);
    optSpamBayes = new QRadioButton(QStringLiteral("Read spam mail from 'SpamBayes' folder"), spam);
    optSpamArchive = new QRadioButton(
        QStringLiteral("Read spam mail from 'Spam Archive' folder (see Settings)"), spam);
    optSpamFile = new QRadioButton(
        QStringLiteral("Read spam mail from file generated during the previous run"), spam);
    chkSpamSubfolders = new QCheckBox(QStringLiteral("Search sub-folders"), spam);
    for (QWidget* w :
         {static_cast<QWidget*>(optSpamBayes), static_cast<QWidget*>(optSpamArchive),
          static_cast<QWidget*>(optSpamFile), static_cast<QWidget*>(chkSpamSubfolders)})
        spamLayout->addWidget(w);
    top->addWidget(spam);

    auto* limits = new QGroupBox(QStringLiteral("Thresholds"), this);
    auto* form = new QFormLayout(limits);
    cmbSpamminess = new QComboBox(limits);
    cmbSaveToSpam = new QComboBox(limits);
    cmbHeaderWords = new QComboBox(limits);
    cmbSpamWordCount = new QComboBox(limits);
    cmbBodyWordCount = new QComboBox(limits);
    auto percent = [&](QComboBox* box) {
        return row(limits, {box, new QLabel(QStringLiteral("%"), limits)});
    };
    form->addRow(QStringLiteral("Delete from the server at a score of:"), percent(cmbSpamminess));
    form->addRow(QStringLiteral("Mark as SPAM? and move to 'SpamBayes' at a score of:"),
                 percent(cmbSaveToSpam));
    form->addRow(QStringLiteral("Significant words averaged for a score:"),
                 row(limits, {cmbHeaderWords}));
    form->addRow(QStringLiteral("Body words:"), row(limits, {cmbBodyWordCount}));
    form->addRow(QStringLiteral("Words must appear"),
                 row(limits, {cmbSpamWordCount,
                              new QLabel(QStringLiteral("times before being included in the "
                                                        "filters"),
                                         limits)}));
    auto* note = new QLabel(
        QStringLiteral("Unless a word appears more than the selected number of times across all "
                       "mail, it's ignored.  3 is the recommended value, less will make the "
                       "dictionary larger."),
        this);
    note->setWordWrap(true);
    top->addWidget(limits);
    top->addWidget(note);

    picStatus = new QLabel(this);
    picStatus->setMinimumWidth(360);
    top->addWidget(picStatus);
    progress = new QProgressBar(this);
    progress->setRange(0, 1);
    progress->setValue(0);
    top->addWidget(progress);

    auto* buttons = new QHBoxLayout;
    top->addLayout(buttons);
    auto add = [&](const QString& caption, void (TrainingForm::*command)()) {
        auto* b = new QPushButton(caption, this);
        b->setAutoDefault(false);
        connect(b, &QPushButton::clicked, this, [this, command] { (form_.get()->*command)(); });
        buttons->addWidget(b);
        return b;
    };
    cmdGenerate = add(QStringLiteral("Generate Filters"), &TrainingForm::cmdGenerate_Click);
    cmdRefresh = add(QStringLiteral("Refresh Filters"), &TrainingForm::cmdRefresh_Click);
    cmdReset = add(QStringLiteral("Reset To Defaults"), &TrainingForm::cmdReset_Click);
    buttons->addStretch(1);
    cmdStop = add(QStringLiteral("Stop"), &TrainingForm::cmdStop_Click);
    cmdStop->setEnabled(false);
    cmdExit = add(QStringLiteral("Exit"), &TrainingForm::cmdExit_Click);

    form_ = std::make_unique<TrainingForm>(bayes, *this);
    form_->Show();
}

TrainingWindow::~TrainingWindow() = default;

void TrainingWindow::Status(const std::string& text) {
    picStatus->setText(toDisplay(text));
    // "Good Mail - Message 3 of 10" carries the count the bar draws.
    static const QRegularExpression count(QStringLiteral(" - Message (\\d+) of (\\d+)$"));
    const QRegularExpressionMatch m = count.match(picStatus->text());
    if (m.hasMatch()) {
        progress->setRange(0, std::max(1, m.captured(2).toInt()));
        progress->setValue(m.captured(1).toInt());
    }
}

void TrainingWindow::ShowLists(const TrainingLists& lists) {
    cmbGoodFolder->clear();
    for (const std::string& f : lists.goodFolders) cmbGoodFolder->addItem(toDisplay(f));
    fillNumbers(cmbSpamminess, lists.spamminess);
    fillNumbers(cmbSaveToSpam, lists.saveToSpam);
    fillNumbers(cmbHeaderWords, lists.headerWords);
    fillNumbers(cmbSpamWordCount, lists.spamWordCount);
    fillNumbers(cmbBodyWordCount, lists.bodyWordCount);
    optSpamArchive->setEnabled(lists.archiveAvailable);
}

void TrainingWindow::ShowChoices(const TrainingChoices& c) {
    optGoodFolder->setChecked(c.goodSource == GoodMailSource::Folder);
    optGoodFile->setChecked(c.goodSource == GoodMailSource::File);
    int at = cmbGoodFolder->findText(toDisplay(c.goodFolder), Qt::MatchFixedString);
    cmbGoodFolder->setCurrentIndex(at >= 0 ? at : 0);
    chkGoodSubfolders->setChecked(c.goodSubfolders);
    optSpamBayes->setChecked(c.spamSource == SpamMailSource::SpamBayes);
    optSpamArchive->setChecked(c.spamSource == SpamMailSource::Archive);
    optSpamFile->setChecked(c.spamSource == SpamMailSource::File);
    chkSpamSubfolders->setChecked(c.spamSubfolders);
    chooseNumber(cmbSpamminess, c.spamminessPercent);
    chooseNumber(cmbSaveToSpam, c.saveToSpamPercent);
    chooseNumber(cmbHeaderWords, c.headerWords);
    chooseNumber(cmbSpamWordCount, c.spamWordCount);
    chooseNumber(cmbBodyWordCount, c.bodyWordCount);
}

TrainingChoices TrainingWindow::ReadChoices() const {
    TrainingChoices c;
    c.goodSource = optGoodFile->isChecked() ? GoodMailSource::File : GoodMailSource::Folder;
    c.goodFolder = fromDisplay(cmbGoodFolder->currentText());
    c.goodSubfolders = chkGoodSubfolders->isChecked();
    c.spamSource = optSpamFile->isChecked()      ? SpamMailSource::File
                   : optSpamArchive->isChecked() ? SpamMailSource::Archive
                                                 : SpamMailSource::SpamBayes;
    c.spamSubfolders = chkSpamSubfolders->isChecked();
    c.spamminessPercent = chosenNumber(cmbSpamminess, c.spamminessPercent);
    c.saveToSpamPercent = chosenNumber(cmbSaveToSpam, c.saveToSpamPercent);
    c.headerWords = chosenNumber(cmbHeaderWords, c.headerWords);
    c.spamWordCount = chosenNumber(cmbSpamWordCount, c.spamWordCount);
    c.bodyWordCount = chosenNumber(cmbBodyWordCount, c.bodyWordCount);
    return c;
}

void TrainingWindow::SetBusy(bool busy) {
    for (QPushButton* b : {cmdGenerate, cmdRefresh, cmdReset}) b->setEnabled(!busy);
    cmdStop->setEnabled(busy);
    if (busy) {
        progress->setRange(0, 1);
        progress->setValue(0);
    }
}

void TrainingWindow::CloseWindow() {
    closing_ = true;
    close();
}

void TrainingWindow::closeEvent(QCloseEvent* event) {
    // A running generation is stopped first; the window closes when it has ended.
    if (closing_ || !form_->Busy()) {
        closing_ = true;
        event->accept();
        return;
    }
    form_->cmdExit_Click();
    event->ignore();
}

void TrainingWindow::reject() {
    if (closing_ || !form_->Busy())
        QDialog::reject();
    else
        form_->cmdExit_Click();
}

} // namespace corva::ui
