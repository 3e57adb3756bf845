#pragma once

#include <QByteArray>
#include <QString>

namespace zun::fileio {

struct SaveOutcome {
    bool ok = false;
    QString reason;  // why nothing was written, in words; empty when ok
};

// Replaces the file at path by bytes through QSaveFile, all or nothing: on any failure the old
// file stays as it was and no temporary file is left. A path that names something other than a
// regular file (a folder, a device) is refused before anything is created, since the rename
// would otherwise put a file in its place.
SaveOutcome SaveWholeFile(const QString& path, const QByteArray& bytes);

// The reason of a failed write in words, from the errno value the failing call left (0 when
// unknown) and, failing that, Qt's own text.
QString WriteFailureReason(const QString& path, int errnoValue, const QString& qtText);

}  // namespace zun::fileio
