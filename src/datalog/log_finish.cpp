#include "datalog/log_finish.h"

#include "datalog/charge_ah.h"
#include "link/codec.h"

#include <charconv>
#include <cmath>

namespace zun::datalog {

namespace {

void fillRange(const LogTableModel& table, LogFinish& f) {
    if (table.gridRows() > 2) {
        f.printEnabled = true;
        f.txtRow0 = table.cell(1, 0);
        f.txtRow1 = table.cell(table.gridRows() - 1, 0);
    }
}

}  // namespace

QString LabTimeText(const QDateTime& now, const QLocale& locale) {
    const QTime t = now.time();
    return QStringLiteral("Time: ") + locale.toString(now.date(), QLocale::ShortFormat) +
           QLatin1Char(' ') + QString::number(t.hour()).rightJustified(2, QLatin1Char('0')) +
           QLatin1Char(':') + QString::number(t.minute() / 10) + QLatin1Char('0');
}

LogFinish FinishDownload(const LogTableModel& table, const QDateTime& now, const QLocale& locale) {
    LogFinish f;
    f.labTime = LabTimeText(now, locale);
    f.saveEnabled = table.gridRows() >= 2;
    fillRange(table, f);
    f.drawChart = f.printEnabled;
    f.chargeAh = ComputeChargeAh(table);
    return f;
}

LogFinish FinishLoad(const LogTableModel& table, const QString& labTime) {
    LogFinish f;
    f.labTime = labTime;
    f.saveEnabled = table.gridRows() > 1;
    fillRange(table, f);
    f.drawChart = true;
    f.chargeAh = ComputeChargeAh(table);
    return f;
}

QString DefaultLogFileName(const QDateTime& now) {
    return QStringLiteral("ZUN-Log-") + now.toString(QStringLiteral("yyMMdd-HHmmss")) +
           QStringLiteral(".csv");
}

QString PlainNumberText(float value) {
    // Plain digits as far as a single's digits go; beyond that the exponent form.
    char buf[128];
    const auto res = std::fabs(value) < 1.0e15f
                         ? std::to_chars(buf, buf + sizeof buf, value, std::chars_format::fixed)
                         : std::to_chars(buf, buf + sizeof buf, value);
    QString text = QString::fromLatin1(buf, static_cast<int>(res.ptr - buf));
    return text == QLatin1String("-0") ? QStringLiteral("0") : text;
}

QString NormaliseRangeText(const QString& text) {
    const float v = link::TextToSingle(text);
    return v == 0.0f ? QStringLiteral("1") : PlainNumberText(v);
}

}  // namespace zun::datalog
