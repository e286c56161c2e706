// Channel selection: the one way data enters the calibration record.  The
// handler works on a full copy of the record and assigns it back in one
// step; it asks whether work in hand may be dropped, starts the threads,
// and holds the technician at the forms whose data the calibration needs.
#include "mainwindow.h"

#include "functions.h"
#include "messageboxes.h"
#include "monitorthread.h"
#include "pointinfo.h"
#include "vrel_cfg.h"
#include "vrel_util.h"
#include "worker.h"

#include "ui_mainwindow.h"

#include <orvane/units.h>

#include <qwt_plot.h>

#include <QMutexLocker>
#include <QSignalBlocker>

#include <cmath>
#include <cstring>
#include <memory>

namespace {

const char kNextStepResting[] = "background-color: rgb(255,252,239)";

// The channel's item is found again by its number alone.
QString channel_key(int channel)
{
    return QString::asprintf("%5d  -  ", channel);
}

} // namespace

bool MainWindow::checkSensorInfo(int &guard_status)
{
    const TableInfo &t = cfg->table_info;
    const double lower = t.sensor_range_lower_limit, upper = t.sensor_range_upper_limit;
    if (lower > upper)
        guard_status = 1;
    else if (equal_within_1e6(lower, upper))
        guard_status = 2;
    else if (std::isnan(lower) || std::isnan(upper))
        guard_status = 3;
    else if (t.sensor_range_units[0] == '\0')
        guard_status = 5;
    else if (qstricmp(t.sensor_range_units, "none") == 0)
        guard_status = 6;
    else if (units_dimension_check_key(t.sensor_range_units, t.tbl_units) != 0)
        guard_status = 7;
    else if (!cfg->uut_cal_type[0] || !cfg->uut_model[0] || !cfg->uut_mte[0])
        guard_status = 8;
    else
        guard_status = 0;
    return guard_status == 0;
}

bool MainWindow::checkReferenceInfo(int &guard_status)
{
    for (const char *field : {cfg->ref_mfg, cfg->ref_model, cfg->ref_ser_num, cfg->ref_equip_num,
                              cfg->ref_cal_due_date, cfg->ref_physical_con}) {
        if (!field[0]) {
            guard_status = 1;
            return false;
        }
    }
    return true;
}

void MainWindow::restoreSelection(int previous)
{
    const int found = ui->cboCurrentChannel->findText(channel_key(previous), Qt::MatchContains);
    for (PointInfo *row : point_rows)
        row->saved_field_style = row->fieldStyle();
    restoring_selection = true;
    ui->cboCurrentChannel->setCurrentIndex(found);
    restoring_selection = false;
}

void MainWindow::clearChannel()
{
    ui->cboCurrentChannel->setCurrentIndex(0);
    ui->btnAdjustCalibration->setEnabled(false);
    ui->btnReuseCalibration->setEnabled(false);
    ui->lblSerialNumber->clear();
    ui->btnUnits->setText(QString());
    hideAllRows();
    ui->coeffFrame->hide();
    ui->lblTableName->clear();
    ui->txtNumPoints->clear();
    ui->cboCalType->setCurrentIndex(0);
    ui->cboCalType->setEnabled(false);
    {
        // Moving the range box would run its reset on the refused channel
        // and bring its rows and controls back: the screen is to stay as
        // at start-up.
        const QSignalBlocker blocker(ui->cboPolyRangeIndex);
        ui->cboPolyRangeIndex->setCurrentIndex(0);
    }
    ui->cboPolyRangeIndex->setEnabled(false);
    blank_selection_allowed = true;
    releaseCurves(); // what the plot does not own
    ui->dataPlot->detachItems(QwtPlotItem::Rtti_PlotCurve, true);
    plot_detached = true;
    ui->dataPlot->setTitle(QString());
    ui->dataPlot->setAxisTitle(QwtPlot::yLeft, QString());
    ui->dataPlot->replot();
    // Only the selection's working copy forgets its changes; what an
    // accepted form changed in the record still stops a careless exit.
}

namespace {

enum class GuardAnswer { Go, Back };

// The three prompts of leaving a channel: OK goes on, Cancel goes back.
GuardAnswer ask_leave(QWidget *parent, QLabel *next_step, const QString &title, const QString &text)
{
    if (!confirm_ok_cancel(parent, title, text))
        return GuardAnswer::Back;
    next_step->setStyleSheet(QString::fromLatin1(kNextStepResting));
    next_step->clear();
    return GuardAnswer::Go;
}

} // namespace

