#include "tests/support/uidriver.h"

#include "src/ui/errordialog.h"
#include "src/ui/settingsdlg.h"

#include <QPushButton>
#include <QStackedWidget>
#include <QTest>

namespace {

constexpr int windowTimeout = 10000; // ms
constexpr int addingTimeout = 30000; // ms

QPoint centreIn(const QWidget *window, const QWidget *widget)
{
    return widget->mapTo(window, widget->rect().center());
}

} // namespace

UiDriver::UiDriver(World &world, const QString &display)
    : m_world(&world)
    , m_desktop(display)
{
    world.setEnvironment("DISPLAY", m_desktop.display());
    world.setEnvironment("QT_QPA_PLATFORM", "xcb");
}

bool UiDriver::awaitWindow()
{
    return QTest::qWaitFor([this] { return !window().isEmpty(); }, windowTimeout);
}

bool UiDriver::click(const QString &name)
{
    auto *widget = m_model.find<QWidget>(name);
    if (widget)
        m_desktop.click(window(), placeOf(widget));
    return widget;
}

bool UiDriver::type(const QString &name, const QString &text)
{
    const bool isFound = click(name);
    m_desktop.type(text);
    return isFound;
}

/// Only the page that is shown is laid out.
QPoint UiDriver::placeOf(QWidget *widget)
{
    for (QWidget *page = widget; page; page = page->parentWidget())
        if (auto *pages = qobject_cast<QStackedWidget *>(page->parentWidget()))
            pages->setCurrentWidget(page);
    QCoreApplication::processEvents();
    return centreIn(&m_model.window(), widget);
}

bool UiDriver::closeMessage(int timeout)
{
    ErrorDialog model{QString()};
    return closeDialog(model, model.findChild<QPushButton *>("confirmButton"), timeout);
}

bool UiDriver::addPrinter(const QString &name, const QString &serial)
{
    click("pushButton_add");
    type("lineEdit_name", name);
    type("lineEdit_num", serial);
    click("pushButton_ok");
    const bool isAdded = closeMessage(addingTimeout);
    click("pushButton_manage");
    return isAdded;
}

bool UiDriver::showDetails(int milliseconds)
{
    click("detailButton");
    SettingsDlg model{DriverInfo()};
    return closeDialog(model, model.findChild<QPushButton *>("closeButton"), windowTimeout, milliseconds);
}

/// Dialogs are recognised by their size.
bool UiDriver::closeDialog(QWidget &model, const QWidget *button, int timeout, int showTime)
{
    model.show(); // lays it out
    const QPoint place = centreIn(&model, button);
    model.hide();
    const auto isShown = [&] { return !m_desktop.windows(model.size()).isEmpty(); };
    if (!QTest::qWaitFor(isShown, timeout))
        return false;
    QTest::qWait(showTime);
    m_desktop.click(m_desktop.windows(model.size()).first(), place);
    return QTest::qWaitFor([&] { return !isShown(); }, windowTimeout);
}
