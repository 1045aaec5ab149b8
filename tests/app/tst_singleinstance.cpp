#include "src/app/instanceguard.h"
#include "tests/app/instances.h"

#include <QElapsedTimer>
#include <QLocalSocket>
#include <QSignalSpy>

#include <algorithm>
#include <vector>

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
        World folder, copy;
        startFirst(folder);
        startFirst(copy);
        QCOMPARE(exitCodeOf(folder.start(program, {"one", "二"})), 0);
        QVERIFY(folder.log().contains("argv[ 2 ]= 二"));
        QCOMPARE(windows(folder), 1);
    }

    /// The state after a kill is the hardest one to start from.
    void twentySimultaneousStarts()
    {
        World folder;
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
};

QTEST_GUILESS_MAIN(SingleInstanceTest)

#include "tst_singleinstance.moc"
