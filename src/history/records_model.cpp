#include "records_model.h"

#include "certificate.h"

#include <QBrush>
#include <QDateTime>

namespace {

enum Column { Date, Mode, Technician, Standard, Points, Band, Worst, Columns };

} // namespace

RecordsModel::RecordsModel(const std::vector<RecordSummary> &records, QObject *parent)
    : QAbstractTableModel(parent), records_(records)
{
}

int RecordsModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : static_cast<int>(records_.size());
}

int RecordsModel::columnCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : Columns;
}

QVariant RecordsModel::data(const QModelIndex &index, int role) const
{
    if (!index.isValid() || index.row() >= rowCount())
        return {};
    // Newest first: the technician comes for the latest calibrations.
    const RecordSummary &r = records_[records_.size() - 1 - static_cast<size_t>(index.row())];
    if (role == Qt::BackgroundRole && index.column() == Band && r.known)
        return QBrush(band_colour(r.band));
    if (role != Qt::DisplayRole)
        return {};
    switch (index.column()) {
    case Date:
        return QDateTime::fromSecsSinceEpoch(r.time).toString(QStringLiteral("yyyy-MM-dd hh:mm"));
    case Mode:
        return mode_title(r.mode);
    case Technician:
        return r.technician;
    case Standard:
        return r.working_standard;
    case Points:
        return r.points;
    case Band:
        return r.known ? band_name(r.band) : QStringLiteral("not known");
    case Worst:
        return r.known ? QString::number(r.worst_pct, 'f', 3) : QStringLiteral("-");
    default:
        return {};
    }
}

QVariant RecordsModel::headerData(int section, Qt::Orientation orientation, int role) const
{
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole)
        return QAbstractTableModel::headerData(section, orientation, role);
    static const char *const titles[Columns] = {"Date",   "Mode", "Technician",           "Working standard",
                                                "Points", "Band", "Worst error, % of span"};
    return section >= 0 && section < Columns ? QString::fromLatin1(titles[section]) : QString();
}
