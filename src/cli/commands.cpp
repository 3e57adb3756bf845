#include "cli/invocation.h"

#include "cli/profile_check.h"
#include "datalog/live_reading.h"
#include "datalog/log_chart.h"
#include "datalog/log_csv.h"
#include "datalog/log_download.h"
#include "datalog/log_finish.h"
#include "datalog/log_table_model.h"
#include "datalog/monitor_file.h"
#include "datalog/run_time.h"
#include "fileio/os_file.h"
#include "link/codec.h"
#include "link/frames.h"
#include "link/model_table.h"
#include "link/reply_check.h"
#include "profile/settings_compare.h"
#include "profile/settings_file.h"
#include "profile/stage_layout.h"
#include "session/live_poller.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTimer>

#include <atomic>
#include <csignal>
#include <utility>

namespace zun::cli {

namespace {

// The settings reply up to the end of the last condition block.
constexpr int kFullSettingsChars = 1600;

void print(FILE* f, const QString& text) {
    const QByteArray bytes = text.toUtf8();
    fwrite(bytes.constData(), 1, size_t(bytes.size()), f);
    fputc('\n', f);
    fflush(f);
}

void printJson(FILE* f, const QJsonValue& value) {
    const QByteArray bytes = value.isArray()
                                 ? QJsonDocument(value.toArray()).toJson(QJsonDocument::Indented)
                                 : QJsonDocument(value.toObject()).toJson(QJsonDocument::Indented);
    fwrite(bytes.constData(), 1, size_t(bytes.size()), f);
    fflush(f);
}

int fail(FILE* err, int code, const QString& message) {
    print(err, QStringLiteral("zunctl: ") + message);
    return code;
}

std::vector<int> chosenProfiles(const Invocation& inv) {
    if (inv.profile >= 0) {
        return {inv.profile};
    }
    return {0, 1};
}

// Set by Ctrl-C while zunctl monitor runs: the reading under way ends and the file is complete.
std::atomic<bool> gInterrupted{false};

extern "C" void onInterrupt(int) {
    gInterrupted = true;
}

// Lets events run for ms milliseconds (the serial port needs them), ending early on Ctrl-C.
void pause(qint64 ms) {
    QElapsedTimer t;
    t.start();
    while (!gInterrupted && t.elapsed() < ms) {
        QEventLoop loop;
        QTimer::singleShot(int(std::min<qint64>(100, ms - t.elapsed())), &loop, &QEventLoop::quit);
        loop.exec();
    }
}

// A session connected to the charger, or an exit code with the message already shown.
int connect(const PortOptions& options, FILE* err,
            std::unique_ptr<session::ChargerSession>& session) {
    session = OpenSession(options, err);
    QString message;
    int code = Connect(*session, options, &message);
    // --wait: the adapter may still be on its way, or the charger still starting.
    QElapsedTimer waited;
    waited.start();
    while ((code == kExitNoCharger || code == kExitNoAnswer) &&
           waited.elapsed() + 1000 <= options.waitSeconds * 1000LL) {
        session->close();
        pause(1000);
        code = Connect(*session, options, &message);
    }
    if (code != kExitDone) {
        fail(err, code, message);
    }
    return code;
}

// The last reply failing the check: exit 5 with the reason, or a warning with --accept-damaged.
int checkReply(const session::ChargerSession& session, bool acceptDamaged, const char* what,
               FILE* err) {
    const QString problem =
        ReplyProblem(session.lastFrame(), session.lastReply(), session.lastOutcome());
    if (problem.isEmpty()) {
        return kExitDone;
    }
    const QString text =
        QStringLiteral("the %1 reply failed the check (%2)").arg(QLatin1String(what), problem);
    if (acceptDamaged) {
        print(err, QStringLiteral("zunctl: warning: ") + text);
        return kExitDone;
    }
    return fail(err, kExitDamaged, QStringLiteral("incomplete or damaged data: ") + text);
}

// The reason an exchange gave nothing, when it is the line's.
QString lineFailure(const session::ChargerSession& session) {
    return link::DescribeLineFailure(session.lastOutcome());
}

// Both stored profiles, or an exit code with the message already shown.
int readStoredSettings(session::ChargerSession& session, link::StoredSettings& profiles,
                       bool acceptDamaged, FILE* err) {
    link::StoredSettings decoded;
    const QString reply = session.readSettings(decoded);
    if (const QString failure = lineFailure(session); !failure.isEmpty()) {
        return fail(err, kExitNoAnswer, QStringLiteral("settings request: ") + failure);
    }
    if (reply.isEmpty()) {
        return fail(err, kExitNoAnswer,
                    QStringLiteral("the charger did not answer the settings "
                                   "request"));
    }
    if (const int code = checkReply(session, acceptDamaged, "settings", err)) {
        return code;
    }
    if (reply.size() < kFullSettingsChars) {
        return fail(err, kExitNoAnswer,
                    QStringLiteral("the settings reply was cut short (%1 of %2 hex characters)")
                        .arg(reply.size())
                        .arg(kFullSettingsChars));
    }
    profiles = decoded;
    return kExitDone;
}

int readSettingsArgument(const QString& path, profile::SettingsFile& settings, FILE* err) {
    const profile::SettingsReadResult r = profile::ReadSettingsFile(path);
    if (!r.ok) {
        return fail(err, kExitUsage, QStringLiteral("%1: %2").arg(path, r.error));
    }
    settings = r.settings;
    return kExitDone;
}

// ---- ports ----

int Ports(const Invocation& inv, FILE* out, FILE* err) {
    const link::PortList ports = PortsFor(inv.port);
    QJsonArray list;
    const auto session = OpenSession(inv.port, err);
    QString remedy;  // said once, however many ports it concerns
    for (int n : ports.numbers()) {
        const QString device = ports.deviceFor(n);
        const session::ProbeResult r = session->search({device}).front();
        session->close();
        if (remedy.isEmpty()) {
            remedy = r.refusal.remedy;
        }
        const bool charger = r.charger;
        const QString status = !r.opened                  ? r.openError
                               : r.charger                ? QStringLiteral("charger")
                               : !r.lineFailure.isEmpty() ? r.lineFailure
                               : r.answered ? QStringLiteral("answers, but not as the charger")
                                            : QStringLiteral("no answer");
        if (inv.json) {
            QJsonObject o;
            o.insert(QStringLiteral("port"), link::PortList::EntryText(n));
            o.insert(QStringLiteral("device"), device);
            o.insert(QStringLiteral("charger"), charger);
            o.insert(QStringLiteral("status"), status);
            list.append(o);
        } else {
            print(out, QStringLiteral("%1  %2  %3%4")
                           .arg(link::PortList::EntryText(n).leftJustified(5), device,
                                charger ? QStringLiteral("* ") : QString(), status));
        }
    }
    if (inv.json) {
        printJson(out, list);
    } else if (ports.numbers().isEmpty()) {
        print(err, QStringLiteral("zunctl: there are no serial ports"));
    }
    if (!remedy.isEmpty()) {
        print(err, QStringLiteral("zunctl: ") + remedy);
    }
    return kExitDone;
}

// ---- identify ----

int Identify(const Invocation& inv, FILE* out, FILE* err) {
    std::unique_ptr<session::ChargerSession> session;
    if (const int code = connect(inv.port, err, session)) {
        return code;
    }
    const link::ModelInfo info = link::ModelTable::RatingText(session->modelCode());
    const QString nominal =
        profile::NominalText(link::ModelTable::NominalPositionFor(session->modelCode()));
    if (inv.json) {
        QJsonObject o;
        o.insert(QStringLiteral("device"), session->device());
        o.insert(QStringLiteral("model"), session->modelCode());
        o.insert(QStringLiteral("rating"), info.rating);
        o.insert(QStringLiteral("nominalVoltageV"), nominal.isEmpty()
                                                        ? QJsonValue(QJsonValue::Null)
                                                        : QJsonValue(nominal.chopped(1).toInt()));
        o.insert(QStringLiteral("ratedCurrentA"), info.ratedCurrent);
        printJson(out, o);
    } else {
        print(out, QStringLiteral("device: %1").arg(session->device()));
        print(out, QStringLiteral("model: %1").arg(session->modelCode()));
        print(out, info.rating);
        print(out, QStringLiteral("nominal voltage: %1")
                       .arg(nominal.isEmpty() ? QStringLiteral("none") : nominal));
    }
    return kExitDone;
}

// ---- settings ----

void printProfile(FILE* out, const link::ProfileSlot& slot, int p) {
    auto line = [&](const QString& path, const QString& value) {
        print(out, QStringLiteral("%1 = %2").arg(
                       path, value.trimmed().isEmpty() ? QStringLiteral("null") : value));
    };
    for (int k = 0; k < 6; ++k) {
        line(profile::GeneralPath(p, k), slot.general[k]);
    }
    for (int k : {0, 1, 4}) {
        line(profile::ProtectionPath(p, k), slot.protection[k]);
    }
    line(profile::StageCountPath(p), slot.stages[0]);
    const int n = profile::StageCountOfText(slot.stages[0]);
    for (int i = 0; i < 2 * n; ++i) {
        line(profile::StagePath(p, i), slot.stages[i + 1]);
    }
    for (bool any : {false, true}) {
        for (int c = 0; c < n * profile::kSlotCount; ++c) {
            const QString& entry = any ? slot.anyCond[c] : slot.nextCond[c];
            const int type = entry.isEmpty() ? 0 : entry.at(0).digitValue();
            if (type > 0) {
                line(profile::CellPath(p, any, c, QString()),
                     QStringLiteral("%1 %2").arg(profile::UseName(type), entry.mid(1)));
            }
        }
    }
    for (int s = 0; s < n; ++s) {
        const QString t = slot.anyTarget[s];
        const float stage = link::TextToSingle(t) + 1.0f;
        // A stage cannot jump to itself: stage 1's 0 is the byte of "no target".
        line(profile::TargetPath(p, s),
             t.trimmed().isEmpty() || stage == float(s + 1) ? QString() : QString::number(stage));
    }
}

int Settings(const Invocation& inv, FILE* out, FILE* err) {
    std::unique_ptr<session::ChargerSession> session;
    if (const int code = connect(inv.port, err, session)) {
        return code;
    }
    profile::SettingsFile settings;
    settings.chargerModel = session->modelCode();
    if (const int code =
            readStoredSettings(*session, settings.profiles, inv.port.acceptDamaged, err)) {
        return code;
    }
    QStringList warnings;
    if (!inv.output.isEmpty()) {
        const profile::SettingsWriteResult w =
            profile::WriteSettingsFile(inv.output, settings, &warnings);
        if (!w.ok) {
            return fail(err, kExitUsage, w.error);
        }
    }
    if (inv.json) {
        const QByteArray bytes = profile::SettingsToJson(settings);
        fwrite(bytes.constData(), 1, size_t(bytes.size()), out);
        fflush(out);
    } else if (inv.output.isEmpty()) {
        for (int p = 0; p < 2; ++p) {
            printProfile(out, settings.profiles[p], p);
        }
    } else {
        print(out, QStringLiteral("both profiles of the charger (model %1) saved to %2")
                       .arg(settings.chargerModel, inv.output));
    }
    for (const QString& w : warnings) {
        print(err, QStringLiteral("zunctl: warning: ") + w);
    }
    return kExitDone;
}

// ---- write ----

QString replyText(const QString& reply) {
    return reply.isEmpty() ? QStringLiteral("no reply") : QStringLiteral("reply ") + reply;
}

// What the charger said to each frame of a page that was not acknowledged.
QString refusal(const session::PageResult& r) {
    const QString ack = session::ChargerSession::AckFor(r.page);
    const bool perStage = r.page == profile::Page::Next || r.page == profile::Page::Any;
    QStringList failed;
    for (int i = 0; i < r.replies.size(); ++i) {
        if (r.replies.at(i) != ack) {
            // The line's own failure ends the page at its last frame.
            const bool last = i + 1 == r.replies.size();
            const QString what =
                last && !r.lineFailure.isEmpty() ? r.lineFailure : replyText(r.replies.at(i));
            failed << (perStage ? QStringLiteral("stage %1: %2").arg(i + 1).arg(what) : what);
        }
    }
    return failed.join(QStringLiteral("; "));
}

// The frames of the chosen pages, profile by profile.
using WritePlan = std::vector<std::pair<int, std::vector<profile::PageFrames>>>;

// Prints every field of the chosen profiles that is wrong or only doubtful; true when one is
// wrong.
bool anyWrongField(const Invocation& inv, const profile::SettingsFile& settings,
                   const profile::ChargerContext& context, FILE* err) {
    bool refused = false;
    for (int p : chosenProfiles(inv)) {
        const ProfileCheck check = CheckProfile(settings.profiles[p], p, context);
        for (const FieldProblem& w : check.warnings) {
            print(err,
                  QStringLiteral("zunctl: warning: %1 = %2: %3").arg(w.path, w.value, w.reason));
        }
        for (const FieldProblem& w : check.wrong) {
            print(err, QStringLiteral("zunctl: %1 = %2: %3").arg(w.path, w.value, w.reason));
        }
        refused = refused || !check.ok();
    }
    return refused;
}

// Throws where a value does not fit its frame.
WritePlan planWrite(const Invocation& inv, const profile::SettingsFile& settings,
                    const profile::ChargerContext& context) {
    WritePlan plans;
    for (int p : chosenProfiles(inv)) {
        const profile::ProfilePages pages = profile::PagesFor(settings.profiles[p], p, context);
        plans.emplace_back(p, profile::PlanWrite(pages, inv.pages, !context.modelCode.isEmpty()));
    }
    return plans;
}

void printPlan(const WritePlan& plans, FILE* out) {
    for (const auto& [p, plan] : plans) {
        for (const profile::PageFrames& page : plan) {
            for (const QString& frame : page.frames) {
                print(out, frame);
            }
        }
    }
}

// Writes the pages in order; the first one the charger does not acknowledge ends the command.
int sendPlan(session::ChargerSession& session, const WritePlan& plans, FILE* out, FILE* err) {
    std::vector<session::PageWrite> writes;
    std::vector<int> profileOf;
    for (const auto& [p, plan] : plans) {
        for (const profile::PageFrames& page : plan) {
            const QStringList frames = page.frames;
            writes.push_back({page.page, [frames] { return std::optional<QStringList>(frames); }});
            profileOf.push_back(p);
        }
    }
    const std::vector<session::PageResult> results = session.writePages(writes);
    for (size_t i = 0; i < results.size(); ++i) {
        const session::PageResult& r = results[i];
        const QString name =
            QStringLiteral("profile %1 %2").arg(profileOf[i] + 1).arg(profile::PageName(r.page));
        if (r.outcome == session::PageOutcome::Acknowledged) {
            print(out, QStringLiteral("%1: acknowledged").arg(name));
        } else if (r.outcome == session::PageOutcome::Refused) {
            print(err, QStringLiteral("zunctl: %1: the charger did not acknowledge (%2)")
                           .arg(name, refusal(r)));
            return kExitNoAnswer;
        }
    }
    return kExitDone;
}

int Write(const Invocation& inv, FILE* out, FILE* err) {
    profile::SettingsFile settings;
    if (const int code = readSettingsArgument(inv.arguments.first(), settings, err)) {
        return code;
    }
    std::unique_ptr<session::ChargerSession> session;
    QString model = inv.model;
    if (model.isEmpty()) {
        if (const int code = connect(inv.port, err, session)) {
            return code;
        }
        model = session->modelCode();
    }
    const profile::ChargerContext context = profile::ContextForModel(model);
    if (anyWrongField(inv, settings, context, err)) {
        return fail(
            err, kExitUsage,
            QStringLiteral("%1: wrong fields; nothing was sent").arg(inv.arguments.first()));
    }
    WritePlan plans;
    try {
        plans = planWrite(inv, settings, context);
    } catch (const std::exception& e) {
        return fail(err, kExitUsage,
                    QStringLiteral("%1: a value does not fit its frame (%2); nothing was sent")
                        .arg(inv.arguments.first(), QString::fromLatin1(e.what())));
    }
    if (inv.dryRun) {
        printPlan(plans, out);
        return kExitDone;
    }
    // --model goes with --dry-run only, so a real write always has its session.
    return sendPlan(*session, plans, out, err);
}

// ---- verify ----

int Verify(const Invocation& inv, FILE* out, FILE* err) {
    profile::SettingsFile settings;
    if (const int code = readSettingsArgument(inv.arguments.first(), settings, err)) {
        return code;
    }
    std::unique_ptr<session::ChargerSession> session;
    if (const int code = connect(inv.port, err, session)) {
        return code;
    }
    link::StoredSettings stored;
    if (const int code = readStoredSettings(*session, stored, inv.port.acceptDamaged, err)) {
        return code;
    }
    std::vector<profile::SettingsDifference> differences;
    for (int p : chosenProfiles(inv)) {
        const auto d = profile::CompareProfiles(settings.profiles[p], stored[p], p);
        differences.insert(differences.end(), d.begin(), d.end());
    }
    if (inv.json) {
        QJsonArray list;
        for (const auto& d : differences) {
            QJsonObject o;
            o.insert(QStringLiteral("field"), d.path);
            o.insert(QStringLiteral("file"), d.wantedValue);
            o.insert(QStringLiteral("charger"), d.chargerValue);
            list.append(o);
        }
        QJsonObject o;
        o.insert(QStringLiteral("identical"), differences.empty());
        o.insert(QStringLiteral("differences"), list);
        printJson(out, o);
    } else if (differences.empty()) {
        print(out,
              QStringLiteral("the charger holds the settings of %1").arg(inv.arguments.first()));
    } else {
        for (const auto& d : differences) {
            print(out, QStringLiteral("%1: file %2, charger %3")
                           .arg(d.path, d.wantedValue, d.chargerValue));
        }
    }
    return differences.empty() ? kExitDone : kExitDiffers;
}

// ---- runtime, live ----

int RunTime(const Invocation& inv, FILE* out, FILE* err) {
    std::unique_ptr<session::ChargerSession> session;
    if (const int code = connect(inv.port, err, session)) {
        return code;
    }
    const datalog::RunTimeReading r = session->runTime();
    if (const QString failure = lineFailure(*session); !failure.isEmpty()) {
        return fail(err, kExitNoAnswer, QStringLiteral("run-time request: ") + failure);
    }
    if (const int code = checkReply(*session, inv.port.acceptDamaged, "run-time", err)) {
        return code;
    }
    if (r.outcome != datalog::ReplyOutcome::Show) {
        return fail(err, kExitNoAnswer,
                    r.outcome == datalog::ReplyOutcome::Clear
                        ? QStringLiteral("the charger did not answer the run-time request")
                        : QStringLiteral("the run-time reply was cut short"));
    }
    if (inv.json) {
        QJsonObject o;
        o.insert(QStringLiteral("minutes"), r.minutes);
        o.insert(QStringLiteral("text"), r.text);
        printJson(out, o);
    } else {
        print(out, r.text);
    }
    return kExitDone;
}

int Live(const Invocation& inv, FILE* out, FILE* err) {
    std::unique_ptr<session::ChargerSession> session;
    if (const int code = connect(inv.port, err, session)) {
        return code;
    }
    const datalog::LiveReading r = session->liveReading();
    if (const QString failure = lineFailure(*session); !failure.isEmpty()) {
        return fail(err, kExitNoAnswer, QStringLiteral("live-reading request: ") + failure);
    }
    if (const int code = checkReply(*session, inv.port.acceptDamaged, "live-reading", err)) {
        return code;
    }
    if (r.outcome != datalog::ReplyOutcome::Show) {
        return fail(err, kExitNoAnswer,
                    r.outcome == datalog::ReplyOutcome::Clear
                        ? QStringLiteral("the charger did not answer the live-reading request")
                        : QStringLiteral("the live-reading reply was cut short"));
    }
    const QStringList lines = r.text.split(QStringLiteral("\r\n"));
    if (inv.json) {
        // Hundredths as the charger sends them, so the numbers are exact.
        auto value = [](float v) { return qRound(double(v) * 100.0) / 100.0; };
        QJsonObject o;
        const char* names[] = {"charger", "battery1", "battery2", "channel4"};
        for (int k = 0; k < 4; ++k) {
            o.insert(QStringLiteral("%1V").arg(QLatin1String(names[k])), value(r.V[k]));
            o.insert(QStringLiteral("%1A").arg(QLatin1String(names[k])), value(r.I[k]));
        }
        o.insert(QStringLiteral("lines"), QJsonArray::fromStringList(lines));
        printJson(out, o);
    } else {
        for (const QString& line : lines) {
            print(out, line);
        }
    }
    return kExitDone;
}

// ---- log ----

QJsonArray numbers(const std::vector<int>& list) {
    QJsonArray a;
    for (int n : list) {
        a.append(n);
    }
    return a;
}

// The records that did not come sound: on stderr, and with --json as data on stdout beside the
// summary.
void reportShortfall(const datalog::DownloadResult& result, const QString& shortfall,
                     const Invocation& inv, const QString& summary, FILE* out, FILE* err) {
    for (const QString& problem : result.problems) {
        print(err, QStringLiteral("zunctl: ") + problem);
    }
    if (!shortfall.isEmpty()) {
        print(err, QStringLiteral("zunctl: ") + shortfall);
    }
    if (inv.json) {
        QJsonObject o;
        o.insert(QStringLiteral("saved"),
                 summary.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(inv.output));
        o.insert(QStringLiteral("records"), int(result.rows.size()));
        o.insert(QStringLiteral("recordsAsked"), result.recordsAsked);
        o.insert(QStringLiteral("streamed"), result.streamed);
        o.insert(QStringLiteral("missing"), numbers(result.missing));
        o.insert(QStringLiteral("damaged"), numbers(result.damaged));
        o.insert(QStringLiteral("problems"), QJsonArray::fromStringList(result.problems));
        o.insert(QStringLiteral("lineFailure"), result.lineFailure.isEmpty()
                                                    ? QJsonValue(QJsonValue::Null)
                                                    : QJsonValue(result.lineFailure));
        printJson(out, o);
    } else if (!summary.isEmpty()) {
        print(out, summary);
    }
}

class ProgressBar {
public:
    explicit ProgressBar(FILE* err) : err_(err), tty_(fileio::StreamIsTerminal(err)) {}

