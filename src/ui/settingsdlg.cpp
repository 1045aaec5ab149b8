#include "ui/settingsdlg.h"

#include "spooler/cprinter.h"
#include "store/journal.h"
#include "ui/detailrows.h"

#include <QCursor>
#include <QFrame>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QTextDocument>
#include <QToolTip>
#include <QVBoxLayout>

namespace {

using DetailRows::columns;

constexpr int refreshInterval = 1000; // ms
constexpr int edge = 10;              // clear border around the frame
constexpr int titleHeight = 40;
constexpr int closeSize = 16;
constexpr int lineHeight = 30;

QList<QStringList> todaysRecords(const QString &cloudSn)
{
    return DetailRows::records(Journal::readDetails(cloudSn));
}

/// A waiting job with the fields of a journal record.
QStringList pendingRecord(const SpoolJob &job)
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
    auto *bar = new QFrame(frame); // no QWidget proper, which the rule of the frame would round on all sides
    bar->setObjectName(QStringLiteral("titleBar"));
    bar->setStyleSheet(QStringLiteral("background-color: rgb(13,85, 104);"));
    // The frame's round corners, which the bar would cover.
    setStyleSheet(QStringLiteral("#titleBar{border-top-left-radius:7px;border-top-right-radius:7px;}"));
    bar->setGeometry(0, 0, width() - 2 * edge, titleHeight);

    auto *title = new QLabel(QStringLiteral("打印详情"), bar);
    title->setStyleSheet(QStringLiteral("color: rgb(255, 255, 255);"));
    title->setGeometry(20, 0, 200, titleHeight);

    auto *close = new QPushButton(bar);
    close->setObjectName(QStringLiteral("closeButton"));
    close->setAccessibleName(QStringLiteral("关闭"));
    close->setStyleSheet(QStringLiteral("QPushButton{background-color:rgba(255, 255, 255,0);"
                                        "border-image:url(:/image/resource/dlgexit.png);border:none;}"));
    const int margin = (titleHeight - closeSize) / 2;
    close->setGeometry(bar->width() - margin - closeSize, margin, closeSize, closeSize);
    connect(close, &QPushButton::clicked, this, &SettingsDlg::onXClicked);
}

void SettingsDlg::buildTable(QWidget *frame)
{
    m_table = new QTableWidget(0, int(columns.size()), frame);
    m_table->setGeometry(20, 60, 650, 400);
    m_table->setStyleSheet(QStringLiteral("QTableWidget::item:hover{background-color:rgba(92,188,227,200)}"
                                          "QTableWidget::item:selected{background-color:rgba(92,188,227,200)}"
                                          "QTableWidget::item:selected{color:black}"));
    m_table->setAccessibleName(QStringLiteral("打印详情"));
    styleHeaders();
    m_table->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_table->setSelectionMode(QAbstractItemView::ContiguousSelection);
    m_table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_table->setTabKeyNavigation(false); // Tab leads on to the close button
    m_table->setMouseTracking(true);
    connect(m_table, &QTableWidget::itemEntered, this, &SettingsDlg::slotItemEnter);
    m_table->setFocus();
}

void SettingsDlg::styleHeaders()
{
    QFont font(QStringLiteral("song"));
    font.setPixelSize(14);
    QHeaderView *header = m_table->horizontalHeader();
    header->setFont(font);
    header->setDefaultSectionSize(DetailRows::defaultColumnWidth);
    header->setStretchLastSection(true);
    header->setHighlightSections(false);
    for (int column = 0; column < int(columns.size()); ++column) {
        m_table->setHorizontalHeaderItem(column, new QTableWidgetItem(QString::fromUtf8(columns[column].header)));
        m_table->setColumnWidth(column, columns[column].width);
    }
    m_table->verticalHeader()->setDefaultSectionSize(lineHeight);
    m_table->verticalHeader()->setHighlightSections(false);
    m_table->verticalHeader()->hide(); // the first column has the numbers
}

void SettingsDlg::showJournal()
{
    m_journalSize = Journal::detailSize(m_cloudSn);
    const QList<QStringList> records = todaysRecords(m_cloudSn);
    m_journalRows = records.size();
    m_table->setRowCount(m_journalRows);
    for (int row = 0; row < m_journalRows; ++row)
        fillRow(row, records.at(row));
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

void SettingsDlg::takeNextRecord()
{
    const quint32 size = Journal::detailSize(m_cloudSn);
    if (size <= m_journalSize)
        return;
    const QList<QStringList> records = todaysRecords(m_cloudSn);
    if (m_journalRows < records.size()) {
        m_table->insertRow(m_journalRows);
        fillRow(m_journalRows, records.at(m_journalRows));
        m_table->scrollToBottom();
        ++m_journalRows;
    }
    // While records are left, the size goes on telling that there is something new.
    if (m_journalRows >= records.size())
        m_journalSize = size;
}

void SettingsDlg::showPendingJobs()
{
    const QList<SpoolJob> jobs = spoolJobs(m_printerName);
    m_table->setRowCount(m_journalRows + jobs.size());
    for (int i = 0; i < jobs.size(); ++i)
        fillRow(m_journalRows + i, pendingRecord(jobs.at(i)));
}

void SettingsDlg::fillRow(int row, const QStringList &record)
{
    const QStringList texts = DetailRows::cells(row, record);
    for (int column = 0; column < texts.size(); ++column) {
        const QString &text = texts.at(column);
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
    // A document may be called "<b>".
    QToolTip::showText(QCursor::pos(),
                       Qt::mightBeRichText(text) ? text.toHtmlEscaped().prepend(QStringLiteral("<p>")) : text);
}
