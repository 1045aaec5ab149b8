#pragma once

/// From now on the calling thread, and what it starts, run on the processor that it is on at the moment. For threads
/// that hand work to and fro in small pieces: between processors each wake-up takes longer than the piece. Does nothing
/// where a thread's processors are not passed on to the threads that it starts, as on Windows.
void stayOnThisProcessor();
