// The UUT and reference keyword files, written and read back, and the CSV
// report of a recorded event.
#include "report.h"
#include "uut_ref.h"

#include "functions.h"
#include "simcell.h"
#include "writer_fixture.h"

#include <orvane/shm.h>
#include <orvane/vars.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QDir>
#include <QtTest>

using namespace writer_fixture;

namespace
{

void fill_uut_and_reference(VREL_CFG &r)
{
    set_text(r.uut_mfg, "Acme");
    set_text(r.uut_model, "TX-9");
    set_text(r.uut_sn, "SN-4711");
    set_text(r.uut_description, "Inlet air temp");
    set_text(r.uut_cal_type, "Temperature");
    set_text(r.uut_mte, "MTE-3");
    r.uut_full_scale = 150.0;
    set_text(r.uut_full_scale_units, "degC");
    r.uut_error_limit = 1.25;
    set_text(r.uut_error_limit_units, "PCT");
    set_text(r.ref_mfg, "Harlow Instruments");
    set_text(r.ref_model, "HDB-14");
    set_text(r.ref_ser_num, "B12345");
    set_text(r.ref_equip_num, "EQ-0042");
    set_text(r.ref_cal_due_date, "12/31/2024");
    set_text(r.ref_physical_con, "Dry block");
}

// The table the UUT fields are derived from on reading.
void fill_table(TableInfo &t)
{
    set_text(t.sensor_sn, "SN-0815");
    set_text(t.tbl_desc, "Exhaust temp");
    set_text(t.sensor_model, "K-Type 3");
    t.sensor_range_upper_limit = 900.0;
    set_text(t.sensor_range_units, "degF");
}

void fill_point(PointRecord &p, double mean, double stdev, double min, double max, const char *time,
                double ref)
{
    p.eng_mean = mean;
    p.eng_stdev = stdev;
    p.eng_min = min;
    p.eng_max = max;
    set_text(p.capture_date, "11/14/2023");
    set_text(p.capture_time, time);
    p.ref_value = ref;
}

void fill_report_record(VREL_CFG &r, const QString &verifications)
{
    fill_uut_and_reference(r);
    TableInfo &t = r.table_info;
    set_text(t.technician, "J. Doe");
    set_text(t.tbl_name, "ENG_T1");
    set_text(t.tbl_units, "degC");
    set_text(t.working_standard, "WS-17");
    set_text(r.lab_manager, "A. Boss");
    set_text(r.comment, "Quarterly; all good");
    r.channel = 2;
    r.averaging_seconds = 10;
    fill_point(r.point_stats[0], 0.012, 0.001, 0.01, 0.014, "22:01:05", 0.0);
    fill_point(r.point_stats[1], 50.0021, 0.0032, 49.998, 50.006, "22:05:40", 50.0);
    fill_point(r.point_stats[2], 149.9876, 0.0107, 149.97, 150.01, "22:10:15", 150.0);
    // The report knows nothing of flags: this point is reported all the same.
    t.point_flags[1] = POINT_NEW;
    r.env[0] = {21.5, 101.325, 45.2};
    r.env[1] = {21.75, 101.3, 44.9};
    set_text(r.report_file, (verifications + QStringLiteral("/ENG_T1")).toLocal8Bit().constData());
}

orv_variable variable_with_units(const char *units)
{
    orv_variable v{};
    set_text(v.units, units);
    return v;
}

struct ReportCase {
    const char *name;
    uint16_t action;
    int16_t points;
    const char *site;
    bool environment;
    const char *file;
    const char *golden;
};

const ReportCase report_cases[] = {
    {"verification, three points, no environment", CAL_VERIFICATION, 3, "SITE1", false,
     "ENG_T1_AL_11142023221320.csv", "report_as_left.csv"},
    {"adjust, no points, site without address", CAL_ADJUSTED, 0, "NOWHERE", false,
     "ENG_T1_AF_11142023221320.csv", "report_no_points.csv"},
    {"re-use, environment variables used", CAL_REUSE, 2, "SITE1", true,
     "ENG_T1_AFAL_11142023221320.csv", "report_environment.csv"},
};

} // namespace

class TstUutRefReport : public QObject
{
    Q_OBJECT

