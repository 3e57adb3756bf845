// Writes the starting inputs of the fuzz targets, all made by this project's own writers and
// the virtual charger's replies: zun_fuzz_corpus <corpus folder> <folder of the .lang files>.
#include "datalog/log_csv.h"
#include "datalog/log_download.h"
#include "lang/language_catalog.h"
#include "link/exchange.h"
#include "link/frames.h"
#include "link/stored_settings.h"
#include "profile/profile_pages.h"
#include "profile/settings_file.h"
#include "sim/loopback_exchange.h"
#include "sim/settings_image.h"
#include "sim/virtual_charger.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include <cstdio>

using namespace zun;

namespace {

QString root;

void put(const QString& target, const QString& name, const QByteArray& bytes) {
    QDir().mkpath(root + u'/' + target);
    QFile file(root + u'/' + target + u'/' + name);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
        fprintf(stderr, "cannot write %s\n", qPrintable(file.fileName()));
        exit(1);
    }
}

// Records what the charger answers, as the download fuzzer reads it: each reply or read as a
// length byte and its bytes (longer ones split into several reads).
class Recorder : public link::Exchange {
public:
    explicit Recorder(sim::VirtualCharger& charger) : line_(charger) { line_.setReadChunk(200); }
    QString SendFrame(const QString& frame) override {
        const QString reply = line_.SendFrame(frame);
        add(QByteArray::fromHex(reply.toLatin1()));
        return reply;
    }
    void WaitSeconds(float seconds) override { line_.WaitSeconds(seconds); }
    bool ResetAndWrite(const QByteArray& bytes) override { return line_.ResetAndWrite(bytes); }
    QByteArray ReadWaiting() override {
        const QByteArray bytes = line_.ReadWaiting();
        add(bytes);
        return bytes;
    }
    QByteArray script;

private:
    void add(const QByteArray& bytes) {
        if (bytes.size() > 255) {
            fprintf(stderr, "a reply of %lld bytes does not fit one chunk\n",
                    static_cast<long long>(bytes.size()));
            exit(1);
        }
        script += char(bytes.size());
        script += bytes;
    }
    sim::LoopbackExchange line_;
};

QByteArray csvOf(const std::vector<datalog::LogRow>& rows, const QString& description) {
    datalog::LogTableModel table;
    table.setRows(rows);
    const datalog::CsvSaveInput input{QStringLiteral("Time: 21/11/2026 20:30"), description,
                                      table.cell(1, 0), table.cell(table.gridRows() - 1, 0)};
    return datalog::BuildLogCsv(table, input);
}

}  // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    if (argc != 3) {
        fprintf(stderr, "usage: zun_fuzz_corpus CORPUS_FOLDER LANG_FOLDER\n");
        return 2;
    }
    root = QString::fromLocal8Bit(argv[1]);

    // Settings: the charger's own profiles as the settings writer saves them.
    sim::VirtualCharger charger;
    charger.setModelCode(3120);
    const QString settingsReply = QString::fromLatin1(
        charger.respond(QByteArray::fromHex(link::kSettingsRequest)).toHex().toUpper());
    profile::SettingsFile settings;
    settings.chargerModel = QStringLiteral("3120");
    link::DecodeStoredSettings(settingsReply, settings.profiles);
    const QByteArray json = profile::SettingsToJson(settings);
    put(QStringLiteral("fuzz_settings"), QStringLiteral("charger-3120.json"), json);
    put(QStringLiteral("fuzz_settings_write"), QStringLiteral("charger-3120.json"), json);

    // Requests of every command, and the replies to them.
    QList<QByteArray> requests;
    for (const char* r : {link::kIdentifyRequest, link::kRunTimeRequest, link::kLiveRequest,
                          link::kSettingsRequest, link::kLogPointerRequest}) {
        requests << QByteArray::fromHex(r);
    }
    requests << QByteArray::fromHex(datalog::BlockFrame(0, 9).toLatin1());
    const profile::ChargerContext context = profile::ContextForModel(QStringLiteral("3120"));
    for (const profile::PageFrames& page : profile::PlanWrite(
             profile::PagesFor(settings.profiles[0], 0, context), profile::AllPages(), true)) {
        requests << QByteArray::fromHex(page.frames.first().toLatin1());
    }
    QByteArray all;
    for (int i = 0; i < requests.size(); ++i) {
        const QByteArray reply = charger.respond(requests[i]);
        put(QStringLiteral("fuzz_replies"), QStringLiteral("reply-%1").arg(i, 2, 10, QChar(u'0')),
            reply);
        put(QStringLiteral("fuzz_sim_requests"),
            QStringLiteral("request-%1").arg(i, 2, 10, QChar(u'0')), char(i) + requests[i]);
        all += requests[i];
    }
    put(QStringLiteral("fuzz_sim_requests"), QStringLiteral("all-requests"), char(3) + all);
    put(QStringLiteral("fuzz_replies"), QStringLiteral("stream"),
        charger.respond(QByteArray::fromHex(link::kStreamRequest)).left(200));

    // Downloads: a short log by blocks, and the same by the streamed transfer.
    sim::VirtualCharger small;
    small.setLog(sim::ChargeLog::Unwrapped(25));
    small.setRunTimeMinutes(250);
    Recorder blocks(small);
    const datalog::DownloadResult byBlocks = datalog::DownloadLog(blocks);
    put(QStringLiteral("fuzz_download"), QStringLiteral("blocks-25"), blocks.script);
    sim::Faults oldFirmware;
    oldFirmware.ignorePointerRequest = true;
    small.setFaults(oldFirmware);
    Recorder streamed(small);
    const datalog::DownloadResult byStream = datalog::DownloadLog(streamed);
    put(QStringLiteral("fuzz_download"), QStringLiteral("streamed-25"), streamed.script);

    // ZUN-Log files as the window saves them.
    for (const QString& target : {QStringLiteral("fuzz_csv"), QStringLiteral("fuzz_chart")}) {
        put(target, QStringLiteral("blocks-25.csv"), csvOf(byBlocks.rows, QStringLiteral("bench")));
        put(target, QStringLiteral("streamed-25.csv"),
            csvOf(byStream.rows, QStringLiteral("Ladegerät, Batterie 3")));
    }

    // The shipped language files and the remembered choice.
    const QDir langs(QString::fromLocal8Bit(argv[2]));
    for (const QString& name : langs.entryList({QStringLiteral("*.lang")}, QDir::Files)) {
        QFile file(langs.filePath(name));
        if (!file.open(QIODevice::ReadOnly)) {
            return 1;
        }
        put(QStringLiteral("fuzz_lang"), name, file.readAll());
        put(QStringLiteral("fuzz_lang_state"), name.chopped(5),
            lang::LanguageCatalog::rememberedFileBytes(name.chopped(5)));
    }
    return 0;
}
