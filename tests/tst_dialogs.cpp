// The five forms of a channel (table information, reference standard,
// environment, units picker, record type) driven by their widget names: what
// they store in the record and how they cut it, their boxes and their rules.
#include "forms_fixture.h"
#include "station.h"
#include "warningguard.h"

#include "configdialog2.h"
#include "environmentdialog.h"
#include "mainwindow.h"
#include "referencedialog.h"
#include "savetypedialog.h"
#include "tablevalueunitsdialog.h"
#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <orvane/vars.h>

#include <QListWidget>
#include <QSettings>

#include <cstring>
#include <memory>

namespace
{

void put(char *field, const QString &text, size_t width = 32) { qstrncpy(field, text.toLatin1().constData(), width); }
template <typename T> QByteArray bytes_of(const T &r) { return QByteArray(reinterpret_cast<const char *>(&r), sizeof r); }

// A text of the record, or of the reference file as last read, by name, with its width.
std::pair<char *, size_t> record_field(VREL_CFG &r, const QString &name)
{
#define FIELD(f) {#f, {f, sizeof f}}
    const std::pair<const char *, std::pair<char *, size_t>> fields[] = {
        FIELD(r.ref_mfg), FIELD(r.ref_model), FIELD(r.ref_ser_num), FIELD(r.ref_equip_num), FIELD(r.ref_cal_due_date),
        FIELD(r.ref_physical_con), FIELD(hist_ref_model), FIELD(hist_ref_physical_con), FIELD(r.uut_mfg),
        FIELD(r.uut_model), FIELD(r.uut_sn), FIELD(r.uut_description), FIELD(r.uut_cal_type), FIELD(r.uut_mte),
        FIELD(r.uut_full_scale_units), FIELD(r.uut_error_limit_units), FIELD(r.table_info.sensor_model),
        FIELD(r.table_info.sensor_sn), FIELD(r.table_info.tbl_desc), FIELD(r.table_info.sensor_range_units),
        FIELD(r.table_info.tbl_units), FIELD(r.table_info.mua_instance_name)};
#undef FIELD
    for (const auto &field : fields)
        if (name == QLatin1String(field.first).mid(field.first[0] == 'r' ? 2 : 0))
            return field.second;
    return {nullptr, 0};
}

// The record's texts named in `stored` ("unrecorded": its flag) that differ, as "name: 'text'".
QString record_mismatches(VREL_CFG &record, const QString &stored)
{
    QStringList wrong;
    for (const QString &step : form_steps(stored)) {
        const QString name = step.section('=', 0, 0);
        const QString text = name == QLatin1String("unrecorded") ? QString::number(record.unrecorded_changes)
                                                                 : QString::fromLatin1(record_field(record, name).first);
        if (text != step.section('=', 1))
            wrong << name + QStringLiteral(": '") + text + QLatin1Char('\'');
    }
    return wrong.join(QStringLiteral(", "));
}

// A 0..100 C sensor on a C table, its reference standard, what its reference file had last.
void fill_record(VREL_CFG &r)
{
    TableInfo &info = r.table_info;
    const std::pair<char *, const char *> texts[] = {
        {info.tbl_units, "C"}, {r.raw_units, "C"}, {info.sensor_range_units, "C"},
        {info.sensor_model, "Brantley Sensors"}, {info.sensor_sn, "SN-4411"}, {info.tbl_desc, "Cell air temperature"},
        {r.uut_model, "TX-100"}, {r.uut_cal_type, "RTD"}, {r.uut_mte, "MTE-7"}, {info.mua_instance_name, "  none  "},
        {r.ref_mfg, "Halvorsen Instruments"}, {r.ref_model, "HQ-400"}, {r.ref_ser_num, "SN-10042"},
        {r.ref_equip_num, "MTE-0815"}, {r.ref_cal_due_date, "11/30/2025"}, {r.ref_physical_con, "Left"},
        {hist_ref_mfg, "Brightwater Metrology"}, {hist_ref_model, "DPC-9"}, {hist_ref_ser_num, "B-77321"},
        {hist_ref_equip_num, "MTE-0420"}, {hist_ref_cal_due_date, "02/29/2024"}, {hist_ref_physical_con, "Right"}};
    for (const auto &text : texts)
        std::strcpy(text.first, text.second);
    info.sensor_range_upper_limit = 100.0;
    info.min_range = -10.0;
    info.max_range = 110.0;
    r.long_table.count = 7;
}

// A root of its own for the environment file, a path no settings object has seen; same cell.
struct TempRoot {
    TempRoot() { qputenv("ORVANE_ROOT", dir.path().toLocal8Bit()), QDir().mkpath(dir.path() + "/cell"); }
    ~TempRoot() { qputenv("ORVANE_ROOT", previous); }
    QString ini() const { return dir.path() + QStringLiteral("/cell/vrel_util_specs.ini"); }
    QByteArray previous = qgetenv("ORVANE_ROOT");
    QTemporaryDir dir;
};

QByteArray file_content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : "<no file>";
}

