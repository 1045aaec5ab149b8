#include "app/qtsingleapplication.h"
#include "base/diagnosticlog.h"
#include "base/runningthreads.h"
#include "store/driverinfo.h"
#include "ui/appearance.h"
#include "ui/velmainwindow.h"

#include <QDebug>
#include <QTranslator>

namespace {

constexpr int handOverTimeout = 5000; // ms
constexpr int endTimeout = 5000;      // ms that workers may take to end

void enableHighDpi()
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // The default rounds 150 % up to 200 %.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
}

void logArguments()
{
    const QStringList arguments = QCoreApplication::arguments();
    qDebug() << "application run argc=" << arguments.size();
    for (int i = 0; i < arguments.size(); ++i)
        qDebug() << "argv[" << i << "]=" << qUtf8Printable(arguments.at(i));
}

/// The framework's own texts in Chinese. Without the file they stay as they are.
void installTranslation(QCoreApplication &application)
{
    auto *translator = new QTranslator(&application);
    const QString path =
        QCoreApplication::applicationDirPath() + QStringLiteral("/Translations/") + QStringLiteral("qt_zh_CN.qm");
    translator->load(path);
    qDebug() << path;
    application.installTranslator(translator);
}

int runMainWindow(QtSingleApplication &application)
{
    prepareAppearance();
    VelMainWindow window;
    application.setActivationWindow(&window, true);
    // A message thus raises the window twice. Intended, and harmless.
    QObject::connect(&application, &QtSingleApplication::messageReceived, &application,
                     &QtSingleApplication::activateWindow);
    window.show();
    return QApplication::exec();
}

} // namespace

int main(int argc, char *argv[])
{
    enableHighDpi();
    QtSingleApplication application(argc, argv);
    qInstallMessageHandler(messageOutput);
    logArguments();
    if (application.isRunning()) {
        application.sendMessage(QStringLiteral("raise_window_noop"), handOverTimeout);
        return 0;
    }
    qRegisterMetaType<DriverInfo>("DriverInfo");
    QApplication::setQuitOnLastWindowClosed(false);
    installTranslation(application);
    const int result = runMainWindow(application);
    RunningThreads::endAll(endTimeout);
    return result;
}
