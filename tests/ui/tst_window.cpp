// The window: what it looks like, how mouse and keyboard move through it, and its printers, which are added on its add
// page, changed and removed on their cards.

#include "tests/support/byeye.h"
#include "tests/support/machine.h"
#include "tests/support/printjob.h"
#include "tests/support/storecontent.h"
#include "tests/support/windowfixture.h"
#include "tests/support/world.h"

#include "src/capture/printerserver.h"
#include "src/spooler/cprinter.h"
#include "src/ui/driveritem.h"

#include <QSqlDatabase>
#include <QtWidgets>

#include "emulator/win32/control.h"

namespace {

constexpr unsigned accessDenied = 5;
constexpr unsigned invalidPrinterName = 1801;
const QString serial = "ABCDEF012345678"; // and one digit

/// Whether a text, a button or a field is shown in full, and has a name.
bool isShown(QWidget *part)
{
    const auto *field = qobject_cast<QLineEdit *>(part);
    const QString text = part->property(field ? "placeholderText" : "text").toString();
    const int width = field ? field->fontMetrics().horizontalAdvance(text) + 20 : part->sizeHint().width();
    const bool isNamed = !text.isEmpty() || !part->accessibleName().isEmpty() || part->inherits("QLabel");
    return part->visibleRegion().boundingRect() == part->rect() && (text.isEmpty() || width <= part->width()) &&
           isNamed && (field || !isBlank(part->grab()));
}

QLineEdit *field(const QWidget *card, const QString &name)
{
    return card->findChild<QLineEdit *>(name);
}

void fill(const WindowFixture &fixture, const QString &name, const QString &number)
{
    clickOn(fixture.window(), "pushButton_add");
    field(&fixture.window(), "lineEdit_name")->setText(name);
    field(&fixture.window(), "lineEdit_num")->setText(number);
    clickOn(fixture.window(), "pushButton_ok");
}

/// Ends on the page with the cards and returns the new one.
QWidget *add(const WindowFixture &fixture, const QString &name, const QString &digit)
{
    const int told = fixture.messages().count("添加成功");
    fill(fixture, name, serial.toLower() + digit);
    if (!QTest::qWaitFor([&] { return fixture.messages().count("添加成功") > told; }, 20000))
        qFatal("not added");
    clickOn(fixture.window(), "pushButton_manage");
    QCoreApplication::processEvents();
    return fixture.window().findChildren<DriverItem *>().last();
}

/// Whether the card has left its edit mode.
bool change(const QWidget *card, const QString &name, const QString &number)
{
    if (field(card, "printerName")->isReadOnly())
        clickOn(*card, "modifyButton");
    field(card, "printerName")->setText(name);
    field(card, "cloudSerial")->setText(number);
    QTest::keyClick(field(card, number.isEmpty() ? "printerName" : "cloudSerial"), Qt::Key_Return);
    return field(card, "printerName")->isReadOnly();
}

/// What the store and the spooler hold of a printer.
QString row(const QString &name, const QString &digit, int number)
{
    return name + QString(";Orvo OX-410T;%1%2;OXCloud00%3;810%3;127.0.0.1").arg(serial, digit).arg(number);
}

} // namespace

