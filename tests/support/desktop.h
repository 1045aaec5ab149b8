#pragma once

#include <QPoint>
#include <QProcess>
#include <QSize>
#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

/// A display with a hand on it (xdotool). Coordinates are those of a window.
class Desktop
{
public:
    /// Uses a display that exists, or without a name starts one in memory that ends with the object.
    explicit Desktop(const QString &display = QString());
    ~Desktop();
    Q_DISABLE_COPY(Desktop)

    void startWindowManager();
    /// A host for tray icons, at the lower right.
    void startTray();

    /// For DISPLAY; empty when the display did not start.
    const QString &display() const { return m_display; }

    /// Identifiers of the visible windows of that size, or with a title that matches.
    QStringList windows(const QSize &size) const;
    QStringList windows(const QString &titlePattern) const;

    /// The window that has the keyboard.
    QString activeWindow() const { return hand({"getactivewindow"}).trimmed(); }

    void click(const QString &window, const QPoint &position) const;
    /// Clicks the icon of a process in the tray: its one visible window that is smaller than any dialog. `click` is a
    /// mouse button of xdotool, with its options before it. False while there is no icon.
    bool clickTrayIcon(qint64 process, const QStringList &click) const;

    /// Clicks into a line edit and replaces its text.
    void type(const QString &window, const QPoint &position, const QString &text) const;

    /// Presses keys in the window that has the keyboard.
    void press(const QStringList &keys) const;

private:
    void startServer();
    void start(const QString &program, const QStringList &arguments = {});
    QString hand(const QStringList &arguments) const;
    QSize sizeOf(const QString &window) const;

    std::vector<std::unique_ptr<QProcess>> m_processes;
    QString m_display;
    bool m_hasWindowManager = false;
};
