// An INF file, as the program reads it.

#include "tests/fuzz/codepages.h"
#include "tests/fuzz/support.h"

#include "src/spooler/inffile.h"

#include <QBuffer>

#include <memory>
#include <tuple>

namespace {

using Declared = std::tuple<QString, QString, QSet<QString>>;

template <typename Reader>
auto readBy(Reader reader, QByteArray bytes)
{
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::ReadOnly | QIODevice::Text); // as the files are opened
    return reader(buffer);
}

Declared read(const QByteArray &bytes)
{
    const QString section = readBy(InfFile::manufacturer, bytes);
    const auto models = [&](QIODevice &inf) { return InfFile::models(inf, section); };
    return {readBy(InfFile::version, bytes), section, readBy(models, bytes)};
}

bool isOneLine(const QString &text)
{
    return !text.contains(QLatin1Char('\n')) && !text.contains(QLatin1Char('\r'));
}

void checkDeclared(const Declared &declared)
{
    const auto &[version, section, models] = declared;
    require(isOneLine(version) && version == version.trimmed(), "a version is one line without blanks around it");
    require(isOneLine(section) && !section.contains(QLatin1Char(',')), "a section's name ends before the comma");
    for (const QString &model : models) {
        require(isOneLine(model) && !model.isEmpty(), "a model's name is a text of one line");
        require(!model.contains(QLatin1Char('"')), "a model's name ends before the quote");
    }
}

QByteArray withLineFeeds(QByteArray bytes)
{
    return bytes.replace("\r", "");
}

QByteArray asUtf16(const QString &text)
{
    const std::unique_ptr<QTextEncoder> encoder(QTextCodec::codecForName("UTF-16LE")->makeEncoder());
    return encoder->fromUnicode(text); // begins with a byte order mark
}

/// The same file with other line ends and, where it is a text in the code page, in the other encoding.
void checkForms(const QByteArray &bytes, QTextCodec *codePage)
{
    const QByteArray unixLines = withLineFeeds(bytes);
    const Declared declared = read(unixLines);
    checkDeclared(declared);
    const QString text = codePage->toUnicode(unixLines);
    // In front, UTF-16's mark and a NUL are the mark of UTF-32.
    if (codePage->fromUnicode(text) != unixLines || text.startsWith(QChar(0)))
        return;
    const QString windowsText = QString(text).replace(QLatin1Char('\n'), QLatin1String("\r\n"));
    require(read(codePage->fromUnicode(windowsText)) == declared, "the line ends do not matter");
    require(read(asUtf16(text)) == declared, "UTF-16 says the same");
    require(read(asUtf16(windowsText)) == declared, "UTF-16 with other line ends says the same");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray bytes = bytesOf(data, size);
    underEachCodePage([&](QTextCodec *codePage) {
        checkDeclared(read(bytes));
        checkForms(bytes, codePage);
    });
    return 0;
}
