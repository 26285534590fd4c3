#include "SymbolIcons.h"

#include <QHash>
#include <QPainterPath>
#include <functional>

namespace tramix::SymbolIcons {

namespace {

// Every icon is drawn on a 24 × 24 grid with a 1.8-unit round stroke.
using Drawing = std::function<void(QPainter&)>;

QPainterPath arrow(QPointF from, QPointF to, double head = 4) {
    QPainterPath path(from);
    path.lineTo(to);
    const QLineF line(to, from);
    QLineF side = line;
    side.setLength(head);
    side.setAngle(line.angle() + 40);
    path.moveTo(side.p2());
    path.lineTo(to);
    side.setAngle(line.angle() - 40);
    path.lineTo(side.p2());
    return path;
}

QPainterPath document(QRectF r, double fold = 5) {
    QPainterPath path(r.topLeft());
    path.lineTo(r.right() - fold, r.top());
    path.lineTo(r.right(), r.top() + fold);
    path.lineTo(r.bottomRight());
    path.lineTo(r.bottomLeft());
    path.closeSubpath();
    path.moveTo(r.right() - fold, r.top());
    path.lineTo(r.right() - fold, r.top() + fold);
    path.lineTo(r.right(), r.top() + fold);
    return path;
}

void slash(QPainter& p) {
    p.drawLine(QPointF(4, 3), QPointF(20, 21));
}

void box(QPainter& p) {
    p.drawRoundedRect(QRectF(3, 5, 18, 5), 1.2, 1.2);
    p.drawRoundedRect(QRectF(4.5, 10, 15, 10), 1.2, 1.2);
}

// A square with an arrow bent around its top corner: a quarter turn to the right or left.
void turnArrow(QPainter& p, bool clockwise) {
    if (!clockwise) {
        p.translate(24, 0);
        p.scale(-1, 1);
    }
    p.drawRoundedRect(QRectF(4, 10, 11, 11), 1.5, 1.5);
    QPainterPath bend(QPointF(9.5, 6.5));
    bend.cubicTo(QPointF(15, 3.5), QPointF(19.5, 6.5), QPointF(19.5, 12));
    p.drawPath(bend);
    QPainterPath head(QPointF(16.8, 9.8));
    head.lineTo(19.5, 13);
    head.lineTo(22.2, 9.8);
    p.drawPath(head);
}

const QHash<QString, Drawing>& drawings() {
    static const QHash<QString, Drawing> table = {
        {"arrow.down.right.and.arrow.up.left",
         [](QPainter& p) {
             p.drawPath(arrow({4, 4}, {10.5, 10.5}));
             p.drawPath(arrow({20, 20}, {13.5, 13.5}));
         }},
        {"person.crop.rectangle",
         [](QPainter& p) {
             p.drawRoundedRect(QRectF(3, 4, 18, 16), 3, 3);
             p.drawEllipse(QPointF(12, 10.5), 3, 3);
             QPainterPath shoulders(QPointF(6.5, 20));
             shoulders.cubicTo(7.5, 15.5, 16.5, 15.5, 17.5, 20);
             p.drawPath(shoulders);
         }},
        {"text.viewfinder",
         [](QPainter& p) {
             for (QPointF c : {QPointF(3, 3), QPointF(21, 3), QPointF(21, 21), QPointF(3, 21)}) {
                 const double sx = c.x() < 12 ? 1 : -1, sy = c.y() < 12 ? 1 : -1;
                 QPainterPath corner(QPointF(c.x(), c.y() + sy * 5));
                 corner.lineTo(c);
                 corner.lineTo(c.x() + sx * 5, c.y());
                 p.drawPath(corner);
             }
             p.drawLine(QPointF(8, 9), QPointF(16, 9));
             p.drawLine(QPointF(8, 12), QPointF(16, 12));
             p.drawLine(QPointF(8, 15), QPointF(13, 15));
         }},
        {"globe",
         [](QPainter& p) {
             p.drawEllipse(QPointF(12, 12), 9, 9);
             p.drawEllipse(QPointF(12, 12), 4, 9);
             p.drawLine(QPointF(3, 12), QPointF(21, 12));
             p.drawLine(QPointF(4.5, 7.5), QPointF(19.5, 7.5));
             p.drawLine(QPointF(4.5, 16.5), QPointF(19.5, 16.5));
         }},
        {"eye.slash",
         [](QPainter& p) {
             QPainterPath eye(QPointF(2.5, 12));
             eye.cubicTo(7, 5, 17, 5, 21.5, 12);
             eye.cubicTo(17, 19, 7, 19, 2.5, 12);
             p.drawPath(eye);
             p.drawEllipse(QPointF(12, 12), 3, 3);
             slash(p);
         }},
        {"doc.richtext",
         [](QPainter& p) {
             p.drawPath(document({5, 3, 14, 18}));
             p.drawLine(QPointF(8, 10), QPointF(16, 10));
             p.drawLine(QPointF(8, 13.5), QPointF(16, 13.5));
             p.drawLine(QPointF(8, 17), QPointF(13, 17));
         }},
        {"photo",
         [](QPainter& p) {
             p.drawRoundedRect(QRectF(3, 5, 18, 14), 2.5, 2.5);
             QPainterPath hills(QPointF(3.5, 17));
             hills.lineTo(9, 11.5);
             hills.lineTo(13, 15);
             hills.lineTo(15.5, 12.5);
             hills.lineTo(20.5, 17);
             p.drawPath(hills);
             p.drawEllipse(QPointF(15.5, 9), 1.5, 1.5);
         }},
        {"photo.on.rectangle.angled",
         [](QPainter& p) {
             p.save();
             p.translate(12, 12);
             p.rotate(-10);
             p.drawRoundedRect(QRectF(-9, -8, 18, 14), 2, 2);
             p.restore();
             p.drawRoundedRect(QRectF(5, 8, 15, 12), 2, 2);
             QPainterPath hills(QPointF(5.5, 18.5));
             hills.lineTo(10, 14);
             hills.lineTo(13, 16.5);
             hills.lineTo(15, 14.5);
             hills.lineTo(19.5, 18.5);
             p.drawPath(hills);
         }},
        {"speaker.slash",
         [](QPainter& p) {
             QPainterPath speaker(QPointF(4, 9.5));
             speaker.lineTo(8, 9.5);
             speaker.lineTo(13, 5);
             speaker.lineTo(13, 19);
             speaker.lineTo(8, 14.5);
             speaker.lineTo(4, 14.5);
             speaker.closeSubpath();
             p.drawPath(speaker);
             p.drawArc(QRectF(12, 8, 7, 8), -60 * 16, 120 * 16);
             slash(p);
         }},
        {"archivebox",
         [](QPainter& p) {
             box(p);
             p.drawLine(QPointF(10, 13.5), QPointF(14, 13.5));
         }},
        {"shippingbox.and.arrow.backward",
         [](QPainter& p) {
             box(p);
             p.drawPath(arrow({15, 15}, {9, 15}, 3));
         }},
        // Sending to a device: the usual share glyph, an open box with an arrow leaving it.
        {"airplayaudio",
         [](QPainter& p) {
             QPainterPath box(QPointF(8, 9));
             box.lineTo(5, 9);
             box.lineTo(5, 21);
             box.lineTo(19, 21);
             box.lineTo(19, 9);
             box.lineTo(16, 9);
             p.drawPath(box);
             p.drawPath(arrow({12, 15}, {12, 2.5}, 3.5));
         }},
        {"tray.and.arrow.down",
         [](QPainter& p) {
             QPainterPath tray(QPointF(3, 14));
             tray.lineTo(3, 20);
             tray.lineTo(21, 20);
             tray.lineTo(21, 14);
             tray.moveTo(3, 14);
             tray.lineTo(8, 14);
             tray.lineTo(9.5, 16.5);
             tray.lineTo(14.5, 16.5);
             tray.lineTo(16, 14);
             tray.lineTo(21, 14);
             p.drawPath(tray);
             p.drawPath(arrow({12, 3}, {12, 12}, 3.5));
         }},
        {"doc.on.doc",
         [](QPainter& p) {
             p.drawRoundedRect(QRectF(4, 3, 11, 14), 1.5, 1.5);
             p.drawRoundedRect(QRectF(9, 7, 11, 14), 1.5, 1.5);
         }},
        {"folder",
         [](QPainter& p) {
             QPainterPath folder(QPointF(3, 7));
             folder.lineTo(3, 19);
             folder.lineTo(21, 19);
             folder.lineTo(21, 8);
             folder.lineTo(11.5, 8);
             folder.lineTo(9.5, 5.5);
             folder.lineTo(3.5, 5.5);
             folder.closeSubpath();
             p.drawPath(folder);
         }},
        {"link",
         [](QPainter& p) {
             p.save();
             p.translate(12, 12);
             p.rotate(-45);
             p.drawRoundedRect(QRectF(-10, -3.5, 11, 7), 3.5, 3.5);
             p.drawRoundedRect(QRectF(-1, -3.5, 11, 7), 3.5, 3.5);
             p.restore();
         }},
        {"terminal",
         [](QPainter& p) {
             p.drawRoundedRect(QRectF(3, 4, 18, 16), 2.5, 2.5);
             QPainterPath prompt(QPointF(7, 9));
             prompt.lineTo(10, 12);
             prompt.lineTo(7, 15);
             p.drawPath(prompt);
             p.drawLine(QPointF(12, 15.5), QPointF(17, 15.5));
         }},
        {"crop",
         [](QPainter& p) {
             QPainterPath marks(QPointF(6, 2.5));
             marks.lineTo(6, 18);
             marks.lineTo(21.5, 18);
             marks.moveTo(2.5, 6);
             marks.lineTo(18, 6);
             marks.lineTo(18, 21.5);
             p.drawPath(marks);
         }},
        {"rotate.left", [](QPainter& p) { turnArrow(p, false); }},
        {"rotate.right", [](QPainter& p) { turnArrow(p, true); }},
        {"square.split.2x1",
         [](QPainter& p) {
             p.drawRoundedRect(QRectF(3, 5, 18, 14), 2, 2);
             p.drawLine(QPointF(12, 5), QPointF(12, 19));
         }},
        {"square.stack.3d.down.right",
         [](QPainter& p) {
             p.drawRoundedRect(QRectF(3, 3, 12, 12), 2, 2);
             QPainterPath back(QPointF(18, 6));
             back.lineTo(18, 18);
             back.lineTo(6, 18);
             back.moveTo(21, 9);
             back.lineTo(21, 21);
             back.lineTo(9, 21);
             p.drawPath(back);
         }},
    };
    return table;
}

} // namespace

bool has(const QString& symbol) {
    return drawings().contains(symbol);
}

bool draw(QPainter& painter, const QString& symbol, const QRectF& box, const QColor& color) {
    const auto found = drawings().constFind(symbol);
    if (found == drawings().constEnd())
        return false;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    const double scale = std::min(box.width(), box.height()) / 24;
    painter.translate(box.center().x() - 12 * scale, box.center().y() - 12 * scale);
    painter.scale(scale, scale);
    QPen pen(color, 1.8, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin);
    painter.setPen(pen);
    painter.setBrush(Qt::NoBrush);
    (*found)(painter);
    painter.restore();
    return true;
}

} // namespace tramix::SymbolIcons
