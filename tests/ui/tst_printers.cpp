// The printers of the window: added on its add page, changed and removed on their cards.

#include "tests/support/windowfixture.h"

#include "src/base/runningthreads.h"
#include "src/spooler/cprinter.h"
#include "src/store/printerstore.h"
#include "src/ui/driveritem.h"
#include "src/ui/settingsdlg.h"
#include "src/ui/waittingdlg.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QMovie>
#include <QPointer>
#include <QPushButton>
#include <QRandomGenerator>
#include <QScrollArea>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>
#include <QThread>

#include <algorithm>

#include "emulator/win32/control.h"

namespace {

const QString serial = "ABCDEF0123456789";
const QString otherSerial = "FEDCBA9876543210";
constexpr unsigned accessDenied = 5;
constexpr unsigned invalidPrinterName = 1801;

void fill(const WindowFixture &fixture, const QString &name, const QString &number)
{
    fixture.find<QLineEdit>("lineEdit_name")->setText(name);
    fixture.find<QLineEdit>("lineEdit_num")->setText(number);
    fixture.find<QPushButton>("pushButton_ok")->click();
}

bool add(WindowFixture &fixture, const QString &name, const QString &number)
{
    const int messages = fixture.messages().size();
    fill(fixture, name, number);
    return QTest::qWaitFor([&] { return fixture.messages().size() > messages; }, 20000) &&
           fixture.messages().last() == "添加成功" &&
           QTest::qWaitFor([&] { return fixture.log.contains("AddValidDriver driver name: Orvo OX-410T"); });
}

/// What the user does to change a card: into edit mode, type, save.
void modify(const DriverItem *card, const QString &name, const QString &number)
{
    auto *button = card->findChild<QPushButton *>("modifyButton");
    button->click();
    card->findChild<QLineEdit *>("printerName")->setText(name);
    card->findChild<QLineEdit *>("cloudSerial")->setText(number);
    button->click();
}

bool isInEditMode(const DriverItem *card)
{
    const auto *button = card->findChild<QPushButton *>("modifyButton");
    return !card->findChild<QLineEdit *>("printerName")->isReadOnly() && button->accessibleName() == "保存修改";
}

/// "name serial" of each row of the store.
QStringList storeRows()
{
    QList<DriverInfo> rows;
    PrinterStore::loadPrinters(rows);
    QStringList texts;
    for (const DriverInfo &row : qAsConst(rows))
        texts << row.printerName + ' ' + row.cloudSn;
    return texts;
}

QStringList queues()
{
    QStringList names;
    for (const auto &printer : Win32Emulator::printers())
        names << QString::fromStdString(printer.name);
    return names;
}

/// Steps that step() understands, from a seed.
QString randomSteps(quint32 seed)
{
    QRandomGenerator random(seed);
    QStringList steps;
    while (steps.size() < 20) {
        const int name = random.bounded(3);
        const QString kind = QString("aaadorw").mid(random.bounded(7), 1);
        steps << kind + QString::number(name) +
                     (kind == "r" || kind == "w" ? QString::number((name + 1 + random.bounded(2)) % 3) : QString());
    }
    return steps.join(' ');
}

/// The oldest card of that name, null when there is none.
DriverItem *cardOf(const WindowFixture &fixture, const QString &name)
{
    const auto cards = fixture.window().findChildren<DriverItem *>();
    for (DriverItem *card : cards)
        if (card->findChild<QLineEdit *>("printerName")->text() == name)
            return card;
    return nullptr;
}

/// One step of the user's, who is not kept from what fails: a0 adds the printer "queue 0", d0 deletes its card, o0
/// deletes it outside the program, r01 renames it on its card to "queue 1", w01 does so outside.
void step(WindowFixture &fixture, const QString &text)
{
    static int serials = 0;
    const QString name = "queue " + text.mid(1, 1);
    const QString newName = "queue " + text.mid(2, 1);
    const int messages = fixture.messages().size();
    const int stopped = fixture.log.count("stop listening");
    DriverItem *card = cardOf(fixture, name);
    if (text.startsWith('a')) {
        fill(fixture, name, QString::number(0x1000000000000000 + ++serials, 16).toUpper());
        QVERIFY(QTest::qWaitFor([&] { return fixture.messages().size() > messages; }, 20000));
    } else if (text.startsWith('o') && queues().contains(name)) {
        Win32Emulator::removePrinter(name.toStdString());
    } else if (text.startsWith('w')) {
        CPrinter().RenamePrinter(name, newName);
    } else if (text.startsWith('r') && card) {
        modify(card, newName, card->findChild<QLineEdit *>("cloudSerial")->text());
    } else if (text.startsWith('d') && card) {
        bool refused = false;
        QTimer user;
        QObject::connect(&user, &QTimer::timeout, [&] {
            if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget()))
                refused = box->close();
        });
        user.start(20);
        card->findChild<QPushButton *>("deleteButton")->click();
        QVERIFY(QTest::qWaitFor([&] { return refused || fixture.log.count("stop listening") > stopped; }));
    }
    QTest::qWait(20); // what was scheduled for deletion
}

} // namespace