const QByteArray kEnvironmentFile = "[Environment]\nENV_FILE_UPDATED=01/02/2024 08:00:00\n"
                                    "ROOM_TEMP_VARIABLE=instr_t\nBAROMETER_VARIABLE=barometer\n"
                                    "HUMIDITY_VARIABLE=instr_rel_hum\nENV_VARS_USED_FLAG=TRUE\n\n"
                                    "[NRTC]\nname=Northridge Technical Center\n"
                                    "address=\"1 Edited Way, Northridge Falls, OH 45899\"\n";

QStringList unit_list(const VREL_CFG &record, int category)
{
    QStringList names;
    for (int i = 0; i < record.unit_counts[category]; ++i)
        names << QString::fromLatin1(record.unit_names[category][i]);
    return names;
}

} // namespace

class TestDialogs : public QObject
{
    Q_OBJECT
    VREL_CFG record_{};
    EnvSettings environment_{};
    SimCell cell_;
    std::unique_ptr<WarningGuard> warnings_; // made once the test's own message handler is in

  private slots:
    void initTestCase();
    void cleanupTestCase() { warnings_.reset(); }
    void init();
    void cleanup();
    void forms_data();
    void forms();
    void tableInfoStores();
    void environment_data();
    void environment();
    void unitsOfTheHost();
    void recordType_data();
    void recordType();
};

void TestDialogs::initTestCase()
{
    warnings_ = std::make_unique<WarningGuard>();
    QVERIFY2(cell_.start({"--tick", "50"}), qPrintable(cell_.lastOutput()));
}

void TestDialogs::init()
{
    std::memset(static_cast<void *>(&record_), 0, sizeof record_);
    fill_record(record_);
    cfg = &record_;
    std::memset(static_cast<void *>(&environment_), 0, sizeof environment_);
    env_settings = &environment_;
    room_temp_var = barometer_var = humidity_var = nullptr;
    environment_confirmed = false;
    init_tolerance_texts();
}

void TestDialogs::cleanup()
{
    const QStringList unbound = warnings_->warnings(QStringLiteral("connectSlotsByName"));
    QVERIFY2(unbound.isEmpty(), qPrintable(unbound.join('\n')));
    for (QWidget *top : QApplication::topLevelWidgets())
        QVERIFY2(!top->isVisible(), top->metaObject()->className());
}

