// The real program with a real tray: a display in memory, a window manager, a host for tray icons, and a hand that
// clicks.

#include "tests/support/installation.h"

#include <QStandardPaths>
#include <QTcpSocket>
#include <QTest>

namespace {

const QString mainWindow = "^ORVO";
const QString exitQuestion = "^注意";
const QStringList queues{"held", "silent"};

} // namespace

class TrayTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void doubleClickBringsTheWindowBack_data();
    void doubleClickBringsTheWindowBack();
    void secondStartBringsTheWindowBack_data();
    void secondStartBringsTheWindowBack();
    void menuShowsTheWindow();
    void menuEndsTheProgram();

private:
    /// Starts a helper of the system's, which ends with the test.
    void startHelper(const QString &name, const QStringList &arguments = {});
    void startTray();
    void startProgram();
    void putJobsOnTheRoad(QTcpSocket &spooler);
    static QString hand(const QStringList &arguments);
    bool shows(const QString &title) const;
    /// The program's icon in the tray: its one window that is smaller than any dialog.
    QString trayIcon() const;
    void clickIcon(const QStringList &click);
    void chooseInMenu(const QString &key);
    void clickWindow(int x, int y);

    std::vector<std::unique_ptr<QProcess>> m_helpers;
    std::unique_ptr<Installation> m_installation;
    QProcess *m_program = nullptr;
};

void TrayTest::initTestCase()
{
    for (const char *tool : {"Xvfb", "openbox", "trayer", "xdotool"})
        QVERIFY2(!QStandardPaths::findExecutable(tool).isEmpty(), tool);
    qputenv("QT_QPA_PLATFORM", "xcb");
    qunsetenv("DBUS_SESSION_BUS_ADDRESS"); // another desktop's tray may be reached through it
}

void TrayTest::cleanup()
{
    m_installation.reset();
    while (!m_helpers.empty()) { // the display last
        m_helpers.back()->terminate();
        m_helpers.back()->waitForFinished();
        m_helpers.pop_back();
    }
}

void TrayTest::startHelper(const QString &name, const QStringList &arguments)
{
    m_helpers.push_back(std::make_unique<QProcess>());
    m_helpers.back()->start(name, arguments);
    QVERIFY(m_helpers.back()->waitForStarted());
}

void TrayTest::startTray()
{
    startHelper("trayer", {"--edge", "bottom", "--align", "right", "--widthtype", "request", "--height", "28"});
}

void TrayTest::startProgram()
{
    startHelper("Xvfb", {"-displayfd", "1", "-screen", "0", "1200x800x24", "-dpi", "96", "-nolisten", "tcp"});
    QVERIFY(m_helpers.back()->waitForReadyRead(10000));
    qputenv("DISPLAY", ':' + m_helpers.back()->readLine().trimmed());
    startHelper("openbox");
    m_installation = std::make_unique<Installation>();
    QVERIFY(m_installation->addPrinters(queues));
    m_program = m_installation->startProgram();
    QTRY_VERIFY_WITH_TIMEOUT(shows(mainWindow), 10000);
}

