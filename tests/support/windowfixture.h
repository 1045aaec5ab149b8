#pragma once

#include "emulator/cloud/cloudservice.h"
#include "src/cloud/protocol.h"
#include "tests/support/cloudaddress.h"
#include "tests/support/logrecorder.h"
#include "tests/support/rawhttppeer.h"
#include "src/ui/velmainwindow.h"

#include <QElapsedTimer>
#include <QStringList>
#include <QTimer>

#include <functional>
#include <memory>
#include <vector>

class DriverItem;
class QPushButton;

// Requests and answers for the scripts of a RawHttpPeer.
namespace Script {

const QByteArray submission = "/v1.1/transparentPrinting";
const QByteArray result = "/v1.1/printResult";
const QByteArray device = "/v1.1/getNumberStatu";

const PeerAnswer accepted = PeerAnswer::ok(R"({"data":{"veltraId":"V1"}})");
const PeerAnswer printed = PeerAnswer::ok(R"({"data":{"0123456789ABCDEF":"打印成功"}})");
const PeerAnswer online = PeerAnswer::ok(R"({"code":0,"data":"16"})");

/// A job's status for the first printer of a WindowFixture.
inline PeerAnswer status(const QByteArray &text)
{
    return PeerAnswer::ok("{\"data\":{\"0123456789ABCDEF\":\"" + text + "\"}}");
}

constexpr int largestAnswer = 1024 * 1024; // bytes that the program reads

/// The JSON, followed by blanks up to `size` bytes.
inline PeerAnswer padded(const QByteArray &json, int size)
{
    return PeerAnswer::ok(json.leftJustified(size));
}

/// Closes the connection after the bytes.
inline PeerAnswer cut(const QByteArray &bytes)
{
    return {bytes, PeerAnswer::Close};
}

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
    ~WindowFixture();
    Q_DISABLE_COPY(WindowFixture)

    /// Closes the window and opens a new one on the same machine.
    void reopen();

    /// Prints a document. Returns when it is sent and its relay has begun.
    void print(const QString &document, const QByteArray &bytes = "bytes", int printer = 0);

    /// Waits until the journal has `count` records. Returns them without the processing time, whose form is checked.
    QStringList records(int count, int timeout = 5000, int printer = 0);
    QStringList recordsOf(const QString &cloudSerial, int count, int timeout = 5000);

    /// Whether the next job goes through to the cloud, so the printer was not left busy.
    bool takesTheNextJob(const QString &goodCloudAddress);

    /// The texts of the message dialogs that were closed so far.
    QStringList messages() const { return m_messages; }

    /// Runs the action while the next message dialog is open, inside the dialog's own event loop.
    void whileMessageIsOpen(std::function<void()> action) { m_action = std::move(action); }

    quint16 port(int printer) const { return m_printers.at(size_t(printer)).port; }

    /// Makes a printer that the window has added or renamed the next one for print() and port().
    void know(const QString &queue, quint16 port) { m_printers.push_back({queue, port}); }
    DriverItem *card() const;
    QString deviceState() const;

    VelMainWindow &window() const { return *m_window; }
    template <typename Widget>
    Widget *find(const QString &name) const
    {
        return m_window->findChild<Widget *>(name);
    }

    static QString serial(int printer = 0);
    /// The button that closes a message dialog.
    static QPushButton *confirmButton(const QWidget *dialog);
    LogRecorder log;

private:
    void answerDialog();

    struct Printer
    {
        QString queue;
        quint16 port;
    };

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
