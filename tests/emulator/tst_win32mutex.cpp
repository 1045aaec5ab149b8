#include <QCoreApplication>
#include <QProcess>
#include <QTest>

#include <windows.h>

#include "win32/control.h"

#include <cstdio>
#include <memory>
#include <vector>
#include <unistd.h>

namespace {

HANDLE createMutex(const QString &name)
{
    return CreateMutexW(nullptr, FALSE, reinterpret_cast<LPCWSTR>(name.utf16()));
}

/// Whether the name is free: the mutex made to find out is closed again.
bool isFree(const QString &name)
{
    const HANDLE handle = createMutex(name);
    const bool isNew = GetLastError() == ERROR_SUCCESS;
    CloseHandle(handle);
    return isNew;
}

/// Another process that makes a mutex, says "new" or "exists", and keeps it until it is ended.
class Holder
{
public:
    explicit Holder(const QString &name) { m_process.start(QCoreApplication::applicationFilePath(), {"--hold", name}); }
    ~Holder() { end(); }

    QByteArray answer()
    {
        while (!m_process.canReadLine() && m_process.waitForReadyRead()) {
        }
        return m_process.readLine().trimmed();
    }

    void end()
    {
        m_process.kill();
        m_process.waitForFinished();
    }

private:
    QProcess m_process;
};

int hold(const QString &name)
{
    createMutex(name);
    std::puts(GetLastError() == ERROR_ALREADY_EXISTS ? "exists" : "new");
    std::fflush(stdout);
    return pause();
}

} // namespace

class TestWin32Mutex : public QObject
{
    Q_OBJECT

private slots:
    void withinOneProcess();
    void killedHolderFreesTheName();
    void oneOfManyIsFirst();
    void sessionOfAProcess();
};

void TestWin32Mutex::withinOneProcess()
{
    const QString longName(200, 'n');
    const HANDLE first = createMutex(longName + 'a');
    QVERIFY(first);
    QCOMPARE(GetLastError(), DWORD(ERROR_SUCCESS));
    QVERIFY(!isFree(longName + 'a'));
    QVERIFY(isFree(longName + 'b'));
    QVERIFY(CloseHandle(first));
    QVERIFY(!CloseHandle(first));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_HANDLE));
    QVERIFY(isFree(longName + 'a'));

    const HANDLE unnamed = CreateMutexW(nullptr, FALSE, nullptr);
    QVERIFY(isFree(QString()));
    CloseHandle(unnamed);

    Win32Emulator::failCalls("CreateMutexW", ERROR_ACCESS_DENIED);
    QVERIFY(!createMutex("m"));
    QCOMPARE(GetLastError(), DWORD(ERROR_ACCESS_DENIED));
}

void TestWin32Mutex::killedHolderFreesTheName()
{
    const QString name = "Local\\Orvo 云";
    Holder holder(name);
    QCOMPARE(holder.answer(), QByteArray("new"));
    const HANDLE second = createMutex(name);
    QVERIFY(second);
    QCOMPARE(GetLastError(), DWORD(ERROR_ALREADY_EXISTS));
    CloseHandle(second);
    holder.end();
    QVERIFY(isFree(name));
}

void TestWin32Mutex::oneOfManyIsFirst()
{
    std::vector<std::unique_ptr<Holder>> holders;
    for (int i = 0; i < 8; ++i)
        holders.push_back(std::make_unique<Holder>("race"));
    int first = 0;
    for (const auto &holder : holders) {
        const QByteArray answer = holder->answer();
        QVERIFY2(answer == "new" || answer == "exists", answer.constData());
        first += answer == "new" ? 1 : 0;
    }
    QCOMPARE(first, 1);
}

void TestWin32Mutex::sessionOfAProcess()
{
    DWORD session = 1234567;
    QVERIFY(ProcessIdToSessionId(GetCurrentProcessId(), &session));
    QCOMPARE(session, DWORD(getuid()));
    QVERIFY(!ProcessIdToSessionId(0x7FFFFFFF, &session));
    QCOMPARE(GetLastError(), DWORD(ERROR_INVALID_PARAMETER));
    QVERIFY(!ProcessIdToSessionId(GetCurrentProcessId(), nullptr));
}

int main(int argc, char **argv)
{
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.value(1) == "--hold")
        return hold(arguments.value(2));
    Win32Emulator::reset();
    TestWin32Mutex test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_win32mutex.moc"