void TestDialogs::forms_data()
{
    QTest::addColumn<QString>("dialog"); // "table" with the reason it is forced open for, "menu", "reference"
    QTest::addColumn<QString>("setup");  // record fields before
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("form");    // what the form shows after
    QTest::addColumn<QString>("summary"); // the boxes shown and how the dialog ended
    QTest::addColumn<QString>("stored"); // record fields after
    const QString limits = QStringLiteral("Invalid Sensor Range Limit VALUES: "), units = QStringLiteral("Invalid Sensor Range UNITS: ");
    const QString reenter = QStringLiteral("\n\nPlease reenter the Limit Values."), reselect = QStringLiteral("\n\nPlease reselect the Sensor Range Units.");
    const QString clearing = QStringLiteral("Clearing Calibration Data: Changes may affect the calibration.\n\nCalibration data will be cleared.");
    const QString missing = QStringLiteral("Data Missing In Fields: Make sure all fields in the screen contain data\n\n"), table_lost = QStringLiteral("Changes Lost: Changes made to the Calibration Configuration will be lost.");
    const QString update = QStringLiteral("Update Data: "), press_ok = QStringLiteral("\n\nPress OK to update Table Information");
    const QString limits_back = QStringLiteral("txtLowerRangeLimit=    0.00|txtUpperRangeLimit=  100.00|btnSensorUnits=C|txtUUTModel=TX-200");
    const QString units_back = QStringLiteral("txtLowerRangeLimit=0|txtUpperRangeLimit=50|btnSensorUnits=C");
    const QString ref_missing = QStringLiteral("Current Reference Standard Information Missing: Make sure all the Current Reference Standard Information fields in the screen contain data\n");
    const QString date = QStringLiteral("Invalid Current Cal Due Date: The entered Current Cal Due Date is not valid \n"), lost = QStringLiteral("Changes Lost: Changes made to the Current Reference Standard Information will be lost.");
    // clang-format off
    QTest::newRow("nothing changed") << "table" << "" << "btnOk" << "" << "accepted" << "unrecorded=0";
    QTest::newRow("model only informs") << "table" << "" << "txtUUTModel=TX-101|btnOk" << "" << clearing + "\naccepted" << "unrecorded=0|uut_model=TX-101";
    QTest::newRow("cal type only informs") << "table" << "" << "cboUUTCalType=#5|btnOk" << "" << clearing + "\naccepted" << "unrecorded=0|uut_cal_type=Absolute";
    QTest::newRow("M&TE only informs") << "table" << "" << "txtUUT_MTE=MTE-8|btnOk" << "" << clearing + "\naccepted" << "unrecorded=0";
    QTest::newRow("manufacturer") << "table" << "" << "txtUUTMfg=Other|btnOk" << "" << clearing + "\naccepted" << "unrecorded=1";
    QTest::newRow("serial number") << "table" << "" << "txtUUTSerialNumber=SN-1|btnOk" << "" << clearing + "\naccepted" << "unrecorded=1";
    QTest::newRow("description") << "table" << "" << "txtDescription=Fuel|btnOk" << "" << clearing + "\naccepted" << "unrecorded=1";
    QTest::newRow("units, padded limits") << "table" << "" << "btnSensorUnits=F|txtLowerRangeLimit=  -10.00|btnOk" << "" << clearing + "\naccepted" << "unrecorded=1";
    QTest::newRow("upper limit") << "table" << "" << "txtUpperRangeLimit=120|btnOk" << "" << clearing + "\naccepted" << "unrecorded=1";
    QTest::newRow("lower within 1e-6 is no change") << "table" << "" << "txtLowerRangeLimit=0.0000005|btnOk" << "" << "accepted" << "unrecorded=0";
    QTest::newRow("NaN slips through every test") << "table" << "" << "txtLowerRangeLimit=NaN|btnOk" << "" << "accepted" << "unrecorded=0";
    QTest::newRow("1: 5 and abc, which reads 0") << "table" << "" << "txtUUTModel=TX-200|txtLowerRangeLimit=5|txtUpperRangeLimit=abc|btnOk" << limits_back << limits + "The entered value for the Sensor Range Lower Limit cannot be more than the Sensor Range Upper Limit value" + reenter + "\nopen" << "";
    QTest::newRow("2: abc and def read the same") << "table" << "" << "txtUUTModel=TX-200|txtLowerRangeLimit=abc|txtUpperRangeLimit=def|btnOk" << limits_back << limits + "The Sensor Range Lower and Upper Limit Values cannot be the same" + reenter + "\nopen" << "";
    QTest::newRow("3: nan before no number") << "table" << "" << "txtLowerRangeLimit=-5|txtUpperRangeLimit=nano|btnOk" << "" << limits + "NAN is not an acceptable value for the Sensor Range Lower or Upper Limit Values" + reenter + "\nopen" << "";
    QTest::newRow("4: no number, no full stop") << "table" << "" << "txtUUTModel=TX-200|txtLowerRangeLimit=-5|txtUpperRangeLimit=1e|btnOk" << limits_back << limits + "Invalid data was entered for the Sensor Range Lower or Upper Limit Values\n\nPlease reenter the Limit Values" + "\nopen" << "";
    QTest::newRow("5: units missing") << "table" << "" << "txtLowerRangeLimit=0|txtUpperRangeLimit=50|btnSensorUnits=|btnOk" << units_back << units + "The Sensor Range Units must be specified" + reselect + "\nopen" << "";
    QTest::newRow("6: none inside a name") << "table" << "" << "txtLowerRangeLimit=0|txtUpperRangeLimit=50|btnSensorUnits=DEGNoneX|btnOk" << units_back << units + "The Sensor Range Units cannot be NONE" + reselect + "\nopen" << "";
    QTest::newRow("7: units unfit") << "table" << "" << "txtLowerRangeLimit=0|txtUpperRangeLimit=50|btnSensorUnits=PSI|btnOk" << units_back << units + "The Sensor Range Units (PSI) are not compatible with the table units (C)." + reselect + "\nopen" << "";
    QTest::newRow("manufacturer missing, before the range") << "table" << "" << "txtUUTMfg=|txtLowerRangeLimit=500|btnOk" << "txtLowerRangeLimit=500" << missing + "\nopen" << "";
    QTest::newRow("model missing") << "table" << "" << "txtUUTModel=|btnOk" << "" << missing + "\nopen" << "";
    QTest::newRow("serial number missing") << "table" << "" << "txtUUTSerialNumber=|btnOk" << "" << missing + "\nopen" << "";
    QTest::newRow("description missing") << "table" << "" << "txtDescription=|btnOk" << "" << missing + "\nopen" << "";
    QTest::newRow("cal type missing") << "table" << "uut_cal_type=Thermocouple" << "btnOk" << "" << missing + "\nopen" << "";
    QTest::newRow("M&TE missing") << "table" << "" << "txtUUT_MTE=|btnOk" << "" << missing + "\nopen" << "";
    QTest::newRow("cancel, nothing changed") << "table" << "" << "btnCancel" << "" << "rejected" << "";
    QTest::newRow("cancel, model changed") << "table" << "" << "txtUUTModel=TX-101|btnCancel" << "" << table_lost + "\nrejected" << "";
    QTest::newRow("forced open: 1") << "table 1" << "" << "" << "" << update + "The Sensor Lower Range Value is greater than the Upper Range Value." + press_ok + "\nopen" << "";
    QTest::newRow("forced open: 2") << "table 2" << "" << "" << "" << update + "The Sensor Lower and Upper Range Values are the same." + press_ok + "\nopen" << "";
    QTest::newRow("forced open: 3") << "table 3" << "" << "" << "" << update + "The Sensor Lower and Upper Range Values are INVALID and need to be updated." + press_ok + "\nopen" << "";
    QTest::newRow("forced open: 4 has no message") << "table 4" << "" << "" << "" << "open" << "";
    QTest::newRow("forced open: 5") << "table 5" << "" << "" << "" << update + "The Sensor Range Units must be specified." + press_ok + "\nopen" << "";
    QTest::newRow("forced open: 6") << "table 6" << "" << "" << "" << update + "The Sensor Range Units = NONE and need to be updated." + press_ok + "\nopen" << "";
    QTest::newRow("forced open: 7") << "table 7" << "table_info.sensor_range_units=KPA|table_info.tbl_units=K" << "" << "btnSensorUnits=KPA" << update + "The Sensor Range Units (KPA) are not compatible with the table units (K)." + press_ok + "\nopen" << "";
    QTest::newRow("forced open: 8, the identity copied") << "table 8" << "uut_mfg=old maker" << "" << "txtUUTMfg=Brantley Sensors" << update + "UUT Information is missing" + press_ok + "\nopen" << "uut_mfg=Brantley Sensors|unrecorded=0";
    QTest::newRow("menu route shows no reason") << "menu 1" << "" << "" << "" << "open" << "";
    QTest::newRow("leap day") << "reference" << "" << "txtCurrRefCalDueDate=02/29/2024|cboCurrRefPhysicalConn=Right|btnOK" << "" << "accepted" << "ref_cal_due_date=02/29/2024|ref_physical_con=Right|ref_mfg=Halvorsen Instruments";
    QTest::newRow("February 30th") << "reference" << "" << "txtCurrRefCalDueDate=02/30/2024|btnOK" << "txtCurrRefCalDueDate=//" << date + "\nopen" << "";
    QTest::newRow("month 13") << "reference" << "" << "txtCurrRefCalDueDate=13/01/2024|btnOK" << "" << date + "\nopen" << "";
    QTest::newRow("unfilled date passes the missing check") << "reference" << "" << "txtCurrRefCalDueDate=|btnOK" << "" << date + "\nopen" << "";
    QTest::newRow("manufacturer missing") << "reference" << "" << "txtCurrRefMfg=|btnOK" << "" << ref_missing + "\nopen" << "";
    QTest::newRow("model missing") << "reference" << "" << "txtCurrRefModel=|btnOK" << "" << ref_missing + "\nopen" << "";
    QTest::newRow("serial number missing") << "reference" << "" << "txtCurrRefSN=|btnOK" << "" << ref_missing + "\nopen" << "";
    QTest::newRow("equipment number missing") << "reference" << "" << "txtCurrRefEquipNum=|btnOK" << "" << ref_missing + "\nopen" << "";
    QTest::newRow("33 characters cut to 31") << "reference" << "" << "txtCurrRefSN=777777777777777777777777777777777|btnOK" << "" << "accepted" << "ref_ser_num=7777777777777777777777777777777";
    QTest::newRow("Latin-1") << "reference" << "" << "txtCurrRefMfg=Wendelb\u00fchl Messtechnik|btnOK" << "" << "accepted" << "ref_mfg=Wendelb\u00fchl Messtechnik";
    QTest::newRow("move all") << "reference" << "" << "btnMoveAll|btnOK" << "" << "accepted" << "ref_mfg=Brightwater Metrology|ref_model=DPC-9|ref_ser_num=B-77321|ref_equip_num=MTE-0420|ref_cal_due_date=02/29/2024|ref_physical_con=Right";
    QTest::newRow("connection outside the options") << "reference" << "hist_ref_physical_con=Front|ref_physical_con=Right" << "btnMovePhyConn" << "cboCurrRefPhysicalConn=Right" << "open" << "";
    QTest::newRow("history missing a model") << "reference" << "hist_ref_model=" << "" << "btnMoveModel?=0|btnMoveMfg?=1|btnMoveAll?=0|txtHistRefSN=B-77321|txtHistRefSN?=0" << "open" << "";
    QTest::newRow("reset clears the current column") << "reference" << "" << "btnReset" << "txtCurrRefMfg=|txtCurrRefEquipNum=|txtCurrRefCalDueDate=//|cboCurrRefPhysicalConn=N/A|txtHistRefMfg=Brightwater Metrology" << "open" << "";
    QTest::newRow("cancel, nothing changed") << "reference" << "" << "btnCancel" << "" << "rejected" << "";
    QTest::newRow("cancel, manufacturer") << "reference" << "" << "txtCurrRefMfg=Other|btnCancel" << "" << lost + "\nrejected" << "";
    QTest::newRow("cancel, model") << "reference" << "" << "txtCurrRefModel=Other|btnCancel" << "" << lost + "\nrejected" << "";
    QTest::newRow("cancel, serial number") << "reference" << "" << "txtCurrRefSN=Other|btnCancel" << "" << lost + "\nrejected" << "";
    QTest::newRow("cancel, equipment number") << "reference" << "" << "txtCurrRefEquipNum=Other|btnCancel" << "" << lost + "\nrejected" << "";
    QTest::newRow("cancel, due date") << "reference" << "" << "txtCurrRefCalDueDate=12/01/2025|btnCancel" << "" << lost + "\nrejected" << "";
    QTest::newRow("cancel, only the connection: not compared") << "reference" << "" << "cboCurrRefPhysicalConn=Right|btnCancel" << "" << "rejected" << "";
    QTest::newRow("cancel, empty record: // is not empty") << "reference" << "ref_mfg=|ref_model=|ref_ser_num=|ref_equip_num=|ref_cal_due_date=|ref_physical_con=" << "btnCancel" << "" << lost + "\nrejected" << "";
    QTest::newRow("escape does not warn") << "reference" << "" << "txtCurrRefMfg=Other|<Esc>" << "" << "rejected" << "";
    // clang-format on
}

