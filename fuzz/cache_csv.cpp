// A folder's cache.csv: rows of |-|-separated fields matched against the
// folder's files, listed as the mailer lists them, then written back.
#include "FuzzSupport.h"

#include "store/clsCache.h"
#include "store/clsMailer.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/stat.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    static const std::string inbox = [] {
        ::mkdir((fuzz::folder() + "Messages/Inbox").c_str(), 0700);
        // One unread and one read message, so rows can match, miss, or repeat.
        fuzz::writeFile("Messages/Inbox/ONE.EML",
                        "From: Ann <ann@corva.example>\r\nSubject: one\r\n\r\nbody\r\n");
        fuzz::writeFile("Messages/Inbox/two.eml",
                        "From: Bob <bob@corva.example>\r\nSubject: two\r\n"
                        "Date: Tue, 3 Jun 2008 11:05:30 +0200\r\n\r\nbody\r\n");
        return fuzz::folder() + "Messages/Inbox/";
    }();
    fuzz::writeFile("Messages/Inbox/cache.csv", fuzz::asText(data, size));
    clsCache cache;
    cache.fillcache(nullptr, inbox, "Inbox");
    clsMailer mailer;
    mailer.PopulateFromCache(cache, (size & 1) != 0);
    if (cache.Count() > 0) {
        const std::string name = cache.Item(1)->Filename();
        cache.MarkMsgReadUnread(name, true);
        cache.MarkMsgPriority(name, true);
        cache.RemoveByFilename(name);
    }
    cache.WriteCache();
    return 0;
}
