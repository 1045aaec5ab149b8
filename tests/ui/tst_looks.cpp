// What the window looks like and how it is used without a mouse.

#include "tests/support/windowfixture.h"

#include "src/ui/appearance.h"
#include "src/ui/actionbutton.h"
#include "src/ui/driveritem.h"
#include "src/ui/errordialog.h"
#include "src/ui/qcircleprocess.h"
#include "src/ui/settingsdlg.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QScrollArea>
#include <QTest>

#include "emulator/win32/control.h"

namespace {

const QString nowhere = "http://127.0.0.1:9";

/// The objects that the Tab key leads to, one after the other, from the focused one on.
QStringList tabbedThrough(QWidget &window, int steps)
{
    QStringList names;
    for (int step = 0; step < steps; ++step) {
        QTest::keyClick(&window, Qt::Key_Tab);
        names << QApplication::focusWidget()->objectName();
    }
    return names;
}

template <typename Widget>
QString cutText(const Widget *widget, int room)
{
    const int width = widget->fontMetrics().horizontalAdvance(widget->text());
    return width <= room ? QString() : QString("%1: %2 of %3").arg(widget->text()).arg(width).arg(room);
}

} // namespace

class LooksTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { prepareAppearance(); }

    void textsFitTheirPlaces();
    void nothingOverlapsInACard();
    void cardHasItsCornersAndShadow();
    void buttonsAreNamed();
    void tabLeadsThroughTheAddPage();
    void tabLeadsThroughACard();
    void tabLeadsToANewCardFirst();
    void enterConfirms();
    void changingAPrinterBeginsWithItsName();
    void busyButtonShowsOnlyItsSpinner();
};

void LooksTest::textsFitTheirPlaces()
{
    WindowFixture fixture(nowhere);
    QStringList cut;
    for (const char *page : {"pushButton_manage", "pushButton_add"}) {
        fixture.find<QPushButton>(page)->click();
        QCoreApplication::processEvents();
        const auto labels = fixture.window().findChildren<QLabel *>();
        for (const QLabel *label : labels)
            if (label->isVisible())
                cut << cutText(label, label->contentsRect().width());
    }
    const auto fields = fixture.window().findChildren<QLineEdit *>();
    for (const QLineEdit *field : fields)
        QVERIFY(field->fontMetrics().horizontalAdvance(field->placeholderText()) < field->width());
    cut.removeAll(QString());
    QCOMPARE(cut, QStringList());
}

/// The children of the card's panel, each in a place of its own and inside.
void LooksTest::nothingOverlapsInACard()
{
    WindowFixture fixture(nowhere);
    const QWidget *panel = fixture.card()->findChild<QLineEdit *>("printerName")->parentWidget();
    QCOMPARE(fixture.card()->height(), 170);
    const auto parts = panel->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly);
    for (const QWidget *part : parts) {
        QVERIFY2(panel->rect().contains(part->geometry()), qPrintable(part->objectName()));
        for (const QWidget *other : parts)
            QVERIFY2(part == other || !part->geometry().intersects(other->geometry()),
                     qPrintable(part->objectName() + " and " + other->objectName()));
    }
}

void LooksTest::cardHasItsCornersAndShadow()
{
    WindowFixture fixture(nowhere);
    QImage picture(fixture.card()->size(), QImage::Format_ARGB32_Premultiplied);
    picture.fill(Qt::transparent);
    fixture.card()->render(&picture, QPoint(), QRegion(), QWidget::DrawChildren);
    const QRect white(5, 5, picture.width() - 18, picture.height() - 18);
    const auto alpha = [&](const QPoint &place) { return picture.pixelColor(place).alpha(); };
    QCOMPARE(alpha(white.topLeft() + QPoint(20, 20)), 0); // outside the round corner
    QVERIFY(alpha(white.bottomRight() - QPoint(20, 20)) < 60);
    QCOMPARE(picture.pixelColor(white.topLeft() + QPoint(28, 28)), QColor(Qt::white));
    QCOMPARE(picture.pixelColor(white.topRight() + QPoint(-1, 1)), QColor(Qt::white));
    QCOMPARE(picture.pixelColor(white.bottomLeft() + QPoint(1, -1)), QColor(Qt::white));
    const int below = alpha(QPoint(white.center().x(), white.bottom() + 4));
    QVERIFY2(below > 5 && below < 60, qPrintable(QString::number(below)));
    QVERIFY(alpha(QPoint(white.center().x(), picture.height() - 1)) < 3); // the shadow is not cut
}

