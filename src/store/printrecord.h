#pragma once

#include <QString>

/// Names a job on its way to the cloud and back: "DOCUMENT;SUBMISSION TIME". A job that the spooler does not report has
/// an empty label.
struct JobLabel
{
    QString document;
    QString submissionTime;

    QString text() const;
};

/// A job that has ended.
struct JobRecord
{
    QString cloudSn; ///< of the printer; the key of the journal
    QString label;
    int size = 0; ///< bytes
    QString time; ///< local, HH:mm:ss

    bool isTestPage() const;

    /// The record for the journal: "LABEL;STATUS;SIZE;TIME".
    QString text(const QString &status) const;
};

/// A record as it is shown. The fields are separated by ";" and identified by position: after an empty label the others
/// move up, and missing ones are empty.
struct PrintRecord
{
    QString document;
    QString submissionTime;
    QString status;
    QString size;
    QString processingTime;

    static PrintRecord parse(const QString &text);
};
