// The reference standard used to calibrate the channel: manufacturer,
// model, serial number, equipment number, cal due date and physical
// connection.  The left column shows, read-only, what the channel's
// reference data file recorded last (hist_ref_*); the right column is the
// current entry, started from the calibration record, to which the arrows
// copy historical values.
#pragma once

#include <QDialog>
#include <QString>

struct VREL_CFG;

namespace Ui {
class ReferenceDialog;
}

// The current entry as the form holds it.
struct ReferenceEntry {
    QString mfg;
    QString model;
    QString ser_num;
    QString equip_num;
    QString cal_due_date;
    QString physical_con;
};

// True when any of the six texts is empty.
bool reference_entry_missing(const ReferenceEntry &entry);
// True when any of the five line-edit texts differs from its record field.
// The physical connection is not compared: a change of it alone is dropped
// without a word on Cancel, and that is kept on purpose.
bool reference_entry_changed(const ReferenceEntry &entry, const VREL_CFG &record);
// Copies the six texts into the record, Latin-1, each cut to its 32 bytes;
// the date keeps the text as entered.
void store_reference_entry(const ReferenceEntry &entry, VREL_CFG &record);
// A cal due date "MM/dd/yyyy" that the calendar knows; a date in the past
// is accepted.
bool valid_due_date(const QString &text);

extern const char *const kReferenceMissingTitle;
extern const char *const kReferenceMissingText;
extern const char *const kInvalidDueDateTitle;
extern const char *const kInvalidDueDateText;
extern const char *const kChangesLostTitle;
extern const char *const kChangesLostText;

class ReferenceDialog : public QDialog {
    Q_OBJECT
public:
    explicit ReferenceDialog(QWidget *parent = nullptr);
    ~ReferenceDialog() override;

    bool current_info_missing();
    bool current_info_changed(const VREL_CFG *record);

    bool eventFilter(QObject *object, QEvent *event) override;

private slots:
    void on_btnOK_clicked();
    void on_btnCancel_clicked();
    void on_btnMoveMfg_clicked();
    void on_btnMovePhyConn_clicked();
    void on_btnMoveEquipNum_clicked();
    void on_btnMoveModel_clicked();
    void on_btnMoveSN_clicked();
    void on_btnMoveCalDueDate_clicked();
    void on_btnReset_clicked();
    void on_btnMoveAll_clicked();

private:
    ReferenceEntry current_entry() const;

    Ui::ReferenceDialog *ui;
};