    void setTotal(int total) { total_ = total; }
    void row() {
        ++rows_;
        show(false);
    }
    void finish() {
        show(true);
        if (tty_ && shown_) {
            fputc('\n', err_);
            fflush(err_);
        }
    }

private:
    void show(bool last) {
        if (total_ <= 0) {
            return;
        }
        const int percent = std::min(100, int(qint64(rows_) * 100 / total_));
        // A terminal gets a redrawn bar; a file or pipe one line per tenth.
        if (!last && (tty_ ? percent == percent_ : percent / 10 == percent_ / 10)) {
            return;
        }
        if (last && percent == percent_) {
            return;
        }
        percent_ = percent;
        shown_ = true;
        constexpr int kWidth = 40;
        const int filled = percent * kWidth / 100;
        const QString bar =
            QStringLiteral("[%1%2] %3% %4/%5 records")
                .arg(QString(filled, QLatin1Char('#')), QString(kWidth - filled, QLatin1Char('.')))
                .arg(percent, 3)
                .arg(rows_)
                .arg(total_);
        const QByteArray bytes = bar.toUtf8();
        if (tty_) {
            fputc('\r', err_);
            fwrite(bytes.constData(), 1, size_t(bytes.size()), err_);
        } else {
            fwrite(bytes.constData(), 1, size_t(bytes.size()), err_);
            fputc('\n', err_);
        }
        fflush(err_);
    }

