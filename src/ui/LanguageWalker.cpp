#include "ui/LanguageWalker.h"

#include "core/mSHAREDLogging.h"
#include "localise/modLanguages.h"
#include "platform/qt/QtDataFolders.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDockWidget>
#include <QFontDatabase>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPlainTextEdit>
#include <QStandardItemModel>
#include <QTabBar>
#include <QTableWidget>
#include <QTextEdit>
#include <QToolBox>
#include <QToolButton>
#include <QTreeWidget>
#include <QWizardPage>

#include <algorithm>
#include <functional>
#include <set>

namespace corva::ui {

namespace {

// Each text goes through this: translated in place, or collected.
using Visit = std::function<QString(const QString&)>;

// The language a widget or action was last walked into (absent: English).
const char* const LanguageMark = "corvaLanguage";
// Set on a combo box whose items are texts of the program, not data.
const char* const TranslateItems = "corvaTranslateItems";
// Set on a read-only text box that holds help text rather than data.
const char* const HelpText = "corvaHelpText";
const char* const OwnFamily = "corvaOwnFamily";

void apply(const QString& text, const Visit& visit,
           const std::function<void(const QString&)>& set) {
    if (text.isEmpty()) return;
    const QString result = visit(text);
    if (result != text) set(result);
}

void visitAction(QAction& action, const Visit& visit) {
    // Qt makes a tool tip from the text when none is set; only an own one counts.
    const bool ownTip = action.toolTip() != QString(action.text()).remove(QLatin1Char('&'));
    apply(action.text(), visit, [&](const QString& t) { action.setText(t); });
    if (ownTip) apply(action.toolTip(), visit, [&](const QString& t) { action.setToolTip(t); });
}

void visitHeaders(QAbstractItemView& view, const Visit& visit) {
    if (auto* tree = qobject_cast<QTreeWidget*>(&view)) {
        QTreeWidgetItem* header = tree->headerItem();
        for (int c = 0; header && c < header->columnCount(); ++c)
            apply(header->text(c), visit, [&](const QString& t) { header->setText(c, t); });
        return;
    }
    if (auto* table = qobject_cast<QTableWidget*>(&view)) {
        for (int c = 0; c < table->columnCount(); ++c)
            if (QTableWidgetItem* item = table->horizontalHeaderItem(c))
                apply(item->text(), visit, [&](const QString& t) { item->setText(t); });
        return;
    }
    QAbstractItemModel* model = view.model();
    if (!model) return;
    const int columns = model->columnCount();
    if (qobject_cast<QStandardItemModel*>(model)) {
        for (int c = 0; c < columns; ++c)
            apply(model->headerData(c, Qt::Horizontal).toString(), visit,
                  [&](const QString& t) { model->setHeaderData(c, Qt::Horizontal, t); });
        return;
    }
    // The program's own models translate their headings as they hand them out.
    for (int c = 0; c < columns; ++c) visit(model->headerData(c, Qt::Horizontal).toString());
    if (columns > 0) emit model->headerDataChanged(Qt::Horizontal, 0, columns - 1);
}

// The one table of what is translated on each kind of widget.
void visitWidget(QWidget& w, const Visit& visit) {
    if (w.isWindow() || qobject_cast<QDockWidget*>(&w))
        apply(w.windowTitle(), visit, [&](const QString& t) { w.setWindowTitle(t); });
    apply(w.toolTip(), visit, [&](const QString& t) { w.setToolTip(t); });
    if (auto* label = qobject_cast<QLabel*>(&w)) {
        apply(label->text(), visit, [&](const QString& t) { label->setText(t); });
    } else if (auto* button = qobject_cast<QAbstractButton*>(&w)) {
        // A tool button showing an action takes its text from the action.
        auto* tool = qobject_cast<QToolButton*>(&w);
        if (!tool || !tool->defaultAction())
            apply(button->text(), visit, [&](const QString& t) { button->setText(t); });
    } else if (auto* group = qobject_cast<QGroupBox*>(&w)) {
        apply(group->title(), visit, [&](const QString& t) { group->setTitle(t); });
    } else if (auto* tabs = qobject_cast<QTabBar*>(&w)) {
        for (int i = 0; i < tabs->count(); ++i) {
            apply(tabs->tabText(i), visit, [&](const QString& t) { tabs->setTabText(i, t); });
            apply(tabs->tabToolTip(i), visit, [&](const QString& t) { tabs->setTabToolTip(i, t); });
        }
    } else if (auto* box = qobject_cast<QToolBox*>(&w)) {
        for (int i = 0; i < box->count(); ++i)
            apply(box->itemText(i), visit, [&](const QString& t) { box->setItemText(i, t); });
    } else if (auto* line = qobject_cast<QLineEdit*>(&w)) {
        apply(line->placeholderText(), visit,
              [&](const QString& t) { line->setPlaceholderText(t); });
    } else if (auto* plain = qobject_cast<QPlainTextEdit*>(&w)) {
        apply(plain->placeholderText(), visit,
              [&](const QString& t) { plain->setPlaceholderText(t); });
        if (plain->isReadOnly() && plain->property(HelpText).toBool())
            apply(plain->toPlainText(), visit, [&](const QString& t) { plain->setPlainText(t); });
    } else if (auto* edit = qobject_cast<QTextEdit*>(&w)) {
        apply(edit->placeholderText(), visit,
              [&](const QString& t) { edit->setPlaceholderText(t); });
        if (edit->isReadOnly() && edit->property(HelpText).toBool())
            apply(edit->toPlainText(), visit, [&](const QString& t) { edit->setPlainText(t); });
    } else if (auto* combo = qobject_cast<QComboBox*>(&w)) {
        if (combo->property(TranslateItems).toBool())
            for (int i = 0; i < combo->count(); ++i)
                apply(combo->itemText(i), visit,
                      [&](const QString& t) { combo->setItemText(i, t); });
    } else if (auto* menu = qobject_cast<QMenu*>(&w)) {
        apply(menu->title(), visit, [&](const QString& t) { menu->setTitle(t); });
    } else if (auto* page = qobject_cast<QWizardPage*>(&w)) {
        apply(page->title(), visit, [&](const QString& t) { page->setTitle(t); });
        apply(page->subTitle(), visit, [&](const QString& t) { page->setSubTitle(t); });
    }
    // A header view shares its view's model, whose headings the view handles.
    auto* view = qobject_cast<QAbstractItemView*>(&w);
    if (view && !qobject_cast<QHeaderView*>(&w)) visitHeaders(*view, visit);
}

// Calls each on the window and every widget and action under it, once each;
// menus that hang on buttons and actions without being children count too.
class Walk {
public:
    explicit Walk(std::function<void(QObject&)> each) : each_(std::move(each)) {}
    void widget(QWidget* w) {
        if (!w || !seen_.insert(w).second) return;
        each_(*w);
        for (QAction* action : w->actions()) {
            if (seen_.insert(action).second) each_(*action);
            if (action->menu()) widget(action->menu());
        }
        if (auto* tool = qobject_cast<QToolButton*>(w)) widget(tool->menu());
        for (QObject* child : w->children()) widget(qobject_cast<QWidget*>(child));
    }

private:
    std::function<void(QObject&)> each_;
    std::set<QObject*> seen_;
};

// Language files are UTF-8, whatever the texts of mail are.
std::string utf8(const QString& text) {
    return text.toUtf8().toStdString();
}
QString fromUtf8(const std::string& bytes) {
    return QString::fromUtf8(bytes.data(), static_cast<qsizetype>(bytes.size()));
}

QString translate(const QString& text) {
    const std::string bytes = utf8(text);
    const std::string result = gettranslation(bytes);
    return result == bytes ? text : fromUtf8(result);
}

// One widget or action into the current language, unless it is in it already.
void translateOne(QObject& object) {
    const int target = LanguageGeneration();
    if (object.property(LanguageMark).toInt() == target) return;
    if (auto* w = qobject_cast<QWidget*>(&object))
        visitWidget(*w, translate);
    else if (auto* action = qobject_cast<QAction*>(&object))
        visitAction(*action, translate);
    object.setProperty(LanguageMark, target);
}

void translateAllWindows() {
    for (QWidget* window : QApplication::topLevelWidgets()) {
        translateform(*window);
    }
}

// A widget made after the last walk takes the language when it first shows.
class ShowHook : public QObject {
public:
    using QObject::QObject;
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Show && watched->isWidgetType() &&
            watched->property(LanguageMark).toInt() != LanguageGeneration()) {
            auto* w = static_cast<QWidget*>(watched);
            translateOne(*w);
            for (QAction* action : w->actions()) translateOne(*action);
            if (w->isWindow()) ChangeFont(*w);
        }
        return false;
    }
};

} // namespace

