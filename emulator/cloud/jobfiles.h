#pragma once

#include "emulator/cloud/cloudservice.h"

/// The received jobs on disk: FOLDER/NNNN.bin holds a job's decoded bytes, FOLDER/jobs.jsonl one JSON object per line.
namespace JobFiles {

/// The first number, starting at `number`, without a file in `folder`. An earlier run may have left some.
int freeNumber(const QString &folder, int number);

/// Writes the job's bytes, then its line, so a reader of the line finds the file complete. Creates the folder. False if
/// something cannot be written.
bool store(const QString &folder, const ReceivedJob &job, const QByteArray &bytes);

} // namespace JobFiles
