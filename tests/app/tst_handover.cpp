#include "tests/app/instances.h"
#include "tests/support/machine.h"

#include <QDir>
#include <QElapsedTimer>

#include <csignal>

class HandOverTest : public QObject
{
    Q_OBJECT

private slots:
    void hangingInstance()
    {
        World folder;
        const QProcess *first = startFirst(folder);
        ::kill(pid_t(first->processId()), SIGSTOP);
        QElapsedTimer timer;
        timer.start();
        QCOMPARE(exitCodeOf(folder.start(program)), 0);
        QVERIFY2(timer.elapsed() >= 4500, "a hanging instance is given its five seconds");
        ::kill(pid_t(first->processId()), SIGCONT);
        QCOMPARE(exitCodeOf(folder.start(program)), 0);
        QCOMPARE(windows(folder), 1);
        qputenv("WIN32_EMULATOR_HOME", folder.path("win32").toLocal8Bit());
        QCOMPARE(argumentsOf("AllowSetForegroundWindow"), QStringList({"any", "any"}));
    }

    /// A path that is too long for a socket, for instance.
    void firstInstanceThatCannotListen()
    {
        World folder;
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
};

QTEST_GUILESS_MAIN(HandOverTest)

#include "tst_handover.moc"
