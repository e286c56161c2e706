#include "configdialog2.h"

#include "inputdevice.h"
#include "messageboxes.h"
#include "sensor_range.h"
#include "tablevalueunitsdialog.h"
#include "vrel_callbacks.h"

#include "ui_configdialog2.h"

#include <orvane/log.h>
#include <orvane/strings.h>

#include <QDoubleValidator>
#include <QEvent>
#include <QLocale>

#include <ctime>

namespace
{

const char kModule[] = "configdialog2";

// The day of the last calibration as the host's tools print it, "%D".
QString calibration_date(int64_t last_cal)
{
    const std::time_t when = static_cast<std::time_t>(last_cal);
    std::tm local{};
    if (!localtime_r(&when, &local))
        return {};
    char text[24] = {};
    std::strftime(text, sizeof text, "%D", &local);
    return QString::fromLatin1(text);
}

// The limits are shown as "%8.2f", blanks in front; a plain double validator
// calls such a text invalid and would refuse every edit that keeps them.
class LimitValidator : public QDoubleValidator
{
  public:
    explicit LimitValidator(QObject *parent) : QDoubleValidator(parent) { setLocale(QLocale::c()); }
    State validate(QString &input, int &position) const override
    {
        QString trimmed = input.trimmed();
        int trimmed_position = qMin(position, trimmed.size());
        return QDoubleValidator::validate(trimmed, trimmed_position);
    }
};

} // namespace

ConfigDialog2::ConfigDialog2(QWidget *parent, bool show_reason, int reason)
    : QDialog(parent, kTitledWindowFlags), ui(new Ui::ConfigDialog2), range_status_(reason)
{
    ui->setupUi(this);
    if (touch_screen)
        prepare_touch_input();
    // Every opening starts a fresh account of unrecorded edits, even one
    // that ends in Cancel.
    cfg->unrecorded_changes = 0;
    fill_from_record();
    if (show_reason && reason != 0) {
        const QString text = opening_reason_text(reason, cfg->table_info.sensor_range_units,
                                                 cfg->table_info.tbl_units);
        if (!text.isEmpty())
            show_notice(QStringLiteral("Update Data"), text);
    }
}

ConfigDialog2::~ConfigDialog2()
{
    delete ui;
}

void ConfigDialog2::prepare_touch_input()
{
    auto *validator = new LimitValidator(this);
    ui->txtLowerRangeLimit->setValidator(validator);
    ui->txtUpperRangeLimit->setValidator(validator);
    for (QLineEdit *field :
         {ui->txtLowerRangeLimit, ui->txtUpperRangeLimit, ui->txtUUTMfg, ui->txtUUTModel,
          ui->txtUUTSerialNumber, ui->txtDescription, ui->txtUUT_MTE}) {
        field->setProperty("keyboard", true);
        field->installEventFilter(this);
    }
}

void ConfigDialog2::fill_from_record()
{
    const TableInfo &info = cfg->table_info;
    copy_sensor_identity(cfg);
    ui->txtUUTMfg->setText(record_text(info.sensor_model));
    ui->txtUUTModel->setText(record_text(cfg->uut_model));
    ui->txtUUTSerialNumber->setText(record_text(info.sensor_sn));
    ui->txtDescription->setText(record_text(info.tbl_desc));
    ui->cboUUTCalType->setCurrentText(record_text(cfg->uut_cal_type));
    ui->txtUUT_MTE->setText(record_text(cfg->uut_mte));
    ui->txtLowerRangeLimit->setText(format_limit(info.sensor_range_lower_limit));
    ui->txtUpperRangeLimit->setText(format_limit(info.sensor_range_upper_limit));
    ui->btnSensorUnits->setText(record_text(info.sensor_range_units));

    ui->lblMUAInstanceName_2->setText(record_text(info.mua_instance_name));
    ui->lblOOABias->setText(ooa_bias_text);
    ui->lblOOATolerance->setText(ooa_tol_text);
    ui->lblOOTBias->setText(oot_bias_text);
    ui->lblOOTTolerance->setText(oot_tol_text);
    ui->lblSOOTBias->setText(soot_bias_text);
    ui->lblSOOTTolerance->setText(soot_tol_text);

    ui->lblQIEText->setText(record_text(info.working_standard));
    ui->lblTechText->setText(record_text(info.technician));
    ui->lblDateText->setText(calibration_date(info.last_cal));
    ui->lblCalibrationUnitsText->setText(record_text(info.tbl_units));
    ui->lblMinimumText->setText(
        format_limit(convert_units(info.tbl_units, cfg->raw_units, info.min_range)));
    ui->lblMaximumText->setText(
        format_limit(convert_units(info.tbl_units, cfg->raw_units, info.max_range)));

    num_points = cfg->long_table.count;
}

TableInfoEntry ConfigDialog2::entry() const
{
    TableInfoEntry form;
    form.manufacturer = ui->txtUUTMfg->text();
    form.model = ui->txtUUTModel->text();
    form.serial_number = ui->txtUUTSerialNumber->text();
    form.description = ui->txtDescription->text();
    form.cal_type = ui->cboUUTCalType->currentText();
    form.mte = ui->txtUUT_MTE->text();
    form.lower_limit = ui->txtLowerRangeLimit->text();
    form.upper_limit = ui->txtUpperRangeLimit->text();
    form.sensor_units = ui->btnSensorUnits->text();
    return form;
}

bool ConfigDialog2::all_fields_present() const
{
    return !ui->txtUUTMfg->text().isEmpty() && !ui->txtUUTModel->text().isEmpty() &&
           !ui->txtUUTSerialNumber->text().isEmpty() && !ui->txtDescription->text().isEmpty() &&
           ui->cboUUTCalType->currentIndex() != -1 && !ui->txtUUT_MTE->text().isEmpty();
}

