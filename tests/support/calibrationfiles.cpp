#include "calibrationfiles.h"

#include "simcell.h"

#include <QComboBox>
#include <QDir>
#include <QFile>

bool write_uut_file(const SimCell &cell, const QString &table)
{
    const QString folder = cell.path("/cell/tables/uut_ref_data");
    if (!QDir().mkpath(folder))
        return false;
    QFile file(folder + '/' + table + ".uut");
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    file.write("@UUT_FILE_UPDATED_KEYWORD\n11/01/2026 08:00:00\n\n"
               "@UUT_CAL_TYPE_KEYWORD\nGauge\n\n"
               "@UUT_MODEL_KEYWORD\nSIM-100\n\n"
               "@UUT_MTE_KEYWORD\nMTE-0042\n\n"
               "@RECORD_DATA_ACTION_KEYWORD\nAS_FOUND\n");
    return true;
}

int channel_item(const QComboBox *box, int channel)
{
    return box->findText(QString::asprintf("%5d  -  ", channel), Qt::MatchContains);
}

QByteArray file_bytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
