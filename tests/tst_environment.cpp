// The environment settings: the configuration file made on first start and
// read back, the dialog's checks of the three host variables, and the
// lookup of a host variable against a running simulated cell.
#include "calibrationfiles.h"
#include "dialoganswerer.h"
#include "simcell.h"
#include "warningguard.h"

#include "environment_settings.h"
#include "environmentdialog.h"
#include "vrel_cfg.h"

#include <orvane/vars.h>

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QSettings>
#include <QtTest>

#include <cstring>
#include <memory>

namespace {

// A private host root holding /cell, in force while it lives.  Each test
// gets a file path of its own, so that no settings object of an earlier
// test has seen it.
class TempRoot {
public:
    TempRoot()
    {
        QDir().mkpath(dir_.path() + QStringLiteral("/cell"));
        previous_ = qgetenv("ORVANE_ROOT");
        qputenv("ORVANE_ROOT", dir_.path().toLocal8Bit());
    }
    ~TempRoot() { qputenv("ORVANE_ROOT", previous_); }
    QString ini() const { return dir_.path() + QStringLiteral("/cell/vrel_util_specs.ini"); }
    QString log() const { return dir_.path() + QStringLiteral("/orvane/log/orvane.log"); }

private:
    QTemporaryDir dir_;
    QByteArray previous_;
};

bool write_file(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    return file.write(content) == content.size();
}

const QByteArray kConfiguredFile = "[Environment]\n"
                                   "ENV_FILE_UPDATED=01/02/2024 08:00:00\n"
                                   "ROOM_TEMP_VARIABLE=instr_t\n"
                                   "BAROMETER_VARIABLE=barometer\n"
                                   "HUMIDITY_VARIABLE=instr_rel_hum\n"
                                   "ENV_VARS_USED_FLAG=TRUE\n"
                                   "\n"
                                   "[NRTC]\n"
                                   "name=Northridge Technical Center\n"
                                   "address=\"1 Edited Way, Northridge Falls, OH 45899\"\n";

QLineEdit *field(EnvironmentDialog &dialog, const char *name)
{
    return dialog.findChild<QLineEdit *>(name);
}

QString variable_name(void *address)
{
    return QString::fromLatin1(static_cast<const orv_variable *>(address)->name);
}

QString variable_units(void *address)
{
    return QString::fromLatin1(static_cast<const char *>(address) + 232);
}

} // namespace

class TestEnvironment : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void siteTable();
    void firstStartCreatesFile();
    void fileRead_data();
    void fileRead();
    void siteGroupsKeptOnLaterWrites();

    void formAtStart();
    void checkBoxEnablesFields();
    void uncheckedOkStoresEmptyNames();
    void namesMissing_data();
    void namesMissing();
    void unknownVariable_data();
    void unknownVariable();
    void checkedOkResolvesAll();
    void escapeLeavesPointersUnset();
    void execFromMenu();
    void resolveHostVariable_data();
    void resolveHostVariable();
    void screenshot();

private:
    std::unique_ptr<SimCell> cell_;
    std::unique_ptr<EnvSettings> settings_;
};

void TestEnvironment::initTestCase()
{
    cell_.reset(new SimCell);
    QVERIFY2(cell_->start({"--tick", "20"}), qPrintable(cell_->lastOutput()));
    settings_.reset(new EnvSettings());
    env_settings = settings_.get();
}

void TestEnvironment::cleanupTestCase()
{
    env_settings = nullptr;
    settings_.reset();
    cell_.reset();
}

void TestEnvironment::init()
{
    std::memset(static_cast<void *>(env_settings), 0, sizeof(EnvSettings));
    room_temp_var = barometer_var = humidity_var = nullptr;
    environment_confirmed = false;
}

void TestEnvironment::cleanup()
{
    room_temp_var = barometer_var = humidity_var = nullptr;
    environment_confirmed = false;
    const QWidgetList tops = QApplication::topLevelWidgets();
    for (QWidget *widget : tops)
        QVERIFY2(!qobject_cast<QDialog *>(widget), qPrintable(widget->metaObject()->className()));
}

