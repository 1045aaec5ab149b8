#pragma once

#include <QString>

/// Thrown by a step that failed. The message is for the user.
struct Failure
{
    QString message;
};

/// Of work that the program's end interrupts.
const auto interrupted = QStringLiteral("工作被中断，再运行一次会接着完成");

inline void require(bool succeeded, const QString &message)
{
    if (!succeeded)
        throw Failure{message};
}
