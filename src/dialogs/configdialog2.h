// The table information dialog: what the selected channel's sensor is (the
// UUT identity, its range limits and their units), with the calibration's
// owner data and the six tolerance texts shown read-only.
//
// It opens from the Table Info menu entry, or forced by the channel guard
// with the status the guard found as its reason; the reason's message comes
// before the form.  The caller holds cfg_mutex across exec() and reads
// range_status() after an accepted exec: the channel stays selected only
// when it is 0.  Nothing reaches the record before every check of OK has
// passed, except raw_units, which the units button writes at once.
#pragma once

#include "vrel_cfg.h"

#include <QDialog>

namespace Ui
{
class ConfigDialog2;
}

struct TableInfoEntry;

class ConfigDialog2 : public QDialog
{
    Q_OBJECT
  public:
    ConfigDialog2(QWidget *parent, bool show_reason, int reason);
    ~ConfigDialog2() override;

    int range_status() const { return range_status_; }
    void set_range_status(int status) { range_status_ = status; }

    // Checks the entry of the sensor range and its units; true when it
    // passes.  Sets range_status to the status found.
    int check_sensor_range();
    // True when the form differs from the record.  A difference in the
    // sensor's identity, units or limits also sets unrecorded_changes when
    // commit is true; the UUT model, cal type and M&TE never do.
    bool table_info_changed(VREL_CFG *record, bool commit);
    // The tolerance and bias of a band (1 OOA, 2 OOT, anything else SOOT)
    // from the texts of the dialog's own labels, in the record's units as
    // they stand.
    double dialog_tolerance(int band);
    double dialog_bias(int band);

    bool eventFilter(QObject *object, QEvent *event) override;

  protected:
    void changeEvent(QEvent *event) override;

  private slots:
    void on_btnOk_clicked();
    void on_btnSensorUnits_clicked();
    void on_btnCancel_clicked();

  private:
    void prepare_touch_input();
    void fill_from_record();
    TableInfoEntry entry() const;
    bool all_fields_present() const;
    void show_notice(const QString &title, const QString &text);

    Ui::ConfigDialog2 *ui;
    int32_t range_status_ = 0;
};
