// The rule editor and the training window opened from the running scanner:
// a save reaches the program's loaded rules, thresholds reach Corva.ini.
#include "ui/UiFixture.h"

#include "bayes/frmBayesFilter.h"
#include "filters/frmFilters.h"
#include "message/clsMessage.h"
#include "ui/RuleEditorWindow.h"
#include "ui/TrainingWindow.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

namespace corva::test {
namespace {

template <typename W> W* openWindow() {
    for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* found = qobject_cast<W*>(w); found && found->isVisible()) return found;
    return nullptr;
}

void click(QWidget& window, const QString& caption) {
    for (QPushButton* b : window.findChildren<QPushButton*>())
        if (b->text() == caption) return b->click();
    ADD_FAILURE() << "no button " << caption.toStdString();
}

using RuleWindowsTest = ScannerFixture;

TEST_F(RuleWindowsTest, EditorSaveReloadsTheRunningRules) {
    writeFile(dir.file("Rules.txt"),
              "Filtername, Casino\r\nFilterField, Subject:\r\nFilterComparison, cnt\r\n"
              "FilterString, casino\r\nFilterAction, 0\r\nFilterDest, \r\nFilterStop, 0\r\n"
              "Filter_Category, 0\r\nFiltername, Friends\r\nFilterField, From:\r\n"
              "FilterComparison, !cnt\r\nFilterString, @work\r\nFilterAction, 3\r\n");
    start();
    window->ShowRuleEditor(false, nullptr, "Friends");
    auto* editor = openWindow<ui::RuleEditorWindow>();
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->listview1->currentRow(), 1);
    EXPECT_EQ(editor->txtFilterName->text(), QStringLiteral("Friends"));
    EXPECT_EQ(editor->cmbComparison[0]->currentText(), QStringLiteral("Doesn't Contain"));
    saveScreenshot(*editor, "rule-editor");

    editor->txtText[0]->setText(QStringLiteral("@home"));
    click(*editor, QStringLiteral("Save and Exit"));
    QCoreApplication::processEvents();
    EXPECT_EQ(openWindow<ui::RuleEditorWindow>(), nullptr);
    ASSERT_EQ(main->ServerFilters().Filters().size(), 2u);
    EXPECT_EQ(main->ServerFilters().Filters()[1].Strings(1), "@home");
    EXPECT_NE(readFile(dir.file("Rules.txt")).find("FilterString, @home"), std::string::npos);

    // A filter proposed from a message: the subject's words in an unsaved form,
    // so leaving asks first.
    clsMessage msg;
    msg.Subject = "Cheap pills";
    window->ShowRuleEditor(true, &msg, "");
    editor = openWindow<ui::RuleEditorWindow>();
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->lblHeading->text(),
              QStringLiteral("These filters will move inbound messages to selected folders"));
    EXPECT_EQ(editor->txtFilterName->text(), QStringLiteral("Cheap pills"));
    EXPECT_EQ(editor->txtText[1]->text(), QStringLiteral("pills"));
    EXPECT_EQ(editor->listview1->currentRow(), -1);
    platform_.prompts_.answer = platform::Answer::Yes;
    click(*editor, QStringLiteral("Exit"));
    EXPECT_EQ(prompts().back(), "You will lose your changes - are you sure?");
    QCoreApplication::processEvents();
    EXPECT_EQ(openWindow<ui::RuleEditorWindow>(), nullptr);
}

TEST_F(RuleWindowsTest, TrainingWindowWritesAndResetsTheThresholds) {
    start();
    window->ShowTrainingWindow();
    auto* training = openWindow<ui::TrainingWindow>();
    ASSERT_NE(training, nullptr);
    // A first install reads 2 and lists it as it is, beside the band it can choose.
    EXPECT_EQ(training->cmbSaveToSpam->currentText(), QStringLiteral("200"));
    EXPECT_GE(training->cmbSaveToSpam->findText(QStringLiteral("70")), 0);
    for (int i = 0; i < training->cmbGoodFolder->count(); ++i)
        EXPECT_NE(training->cmbGoodFolder->itemText(i), QStringLiteral("SpamBayes"));
    saveScreenshot(*training, "training");

    training->cmbSaveToSpam->setCurrentText(QStringLiteral("80"));
    click(*training, QStringLiteral("Generate Filters"));
    EXPECT_FLOAT_EQ(static_cast<float>(sget("SaveToSpamScore", 0).toNumber()), 0.8f);
    EXPECT_EQ(training->picStatus->text(), QStringLiteral("Spam filters created"));

    click(*training, QStringLiteral("Reset To Defaults"));
    EXPECT_EQ(training->cmbSaveToSpam->currentText(), QStringLiteral("70"));
    EXPECT_EQ(training->cmbSpamWordCount->currentText(), QStringLiteral("2"));
    EXPECT_FLOAT_EQ(static_cast<float>(sget("SaveToSpamScore", 0).toNumber()), 0.7f);
    click(*training, QStringLiteral("Exit"));
}

} // namespace
} // namespace corva::test
