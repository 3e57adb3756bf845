#include "datalog/log_table_model.h"

namespace zun::datalog {

namespace {

QVariant alignmentOf(int column) {
    // The record counter is centred, the values line up on their decimal point.
    const Qt::Alignment a = column == 0 ? Qt::AlignCenter : (Qt::AlignRight | Qt::AlignVCenter);
    return QVariant::fromValue(static_cast<int>(a));
}

}  // namespace

LogTableModel::LogTableModel(QObject* parent) : QAbstractTableModel(parent) {}

const QStringList& LogTableModel::HeaderTexts() {
    static const QStringList texts = {QStringLiteral("record"), QStringLiteral("chr volt"),
                                      QStringLiteral("curr"), QStringLiteral("bat1 volt"),
                                      QStringLiteral("bat2 volt")};
    return texts;
}

QString LogTableModel::cell(int gridRow, int column) const {
    if (column < 0 || column >= kColumns || gridRow < 0 || gridRow > recordCount()) {
        return {};
    }
    if (gridRow == 0) {
        return HeaderTexts().at(column);
    }
    return rows_[static_cast<size_t>(gridRow - 1)][static_cast<size_t>(column)];
}

void LogTableModel::clear() {
    setRows({});
}

void LogTableModel::setRows(std::vector<LogRow> rows) {
    beginResetModel();
    rows_ = std::move(rows);
    endResetModel();
}

void LogTableModel::appendRow(const LogRow& row) {
    const int at = recordCount();
    beginInsertRows(QModelIndex(), at, at);
    rows_.push_back(row);
    endInsertRows();
}

int LogTableModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : recordCount();
}

int LogTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : kColumns;
}

QVariant LogTableModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= recordCount() || index.column() >= kColumns) {
        return {};
    }
    if (role == Qt::DisplayRole) {
        return rows_[static_cast<size_t>(index.row())][static_cast<size_t>(index.column())];
    }
    if (role == Qt::TextAlignmentRole) {
        return alignmentOf(index.column());
    }
    return {};
}

QVariant LogTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation == Qt::Horizontal && section >= 0 && section < kColumns) {
        if (role == Qt::DisplayRole) {
            return HeaderTexts().at(section);
        }
        if (role == Qt::TextAlignmentRole) {
            return alignmentOf(section);
        }
        return {};
    }
    return QAbstractTableModel::headerData(section, orientation, role);
}

}  // namespace zun::datalog
