// Writes the program's icon as PNG files at the sizes desktops look for, from
// the same drawing the windows use, so the two never differ.
//
//   corva_render_icon FOLDER NAME SIZE...   -> FOLDER/SIZExSIZE/NAME.png
#include "ui/Icons.h"

#include <QApplication>
#include <QDir>
#include <QPixmap>

#include <cstdio>

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    if (argc < 4) {
        std::fprintf(stderr, "usage: corva_render_icon FOLDER NAME SIZE...\n");
        return 2;
    }
    const QString folder = QString::fromLocal8Bit(argv[1]);
    const QString name = QString::fromLocal8Bit(argv[2]);
    const QIcon icon = corva::ui::appIcon();
    for (int i = 3; i < argc; ++i) {
        const int size = QString::fromLocal8Bit(argv[i]).toInt();
        const QString dir = QStringLiteral("%1/%2x%2").arg(folder).arg(size);
        QDir().mkpath(dir);
        QPixmap pixmap = icon.pixmap(QSize(size, size));
        if (pixmap.size() != QSize(size, size))
            pixmap = pixmap.scaled(size, size, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        if (!pixmap.save(dir + "/" + name + ".png", "PNG")) {
            std::fprintf(stderr, "corva_render_icon: can't write %s\n", qPrintable(dir));
            return 1;
        }
    }
    return 0;
}