void TestDialogs::forms()
{
    QFETCH(QString, dialog);
    QFETCH(QString, setup);
    QFETCH(QString, steps);
    QFETCH(QString, form);
    QFETCH(QString, summary);
    QFETCH(QString, stored);
    for (const QString &step : form_steps(setup)) {
        const auto field = record_field(record_, step.section('=', 0, 0));
        put(field.first, step.section('=', 1), field.second);
    }
    cfg->unrecorded_changes = 1; // each opening of the table information starts a fresh account
    auto opening = std::make_unique<DialogAnswerer>();
    opening->answer(QStringLiteral("OK"));
    std::unique_ptr<QDialog> shown;
    if (dialog == QLatin1String("reference"))
        shown = std::make_unique<ReferenceDialog>();
    else
        shown = std::make_unique<ConfigDialog2>(nullptr, dialog.startsWith("table"), dialog.section(' ', 1).toInt());
    QString reason; // the box that comes before the form
    for (const DialogAnswerer::Seen &seen : opening->seen())
        reason = seen.title + QStringLiteral(": ") + seen.text + QLatin1Char('\n');
    opening.reset();
    const QByteArray before = bytes_of(record_);
    QCOMPARE(reason + run_form(shown.get(), steps, form), summary);
    if (!summary.endsWith(QLatin1String("accepted")))
        QVERIFY2(bytes_of(record_) == before, "a refused or cancelled entry wrote to the record");
    QCOMPARE(record_mismatches(record_, stored), QString());
}

