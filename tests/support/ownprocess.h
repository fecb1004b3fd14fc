// What this process itself uses: to see that nothing grows.
#pragma once

#include <QtGlobal>

namespace OwnProcess {

// Bytes in use on the heap. Unlike residentMemory() the same at every run.
qint64 heap();
// Bytes in memory. The sanitizers keep what was freed, so under them this is heap().
qint64 residentMemory();
int openFiles();
int threads();
// Nanoseconds the calling thread was ready to run while the machine did something else.
qint64 waitedForProcessor();

} // namespace OwnProcess
