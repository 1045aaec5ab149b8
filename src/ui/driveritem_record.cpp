#include "ui/driveritem.h"

#include "base/runningthreads.h"
#include "spooler/cprinter.h"
#include "store/cloudprinter.h"
#include "store/printerstore.h"
#include "ui/actionbutton.h"
#include "ui/errordialog.h"
#include "workflows/removeprinterthread.h"

#include <QLineEdit>
#include <QPushButton>

// How a card changes and removes its printer.

namespace {

const auto viewStyle = QStringLiteral("background-color:transparent;border:1px solid transparent;");
const auto editStyle = QStringLiteral("background-color:white;border:1px solid rgb(140, 152, 168);");

QString singleQuoted(const QString &text)
{
    return QLatin1Char('\'') + text + QLatin1Char('\'');
}

/// What an unedited field shows of `text`: QLineEdit truncates to maxLength.
QString shownIn(const QLineEdit *field, const QString &text)
{
    return text.left(field->maxLength());
}

/// The name of the first queue on a port; empty when there is none.
QString queueOnPort(const QString &portName)
{
    QList<Queue> queues;
    CPrinter().EnumLocalPrinters(queues);
    for (const Queue &queue : qAsConst(queues))
        if (CloudPrinter::isSameName(queue.port, portName))
            return queue.name;
    return QString();
}

} // namespace

void DriverItem::showRecord()
{
    m_nameField->setText(m_info.printerName);
    m_serialField->setText(m_info.cloudSn);
}

void DriverItem::setViewMode(bool viewMode)
{
    m_viewMode = viewMode;
    m_modifyButton->setCaption(viewMode ? QStringLiteral("修改打印机") : QStringLiteral("保存修改"));
    for (QLineEdit *field : {m_nameField, m_serialField}) {
        field->setReadOnly(viewMode);
        field->setFocusPolicy(viewMode ? Qt::ClickFocus : Qt::StrongFocus);
        field->setStyleSheet(viewMode ? viewStyle : editStyle);
    }
}

void DriverItem::saveByEnter()
{
    if (!m_viewMode) // Enter in a read-only field must not open the edit mode
        m_modifyButton->button()->click();
}

void DriverItem::onModifyClicked(bool)
{
    if (m_viewMode) {
        setViewMode(false);
        m_nameField->setFocus();
        return;
    }
    const QString serial = m_serialField->text().toUpper();
    const QString name = m_nameField->text();
    // A failed change has shown a message, whose event loop may have deleted the card: return at once.
    if (serial != shownIn(m_serialField, m_info.cloudSn) && !changeSerial(serial))
        return;
    // A change of letter case alone renames nothing; showRecord() reverts it.
    if (!CloudPrinter::isSameName(name, shownIn(m_nameField, m_info.printerName)) && !changeName(name))
        return;
    showRecord();
    setViewMode(true);
}

bool DriverItem::changeSerial(const QString &serial)
{
    QString failure;
    if (serial.isEmpty()) {
        failure = QStringLiteral("请输入云序号!");
    } else if (!CloudPrinter::isSerial(serial)) {
        failure = QStringLiteral("云序号输入错误!");
    } else if (const int result = CPrinter().SetCloudPrinterId(m_info.printerName, serial)) {
        failure = result == CPrinter::invalidPrinterName ? QStringLiteral("打印机名无效!")
                                                         : QStringLiteral("修改云序号失败!");
    }
    if (!failure.isEmpty()) {
        showMessage(failure);
        return false;
    }
    m_info.cloudSn = serial;
    emit driverInfoChanged(m_info);
    PrinterStore::updatePrinter(m_info.printerName, QStringLiteral("cloud_sn"), singleQuoted(serial));
    return true;
}

bool DriverItem::changeName(const QString &name)
{
    if (!CPrinter().RenamePrinter(m_info.printerName, name)) {
        showMessage(QStringLiteral("修改打印机名失败!"));
        return false;
    }
    applyNewName(name);
    return true;
}

void DriverItem::updateIfStale(const DriverInfo &added)
{
    const bool portIsTaken = added.portNum == m_info.portNum;
    if (!portIsTaken && !CloudPrinter::isSameName(added.printerName, m_info.printerName))
        return;
    const QString name = portIsTaken ? QString() : queueOnPort(m_info.portName);
    if (name.isEmpty())
        emit removeResult(true, QString(), m_info);
    else
        applyNewName(name);
}

/// The spooler has renamed the queue: store, server and screen follow.
void DriverItem::applyNewName(const QString &name)
{
    PrinterStore::updatePrinter(m_info.printerName, QStringLiteral("printer_name"), singleQuoted(name));
    m_info.printerName = name;
    emit driverInfoChanged(m_info);
    showRecord();
}

void DriverItem::onDeleteClicked(bool)
{
    if (m_isRemoving)
        return;
    m_isRemoving = true;
    auto *thread = new RemovePrinterThread(m_info);
    connect(thread, &RemovePrinterThread::removeResult, this,
            [this](bool ok, const QString &message, const DriverInfo &info) {
                // Before the message of a failure: the next click after it tries again.
                m_isRemoving = false;
                emit removeResult(ok, message, info);
            });
    RunningThreads::start(thread);
}
