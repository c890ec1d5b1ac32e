#include "FuzzFilters.h"

#include "FuzzSupport.h"

namespace corva::fuzz {

namespace {

// One rule per action, conditions on every field, and a stop, so every rung
// of the check is reachable.
constexpr const char* Rules = "FilterName, Casino\r\n"
                              "FilterField, Subject:\r\n"
                              "FilterComparison, cnt\r\n"
                              "FilterString, casino\r\n"
                              "FilterAction, 0\r\n"
                              "FilterStop, -1\r\n"
                              "FilterName, Maybe\r\n"
                              "FilterField, From:\r\n"
                              "FilterComparison, cnt\r\n"
                              "FilterString, offers\r\n"
                              "FilterField, Message Body\r\n"
                              "FilterComparison, !cnt\r\n"
                              "FilterString, unsubscribe\r\n"
                              "FilterAction, 1\r\n"
                              "FilterName, Lists\r\n"
                              "FilterField, To:\r\n"
                              "FilterComparison, cnt\r\n"
                              "FilterString, list@\r\n"
                              "FilterField, X-Envelope-To:\r\n"
                              "FilterComparison, !cnt\r\n"
                              "FilterString, boss\r\n"
                              "FilterAction, 2\r\n"
                              "FilterDest, Lists\\Daily\r\n"
                              "FilterName, Friends\r\n"
                              "FilterField, All Headers\r\n"
                              "FilterComparison, cnt\r\n"
                              "FilterString, x-friend\r\n"
                              "FilterAction, 3\r\n"
                              "Filter_Category, 1\r\n";

} // namespace

frmFilters& startingFilters() {
    static frmFilters* filters = [] {
        writeFile("Rules.txt", Rules);
        writeFile("Blocked.txt", "spammer@bad.example\r\nOffers@Shop.Example\r\n");
        writeFile("BlockedDomains.txt", "bad.example\r\n.ru\r\n");
        writeFile("BlockedRecipDomains.txt", "old.example\r\n");
        writeFile("BlockedRecip.txt", "former@corva.example\r\n");
        writeFile("Ignore.txt", "shared@corva.example\r\n");
        auto* f = new frmFilters(folder());
        f->ReloadFilters(false);
        return f;
    }();
    return *filters;
}

} // namespace corva::fuzz
