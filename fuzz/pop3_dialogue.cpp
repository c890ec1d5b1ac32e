// The POP3 session against a server whose every reply is the fuzzer's. The
// first byte picks the mode and the switches (a retrieve's own: TLS,
// deleting); the rest, cut at each NUL, is what the server says, one data
// event per piece.
#include "FuzzFilters.h"
#include "FuzzSupport.h"
#include "ScriptedNet.h"

#include "core/mSHAREDSettings.h"
#include "pop3/frmGetMail.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace {

class Ending : public corva::frmGetMailEvents {
public:
    void Finished() override { finished = true; }
    bool finished = false;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    if (size < 1) return 0;
    static bool ready = [] {
        sset("SERVER0", "pop.corva.example:1100");
        sset("UNAME0", "ann");
        sset("PWD0", "secret");
        sset("TITLE0", "Fuzz");
        fuzz::startingFilters();
        return true;
    }();
    (void)ready;
    const uint8_t switches = data[0];
    sset("STOPATLAST0", (switches & 8) != 0);
    // A retrieve over TLS (to a server naming PIPELINING) sends commands ahead.
    const bool retrieving = (switches & 3) == 2;
    sset("POPSECURITY0", retrieving && (switches & 0x10) ? 1 : 0);
    sset("DELETEONRETRIEVE", retrieving && (switches & 0x20) ? 1 : 0);
    std::vector<std::string> replies;
    for (std::string_view piece :
         fuzz::split(fuzz::asText(data + 1, size - 1), std::string_view("\0", 1)))
        replies.emplace_back(piece);

    fuzz::ScriptedNet net(std::move(replies));
    Ending ending;
    {
        frmGetMail session;
        session.setListener(&ending);
        session.setRuleChecks(&fuzz::startingFilters(), nullptr);
        const bool deleteBlocked = (switches & 4) != 0;
        switch (switches & 3) {
        case 0:
        case 1:
            session.GetHeaders(0, deleteBlocked, true);
            break;
        case 2:
            session.GetMessages(0, deleteBlocked, true);
            break;
        case 3:
            session.GetSpecificMessage(0, (switches >> 4) + 1);
            break;
        }
        // Every reply, the close, then the time-out: a bound keeps a session
        // that waits on its timer for ever from hanging the run.
        for (int steps = 0; !ending.finished && steps < 100000 && net.step(); ++steps) {
        }
        if (switches & 0x80) session.CancelMail();
    }
    return 0;
}
