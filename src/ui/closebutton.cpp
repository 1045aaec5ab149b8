#include "ui/closebutton.h"

#include <QPainter>

namespace {

const QColor accent(0, 138, 255);
const QColor accentPressed(0, 104, 194);
const QColor dark(10, 23, 40);
constexpr qreal discRadius = 7.5;
constexpr qreal crossReach = 2.6; // from the centre

void drawCross(QPainter &painter)
{
    painter.setPen(QPen(Qt::white, 1.6, Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(QLineF(-crossReach, -crossReach, crossReach, crossReach));
    painter.drawLine(QLineF(crossReach, -crossReach, -crossReach, crossReach));
}

} // namespace

CloseButton::CloseButton(QWidget *parent)
    : QPushButton(parent)
{
    setObjectName(QStringLiteral("closeButton"));
    setAccessibleName(QStringLiteral("关闭"));
    setFixedSize(side, side);
    setStyleSheet(QStringLiteral("QPushButton{background-color:rgba(255, 255, 255,0);"
                                 "border-image:url(:/image/resource/dlgexit.png);border:none;}"));
}

void CloseButton::paintEvent(QPaintEvent *event)
{
    if (!underMouse() && !hasFocus()) {
        QPushButton::paintEvent(event);
        return;
    }
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.translate(side / 2.0, side / 2.0);
    qreal radius = discRadius;
    if (hasFocus()) {
        // A white ring inside a dark one is visible both on the dark title bar and on the white message.
        painter.setPen(QPen(dark, 1));
        painter.setBrush(Qt::white);
        painter.drawEllipse(QPointF(), radius, radius);
        radius -= 2;
    }
    painter.setPen(Qt::NoPen);
    painter.setBrush(isDown() ? accentPressed : accent);
    painter.drawEllipse(QPointF(), radius, radius);
    drawCross(painter);
}
