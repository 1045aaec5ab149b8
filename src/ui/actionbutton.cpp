#include "ui/actionbutton.h"

#include "ui/qcircleprocess.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int pictureSize = 44;
constexpr int actionWidth = 72; // of the longest caption
constexpr int spinnerSize = 39;

const auto buttonStyle = QStringLiteral("QPushButton{border-radius:22px;}"
                                        "QPushButton:focus{border:2px solid rgb(10, 23, 40);outline:none;}");
const auto busyStyle = QStringLiteral("QPushButton{border-radius:22px;background-color:rgb(0, 138, 255);}");

} // namespace

ActionButton::ActionButton(const QString &name, const QString &caption, QWidget *parent)
    : QWidget(parent)
    , m_picture(QStringLiteral(":/image/resource/%1.png").arg(name))
    , m_button(new QPushButton)
    , m_caption(new QLabel)
{
    m_button->setObjectName(name + QStringLiteral("Button"));
    m_button->setFixedSize(pictureSize, pictureSize);
    m_button->setIconSize(m_button->size());
    m_button->setFocusPolicy(Qt::TabFocus); // a click leaves no mark behind
    m_button->setAutoDefault(true);         // Enter presses it
    connect(m_button, &QPushButton::clicked, this, &ActionButton::clicked);
    buildSpinner();
    setBusy(false);

    m_caption->setStyleSheet(QStringLiteral("font-size:12px;"));
    setCaption(caption);

    setFixedWidth(actionWidth);
    auto *column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addStretch(1);
    column->addWidget(m_button, 0, Qt::AlignHCenter);
    column->addWidget(m_caption, 0, Qt::AlignHCenter);
    column->addStretch(1);
}

void ActionButton::buildSpinner()
{
    m_spinner = new QCircleProcess(spinnerSize, m_button);
    m_spinner->setColor(QColor(QStringLiteral("#ffffff")));
    m_spinner->setAttribute(Qt::WA_TransparentForMouseEvents);
    const int margin = (pictureSize - spinnerSize) / 2;
    m_spinner->move(margin, margin);
}

void ActionButton::setCaption(const QString &caption)
{
    m_caption->setText(caption);
    m_button->setAccessibleName(caption);
}

void ActionButton::setBusy(bool busy)
{
    // White on the picture's white strokes the ring would be lost: it turns on the bare disc.
    m_button->setIcon(busy ? QIcon() : m_picture);
    m_button->setStyleSheet(busy ? busyStyle : buttonStyle);
    if (busy)
        m_spinner->startAnimation();
    else
        m_spinner->stopAnimation();
}