  private slots:
    void initTestCase();
    void init();
    void cleanup();
    void uutFile_data();
    void uutFile();
    void refFile_data();
    void refFile();
    void actionWord_data();
    void actionWord();
    void uutReadBack_data();
    void uutReadBack();
    void uutDerivedWithoutFile_data();
    void uutDerivedWithoutFile();
    void refReadBack();
    void keywordFiles_data();
    void keywordFiles();
    void missingRefFileLeavesEmptyTexts();
    void unwritableFileStands_data();
    void unwritableFileStands();
    void report_data();
    void report();
    void reportOfTheSameSecondIsRewritten();
    void reportFolderMissing();

  private:
    QString data() const { return root_.path(QStringLiteral("/cell/tables/uut_ref_data")); }
    QString verifications() const
    {
        return root_.path(QStringLiteral("/cell/tables/verifications"));
    }

    SimCell root_; // a private root; no cell is started
    std::unique_ptr<VREL_CFG> record_;
    CellInfo cell_{};
    EnvSettings env_{};
    orv_ai_real channels_[4]{};
    orv_sys_attr system_{};
    orv_variable humidity_ = variable_with_units("%RH");
    orv_variable barometer_ = variable_with_units("kPa");
    orv_variable temperature_ = variable_with_units("degC");
};

void TstUutRefReport::initTestCase()
{
    fix_time();
    QVERIFY(QDir().mkpath(data()));
    QVERIFY(QDir().mkpath(verifications()));
    QVERIFY(
        write_file(root_.path(QStringLiteral("/cell/vrel_util_specs.ini")),
                   "[Environment]\nENV_VARS_USED_FLAG=TRUE\n\n"
                   "[SITE1]\nname=Springfield Works\naddress=\"12 Main Street, Springfield\"\n"));
    set_text(cell_.cell_name, "CELL_7");
    set_text(channels_[2].name, "T_INLET");
    system_.channel_count = 4;
}

void TstUutRefReport::init()
{
    record_ = zeroed_record();
    fill_uut_and_reference(*record_);
    set_text(record_->uut_file, (data() + QStringLiteral("/ENG_T1.uut")).toLocal8Bit().constData());
    set_text(record_->ref_file, (data() + QStringLiteral("/ENG_T1.ref")).toLocal8Bit().constData());
    QFile::remove(QString::fromLocal8Bit(record_->uut_file));
    QFile::remove(QString::fromLocal8Bit(record_->ref_file));
    init_tolerance_texts();
    cfg = record_.get();
    cell_info = &cell_;
    env_settings = &env_;
    Ai_real = channels_;
    Sys_attr = &system_;
}

void TstUutRefReport::cleanup()
{
    cfg = nullptr;
    cell_info = nullptr;
    env_settings = nullptr;
    Ai_real = nullptr;
    Sys_attr = nullptr;
    humidity_var = barometer_var = room_temp_var = nullptr;
}

void TstUutRefReport::uutFile_data()
{
    QTest::addColumn<QString>("locale");
    for (const QString &locale : station_locales())
        QTest::newRow(qPrintable(locale)) << locale;
}

void TstUutRefReport::uutFile()
{
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    write_uut_data(record_.get(), CAL_VERIFICATION);
    COMPARE_GOLDEN(file_bytes(QString::fromLocal8Bit(record_->uut_file)),
                   QStringLiteral("ENG_T1.uut"));
}

void TstUutRefReport::refFile_data()
{
    uutFile_data();
}

void TstUutRefReport::refFile()
{
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    write_ref_data(record_.get(), CAL_ADJUSTED);
    COMPARE_GOLDEN(file_bytes(QString::fromLocal8Bit(record_->ref_file)),
                   QStringLiteral("ENG_T1.ref"));
}

void TstUutRefReport::actionWord_data()
{
    QTest::addColumn<int>("action");
    QTest::addColumn<QByteArray>("word");
    QTest::newRow("7 adjust") << 7 << QByteArray("AS_FOUND\n");
    QTest::newRow("6 verification") << 6 << QByteArray("AS_LEFT\n");
    QTest::newRow("8 re-use") << 8 << QByteArray("AS_FOUND/AS_LEFT\n");
    QTest::newRow("3 any other") << 3 << QByteArray("AS_FOUND/AS_LEFT\n");
    QTest::newRow("0 any other") << 0 << QByteArray("AS_FOUND/AS_LEFT\n");
}

