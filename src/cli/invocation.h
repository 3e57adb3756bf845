#pragma once

#include "cli/charger_connection.h"
#include "profile/profile_pages.h"

#include <QSize>
#include <QString>
#include <QStringList>

#include <cstdio>
#include <vector>

namespace zun::cli {

// One run of zunctl, as the command line gave it.
struct Invocation {
    PortOptions port;
    bool json = false;
    QString command;
    QStringList arguments;  // positional arguments after the command
    QString output;         // -o
    int profile = -1;       // --profile 1|2 as 0|1; -1 for both
    std::vector<profile::Page> pages = profile::AllPages();
    bool dryRun = false;
    QString model;  // --model: dry run without a charger
    QString description;
    QString from;
    QString to;
    QSize chartSize{1920, 1080};
    int intervalSeconds = 5;  // monitor --interval
    int count = 0;            // monitor --count; 0: until interrupted
};

// Parses argv (without the program name). Returns kExitDone and fills the invocation, or
// kExitUsage with a message; --help only sets *helpShown.
int ParseCommandLine(const QStringList& arguments, Invocation& invocation, QString* message,
                     bool* helpShown);

// The usage text printed by --help.
QString UsageText();

// Runs the command; messages go to err, results to out.
int RunCommand(const Invocation& invocation, FILE* out, FILE* err);

}  // namespace zun::cli