class PrintersTest : public WindowTestCase
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<DriverInfo>("DriverInfo"); }
    void servesWhatTheSpoolerHolds();
    void livesThroughAPrintersLife();
    void emptyListLeadsToAdding();
    void showsThatItIsAtWork();
    void refusesWhatWasTyped_data();
    void refusesWhatWasTyped();
    void tellsWhyAddingFailed();
    void refusesAChange_data();
    void refusesAChange();
    void leavesAloneWhatWasNotChanged_data();
    void leavesAloneWhatWasNotChanged();
    void keepsTheCardWhenRemovingFails();
    void aQueueDeletedOutsideMakesWay_data();
    void aQueueDeletedOutsideMakesWay();
    void eachJobReachesItsOwnSerial_data();
    void eachJobReachesItsOwnSerial();
};

void PrintersTest::servesWhatTheSpoolerHolds()
{
    QTcpServer taken;
    QVERIFY(taken.listen(QHostAddress::LocalHost));
    const std::string takenPort{char(taken.serverPort() & 0xff), char(taken.serverPort() >> 8)};
    const auto queue = [](const std::string &name, const std::string &port, const std::string &driver,
                          const std::string &portData) {
        Win32Emulator::addPort(port, "127.0.0.1", 9);
        Win32Emulator::addPrinter(name, port, driver);
        if (!portData.empty())
            Win32Emulator::setPrinterData(name, "CloudPort", 3, portData);
    };
    Win32Emulator::reset();
    Win32Emulator::addDriver();
    Win32Emulator::addDriver("ORVO OX-410T Plus");
    queue("other driver", "OXCloud001", "ORVO OX-410T Plus", takenPort);
    queue("other port", "oxcloud002", "Orvo OX-410T", takenPort);
    queue("no number", "OXCloud003", "Orvo OX-410T", "");
    queue("served", "My OXCloud4", "Orvo OX-410T", takenPort);

    LogRecorder log;
    setCloudBaseAddress(m_good->baseAddress());
    const VelMainWindow window;
    const auto cards = window.findChildren<DriverItem *>();
    QCOMPARE(cards.size(), 1);
    QCOMPARE(cards.first()->findChild<QLineEdit *>("printerName")->text(), QString("served"));
    QCOMPARE(log.count(":: \"Orvo OX-410T\""), 3);
    QVERIFY(log.contains("\"GetPrinterPortNum name: no number, port: 0 failed\""));
    QVERIFY(log.contains(QString("listen ip: 127.0.0.1 port: %1, failed").arg(taken.serverPort())));
    QVERIFY(log.contains("\"The bound address is already in use\""));
}

