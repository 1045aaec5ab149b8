#pragma once

class QCoreApplication;

// What both programs do at their start.

/// Before the application object is built.
void enableHighDpi();

/// From now on every message goes to the diagnostic log; begins with the program's arguments.
void startLog();

/// Qt's own texts in Chinese. Without the file they stay as they are.
void installTranslation(QCoreApplication &application);