void TestEnvironment::siteTable()
{
    site_table.append({"OLD", "left over", "from an earlier build"});
    build_site_table();
    QCOMPARE(site_table.size(), 6);
    QStringList codes;
    for (const SiteRow &row : qAsConst(site_table)) {
        QVERIFY2(QRegularExpression(QStringLiteral("^[A-Z]{2,6}$")).match(row.site_code).hasMatch(),
                 qPrintable(row.site_code));
        QVERIFY(!row.site_name.isEmpty() && !row.site_address.isEmpty());
        QVERIFY2(!row.site_address.contains(QLatin1Char('\n')), qPrintable(row.site_address));
        codes << row.site_code;
    }
    QCOMPARE(codes.removeDuplicates(), 0);
    // The simulated cell's site must find its address.
    QVERIFY(codes.contains(QStringLiteral("NRTC")));
}

void TestEnvironment::firstStartCreatesFile()
{
    TempRoot root;
    QVERIFY(!QFile::exists(root.ini()));
    const QDateTime before = QDateTime::currentDateTime().addSecs(-1);
    build_site_table();
    load_environment_settings();

    QCOMPARE(QByteArray(env_settings->room_temp_variable), QByteArray("instr_t"));
    QCOMPARE(QByteArray(env_settings->barometer_variable), QByteArray("barometer"));
    QCOMPARE(QByteArray(env_settings->humidity_variable), QByteArray("instr_rel_hum"));
    QCOMPARE(int(env_settings->env_vars_used), 1);

    QVERIFY(QFile::exists(root.ini()));
    const QByteArray raw = file_bytes(root.ini());
    QVERIFY2(raw.contains("\nENV_VARS_USED_FLAG=TRUE\n"), raw.constData());
    QSettings ini(root.ini(), QSettings::IniFormat);
    QStringList groups = ini.childGroups();
    QCOMPARE(groups.size(), 7);
    QVERIFY(groups.contains(QStringLiteral("Environment")));
    ini.beginGroup(QStringLiteral("Environment"));
    QCOMPARE(ini.value("ROOM_TEMP_VARIABLE").toString(), QStringLiteral("instr_t"));
    QCOMPARE(ini.value("BAROMETER_VARIABLE").toString(), QStringLiteral("barometer"));
    QCOMPARE(ini.value("HUMIDITY_VARIABLE").toString(), QStringLiteral("instr_rel_hum"));
    const QDateTime stamp =
        QDateTime::fromString(ini.value("ENV_FILE_UPDATED").toString(), QStringLiteral("MM/dd/yyyy hh:mm:ss"));
    QVERIFY2(stamp.isValid(), qPrintable(ini.value("ENV_FILE_UPDATED").toString()));
    QVERIFY(stamp >= before && stamp <= QDateTime::currentDateTime());
    ini.endGroup();
    for (const SiteRow &row : qAsConst(site_table)) {
        QVERIFY2(groups.contains(row.site_code), qPrintable(row.site_code));
        ini.beginGroup(row.site_code);
        QCOMPARE(ini.value("name").toString(), row.site_name);
        // An address holds commas: it must come back as one text.
        QCOMPARE(ini.value("address").toString(), row.site_address);
        ini.endGroup();
    }

    // The dialog made on a first start comes up with the defaults.
    TempRoot fresh;
    EnvironmentDialog dialog;
    QVERIFY(QFile::exists(fresh.ini()));
    QCOMPARE(field(dialog, "txtTempName")->text(), QStringLiteral("instr_t"));
    QCOMPARE(field(dialog, "tmpBaroName")->text(), QStringLiteral("barometer"));
    QCOMPARE(field(dialog, "txtHumidityName")->text(), QStringLiteral("instr_rel_hum"));
    QVERIFY(dialog.findChild<QCheckBox *>("chkEnvVarsUsed")->isChecked());
}

