#include "fileio/os_file.h"

#include <cerrno>

#ifdef Q_OS_WIN
#include <io.h>
#else
#include <unistd.h>
#endif

namespace zun::fileio {

bool SyncToDisk(QFileDevice& file) {
#ifdef Q_OS_UNIX
    // A pipe or a terminal cannot be synced (EINVAL), and has no disk to lose lines on.
    return ::fsync(file.handle()) == 0 || errno == EINVAL;
#elif defined(Q_OS_WIN)
    // The file's C runtime descriptor: _commit puts its data on the disk. A file that has none
    // is left to the system's cache rather than stopping a recording.
    const int fd = file.handle();
    return fd < 0 || _commit(fd) == 0;
#else
    (void)file;
    return true;
#endif
}

bool StreamIsTerminal(std::FILE* stream) {
#ifdef Q_OS_WIN
    return _isatty(_fileno(stream)) != 0;
#else
    return isatty(fileno(stream)) != 0;
#endif
}

}  // namespace zun::fileio