    FILE* err_;
    bool tty_;
    int total_ = 0;
    int rows_ = 0;
    int percent_ = -1;
    bool shown_ = false;
};

int Log(const Invocation& inv, FILE* out, FILE* err) {
    std::unique_ptr<session::ChargerSession> session;
    if (const int code = connect(inv.port, err, session)) {
        return code;
    }
    ProgressBar bar(err);
    QObject::connect(
        session.get(), &session::ChargerSession::replied,
        [&bar](const QString& frame, const QString& reply) {
            if (frame == QLatin1String(link::kLogPointerRequest) && !reply.isEmpty()) {
                const datalog::LogPointer lp = datalog::ParsePointerReply(reply);
                bar.setTotal(datalog::ProgressTotal(lp.pointer, lp.wrapped));
            } else if (frame == QLatin1String(link::kRunTimeRequest) && !reply.isEmpty()) {
                // The streamed transfer expects one record per ten minutes of run time.
                bar.setTotal(datalog::DecodeRunTime(reply).minutes / 10);
            }
        });
    QObject::connect(session.get(), &session::ChargerSession::logRow,
                     [&bar](const datalog::LogRow&) { bar.row(); });
    const datalog::DownloadResult result = session->downloadLog();
    bar.finish();

    datalog::LogTableModel table;
    table.setRows(result.rows);
    const QString shortfall = datalog::MissingDamagedText(result);
    if (table.recordCount() == 0) {
        if (!result.lineFailure.isEmpty()) {
            return fail(err, kExitNoAnswer,
                        QStringLiteral("%1; nothing was saved").arg(result.lineFailure));
        }
        if (!result.sound()) {
            reportShortfall(result, shortfall, inv, QString(), out, err);
            return fail(err, kExitDamaged,
                        QStringLiteral("incomplete or damaged data: no records came; nothing "
                                       "was saved"));
        }
        return fail(err, kExitNoAnswer,
                    result.streamed && result.rows.empty()
                        ? QStringLiteral("the charger sent no log records; nothing was saved")
                        : QStringLiteral("the charger's log holds no records; nothing was "
                                         "saved"));
    }
    const datalog::LogFinish finish = datalog::FinishDownload(table, QDateTime::currentDateTime());
    datalog::CsvSaveInput input;
    input.labTime = finish.labTime;
    input.description = inv.description.trimmed();
    // A one-record log leaves the range boxes empty in the window; its record is the range.
    const QString firstRecord = table.cell(1, 0);
    const QString lastRecord = table.cell(table.gridRows() - 1, 0);
    input.rowFrom = inv.from.isEmpty() ? (finish.txtRow0.isEmpty() ? firstRecord : finish.txtRow0)
                                       : datalog::NormaliseRangeText(inv.from);
    input.rowTo = inv.to.isEmpty() ? (finish.txtRow1.isEmpty() ? lastRecord : finish.txtRow1)
                                   : datalog::NormaliseRangeText(inv.to);
    const datalog::FileResult saved = datalog::SaveLogCsv(inv.output, table, input);
    if (!saved.ok) {
        return fail(err, kExitUsage,
                    QStringLiteral("cannot write %1: %2").arg(inv.output, saved.error));
    }
    if (result.blocksSkipped > 0) {
        print(err, QStringLiteral("zunctl: warning: %1 of %2 block requests went unanswered")
                       .arg(result.blocksSkipped)
                       .arg(result.blocksRequested));
    }
    const QString summary = QStringLiteral("%1 records downloaded; records %2 to %3 saved to %4")
                                .arg(table.recordCount())
                                .arg(input.rowFrom, input.rowTo, inv.output);
    reportShortfall(result, shortfall, inv, summary, out, err);
    if (!result.lineFailure.isEmpty()) {
        return fail(err, kExitNoAnswer,
                    QStringLiteral("%1; what came is saved").arg(result.lineFailure));
    }
    if (!result.sound() && !inv.port.acceptDamaged) {
        return fail(err, kExitDamaged,
                    QStringLiteral("incomplete or damaged data: %1").arg(shortfall));
    }
    return kExitDone;
}

// ---- chart ----

int Chart(const Invocation& inv, FILE* out, FILE* err) {
    const QString source = inv.arguments.first();
    const datalog::CsvLoadResult loaded = datalog::LoadLogCsv(source);
    if (loaded.status == datalog::CsvLoadResult::Status::TypeError) {
        return fail(err, kExitUsage,
                    QStringLiteral("%1: not a ZUN-Log file (%2)")
                        .arg(source, QLatin1String(datalog::kFileTypeError)));
    }
    if (loaded.status != datalog::CsvLoadResult::Status::Loaded) {
        return fail(err, kExitUsage,
                    QStringLiteral("cannot read %1: %2").arg(source, loaded.error));
    }
    if (loaded.truncated) {
        print(err, QStringLiteral("zunctl: warning: %1 is larger than a data log can be (at most "
                                  "%2 records, %3 MiB are read): the chart shows its first %4 "
                                  "records")
                       .arg(source)
                       .arg(datalog::kMaxCsvDataLines)
                       .arg(datalog::kMaxCsvBytes / (1024 * 1024))
                       .arg(loaded.rows.size()));
    }
    datalog::LogTableModel table;
    table.setRows(loaded.rows);
    const datalog::LogFinish finish = datalog::FinishLoad(table, loaded.labTime);
    const datalog::ChartData data{table, finish.chargeAh, finish.labTime, loaded.description};
    const QString suffix = QFileInfo(inv.output).suffix().toLower();
    datalog::FileResult written;
    if (suffix == QLatin1String("png")) {
        written = datalog::SaveChartPng(data, inv.chartSize, inv.output);
    } else if (suffix == QLatin1String("pdf")) {
        written = datalog::ExportChartPdf(data, inv.output);
    } else {
        return fail(err, kExitUsage,
                    QStringLiteral("%1: the chart is written as .png or .pdf").arg(inv.output));
    }
    if (!written.ok) {
        return fail(err, kExitUsage,
                    QStringLiteral("cannot write %1: %2").arg(inv.output, written.error));
    }
    print(out, QStringLiteral("chart of %1 records written to %2")
                   .arg(table.recordCount())
                   .arg(inv.output));
    return kExitDone;
}

// ---- monitor ----

QJsonObject monitorJson(const datalog::MonitorSample& s) {
    // Hundredths as the charger sends them, so the numbers are exact.
    auto value = [](float v) { return qRound(double(v) * 100.0) / 100.0; };
    QJsonObject o;
    o.insert(QStringLiteral("time"), datalog::MonitorTimeText(s.msecs));
    o.insert(QStringLiteral("chargerV"), value(s.chargerV));
    o.insert(QStringLiteral("chargerA"), value(s.chargerA));
    o.insert(QStringLiteral("battery1V"), value(s.bat1V));
    o.insert(QStringLiteral("battery1A"), value(s.bat1A));
    o.insert(QStringLiteral("battery2V"), value(s.bat2V));
    o.insert(QStringLiteral("battery2A"), value(s.bat2A));
    o.insert(QStringLiteral("reconnected"), s.gapBefore);
    return o;
}

int Monitor(const Invocation& inv, FILE* out, FILE* err) {
    std::unique_ptr<session::ChargerSession> session;
    if (const int code = connect(inv.port, err, session)) {
        return code;
    }
    datalog::MonitorRecorder recorder;
    QString error;
    if (!inv.output.isEmpty() && !recorder.start(inv.output, &error)) {
        return fail(err, kExitUsage, QStringLiteral("cannot write %1: %2").arg(inv.output, error));
    }
    gInterrupted = false;
    const auto previousInt = std::signal(SIGINT, onInterrupt);
    const auto previousTerm = std::signal(SIGTERM, onInterrupt);
    int taken = 0;
    bool gap = false;
    int code = kExitDone;
    QElapsedTimer clock;
    clock.start();
    for (qint64 due = 0; !gInterrupted && (inv.count == 0 || taken < inv.count);
         due += inv.intervalSeconds * 1000LL) {
        pause(due - clock.elapsed());
        if (gInterrupted) {
            break;
        }
        const datalog::LiveReading r = session->liveReading();
        if (r.outcome != datalog::ReplyOutcome::Show) {
            // The line is gone or the charger silent: say so once, keep asking (the port is
            // opened again by the next request), and note the gap at the next reading.
            if (!gap) {
                const QString failure = lineFailure(*session);
                print(err, QStringLiteral("zunctl: no reading: %1")
                               .arg(failure.isEmpty() ? QStringLiteral("no answer") : failure));
            }
            gap = true;
            continue;
        }
        datalog::MonitorSample sample = session::SampleOf(r, QDateTime::currentMSecsSinceEpoch());
        sample.gapBefore = gap;
        gap = false;
        ++taken;
        if (inv.json) {
            const QByteArray line =
                QJsonDocument(monitorJson(sample)).toJson(QJsonDocument::Compact);
            print(out, QString::fromUtf8(line));
        } else {
            print(out, datalog::MonitorTimeText(sample.msecs) + QStringLiteral("  ") +
                           QString(r.text).replace(QStringLiteral("\r\n"), QStringLiteral("  ")) +
                           (sample.gapBefore ? QStringLiteral("  (reconnected)") : QString()));
        }
        if (recorder.recording() && !recorder.append(sample, &error)) {
            fail(err, kExitUsage,
                 QStringLiteral("recording stopped, %1 could not be written: %2")
                     .arg(inv.output, error));
            code = kExitUsage;
            break;
        }
    }
    std::signal(SIGINT, previousInt);
    std::signal(SIGTERM, previousTerm);
    recorder.stop();
    return code;
}

}  // namespace

int RunCommand(const Invocation& inv, FILE* out, FILE* err) {
    try {
        using Command = int (*)(const Invocation&, FILE*, FILE*);
        static const std::pair<const char*, Command> kCommands[] = {
            {"ports", Ports},   {"identify", Identify}, {"settings", Settings}, {"write", Write},
            {"verify", Verify}, {"runtime", RunTime},   {"live", Live},         {"log", Log},
            {"chart", Chart},   {"monitor", Monitor},
        };
        const QString& c = inv.command;
        for (const auto& [name, run] : kCommands) {
            if (c == QLatin1String(name)) {
                return run(inv, out, err);
            }
        }
        return fail(err, kExitUsage, QStringLiteral("\"%1\" is not a command").arg(c));
    } catch (const std::exception& e) {
        return fail(err, kExitUsage, QStringLiteral("unexpected error: %1").arg(e.what()));
    }
}

}  // namespace zun::cli
