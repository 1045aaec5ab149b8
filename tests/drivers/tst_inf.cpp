#include "spooler/cprinter.h"
#include "spooler/environments.h"
#include "spooler/inffile.h"
#include "support/logrecorder.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include "win32/control.h"

namespace {

const QString model = "Orvo OX-410T";

/// Reads a text by one of the INF readers.
template <typename Reader>
auto readInf(QByteArray text, Reader reader)
{
    QBuffer buffer(&text);
    buffer.open(QIODevice::ReadOnly | QIODevice::Text);
    return reader(buffer);
}

QStringList sorted(const QSet<QString> &names)
{
    QStringList list = names.values();
    list.sort();
    return list;
}

QByteArray rubbish(int size)
{
    QByteArray bytes(size, 0);
    QRandomGenerator random(410);
    for (char &byte : bytes)
        byte = static_cast<char>(random.bounded(256));
    return bytes;
}

} // namespace

/// What INF files and the driver keys of the registry say.
class InfTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { Win32Emulator::reset(); }

    void version_data();
    void version();
    void manufacturer_data();
    void manufacturer();
    void models_data();
    void models();
    void sampleInf();
    void unreadableFile();
    void rubbishIsReadFast_data();
    void rubbishIsReadFast();
    void registry();
    void registryFaults();
};

void InfTest::version_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("LF") << QByteArray("[Version]\nDriverVer=03/14/2022,1.4.0.2\n") << "1.4.0.2";
    QTest::newRow("CRLF") << QByteArray("[Version]\r\nDriverVer = 03/14/2022 , 1.4.0.2 \r\n") << "1.4.0.2";
    QTest::newRow("no end of line") << QByteArray("DriverVer=03/14/2022,1.4.0.2") << "1.4.0.2";
    QTest::newRow("first line counts") << QByteArray("DriverVer=a,1\nDriverVer=b,2\n") << "1";
    QTest::newRow("more commas") << QByteArray("DriverVer=a,1,2\n") << "1,2";
    QTest::newRow("no comma") << QByteArray("DriverVer=1.4\nDriverVer=b,2\n") << "";
    QTest::newRow("other case") << QByteArray("driverver=a,1\n") << "";
    QTest::newRow("indented") << QByteArray(" DriverVer=a,1\n") << "";
    QTest::newRow("empty file") << QByteArray() << "";
}

void InfTest::version()
{
    QFETCH(QByteArray, text);
    QTEST(readInf(text, InfFile::version), "expected");
}

void InfTest::manufacturer_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QString>("expected");
    QTest::newRow("plain") << QByteArray("[Manufacturer]\n%M%=Models,NTamd64\n") << "Models";
    QTest::newRow("CRLF, no end") << QByteArray("[Manufacturer]\r\n%M%=Models,NTamd64") << "Models";
    QTest::newRow("blanks stay") << QByteArray("[Manufacturer]\n%M% = Models ,NTamd64\n") << " Models ";
    QTest::newRow("needs a comma") << QByteArray("[Manufacturer]\n%A%=First\n\n%B%=Second,NTx86\n") << "Second";
    QTest::newRow("comma first") << QByteArray("[Manufacturer]\na,b=c\n") << "";
    QTest::newRow("before the section") << QByteArray("%M%=Models,NTamd64\n[Manufacturer]\n") << "";
    QTest::newRow("other case") << QByteArray("[manufacturer]\n%M%=Models,NTamd64\n") << "";
}

void InfTest::manufacturer()
{
    QFETCH(QByteArray, text);
    QTEST(readInf(text, InfFile::manufacturer), "expected");
}

void InfTest::models_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("ends at the decorated section")
        << QByteArray("[M]\r\n\"A\"=x\r\n\r\n\"B\"=x\r\n[M.NTamd64]\r\n\"C\"=x\r\n") << QStringList({"A", "B"});
    QTest::newRow("decorated section first") << QByteArray("[M.NTamd64]\n\"C\"=x\n[M]\n\"A\"=x\n") << QStringList();
    QTest::newRow("other sections do not end it")
        << QByteArray("\"0\"=x\n[M]\n\"A\"=x\n[Strings]\n\"B\"=x\n[M]\n\"C\"=x") << QStringList({"A", "B", "C"});
    QTest::newRow("quotes") << QByteArray("[M]\n\"A\"=\"x\"\n\"open\nplain=\"B\"\n \"C\"=x\n") << QStringList({"A"});
}

