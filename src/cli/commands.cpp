#include "cli/invocation.h"

#include "cli/profile_check.h"
#include "datalog/live_reading.h"
#include "datalog/log_chart.h"
#include "datalog/log_csv.h"
#include "datalog/log_download.h"
#include "datalog/log_finish.h"
#include "datalog/log_table_model.h"
#include "datalog/run_time.h"
#include "link/codec.h"
#include "link/frames.h"
#include "link/model_table.h"
#include "profile/settings_compare.h"
#include "profile/settings_file.h"
#include "profile/stage_layout.h"

#include <QDateTime>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <unistd.h>

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

int connect(ChargerSession& session, FILE* err) {
    QString message;
    const int code = session.connect(&message);
    if (code != kExitDone) {
        fail(err, code, message);
    }
    return code;
}

// Both stored profiles, or an exit code with the message already shown.
int readStoredSettings(ChargerSession& session, link::StoredSettings& profiles, FILE* err) {
    const QString reply = session.SendFrame(QLatin1String(link::kSettingsRequest));
    if (reply.isEmpty()) {
        return fail(err, kExitNoAnswer,
                    QStringLiteral("the charger did not answer the settings "
                                   "request"));
    }
    if (reply.size() < kFullSettingsChars) {
        return fail(err, kExitNoAnswer,
                    QStringLiteral("the settings reply was cut short (%1 of %2 hex characters)")
                        .arg(reply.size())
                        .arg(kFullSettingsChars));
    }
    profiles = link::StoredSettings{};
    link::DecodeStoredSettings(reply, profiles);
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
    ChargerSession session(inv.port, err);
    for (int n : ports.numbers()) {
        const QString device = ports.deviceFor(n);
        QString status;
        const bool charger = session.probe(device, &status);
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
    return kExitDone;
}

// ---- identify ----

int Identify(const Invocation& inv, FILE* out, FILE* err) {
    ChargerSession session(inv.port, err);
    if (const int code = connect(session, err)) {
        return code;
    }
    const link::ModelInfo info = link::ModelTable::RatingText(session.modelCode());
    const QString nominal = NominalText(link::ModelTable::NominalPositionFor(session.modelCode()));
    if (inv.json) {
        QJsonObject o;
        o.insert(QStringLiteral("device"), session.device());
        o.insert(QStringLiteral("model"), session.modelCode());
        o.insert(QStringLiteral("rating"), info.rating);
        o.insert(QStringLiteral("nominalVoltageV"), nominal.isEmpty()
                                                        ? QJsonValue(QJsonValue::Null)
                                                        : QJsonValue(nominal.chopped(1).toInt()));
        o.insert(QStringLiteral("ratedCurrentA"), info.ratedCurrent);
        printJson(out, o);
    } else {
        print(out, QStringLiteral("device: %1").arg(session.device()));
        print(out, QStringLiteral("model: %1").arg(session.modelCode()));
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
    ChargerSession session(inv.port, err);
    if (const int code = connect(session, err)) {
        return code;
    }
    profile::SettingsFile settings;
    settings.chargerModel = session.modelCode();
    if (const int code = readStoredSettings(session, settings.profiles, err)) {
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

QString ackFor(Page page) {
    switch (page) {
        case Page::General:
            return QLatin1String(link::kAckGeneral);
        case Page::Protection:
            return QLatin1String(link::kAckProtection);
        case Page::Stages:
            return QLatin1String(link::kAckStages);
        case Page::Next:
            return QLatin1String(link::kAckNextCond);
        case Page::Any:
            return QLatin1String(link::kAckAnyCond);
    }
    return QString();
}

// Sends one page as the window does: the condition pages wait 0.1 s before every send and try
// each stage three times. True when every frame was acknowledged.
bool sendPage(ChargerSession& session, const PageFrames& page, int p, FILE* out, FILE* err) {
    const QString ack = ackFor(page.page);
    const bool perStage = page.page == Page::Next || page.page == Page::Any;
    QStringList failed;
    for (int i = 0; i < page.frames.size(); ++i) {
        QString reply;
        for (int attempt = 0; attempt < (perStage ? 3 : 1); ++attempt) {
            if (perStage) {
                session.WaitSeconds(0.1f);
            }
            reply = session.SendFrame(page.frames.at(i));
            if (reply == ack) {
                break;
            }
        }
        if (reply != ack) {
            failed << (perStage ? QStringLiteral("stage %1: %2").arg(i + 1).arg(replyText(reply))
                                : replyText(reply));
        }
    }
    const QString name = QStringLiteral("profile %1 %2").arg(p + 1).arg(PageName(page.page));
    if (!failed.isEmpty()) {
        print(err, QStringLiteral("zunctl: %1: the charger did not acknowledge (%2)")
                       .arg(name, failed.join(QStringLiteral("; "))));
        return false;
    }
    print(out, QStringLiteral("%1: acknowledged").arg(name));
    return true;
}

int Write(const Invocation& inv, FILE* out, FILE* err) {
    profile::SettingsFile settings;
    if (const int code = readSettingsArgument(inv.arguments.first(), settings, err)) {
        return code;
    }
    ChargerSession session(inv.port, err);
    QString model = inv.model;
    if (model.isEmpty()) {
        if (const int code = connect(session, err)) {
            return code;
        }
        model = session.modelCode();
    }
    const ChargerContext context = ContextForModel(model);

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
    if (refused) {
        return fail(
            err, kExitUsage,
            QStringLiteral("%1: wrong fields; nothing was sent").arg(inv.arguments.first()));
    }

    std::vector<std::pair<int, std::vector<PageFrames>>> plans;
    try {
        for (int p : chosenProfiles(inv)) {
            const ProfilePages pages = PagesFor(settings.profiles[p], p, context);
            plans.emplace_back(p, PlanWrite(pages, inv.pages, !context.modelCode.isEmpty()));
        }
    } catch (const std::exception& e) {
        return fail(err, kExitUsage,
                    QStringLiteral("%1: a value does not fit its frame (%2); nothing was sent")
                        .arg(inv.arguments.first(), QString::fromLatin1(e.what())));
    }

    if (inv.dryRun) {
        for (const auto& [p, plan] : plans) {
            for (const PageFrames& page : plan) {
                for (const QString& frame : page.frames) {
                    print(out, frame);
                }
            }
        }
        return kExitDone;
    }
    for (const auto& [p, plan] : plans) {
        for (const PageFrames& page : plan) {
            if (!sendPage(session, page, p, out, err)) {
                return kExitNoAnswer;
            }
        }
    }
    return kExitDone;
}

// ---- verify ----

int Verify(const Invocation& inv, FILE* out, FILE* err) {
    profile::SettingsFile settings;
    if (const int code = readSettingsArgument(inv.arguments.first(), settings, err)) {
        return code;
    }
    ChargerSession session(inv.port, err);
    if (const int code = connect(session, err)) {
        return code;
    }
    link::StoredSettings stored;
    if (const int code = readStoredSettings(session, stored, err)) {
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
    ChargerSession session(inv.port, err);
    if (const int code = connect(session, err)) {
        return code;
    }
    const datalog::RunTimeReading r =
        datalog::DecodeRunTime(session.SendFrame(QLatin1String(link::kRunTimeRequest)));
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
    ChargerSession session(inv.port, err);
    if (const int code = connect(session, err)) {
        return code;
    }
    const datalog::LiveReading r =
        datalog::DecodeLiveReading(session.SendFrame(QLatin1String(link::kLiveRequest)));
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

class ProgressBar {
public:
    explicit ProgressBar(FILE* err) : err_(err), tty_(isatty(fileno(err)) != 0) {}

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
    ChargerSession session(inv.port, err);
    if (const int code = connect(session, err)) {
        return code;
    }
    ProgressBar bar(err);
    session.onReply = [&bar](const QString& frame, const QString& reply) {
        if (frame == QLatin1String(link::kLogPointerRequest) && !reply.isEmpty()) {
            const datalog::LogPointer lp = datalog::ParsePointerReply(reply);
            bar.setTotal(datalog::ProgressTotal(lp.pointer, lp.wrapped));
        } else if (frame == QLatin1String(link::kRunTimeRequest) && !reply.isEmpty()) {
            // The streamed transfer expects one record per ten minutes of run time.
            bar.setTotal(datalog::DecodeRunTime(reply).minutes / 10);
        }
    };
    datalog::DownloadProgress progress;
    progress.row = [&bar](const datalog::LogRow&) { bar.row(); };
    const datalog::DownloadResult result = datalog::DownloadLog(session, progress);
    bar.finish();
    session.onReply = nullptr;

    datalog::LogTableModel table;
    table.setRows(result.rows);
    if (table.recordCount() == 0) {
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
    print(out, QStringLiteral("%1 records downloaded; records %2 to %3 saved to %4")
                   .arg(table.recordCount())
                   .arg(input.rowFrom, input.rowTo, inv.output));
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

}  // namespace

int RunCommand(const Invocation& inv, FILE* out, FILE* err) {
    try {
        using Command = int (*)(const Invocation&, FILE*, FILE*);
        static const std::pair<const char*, Command> kCommands[] = {
            {"ports", Ports}, {"identify", Identify}, {"settings", Settings},
            {"write", Write}, {"verify", Verify},     {"runtime", RunTime},
            {"live", Live},   {"log", Log},           {"chart", Chart},
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
