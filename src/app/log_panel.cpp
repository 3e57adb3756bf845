#include "app/log_panel.h"

#include "app/busy_guard.h"
#include "app/chart_panel.h"
#include "app/event_helpers.h"
#include "app/log_chart_view.h"
#include "app/page_parts.h"
#include "datalog/log_chart.h"
#include "datalog/log_csv.h"
#include "datalog/log_download.h"
#include "datalog/log_finish.h"
#include "lang/program_texts.h"
#include "session/charger_session.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QScrollBar>
#include <QTimer>
#include <QVBoxLayout>

#include <algorithm>

namespace zun::app {

using lang::T;
using lang::Text;

namespace {

// The log table's column widths in twips, and twips per pixel at 96 dpi.
constexpr std::array<int, 5> kColumnTwips = {600, 660, 600, 750, 750};
constexpr double kTwipsPerPixel = 15.0;
constexpr int kEnterKeyCode = 13;

class FlagScope {
public:
    explicit FlagScope(bool& flag) : flag_(flag) { flag_ = true; }
    ~FlagScope() { flag_ = false; }
    FlagScope(const FlagScope&) = delete;
    FlagScope& operator=(const FlagScope&) = delete;

private:
    bool& flag_;
};

// Leading and trailing blanks only: a tab pasted into the description is the user's.
QString trimBlanks(const QString& text) {
    int from = 0;
    int to = static_cast<int>(text.size());
    while (from < to && text.at(from) == QLatin1Char(' ')) {
        ++from;
    }
    while (to > from && text.at(to - 1) == QLatin1Char(' ')) {
        --to;
    }
    return text.mid(from, to - from);
}

}  // namespace

LogPanel::LogPanel(WindowState& state, LogDialogs& dialogs, QString& lastFolder, QWidget* parent)
    : QWidget(parent), state_(state), dialogs_(dialogs), lastFolder_(lastFolder) {
    setObjectName(QStringLiteral("LogPanel"));
    buildTable();
    buildControls();
    arrange();
    if (session::ChargerSession* s = state_.session) {
        connect(s, &session::ChargerSession::progressPercent, LabDownDisp, [this](int percent) {
            LabDownDisp->setText(Text(T::DownloadProgress).arg(percent));
        });
        connect(s, &session::ChargerSession::progressVisible, LabDownDisp, &QWidget::setVisible);
        connect(s, &session::ChargerSession::logRow, this,
                [this](const datalog::LogRow& row) { table_.appendRow(row); });
    }
}

void LogPanel::buildTable() {
    const QFontMetrics fm(font());
    FG1 = new QTableView;
    FG1->setObjectName(QStringLiteral("FG1"));
    FG1->setModel(&table_);
    FG1->setEditTriggers(QAbstractItemView::NoEditTriggers);
    // Tab leaves the table; the arrow keys walk it.
    FG1->setTabKeyNavigation(false);
    FG1->setSelectionBehavior(QAbstractItemView::SelectRows);
    FG1->setAlternatingRowColors(true);
    FG1->setWordWrap(false);
    FG1->setCornerButtonEnabled(false);
    FG1->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    FG1->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    FG1->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    // 4,320 rows: one fixed height for all, never measured row by row.
    FG1->verticalHeader()->setVisible(false);
    FG1->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    FG1->verticalHeader()->setDefaultSectionSize(fm.height() + 4);
    FG1->horizontalHeader()->setStretchLastSection(false);
    FG1->horizontalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    FG1->horizontalHeader()->setHighlightSections(false);
}

// The "Data Log" button, the progress text, the range, the description and the file buttons.
void LogPanel::buildControls() {
    const QFontMetrics fm(font());
    CmdDataLog = MakeButton(QStringLiteral("CmdGetOK(2)"), QStringLiteral("Data Log"));
    BusyGuard::MarkExchangeStarter(CmdDataLog);
    for (int i = 0; i < 2; ++i) {
        TxtRow[i] = new QLineEdit;
        TxtRow[i]->setObjectName(QStringLiteral("TxtRow(%1)").arg(i));
        TxtRow[i]->setAlignment(Qt::AlignRight);
        TxtRow[i]->setMaxLength(12);
        TxtRow[i]->setFixedWidth(fm.horizontalAdvance(QStringLiteral("000000")) + 16);
        TxtRow[i]->installEventFilter(this);
        connect(TxtRow[i], &QLineEdit::textChanged, this, [this] { markRange(); });
    }
    // The tooltip of an impossible range is worded in the language in use.
    FollowLanguage(this, [this] { markRange(); });
    LabelRow[0] = MakeLabel(QStringLiteral("from"), QStringLiteral("LabelRow(0)"));
    LabelRow[1] = MakeLabel(QStringLiteral("to"), QStringLiteral("LabelRow(1)"));
    TxtGetDesc = new QLineEdit;
    TxtGetDesc->setObjectName(QStringLiteral("TxtGetDesc"));
    TxtGetDesc->installEventFilter(this);
    LabelGetDesc = MakeLabel(QStringLiteral("Desc"), QStringLiteral("LabelGetDesc"));
    LabelGetDesc->setBuddy(TxtGetDesc);
    LabTime = MakeLabel(QString(), QStringLiteral("LabTime"));
    LabDownDisp = MakeLabel(QString(), QStringLiteral("LabDownDisp"));
    LabDownDisp->setVisible(false);
    LabDownMissing = MakeLabel(QString(), QStringLiteral("LabDownMissing"));
    LabDownMissing->setWordWrap(true);
    LabDownMissing->setVisible(false);
    QPalette missingPalette = LabDownMissing->palette();
    missingPalette.setColor(QPalette::WindowText, QColor(255, 0, 0));
    LabDownMissing->setPalette(missingPalette);

    CmdGetSave = MakeButton(QStringLiteral("CmdGetSave"), QStringLiteral("Save"));
    CmdGetOpen = MakeButton(QStringLiteral("CmdGetOpen"), QStringLiteral("Open"));
    CmdGetSave->setEnabled(false);
    connect(CmdGetSave, &QPushButton::clicked, this, [this] { CmdGetSave_Click(); });
    connect(CmdGetOpen, &QPushButton::clicked, this, [this] { CmdGetOpen_Click(); });
}

void LogPanel::arrange() {
    auto* v = new QVBoxLayout(this);
    v->setContentsMargins(0, 0, 0, 0);
    auto* top = new QHBoxLayout;
    top->addWidget(CmdDataLog, 0, Qt::AlignLeft);
    top->addWidget(LabDownDisp);
    top->addWidget(LabDownMissing, 1);
    v->addLayout(top);
    v->addWidget(FG1, 1);
    v->addWidget(LabTime);
    auto* range = new QHBoxLayout;
    range->addWidget(LabelRow[0]);
    range->addWidget(TxtRow[0]);
    range->addSpacing(8);
    range->addWidget(LabelRow[1]);
    range->addWidget(TxtRow[1]);
    range->addStretch(1);
    v->addLayout(range);
    auto* desc = new QHBoxLayout;
    desc->addWidget(LabelGetDesc);
    desc->addWidget(TxtGetDesc, 1);
    v->addLayout(desc);
    auto* files = new QHBoxLayout;
    files->addWidget(CmdGetSave);
    files->addWidget(CmdGetOpen);
    files->addStretch(1);
    v->addLayout(files);
}

void LogPanel::InitLogTable() {
    // The model gives the header texts and the alignment (record centred, values right).
    // The widths were set for a small system font: a wider font widens every column alike,
    // so that each header text stays readable.
    const QFontMetrics fm(FG1->horizontalHeader()->font());
    const QStringList& headers = datalog::LogTableModel::HeaderTexts();
    double scale = 1.0;
    for (int c = 0; c < datalog::LogTableModel::kColumns; ++c) {
        const double designed = kColumnTwips[static_cast<size_t>(c)] / kTwipsPerPixel;
        const double needed = fm.horizontalAdvance(headers.at(c)) + 14.0;
        scale = std::max(scale, needed / designed);
    }
    int total = 0;
    for (int c = 0; c < datalog::LogTableModel::kColumns; ++c) {
        const int width =
            static_cast<int>(kColumnTwips[static_cast<size_t>(c)] / kTwipsPerPixel * scale + 0.5);
        FG1->setColumnWidth(c, width);
        total += width;
    }
    // The table shows all five columns side by side, beside its vertical scroll bar.
    const int width = total + FG1->verticalScrollBar()->sizeHint().width() + 2 * FG1->frameWidth();
    FG1->setFixedWidth(width);
}

void LogPanel::parkFocus() {
    // Disabling the focused button would hand the focus to the next control in the chain,
    // possibly a range box whose leave-the-box rule would then rewrite it.
    QWidget* focused = QApplication::focusWidget();
    if (focused != nullptr && focused != FG1 && focused->window() == window()) {
        FG1->setFocus(Qt::OtherFocusReason);
    }
}

void LogPanel::setChartButtons(bool enabled) {
    if (chart_ != nullptr) {
        chart_->setButtons(enabled);
    }
}

void LogPanel::DataLog(const std::vector<QWidget*>& alsoLocked) {
    TxtRow[0]->clear();
    TxtRow[1]->clear();
    // The port list and the write buttons follow the session's transfer signal.
    parkFocus();
    const ControlLock lock(alsoLocked);
    DownloadLog();
}

void LogPanel::DownloadLog() {
    table_.clear();
    chargeAh_.clear();
    chartTable_.clear();
    chartAh_.clear();
    if (chart_ != nullptr) {
        chart_->PP->showEmpty();
    }
    CmdGetSave->setEnabled(false);
    setChartButtons(false);
    LabDownDisp->clear();
    LabDownMissing->clear();
    LabDownMissing->setVisible(false);
    {
        // A file opened now would be overwritten by the rows still coming in.
        const ControlLock openLock({CmdGetOpen});
        const FlagScope busy(downloading_);
        try {
            showDownloadOutcome();
        } catch (...) {
            // Whatever arrived stays in the table and is finished like a complete log.
        }
    }
    finishDownload();
}

void LogPanel::showDownloadOutcome() {
    const datalog::DownloadResult result = state_.session->downloadLog();
    const datalog::ShortfallTexts words{Text(T::RecordsMissing), Text(T::RecordsDamaged),
                                        Text(T::DownloadCancelledKept)};
    QString text = datalog::MissingDamagedText(result, words);
    if (!result.lineFailure.isEmpty() && !text.contains(result.lineFailure)) {
        text =
            text.isEmpty() ? result.lineFailure : result.lineFailure + QStringLiteral("; ") + text;
    }
    LabDownMissing->setText(text);
    LabDownMissing->setVisible(!text.isEmpty());
}

void LogPanel::finishDownload() {
    const datalog::LogFinish f = datalog::FinishDownload(table_, QDateTime::currentDateTime());
    LabTime->setText(f.labTime);
    LabDownDisp->setVisible(false);
    CmdGetSave->setEnabled(f.saveEnabled);
    if (f.printEnabled) {
        chargeAh_ = f.chargeAh;
        DrawLogChart();
        TxtRow[0]->setText(f.txtRow0);
        TxtRow[1]->setText(f.txtRow1);
        setChartButtons(true);
    } else {
        TxtRow[0]->clear();
        TxtRow[1]->clear();
        setChartButtons(false);
    }
}

std::pair<int, int> LogPanel::chartedRange() const {
    bool okFrom = false;
    bool okTo = false;
    const int from = TxtRow[0]->text().trimmed().toInt(&okFrom);
    const int to = TxtRow[1]->text().trimmed().toInt(&okTo);
    const int count = table_.recordCount();
    if (!okFrom || !okTo || from < 1 || to > count || from > to) {
        return {0, 0};
    }
    return {from, to};
}

QString LogPanel::chartLabTime() const {
    // The time axis ends at the last record charted.
    const QString all = LabTime->text();
    const auto [from, to] = chartedRange();
    if (from == 0 || to == table_.recordCount() || all.size() < 5) {
        return all;
    }
    return all.chopped(5) + datalog::RecordTimeText(all, table_.recordCount() - to);
}

void LogPanel::markRange() {
    const bool empty = TxtRow[0]->text().isEmpty() && TxtRow[1]->text().isEmpty();
    const bool wrong = !empty && chartedRange().first == 0;
    for (QLineEdit* box : TxtRow) {
        SetTextColour(box, wrong ? kWrongColour : QApplication::palette().color(QPalette::Text));
        box->setToolTip(wrong ? Text(T::TipNoSuchRange).arg(table_.recordCount()) +
                                    QStringLiteral(", ") + Text(T::TipFromNotAfterTo)
                              : QString());
    }
}

void LogPanel::DrawLogChart() {
    const auto [from, to] = chartedRange();
    if (from == 0) {
        chartTable_.setRows(table_.rows());
        chartAh_ = chargeAh_;
    } else {
        const auto& rows = table_.rows();
        chartTable_.setRows(
            std::vector<datalog::LogRow>(rows.begin() + (from - 1), rows.begin() + to));
        chartAh_.clear();
        if (!chargeAh_.empty()) {
            chartAh_.push_back(chargeAh_.front());
        }
        for (int r = from; r <= to && r < int(chargeAh_.size()); ++r) {
            chartAh_.push_back(chargeAh_[size_t(r)]);
        }
    }
    if (chart_ != nullptr) {
        chart_->PP->showLog(chartLabTime(), TxtGetDesc->text());
    }
}

void LogPanel::CmdGetSave_Click() {
    try {
        const QString proposed =
            QDir(lastFolder_).filePath(datalog::DefaultLogFileName(QDateTime::currentDateTime()));
        const QString chosen = askSaveLogName(proposed);
        if (chosen.isEmpty()) {
            return;
        }
        const QString path = datalog::ForceCsvExtension(chosen);
        lastFolder_ = QFileInfo(path).absolutePath();
        if (QFileInfo::exists(path) &&
            !askYesNo(datalog::OverwriteQuestion(path, Text(T::OverwriteQuestion)))) {
            return;
        }
        const datalog::CsvSaveInput input{LabTime->text(), TxtGetDesc->text(), TxtRow[0]->text(),
                                          TxtRow[1]->text()};
        const datalog::FileResult r = datalog::SaveLogCsv(path, table_, input);
        if (!r.ok) {
            tellError(Text(T::LogNotSaved).arg(QDir::toNativeSeparators(path), r.error));
        }
    } catch (...) {
    }
}

void LogPanel::CmdGetOpen_Click() {
    try {
        const QString path = askOpenLogName(QStringLiteral("*.csv"));
        if (path.isEmpty()) {
            return;
        }
        lastFolder_ = QFileInfo(path).absolutePath();
        datalog::CsvLoadResult r = datalog::LoadLogCsv(path);
        if (r.status == datalog::CsvLoadResult::Status::TypeError) {
            tellInformation(Text(T::FileTypeError), QMessageBox::Warning,
                            Text(T::NotAZunLog).arg(QDir::toNativeSeparators(path)));
            return;
        }
        if (r.status != datalog::CsvLoadResult::Status::Loaded) {
            tellError(Text(T::FileNotRead).arg(QDir::toNativeSeparators(path), r.error));
            return;
        }
        table_.setRows(std::move(r.rows));
        LabTime->setText(r.labTime);
        TxtGetDesc->setText(r.description);
        const datalog::LogFinish f = datalog::FinishLoad(table_, r.labTime);
        CmdGetSave->setEnabled(f.saveEnabled);
        TxtRow[0]->setText(f.txtRow0);
        TxtRow[1]->setText(f.txtRow1);
        setChartButtons(f.printEnabled);
        chargeAh_ = f.chargeAh;
        DrawLogChart();
        if (r.truncated) {
            tellInformation(Text(T::FileTooLarge)
                                .arg(datalog::kMaxCsvDataLines)
                                .arg(datalog::kMaxCsvBytes / (1024 * 1024))
                                .arg(table_.recordCount()));
        }
    } catch (...) {
    }
}

void LogPanel::TxtRow_LostFocus(int Index) {
    if (Index < 0 || Index > 1) {
        return;
    }
    QLineEdit* box = TxtRow[static_cast<size_t>(Index)];
    box->setText(datalog::NormaliseRangeText(box->text()));
    if (chart_ != nullptr && chart_->PP->showsLog()) {
        DrawLogChart();
    }
}

void LogPanel::TxtGetDesc_LostFocus() {
    TxtGetDesc->setText(trimBlanks(TxtGetDesc->text()));
    DrawLogChart();
}

void LogPanel::TxtGetDesc_KeyUp(int KeyCode) {
    if (KeyCode == kEnterKeyCode) {
        TxtGetDesc_LostFocus();
    }
}

bool LogPanel::eventFilter(QObject* watched, QEvent* event) {
    try {
        if (event->type() == QEvent::FocusIn && (watched == TxtRow[0] || watched == TxtRow[1])) {
            // Typing replaces the number, as in the settings boxes.
            auto* box = static_cast<QLineEdit*>(watched);
            QTimer::singleShot(0, box, [box] { box->selectAll(); });
        } else if (event->type() == QEvent::FocusOut && IsOwnFocusChange(event)) {
            if (watched == TxtRow[0]) {
                TxtRow_LostFocus(0);
            } else if (watched == TxtRow[1]) {
                TxtRow_LostFocus(1);
            } else if (watched == TxtGetDesc) {
                TxtGetDesc_LostFocus();
            }
        } else if (event->type() == QEvent::KeyRelease && watched == TxtGetDesc) {
            const int key = static_cast<QKeyEvent*>(event)->key();
            if (key == Qt::Key_Return || key == Qt::Key_Enter) {
                TxtGetDesc_KeyUp(kEnterKeyCode);
            }
        }
    } catch (...) {
    }
    return QWidget::eventFilter(watched, event);
}

QString LogPanel::askSaveLogName(const QString& proposedPath) {
    if (dialogs_.saveLogName) {
        return dialogs_.saveLogName(proposedPath);
    }
    // The overwrite question is the page's own, asked for the name after the ".csv" rule.
    return QFileDialog::getSaveFileName(this, Text(T::SaveLogTitle), proposedPath,
                                        Text(T::CsvFilter).arg(QStringLiteral("*.csv")), nullptr,
                                        QFileDialog::DontConfirmOverwrite);
}

QString LogPanel::askOpenLogName(const QString& preset) {
    if (dialogs_.openLogName) {
        return dialogs_.openLogName(preset);
    }
    return QFileDialog::getOpenFileName(this, Text(T::OpenLogTitle), lastFolder_,
                                        Text(T::CsvFilter).arg(preset));
}

bool LogPanel::askYesNo(const QString& question) {
    if (dialogs_.askYesNo) {
        return dialogs_.askYesNo(question);
    }
    return QMessageBox::question(this, QString(), question, QMessageBox::Yes | QMessageBox::No,
                                 QMessageBox::Yes) == QMessageBox::Yes;
}

void LogPanel::tellInformation(const QString& text, QMessageBox::Icon icon, const QString& detail) {
    lastDetail_ = detail;
    if (dialogs_.information) {
        dialogs_.information(text);
        return;
    }
    QMessageBox box(icon, window()->windowTitle(), text, QMessageBox::Ok, this);
    box.setInformativeText(detail);
    box.exec();
}

void LogPanel::tellError(const QString& text) {
    lastDetail_.clear();
    if (dialogs_.error) {
        dialogs_.error(text);
        return;
    }
    QMessageBox::warning(this, QString(), text);
}

}  // namespace zun::app
