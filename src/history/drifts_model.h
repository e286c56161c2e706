// The As-Found drifts beside the records: each As-Found's largest change
// at a set point since the As-Left before it, newest first.
#pragma once

#include "drift.h"

#include <QAbstractTableModel>

class DriftsModel : public QAbstractTableModel {
    Q_OBJECT
public:
    DriftsModel(const std::vector<AsFoundDrift> &drifts, const QString &units, QObject *parent = nullptr);
    int rowCount(const QModelIndex &parent = {}) const override;
    int columnCount(const QModelIndex &parent = {}) const override;
    QVariant data(const QModelIndex &index, int role) const override;
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;

private:
    const std::vector<AsFoundDrift> &drifts_;
    QString units_;
};
