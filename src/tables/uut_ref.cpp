#include "uut_ref.h"

#include "clock.h"
#include "replacement_file.h"
#include "vrel_callbacks.h"
#include "writer_support.h"

#include <orvane/strings.h>

#include <QLocale>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace
{

const char kActionKeyword[] = "@RECORD_DATA_ACTION_KEYWORD";

// Stores the value line under keyword, cut to the field's width; a
// keyword not found leaves the empty text.
template <size_t N> void read_keyword(FILE *file, const char *keyword, char (&field)[N])
{
    char line[1024];
    get_1st_line(file, line, sizeof line, keyword);
    copyn("uut_ref", __LINE__, field, line, N);
}

template <size_t N> void write_keyword(FILE *file, const char *keyword, char (&field)[N])
{
    std::fprintf(file, "%s\n%s\n\n", keyword, ended(field));
}

// Stamps a rewrite of the file; false when it cannot be made, and
// nothing is written then.
bool begin_file(const ReplacementFile &file, const char *updated_keyword)
{
    if (!file.stream())
        return false;
    std::fprintf(file.stream(), "%s\n%s\n\n", updated_keyword,
                 QLocale::c()
                     .toString(vrel_now_qt(), QStringLiteral("MM/dd/yyyy hh:mm:ss"))
                     .toLatin1()
                     .constData());
    return true;
}

void end_file(ReplacementFile &file, uint16_t action)
{
    std::fprintf(file.stream(), "%s\n%s\n", kActionKeyword, record_action_word(action));
    file.commit();
}

void clear_uut_block(VREL_CFG *record)
{
    const size_t begin = offsetof(VREL_CFG, uut_mfg);
    const size_t end = offsetof(VREL_CFG, averaging_seconds) + sizeof record->averaging_seconds;
    std::memset(reinterpret_cast<unsigned char *>(record) + begin, 0, end - begin);
}

// What the table says of the unit under test overrides the file.
void derive_from_table(VREL_CFG *record)
{
    const TableInfo &table = record->table_info;
    copyn("uut_ref", __LINE__, record->uut_sn, table.sensor_sn, sizeof record->uut_sn);
    copyn("uut_ref", __LINE__, record->uut_description, table.tbl_desc,
          sizeof record->uut_description);
    // The manufacturer field takes the model text.
    copyn("uut_ref", __LINE__, record->uut_mfg, table.sensor_model, sizeof record->uut_mfg);
    record->uut_full_scale = table.sensor_range_upper_limit;
    copyn("uut_ref", __LINE__, record->uut_full_scale_units, table.sensor_range_units,
          sizeof record->uut_full_scale_units);
}

void derive_error_limit(VREL_CFG *record)
{
    char number[80] = "";
    char units[16] = "";
    split_value_units(oot_tol_text.toLatin1().constData(), number, units);
    record->uut_error_limit = std::strtod(number, nullptr);
    copyn("uut_ref", __LINE__, record->uut_error_limit_units, units,
          sizeof record->uut_error_limit_units);
}

} // namespace

const char *record_action_word(uint16_t action)
{
    switch (action) {
    case CAL_ADJUSTED:
        return "AS_FOUND";
    case CAL_VERIFICATION:
        return "AS_LEFT";
    default:
        return "AS_FOUND/AS_LEFT";
    }
}

void read_uut_data(VREL_CFG *record)
{
    const CLocaleScope c_locale;
    clear_uut_block(record);
    if (FILE *file = std::fopen(ended(record->uut_file), "r")) {
        // Asked in this order, not the file's: the lookup searches the whole file.
        read_keyword(file, "@UUT_CAL_TYPE_KEYWORD", record->uut_cal_type);
        read_keyword(file, "@UUT_MODEL_KEYWORD", record->uut_model);
        read_keyword(file, "@UUT_MTE_KEYWORD", record->uut_mte);
        std::fclose(file);
    }
    derive_from_table(record);
    derive_error_limit(record);
}

