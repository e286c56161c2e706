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

    // The technician applies `value` to the channel's sensor, waits for the
    // cell to publish it, and captures it on a row.
    bool applyAndCapture(int channel, int index, double value);
    // The same for every row in use, each at the value its row shows
    // times `factor`.
    bool captureAllAtRowValues(int channel, double factor = 1.0);
    // The texts a record asks for, and a record of the given type
    // ("rbAsFound", "rbVerification") through the record type dialog,
    // with the answer to the question that follows it, if any.
    void fillRecordTexts();
    void record(const char *choice, const QString &description = QString(), const QString &then = QString());

private:
    SimCell cell_;
    DialogAnswerer answerer_;
    std::unique_ptr<MainWindow> window_;
};
