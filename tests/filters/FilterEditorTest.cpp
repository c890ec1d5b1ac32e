// The rule editor driven through a recording view: what it shows, what it
// asks, and what reaches the rules file.
#include "FilterFixture.h"

#include "core/FileSubs.h"
#include "core/Strings.h"
#include "filters/FilterEditor.h"
#include "platform/Platform.h"
#include "support/RecordingPlatform.h"

namespace corva::test {
namespace {

class RecordingEditorView : public FilterEditorView {
public:
    void SetHeading(const std::string& h) override { heading = h; }
    void FillCombos(const FilterEditorLists& l) override { lists = l; }
    void ShowFilterList(const std::vector<std::string>& n) override { names = n; }
    void SelectLine(int l) override { line = l; }
    void ShowForm(const FilterForm& f) override { form = f; }
    void SetFilterName(const std::string& n) override { form.name = n; }
    void EnableMailFolders(bool on) override { foldersOn = on; }
    FilterForm ReadForm() const override { return form; }
    std::string SearchText() const override { return search; }
    std::string AskSaveFile(const std::string&) override { return file; }
    std::string AskOpenFile(const std::string&) override { return file; }
    void CloseWindow() override { closed = true; }

    std::string heading, search, file;
    FilterEditorLists lists;
    std::vector<std::string> names;
    int line = -1;
    FilterForm form;
    bool foldersOn = false, closed = false;
};

class FilterEditorTest : public FilterTest {
protected:
    FilterEditorTest() : scoped_(platform_) {}
    void SetUp() override {
        FilterTest::SetUp();
        editor.setOnSaved([this] { ++saves; });
        open();
    }
    void open() {
        filters.Filters().clear();
        for (const char* name : {"Alpha", "Beta", "Gamma"})
            add(makeFilter(name, {{"Subject:", "cnt", LCase(name)}}, 0));
        add(makeFilter("Lists", {{"To:", "cnt", "list@"}}, 2, false, "\\Lists\\"));
        editor.DisplayFilters(true, {"/Inbox/", "/Lists/"});
    }
    std::vector<std::string>& asked() { return platform_.prompts_.messages; }
    void answer(platform::Answer a) { platform_.prompts_.answer = a; }

