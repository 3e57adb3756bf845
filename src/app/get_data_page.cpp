#include "app/get_data_page.h"

#include "app/busy_guard.h"
#include "app/log_chart_view.h"
#include "app/page_parts.h"
#include "datalog/live_reading.h"
#include "datalog/log_chart.h"
#include "datalog/log_csv.h"
#include "datalog/log_download.h"
#include "datalog/log_finish.h"
#include "datalog/run_time.h"
#include "link/frames.h"
#include "link/serial_link.h"

#include <QApplication>
#include <QDateTime>
#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QFileInfo>
#include <QFocusEvent>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMessageBox>
#include <QPainter>
#include <QPointer>
#include <QPrintDialog>
#include <QPrinter>
#include <QScrollBar>
#include <QVBoxLayout>

#include <algorithm>

namespace zun::app {

namespace {

// The log table's column widths in twips, and twips per pixel at 96 dpi.
constexpr std::array<int, 5> kColumnTwips = {600, 660, 600, 750, 750};
constexpr double kTwipsPerPixel = 15.0;
constexpr int kEnterKeyCode = 13;

// Disables controls for its lifetime and enables them again, in the same order, however the
// scope is left.
class ControlLock {
public:
    explicit ControlLock(const std::vector<QWidget*>& widgets) {
        for (QWidget* w : widgets) {
            if (w != nullptr) {
                widgets_.emplace_back(w);
                w->setEnabled(false);
            }
        }
    }
    ~ControlLock() {
        for (const QPointer<QWidget>& w : widgets_) {
            if (w) {
                w->setEnabled(true);
            }
        }
    }
    ControlLock(const ControlLock&) = delete;
    ControlLock& operator=(const ControlLock&) = delete;

private:
    std::vector<QPointer<QWidget>> widgets_;
};

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

QPushButton* makeButton(const QString& name, const QString& caption) {
    auto* b = new QPushButton(caption);
    b->setObjectName(name);
    b->setAutoDefault(false);
    return b;
}

// A focus change that the user made on this window, not a window switch or a popup.
bool isOwnFocusChange(const QEvent* event) {
    const auto reason = static_cast<const QFocusEvent*>(event)->reason();
    return reason != Qt::ActiveWindowFocusReason && reason != Qt::PopupFocusReason;
}

}  // namespace

GetDataPage::GetDataPage(WindowState& state, QWidget* parent)
    : QWidget(parent), state_(state), lastFolder_(QDir::homePath()) {
    buildUi();
}

void GetDataPage::buildUi() {
    // Index order is the handler's; "Charger V I" stands first on the page.
    CmdGetOK[0] = makeButton(QStringLiteral("CmdGetOK(0)"), QStringLiteral("Total Run Time"));
    CmdGetOK[1] = makeButton(QStringLiteral("CmdGetOK(1)"), QStringLiteral("Charger V I"));
    CmdGetOK[2] = makeButton(QStringLiteral("CmdGetOK(2)"), QStringLiteral("Data Log"));
    for (int i = 0; i < 3; ++i) {
        BusyGuard::MarkExchangeStarter(CmdGetOK[i]);
        connect(CmdGetOK[i], &QPushButton::clicked, this, [this, i] { CmdGetOK_Click(i); });
    }
    const QFontMetrics fm(font());
    for (int i = 0; i < 2; ++i) {
        auto* box = new QPlainTextEdit;
        box->setObjectName(QStringLiteral("TxtGet(%1)").arg(i));
        box->setReadOnly(true);
        box->setLineWrapMode(QPlainTextEdit::NoWrap);
        box->setTabChangesFocus(true);
        box->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        box->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
        const int lines = i == 1 ? 3 : 1;
        const int margin = static_cast<int>(box->document()->documentMargin());
        box->setFixedHeight(lines * fm.lineSpacing() + 2 * margin + 2 * box->frameWidth() + 2);
        box->setMinimumWidth(fm.horizontalAdvance(QStringLiteral("bat2:  -14.08V  -10.00A")) +
                             2 * margin + 2 * box->frameWidth() + 4);
        TxtGet[i] = box;
    }

    FG1 = new QTableView;
    FG1->setObjectName(QStringLiteral("FG1"));
    FG1->setModel(&table_);
    FG1->setEditTriggers(QAbstractItemView::NoEditTriggers);
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

    for (int i = 0; i < 2; ++i) {
        TxtRow[i] = new QLineEdit;
        TxtRow[i]->setObjectName(QStringLiteral("TxtRow(%1)").arg(i));
        TxtRow[i]->setAlignment(Qt::AlignRight);
        TxtRow[i]->setMaxLength(12);
        TxtRow[i]->setFixedWidth(fm.horizontalAdvance(QStringLiteral("000000")) + 16);
        TxtRow[i]->installEventFilter(this);
    }
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

    CmdGetSave = makeButton(QStringLiteral("CmdGetSave"), QStringLiteral("Save"));
    CmdGetOpen = makeButton(QStringLiteral("CmdGetOpen"), QStringLiteral("Open"));
    CmdPrint = makeButton(QStringLiteral("CmdPrint"), QStringLiteral("Print"));
    CmdExportPdf = makeButton(QStringLiteral("CmdExportPdf"), QStringLiteral("Export PDF"));
    CmdExportPng = makeButton(QStringLiteral("CmdExportPng"), QStringLiteral("Export PNG"));
    CmdGetSave->setEnabled(false);
    setChartButtons(false);
    connect(CmdGetSave, &QPushButton::clicked, this, [this] { CmdGetSave_Click(); });
    connect(CmdGetOpen, &QPushButton::clicked, this, [this] { CmdGetOpen_Click(); });
    connect(CmdPrint, &QPushButton::clicked, this, [this] { CmdPrint_Click(); });
    connect(CmdExportPdf, &QPushButton::clicked, this, [this] { CmdExportPdf_Click(); });
    connect(CmdExportPng, &QPushButton::clicked, this, [this] { CmdExportPng_Click(); });

    PB = new QWidget;
    PB->setObjectName(QStringLiteral("PB"));
    PP = new LogChartView(table_, chargeAh_);
    PP->setObjectName(QStringLiteral("PP"));

    // Left: readings, the table and its file controls; right: the chart and its outputs.
    auto* left = new QWidget;
    left->setObjectName(QStringLiteral("GetDataLeft"));
    auto* lv = new QVBoxLayout(left);
    lv->setContentsMargins(0, 0, 0, 0);
    auto* reads = new QGridLayout;
    reads->addWidget(CmdGetOK[1], 0, 0, Qt::AlignTop);
    reads->addWidget(TxtGet[1], 0, 1);
    reads->addWidget(CmdGetOK[0], 1, 0);
    reads->addWidget(TxtGet[0], 1, 1);
    reads->addWidget(CmdGetOK[2], 2, 0);
    reads->addWidget(LabDownDisp, 2, 1);
    reads->setColumnStretch(1, 1);
    const int labelRowHeight = CmdGetOK[2]->sizeHint().height();
    reads->setRowMinimumHeight(2, labelRowHeight);
    lv->addLayout(reads);
    lv->addWidget(FG1, 1);
    lv->addWidget(LabTime);
    auto* range = new QHBoxLayout;
    range->addWidget(LabelRow[0]);
    range->addWidget(TxtRow[0]);
    range->addSpacing(8);
    range->addWidget(LabelRow[1]);
    range->addWidget(TxtRow[1]);
    range->addStretch(1);
    lv->addLayout(range);
    auto* desc = new QHBoxLayout;
    desc->addWidget(LabelGetDesc);
    desc->addWidget(TxtGetDesc, 1);
    lv->addLayout(desc);
    auto* files = new QHBoxLayout;
    files->addWidget(CmdGetSave);
    files->addWidget(CmdGetOpen);
    files->addStretch(1);
    lv->addLayout(files);

    auto* pv = new QVBoxLayout(PB);
    pv->setContentsMargins(0, 0, 0, 0);
    pv->addWidget(PP, 1);
    auto* outputs = new QHBoxLayout;
    outputs->addStretch(1);
    outputs->addWidget(CmdPrint);
    outputs->addWidget(CmdExportPdf);
    outputs->addWidget(CmdExportPng);
    pv->addLayout(outputs);

    auto* h = new QHBoxLayout(this);
    h->addWidget(left);
    h->addWidget(PB, 1);

    setTabOrder(CmdGetOK[1], CmdGetOK[0]);
    setTabOrder(CmdGetOK[0], CmdGetOK[2]);
    setTabOrder(CmdGetOK[2], FG1);
    setTabOrder(FG1, TxtRow[0]);
    setTabOrder(TxtRow[0], TxtRow[1]);
    setTabOrder(TxtRow[1], TxtGetDesc);
    setTabOrder(TxtGetDesc, CmdGetSave);
    setTabOrder(CmdGetSave, CmdGetOpen);
    setTabOrder(CmdGetOpen, CmdPrint);
    setTabOrder(CmdPrint, CmdExportPdf);
    setTabOrder(CmdExportPdf, CmdExportPng);

    InitLogTable();
}

void GetDataPage::InitLogTable() {
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
    fitLeftColumn();
}

void GetDataPage::fitLeftColumn() {
    // As wide as the table, or wider when the captions of a language need it.
    if (QWidget* left = FG1->parentWidget()) {
        left->setFixedWidth(std::max(FG1->minimumWidth(), left->minimumSizeHint().width()));
    }
}

void GetDataPage::ArrangeLayout() {
    try {
        fitLeftColumn();
        if (layout() != nullptr) {
            layout()->activate();
        }
        // The chart is painted from the table at the surface's new size.
        PP->update();
    } catch (...) {
    }
}

void GetDataPage::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    if (isVisible()) {
        ArrangeLayout();
    }
}

