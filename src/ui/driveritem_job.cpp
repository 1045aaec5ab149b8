#include "ui/driveritem.h"

#include "cloud/baseaddress.h"
#include "cloud/protocol.h"
#include "cloud/statethread.h"
#include "store/journal.h"
#include "store/printrecord.h"
#include "ui/actionbutton.h"
#include "ui/errordialog.h"

#include <QDateTime>
#include <QDebug>
#include <QJsonObject>
#include <QPointer>

// How a card follows a print job: the answer to its submission, then a request for its result once a second.

namespace {

void writeJournal(const JobRecord &job, const QString &status)
{
    Journal::appendDetail(job.cloudSn, job.text(status));
}

/// Also shows the outcome of a test print; other jobs end silently on screen.
void report(const JobRecord &job, const QString &shown, const QString &status)
{
    if (job.isTestPage())
        showMessage(shown);
    writeJournal(job, status);
}

} // namespace

JobRecord DriverItem::currentJob() const
{
    return {m_info.cloudSn, m_jobneed, m_jobSize,
            QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")).right(8)};
}

void DriverItem::onCloudResut(QNetworkReply::NetworkError error, const QJsonDocument &jd)
{
    m_jobneed = jd.object().value(CloudProtocol::Key::jobneed).toString();
    m_jobSize = jd.object().value(CloudProtocol::Key::jobSize).toInt();
    if (error != QNetworkReply::NoError) {
        failSubmission(error);
    } else if (!CloudProtocol::isUsable(jd)) {
        m_testButton->setBusy(false);
        emit portBusy(false);
        m_queryInFlight = false;
        qDebug() << "Invalid receive json";
    } else {
        followJob(jd);
    }
}

void DriverItem::failSubmission(QNetworkReply::NetworkError error)
{
    const JobRecord job = currentJob();
    const QPointer<DriverItem> self(this);
    if (error == QNetworkReply::UnknownContentError) {
        // Intentionally the spinner keeps turning and nothing is shown, not even for a test page.
        writeJournal(job, CloudProtocol::StatusText::fileTooLarge);
    } else {
        m_testButton->setBusy(false);
        report(job, CloudProtocol::StatusText::networkFailureShown, CloudProtocol::StatusText::networkFailure);
    }
    if (!self)
        return;
    emit portBusy(false);
    m_queryInFlight = false;
    qDebug() << QStringLiteral("Network error %1").arg(error);
}

void DriverItem::followJob(const QJsonDocument &jd)
{
    m_stateThread = new StateThread(cloudBaseAddress(), CloudProtocol::veltraId(jd), this);
    // Queued: the slot may show a message, during which the card and the poller may be deleted.
    connect(m_stateThread, &StateThread::stateResule, this, &DriverItem::onStateResut, Qt::QueuedConnection);
    emit portBusy(true);
    m_stateTimer.start();
}

void DriverItem::on_StateTimeout()
{
    if (m_queryInFlight)
        return;
    m_queryInFlight = true;
    m_stateThread->request();
}

void DriverItem::onStateResut(QNetworkReply::NetworkError error, const QJsonDocument &jd)
{
    const JobRecord job = currentJob();
    if (error != QNetworkReply::NoError) {
        qDebug() << QStringLiteral("Network error %1").arg(error);
        endJob();
        report(job, CloudProtocol::StatusText::networkFailureShown, CloudProtocol::StatusText::networkFailure);
        return;
    }
    if (!CloudProtocol::isUsable(jd)) {
        qDebug() << "Invalid receive json";
        endJob();
        return;
    }
    const CloudProtocol::JobResult result = CloudProtocol::jobResult(jd, m_info.cloudSn);
    if (result.printing) {
        qDebug() << "继续查询状态";
        m_queryInFlight = false;
    } else if (result.bareText) {
        endWithText(job, result.status);
    } else {
        qDebug() << "显示状态，任务完成";
        endJob();
        report(job, result.status, result.journalStatus);
    }
}

/// The result is a bare text. The printer stays busy until the user has seen it.
void DriverItem::endWithText(const JobRecord &job, const QString &text)
{
    const QPointer<DriverItem> self(this);
    m_testButton->setBusy(false);
    report(job, text, text);
    if (self)
        endJob();
}

/// The printer is free for the next job, which may arrive while a message about this one is still open.
void DriverItem::endJob()
{
    m_testButton->setBusy(false);
    m_stateTimer.stop();
    m_queryInFlight = false;
    if (m_stateThread)
        m_stateThread->deleteLater();
    m_stateThread = nullptr;
    emit portBusy(false);
}
