// The flows behind the three main buttons: Record Data, Accept No-Adjust
// and Adjust & Rebuild Calibration.  Each leaves a trace in the files and
// the window in the state that offers the next step.
#include "mainwindow.h"

#include "flow_questions.h"
#include "history.h"
#include "messageboxes.h"
#include "pointinfo.h"
#include "rebuild.h"
#include "report.h"
#include "savetypedialog.h"
#include "uut_ref.h"
#include "vrel_cfg.h"
#include "vrel_util.h"

#include "ui_mainwindow.h"

#include <orvane/strings.h>

#include <qwt_plot.h>

namespace {

const char kDateFormat[] = "MM/dd/yyyy hh:mm:ss";

// A text of the form for the record: commas out (the report is comma
// separated), Latin-1, cut to the field.
void take_text(const QLineEdit *field, char *destination, size_t size)
{
    QString text = field->text();
    text.remove(QLatin1Char(','));
    copyn("mainwindow", __LINE__, destination, text.toLatin1().constData(), size);
}

} // namespace

void MainWindow::takeFormTexts()
{
    take_text(ui->txtCalibrationQIE, cfg->table_info.working_standard, sizeof cfg->table_info.working_standard);
    take_text(ui->txtTechnicianName, cfg->table_info.technician, sizeof cfg->table_info.technician);
    take_text(ui->txtLabManager, cfg->lab_manager, sizeof cfg->lab_manager);
    take_text(ui->txtComment, cfg->comment, sizeof cfg->comment);
}

void MainWindow::restNextStep()
{
    ui->lblNextStep->setStyleSheet(QStringLiteral("background-color: rgb(255,252,239)"));
    ui->lblNextStep->clear();
}

void MainWindow::stampDate(QLineEdit *field)
{
    last_action_time = QDateTime::currentDateTime();
    field->setText(last_action_time.toString(QString::fromLatin1(kDateFormat)));
}

void MainWindow::greyFlowButtons()
{
    ui->btnReuseCalibration->setStyleSheet(QString::fromLatin1(kFaceGrey));
    ui->btnAdjustCalibration->setStyleSheet(QString::fromLatin1(kFaceGrey));
}

void MainWindow::on_btnRecordData_clicked()
{
    restNextStep();
    for (const QLineEdit *field : {ui->txtTechnicianName, ui->txtCalibrationQIE, ui->txtLabManager, ui->txtComment}) {
        if (field->text().isEmpty()) {
            show_titled_notice(this, QStringLiteral("Information"),
                               QStringLiteral("Please enter the:\n\n * Calibration Procedure\n * Technician Name\n* "
                                              "Lab Manager\n * Comment\n\nbefore Recording data."));
            return;
        }
    }
    // The count follows the faces, so it cannot drift from what is shown.
    captured_count = 0;
    for (PointInfo *row : point_rows)
        if (row->captureText().contains(QLatin1String("Undo")))
            ++captured_count;
    if (captured_count != num_points &&
        !ask_yes_no(this, QStringLiteral("Warning"),
                    QStringLiteral("You have attempted to Record Data without all points being captured\n\nAre you "
                                   "sure you want to Record the data?")))
        return;
    const bool as_found_present = !ui->txtAsFound->text().isEmpty();
    reduceTolState();
    SaveTypeDialog dialog(this, as_found_present);
    if (dialog.exec() == QDialog::Accepted) {
        const bool as_found = dialog.as_found_selected();
        ui->btnAdjustCalibration->setEnabled(as_found);
        ui->btnReuseCalibration->setEnabled(as_found);
    }
    ui->dataPlot->replot();
}

void MainWindow::recordAsFound()
{
    const bool adjust_was = ui->btnAdjustCalibration->isEnabled();
    const bool reuse_was = ui->btnReuseCalibration->isEnabled();
    ui->btnAdjustCalibration->setEnabled(true);
    ui->btnReuseCalibration->setEnabled(true);
    if (!ui->txtAdjustCalibration->text().isEmpty()) {
        if (!ask_yes_no(this, QStringLiteral("Warning"),
                        QStringLiteral("This channel has already been adjusted.\n\nAre you sure you want to record "
                                       "this as As-Found data?"))) {
            ui->btnAdjustCalibration->setEnabled(adjust_was);
            ui->btnReuseCalibration->setEnabled(reuse_was);
            return;
        }
        for (QLineEdit *field : {ui->txtAdjustCalibration, ui->txtVerificationData}) {
            field->clear();
            field->setStyleSheet(QString::fromLatin1(kFieldWhite));
        }
    }
    stampDate(ui->txtAsFound);
    takeFormTexts();
    save_calibration(cfg, CAL_AS_FOUND);
    resetCaptureButtons();
    const uint16_t state = cfg->table_info.tol_state;
    ui->txtAsFound->setStyleSheet(band_style(state));
    // The blue face recommends: accept a channel that needs nothing,
    // adjust one that is out of adjustment, neither when it needs service.
    ui->btnReuseCalibration->setStyleSheet(QString::fromLatin1(state == TOL_NOADJ ? kFaceBlue : kFaceGrey));
    ui->btnAdjustCalibration->setStyleSheet(QString::fromLatin1(state == TOL_OOA ? kFaceBlue : kFaceGrey));
    const QString next = as_found_next_step(state);
    if (!next.isEmpty())
        ui->lblNextStep->setText(next);
}