QString GetDataPage::TxtGetText(int index) const {
    return index >= 0 && index < 2 ? getTexts_[static_cast<size_t>(index)] : QString();
}

void GetDataPage::setBoxText(int index, const QString& text) {
    getTexts_[static_cast<size_t>(index)] = text;
    QString shown = text;
    shown.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    TxtGet[static_cast<size_t>(index)]->setPlainText(shown);
}

void GetDataPage::parkFocus() {
    // Disabling the focused button would hand the focus to the next control in the chain,
    // possibly a range box whose leave-the-box rule would then rewrite it.
    QWidget* focused = QApplication::focusWidget();
    if (focused != nullptr && focused != FG1 && focused->window() == window()) {
        FG1->setFocus(Qt::OtherFocusReason);
    }
}

void GetDataPage::setChartButtons(bool enabled) {
    CmdPrint->setEnabled(enabled);
    CmdExportPdf->setEnabled(enabled);
    CmdExportPng->setEnabled(enabled);
}

void GetDataPage::CmdGetOK_Click(int Index) {
    if (Index < 0 || Index > 2) {
        return;
    }
    QPushButton* button = CmdGetOK[static_cast<size_t>(Index)];
    parkFocus();
    button->setEnabled(false);
    {
        BusyScope scope(state_.busy);
        try {
            switch (Index) {
                case 0:
                    RunTime();
                    break;
                case 1:
                    LiveReading();
                    break;
                default:
                    DataLog();
                    break;
            }
        } catch (...) {
            // A failing read ends the handler quietly, as the window's handlers do.
        }
    }
    button->setEnabled(true);
    button->setFocus(Qt::OtherFocusReason);
}