void TstUutRefReport::actionWord()
{
    QFETCH(int, action);
    QFETCH(QByteArray, word);
    write_uut_data(record_.get(), uint16_t(action));
    write_ref_data(record_.get(), uint16_t(action));
    QVERIFY(file_bytes(QString::fromLocal8Bit(record_->uut_file))
                .endsWith("\n\n@RECORD_DATA_ACTION_KEYWORD\n" + word));
    QVERIFY(file_bytes(QString::fromLocal8Bit(record_->ref_file))
                .endsWith("\n\n@RECORD_DATA_ACTION_KEYWORD\n" + word));
}

void TstUutRefReport::uutReadBack_data()
{
    uutFile_data();
}

void TstUutRefReport::uutReadBack()
{
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    write_uut_data(record_.get(), CAL_VERIFICATION);
    fill_table(record_->table_info);
    oot_tol_text = QStringLiteral("1.5[PCT]");
    record_->averaging_seconds = 20;

    read_uut_data(record_.get());

    // Three keywords come from the file ...
    QCOMPARE(QByteArray(record_->uut_cal_type), QByteArray("Temperature"));
    QCOMPARE(QByteArray(record_->uut_model), QByteArray("TX-9"));
    QCOMPARE(QByteArray(record_->uut_mte), QByteArray("MTE-3"));
    // ... the rest from the table and the OOT tolerance, whatever the file says.
    QCOMPARE(QByteArray(record_->uut_sn), QByteArray("SN-0815"));
    QCOMPARE(QByteArray(record_->uut_description), QByteArray("Exhaust temp"));
    QCOMPARE(QByteArray(record_->uut_mfg), QByteArray("K-Type 3"));
    QCOMPARE(record_->uut_full_scale, 900.0);
    QCOMPARE(QByteArray(record_->uut_full_scale_units), QByteArray("degF"));
    QCOMPARE(record_->uut_error_limit, 1.5);
    QCOMPARE(QByteArray(record_->uut_error_limit_units), QByteArray("PCT"));
    QCOMPARE(record_->averaging_seconds, 0);
}

void TstUutRefReport::uutDerivedWithoutFile_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<bool>("exists");
    QTest::newRow("no file") << QByteArray() << false;
    QTest::newRow("empty file") << QByteArray() << true;
    QTest::newRow("keyword with nothing after it") << QByteArray("@UUT_MODEL_KEYWORD") << true;
}

void TstUutRefReport::uutDerivedWithoutFile()
{
    QFETCH(QByteArray, content);
    QFETCH(bool, exists);
    if (exists)
        QVERIFY(write_file(QString::fromLocal8Bit(record_->uut_file), content));
    fill_table(record_->table_info);

    read_uut_data(record_.get());

    QCOMPARE(QByteArray(record_->uut_cal_type), QByteArray());
    QCOMPARE(QByteArray(record_->uut_model), QByteArray());
    QCOMPARE(QByteArray(record_->uut_mte), QByteArray());
    QCOMPARE(QByteArray(record_->uut_sn), QByteArray("SN-0815"));
    QCOMPARE(QByteArray(record_->uut_description), QByteArray("Exhaust temp"));
    QCOMPARE(QByteArray(record_->uut_mfg), QByteArray("K-Type 3"));
    QCOMPARE(record_->uut_full_scale, 900.0);
    // The default OOT tolerance, "1[PCT]".
    QCOMPARE(record_->uut_error_limit, 1.0);
    QCOMPARE(QByteArray(record_->uut_error_limit_units), QByteArray("PCT"));
}

