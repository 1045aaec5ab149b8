// The print details: the journal's records, the queue's jobs, the tool tips, and the dialog over the window.

#include "tests/support/windowfixture.h"

#include "src/store/journal.h"
#include "src/ui/driveritem.h"
#include "src/ui/settingsdlg.h"

#include <QApplication>
#include <QDir>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QToolTip>

#include "emulator/win32/control.h"

namespace {

const std::string queue = "前台";
const QDateTime lateEvening({2026, 11, 21}, {23, 30, 5}, Qt::UTC);

DriverInfo printer()
{
    DriverInfo info;
    info.printerName = QString::fromStdString(queue);
    info.cloudSn = WindowFixture::serial();
    return info;
}

/// The dialog's rows, the cells divided by "|".
QStringList rows(const SettingsDlg &dialog)
{
    const auto *table = dialog.findChild<QTableWidget *>();
    QStringList rows;
    for (int row = 0; row < table->rowCount(); ++row) {
        QStringList cells;
        for (int column = 0; column < table->columnCount(); ++column)
            cells << table->item(row, column)->text();
        rows << cells.join('|');
    }
    return rows;
}

unsigned addJob(const std::string &document)
{
    return Win32Emulator::addJob(queue, document, "x", lateEvening);
}

} // namespace

class DetailsTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup() { QVERIFY(QDir("details").removeRecursively()); }

    void showsTheJournal();
    void takesOneRecordATick();
    void showsTheQueueBelow();
    void tellsTheWholeOfANarrowText_data();
    void tellsTheWholeOfANarrowText();
    void showsTheNewestOfALongJournalFirst();
    void waitsForAJournalThatIsHeld();
    void tipStaysWhileTheMouseRests();
    void selectedRowsLookLikeTheHoveredCell_data();
    void selectedRowsLookLikeTheHoveredCell();
    void opensOverTheWindow();
    void outlivesItsCard();
};

void DetailsTest::init()
{
    QVERIFY(QDir().mkpath("details"));
    Win32Emulator::reset();
    Win32Emulator::addDriver();
    Win32Emulator::addPort("OXCloud001", "127.0.0.1", 8101);
    Win32Emulator::addPrinter(queue, "OXCloud001");
}

void DetailsTest::showsTheJournal()
{
    QCOMPARE(rows(SettingsDlg(printer())), QStringList());
    Journal::appendDetail(WindowFixture::serial(), "报告.docx;09:02:03;打印成功;12;09:02:09");
    Journal::appendDetail(WindowFixture::serial(), ";打印失败:网络访问异常;5;10:00:00"); // of a job without a label
    Journal::appendDetail("FEDCBA9876543210", "another printer's;1;2;3;4");
    const SettingsDlg dialog(printer());
    QCOMPARE(rows(dialog),
             QStringList({"1|报告.docx|打印成功|12|09:02:03|09:02:09", "2||5|10:00:00|打印失败:网络访问异常|"}));

    const auto *table = dialog.findChild<QTableWidget *>();
    QStringList headers;
    QList<int> widths;
    for (int column = 0; column < table->columnCount(); ++column) {
        headers << table->horizontalHeaderItem(column)->text();
        widths << table->columnWidth(column);
    }
    QCOMPARE(headers.join(' '), QString("序号 文档名称 任务状态 数据大小 提交时间 处理时间"));
    QCOMPARE(widths.mid(0, 5), QList<int>({50, 120, 160, 80, 100}));
}

void DetailsTest::takesOneRecordATick()
{
    SettingsDlg dialog(printer());
    for (const char *record : {"a;1;2;3;4", "b;1;2;3;4", "c;1;2;3;4"})
        Journal::appendDetail(WindowFixture::serial(), record);
    addJob("waits");
    for (int shown = 1; shown <= 3; ++shown) {
        dialog.on_Timeout();
        QCOMPARE(rows(dialog).size(), shown + 1); // and the job below
    }
    QCOMPARE(rows(dialog).mid(2), QStringList({"3|c|2|3|1|4", "4|waits|打印排队中|----|31:30:05|--:--:--"}));
    dialog.on_Timeout();
    QCOMPARE(rows(dialog).size(), 4);
}

