#include "referencedialog.h"

#include "inputdevice.h"
#include "messageboxes.h"
#include "vrel_cfg.h"

#include "ui_referencedialog.h"

#include <orvane/strings.h>

#include <QDate>

#include <cstring>

const char *const kReferenceMissingTitle = "Current Reference Standard Information Missing";
const char *const kReferenceMissingText =
    "Make sure all the Current Reference Standard Information fields in the screen contain data\n";
const char *const kInvalidDueDateTitle = "Invalid Current Cal Due Date";
const char *const kInvalidDueDateText = "The entered Current Cal Due Date is not valid \n";
const char *const kChangesLostTitle = "Changes Lost";
const char *const kChangesLostText = "Changes made to the Current Reference Standard Information will be lost.";

namespace {

// A 32-byte text of the record, never read past its width.
QByteArray field_bytes(const char (&field)[32])
{
    return QByteArray(field, static_cast<int>(strnlen(field, sizeof field)));
}

QString field_text(const char (&field)[32])
{
    return QString::fromLatin1(field_bytes(field));
}

void store_text(char (&field)[32], const QString &text)
{
    copyn("referencedialog", __LINE__, field, text.toLatin1().constData(), sizeof field);
}

} // namespace

bool reference_entry_missing(const ReferenceEntry &entry)
{
    return entry.mfg.isEmpty() || entry.model.isEmpty() || entry.ser_num.isEmpty() || entry.equip_num.isEmpty() ||
           entry.cal_due_date.isEmpty() || entry.physical_con.isEmpty();
}

bool reference_entry_changed(const ReferenceEntry &entry, const VREL_CFG &record)
{
    return entry.mfg.toLatin1() != field_bytes(record.ref_mfg) ||
           entry.model.toLatin1() != field_bytes(record.ref_model) ||
           entry.ser_num.toLatin1() != field_bytes(record.ref_ser_num) ||
           entry.equip_num.toLatin1() != field_bytes(record.ref_equip_num) ||
           entry.cal_due_date.toLatin1() != field_bytes(record.ref_cal_due_date);
}

void store_reference_entry(const ReferenceEntry &entry, VREL_CFG &record)
{
    store_text(record.ref_mfg, entry.mfg);
    store_text(record.ref_cal_due_date, entry.cal_due_date);
    store_text(record.ref_equip_num, entry.equip_num);
    store_text(record.ref_model, entry.model);
    store_text(record.ref_physical_con, entry.physical_con);
    store_text(record.ref_ser_num, entry.ser_num);
}

bool valid_due_date(const QString &text)
{
    return QDate::fromString(text, QStringLiteral("MM/dd/yyyy")).isValid();
}

ReferenceDialog::ReferenceDialog(QWidget *parent) : QDialog(parent, kTitledWindowFlags), ui(new Ui::ReferenceDialog)
{
    ui->setupUi(this);
    QLineEdit *const current_fields[] = {ui->txtCurrRefMfg, ui->txtCurrRefModel, ui->txtCurrRefSN,
                                         ui->txtCurrRefEquipNum, ui->txtCurrRefCalDueDate};
    if (touch_screen) {
        // Qt 5 hands a field's panel request to its own input method before
        // any application filter: the fields open the keyboard on a double
        // click, by the direct route, as the other forms' fields do.
        for (QLineEdit *field : current_fields) {
            field->setProperty("keyboard", true);
            field->installEventFilter(this);
        }
    }

    ui->txtCurrRefMfg->setText(field_text(cfg->ref_mfg));
    ui->txtCurrRefModel->setText(field_text(cfg->ref_model));
    ui->txtCurrRefSN->setText(field_text(cfg->ref_ser_num));
    ui->txtCurrRefEquipNum->setText(field_text(cfg->ref_equip_num));
    ui->txtCurrRefCalDueDate->setText(field_text(cfg->ref_cal_due_date));
    ui->cboCurrRefPhysicalConn->setCurrentText(field_text(cfg->ref_physical_con));

    const struct {
        QLineEdit *field;
        QPushButton *move;
        const char (&text)[32];
    } historical[] = {
        {ui->txtHistRefCalDueDate, ui->btnMoveCalDueDate, hist_ref_cal_due_date},
        {ui->txtHistRefEquipNum, ui->btnMoveEquipNum, hist_ref_equip_num},
        {ui->txtHistRefMfg, ui->btnMoveMfg, hist_ref_mfg},
        {ui->txtHistRefModel, ui->btnMoveModel, hist_ref_model},
        {ui->txtHistRefPhysicalConn, ui->btnMovePhyConn, hist_ref_physical_con},
        {ui->txtHistRefSN, ui->btnMoveSN, hist_ref_ser_num},
    };
    bool all_known = true;
    for (const auto &row : historical) {
        row.field->setText(field_text(row.text));
        row.field->setCursorPosition(0);  // a long text read-only shows its start
        const bool known = !row.field->text().isEmpty();
        row.move->setEnabled(known);
        all_known = all_known && known;
    }
    ui->btnMoveAll->setEnabled(all_known);
}

