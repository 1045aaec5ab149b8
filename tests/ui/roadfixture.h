#pragma once

#include "emulator/cloud/cloudservice.h"
#include "src/cloud/protocol.h"
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

// What the scripts of a RawHttpPeer are made of.
namespace Script {

const QByteArray submission = "/v1.1/transparentPrinting";
const QByteArray result = "/v1.1/printResult";
const QByteArray device = "/v1.1/getNumberStatu";

const PeerAnswer accepted = PeerAnswer::ok(R"({"data":{"veltraId":"V1"}})");
const PeerAnswer printed = PeerAnswer::ok(R"({"data":{"0123456789ABCDEF":"打印成功"}})");
const PeerAnswer online = PeerAnswer::ok(R"({"code":0,"data":"16"})");

/// A job's status for the first printer of a Road.
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

/// Breaks the connection behind the bytes.
inline PeerAnswer cut(const QByteArray &bytes)
{
    return {bytes, PeerAnswer::Close};
}

} // namespace Script

/// The program's window over an emulated spooler with cloud printers, and a folder for their journals: prints to it as
/// the spooler does and tells what became of the jobs. Answers each message dialog as a user would.
class Road
{
public:
    /// The window's cloud is `cloudAddress`. The printers' serials count up from serial(0).
    explicit Road(const QString &cloudAddress, int printers = 1, const QString &firstQueue = "前台");
    ~Road();
    Q_DISABLE_COPY(Road)

    /// Prints a document; returns once it is sent. The window's event loop must run for it to go on.
    void print(const QString &document, const QByteArray &bytes = "bytes", int printer = 0);

    /// Waits until the journal has so many records; those without the processing time, which is checked to be one.
    QStringList records(int count, int timeout = 5000, int printer = 0);
    QStringList recordsOf(const QString &cloudSerial, int count, int timeout = 5000);

    /// Whether the next job goes through to the cloud: the printer is not left busy.
    bool takesTheNextJob(const QString &goodCloudAddress);

    /// The texts of the message dialogs that the user has answered so far.
    QStringList messages() const { return m_messages; }

    /// What happens while the next message dialog is open, before the user answers it. The dialog has its own event
    /// loop, so the action runs inside it.
    void whileMessageIsOpen(std::function<void()> action) { m_action = std::move(action); }

    quint16 port(int printer) const { return m_printers.at(size_t(printer)).port; }

    /// A printer that the window has made or renamed: print() and port() count it on.
    void know(const QString &queue, quint16 port) { m_printers.push_back({queue.toStdString(), port}); }
    DriverItem *card() const;
    QString deviceState() const;

    VelMainWindow &window() const { return *m_window; }
    template <typename Widget>
    Widget *find(const QString &name) const
    {
        return m_window->findChild<Widget *>(name);
    }

    static QString serial(int printer = 0);
    LogRecorder log;

private:
    void addPrinter(int printer, const std::string &queue);
    void answerDialog();

    struct Printer
    {
        std::string queue;
        quint16 port;
    };

    std::vector<Printer> m_printers;
    std::unique_ptr<VelMainWindow> m_window;
    QTimer m_user;
    QStringList m_messages;
    std::function<void()> m_action;
};

/// What the tests of the road share: a cloud that behaves, and the proof that nothing is left running or open.
class RoadTestCase : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

protected:
    std::unique_ptr<CloudService> m_good;
};

/// Where the window under test looks for the cloud. Defined by roadfixture.cpp in place of the built-in address.
void setCloudBaseAddress(const QString &address);