void TestDialogs::tableInfoStores()
{
    // The sensor's units from the picker convert the limits and reach
    // raw_units at once: Cancel does not take them back.
    ConfigDialog2 first(nullptr, false, 0);
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"), [](QWidget *picker) {
        auto *types = picker->findChild<QListWidget *>(QStringLiteral("lstUnitType"));
        types->setCurrentItem(types->findItems(QStringLiteral("F"), Qt::MatchExactly).value(0));
    });
    QVERIFY(act(&first, QStringLiteral("btnSensorUnits")) && answerer.allAnswered());
    QCOMPARE(int(cfg->units_for_table), 0); // the picker in its sensor role
    QCOMPARE(form_mismatches(&first, "btnSensorUnits=F|txtLowerRangeLimit=   32.00|txtUpperRangeLimit=  212.00"), QString());
    QCOMPARE(run_form(&first, "btnCancel"), QStringLiteral("Changes Lost: Changes made to the Calibration Configuration will be lost.\nrejected"));
    QCOMPARE(QByteArray(cfg->raw_units) + QByteArray(cfg->table_info.sensor_range_units), QByteArray("FC"));
    // raw_units F on this C table: the form shows the range in F.
    ConfigDialog2 dialog(nullptr, false, 0);
    QCOMPARE(form_mismatches(&dialog, "lblMinimumText=   14.00|lblMaximumText=  230.00|lblCalibrationUnitsText=C|"
                                      "lblOOATolerance=.25[PCT]|lblSOOTBias=0[PCT]|cboUUTCalType=RTD"), QString());
    QCOMPARE(run_form(&dialog, "txtUUTMfg=  Kestrel Gauge Works |txtUUTModel=PT-9 high-temperature probe, long stem|"
                               "txtUUTSerialNumber= 77-A|txtDescription=Oil gallery |cboUUTCalType=#4|txtUUT_MTE=MTE-9|"
                               "txtLowerRangeLimit=-40|txtUpperRangeLimit=150.5|btnSensorUnits=F|btnOk"),
             QStringLiteral("Clearing Calibration Data: Changes may affect the calibration.\n\nCalibration data will be cleared.\naccepted"));
    // The record's own copies trimmed, the UUT copies as typed, each cut to its field.
    QCOMPARE(record_mismatches(record_, "table_info.sensor_model=Kestrel Gauge Works|uut_mfg=  Kestrel Gauge Works |"
                                        "table_info.sensor_sn=77-A|uut_sn= 77-A|table_info.tbl_desc=Oil gallery|"
                                        "uut_description=Oil gallery |uut_model=PT-9 high-temperature probe, lo|"
                                        "uut_cal_type=Gauge|uut_mte=MTE-9|table_info.sensor_range_units=F|uut_full_scale_units=F|"
                                        "table_info.mua_instance_name=none|uut_error_limit_units=PCT|unrecorded=1"), QString());
    const TableInfo &info = cfg->table_info;
    QCOMPARE(QPointF(info.sensor_range_lower_limit, info.sensor_range_upper_limit), QPointF(-40, 150.5));
    QCOMPARE(cfg->uut_full_scale, 150.5);
    // The tolerances of the span as it stood before the entry.
    QCOMPARE(QPointF(info.no_adjust_tol, info.soot_tol), QPointF(0.25, 2.0));
    QCOMPARE(cfg->uut_error_limit, 1.0);
    // Every OK converts the table's range again.
    ConfigDialog2 again(nullptr, false, 0);
    QCOMPARE(run_form(&again, "btnOk"), QStringLiteral("accepted"));
    QCOMPARE(qRound(info.max_range * 1e6), qRound(((110.0 - 32) * 5 / 9 - 32) * 5 / 9 * 1e6));
}

