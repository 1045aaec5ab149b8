#pragma once

class QCoreApplication;

// Called by both programs when they start.

/// Before the application object is built.
void enableHighDpi();

/// Sends all messages to the diagnostic log, first of all the program's arguments.
void startLog();

/// Translates Qt's own texts into Chinese. Without the file they stay English.
void installTranslation(QCoreApplication &application);
