#include "environmentdialog.h"

#include "environment_settings.h"
#include "messageboxes.h"
#include "vrel_cfg.h"

#include "ui_environmentdialog.h"

#include <cstring>

namespace {

// A name field of the record; the record's texts are always ended, but a
// fixed width is never read past.
QString record_text(const char (&field)[80])
{
    return QString::fromLatin1(field, static_cast<int>(strnlen(field, sizeof field)));
}

} // namespace

EnvironmentDialog::EnvironmentDialog(QWidget *parent)
    : QDialog(parent, kTitledWindowFlags), ui(new Ui::EnvironmentDialog)
{
    ui->setupUi(this);
    // No on-screen input on this form, on any station.
    build_site_table();
    load_environment_settings();
    fill_environment_form();
}

EnvironmentDialog::~EnvironmentDialog()
{
    delete ui;
}

void EnvironmentDialog::fill_environment_form()
{
    ui->txtTempName->setText(record_text(env_settings->room_temp_variable));
    ui->tmpBaroName->setText(record_text(env_settings->barometer_variable));
    ui->txtHumidityName->setText(record_text(env_settings->humidity_variable));
    ui->chkEnvVarsUsed->setChecked(env_settings->env_vars_used != 0);
}

void EnvironmentDialog::store_environment_form()
{
    store_environment_settings(ui->txtTempName->text(), ui->tmpBaroName->text(), ui->txtHumidityName->text(),
                               ui->chkEnvVarsUsed->isChecked());
}

void EnvironmentDialog::on_btnOK_clicked()
{
    const bool used = ui->chkEnvVarsUsed->isChecked();
    const QString temperature = ui->txtTempName->text();
    const QString barometer = ui->tmpBaroName->text();
    const QString humidity = ui->txtHumidityName->text();
    if (environment_names_missing(used, temperature, barometer, humidity)) {
        show_titled_notice(this, QLatin1String(kEnvNamesMissingTitle), QLatin1String(kEnvNamesMissingText));
        return;
    }
    if (used) {
        const EnvVariable failed = resolve_environment_variables(temperature, barometer, humidity);
        if (failed != ENV_NONE) {
            const QString names[] = {temperature, barometer, humidity};
            const EnvVariableMessage message = env_variable_message(failed, names[failed]);
            show_titled_notice(this, message.title, message.text);
            return;
        }
    }
    store_environment_form();
    environment_confirmed = true;
    accept();
}

void EnvironmentDialog::on_chkEnvVarsUsed_stateChanged(int arg1)
{
    for (QWidget *field : {ui->txtTempName, ui->tmpBaroName, ui->txtHumidityName})
        field->setEnabled(arg1 != 0);
}