void DetailsTest::showsTheNewestOfALongJournalFirst()
{
    constexpr int count = 5000;
    QString records;
    for (int record = 0; record < count; ++record)
        records += QString("%1;1;2;3;4!+!").arg(record);
    Journal::appendDetail(WindowFixture::serial(), records.chopped(3));
    SettingsDlg dialog(printer());
    const auto *table = dialog.findChild<QTableWidget *>();
    QCOMPARE(table->rowCount(), count);
    QVERIFY(table->item(0, 1) && table->item(count - 1, 1));
    QVERIFY2(!table->item(count / 2, 1), "the dialog opens before every row is filled");
    Journal::appendDetail(WindowFixture::serial(), "new;1;2;3;4");
    dialog.on_Timeout();
    QCOMPARE(table->item(count, 1)->text(), QString("new"));
    QTRY_VERIFY(table->item(20, 1));
    for (int row = 0; row < count; ++row)
        QCOMPARE(table->item(row, 1)->text(), QString::number(row));
}

/// Another program holds the file: a folder in its place cannot be read, either.
void DetailsTest::waitsForAJournalThatIsHeld()
{
    const QString file = Journal::detailFileName(WindowFixture::serial());
    QVERIFY(QDir().mkpath(file));
    SettingsDlg dialog(printer());
    dialog.on_Timeout();
    QCOMPARE(rows(dialog), QStringList());
    QVERIFY(QDir().rmdir(file));
    for (const char *record : {"a;1;2;3;4", "b;1;2;3;4", "c;1;2;3;4"})
        Journal::appendDetail(WindowFixture::serial(), record);
    dialog.on_Timeout(); // all at once: these are not new
    QCOMPARE(rows(dialog), QStringList({"1|a|2|3|1|4", "2|b|2|3|1|4", "3|c|2|3|1|4"}));
    dialog.on_Timeout();
    QCOMPARE(rows(dialog).size(), 3);
}

/// By the dialog's own timer.
void DetailsTest::showsTheQueueBelow()
{
    Journal::appendDetail(WindowFixture::serial(), "done;1;2;3;4");
    const SettingsDlg dialog(printer());
    const unsigned first = addJob("first");
    addJob("second");
    Win32Emulator::setJobStatus(first, 0x10 | 0x80); // printing, among others
    const QString done = "1|done|2|3|1|4";
    QTRY_COMPARE(rows(dialog), QStringList({done, "2|first|正在处理|----|31:30:05|--:--:--",
                                            "3|second|打印排队中|----|31:30:05|--:--:--"}));
    Win32Emulator::removeJob(first);
    QTRY_COMPARE(rows(dialog), QStringList({done, "2|second|打印排队中|----|31:30:05|--:--:--"}));
    Win32Emulator::removePrinter(queue);
    QTRY_COMPARE(rows(dialog), QStringList(done));
}

void DetailsTest::tellsTheWholeOfANarrowText_data()
{
    QTest::addColumn<QString>("document");
    QTest::addColumn<QString>("toolTip");
    const QString longName = "a document's name that is far too long for its column";
    QTest::newRow("short") << "报告"
                           << "";
    QTest::newRow("long") << longName << longName;
    QTest::newRow("like markup") << "<b>" + longName << "<p>&lt;b&gt;" + longName;
}

void DetailsTest::tellsTheWholeOfANarrowText()
{
    QFETCH(QString, document);
    QFETCH(QString, toolTip);
    Journal::appendDetail(WindowFixture::serial(), document + ";1;2;3;4");
    SettingsDlg dialog(printer());
    QToolTip::showText(QPoint(), "an older one");
    dialog.slotItemEnter(dialog.findChild<QTableWidget *>()->item(0, 1));
    QTRY_COMPARE(QToolTip::isVisible() ? QToolTip::text() : QString(), toolTip);
    dialog.slotItemEnter(nullptr);
    QTRY_VERIFY(!QToolTip::isVisible());
}

