#include "ui/appearance.h"

#include "resources/resources.h"

#include <QApplication>
#include <QFont>

void prepareAppearance()
{
    registerResources();
    // The style sheets name fonts of Windows; elsewhere their place is taken by one that has the same characters.
    const auto windowsFont = QStringLiteral("Microsoft YaHei");
    const auto otherFont = QStringLiteral("Noto Sans CJK SC");
    QFont::insertSubstitution(windowsFont, otherFont);
    QFont::insertSubstitutions(QStringLiteral("song"), {windowsFont, otherFont}); // of the table's headers
    QFont font = QApplication::font();
    font.setFamily(windowsFont);
    // In pixels like those of the style sheets, so that nothing depends on the platform's own idea of a point.
    font.setPixelSize(12);
    QApplication::setFont(font);
}
