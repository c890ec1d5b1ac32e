// Printing on Qt: the header block and word-wrapped text laid out into pages
// with a page number at each foot, for a printer, the preview or a PDF file.
#include "platform/qt/QtPlatform.h"

#include <QFont>
#include <QFontDatabase>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QPageLayout>
#include <QPainter>
#include <QPrintDialog>
#include <QPrintPreviewDialog>
#include <QPrinter>
#include <QPrinterInfo>
#include <QTextLayout>
#include <QTextOption>

#include <vector>

namespace corva::platform::qt {

namespace {

struct PrintLine {
    QString text;
    bool bold = false;
    bool rule = false; // the line between header block and text
};

QString fromUtf8(const std::string& text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

// One paragraph broken into lines that fit width, long words broken anywhere.
void wrap(const QString& paragraph, const QFont& font, qreal width, bool bold,
          std::vector<PrintLine>& out, QPaintDevice* device) {
    if (paragraph.isEmpty()) {
        out.push_back({QString(), bold, false});
        return;
    }
    QTextLayout layout(paragraph, font, device);
    QTextOption option;
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(width);
        out.push_back({paragraph.mid(line.textStart(), line.textLength()), bold, false});
    }
    layout.endLayout();
}

int paint(QPrinter& printer, const PrintJob& job) {
    QPainter painter;
    if (!painter.begin(&printer)) return 0;
    const QRectF page = printer.pageLayout().paintRectPixels(printer.resolution());
    QFont font = QFontDatabase::systemFont(QFontDatabase::GeneralFont);
    font.setPointSizeF(10);
    QFont bold = font;
    bold.setBold(true);
    const QFontMetricsF metrics(font, &printer);
    const qreal lineHeight = metrics.lineSpacing();
    const qreal width = page.width();
    const qreal footer = lineHeight * 2;
    const int perPage = std::max(1, static_cast<int>((page.height() - footer) / lineHeight));

    std::vector<PrintLine> lines;
    for (const auto& [label, value] : job.header)
        wrap(fromUtf8(label) + QStringLiteral(": ") + fromUtf8(value), bold, width, true, lines,
             &printer);
    if (!job.header.empty()) lines.push_back({QString(), false, true});
    QString body = fromUtf8(job.body);
    body.replace(QLatin1Char('\t'), QStringLiteral("    "));
    QStringList paragraphs = body.split(QLatin1Char('\n'));
    if (!paragraphs.isEmpty() && paragraphs.back().isEmpty()) paragraphs.removeLast();
    for (const QString& paragraph : paragraphs)
        wrap(paragraph, font, width, false, lines, &printer);

    const int pages = std::max(1, static_cast<int>((lines.size() + perPage - 1) / perPage));
    for (int p = 0; p < pages; ++p) {
        if (p > 0) printer.newPage();
        qreal y = 0;
        for (size_t i = static_cast<size_t>(p) * perPage;
             i < lines.size() && i < static_cast<size_t>(p + 1) * perPage; ++i) {
            const PrintLine& line = lines[i];
            if (line.rule) {
                painter.drawLine(QPointF(0, y + lineHeight / 2),
                                 QPointF(width, y + lineHeight / 2));
            } else {
                painter.setFont(line.bold ? bold : font);
                painter.drawText(QPointF(0, y + metrics.ascent()), line.text);
            }
            y += lineHeight;
        }
        painter.setFont(font);
        QString number = QStringLiteral("Page %1 of %2").arg(p + 1).arg(pages);
        painter.drawText(QRectF(0, page.height() - lineHeight, width, lineHeight),
                         Qt::AlignHCenter | Qt::AlignBottom, number);
    }
    painter.end();
    return pages;
}

class QtPrinter : public Printer {
public:
    int print(const PrintJob& job, PrintTarget target, const std::string& pdfPath) override {
        // Fonts need a GUI application; a command-line run has only a core one.
        if (!qobject_cast<QGuiApplication*>(QCoreApplication::instance())) return 0;
        QPrinter printer(QPrinter::HighResolution);
        printer.setDocName(fromUtf8(job.title));
        switch (target) {
        case PrintTarget::Pdf:
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setOutputFileName(QString::fromStdString(pdfPath));
            printer.setPageSize(QPageSize(QPageSize::A4));
            return paint(printer, job);
        case PrintTarget::DefaultPrinter: {
            const QPrinterInfo info = QPrinterInfo::defaultPrinter();
            if (info.isNull()) return 0;
            printer.setPrinterName(info.printerName());
            return paint(printer, job);
        }
        case PrintTarget::Printer: {
            QPrintDialog dialog(&printer);
            if (dialog.exec() != QDialog::Accepted) return 0;
            return paint(printer, job);
        }
        case PrintTarget::Preview: {
            QPrintPreviewDialog preview(&printer);
            int pages = 0;
            QObject::connect(&preview, &QPrintPreviewDialog::paintRequested,
                             [&](QPrinter* device) { pages = paint(*device, job); });
            preview.exec();
            return pages;
        }
        }
        return 0;
    }
};

} // namespace

Printer& QtPlatform::printer() {
    static QtPrinter printer;
    return printer;
}

} // namespace corva::platform::qt
