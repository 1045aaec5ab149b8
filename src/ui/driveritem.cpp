#include "ui/driveritem.h"

#include "base/runningthreads.h"
#include "cloud/baseaddress.h"
#include "cloud/protocol.h"
#include "spooler/cprinter.h"
#include "ui/actionbutton.h"
#include "ui/cardpanel.h"
#include "ui/qcircleprocess.h"
#include "ui/settingsdlg.h"

#include <QDebug>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QIcon>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QThread>

#include <chrono>

using namespace std::chrono_literals;

namespace {
constexpr int cardHeight = 170;
constexpr int sideMargin = 45; // clear of the round corners
constexpr int fieldWidth = 180;
constexpr int stateWidth = 60;
constexpr int fieldHeight = 26;
constexpr int refreshSize = 18;
constexpr int deviceSpinnerSize = 18;
constexpr int nameLength = 10;
constexpr int serialLength = 16;
constexpr int unansweredLimit = 6; // device requests
constexpr auto resultInterval = 1s;
constexpr auto firstDeviceInterval = 5s;
constexpr std::chrono::seconds offlineDeviceInterval = 10s;
constexpr std::chrono::seconds onlineDeviceInterval = 5min;

const auto panelStyle = QStringLiteral("QLabel,QLineEdit{font-size:14px;}"
                                       "QLineEdit{border:1px solid transparent;border-radius:3px;padding:0 4px;}"
                                       "QPushButton:focus{border:1px solid rgb(10, 23, 40);outline:none;}");

QLineEdit *readOnlyField(const QString &name)
{
    auto *field = new QLineEdit;
    field->setObjectName(name);
    field->setReadOnly(true);
    field->setFocusPolicy(Qt::ClickFocus); // the Tab key skips what cannot be edited
    field->setFixedSize(fieldWidth, fieldHeight);
    return field;
}

void addRow(QGridLayout *rows, const QString &caption, QLineEdit *field)
{
    const int row = rows->rowCount();
    rows->addWidget(new QLabel(caption), row, 0);
    rows->addWidget(field, row, 1, Qt::AlignLeft);
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
    auto *panel = new CardPanel(this);
    panel->setStyleSheet(panelStyle);
    auto *outer = new QHBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->addWidget(panel);
    auto *inner = new QHBoxLayout(panel);
    inner->setContentsMargins(CardPanel::shadowMargins() + QMargins(sideMargin, 10, sideMargin, 10));
    inner->addLayout(fieldRows());
    inner->addStretch(1);
    inner->addLayout(buttonRow());
}

QLayout *DriverItem::fieldRows()
{
    m_nameField = readOnlyField(QStringLiteral("printerName"));
    m_nameField->setMaxLength(nameLength);
    m_serialField = readOnlyField(QStringLiteral("cloudSerial"));
    m_serialField->setMaxLength(serialLength);
    m_deviceField = readOnlyField(QStringLiteral("deviceState"));
    m_deviceField->setFixedWidth(stateWidth);
    for (QLineEdit *field : {m_nameField, m_serialField})
        connect(field, &QLineEdit::returnPressed, this, &DriverItem::saveByEnter);

    auto *rows = new QGridLayout;
    rows->setVerticalSpacing(4);
    addRow(rows, QStringLiteral("打印机名:"), m_nameField);
    addRow(rows, QStringLiteral("云序列号:"), m_serialField);
    addRow(rows, QStringLiteral("设备状态:"), m_deviceField);
    rows->addLayout(refreshRow(), rows->rowCount() - 1, 1);
    // Stays empty: outcomes are recorded in the journal.
    addRow(rows, QStringLiteral("打印结果:"), readOnlyField(QStringLiteral("printResult")));
    return rows;
}

/// After the state: the button that requests it and the spinner that turns until the answer arrives.
QLayout *DriverItem::refreshRow()
{
    auto *refresh = new QPushButton(QIcon(QStringLiteral(":/image/resource/refresh.png")), QString());
    refresh->setObjectName(QStringLiteral("refreshButton"));
    refresh->setAccessibleName(QStringLiteral("刷新设备状态"));
    refresh->setFixedSize(refreshSize + 4, refreshSize + 4);
    refresh->setIconSize({refreshSize, refreshSize});
    refresh->setFocusPolicy(Qt::TabFocus);
    refresh->setAutoDefault(true); // Enter presses it
    connect(refresh, &QPushButton::clicked, this, &DriverItem::onDevStateClicked);
    m_deviceSpinner = new QCircleProcess(deviceSpinnerSize);
    m_deviceSpinner->setFixedSize(deviceSpinnerSize, deviceSpinnerSize);
    m_deviceSpinner->setColor(QColor(QStringLiteral("#0000ff")));

    auto *row = new QHBoxLayout;
    row->addSpacing(stateWidth);
    row->addWidget(refresh);
    row->addWidget(m_deviceSpinner);
    row->addStretch(1);
    return row;
}

ActionButton *DriverItem::addAction(QLayout *row, const QString &name, const QString &caption,
                                    void (DriverItem::*slot)(bool))
{
    auto *action = new ActionButton(name, caption);
    connect(action, &ActionButton::clicked, this, slot);
    row->addWidget(action);
    return action;
}

QLayout *DriverItem::buttonRow()
{
    auto *row = new QHBoxLayout;
    row->setSpacing(0);
    addAction(row, QStringLiteral("detail"), QStringLiteral("打印详情"), &DriverItem::onStateClicked);
    m_testButton = addAction(row, QStringLiteral("test"), QStringLiteral("打印测试"), &DriverItem::onTestClicked);
    m_modifyButton =
        addAction(row, QStringLiteral("modify"), QStringLiteral("修改打印机"), &DriverItem::onModifyClicked);
    addAction(row, QStringLiteral("delete"), QStringLiteral("删除打印机"), &DriverItem::onDeleteClicked);
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

/// Requests that the cloud accepts but never answers must not pile up: the oldest is aborted.
QNetworkReply *DriverItem::requestDeviceState()
{
    if (m_deviceReplies.size() == unansweredLimit)
        m_deviceReplies.takeFirst()->abort();
    m_deviceReplies.append(m_network.post(m_deviceRequest, CloudProtocol::deviceStatusBody(m_info.cloudSn)));
    return m_deviceReplies.last();
}

void DriverItem::onStateClicked(bool)
{
    // A child of the window: the card can be deleted while the dialog is open.
    SettingsDlg(m_info, window()).exec();
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
    reply->deleteLater();
    // An aborted request says nothing about the device; newer ones are under way.
    if (!m_deviceReplies.removeOne(reply))
        return;
    if (reply->error() == QNetworkReply::NoError) {
        showDeviceState(QJsonDocument::fromJson(reply->readAll()).object());
    } else {
        qDebug() << QStringLiteral("devStateReceive receive err: %1, code: %2")
                        .arg(reply->errorString(), QString::number(reply->error()));
        m_deviceField->setText(QStringLiteral("--"));
    }
    m_deviceSpinner->stopAnimation();
}

void DriverItem::showDeviceState(const QJsonObject &answer)
{
    qDebug() << answer;
    const CloudProtocol::DeviceState state = CloudProtocol::deviceState(answer);
    if (state == CloudProtocol::DeviceState::Unchanged)
        return;
    const bool isOnline = state == CloudProtocol::DeviceState::Online;
    m_deviceField->setText(isOnline ? CloudProtocol::StatusText::online : CloudProtocol::StatusText::offline);
    m_deviceTimer.setInterval(isOnline ? onlineDeviceInterval : offlineDeviceInterval);
}

void DriverItem::onTestClicked(bool)
{
    m_testButton->setBusy(true);
    // The set-up process may take half a minute, which the interface does not wait for.
    QThread *worker = QThread::create([name = m_info.printerName] { CPrinter().PrintTestPage(name); });
    RunningThreads::start(worker);
}
