// The real program on a display: its window, its tray icon, and the life of a printer by mouse and keyboard.

#include "tests/support/machine.h"
#include "tests/support/storecontent.h"
#include "tests/support/uidriver.h"

#include <QTcpSocket>
#include <QTest>

namespace {

constexpr int timeout = 20000; // ms
const QString mainWindow = "^ORVO";
const QString exitQuestion = "^注意";
const QStringList doubleClick{"--repeat", "2", "--delay", "50", "1"};
const QString serial = "ABCDEF0123456789";
const QString otherSerial = "0123456789ABCDE0";

} // namespace

class DesktopTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_world = std::make_unique<World>();
        m_user = std::make_unique<UiDriver>(*m_world);
    }
    void cleanup()
    {
        m_world.reset(); // before its display
        m_user.reset();
    }

    void aPrintersLife();
    void windowAndTray();
    void scaleOf150Percent();

private:
    Desktop &desktop() { return m_user->desktop(); }
    bool isShown(const QString &title) { return !desktop().windows(title).isEmpty(); }
    bool hides(const QString &title);
    bool activates(const QString &title);
    bool prints(const QString &queue, const QString &number, const QByteArray &bytes);
    void clickIcon(const QStringList &click);
    void chooseInMenu(const QString &key);

    std::unique_ptr<World> m_world;
    std::unique_ptr<UiDriver> m_user;
};

/// Waits until no such window is shown.
bool DesktopTest::hides(const QString &title)
{
    return QTest::qWaitFor([&] { return !isShown(title); }, timeout);
}

/// Waits until such a window is shown and has the keyboard.
bool DesktopTest::activates(const QString &title)
{
    const auto isActive = [&] { return desktop().windows(title).value(0, "none") == desktop().activeWindow(); };
    return QTest::qWaitFor(isActive, timeout);
}

bool DesktopTest::prints(const QString &queue, const QString &number, const QByteArray &bytes)
{
    const QString record = QString(";打印成功;%1;").arg(bytes.size());
    return m_world->print(queue, "document", bytes) &&
           QTest::qWaitFor([&] { return m_world->journal(number).contains(record); }, timeout);
}

void DesktopTest::aPrintersLife()
{
    QVERIFY(m_world->startSpooler() && m_world->startCloud({"--polls", "0"}) && m_user->startProgram());
    QVERIFY(m_user->addPrinter("Desk 1", serial.toLower()));
    QTRY_VERIFY(m_world->queues().startsWith("Desk 1\tOXCloud001\tOrvo OX-410T\t" + serial + "\t8101"));
    QVERIFY(prints("Desk 1", serial, "one"));

    QVERIFY(m_user->addPrinter("Desk 2", "1111222233334444"));
    m_user->click("modifyButton"); // of Desk 2: the newest stands first
    m_user->type("printerName", "Desk B");
    m_user->type("cloudSerial", otherSerial);
    m_user->click("modifyButton");
    QTRY_VERIFY(m_world->queues().contains("Desk B\tOXCloud002\tOrvo OX-410T\t" + otherSerial));
    QVERIFY(prints("Desk B", otherSerial, "four"));
    QVERIFY(m_world->posts().last().contains(otherSerial.toLatin1()));

    m_user->click("deleteButton");
    QTRY_VERIFY(!m_world->queues().contains("Desk B"));
    QVERIFY(m_user->addPrinter("Desk 2", otherSerial));
    const QStringList stored{"ok", storedPrinter(1, serial), storedPrinter(2, otherSerial)};
    QTRY_COMPARE(storeContent(m_world->path("task.db")), stored);
    m_world->program()->kill();
    QVERIFY(m_world->program()->waitForFinished() && m_user->startProgram());
    m_user->click("deleteButton"); // now Desk 1 is the first, as in the spooler
    QTRY_VERIFY(!m_world->queues().contains("Desk 1"));
    QVERIFY(prints("Desk 2", otherSerial, "fives"));
}

void DesktopTest::clickIcon(const QStringList &click)
{
    const qint64 program = m_world->program()->processId();
    QVERIFY(QTest::qWaitFor([&] { return desktop().clickTrayIcon(program, click); }, timeout));
}

/// The menu takes the keyboard once it is open.
void DesktopTest::chooseInMenu(const QString &key)
{
    const int windows = desktop().windows(QString()).size();
    clickIcon({"3"});
    QTRY_VERIFY_WITH_TIMEOUT(desktop().windows(QString()).size() > windows, timeout);
    desktop().press({key, "Return"});
}

void DesktopTest::windowAndTray()
{
    QVERIFY(m_world->addPrinters({"held", "silent"}) && m_world->startSpooler());
    desktop().startWindowManager();
    QVERIFY(m_user->startProgram());
    desktop().startTray(); // the icon comes later, too
    for (const QString button : {"pushButton_4", "pushButton_Min"}) {
        m_user->click(button);
        QVERIFY(hides(mainWindow));
        clickIcon({"1"});
        QTest::qWait(700); // longer than the time in which a second click would make it a double one
        QVERIFY(!isShown(mainWindow));
        clickIcon(doubleClick);
        QVERIFY(activates(mainWindow));
        m_user->click(button);
        QVERIFY(hides(mainWindow));
        QCOMPARE(m_world->run("OrvoCloudManager"), 0);
        QVERIFY(activates(mainWindow));
    }
    // More than once: the first key that is pressed on a display can be lost while the server changes to that keyboard.
    QVERIFY(QTest::qWaitFor(
        [&] {
            desktop().press({"alt+F4"});
            return !isShown(mainWindow);
        },
        timeout));
    // The question is now the last window that closes.
    chooseInMenu("Up");
    QVERIFY(activates(exitQuestion));
    desktop().press({"Escape"});
    QVERIFY(hides(exitQuestion));
    chooseInMenu("Down");
    QVERIFY(activates(mainWindow));

    // One job that does not end, and one that the cloud has received and does not answer.
    QVERIFY(m_world->startCloud({"--delay", "100000"}));
    QTcpSocket spooler;
    spooler.connectToHost("127.0.0.1", m_world->port(0));
    spooler.write("x");
    QTRY_COMPARE(m_world->logged("12_PrinterThread init"), 1);
    QVERIFY(m_world->print(1, "document", "x"));
    QTRY_COMPARE(m_world->posts().size(), 1);
    chooseInMenu("Up");
    QVERIFY(activates(exitQuestion));
    desktop().press({"Return"});
    QVERIFY(m_world->program()->waitForFinished(timeout));
    QCOMPARE(m_world->program()->exitCode(), 0);
    QCOMPARE(m_world->logged("92_PrinterThread"), 2);
    qputenv("WIN32_EMULATOR_HOME", m_world->path("win32").toLocal8Bit());
    QCOMPARE(argumentsOf("AllowSetForegroundWindow"), QStringList({"any", "any"}));
}

void DesktopTest::scaleOf150Percent()
{
    desktop().startWindowManager();
    desktop().startTray();
    m_world->setEnvironment("QT_FONT_DPI", "144");
    m_world->startProgram();
    // Not QTRY_VERIFY: it counts its looks, and each of these starts many processes.
    QVERIFY(QTest::qWaitFor([&] { return !desktop().windows(m_user->size() * 3 / 2).isEmpty(); }, timeout));
    clickIcon({"1"});
}

QTEST_MAIN(DesktopTest)
#include "tst_desktop.moc"
