#pragma once

/// Makes the pictures known and chooses the application's font. Once, after the application object and before the first
/// widget is built.
void prepareAppearance();