void MainWindow::recordVerification()
{
    const bool adjust_was = ui->btnAdjustCalibration->isEnabled();
    const bool reuse_was = ui->btnReuseCalibration->isEnabled();
    ui->btnAdjustCalibration->setEnabled(true);
    ui->btnReuseCalibration->setEnabled(true);
    if (ui->txtAdjustCalibration->text().isEmpty() &&
        !ask_yes_no(this, QStringLiteral("Warning"),
                    QStringLiteral("No adjustment has been made.\n\nAre you sure you want to record this as "
                                   "Verification data?"))) {
        ui->btnAdjustCalibration->setEnabled(adjust_was);
        ui->btnReuseCalibration->setEnabled(reuse_was);
        return;
    }
    stampDate(ui->txtVerificationData);
    resetCaptureButtons();
    takeFormTexts();
    save_calibration(cfg, CAL_VERIFICATION);
    const uint16_t state = cfg->table_info.tol_state;
    ui->txtVerificationData->setStyleSheet(band_style(state));
    ui->lblNextStep->setText(verification_next_step(state));
    if (state < 4)
        greyFlowButtons();
    cfg->averaging_seconds = ui->txtAveragingTime->text().toInt();
    write_uut_data(cfg, CAL_VERIFICATION);
    write_ref_data(cfg, CAL_VERIFICATION);
    write_calibration_report(CAL_VERIFICATION);
    ui->btnAdjustCalibration->setEnabled(false);
    ui->btnReuseCalibration->setEnabled(false);
}

bool MainWindow::confirmFinish(const FlowQuestion &question, QLineEdit *date_field)
{
    if (!question.title.isEmpty() && !ask_yes_no(this, question.title, question.text))
        return false;
    if (question.date_band >= 0)
        date_field->setStyleSheet(band_style(question.date_band));
    return true;
}

void MainWindow::on_btnReuseCalibration_clicked()
{
    reduceTolState();
    if (!confirmFinish(reuse_question(cfg->table_info.cal_mode, cfg->table_info.tol_state),
                       ui->txtVerificationData))
        return;
    // Re-use reports first and publishes after.
    resetCaptureButtons();
    stampDate(ui->txtVerificationData);
    greyFlowButtons();
    takeFormTexts();
    cfg->averaging_seconds = ui->txtAveragingTime->text().toInt();
    write_uut_data(cfg, CAL_REUSE);
    write_ref_data(cfg, CAL_REUSE);
    write_calibration_report(CAL_REUSE);
    save_history(cfg, CAL_REUSE);
    rebuildTables(cfg);
    ui->dataPlot->replot();
    clear_new_table(cfg);
    clear_new_long_table(cfg);
    ui->txtVerificationData->setFocus(Qt::OtherFocusReason);
}

void MainWindow::on_btnAdjustCalibration_clicked()
{
    reduceTolState();
    if (!confirmFinish(adjust_question(cfg->table_info.cal_mode, cfg->table_info.tol_state),
                       ui->txtAdjustCalibration))
        return;
    // Adjust publishes first and reports after, on the reloaded table.
    resetCaptureButtons();
    stampDate(ui->txtAdjustCalibration);
    greyFlowButtons();
    takeFormTexts();
    // The reload after the rebuild reads the UUT texts from a .uut that is
    // rewritten only below: what the technician accepted is carried over it.
    const UutEntry entered = uut_entry_of(cfg);
    save_calibration(cfg, CAL_ADJUSTED);
    rebuildTables(cfg);
    restore_uut_entry(cfg, entered);
    ui->dataPlot->replot();
    clearRowFieldStyles();
    clear_new_table(cfg);
    clear_new_long_table(cfg);
    for (PointInfo *row : point_rows)
        showTablePoint(row->currentValueField(), row->millivoltsLabel(), row->index());
    drawCapturedCurve(cfg);
    drawPreviousCurve(cfg);
    cfg->averaging_seconds = ui->txtAveragingTime->text().toInt();
    write_uut_data(cfg, CAL_ADJUSTED);
    write_ref_data(cfg, CAL_ADJUSTED);
    write_calibration_report(CAL_ADJUSTED);
}
