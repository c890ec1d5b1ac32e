#include "ui/Icons.h"

#include <QApplication>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>
#include <functional>

namespace corva::ui {

namespace {

using Draw = std::function<void(QPainter&, qreal)>; // draws on a unit square of the given size

bool darkPalette() {
    QColor window = QApplication::palette().color(QPalette::Window);
    return window.lightness() < 128;
}

QColor ink() {
    return darkPalette() ? QColor(0xE8, 0xEA, 0xED) : QColor(0x30, 0x36, 0x3D);
}
QColor accent() {
    return QColor(0x1E, 0x88, 0xE5);
}
QColor good() {
    return QColor(0x2E, 0x9D, 0x4A);
}
QColor warn() {
    return QColor(0xF0, 0x8C, 0x1A);
}
QColor bad() {
    return QColor(0xD9, 0x3A, 0x30);
}

QIcon render(const Draw& draw) {
    QIcon icon;
    // The toolbar's 28 and its double are drawn exactly, not scaled from a neighbour.
    for (int size : {16, 20, 22, 24, 28, 32, 40, 48, 56, 64, 96, 128, 256}) {
        QPixmap pixmap(size, size);
        pixmap.fill(Qt::transparent);
        QPainter p(&pixmap);
        p.setRenderHint(QPainter::Antialiasing);
        draw(p, size);
        p.end();
        icon.addPixmap(pixmap);
    }
    return icon;
}

// An envelope filling the rectangle.
void envelope(QPainter& p, const QRectF& r, const QColor& body, const QColor& line) {
    qreal w = std::max<qreal>(1.0, r.width() / 16.0);
    p.setPen(QPen(line, w, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(body);
    p.drawRoundedRect(r, r.width() * 0.08, r.width() * 0.08);
    QPainterPath flap;
    flap.moveTo(r.left() + w, r.top() + w);
    flap.lineTo(r.center().x(), r.top() + r.height() * 0.58);
    flap.lineTo(r.right() - w, r.top() + w);
    p.setBrush(Qt::NoBrush);
    p.drawPath(flap);
}

void badge(QPainter& p, qreal s, const QColor& colour) {
    p.setPen(QPen(Qt::white, s / 24.0));
    p.setBrush(colour);
    p.drawEllipse(QRectF(s * 0.56, s * 0.02, s * 0.42, s * 0.42));
}

// The bird-like mark of the program: a dark wing over an envelope.
void mark(QPainter& p, qreal s, qreal scale) {
    qreal inset = s * (1 - scale) / 2;
    QRectF r(inset, inset + s * 0.12 * scale, s * scale, s * 0.72 * scale);
    envelope(p, r, QColor(0xFA, 0xFB, 0xFC), QColor(0x26, 0x32, 0x38));
    QPainterPath wing;
    wing.moveTo(r.left() + r.width() * 0.10, r.bottom() - r.height() * 0.05);
    wing.cubicTo(r.left() + r.width() * 0.35, r.top() + r.height() * 0.45,
                 r.left() + r.width() * 0.7, r.top() + r.height() * 0.35,
                 r.right() + r.width() * 0.02, r.top() - r.height() * 0.12);
    wing.cubicTo(r.left() + r.width() * 0.75, r.top() + r.height() * 0.62,
                 r.left() + r.width() * 0.45, r.bottom() - r.height() * 0.10,
                 r.left() + r.width() * 0.10, r.bottom() - r.height() * 0.05);
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0x1B, 0x23, 0x30));
    p.drawPath(wing);
}

void arrow(QPainter& p, qreal s, bool up, const QColor& colour, qreal xCentre) {
    QPainterPath a;
    qreal x = s * xCentre, half = s * 0.16;
    if (up) {
        a.moveTo(x, s * 0.12);
        a.lineTo(x + half, s * 0.42);
        a.lineTo(x + half * 0.4, s * 0.42);
        a.lineTo(x + half * 0.4, s * 0.86);
        a.lineTo(x - half * 0.4, s * 0.86);
        a.lineTo(x - half * 0.4, s * 0.42);
        a.lineTo(x - half, s * 0.42);
    } else {
        a.moveTo(x, s * 0.88);
        a.lineTo(x + half, s * 0.58);
        a.lineTo(x + half * 0.4, s * 0.58);
        a.lineTo(x + half * 0.4, s * 0.14);
        a.lineTo(x - half * 0.4, s * 0.14);
        a.lineTo(x - half * 0.4, s * 0.58);
        a.lineTo(x - half, s * 0.58);
    }
    a.closeSubpath();
    p.setPen(Qt::NoPen);
    p.setBrush(colour);
    p.drawPath(a);
}

void cross(QPainter& p, const QRectF& r, const QColor& colour) {
    p.setPen(QPen(colour, r.width() * 0.18, Qt::SolidLine, Qt::RoundCap));
    p.drawLine(r.topLeft(), r.bottomRight());
    p.drawLine(r.topRight(), r.bottomLeft());
}

} // namespace

QIcon appIcon() {
    return render([](QPainter& p, qreal s) {
        p.setPen(Qt::NoPen);
        p.setBrush(accent());
        p.drawRoundedRect(QRectF(0, 0, s, s), s * 0.2, s * 0.2);
        mark(p, s, 0.78);
    });
}

QIcon trayIcon(TrayPicture picture) {
    switch (picture) {
    case TrayPicture::LargeS:
        return render([](QPainter& p, qreal s) { mark(p, s, 0.98); });
    case TrayPicture::SmallS:
        return render([](QPainter& p, qreal s) { mark(p, s, 0.70); });
    case TrayPicture::GotMail:
        return render([](QPainter& p, qreal s) {
            mark(p, s, 0.98);
            badge(p, s, good());
        });
    case TrayPicture::LotsOfMail:
        return render([](QPainter& p, qreal s) {
            envelope(p, QRectF(s * 0.14, s * 0.06, s * 0.8, s * 0.56), QColor(0xE3, 0xE7, 0xEB),
                     QColor(0x26, 0x32, 0x38));
            mark(p, s, 0.9);
            badge(p, s, warn());
        });
    case TrayPicture::Error:
        return render([](QPainter& p, qreal s) {
            mark(p, s, 0.98);
            badge(p, s, bad());
            cross(p, QRectF(s * 0.68, s * 0.13, s * 0.18, s * 0.18), Qt::white);
        });
    }
    return appIcon();
}

QIcon commandIcon(const QString& key) {
    if (key == "scan")
        return render([](QPainter& p, qreal s) {
            p.setPen(QPen(ink(), s * 0.11, Qt::SolidLine, Qt::RoundCap));
            p.setBrush(Qt::NoBrush);
            p.drawEllipse(QRectF(s * 0.14, s * 0.14, s * 0.5, s * 0.5));
            p.drawLine(QPointF(s * 0.57, s * 0.57), QPointF(s * 0.86, s * 0.86));
        });
    if (key == "delete" || key == "sendrcvdel")
        return render([key](QPainter& p, qreal s) {
            envelope(p, QRectF(s * 0.06, s * 0.2, s * 0.7, s * 0.5), QColor(0xFA, 0xFB, 0xFC),
                     ink());
            cross(p, QRectF(s * 0.58, s * 0.54, s * 0.32, s * 0.32), bad());
            if (key == "sendrcvdel") arrow(p, s * 0.5, true, accent(), 0.5);
        });
    if (key == "sendreceive" || key == "upanddown" || key == "updownwithclear")
        return render([key](QPainter& p, qreal s) {
            arrow(p, s, true, accent(), 0.32);
            arrow(p, s, false, good(), 0.68);
            if (key == "updownwithclear")
                cross(p, QRectF(s * 0.06, s * 0.66, s * 0.24, s * 0.24), bad());
        });
    if (key == "stop")
        return render([](QPainter& p, qreal s) {
            QPolygonF octagon;
            for (int i = 0; i < 8; ++i) {
                qreal a = (22.5 + 45 * i) * 3.14159265 / 180;
                octagon << QPointF(s / 2 + s * 0.44 * std::cos(a), s / 2 + s * 0.44 * std::sin(a));
            }
            p.setPen(Qt::NoPen);
            p.setBrush(bad());
            p.drawPolygon(octagon);
            p.setBrush(Qt::white);
            p.drawRect(QRectF(s * 0.26, s * 0.44, s * 0.48, s * 0.12));
        });
    if (key == "upload")
        return render([](QPainter& p, qreal s) { arrow(p, s, true, accent(), 0.5); });
    if (key == "download")
        return render([](QPainter& p, qreal s) { arrow(p, s, false, good(), 0.5); });
    // The composer's own: send, attach, insert a text, the signature, the shortcut keys.
    if (key == "send")
        return render([](QPainter& p, qreal s) {
            envelope(p, QRectF(s * 0.06, s * 0.3, s * 0.66, s * 0.5), QColor(0xFA, 0xFB, 0xFC),
                     ink());
            p.setPen(QPen(accent(), s * 0.1, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            p.drawLine(QPointF(s * 0.52, s * 0.5), QPointF(s * 0.9, s * 0.14));
            p.drawPolyline(
                QPolygonF{{s * 0.62, s * 0.12}, {s * 0.9, s * 0.14}, {s * 0.88, s * 0.42}});
        });
    if (key == "attach")
        return render([](QPainter& p, qreal s) {
            // A paper clip: two nested loops.
            p.setPen(QPen(ink(), s * 0.08, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            p.setBrush(Qt::NoBrush);
            QPainterPath clip;
            clip.moveTo(s * 0.62, s * 0.3);
            clip.lineTo(s * 0.62, s * 0.72);
            clip.arcTo(QRectF(s * 0.36, s * 0.6, s * 0.26, s * 0.26), 0, -180);
            clip.lineTo(s * 0.36, s * 0.2);
            clip.arcTo(QRectF(s * 0.36, s * 0.06, s * 0.36, s * 0.28), 180, -180);
            clip.lineTo(s * 0.72, s * 0.76);
            p.drawPath(clip);
        });
    if (key == "insert" || key == "insertsig")
        return render([key](QPainter& p, qreal s) {
            // A page; its lines, or a signature's stroke across it.
            p.setPen(QPen(ink(), s * 0.06, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            p.setBrush(QColor(0xFA, 0xFB, 0xFC));
            p.drawRoundedRect(QRectF(s * 0.18, s * 0.08, s * 0.64, s * 0.84), s * 0.06, s * 0.06);
            if (key == "insert") {
                p.setPen(QPen(accent(), s * 0.07, Qt::SolidLine, Qt::RoundCap));
                for (qreal y : {0.28, 0.44, 0.6})
                    p.drawLine(QPointF(s * 0.3, s * y), QPointF(s * 0.7, s * y));
                p.drawLine(QPointF(s * 0.3, s * 0.76), QPointF(s * 0.52, s * 0.76));
                return;
            }
            QPainterPath stroke;
            stroke.moveTo(s * 0.26, s * 0.66);
            stroke.cubicTo(s * 0.34, s * 0.3, s * 0.42, s * 0.3, s * 0.44, s * 0.62);
            stroke.cubicTo(s * 0.5, s * 0.4, s * 0.58, s * 0.4, s * 0.6, s * 0.6);
            stroke.cubicTo(s * 0.64, s * 0.5, s * 0.7, s * 0.5, s * 0.76, s * 0.56);
            p.setPen(QPen(accent(), s * 0.07, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            p.setBrush(Qt::NoBrush);
            p.drawPath(stroke);
            p.setPen(QPen(ink(), s * 0.05, Qt::SolidLine, Qt::RoundCap));
            p.drawLine(QPointF(s * 0.26, s * 0.76), QPointF(s * 0.74, s * 0.76));
        });
    if (key == "shortcuts")
        return render([](QPainter& p, qreal s) {
            // A key cap with a digit on it.
            p.setPen(QPen(ink(), s * 0.06, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            p.setBrush(QColor(0xE3, 0xE7, 0xEB));
            p.drawRoundedRect(QRectF(s * 0.12, s * 0.16, s * 0.76, s * 0.68), s * 0.12, s * 0.12);
            QFont font = p.font();
            font.setPixelSize(std::max(1, static_cast<int>(s * 0.44)));
            font.setBold(true);
            p.setFont(font);
            p.setPen(accent());
            p.drawText(QRectF(s * 0.12, s * 0.16, s * 0.76, s * 0.64), Qt::AlignCenter,
                       QStringLiteral("1"));
        });
    if (key == "reinforce")
        return render([](QPainter& p, qreal s) {
            p.setPen(QPen(good(), s * 0.12, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            p.drawPolyline(
                QPolygonF{{s * 0.08, s * 0.5}, {s * 0.22, s * 0.66}, {s * 0.46, s * 0.3}});
            cross(p, QRectF(s * 0.6, s * 0.34, s * 0.3, s * 0.3), warn());
        });
    if (key == "settings" || key == "filters" || key == "training")
        return render([key](QPainter& p, qreal s) {
            // A spanner: a ring with a bite, and a handle.
            p.setPen(
                QPen(key == "settings" ? ink() : accent(), s * 0.14, Qt::SolidLine, Qt::RoundCap));
            p.drawLine(QPointF(s * 0.42, s * 0.58), QPointF(s * 0.84, s * 0.86));
            p.setBrush(Qt::NoBrush);
            p.drawArc(QRectF(s * 0.1, s * 0.1, s * 0.44, s * 0.44), 60 * 16, 300 * 16);
        });
    if (key == "close")
        return render([](QPainter& p, qreal s) {
            p.setPen(QPen(ink(), s * 0.08));
            p.setBrush(Qt::NoBrush);
            p.drawRoundedRect(QRectF(s * 0.1, s * 0.16, s * 0.8, s * 0.68), s * 0.06, s * 0.06);
            p.drawLine(QPointF(s * 0.1, s * 0.32), QPointF(s * 0.9, s * 0.32));
            arrow(p, s * 0.6, false, ink(), 0.83);
        });
    if (key == "quit")
        return render([](QPainter& p, qreal s) {
            p.setPen(QPen(bad(), s * 0.11, Qt::SolidLine, Qt::RoundCap));
            p.setBrush(Qt::NoBrush);
            p.drawArc(QRectF(s * 0.16, s * 0.18, s * 0.68, s * 0.68), 120 * 16, 300 * 16);
            p.drawLine(QPointF(s * 0.5, s * 0.1), QPointF(s * 0.5, s * 0.48));
        });
    if (key == "mailer")
        return render([](QPainter& p, qreal s) {
            envelope(p, QRectF(s * 0.08, s * 0.2, s * 0.84, s * 0.6), QColor(0xFA, 0xFB, 0xFC),
                     ink());
        });
    if (key == "contacts")
        return render([](QPainter& p, qreal s) {
            p.setPen(Qt::NoPen);
            p.setBrush(ink());
            p.drawEllipse(QRectF(s * 0.34, s * 0.1, s * 0.32, s * 0.32));
            p.drawRoundedRect(QRectF(s * 0.18, s * 0.48, s * 0.64, s * 0.42), s * 0.2, s * 0.2);
        });
    if (QIcon mailer = mailerIcon(key); !mailer.isNull()) return mailer;
    return appIcon();
}

QIcon mailerIcon(const QString& key) {
    if (key == "blank") return render([](QPainter&, qreal) {});
    // A list row's flags, drawn over each other: unread envelope, reply arrow, "!".
    if (key.contains("unread") || key.contains("reply") || key.startsWith("exclaim"))
        if (key != "readandunread")
            return render([key](QPainter& p, qreal s) {
                if (key.contains("unread"))
                    envelope(p, QRectF(s * 0.08, s * 0.24, s * 0.7, s * 0.5), accent().lighter(150),
                             ink());
                if (key.contains("reply")) {
                    p.setPen(QPen(good(), s * 0.11, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
                    p.setBrush(Qt::NoBrush);
                    p.drawArc(QRectF(s * 0.3, s * 0.5, s * 0.6, s * 0.5), 0, 180 * 16);
                    p.drawPolyline(
                        QPolygonF{{s * 0.2, s * 0.6}, {s * 0.3, s * 0.76}, {s * 0.44, s * 0.64}});
                }
                if (key.startsWith("exclaim")) {
                    p.setPen(Qt::NoPen);
                    p.setBrush(bad());
                    p.drawRoundedRect(QRectF(s * 0.8, s * 0.06, s * 0.14, s * 0.56), s * 0.05,
                                      s * 0.05);
                    p.drawEllipse(QRectF(s * 0.8, s * 0.74, s * 0.14, s * 0.14));
                }
            });
    if (key == "readandunread")
        return render([](QPainter& p, qreal s) {
            envelope(p, QRectF(s * 0.04, s * 0.1, s * 0.66, s * 0.46), QColor(0xFA, 0xFB, 0xFC),
                     ink());
            envelope(p, QRectF(s * 0.3, s * 0.44, s * 0.66, s * 0.46), accent().lighter(150),
                     ink());
        });
    if (key == "newemail")
        return render([](QPainter& p, qreal s) {
            envelope(p, QRectF(s * 0.06, s * 0.22, s * 0.72, s * 0.52), QColor(0xFA, 0xFB, 0xFC),
                     ink());
            p.setPen(QPen(good(), s * 0.12, Qt::SolidLine, Qt::RoundCap));
            p.drawLine(QPointF(s * 0.8, s * 0.52), QPointF(s * 0.8, s * 0.9));
            p.drawLine(QPointF(s * 0.61, s * 0.71), QPointF(s * 0.99, s * 0.71));
        });
    if (key == "forward")
        return render([](QPainter& p, qreal s) {
            p.setPen(QPen(accent(), s * 0.12, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            p.drawLine(QPointF(s * 0.12, s * 0.5), QPointF(s * 0.86, s * 0.5));
            p.drawPolyline(
                QPolygonF{{s * 0.6, s * 0.26}, {s * 0.86, s * 0.5}, {s * 0.6, s * 0.74}});
        });
    if (key == "print")
        return render([](QPainter& p, qreal s) {
            p.setPen(QPen(ink(), s * 0.07));
            p.setBrush(QColor(0xFA, 0xFB, 0xFC));
            p.drawRect(QRectF(s * 0.26, s * 0.08, s * 0.48, s * 0.34));
            p.setBrush(ink());
            p.drawRoundedRect(QRectF(s * 0.08, s * 0.36, s * 0.84, s * 0.36), s * 0.06, s * 0.06);
            p.setBrush(QColor(0xFA, 0xFB, 0xFC));
            p.drawRect(QRectF(s * 0.26, s * 0.6, s * 0.48, s * 0.32));
        });
    if (key == "tkl")
        return render([](QPainter& p, qreal s) {
            p.setPen(QPen(ink(), s * 0.09, Qt::SolidLine, Qt::RoundCap));
            p.setBrush(Qt::NoBrush);
            p.drawEllipse(QRectF(s * 0.1, s * 0.1, s * 0.8, s * 0.8));
            p.drawLine(QPointF(s * 0.5, s * 0.5), QPointF(s * 0.5, s * 0.24));
            p.drawLine(QPointF(s * 0.5, s * 0.5), QPointF(s * 0.7, s * 0.6));
        });
    if (key == "help" || key == "scanner")
        return render([key](QPainter& p, qreal s) {
            QFont f = p.font();
            f.setPixelSize(static_cast<int>(s * 0.7));
            f.setBold(true);
            p.setFont(f);
            p.setPen(key == "help" ? accent() : ink());
            p.drawText(QRectF(0, 0, s, s), Qt::AlignCenter,
                       key == "help" ? QStringLiteral("?") : QStringLiteral("S"));
        });
    return {};
}

} // namespace corva::ui
