#include "cli/invocation.h"

#include <QCommandLineParser>
#include <QRegularExpression>
#include <QSet>

namespace zun::cli {

namespace {

struct CommandRule {
    const char* name;
    int files;             // positional arguments after the command
    QSet<QString> allows;  // options besides the global ones
    bool json;             // --json means something
    bool talks;            // talks to a charger (port options apply)
};

const std::vector<CommandRule>& Commands() {
    static const std::vector<CommandRule> rules = {
        {"ports", 0, {}, true, true},
        {"identify", 0, {}, true, true},
        {"settings", 0, {"o"}, true, true},
        {"write", 1, {"profile", "pages", "dry-run", "model"}, false, true},
        {"verify", 1, {"profile"}, true, true},
        {"runtime", 0, {}, true, true},
        {"live", 0, {}, true, true},
        {"log", 0, {"o", "desc", "from", "to"}, true, true},
        {"chart", 1, {"o", "size"}, false, false},
        {"monitor", 0, {"o", "interval", "count"}, true, true},
    };
    return rules;
}

}  // namespace

QString UsageText() {
    return QStringLiteral(
        "Usage: zunctl [--port PORT] [--trace] [--json] [--fast] [--accept-damaged] COMMAND\n"
        "\n"
        "Commands:\n"
        "  ports                       list ComN and its device; mark the one that answers\n"
        "                              the probe\n"
        "  identify                    model code, rating text, nominal voltage\n"
        "  settings [-o FILE]          read both stored profiles; print them or write a\n"
        "                              settings file\n"
        "  write FILE [--profile 1|2] [--pages LIST] [--dry-run [--model CODE]]\n"
        "                              check the profiles as the window would and write the\n"
        "                              pages of LIST (general,protection,stages,next,any;\n"
        "                              default all five) in the write-all order,\n"
        "                              stopping at the first page not acknowledged; the\n"
        "                              any-stage page goes as the file has it; --dry-run prints\n"
        "                              the frames instead (one a line); --model CODE makes the\n"
        "                              dry run without a charger\n"
        "  verify FILE [--profile 1|2]\n"
        "                              read the charger and list every field that differs\n"
        "  runtime                     the run-time text\n"
        "  live                        the three live-reading lines\n"
        "  log -o FILE.csv [--desc TEXT] [--from N] [--to N]\n"
        "                              download the data log (progress on stderr) and save it\n"
        "                              as a ZUN-Log CSV file\n"
        "  chart FILE.csv -o OUT.png|OUT.pdf [--size WxH]\n"
        "                              draw the log chart of a saved log\n"
        "  monitor [--interval S] [--count N] [-o FILE.csv]\n"
        "                              the live readings every S seconds (1 to 3600,\n"
        "                              default 5), one line each (JSON lines with --json),\n"
        "                              N readings or until Ctrl-C; -o records them to a\n"
        "                              ZUN-Monitor CSV file, line by line\n"
        "\n"
        "Options:\n"
        "  --port PORT           the charger's port: a device path, COMn, or ComN as ports\n"
        "                        numbers it; without it the charger search picks the port\n"
        "  --device DEVICE       number this device first (repeatable): Com1, Com2, ... in\n"
        "                        the order given, then the system's serial devices\n"
        "  --only-given-ports    leave the system's serial devices out of the numbering\n"
        "  --wait S              wait up to S seconds for the port and the charger to\n"
        "                        appear\n"
        "  --trace               print every frame sent and received, with milliseconds,\n"
        "                        on stderr\n"
        "  --json                machine-readable output (ports, identify, settings, verify,\n"
        "                        runtime, live, log: with the missing and damaged records)\n"
        "  --fast                end each exchange as soon as a complete, sound reply is in\n"
        "                        (the frames sent are the same; a reply that does not\n"
        "                        complete falls back to the 20-poll rule)\n"
        "  --accept-damaged      use replies that fail the check and keep exit 0 for a log\n"
        "                        with missing or damaged records (they are still listed)\n"
        "  -h, --help            this text\n"
        "  --version             the version and the commit it was built from\n"
        "\n"
        "Exit codes: 0 done; 1 the charger did not acknowledge or answer, or the line did\n"
        "not fall quiet; 2 usage, or a file that cannot be read or written or is not what\n"
        "it should be; 3 no charger found; 4 verify found fields that differ; 5 incomplete\n"
        "or damaged data (a reply failed the check, or log records are missing or damaged:\n"
        "listed on stderr; what came is saved).\n");
}

namespace {

// The command and its files; nullptr with a message when the command line names none.
const CommandRule* findCommand(const QStringList& positional, Invocation& inv, QString* message) {
    inv.command = positional.first();
    inv.arguments = positional.mid(1);
    const CommandRule* rule = nullptr;
    for (const CommandRule& s : Commands()) {
        if (inv.command == QLatin1String(s.name)) {
            rule = &s;
        }
    }
    if (!rule) {
        *message = QStringLiteral("\"%1\" is not a command").arg(inv.command);
        return nullptr;
    }
    if (inv.arguments.size() != rule->files) {
        *message = rule->files == 0 ? QStringLiteral("%1 takes no file").arg(inv.command)
                                    : QStringLiteral("%1 needs one file").arg(inv.command);
        return nullptr;
    }
    return rule;
}

// Options that mean nothing for the command are refused rather than ignored.
bool optionsFit(const QCommandLineParser& parser, const CommandRule& rule, const QString& command,
                QString* message) {
    QSet<QString> allowed = rule.allows;
    if (rule.talks) {
        allowed << QStringLiteral("device") << QStringLiteral("only-given-ports")
                << QStringLiteral("trace") << QStringLiteral("fast")
                << QStringLiteral("accept-damaged") << QStringLiteral("wait");
        if (command != QLatin1String("ports")) {
            allowed << QStringLiteral("port");
        }
    }
    if (rule.json) {
        allowed << QStringLiteral("json");
    }
    for (const QString& name : parser.optionNames()) {
        const QString canonical = name == QLatin1String("output") ? QStringLiteral("o") : name;
        if (!allowed.contains(canonical)) {
            *message = QStringLiteral("%1 does not take --%2").arg(command, name);
            return false;
        }
    }
    return true;
}

// The options' values as given; the checks come after.
bool readValues(const QCommandLineParser& parser, Invocation& inv, QString* message) {
    const QStringList ports = parser.values(QStringLiteral("port"));
    if (ports.size() > 1) {
        *message = QStringLiteral("--port names one port; --device numbers several");
        return false;
    }
    inv.port.port = ports.value(0);
    inv.port.devices = parser.values(QStringLiteral("device"));
    inv.port.systemDevices = !parser.isSet(QStringLiteral("only-given-ports"));
    inv.port.trace = parser.isSet(QStringLiteral("trace"));
    inv.json = parser.isSet(QStringLiteral("json"));
    inv.port.fast = parser.isSet(QStringLiteral("fast"));
    inv.port.acceptDamaged = parser.isSet(QStringLiteral("accept-damaged"));
    inv.output = parser.value(QStringLiteral("o"));
    inv.dryRun = parser.isSet(QStringLiteral("dry-run"));
    inv.model = parser.value(QStringLiteral("model"));
    inv.description = parser.value(QStringLiteral("desc"));
    inv.from = parser.value(QStringLiteral("from"));
    inv.to = parser.value(QStringLiteral("to"));
    return true;
}

// A whole number from low to high for the option, when it is given.
bool wholeNumber(const QCommandLineParser& parser, const QString& name, int low, int high,
                 int* value, QString* message) {
    if (!parser.isSet(name)) {
        return true;
    }
    bool ok = false;
    const int n = parser.value(name).toInt(&ok);
    if (!ok || n < low || n > high) {
        *message =
            QStringLiteral("--%1 wants a whole number from %2 to %3").arg(name).arg(low).arg(high);
        return false;
    }
    *value = n;
    return true;
}

// The values that must have a form: profile, pages, model, record range, chart size.
bool valuesFit(const QCommandLineParser& parser, Invocation& inv, QString* message) {
    if (parser.isSet(QStringLiteral("profile"))) {
        const QString p = parser.value(QStringLiteral("profile"));
        if (p != QLatin1String("1") && p != QLatin1String("2")) {
            *message = QStringLiteral("--profile is 1 or 2, not \"%1\"").arg(p);
            return false;
        }
        inv.profile = p.toInt() - 1;
    }
    if (parser.isSet(QStringLiteral("pages")) &&
        !profile::ParsePages(parser.value(QStringLiteral("pages")), inv.pages, message)) {
        return false;
    }
    if (!inv.model.isEmpty()) {
        bool ok = false;
        const int code = inv.model.toInt(&ok);
        if (!inv.dryRun || !ok || code < 0 || code > 0xFFFF) {
            *message = inv.dryRun ? QStringLiteral("--model wants a model code such as 3110")
                                  : QStringLiteral("--model goes with --dry-run only");
            return false;
        }
        inv.model = QString::number(code);
    }
    for (const QString& name : {QStringLiteral("from"), QStringLiteral("to")}) {
        if (parser.isSet(name)) {
            bool ok = false;
            const int n = parser.value(name).toInt(&ok);
            if (!ok || n < 1) {
                *message = QStringLiteral("--%1 wants a record number from 1").arg(name);
                return false;
            }
        }
    }
    if (parser.isSet(QStringLiteral("size"))) {
        static const QRegularExpression wxh(QStringLiteral("^(\\d{2,5})x(\\d{2,5})$"));
        const QRegularExpressionMatch m = wxh.match(parser.value(QStringLiteral("size")));
        const int w = m.captured(1).toInt();
        const int h = m.captured(2).toInt();
        if (!m.hasMatch() || w < 200 || h < 150 || w > 10000 || h > 10000) {
            *message = QStringLiteral(
                "--size wants WIDTHxHEIGHT in pixels, 200x150 to "
                "10000x10000");
            return false;
        }
        inv.chartSize = QSize(w, h);
    }
    if (!wholeNumber(parser, QStringLiteral("interval"), 1, 3600, &inv.intervalSeconds, message) ||
        !wholeNumber(parser, QStringLiteral("count"), 1, 1000000000, &inv.count, message) ||
        !wholeNumber(parser, QStringLiteral("wait"), 0, 86400, &inv.port.waitSeconds, message)) {
        return false;
    }
    const bool needsOutput =
        inv.command == QLatin1String("log") || inv.command == QLatin1String("chart");
    if (needsOutput && inv.output.isEmpty()) {
        *message = QStringLiteral("%1 needs -o FILE").arg(inv.command);
        return false;
    }
    if (parser.isSet(QStringLiteral("o")) && inv.output.isEmpty()) {
        *message = QStringLiteral("-o needs a file name");
        return false;
    }
    return true;
}

}  // namespace

int ParseCommandLine(const QStringList& arguments, Invocation& inv, QString* message,
                     bool* helpShown) {
    *helpShown = false;
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QList<QCommandLineOption> options = {
        {QStringLiteral("port"), QString(), QStringLiteral("PORT")},
        {QStringLiteral("device"), QString(), QStringLiteral("DEVICE")},
        {QStringLiteral("only-given-ports"), QString()},
        {QStringLiteral("trace"), QString()},
        {QStringLiteral("json"), QString()},
        {QStringLiteral("fast"), QString()},
        {QStringLiteral("accept-damaged"), QString()},
        {{QStringLiteral("o"), QStringLiteral("output")}, QString(), QStringLiteral("FILE")},
        {QStringLiteral("profile"), QString(), QStringLiteral("N")},
        {QStringLiteral("pages"), QString(), QStringLiteral("LIST")},
        {QStringLiteral("dry-run"), QString()},
        {QStringLiteral("model"), QString(), QStringLiteral("CODE")},
        {QStringLiteral("desc"), QString(), QStringLiteral("TEXT")},
        {QStringLiteral("from"), QString(), QStringLiteral("N")},
        {QStringLiteral("to"), QString(), QStringLiteral("N")},
        {QStringLiteral("size"), QString(), QStringLiteral("WxH")},
        {QStringLiteral("interval"), QString(), QStringLiteral("S")},
        {QStringLiteral("count"), QString(), QStringLiteral("N")},
        {QStringLiteral("wait"), QString(), QStringLiteral("S")},
        {{QStringLiteral("h"), QStringLiteral("help")}, QString()},
    };
    parser.addOptions(options);
    if (!parser.parse(QStringList{QStringLiteral("zunctl")} + arguments)) {
        *message = parser.errorText();
        return kExitUsage;
    }
    if (parser.isSet(QStringLiteral("help"))) {
        *helpShown = true;
        return kExitDone;
    }
    const QStringList positional = parser.positionalArguments();
    if (positional.isEmpty()) {
        *message = QStringLiteral("no command given");
        return kExitUsage;
    }
    const CommandRule* rule = findCommand(positional, inv, message);
    if (rule == nullptr || !optionsFit(parser, *rule, inv.command, message) ||
        !readValues(parser, inv, message) || !valuesFit(parser, inv, message)) {
        return kExitUsage;
    }
    return kExitDone;
}

}  // namespace zun::cli
