#include "ui/settingsdlg.h"

#include "spooler/cprinter.h"
#include "store/journal.h"
#include "store/printrecord.h"
#include "ui/appearance.h"
#include "ui/closebutton.h"

#include <QCursor>
#include <QEvent>
#include <QFileInfo>
#include <QFrame>
#include <QHeaderView>
#include <QLabel>
#include <QScrollBar>
#include <QStyledItemDelegate>
#include <QTableWidget>
#include <QTextDocument>
#include <QToolTip>
#include <QVBoxLayout>

#include <array>
#include <chrono>

using namespace std::chrono_literals;

namespace {

struct Column
{
    const char *header;
    int width;                         // px
    QString PrintRecord::*const field; // null for the number of the row
};

constexpr int defaultColumnWidth = 100; // px

// A record has the submission time before the status, the table has it after the size.
constexpr std::array<Column, 6> columns{{
    {"序号", 50, nullptr},
    {"文档名称", 120, &PrintRecord::document},
    {"任务状态", 160, &PrintRecord::status},
    {"数据大小", 80, &PrintRecord::size},
    {"提交时间", defaultColumnWidth, &PrintRecord::submissionTime},
    {"处理时间", defaultColumnWidth, &PrintRecord::processingTime}, // stretches to the right edge
}};

constexpr auto refreshInterval = 1s;
constexpr int edge = 10; // clear border around the frame
constexpr int titleHeight = 40;
constexpr QRect tablePlace(20, 60, 650, 400);
constexpr int tableEdge = 2; // border and padding of the table's style
constexpr int lineHeight = 30;
constexpr int lineCount = 12; // in the table at a time
constexpr int rowsPerStep = 500;

// The palette's highlight would shine through the selection's colour.
const auto tableStyle = QStringLiteral("QTableWidget::item:hover{background-color:rgba(92,188,227,200)}"
                                       "QTableWidget::item:selected{background-color:rgba(92,188,227,200)}"
                                       "QTableWidget::item:selected{color:black}"
                                       "QTableWidget{border:1px solid rgb(185, 185, 185);padding:1px;"
                                       "background-color:white;selection-background-color:transparent;}");

/// Draws no focus frame: it made the current cell look selected and dimmed its text.
class CellPainter : public QStyledItemDelegate
{
public:
    using QStyledItemDelegate::QStyledItemDelegate;

protected:
    void initStyleOption(QStyleOptionViewItem *option, const QModelIndex &index) const override
    {
        QStyledItemDelegate::initStyleOption(option, index);
        option->state &= ~QStyle::State_HasFocus;
    }
};

/// A waiting job with the fields of a journal record.
PrintRecord pendingRecord(const SpoolJob &job)
{
    return {job.document, job.submissionTime, job.printing ? QStringLiteral("正在处理") : QStringLiteral("打印排队中"),
            QStringLiteral("----"), QStringLiteral("--:--:--")};
}

} // namespace

SettingsDlg::SettingsDlg(const DriverInfo &printer, QWidget *parent)
    : QDialog(parent)
    , m_cloudSn(printer.cloudSn)
    , m_printerName(printer.printerName)
{
    setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground);
    const QPoint origin = parent ? parent->pos() : QPoint();
    setGeometry(origin.x() + 120, origin.y() + 50, 710, 500);
    setFixedSize(size()); // at 150 % a resizable window may come out one pixel narrower, with a translucent edge

    QWidget *frame = buildFrame();
    buildTitleBar(frame);
    buildTable(frame);
    showJournal();
    startRefresh();
}

QWidget *SettingsDlg::buildFrame()
{
    auto *frame = new QWidget;
    frame->setStyleSheet(
        QStringLiteral(".QWidget{background-color: rgba(230, 230, 230,255);border:none;border-radius:7px;}"));
    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(edge, edge, edge, edge);
    outer->addWidget(frame);
    return frame;
}

void SettingsDlg::buildTitleBar(QWidget *frame)
{
    auto *bar = new QFrame(frame); // a QFrame, so the frame's ".QWidget" rule does not match it
    bar->setObjectName(QStringLiteral("titleBar"));
    bar->setStyleSheet(QStringLiteral("background-color: rgb(13,85, 104);"));
    // Keep the frame's round corners, which the bar covers.
    setStyleSheet(QStringLiteral("#titleBar{border-top-left-radius:7px;border-top-right-radius:7px;}"));
    bar->setGeometry(0, 0, width() - 2 * edge, titleHeight);

    auto *title = new QLabel(QStringLiteral("打印详情"), bar);
    title->setStyleSheet(QStringLiteral("color: rgb(255, 255, 255);"));
    title->setGeometry(20, 0, 200, titleHeight);

    auto *close = new CloseButton(bar);
    const int margin = (titleHeight - CloseButton::side) / 2;
    close->move(bar->width() - margin - CloseButton::side, margin);
    connect(close, &CloseButton::clicked, this, &SettingsDlg::onXClicked);
}

void SettingsDlg::buildTable(QWidget *frame)
{
    m_table = new QTableWidget(0, int(columns.size()), frame);
    m_table->setGeometry(tablePlace);
    m_table->setStyleSheet(tableStyle);
    // On the bar itself: in the table's sheet it has no effect if an ancestor has a sheet, too.
    m_table->verticalScrollBar()->setStyleSheet(slimScrollBar);
    m_table->setItemDelegate(new CellPainter(m_table));
    m_table->setAccessibleName(QStringLiteral("打印详情"));
    styleHeaders();
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::ContiguousSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setTabKeyNavigation(false); // Tab leads on to the close button
    m_table->setMouseTracking(true);
    connect(m_table, &QTableWidget::itemEntered, this, &SettingsDlg::slotItemEnter);
    m_table->viewport()->installEventFilter(this);
    m_table->setFocus();
}

