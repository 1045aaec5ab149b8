#include "ui/driveritem.h"

#include "base/runningthreads.h"
#include "cloud/baseaddress.h"
#include "cloud/protocol.h"
#include "spooler/cprinter.h"
#include "ui/actionbutton.h"
#include "ui/qcircleprocess.h"

#include <QDebug>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QThread>
#include <QVBoxLayout>

namespace {
constexpr int cardHeight = 170;
constexpr int cornerRadius = 85;
constexpr int deviceSpinnerSize = 18;
constexpr int printSpinnerSize = 39;
constexpr int nameLength = 10;
constexpr int serialLength = 16;
constexpr int resultInterval = 1000;         // ms
constexpr int firstDeviceInterval = 5000;    // ms
constexpr int offlineDeviceInterval = 10000; // ms
constexpr int onlineDeviceInterval = 300000; // ms

QLineEdit *readOnlyField()
{
    auto *field = new QLineEdit;
    field->setReadOnly(true);
    field->setFrame(false);
    return field;
}

void addRow(QGridLayout *rows, const QString &caption, QLineEdit *field)
{
    const int row = rows->rowCount();
    rows->addWidget(new QLabel(caption), row, 0);
    rows->addWidget(field, row, 1);
    field->setAccessibleName(caption.chopped(1));
}
} // namespace

DriverItem::DriverItem(const DriverInfo &info, QWidget *parent)
    : QWidget(parent)
    , m_info(info)
{
    buildPanel();
    showRecord();
    setViewMode(true);
    startTimers();
    prepareDeviceRequest();
    qDebug() << "oninit and postReply=" << requestDeviceState();
}

void DriverItem::buildPanel()
{
    setFixedHeight(cardHeight);
    auto *panel = new QWidget(this);
    panel->setObjectName(QStringLiteral("panel"));
    panel->setStyleSheet(QStringLiteral("#panel{background-color:white;border-top-left-radius:85px;"
                                        "border-bottom-right-radius:85px;}"));
    auto *outer = new QHBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(panel);
    auto *inner = new QHBoxLayout(panel);
    inner->setContentsMargins(cornerRadius / 2, 10, cornerRadius / 2, 10); // clear of the round corners
    inner->addLayout(fieldRows(), 1);
    inner->addLayout(buttonRow());
}

QLayout *DriverItem::fieldRows()
{
    m_nameField = readOnlyField();
    m_nameField->setObjectName(QStringLiteral("printerName"));
    m_nameField->setMaxLength(nameLength);
    m_serialField = readOnlyField();
    m_serialField->setObjectName(QStringLiteral("cloudSerial"));
    m_serialField->setMaxLength(serialLength);
    m_deviceField = readOnlyField();
    m_deviceField->setObjectName(QStringLiteral("deviceState"));

    auto *rows = new QGridLayout;
    addRow(rows, QStringLiteral("打印机名:"), m_nameField);
    addRow(rows, QStringLiteral("云序列号:"), m_serialField);
    addRow(rows, QStringLiteral("设备状态:"), m_deviceField);
    rows->addWidget(refreshButton(), rows->rowCount() - 1, 2);
    // Nothing ever writes to this one: outcomes go to the journal. Intended.
    addRow(rows, QStringLiteral("打印结果:"), readOnlyField());
    return rows;
}

/// The button and, beside it, the spinner that turns while the answer is awaited.
QWidget *DriverItem::refreshButton()
{
    auto *place = new QWidget;
    auto *refresh = new QPushButton(QIcon(QStringLiteral(":/image/resource/refresh.png")), QString());
    refresh->setObjectName(QStringLiteral("refreshButton"));
    refresh->setAccessibleName(QStringLiteral("刷新设备状态"));
    connect(refresh, &QPushButton::clicked, this, &DriverItem::onDevStateClicked);
    m_deviceSpinner = new QCircleProcess(deviceSpinnerSize);
    m_deviceSpinner->setColor(QColor(QStringLiteral("#0000ff")));
    auto *layout = new QHBoxLayout(place);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(refresh);
    layout->addWidget(m_deviceSpinner);
    return place;
}