void GetDataPage::RunTime() {
    const QString reply = state_.link != nullptr
                              ? state_.link->SendFrame(QLatin1String(link::kRunTimeRequest))
                              : QString();
    const datalog::RunTimeReading r = datalog::DecodeRunTime(reply);
    if (r.outcome == datalog::ReplyOutcome::Clear) {
        setBoxText(0, QString());
    } else if (r.outcome == datalog::ReplyOutcome::Show) {
        setBoxText(0, r.text);
    }
}

void GetDataPage::LiveReading() {
    const QString reply = state_.link != nullptr
                              ? state_.link->SendFrame(QLatin1String(link::kLiveRequest))
                              : QString();
    const datalog::LiveReading r = datalog::DecodeLiveReading(reply);
    if (r.outcome == datalog::ReplyOutcome::Clear) {
        setBoxText(1, QString());
    } else if (r.outcome == datalog::ReplyOutcome::Show) {
        setBoxText(1, r.text);
    }
}

void GetDataPage::DataLog() {
    TxtRow[0]->clear();
    TxtRow[1]->clear();
    // Everything that could start another exchange, in the order it is enabled again.
    QWidget* top = window();
    std::vector<QWidget*> locked;
    locked.push_back(top->findChild<QWidget*>(QStringLiteral("CboPort")));
    for (int i = 0; i < 5; ++i) {
        locked.push_back(top->findChild<QWidget*>(QStringLiteral("CmdOK%1").arg(i)));
    }
    for (QPushButton* b : CmdGetOK) {
        locked.push_back(b);
    }
    parkFocus();
    const ControlLock lock(locked);
    DownloadLog();
}