void SettingsDlg::styleHeaders()
{
    QFont font(QStringLiteral("song"));
    font.setPixelSize(14);
    QHeaderView *header = m_table->horizontalHeader();
    header->setFont(font);
    header->setDefaultSectionSize(defaultColumnWidth);
    header->setStretchLastSection(true);
    header->setHighlightSections(false);
    // Leaves room for whole lines only: otherwise the first is cut after scrolling to the end.
    header->setFixedHeight(tablePlace.height() - 2 * tableEdge - lineCount * lineHeight);
    for (int column = 0; column < int(columns.size()); ++column) {
        m_table->setHorizontalHeaderItem(column, new QTableWidgetItem(QString::fromUtf8(columns[column].header)));
        m_table->setColumnWidth(column, columns[column].width);
    }
    m_table->verticalHeader()->setDefaultSectionSize(lineHeight);
    m_table->verticalHeader()->hide(); // the first column has the numbers
}

void SettingsDlg::showJournal()
{
    m_journalFile = Journal::detailFileName(m_cloudSn);
    m_journalSize = Journal::detailSize(m_cloudSn);
    m_firstRecords = Journal::split(Journal::readDetails(m_cloudSn));
    m_journalRead = !m_firstRecords.isEmpty() || QFileInfo(m_journalFile).size() == 0;
    m_journalRows = m_firstRecords.size();
    m_table->setRowCount(m_journalRows);
    for (int row = 0; row < qMin(lineCount, m_journalRows); ++row) // the table opens with these
        fillRow(row, PrintRecord::parse(m_firstRecords.at(row)));
    fillNewestRows();
}

/// Fills the rows of a long journal in steps, between which the dialog responds, the newest first.
void SettingsDlg::fillNewestRows()
{
    for (int i = 0; i < rowsPerStep && !m_firstRecords.isEmpty(); ++i) {
        const auto record = PrintRecord::parse(m_firstRecords.takeLast());
        fillRow(m_firstRecords.size(), record);
    }
    if (!m_firstRecords.isEmpty())
        QTimer::singleShot(0, this, &SettingsDlg::fillNewestRows);
}

void SettingsDlg::startRefresh()
{
    m_refreshTimer.setInterval(refreshInterval);
    connect(&m_refreshTimer, &QTimer::timeout, this, &SettingsDlg::on_Timeout);
    m_refreshTimer.start();
}

void SettingsDlg::onXClicked()
{
    close();
}

void SettingsDlg::on_Timeout()
{
    takeNextRecord();
    showPendingJobs();
}

/// Reads only what the file has grown by. A record that is not complete yet is left for the next time.
void SettingsDlg::readNewRecords()
{
    const QString file = Journal::detailFileName(m_cloudSn);
    if (file != m_journalFile)
        m_journalSize = 0; // midnight has passed
    m_journalFile = file;
    const quint32 size = Journal::detailSize(m_cloudSn);
    if (size <= m_journalSize)
        return;
    const QString text = Journal::readDetails(m_cloudSn, m_journalSize);
    if (!text.endsWith(Journal::recordEnd))
        return;
    m_newRecords += Journal::split(text);
    m_journalSize = size;
}

void SettingsDlg::takeNextRecord()
{
    if (!m_journalRead)
        return showJournal();
    readNewRecords();
    if (m_newRecords.isEmpty())
        return;
    m_table->insertRow(m_journalRows);
    fillRow(m_journalRows, PrintRecord::parse(m_newRecords.takeFirst()));
    m_table->scrollToBottom();
    ++m_journalRows;
}

void SettingsDlg::showPendingJobs()
{
    const QList<SpoolJob> jobs = spoolJobs(m_printerName);
    m_table->setRowCount(m_journalRows + jobs.size());
    for (int i = 0; i < jobs.size(); ++i)
        fillRow(m_journalRows + i, pendingRecord(jobs.at(i)));
}

void SettingsDlg::fillRow(int row, const PrintRecord &record)
{
    for (int column = 0; column < int(columns.size()); ++column) {
        const auto field = columns[size_t(column)].field;
        const QString text = field ? record.*field : QString::number(row + 1);
        if (QTableWidgetItem *item = m_table->item(row, column)) {
            item->setText(text);
            continue;
        }
        auto *item = new QTableWidgetItem(text);
        item->setTextAlignment(Qt::AlignCenter);
        m_table->setItem(row, column, item);
    }
}

void SettingsDlg::slotItemEnter(QTableWidgetItem *item)
{
    if (QToolTip::isVisible())
        QToolTip::hideText();
    if (!item)
        return;
    const QVariant font = item->data(Qt::FontRole);
    const QFontMetrics metrics(font.isValid() ? font.value<QFont>() : m_table->font());
    const QString text = item->text();
    if (metrics.horizontalAdvance(text) <= m_table->columnWidth(item->column()))
        return;
    // A document may be called "<b>". The rectangle makes the same text in another cell a new tip.
    QToolTip::showText(QCursor::pos(),
                       Qt::mightBeRichText(text) ? text.toHtmlEscaped().prepend(QStringLiteral("<p>")) : text,
                       m_table->viewport(), m_table->visualItemRect(item));
}

bool SettingsDlg::eventFilter(QObject *watched, QEvent *event)
{
    // The view would look for a tip of the item, find none, and hide ours.
    return event->type() == QEvent::ToolTip || QDialog::eventFilter(watched, event);
}
