// What the window, capture and flow tests share: the live value of a frozen
// cell, the capture button of a row, and the forced sensor form.
#pragma once

#include "station.h"

#include "mainwindow.h"
#include "pointinfo.h"
#include "vrel_cfg.h"
#include "worker.h"

#include "ui_mainwindow.h"

#include <orvane/cell.h>
#include <orvane/shm.h>

#include <QComboBox>
#include <QElapsedTimer>
#include <QPushButton>
#include <QtTest>

// Written by the test into a frozen cell's segment.
struct LiveValue {
    orv_millivolts *mv = static_cast<orv_millivolts *>(orvane_segment_attach_rw(ORV_SEG_MILLIVOLTS, nullptr));
    void set(int channel, double value) { mv[channel].value = value; }
};

// Freezes the cell and waits two of its ticks, so that nothing it publishes
// afterwards overwrites what the test writes.
inline bool freeze(Station &station)
{
    auto *control = static_cast<orv_control *>(orvane_segment_attach_rw(ORV_SEG_CONTROL, nullptr));
    if (!control || !station.cell().command({"freeze"}))
        return false;
    const int64_t start = __atomic_load_n(&control->ticks, __ATOMIC_RELAXED);
    QElapsedTimer waited;
    waited.start();
    while (__atomic_load_n(&control->ticks, __ATOMIC_RELAXED) < start + 2 && waited.elapsed() < 5000)
        QTest::qWait(5);
    return __atomic_load_n(&control->ticks, __ATOMIC_RELAXED) >= start + 2;
}

inline QPushButton *capture_button(PointInfo *row)
{
    return row->findChild<QPushButton *>(QStringLiteral("btnCapture"));
}

// Selects a channel whose .uut is gone, so that the sensor form is forced,
// and cancels the form.
inline void select_refused(Station &station, int channel, const QString &table)
{
    QFile::remove(station.cell().path("/cell/tables/uut_ref_data/" + table + ".uut"));
    station.answerer().answer(QStringLiteral("OK")); // the reason for the forced form
    station.answerer().answer(QStringLiteral("Cancel"));
    station.select(channel);
}
