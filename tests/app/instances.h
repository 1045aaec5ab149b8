#pragma once

#include "tests/support/world.h"

#include <QTest>

const QString program = "OrvoCloudManager";
constexpr int handOverLimit = 6000; // ms

/// Counts the lines that only a first instance goes on to write.
inline int windows(const World &folder)
{
    return folder.log().count("qt_zh_CN.qm");
}

/// Waits for a later start to end; its exit code, or -1.
inline int exitCodeOf(QProcess *process)
{
    const bool ended = process->state() == QProcess::NotRunning || process->waitForFinished(handOverLimit);
    return ended && process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1;
}

inline QProcess *startFirst(World &folder)
{
    QProcess *first = folder.start(program);
    if (!QTest::qWaitFor([&] { return windows(folder) == 1; }))
        qWarning("the first instance has no window");
    return first;
}
