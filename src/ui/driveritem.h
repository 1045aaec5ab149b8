#pragma once

#include "cloud/boundedmanager.h"
#include "store/driverinfo.h"

#include <QJsonDocument>
#include <QList>
#include <QNetworkReply>
#include <QNetworkRequest>
#include <QTimer>
#include <QWidget>

class ActionButton;
class QCircleProcess;
class QLayout;
class QLineEdit;
class StateThread;
struct JobRecord;

/// The card of one cloud printer: its name, its serial, the state of the device as the cloud service reports it, and
/// the actions on it. It also follows each job of the printer from the answer to its submission to its end, writes the
/// outcome to the journal and signals when the printer is free again. Main thread.
class DriverItem : public QWidget
{
    Q_OBJECT

public:
    explicit DriverItem(const DriverInfo &info, QWidget *parent = nullptr);

    /// Call it for every printer that is added. If this card still has its port number or name, the card's own queue
    /// was renamed or deleted in Windows: the card looks it up by its port, or asks to be removed.
    void updateIfStale(const DriverInfo &added);

signals:
    /// The record has been changed by the user.
    void driverInfoChanged(const DriverInfo &info);

    /// The outcome of the printer's removal.
    void removeResult(bool ok, const QString &message, const DriverInfo &driverinfo);

    /// True when the cloud has accepted a job and its result is being followed, false when the job has ended.
    void portBusy(bool isbusy);

public slots:
    /// Opens the print details and returns when the user has closed them.
    void onStateClicked(bool checked);

    /// Asks for the state of the device.
    void onDevStateClicked(bool checked);

    /// Enters edit mode; in edit mode, saves the name and the serial and leaves it.
    void onModifyClicked(bool checked);

    /// Prints the spooler's test page, which is relayed like any job.
    void onTestClicked(bool checked);

    /// Removes the printer without asking for confirmation.
    void onDeleteClicked(bool checked);

    /// The answer to a job's submission.
    void onCloudResut(QNetworkReply::NetworkError error, const QJsonDocument &jd);

    /// The answer to one request for a job's result.
    void onStateResut(QNetworkReply::NetworkError error, const QJsonDocument &jd);

    void on_StateTimeout();
    void on_DevStateTimeout();

    /// The answer to a request for the state of the device.
    void devStateReceive(QNetworkReply *reply);

private:
    void buildPanel();
    QLayout *fieldRows();
    QLayout *refreshRow();
    QLayout *buttonRow();
    ActionButton *addAction(QLayout *row, const QString &name, const QString &caption, void (DriverItem::*slot)(bool));
    void startTimers();
    void prepareDeviceRequest();
    QNetworkReply *requestDeviceState();
    void showDeviceState(const QJsonObject &answer);

    void setViewMode(bool viewMode);
    void saveByEnter();
    void showRecord();
    bool changeSerial(const QString &serial);
    bool changeName(const QString &name);
    void applyNewName(const QString &name);

    /// A copy: while a message is open the next job may arrive, or the card may be deleted.
    JobRecord currentJob() const;
    void failSubmission(QNetworkReply::NetworkError error);
    void followJob(const QJsonDocument &jd);
    void endWithText(const JobRecord &job, const QString &text);
    void endJob();

    DriverInfo m_info;
    bool m_viewMode = true;    // name and serial cannot be edited
    bool m_isRemoving = false; // further clicks on delete are ignored
    QCircleProcess *m_deviceSpinner = nullptr;
    bool m_queryInFlight = false;
    QString m_jobneed;
    int m_jobSize = 0;
    StateThread *m_stateThread = nullptr;
    QTimer m_stateTimer{this};
    QTimer m_deviceTimer{this};
    BoundedManager m_network;
    QNetworkRequest m_deviceRequest;
    QList<QNetworkReply *> m_deviceReplies; // unanswered, oldest first

    QLineEdit *m_nameField = nullptr;
    QLineEdit *m_serialField = nullptr;
    QLineEdit *m_deviceField = nullptr;
    ActionButton *m_testButton = nullptr;
    ActionButton *m_modifyButton = nullptr;
};
