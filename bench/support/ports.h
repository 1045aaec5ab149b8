#pragma once

#include <QtGlobal>

#include <functional>
#include <vector>

/// Ports of 127.0.0.1 that nobody listens on at the moment, no two the same.
std::vector<quint16> freePorts(int count);

/// Waits until somebody listens on a port of 127.0.0.1; only looks, for a connection would be a print job. False when
/// nobody does in good time.
bool awaitListener(quint16 port);

/// Waits until the condition holds; false when it does not in good time.
bool awaitStart(const std::function<bool()> &condition);
