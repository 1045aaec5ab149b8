#include "src/app/instanceguard.h"
#include "tests/support/machine.h"
#include "tests/support/programfolder.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <vector>

namespace {

const QString program = "OrvoCloudManager";
constexpr int handOverLimit = 6000; // ms

/// Counts the lines that only a first instance goes on to write.
int windows(const ProgramFolder &folder)
{
    return folder.log().count("qt_zh_CN.qm");
}

/// Waits for a later start to end; its exit code, or -1.
int exitCodeOf(QProcess *process)
{
    const bool ended = process->state() == QProcess::NotRunning || process->waitForFinished(handOverLimit);
    return ended && process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1;
}

} // namespace

class SingleInstanceTest : public QObject
{
    Q_OBJECT

private slots:
    void rubbishOnTheSocket()
    {
        InstanceGuard guard("rubbish");
        QVERIFY(!guard.isTaken());
        guard.listen();
        QSignalSpy received(&guard, &InstanceGuard::messageReceived);
        QLocalSocket half, flood, quick;
        for (QLocalSocket *socket : {&half, &flood, &quick}) {
            socket->connectToServer(guard.socketName());
            QVERIFY(socket->waitForConnected());
        }
        half.write("\0\0", 2);
        flood.write(QByteArray(300000, '\xff'));
        quick.write(QByteArray("\0\0\0\x03", 4) + "abc");
        QTRY_COMPARE(received.count(), 1);
        QCOMPARE(received.first().first().toString(), QString("abc"));
        QTRY_COMPARE(flood.state(), QLocalSocket::UnconnectedState);
        QTRY_COMPARE(quick.bytesAvailable(), 3);
        QCOMPARE(quick.readAll(), QByteArray("ack"));
    }

    void laterStartsHandOver()
    {
        ProgramFolder folder, copy;
        QProcess *first = startFirst(folder);
        startFirst(copy);
        QCOMPARE(exitCodeOf(folder.start(program, {"one", "二"})), 0);
        QVERIFY(folder.log().contains("argv[ 2 ]= 二"));
        qputenv("WIN32_EMULATOR_HOME", folder.path("win32").toLocal8Bit());
        QCOMPARE(argumentsOf("AllowSetForegroundWindow"), QStringList("any"));

        ::kill(pid_t(first->processId()), SIGSTOP);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(exitCodeOf(folder.start(program)), 0);
        QVERIFY2(timer.elapsed() >= 4500, "a hanging instance is given its five seconds");
        ::kill(pid_t(first->processId()), SIGCONT);
        QCOMPARE(exitCodeOf(folder.start(program)), 0);
        QCOMPARE(windows(folder), 1);
    }

    /// A path that is too long for a socket, for instance.
    void firstInstanceThatCannotListen()
    {
        ProgramFolder folder;
        const QString longName(110, 'x');
        QVERIFY(QDir(folder.path()).mkdir(longName));
        folder.setEnvironment("TMPDIR", folder.path(longName));
        startFirst(folder);
        QCOMPARE(folder.log().count("Warning: InstanceGuard cannot listen:"), 1);
        const QProcess *second = folder.start(program);
        QTRY_VERIFY_WITH_TIMEOUT(folder.log().contains("the running instance has not acknowledged"), handOverLimit);
        QTest::qWait(500);
        QVERIFY2(second->state() == QProcess::Running, "it shows a message to the user");
    }

    /// The state that a killed instance leaves behind is the hardest one to start from.
    void twentySimultaneousStarts()
    {
        ProgramFolder folder;
        QProcess *killed = startFirst(folder);
        killed->kill();
        QVERIFY(killed->waitForFinished());

        std::vector<QProcess *> processes(20);
        std::generate(processes.begin(), processes.end(), [&] { return folder.start(program); });
        const auto isRunning = [](QProcess *process) {
            process->waitForFinished(1);
            return process->state() != QProcess::NotRunning;
        };
        QTRY_COMPARE_WITH_TIMEOUT(std::count_if(processes.begin(), processes.end(), isRunning), 1, 20000);
        for (QProcess *process : processes)
            QVERIFY(process->state() == QProcess::Running || process->exitCode() == 0);
        QTRY_COMPARE(windows(folder), 2);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(exitCodeOf(folder.start(program)), 0);
        QVERIFY2(timer.elapsed() < 4000, "the heir listens");
    }

private:
    static QProcess *startFirst(ProgramFolder &folder)
    {
        QProcess *first = folder.start(program);
        if (!QTest::qWaitFor([&] { return windows(folder) == 1; }))
            qWarning("the first instance has no window");
        return first;
    }
};

QTEST_GUILESS_MAIN(SingleInstanceTest)

#include "tst_singleinstance.moc"