QString TrayTest::hand(const QStringList &arguments)
{
    QProcess process;
    process.start("xdotool", arguments);
    process.waitForFinished();
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

bool TrayTest::shows(const QString &title) const
{
    return !hand(
                {"search", "--onlyvisible", "--all", "--pid", QString::number(m_program->processId()), "--name", title})
                .isEmpty();
}

QString TrayTest::trayIcon() const
{
    const QString pid = QString::number(m_program->processId());
    const QStringList windows =
        hand({"search", "--onlyvisible", "--all", "--pid", pid, "--name", ""}).split('\n', Qt::SkipEmptyParts);
    for (const QString &window : windows) {
        const QString geometry = hand({"getwindowgeometry", "--shell", window});
        const int width = geometry.section("WIDTH=", 1).section('\n', 0, 0).toInt();
        if (width > 1 && width < 60)
            return window;
    }
    return QString();
}

void TrayTest::clickIcon(const QStringList &click)
{
    QTRY_VERIFY_WITH_TIMEOUT(!trayIcon().isEmpty(), 10000);
    hand(QStringList{"mousemove", "--window", trayIcon(), "10", "10", "click"} + click);
}

/// The menu takes the keyboard once it is open.
void TrayTest::chooseInMenu(const QString &key)
{
    clickIcon({"3"});
    QTest::qWait(500);
    hand({"key", "--delay", "100", key, "Return"});
}

void TrayTest::clickWindow(int x, int y)
{
    const QString window = hand({"search", "--onlyvisible", "--name", mainWindow});
    hand({"mousemove", "--window", window, QString::number(x), QString::number(y), "click", "1"});
}

void TrayTest::doubleClickBringsTheWindowBack_data()
{
    QTest::addColumn<bool>("trayComesLater");
    QTest::addColumn<int>("button"); // x of it
    QTest::newRow("hidden") << false << 731;
    QTest::newRow("minimised") << false << 696;
    QTest::newRow("tray comes later") << true << 731;
}

void TrayTest::doubleClickBringsTheWindowBack()
{
    QFETCH(bool, trayComesLater);
    QFETCH(int, button);
    startProgram();
    if (trayComesLater)
        QTest::qWait(1000);
    startTray();
    clickWindow(190 + button, 29);
    QTRY_VERIFY(!shows(mainWindow));
    clickIcon({"1"});
    QTest::qWait(1000); // longer than the time in which a second click would make it a double one
    QVERIFY(!shows(mainWindow));
    clickIcon({"--repeat", "2", "--delay", "50", "1"});
    QTRY_VERIFY(shows(mainWindow));
}

void TrayTest::secondStartBringsTheWindowBack_data()
{
    QTest::addColumn<int>("button"); // x of it
    QTest::newRow("hidden") << 731;
    QTest::newRow("minimised") << 696;
}

void TrayTest::secondStartBringsTheWindowBack()
{
    QFETCH(int, button);
    startProgram();
    const QString window = hand({"search", "--onlyvisible", "--name", mainWindow});
    clickWindow(190 + button, 29);
    QTRY_VERIFY(!shows(mainWindow));
    QProcess *second = m_installation->startProgram();
    QVERIFY(second->waitForFinished());
    QCOMPARE(second->exitCode(), 0);
    QTRY_VERIFY(shows(mainWindow));
    QTRY_COMPARE(hand({"getactivewindow"}), window);
}

void TrayTest::menuShowsTheWindow()
{
    startProgram();
    startTray();
    clickWindow(190 + 731, 29);
    QTRY_VERIFY(!shows(mainWindow));
    chooseInMenu("Down");
    QTRY_VERIFY(shows(mainWindow));
}

/// One that does not end, and one that the cloud has taken and does not answer for.
void TrayTest::putJobsOnTheRoad(QTcpSocket &spooler)
{
    constexpr int hour = 3600 * 1000; // ms
    QVERIFY(m_installation->startCloud({"--delay", QString::number(hour)}));
    spooler.connectToHost("127.0.0.1", m_installation->port(0));
    QVERIFY(spooler.waitForConnected());
    spooler.write("x");
    QTRY_VERIFY(m_installation->folder().log().contains("12_PrinterThread init"));
    QVERIFY(m_installation->print(1, "document", "x"));
    QTRY_COMPARE(m_installation->posts().size(), 1);
}

/// With all that there is for the end to stop and to free.
void TrayTest::menuEndsTheProgram()
{
    QTcpSocket spooler;
    startProgram();
    startTray();
    chooseInMenu("Up");
    QTRY_VERIFY(shows(exitQuestion));
    hand({"key", "Escape"});
    QTRY_VERIFY(!shows(exitQuestion));
    QVERIFY(shows(mainWindow));

    chooseInMenu("Up");
    QTRY_VERIFY(shows(exitQuestion));
    QTest::qWait(500); // the window manager gives it the keyboard
    putJobsOnTheRoad(spooler);
    hand({"key", "Return"});
    QVERIFY(m_program->waitForFinished(10000));
    QCOMPARE(m_program->exitCode(), 0);
    QVERIFY(m_installation->folder().log().contains("92_PrinterThread"));
}

QTEST_GUILESS_MAIN(TrayTest)
#include "tst_tray.moc"
