#pragma once

#include <QString>

/// Thrown by a step that failed. The message is for the user.
struct Failure
{
    QString message;
};

inline void require(bool succeeded, const QString &message)
{
    if (!succeeded)
        throw Failure{message};
}
