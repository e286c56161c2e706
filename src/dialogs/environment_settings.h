// Where the room conditions of a calibration come from: which three host
// variables carry the room temperature, the barometric pressure and the
// relative humidity, whether they are taken at all, and the one
// configuration file that stores that choice beside the sites' postal data.
//
// The file is host_path("/cell/vrel_util_specs.ini"), read and written
// through QSettings in INI format:
//   [Environment]  ENV_FILE_UPDATED, ROOM_TEMP_VARIABLE, BAROMETER_VARIABLE,
//                  HUMIDITY_VARIABLE, ENV_VARS_USED_FLAG ("TRUE"/"FALSE")
//   [<site code>]  name, address       (written only when the file is made,
//                                       so that a site may edit its address)
// The report looks up "address" in the group named by the host's site name,
// so a site row's code must be what the host calls that site.
//
// All of this works on the process-wide env_settings record, which the
// caller has allocated, and on the three variable pointers of vrel_cfg.h.
#pragma once

#include <QString>
#include <QVector>

// One technical site of the organisation: a short upper-case code (the
// host's site name), its full name and one line of postal address.
struct SiteRow {
    QString site_code;
    QString site_name;
    QString site_address;
};

// The process-wide site table; build_site_table() empties it and adds the
// six deployment rows.
extern QVector<SiteRow> site_table;
void build_site_table();

// The configuration file's path under the current host root.
QString environment_ini_path();

// Fills env_settings from the file.  A missing key reads as an empty name;
// env_vars_used is 1 only for the flag text "TRUE" exactly.  When the file
// cannot be opened it is created with the defaults and the site rows, and
// the record takes the defaults.
void load_environment_settings();

// Writes the Environment group (time stamp, the three names, the flag, in
// this order), then a group per row of site_table with its name and
// address.
void write_environment_defaults(const QString &temperature, const QString &barometer,
                                const QString &humidity, const QString &flag);

// Stores an accepted form: the three names (80 bytes each) and the flag
// into env_settings, then the Environment group of the file, time stamp
// first.  The site groups are left alone.
void store_environment_settings(const QString &temperature, const QString &barometer,
                                const QString &humidity, bool used);

// Resolves a host variable by its Latin-1 name.  When the host has no such
// variable: logs "Can't find variable <name>" with the host's status and
// returns false, leaving *address_out as it was.  Otherwise stores the
// address of the variable's record and returns true.
bool resolve_host_variable(const QString &name, void **address_out);

// The three environment variables, in the order they are resolved.
enum EnvVariable { ENV_TEMPERATURE = 0, ENV_BAROMETER = 1, ENV_HUMIDITY = 2, ENV_NONE = -1 };

// True when the variables are used and any of the three names is empty.
bool environment_names_missing(bool used, const QString &temperature, const QString &barometer,
                               const QString &humidity);

// Resolves temperature, barometer and humidity into room_temp_var,
// barometer_var and humidity_var, in this order, stopping at the first
// that the host does not know.  Returns that variable, or ENV_NONE when all
// three were found.  Pointers resolved before the failure keep their new
// values.
EnvVariable resolve_environment_variables(const QString &temperature, const QString &barometer,
                                          const QString &humidity);

// The box that tells the technician a variable does not exist.
struct EnvVariableMessage {
    QString title;
    QString text;
};
EnvVariableMessage env_variable_message(EnvVariable which, const QString &name);

// The box of an empty name while the variables are used.
extern const char *const kEnvNamesMissingTitle;
extern const char *const kEnvNamesMissingText;