/// Add, print, change, print, remove, add again.
void PrintersTest::livesThroughAPrintersLife()
{
    WindowFixture fixture(m_good->baseAddress());
    QVERIFY(add(fixture, "新 it %1", serial.toLower()));
    const auto cards = fixture.window().findChildren<DriverItem *>();
    QCOMPARE(cards.size(), 2);
    DriverItem *card = cards.last();
    QTRY_VERIFY(card->y() < cards.first()->y()); // a new printer stands first
    QCOMPARE(storeRows(), QStringList("新 it %1 " + serial));

    const quint16 port = 8102; // the fixture's printer holds OXCloud001
    fixture.know("新 it %1", port);
    fixture.print("first", "1", 1);
    QCOMPARE(fixture.recordsOf(serial, 1), QStringList("first;09:02:03;打印成功;1"));

    modify(card, "改名", otherSerial.toLower());
    QVERIFY(!isInEditMode(card));
    QCOMPARE(card->findChild<QLineEdit *>("cloudSerial")->text(), otherSerial);
    QCOMPARE(storeRows(), QStringList("改名 " + otherSerial));
    QVERIFY(queues().contains("改名"));
    fixture.know("改名", port);
    fixture.print("second", "22", 2);
    QCOMPARE(fixture.recordsOf(otherSerial, 1), QStringList("second;09:02:03;打印成功;2"));
    QCOMPARE(m_good->jobs().last().dsNumber, otherSerial);

    card->findChild<QPushButton *>("deleteButton")->click();
    card->findChild<QPushButton *>("deleteButton")->click(); // impatiently
    QTRY_COMPARE(fixture.window().findChildren<DriverItem *>().size(), 1);
    QCOMPARE(queues(), QStringList("前台"));
    QVERIFY(storeRows().isEmpty());
    QVERIFY(fixture.log.contains("\"改名\" stop listening"));
    QCOMPARE(Win32Emulator::ports().size(), size_t(2));
    QTcpSocket socket;
    socket.connectToHost(QHostAddress::LocalHost, port);
    QVERIFY2(!socket.waitForConnected(500), "nobody listens any more");
    QVERIFY(add(fixture, "again", serial));
    QCOMPARE(Win32Emulator::ports().size(), size_t(2));
}

void PrintersTest::emptyListLeadsToAdding()
{
    WindowFixture fixture(m_good->baseAddress(), 0);
    const auto *hint = fixture.find<QLabel>("emptyHint");
    QVERIFY(hint->isVisible());
    const QRect link(hint->fontMetrics().horizontalAdvance("您还没有打印机，请点击“"), 0, 20, hint->height());
    QTest::mouseClick(const_cast<QLabel *>(hint), Qt::LeftButton, Qt::NoModifier, link.center());
    QVERIFY(fixture.find<QLineEdit>("lineEdit_name")->isVisible());
    QVERIFY(add(fixture, "a", serial));
    fixture.find<QPushButton>("pushButton_manage")->click();
    QVERIFY(!hint->isVisible());
    fixture.find<QPushButton>("deleteButton")->click();
    QTRY_VERIFY(!fixture.card());
    QVERIFY(hint->isVisible());
}

void PrintersTest::showsThatItIsAtWork()
{
    WindowFixture fixture(m_good->baseAddress(), 0);
    Win32Emulator::beforeCall("SetPrinterDataW", [] { QThread::msleep(500); }); // on the worker thread
    fill(fixture, "a", serial);
    const auto *dialog = qobject_cast<WaittingDlg *>(QApplication::activeModalWidget());
    QVERIFY(dialog);
    QCOMPARE(dialog->windowModality(), Qt::ApplicationModal);
    QCOMPARE(dialog->geometry().center(), fixture.window().geometry().center());
    QTest::keyClick(const_cast<WaittingDlg *>(dialog), Qt::Key_Escape);
    QVERIFY(dialog->isVisible());
    const QMovie *movie = dialog->findChild<QLabel *>()->movie();
    const int frame = movie->currentFrameNumber();
    QTRY_VERIFY(movie->currentFrameNumber() != frame);
    QTRY_VERIFY(!fixture.messages().isEmpty());
    QVERIFY(!dialog->isVisible());
}

void PrintersTest::refusesWhatWasTyped_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("number");
    QTest::addColumn<QString>("message");
    QTest::newRow("nothing") << ""
                             << ""
                             << "请输入云序号!";
    QTest::newRow("15 digits") << "a" << serial.left(15) << "云序号输入错误!";
    QTest::newRow("no hexadecimal digit") << "a" << serial.left(15) + "G"
                                          << "云序号输入错误!";
    QTest::newRow("blank") << "a" << serial.left(15) + " "
                           << "云序号输入错误!";
    QTest::newRow("no name") << "" << serial << "请输入打印机名称!";
}

void PrintersTest::refusesWhatWasTyped()
{
    QFETCH(QString, name);
    QFETCH(QString, number);
    QFETCH(QString, message);
    WindowFixture fixture(m_good->baseAddress(), 0);
    Win32Emulator::clearCalls();
    fill(fixture, name, number);
    QCOMPARE(fixture.messages(), QStringList(message));
    QVERIFY(RunningThreads::endAll(std::chrono::seconds(1)));
    QVERIFY(Win32Emulator::calls().empty());
}

