#include "base/diagnosticlog.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <memory>
#include <vector>

namespace {

QDir logFolder()
{
    return QDir(QCoreApplication::applicationDirPath() + "/logs");
}

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void write(QtMsgType type, const QString &message)
{
    messageOutput(type, QMessageLogContext("file.cpp", 7, "function", "category"), message);
}

} // namespace

class DiagnosticLogTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        logFolder().removeRecursively();
        QVERIFY(logFolder().mkpath("."));
    }
    void cleanupTestCase() { logFolder().removeRecursively(); }

    void writesLines_data();
    void writesLines();
    void fatalMessageAbortsUnwritten();
    void missingFolderIsNotCreated();
    void keepsLinesOfManyThreadsWhole();
    void deletesOldFiles();
};

void DiagnosticLogTest::writesLines_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("written");
    QTest::newRow("debug") << int(QtDebugMsg) << "one"
                           << "Debug: one";
    QTest::newRow("warning") << int(QtWarningMsg) << "two words"
                             << "Warning: two words";
    QTest::newRow("critical") << int(QtCriticalMsg) << ""
                              << "Critical: ";
    QTest::newRow("info") << int(QtInfoMsg) << "打印"
                          << "Info: 打印";
    QTest::newRow("unknown type") << 9 << "text"
                                  << " text";
    QTest::newRow("markers") << int(QtDebugMsg) << "%1 %2 %3 %%"
                             << "Debug: %1 %2 %3 %%";
}

void DiagnosticLogTest::writesLines()
{
    QFETCH(int, type);
    QFETCH(QString, message);
    QFETCH(QString, written);
    write(static_cast<QtMsgType>(type), message);
    write(QtDebugMsg, "next");

    const QString log = QString::fromLocal8Bit(contentOf(logFileName(QDate::currentDate())));
    const QString time = "\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d \\d{3}\\] ";
    const QRegularExpression expected("\\A" + time + QRegularExpression::escape(written) + "\r\n" + time +
                                      "Debug: next\r\n\\z");
    QVERIFY2(expected.match(log).hasMatch(), qPrintable(log));
    QCOMPARE(logFolder().entryList(QDir::Files), QStringList(QDate::currentDate().toString("yyyy-MM-dd") + ".log"));
}

/// A second process of this executable: main() below sees the variable.
void DiagnosticLogTest::fatalMessageAbortsUnwritten()
{
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("TEST_FATAL", "1");
    process.setProcessEnvironment(environment);
    process.start(QCoreApplication::applicationFilePath(), {});
    QVERIFY(process.waitForFinished());
    QCOMPARE(process.exitStatus(), QProcess::CrashExit);
    const QByteArray log = contentOf(logFileName(QDate::currentDate()));
    QVERIFY(log.contains("before the end"));
    QVERIFY(!log.contains("the end of it"));
}

void DiagnosticLogTest::missingFolderIsNotCreated()
{
    QVERIFY(logFolder().removeRecursively());
    write(QtCriticalMsg, "lost");
    LogFileManage(5);
    QVERIFY(!logFolder().exists());
}

void DiagnosticLogTest::keepsLinesOfManyThreadsWhole()
{
    constexpr int threadCount = 8;
    constexpr int lineCount = 200;
    std::vector<std::unique_ptr<QThread>> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back(QThread::create([i] {
            for (int line = 0; line < lineCount; ++line)
                write(QtDebugMsg, QString("<%1>").arg(QString(500, QChar('a' + i))));
        }));
        threads.back()->start();
    }
    for (const auto &thread : threads)
        QVERIFY(thread->wait());

    const QRegularExpression whole("\\A\\[[^\\]]+\\] Debug: <([a-h])\\1{499}>\\z");
    QStringList lines = QString::fromLatin1(contentOf(logFileName(QDate::currentDate()))).split("\r\n");
    QVERIFY(lines.takeLast().isEmpty());
    QCOMPARE(lines.size(), threadCount * lineCount);
    for (const QString &line : qAsConst(lines))
        QVERIFY2(whole.match(line).hasMatch(), qPrintable(line));
}

void DiagnosticLogTest::deletesOldFiles()
{
    const QDate today = QDate::currentDate();
    const auto dayName = [&](int age) { return today.addDays(-age).toString("yyyy-MM-dd"); };
    const QStringList kept{dayName(0) + ".log",  dayName(5) + ".log",  "notes.log",
                           dayName(40) + ".txt", dayName(-3) + ".log", "2022-13-45.log"};
    const QStringList deleted{dayName(6) + ".log", dayName(400) + ".log"};
    for (const QString &name : kept + deleted) {
        QFile file(logFolder().filePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly));
    }
    LogFileManage(5);
    const QStringList left = logFolder().entryList(QDir::Files);
    QCOMPARE(QSet<QString>(left.begin(), left.end()), QSet<QString>(kept.begin(), kept.end()));
}

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    if (qEnvironmentVariableIsSet("TEST_FATAL")) {
        qInstallMessageHandler(messageOutput);
        qDebug() << "before the end";
        qFatal("the end of it");
    }
    DiagnosticLogTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_diagnosticlog.moc"
