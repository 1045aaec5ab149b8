// The print details: the journal's records, the queue's jobs, the tool tips, and the dialog over the window.

#include "tests/support/windowfixture.h"

#include "src/store/journal.h"
#include "src/ui/driveritem.h"
#include "src/ui/settingsdlg.h"
#include "tests/support/timers.h"

#include <QApplication>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QToolTip>

#include "emulator/win32/control.h"

using namespace std::chrono_literals;

namespace {

const DriverInfo printer{"前台", "0123456789ABCDEF", {}, 0, {}, {}};

void append(const QStringList &records)
{
    Journal::appendDetail(printer.cloudSn, records.join(Journal::recordEnd));
}

/// The dialog's rows, the cells divided by "|".
QStringList rows(const SettingsDlg &dialog)
{
    const QAbstractItemModel *cells = dialog.findChild<QTableWidget *>()->model();
    QStringList rows;
    for (int row = 0; row < cells->rowCount(); ++row) {
        rows << cells->index(row, 0).data().toString();
        for (int column = 1; column < cells->columnCount(); ++column)
            rows.last() += '|' + cells->index(row, column).data().toString();
    }
    return rows;
}

QStringList rowsAfterATick(const SettingsDlg &dialog)
{
    return fire(&dialog, 1s) ? rows(dialog) : QStringList("no timer");
}

} // namespace

class DetailsTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_fixture = std::make_unique<WindowFixture>("http://127.0.0.1:9"); }

    void showsJournalAndQueue();
    void waitsForWhatIsNotThereYet();
    void showsTheNewestOfALongJournalFirst();
    void tellsTheWholeOfANarrowText();
    void opensOverTheWindowAndOutlivesTheCard();

private:
    std::unique_ptr<WindowFixture> m_fixture;
};

void DetailsTest::showsJournalAndQueue()
{
    append({"报告.docx;09:02:03;打印成功;12;09:02:09", ";打印失败:网络访问异常;5;10:00:00"}); // one without a label
    Journal::appendDetail("FEDCBA9876543210", "another printer's;1;2;3;4");
    const SettingsDlg dialog(printer);
    QStringList expected{"1|报告.docx|打印成功|12|09:02:03|09:02:09", "2||5|10:00:00|打印失败:网络访问异常|"};
    QCOMPARE(rows(dialog), expected);
    append({"a;1;2;3;4", "b;1;2;3;4"});
    const QDateTime evening({2026, 11, 21}, {23, 30, 5}, Qt::UTC);
    const unsigned first = Win32Emulator::addJob("前台", "first", "x", evening);
    Win32Emulator::addJob("前台", "second", "x", evening);
    Win32Emulator::setJobStatus(first, 0x10 | 0x80); // printing, among others
    expected << "3|a|2|3|1|4";
    QCOMPARE(rowsAfterATick(dialog), expected + QStringList({"4|first|正在处理|----|31:30:05|--:--:--",
                                                             "5|second|打印排队中|----|31:30:05|--:--:--"}));
    Win32Emulator::removeJob(first);
    expected << "4|b|2|3|1|4";
    QCOMPARE(rowsAfterATick(dialog), expected + QStringList("5|second|打印排队中|----|31:30:05|--:--:--"));
    Win32Emulator::removePrinter("前台");
    QCOMPARE(rowsAfterATick(dialog), expected);
}

