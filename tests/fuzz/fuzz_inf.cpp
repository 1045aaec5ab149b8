// An INF file, as the program reads it.

#include "tests/fuzz/support.h"

#include "src/spooler/inffile.h"

#include <QBuffer>
#include <QTextCodec>

#include <memory>
#include <tuple>

namespace {

using Declared = std::tuple<QString, QString, QSet<QString>>; // version, section, models

template <typename Reader>
auto readBy(Reader reader, QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly | QIODevice::Text); // as the files are opened
    return reader(buffer);
}

Declared read(const QByteArray &bytes)
{
    const auto isOneLine = [](const QString &text) { return text.count('\n') + text.count('\r') == 0; };
    const QString version = readBy(InfFile::version, bytes);
    const QString section = readBy(InfFile::manufacturer, bytes);
    const auto models = readBy([&](QIODevice &inf) { return InfFile::models(inf, section); }, bytes);
    require(isOneLine(version) && version == version.trimmed(), "a version is one line without blanks around it");
    require(isOneLine(section) && !section.contains(QLatin1Char(',')), "a section's name ends before the comma");
    for (const QString &model : models)
        require(isOneLine(model) && !model.isEmpty() && !model.contains(QLatin1Char('"')),
                "a model's name is a text of one line and ends before the quote");
    return {version, section, models};
}

/// Begins with a byte order mark.
QByteArray asUtf16(const QString &text)
{
    return std::unique_ptr<QTextEncoder>(QTextCodec::codecForName("UTF-16LE")->makeEncoder())->fromUnicode(text);
}

} // namespace

/// The same file with other line ends and, where it is a text in the code page, in the other encoding, says the same.
void checkInput(const QByteArray &bytes)
{
    const QTextCodec *codePage = QTextCodec::codecForLocale();
    const QByteArray unixLines = QByteArray(bytes).replace("\r", "");
    const Declared declared = read(unixLines);
    read(bytes);
    const QString text = codePage->toUnicode(unixLines);
    // In front, UTF-16's mark and a NUL are the mark of UTF-32.
    if (codePage->fromUnicode(text) != unixLines || text.startsWith(QChar(0)))
        return;
    const QString windowsText = QString(text).replace(QLatin1Char('\n'), QLatin1String("\r\n"));
    require(read(codePage->fromUnicode(windowsText)) == declared, "the line ends do not matter");
    require(read(asUtf16(text)) == declared && read(asUtf16(windowsText)) == declared, "the encoding does not matter");
}
