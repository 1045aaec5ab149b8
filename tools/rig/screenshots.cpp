// Takes pictures of the program's windows and dialogs, at the scale that QT_SCALE_FACTOR gives, into a folder. The
// window lives in this process; nothing is needed but its fonts. Usage: screenshots FOLDER

#include "emulator/win32/control.h"
#include "src/store/cloudprinter.h"
#include "src/store/journal.h"
#include "src/ui/driveritem.h"
#include "src/ui/driverupdatewindow.h"
#include "src/ui/errordialog.h"
#include "src/ui/waittingdlg.h"
#include "tests/support/machine.h"
#include "tests/support/windowfixture.h"

#include <QApplication>
#include <QDir>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QTemporaryDir>
#include <QTest>

#include <functional>

namespace {

const QString serial = "0123456789ABCDEF";
constexpr int tickTime = 1500;    // ms; the details take up the queue's jobs in their next second
constexpr int paintTime = 300;    // ms
constexpr int dialogTime = 30000; // ms
constexpr unsigned jobPrinting = 0x10;
constexpr int accessDenied = 5;

class Photographer
{
public:
    Photographer(WindowFixture &fixture, const QString &folder)
        : m_fixture(fixture)
        , m_folder(folder)
    {
    }

    /// The main window with the dialogs in its middle, where they open on a display.
    void take(const QString &name) const;

    /// The message dialog that the action leads to; it is closed afterwards.
    void takeMessage(const QString &name, const std::function<void()> &action);

    /// Any other dialog that the action leads to; it is closed afterwards.
    void takeDialog(const QString &name, const std::function<void()> &action) const;

private:
    WindowFixture &m_fixture;
    QDir m_folder;
};

void Photographer::take(const QString &name) const
{
    QWidget &window = m_fixture.window();
    QPixmap picture = window.grab();
    QPainter painter(&picture);
    const QWidgetList all = QApplication::topLevelWidgets();
    for (QWidget *widget : all)
        if (widget != &window && widget->isVisible())
            painter.drawPixmap(window.rect().center() - widget->rect().center(), widget->grab());
    picture.save(m_folder.filePath(name + ".png"));
}

void Photographer::takeMessage(const QString &name, const std::function<void()> &action)
{
    const int before = m_fixture.messages().size();
    m_fixture.whileMessageIsOpen([&] {
        QTest::qWait(paintTime);
        take(name);
    });
    action();
    if (!QTest::qWaitFor([&] { return m_fixture.messages().size() > before; }, dialogTime))
        qFatal("no dialog for %s", qPrintable(name));
}

void Photographer::takeDialog(const QString &name, const std::function<void()> &action) const
{
    bool isTaken = false;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        QWidget *dialog = QApplication::activeModalWidget();
        if (isTaken || !dialog || qobject_cast<WaittingDlg *>(dialog))
            return;
        look.stop();
        QTest::qWait(tickTime);
        take(name);
        dialog->close();
        isTaken = true;
    });
    look.start(paintTime);
    action();
    if (!QTest::qWaitFor([&] { return isTaken; }, dialogTime))
        qFatal("no dialog for %s", qPrintable(name));
}

class Tour
{
public:
    explicit Tour(const QString &folder)
        : m_folder(folder)
    {
    }

    void addPrinter();
    void useOnePrinter();
    void useManyPrinters();
    void showDriverUpdate() const;

private:
    void click(WindowFixture &fixture, const char *name) { fixture.find<QPushButton>(name)->click(); }
    void fillIn(WindowFixture &fixture, const QString &name, const QString &number);
    void fillJournal();
    void takeTray(const Photographer &camera) const;

    QString m_folder;
    CloudService m_cloud;
};

void Tour::fillIn(WindowFixture &fixture, const QString &name, const QString &number)
{
    fixture.find<QLineEdit>("lineEdit_name")->setText(name);
    fixture.find<QLineEdit>("lineEdit_num")->setText(number);
    click(fixture, "pushButton_ok");
}

void Tour::addPrinter()
{
    m_cloud.listen();
    WindowFixture fixture(m_cloud.baseAddress(), 0);
    Win32Emulator::reset();
    Photographer camera(fixture, m_folder);
    camera.take("empty-list");
    click(fixture, "pushButton_add");
    camera.take("add-page");
    QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
    fixture.find<QLineEdit>("lineEdit_num")->setFocus();
    QTest::keyClick(&fixture.window(), Qt::Key_Tab); // Qt shows the focus only where a key has moved it
    camera.take("add-page-focus");
    camera.takeMessage("message-no-serial", [&] { fillIn(fixture, "", ""); });
    camera.takeMessage("message-bad-serial", [&] { fillIn(fixture, "", "0123456789ABCDEG"); });
    camera.takeMessage("message-no-name", [&] { fillIn(fixture, "", serial); });
    Win32Emulator::failCalls("XcvDataW", accessDenied);
    camera.takeMessage("message-not-added", [&] { fillIn(fixture, "前台打印机", serial); });
    bool isWaitingTaken = false;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [&] {
        const QWidget *dialog = QApplication::activeModalWidget();
        if (isWaitingTaken || !dialog || qobject_cast<const ErrorDialog *>(dialog))
            return;
        isWaitingTaken = true;
        camera.take("waiting");
    });
    look.start(10);
    camera.takeMessage("message-added", [&] { fillIn(fixture, "前台打印机", serial); });
}

