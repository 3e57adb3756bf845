#pragma once

#include "known_settings.h"
#include "sim/pty_host.h"
#include "sim/virtual_charger.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>

// zunctl and the window against virtual chargers on pseudo-terminals.
namespace e2e {

struct Sim {
    zun::sim::VirtualCharger charger;
    zun::sim::PtyHost host{charger};
    explicit Sim(quint16 model = 3120, bool silent = false) {
        charger.setModelCode(model);
        zun::sim::Faults faults;
        faults.silent = silent;
        charger.setFaults(faults);
        host.setPacing(false);
        QString error;
        if (!host.start(&error)) {
            qFatal("pty: %s", qPrintable(error));
        }
    }
    QString device() const { return host.devicePath(); }
    // The write frames the charger received (commands 51 to 55), in order.
    QStringList writes() const {
        return charger.requests().filter(QRegularExpression(QStringLiteral("^.{4}5[1-5]")));
    }
};

struct Run {
    int code = -1;
    QString out;
    QString err;
    QString all() const { return QStringLiteral("exit %1\n%2\n%3").arg(code).arg(out, err); }
};

// A process killed at the time limit, or crashed, gives code -1.
inline Run run(const QString& program, const QStringList& arguments, int timeoutMs = 120000) {
    QProcess p;
    p.start(program, arguments);
    const bool done = p.waitForFinished(timeoutMs) && p.exitStatus() == QProcess::NormalExit;
    return {done ? p.exitCode() : -1, QString::fromUtf8(p.readAllStandardOutput()),
            QString::fromUtf8(p.readAllStandardError())};
}

inline Run zunctl(const QStringList& arguments, int timeoutMs = 120000) {
    return run(QStringLiteral(ZUNCTL_PATH), arguments, timeoutMs);
}

// Writes a whole file; the test cannot go on without it.
inline QString writeFile(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate) || f.write(bytes) != bytes.size()) {
        qFatal("cannot write %s", qPrintable(path));
    }
    return path;
}

inline QByteArray readFile(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("cannot read " + path.toUtf8());
}

inline QStringList lines(const QString& text) {
    return text.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

// What `write FILE --dry-run` prints for the known model.
inline QStringList dryRun(const QString& file, const QStringList& extra = {}) {
    return lines(
        zunctl(QStringList{"write", file, "--dry-run", "--model", known::kModel} + extra).out);
}

}  // namespace e2e
