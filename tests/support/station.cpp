#include "station.h"

#include "calibrationfiles.h"

#include "mainwindow.h"
#include "pointinfo.h"
#include "vrel_cfg.h"
#include "worker.h"

#include "ui_mainwindow.h"

#include <orvane/cell.h>
#include <orvane/shm.h>

#include <QElapsedTimer>
#include <QPushButton>
#include <QRadioButton>
#include <QtTest>

#include <cstring>

Station::Station() = default;

Station::~Station()
{
    window_.reset();
    the_main_window = nullptr;
}

bool Station::open(const QStringList &cell_options)
{
    if (!cell_.start(cell_options))
        return false;
    for (const char *table : {"oil_temp_in", "oil_temp_out", "coolant_temp", "oil_press", "fuel_press",
                              "intake_press", "exh_back_press", "throttle_pos", "dyno_torque", "fuel_flow",
                              "engine_speed", "intake_air_temp", "blowby_flow", "air_flow"})
        if (!write_uut_file(cell_, QString::fromLatin1(table)))
            return false;
    window_ = std::make_unique<MainWindow>();
    the_main_window = window_.get();
    environment_confirmed = true;
    env_settings->env_vars_used = 0;
    const char *reference[] = {"Harlow Instruments", "HCX-20",     "SN-REF-1",
                               "EQ-77",              "12/31/2027", "TC plug"};
    char *fields[] = {cfg->ref_mfg, cfg->ref_model, cfg->ref_ser_num, cfg->ref_equip_num, cfg->ref_cal_due_date,
                      cfg->ref_physical_con};
    for (int i = 0; i < 6; ++i)
        std::strncpy(fields[i], reference[i], 31);
    return true;
}

bool Station::select(int channel)
{
    QComboBox *box = window_->form()->cboCurrentChannel;
    const int item = channel_item(box, channel);
    if (item < 0)
        return false;
    box->setCurrentIndex(item);
    return box->currentIndex() == item && cfg->channel == channel;
}

PointInfo *Station::row(int index)
{
    return window_->pointRows().at(index);
}

Worker *Station::worker()
{
    return window_->averagingWorker();
}

namespace {

int64_t cell_ticks()
{
    auto *control = static_cast<const orv_control *>(get_shrd_mem(ORV_SEG_CONTROL, 0));
    return control ? __atomic_load_n(&control->ticks, __ATOMIC_ACQUIRE) : 0;
}

} // namespace

bool Station::applyAndCapture(int channel, int index, double value)
{
    if (!cell_.apply(channel, value))
        return false;
    // The cell publishes the value at its next tick; its tick counter says
    // when a tick has passed since the value was applied.
    const int64_t applied_at = cell_ticks();
    QElapsedTimer waited;
    waited.start();
    while (cell_ticks() <= applied_at + 1) {
        if (waited.elapsed() > 5000)
            return false;
        QTest::qWait(5);
    }
    captureRow(index);
    return true;
}

bool Station::captureAllAtRowValues(int channel, double factor)
{
    for (int i = 0; i < num_points; ++i)
        if (!applyAndCapture(channel, i, row(i)->currentValueField()->text().toDouble() * factor))
            return false;
    return true;
}

void Station::fillRecordTexts()
{
    Ui::MainWindow *ui = window_->form();
    ui->txtCalibrationQIE->setText("QIE-17, rev 3");
    ui->txtTechnicianName->setText("R. Tester");
    ui->txtLabManager->setText("M. Lab");
    ui->txtComment->setText("yearly, with commas");
}

void Station::record(const char *choice, const QString &description, const QString &then)
{
    answerer_.answer("Record", [choice, description](QWidget *dialog) {
        dialog->findChild<QRadioButton *>(QLatin1String(choice))->setChecked(true);
        dialog->findChild<QLineEdit *>(QStringLiteral("txtComment"))->setText(description);
    });
    if (!then.isEmpty())
        answerer_.answer(then);
    window_->form()->btnRecordData->click();
}

void Station::captureRow(int index)
{
    row(index)->findChild<QPushButton *>(QStringLiteral("btnCapture"))->click();
    for (int i = 0; i <= averaging_count && worker()->isAveraging(); ++i)
        worker()->dealWithStatValuesAveraging();
}