void TestDialogs::environment_data()
{
    QTest::addColumn<QByteArray>("content"); // of the file before; none when empty
    QTest::addColumn<QString>("form");       // as the form opens
    QTest::addColumn<QString>("steps");
    QTest::addColumn<QString>("summary");
    QTest::addColumn<int>("resolved"); // variables found before any failure
    QTest::addColumn<QString>("flag"); // in the file after; empty: the file untouched
    QByteArray file = kEnvironmentFile;
    const QString names = QStringLiteral("txtTempName=instr_t|tmpBaroName=barometer|txtHumidityName=instr_rel_hum|");
    const QString missing = QStringLiteral("Environment Variables Missing: Please make sure data has been entered for all Environment Variable fields");
    const QString tail = QStringLiteral("> does not exist.\n\nA valid orvane variable should be specified");
    // clang-format off
    QTest::newRow("first start writes the defaults") << QByteArray() << names + "chkEnvVarsUsed=1|txtTempName?=1" << "" << "open" << 0 << "";
    QTest::newRow("only TRUE in capitals is used") << QByteArray(file).replace("=TRUE", "=true") << names + "chkEnvVarsUsed=0" << "" << "open" << 0 << "";
    QTest::newRow("FALSE disables the names") << QByteArray(file).replace("=TRUE", "=FALSE") << names + "chkEnvVarsUsed=0|txtTempName?=0|tmpBaroName?=0|txtHumidityName?=0" << "" << "open" << 0 << "";
    QTest::newRow("barometer missing") << QByteArray(file).replace("BAROMETER_VARIABLE=barometer\n", "") << "tmpBaroName=|txtTempName=instr_t|chkEnvVarsUsed=1" << "" << "open" << 0 << "";
    QTest::newRow("all three found") << file << names + "tmpBaroName?=1|txtHumidityName?=1" << "btnOK" << "accepted" << 3 << "TRUE";
    QTest::newRow("unused: names may be empty") << file << "" << "chkEnvVarsUsed=0|txtTempName=|tmpBaroName=|txtHumidityName=|btnOK" << "accepted" << 0 << "FALSE";
    QTest::newRow("temperature empty") << file << "" << "txtTempName=|btnOK" << missing + "\nopen" << 0 << "";
    QTest::newRow("barometer empty") << file << "" << "tmpBaroName=|btnOK" << missing + "\nopen" << 0 << "";
    QTest::newRow("humidity empty") << file << "" << "txtHumidityName=|btnOK" << missing + "\nopen" << 0 << "";
    QTest::newRow("temperature unknown") << file << "" << "txtTempName=cell_air_t|btnOK" << "Temperature Orvane Variable Error: The Temperature Orvane Variable <cell_air_t" + tail + "\nopen" << 0 << "";
    QTest::newRow("barometer unknown") << file << "" << "tmpBaroName=cell_air_t|btnOK" << "Barometer Orvane Variable Error: The Barometer Orvane Variable <cell_air_t" + tail + "\nopen" << 1 << "";
    QTest::newRow("humidity in other case") << file << "" << "txtHumidityName=INSTR_REL_HUM|btnOK" << "Relative Humidity Orvane Variable Error: The Relative Humidity Orvane Variable <INSTR_REL_HUM" + tail + "\nopen" << 2 << "";
    QTest::newRow("escape") << file << "" << "txtTempName=edited_t|<Esc>" << "rejected" << 0 << "";
    // clang-format on
}

