// The real program between a real spooler and a real cloud service, each a process of its own, and what becomes of jobs
// when one of them is killed.

#include "tests/support/world.h"

#include <QRandomGenerator>
#include <QTest>

namespace {

QByteArray randomBytes(int size)
{
    QByteArray bytes(size, '\0');
    QRandomGenerator generator(quint32(size + 1));
    for (char &byte : bytes)
        byte = char(generator.generate());
    return bytes;
}

} // namespace

class EndToEndTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { m_world.reset(); }

    void printsOnTwoPrinters();
    void printsWhatWaitedForTheProgram();
    void killedProgramDoesNotPrintTwice();
    void cloudComesBack();

private:
    void startCloud(const QStringList &options = {});
    void print(int printer, const QString &document, const QByteArray &bytes);
    int posts() const { return m_world->posts().size(); }
    QByteArray received(int number) const { return m_world->received(number); }
    QStringList records(int printer) const { return m_world->records(printer); }

    std::unique_ptr<World> m_world;
    QProcess *m_cloud = nullptr;
};

void EndToEndTest::init()
{
    m_world = std::make_unique<World>();
    QVERIFY(m_world->addPrinters({"前台打印机", "it's %1"}) && m_world->startSpooler());
}

void EndToEndTest::startCloud(const QStringList &options)
{
    m_cloud = m_world->startCloud(options);
    QVERIFY(m_cloud);
}

void EndToEndTest::print(int printer, const QString &document, const QByteArray &bytes)
{
    QVERIFY(m_world->print(printer, document, bytes));
}

void EndToEndTest::printsOnTwoPrinters()
{
    startCloud();
    QVERIFY(m_world->startReadyProgram()); // the spooler reports the job's name only while it prints
    const QByteArray large = randomBytes(3000000);
    print(0, "报告.docx", large);
    QTRY_COMPARE_WITH_TIMEOUT(records(0).size(), 1, 10000);
    QVERIFY(records(0).first().contains(";打印成功;3000000;"));
    QVERIFY(records(0).first().startsWith("报告.docx;"));
    QVERIFY(received(1) == large);

    print(1, "empty", "");
    QTRY_COMPARE_WITH_TIMEOUT(records(1).size(), 1, 10000);
    QVERIFY(records(1).first().contains(";打印成功;0;"));
    QVERIFY(m_world->posts().last().contains(m_world->serial(1).toLatin1()));

    // The second waits in the server's slot.
    print(0, "a", "first");
    print(0, "b", "second");
    QTRY_COMPARE_WITH_TIMEOUT(records(0).size(), 3, 15000);
    QCOMPARE(received(3), QByteArray("first"));
    QCOMPARE(received(4), QByteArray("second"));
    QCOMPARE(posts(), 4);
}

void EndToEndTest::printsWhatWaitedForTheProgram()
{
    startCloud();
    print(0, "patient", "x");
    QTest::qWait(300);
    m_world->startProgram();
    QTRY_COMPARE_WITH_TIMEOUT(records(0).size(), 1, 10000);
    QCOMPARE(received(1), QByteArray("x"));
}

void EndToEndTest::killedProgramDoesNotPrintTwice()
{
    startCloud({"--delay", "1500"});
    QProcess *program = m_world->startProgram();
    print(0, "a", "x");
    QTRY_COMPARE_WITH_TIMEOUT(posts(), 1, 10000);
    program->kill();
    QVERIFY(program->waitForFinished());
    m_world->startProgram();
    print(0, "b", "y");
    QTRY_COMPARE_WITH_TIMEOUT(records(0).size(), 1, 15000);
    QCOMPARE(posts(), 2);
    QCOMPARE(received(2), QByteArray("y"));
}

void EndToEndTest::cloudComesBack()
{
    startCloud();
    m_world->startProgram();
    print(0, "a", "x");
    QTRY_COMPARE_WITH_TIMEOUT(records(0).size(), 1, 10000);
    m_cloud->kill();
    QVERIFY(m_cloud->waitForFinished());
    print(0, "b", "y");
    QTRY_COMPARE_WITH_TIMEOUT(records(0).size(), 2, 10000);
    QVERIFY(records(0).last().contains(";打印失败:网络访问异常;1;"));
    startCloud();
    print(0, "c", "z");
    QTRY_COMPARE_WITH_TIMEOUT(records(0).size(), 3, 10000);
    QVERIFY(records(0).last().contains(";打印成功;1;"));
}

QTEST_GUILESS_MAIN(EndToEndTest)
#include "tst_endtoend.moc"
