#include "environment_settings.h"

#include "functions.h"
#include "vrel_cfg.h"

#include <orvane/log.h>
#include <orvane/strings.h>
#include <orvane/vars.h>

#include <QDateTime>
#include <QFile>
#include <QSettings>

#include <cstdio>

// The host log knows these steps as the environment dialog's, wherever
// they are compiled.
static const char kModule[] = "environmentdialog";

const char *const kEnvNamesMissingTitle = "Environment Variables Missing";
const char *const kEnvNamesMissingText = "Please make sure data has been entered for all Environment Variable fields";

QVector<SiteRow> site_table;

namespace {

const char kGroup[] = "Environment";
const char kUpdatedKey[] = "ENV_FILE_UPDATED";
const char kTempKey[] = "ROOM_TEMP_VARIABLE";
const char kBaroKey[] = "BAROMETER_VARIABLE";
const char kHumidityKey[] = "HUMIDITY_VARIABLE";
const char kFlagKey[] = "ENV_VARS_USED_FLAG";

// Deployment data: the organisation's technical sites.  Each code is the
// host's site name at that site.
const struct {
    const char *code;
    const char *name;
    const char *address;
} kSites[] = {
    {"NRTC", "Northridge Technical Center", "4100 Ridgeline Parkway, Northridge Falls, OH 45899"},
    {"LVEL", "Lakeview Engine Laboratory", "77 Harbor Point Road, Lakeview Crossing, MI 49796"},
    {"SPTC", "Southport Powertrain Test Center", "2250 Quarry Bend Drive, Southport Junction, TX 76598"},
    {"WDPG", "Westdale Proving Grounds", "18 Mesa Verde Loop, Westdale Flats, NV 89498"},
    {"EHDC", "Eastholm Development Center", "960 Foundry Lane, Eastholm Heights, PA 16998"},
    {"CRVL", "Cedar Ridge Validation Laboratory", "3 Timberline Court, Cedar Ridge Mills, OR 97998"},
};

QString time_stamp()
{
    return QDateTime::currentDateTime().toString(QStringLiteral("MM/dd/yyyy hh:mm:ss"));
}

void copy_name(char (&field)[80], const QString &text)
{
    copyn(kModule, __LINE__, field, text.toLatin1().constData(), sizeof field);
}

void write_environment_group(QSettings &settings, const QString &temperature, const QString &barometer,
                             const QString &humidity, const QString &flag)
{
    settings.beginGroup(QLatin1String(kGroup));
    settings.setValue(QLatin1String(kUpdatedKey), time_stamp());
    settings.setValue(QLatin1String(kTempKey), temperature);
    settings.setValue(QLatin1String(kBaroKey), barometer);
    settings.setValue(QLatin1String(kHumidityKey), humidity);
    settings.setValue(QLatin1String(kFlagKey), flag);
    settings.endGroup();
}

} // namespace

void build_site_table()
{
    site_table.clear();
    for (const auto &site : kSites)
        site_table.append({QString::fromLatin1(site.code), QString::fromLatin1(site.name),
                           QString::fromLatin1(site.address)});
}

QString environment_ini_path()
{
    return host_path("/cell/vrel_util_specs.ini");
}