/// A journal that another program holds, a record that is being written, and the next day's journal.
void DetailsTest::waitsForWhatIsNotThereYet()
{
    qputenv("TZ", "West+12");
    QFile journal(Journal::detailFileName(printer.cloudSn));
    QVERIFY(QDir().mkpath(journal.fileName())); // a folder in its place cannot be read, either
    const SettingsDlg dialog(printer);
    QCOMPARE(rowsAfterATick(dialog), QStringList());
    QVERIFY(QDir().rmdir(journal.fileName()));
    append({"a;1;2;3;4", "b;1;2;3;4"});
    QStringList expected{"1|a|2|3|1|4", "2|b|2|3|1|4"};
    QCOMPARE(rowsAfterATick(dialog), expected); // at once: these are not new
    QCOMPARE(rowsAfterATick(dialog), expected);

    QVERIFY(journal.open(QIODevice::Append | QIODevice::Unbuffered));
    journal.write("c;1;2;");
    QCOMPARE(rowsAfterATick(dialog), expected);
    journal.write("3;4!+!");
    expected << "3|c|2|3|1|4";
    QCOMPARE(rowsAfterATick(dialog), expected);

    qputenv("TZ", "East-14"); // on the other side of the date line, where it is never the same day
    append({"d;1;2;3;4"});
    expected << "4|d|2|3|1|4";
    QCOMPARE(rowsAfterATick(dialog), expected);
}

void DetailsTest::showsTheNewestOfALongJournalFirst()
{
    constexpr int count = 5000;
    QStringList records;
    for (int row = 1; row <= count; ++row)
        records << QString("%1;1;2;3;4").arg(row);
    append(records);
    const SettingsDlg dialog(printer);
    const auto *table = dialog.findChild<QTableWidget *>();
    QVERIFY(table->item(0, 1) && table->item(count - 1, 1));
    QVERIFY2(!table->item(count / 2, 1), "the dialog opens before every row is filled");
    append({"new;1;2;3;4"});
    QVERIFY(fire(&dialog, 1s));
    QTRY_VERIFY(!rows(dialog).contains("|||||"));
    QCOMPARE(rows(dialog).mid(count - 1), QStringList({"5000|5000|2|3|1|4", "5001|new|2|3|1|4"}));
}

/// By the mouse, which cannot edit a cell.
void DetailsTest::tellsTheWholeOfANarrowText()
{
    const QString name = "a document's name that is far too long for its column";
    const QString slightlyTooLong(15, 'm');
    append({name + ";1;2;3;4", name + ";1;2;3;4", "<b>" + name + ";1;2;3;4", slightlyTooLong + ";1;2;3;4",
            "short;1;2;3;4"});
    m_fixture->window().hide(); // the mouse would move there
    SettingsDlg dialog(printer);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    const auto *table = dialog.findChild<QTableWidget *>();
    const auto place = [table](int row) { return table->visualItemRect(table->item(row, 1)).center(); };
    const QStringList tips{name, name, "<p>&lt;b&gt;" + name, slightlyTooLong, ""};
    for (int row = 0; row < tips.size(); ++row) {
        QCursor::setPos(table->viewport()->mapToGlobal(place(row)));
        QTRY_COMPARE(QToolTip::isVisible() ? QToolTip::text() : "", tips[row]);
        if (row == 1)
            QTest::qWait(1000); // the view looks for a tip of its own after 700 ms, finds none and would hide ours
        QCOMPARE(QToolTip::isVisible(), row < 4);
    }
    const QPoint cell = table->viewport()->mapTo(&dialog, place(0));
    QTest::mouseDClick(dialog.windowHandle(), Qt::LeftButton, Qt::NoModifier, cell);
    QVERIFY(!table->findChild<QLineEdit *>());
    QTest::mouseClick(dialog.findChild<QPushButton *>("closeButton"), Qt::LeftButton);
    QVERIFY(!dialog.isVisible());
}

void DetailsTest::opensOverTheWindowAndOutlivesTheCard()
{
    m_fixture->window().move(30, 40);
    QTimer::singleShot(0, this, [this] {
        auto *dialog = m_fixture->window().findChild<SettingsDlg *>();
        QCOMPARE(dialog->geometry(), QRect(30 + 120, 40 + 50, 710, 500));
        delete m_fixture->card();
        QVERIFY(fire(dialog, 1s));
        QTest::keyClick(dialog, Qt::Key_Escape);
    });
    QTest::mouseClick(m_fixture->find<QPushButton>("detailButton"), Qt::LeftButton);
    QVERIFY(!m_fixture->card());
    QVERIFY(!m_fixture->find<SettingsDlg>({}));
}

QTEST_MAIN(DetailsTest)
#include "tst_details.moc"
