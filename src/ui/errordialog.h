#pragma once

#include <QDialog>

class QLayout;

/// The program's message box, for success and failure: one centred, word-wrapped message on a rounded picture and one
/// button. Callers create one per message with new, exec() it and ignore the result, which is always "rejected". It is
/// never deleted: messages are few, and the card that shows one may be deleted while it is open. Main thread.
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

/// Shows a message and returns when the user has closed it. The event loop runs meanwhile.
void showMessage(const QString &text);