void InfTest::models()
{
    QFETCH(QByteArray, text);
    QTEST(sorted(readInf(text, [](QIODevice &inf) { return InfFile::models(inf, "M"); })), "expected");
}

void InfTest::sampleInf()
{
    const QString fileName = qEnvironmentVariable("ORVO_BIN") + "/Driver/OrvoPtr.INF";
    CPrinter printer;
    QCOMPARE(printer.GetInfVersion(fileName), QString("1.4.0.2"));
    QCOMPARE(printer.GetInfManufacturer(fileName), QString("OrvoModels"));
    QCOMPARE(printer.GetInfDrivers(fileName), QSet<QString>({model}));
}

void InfTest::unreadableFile()
{
    const QTemporaryDir folder;
    CPrinter printer;
    for (const QString &fileName : {folder.filePath("missing.inf"), folder.path()}) {
        LogRecorder log;
        QCOMPARE(printer.GetInfVersion(fileName), QString());
        QVERIFY(log.lines().last().startsWith("1165_CPrinter \""));
        QCOMPARE(printer.GetInfDrivers(fileName), QSet<QString>());
        QVERIFY(log.lines().last().startsWith("1246_CPrinter \""));
    }
}

void InfTest::rubbishIsReadFast_data()
{
    constexpr int size = 10 * 1024 * 1024;
    QTest::addColumn<QByteArray>("text");
    QTest::newRow("random bytes") << rubbish(size);
    QTest::newRow("one line") << QByteArray(size, 'x');
    QTest::newRow("empty lines") << QByteArray(size, '\n');
    QTest::newRow("behind the models") << "[Manufacturer]\n%M%=M,\n[M]\n" + QByteArray("\"x\n").repeated(size / 3);
}

void InfTest::rubbishIsReadFast()
{
    QFETCH(QByteArray, text);
    const QTemporaryDir folder;
    QFile file(folder.filePath("rubbish.inf"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(text);
    file.close();
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(CPrinter().GetInfVersion(file.fileName()), QString());
    QCOMPARE(CPrinter().GetInfDrivers(file.fileName()), QSet<QString>());
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
}

void InfTest::registry()
{
    CPrinter printer;
    QCOMPARE(printer.GetDriverVersion(model), QString());
    QVERIFY(printer.GetDriverInfPaths({}).isEmpty());

    // The first environment that has a version gives it, in the order x64, x86, IA64.
    Win32Emulator::installDriver({"Orvo OX-410T", "Windows IA64", "3", "ia64.inf"});
    QCOMPARE(printer.GetDriverVersion(model), QString("3"));
    Win32Emulator::installDriver({"Orvo OX-410T", "Windows NT x86", "2", "x86.inf"});
    QCOMPARE(printer.GetDriverVersion(model), QString("2"));
    const QMap<QString, QString> paths = {{EnvX64, ""}, {EnvX86, "x86.inf"}, {EnvIA64, "ia64.inf"}};
    QCOMPARE(printer.GetDriverInfPaths(model), paths);
    Win32Emulator::installDriver({"Orvo OX-410T", "Windows x64", "1", "x64.inf"});
    QCOMPARE(printer.GetDriverVersion("ORVO OX-410T"), QString("1"));
    QCOMPARE(Win32Emulator::openHandles(), 0);
}

void InfTest::registryFaults()
{
    CPrinter printer;
    LogRecorder log;
    QCOMPARE(printer.GetDriverInfPath(model, EnvX64), QString());
    QCOMPARE(log.lines().last(), QString("631_CPrinter RegOpenKeyEx error code: 2"));

    // The size told to the platform has room for 129 characters and the terminator.
    const std::string longest(129, 'v');
    Win32Emulator::installDriver({"Orvo OX-410T", "Windows x64", longest, longest + 'v'});
    QCOMPARE(printer.GetDriverVersion(model), QString(129, 'v'));
    QCOMPARE(printer.GetDriverInfPath(model, EnvX64), QString());
    QCOMPARE(log.lines().last(), QString("645_CPrinter RegQueryValueEx error code: 234"));
    QCOMPARE(Win32Emulator::openHandles(), 0);
}

QTEST_GUILESS_MAIN(InfTest)
#include "tst_inf.moc"
