#pragma once

#include <QDialog>

class QLayout;

/// The program's message box: one centred, word-wrapped message on a rounded picture and one button, for good news as
/// well as bad. Callers create one per message with new, exec() it and ignore the result, which is always "rejected".
/// Nobody deletes it afterwards, and it does not delete itself: messages are few, and the card that shows one may be
/// gone by the time the user has read it. Main thread.
class ErrorDialog : public QDialog
{
    Q_OBJECT

public:
    explicit ErrorDialog(const QString &text, QWidget *parent = nullptr);

private:
    QLayout *closeRow();
    QLayout *messageRow(const QString &text);
    QLayout *buttonRow();
};

/// Shows a message in a dialog of its own and returns when the user has closed it. Meanwhile the event loop runs.
void showMessage(const QString &text);
