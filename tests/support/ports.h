#pragma once

#include <QtGlobal>

/// Whether somebody listens on a TCP port of 127.0.0.1. It only looks: a connection would be a print job.
bool isListening(quint16 port);
