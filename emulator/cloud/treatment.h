#pragma once

#include <QString>

#include <optional>

struct CloudServiceOptions;

/// How one job is treated, from its submission to its last result.
struct Treatment
{
    int submissionStatus = 200; ///< HTTP status; from 300 on the job is refused
    int submissionDelayMs = 0;
    bool submissionIsCut = false; ///< the connection breaks in the middle of the answer
    int pollsBeforeFinal = 0;
    QString finalStatus;
    bool bareText = false;  ///< the final status is the whole of "data"
    int resultStatus = 200; ///< HTTP status of the final answer
    bool resultIsCut = false;
    bool resultIsInvalid = false; ///< the final answer is an array
};

/// The treatment that the options ask for, as the fate changes it; no fate has the empty name. Nothing for an unknown
/// one.
std::optional<Treatment> treatmentFor(const CloudServiceOptions &options, const QString &fate);