class WindowTest : public WindowTestCase
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<DriverInfo>("DriverInfo"); }

    void everythingIsInView()
    {
        const char *list = "pushButton_manage";
        for (const auto &[printers, page] : {std::pair(2, list), {0, list}, {0, "pushButton_add"}}) {
            const WindowFixture fixture(m_good->baseAddress(), printers);
            clickOn(fixture.window(), page);
            QCoreApplication::processEvents();
            QRegion taken;
            for (QWidget *part : fixture.window().findChildren<QWidget *>()) {
                if (!part->isVisible() || !part->property("text").isValid())
                    continue;
                const QRect place(part->mapTo(&fixture.window(), QPoint(1, 0)), part->size() - QSize(2, 0));
                QVERIFY2(isShown(part) && !taken.intersects(place), qPrintable(part->objectName()));
                taken += place;
            }
            QVERIFY(taken.rectCount() >= 7);
        }
    }

    void tabLeadsThrough()
    {
        const QStringList card{"refreshButton", "detailButton", "testButton", "modifyButton", "deleteButton"};
        const QStringList sideBar{"pushButton_manage", "pushButton_add"};
        const QStringList form{"lineEdit_name", "lineEdit_num", "pushButton_ok", "pushButton_2", "pushButton"};
        const QList<QStringList> roads{QStringList{"pushButton_manage", "scrollArea"} + card + card + sideBar,
                                       QStringList{"modifyButton", "printerName", "cloudSerial"} + card,
                                       QStringList("pushButton_add") + form + sideBar};
        const WindowFixture fixture(m_good->baseAddress(), 2);
        QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
        for (const QStringList &road : roads) {
            clickOn(fixture.window(), road.first());
            for (const QString &place : road.mid(1)) {
                QCOMPARE(QApplication::focusWidget()->objectName(), place);
                QTest::keyClick(fixture.window().windowHandle(), Qt::Key_Tab);
            }
        }
    }

    /// Enter does what is at hand, and what was typed stays on its page.
    void worksByKeyboard()
    {
        const WindowFixture fixture(m_good->baseAddress());
        QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
        const auto pressEnterIn = [&](const char *name) {
            fixture.window().activateWindow();
            fixture.find<QWidget>(name)->setFocus();
            QTest::keyClick(fixture.window().windowHandle(), Qt::Key_Return);
        };
        pressEnterIn("pushButton_add");
        QTest::keyClicks(QApplication::focusWidget(), "twelve chars");
        for (const char *name :
             {"pushButton_manage", "pushButton_add", "lineEdit_name", "lineEdit_num", "pushButton_ok"})
            pressEnterIn(name);
        QCOMPARE(fixture.find<QLineEdit>("lineEdit_name")->text(), QString("twelve cha"));
        QCOMPARE(fixture.messages().size(), 3);
    }

    void isMovedMinimisedAndHidden()
    {
        const WindowFixture fixture(m_good->baseAddress());
        VelMainWindow &window = fixture.window();
        const QPoint start(100, 50);
        window.move(start);
        const QPoint way(40, 30);
        QTest::mousePress(window.windowHandle(), Qt::LeftButton, Qt::NoModifier, way);
        QTest::mouseMove(window.windowHandle(), 2 * way);
        QCOMPARE(window.pos(), start + way);
        QTest::mouseRelease(window.windowHandle(), Qt::LeftButton, Qt::NoModifier, 2 * way);
        QCOMPARE(window.pos(), start + 2 * way);
        for (const QStringList &buttons : {QStringList{"pushButton_manage", "pushButton_Min", "pushButton_4"},
                                           {"pushButton_add", "pushButton_2", "pushButton"}}) {
            window.showNormal();
            clickOn(fixture.window(), buttons[0]);
            clickOn(fixture.window(), buttons[1]);
            QVERIFY(window.isMinimized() && window.isVisible());
            window.showNormal();
            clickOn(fixture.window(), buttons[2]);
            QVERIFY(!window.isVisible());
        }
    }

    void menuEndsTheProgram()
    {
        for (const QString answer : {"取消", "确定"}) {
            const WindowFixture fixture(m_good->baseAddress());
            const auto *icon = fixture.window().findChild<QSystemTrayIcon *>();
            QTimer::singleShot(0, icon->contextMenu()->actions().last(), &QAction::trigger);
            QTimer::singleShot(50, [&] {
                for (const auto *button : QApplication::activeModalWidget()->findChildren<QPushButton *>())
                    if (button->text() == answer)
                        clickOn(button);
                QTimer::singleShot(0, icon, [] { QCoreApplication::exit(1); });
            });
            QCOMPARE(QApplication::exec(), answer == "取消");
            QCOMPARE(icon->isVisible(), answer == "取消");
        }
    }

    void cleansUpOnce()
    {
        const WindowFixture fixture(m_good->baseAddress());
        const QDir folder(QCoreApplication::applicationDirPath());
        folder.mkpath("logs");
        const auto file = [&](const QString &name, int daysAgo) {
            return folder.filePath(name.arg(QDate::currentDate().addDays(-daysAgo).toString(Qt::ISODate)));
        };
        const QStringList files{file("logs/%1.log", 7), file("details/0123456789ABCDEF%1.txt", 3),
                                file("logs/%1.log", 3), file("details/0123456789ABCDEF%1.txt", 0)};
        for (const QString &name : files)
            QVERIFY(QFile(name).open(QIODevice::WriteOnly));
        const auto timers = [&] { return QAbstractEventDispatcher::instance()->registeredTimers(&fixture.window()); };
        QVERIFY(timers().size() == 1 && timers().first().interval == 5 * 60 * 1000);
        QTimerEvent expiry(timers().first().timerId);
        QCoreApplication::sendEvent(&fixture.window(), &expiry);
        QVERIFY(timers().isEmpty());
        QVERIFY(!QFile::exists(files[0]) && !QFile::exists(files[1]));
        QVERIFY(QFile::exists(files[2]) && QFile::exists(files[3]));
    }

    /// Qt's own texts, in the real program.
    void speaksChinese()
    {
        World world;
        world.startProgram();
        QTRY_VERIFY_WITH_TIMEOUT(world.log().contains("无法执行语句"), 10000);
    }

    void servesWhatTheSpoolerHolds()
    {
        WindowFixture fixture(m_good->baseAddress(), 2);
        Win32Emulator::addDriver("ORVO OX-410T Plus");
        addCloudPrinter("other driver", "OXCloud005", 8105, serial);
        const auto id = Win32Emulator::findPrinter("other driver").id;
        Win32Emulator::changePrinter({id, "other driver", "OXCloud005", "ORVO OX-410T Plus"});
        Win32Emulator::addPrinter("no number", "OXCloud001");
        addCloudPrinter("other port", "oxcloud003", 8103, serial);
        addCloudPrinter("taken", "My OXCloud4", 8101, serial);
        fixture.reopen();
        QStringList shown;
        for (const QWidget *card : fixture.window().findChildren<DriverItem *>())
            shown << field(card, "printerName")->text();
        QCOMPARE(shown, QStringList({"前台", "queue 1", "taken"}));
        QVERIFY(sendJob(8102, "x") && !sendJob(8103, "x"));
    }

    /// Here and in the Windows printer settings.
    void addedChangedAndRemoved()
    {
        WindowFixture fixture(m_good->baseAddress(), 0);
        auto *hint = fixture.find<QLabel>("emptyHint");
        const QPoint link(hint->fontMetrics().horizontalAdvance("您还没有打印机，请点击“") + 10, hint->height() / 2);
        QTest::mouseClick(hint, Qt::LeftButton, Qt::NoModifier, link);
        QVERIFY(field(&fixture.window(), "lineEdit_name")->isVisible());
        const QPointer<QWidget> first = add(fixture, "a", "1");
        const QPointer<QWidget> second = add(fixture, "新 it %1", "2");
        QVERIFY(!hint->isVisible() && second->y() < first->y());
        QCOMPARE(storeContent("task.db"), QStringList({"ok", row("a", "1", 1), row("新 it %1", "2", 2)}));
        fixture.window().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
        for (int part = 0; part < 6; ++part) {
            QTest::keyClick(fixture.window().windowHandle(), Qt::Key_Tab);
            QCOMPARE(second->isAncestorOf(QApplication::focusWidget()), part < 5);
        }

        QVERIFY(change(second, "新 it %1", serial + '6'));
        QCOMPARE(deviceOf(8102), serial + '6');
        QCOMPARE(fixture.recordsOf(serial + '6', 1).size(), 1);
        QVERIFY(change(second, "改名", (serial + '3').toLower()));
        QTest::keyClick(field(second, "cloudSerial"), Qt::Key_Return);
        QVERIFY2(field(second, "cloudSerial")->isReadOnly(), "Enter only saves");
        QCOMPARE(storeContent("task.db").last(), row("改名", "3", 2));
        QCOMPARE(deviceOf(8102), serial + '3');

        Win32Emulator::removePrinter("a");
        CPrinter().RenamePrinter("改名", "b");
        bool listened = true;
        QObject *window = &fixture.window();
        const auto beBusy = [] { QThread::msleep(200); };
        Win32Emulator::beforeCall("EnumPortsW",
                                  [&] { QMetaObject::invokeMethod(window, beBusy, Qt::QueuedConnection); });
        Win32Emulator::beforeCall("EnumPrinterDriversW", [&] { listened = bool(sendJob(8101, "x")); });
        const QPointer<QWidget> third = add(fixture, "改名", "4");
        QVERIFY2(!listened, "the old server does not wait for the new queue's jobs");
        QTRY_VERIFY(!first);
        QCOMPARE(storeContent("task.db"), QStringList({"ok", row("b", "3", 2), row("改名", "4", 1)}));
        QCOMPARE(deviceOf(8101), serial + '4');

        clickOn(*third, "deleteButton");
        clickOn(*third, "deleteButton"); // impatiently
        QTRY_VERIFY(!third);
        QCOMPARE(storeContent("task.db"), QStringList({"ok", row("b", "3", 2)}));
        QVERIFY(!sendJob(8101, "x"));
        QCOMPARE(fixture.window().findChildren<PrinterServer *>().size(), 1);
        add(fixture, "a", "5");
        QCOMPARE(deviceOf(8101), serial + '5');
        fixture.know("b", 8102);
        fixture.print("document", "22", 0);
        QCOMPARE(fixture.recordsOf(serial + '3', 2).last(), QString("document;09:02:03;打印成功;2"));
        QVERIFY(!QSqlDatabase::database(QSqlDatabase::defaultConnection, false).isOpen());
    }

    void refusesWhatWasTyped()
    {
        const WindowFixture fixture(m_good->baseAddress());
        const QStringList before = machineContent();
        QSemaphore gate;
        Win32Emulator::beforeCall("EnumPrintersW", [&] { gate.acquire(); }); // where adding begins
        fill(fixture, "", "");
        fill(fixture, "a", serial);
        fill(fixture, "a", serial + 'G');
        fill(fixture, "", serial + '1');
        fill(fixture, "前台", serial + '1');
        QWidget *waiting = QApplication::activeModalWidget();
        QVERIFY(waiting && waiting->geometry().center() == fixture.window().geometry().center());
        clickOn(fixture.window(), "pushButton_manage"); // locked
        QTest::keyClick(waiting, Qt::Key_Escape);
        const QImage frame = waiting->grab().toImage();
        QTRY_VERIFY(waiting->grab().toImage() != frame);
        QVERIFY(waiting->isVisible());
        gate.release();
        QTRY_COMPARE(fixture.messages(), QStringList({"请输入云序号!", "云序号输入错误!", "云序号输入错误!",
                                                      "请输入打印机名称!", "当前打印机已经存在!"}));
        const auto *number = field(&fixture.window(), "lineEdit_num");
        QVERIFY(!waiting->isVisible() && number->isVisible());
        QCOMPARE(number->text(), serial + '1');
        QCOMPARE(machineContent(), before);
        QCOMPARE(storeContent("task.db"), QStringList("ok"));
    }

    void failuresLeaveThePrinter()
    {
        const QString same = WindowFixture::serial();
        const QStringList changes[]{
            {"Front desk", "", "", "请输入云序号!"}, // name, serial, the call that fails, message
            {"Front desk", "ABC", "", "云序号输入错误!"},
            {"Front desk", serial + '1', "OpenPrinterW", "打印机名无效!"},
            {"Front desk", serial + '1', "SetPrinterDataW", "修改云序号失败!"},
            {"Desk", same, "SetPrinterW", "修改打印机名失败!"}};
        const WindowFixture fixture(m_good->baseAddress(), 1, "Front desk on the left");
        const QPointer<QWidget> card = fixture.card();
        const QStringList before = machineContent();
        for (const QStringList &row : changes) {
            Win32Emulator::failCalls(row[2].toStdString(),
                                     row[2] == "OpenPrinterW" ? invalidPrinterName : accessDenied);
            QVERIFY(!change(card, row[0], row[1]));
            QCOMPARE(fixture.messages().last(), row[3]);
            QCOMPARE(field(card, "printerName")->text(), row[0]); // to be corrected
            QCOMPARE(machineContent(), before);
        }
        Win32Emulator::clearCalls();
        QVERIFY(change(card, "FRONT DESK", same.toLower()));
        QVERIFY2(Win32Emulator::calls().empty(), "neither letter case nor the part that is not shown is a change");
        QCOMPARE(field(card, "printerName")->text(), QString("Front desk"));

        Win32Emulator::failCalls("DeletePrinter", accessDenied);
        DialogCloser user;
        clickOn(*card, "deleteButton");
        QCOMPARE(user.awaitText(), QString("删除打印机失败"));
        QVERIFY(card && sendJob(8101, "x"));
        clickOn(*card, "deleteButton");
        QTRY_VERIFY(!card);
        QVERIFY(fixture.find<QLabel>("emptyHint")->isVisible());
    }

private:
    /// The serial that the next job to the port reaches.
    QString deviceOf(quint16 port)
    {
        const int jobs = m_good->jobs().size();
        const auto arrives = [&] { return m_good->jobs().size() > jobs; };
        return sendJob(port, "x") && QTest::qWaitFor(arrives) ? m_good->jobs().last().dsNumber : QString();
    }
};

QTEST_MAIN(WindowTest)
#include "tst_window.moc"
