#pragma once

#include <QAbstractTableModel>
#include <QString>
#include <QStringList>

#include <array>
#include <vector>

namespace zun::datalog {

// One log record as the table shows it: record, chr volt, curr, bat1 volt, bat2 volt.
using LogRow = std::array<QString, 5>;

// The log table FG1. The header row is row 0 of the grid and the view's horizontal header;
// records are grid rows 1.. and model rows 0.. (model row = grid row - 1).
class LogTableModel : public QAbstractTableModel {
    Q_OBJECT
public:
    static constexpr int kColumns = 5;

    explicit LogTableModel(QObject* parent = nullptr);

    // "record", "chr volt", "curr", "bat1 volt", "bat2 volt".
    static const QStringList& HeaderTexts();

    // Number of grid rows, header included (FG1.Rows): 1 for an empty log.
    int gridRows() const { return static_cast<int>(rows_.size()) + 1; }
    int recordCount() const { return static_cast<int>(rows_.size()); }
    // Cell text by grid row (0 = header); empty outside the table.
    QString cell(int gridRow, int column) const;
    const std::vector<LogRow>& rows() const { return rows_; }

    // Back to the header row only.
    void clear();
    void setRows(std::vector<LogRow> rows);
    void appendRow(const LogRow& row);

    int rowCount(const QModelIndex& parent = QModelIndex()) const override;
    int columnCount(const QModelIndex& parent = QModelIndex()) const override;
    QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
    QVariant headerData(int section, Qt::Orientation orientation,
                        int role = Qt::DisplayRole) const override;

private:
    std::vector<LogRow> rows_;
};

}  // namespace zun::datalog
