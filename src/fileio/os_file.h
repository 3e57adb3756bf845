#pragma once

#include <QFileDevice>

#include <cstdio>

// The few calls on an open file that Qt does not offer. They differ between Windows and the
// rest, so they live here and the callers stay free of system headers.
namespace zun::fileio {

// Asks the system to put what has been written to the file on the disk, so that a power cut
// loses nothing already written. A pipe or a terminal has no disk and counts as synced, and so
// does every file where the system has no such call (the data then waits in its cache).
// Windows uses _commit on the file's C runtime descriptor.
bool SyncToDisk(QFileDevice& file);

// Whether the stream goes to a terminal (where a progress bar may redraw itself) rather than a
// file or a pipe.
bool StreamIsTerminal(std::FILE* stream);

}  // namespace zun::fileio
