#include "ui/qcircleprocess.h"

#include <QPainter>

namespace {

constexpr int barCount = 12;
constexpr int fullTurn = 360;
constexpr int stepAngle = fullTurn / barCount;

/// One upright bar of the ring around the origin, in whole pixels: every fraction is truncated.
struct Bar
{
    explicit Bar(int ringWidth)
    {
        const double halfWidth = (ringWidth - 1) * 0.5;
        const int outerRadius = int(halfWidth);
        const int innerRadius = int(halfWidth * 0.38);
        const int height = outerRadius - innerRadius;
        // A small ring needs wider bars to be visible.
        const int width = int(height * (ringWidth <= 32 ? 0.35 : 0.23));
        rect = QRect(int(-width * 0.5), -outerRadius, width, height);
        cornerRadius = width / 2;
    }

    QRect rect;
    int cornerRadius;
};

} // namespace

QCircleProcess::QCircleProcess(int size, QWidget *parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusPolicy(Qt::NoFocus);
    resize(size, size);
}

bool QCircleProcess::isAnimating() const
{
    return m_timerId != notAnimating;
}

bool QCircleProcess::isDisplayedWhenStopped() const
{
    return m_displayedWhenStopped;
}

void QCircleProcess::startAnimation()
{
    m_angle = 0;
    if (!isAnimating())
        m_timerId = startTimer(m_delay, Qt::CoarseTimer);
}

void QCircleProcess::stopAnimation()
{
    if (isAnimating())
        killTimer(m_timerId);
    m_timerId = notAnimating;
    update();
}

void QCircleProcess::setAnimationDelay(int delay)
{
    m_delay = std::chrono::milliseconds(delay);
    if (isAnimating()) {
        killTimer(m_timerId);
        m_timerId = startTimer(m_delay, Qt::CoarseTimer);
    }
}

void QCircleProcess::setDisplayedWhenStopped(bool displayed)
{
    m_displayedWhenStopped = displayed;
    update();
}

void QCircleProcess::setColor(const QColor &color)
{
    m_color = color;
    update();
}

void QCircleProcess::timerEvent(QTimerEvent *)
{
    m_angle = (m_angle + stepAngle) % fullTurn;
    update();
}

void QCircleProcess::paintEvent(QPaintEvent *)
{
    if (!m_displayedWhenStopped && !isAnimating())
        return;

    const Bar bar(qMin(width(), height()));
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    for (int i = 0; i < barCount; ++i) {
        QColor color = m_color;
        color.setAlphaF(1.0 - double(i) / barCount);
        painter.setBrush(color);
        painter.save();
        painter.translate(rect().center());
        painter.rotate(m_angle - i * stepAngle);
        painter.drawRoundedRect(bar.rect, bar.cornerRadius, bar.cornerRadius, Qt::AbsoluteSize);
        painter.restore();
    }
}
