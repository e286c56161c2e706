#include "functions.h"

#include <orvane/log.h>
#include <orvane/vars.h>

#include <QApplication>
#include <QMessageBox>

#include <cstring>

extern "C" {
orv_ai_real *Ai_real = nullptr;
orv_millivolts *Mv = nullptr;
orv_sys_attr *Sys_attr = nullptr;
orv_scheduler *Sched_attr = nullptr;
int16_t Override_enable = 0;
int16_t Spec_file_line_count = 0;
__attribute__((weak)) char *ORVANE_VER = const_cast<char *>("$Version: E-7.1.0    $");
}
orv_ai_transfer *ai_transfer = nullptr;
void *display_strings = nullptr;
void *cal_tables_base = nullptr;
void *cal_tables = nullptr;

namespace {

struct SegmentLink {
    int id;
    void **pointer;
    const char *missing_text;
};

} // namespace

namespace {

bool link_lost = false;

// The seven links in the host's order.  A segment that cannot be had
// keeps the pointer it had: a rebuild with the host down must not leave a
// null pointer behind for the next channel selection to read through.
int link_segments(bool quiet)
{
    // The host's order; the AI_TRANSFER text has always lacked its "to".
    const SegmentLink links[] = {
        {ORV_SEG_AI_REAL, reinterpret_cast<void **>(&Ai_real),
         "Orvane must be running\nUnable to get AI_REAL memory"},
        {ORV_SEG_MILLIVOLTS, reinterpret_cast<void **>(&Mv),
         "Orvane must be running\nUnable to get MILLIVOLTS memory"},
        {ORV_SEG_SYS_ATTR, reinterpret_cast<void **>(&Sys_attr),
         "Orvane must be running\nUnable to get System Attributes memory"},
        {ORV_SEG_AI_TRANSFER, reinterpret_cast<void **>(&ai_transfer),
         "Orvane must be running\nUnable get AI_TRANSFER memory"},
        {ORV_SEG_SCHEDULER, reinterpret_cast<void **>(&Sched_attr),
         "Orvane must be running\nUnable to get SCHEDULER memory"},
        {ORV_SEG_DISPLAY_STRINGS, &display_strings, "Orvane must be running\nUnable to get DISPLAY_STRINGS memory"},
        {ORV_SEG_CAL_TABLES, &cal_tables_base, "Orvane must be running\nUnable to get CAL_TABLES memory"},
    };
    for (const SegmentLink &link : links) {
        void *segment = get_shrd_mem(link.id, 0);
        if (!segment) {
            if (!quiet)
                show_information(link.missing_text);
            link_lost = true;
            return -1;
        }
        *link.pointer = segment;
    }
    cal_tables = cal_tables_base;
    link_lost = false;
    return 0;
}

} // namespace

int link_shared_memory()
{
    return link_segments(false);
}

bool relink_if_lost()
{
    return !link_lost || link_segments(true) == 0;
}

void show_information(const QString &text)
{
    QMessageBox box;
    QFont font = QApplication::font();
    font.setPointSize(13);
    box.setFont(font);
    box.setWindowTitle(QStringLiteral("Information"));
    box.setText(QString::fromLatin1(text.toLatin1()));
    box.exec();
}

void show_information(const char *text)
{
    show_information(QString::fromLatin1(text));
}

bool find_host_variable(const char *name, void **address)
{
    vrbl_handle handle {};
    short result = find_variable(name, &handle);
    if (result != 0) {
        log_error("functions", __LINE__, 1, result, "Can't find variable <%s>", name);
        return false;
    }
    *address = get_vrbl_adr(handle);
    return true;
}

QString host_path(const char *absolute)
{
    char path[4096];
    orvane_root_path(absolute, path, sizeof path);
    return QString::fromLocal8Bit(path);
}

void host_path(const char *absolute, char *out, size_t size)
{
    orvane_root_path(absolute, out, size);
}

double live_millivolts(int channel)
{
    uint64_t bits = __atomic_load_n(reinterpret_cast<const uint64_t *>(&Mv[channel].value), __ATOMIC_RELAXED);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

int16_t channel_active_word(int channel)
{
    return Ai_real[channel].active;
}

int16_t host_channel_count()
{
    return Sys_attr->channel_count;
}

const char *channel_name(int channel)
{
    return Ai_real[channel].name;
}
