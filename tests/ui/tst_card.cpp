// The card: the state of the device, and what happens while a message is open.

#include "tests/support/windowfixture.h"

#include "src/ui/driveritem.h"
#include "src/ui/qcircleprocess.h"
#include "tests/support/timers.h"

#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <malloc.h>
#include <tuple>

using namespace Script;
using namespace std::chrono_literals;

class CardTest : public WindowTestCase
{
    Q_OBJECT

private slots:
    void initTestCase() { mallopt(M_PERTURB, 0x55); } // a use of a deleted card does not go well by chance

    void followsTheDevice();
    void goesUnderItsMessage();
};

void CardTest::followsTheDevice()
{
    const std::tuple<PeerAnswer, QString, std::chrono::milliseconds> steps[] = {
        {PeerAnswer::ok(R"({"code":7,"data":"16"})"), "", 5s},
        {PeerAnswer::ok(R"({"code":0,"data":"16"})"), "在线", 5min},
        {PeerAnswer::ok(R"({"code":7,"data":"17"})"), "在线", 5min},
        {PeerAnswer::ok(R"({"code":0,"data":"17"})"), "离线", 10s},
        {PeerAnswer::http("500 Error", R"({"code":0})"), "--", 10s},
        {PeerAnswer::ok(R"({"code":4002,"data":"16"})"), "离线", 10s},
        {PeerAnswer::ok("no JSON"), "在线", 5min},
        {PeerAnswer::ok(R"({"code":1001})"), "离线", 10s},
    };
    // The timer's requests get no answer, so that only the button's change what is shown. From the seventh on one would
    // wait in Qt for a connection if the card did not give up the oldest, of which nothing is to be seen.
    PeerAnswer next;
    RawHttpPeer peer([&next](const QByteArray &) { return next; });
    WindowFixture fixture(peer.baseAddress());
    QTRY_COMPARE(peer.requests().size(), 1); // by itself
    auto *refresh = fixture.find<QPushButton>("refreshButton");
    const auto *spinner = refresh->parentWidget()->findChild<QCircleProcess *>();
    const auto *state = fixture.find<QLineEdit>("deviceState");
    for (const auto &[answer, shown, interval] : steps) {
        next = answer;
        QTest::mouseClick(refresh, Qt::LeftButton);
        QVERIFY(spinner->isAnimating());
        QTRY_VERIFY(!spinner->isAnimating());
        QCOMPARE(state->text(), shown);
        next = PeerAnswer::silence();
        const int asked = peer.requests().size();
        QVERIFY2(fire(fixture.card(), interval), answer.bytes.right(30));
        QTRY_VERIFY(peer.requests().size() > asked);
    }
    // The card asks for weeks.
    QNetworkAccessManager network;
    const QPointer<QNetworkReply> reply = network.get(QNetworkRequest());
    fixture.card()->devStateReceive(reply);
    QTRY_VERIFY(!reply);
}

/// The record is of the job that the message is about, although the next goes through under it and the card is deleted.
void CardTest::goesUnderItsMessage()
{
    struct Case
    {
        PeerAnswer submissionAnswer;
        PeerAnswer resultAnswer;
        QString status;
        bool isFree; // for the next job, while the message is open
    };
    const PeerAnswer error = PeerAnswer::http("500 Error", "");
    const Case cases[] = {
        {error, printed, "打印失败:网络访问异常", false},
        {accepted, bareText, "任务不存在", false},
        {accepted, printed, "打印成功", true},
        {accepted, error, "打印失败:网络访问异常", true},
    };
    for (const Case &c : cases) {
        QVector<PeerAnswer> submissions{c.submissionAnswer, accepted};
        QVector<PeerAnswer> results{c.resultAnswer, printed};
        RawHttpPeer peer([&](const QByteArray &request) {
            if (request.contains(device))
                return online;
            return request.contains(submission) ? submissions.takeFirst() : results.takeFirst();
        });
        WindowFixture fixture(peer.baseAddress());
        const QSignalSpy busy(fixture.card(), &DriverItem::portBusy);
        QStringList expected{"测试页;09:02:03;" + c.status + ";5"};
        fixture.whileMessageIsOpen([&] {
            QCOMPARE(!busy.isEmpty() && busy.last() == QVariantList{false}, c.isFree);
            if (c.isFree) {
                expected.prepend("second;09:02:03;打印成功;2");
                fixture.print("second", "22");
                QCOMPARE(fixture.records(1).size(), 1);
            }
            fixture.log.clear();
            delete fixture.card();
        });
        fixture.print("测试页");
        QCOMPARE(fixture.records(expected.size()), expected);
        QVERIFY(!fixture.log.contains("Network error")); // the last that a card does for a failed submission
    }
}

QTEST_MAIN(CardTest)
#include "tst_card.moc"