void LooksTest::buttonsAreNamed()
{
    WindowFixture fixture(nowhere);
    ErrorDialog message("text");
    SettingsDlg details(DriverInfo{});
    for (const QWidget *window : std::initializer_list<QWidget *>{&fixture.window(), &message, &details}) {
        const auto buttons = window->findChildren<QPushButton *>();
        for (const QPushButton *button : buttons)
            QVERIFY2(!button->text().isEmpty() || !button->accessibleName().isEmpty(),
                     qPrintable(button->objectName()));
    }
}

void LooksTest::tabLeadsThroughTheAddPage()
{
    WindowFixture fixture(nowhere);
    QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
    fixture.find<QPushButton>("pushButton_add")->click();
    QCOMPARE(QApplication::focusWidget()->objectName(), QString("lineEdit_name"));
    QCOMPARE(tabbedThrough(fixture.window(), 6), QStringList({"lineEdit_num", "pushButton_ok", "pushButton_2",
                                                              "pushButton", "pushButton_manage", "pushButton_add"}));
}

/// What cannot be edited is passed by.
void LooksTest::tabLeadsThroughACard()
{
    WindowFixture fixture(nowhere, 2);
    QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
    const QStringList buttons{"refreshButton", "detailButton", "testButton", "modifyButton", "deleteButton"};
    fixture.find<QScrollArea>("scrollArea")->setFocus();
    QCOMPARE(tabbedThrough(fixture.window(), 10), buttons + buttons);

    fixture.find<QPushButton>("modifyButton")->click();
    fixture.find<QScrollArea>("scrollArea")->setFocus();
    QCOMPARE(tabbedThrough(fixture.window(), 7), QStringList({"printerName", "cloudSerial"}) + buttons);
}

void LooksTest::tabLeadsToANewCardFirst()
{
    WindowFixture fixture(nowhere);
    DriverInfo added;
    added.printerName = "新";
    added.portNum = 8109;
    Win32Emulator::addPort("OXCloud009", "127.0.0.1", added.portNum);
    Win32Emulator::addPrinter("新", "OXCloud009");
    const QPointer<DriverItem> older = fixture.card();
    fixture.window().on_addPrinterResult(true, "", added);
    fixture.window().activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
    fixture.find<QScrollArea>("scrollArea")->setFocus();
    QCOMPARE(tabbedThrough(fixture.window(), 5).last(), QString("deleteButton"));
    QVERIFY(!older->isAncestorOf(QApplication::focusWidget()));
    QCOMPARE(tabbedThrough(fixture.window(), 1).last(), QString("refreshButton"));
    QVERIFY(older->isAncestorOf(QApplication::focusWidget()));
}

void LooksTest::enterConfirms()
{
    WindowFixture fixture(nowhere);
    QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
    fixture.find<QPushButton>("pushButton_add")->click();
    for (const char *name : {"lineEdit_name", "lineEdit_num", "pushButton_ok"}) {
        const int before = fixture.messages().size();
        QTest::keyClick(fixture.find<QWidget>(name), Qt::Key_Return);
        QTRY_COMPARE(fixture.messages().size(), before + 1);
    }
    QCOMPARE(fixture.messages().last(), QString("请输入云序号!"));

    ErrorDialog message("text");
    QTimer::singleShot(0, &message, [&] { QTest::keyClick(&message, Qt::Key_Return); });
    message.exec();
}

void LooksTest::changingAPrinterBeginsWithItsName()
{
    WindowFixture fixture(nowhere);
    QVERIFY(QTest::qWaitForWindowActive(&fixture.window()));
    auto *modify = fixture.find<QPushButton>("modifyButton");
    auto *name = fixture.find<QLineEdit>("printerName");
    QTest::keyClick(modify, Qt::Key_Return);
    QCOMPARE(modify->accessibleName(), QString("保存修改"));
    QCOMPARE(QApplication::focusWidget(), name);
    QTest::keyClick(name, Qt::Key_Return);
    QCOMPARE(modify->accessibleName(), QString("修改打印机"));
    QTest::keyClick(name, Qt::Key_Return); // once more: read-only now
    QCOMPARE(modify->accessibleName(), QString("修改打印机"));
}

void LooksTest::busyButtonShowsOnlyItsSpinner()
{
    ActionButton action("test", "打印测试");
    action.show();
    const QImage idle = action.grab().toImage();
    action.setBusy(true);
    const auto *spinner = action.findChild<QCircleProcess *>();
    QVERIFY(spinner->isVisible() && spinner->isAnimating());
    QCOMPARE(action.button()->geometry().center() - action.button()->mapToParent(spinner->geometry().center()),
             QPoint());
    const QImage busy = action.grab().toImage();
    QCOMPARE(busy.pixelColor(busy.rect().center().x(), action.button()->geometry().center().y()), QColor(0, 138, 255));
    action.setBusy(false);
    QCOMPARE(action.grab().toImage(), idle);
}

QTEST_MAIN(LooksTest)
#include "tst_looks.moc"
