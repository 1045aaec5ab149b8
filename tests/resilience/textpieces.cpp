#include "tests/resilience/textpieces.h"

#include <QFile>
#include <QRegularExpression>
#include <QStringList>

namespace {

TextPieces cut(const QString &text, const QString &end, const QRegularExpression &form)
{
    QStringList all = text.split(end);
    TextPieces pieces;
    pieces.unfinished = all.takeLast();
    for (const QString &piece : qAsConst(all)) {
        if (form.match(piece).hasMatch())
            ++pieces.whole;
        else if (pieces.broken.isEmpty())
            pieces.broken = piece.isEmpty() ? "an empty piece" : piece;
    }
    return pieces;
}

} // namespace

TextPieces logLines(const QString &text)
{
    // None begins inside another one.
    static const QString start = R"(\[\d{4}-\d\d-\d\d \d\d:\d\d:\d\d \d{3}\] (Debug|Warning|Critical|Info): )";
    static const QRegularExpression line('^' + start + "((?!" + start + ").)*$",
                                         QRegularExpression::DotMatchesEverythingOption);
    return cut(text, "\r\n", line);
}

TextPieces journalRecords(const QString &text)
{
    // Document and submission time are both missing when the spooler had ended the job before the relay began.
    static const QRegularExpression record("^([^;]+;\\d\\d+:\\d\\d:\\d\\d)?;打印(成功|失败:[^;]+);\\d+;"
                                           "\\d\\d:\\d\\d:\\d\\d$");
    return cut(text, "!+!", record);
}

QString GrowingFile::news()
{
    QFile file(m_fileName);
    if (!file.open(QIODevice::ReadOnly) || !file.seek(m_read))
        return QString();
    const QByteArray bytes = file.readAll();
    m_read += bytes.size();
    return QString::fromLocal8Bit(bytes);
}