void TestEnvironment::fileRead_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QString>("temperature");
    QTest::addColumn<QString>("barometer");
    QTest::addColumn<QString>("humidity");
    QTest::addColumn<bool>("used");

    QTest::newRow("as configured") << kConfiguredFile << "instr_t" << "barometer" << "instr_rel_hum" << true;
    QByteArray lower = kConfiguredFile;
    lower.replace("ENV_VARS_USED_FLAG=TRUE", "ENV_VARS_USED_FLAG=true");
    QTest::newRow("flag true in lower case") << lower << "instr_t" << "barometer" << "instr_rel_hum" << false;
    QByteArray mixed = kConfiguredFile;
    mixed.replace("ENV_VARS_USED_FLAG=TRUE", "ENV_VARS_USED_FLAG=True");
    QTest::newRow("flag True capitalised") << mixed << "instr_t" << "barometer" << "instr_rel_hum" << false;
    QByteArray unused = kConfiguredFile;
    unused.replace("ENV_VARS_USED_FLAG=TRUE", "ENV_VARS_USED_FLAG=FALSE");
    QTest::newRow("flag FALSE") << unused << "instr_t" << "barometer" << "instr_rel_hum" << false;
    QByteArray noFlag = kConfiguredFile;
    noFlag.replace("ENV_VARS_USED_FLAG=TRUE\n", "");
    QTest::newRow("flag missing") << noFlag << "instr_t" << "barometer" << "instr_rel_hum" << false;
    QByteArray noBaro = kConfiguredFile;
    noBaro.replace("BAROMETER_VARIABLE=barometer\n", "");
    QTest::newRow("barometer name missing") << noBaro << "instr_t" << "" << "instr_rel_hum" << true;
    QTest::newRow("no Environment group") << QByteArray("[NRTC]\nname=Northridge Technical Center\n") << ""
                                          << "" << "" << false;
    QTest::newRow("empty file") << QByteArray() << "" << "" << "" << false;
    QTest::newRow("other names") << QByteArray("[Environment]\nROOM_TEMP_VARIABLE=cell_air_t\n"
                                               "BAROMETER_VARIABLE=baro_kpa\nHUMIDITY_VARIABLE=rh_1\n"
                                               "ENV_VARS_USED_FLAG=TRUE\n")
                                 << "cell_air_t" << "baro_kpa" << "rh_1" << true;
}

void TestEnvironment::fileRead()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, temperature);
    QFETCH(QString, barometer);
    QFETCH(QString, humidity);
    QFETCH(bool, used);

    TempRoot root;
    QVERIFY(write_file(root.ini(), content));
    std::memset(static_cast<void *>(env_settings), 'x', sizeof(EnvSettings));  // every byte rewritten
    build_site_table();
    load_environment_settings();
    QCOMPARE(QString::fromLatin1(env_settings->room_temp_variable), temperature);
    QCOMPARE(QString::fromLatin1(env_settings->barometer_variable), barometer);
    QCOMPARE(QString::fromLatin1(env_settings->humidity_variable), humidity);
    QCOMPARE(int(env_settings->env_vars_used), used ? 1 : 0);
    // An existing file is only read, even one without any settings.
    QCOMPARE(file_bytes(root.ini()), content);

    EnvironmentDialog dialog;
    QCOMPARE(field(dialog, "txtTempName")->text(), temperature);
    QCOMPARE(field(dialog, "tmpBaroName")->text(), barometer);
    QCOMPARE(field(dialog, "txtHumidityName")->text(), humidity);
    QCOMPARE(dialog.findChild<QCheckBox *>("chkEnvVarsUsed")->isChecked(), used);
}

void TestEnvironment::siteGroupsKeptOnLaterWrites()
{
    TempRoot root;
    QVERIFY(write_file(root.ini(), kConfiguredFile));
    {
        EnvironmentDialog dialog;
        field(dialog, "txtTempName")->clear();
        dialog.findChild<QCheckBox *>("chkEnvVarsUsed")->setChecked(false);
        dialog.findChild<QPushButton *>("btnOK")->click();
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    }
    QSettings ini(root.ini(), QSettings::IniFormat);
    QCOMPARE(ini.childGroups(), QStringList({"Environment", "NRTC"}));
    QCOMPARE(ini.value("NRTC/address").toString(), QStringLiteral("1 Edited Way, Northridge Falls, OH 45899"));
    QCOMPARE(ini.value("Environment/ROOM_TEMP_VARIABLE").toString(), QString());
    QCOMPARE(ini.value("Environment/ENV_VARS_USED_FLAG").toString(), QStringLiteral("FALSE"));
}

