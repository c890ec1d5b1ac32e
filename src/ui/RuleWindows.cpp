// The openers of the rule editor and the training window.
#include "ui/RuleWindows.h"

#include "bayes/frmBayesFilter.h"
#include "cycle/frmMain.h"
#include "store/modFolders.h"
#include "ui/RuleEditorWindow.h"
#include "ui/TrainingWindow.h"

#include <QPointer>

namespace corva::ui {

RuleEditorWindow* openRuleEditor(QWidget* parent, frmMain& main, bool isLocal,
                                 const clsMessage* fromMessage, const std::string& filterName) {
    frmFilters& set = isLocal ? main.LocalFilters() : main.ServerFilters();
    auto* w = new RuleEditorWindow(set, parent);
    w->setAttribute(Qt::WA_DeleteOnClose);
    FilterEditor& editor = w->editor();
    editor.setOnSaved([&main] { main.ReloadRules(); });
    editor.DisplayFilters(isLocal, FillFolderCombo().entries);
    if (fromMessage)
        editor.StartFromMessage(*fromMessage);
    else if (!filterName.empty())
        editor.SelectFilter(filterName);
    // Window-modal without a loop of its own, so shutdown can still close it.
    w->open();
    return w;
}

TrainingWindow* openTrainingWindow(QWidget* parent, frmMain& main) {
    // One training window at a time: the classifier has one listener.
    static QPointer<TrainingWindow> open;
    if (open) {
        open->raise();
        open->activateWindow();
        return open;
    }
    auto* w = new TrainingWindow(main.BayesFilter(), parent);
    w->setAttribute(Qt::WA_DeleteOnClose);
    w->show();
    open = w;
    return w;
}

} // namespace corva::ui