void load_environment_settings()
{
    const QString path = environment_ini_path();
    if (FILE *file = std::fopen(QFile::encodeName(path).constData(), "r")) {
        std::fclose(file);
        QSettings settings(path, QSettings::IniFormat);
        settings.beginGroup(QLatin1String(kGroup));
        const QString temperature = settings.value(QLatin1String(kTempKey), QString()).toString();
        const QString barometer = settings.value(QLatin1String(kBaroKey), QString()).toString();
        const QString humidity = settings.value(QLatin1String(kHumidityKey), QString()).toString();
        const QString flag = settings.value(QLatin1String(kFlagKey), QString()).toString();
        settings.endGroup();
        copy_name(env_settings->room_temp_variable, temperature);
        copy_name(env_settings->barometer_variable, barometer);
        copy_name(env_settings->humidity_variable, humidity);
        env_settings->env_vars_used = flag == QLatin1String("TRUE") ? 1 : 0;
        return;
    }
    const QString temperature = QStringLiteral("instr_t");
    const QString barometer = QStringLiteral("barometer");
    const QString humidity = QStringLiteral("instr_rel_hum");
    write_environment_defaults(temperature, barometer, humidity, QStringLiteral("TRUE"));
    copy_name(env_settings->room_temp_variable, temperature);
    copy_name(env_settings->barometer_variable, barometer);
    copy_name(env_settings->humidity_variable, humidity);
    env_settings->env_vars_used = 1;
}

void write_environment_defaults(const QString &temperature, const QString &barometer, const QString &humidity,
                                const QString &flag)
{
    QSettings settings(environment_ini_path(), QSettings::IniFormat);
    write_environment_group(settings, temperature, barometer, humidity, flag);
    for (const SiteRow &row : qAsConst(site_table)) {
        settings.beginGroup(row.site_code);
        settings.setValue(QStringLiteral("name"), row.site_name);
        settings.setValue(QStringLiteral("address"), row.site_address);
        settings.endGroup();
    }
}

void store_environment_settings(const QString &temperature, const QString &barometer, const QString &humidity,
                                bool used)
{
    copy_name(env_settings->room_temp_variable, temperature);
    copy_name(env_settings->barometer_variable, barometer);
    copy_name(env_settings->humidity_variable, humidity);
    env_settings->env_vars_used = used ? 1 : 0;
    QSettings settings(environment_ini_path(), QSettings::IniFormat);
    write_environment_group(settings, temperature, barometer, humidity,
                            used ? QStringLiteral("TRUE") : QStringLiteral("FALSE"));
}

bool resolve_host_variable(const QString &name, void **address_out)
{
    const QByteArray text = name.toLatin1();
    vrbl_handle handle {};
    const short status = find_variable(text.constData(), &handle);
    if (status != 0) {
        log_error(kModule, __LINE__, 1, status, "Can't find variable <%s>", text.constData());
        return false;
    }
    *address_out = get_vrbl_adr(handle);
    return true;
}

bool environment_names_missing(bool used, const QString &temperature, const QString &barometer,
                               const QString &humidity)
{
    return used && (temperature.isEmpty() || barometer.isEmpty() || humidity.isEmpty());
}

EnvVariable resolve_environment_variables(const QString &temperature, const QString &barometer,
                                          const QString &humidity)
{
    if (!resolve_host_variable(temperature, &room_temp_var))
        return ENV_TEMPERATURE;
    if (!resolve_host_variable(barometer, &barometer_var))
        return ENV_BAROMETER;
    if (!resolve_host_variable(humidity, &humidity_var))
        return ENV_HUMIDITY;
    return ENV_NONE;
}

EnvVariableMessage env_variable_message(EnvVariable which, const QString &name)
{
    static const char *const kTail = " does not exist.\n\nA valid orvane variable should be specified";
    switch (which) {
    case ENV_TEMPERATURE:
        return {QStringLiteral("Temperature Orvane Variable Error"),
                QStringLiteral("The Temperature Orvane Variable <%1>").arg(name) + QLatin1String(kTail)};
    case ENV_BAROMETER:
        return {QStringLiteral("Barometer Orvane Variable Error"),
                QStringLiteral("The Barometer Orvane Variable <%1>").arg(name) + QLatin1String(kTail)};
    case ENV_HUMIDITY:
        return {QStringLiteral("Relative Humidity Orvane Variable Error"),
                QStringLiteral("The Relative Humidity Orvane Variable <%1>").arg(name) + QLatin1String(kTail)};
    case ENV_NONE:
        break;
    }
    return {};
}
