// The point rows as a whole: showing as many rows as the channel has
// points, filling them from its table, restoring their faces, gating the
// record button, and storing a finished capture.
#include "mainwindow.h"

#include "pointinfo.h"
#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <QMutexLocker>

namespace {

QString four_decimals(double value)
{
    return QString::asprintf("%8.4f", value);
}

} // namespace

void MainWindow::showTablePoint(QLineEdit *field, QLabel *label, int i)
{
    field->setText(four_decimals(cfg->long_table.y[i]));
    cfg->point_stats[i].ref_value = cfg->long_table.y[i];
    label->setText(four_decimals(cfg->long_table.x[i]));
}

void MainWindow::populateRows(VREL_CFG *record)
{
    ui->lblSerialNumber->setText(QString::fromLatin1(record->table_info.sensor_sn));
    ui->btnUnits->setText(QString::fromLatin1(record->table_info.tbl_units));
    for (PointInfo *row : point_rows)
        showTablePoint(row->currentValueField(), row->millivoltsLabel(), row->index());
}

void MainWindow::refreshPointRows(bool reset)
{
    const QString white = QString::fromLatin1(kFieldWhite);
    for (PointInfo *row : point_rows) {
        const uint16_t flag = cfg->table_info.point_flags[row->index()];
        if (reset) {
            row->setFieldStyle(white);
            row->setCaptureFace(QStringLiteral("Capture"));
            row->band = 0;
        } else if (flag == POINT_TABLE) {
            row->setCaptureFace(QStringLiteral("Capture"));
            row->band = 0;
        } else if (flag == POINT_NEW) {
            row->setFieldStyle(white);
            row->setCaptureFace(QStringLiteral("Capture New"));
            row->band = 0;
        } else if (flag == POINT_CAPTURED) {
            row->setCaptureFace(QStringLiteral("Undo"));
            row->band = row->saved_band;
        }
    }
    for (QLineEdit *stamp : {ui->txtAdjustCalibration, ui->txtAsFound, ui->txtVerificationData}) {
        stamp->clear();
        stamp->setStyleSheet(white);
    }
    const QString grey = QString::fromLatin1(kFaceGrey);
    ui->btnAdjustCalibration->setStyleSheet(grey);
    ui->btnAdjustCalibration->setEnabled(false);
    ui->btnReuseCalibration->setStyleSheet(grey);
    ui->btnReuseCalibration->setEnabled(false);
    ui->btnRecordData->setStyleSheet(grey);
    hideAllRows();
    showActiveRows();
    cfg->table_info.tol_state = TOL_NOADJ;
}

void MainWindow::hideAllRows()
{
    for (PointInfo *row : point_rows)
        row->setRowVisible(false);
}

void MainWindow::showActiveRows()
{
    for (int i = 0; i < num_points && i < point_rows.size(); ++i)
        point_rows[i]->setRowVisible(true);
}

void MainWindow::clearRowFieldStyles()
{
    for (PointInfo *row : point_rows)
        row->setFieldStyle(QString::fromLatin1(kFieldWhite));
}

void MainWindow::resetCaptureButtons()
{
    // The pass setter: "Undo" greys, "Capture" turns blue; point_flags stay.
    for (PointInfo *row : point_rows)
        row->setCaptureFace(QStringLiteral("Capture"));
    captured_count = 0;
    ui->btnRecordData->setStyleSheet(QString::fromLatin1(kFaceGrey));
    ui->btnRecordData->setEnabled(false);
    ui->btnReuseCalibration->setEnabled(false);
    ui->btnAdjustCalibration->setEnabled(false);
}

void MainWindow::updateRecordButton()
{
    // It never disables the button: only the constructor and a record do.
    if (num_points > captured_count) {
        ui->btnRecordData->setStyleSheet(QString::fromLatin1(kFaceGrey));
    } else {
        ui->btnRecordData->setStyleSheet(QString::fromLatin1(kFaceBlue));
        ui->btnRecordData->setEnabled(true);
    }
}

void MainWindow::enableAllCaptureButtons(bool enabled)
{
    for (int i = 0; i < num_points && i < point_rows.size(); ++i)
        point_rows[i]->setCaptureEnabled(enabled);
}

bool MainWindow::validNumPoints() const
{
    bool ok = false;
    const int value = ui->txtNumPoints->text().toInt(&ok);
    return ok && value >= kMinCalPoints && value <= kMaxPoints;
}

bool MainWindow::commitCapturedPoint(VREL_CFG *record, int index, double value)
{
    QMutexLocker lock(cfg_mutex);
    const int range = range_in_use(record);
    const PointRecord &stats = record->point_stats[index];
    record->last_x = stats.raw_mean;
    record->last_y = stats.eng_mean;
    RawData &in_force = record->table_info.dim.table_poly[range].raw_data;
    in_force.y[index] = value;
    in_force.x[index] = stats.raw_mean;
    RawData &captured = record->new_table_poly[range].raw_data;
    captured.y[index] = value;
    captured.x[index] = stats.raw_mean;
    ++captured.count;
    ++record->new_long_table.count;
    point_rows[index]->millivoltsLabel()->setText(four_decimals(stats.raw_mean));
    refitCapturedPoints(record);
    record->unrecorded_changes = 1;
    return true;
}

void MainWindow::avgFinished(int index)
{
    if (index >= 0 && index < point_rows.size())
        point_rows[index]->finishCapture();
}
