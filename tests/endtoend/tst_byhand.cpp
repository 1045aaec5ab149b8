// A user adds, changes and removes a printer in the real program, and prints to it through the real spooler.

#include "tests/support/storecontent.h"
#include "tests/support/uidriver.h"

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
    void print(const QString &queue, const QByteArray &bytes);
    QString queues() { return m_world.queues(); }
    QString journal(const QString &number) { return m_world.journal(number); }

    World m_world;
    UiDriver m_user{m_world};
};

void ByHandTest::print(const QString &queue, const QByteArray &bytes)
{
    QVERIFY(m_world.print(queue, "document", bytes));
}

void ByHandTest::aPrintersLife()
{
    QVERIFY(m_world.startCloud());
    QVERIFY(m_world.startSpooler());
    QVERIFY(m_user.startProgram());

    QVERIFY(m_user.addPrinter("Desk 1", serial.toLower()));
    QTRY_VERIFY(queues().startsWith("Desk 1\tOXCloud001\tOrvo OX-410T\t" + serial + "\t8101"));
    print("Desk 1", "one");
    QTRY_VERIFY_WITH_TIMEOUT(journal(serial).contains(";打印成功;3;"), 10000);

    QVERIFY(m_user.addPrinter("Desk 2", "1111222233334444"));
    QTRY_VERIFY(queues().contains("Desk 2\tOXCloud002"));
    m_user.click("modifyButton"); // of Desk 2: the newest stands first
    m_user.type("printerName", "Desk B");
    m_user.type("cloudSerial", otherSerial);
    m_user.click("modifyButton");
    QTRY_VERIFY(queues().contains("Desk B\tOXCloud002\tOrvo OX-410T\t" + otherSerial));
    print("Desk B", "four");
    QTRY_VERIFY_WITH_TIMEOUT(journal(otherSerial).contains(";打印成功;4;"), 10000);
    QVERIFY(m_world.posts().last().contains(otherSerial.toLatin1()));

    m_user.click("deleteButton");
    QTRY_VERIFY(!queues().contains("Desk B"));
    QVERIFY(m_user.addPrinter("Desk 3", "5555666677778888"));
    QTRY_VERIFY(queues().contains("Desk 3\tOXCloud002\tOrvo OX-410T\t5555666677778888\t8102"));

    m_world.program()->kill();
    QVERIFY(m_world.program()->waitForFinished());
    QCOMPARE(storeContent(m_world.path("task.db")),
             (QStringList{"ok", "Desk 1;Orvo OX-410T;" + serial + ";OXCloud001;8101;127.0.0.1",
                          "Desk 3;Orvo OX-410T;5555666677778888;OXCloud002;8102;127.0.0.1"}));
    QVERIFY(m_user.startProgram());
    m_user.click("deleteButton"); // now Desk 1 is the first, as in the spooler
    QTRY_VERIFY(!queues().contains("Desk 1"));
    print("Desk 3", "fives");
    QTRY_VERIFY_WITH_TIMEOUT(journal("5555666677778888").contains(";打印成功;5;"), 10000);
}

QTEST_MAIN(ByHandTest)
#include "tst_byhand.moc"
