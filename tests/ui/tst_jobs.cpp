// What becomes of a job, whatever the cloud does with it: each row is a printer of one window, and all print at once.

#include "tests/support/windowfixture.h"

#include "src/ui/driveritem.h"
#include "src/ui/qcircleprocess.h"

#include <QElapsedTimer>
#include <QPushButton>
#include <QTest>

#include "emulator/win32/control.h"

using namespace Script;

namespace {

const QString testPage = "测试页";
const QString networkStatus = "打印失败:网络访问异常";
constexpr int largestAnswer = 1024 * 1024; // bytes that the program reads

struct Row
{
    const char *name;
    QString document;
    PeerAnswer submission;
    QVector<PeerAnswer> results; ///< one for each request for the job's result
    QString status;              ///< in the journal; null: no record
    QString message;             ///< null: none is shown
    bool spins = false;          ///< the test button's spinner, after the job
    int earliest = 0;            ///< ms until the printer is free
    int latest = 60000;

    // What happened:
    int submissions = 0;
    int requests = 0;
    QCircleProcess *spinner = nullptr;
    bool spun = false;
    int freeAfter = 0;
};

PeerAnswer padded(const QByteArray &json, int size)
{
    return PeerAnswer::ok(json.leftJustified(size));
}

QVector<Row> allRows()
{
    const QByteArray good = R"({"data":{"veltraId":"0123456789ABCDEF"}})";
    const PeerAnswer chunks{"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n400000\r\n" +
                            QByteArray(4 * largestAnswer, ' ')};
    const PeerAnswer gzip{"HTTP/1.1 200 OK\r\nContent-Encoding: gzip\r\nContent-Length: 2\r\n\r\n{}"};
    const PeerAnswer otherPrinter = PeerAnswer::ok(R"({"data":{"FFFF":"打印成功"}})");
    const PeerAnswer error = PeerAnswer::http("500 Error", R"({"data":{"0123456789ABCDEF":"打印成功"}})");
    const QVector<PeerAnswer> polls = QVector<PeerAnswer>(30, status("当前正在打印中")) + QVector<PeerAnswer>{printed};
    PeerAnswer slow = printed;
    slow.delayMs = 2500; // two ticks of the result timer
    return {
        // What the cloud does with the submission
        {"too large", testPage, PeerAnswer::http("413 Large", good), {}, "打印失败:打印文件过大", {}, true},
        {"refused", testPage, PeerAnswer::http("500 Error", good), {}, networkStatus, networkStatus + '!'},
        {"silence", testPage, PeerAnswer::silence(), {}, networkStatus, networkStatus + '!', false, 14900, 19000},
        {"cut before the head", "a", PeerAnswer{"", 0, true}, {}, networkStatus, {}},
        {"no job number", "a", PeerAnswer::ok("<html>"), {}, "任务不存在", {}},
        {"1 MiB", "a", padded(good, largestAnswer), {printed}, "打印成功", {}},
        {"over 1 MiB", "a", padded(good, largestAnswer + 1), {}, networkStatus, {}},
        {"endless chunks", "a", chunks, {}, networkStatus, {}},
        {"compressed", "a", gzip, {}, networkStatus, {}},
        // What it does with the requests for the result
        {"long printing", "a", accepted, polls, "打印成功", {}, false, 30500},
        {"asked one at a time", "a", accepted, {slow}, "打印成功", {}},
        {"printed", testPage, accepted, {printed}, "打印成功", "打印成功"},
        {"offline", testPage, accepted, {status("离线")}, "打印失败:设备离线", "离线"},
        {"other text", testPage, accepted, {status("缺纸 %1")}, "打印失败:缺纸 %1", "缺纸 %1"},
        {"other printer", testPage, accepted, {otherPrinter}, "打印失败:", ""},
        {"bare text", testPage, accepted, {bareText}, "任务不存在", "任务不存在"},
        {"result refused", testPage, accepted, {error}, networkStatus, networkStatus + '!'},
        {"result over 1 MiB", "a", accepted, {padded(R"({"data":""})", largestAnswer + 1)}, networkStatus, {}},
        {"result no JSON", testPage, accepted, {PeerAnswer::ok("?")}, {}, {}},
        {"result an array", testPage, accepted, {PeerAnswer::ok("[1]")}, {}, {}},
    };
}

} // namespace

class JobsTest : public WindowTestCase
{
    Q_OBJECT

private slots:
    void everyJobEnds();

private:
    PeerAnswer answer(const QByteArray &request);
    PeerAnswer answerTo(const QByteArray &request, Row &row);

    QVector<Row> m_rows = allRows();
    QElapsedTimer m_timer;
};

PeerAnswer JobsTest::answer(const QByteArray &request)
{
    if (request.contains(device))
        return online;
    for (int printer = 0; printer < m_rows.size(); ++printer) {
        const QByteArray serial = WindowFixture::serial(printer).toLatin1();
        if (!request.contains(serial))
            continue;
        PeerAnswer fitted = answerTo(request, m_rows[printer]);
        fitted.bytes.replace(WindowFixture::serial().toLatin1(), serial);
        return fitted;
    }
    return bareText; // about a job without a number
}

/// Each printer's second job goes well. It is submitted when the first has ended, which is the time to look.
PeerAnswer JobsTest::answerTo(const QByteArray &request, Row &row)
{
    if (request.contains(result))
        return row.results.value(row.requests++, printed);
    if (++row.submissions == 1)
        return row.submission;
    row.spun = row.spinner->isAnimating();
    row.freeAfter = int(m_timer.elapsed());
    return accepted;
}

void JobsTest::everyJobEnds()
{
    RawHttpPeer peer([this](const QByteArray &request) { return answer(request); });
    WindowFixture fixture(peer.baseAddress(), m_rows.size());
    m_timer.start();
    for (int printer = 0; printer < m_rows.size(); ++printer) {
        auto *test = fixture.card(printer)->findChild<QPushButton *>("testButton");
        QTest::mouseClick(test, Qt::LeftButton);
        m_rows[printer].spinner = test->findChild<QCircleProcess *>();
        fixture.print(m_rows[printer].document, QByteArray(printer, 'x'), printer);
    }
    QTRY_COMPARE_WITH_TIMEOUT(int(Win32Emulator::portsWithJobs().size()), m_rows.size(), 10000); // the test pages
    for (int printer = 0; printer < m_rows.size(); ++printer)
        fixture.send("next", QByteArray(printer, 'x'), printer);

    QStringList messages;
    for (int printer = 0; printer < m_rows.size(); ++printer) {
        const Row &row = m_rows[printer];
        QStringList expected{"next;09:02:03;打印成功;" + QString::number(printer)};
        if (!row.status.isNull())
            expected.prepend(row.document + ";09:02:03;" + row.status + ';' + QString::number(printer));
        const QStringList records = fixture.recordsOf(WindowFixture::serial(printer), expected.size(), 40000);
        QVERIFY2(records == expected, qPrintable(row.name + (": " + records.join(", "))));
        QVERIFY2(row.submissions == 2 && row.requests == row.results.size() + 1, row.name);
        QVERIFY2(row.freeAfter >= row.earliest && row.freeAfter < row.latest, row.name);
        QVERIFY2(row.spun == row.spins && !row.spinner->isAnimating(), row.name);
        if (!row.message.isNull())
            messages << row.message;
    }
    QStringList shown = fixture.messages();
    shown.sort();
    messages.sort();
    QCOMPARE(shown, messages);
    QCOMPARE(fixture.log.count("Timeout occur"), 1); // the silence
}

QTEST_MAIN(JobsTest)
#include "tst_jobs.moc"
