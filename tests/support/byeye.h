#pragma once

#include <QApplication>
#include <QImage>
#include <QLabel>
#include <QTest>
#include <QTimer>
#include <QWidget>
#include <QWindow>

#include <utility>

/// Clicks the middle of a widget as the mouse does: what lies over it gets the click, and behind a modal dialog nothing
/// does. Returns after the dialogs that the click opens.
inline void clickOn(const QWidget *widget)
{
    const QWidget *window = widget->window();
    QTest::mouseClick(window->windowHandle(), Qt::LeftButton, Qt::NoModifier,
                      widget->mapTo(window, widget->rect().center()));
}

inline void clickOn(const QWidget &parent, const QString &name)
{
    clickOn(parent.findChild<QWidget *>(name));
}

/// Closes each modal dialog while it exists.
class DialogCloser
{
public:
    DialogCloser()
    {
        QObject::connect(&m_timer, &QTimer::timeout, [this] { close(); });
        m_timer.start(20);
    }

    /// Waits until a dialog was closed, and returns its text; empty when none was.
    QString awaitText(int timeout = 5000)
    {
        (void)QTest::qWaitFor([this] { return !m_text.isEmpty(); }, timeout);
        return std::exchange(m_text, {});
    }

private:
    void close()
    {
        if (QWidget *dialog = QApplication::activeModalWidget()) {
            m_text.clear();
            for (const auto *label : dialog->findChildren<QLabel *>())
                m_text += label->text();
            dialog->close();
        }
    }

    QTimer m_timer;
    QString m_text;
};

/// Whether there is nothing to see in a picture.
inline bool isBlank(const QPixmap &pixmap)
{
    const QImage picture = pixmap.toImage();
    QImage blank = picture;
    blank.fill(picture.pixelColor(0, 0));
    return picture == blank;
}
