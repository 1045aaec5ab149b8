#include "app/qtsingleapplication.h"
#include "support/programfolder.h"

#include <QElapsedTimer>
#include <QLocalSocket>
#include <QSignalSpy>
#include <QTest>
#include <QWidget>

#include <csignal>
#include <vector>

namespace {

const QString program = "OrvoCloudManager";
const QString handOver = "raise_window_noop";
constexpr int handOverLimit = 6000; // ms

/// Counts the lines that each start of the program writes, and those that only a first instance goes on to write.
int starts(const ProgramFolder &folder)
{
    return folder.log().count("application run argc=");
}

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
    void messageRaisesTheWindow();
    void rubbishOnTheSocket();
    void secondStartHandsOver();
    void copiesDoNotSeeEachOther();
    void firstInstanceHangs();
    void firstInstanceWasKilled();
    void twentySimultaneousStarts();
};

/// A second process of this executable; main() below sees the argument.
void SingleInstanceTest::messageRaisesTheWindow()
{
    QWidget window;
    auto *application = static_cast<QtSingleApplication *>(qApp);
    application->setActivationWindow(&window);
    QSignalSpy received(application, &QtSingleApplication::messageReceived);

    const auto sendFromAnotherProcess = [&](int count) {
        QProcess sender;
        sender.start(QCoreApplication::applicationFilePath(), {"--send"});
        QTRY_COMPARE(received.count(), count);
        QCOMPARE(received.last().first().toString(), handOver);
        QCOMPARE(exitCodeOf(&sender), 0);
    };
    sendFromAnotherProcess(1);
    QVERIFY2(window.isVisible(), "hidden in the tray");

    window.showMinimized();
    sendFromAnotherProcess(2);
    QVERIFY(window.isVisible());
    QVERIFY(!window.isMinimized());
    QTRY_VERIFY(window.isActiveWindow());
}

void SingleInstanceTest::rubbishOnTheSocket()
{
    InstanceGuard guard("rubbish");
    QVERIFY(!guard.isTaken());
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
    QVERIFY(half.state() == QLocalSocket::ConnectedState);
}

void SingleInstanceTest::secondStartHandsOver()
{
    ProgramFolder folder;
    QProcess *first = folder.start(program);
    QTRY_COMPARE(windows(folder), 1);
    QCOMPARE(exitCodeOf(folder.start(program, {"one", "二"})), 0);
    QVERIFY(folder.log().contains("argv[ 2 ]= 二"));
    QCOMPARE(starts(folder), 2);
    QCOMPARE(windows(folder), 1);
    QCOMPARE(first->state(), QProcess::Running);
}

void SingleInstanceTest::copiesDoNotSeeEachOther()
{
    ProgramFolder one, other;
    QProcess *first = one.start(program);
    QProcess *second = other.start(program);
    QTRY_COMPARE(windows(one), 1);
    QTRY_COMPARE(windows(other), 1);
    QCOMPARE(first->state(), QProcess::Running);
    QCOMPARE(second->state(), QProcess::Running);
}

void SingleInstanceTest::firstInstanceHangs()
{
    ProgramFolder folder;
    QProcess *first = folder.start(program);
    QTRY_COMPARE(windows(folder), 1);
    ::kill(pid_t(first->processId()), SIGSTOP);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(exitCodeOf(folder.start(program)), 0);
    QVERIFY2(timer.elapsed() >= 4500, "it is given its five seconds");
    ::kill(pid_t(first->processId()), SIGCONT);
    QCOMPARE(exitCodeOf(folder.start(program)), 0);
    QCOMPARE(windows(folder), 1);
}

void SingleInstanceTest::firstInstanceWasKilled()
{
    ProgramFolder folder;
    QProcess *first = folder.start(program);
    QTRY_COMPARE(windows(folder), 1);
    first->kill();
    QVERIFY(first->waitForFinished());

    QProcess *heir = folder.start(program);
    QTRY_COMPARE_WITH_TIMEOUT(windows(folder), 2, 4000);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(exitCodeOf(folder.start(program)), 0);
    QVERIFY2(timer.elapsed() < 4000, "the heir listens");
    QCOMPARE(heir->state(), QProcess::Running);
}

void SingleInstanceTest::twentySimultaneousStarts()
{
    ProgramFolder folder;
    // The state that a killed instance leaves behind is the hardest one to start from.
    QProcess *killed = folder.start(program);
    QTRY_COMPARE(windows(folder), 1);
    killed->kill();
    QVERIFY(killed->waitForFinished());

    std::vector<QProcess *> processes;
    for (int i = 0; i < 20; ++i)
        processes.push_back(folder.start(program));
    const auto running = [&] {
        int count = 0;
        for (QProcess *process : processes) {
            process->waitForFinished(1);
            count += process->state() != QProcess::NotRunning;
        }
        return count;
    };
    QTRY_COMPARE_WITH_TIMEOUT(running(), 1, 20000);
    for (QProcess *process : processes)
        QVERIFY(process->state() == QProcess::Running || process->exitCode() == 0);
    QCOMPARE(windows(folder), 2);
}

int main(int argc, char *argv[])
{
    QtSingleApplication application(argc, argv);
    if (application.arguments().contains("--send"))
        return application.isRunning() && application.sendMessage(handOver) ? 0 : 1;
    SingleInstanceTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_singleinstance.moc"
