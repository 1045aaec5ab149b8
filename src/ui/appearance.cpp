#include "ui/appearance.h"

#include <QApplication>
#include <QFont>
#include <QIcon>

void prepareAppearance()
{
    Q_INIT_RESOURCE(resources); // from a static library they are not registered by themselves
    // The style sheets name Windows fonts; elsewhere a font with the same characters replaces them.
    const auto windowsFont = QStringLiteral("Microsoft YaHei");
    const auto otherFont = QStringLiteral("Noto Sans CJK SC");
    QFont::insertSubstitution(windowsFont, otherFont);
    QFont::insertSubstitutions(QStringLiteral("song"), {windowsFont, otherFont}); // used by the table's headers
    QFont font = QApplication::font();
    font.setFamily(windowsFont);
    // In pixels like those of the style sheets, so that nothing depends on the size of a point.
    font.setPixelSize(12);
    QApplication::setFont(font);
    QApplication::setWindowIcon(QIcon(QStringLiteral(":/printerid/resource/orvoIcon.ico")));
}
