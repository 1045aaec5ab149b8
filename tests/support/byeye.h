#pragma once

#include <QImage>
#include <QTest>
#include <QWidget>
#include <QWindow>

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

/// Whether there is nothing to see in a picture.
inline bool isBlank(const QPixmap &pixmap)
{
    const QImage picture = pixmap.toImage();
    QImage blank = picture;
    blank.fill(picture.pixelColor(0, 0));
    return picture == blank;
}
