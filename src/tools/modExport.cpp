#include "tools/modExport.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/mSHAREDDelay.h"
#include "core/modSubs.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"
#include "store/modMessageFiles.h"
#include "tools/modMbox.h"

#include <algorithm>

namespace corva {

ExportOutcome ExportFolderToMbox(const std::string& folder, const std::string& mboxFile,
                                 ToolListener& listener) {
    ExportOutcome outcome;
    guarded("ExportFolderToMbox", "modExport", [&] {
        std::vector<std::string> names;
        FillFiles(folder, "EML", names);
        std::sort(names.begin(), names.end());
        listener.SetBusy(true);
        std::string mbox;
        const size_t total = names.size();
        for (size_t i = 0; i < total && !outcome.Stopped; ++i) {
            const std::string path = addslash(ResolvePath(ToSlashes(folder))) + names[i];
            std::string text;
            if (LoadTextFile(path, text) && !text.empty()) {
                auto header = readmessageheader(path);
                auto sent = ParseDate(header->SendDate);
                mbox += MboxEntry(text, extractemail(header->From),
                                  (sent ? *sent : FileDate(path)).toTimeT());
                ++outcome.Exported;
            }
            if ((i + 1) % 100 == 0 || i + 1 == total)
                listener.Status(gettranslation("Exporting ") + std::to_string(i + 1) + "/" +
                                std::to_string(total));
            DoEvents();
            if (listener.StopRequested()) outcome.Stopped = true;
        }
        outcome.Written = WriteFileInSlices(mboxFile, mbox, Durability::Synced, true);
        listener.SetBusy(false);
    });
    return outcome;
}

} // namespace corva
