#include "src/ui/appearance.h"
#include "src/ui/errordialog.h"
#include "src/ui/qcircleprocess.h"
#include "src/ui/waittingdlg.h"

#include <QLabel>
#include <QMovie>
#include <QPainter>
#include <QPainterPath>
#include <QPushButton>
#include <QTimer>
#include <QTimerEvent>
#include <QtTest>

#include <memory>

namespace {

constexpr int neverInATest = 3600 * 1000; // ms

struct Ring
{
    QPoint centre;
    QRectF bar; // upright
    qreal cornerRadius;
};

/// The ring as it should look, drawn another way than the widget does: as paths mapped to their places.
QImage expectedRing(const QSize &size, const Ring &ring, int headAngle)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    QPainterPath bar;
    bar.addRoundedRect(ring.bar, ring.cornerRadius, ring.cornerRadius);
    for (int i = 0; i < 12; ++i) {
        const QTransform place = QTransform().translate(ring.centre.x(), ring.centre.y()).rotate(headAngle - 30 * i);
        painter.fillPath(place.map(bar), QColor::fromRgbF(0, 0, 1, (12 - i) / 12.0));
    }
    return image;
}

QImage grabbed(QWidget &widget)
{
    QImage image(widget.size(), QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::white);
    widget.render(&image, QPoint(), QRegion(), QWidget::RenderFlags());
    return image;
}

int largestDifference(const QImage &left, const QImage &right)
{
    int largest = 0;
    for (int y = 0; y < left.height(); ++y) {
        for (int x = 0; x < left.width(); ++x) {
            const QColor a = left.pixelColor(x, y);
            const QColor b = right.pixelColor(x, y);
            largest =
                std::max({largest, qAbs(a.red() - b.red()), qAbs(a.green() - b.green()), qAbs(a.blue() - b.blue())});
        }
    }
    return largest;
}

void step(QCircleProcess &spinner, int times = 1)
{
    for (int i = 0; i < times; ++i) {
        QTimerEvent tick(0);
        QCoreApplication::sendEvent(&spinner, &tick);
    }
}

bool isBlank(QWidget &widget)
{
    QImage blank(widget.size(), QImage::Format_ARGB32_Premultiplied);
    blank.fill(Qt::white);
    return grabbed(widget) == blank;
}

} // namespace

class WidgetsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareAppearance(); }

    void spinnerDrawsTheRing_data();
    void spinnerDrawsTheRing();
    void spinnerTurns();
    void stoppedSpinnerIsBlank();
    void waitingDialogStaysUntilStopped();
    void messageDialogKeepsItsSize();
    void everyButtonClosesTheMessage();
};

void WidgetsTest::spinnerDrawsTheRing_data()
{
    QTest::addColumn<QSize>("size");
    QTest::addColumn<QPoint>("centre");
    QTest::addColumn<QRectF>("bar");
    QTest::addColumn<qreal>("cornerRadius");

    QTest::newRow("in the card's text") << QSize(18, 18) << QPoint(8, 8) << QRectF(0, -8, 1, 5) << 0.0;
    QTest::newRow("last with stout bars") << QSize(32, 32) << QPoint(15, 15) << QRectF(-1, -15, 3, 10) << 1.0;
    QTest::newRow("first with slim bars") << QSize(33, 33) << QPoint(16, 16) << QRectF(-1, -16, 2, 10) << 1.0;
    QTest::newRow("on the card's picture") << QSize(39, 39) << QPoint(19, 19) << QRectF(-1, -19, 2, 12) << 1.0;
    QTest::newRow("higher than wide") << QSize(39, 52) << QPoint(19, 25) << QRectF(-1, -19, 2, 12) << 1.0;
}

void WidgetsTest::spinnerDrawsTheRing()
{
    QFETCH(QSize, size);
    QFETCH(QPoint, centre);
    QFETCH(QRectF, bar);
    QFETCH(qreal, cornerRadius);

    QCircleProcess spinner(size.width());
    QCOMPARE(spinner.size(), QSize(size.width(), size.width()));
    spinner.resize(size);
    spinner.setColor(Qt::blue);
    spinner.setAnimationDelay(neverInATest);
    spinner.startAnimation();

    const Ring ring{centre, bar, cornerRadius};
    constexpr int rounding = 12; // of 255: the two ways of drawing blend a little differently
    QVERIFY(largestDifference(grabbed(spinner), expectedRing(size, ring, 0)) <= rounding);
    QVERIFY(largestDifference(grabbed(spinner), expectedRing(size, ring, 30)) > rounding);
    step(spinner);
    QVERIFY(largestDifference(grabbed(spinner), expectedRing(size, ring, 30)) <= rounding);
}

