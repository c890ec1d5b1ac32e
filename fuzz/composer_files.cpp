// The composer's own files on any bytes: Inserts.txt comes back from a save
// as it was read, and an auto-reply template's subject and attachment lines
// never carry a line end into the message while its text stays the file's end.
#include "FuzzSupport.h"

#include "mailer/clsInserts.h"
#include "mailer/modAutoReply.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    const auto pieces = fuzz::split(fuzz::asText(data, size), "\x01", 2);

    clsInserts read;
    read.setFilePath(fuzz::writeFile("Inserts.txt", pieces[0]));
    read.loadinserts();
    if (read.saveinserts()) {
        clsInserts again;
        again.setFilePath(read.FilePath());
        again.loadinserts();
        if (again.Count() != read.Count()) std::abort();
        for (long i = 1; i <= read.Count(); ++i)
            if (again.Insert(i).Title != read.Insert(i).Title ||
                again.Insert(i).Filename != read.Insert(i).Filename)
                std::abort();
    }

    if (pieces.size() < 2) return 0;
    const std::string text(pieces[1]);
    const AutoReplyTemplate reply = parseAutoReply(text, "/t/");
    for (const std::string* line : {&reply.subject, &reply.attachment, &reply.chooseFrom})
        if (line->find_first_of("\r\n") != std::string::npos) std::abort();
    if (reply.text.size() > text.size() ||
        text.compare(text.size() - reply.text.size(), std::string::npos, reply.text) != 0)
        std::abort();
    return 0;
}
