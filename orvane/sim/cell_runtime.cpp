#include "cell_runtime.h"

#include <orvane/log.h>
#include <orvane/strings.h>
#include <orvane/units.h>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

namespace orvsim {

const char kHostVersion[] = "$Version: E-7.1.0    $";

void store_live(double *where, double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    __atomic_store_n(reinterpret_cast<uint64_t *>(where), bits, __ATOMIC_RELAXED);
}

double load_live(const double *where)
{
    uint64_t bits = __atomic_load_n(reinterpret_cast<const uint64_t *>(where), __ATOMIC_RELAXED);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

namespace {

const int kSegments[] = {ORV_SEG_AI_REAL,     ORV_SEG_MILLIVOLTS,      ORV_SEG_SYS_ATTR,
                         ORV_SEG_AI_TRANSFER, ORV_SEG_SCHEDULER,       ORV_SEG_DISPLAY_STRINGS,
                         ORV_SEG_CAL_TABLES,  ORV_SEG_UNITS,           ORV_SEG_VARIABLES,
                         ORV_SEG_CONTROL};

template <typename T> T *make(int id, size_t size, std::string &error)
{
    void *address = orvane_segment_create(id, size);
    if (!address) {
        char name[128];
        error = std::string("cannot create shared memory ") + orvane_segment_name(id, name, sizeof name);
    }
    return static_cast<T *>(address);
}

void copy_text(char *destination, const std::string &source, size_t size)
{
    copyn("cell_runtime", __LINE__, destination, source.c_str(), size);
}

} // namespace

std::string CellRuntime::lock_name()
{
    char name[160];
    std::snprintf(name, sizeof name, "/orvane.%s.lock", orvane_cell_instance());
    for (char *p = name + 1; *p; ++p)
        if (*p == '/')
            *p = '_';
    return name;
}

CellRuntime::CellRuntime(CellSpec spec) : spec_(std::move(spec)), noise_(spec_.seed) {}

CellRuntime::~CellRuntime()
{
    if (created_)
        remove_segments();
    if (lock_fd_ >= 0) {
        shm_unlink(lock_name().c_str());
        close(lock_fd_);
    }
}

bool CellRuntime::lock_instance(std::string &error)
{
    // The lock lives beside the segments, so it is per instance whatever
    // the root, and the kernel drops it when the process dies.
    lock_fd_ = shm_open(lock_name().c_str(), O_RDWR | O_CREAT, 0644);
    if (lock_fd_ < 0) {
        error = "cannot create the instance lock";
        return false;
    }
    // A cell that has just removed its segments may not have exited yet:
    // give it a moment before calling this instance taken.
    bool locked = flock(lock_fd_, LOCK_EX | LOCK_NB) == 0;
    for (int i = 0; !locked && i < 300 && !get_shrd_mem(ORV_SEG_CONTROL, 0); ++i) {
        usleep(10000);
        locked = flock(lock_fd_, LOCK_EX | LOCK_NB) == 0;
    }
    if (!locked) {
        close(lock_fd_);
        lock_fd_ = -1;
        int pid = 0;
        if (auto *control = static_cast<const orv_control *>(get_shrd_mem(ORV_SEG_CONTROL, 0)))
            pid = control->pid;
        char text[256];
        std::snprintf(text, sizeof text, "cell '%s' is already running (pid %d)", orvane_cell_instance(), pid);
        error = text;
        return false;
    }
    return true;
}

bool CellRuntime::create(std::string &error)
{
    channel_count_ = spec_.channel_count();
    const size_t n = static_cast<size_t>(channel_count_ > 0 ? channel_count_ : 1);

    if (!(ai_real_ = make<orv_ai_real>(ORV_SEG_AI_REAL, n * sizeof(orv_ai_real), error)) ||
        !(millivolts_ = make<orv_millivolts>(ORV_SEG_MILLIVOLTS, n * sizeof(orv_millivolts), error)) ||
        !(sys_attr_ = make<orv_sys_attr>(ORV_SEG_SYS_ATTR, sizeof(orv_sys_attr), error)) ||
        !(ai_transfer_ = make<orv_ai_transfer>(ORV_SEG_AI_TRANSFER, n * sizeof(orv_ai_transfer), error)) ||
        !(scheduler_ = make<orv_scheduler>(ORV_SEG_SCHEDULER, sizeof(orv_scheduler), error)) ||
        !(display_strings_ = make<char>(ORV_SEG_DISPLAY_STRINGS, ORV_DISPLAY_STRINGS_SIZE, error)) ||
        !(cal_tables_ = make<orv_cal_tables>(ORV_SEG_CAL_TABLES, sizeof(orv_cal_tables), error)) ||
        !(units_ = make<orv_unit_record>(ORV_SEG_UNITS, ORV_MAX_UNITS * sizeof(orv_unit_record), error)) ||
        !(variables_ = make<orv_variable_segment>(ORV_SEG_VARIABLES, sizeof(orv_variable_segment), error))) {
        remove_segments();
        return false;
    }
    created_ = true;

    for (const auto &c : spec_.channels) {
        ai_real_[c.number].active = static_cast<int16_t>(c.active);
        copy_text(ai_real_[c.number].name, c.name, sizeof ai_real_[c.number].name);
        copy_text(ai_real_[c.number].units, c.units, sizeof ai_real_[c.number].units);
        copy_text(ai_transfer_[c.number].table_name, c.table, sizeof ai_transfer_[c.number].table_name);
    }
    copy_text(sys_attr_->cell_name, spec_.cell_name, sizeof sys_attr_->cell_name);
    copy_text(sys_attr_->site_name, spec_.site_name, sizeof sys_attr_->site_name);
    sys_attr_->channel_count = static_cast<int16_t>(channel_count_);
    scheduler_->tick = spec_.tick_ms;
    copyn("cell_runtime", __LINE__, display_strings_ + ORV_VERSION_OFFSET, kHostVersion, ORV_VERSION_SIZE);

    int unit_count = 0;
    const orv_unit_record *table = orvane_unit_table(&unit_count);
    if (unit_count > ORV_MAX_UNITS)
        unit_count = ORV_MAX_UNITS;
    std::memcpy(units_, table, static_cast<size_t>(unit_count) * sizeof(orv_unit_record));

    int variable_count = 0;
    for (const auto &v : spec_.variables) {
        if (variable_count == ORV_MAX_VARIABLES)
            break;
        orv_variable &slot = variables_->variables[variable_count++];
        copy_text(slot.name, v.name, sizeof slot.name);
        copy_text(slot.units, v.units, sizeof slot.units);
        slot.value = v.value_at(0.0);
    }
    variables_->count = variable_count;

    auto *control = make<orv_control>(ORV_SEG_CONTROL, sizeof(orv_control), error);
    if (!control) {
        remove_segments();
        return false;
    }
    control_ = control;
    control_->pid = static_cast<int32_t>(getpid());
    control_->publishing = 1;
    control_->tick_ms = spec_.tick_ms;
    control_->channel_count = channel_count_;
    for (const auto &c : spec_.channels)
        control_->applied[c.number] = c.applied;
    tick(0.0);
    control_->magic = ORV_CONTROL_MAGIC;
    __atomic_store_n(&control_->ready, 1, __ATOMIC_RELEASE);
    return true;
}

void CellRuntime::tick(double seconds)
{
    if (!control_)
        return;
    if (__atomic_load_n(&control_->publishing, __ATOMIC_RELAXED)) {
        for (const auto &c : spec_.channels) {
            double applied = load_live(&control_->applied[c.number]);
            double sigma = spec_.noise_pct / 100.0 * (c.mv_upper - c.mv_lower);
            store_live(&millivolts_[c.number].value, c.mv_for(applied) + noise_.gaussian(sigma));
        }
        for (int i = 0; i < variables_->count && i < static_cast<int>(spec_.variables.size()); ++i) {
            const VariableSpec &v = spec_.variables[static_cast<size_t>(i)];
            double jitter = noise_.gaussian(v.amplitude * 0.01);
            store_live(&variables_->variables[i].value, v.value_at(seconds) + jitter);
        }
    }
    __atomic_add_fetch(&control_->ticks, 1, __ATOMIC_RELAXED);
}

void CellRuntime::remove_segments()
{
    // The control block goes first: a cell without it is no longer running.
    orvane_segment_remove(ORV_SEG_CONTROL);
    for (int id : kSegments)
        orvane_segment_remove(id);
    created_ = false;
}

} // namespace orvsim
