// Shows the whole system at work: a document and the test page go from a print queue to the cloud.

#include "tests/support/uidriver.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFile>
#include <QFileInfo>
#include <QTest>

#include <atomic>
#include <csignal>
#include <cstdio>

namespace {

constexpr int jobTimeout = 120000; // ms; the program gives up on a job sooner
const QString queue = "前台打印机";

std::atomic<bool> isInterrupted(false);

bool fail(const char *what)
{
    std::fprintf(stderr, "run: %s\n", what);
    return false;
}

QByteArray contentOf(const QString &fileName)
{
    QFile file(fileName);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// Waits for the n-th job's outcome and reports it. False unless it was printed, to the byte.
bool reportJob(const World &world, int number, const QByteArray &bytes)
{
    if (!QTest::qWaitFor([&] { return world.records(0).size() >= number; }, jobTimeout))
        return fail("a job has no outcome");
    const QStringList fields = world.records(0).at(number - 1).split(';');
    std::printf("%s: %s bytes, %s (submitted %s, ended %s)\n", qPrintable(fields.value(0)), qPrintable(fields.value(3)),
                qPrintable(fields.value(2)), qPrintable(fields.value(1)), qPrintable(fields.value(4)));
    if (world.received(number) != bytes)
        return fail("the cloud did not receive the bytes that were printed");
    return fields.value(2) == "打印成功";
}

bool start(World &world, UiDriver &user)
{
    if (!world.addPrinters({queue}) || !world.startSpooler())
        return fail("the spooler did not start");
    if (!world.startCloud())
        return fail("the cloud emulator did not start; is its port taken?");
    return (world.startReadyProgram() && user.awaitWindow()) || fail("the program did not start");
}

bool printBoth(World &world, UiDriver &user, const QString &document)
{
    const QByteArray bytes = contentOf(document);
    std::printf("==> Printing %s and the test page on %s\n", qPrintable(document), qPrintable(queue));
    const QString name = QFileInfo(document).fileName().replace(';', '_'); // which ends a field of the journal
    if (!world.print(0, name, bytes) || !reportJob(world, 1, bytes))
        return fail("the document was not printed");
    user.click("testButton");
    return (user.closeMessage(jobTimeout) && reportJob(world, 2, contentOf(world.path("testpage.prn")))) ||
           fail("the test page was not printed");
}

void stay(const World &world)
{
    const QByteArray folder = world.path().toLocal8Bit();
    std::printf("==> Everything keeps running. To print to it, in another terminal:\n"
                "    WIN32_EMULATOR_HOME=%s/win32 %s/spoolctl print %s FILE\n"
                "What the cloud receives lies in %s/cloud. Ctrl+C ends it all.\n",
                folder.constData(), folder.constData(), qPrintable(queue), folder.constData());
    std::fflush(stdout);
    std::signal(SIGINT, [](int) { isInterrupted = true; });
    while (!isInterrupted && world.program()->state() == QProcess::Running)
        QTest::qWait(200);
}

bool run(const QString &display, const QString &document, bool keep)
{
    World world;
    UiDriver user(world, display);
    const bool isGood = start(world, user) && printBoth(world, user, document);
    if (!isGood)
        std::fputs(qPrintable(world.log().right(3000)), stderr);
    QProcess::execute("import", {"-display", user.desktop().display(), "-window", user.window(), "screenshot.png"});
    if (keep)
        stay(world);
    return isGood;
}

} // namespace

int main(int argc, char *argv[])
{
    qputenv("QT_QPA_PLATFORM", "offscreen"); // the model of the window is not for the display
    QApplication application(argc, argv);
    QCommandLineParser parser;
    parser.addPositionalArgument("DOCUMENT", "what is printed");
    parser.addOption({"keep", "let everything run afterwards, until Ctrl+C or until the program ends"});
    parser.addOption({"display", "a display that exists, instead of one in memory", "NAME"});
    parser.addHelpOption();
    parser.process(application);
    const QString document = parser.positionalArguments().value(0);
    return run(parser.value("display"), document, parser.isSet("keep")) ? 0 : 1;
}
