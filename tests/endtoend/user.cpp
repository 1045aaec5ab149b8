#include "user.h"

#include "ui/driveritem.h"

#include <QPushButton>
#include <QTest>

namespace {

const QSize mainWindow(960, 600);
const QSize messageDialog(316, 206);
const QPoint confirmation(158, 168); // the button "确定"

/// Where a widget of the window is, read off a window like the program's.
QPoint placeOf(Road &plan, const QWidget *widget)
{
    return widget->mapTo(&plan.window(), widget->rect().center());
}

} // namespace

User::User(ProgramFolder &folder)
    : m_folder(folder)
{
    QVERIFY2(!m_desktop.display().isEmpty(), "Xvfb did not start");
    m_folder.setEnvironment("DISPLAY", m_desktop.display());
    m_folder.setEnvironment("QT_QPA_PLATFORM", "xcb");
}

void User::startProgram()
{
    m_program = m_folder.start("OrvoCloudManager");
    QTRY_COMPARE_WITH_TIMEOUT(m_desktop.windows(mainWindow).size(), 1, 10000);
}

void User::addPrinter(const QString &name, const QString &serial)
{
    click("pushButton_add");
    m_plan.find<QPushButton>("pushButton_add")->click(); // the plan turns its page, too
    type("lineEdit_name", name);
    type("lineEdit_num", serial);
    click("pushButton_ok");
    confirmMessage();
}

void User::showPrinters()
{
    click("pushButton_manage");
    m_plan.find<QPushButton>("pushButton_manage")->click();
}

void User::clickOnCard(const QString &name)
{
    m_desktop.click(window(), placeOf(m_plan, m_plan.card()->findChild<QWidget *>(name)));
}

void User::typeOnCard(const QString &name, const QString &text)
{
    m_desktop.type(window(), placeOf(m_plan, m_plan.card()->findChild<QWidget *>(name)), text);
}

void User::click(const QString &name)
{
    m_desktop.click(window(), placeOf(m_plan, m_plan.find<QWidget>(name)));
}

void User::type(const QString &name, const QString &text)
{
    m_desktop.type(window(), placeOf(m_plan, m_plan.find<QWidget>(name)), text);
}

void User::confirmMessage()
{
    QTRY_COMPARE_WITH_TIMEOUT(m_desktop.windows(messageDialog).size(), 1, 30000);
    m_desktop.click(m_desktop.windows(messageDialog).first(), confirmation);
    QTRY_VERIFY(m_desktop.windows(messageDialog).isEmpty());
}

QString User::window() const
{
    return m_desktop.windows(mainWindow).value(0);
}