void PrintersTest::tellsWhyAddingFailed()
{
    WindowFixture fixture(m_good->baseAddress());
    fill(fixture, "前台", serial);
    QTRY_COMPARE(fixture.messages(), QStringList("当前打印机已经存在!"));
    QCOMPARE(fixture.window().findChildren<DriverItem *>().size(), 1);
    QVERIFY(storeRows().isEmpty());
    // What was typed is still there, to be corrected.
    QCOMPARE(fixture.find<QLineEdit>("lineEdit_num")->text(), serial);
}

void PrintersTest::refusesAChange_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("number");
    QTest::addColumn<QString>("function");
    QTest::addColumn<unsigned>("error");
    QTest::addColumn<QString>("message");
    const QString same = WindowFixture::serial();
    QTest::newRow("empty serial") << "前台"
                                  << ""
                                  << "" << 0u << "请输入云序号!";
    QTest::newRow("short serial") << "前台"
                                  << "ABC"
                                  << "" << 0u << "云序号输入错误!";
    QTest::newRow("no such queue") << "前台" << serial << "OpenPrinterW" << invalidPrinterName << "打印机名无效!";
    QTest::newRow("not opened") << "前台" << serial << "OpenPrinterW" << accessDenied << "修改云序号失败!";
    QTest::newRow("not written") << "前台" << serial << "SetPrinterDataW" << accessDenied << "修改云序号失败!";
    QTest::newRow("not renamed") << "新" << same << "SetPrinterW" << accessDenied << "修改打印机名失败!";
    QTest::newRow("no name") << "" << same << "" << 0u << "修改打印机名失败!";
}

void PrintersTest::refusesAChange()
{
    QFETCH(QString, name);
    QFETCH(QString, number);
    QFETCH(QString, function);
    QFETCH(unsigned, error);
    QFETCH(QString, message);
    WindowFixture fixture(m_good->baseAddress());
    if (!function.isEmpty())
        Win32Emulator::failCalls(function.toStdString(), error);
    modify(fixture.card(), name, number);
    QCOMPARE(fixture.messages(), QStringList(message));
    QVERIFY2(isInEditMode(fixture.card()), "for the user to correct it");
    QCOMPARE(queues(), QStringList("前台"));
}

void PrintersTest::leavesAloneWhatWasNotChanged_data()
{
    QTest::addColumn<QString>("queue");
    QTest::addColumn<QString>("typed");
    QTest::newRow("nothing") << "Front"
                             << "Front";
    QTest::newRow("letter case") << "Front"
                                 << "FRONT";
    QTest::newRow("a name longer than the field") << "A rather long name"
                                                  << "A rather l";
}

void PrintersTest::leavesAloneWhatWasNotChanged()
{
    QFETCH(QString, queue);
    QFETCH(QString, typed);
    WindowFixture fixture(m_good->baseAddress(), 1, queue);
    Win32Emulator::clearCalls();
    modify(fixture.card(), typed, WindowFixture::serial());
    QVERIFY(Win32Emulator::calls().empty());
    QVERIFY(!isInEditMode(fixture.card()));
    QCOMPARE(fixture.card()->findChild<QLineEdit *>("printerName")->text(), queue.left(10));
}

void PrintersTest::keepsTheCardWhenRemovingFails()
{
    WindowFixture fixture(m_good->baseAddress());
    Win32Emulator::failCalls("DeletePrinter", accessDenied);
    QString text;
    QTimer user;
    connect(&user, &QTimer::timeout, [&] {
        if (auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            text = box->windowTitle() + ": " + box->text() + " [" + box->button(QMessageBox::Close)->text() + "]";
            box->button(QMessageBox::Close)->click();
        }
    });
    user.start(50);
    fixture.find<QPushButton>("deleteButton")->click();
    QTRY_COMPARE(text, QString("错误: 删除打印机失败 [关闭]"));
    QVERIFY(fixture.card());
    QVERIFY(fixture.takesTheNextJob(m_good->baseAddress()));
    fixture.find<QPushButton>("deleteButton")->click();
    QTRY_VERIFY(!fixture.card());
}

