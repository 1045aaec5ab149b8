#include "app/startup.h"

#include "app/qtsingleapplication.h"
#include "base/diagnosticlog.h"
#include "base/runningthreads.h"

#include <QDebug>
#include <QTranslator>

using namespace std::chrono_literals;

namespace {

constexpr auto handOverTimeout = 5s;

} // namespace

void enableHighDpi()
{
    QCoreApplication::setAttribute(Qt::AA_EnableHighDpiScaling);
    QCoreApplication::setAttribute(Qt::AA_UseHighDpiPixmaps);
    // The default rounds 150 % up to 200 %.
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
}

void startLog()
{
    qInstallMessageHandler(messageOutput);
    const QStringList arguments = QCoreApplication::arguments();
    qDebug() << "application run argc=" << arguments.size();
    for (int i = 0; i < arguments.size(); ++i)
        qDebug() << "argv[" << i << "]=" << qUtf8Printable(arguments.at(i));
}

InstanceGuard::Delivery handOver(const QtSingleApplication &application)
{
    const auto delivery = application.sendMessage(QStringLiteral("raise_window_noop"), handOverTimeout);
    if (delivery != InstanceGuard::Delivery::Acknowledged)
        qWarning() << "the running instance has not acknowledged";
    return delivery;
}

void takeOver(QtSingleApplication &application, std::chrono::milliseconds endTimeout)
{
    application.listen();
    auto *translator = new QTranslator(&application);
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/Translations/qt_zh_CN.qm");
    translator->load(path);
    qDebug() << path;
    QCoreApplication::installTranslator(translator);
    // At log-off Windows ends the process as soon as the windows have been notified, before exec() returns.
    QObject::connect(&application, &QCoreApplication::aboutToQuit, [=] { RunningThreads::endAll(endTimeout); });
}
