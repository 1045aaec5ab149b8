#include "app/startup.h"

#include "base/diagnosticlog.h"

#include <QDebug>
#include <QGuiApplication>
#include <QTranslator>

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

void installTranslation(QCoreApplication &application)
{
    auto *translator = new QTranslator(&application);
    const QString path = QCoreApplication::applicationDirPath() + QStringLiteral("/Translations/qt_zh_CN.qm");
    translator->load(path);
    qDebug() << path;
    application.installTranslator(translator);
}