void TestEnvironment::formAtStart()
{
    TempRoot root;
    QVERIFY(write_file(root.ini(), kConfiguredFile));
    WarningGuard warnings;
    EnvironmentDialog dialog;
    QVERIFY2(warnings.warnings(QStringLiteral("connectSlotsByName")).isEmpty(),
             qPrintable(warnings.warnings().join('\n')));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Environment Variables"));
    QCOMPARE(dialog.size(), QSize(550, 235));
    QCOMPARE(dialog.windowFlags(), Qt::Dialog | Qt::WindowTitleHint | Qt::CustomizeWindowHint);
    const QColor cream(255, 252, 239);
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        QCOMPARE(dialog.palette().color(group, QPalette::Window), cream);
    QCOMPARE(dialog.palette().color(QPalette::Active, QPalette::Base), QColor(Qt::white));
    QCOMPARE(dialog.palette().color(QPalette::Inactive, QPalette::Base), QColor(Qt::white));
    QCOMPARE(dialog.palette().color(QPalette::Disabled, QPalette::Base), cream);
    const struct {
        const char *label, *text;
    } labels[] = {{"label", "Temperature Variable Name:"},
                  {"label_2", "Barometer Variable Name:"},
                  {"label_3", "Humidity Variable Name:"},
                  {"label_4", "Environment Variables Used:"}};
    for (const auto &label : labels)
        QCOMPARE(dialog.findChild<QLabel *>(label.label)->text(), QString::fromLatin1(label.text));
    const QList<QPushButton *> buttons = dialog.findChildren<QPushButton *>();
    QCOMPARE(buttons.size(), 1);
    QCOMPARE(buttons.first()->objectName(), QStringLiteral("btnOK"));
    QCOMPARE(buttons.first()->text(), QStringLiteral("OK"));

    // No on-screen input on this form, even on a touch station.
    touch_screen = 1;
    EnvironmentDialog touch;
    touch_screen = 0;
    for (QLineEdit *edit : touch.findChildren<QLineEdit *>())
        QVERIFY(!edit->property("keyboard").isValid() && !edit->property("numpad").isValid());
}

void TestEnvironment::checkBoxEnablesFields()
{
    TempRoot root;
    QByteArray unused = kConfiguredFile;
    unused.replace("ENV_VARS_USED_FLAG=TRUE", "ENV_VARS_USED_FLAG=FALSE");
    QVERIFY(write_file(root.ini(), unused));
    EnvironmentDialog dialog;
    auto *box = dialog.findChild<QCheckBox *>("chkEnvVarsUsed");
    const char *const names[] = {"txtTempName", "tmpBaroName", "txtHumidityName"};
    QVERIFY(!box->isChecked());
    for (const char *name : names)
        QVERIFY2(!field(dialog, name)->isEnabled(), name);
    box->setChecked(true);
    for (const char *name : names)
        QVERIFY2(field(dialog, name)->isEnabled(), name);
    box->setChecked(false);
    for (const char *name : names)
        QVERIFY2(!field(dialog, name)->isEnabled(), name);
}

void TestEnvironment::uncheckedOkStoresEmptyNames()
{
    TempRoot root;
    QVERIFY(write_file(root.ini(), kConfiguredFile));
    EnvironmentDialog dialog;
    dialog.findChild<QCheckBox *>("chkEnvVarsUsed")->setChecked(false);
    for (const char *name : {"txtTempName", "tmpBaroName", "txtHumidityName"})
        field(dialog, name)->clear();
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    dialog.findChild<QPushButton *>("btnOK")->click();
    QVERIFY(answerer.seen().isEmpty());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(environment_confirmed);
    QVERIFY(!room_temp_var && !barometer_var && !humidity_var);  // nothing looked up
    QCOMPARE(env_settings->room_temp_variable[0], '\0');
    QCOMPARE(env_settings->barometer_variable[0], '\0');
    QCOMPARE(env_settings->humidity_variable[0], '\0');
    QCOMPARE(int(env_settings->env_vars_used), 0);
    const QByteArray raw = file_bytes(root.ini());
    for (const char *line : {"\nENV_VARS_USED_FLAG=FALSE\n", "\nROOM_TEMP_VARIABLE=\n", "\nBAROMETER_VARIABLE=\n",
                             "\nHUMIDITY_VARIABLE=\n"})
        QVERIFY2(raw.contains(line), raw.constData());
    QVERIFY(!raw.contains("01/02/2024 08:00:00"));  // the time stamp was renewed
}

void TestEnvironment::namesMissing_data()
{
    QTest::addColumn<QString>("emptied");
    QTest::newRow("temperature empty") << "txtTempName";
    QTest::newRow("barometer empty") << "tmpBaroName";
    QTest::newRow("humidity empty") << "txtHumidityName";
}

void TestEnvironment::namesMissing()
{
    QFETCH(QString, emptied);
    TempRoot root;
    QVERIFY(write_file(root.ini(), kConfiguredFile));
    EnvironmentDialog dialog;
    const QByteArray loaded(reinterpret_cast<const char *>(env_settings), sizeof(EnvSettings));
    field(dialog, qPrintable(emptied))->clear();
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    dialog.findChild<QPushButton *>("btnOK")->click();
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, QStringLiteral("Environment Variables Missing"));
    QCOMPARE(answerer.seen().first().text,
             QStringLiteral("Please make sure data has been entered for all Environment Variable fields"));
    QCOMPARE(answerer.seen().first().buttons, QStringList{QStringLiteral("OK")});
    QCOMPARE(dialog.result(), 0);
    QVERIFY(!environment_confirmed);
    QVERIFY(!room_temp_var && !barometer_var && !humidity_var);  // checked before any lookup
    QVERIFY(QByteArray(reinterpret_cast<const char *>(env_settings), sizeof(EnvSettings)) == loaded);
    QCOMPARE(file_bytes(root.ini()), kConfiguredFile);
}

