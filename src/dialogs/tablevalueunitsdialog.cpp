#include "tablevalueunitsdialog.h"

#include "messageboxes.h"

#include "ui_tablevalueunitsdialog.h"

#include <orvane/log.h>
#include <orvane/shm.h>
#include <orvane/strings.h>

#include <cstring>

uint16_t units_opened_from_main = 0;
uint16_t units_opened_from_sensor = 0;

const char kEmptyUnitEntry[] = " <empty>";

namespace
{

const char kModule[] = "tablevalueunitsdialog";
constexpr size_t kUnitNameSize = sizeof(orv_unit_record::name);

const char *const kCategoryNames[kUnitCategories] = {"Temperature", "Pressure", "Time", "Other"};

// A name of the host's table is NUL ended within its 16 bytes; a record
// that breaks that is read no further than its field.
size_t unit_name_length(const char *name)
{
    return qstrnlen(name, static_cast<uint>(kUnitNameSize));
}

bool blank_unit_name(const char *name)
{
    char copy[kUnitNameSize + 1] = {};
    std::memcpy(copy, name, unit_name_length(name));
    return string_blank(copy) != 0;
}

void sort_host_units(VREL_CFG *record, const orv_unit_record *units)
{
    int16_t counts[kUnitCategories] = {};
    for (int i = 0; i < ORV_MAX_UNITS && !blank_unit_name(units[i].name); ++i) {
        const int category = unit_category(units[i].code);
        record->unit_names[category][counts[category]++] = units[i].name;
    }
    std::memcpy(record->unit_counts, counts, sizeof counts);
}

void fill_empty_lists(VREL_CFG *record)
{
    for (int category = 0; category < kUnitCategories; ++category) {
        record->unit_names[category][0] = kEmptyUnitEntry;
        record->unit_counts[category] = 1;
    }
}

} // namespace

int unit_category(uint32_t code)
{
    if (code >= 700 && code <= 799)
        return UNIT_TIME;
    if (code > 199)
        return UNIT_OTHER;
    if (code >= 100)
        return UNIT_PRESSURE;
    return UNIT_TEMPERATURE;
}

void init_units_lists(VREL_CFG *record, int *category_out, int *index_out)
{
    if (record->units_lists_loaded == 0) {
        for (int category = 0; category < kUnitCategories; ++category)
            record->unit_category_names[category] = kCategoryNames[category];
        void *segment = nullptr;
        if (link_to_memory(ORV_SEG_UNITS, &segment) && segment) {
            sort_host_units(record, static_cast<const orv_unit_record *>(segment));
        } else {
            log_error(kModule, __LINE__, 1, 41,
                      "Unable to link to Units shared memory.\nThe Units list will be unavailable");
            fill_empty_lists(record);
        }
        record->units_lists_loaded = 1;
    }

    const char *start =
        record->units_for_table ? record->raw_units : record->table_info.sensor_range_units;
    copyn(kModule, __LINE__, record->units_text, start, sizeof record->units_text);
    trim_text(record->units_text);
    if (!find_unit(record, category_out, index_out, record->units_text))
        record->units_text[0] = '\0';
}

bool find_unit(const VREL_CFG *record, int *category_out, int *index_out, const char *name)
{
    *category_out = 0;
    *index_out = 0;
    const size_t length = std::strlen(name);
    if (length == 0)
        return false;
    for (int category = 0; category < kUnitCategories; ++category) {
        const int count =
            qBound(0, static_cast<int>(record->unit_counts[category]), kMaxUnitsPerCategory);
        for (int index = 0; index < count; ++index) {
            const char *entry = record->unit_names[category][index];
            if (entry && std::strncmp(entry, name, length) == 0) {
                *category_out = category;
                *index_out = index;
                return true;
            }
        }
    }
    return false;
}

TableValueUnitsDialog::TableValueUnitsDialog(QWidget *parent)
    : QDialog(parent, kTitledWindowFlags), ui(new Ui::TableValueUnitsDialog)
{
    ui->setupUi(this);
    cfg->units_for_table = units_opened_from_main ? 1 : 0;
    int category = 0;
    int index = 0;
    init_units_lists(cfg, &category, &index);
    fill_unit_types(category);
    ui->lstUnitCategory->setCurrentRow(category);
    ui->lstUnitType->setCurrentRow(index);
}

TableValueUnitsDialog::~TableValueUnitsDialog()
{
    delete ui;
}

void TableValueUnitsDialog::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
}

void TableValueUnitsDialog::fill_unit_types(int category)
{
    ui->lstUnitType->clear();
    if (category < 0 || category >= kUnitCategories)
        return;
    const int count = qBound(0, static_cast<int>(cfg->unit_counts[category]), kMaxUnitsPerCategory);
    for (int index = 0; index < count; ++index) {
        const char *name = cfg->unit_names[category][index];
        ui->lstUnitType->addItem(
            QString::fromLatin1(name, static_cast<int>(unit_name_length(name))));
    }
}

void TableValueUnitsDialog::on_btnOK_clicked()
{
    // accept() has already run through the form's own connection; exec()
    // returns only after this slot.
    if (cfg->units_for_table)
        copyn(kModule, __LINE__, cfg->raw_units, cfg->units_text, sizeof cfg->raw_units);
}

void TableValueUnitsDialog::on_lstUnitType_currentTextChanged(const QString &currentText)
{
    const QByteArray text = currentText.toLatin1();
    copyn(kModule, __LINE__, cfg->units_text, text.constData(), sizeof cfg->units_text);
}

void TableValueUnitsDialog::on_lstUnitCategory_currentRowChanged(int currentRow)
{
    fill_unit_types(currentRow);
}
