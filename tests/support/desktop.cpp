#include "tests/support/desktop.h"

namespace {

constexpr int timeout = 10000; // ms

} // namespace

Desktop::Desktop(const QString &display)
{
    m_environment.insert("DISPLAY", display);
    if (!display.isEmpty())
        return;
    // The server writes the number of the display that it has chosen to the given descriptor, its standard output.
    // Without -noreset it restarts when its last client leaves, and refuses connections meanwhile.
    start("Xvfb", {"-displayfd", "1", "-screen", "0", "1280x800x24", "-dpi", "96", "-nolisten", "tcp", "-noreset"});
    QProcess &server = *m_processes.front();
    while (!server.canReadLine() && server.waitForReadyRead(timeout)) {
    }
    m_environment.insert("DISPLAY", ':' + QString::fromLatin1(server.readLine().trimmed()));
}

/// The display last.
Desktop::~Desktop()
{
    for (; !m_processes.empty(); m_processes.pop_back()) {
        m_processes.back()->terminate();
        m_processes.back()->waitForFinished(timeout);
    }
}

void Desktop::start(const QString &program, const QStringList &arguments)
{
    m_processes.push_back(std::make_unique<QProcess>());
    m_processes.back()->setProcessEnvironment(m_environment);
    m_processes.back()->start(program, arguments);
    m_processes.back()->waitForStarted();
}

QStringList Desktop::windows(const QSize &size) const
{
    QStringList found;
    const QStringList all = windows(QString());
    for (const QString &window : all)
        if (sizeOf(window) == size)
            found << window;
    return found;
}

bool Desktop::clickTrayIcon(qint64 process, const QStringList &click) const
{
    constexpr int smallestDialog = 60;
    const QStringList all =
        lines({"search", "--onlyvisible", "--all", "--pid", QString::number(process), "--name", ""});
    for (const QString &window : all) {
        if (const int width = sizeOf(window).width(); width <= 1 || width >= smallestDialog)
            continue;
        hand(QStringList{"mousemove", "--window", window, "10", "10", "click"} + click);
        return true;
    }
    return false;
}

QSize Desktop::sizeOf(const QString &window) const
{
    const QString geometry = hand({"getwindowgeometry", "--shell", window});
    const auto number = [&](const QString &key) { return geometry.section(key, 1).section('\n', 0, 0).toInt(); };
    return {number("WIDTH="), number("HEIGHT=")};
}

void Desktop::click(const QString &window, const QPoint &position) const
{
    hand({"windowfocus", window, "mousemove", "--window", window, QString::number(position.x()),
          QString::number(position.y()), "click", "1"});
}

void Desktop::type(const QString &text) const
{
    press({"ctrl+a", "Delete"});
    hand({"type", text});
}

QString Desktop::hand(const QStringList &arguments) const
{
    QProcess process;
    process.setProcessEnvironment(m_environment);
    process.start("xdotool", arguments);
    process.waitForFinished(timeout);
    return QString::fromUtf8(process.readAllStandardOutput());
}