void MainWindow::on_cboCurrentChannel_currentIndexChanged(const QString &text)
{
    // The record is large and the handler re-enters itself: the copy is on the heap.
    auto working = std::make_unique<VREL_CFG>();

    if (!environment_confirmed) {
        QMutexLocker lock(cfg_mutex);
        runEnvironmentDialog();
        environment_confirmed = true;
    }
    {
        QMutexLocker lock(cfg_mutex);
        copy_record(working.get(), cfg);
    }
    if (plot_detached) {
        setupPlot();
        plot_detached = false;
    }
    ui->dataPlot->show();

    const int previous = working->channel;
    saved_tol_state = working->table_info.tol_state;
    bool is_number = false;
    const short number = text.split(QLatin1Char(' '), Qt::SkipEmptyParts).value(0).toShort(&is_number, 10);
    if (!is_number) {
        if (blank_selection_allowed) {
            ui->btnAdjustCalibration->setEnabled(false);
            ui->btnReuseCalibration->setEnabled(false);
            ui->lblSerialNumber->clear();
            ui->btnUnits->setText(QString());
            hideAllRows();
            blank_selection_allowed = false;
            return;
        }
        QMessageBox box(this);
        style_message_box(box, false);
        box.setText(QStringLiteral("Please select a valid channel number and name"));
        box.setStandardButtons(QMessageBox::Ok);
        box.exec();
        working->channel = static_cast<int16_t>(previous);
        restoreSelection(previous);
        return;
    }

    working->channel = number;
    working->unrecorded_changes = 0;
    if (!restoring_selection && !confirmLeavingChannel(*working, previous))
        return;

    if (!monitor_->isRunning())
        monitor_->start(QThread::InheritPriority);
    if (!worker->isRunning()) {
        worker->setTickInterval(Sched_attr->tick);
        worker->start(QThread::InheritPriority);
    }

    {
        QMutexLocker lock(cfg_mutex);
        relink_if_lost();
        reload_if_active(working.get());
        ui->lblTableName->setText(QString::fromLatin1(working->table_info.tbl_name));
        working->x_scale.changed = 1;
        working->y_scale.changed = 1;
        for (int i = 0; i < 2; ++i) {
            PointRecord &stats = working->point_stats[i];
            stats.marker = stats.ref_value = stats.eng_mean = stats.eng_stdev = stats.eng_max = kNotMeasured;
            stats.eng_min = -kNotMeasured;
        }
        copy_record(cfg, working.get());
        showCalibrationControls(working.get());
    }
    plot_reset = true;

    const TableInfo &table = working->table_info;
    const int count_range = table.tbl_type == TBL_POLYNOMIAL_RANGE ? range_in_use(working.get()) : 0;
    ui->txtNumPoints->setText(QString::number(table.dim.table_poly[count_range].raw_data.count));
    populateRows(cfg);
    ui->lblSerialNumber->setText(QString::fromLatin1(cfg->table_info.sensor_sn));
    ui->btnUnits->setText(QString::fromLatin1(cfg->table_info.tbl_units));

    if (!restoring_selection) {
        captured_count = 0;
        refreshPointRows(true);
        for (PointInfo *row : point_rows)
            showTablePoint(row->currentValueField(), row->millivoltsLabel(), row->index());
        ui->lblNextStep->setStyleSheet(QString::fromLatin1(kNextStepResting));
        ui->lblNextStep->clear();
    } else {
        clearRowFieldStyles();
        working->table_info.tol_state = saved_tol_state; // the copy only: cfg keeps the load's
    }

    int guard_status = 0;
    if (!checkSensorInfo(guard_status)) {
        QMutexLocker lock(cfg_mutex);
        if (!runSensorDialog(guard_status)) {
            clearChannel();
            return;
        }
        ui->lblSerialNumber->setText(QString::fromLatin1(cfg->table_info.sensor_sn));
        refreshPointRows(true);
    }

    guard_status = 0;
    if (!checkReferenceInfo(guard_status)) {
        QMutexLocker lock(cfg_mutex);
        if (!runReferenceDialog()) {
            clearChannel();
            return;
        }
    }
    clear_new_table(working.get());
    drawPreviousCurve(working.get());
    drawCapturedCurve(working.get());
}

bool MainWindow::confirmLeavingChannel(VREL_CFG &working, int previous)
{
    // Guards a and b read the flag that the caller has just cleared in the
    // copy, so on a channel change they never speak: their prompts belong
    // to the Exit entry.  That order is kept.
    if (captured_count > 0 && working.unrecorded_changes) {
        if (confirm_ok_cancel(this, QStringLiteral("Captured Points Not Recorded"),
                              QStringLiteral("Captured points have not been recorded.\n\nClick OK to leave this "
                                             "channel anyway or Cancel to return and record data."))) {
            ui->lblNextStep->setStyleSheet(QString::fromLatin1(kNextStepResting));
            ui->lblNextStep->clear();
            return true;
        }
        captured_count = 0;
        for (PointInfo *row : point_rows) {
            if (row->fieldStyle() != QLatin1String(kFieldWhite))
                ++captured_count;
            row->saved_field_style = row->fieldStyle();
        }
        working.channel = static_cast<int16_t>(previous);
        restoring_selection = true;
        ui->cboCurrentChannel->setCurrentIndex(
            ui->cboCurrentChannel->findText(channel_key(previous), Qt::MatchContains));
        restoring_selection = false;
        return false;
    }
    GuardAnswer answer = GuardAnswer::Go;
    if (ui->txtAsFound->text().isEmpty()) {
        if (ui->txtAdjustCalibration->text().isEmpty() && working.unrecorded_changes)
            answer = ask_leave(this, ui->lblNextStep, QStringLiteral("Table Information Modified"),
                               QStringLiteral("The table information has been modified and will not be saved "
                                              "without updating the calibration table.\n\nClick OK to leave this "
                                              "channel anyway or Cancel to return and update the calibration."));
    } else if (ui->txtVerificationData->text().isEmpty() && ui->txtAdjustCalibration->text().isEmpty()) {
        answer = ask_leave(this, ui->lblNextStep, QStringLiteral("Incomplete Calibration"),
                           QStringLiteral("The calibration is incomplete.\n\nClick OK to exit anyway or Cancel to "
                                          "return and complete the calibration."));
    }
    if (answer == GuardAnswer::Back) {
        working.channel = static_cast<int16_t>(previous);
        restoreSelection(previous);
        return false;
    }
    return true;
}