void PrintersTest::aQueueDeletedOutsideMakesWay_data()
{
    QTest::addColumn<QString>("button"); // clicked on the old card and not finished when its place is taken
    QTest::newRow("idle") << "";
    QTest::newRow("edited") << "modifyButton";
    QTest::newRow("details shown") << "detailButton";
    QTest::newRow("being removed") << "deleteButton";
}

/// The spooler gives the port of a deleted queue to the next one, whose jobs must not reach the old printer's device.
void PrintersTest::aQueueDeletedOutsideMakesWay()
{
    QFETCH(QString, button);
    WindowFixture fixture(m_good->baseAddress(), 0);
    QVERIFY(add(fixture, "X", serial));
    fixture.know("X", 8101);
    fixture.print("running", "1", 0);
    const QPointer<DriverItem> old = fixture.card();
    Win32Emulator::removePrinter("X");
    if (!button.isEmpty())
        QTimer::singleShot(0, old, [=] { old->findChild<QPushButton *>(button)->click(); });
    QTimer boxes;
    connect(&boxes, &QTimer::timeout, [&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        auto *details = fixture.window().findChild<SettingsDlg *>();
        if (box)
            box->close();
        if (details && fixture.messages().size() > 1)
            details->close();
    });
    boxes.start(50);

    // The next queue is there before anything is seen of it; here it stays without a card.
    bool listened = true;
    const auto connectToServer = [&] {
        QTcpSocket spooler;
        spooler.connectToHost(QHostAddress::LocalHost, 8101);
        listened = spooler.waitForConnected(500);
    };
    Win32Emulator::beforeCall("SetPrinterDataW", connectToServer);
    Win32Emulator::failCalls("SetPrinterDataW", accessDenied);
    fill(fixture, "Y", otherSerial);
    QTRY_COMPARE_WITH_TIMEOUT(fixture.messages().last(), QString("添加打印机失败, 无法设置云序列号"), 20000);
    QVERIFY2(!listened, "the old server does not wait for the new queue's jobs");
    QTRY_VERIFY(!old);
    QVERIFY(storeRows().isEmpty());

    Win32Emulator::removePrinter("Y");
    QVERIFY(add(fixture, "X", otherSerial));
    QCOMPARE(storeRows(), QStringList("X " + otherSerial));
    fixture.print("next", "2", 0);
    QTRY_COMPARE(m_good->jobs().last().dsNumber, otherSerial);
}

void PrintersTest::eachJobReachesItsOwnSerial_data()
{
    QTest::addColumn<QString>("steps"); // see step()
    QTest::newRow("added again and deleted") << "a0 o0 a0 d0 a1 d1 a2";
    QTest::newRow("added again and renamed") << "a0 o0 a0 r01 a0 d0 a2";
    QTest::newRow("renamed outside and added again") << "a0 w01 a0 d0 a2 a0";
    QTest::newRow("a gap among the ports") << "a0 a1 d0 o1 a1 a0 d1 a2";
    for (const quint32 seed : {2u, 4u, 8u, 10u})
        QTest::addRow("seed %u", seed) << randomSteps(seed);
}

/// Whatever is added, deleted and renamed, here and in the Windows printer settings: no dangling server, and no job to
/// another printer's device.
void PrintersTest::eachJobReachesItsOwnSerial()
{
    QFETCH(QString, steps);
    WindowFixture fixture(m_good->baseAddress(), 0);
    const QStringList all = steps.split(' ');
    for (const QString &one : all)
        step(fixture, one);
    int printer = 0;
    for (const auto &queue : Win32Emulator::printers()) {
        const auto ports = Win32Emulator::ports();
        const auto port =
            std::find_if(ports.begin(), ports.end(), [&](auto &other) { return other.name == queue.port; });
        fixture.know(QString::fromStdString(queue.name), quint16(port->number));
        const int jobs = m_good->jobs().size();
        fixture.print("job", "x", printer++);
        QTRY_COMPARE(m_good->jobs().size(), jobs + 1);
        QCOMPARE(m_good->jobs().last().dsNumber.toStdString(),
                 std::string(Win32Emulator::printerData(queue.name, "CloudId")->second.c_str()));
    }
}

QTEST_MAIN(PrintersTest)
#include "tst_printers.moc"