void translateform(QWidget& window) {
    Walk([](QObject& o) { translateOne(o); }).widget(&window);
    ChangeFont(window);
}

void localise(QWidget& window) {
    if (CurrentLanguage() != "English") translateform(window);
}

void ChangeFont(QWidget& window) {
    const QString family = fromUtf8(LanguageFont());
    if (!family.isEmpty() && !QFontDatabase::hasFamily(family)) {
        LogAction("Cannot set font to " + LanguageFont() + ". Not present.");
        ClearLanguageFont();
        return ChangeFont(window);
    }
    // Each widget's own family is noted before any is changed: a parent's
    // new font reaches the children that inherit it.
    if (!family.isEmpty())
        Walk([](QObject& o) {
            if (o.isWidgetType() && !o.property(OwnFamily).isValid())
                o.setProperty(OwnFamily, static_cast<QWidget&>(o).font().family());
        }).widget(&window);
    Walk([&](QObject& o) {
        auto* w = qobject_cast<QWidget*>(&o);
        if (!w) return;
        QFont font = w->font();
        if (font.family() == QStringLiteral("Webdings")) return;
        const QVariant own = w->property(OwnFamily);
        if (family.isEmpty()) {
            // Back to the family the widget had before any language's font.
            if (!own.isValid()) return;
            font.setFamily(own.toString());
            w->setProperty(OwnFamily, QVariant());
        } else {
            font.setFamily(family);
        }
        w->setFont(font);
    }).widget(&window);
}

