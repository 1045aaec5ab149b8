// From another machine nobody can print: the ports of the printers are open on the loopback address alone. The test has
// a network of its own, with a second one beside it, and reaches nothing outside of them.

#include "tests/support/freeport.h"
#include "tests/support/installation.h"

#include <QFile>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTest>

#include <sched.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace {

const QString hostAddress = "198.18.0.1"; // of the program's machine
const QString otherAddress = "198.18.0.2";
constexpr int prefix = 30;

int networkError = 0; // why this process has no network of its own

QString failure(const QString &command, const QStringList &arguments)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(command, arguments);
    if (process.waitForFinished() && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
        return QString();
    return command + ' ' + arguments.join(' ') + ": " + process.errorString() + ' ' + process.readAll();
}

void write(const char *fileName, const QByteArray &text)
{
    QFile file(fileName);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || file.write(text) != text.size())
        qWarning("%s cannot be written", fileName);
}

/// Moves this process and its children to come into an empty network; who is not root becomes it in there, which needs
/// a process without threads. The number of the error, 0 for none.
int enterOwnNetwork()
{
    const QByteArray user = QByteArray::number(getuid());
    const QByteArray group = QByteArray::number(getgid());
    if (unshare(CLONE_NEWNET) == 0)
        return 0;
    if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        return errno;
    write("/proc/self/setgroups", "deny");
    write("/proc/self/uid_map", "0 " + user + " 1");
    write("/proc/self/gid_map", "0 " + group + " 1");
    return 0;
}

} // namespace

class OtherNetworkTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void nobodyElseCanConnect();

private:
    QString setUpNetworks();
    QString connectFromOther(quint16 port) const;

    QProcess m_other; // its network is the other machine's
};

void OtherNetworkTest::initTestCase()
{
    if (networkError != 0)
        QSKIP(qPrintable(QString("NOT RUN: no network of its own for the test: ") + strerror(networkError)));
    const QString problem = setUpNetworks();
    if (!problem.isEmpty())
        QSKIP(("NOT RUN: no second network beside it: " + problem).toUtf8());
}

QString OtherNetworkTest::setUpNetworks()
{
    m_other.start("unshare", {"--net", "sh", "-c", "echo; cat"});
    if (!m_other.waitForReadyRead())
        return m_other.errorString() + m_other.readAllStandardError();
    const QString process = QString::number(m_other.processId());
    const QStringList inOther{"--net", "--target", process, "ip"};
    const QString length = '/' + QString::number(prefix);
    QString problem = failure("ip", {"link", "set", "lo", "up"});
    if (problem.isEmpty())
        problem = failure("ip", {"link", "add", "here", "type", "veth", "peer", "name", "there", "netns", process});
    for (const QStringList &arguments :
         {QStringList{"addr", "add", hostAddress + length, "dev", "here"}, QStringList{"link", "set", "here", "up"}})
        if (problem.isEmpty())
            problem = failure("ip", arguments);
    for (const QStringList &arguments :
         {QStringList{"addr", "add", otherAddress + length, "dev", "there"}, QStringList{"link", "set", "there", "up"}})
        if (problem.isEmpty())
            problem = failure("nsenter", inOther + arguments);
    return problem;
}

void OtherNetworkTest::cleanupTestCase()
{
    m_other.kill();
    m_other.waitForFinished();
}

/// What comes of a connection to the program's machine: nothing when it is made.
QString OtherNetworkTest::connectFromOther(quint16 port) const
{
    return failure("nsenter", {"--net", "--target", QString::number(m_other.processId()), "bash", "-c",
                               QString("exec 3<>/dev/tcp/%1/%2").arg(hostAddress).arg(port)});
}

void OtherNetworkTest::nobodyElseCanConnect()
{
    Installation installation;
    QVERIFY(installation.addPrinters({"前台", "后台"}));
    QVERIFY(installation.startCloud({"--polls", "0"}));
    QProcess *program = installation.startProgram();
    QTRY_COMPARE_WITH_TIMEOUT(installation.folder().log().count("oninit"), 2, 10000);

    QTcpServer open;
    QVERIFY(open.listen(QHostAddress::AnyIPv4));
    QCOMPARE(connectFromOther(open.serverPort()), QString());
    for (int printer = 0; printer < 2; ++printer) {
        const QString refusal = connectFromOther(installation.port(printer));
        QVERIFY2(refusal.contains("Connection refused"), qPrintable(refusal));
    }
    QCOMPARE(installation.folder().log().count("incomingConnection"), 0);
    QVERIFY(installation.print(0, "document", "from here"));
    QTRY_VERIFY_WITH_TIMEOUT(installation.hasRecord(0, ";打印成功;9;"), 10000);
    QCOMPARE(program->state(), QProcess::Running);
}

int main(int argc, char *argv[])
{
    networkError = enterOwnNetwork();
    QCoreApplication application(argc, argv);
    OtherNetworkTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_othernetwork.moc"