void TstUutRefReport::refReadBack()
{
    write_ref_data(record_.get(), CAL_VERIFICATION);
    read_ref_data(record_.get());
    QCOMPARE(QByteArray(hist_ref_mfg), QByteArray(record_->ref_mfg));
    QCOMPARE(QByteArray(hist_ref_model), QByteArray(record_->ref_model));
    QCOMPARE(QByteArray(hist_ref_ser_num), QByteArray(record_->ref_ser_num));
    QCOMPARE(QByteArray(hist_ref_equip_num), QByteArray(record_->ref_equip_num));
    QCOMPARE(QByteArray(hist_ref_cal_due_date), QByteArray(record_->ref_cal_due_date));
    QCOMPARE(QByteArray(hist_ref_physical_con), QByteArray(record_->ref_physical_con));
}

void TstUutRefReport::keywordFiles_data()
{
    QTest::addColumn<QByteArray>("uut");
    QTest::addColumn<QByteArray>("ref");
    QTest::addColumn<QByteArray>("model");     // uut_model read back
    QTest::addColumn<QByteArray>("calType");   // uut_cal_type
    QTest::addColumn<QByteArray>("refModel");  // hist_ref_model
    QTest::addColumn<QByteArray>("refSerial"); // hist_ref_ser_num

    QTest::newRow("keywords in any order")
        << QByteArray("@UUT_MTE_KEYWORD\nM\n\n@UUT_MODEL_KEYWORD\nTX-9\n\n@UUT_CAL_TYPE_"
                      "KEYWORD\nPressure\n")
        << QByteArray("@REF_SER_NUM_KEYWORD\nS-1\n\n@REF_MODEL_KEYWORD\nHDB-14\n\n@REF_MANUFACTURER_"
                      "KEYWORD\nF\n")
        << QByteArray("TX-9") << QByteArray("Pressure") << QByteArray("HDB-14") << QByteArray("S-1");
    QTest::newRow("value lines longer than 31 characters are cut")
        << QByteArray("@UUT_MODEL_KEYWORD\n0123456789012345678901234567890123456789\n\n"
                      "@UUT_CAL_TYPE_KEYWORD\nabcdefghijklmnopqrstuvwxyzABCDE\n")
        << QByteArray("@REF_MODEL_KEYWORD\nABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789\n")
        << QByteArray("0123456789012345678901234567890")
        << QByteArray("abcdefghijklmnopqrstuvwxyzABCDE")
        << QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZ01234") << QByteArray();
    // No escaping: a value line that is a keyword is taken for that keyword.
    QTest::newRow("a value that reads as a keyword")
        << QByteArray("@UUT_MTE_KEYWORD\n@UUT_MODEL_KEYWORD\n\n@UUT_MODEL_KEYWORD\nTX-9\n")
        << QByteArray("@REF_MANUFACTURER_KEYWORD\n@REF_MODEL_KEYWORD\n\n@REF_MODEL_KEYWORD\nHDB-14\n")
        << QByteArray() << QByteArray() << QByteArray() << QByteArray();
    QTest::newRow("CRLF line ends")
        << QByteArray("@UUT_MODEL_KEYWORD\r\nTX-9\r\n\r\n")
        << QByteArray("@REF_MODEL_KEYWORD\r\nHDB-14\r\n\r\n") << QByteArray("TX-9") << QByteArray()
        << QByteArray("HDB-14") << QByteArray();
}

void TstUutRefReport::keywordFiles()
{
    QFETCH(QByteArray, uut);
    QFETCH(QByteArray, ref);
    QFETCH(QByteArray, model);
    QFETCH(QByteArray, calType);
    QFETCH(QByteArray, refModel);
    QFETCH(QByteArray, refSerial);
    QVERIFY(write_file(QString::fromLocal8Bit(record_->uut_file), uut));
    QVERIFY(write_file(QString::fromLocal8Bit(record_->ref_file), ref));

    read_uut_data(record_.get());
    read_ref_data(record_.get());

    QCOMPARE(QByteArray(record_->uut_model), model);
    QCOMPARE(QByteArray(record_->uut_cal_type), calType);
    QCOMPARE(QByteArray(hist_ref_model), refModel);
    QCOMPARE(QByteArray(hist_ref_ser_num), refSerial);
}

