#pragma once

#include "tests/endtoend/desktop.h"

#include "tests/support/programfolder.h"
#include "tests/ui/roadfixture.h"

/// Who sits before the real program and uses it by mouse and keyboard. What is clicked on stands where it stands in a
/// window of the test itself.
class User
{
public:
    /// The programs that the folder starts from now on show up on the user's display.
    explicit User(ProgramFolder &folder);

    /// Starts the program and waits for its window.
    bool startProgram();
    QProcess *program() const { return m_program; }

    const QString &display() const { return m_desktop.display(); }
    /// The identifier of the program's window; empty while it is not shown.
    QString window() const;

    /// Fills in the page for adding and confirms the message that tells of the success; with that the program serves
    /// and stores the printer.
    bool addPrinter(const QString &name, const QString &serial);
    void showPrinters();

    /// What is on the first card.
    void clickOnCard(const QString &name);
    void typeOnCard(const QString &name, const QString &text);

    /// Opens the print details of the first card for so long.
    bool lookAtDetails(int milliseconds);

private:
    void click(const QString &name);
    void type(const QString &name, const QString &text);
    bool awaitDialog(const QSize &size, int timeout) const;
    bool closeDialog(const QSize &size, const QPoint &button) const;

    ProgramFolder &m_folder;
    Desktop m_desktop;
    Road m_plan{"http://127.0.0.1:9", 2};
    QProcess *m_program = nullptr;
};
