// "corva print FILE.eml [--pdf OUT.pdf]": a message printed as the mailer
// prints it (the header block, then the text in word-wrapped pages with page
// numbers), to the default printer or into a PDF file with no printer at all.
#include "app/Command.h"
#include "core/TerminalText.h"
#include "mailer/MessageDisplay.h"
#include "message/clsMessage.h"
#include "platform/Platform.h"

#include <iostream>
#include <string>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva print FILE.eml [--pdf OUT.pdf]";

int run(CommandArgs& args) {
    const auto pdf = args.option("--pdf", "a file name");
    std::string file, text;
    if (auto status = readOneFile(args, Usage, file, text)) return *status;
    clsMessage m;
    m.CreateFromText(text, false);
    const platform::PrintTarget target =
        pdf ? platform::PrintTarget::Pdf : platform::PrintTarget::DefaultPrinter;
    const int pages =
        platform::current().printer().print(buildPrintJob(m), target, pdf ? *pdf : "");
    if (pages == 0) {
        std::cerr << (pdf ? "Couldn't write " + terminalLine(*pdf)
                          : std::string("No printer to print on; --pdf OUT.pdf writes a file"))
                  << "\n";
        return 1;
    }
    std::cout << "Printed " << pages << (pages == 1 ? " page" : " pages");
    if (pdf) std::cout << " into " << terminalLine(*pdf);
    std::cout << "\n";
    return 0;
}

const CommandRegistration registration({
    "print",
    Usage,
    "Print a mail file as the mailer prints it",
    "Prints the header block (From, To, Cc when there is one, Date, Subject) and\n"
    "the text the preview shows, word-wrapped on A4 pages numbered \"Page N of M\",\n"
    "on the default printer without asking, or with --pdf into a PDF file, which\n"
    "needs no printer. Prints \"Printed N pages\"; exit status 1 when nothing could\n"
    "be printed. Needs no display.",
    run,
});

} // namespace
} // namespace corva::app