QLayout *DriverItem::buttonRow()
{
    auto *test = new ActionButton(QStringLiteral("test"), QStringLiteral("打印测试"));
    connect(test, &ActionButton::clicked, this, &DriverItem::onTestClicked);
    m_printSpinner = new QCircleProcess(printSpinnerSize, test->button());
    m_printSpinner->setColor(QColor(QStringLiteral("#ffffff")));
    const int margin = (ActionButton::pictureSize - printSpinnerSize) / 2;
    m_printSpinner->move(margin, margin);
    m_modifyButton = new ActionButton(QStringLiteral("modify"), QStringLiteral("修改打印机"));
    connect(m_modifyButton, &ActionButton::clicked, this, &DriverItem::onModifyClicked);
    auto *remove = new ActionButton(QStringLiteral("delete"), QStringLiteral("删除打印机"));
    connect(remove, &ActionButton::clicked, this, &DriverItem::onDeleteClicked);

    auto *row = new QHBoxLayout;
    for (ActionButton *action : {test, m_modifyButton, remove})
        row->addWidget(action);
    return row;
}

void DriverItem::startTimers()
{
    m_stateTimer.setInterval(resultInterval);
    m_stateTimer.setTimerType(Qt::PreciseTimer);
    connect(&m_stateTimer, &QTimer::timeout, this, &DriverItem::on_StateTimeout);
    m_deviceTimer.setInterval(firstDeviceInterval);
    connect(&m_deviceTimer, &QTimer::timeout, this, &DriverItem::on_DevStateTimeout);
    m_deviceTimer.start();
}

void DriverItem::prepareDeviceRequest()
{
    m_deviceRequest.setUrl(QUrl::fromUserInput(cloudBaseAddress() + CloudProtocol::deviceStatusPath));
    m_deviceRequest.setHeader(QNetworkRequest::ContentTypeHeader, CloudProtocol::contentType);
    connect(&m_network, &QNetworkAccessManager::finished, this, &DriverItem::devStateReceive);
}

QNetworkReply *DriverItem::requestDeviceState()
{
    return m_network.post(m_deviceRequest, CloudProtocol::deviceStatusBody(m_info.cloudSn));
}

void DriverItem::onDevStateClicked(bool)
{
    m_deviceSpinner->startAnimation();
    qDebug() << "onDevStateClicked and postReply=" << requestDeviceState();
}

void DriverItem::on_DevStateTimeout()
{
    qDebug() << "on_DevStateTimeout and postReply=" << requestDeviceState();
}

void DriverItem::devStateReceive(QNetworkReply *reply)
{
    if (reply->error() == QNetworkReply::NoError) {
        const QJsonObject answer = QJsonDocument::fromJson(reply->readAll()).object();
        qDebug() << answer;
        switch (CloudProtocol::deviceState(answer)) {
        case CloudProtocol::DeviceState::Offline:
            m_deviceField->setText(CloudProtocol::StatusText::offline);
            m_deviceTimer.setInterval(offlineDeviceInterval);
            break;
        case CloudProtocol::DeviceState::Online:
            m_deviceField->setText(CloudProtocol::StatusText::online);
            m_deviceTimer.setInterval(onlineDeviceInterval);
            break;
        case CloudProtocol::DeviceState::Unchanged:
            break;
        }
    } else {
        qDebug() << QStringLiteral("devStateReceive receive err: %1, code: %2")
                        .arg(reply->errorString(), QString::number(reply->error()));
        m_deviceField->setText(QStringLiteral("--"));
    }
    m_deviceSpinner->stopAnimation();
    reply->deleteLater();
}

void DriverItem::onTestClicked(bool)
{
    m_printSpinner->startAnimation();
    // The set-up process may take half a minute, which the interface does not wait for.
    QThread *worker = QThread::create([name = m_info.printerName] { CPrinter().PrintTestPage(name); });
    connect(worker, &QThread::finished, worker, &QObject::deleteLater);
    RunningThreads::track(worker);
    worker->start(QThread::InheritPriority);
}