void TestEnvironment::unknownVariable_data()
{
    QTest::addColumn<QString>("wrongField");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("resolvedBefore");  // pointers set before the failure

    const QString tail = QStringLiteral(" does not exist.\n\nA valid orvane variable should be specified");
    QTest::newRow("temperature unknown")
        << "txtTempName" << "Temperature Orvane Variable Error"
        << QStringLiteral("The Temperature Orvane Variable <cell_air_t>") + tail << 0;
    QTest::newRow("barometer unknown")
        << "tmpBaroName" << "Barometer Orvane Variable Error"
        << QStringLiteral("The Barometer Orvane Variable <cell_air_t>") + tail << 1;
    QTest::newRow("humidity unknown")
        << "txtHumidityName" << "Relative Humidity Orvane Variable Error"
        << QStringLiteral("The Relative Humidity Orvane Variable <cell_air_t>") + tail << 2;
}

void TestEnvironment::unknownVariable()
{
    QFETCH(QString, wrongField);
    QFETCH(QString, title);
    QFETCH(QString, text);
    QFETCH(int, resolvedBefore);

    TempRoot root;  // the cell's shared memory stays that of the running SimCell
    QVERIFY(write_file(root.ini(), kConfiguredFile));
    EnvironmentDialog dialog;
    const QByteArray loaded(reinterpret_cast<const char *>(env_settings), sizeof(EnvSettings));
    field(dialog, qPrintable(wrongField))->setText(QStringLiteral("cell_air_t"));
    // What the pointers hold while the message is on screen.
    bool boxSeen = false;
    void *atBox[3] = {};
    QTimer watch;
    watch.setInterval(1);
    connect(&watch, &QTimer::timeout, this, [&] {
        if (!boxSeen && qobject_cast<QMessageBox *>(QApplication::activeModalWidget())) {
            boxSeen = true;
            atBox[0] = room_temp_var;
            atBox[1] = barometer_var;
            atBox[2] = humidity_var;
        }
    });
    watch.start();
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    dialog.findChild<QPushButton *>("btnOK")->click();
    watch.stop();
    QVERIFY(boxSeen);

    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, title);
    QCOMPARE(answerer.seen().first().text, text);
    QCOMPARE(answerer.seen().first().buttons, QStringList{QStringLiteral("OK")});
    QCOMPARE(dialog.result(), 0);
    QVERIFY(!environment_confirmed);

    // Those resolved before the failure keep their new values.
    void *const pointers[] = {room_temp_var, barometer_var, humidity_var};
    const char *const names[] = {"instr_t", "barometer", "instr_rel_hum"};
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(atBox[i], pointers[i]);
        if (i < resolvedBefore) {
            QVERIFY2(pointers[i], names[i]);
            QCOMPARE(variable_name(pointers[i]), QString::fromLatin1(names[i]));
        } else {
            QVERIFY2(!pointers[i], names[i]);
        }
    }
    // Nothing stored, and the lookup that failed is in the host's log.
    QVERIFY(QByteArray(reinterpret_cast<const char *>(env_settings), sizeof(EnvSettings)) == loaded);
    QCOMPARE(file_bytes(root.ini()), kConfiguredFile);
    QVERIFY2(file_bytes(root.log()).contains("Can't find variable <cell_air_t>"), file_bytes(root.log()).constData());

    // Corrected, the same dialog is accepted.
    field(dialog, qPrintable(wrongField))->setText(QString::fromLatin1(names[resolvedBefore]));
    dialog.findChild<QPushButton *>("btnOK")->click();
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(environment_confirmed);
}

