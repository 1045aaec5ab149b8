#pragma once

#include "store/driverinfo.h"

#include <QDialog>
#include <QStringList>
#include <QTimer>

class QTableWidget;
class QTableWidgetItem;
struct PrintRecord;

/// The print details of one printer: today's finished jobs as the journal has them, and below them the jobs that wait
/// or print in its queue, brought up to date once a second. Run modally over the main window. Main thread.
class SettingsDlg : public QDialog
{
    Q_OBJECT

public:
    /// Placed at a fixed offset from the upper left corner of its parent, which is a window.
    explicit SettingsDlg(const DriverInfo &printer, QWidget *parent = nullptr);

    bool eventFilter(QObject *watched, QEvent *event) override;

public slots:
    void onXClicked();

    /// Shows at most one new record of the journal, so that a burst appears one per second, and the queue's jobs.
    void on_Timeout();

    /// Shows the whole text of a cell that is too narrow for it.
    void slotItemEnter(QTableWidgetItem *item);

private:
    QWidget *buildFrame();
    void buildTitleBar(QWidget *frame);
    void buildTable(QWidget *frame);
    void styleHeaders();
    void showJournal();
    void fillNewestRows();
    void startRefresh();

    void readNewRecords();
    void takeNextRecord();
    void showPendingJobs();
    void fillRow(int row, const PrintRecord &record);

    QString m_cloudSn;
    QString m_printerName;
    QTableWidget *m_table = nullptr;
    QTimer m_refreshTimer{this};
    QStringList m_firstRecords; // of the rows from the top that are not filled yet
    QStringList m_newRecords;   // read, but not yet shown
    int m_journalRows = 0;
    QString m_journalFile;
    bool m_journalRead = false; // false while another program holds the file
    quint32 m_journalSize = 0;  // bytes read so far
};
