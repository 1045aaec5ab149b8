#include "ui/errordialog.h"

#include "ui/closebutton.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPushButton>
#include <QTextOption>
#include <QVBoxLayout>

namespace {

/// QLabel cuts off both ends of a word that is wider than the label; here such a word is broken into lines.
class MessageLabel : public QLabel
{
public:
    using QLabel::QLabel;

    /// On Windows Qt grows a window of a fixed size, too, to what its layout asks for.
    bool hasHeightForWidth() const override { return false; }

protected:
    void paintEvent(QPaintEvent *) override
    {
        QTextOption option(alignment());
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        QPainter(this).drawText(contentsRect(), text(), option);
    }
};

} // namespace

ErrorDialog::ErrorDialog(const QString &text, QWidget *parent)
    : QDialog(parent)
{
    setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
    setFixedSize(316, 206);
    setAttribute(Qt::WA_TranslucentBackground);

    auto *background = new QWidget;
    background->setStyleSheet(QStringLiteral(".QWidget{background-color: rgba(255, 255, 255,0);"
                                             "background-image:url(:/image/resource/dlgbackground.png);"
                                             "border:none;border-radius:7px;}"));
    auto *inner = new QVBoxLayout(background);
    inner->addSpacing(10);
    inner->addLayout(closeRow());
    inner->addLayout(messageRow(text));
    inner->addLayout(buttonRow());
    inner->addSpacing(23);

    auto *outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0); // the picture is as large as the dialog
    outer->addWidget(background);
}

QLayout *ErrorDialog::closeRow()
{
    auto *button = new CloseButton;
    connect(button, &CloseButton::clicked, this, &ErrorDialog::close);

    auto *row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(button);
    row->addSpacing(10);
    return row;
}

QLayout *ErrorDialog::messageRow(const QString &text)
{
    auto *label = new MessageLabel(text);
    // The rule lacks a selector and has no effect: the message keeps the application's colours and font size.
    label->setStyleSheet(QStringLiteral("{background-color:rgba(100, 100, 55,255);font-size:16px;}"));
    label->setTextFormat(Qt::PlainText); // for screen readers, too: names and the cloud's texts are shown verbatim
    label->setAlignment(Qt::AlignCenter);
    label->setWordWrap(true);
    label->setContentsMargins(20, 0, 20, 0);

    auto *row = new QHBoxLayout;
    row->addWidget(label, 1);
    return row;
}

QLayout *ErrorDialog::buttonRow()
{
    auto *button = new QPushButton(QStringLiteral("确定"));
    button->setObjectName(QStringLiteral("confirmButton"));
    button->setDefault(true);
    button->setFixedSize(65, 30);
    button->setStyleSheet(QStringLiteral("QPushButton{color:#ffffff;background-color:#0A1728;border-style:solid;"
                                         "font-size:14px;border-radius:5px;border-width:1px;}"));
    connect(button, &QPushButton::clicked, this, &ErrorDialog::close);

    auto *row = new QHBoxLayout;
    row->addStretch(1);
    row->addWidget(button);
    row->addStretch(1);
    return row;
}

void showMessage(const QString &text)
{
    (new ErrorDialog(text))->exec();
}
