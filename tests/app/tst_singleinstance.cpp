#include "src/app/qtsingleapplication.h"
#include "tests/support/world.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTest>

#ifndef _WIN32
#include "emulator/win32/control.h"
#endif

#include <algorithm>
#include <vector>

namespace {

const QString program = "OrvoCloudManager";

/// Counts the lines that only a first instance goes on to write.
int windows(const World &folder)
{
    return folder.logged("qt_zh_CN.qm");
}

/// What an instance that was started in this folder would hold.
std::unique_ptr<InstanceGuard> guardOf(const World &folder)
{
    for (const char *name : {"TMPDIR", "WIN32_EMULATOR_HOME"})
        qputenv(name, folder.environment().value(name).toLocal8Bit());
    const QString path = folder.path(program);
    return std::make_unique<InstanceGuard>(
        QtSingleApplication::identifierOf(QFile::exists(path) ? path : path + ".exe"));
}

} // namespace

class SingleInstanceTest : public QObject
{
    Q_OBJECT

private slots:
    void rubbishOnTheSocket()
    {
        InstanceGuard guard("rubbish");
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
        QCOMPARE(half.state(), QLocalSocket::ConnectedState);
        QTRY_COMPARE_WITH_TIMEOUT(half.state(), QLocalSocket::UnconnectedState, 7000);
    }

#ifndef _WIN32
    void instanceWithOtherRights()
    {
        Win32Emulator::failCalls("CreateMutexW", 5);
        QVERIFY(InstanceGuard("other rights").isTaken());
        Win32Emulator::reset();
    }
#endif

    /// Twenty at once after a kill, which is the hardest state to start from; a copy in another folder does not matter.
    void simultaneousStarts()
    {
        World folder, copy;
        QProcess *killed = folder.start(program);
        copy.start(program);
        QTRY_VERIFY(windows(folder) == 1 && windows(copy) == 1);
        killed->kill();
        QVERIFY(killed->waitForFinished());

        std::vector<QProcess *> starts(20);
        std::generate(starts.begin(), starts.end(), [&] { return folder.start(program); });
        const auto isRunning = [](const QProcess *process) { return process->state() == QProcess::Running; };
        QTRY_COMPARE_WITH_TIMEOUT(std::count_if(starts.begin(), starts.end(), isRunning), 1, 20000);
        for (const QProcess *process : starts)
            QVERIFY(isRunning(process) || process->exitCode() == 0);
        QTRY_COMPARE(windows(folder), 2);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(folder.run(program, {"one", "二"}), 0);
        QVERIFY2(timer.elapsed() < 4000, "the heir listens");
        QVERIFY(folder.log().contains("argv[ 2 ]= 二"));
        QCOMPARE(windows(folder), 2);
    }

    /// One that hangs, and one that nobody can reach: this process has no event loop meanwhile.
    void firstInstanceDoesNotAnswer()
    {
        World hanging, deaf;
        const auto guard = guardOf(hanging);
        guard->listen();
        const auto other = guardOf(deaf);
        QElapsedTimer timer;
        timer.start();
        const QProcess *explaining = deaf.start(program);
        QCOMPARE(hanging.run(program), 0);
        QVERIFY2(timer.elapsed() >= 4500 && timer.elapsed() < 9000, "a hanging instance is given its five seconds");
        QTRY_COMPARE(deaf.logged("the running instance has not acknowledged"), 1);
        QTest::qWait(500);
        QVERIFY2(explaining->state() == QProcess::Running, "it shows a message to the user");
        QCOMPARE(windows(hanging) + windows(deaf), 0);
    }
};

QTEST_GUILESS_MAIN(SingleInstanceTest)

#include "tst_singleinstance.moc"