/// Moves the real cursor.
void hover(const QTableWidget *table, int row, int column)
{
    const QPoint place = table->visualItemRect(table->item(row, column)).center();
    QCursor::setPos(table->viewport()->mapToGlobal(place));
    QCoreApplication::processEvents();
}

void DetailsTest::tipStaysWhileTheMouseRests()
{
    const QString longName = "a document's name that is far too long for its column";
    for (const QString &name : {longName, longName, QString("short")})
        Journal::appendDetail(WindowFixture::serial(), name + ";1;2;3;4");
    SettingsDlg dialog(printer());
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    const auto *table = dialog.findChild<QTableWidget *>();
    constexpr int afterTheViewsOwnTip = 1300; // ms; it looks for one after 700
    for (int row : {0, 1}) {
        hover(table, row, 1);
        QTest::qWait(afterTheViewsOwnTip);
        QVERIFY(QToolTip::isVisible());
        QCOMPARE(QToolTip::text(), longName);
    }
    hover(table, 2, 1);
    QTRY_VERIFY(!QToolTip::isVisible());
}

void DetailsTest::selectedRowsLookLikeTheHoveredCell_data()
{
    QTest::addColumn<QString>("style");
    for (const char *style : {"fusion", "windows"})
        QTest::newRow(style) << style;
}

void DetailsTest::selectedRowsLookLikeTheHoveredCell()
{
    QFETCH(QString, style);
    QApplication::setStyle(style);
    for (int record = 0; record < 4; ++record)
        Journal::appendDetail(WindowFixture::serial(), "a;1;2;3;4");
    SettingsDlg dialog(printer());
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    auto *table = dialog.findChild<QTableWidget *>();
    const auto colour = [&](int row, int column) {
        const QPoint corner = table->visualItemRect(table->item(row, column)).topLeft() + QPoint(3, 3);
        return table->viewport()->grab().toImage().pixelColor(corner);
    };
    const QColor plain = colour(3, 0);
    QVERIFY(table->hasFocus());
    QCOMPARE(colour(0, 0), plain); // nothing is chosen yet
    table->selectRow(1);
    hover(table, 2, 1); // from here, so that the next is a move
    hover(table, 2, 2);
    const QColor hovered = colour(2, 2);
    QVERIFY(hovered != plain);
    QCOMPARE(colour(1, 0), hovered); // the current cell
    QCOMPARE(colour(1, 3), hovered);
}

/// Runs the action while the dialog that the button opens is there.
template <typename Action>
void whileDetailsAreOpen(const WindowFixture &fixture, Action action)
{
    QTimer::singleShot(0, qApp, [action] {
        auto *dialog = qobject_cast<SettingsDlg *>(QApplication::activeModalWidget());
        QVERIFY(dialog);
        action(dialog);
    });
    fixture.find<QPushButton>("detailButton")->click();
}

void DetailsTest::opensOverTheWindow()
{
    WindowFixture fixture("http://127.0.0.1:9");
    fixture.window().move(30, 40);
    bool closed = false;
    whileDetailsAreOpen(fixture, [&](SettingsDlg *dialog) {
        QCOMPARE(dialog->geometry(), QRect(30 + 120, 40 + 50, 710, 500));
        QTest::keyClick(dialog, Qt::Key_Escape);
        closed = !dialog->isVisible();
        dialog->close();
    });
    QVERIFY(closed);
    whileDetailsAreOpen(fixture, [](SettingsDlg *dialog) { dialog->findChild<QPushButton *>("closeButton")->click(); });
    QVERIFY(!QApplication::activeModalWidget());
}

void DetailsTest::outlivesItsCard()
{
    WindowFixture fixture("http://127.0.0.1:9");
    whileDetailsAreOpen(fixture, [&](SettingsDlg *dialog) {
        delete fixture.card();
        dialog->on_Timeout();
        dialog->close();
    });
    QVERIFY(!fixture.card());
}

QTEST_MAIN(DetailsTest)
#include "tst_details.moc"