void WidgetsTest::spinnerTurns()
{
    QCircleProcess spinner(39);
    spinner.setAnimationDelay(neverInATest);
    QVERIFY(!spinner.isAnimating()); // a delay alone starts nothing
    spinner.startAnimation();
    const QImage upright = grabbed(spinner);

    step(spinner, 11);
    QVERIFY(grabbed(spinner) != upright);
    step(spinner);
    QCOMPARE(grabbed(spinner), upright);

    step(spinner, 5);
    spinner.startAnimation();
    QCOMPARE(grabbed(spinner), upright);

    spinner.setAnimationDelay(1); // from now on by itself
    QTRY_VERIFY(grabbed(spinner) != upright);
}

void WidgetsTest::stoppedSpinnerIsBlank()
{
    QCircleProcess spinner(39);
    QVERIFY(isBlank(spinner));
    spinner.setAnimationDelay(1);
    spinner.startAnimation();
    spinner.startAnimation();
    QVERIFY(!isBlank(spinner));
    spinner.stopAnimation();
    QVERIFY(isBlank(spinner));

    spinner.setDisplayedWhenStopped(true);
    const QImage standing = grabbed(spinner);
    QTest::qWait(50);
    QCOMPARE(grabbed(spinner), standing); // no timer is left behind, although there were two starts
}

void WidgetsTest::waitingDialogStaysUntilStopped()
{
    std::unique_ptr<QMovie> movie; // the dialog leaves it to the process
    WaittingDlg dialog;
    movie.reset(dialog.findChild<QLabel *>()->movie());
    QVERIFY(movie->isValid());
    QCOMPARE(dialog.size(), QSize(75, 75));
    dialog.setWindowModality(Qt::ApplicationModal);

    for (int round = 0; round < 2; ++round) {
        dialog.start();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QTRY_VERIFY(movie->currentFrameNumber() >= 2);
        QTest::keyClick(&dialog, Qt::Key_Escape);
        QVERIFY(dialog.isVisible());
        dialog.close();
        QVERIFY(dialog.isVisible());

        dialog.stop();
        QVERIFY(!dialog.isVisible());
        QCOMPARE(movie->state(), QMovie::NotRunning);
    }

    const QImage picture = dialog.grab().toImage();
    QCOMPARE(picture.pixelColor(0, 0).alpha(), 0);
    QCOMPARE(picture.pixelColor(37, 37), QColor(Qt::white));
}

void WidgetsTest::messageDialogKeepsItsSize()
{
    const QString text = QStringLiteral("<b>打印机端口创建失败</b>").repeated(12);
    ErrorDialog dialog(text);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QCOMPARE(dialog.size(), QSize(316, 206));
    const auto *label = dialog.findChild<QLabel *>();
    QCOMPARE(label->text(), text);
    QVERIFY2(label->textFormat() == Qt::PlainText, "a printer's name is no markup");
    QVERIFY(dialog.rect().contains(QRect(label->mapTo(&dialog, QPoint()), label->size())));
    const QImage picture = dialog.grab().toImage();
    QCOMPARE(picture.pixelColor(0, 0).alpha(), 0); // rounded
    QCOMPARE(picture.pixelColor(30, 30), QColor(Qt::white));
}

void WidgetsTest::everyButtonClosesTheMessage()
{
    for (int index : {0, 1}) {
        ErrorDialog dialog(QStringLiteral("云序号输入错误!"));
        const auto buttons = dialog.findChildren<QPushButton *>();
        QCOMPARE(buttons.size(), 2);
        QTimer::singleShot(0, &dialog, [&] { QTest::mouseClick(buttons.at(index), Qt::LeftButton); });
        QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    }
}

QTEST_MAIN(WidgetsTest)
#include "tst_widgets.moc"
