#include "ui/driveritem.h"

#include "base/runningthreads.h"
#include "cloud/baseaddress.h"
#include "cloud/protocol.h"
#include "spooler/cprinter.h"
#include "ui/qcircleprocess.h"

#include <QDebug>
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
constexpr int deviceSpinnerSize = 18;
constexpr int printSpinnerSize = 39;
constexpr int nameLength = 10;
constexpr int serialLength = 16;
constexpr int resultInterval = 1000;         // ms
constexpr int firstDeviceInterval = 5000;    // ms
constexpr int offlineDeviceInterval = 10000; // ms
constexpr int onlineDeviceInterval = 300000; // ms

QLineEdit *readOnlyField(const QString &text, int maxLength, QWidget *parent)
{
    auto *field = new QLineEdit(parent);
    field->setMaxLength(maxLength);
    field->setText(text);
    field->setReadOnly(true);
    field->setFrame(false);
    return field;
}
} // namespace

DriverItem::DriverItem(const DriverInfo &info, QWidget *parent)
    : QWidget(parent)
    , m_info(info)
{
    buildPanel();
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
    auto *outer = new QVBoxLayout(this);
    outer->addWidget(panel);

    m_nameField = readOnlyField(m_info.printerName, nameLength, panel);
    m_serialField = readOnlyField(m_info.cloudSn, serialLength, panel);
    m_deviceField = readOnlyField(QString(), QLineEdit().maxLength(), panel);
    m_resultField = readOnlyField(QString(), QLineEdit().maxLength(), panel);

    m_deviceField->setObjectName(QStringLiteral("deviceState"));

    auto *refresh = new QPushButton(QIcon(QStringLiteral(":/image/resource/refresh.png")), QString(), panel);
    refresh->setObjectName(QStringLiteral("refreshButton"));
    refresh->setAccessibleName(QStringLiteral("刷新设备状态"));
    connect(refresh, &QPushButton::clicked, this, &DriverItem::onDevStateClicked);
    m_deviceSpinner = new QCircleProcess(deviceSpinnerSize, panel);
    m_deviceSpinner->setColor(QColor(QStringLiteral("#0000ff")));
    auto *device = new QWidget(panel);
    auto *deviceLayout = new QHBoxLayout(device);
    deviceLayout->setContentsMargins(0, 0, 0, 0);
    deviceLayout->addWidget(refresh);
    deviceLayout->addWidget(m_deviceSpinner);

    auto *rows = new QVBoxLayout(panel);
    addRow(rows, QStringLiteral("打印机名:"), m_nameField);
    addRow(rows, QStringLiteral("云序列号:"), m_serialField);
    addRow(rows, QStringLiteral("设备状态:"), m_deviceField, device);
    addRow(rows, QStringLiteral("打印结果:"), m_resultField);
    rows->addLayout(buttonRow());
}

void DriverItem::addRow(QVBoxLayout *rows, const QString &caption, QLineEdit *field, QWidget *extra)
{
    auto *row = new QHBoxLayout;
    row->addWidget(new QLabel(caption));
    row->addWidget(field, 1);
    if (extra)
        row->addWidget(extra);
    rows->addLayout(row);
}

QLayout *DriverItem::buttonRow()
{
    auto *test = new QPushButton(QIcon(QStringLiteral(":/image/resource/test.png")), QStringLiteral("打印测试"));
    test->setObjectName(QStringLiteral("testButton"));
    connect(test, &QPushButton::clicked, this, &DriverItem::onTestClicked);
    m_printSpinner = new QCircleProcess(printSpinnerSize, this);
    m_printSpinner->setColor(QColor(QStringLiteral("#ffffff")));
    auto *row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(test);
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
