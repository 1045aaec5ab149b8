#pragma once

#include <QColor>
#include <QWidget>

#include <chrono>

/// A busy indicator: a ring of twelve bars. The opaque one moves clockwise, the others fade out after it. It is
/// invisible while stopped unless setDisplayedWhenStopped() is on. Main thread; owned by its parent.
class QCircleProcess : public QWidget
{
    Q_OBJECT

public:
    /// Resized to `size` by `size` pixels.
    explicit QCircleProcess(int size, QWidget *parent = nullptr);

    bool isAnimating() const;
    bool isDisplayedWhenStopped() const;

public slots:
    /// Starts at the upright position; restarts there if already running.
    void startAnimation();
    void stopAnimation();

    /// The time between two steps, in milliseconds.
    void setAnimationDelay(int delay);
    void setDisplayedWhenStopped(bool displayed);
    void setColor(const QColor &color);

protected:
    void timerEvent(QTimerEvent *event) override;
    void paintEvent(QPaintEvent *event) override;

private:
    static constexpr int notAnimating = -1;

    int m_angle = 0; // of the opaque bar, degrees clockwise from upright
    int m_timerId = notAnimating;
    std::chrono::milliseconds m_delay{40};
    bool m_displayedWhenStopped = false;
    QColor m_color = Qt::black;
};
