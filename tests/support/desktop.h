#pragma once

#include <QPoint>
#include <QProcess>
#include <QProcessEnvironment>
#include <QSize>
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

    void startWindowManager() { start("openbox"); }
    /// A host for tray icons, at the lower right.
    void startTray() { start("trayer", {"--edge", "bottom", "--align", "right", "--widthtype", "request"}); }

    /// For DISPLAY.
    QString display() const { return m_environment.value("DISPLAY"); }

    /// Identifiers of the visible windows of that size, or with a title that matches a pattern.
    QStringList windows(const QSize &size) const;
    QStringList windows(const QString &title) const { return lines({"search", "--onlyvisible", "--name", title}); }

    /// The window that has the keyboard.
    QString activeWindow() const { return hand({"getactivewindow"}).trimmed(); }

    void click(const QString &window, const QPoint &position) const;
    /// Clicks the icon of a process in the tray: its one visible window that is smaller than any dialog. `click` is a
    /// mouse button of xdotool, with its options before it. False while there is no icon.
    bool clickTrayIcon(qint64 process, const QStringList &click) const;

    /// Returns when it is no longer visible.
    void minimise(const QString &window) const { hand({"windowminimize", "--sync", window}); }

    /// Replaces the text of the line edit that has the keyboard.
    void type(const QString &text) const;

    /// Presses keys in the window that has the keyboard.
    void press(const QStringList &keys) const { hand(QStringList{"key", "--delay", "100"} + keys); }

private:
    void start(const QString &program, const QStringList &arguments = {});
    QString hand(const QStringList &arguments) const;
    QStringList lines(const QStringList &arguments) const { return hand(arguments).split('\n', Qt::SkipEmptyParts); }
    QSize sizeOf(const QString &window) const;

    QProcessEnvironment m_environment = QProcessEnvironment::systemEnvironment();
    std::vector<std::unique_ptr<QProcess>> m_processes;
};