void TestDialogs::environment()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, form);
    QFETCH(QString, steps);
    QFETCH(QString, summary);
    QFETCH(int, resolved);
    QFETCH(QString, flag);
    TempRoot root;
    QFile file(root.ini());
    QVERIFY(content.isEmpty() || (file.open(QIODevice::WriteOnly) && file.write(content) == content.size()));
    file.close();
    EnvironmentDialog dialog;
    QCOMPARE(form_mismatches(&dialog, form), QString());
    QCOMPARE(int(env_settings->env_vars_used), widget_value(&dialog, "chkEnvVarsUsed").toInt());
    const QByteArray loaded = bytes_of(environment_);
    const QByteArray written = file_content(root.ini());
    QCOMPARE(run_form(&dialog, steps), summary);
    QCOMPARE(environment_confirmed, summary.endsWith(QLatin1String("accepted")));
    void *const found[] = {room_temp_var, barometer_var, humidity_var};
    const char *const names[] = {"instr_t", "barometer", "instr_rel_hum"};
    for (int i = 0; i < 3; ++i)
        QCOMPARE(found[i] ? QString::fromLatin1(static_cast<const orv_variable *>(found[i])->name) : QString(),
                 i < resolved ? QString::fromLatin1(names[i]) : QString());
    const QByteArray log = file_content(root.dir.path() + QStringLiteral("/orvane/log/orvane.log"));
    QCOMPARE(log.contains("environmentdialog:") && log.contains("Can't find variable <"), summary.contains("Variable Error"));
    QSettings ini(root.ini(), QSettings::IniFormat);
    if (content.isEmpty()) { // the defaults and the sites' postal data
        QVERIFY2(written.contains("\nENV_VARS_USED_FLAG=TRUE\n") &&
                     QString::fromLatin1(written).contains(QRegularExpression("\nENV_FILE_UPDATED=\\d\\d/\\d\\d/\\d{4} \\d\\d:\\d\\d:\\d\\d\n")),
                 written.constData());
        QCOMPARE(ini.childGroups().size(), 7);
        QCOMPARE(ini.value("NRTC/address").toString(), QStringLiteral("4100 Ridgeline Parkway, Northridge Falls, OH 45899"));
    } else if (flag.isEmpty()) {
        QVERIFY(bytes_of(environment_) == loaded);
        QCOMPARE(written, content); // an existing file is only read
        QCOMPARE(file_content(root.ini()), content);
    } else {
        QCOMPARE(ini.value("Environment/ENV_VARS_USED_FLAG").toString() + int(env_settings->env_vars_used), flag + (flag == "TRUE"));
        QCOMPARE(ini.value("Environment/ROOM_TEMP_VARIABLE").toString(), QString::fromLatin1(env_settings->room_temp_variable));
        QVERIFY(ini.value("Environment/ENV_FILE_UPDATED").toString() != QLatin1String("01/02/2024 08:00:00"));
        // A site's own edit of its address survives.
        QCOMPARE(ini.childGroups(), QStringList({"Environment", "NRTC"}));
        QCOMPARE(ini.value("NRTC/address").toString(), QStringLiteral("1 Edited Way, Northridge Falls, OH 45899"));
    }
}

