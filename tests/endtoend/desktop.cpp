#include "tests/endtoend/desktop.h"

#include <QProcessEnvironment>

namespace {
constexpr int timeout = 10000; // ms
}

Desktop::Desktop()
{
    // The server writes the number of the display that it has chosen to the named descriptor, its standard output. When
    // its last client leaves, it would begin anew and turn away who comes in that instant.
    m_server.start("Xvfb",
                   {"-displayfd", "1", "-screen", "0", "1280x800x24", "-dpi", "96", "-nolisten", "tcp", "-noreset"});
    while (!m_server.canReadLine() && m_server.waitForReadyRead(timeout)) {
    }
    const QByteArray number = m_server.readLine().trimmed();
    if (!number.isEmpty())
        m_display = ':' + QString::fromLatin1(number);
}

Desktop::~Desktop()
{
    m_server.terminate();
    m_server.waitForFinished(timeout);
}

QStringList Desktop::windows(const QSize &size) const
{
    QStringList found;
    const QStringList all = hand({"search", "--onlyvisible", "--name", ""}).split('\n', Qt::SkipEmptyParts);
    const QString geometry = QString("Geometry: %1x%2").arg(size.width()).arg(size.height());
    for (const QString &window : all)
        if (hand({"getwindowgeometry", window}).contains(geometry))
            found << window;
    return found;
}

void Desktop::click(const QString &window, const QPoint &position) const
{
    hand({"windowfocus", window, "mousemove", "--window", window, QString::number(position.x()),
          QString::number(position.y()), "click", "1"});
}

void Desktop::type(const QString &window, const QPoint &position, const QString &text) const
{
    click(window, position);
    hand({"key", "ctrl+a", "key", "Delete"});
    hand({"type", text});
}

QString Desktop::hand(const QStringList &arguments) const
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("DISPLAY", m_display);
    process.setProcessEnvironment(environment);
    process.start("xdotool", arguments);
    process.waitForFinished(timeout);
    return QString::fromUtf8(process.readAllStandardOutput());
}
