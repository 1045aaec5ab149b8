#include "src/spooler/cprinter.h"
#include "src/spooler/inffile.h"
#include "tests/support/logrecorder.h"

#include <QBuffer>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

namespace {

const QString model = "Orvo OX-410T";

/// One of the INF readers.
using Reader = QString (*)(QIODevice &);

/// The models of the section "M", sorted.
QString models(QIODevice &inf)
{
    QStringList list = InfFile::models(inf, "M").values();
    list.sort();
    return list.join(' ');
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

Q_DECLARE_METATYPE(Reader)

/// What INF files declare.
class InfTest : public QObject
{
    Q_OBJECT

private slots:
    void rules_data()
    {
        QTest::addColumn<Reader>("reader");
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("expected");
        const auto row = [](const char *name, Reader reader, const QByteArray &text, const QString &expected) {
            QTest::newRow(name) << reader << text << expected;
        };
        const Reader version = InfFile::version;
        row("LF", version, "[Version]\nDriverVer=03/14/2022,1.4.0.2\n", "1.4.0.2");
        row("CRLF and blanks", version, "[Version]\r\nDriverVer = 03/14/2022 , 1.4.0.2 \r\n", "1.4.0.2");
        row("no end of line", version, "DriverVer=03/14/2022,1.4.0.2", "1.4.0.2");
        row("first version counts", version, "DriverVer=a,1\nDriverVer=b,2\n", "1");
        row("more commas", version, "DriverVer=a,1,2\n", "1,2");
        row("version without comma", version, "DriverVer=1.4\nDriverVer=b,2\n", "");
        row("version in other case", version, "driverver=a,1\n", "");
        row("empty file", version, "", "");

        const Reader manufacturer = InfFile::manufacturer;
        row("manufacturer", manufacturer, "[Manufacturer]\r\n%M%=Models,NTamd64", "Models");
        row("blanks stay", manufacturer, "[Manufacturer]\n%M% = Models ,NTamd64\n", " Models ");
        row("needs a comma", manufacturer, "[Manufacturer]\n%A%=First\n\n%B%=Second,NTx86\n", "Second");
        row("comma first", manufacturer, "[Manufacturer]\na,b=c\n", "");
        row("before the section", manufacturer, "%M%=Models,NTamd64\n[Manufacturer]\n", "");

        row("until decorated", models, "[M]\r\n\"A\"=x\r\n\r\n\"B\"=x\r\n[M.NTamd64]\r\n\"C\"=x\r\n", "A B");
        row("decorated first", models, "[M.NTamd64]\n\"C\"=x\n[M]\n\"A\"=x\n", "");
        row("other sections", models, "\"0\"=x\n[M]\n\"A\"=x\n[Strings]\n\"B\"=x\n[M]\n\"C\"=x", "A B C");
        row("quotes", models, "[M]\n\"A\"=\"x\"\n\"open\nplain=\"B\"\n \"C\"=x\n", "A");
    }

    void rules()
    {
        QFETCH(Reader, reader);
        QFETCH(QByteArray, text);
        QBuffer buffer(&text);
        buffer.open(QIODevice::ReadOnly | QIODevice::Text);
        QTEST(reader(buffer), "expected");
    }

    void sampleInf()
    {
        const QString fileName = qEnvironmentVariable("ORVO_BIN") + "/Driver/OrvoPtr.INF";
        CPrinter printer;
        QCOMPARE(printer.GetInfVersion(fileName), QString("1.4.0.2"));
        QCOMPARE(printer.GetInfManufacturer(fileName), QString("OrvoModels"));
        QCOMPARE(printer.GetInfDrivers(fileName), QSet<QString>({model}));
    }

    void unreadableFile()
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

    void rubbishIsReadFast()
    {
        constexpr int size = 10 * 1024 * 1024;
        const QTemporaryDir folder;
        const QByteArray models = "[Manufacturer]\n%M%=Models,\n[Models]\n\"read\"\n";
        const QMap<QByteArray, QSet<QString>> files{{rubbish(size), {}},
                                                    {models + QByteArray("\"x\n").repeated(size / 3), {"read"}}};
        for (const QByteArray &text : files.keys()) {
            QFile file(folder.filePath("rubbish.inf"));
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(text);
            file.close();
            QElapsedTimer timer;
            timer.start();
            QCOMPARE(CPrinter().GetInfVersion(file.fileName()), QString());
            QCOMPARE(CPrinter().GetInfDrivers(file.fileName()), files.value(text));
            QVERIFY2(timer.elapsed() < 10000, "reading each byte again for each line would take minutes");
        }
    }

    /// A file that is not an INF may have any size, in one line.
    void hugeFile()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath("huge.inf"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("DriverVer=a,1\n");
        QVERIFY(file.resize(16 * 1024 * 1024 + 1));
        const LogRecorder log;
        QCOMPARE(CPrinter().GetInfVersion(file.fileName()), QString());
        QCOMPARE(log.lines().last(), QString("1165_CPrinter \"The file is too large\""));
    }
};

QTEST_GUILESS_MAIN(InfTest)
#include "tst_inf.moc"
