#pragma once

#include "datalog/log_finish.h"
#include "datalog/log_table_model.h"  // brings QObject and QStringList

// The datalog library's tests; each source file holds the cases of one part.
class DatalogTest : public QObject {
    Q_OBJECT
private slots:
    void readings_data();
    void readings();
    void download_data();
    void download();
    void textRules_data();
    void textRules();
    void saveAndLoad_data();
    void saveAndLoad();
    void load_data();
    void load();
    void chargeAh_data();
    void chargeAh();
    void scales_data();
    void scales();
    void curves_data();
    void curves();
    void timeLabelsNeverOverlap();
};

inline QStringList rowTexts(const std::vector<zun::datalog::LogRow>& rows) {
    QStringList out;
    for (const zun::datalog::LogRow& r : rows) {
        out << QStringList(r.begin(), r.end()).join(',');
    }
    return out;
}

// Save, Print and the chart as "SPC" (a dash for each one off), then the range boxes.
inline QString finishState(const zun::datalog::LogFinish& f) {
    return QString(f.saveEnabled ? "S" : "-") + (f.printEnabled ? "P" : "-") +
           (f.drawChart ? "C" : "-") + " " + f.txtRow0 + ".." + f.txtRow1;
}
