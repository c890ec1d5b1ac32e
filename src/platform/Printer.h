// Printing a message: a header block and the text, laid out in pages by the
// platform. The logic says what to print; the platform knows fonts and paper.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace corva::platform {

struct PrintJob {
    std::string title;                                       // the document's name, UTF-8
    std::vector<std::pair<std::string, std::string>> header; // ("From", "Ann <a@x>"), UTF-8
    std::string body;                                        // UTF-8, lines end in "\n"
};

enum class PrintTarget {
    Printer,        // the print dialog, then the printer chosen
    Preview,        // the print preview window
    Pdf,            // straight into a PDF file, no printer needed
    DefaultPrinter, // the system's default printer, without asking
};

class Printer {
public:
    virtual ~Printer() = default;
    // The number of pages made; 0 when nothing was printed (cancelled, no
    // printer, or a platform that can't print: this default).
    virtual int print(const PrintJob& job, PrintTarget target, const std::string& pdfPath = "");
};

} // namespace corva::platform