UutEntry uut_entry_of(const VREL_CFG *record)
{
    UutEntry entry;
    std::memcpy(entry.cal_type, record->uut_cal_type, sizeof entry.cal_type);
    std::memcpy(entry.model, record->uut_model, sizeof entry.model);
    std::memcpy(entry.mte, record->uut_mte, sizeof entry.mte);
    return entry;
}

void restore_uut_entry(VREL_CFG *record, const UutEntry &entry)
{
    std::memcpy(record->uut_cal_type, entry.cal_type, sizeof entry.cal_type);
    std::memcpy(record->uut_model, entry.model, sizeof entry.model);
    std::memcpy(record->uut_mte, entry.mte, sizeof entry.mte);
}

void read_ref_data(VREL_CFG *record)
{
    for (char *text : {hist_ref_mfg, hist_ref_model, hist_ref_ser_num, hist_ref_equip_num,
                       hist_ref_cal_due_date, hist_ref_physical_con})
        std::memset(text, 0, sizeof hist_ref_mfg);
    FILE *file = std::fopen(ended(record->ref_file), "r");
    if (!file)
        return;
    read_keyword(file, "@REF_MANUFACTURER_KEYWORD", hist_ref_mfg);
    read_keyword(file, "@REF_MODEL_KEYWORD", hist_ref_model);
    read_keyword(file, "@REF_SER_NUM_KEYWORD", hist_ref_ser_num);
    read_keyword(file, "@REF_EQUIP_NUM_KEYWORD", hist_ref_equip_num);
    read_keyword(file, "@REF_CAL_DUE_DATE_KEYWORD", hist_ref_cal_due_date);
    read_keyword(file, "@REF_PHYSICAL_CON_KEYWORD", hist_ref_physical_con);
    std::fclose(file);
}

void write_uut_data(VREL_CFG *record, uint16_t action)
{
    const CLocaleScope c_locale;
    ReplacementFile replacement(ended(record->uut_file));
    if (!begin_file(replacement, "@UUT_FILE_UPDATED_KEYWORD"))
        return;
    FILE *file = replacement.stream();
    write_keyword(file, "@UUT_MFG_KEYWORD", record->uut_mfg);
    write_keyword(file, "@UUT_MODEL_KEYWORD", record->uut_model);
    write_keyword(file, "@UUT_SN_KEYWORD", record->uut_sn);
    write_keyword(file, "@UUT_DESCRIPTION_KEYWORD", record->uut_description);
    write_keyword(file, "@UUT_CAL_TYPE_KEYWORD", record->uut_cal_type);
    write_keyword(file, "@UUT_MTE_KEYWORD", record->uut_mte);
    std::fprintf(file, "%s\n%lf[%s]\n\n", "@UUT_FULL_SCALE_KEYWORD", record->uut_full_scale,
                 ended(record->uut_full_scale_units));
    std::fprintf(file, "%s\n%lf[%s]\n\n", "@UUT_ERROR_LIMIT_KEYWORD", record->uut_error_limit,
                 ended(record->uut_error_limit_units));
    end_file(replacement, action);
}

void write_ref_data(VREL_CFG *record, uint16_t action)
{
    const CLocaleScope c_locale;
    ReplacementFile replacement(ended(record->ref_file));
    if (!begin_file(replacement, "@REF_FILE_UPDATED_KEYWORD"))
        return;
    FILE *file = replacement.stream();
    write_keyword(file, "@REF_MANUFACTURER_KEYWORD", record->ref_mfg);
    write_keyword(file, "@REF_MODEL_KEYWORD", record->ref_model);
    write_keyword(file, "@REF_SER_NUM_KEYWORD", record->ref_ser_num);
    write_keyword(file, "@REF_EQUIP_NUM_KEYWORD", record->ref_equip_num);
    write_keyword(file, "@REF_CAL_DUE_DATE_KEYWORD", record->ref_cal_due_date);
    write_keyword(file, "@REF_PHYSICAL_CON_KEYWORD", record->ref_physical_con);
    end_file(replacement, action);
}
