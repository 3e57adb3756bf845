#include "fileio/save_file.h"

#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <cstring>

namespace zun::fileio {

QString WriteFailureReason(const QString& path, int errnoValue, const QString& qtText) {
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) {
        return info.isDir() ? QStringLiteral("not a file: a folder has that name")
                            : QStringLiteral(
                                  "not a file: a device or other special file has "
                                  "that name");
    }
    // Fixed words for the causes a user can act on; strerror's text depends on the platform.
    switch (errnoValue) {
        case ENOSPC:
            return QStringLiteral("No space left on device");
#ifdef EDQUOT
        case EDQUOT:
            return QStringLiteral("Disk quota exceeded");
#endif
        case EFBIG:
            return QStringLiteral("File too large: the file size limit was reached");
        case EACCES:
        case EPERM:
            return QStringLiteral("Permission denied");
        case EROFS:
            return QStringLiteral("Read-only file system");
        case EISDIR:
            return QStringLiteral("not a file: a folder has that name");
        case ENOTDIR:
            return QStringLiteral("a part of the path is not a folder");
        case ENOENT:
            return QStringLiteral("No such file or directory");
        case 0:
            break;
        default:
            return QString::fromLocal8Bit(std::strerror(errnoValue));
    }
    return qtText.isEmpty() ? QStringLiteral("the file could not be written") : qtText;
}

SaveOutcome SaveWholeFile(const QString& path, const QByteArray& bytes) {
    SaveOutcome r;
    const QFileInfo info(path);
    if (info.exists() && !info.isFile()) {
        r.reason = WriteFailureReason(path, 0, QString());
        return r;
    }
    QSaveFile file(path);
    errno = 0;
    if (!file.open(QIODevice::WriteOnly)) {
        r.reason = WriteFailureReason(path, errno, file.errorString());
        return r;
    }
    // The flush is checked before the commit, and errno taken at once: later calls (the removal
    // of the temporary file) overwrite it.
    errno = 0;
    if (file.write(bytes) != bytes.size() || !file.flush()) {
        const int cause = errno;
        const QString text = file.errorString();
        file.cancelWriting();
        r.reason = WriteFailureReason(path, cause, text);
        return r;
    }
    errno = 0;
    if (!file.commit()) {
        r.reason = WriteFailureReason(path, errno, file.errorString());
        return r;
    }
    r.ok = true;
    return r;
}

}  // namespace zun::fileio