void TstUutRefReport::missingRefFileLeavesEmptyTexts()
{
    for (char *text : {hist_ref_mfg, hist_ref_model, hist_ref_ser_num, hist_ref_equip_num,
                       hist_ref_cal_due_date, hist_ref_physical_con})
        std::strcpy(text, "left over");

    read_ref_data(record_.get());

    for (const char *text : {hist_ref_mfg, hist_ref_model, hist_ref_ser_num, hist_ref_equip_num,
                             hist_ref_cal_due_date, hist_ref_physical_con})
        QCOMPARE(QByteArray(text), QByteArray());
}

void TstUutRefReport::unwritableFileStands_data()
{
    QTest::addColumn<bool>("uut");
    QTest::newRow("uut") << true;
    QTest::newRow("ref") << false;
}

void TstUutRefReport::unwritableFileStands()
{
    QFETCH(bool, uut);
    const QString path = QString::fromLocal8Bit(uut ? record_->uut_file : record_->ref_file);
    const QByteArray previous("@RECORD_DATA_ACTION_KEYWORD\nAS_LEFT\n");
    QVERIFY(write_file(path, previous));
    Unwritable guard(path);
    if (!guard.ok())
        QSKIP("this station cannot make a file unwritable");

    if (uut)
        write_uut_data(record_.get(), CAL_ADJUSTED);
    else
        write_ref_data(record_.get(), CAL_ADJUSTED);

    QCOMPARE(file_bytes(path), previous);
}

void TstUutRefReport::report_data()
{
    add_case_rows(report_cases);
}

void TstUutRefReport::report()
{
    QFETCH(int, which);
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    const ReportCase &c = report_cases[which];
    QDir(verifications()).removeRecursively();
    QVERIFY(QDir().mkpath(verifications()));
    fill_report_record(*record_, verifications());
    num_points = c.points;
    set_text(cell_.site_name, c.site);
    env_.env_vars_used = c.environment;
    humidity_var = &humidity_;
    barometer_var = &barometer_;
    room_temp_var = &temperature_;

    write_calibration_report(c.action);

    const QString csv = QString::fromLatin1(c.file);
    QString json = csv;
    json.replace(QLatin1String(".csv"), QLatin1String(".json"));
    QCOMPARE(QDir(verifications()).entryList(QDir::Files), QStringList({csv, json}));
    COMPARE_GOLDEN(file_bytes(verifications() + QLatin1Char('/') + csv), QString::fromLatin1(c.golden));
    // The twin holds the same points, whatever the station's locale.
    const QJsonObject twin = QJsonDocument::fromJson(file_bytes(verifications() + QLatin1Char('/') + json)).object();
    const QJsonArray points = twin.value(QLatin1String("points")).toArray();
    QCOMPARE(points.size(), int(c.points));
    for (int i = 0; i < points.size(); ++i)
        QCOMPARE(points[i].toObject().value(QLatin1String("mean")).toDouble(), record_->point_stats[i].eng_mean);
    QCOMPARE(twin.value(QLatin1String("uut")).toObject().value(QLatin1String("full_scale")).toDouble(),
             record_->uut_full_scale);
}

void TstUutRefReport::reportOfTheSameSecondIsRewritten()
{
    QDir(verifications()).removeRecursively();
    QVERIFY(QDir().mkpath(verifications()));
    fill_report_record(*record_, verifications());
    num_points = 1;
    write_calibration_report(CAL_VERIFICATION);
    set_text(record_->comment, "second thoughts");

    write_calibration_report(CAL_VERIFICATION);

    QCOMPARE(QDir(verifications()).entryList({"*.csv"}, QDir::Files),
             QStringList{QStringLiteral("ENG_T1_AL_11142023221320.csv")});
    QVERIFY(file_bytes(verifications() + QStringLiteral("/ENG_T1_AL_11142023221320.csv"))
                .contains("\nComment,-,second thoughts,,,,\n"));
}

void TstUutRefReport::reportFolderMissing()
{
    fill_report_record(*record_, root_.path(QStringLiteral("/cell/tables/no_such_folder")));
    num_points = 3;

    write_calibration_report(CAL_VERIFICATION);

    QVERIFY(!QDir(root_.path(QStringLiteral("/cell/tables/no_such_folder"))).exists());
}

QTEST_GUILESS_MAIN(TstUutRefReport)
#include "tst_uut_ref_report.moc"
