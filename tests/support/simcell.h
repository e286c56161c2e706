// A simulated cell of the test's own: a temporary root, a private cell
// instance, and orvane-sim started in it with a readiness check.  The
// environment of the test process (ORVANE_ROOT, ORVANE_CELL) points at it
// while it lives, so the host library in the test process sees this cell.
#pragma once

#include <QString>
#include <QStringList>
#include <QTemporaryDir>

class SimCell {
public:
    SimCell();
    ~SimCell();
    SimCell(const SimCell &) = delete;
    SimCell &operator=(const SimCell &) = delete;

    // Starts orvane-sim with these options (see `orvane-sim help`).
    // Returns once the cell is ready; false with lastOutput() on failure.
    bool start(const QStringList &options = {});
    // Stops it cleanly; the root stays until destruction.
    bool stop();
    bool running() const { return running_; }

    // Runs an orvane-sim command against this cell; true on exit status 0.
    bool command(const QStringList &arguments, QString *output = nullptr) const;
    bool apply(int channel, double value) const;

    QString root() const { return dir_.path(); }
    QString instance() const { return instance_; }
    // ROOT + an absolute host path such as "/cell/tables".
    QString path(const QString &absolute) const { return root() + absolute; }
    QString hostLog() const;
    QString lastOutput() const { return output_; }

    static QString program(const QString &name); // a built program's path

private:
    QTemporaryDir dir_;
    QString instance_;
    QByteArray previous_root_, previous_cell_;
    bool running_ = false;
    int guard_ = -1; // write end of the pipe the cell's guard waits on
    mutable QString output_;
};
