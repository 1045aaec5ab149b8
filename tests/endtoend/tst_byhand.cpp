// A user adds, changes and removes a printer in the real program, and prints to it through the real spooler.

#include "desktop.h"

#include "support/programfolder.h"
#include "ui/roadfixture.h"

#include "ui/driveritem.h"

#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

namespace {

const QSize mainWindow(960, 600);
const QSize messageDialog(316, 206);
const QPoint confirmation(158, 168); // the button "确定"

const QString serial = "ABCDEF0123456789";
const QString otherSerial = "0123456789ABCDE0";

/// Where a widget of the window is, read off a window like the program's.
QPoint placeOf(Road &plan, const QWidget *widget)
{
    return widget->mapTo(&plan.window(), widget->rect().center());
}

} // namespace

class ByHandTest : public QObject
{
    Q_OBJECT

private slots:
    void aPrintersLife();

private:
    void click(const QString &name);
    void type(const QString &name, const QString &text);
    void clickOnCard(const QString &name);
    void typeOnCard(const QString &name, const QString &text);
    void addPrinter(const QString &name, const QString &number);
    void confirmMessage();
    void print(const QString &queue, const QByteArray &bytes);
    void startProgram();
    QString queues();
    QByteArray lastJob() const;
    QString window() const { return m_desktop.windows(mainWindow).value(0); }

    Desktop m_desktop;
    ProgramFolder m_folder;
    Road m_plan{"http://127.0.0.1:9", 2};
    QProcess *m_program = nullptr;
};

void ByHandTest::click(const QString &name)
{
    m_desktop.click(window(), placeOf(m_plan, m_plan.find<QWidget>(name)));
}

void ByHandTest::type(const QString &name, const QString &text)
{
    m_desktop.type(window(), placeOf(m_plan, m_plan.find<QWidget>(name)), text);
}

/// On the first card, where a new printer stands.
void ByHandTest::clickOnCard(const QString &name)
{
    m_desktop.click(window(), placeOf(m_plan, m_plan.card()->findChild<QWidget *>(name)));
}

void ByHandTest::typeOnCard(const QString &name, const QString &text)
{
    m_desktop.type(window(), placeOf(m_plan, m_plan.card()->findChild<QWidget *>(name)), text);
}

void ByHandTest::startProgram()
{
    m_program = m_folder.start("OrvoCloudManager");
    QTRY_COMPARE_WITH_TIMEOUT(m_desktop.windows(mainWindow).size(), 1, 10000);
}

void ByHandTest::confirmMessage()
{
    QTRY_COMPARE_WITH_TIMEOUT(m_desktop.windows(messageDialog).size(), 1, 30000);
    m_desktop.click(m_desktop.windows(messageDialog).first(), confirmation);
    QTRY_VERIFY(m_desktop.windows(messageDialog).isEmpty());
}

void ByHandTest::addPrinter(const QString &name, const QString &number)
{
    click("pushButton_add");
    m_plan.find<QPushButton>("pushButton_add")->click(); // the plan turns its page, too
    type("lineEdit_name", name);
    type("lineEdit_num", number);
    click("pushButton_ok");
    confirmMessage();
    click("pushButton_manage");
    m_plan.find<QPushButton>("pushButton_manage")->click();
}

void ByHandTest::print(const QString &queue, const QByteArray &bytes)
{
    QFile file(m_folder.path("document"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    QCOMPARE(m_folder.run("spoolctl", {"print", queue, file.fileName()}), 0);
}

QString ByHandTest::queues()
{
    QProcess *process = m_folder.start("spoolctl", {"list"});
    process->waitForFinished();
    return QString::fromUtf8(process->readAllStandardOutput());
}

QByteArray ByHandTest::lastJob() const
{
    QFile file(m_folder.path("cloud/jobs.jsonl"));
    return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed().split('\n').last() : QByteArray();
}

void ByHandTest::aPrintersLife()
{
    QVERIFY2(!m_desktop.display().isEmpty(), "Xvfb did not start");
    m_folder.setEnvironment("DISPLAY", m_desktop.display());
    m_folder.setEnvironment("QT_QPA_PLATFORM", "xcb");
    QVERIFY(m_folder.start("cloudservice", {"--port", "18080", "--store", m_folder.path("cloud")})->waitForReadyRead());
    m_folder.start("spoolsv");
    startProgram();

    addPrinter("Desk 1", serial.toLower());
    QTRY_VERIFY(queues().startsWith("Desk 1\tOXCloud001\tOrvo OX-410T\t" + serial + "\t8101"));
    print("Desk 1", "one");
    QTRY_VERIFY_WITH_TIMEOUT(m_folder.journal(serial).contains(";打印成功;3;"), 10000);

    addPrinter("Desk 2", "1111222233334444");
    QTRY_VERIFY(queues().contains("Desk 2\tOXCloud002"));
    clickOnCard("modifyButton"); // of Desk 2: the newest stands first
    typeOnCard("printerName", "Desk B");
    typeOnCard("cloudSerial", otherSerial);
    clickOnCard("modifyButton");
    QTRY_VERIFY(queues().contains("Desk B\tOXCloud002\tOrvo OX-410T\t" + otherSerial));
    print("Desk B", "four");
    QTRY_VERIFY_WITH_TIMEOUT(m_folder.journal(otherSerial).contains(";打印成功;4;"), 10000);
    QVERIFY(lastJob().contains(otherSerial.toLatin1()));

    clickOnCard("deleteButton");
    QTRY_VERIFY(!queues().contains("Desk B"));
    addPrinter("Desk 3", "5555666677778888");
    QTRY_VERIFY(queues().contains("Desk 3\tOXCloud002\tOrvo OX-410T\t5555666677778888\t8102"));

    m_program->kill();
    QVERIFY(m_program->waitForFinished());
    startProgram();
    clickOnCard("deleteButton"); // now Desk 1 is the first, as in the spooler
    QTRY_VERIFY(!queues().contains("Desk 1"));
    print("Desk 3", "fives");
    QTRY_VERIFY_WITH_TIMEOUT(m_folder.journal("5555666677778888").contains(";打印成功;5;"), 10000);
}

QTEST_MAIN(ByHandTest)
#include "tst_byhand.moc"
