// The running simulated cell: owns the host's segments for one cell
// instance, fills them from a CellSpec and publishes live values at every
// scheduler tick.
#pragma once

#include "cell_model.h"

#include <orvane/cell.h>
#include <orvane/shm.h>
#include <orvane/vars.h>

#include <string>

namespace orvsim {

class CellRuntime {
public:
    explicit CellRuntime(CellSpec spec);
    ~CellRuntime();
    CellRuntime(const CellRuntime &) = delete;
    CellRuntime &operator=(const CellRuntime &) = delete;

    // Takes the instance lock: false, with a message naming the running
    // cell, when another process already runs this instance.
    bool lock_instance(std::string &error);

    // Creates and fills every segment, the control block last with ready
    // set.  False with a reason when a segment cannot be made.
    bool create(std::string &error);

    // One scheduler tick: seconds is the time since the start.  Live values
    // move only while the control block says publishing.
    void tick(double seconds);

    // Removes every segment's name; the cell is gone for new readers.
    void remove_segments();

    const CellSpec &spec() const { return spec_; }
    orv_control *control() { return control_; }
    int tick_ms() const { return spec_.tick_ms; }

private:
    static std::string lock_name();

    CellSpec spec_;
    Noise noise_;
    int lock_fd_ = -1;
    int channel_count_ = 0;
    orv_ai_real *ai_real_ = nullptr;
    orv_millivolts *millivolts_ = nullptr;
    orv_sys_attr *sys_attr_ = nullptr;
    orv_ai_transfer *ai_transfer_ = nullptr;
    orv_scheduler *scheduler_ = nullptr;
    char *display_strings_ = nullptr;
    orv_cal_tables *cal_tables_ = nullptr;
    orv_unit_record *units_ = nullptr;
    orv_variable_segment *variables_ = nullptr;
    orv_control *control_ = nullptr;
    bool created_ = false;
};

// The version text the host shows.
extern const char kHostVersion[];

// Stores a double with one aligned 64-bit store, as the host does, so that
// a reader never sees half a value.
void store_live(double *where, double value);
double load_live(const double *where);

} // namespace orvsim