void TestEnvironment::checkedOkResolvesAll()
{
    TempRoot root;
    QVERIFY(write_file(root.ini(), kConfiguredFile));
    EnvironmentDialog dialog;
    dialog.findChild<QPushButton *>("btnOK")->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QVERIFY(environment_confirmed);
    QVERIFY(room_temp_var && barometer_var && humidity_var);
    QCOMPARE(variable_name(room_temp_var), QStringLiteral("instr_t"));
    QCOMPARE(variable_units(room_temp_var), QStringLiteral("C"));
    QCOMPARE(variable_name(barometer_var), QStringLiteral("barometer"));
    QCOMPARE(variable_units(barometer_var), QStringLiteral("KPA"));
    QCOMPARE(variable_name(humidity_var), QStringLiteral("instr_rel_hum"));
    QCOMPARE(variable_units(humidity_var), QStringLiteral("PCT"));
    QCOMPARE(int(env_settings->env_vars_used), 1);
    QSettings ini(root.ini(), QSettings::IniFormat);
    QCOMPARE(ini.value("Environment/ENV_VARS_USED_FLAG").toString(), QStringLiteral("TRUE"));
    QCOMPARE(ini.value("Environment/HUMIDITY_VARIABLE").toString(), QStringLiteral("instr_rel_hum"));
    QVERIFY(ini.value("Environment/ENV_FILE_UPDATED").toString() != QLatin1String("01/02/2024 08:00:00"));
}

void TestEnvironment::escapeLeavesPointersUnset()
{
    TempRoot root;
    QVERIFY(write_file(root.ini(), kConfiguredFile));
    EnvironmentDialog dialog;
    QCOMPARE(int(env_settings->env_vars_used), 1);
    const QByteArray loaded(reinterpret_cast<const char *>(env_settings), sizeof(EnvSettings));
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    field(dialog, "txtTempName")->setText(QStringLiteral("edited_t"));
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QVERIFY(!room_temp_var && !barometer_var && !humidity_var);
    QVERIFY(!environment_confirmed);
    QVERIFY(QByteArray(reinterpret_cast<const char *>(env_settings), sizeof(EnvSettings)) == loaded);
    QCOMPARE(file_bytes(root.ini()), kConfiguredFile);
}

void TestEnvironment::execFromMenu()
{
    // The caller's form: a modal run whose result is not looked at.
    TempRoot root;
    EnvironmentDialog dialog;
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    QVERIFY(answerer.allAnswered());
    QCOMPARE(answerer.seen().first().title, QStringLiteral("Environment Variables"));
    QVERIFY(environment_confirmed);
    QVERIFY(room_temp_var && barometer_var && humidity_var);
}

void TestEnvironment::resolveHostVariable_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("found");
    QTest::addColumn<QString>("units");
    QTest::newRow("room temperature") << "instr_t" << true << "C";
    QTest::newRow("barometer") << "barometer" << true << "KPA";
    QTest::newRow("relative humidity") << "instr_rel_hum" << true << "PCT";
    QTest::newRow("unknown name") << "instr_t_2" << false << "";
    QTest::newRow("name in other case") << "INSTR_T" << false << "";
    QTest::newRow("empty name") << "" << false << "";
}

void TestEnvironment::resolveHostVariable()
{
    QFETCH(QString, name);
    QFETCH(bool, found);
    QFETCH(QString, units);
    int sentinel = 0;
    void *address = &sentinel;
    QCOMPARE(resolve_host_variable(name, &address), found);
    const QString line = QStringLiteral("Can't find variable <%1>").arg(name);
    const QStringList logged = cell_->hostLog().split(QLatin1Char('\n')).filter(line);
    if (found) {
        QVERIFY(address != &sentinel && address);
        QCOMPARE(variable_name(address), name);
        QCOMPARE(variable_units(address), units);
        QVERIFY(logged.isEmpty());
    } else {
        QCOMPARE(address, static_cast<void *>(&sentinel));
        QVERIFY2(!logged.isEmpty(), qPrintable(cell_->hostLog()));
        QVERIFY2(logged.last().contains(QLatin1String("environmentdialog:")), qPrintable(logged.last()));
        QVERIFY2(logged.last().contains(QLatin1String("code 1 ")), qPrintable(logged.last()));
    }
}

void TestEnvironment::screenshot()
{
    TempRoot root;
    EnvironmentDialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    const QString dir = QStringLiteral(VREL_BIN_DIR "/../screenshots");
    QVERIFY(QDir().mkpath(dir));
    // The form fits its designed size: the layout does not push it wider or taller.
    QCOMPARE(dialog.size(), QSize(550, 235));
    const QPixmap shot = dialog.grab();
    QCOMPARE(shot.size(), dialog.size());
    QVERIFY(shot.save(dir + QStringLiteral("/environment-dialog.png")));
    dialog.close();
}

QTEST_MAIN(TestEnvironment)
#include "tst_environment.moc"
