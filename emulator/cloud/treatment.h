#pragma once

#include <QString>

struct CloudServiceOptions;

/// How one job is treated, from its submission to its last result.
struct Treatment
{
    int submissionStatus = 200; ///< HTTP status; from 300 on the job is refused
    int submissionDelayMs = 0;
    bool submissionIsCut = false; ///< the connection breaks in the middle of the answer
    int pollsBeforeFinal = 0;
    QString finalStatus = QStringLiteral("打印成功");
    bool bareText = false;  ///< "data" of the final answer is a bare text
    int resultStatus = 200; ///< HTTP status of the final answer
    bool resultIsCut = false;
    bool resultIsInvalid = false; ///< the final answer is an array
};

/// The treatment that the options ask for, as changed by the fault. An empty or unknown one changes nothing.
Treatment treatmentFor(const CloudServiceOptions &options, const QString &fault);