std::vector<std::string> formTexts(QWidget& window) {
    std::vector<std::string> texts;
    const Visit collect = [&](const QString& text) {
        // Texts without a letter (numbers, symbols) need no translation.
        const bool letters =
            std::any_of(text.begin(), text.end(), [](QChar c) { return c.isLetter(); });
        std::string bytes = utf8(text);
        if (letters && bytes.size() > 1 &&
            std::find(texts.begin(), texts.end(), bytes) == texts.end())
            texts.push_back(std::move(bytes));
        return text;
    };
    Walk([&](QObject& o) {
        if (auto* w = qobject_cast<QWidget*>(&o))
            visitWidget(*w, collect);
        else if (auto* action = qobject_cast<QAction*>(&o))
            visitAction(*action, collect);
    }).widget(&window);
    return texts;
}

QString translated(const QString& text) {
    return CurrentLanguage() == "English" ? text : fromUtf8(TranslateLabelled(utf8(text)));
}

void installLanguages() {
    SetLanguageFolders(platform::qt::programDataFolders("languages"));
    SetWindowWalker(translateAllWindows);
    static ShowHook* hook = nullptr;
    if (!hook) {
        hook = new ShowHook(qApp);
        qApp->installEventFilter(hook);
    }
}

} // namespace corva::ui
