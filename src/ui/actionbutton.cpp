#include "ui/actionbutton.h"

#include <QIcon>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

ActionButton::ActionButton(const QString &name, const QString &caption, QWidget *parent)
    : QWidget(parent)
    , m_button(new QPushButton(QIcon(QStringLiteral(":/image/resource/%1.png").arg(name)), QString()))
    , m_caption(new QLabel)
{
    m_button->setObjectName(name + QStringLiteral("Button"));
    m_button->setFixedSize(pictureSize, pictureSize);
    m_button->setIconSize(m_button->size());
    connect(m_button, &QPushButton::clicked, this, &ActionButton::clicked);
    setCaption(caption);

    auto *column = new QVBoxLayout(this);
    column->addStretch(1);
    column->addWidget(m_button, 0, Qt::AlignHCenter);
    column->addWidget(m_caption, 0, Qt::AlignHCenter);
    column->addStretch(1);
}

void ActionButton::setCaption(const QString &caption)
{
    m_caption->setText(caption);
    m_button->setAccessibleName(caption);
}
