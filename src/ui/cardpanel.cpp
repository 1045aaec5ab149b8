#include "ui/cardpanel.h"

#include <QGraphicsDropShadowEffect>
#include <QGraphicsPathItem>
#include <QGraphicsScene>
#include <QPainter>
#include <QPainterPath>
#include <QPixmapCache>

namespace {

constexpr int blurRadius = 9;
constexpr int shadowOffset = 4;
const QColor shadowColor(0, 0, 0, 40);

QPainterPath panelShape(const QRectF &area, qreal radius)
{
    const qreal diameter = 2 * radius;
    QPainterPath shape(area.bottomLeft());
    shape.arcTo(area.left(), area.top(), diameter, diameter, 180, -90);
    shape.lineTo(area.topRight());
    shape.arcTo(area.right() - diameter, area.bottom() - diameter, diameter, diameter, 0, -90);
    shape.closeSubpath();
    return shape;
}

/// In device pixels, because the effect ignores the scaling.
QPixmap drawPanel(const QSize &size, qreal scale)
{
    const QSize deviceSize = (QSizeF(size) * scale).toSize();
    const QMarginsF margins = QMarginsF(CardPanel::shadowMargins()) * scale;
    QGraphicsScene scene;
    QGraphicsPathItem *panel = scene.addPath(
        panelShape(QRectF(QPointF(), deviceSize).marginsRemoved(margins), CardPanel::cornerRadius * scale), Qt::NoPen,
        Qt::white);
    auto *shadow = new QGraphicsDropShadowEffect; // the item owns it
    shadow->setBlurRadius(blurRadius * scale);
    shadow->setOffset(shadowOffset * scale);
    shadow->setColor(shadowColor);
    panel->setGraphicsEffect(shadow);

    QPixmap picture(deviceSize);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    scene.render(&painter, picture.rect(), picture.rect());
    painter.end();
    picture.setDevicePixelRatio(scale);
    return picture;
}

} // namespace

QMargins CardPanel::shadowMargins()
{
    constexpr int upperLeft = blurRadius - shadowOffset;
    constexpr int lowerRight = blurRadius + shadowOffset;
    return {upperLeft, upperLeft, lowerRight, lowerRight};
}

void CardPanel::paintEvent(QPaintEvent *)
{
    const qreal scale = devicePixelRatioF();
    const QString key = QStringLiteral("CardPanel %1 %2 %3").arg(width()).arg(height()).arg(scale);
    QPixmap picture;
    if (!QPixmapCache::find(key, &picture)) {
        picture = drawPanel(size(), scale);
        QPixmapCache::insert(key, picture);
    }
    QPainter(this).drawPixmap(0, 0, picture);
}