void ConfigDialog2::show_notice(const QString &title, const QString &text)
{
    show_titled_notice(this, title, text);
}

int ConfigDialog2::check_sensor_range()
{
    range_status_ =
        ::check_sensor_range(ui->txtLowerRangeLimit->text(), ui->txtUpperRangeLimit->text(),
                             ui->btnSensorUnits->text().toLatin1(),
                             record_text(cfg->table_info.tbl_units).toLatin1().constData());
    return range_status_ == RANGE_OK;
}

bool ConfigDialog2::table_info_changed(VREL_CFG *record, bool commit)
{
    const int differences = table_info_differences(entry(), record);
    if (differences & TABLE_INFO_GROUP_B) {
        if (commit)
            record->unrecorded_changes = 1;
        return true;
    }
    return (differences & TABLE_INFO_GROUP_A) != 0;
}

double ConfigDialog2::dialog_tolerance(int band)
{
    const int16_t kind = band == 1 ? 1 : band == 2 ? 2 : 3;
    const QLabel *label = kind == 1   ? ui->lblOOATolerance
                          : kind == 2 ? ui->lblOOTTolerance
                                      : ui->lblSOOTTolerance;
    // Unlike the channel load, the table-units warning keeps the MUA index,
    // and the sensor-units warning falls back on the band's own text.
    return resolve_tolerance_text({label->text().toLatin1(), tolerance_text_of(kind), false}, cfg);
}

double ConfigDialog2::dialog_bias(int band)
{
    const QLabel *label = band == 1 ? ui->lblOOABias : band == 2 ? ui->lblOOTBias : ui->lblSOOTBias;
    return resolve_bias_text(label->text().toLatin1(), cfg);
}

void ConfigDialog2::on_btnOk_clicked()
{
    if (!all_fields_present()) {
        show_notice(QStringLiteral("Data Missing In Fields"),
                    QStringLiteral("Make sure all fields in the screen contain data\n\n"));
        return;
    }
    if (!check_sensor_range()) {
        const RangeMessage message =
            range_message(range_status_, ui->btnSensorUnits->text(),
                          record_text(cfg->table_info.tbl_units).toLatin1().constData());
        show_notice(message.title, message.text);
        if (message.group == RangeGroup::Limits) {
            ui->txtLowerRangeLimit->setText(format_limit(cfg->table_info.sensor_range_lower_limit));
            ui->txtUpperRangeLimit->setText(format_limit(cfg->table_info.sensor_range_upper_limit));
        } else if (message.group == RangeGroup::Units) {
            ui->btnSensorUnits->setText(record_text(cfg->table_info.sensor_range_units));
        }
        return;
    }

    // In this order, for each may warn; they see the record's limits and
    // units, which are written only below.
    TableInfo &info = cfg->table_info;
    info.no_adjust_bias = dialog_bias(1);
    info.no_adjust_tol = dialog_tolerance(1);
    info.oot_bias = dialog_bias(2);
    info.oot_tol = dialog_tolerance(2);
    info.soot_bias = dialog_bias(3);
    info.soot_tol = dialog_tolerance(3);
    trim_text(info.mua_instance_name);

    const bool changed = table_info_changed(cfg, true);
    store_table_info(entry(), cfg);
    store_error_limit(ui->lblOOTTolerance->text(), cfg);
    if (changed)
        show_notice(
            QStringLiteral("Clearing Calibration Data"),
            QStringLiteral(
                "Changes may affect the calibration.\n\nCalibration data will be cleared."));
    rescale_table_range(cfg);
    accept();
}

void ConfigDialog2::on_btnSensorUnits_clicked()
{
    units_opened_from_main = 0;
    units_opened_from_sensor = 1;
    TableValueUnitsDialog picker(this);
    if (picker.exec() != QDialog::Accepted)
        return;
    if (cfg->units_text[0] == '\0') {
        log_error(kModule, __LINE__, 1, 0, "Error: No units selected for table.");
        return;
    }
    double lower = ui->txtLowerRangeLimit->text().toDouble();
    double upper = ui->txtUpperRangeLimit->text().toDouble();
    char old_units[16];
    copyn(kModule, __LINE__, old_units, ui->btnSensorUnits->text().toLatin1().constData(),
          sizeof old_units);
    lower = convert_units(old_units, cfg->units_text, lower);
    upper = convert_units(old_units, cfg->units_text, upper);
    // Written at once: Cancel does not take it back.
    copyn(kModule, __LINE__, cfg->raw_units, cfg->units_text, sizeof cfg->raw_units);
    ui->btnSensorUnits->setText(record_text(cfg->raw_units));
    ui->txtLowerRangeLimit->setText(format_limit(lower));
    ui->txtUpperRangeLimit->setText(format_limit(upper));
}

void ConfigDialog2::on_btnCancel_clicked()
{
    if (table_info_changed(cfg, false))
        show_notice(QStringLiteral("Changes Lost"),
                    QStringLiteral("Changes made to the Calibration Configuration will be lost."));
    reject();
}

bool ConfigDialog2::eventFilter(QObject *object, QEvent *event)
{
    // The panels open on a double click; the model and M&TE fields carry
    // the keyboard property but have never been in this list.
    if (touch_screen && event->type() == QEvent::MouseButtonDblClick &&
        (object == ui->txtLowerRangeLimit || object == ui->txtUpperRangeLimit ||
         object == ui->txtUUTMfg || object == ui->txtDescription ||
         object == ui->txtUUTSerialNumber))
        request_input_panel(object);
    return false;
}

void ConfigDialog2::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
}
