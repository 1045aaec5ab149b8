#pragma once

#include <QString>

/// Registers the pictures under ":/image/resource/" and ":/printerid/resource/", chooses the font and the windows'
/// icon. Call it once, after the application object and before the first widget.
void prepareAppearance();

/// Style sheet of a slim vertical scroll bar without buttons.
inline const QString slimScrollBar =
    QStringLiteral("QScrollBar:vertical{width:8px;background-color:transparent;}"
                   "QScrollBar::handle:vertical{min-height:40px;border-radius:4px;background-color:rgb(190, 198, 208);}"
                   "QScrollBar::add-line:vertical,QScrollBar::sub-line:vertical{height:0;}"
                   "QScrollBar::add-page:vertical,QScrollBar::sub-page:vertical{background-color:transparent;}");