void Tour::useOnePrinter()
{
    WindowFixture fixture(m_cloud.baseAddress(), 1, "前台打印机");
    Photographer camera(fixture, m_folder);
    QTRY_VERIFY(fixture.log.contains("QJsonObject("));
    camera.take("one-card");
    click(fixture, "modifyButton");
    camera.take("edit");
    click(fixture, "modifyButton");
    click(fixture, "testButton");
    QTest::qWait(paintTime);
    camera.take("busy");
    camera.takeMessage("message-test-printed", [&] { fixture.print("测试页"); });
}

void Tour::fillJournal()
{
    for (const char *record :
         {"年度报告.docx;09:12:05;打印成功;184320;09:12:09", "合同.pdf;09:40:31;打印失败:设备离线;92160;09:40:33",
          "2026年第四季度采购计划与预算说明.xlsx;10:02:44;打印成功;368640;10:02:51",
          "测试页;10:15:00;打印成功;7168;10:15:03", "海报.png;10:20:18;打印失败:打印文件过大;104857600;10:20:40"})
        Journal::appendDetail(WindowFixture::serial(), record);
}

void Tour::useManyPrinters()
{
    const QStringList names{"二楼会议室", "财务室", "仓库打印机", "设计部", "总经理办公室"};
    WindowFixture fixture(m_cloud.baseAddress(), 6, "前台打印机");
    QTest::qWait(2000); // the spinner that each card starts with stops
    const auto cards = fixture.window().findChildren<DriverItem *>();
    for (int card = 1; card < cards.size(); ++card)
        cards.at(card)->findChild<QLineEdit *>("printerName")->setText(names.at(card - 1));
    Photographer camera(fixture, m_folder);
    camera.take("six-cards");
    CloudServiceOptions slow;
    slow.delayMs = 1500;
    m_cloud.setOptions(slow);
    click(fixture, "refreshButton");
    QTest::qWait(paintTime);
    camera.take("refreshing");
    fixture.find<QPushButton>("testButton")->setFocus(Qt::TabFocusReason);
    camera.take("card-focus");
    QScrollBar *bar = fixture.find<QScrollArea>("scrollArea")->verticalScrollBar();
    bar->setValue(bar->maximum());
    camera.take("six-cards-scrolled");
    bar->setValue(0);
    fillJournal();
    for (const char *document : {"通知.pdf", "会议纪要.docx"})
        Win32Emulator::addJob("前台打印机", document, QByteArray(92160, 'x').toStdString());
    camera.takeDialog("details", [&] { click(fixture, "detailButton"); });
    Win32Emulator::failCalls("DeletePrinter", accessDenied);
    camera.takeDialog("question-not-removed", [&] { click(fixture, "deleteButton"); });
    takeTray(camera);
}

void Tour::takeTray(const Photographer &camera) const
{
    const QWidgetList all = QApplication::topLevelWidgets();
    for (QWidget *widget : all) {
        auto *menu = qobject_cast<QMenu *>(widget);
        if (!menu || menu->actions().isEmpty())
            continue;
        menu->ensurePolished();
        menu->resize(menu->sizeHint());
        menu->grab().save(QDir(m_folder).filePath("tray-menu.png"));
        camera.takeDialog("exit-question", [&] { menu->actions().last()->trigger(); });
    }
}

/// Over an older driver.
void Tour::showDriverUpdate() const
{
    Win32Emulator::reset();
    Win32Emulator::addDriver();
    int number = 0;
    for (const char *name : {"前台打印机", "二楼会议室", "财务室"}) {
        ++number;
        addCloudPrinter(name, CloudPrinter::portName(number), CloudPrinter::portNumber(number), serial);
    }
    DriverUpdateWindow window;
    window.show();
    QTest::qWait(paintTime);
    window.grab().save(QDir(m_folder).filePath("driver-update.png"));
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    const QTemporaryDir machine;
    qputenv("WIN32_EMULATOR_HOME", machine.path().toLocal8Bit());
    QDir::setCurrent(machine.path()); // where the store would lie
    Tour tour(application.arguments().value(1));
    tour.addPrinter();
    tour.useOnePrinter();
    tour.useManyPrinters();
    tour.showDriverUpdate();
    return 0;
}
