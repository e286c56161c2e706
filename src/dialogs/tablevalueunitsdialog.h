// The units picker.  The host publishes its unit table in a shared-memory
// segment; the first opening in a run sorts the units by code into four
// categories, keeping only pointers into the segment, and every later
// opening reuses those lists.  The choice is left in the record's
// units_text; in the main window's role OK also writes raw_units.
#pragma once

#include "vrel_cfg.h"

#include <QDialog>

#include <cstdint>

namespace Ui
{
class TableValueUnitsDialog;
}

// Set by the caller before construction: 1 and 0 from the main window's
// units button, 0 and 1 from the table information dialog's.  Only the
// first is read.
extern uint16_t units_opened_from_main;
extern uint16_t units_opened_from_sensor;

// Categories of the picker, in the order of their rows.
enum UnitCategory { UNIT_TEMPERATURE = 0, UNIT_PRESSURE = 1, UNIT_TIME = 2, UNIT_OTHER = 3 };
constexpr int kUnitCategories = 4;
constexpr int kMaxUnitsPerCategory = 700;

// The one entry of every list when the host's unit table cannot be linked.
extern const char kEmptyUnitEntry[];

// The category of a host unit code: 700..799 Time, then anything above 199
// Other, 100..199 Pressure, below 100 Temperature.
int unit_category(uint32_t code);

// Builds the four lists once per run (a failed link is logged with code 41
// and not tried again), then takes the start value of the picker's role
// (raw_units from the main window, else sensor_range_units) into
// units_text and finds it.  A start value that is no entry empties
// units_text, and the picker starts on category 0, index 0.
void init_units_lists(VREL_CFG *record, int *category_out, int *index_out);

// The first entry, walking the categories and their entries in order, that
// begins with name.  An empty name is never found.  Not found gives
// category 0, index 0 and false.
bool find_unit(const VREL_CFG *record, int *category_out, int *index_out, const char *name);

class TableValueUnitsDialog : public QDialog
{
    Q_OBJECT
  public:
    explicit TableValueUnitsDialog(QWidget *parent);
    ~TableValueUnitsDialog() override;

  protected:
    void changeEvent(QEvent *event) override;

  private slots:
    void on_btnOK_clicked();
    void on_lstUnitType_currentTextChanged(const QString &currentText);
    void on_lstUnitCategory_currentRowChanged(int currentRow);

  private:
    void fill_unit_types(int category);

    Ui::TableValueUnitsDialog *ui;
};
