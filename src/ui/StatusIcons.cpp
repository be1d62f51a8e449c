#include "StatusIcons.h"

#include <QHash>
#include <QPainter>
#include <QPainterPath>
#include <QPixmap>

namespace StatusIcons {

namespace {

QPixmap canvas(int size)
{
    QPixmap pm(size, size);
    pm.fill(Qt::transparent);
    return pm;
}

// A drive with a network link: the product's mark, tinted by state, with a badge for the state.
QPixmap trayPixmap(Overall state, int size)
{
    QPixmap pm = canvas(size);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    const qreal u = size / 32.0;
    const QColor body(0x37, 0x47, 0x4f);
    p.setPen(Qt::NoPen);
    p.setBrush(body);
    p.drawRoundedRect(QRectF(3 * u, 6 * u, 26 * u, 13 * u), 3 * u, 3 * u);
    // link below the drive
    p.setBrush(body);
    p.drawRect(QRectF(15 * u, 19 * u, 2 * u, 5 * u));
    p.drawRect(QRectF(7 * u, 24 * u, 18 * u, 2 * u));
    // activity light
    p.setBrush(QColor(0xe0, 0xe0, 0xe0));
    p.drawEllipse(QPointF(24 * u, 12.5 * u), 2 * u, 2 * u);

    QColor badge;
    switch (state) {
    case Overall::AllMounted:
        badge = QColor(0x1e, 0x8e, 0x3e);
        break;
    case Overall::Failing:
        badge = QColor(0xc5, 0x22, 0x1f);
        break;
    case Overall::Paused:
        badge = QColor(0x2f, 0x6f, 0xb5);
        break;
    case Overall::Busy:
        badge = QColor(0xe0, 0x8a, 0x00);
        break;
    case Overall::Idle:
        return pm;
    }
    const QRectF b(18 * u, 17 * u, 14 * u, 14 * u);
    p.setBrush(badge);
    p.setPen(QPen(Qt::white, 1.5 * u));
    p.drawEllipse(b);
    p.setPen(QPen(Qt::white, 2 * u, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    p.setBrush(Qt::NoBrush);
    const QPointF c = b.center();
    if (state == Overall::AllMounted) {
        QPainterPath tick;
        tick.moveTo(c + QPointF(-3.5 * u, 0));
        tick.lineTo(c + QPointF(-1 * u, 2.5 * u));
        tick.lineTo(c + QPointF(3.5 * u, -2.5 * u));
        p.drawPath(tick);
    } else if (state == Overall::Failing) {
        p.drawLine(c + QPointF(0, -3.5 * u), c + QPointF(0, 1 * u));
        p.drawPoint(c + QPointF(0, 3.5 * u));
    } else if (state == Overall::Paused) {
        p.drawLine(c + QPointF(-1.8 * u, -3 * u), c + QPointF(-1.8 * u, 3 * u));
        p.drawLine(c + QPointF(1.8 * u, -3 * u), c + QPointF(1.8 * u, 3 * u));
    } else {
        p.drawPoint(c + QPointF(-3 * u, 0));
        p.drawPoint(c);
        p.drawPoint(c + QPointF(3 * u, 0));
    }
    return pm;
}

} // namespace

QIcon trayIcon(Overall state)
{
    static QHash<int, QIcon> cache;
    auto it = cache.find(int(state));
    if (it != cache.end())
        return *it;
    QIcon icon;
    for (int size : {16, 22, 24, 32, 48, 64})
        icon.addPixmap(trayPixmap(state, size));
    cache.insert(int(state), icon);
    return icon;
}

QIcon dot(const QColor &color)
{
    static QHash<QRgb, QIcon> cache;
    auto it = cache.find(color.rgb());
    if (it != cache.end())
        return *it;
    QPixmap pm = canvas(12);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    p.setBrush(color);
    p.drawEllipse(QRectF(1, 1, 10, 10));
    p.end();
    QIcon icon(pm);
    cache.insert(color.rgb(), icon);
    return icon;
}

QIcon lockIcon()
{
    static const QIcon icon = [] {
        QPixmap pm = canvas(16);
        QPainter p(&pm);
        p.setRenderHint(QPainter::Antialiasing);
        p.setPen(QPen(QColor(0x5f, 0x63, 0x68), 1.6));
        p.setBrush(Qt::NoBrush);
        p.drawArc(QRectF(4.5, 1.5, 7, 8), 0, 180 * 16);
        p.drawLine(QPointF(4.5, 5.5), QPointF(4.5, 7.5));
        p.drawLine(QPointF(11.5, 5.5), QPointF(11.5, 7.5));
        p.setPen(Qt::NoPen);
        p.setBrush(QColor(0x5f, 0x63, 0x68));
        p.drawRoundedRect(QRectF(3, 7, 10, 8), 1.5, 1.5);
        p.end();
        return QIcon(pm);
    }();
    return icon;
}

} // namespace StatusIcons
