#pragma once

#include "cloud/cloudservice.h"

/// The received jobs on disk: FOLDER/NNNN.bin holds a job's decoded bytes, FOLDER/jobs.jsonl one JSON object a line.
namespace JobFiles {

/// The first number from `number` on that no file in `folder` has yet. An earlier run may have filled it.
int freeNumber(const QString &folder, int number);

/// Writes the job's bytes, then its line; whoever reads the line finds the file complete. Creates the folder. False
/// when something cannot be written.
bool store(const QString &folder, const ReceivedJob &job, const QByteArray &bytes);

} // namespace JobFiles