bool ReferenceDialog::eventFilter(QObject *object, QEvent *event)
{
    if (touch_screen && event->type() == QEvent::MouseButtonDblClick)
        request_input_panel(object); // only the current fields are watched
    return false;
}

ReferenceDialog::~ReferenceDialog()
{
    delete ui;
}

ReferenceEntry ReferenceDialog::current_entry() const
{
    return {ui->txtCurrRefMfg->text(),      ui->txtCurrRefModel->text(),
            ui->txtCurrRefSN->text(),       ui->txtCurrRefEquipNum->text(),
            ui->txtCurrRefCalDueDate->text(), ui->cboCurrRefPhysicalConn->currentText()};
}

bool ReferenceDialog::current_info_missing()
{
    return reference_entry_missing(current_entry());
}

bool ReferenceDialog::current_info_changed(const VREL_CFG *record)
{
    return reference_entry_changed(current_entry(), *record);
}

void ReferenceDialog::on_btnOK_clicked()
{
    const ReferenceEntry entry = current_entry();
    if (reference_entry_missing(entry)) {
        show_titled_notice(this, QLatin1String(kReferenceMissingTitle), QLatin1String(kReferenceMissingText));
        return;
    }
    if (!valid_due_date(entry.cal_due_date)) {
        show_titled_notice(this, QLatin1String(kInvalidDueDateTitle), QLatin1String(kInvalidDueDateText));
        ui->txtCurrRefCalDueDate->clear();
        ui->txtCurrRefCalDueDate->setFocus(Qt::OtherFocusReason);
        return;
    }
    store_reference_entry(entry, *cfg);
    accept();
}

void ReferenceDialog::on_btnCancel_clicked()
{
    if (current_info_changed(cfg))
        show_titled_notice(this, QLatin1String(kChangesLostTitle), QLatin1String(kChangesLostText));
    reject();
}

void ReferenceDialog::on_btnMoveMfg_clicked()
{
    ui->txtCurrRefMfg->setText(ui->txtHistRefMfg->text());
}

void ReferenceDialog::on_btnMovePhyConn_clicked()
{
    // A historical text outside the three options leaves the choice as it is.
    ui->cboCurrRefPhysicalConn->setCurrentText(ui->txtHistRefPhysicalConn->text());
}

void ReferenceDialog::on_btnMoveEquipNum_clicked()
{
    ui->txtCurrRefEquipNum->setText(ui->txtHistRefEquipNum->text());
}

void ReferenceDialog::on_btnMoveModel_clicked()
{
    ui->txtCurrRefModel->setText(ui->txtHistRefModel->text());
}

void ReferenceDialog::on_btnMoveSN_clicked()
{
    ui->txtCurrRefSN->setText(ui->txtHistRefSN->text());
}

void ReferenceDialog::on_btnMoveCalDueDate_clicked()
{
    ui->txtCurrRefCalDueDate->setText(ui->txtHistRefCalDueDate->text());
}

void ReferenceDialog::on_btnReset_clicked()
{
    for (QLineEdit *field : {ui->txtCurrRefMfg, ui->txtCurrRefModel, ui->txtCurrRefSN, ui->txtCurrRefEquipNum,
                             ui->txtCurrRefCalDueDate})
        field->clear();
    ui->cboCurrRefPhysicalConn->setCurrentIndex(0);
}

void ReferenceDialog::on_btnMoveAll_clicked()
{
    on_btnMoveMfg_clicked();
    on_btnMovePhyConn_clicked();
    on_btnMoveEquipNum_clicked();
    on_btnMoveModel_clicked();
    on_btnMoveSN_clicked();
    on_btnMoveCalDueDate_clicked();
}
