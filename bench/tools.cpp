// The mail tools on a big store: header and body search over N generated
// messages (memory measured at N/5 and N), import of an mbox of M messages
// and its export back compared message for message, and archiving the store.
// The corpus is generated (bench/Corpus.h), not real mail.
//   bench_tools [N=50000] [M=10000] [--keep]
#include "BenchSupport.h"
#include "Corpus.h"

#include "core/AppInfo.h"
#include "core/Globals.h"
#include "store/modFolders.h"
#include "tools/frmArchive.h"
#include "tools/frmImportMail.h"
#include "tools/frmSearch.h"
#include "tools/modExport.h"
#include "tools/modMbox.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <sstream>
#include <vector>

using namespace corva;
using namespace corva::bench;
namespace fs = std::filesystem;

namespace {

// Read, and received on a day between 2021 and 2024, so archiving moves it.
std::string storedMessage(int i) {
    char received[64];
    std::snprintf(received, sizeof received, "X-Receive-Date: %04d-%02d-%02d 10:15:00\r\n",
                  2021 + i % 4, 1 + i % 12, 1 + i % 28);
    return "X-Message-Read: 1\r\n" + std::string(received) + realisticMessage(i);
}

struct Counting : frmSearchView {
    long found = 0;
    void AddResult(const SearchResult&) override { ++found; }
};

struct Run {
    double wall, cpu;
    long found, searched, peakGrowthKb;
};

// As the command searches (rows printed, not kept), or as the window (kept).
Run search(const SearchQuery& query, bool keepRows = false) {
    Counting view;
    frmSearch s;
    s.setView(&view);
    s.KeepResults(keepRows);
    const long peak = peakKb();
    const auto t = Clock::now();
    const double cpu = cpuSeconds();
    s.cmdsearch_click(query);
    return {secondsSince(t), cpuSeconds() - cpu, view.found, s.Searched(), peakKb() - peak};
}

void report(const char* what, const Run& r) {
    std::printf("%-34s %6ld messages in %6.2f s (processor %6.2f s): %8.0f messages/s, "
                "%ld found, peak memory +%ld kB\n",
                what, r.searched, r.wall, r.cpu, r.searched / std::max(r.wall, 1e-9), r.found,
                r.peakGrowthKb);
}

std::vector<std::string> messagesOf(const std::string& mboxFile) {
    std::ifstream in(mboxFile, std::ios::binary);
    MboxReader reader(in);
    std::vector<std::string> all;
    for (std::string m; reader.next(m);) all.push_back(m);
    std::sort(all.begin(), all.end());
    return all;
}

} // namespace

int main(int argc, char** argv) {
    long n = 50000, m = 10000;
    bool keep = false;
    int numbers = 0;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--keep") == 0)
            keep = true;
        else
            (numbers++ == 0 ? n : m) = std::atol(argv[i]);
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    std::string home = (fs::temp_directory_path() / "corva-bench-tools-XXXXXX").string();
    if (!mkdtemp(home.data())) return 1;
    home += "/";
    SetAppPath(home);
    readmessagefolder();
    std::printf("generated corpus (not real mail): %ld messages in 5 folders, an mbox of %ld\n", n,
                m);

    // Five folders of N/5: the small search reads one, the big one all.
    auto t = Clock::now();
    long bytes = 0;
    for (long i = 0; i < n; ++i) {
        const std::string folder = MessageFolder + "Inbox/Part" + std::to_string(i % 5) + "/";
        if (i < 5) fs::create_directories(folder);
        const std::string text = storedMessage(static_cast<int>(i));
        bytes += static_cast<long>(text.size());
        std::ofstream(folder + "message " + std::to_string(i) + ".eml", std::ios::binary) << text;
    }
    std::printf("store written in %.1f s, %.0f MB\n", secondsSince(t), bytes / 1048576.0);

    const std::string part0 = MessageFolder + "Inbox/Part0/";
    const std::string inbox = MessageFolder + "Inbox/";
    auto query = [](const std::string& folder, bool subfolders) {
        SearchQuery q;
        q.Folder = folder;
        q.Subfolders = subfolders;
        return q;
    };
    SearchQuery headerSmall = query(part0, false), headerAll = query(inbox, true);
    headerSmall.From = headerAll.From = "nobody@nowhere.test";
    SearchQuery subject = query(inbox, true);
    subject.Subject = "invoice";
    SearchQuery bodySmall = query(part0, false), bodyAll = query(inbox, true);
    bodySmall.Message = bodyAll.Message = "quarterly;budget";
    report("header search, N/5 (one folder)", search(headerSmall));
    const Run header = search(headerAll);
    report("header search, N (with sub-folders)", header);
    report("subject search, N", search(subject));
    report("body search, N/5", search(bodySmall));
    const Run body = search(bodyAll);
    report("body search, N", body);
    report("body search, N, rows kept (window)", search(bodyAll, true));

    // An mbox as another client writes it: LF line ends, ">From " quoted.
    const std::string mboxIn = home + "in.mbox", mboxOut = home + "out.mbox";
    {
        std::ofstream out(mboxIn, std::ios::binary);
        for (long i = 0; i < m; ++i)
            out << "From sender" << i << "@example.com Mon Mar  4 10:15:00 2024\n"
                << QuoteFromLines(ToUnixLineEnds(realisticMessage(static_cast<int>(n + i))))
                << "\n";
    }
    ToolListener quiet;
    frmImportMail import;
    t = Clock::now();
    double cpu = cpuSeconds();
    const ImportOutcome imported = import.cmdimport_click(mboxIn, false);
    std::printf("import of an mbox of %ld: %ld imported in %.2f s (processor %.2f s)\n", m,
                imported.Imported, secondsSince(t), cpuSeconds() - cpu);
    t = Clock::now();
    const ExportOutcome exported =
        ExportFolderToMbox(frmImportMail::ImportedFolder(), mboxOut, quiet);
    std::printf("export back: %ld messages in %.2f s\n", exported.Exported, secondsSince(t));
    const auto before = messagesOf(mboxIn), after = messagesOf(mboxOut);
    std::printf("round trip: %s (%zu and %zu messages)\n",
                before == after ? "every message byte-identical" : "MESSAGES DIFFER", before.size(),
                after.size());

    frmArchive archive;
    t = Clock::now();
    cpu = cpuSeconds();
    const ArchiveOutcome archived = archive.archivemail(DateTime::today());
    std::printf("archive of the store: %ld moved in %.2f s (processor %.2f s)\n", archived.Moved,
                secondsSince(t), cpuSeconds() - cpu);

    const bool ok = header.searched / header.wall >= 20000 && body.searched / body.wall >= 5000 &&
                    before == after && imported.Imported == m;
    if (!keep)
        fs::remove_all(home);
    else
        std::printf("kept %s\n", home.c_str());
    return ok ? 0 : 1;
}
