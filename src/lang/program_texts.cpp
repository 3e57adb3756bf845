#include "lang/program_texts.h"

namespace zun::lang {

namespace {

struct EnglishText {
    T key;
    const char* text;
};

// The English texts, exactly as the window has always shown them.
constexpr EnglishText kEnglish[] = {
    {T::Busy, "Busy: the charger is still answering; try again when it has finished."},
    {T::WaitingForDevice, "No Connection: waiting for %1 to come back"},
    {T::DeviceBack, "%1 is back: Connection OK. The pages were not read again."},
    {T::Cancelling, "Cancelling the log download ..."},
    {T::Downloading, "Downloading the data log ..."},
    {T::DownloadCancelled, "Log download cancelled: the %1 records read so far are kept."},
    {T::DownloadEnded, "Log download ended: %1 records read."},
    {T::Searching, "Searching for the charger on %1 (%2) ..."},
    {T::ChargerFound, "Charger found on %1 (%2)."},
    {T::NoChargerFound, "No charger answered on the ports searched (%1)."},
    {T::ReplyFailedCheck, "the reply failed the check (%1)"},
    {T::AboutTitle, "About ZUN"},
    {T::WriteAllWriting, "Write all pages: writing %1 (page %2 of %3) ..."},
    {T::WriteAllDone, "Write all pages: %1 pages written."},
    {T::PageRefused, "%1 was refused: the charger did not acknowledge it"},
    {T::PageNotSendable, "%1 could not be sent"},
    {T::WriteAllFailed, "Write all pages failed: %1."},
    {T::NotWritten, "Not written: %1."},
    {T::PageAcknowledged, "%1 written and acknowledged by the charger."},
    {T::PagePartly, "%1 sent; the charger did not acknowledge every frame."},
    {T::PageRefusedAfterTries, "%1 refused: the charger did not acknowledge it after every try."},
    {T::PageNotSent, "%1 not sent."},
    {T::WriteAllProgress, "Write all pages, page %1 of %2: %3"},
    {T::NothingSent, "Nothing of this page was sent."},
    {T::StageOutOfRange, "A stage entry is out of range; nothing of this page was sent."},
    {T::StageTimesSum,
     "The stage times add up to %1 min; the maximum total charging time allows %2 min (%3 h)."},
    {T::OkBox, "OK !"},
    {T::FailBox, "Fail !"},
    {T::TotalTimeExceeded, "Total time exceed protection time!"},
    {T::FileTypeError, "File Type Error!"},
    {T::NotAZunLog,
     "'%1' is not a data log saved by this program: its first line does not end with "
     "\"ZUN-Log\". Nothing was loaded."},
    {T::LogNotSaved, "The log was not saved to '%1': %2"},
    {T::FileNotRead, "The file '%1' could not be read: %2"},
    {T::FileTooLarge,
     "The file is larger than a data log can be (at most %1 records, %2 MiB are read): only "
     "its first %3 records were loaded."},
    {T::SaveLogTitle, "Save Data Log"},
    {T::OpenLogTitle, "Open Data Log"},
    {T::OverwriteQuestion, "File '%1' already exist. Overwrte it ?"},
    {T::CsvFilter, "CSV (%1);;All files (*)"},
    {T::SaveSettingsTitle, "Save settings"},
    {T::OpenSettingsTitle, "Open settings"},
    {T::SettingsFilter, "ZUN settings (*.json)"},
    {T::SettingsNotSaved, "The settings were not saved: %1"},
    {T::SavedWithChanges, "Saved, with these changes:"},
    {T::ChooseProfile, "Choose a profile first."},
    {T::ProfileOtherVoltage, "Profile %1 of the file is for %2; this charger is %3."},
    {T::NoChargerSettings, "The charger did not send its settings; nothing was compared."},
    {T::SameAsCharger, "The pages hold the charger's profile %1."},
    {T::DifferFromCharger,
     "%1 setting(s) of profile %2 differ from the charger's; they are marked yellow, the "
     "charger's value is in their tooltip."},
    {T::NotPrinted, "The chart could not be printed: the printer did not start."},
    {T::ExportTitle, "Export Chart"},
    {T::NotExported, "The chart was not exported to '%1': %2"},
    {T::RecordingStopped, "Recording stopped: %1 readings in %2"},
    {T::RecordMonitorTitle, "Record Monitor"},
    {T::RecordingNotStarted, "Recording not started: %1: %2"},
    {T::RecordingTo, "Recording to %1"},
    {T::RecordingFailed,
     "Recording stopped, the file could not be written (%1): %2; the readings stay in the "
     "chart"},
    {T::LineTraceTitle, "Line trace"},
    {T::SaveLineTraceTitle, "Save line trace"},
    {T::LineTraceNotSaved, "The line trace was not saved to '%1': %2"},
    {T::TextFilter, "Text (*.txt);;All files (*)"},
    {T::LanguageTooLarge,
     "The language file '%1' is larger than %2 MiB and was not read; the captions stay as "
     "they are."},

    {T::FindTotalTime, "Maximum total charging time"},
    {T::FindStageCount, "Number of stages"},
    {T::FindStageVoltage, "Stage %1 voltage"},
    {T::FindStageCurrent, "Stage %1 current"},
    {T::FindSwitchVoltage, "Stage %1 switch voltage"},
    {T::FindSwitchCurrent, "Stage %1 switch current"},
    {T::FindStageTime, "Stage %1 time"},
    {T::FindCondition, "Stage %1 condition %2"},
    {T::FindConditionType, "Stage %1 condition type %2"},
    {T::FindStageTimes, "Stage times"},
    {T::RuleTotalHours, "must lie between %1 h and %2 h (now %3 h)"},
    {T::RuleStageCount, "choose the number of stages"},
    {T::RuleStageVoltage,
     "must lie between %1 V and %2 V, below the over-voltage protection (now %3 V)"},
    {T::RuleStageCurrent, "must lie between %1 A and %2 A, the charger's rating (now %3 A)"},
    {T::RuleSwitchVoltage,
     "must lie between %1 V and %2 V and at least %3 V below the stage voltage (now %4 V)"},
    {T::RuleSwitchCurrent, "must lie between %1 A and %2 A, the stage current less 1 A (now %3 A)"},
    {T::RuleTimesTotal,
     "add up to %1 min, more than the %2 min of the maximum total charging time"},
    {T::RuleTimesStage,
     "the stage times add up to more than %1 min, the maximum total charging time"},
    {T::RuleAndOrMixed, "\"and\" and \"or\" are mixed on one stage's conditions"},
    {T::TipNothingWritable, "Nothing can be written while an entry is wrong:"},
    {T::TipShowEntries, "Show the entries to fix"},
    {T::TipWriteAll, "Write every page of this profile to the charger"},
    {T::TipAutoSet, "Load a three-stage starting profile into the pages"},
    {T::TipWritePage, "Write this page to the charger"},
    {T::TipWriteStages, "Write the stages to the charger"},
    {T::TipWriteConditions, "Write the conditions to the charger, one frame per stage"},
    {T::TipFollowsNominal, "Follows the nominal battery voltage"},
    {T::TipAlwaysFFFF, "Not sent: the charger always receives FFFF"},
    {T::TipAlwaysFF, "Not sent: the charger always receives FF"},
    {T::TipChargerValue, "Charger: %1"},
    {T::TipCancel,
     "Stop the log download after the current record; the records read so far are kept"},
    // Two texts: a language file cannot hold a comma and quotes in one entry.
    {T::TipNoSuchRange, "No such range: from 1 to %1"},
    {T::TipFromNotAfterTo, "\"from\" not after \"to\""},

    {T::ChartTitle, "Data Log"},
    {T::ChartVoltage, "Voltage"},
    {T::ChartCurrent, "Current"},
    {T::ChartCharge, "Ah"},
    {T::ChartDesc, "Desc:"},
    {T::ChartTime, "Time:"},
    {T::MarkCC, "C.C."},
    {T::MarkCV, "C.V."},
    {T::MarkFloat, "Float"},
    {T::MonitorChrVolt, "chr volt"},
    {T::MonitorCurr, "curr"},
    {T::MonitorBat1, "bat1 volt"},
    {T::MonitorBat2, "bat2 volt"},
    {T::MonitorNoReadings, "No readings yet"},

    {T::TypeNone, "none"},
    {T::TypeAnd, "and"},
    {T::TypeOr, "or"},
    {T::StageToStage, "Stage %1 to %2"},
    {T::StageNumber, "Stage %1"},
    {T::Rating, "Rating :"},
    {T::NominalWarning,
     "Warning : The selected nominal battery voltage must be same as the charger's."},
    {T::ConnectionOk, "Connection OK"},
    {T::NoConnection, "No Connection"},
    {T::AutoSet, "Atuo set 0"},
    {T::Monitor, "Monitor"},
    {T::Record, "Record..."},
    {T::Readings, "%1 readings"},
    {T::ReadingsRecording, "%1 readings, recording %2"},
    {T::LineTraceMenu, "&Line trace..."},
    {T::Copy, "Copy"},
    {T::SaveEllipsis, "Save..."},
    {T::Frames, "%1 frames"},
    {T::ReadPages, "Read pages from charger"},
    {T::OneToFix, "1 entry to fix"},
    {T::ManyToFix, "%1 entries to fix"},
    {T::DownloadProgress, "Download: %1% finished"},
    {T::RecordsMissing, "%1 of %2 records missing (%3)"},
    {T::RecordsDamaged, "%1 damaged (%2)"},
    {T::DownloadCancelledKept, "Cancelled: %1 of %2 records kept"},
};

}  // namespace

ProgramTexts& ProgramTexts::instance() {
    static ProgramTexts texts;
    return texts;
}

QString ProgramTexts::english(int key) {
    for (const EnglishText& e : kEnglish) {
        if (static_cast<int>(e.key) == key) {
            return QString::fromUtf8(e.text);
        }
    }
    return QString();
}

QString ProgramTexts::of(T key) {
    const QString given = instance().texts_.value(static_cast<int>(key));
    return given.isEmpty() ? english(static_cast<int>(key)) : given;
}

QList<int> ProgramTexts::keys() {
    QList<int> out;
    for (const EnglishText& e : kEnglish) {
        out << static_cast<int>(e.key);
    }
    return out;
}

QHash<int, QString> ProgramTexts::fromEntries(const QList<Entry>& entries) {
    QHash<int, QString> out;
    for (const Entry& e : entries) {
        bool ok = false;
        const int key = e.key.toInt(&ok);
        if (ok && e.key.size() == 6 && !english(key).isNull()) {
            out.insert(key, e.text);
        }
    }
    return out;
}

void ProgramTexts::use(const QHash<int, QString>& texts) {
    texts_ = texts;
    emit changed();
}

}  // namespace zun::lang
