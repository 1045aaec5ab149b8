// The real program with a real tray, under a window manager.

#include "tests/support/uidriver.h"

#include <QStandardPaths>
#include <QTcpSocket>
#include <QTest>

namespace {

const QString mainWindow = "^ORVO";
const QString exitQuestion = "^注意";
const QString closeButton = "pushButton_4";
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
    void startProgram(bool withTray = true);
    bool isShown(const QString &title) const { return !m_user->desktop().windows(title).isEmpty(); }
    void clickIcon(const QStringList &click);
    void chooseInMenu(const QString &key);
    void startJobs(QTcpSocket &spooler);

    std::unique_ptr<World> m_world;
    std::unique_ptr<UiDriver> m_user;
};

void TrayTest::initTestCase()
{
    for (const char *tool : {"Xvfb", "openbox", "trayer", "xdotool"})
        QVERIFY2(!QStandardPaths::findExecutable(tool).isEmpty(), tool);
}

void TrayTest::cleanup()
{
    m_world.reset(); // before its display
    m_user.reset();
}

void TrayTest::startProgram(bool withTray)
{
    m_world = std::make_unique<World>();
    QVERIFY(m_world->addPrinters(queues) && m_world->startSpooler());
    m_user = std::make_unique<UiDriver>(*m_world);
    m_user->desktop().startWindowManager();
    if (withTray)
        m_user->desktop().startTray();
    QVERIFY(m_user->startProgram());
}

void TrayTest::clickIcon(const QStringList &click)
{
    const auto isClicked = [&] { return m_user->desktop().clickTrayIcon(m_world->program()->processId(), click); };
    QVERIFY(QTest::qWaitFor(isClicked, 10000));
}

/// The menu takes the keyboard once it is open.
void TrayTest::chooseInMenu(const QString &key)
{
    clickIcon({"3"});
    QTest::qWait(500);
    m_user->desktop().press({key, "Return"});
}

void TrayTest::doubleClickBringsTheWindowBack_data()
{
    QTest::addColumn<bool>("trayComesLater");
    QTest::addColumn<QString>("button");
    QTest::newRow("hidden") << false << closeButton;
    QTest::newRow("minimised") << false << "pushButton_Min";
    QTest::newRow("tray comes later") << true << closeButton;
}

void TrayTest::doubleClickBringsTheWindowBack()
{
    QFETCH(bool, trayComesLater);
    QFETCH(QString, button);
    startProgram(!trayComesLater);
    if (trayComesLater) {
        QTest::qWait(1000);
        m_user->desktop().startTray();
    }
    m_user->click(button);
    QTRY_VERIFY(!isShown(mainWindow));
    clickIcon({"1"});
    QTest::qWait(1000); // longer than the time in which a second click would make it a double one
    QVERIFY(!isShown(mainWindow));
    clickIcon({"--repeat", "2", "--delay", "50", "1"});
    QTRY_VERIFY(isShown(mainWindow));
}

void TrayTest::secondStartBringsTheWindowBack_data()
{
    QTest::addColumn<QString>("button");
    QTest::newRow("hidden") << closeButton;
    QTest::newRow("minimised") << "pushButton_Min";
}

void TrayTest::secondStartBringsTheWindowBack()
{
    QFETCH(QString, button);
    startProgram();
    const QString window = m_user->desktop().windows(mainWindow).value(0);
    m_user->click(button);
    QTRY_VERIFY(!isShown(mainWindow));
    QProcess *second = m_world->start("OrvoCloudManager");
    QVERIFY(second->waitForFinished());
    QCOMPARE(second->exitCode(), 0);
    QTRY_VERIFY(isShown(mainWindow));
    QTRY_COMPARE(m_user->desktop().activeWindow(), window);
}

void TrayTest::menuShowsTheWindow()
{
    startProgram();
    m_user->click(closeButton);
    QTRY_VERIFY(!isShown(mainWindow));
    chooseInMenu("Down");
    QTRY_VERIFY(isShown(mainWindow));
}

/// One that does not end, and one that the cloud has received and does not answer.
void TrayTest::startJobs(QTcpSocket &spooler)
{
    constexpr int hour = 3600 * 1000; // ms
    QVERIFY(m_world->startCloud({"--delay", QString::number(hour)}));
    spooler.connectToHost("127.0.0.1", m_world->port(0));
    QVERIFY(spooler.waitForConnected());
    spooler.write("x");
    QTRY_VERIFY(m_world->log().contains("12_PrinterThread init"));
    QVERIFY(m_world->print(1, "document", "x"));
    QTRY_COMPARE(m_world->posts().size(), 1);
}

/// With all that there is for the end to stop and to free.
void TrayTest::menuEndsTheProgram()
{
    QTcpSocket spooler;
    startProgram();
    chooseInMenu("Up");
    QTRY_VERIFY(isShown(exitQuestion));
    m_user->desktop().press({"Escape"});
    QTRY_VERIFY(!isShown(exitQuestion));
    QVERIFY(isShown(mainWindow));

    chooseInMenu("Up");
    QTRY_VERIFY(isShown(exitQuestion));
    QTest::qWait(500); // the window manager gives it the keyboard
    startJobs(spooler);
    m_user->desktop().press({"Return"});
    QVERIFY(m_world->program()->waitForFinished(10000));
    QCOMPARE(m_world->program()->exitCode(), 0);
    QVERIFY(m_world->log().contains("92_PrinterThread"));
}

QTEST_MAIN(TrayTest)
#include "tst_tray.moc"
