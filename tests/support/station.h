// A calibration station for GUI tests: a simulated cell, the channel files
// a calibration needs, and the main window, ready to select a channel
// without the forms that a fresh channel forces (the environment, sensor
// and reference data are given up front).
#pragma once

#include "dialoganswerer.h"
#include "simcell.h"

#include <QStringList>

#include <memory>

class MainWindow;
class PointInfo;
class Worker;

class Station {
public:
    Station();
    ~Station();

    // Starts the cell with these options and opens the window.
    bool open(const QStringList &cell_options = {"--tick", "20", "--no-noise"});
    // Selects a channel by its number; true when the channel is shown.
    bool select(int channel);

    MainWindow &window() { return *window_; }
    SimCell &cell() { return cell_; }
    DialogAnswerer &answerer() { return answerer_; }
    PointInfo *row(int index);
    Worker *worker();

    // Runs one capture on a row by driving the worker's ticks directly:
    // `samples` ticks, then the finishing tick.  The cell's live values are
    // whatever is published at each tick.
    void captureRow(int index);
    // The technician applies each row's value times `factor` to the
    // channel's sensor and captures the row once the cell has published it.
    void captureAllRows(int channel, double factor = 1.0);
    // The four texts that Record Data asks for.
    void fillRecordTexts();
    // Presses Record Data and answers the record type dialog with a choice
    // (the radio button's name) and a description.
    void recordAs(const char *choice, const QString &description = QString());

private:
    SimCell cell_;
    DialogAnswerer answerer_;
    std::unique_ptr<MainWindow> window_;
};
