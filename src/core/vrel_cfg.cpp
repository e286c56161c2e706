#include "vrel_cfg.h"

#include <cmath>
#include <cstring>

VREL_CFG *cfg = nullptr;
int16_t num_points = 0;
int32_t captured_count = 0;
bool blank_selection_allowed = true;
uint16_t saved_tol_state = 0;
bool environment_confirmed = false;
int16_t touch_screen = 0;
bool debug_mode = false;
int32_t averaging_count = 0;
int32_t point_samples[kMaxPoints] = {};
MainWindow *the_main_window = nullptr;
CellInfo *cell_info = nullptr;
EnvSettings *env_settings = nullptr;
InputDevice *input_device = nullptr;
void *room_temp_var = nullptr;
void *barometer_var = nullptr;
void *humidity_var = nullptr;

unsigned char long_table_snapshot[ORV_LONG_TABLE_POINTS_BYTES];
int64_t last_mv_key = 0;
int64_t last_eng_key = 0;

QString mua_instance_text;
QString ooa_bias_text, ooa_tol_text;
QString oot_bias_text, oot_tol_text;
QString soot_bias_text, soot_tol_text;
int16_t selected_mua_index = 0;

char hist_ref_mfg[32], hist_ref_model[32], hist_ref_ser_num[32], hist_ref_equip_num[32],
    hist_ref_cal_due_date[32], hist_ref_physical_con[32];

void init_tolerance_texts()
{
    mua_instance_text = QStringLiteral("none");
    ooa_bias_text = QStringLiteral("0[PCT]");
    ooa_tol_text = QStringLiteral(".25[PCT]");
    oot_bias_text = QStringLiteral("0[PCT]");
    oot_tol_text = QStringLiteral("1[PCT]");
    soot_bias_text = QStringLiteral("0[PCT]");
    soot_tol_text = QStringLiteral("2[PCT]");
}

void set_cfg(VREL_CFG *record)
{
    cfg = record;
}

VREL_CFG *get_cfg()
{
    return cfg;
}

namespace
{
// The monitor thread writes the mark at any moment: whole-record copies and
// clears go round it.
constexpr size_t mark = offsetof(VREL_CFG, monitor_mark);
constexpr size_t after = mark + sizeof(VREL_CFG::monitor_mark);
} // namespace

void copy_record(VREL_CFG *to, const VREL_CFG *from)
{
    auto *out = reinterpret_cast<unsigned char *>(to);
    const auto *in = reinterpret_cast<const unsigned char *>(from);
    std::memcpy(out, in, mark);
    std::memcpy(out + after, in + after, sizeof(VREL_CFG) - after);
}

void clear_record(VREL_CFG *record)
{
    auto *bytes = reinterpret_cast<unsigned char *>(record);
    std::memset(bytes, 0, mark);
    std::memset(bytes + after, 0, sizeof(VREL_CFG) - after);
    __atomic_store_n(&record->monitor_mark, uint16_t(0), __ATOMIC_RELAXED);
}

bool equal_within_1e6(double a, double b)
{
    return std::fabs(a - b) <= 1e-6;
}

bool has_unrecorded_changes(VREL_CFG *record)
{
    if (record->unrecorded_changes == 0)
        return false;
    record->pending_changes = 1;
    return true;
}

int range_in_use(const VREL_CFG *record)
{
    const int range = record->table_info.range_index;
    return range >= 0 && range < kMaxRanges ? range : 0;
}

void trim_text(char *text)
{
    size_t length = std::strlen(text);
    while (length > 0 && (text[length - 1] == ' ' || text[length - 1] == '\n'))
        text[--length] = '\0';
    size_t lead = 0;
    while (text[lead] == ' ')
        ++lead;
    if (lead > 0)
        std::memmove(text, text + lead, length - lead + 1);
}
