// What the window is made of: a button with its spinner, and the message.

#include "tests/support/byeye.h"

#include "src/ui/actionbutton.h"
#include "src/ui/appearance.h"
#include "src/ui/errordialog.h"
#include "src/ui/qcircleprocess.h"

#include <QtWidgets>

class WidgetsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareAppearance(); }

    void spinnerTurnsOnABusyButton()
    {
        ActionButton action("test", "打印测试");
        const auto onScreen = [&] { return action.screen()->grabWindow(action.winId()).toImage(); };
        action.show();
        QVERIFY(QTest::qWaitForWindowActive(&action));
        const QImage idle = onScreen();
        action.setBusy(true);
        action.setBusy(true); // as by a second click
        auto *spinner = action.findChild<QCircleProcess *>();
        for (int step = 0; step < 3; ++step) {
            const QImage before = onScreen();
            QTRY_VERIFY(onScreen() != before);
        }
        const QImage turning = onScreen();
        spinner->stopAnimation();
        QTRY_VERIFY(onScreen() != turning);
        spinner->startAnimation();
        action.setBusy(false);
        QTRY_COMPARE(onScreen(), idle);
        QVERIFY(QAbstractEventDispatcher::instance()->registeredTimers(spinner).isEmpty());
    }

    /// It shows all of its text as it is.
    void messageStaysUntilItIsClosed()
    {
        for (int way : {0, 1, int(Qt::Key_Return), int(Qt::Key_Escape)}) {
            ErrorDialog dialog("<b>" + QString(150, 'W'));
            auto *text = dialog.findChild<QLabel *>();
            const auto buttons = dialog.findChildren<QPushButton *>();
            QTimer::singleShot(0, &dialog, [&] {
                QCOMPARE(dialog.size(), QSize(316, 206));
                QVERIFY(text->textFormat() == Qt::PlainText && isBlank(text->grab({0, 0, 20, text->height()})));
                QVERIFY(!isBlank(text->grab({0, text->height() / 2 - 30, text->width(), 15}))); // in several lines
                buttons.last()->setFocus();
                const QImage cross = buttons.first()->grab().toImage();
                buttons.first()->setAttribute(Qt::WA_UnderMouse);
                QVERIFY(buttons.first()->grab().toImage() != cross);
                if (way < 2)
                    clickOn(buttons[way]);
                else
                    QTest::keyClick(&dialog, Qt::Key(way));
            });
            QTimer::singleShot(10000, &dialog, &QDialog::accept);
            QCOMPARE(dialog.exec(), int(QDialog::Rejected));
        }
    }
};

QTEST_MAIN(WidgetsTest)
#include "tst_widgets.moc"