void GetDataPage::DownloadLog() {
    table_.clear();
    chargeAh_.clear();
    PP->showEmpty();
    CmdGetSave->setEnabled(false);
    setChartButtons(false);
    LabDownDisp->clear();
    {
        // A file opened now would be overwritten by the rows still coming in.
        const ControlLock openLock({CmdGetOpen});
        const FlagScope busy(downloading_);
        datalog::DownloadProgress progress;
        progress.text = [this](const QString& text) { LabDownDisp->setText(text); };
        progress.visible = [this](bool visible) { LabDownDisp->setVisible(visible); };
        progress.row = [this](const datalog::LogRow& row) { table_.appendRow(row); };
        try {
            if (state_.link != nullptr) {
                datalog::DownloadLog(*state_.link, progress);
            }
        } catch (...) {
            // Whatever arrived stays in the table and is finished like a complete log.
        }
    }
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

void GetDataPage::DrawLogChart() {
    PP->showLog(LabTime->text(), TxtGetDesc->text());
}

void GetDataPage::CmdGetSave_Click() {
    try {
        const QString proposed =
            QDir(lastFolder_).filePath(datalog::DefaultLogFileName(QDateTime::currentDateTime()));
        const QString chosen = askSaveLogName(proposed);
        if (chosen.isEmpty()) {
            return;
        }
        const QString path = datalog::ForceCsvExtension(chosen);
        lastFolder_ = QFileInfo(path).absolutePath();
        if (QFileInfo::exists(path) && !askYesNo(datalog::OverwriteQuestion(path))) {
            return;
        }
        const datalog::CsvSaveInput input{LabTime->text(), TxtGetDesc->text(), TxtRow[0]->text(),
                                          TxtRow[1]->text()};
        const datalog::FileResult r = datalog::SaveLogCsv(path, table_, input);
        if (!r.ok) {
            tellError(QStringLiteral("The log was not saved to '%1': %2")
                          .arg(QDir::toNativeSeparators(path), r.error));
        }
    } catch (...) {
    }
}

void GetDataPage::CmdGetOpen_Click() {
    try {
        const QString path = askOpenLogName(QStringLiteral("*.csv"));
        if (path.isEmpty()) {
            return;
        }
        lastFolder_ = QFileInfo(path).absolutePath();
        datalog::CsvLoadResult r = datalog::LoadLogCsv(path);
        if (r.status == datalog::CsvLoadResult::Status::TypeError) {
            tellInformation(QLatin1String(datalog::kFileTypeError));
            return;
        }
        if (r.status != datalog::CsvLoadResult::Status::Loaded) {
            tellError(QStringLiteral("The file '%1' could not be read: %2")
                          .arg(QDir::toNativeSeparators(path), r.error));
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
            tellInformation(QStringLiteral("The file is larger than a data log can be (at most "
                                           "%1 records, %2 MiB are read): only its first %3 "
                                           "records were loaded.")
                                .arg(datalog::kMaxCsvDataLines)
                                .arg(datalog::kMaxCsvBytes / (1024 * 1024))
                                .arg(table_.recordCount()));
        }
    } catch (...) {
    }
}

void GetDataPage::CmdPrint_Click() {
    try {
        QPrinter printer(QPrinter::HighResolution);
        printer.setPageOrientation(QPageLayout::Landscape);
        printer.setDocName(QStringLiteral("Data Log"));
        printer.setFromTo(1, 1);
        bool accepted = false;
        if (dialogs.print) {
            accepted = dialogs.print(printer);
        } else {
            QPrintDialog dialog(&printer, this);
            dialog.setOption(QAbstractPrintDialog::PrintPageRange, false);
            accepted = dialog.exec() == QDialog::Accepted;
        }
        if (!accepted) {
            return;
        }
        QPainter painter;
        if (!painter.begin(&printer)) {
            tellError(QStringLiteral("The chart could not be printed: the printer did not start."));
            return;
        }
        const datalog::ChartData data{table_, chargeAh_, LabTime->text(), TxtGetDesc->text()};
        datalog::DrawLogChart(painter, QRectF(0, 0, printer.width(), printer.height()), data);
        painter.end();
    } catch (...) {
    }
}

QString GetDataPage::exportPath(const QString& suffix, const QString& filter) {
    QString name = datalog::DefaultLogFileName(QDateTime::currentDateTime());
    name = name.left(name.size() - 4) + QLatin1Char('.') + suffix;
    const QString proposed = QDir(lastFolder_).filePath(name);
    QString path;
    if (dialogs.exportName) {
        path = dialogs.exportName(proposed, filter);
    } else {
        QFileDialog dialog(this, QStringLiteral("Export Chart"), proposed, filter);
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setDefaultSuffix(suffix);
        dialog.selectFile(proposed);
        if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) {
            path = dialog.selectedFiles().constFirst();
        }
    }
    if (path.isEmpty()) {
        return path;
    }
    if (QFileInfo(path).suffix().compare(suffix, Qt::CaseInsensitive) != 0) {
        path += QLatin1Char('.') + suffix;
    }
    lastFolder_ = QFileInfo(path).absolutePath();
    return path;
}

