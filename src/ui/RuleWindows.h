// Opens the rule editor and the training window over the running program's
// rule sets and classifier, for the scanner and the mailer alike.
#pragma once

#include <string>

class QWidget;

namespace corva {
class clsMessage;
class frmMain;
} // namespace corva

namespace corva::ui {

class RuleEditorWindow;
class TrainingWindow;

// The editor is window-modal and deletes itself on close; a save reloads both
// rule sets in frmMain.
RuleEditorWindow* openRuleEditor(QWidget* parent, frmMain& main, bool isLocal,
                                 const clsMessage* fromMessage, const std::string& filterName);
TrainingWindow* openTrainingWindow(QWidget* parent, frmMain& main);

} // namespace corva::ui
