// A user adds, changes and removes a printer in the real program, and prints to it through the real spooler.

#include "tests/endtoend/user.h"

#include "tests/support/installation.h"

#include <QTest>

namespace {

const QString serial = "ABCDEF0123456789";
const QString otherSerial = "0123456789ABCDE0";

} // namespace

class ByHandTest : public QObject
{
    Q_OBJECT

private slots:
    void aPrintersLife();

private:
    void addPrinter(const QString &name, const QString &number);
    void print(const QString &queue, const QByteArray &bytes);
    QString queues() { return m_installation.queues(); }
    QString journal(const QString &number) { return m_installation.folder().journal(number); }

    Installation m_installation;
    User m_user{m_installation.folder()};
};

void ByHandTest::addPrinter(const QString &name, const QString &number)
{
    QVERIFY(m_user.addPrinter(name, number));
    m_user.showPrinters();
}

void ByHandTest::print(const QString &queue, const QByteArray &bytes)
{
    QVERIFY(m_installation.print(queue, "document", bytes));
}

void ByHandTest::aPrintersLife()
{
    QVERIFY(m_installation.startCloud());
    QVERIFY(m_installation.addPrinters({}));
    QVERIFY(m_user.startProgram());

    addPrinter("Desk 1", serial.toLower());
    QTRY_VERIFY(queues().startsWith("Desk 1\tOXCloud001\tOrvo OX-410T\t" + serial + "\t8101"));
    print("Desk 1", "one");
    QTRY_VERIFY_WITH_TIMEOUT(journal(serial).contains(";打印成功;3;"), 10000);

    addPrinter("Desk 2", "1111222233334444");
    QTRY_VERIFY(queues().contains("Desk 2\tOXCloud002"));
    m_user.clickOnCard("modifyButton"); // of Desk 2: the newest stands first
    m_user.typeOnCard("printerName", "Desk B");
    m_user.typeOnCard("cloudSerial", otherSerial);
    m_user.clickOnCard("modifyButton");
    QTRY_VERIFY(queues().contains("Desk B\tOXCloud002\tOrvo OX-410T\t" + otherSerial));
    print("Desk B", "four");
    QTRY_VERIFY_WITH_TIMEOUT(journal(otherSerial).contains(";打印成功;4;"), 10000);
    QVERIFY(m_installation.posts().last().contains(otherSerial.toLatin1()));

    m_user.clickOnCard("deleteButton");
    QTRY_VERIFY(!queues().contains("Desk B"));
    addPrinter("Desk 3", "5555666677778888");
    QTRY_VERIFY(queues().contains("Desk 3\tOXCloud002\tOrvo OX-410T\t5555666677778888\t8102"));

    m_user.program()->kill();
    QVERIFY(m_user.program()->waitForFinished());
    QVERIFY(m_user.startProgram());
    m_user.clickOnCard("deleteButton"); // now Desk 1 is the first, as in the spooler
    QTRY_VERIFY(!queues().contains("Desk 1"));
    print("Desk 3", "fives");
    QTRY_VERIFY_WITH_TIMEOUT(journal("5555666677778888").contains(";打印成功;5;"), 10000);
}

QTEST_MAIN(ByHandTest)
#include "tst_byhand.moc"
