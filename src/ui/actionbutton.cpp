#include "ui/actionbutton.h"

#include "ui/qcircleprocess.h"

#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace {

constexpr int pictureSize = 44;
constexpr int ringWidth = 2; // of the focus ring around the picture
constexpr int buttonSize = pictureSize + 2 * ringWidth;
constexpr int actionWidth = 72; // of the longest caption
constexpr int spinnerSize = 39;

const auto buttonStyle =
    QStringLiteral("QPushButton{border:2px solid transparent;border-radius:24px;background-clip:padding;outline:none;}"
                   "QPushButton:focus{border-color:rgb(10, 23, 40);}");
// Without a border: a background that is clipped to the padding has square corners.
const auto busyStyle =
    QStringLiteral("QPushButton{border:none;margin:2px;border-radius:22px;background-color:rgb(0, 138, 255);}");

} // namespace

ActionButton::ActionButton(const QString &name, const QString &caption, QWidget *parent)
    : QWidget(parent)
    , m_picture(QStringLiteral(":/image/resource/%1.png").arg(name))
    , m_button(new QPushButton)
    , m_caption(new QLabel)
{
    m_button->setObjectName(name + QStringLiteral("Button"));
    m_button->setFixedSize(buttonSize, buttonSize);
    m_button->setIconSize({pictureSize, pictureSize});
    m_button->setFocusPolicy(Qt::TabFocus); // a click leaves no focus ring
    m_button->setAutoDefault(true);         // Enter presses it
    connect(m_button, &QPushButton::clicked, this, &ActionButton::clicked);
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

QCircleProcess *ActionButton::buildSpinner() const
{
    auto *spinner = new QCircleProcess(spinnerSize, m_button);
    spinner->setColor(QColor(QStringLiteral("#ffffff")));
    spinner->setAttribute(Qt::WA_TransparentForMouseEvents);
    const int margin = (buttonSize - spinnerSize) / 2;
    spinner->move(margin, margin);
    spinner->show(); // a child of a visible widget is hidden at first
    return spinner;
}

void ActionButton::setCaption(const QString &caption)
{
    m_caption->setText(caption);
    m_button->setAccessibleName(caption);
}

void ActionButton::setBusy(bool busy)
{
    // Hide the icon while busy: its strokes are white like the spinner.
    m_button->setIcon(busy ? QIcon() : m_picture);
    m_button->setStyleSheet(busy ? buttonStyle + busyStyle : buttonStyle);
    if (busy && !m_spinner)
        m_spinner = buildSpinner();
    if (busy)
        m_spinner->startAnimation();
    else if (m_spinner)
        m_spinner->stopAnimation();
}