    RecordingPlatform platform_;
    platform::ScopedPlatform scoped_;
    RecordingEditorView view;
    FilterEditor editor{filters, view};
    int saves = 0;
};

TEST_F(FilterEditorTest, OpensOnTheFirstFilterAndShowsEachOnClick) {
    EXPECT_EQ(view.heading, "These filters will move inbound messages to selected folders");
    EXPECT_EQ(view.names, (std::vector<std::string>{"Alpha", "Beta", "Gamma", "Lists"}));
    EXPECT_EQ(view.lists.folders.size(), 2u);
    EXPECT_EQ(view.line, 1);
    EXPECT_EQ(view.form.name, "Alpha");
    EXPECT_TRUE(view.form.rows[0].on);
    EXPECT_FALSE(view.foldersOn);

    editor.listview1_click(4);
    EXPECT_EQ(view.form.actionIndex, 2);
    EXPECT_EQ(view.form.mailFolder, "/Lists/"); // found whatever the slashes
    EXPECT_TRUE(view.foldersOn);
    EXPECT_EQ(findmailfolder("\\Gone\\", view.lists.folders), "/Inbox/");

    FilterEditor server(filters, view);
    server.DisplayFilters(false, {"/Inbox/"});
    EXPECT_EQ(view.heading, "These filters will delete spam based on header fields");
    EXPECT_TRUE(view.lists.folders.empty());
}

TEST_F(FilterEditorTest, SaveAndExitWritesTheWholeSetOnce) {
    view.form.name = "Delta, new";
    view.form.rows[0] = {true, "From:", 1, "boss"};
    editor.cmdSaveAndExit_Click();
    EXPECT_TRUE(view.closed);
    EXPECT_EQ(saves, 1);
    FilterCollection onDisk;
    frmFilters::LoadFilters(onDisk, filters.CurrentRulesPath(), true);
    ASSERT_EQ(onDisk.size(), 5u);
    EXPECT_EQ(onDisk[4].FilterName, "Delta  new");
    EXPECT_EQ(onDisk[4].Comparisons(1), "!cnt");

    // A form the save refuses keeps the window and the file.
    view.closed = false;
    view.form.name = "";
    editor.cmdSaveAndExit_Click();
    EXPECT_FALSE(view.closed);
    EXPECT_EQ(asked().back(), "Please supply a name for this filter");
    EXPECT_EQ(saves, 1);
}

TEST_F(FilterEditorTest, LeavingAsksOnlyWhenSomethingWouldBeLost) {
    const std::string lose = "You will lose your changes - are you sure?";
    editor.cmdExitWithoutSave_Click();
    EXPECT_TRUE(view.closed);
    EXPECT_TRUE(asked().empty());

    // A stored filter that never reached the file counts on leaving, not on Find.
    view.closed = false;
    view.form.name = "Stored";
    editor.cmdUpdate_Click();
    view.search = "gam";
    editor.cmdFind_Click();
    EXPECT_TRUE(asked().empty());
    EXPECT_EQ(view.line, 3);
    editor.cmdExitWithoutSave_Click();
    EXPECT_EQ(asked(), std::vector<std::string>{lose});
    EXPECT_FALSE(view.closed);
    EXPECT_EQ(filters.Filters().size(), 5u); // the collection keeps it
    EXPECT_FALSE(FileExists(filters.CurrentRulesPath()));

    // An edited form: Find, Next and Top ask first; No stays put.
    editor.FormChanged();
    editor.cmdNext_Click();
    editor.cmdMove_Click(FilterMove::Top);
    EXPECT_EQ(asked().size(), 3u);
    EXPECT_EQ(view.line, 3);
    answer(platform::Answer::Yes);
    editor.cmdExitWithoutSave_Click();
    EXPECT_TRUE(view.closed);
}

TEST_F(FilterEditorTest, MovesKeepTheMovedFilterSelected) {
    struct Case {
        int from;
        FilterMove move;
        int to;
        const char* order;
    };
    for (const Case& c : {Case{2, FilterMove::Top, 1, "Beta Alpha Gamma Lists"},
                          Case{2, FilterMove::Up10, 1, "Beta Alpha Gamma Lists"},
                          Case{2, FilterMove::Down, 3, "Alpha Gamma Beta Lists"},
                          Case{2, FilterMove::Down10, 4, "Alpha Gamma Lists Beta"},
                          Case{1, FilterMove::Bottom, 4, "Beta Gamma Lists Alpha"},
                          Case{1, FilterMove::Up, 1, "Alpha Beta Gamma Lists"}}) {
        open();
        editor.listview1_click(c.from);
        editor.cmdMove_Click(c.move);
        EXPECT_EQ(Join(view.names, " "), c.order);
        EXPECT_EQ(view.line, c.to);
    }
}

TEST_F(FilterEditorTest, CopyDeleteAndRename) {
    editor.listview1_click(2);
    editor.cmdDuplicate_Click();
    EXPECT_EQ(view.form.name, "Copy of Beta");
    EXPECT_EQ(filters.Filters().size(), 4u); // nothing stored until the next save
    editor.cmdUpdate_Click();
    EXPECT_EQ(view.names.back(), "Copy of Beta");

    editor.listview1_click(2);
    editor.cmdDelete_Click();
    EXPECT_EQ(view.names, (std::vector<std::string>{"Alpha", "Gamma", "Lists", "Copy of Beta"}));
    EXPECT_EQ(view.form.name, "Gamma");

    editor.listview1_afterlabeledit(1, "First, renamed");
    EXPECT_EQ(filters.Filters()[0].FilterName, "First  renamed");
}

TEST_F(FilterEditorTest, ExportAndImportThroughFiles) {
    filters.Filters()[1].Category = 1;
    view.file = dir.file("shared.txt");
    answer(platform::Answer::Yes);
    editor.cmdExportSharedFilters_Click();
    EXPECT_EQ(asked(), std::vector<std::string>{"Only save shared filters?"});
    FilterCollection exported;
    frmFilters::LoadFilters(exported, view.file, true);
    EXPECT_EQ(exported.size(), 3u);

    // The existing name wins; the new one lands at the end and in the file.
    writeFile(view.file, "Filtername, ALPHA \r\nFilterAction, 1\r\nFiltername, Omega\r\n"
                         "FilterField, To:\r\nFilterComparison, cnt\r\nFilterString, x\r\n");
    editor.cmdImportFilters_Click();
    EXPECT_EQ(view.names.back(), "Omega");
    EXPECT_EQ(filters.Filters()[0].Action, 0);
    EXPECT_EQ(saves, 1);
    FilterCollection onDisk;
    frmFilters::LoadFilters(onDisk, filters.CurrentRulesPath(), true);
    EXPECT_EQ(onDisk.size(), 5u);
}

} // namespace
} // namespace corva::test