void GetDataPage::CmdExportPdf_Click() {
    exportChart(QStringLiteral("pdf"), QStringLiteral("PDF (*.pdf)"),
                [](const datalog::ChartData& data, const QString& path) {
                    return datalog::ExportChartPdf(data, path);
                });
}

void GetDataPage::CmdExportPng_Click() {
    exportChart(QStringLiteral("png"), QStringLiteral("PNG (*.png)"),
                [](const datalog::ChartData& data, const QString& path) {
                    return datalog::SaveChartPng(data, exportImageSize(), path);
                });
}

void GetDataPage::exportChart(
    const QString& suffix, const QString& filter,
    const std::function<datalog::FileResult(const datalog::ChartData&, const QString&)>& write) {
    try {
        const QString path = exportPath(suffix, filter);
        if (path.isEmpty()) {
            return;
        }
        const datalog::ChartData data{table_, chargeAh_, LabTime->text(), TxtGetDesc->text()};
        const datalog::FileResult r = write(data, path);
        if (!r.ok) {
            tellError(QStringLiteral("The chart was not exported to '%1': %2")
                          .arg(QDir::toNativeSeparators(path), r.error));
        }
    } catch (...) {
    }
}

void GetDataPage::TxtRow_LostFocus(int Index) {
    if (Index < 0 || Index > 1) {
        return;
    }
    QLineEdit* box = TxtRow[static_cast<size_t>(Index)];
    box->setText(datalog::NormaliseRangeText(box->text()));
}

void GetDataPage::TxtGetDesc_LostFocus() {
    TxtGetDesc->setText(trimBlanks(TxtGetDesc->text()));
    DrawLogChart();
}

void GetDataPage::TxtGetDesc_KeyUp(int KeyCode) {
    if (KeyCode == kEnterKeyCode) {
        TxtGetDesc_LostFocus();
    }
}

bool GetDataPage::eventFilter(QObject* watched, QEvent* event) {
    try {
        if (event->type() == QEvent::FocusOut && isOwnFocusChange(event)) {
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

QString GetDataPage::askSaveLogName(const QString& proposedPath) {
    if (dialogs.saveLogName) {
        return dialogs.saveLogName(proposedPath);
    }
    // The overwrite question is the page's own, asked for the name after the ".csv" rule.
    return QFileDialog::getSaveFileName(this, QStringLiteral("Save Data Log"), proposedPath,
                                        QStringLiteral("CSV (*.csv);;All files (*)"), nullptr,
                                        QFileDialog::DontConfirmOverwrite);
}

QString GetDataPage::askOpenLogName(const QString& preset) {
    if (dialogs.openLogName) {
        return dialogs.openLogName(preset);
    }
    return QFileDialog::getOpenFileName(this, QStringLiteral("Open Data Log"), lastFolder_,
                                        QStringLiteral("CSV (%1);;All files (*)").arg(preset));
}

bool GetDataPage::askYesNo(const QString& question) {
    if (dialogs.askYesNo) {
        return dialogs.askYesNo(question);
    }
    return QMessageBox::question(this, QString(), question, QMessageBox::Yes | QMessageBox::No,
                                 QMessageBox::Yes) == QMessageBox::Yes;
}

void GetDataPage::tellInformation(const QString& text) {
    if (dialogs.information) {
        dialogs.information(text);
        return;
    }
    QMessageBox::information(this, QString(), text);
}

void GetDataPage::tellError(const QString& text) {
    if (dialogs.error) {
        dialogs.error(text);
        return;
    }
    QMessageBox::warning(this, QString(), text);
}

}  // namespace zun::app
