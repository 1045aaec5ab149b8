#include "ui/waittingdlg.h"

#include <QLabel>
#include <QMovie>
#include <QPainter>
#include <QStyle>
#include <QStyleOption>

namespace {

/// QLabel scales a movie by nearest neighbour; the frames have twice the pixels, for high-resolution displays.
class SmoothLabel : public QLabel
{
public:
    using QLabel::QLabel;

protected:
    void paintEvent(QPaintEvent *) override
    {
        QPainter painter(this);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawPixmap(rect(), movie()->currentPixmap());
    }
};

} // namespace

WaittingDlg::WaittingDlg(QWidget *parent)
    : QDialog(parent)
    , m_movie(new QMovie(QStringLiteral(":/image/resource/waitting_01.gif"))) // lives until the process ends
{
    setFixedSize(75, 75);
    setStyleSheet(QStringLiteral("background:white;border-radius:37px"));
    setWindowFlags(Qt::Dialog | Qt::FramelessWindowHint);
    setAttribute(Qt::WA_TranslucentBackground); // outside the round shape

    auto *label = new SmoothLabel(this);
    label->setStyleSheet(QStringLiteral("background:transparent;border-radius:37px"));
    label->setContentsMargins(0, 0, 0, 0);
    label->setFixedSize(size());
    label->setMovie(m_movie);
}

void WaittingDlg::start()
{
    m_movie->start();
    show();
}

void WaittingDlg::stop()
{
    m_movie->stop();
    close();
}

void WaittingDlg::reject()
{
    // Escape and all close requests end here.
    if (m_movie->state() == QMovie::NotRunning)
        QDialog::reject();
}

void WaittingDlg::paintEvent(QPaintEvent *)
{
    // Qt does not draw the style sheet's background of a translucent window.
    QStyleOption option;
    option.initFrom(this);
    QPainter painter(this);
    style()->drawPrimitive(QStyle::PE_Widget, &option, &painter, this);
}
