#pragma once

#include "emulator/cloud/cloudservice.h"
#include "tests/support/cloudaddress.h"
#include "tests/support/logrecorder.h"
#include "tests/support/rawhttppeer.h"
#include "src/ui/velmainwindow.h"

#include <QCoreApplication>
#include <QDir>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

class DriverItem;

// Requests of a printer, and answers to the first printer of a WindowFixture.
namespace Script {

const QByteArray submission = "/v1.1/transparentPrinting";
const QByteArray result = "/v1.1/printResult";
const QByteArray device = "/v1.1/getNumberStatu";

const PeerAnswer accepted = PeerAnswer::ok(R"({"data":{"veltraId":"0123456789ABCDEF"}})");
const PeerAnswer bareText = PeerAnswer::ok(R"({"data":"任务不存在"})");
const PeerAnswer online = PeerAnswer::ok(R"({"code":0,"data":"16"})");

inline PeerAnswer status(const QByteArray &text)
{
    return PeerAnswer::ok("{\"data\":{\"0123456789ABCDEF\":\"" + text + "\"}}");
}

const PeerAnswer printed = status("打印成功");

} // namespace Script

/// The program's window in this process, over an emulated spooler with cloud printers and a folder for their journals.
/// Prints to it as the spooler does and reports what became of the jobs. Closes each message dialog as a user would.
class WindowFixture
{
public:
    /// The window's cloud is `cloudAddress`. The printers' serials count up from serial(0), their ports from
    /// `firstPort`.
    explicit WindowFixture(const QString &cloudAddress, int printers = 1, const QString &firstQueue = "前台",
                           quint16 firstPort = 8101);
    Q_DISABLE_COPY(WindowFixture)

    /// Closes the window and opens a new one on the same machine.
    void reopen();

    /// Spools a document and sends it. It stays in the queue as the job that is printing; returns its number.
    unsigned send(const QString &document, const QByteArray &bytes, int printer);
    /// Prints a document. Returns when it is sent and its relay has begun.
    void print(const QString &document, const QByteArray &bytes = "bytes", int printer = 0);

    /// Waits until a printer's journal has `count` records. Returns them without the processing time, which is checked.
    QStringList recordsOf(const QString &cloudSerial, int count, int timeout = 5000);
    QStringList records(int count) { return recordsOf(serial(), count); }

    /// The texts of the message dialogs that were closed so far.
    QStringList messages() const { return m_messages; }

    /// Runs the action while the next message dialog is open, inside the dialog's own event loop.
    void whileMessageIsOpen(std::function<void()> action) { m_action = std::move(action); }

    quint16 port(int printer) const { return m_printers.at(size_t(printer)).port; }

    /// Makes a printer that the window has added or renamed the next one for print() and port().
    void know(const QString &queue, quint16 port) { m_printers.push_back({queue, port}); }
    /// The cards that were there at first are in the order of their printers. Null when there is none.
    DriverItem *card(int printer = 0) const;

    VelMainWindow &window() const { return *m_window; }
    template <typename Widget>
    Widget *find(const QString &name) const
    {
        return m_window->findChild<Widget *>(name);
    }

    static QString serial(int printer = 0);
    LogRecorder log;

private:
    void answerDialog();

    struct Printer
    {
        QString queue;
        quint16 port;
    };

    QDir m_details{QCoreApplication::applicationDirPath() + "/details"};
    std::vector<Printer> m_printers;
    std::unique_ptr<VelMainWindow> m_window;
    QTimer m_user;
    QStringList m_messages;
    std::function<void()> m_action;
};

/// What the tests of the window share: a cloud that behaves, and the check that nothing is left running or open.
class WindowTestCase : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

protected:
    std::unique_ptr<CloudService> m_good;
};
