#include "tests/endtoend/user.h"

#include "src/ui/driveritem.h"

#include <QPushButton>
#include <QTest>

namespace {

const QSize mainWindow(960, 600);
const QSize messageDialog(316, 206);
const QPoint confirmation(158, 168); // the button "确定"
const QSize detailsDialog(710, 500);
const QPoint closeDetails(680, 30);
constexpr int windowTimeout = 10000; // ms
constexpr int addingTimeout = 30000; // ms

/// Where a widget of the window is, read off a window like the program's.
QPoint placeOf(Road &plan, const QWidget *widget)
{
    return widget->mapTo(&plan.window(), widget->rect().center());
}

} // namespace

User::User(ProgramFolder &folder)
    : m_folder(folder)
{
    m_folder.setEnvironment("DISPLAY", m_desktop.display());
    m_folder.setEnvironment("QT_QPA_PLATFORM", "xcb");
}

bool User::startProgram()
{
    if (display().isEmpty())
        return false;
    m_program = m_folder.start("OrvoCloudManager");
    return QTest::qWaitFor([this] { return !window().isEmpty(); }, windowTimeout);
}

bool User::addPrinter(const QString &name, const QString &serial)
{
    click("pushButton_add");
    m_plan.find<QPushButton>("pushButton_add")->click(); // the plan turns its page, too
    type("lineEdit_name", name);
    type("lineEdit_num", serial);
    click("pushButton_ok");
    return awaitDialog(messageDialog, addingTimeout) && closeDialog(messageDialog, confirmation);
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

bool User::lookAtDetails(int milliseconds)
{
    clickOnCard("detailButton");
    if (!awaitDialog(detailsDialog, windowTimeout))
        return false;
    QTest::qWait(milliseconds);
    return closeDialog(detailsDialog, closeDetails);
}

bool User::awaitDialog(const QSize &size, int timeout) const
{
    return QTest::qWaitFor([&] { return !m_desktop.windows(size).isEmpty(); }, timeout);
}

bool User::closeDialog(const QSize &size, const QPoint &button) const
{
    m_desktop.click(m_desktop.windows(size).first(), button);
    return QTest::qWaitFor([&] { return m_desktop.windows(size).isEmpty(); }, windowTimeout);
}

QString User::window() const
{
    return m_desktop.windows(mainWindow).value(0);
}
