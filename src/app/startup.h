#pragma once

#include "app/instanceguard.h"

#include <chrono>

class QtSingleApplication;

// What both programs do when they start.

/// Before the application object is built.
void enableHighDpi();

/// Sends all messages to the diagnostic log, first of all the program's arguments.
void startLog();

/// Lets the running instance show its window.
InstanceGuard::Delivery handOver(const QtSingleApplication &application);

/// For the only instance: listens to later ones, translates Qt's own texts into Chinese, and lets the threads end
/// before the program does, for which they have `endTimeout`. Without the translation's file the texts stay English.
void takeOver(QtSingleApplication &application, std::chrono::milliseconds endTimeout);