void TestDialogs::unitsOfTheHost()
{
    {
        // A private cell name with no cell running: no unit segment.
        SimCell absent;
        int category = -1, index = -1;
        init_units_lists(&record_, &category, &index);
        QCOMPARE(unit_list(record_, 3), QStringList{" <empty>"});
        QCOMPARE(QString::number(category) + QString::number(index) + record_.units_text, QStringLiteral("00"));
        QVERIFY(absent.hostLog().contains(QRegularExpression("tablevalueunitsdialog:\\d+ .* code 41 Unable to link to Units shared memory.")));
        // A failed link is not tried again in the run, even with the host up.
        QVERIFY2(absent.start({"--tick", "50"}), qPrintable(absent.lastOutput()));
        init_units_lists(&record_, &category, &index);
        QCOMPARE(unit_list(record_, 0), QStringList{" <empty>"});
        QCOMPARE(absent.hostLog().count(QStringLiteral("code 41 ")), 1);
    }
    // The host's table sorted into categories by code.
    record_.units_lists_loaded = 0;
    int category = -1, index = -1;
    init_units_lists(&record_, &category, &index);
    QCOMPARE(unit_list(record_, 0), QStringList({"C", "F", "K", "R"}));
    QCOMPARE(unit_list(record_, 1), QStringList({"KPA", "PA", "BAR", "MBAR", "PSI", "INHG", "INH2O", "MMHG", "ATM"}));
    QCOMPARE(unit_list(record_, 2), QStringList({"MS", "SEC", "MIN", "HR"}));
    QCOMPARE(unit_list(record_, 3).mid(0, 4) << QString::number(unit_list(record_, 3).size()), QStringList({"MV", "V", "FRAC", "PCT", "29"}));
    // The picker opens on the first entry that begins with its role's unit, trimmed, in
    // its case (raw_units from the main window, else the sensor's); OK then writes raw_units.
    const struct {
        bool from_main;
        const char *start, *button, *outcome; // the unit shown, how the picker ended, raw_units after
    } rows[] = {{true, "K", "btnCancel", "K rejected K"},      {true, "M", "btnOK", "MBAR accepted MBAR"},
                {false, "  PA ", "btnOK", "PA accepted C"},   {true, "psi", "btnOK", "C accepted C"},
                {true, "PSIA", "btnCancel", "C rejected PSIA"}, {false, "", "btnOK", "C accepted C"}};
    for (const auto &row : rows) {
        put(record_.raw_units, row.from_main ? row.start : "C", 16);
        put(record_.table_info.sensor_range_units, row.start, 16);
        units_opened_from_main = row.from_main;
        TableValueUnitsDialog picker(nullptr);
        QCOMPARE(record_.units_text + (' ' + run_form(&picker, QLatin1String(row.button)) + ' ' + record_.raw_units), QLatin1String(row.outcome));
    }
}

void TestDialogs::recordType_data()
{
    QTest::addColumn<QString>("steps");
    QTest::addColumn<bool>("present"); // As-Found data recorded already
    QTest::addColumn<QString>("summary");
    QTest::addColumn<int>("cal_mode");
    QTest::addColumn<QString>("comment"); // user_comment after
    const QString digits = QStringLiteral("0123456789").repeated(12);
    const QString duplicate = QStringLiteral("Duplicate As-Found Data: Please describe why As-Found data is being\n"
                                             "collected again in the description box\n");
    // clang-format off
    QTest::newRow("no choice: nothing, silently") << "txtComment=why|btnRecord" << true << "open" << 0 << "previous";
    QTest::newRow("first As-Found, no description") << "rbAsFound=1|btnRecord" << false << "accepted" << 3 << "none";
    QTest::newRow("repeated As-Found waits for a description") << "rbAsFound=1|btnRecord|txtComment=Second look|btnRecord" << true << duplicate + "accepted" << 3 << "Second look";
    QTest::newRow("verification needs no description") << "rbVerification=1|btnRecord" << true << "accepted" << 6 << "none";
    QTest::newRow("description cut to 79") << "rbVerification=1|txtComment=" + digits + "|btnRecord" << false << "accepted" << 6 << digits.left(79);
    QTest::newRow("outside Latin-1") << "rbAsFound=1|txtComment=5 \u2126 shunt|btnRecord" << false << "accepted" << 3 << "5 ? shunt";
    QTest::newRow("escape") << "rbAsFound=1|txtComment=Before|<Esc>" << false << "rejected" << 0 << "previous";
    // clang-format on
}

void TestDialogs::recordType()
{
    QFETCH(QString, steps);
    QFETCH(bool, present);
    QFETCH(int, cal_mode);
    Station station;
    QVERIFY(station.open() && station.select(0));
    station.window().setGeometry(40, 70, 1200, 800);
    // No question from the flows: As-Found not adjusted, Verification adjusted.
    Ui::MainWindow *ui = station.window().form();
    ui->txtAsFound->clear();
    ui->txtVerificationData->clear();
    if (cal_mode == CAL_VERIFICATION)
        ui->txtAdjustCalibration->setText(QStringLiteral("01/02/2024 10:00:00"));
    put(cfg->table_info.user_comment, "previous", 80);
    const qint64 history = QFileInfo(QString::fromLatin1(cfg->save_file)).size();
    SaveTypeDialog dialog(&station.window(), present);
    QCOMPARE(dialog.geometry(), QRect(280, 70 + 250, 650, 325)); // below the window's top
    QTEST(run_form(&dialog, steps), "summary");
    QCOMPARE(int(cfg->table_info.cal_mode), cal_mode);
    QTEST(QString::fromLatin1(cfg->table_info.user_comment), "comment");
    QCOMPARE(QFileInfo(QString::fromLatin1(cfg->save_file)).size() > history, cal_mode != 0);
    QCOMPARE(ui->txtAsFound->text().isEmpty() + 2 * ui->txtVerificationData->text().isEmpty(), // the record's date
             cal_mode == CAL_AS_FOUND ? 2 : cal_mode == CAL_VERIFICATION ? 1 : 3);
}

QTEST_MAIN(TestDialogs)
#include "tst_dialogs.moc"
