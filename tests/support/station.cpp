#include "station.h"

#include "calibrationfiles.h"

#include "mainwindow.h"
#include "pointinfo.h"
#include "vrel_cfg.h"
#include "worker.h"

#include "ui_mainwindow.h"

#include <QPushButton>
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

void Station::captureRow(int index)
{
    row(index)->findChild<QPushButton *>(QStringLiteral("btnCapture"))->click();
    for (int i = 0; i <= averaging_count && worker()->isAveraging(); ++i)
        worker()->dealWithStatValuesAveraging();
}
