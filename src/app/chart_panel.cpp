#include "app/chart_panel.h"

#include "app/log_chart_view.h"
#include "app/page_parts.h"
#include "datalog/log_csv.h"
#include "datalog/log_finish.h"
#include "lang/program_texts.h"

#include <QDateTime>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QMessageBox>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QVBoxLayout>

namespace zun::app {

using lang::T;
using lang::Text;

ChartPanel::ChartPanel(Source source, LogDialogs& dialogs, QString& lastFolder, QWidget* parent)
    : QWidget(parent), source_(std::move(source)), dialogs_(dialogs), lastFolder_(lastFolder) {
    setObjectName(QStringLiteral("PB"));
    PP = new LogChartView(source_.table, source_.chargeAh);
    PP->setObjectName(QStringLiteral("PP"));
    CmdPrint = MakeButton(QStringLiteral("CmdPrint"), QStringLiteral("&Print"));
    CmdExportPdf = MakeButton(QStringLiteral("CmdExportPdf"), QStringLiteral("Export P&DF"));
    CmdExportPng = MakeButton(QStringLiteral("CmdExportPng"), QStringLiteral("Export P&NG"));
    setButtons(false);
    connect(CmdPrint, &QPushButton::clicked, this, [this] { CmdPrint_Click(); });
    connect(CmdExportPdf, &QPushButton::clicked, this, [this] { CmdExportPdf_Click(); });
    connect(CmdExportPng, &QPushButton::clicked, this, [this] { CmdExportPng_Click(); });

    auto* pv = new QVBoxLayout(this);
    pv->setContentsMargins(0, 0, 0, 0);
    pv->addWidget(PP, 1);
    auto* outputs = new QHBoxLayout;
    outputs->addStretch(1);
    outputs->addWidget(CmdPrint);
    outputs->addWidget(CmdExportPdf);
    outputs->addWidget(CmdExportPng);
    pv->addLayout(outputs);
}

void ChartPanel::setButtons(bool enabled) {
    CmdPrint->setEnabled(enabled);
    CmdExportPdf->setEnabled(enabled);
    CmdExportPng->setEnabled(enabled);
}

datalog::ChartData ChartPanel::chartData() const {
    return {source_.table, source_.chargeAh, source_.labTime(), source_.description(),
            ChartTextsInUse()};
}

void ChartPanel::CmdPrint_Click() {
    try {
        QPrinter printer(QPrinter::HighResolution);
        printer.setPageOrientation(QPageLayout::Landscape);
        printer.setDocName(Text(T::ChartTitle));
        printer.setFromTo(1, 1);
        bool accepted = false;
        if (dialogs_.print) {
            accepted = dialogs_.print(printer);
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
            tellError(Text(T::NotPrinted));
            return;
        }
        const datalog::ChartData data = chartData();
        datalog::DrawLogChart(painter, QRectF(0, 0, printer.width(), printer.height()), data);
        painter.end();
    } catch (...) {
    }
}

QString ChartPanel::exportPath(const QString& suffix, const QString& filter) {
    QString name = datalog::DefaultLogFileName(QDateTime::currentDateTime());
    name = name.left(name.size() - 4) + QLatin1Char('.') + suffix;
    const QString proposed = QDir(lastFolder_).filePath(name);
    QString path;
    if (dialogs_.exportName) {
        path = dialogs_.exportName(proposed, filter);
    } else {
        QFileDialog dialog(this, Text(T::ExportTitle), proposed, filter);
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

void ChartPanel::CmdExportPdf_Click() {
    exportChart(QStringLiteral("pdf"), QStringLiteral("PDF (*.pdf)"),
                [](const datalog::ChartData& data, const QString& path) {
                    return datalog::ExportChartPdf(data, path);
                });
}

void ChartPanel::CmdExportPng_Click() {
    exportChart(QStringLiteral("png"), QStringLiteral("PNG (*.png)"),
                [](const datalog::ChartData& data, const QString& path) {
                    return datalog::SaveChartPng(data, exportImageSize(), path,
                                                 ExportDpi(exportImageSize()));
                });
}

void ChartPanel::exportChart(
    const QString& suffix, const QString& filter,
    const std::function<datalog::FileResult(const datalog::ChartData&, const QString&)>& write) {
    try {
        const QString path = exportPath(suffix, filter);
        if (path.isEmpty()) {
            return;
        }
        const datalog::ChartData data = chartData();
        const datalog::FileResult r = write(data, path);
        if (!r.ok) {
            tellError(Text(T::NotExported).arg(QDir::toNativeSeparators(path), r.error));
        }
    } catch (...) {
    }
}

void ChartPanel::tellError(const QString& text) {
    if (dialogs_.error) {
        dialogs_.error(text);
        return;
    }
    QMessageBox::warning(this, QString(), text);
}

}  // namespace zun::app
