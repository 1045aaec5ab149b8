#include "src/store/printrecord.h"

#include <QTest>

class PrintRecordTest : public QObject
{
    Q_OBJECT

private slots:
    void parsesWhatIsComposed_data()
    {
        QTest::addColumn<QString>("label");
        QTest::addColumn<bool>("testPage");
        QTest::addColumn<QString>("fields");
        QTest::newRow("document") << JobLabel{"报告.docx", "31:02:03"}.text() << false
                                  << "报告.docx|31:02:03|打印成功|12|09:02:09";
        QTest::newRow("test page") << JobLabel{"测试页", "10:00:00"}.text() << true
                                   << "测试页|10:00:00|打印成功|12|09:02:09";
        QTest::newRow("of another language")
            << "一份测试页;10:00:00" << true << "一份测试页|10:00:00|打印成功|12|09:02:09";
        QTest::newRow("named like it") << "测试页.pdf;10:00:00" << false << "测试页.pdf|10:00:00|打印成功|12|09:02:09";
        QTest::newRow("no label") << "" << false << "|打印成功|12|09:02:09|";
        QTest::newRow("separator in the document") << "a;b;10:00:00" << false << "a|b|10:00:00|打印成功|12";
    }

    void parsesWhatIsComposed()
    {
        QFETCH(QString, label);
        const JobRecord job{"0123456789ABCDEF", label, 12, "09:02:09"};
        QTEST(job.isTestPage(), "testPage");
        const PrintRecord record = PrintRecord::parse(job.text("打印成功"));
        QTEST(QStringList({record.document, record.submissionTime, record.status, record.size, record.processingTime})
                  .join('|'),
              "fields");
    }
};

QTEST_GUILESS_MAIN(PrintRecordTest)
#include "tst_printrecord.moc"
