#pragma once

#include "tests/support/desktop.h"
#include "tests/support/windowfixture.h"
#include "tests/support/world.h"

#include <QTest>

/// Uses the real program by mouse and keyboard. Widgets are named by their object names; those of a card mean the first
/// card. Places and sizes come from a model: a window of this process that is laid out by the same code, with two
/// printers on an emulated machine of its own. Needs a QApplication.
class UiDriver
{
public:
    /// Programs that the world starts from now on appear on the display, or on one of the driver's own.
    explicit UiDriver(World &world, const QString &display = QString());
    /// Uses a program that somebody else has started on the display.
    explicit UiDriver(const QString &display)
        : m_desktop(display)
    {
    }

    /// Starts the program and waits for its window.
    bool startProgram() { return m_world->startProgram() && awaitWindow(); }
    /// Waits for the window of a program that somebody else has started.
    bool awaitWindow();

    Desktop &desktop() { return m_desktop; }
    /// The identifier of the program's window, empty while it is not shown, and its unscaled size.
    QString window() const { return m_desktop.windows(size()).value(0); }
    QSize size() const { return m_model.window().size(); }

    /// False when there is no such widget.
    bool click(const QString &name);
    bool type(const QString &name, const QString &text);

    /// Waits for a message dialog and closes it by its button. False when none is shown in time or it stays.
    bool closeMessage(int timeout = 10000);

    /// Fills in the page for adding and closes the message, which comes when the printer is served and stored. Ends on
    /// the page with the printers.
    bool addPrinter(const QString &name, const QString &serial);

    /// Keeps the print details of the first card open for that time.
    bool showDetails(int milliseconds);

private:
    struct ModelMachine
    {
        ModelMachine() { qputenv("WIN32_EMULATOR_HOME", home.path().toLocal8Bit()); }
        QTemporaryDir home;
    };

    QPoint placeOf(QWidget *widget);
    bool closeDialog(QWidget &model, const QWidget *button, int timeout, int showTime = 0);

    World *m_world = nullptr;
    Desktop m_desktop;
    ModelMachine m_machine; // before the model, which looks for it
    WindowFixture m_model{"http://127.0.0.1:9", 2, "queue", 18101};
};
