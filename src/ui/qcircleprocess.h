#pragma once

#include <QColor>
#include <QWidget>

/// A busy indicator: a ring of twelve bars that fade behind a head, which moves clockwise from bar to bar. Stopped, it
/// is invisible unless told otherwise. Main thread; owned by its parent.
class QCircleProcess : public QWidget
{
    Q_OBJECT

public:
    /// Resized to `size` by `size` pixels.
    explicit QCircleProcess(int size, QWidget *parent = nullptr);

    bool isAnimating() const;
    bool isDisplayedWhenStopped() const;

public slots:
    /// Turns from the upright position. While it turns already it only starts over from there.
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

    int m_angle = 0; // of the head, degrees clockwise from upright
    int m_timerId = notAnimating;
    int m_delay = 40; // ms
    bool m_displayedWhenStopped = false;
    QColor m_color = Qt::black;
};
