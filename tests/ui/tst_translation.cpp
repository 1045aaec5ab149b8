// Qt's own texts: in Chinese with the translation that lies beside the program, and no obstacle without it.

#include "tests/support/world.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QRegularExpression>
#include <QTest>
#include <QTranslator>

class TranslationTest : public QObject
{
    Q_OBJECT

private slots:
    void programStarts_data();
    void programStarts();
    void dialogsAndMenusAreChinese();

private:
    static QString translationFile() { return qEnvironmentVariable("ORVO_BIN") + "/Translations/qt_zh_CN.qm"; }
};

void TranslationTest::programStarts_data()
{
    QTest::addColumn<bool>("translated");
    QTest::addColumn<QString>("text"); // of Qt, when the new store has no table yet
    QTest::newRow("with the file") << true << "无法执行语句";
    QTest::newRow("without") << false << "Unable to execute statement";
}

void TranslationTest::programStarts()
{
    QFETCH(bool, translated);
    QFETCH(QString, text);
    World folder;
    if (!translated)
        QVERIFY(QDir(folder.path("Translations")).removeRecursively());
    folder.start("OrvoCloudManager");
    QTRY_VERIFY_WITH_TIMEOUT(folder.log().contains(text), 10000);
    QVERIFY(folder.log().contains('"' + folder.path("Translations/qt_zh_CN.qm") + '"'));
}

void TranslationTest::dialogsAndMenusAreChinese()
{
    QTranslator translator;
    QVERIFY(translator.load(translationFile()));
    QVERIFY(QCoreApplication::installTranslator(&translator));
    const QDialogButtonBox box(QDialogButtonBox::Cancel);
    QCOMPARE(box.button(QDialogButtonBox::Cancel)->text().remove(QRegularExpression("\\(.*|&")), QString("取消"));
    QLineEdit field("text");
    const std::unique_ptr<QMenu> menu(field.createStandardContextMenu());
    for (const QAction *action : menu->actions())
        QVERIFY2(action->isSeparator() || action->text().at(0).script() == QChar::Script_Han,
                 qPrintable(action->text()));
}

QTEST_MAIN(TranslationTest)
#include "tst_translation.moc"
