#include "drifts_model.h"

#include <QDateTime>

namespace {

enum Column { AsFound, Since, Days, Worst, WorstPct, Columns };

QString date_of(int64_t time)
{
    return QDateTime::fromSecsSinceEpoch(time).toString(QStringLiteral("yyyy-MM-dd hh:mm"));
}

} // namespace

DriftsModel::DriftsModel(const std::vector<AsFoundDrift> &drifts, const QString &units, QObject *parent)
    : QAbstractTableModel(parent), drifts_(drifts), units_(units)
{
}

int DriftsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(drifts_.size());
}

int DriftsModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : Columns;
}

QVariant DriftsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount() || role != Qt::DisplayRole)
        return {};
    const AsFoundDrift &d = drifts_[drifts_.size() - 1 - static_cast<size_t>(index.row())];
    switch (index.column()) {
    case AsFound:
        return date_of(d.time);
    case Since:
        return date_of(d.since);
    case Days:
        return QString::number(d.days, 'f', 1);
    case Worst:
        return QString::number(d.worst, 'g', 6);
    case WorstPct:
        return QString::number(d.worst_pct, 'f', 3);
    default:
        return {};
    }
}

QVariant DriftsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    switch (section) {
    case AsFound:
        return QStringLiteral("As-Found");
    case Since:
        return QStringLiteral("Since the As-Left of");
    case Days:
        return QStringLiteral("Days");
    case Worst:
        return QStringLiteral("Largest drift [%1]").arg(units_);
    case WorstPct:
        return QStringLiteral("Largest drift, % of span");
    default:
        return {};
    }
}
