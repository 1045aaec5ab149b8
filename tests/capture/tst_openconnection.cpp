// A test of its own, for it waits half a minute.

#include "capturefixture.h"

#include "cloud/cloudservice.h"
#include "support/logrecorder.h"

#include <QElapsedTimer>

namespace {
QString baseAddress;
}

/// Takes the place of the built-in address.
QString cloudBaseAddress()
{
    return baseAddress;
}

class OpenConnectionTest : public QObject
{
    Q_OBJECT

private slots:
    void staysOpenTooLong();
};

void OpenConnectionTest::staysOpenTooLong()
{
    CloudService cloud;
    QVERIFY(cloud.listen());
    baseAddress = cloud.baseAddress();
    LogRecorder log;
    Capture capture;
    const auto socket = capture.open();
    socket->write("never finished");
    QElapsedTimer timer;
    timer.start();
    QTRY_COMPARE_WITH_TIMEOUT(log.count("92_PrinterThread"), 1, 35000);
    QVERIFY(timer.elapsed() > 29500 && timer.elapsed() < 31500);
    QTRY_VERIFY(log.contains("printComplete"));
    QTRY_COMPARE(socket->state(), QAbstractSocket::UnconnectedState);
    QTest::qWait(500);
    QCOMPARE(log.count("59_PrinterThread"), 0);
    QCOMPARE(cloud.counts().submissions, 0);
    QVERIFY(capture.answers.isEmpty());
}

QTEST_GUILESS_MAIN(OpenConnectionTest)
#include "tst_openconnection.moc"
