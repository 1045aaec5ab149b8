#include "src/base/diagnosticlog.h"
#include "tests/support/filesizelimit.h"

#include <QCoreApplication>
#include <QDebug>
#include <QDir>
#include <QProcess>
#include <QRegularExpression>
#include <QTest>

namespace {

QDir logFolder()
{
    return QDir(QCoreApplication::applicationDirPath() + "/logs");
}

QString today()
{
    QFile file(logFileName(QDate::currentDate()));
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
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

    void writesLines()
    {
        write(QtDebugMsg, "one");
        write(QtWarningMsg, "%1 %2 %3 %%");
        write(QtCriticalMsg, "");
        write(QtInfoMsg, "打印");
        const QString log = today();
        const QString time = "\\[\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d \\d{3}\\] ";
        const QStringList lines{"Debug: one", "Warning: %1 %2 %3 %%", "Critical: ", "Info: 打印"};
        const QRegularExpression expected("\\A" + time + lines.join("\r\n" + time) + "\r\n\\z");
        QVERIFY2(expected.match(log).hasMatch(), qPrintable(log));
        QCOMPARE(logFolder().entryList(QDir::Files), QStringList(QDate::currentDate().toString("yyyy-MM-dd") + ".log"));
    }

    /// A second process of this executable: main() below sees the variable.
    void fatalMessageAbortsUnwritten()
    {
        QProcess process;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("TEST_FATAL", "1");
        process.setProcessEnvironment(environment);
        process.start(QCoreApplication::applicationFilePath(), {});
        QVERIFY(process.waitForFinished());
        QVERIFY(process.exitStatus() == QProcess::CrashExit || process.exitCode() == 3); // Windows: abort()
        QVERIFY(today().contains("before the end"));
        QVERIFY(!today().contains("the end of it"));
    }

    void lineThatDoesNotFitLeavesNothing_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("in the buffer") << 5000;
        QTest::newRow("past the buffer") << 40000;
    }

    void lineThatDoesNotFitLeavesNothing()
    {
        QFETCH(int, size);
        write(QtInfoMsg, "before");
        const QString before = today();
        {
            LIMIT_FILE_SIZE(before.size() + 4000); // like a full disk, it takes a part
            write(QtInfoMsg, QString(size, 'x'));
        }
        QCOMPARE(today(), before);
    }

    void missingFolderIsNotCreated()
    {
        QVERIFY(logFolder().removeRecursively());
        write(QtCriticalMsg, "lost");
        LogFileManage(5);
        QVERIFY(!logFolder().exists());
    }

    void deletesOldFiles()
    {
        const auto dayName = [](int age) { return QDate::currentDate().addDays(-age).toString("yyyy-MM-dd"); };
        const QStringList kept{dayName(0) + ".log",  dayName(5) + ".log",  "notes.log",
                               dayName(40) + ".txt", dayName(-3) + ".log", "2022-13-45.log"};
        for (const QString &name : kept + QStringList{dayName(6) + ".log", dayName(400) + ".log"}) {
            QFile file(logFolder().filePath(name));
            QVERIFY(file.open(QIODevice::WriteOnly));
        }
        LogFileManage(5);
        const QStringList left = logFolder().entryList(QDir::Files);
        QCOMPARE(QSet<QString>(left.begin(), left.end()), QSet<QString>(kept.begin(), kept.end()));
    }
};

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
