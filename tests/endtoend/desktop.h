#pragma once

#include <QPoint>
#include <QProcess>
#include <QSize>
#include <QString>
#include <QStringList>

/// A display in memory and the user's hand on it (Xvfb and xdotool).
class Desktop
{
public:
    Desktop();
    ~Desktop();
    Q_DISABLE_COPY(Desktop)

    /// For DISPLAY; empty when the display did not come up.
    const QString &display() const { return m_display; }

    /// Visible windows of the size, in logical pixels.
    QStringList windows(const QSize &size) const;

    void click(const QString &window, const QPoint &position) const;

    /// Clicks into a line edit and replaces what it holds.
    void type(const QString &window, const QPoint &position, const QString &text) const;

private:
    QString hand(const QStringList &arguments) const;

    QProcess m_server;
    QString m_display;
};
