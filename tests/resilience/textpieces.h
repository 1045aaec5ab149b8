#pragma once

#include <QString>

/// The pieces of the program's log (lines) or of a journal (records).
struct TextPieces
{
    int whole = 0;
    QString broken;     ///< the first piece that is ended but not of the described form; empty when there is none
    QString unfinished; ///< what stands behind the last end
};

TextPieces logLines(const QString &text);
TextPieces journalRecords(const QString &text);

/// A file that grows, read bit by bit.
class GrowingFile
{
public:
    explicit GrowingFile(const QString &fileName)
        : m_fileName(fileName)
    {
    }

    /// What has been appended since the last call; empty when there is no file.
    QString news();

private:
    QString m_fileName;
    qint64 m_read = 0; // bytes
};
