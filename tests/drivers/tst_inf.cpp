#include "src/spooler/cprinter.h"
#include "src/spooler/inffile.h"

#include <QBuffer>
#include <QTemporaryDir>
#include <QTest>

namespace {

/// The models of the section "M", sorted.
QString models(QIODevice &inf)
{
    QStringList list = InfFile::models(inf, "M").values();
    list.sort();
    return list.join(' ');
}

} // namespace

/// What INF files declare.
class InfTest : public QObject
{
    Q_OBJECT

private slots:
    void rules()
    {
        const struct
        {
            QString (*reader)(QIODevice &);
            QByteArray text;
            QString expected;
        } rules[] = {
            {InfFile::version, "[Version]\nDriverVer = 03/14/2022 , 1.4.0.2 \nDriverVer=b,2", "1.4.0.2"},
            {InfFile::version, "DriverVer=a,1,2", "1,2"},
            {InfFile::version, "DriverVer=1.4\nDriverVer=b,2\n", ""},
            {InfFile::manufacturer, "%A%=a,b\n[Manufacturer]\n%M% = Models ,NTamd64\n", " Models "},
            {InfFile::manufacturer, "[Manufacturer]\n%A%=First\n,\n%B%=Second,NTx86\n%C%=c,", "Second"},
            {InfFile::manufacturer, "[Manufacturer]\na,b=c\n", ""},
            {models, "[M]\n\"A\"=x\n\n\"B\"=x\n[M.NTamd64]\n\"C\"=x\n", "A B"},
            {models, "[M.NTamd64]\n\"C\"=x\n[M]\n\"A\"=x\n", ""},
            {models, "\"0\"=x\n[M]\n\"A\"=x\n[Strings]\n\"B\"=x\n[M]\n\"C\"=x", "A B C"},
            {models, "[M] ; ours\n\"A\"=x", "A"},
            {models, "[M]\n\"A\"=\"x\"\n\"open\nplain=\"B\"\n \"C\"=x\n\"\"=x", "A"},
        };
        for (auto [reader, text, expected] : rules) {
            QBuffer buffer(&text);
            buffer.open(QIODevice::ReadOnly | QIODevice::Text);
            QCOMPARE(reader(buffer), expected);
        }
    }

    /// A file that is not an INF may have any size, in one line.
    void unreadableFile()
    {
        const QTemporaryDir folder;
        QFile huge(folder.filePath("huge.inf"));
        QVERIFY(huge.open(QIODevice::WriteOnly));
        huge.write("DriverVer=a,1\n[Manufacturer]\n=Orvo,\n[Orvo]\n\"A\"");
        CPrinter printer;
        QVERIFY(huge.resize(16 * 1024 * 1024));
        QCOMPARE(printer.GetInfVersion(huge.fileName()), QString("1"));
        QCOMPARE(printer.GetInfDrivers(huge.fileName()), QSet<QString>({"A"}));
        QVERIFY(huge.resize(16 * 1024 * 1024 + 1));
        for (const QString &fileName : {folder.filePath("missing.inf"), folder.path(), huge.fileName()}) {
            QCOMPARE(printer.GetInfVersion(fileName), QString());
            QCOMPARE(printer.GetInfDrivers(fileName), QSet<QString>());
        }
    }
};

QTEST_GUILESS_MAIN(InfTest)
#include "tst_inf.moc"
