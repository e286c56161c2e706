// The modal forms that the flows of the main window open.
#include "mainwindow.h"

#include "configdialog2.h"
#include "environmentdialog.h"
#include "pointinfo.h"
#include "referencedialog.h"
#include "tablevalueunitsdialog.h"
#include "vrel_cfg.h"
#include "vrel_util.h"

#include "ui_mainwindow.h"

#include <orvane/log.h>
#include <orvane/strings.h>
#include <orvane/units.h>

#include <QMutexLocker>

void MainWindow::runEnvironmentDialog()
{
    EnvironmentDialog dialog(this);
    dialog.exec();
}

bool MainWindow::runSensorDialog(int guard_status)
{
    ConfigDialog2 dialog(this, true, guard_status);
    return dialog.exec() == QDialog::Accepted && dialog.range_status() == 0;
}

bool MainWindow::runReferenceDialog()
{
    ReferenceDialog dialog(this);
    return dialog.exec() == QDialog::Accepted;
}

void MainWindow::on_actionTable_Info_triggered()
{
    if (ui->cboCurrentChannel->currentIndex() == 0)
        return;
    QMutexLocker lock(cfg_mutex);
    ConfigDialog2 dialog(this, false, 0);
    if (dialog.exec() != QDialog::Accepted)
        return;
    refreshPointRows(false);
    ui->lblSerialNumber->setText(QString::fromLatin1(cfg->table_info.sensor_sn));
    captured_count = 0;
    showCalibrationControls(cfg);
}

void MainWindow::on_actionReference_Info_triggered()
{
    if (ui->cboCurrentChannel->currentIndex() == 0)
        return;
    QMutexLocker lock(cfg_mutex);
    ReferenceDialog dialog(this);
    dialog.exec();
}

void MainWindow::on_actionEnvironment_Variable_Data_triggered()
{
    EnvironmentDialog dialog(this);
    dialog.exec();
}

void MainWindow::on_btnUnits_clicked()
{
    units_opened_from_main = 1;
    units_opened_from_sensor = 0;
    TableValueUnitsDialog picker(this);
    if (picker.exec() != QDialog::Accepted)
        return;
    if (cfg->units_text[0] == '\0') {
        log_error("mainwindow", __LINE__, 1, 0, "Error: No units selected for table.");
    } else if (cfg->units_for_table) {
        LongTable &table = cfg->long_table;
        for (int i = 0; i < table.count && i < kMaxPoints; ++i)
            units_dbl_keyword_convrt(cfg->table_info.tbl_units, &table.y[i], cfg->units_text, table.y[i]);
        copyn("mainwindow", __LINE__, cfg->table_info.tbl_units, cfg->units_text, sizeof cfg->table_info.tbl_units);
        cfg->table_changed = 1;
        ui->lblSerialNumber->setText(QString::fromLatin1(cfg->table_info.sensor_sn));
        ui->btnUnits->setText(QString::fromLatin1(cfg->table_info.tbl_units));
        for (PointInfo *row : point_rows)
            showTablePoint(row->currentValueField(), row->millivoltsLabel(), row->index());
    }
    refreshPointRows(false);
    resolve_tolerances(cfg);
    captured_count = 0;
}
