// The real program between a real spooler and a real cloud service, each a process of its own, and what becomes of jobs
// when one of them is killed.

#include "support/freeport.h"
#include "support/programfolder.h"

#include <QDir>
#include <QFile>
#include <QRandomGenerator>
#include <QTest>

namespace {

const QStringList serials{"0123456789ABCDEF", "FEDCBA9876543210"};
const QStringList queues{"前台打印机", "it's %1"};

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

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
    void cleanup() { m_folder.reset(); }

    void printsOnTwoPrinters();
    void printsWhatWaitedForTheProgram();
    void killedProgramDoesNotPrintTwice();
    void cloudComesBack();

private:
    void startCloud(const QStringList &options = {});
    void print(int printer, const QString &document, const QByteArray &bytes);
    int posts() const { return contentOf(m_folder->path("cloud/jobs.jsonl")).count('\n'); }
    QByteArray received(int number) const;
    QStringList records(int printer) const
    {
        return m_folder->journal(serials[printer]).split("!+!", Qt::SkipEmptyParts);
    }

    std::unique_ptr<ProgramFolder> m_folder;
    QProcess *m_cloud = nullptr;
};

void EndToEndTest::init()
{
    m_folder = std::make_unique<ProgramFolder>();
    QCOMPARE(m_folder->run("spoolctl", {"add-driver"}), 0);
    for (int i = 0; i < queues.size(); ++i) {
        const QString port = QString("OXCloud00%1").arg(i + 1);
        const QString number = QString::number(freePort());
        QCOMPARE(m_folder->run("spoolctl", {"add-port", port, "127.0.0.1", number}), 0);
        QCOMPARE(m_folder->run("spoolctl", {"add-printer", queues[i], "--port", port, "--cloud-id", serials[i],
                                            "--cloud-port", number}),
                 0);
    }
    m_folder->start("spoolsv");
}

void EndToEndTest::startCloud(const QStringList &options)
{
    m_cloud =
        m_folder->start("cloudservice", QStringList{"--port", "18080", "--store", m_folder->path("cloud")} + options);
    QVERIFY(m_cloud->waitForReadyRead());
}

void EndToEndTest::print(int printer, const QString &document, const QByteArray &bytes)
{
    QFile file(m_folder->path("document"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
    file.close();
    QCOMPARE(m_folder->run("spoolctl", {"print", queues[printer], file.fileName(), "--document", document}), 0);
}

QByteArray EndToEndTest::received(int number) const
{
    return contentOf(m_folder->path(QString("cloud/%1.bin").arg(number, 4, 10, QChar('0'))));
}

void EndToEndTest::printsOnTwoPrinters()
{
    startCloud();
    m_folder->start("OrvoCloudManager");
    // The spooler tells the job's name only while it prints.
    QTRY_COMPARE_WITH_TIMEOUT(m_folder->log().count("oninit"), 2, 10000);
    const QByteArray large = randomBytes(3000000);
    print(0, "报告.docx", large);
    QTRY_COMPARE_WITH_TIMEOUT(records(0).size(), 1, 10000);
    QVERIFY(records(0).first().contains(";打印成功;3000000;"));
    QVERIFY(records(0).first().startsWith("报告.docx;"));
    QVERIFY(received(1) == large);

    print(1, "empty", "");
    QTRY_COMPARE_WITH_TIMEOUT(records(1).size(), 1, 10000);
    QVERIFY(records(1).first().contains(";打印成功;0;"));
    QVERIFY(contentOf(m_folder->path("cloud/jobs.jsonl")).contains(serials[1].toLatin1()));

    // One behind the other: the second waits in the server's slot.
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
    m_folder->start("OrvoCloudManager");
    QTRY_COMPARE_WITH_TIMEOUT(records(0).size(), 1, 10000);
    QCOMPARE(received(1), QByteArray("x"));
}

void EndToEndTest::killedProgramDoesNotPrintTwice()
{
    startCloud({"--delay", "1500"});
    QProcess *program = m_folder->start("OrvoCloudManager");
    print(0, "a", "x");
    QTRY_COMPARE_WITH_TIMEOUT(posts(), 1, 10000);
    program->kill();
    QVERIFY(program->waitForFinished());
    m_folder->start("OrvoCloudManager");
    print(0, "b", "y");
    QTRY_COMPARE_WITH_TIMEOUT(records(0).size(), 1, 15000);
    QCOMPARE(posts(), 2);
    QCOMPARE(received(2), QByteArray("y"));
}

void EndToEndTest::cloudComesBack()
{
    startCloud();
    m_folder->start("OrvoCloudManager");
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
