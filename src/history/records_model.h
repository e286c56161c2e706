// The history table's rows, read from the analysis as they are shown: a
// model rather than an item per cell, so that a long archive costs its
// summaries and nothing more.
#pragma once

#include "drift.h"

#include <QAbstractTableModel>

class RecordsModel : public QAbstractTableModel {
    Q_OBJECT
public:
    explicit RecordsModel(const std::vector<RecordSummary> &records, QObject *parent = nullptr);
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    const std::vector<RecordSummary> &records_; // oldest first; shown newest first
};
