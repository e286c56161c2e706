// The files the utility writes, to the byte: the table file, the history
// archive with its range sibling and the archive of outgoing tables, the
// UUT and reference keyword files, the CSV report and its JSON twin; each
// under the C and a German locale, and read back through the readers.
#include "history.h"
#include "report.h"
#include "table_writer.h"
#include "uut_ref.h"

#include "dialoganswerer.h"
#include "functions.h"
#include "simcell.h"
#include "table_fixture.h"

#include <orvane/shm.h>
#include <orvane/strings.h>
#include <orvane/tables.h>
#include <orvane/vars.h>

#include <QDir>
#include <QDirIterator>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <limits>
#include <memory>

using namespace table_fixture;

namespace
{

// Each golden table file, read by the host's reader into the table in
// force and the working blocks, is given the record states the writer must
// smooth over, and written again.
const struct TableCase {
    const char *golden;
    uint16_t cal_mode;
    void (*states)(VREL_CFG &);
} table_cases[] = {
    {"interpolation.tbl", CAL_AS_FOUND,
     [](VREL_CFG &r) { // blanks and newlines, quotes, a point flagged new
         set_text(r.table_info.user_comment, " \n Annual check  \n");
         set_text(r.table_info.tbl_desc, "Inlet \"air\" temp");
         r.new_long_table.x[3] = r.new_long_table.y[3] = 99.0;
         r.new_long_table.count = 4;
         r.table_info.point_flags[1] = POINT_CAPTURED;
         r.table_info.point_flags[3] = POINT_NEW;
     }},
    {"polynomial.tbl", CAL_ADJUSTED,
     [](VREL_CFG &r) { // empty texts, no date, a coefficient past the count
         TableInfo &t = r.table_info;
         t.last_cal = 0, t.cal_interval = 0;
         set_text(t.user_comment, "   ");
         set_text(t.working_standard, "");
         set_text(t.tbl_desc, "\"\"");
         set_text(t.sensor_range_units, "");
         r.new_table_poly[0].coeff[3] = 42.0;
     }},
    {"hyperbolic.tbl", CAL_REUSE,
     [](VREL_CFG &r) {
         set_text(r.table_info.technician, "");
         set_text(r.table_info.sensor_model, "\"X\"-1");
     }},
    {"scaled.tbl", CAL_VERIFICATION, [](VREL_CFG &r) { r.table_info.cal_interval = 1000000; }},
    {"polynomial_range.tbl", CAL_ADJUSTED,
     [](VREL_CFG &r) { // MIN, MAX and BIAS decided by the table in force
         TablePoly &fresh = r.new_table_poly[0];
         fresh.min = 5.0, fresh.max = 100.0, fresh.bias = 0.1, fresh.gain = 0.0;
         r.table_info.dim.table_poly[2].max = 200.0;
         r.table_info.dim.table_poly[5].num_coeff = 2; // in force only: no line
     }},
};

TablePoly poly(double min, double max, double bias, double gain = 0.0, int coefficients = 0)
{
    TablePoly p{};
    p.min = min, p.max = max, p.bias = bias, p.gain = gain;
    p.num_coeff = int16_t(coefficients);
    return p;
}

void set_points(LongTable &table, std::initializer_list<std::pair<double, double>> points)
{
    table.count = int16_t(points.size());
    int i = 0;
    for (const auto &p : points)
        table.x[i] = p.first, table.y[i++] = p.second;
}

// An archive's record: an INTERPOLATION table with four captured points,
// the third flagged new, and texts that need sanitising.
void archive_record(VREL_CFG &r, const QString &folder)
{
    TableInfo &t = r.table_info;
    t.tbl_type = TBL_INTERPOLATION;
    set_text(t.tbl_name, "  ENG_T1 ");
    set_text(t.user_comment, "Don't \"touch\"\nC:\\path");
    set_text(t.tbl_desc, "Inlet \"air\"\ntemp");
    t.y_intercept_bias = 0.1, t.y_intercept_tol = 0.5, t.linearity_bias = 0.2;
    t.linearity_tol = 1.0, t.hysteresis_tolerance = 0.75;
    t.no_adjust_tol = t.oot_tol = t.soot_tol = 9.0; // the fixed band texts stand in for these
    set_text(t.sensor_model, "PT100 ");
    set_text(t.sensor_sn, "\tSN-4711");
    set_text(t.sensor_range_units, "degC");
    t.sensor_range_lower_limit = -50.0, t.sensor_range_upper_limit = 150.0;
    t.max_range = 150.125;
    set_text(t.technician, "J. Doe");
    set_text(t.working_standard, "WS-17");
    set_text(t.x_units, "mV");
    set_text(t.tbl_units, "degC");
    set_text(t.mua_instance_name, "MUA-1");
    r.new_table_poly[0].num_coeff = 2;
    r.new_table_poly[0].coeff[0] = 0.1, r.new_table_poly[0].coeff[1] = 4.75;
    t.dim.table_poly[0].raw_data.count = 4;
    t.point_flags[2] = POINT_NEW;
    set_points(r.new_long_table, {{0.0, 0.0}, {10.5, 50.0}, {21.0, 100.0}, {31.25, 150.125}});
    const QByteArray base = QFile::encodeName(folder + QStringLiteral("/ENG_T1"));
    set_text(r.save_file, base + ".save");
    set_text(r.tbl_file, base + ".tbl");
    set_text(r.old_file, base + ".old");
}

// A POLYNOMIAL_RANGE table: ranges 0 and 3 in force, the rest empty.
void archive_polynomial_range(VREL_CFG &r, const QString &folder)
{
    archive_record(r, folder);
    TableInfo &t = r.table_info;
    set_text(t.tbl_name, "PR_1");
    t.tbl_type = TBL_POLYNOMIAL_RANGE;
    t.point_flags[2] = POINT_TABLE;
    TablePoly &range0 = t.dim.table_poly[0], &range3 = t.dim.table_poly[3];
    range0.num_coeff = 2, range0.coeff[1] = 1.5;
    range0.raw_data.count = 2, range0.raw_data.x[1] = 10.0, range0.raw_data.y[1] = 15.0;
    range3.num_coeff = 3, range3.coeff[0] = 1.0, range3.coeff[1] = 2.0, range3.coeff[2] = 3.25;
    range3.raw_data.count = 1, range3.raw_data.x[0] = 5.125, range3.raw_data.y[0] = -38.0625;
}

const struct ModeCase {
    const char *name;
    uint16_t cal_mode, tol_state;
    const char *golden;
    double tolerance;
} mode_cases[] = {
    {"AS_FOUND, state 0 NOADJ", CAL_AS_FOUND, TOL_NOADJ, "as_found.save", 0.25},
    {"VERIFICATION, OOA", CAL_VERIFICATION, TOL_OOA, "verification.save", 0.25},
    {"ADJUSTED, OOT", CAL_ADJUSTED, TOL_OOT, "adjusted.save", 1.0},
    {"REUSE, SOOT", CAL_REUSE, TOL_SOOT, "reuse.save", 2.0},
    {"auto_cal with its dyno_cal section", CAL_AUTO_CAL, 7, "auto_cal.save", 0.25},
};

// The texts of the unit under test and of the reference standard, each of
// 32 bytes, and the full scale and error limit.
void uut_and_reference(VREL_CFG &r)
{
    const std::pair<char *, const char *> texts[] = {
        {r.uut_mfg, "Acme"}, {r.uut_model, "TX-9"}, {r.uut_sn, "SN-4711"}, {r.uut_description, "Inlet air temp"},
        {r.uut_cal_type, "Temperature"}, {r.uut_mte, "MTE-3"}, {r.ref_mfg, "Harlow Instruments"},
        {r.ref_model, "HDB-14"}, {r.ref_ser_num, "B12345"}, {r.ref_equip_num, "EQ-0042"},
        {r.ref_cal_due_date, "12/31/2024"}, {r.ref_physical_con, "Dry block"}};
    for (const auto &text : texts)
        std::strncpy(text.first, text.second, 32);
    r.uut_full_scale = 150.0, r.uut_error_limit = 1.25;
    set_text(r.uut_full_scale_units, "degC");
    set_text(r.uut_error_limit_units, "PCT");
}

void report_point(PointRecord &p, std::initializer_list<double> stats, const char *time)
{
    const double *s = stats.begin();
    p.eng_mean = s[0], p.eng_stdev = s[1], p.eng_min = s[2], p.eng_max = s[3], p.ref_value = s[4];
    set_text(p.capture_date, "11/14/2023");
    set_text(p.capture_time, time);
}

void report_record(VREL_CFG &r, const QString &verifications)
{
    uut_and_reference(r);
    TableInfo &t = r.table_info;
    for (const auto &text : {std::make_pair(t.technician, "J. Doe"), {t.tbl_name, "ENG_T1"}, {t.tbl_units, "degC"},
                             {t.working_standard, "WS-17"}, {r.lab_manager, "A. Boss"}})
        std::strcpy(text.first, text.second);
    set_text(r.comment, "Quarterly; all good");
    r.channel = 2, r.averaging_seconds = 10;
    report_point(r.point_stats[0], {0.012, 0.001, 0.01, 0.014, 0.0}, "22:01:05");
    report_point(r.point_stats[1], {50.0021, 0.0032, 49.998, 50.006, 50.0}, "22:05:40");
    report_point(r.point_stats[2], {149.9876, 0.0107, 149.97, 150.01, 150.0}, "22:10:15");
    t.point_flags[1] = POINT_NEW; // the report knows nothing of flags
    r.env[0] = {21.5, 101.325, 45.2};
    r.env[1] = {21.75, 101.3, 44.9};
    set_text(r.report_file, QFile::encodeName(verifications + QStringLiteral("/ENG_T1")));
}

const struct ReportCase {
    const char *name;
    uint16_t action;
    int16_t points;
    const char *site;
    bool environment;
    const char *file, *golden;
} report_cases[] = {
    {"verification, three points", CAL_VERIFICATION, 3, "SITE1", false, "ENG_T1_AL_11142023221320", "report_as_left.csv"},
    {"adjust, no points, site without address", CAL_ADJUSTED, 0, "NOWHERE", false, "ENG_T1_AF_11142023221320", "report_no_points.csv"},
    {"re-use, environment variables used", CAL_REUSE, 2, "SITE1", true, "ENG_T1_AFAL_11142023221320", "report_environment.csv"},
};

orv_variable variable_with_units(const char *units)
{
    orv_variable v{};
    set_text(v.units, units);
    return v;
}

} // namespace

Q_DECLARE_METATYPE(TablePoly)

class TstTableFiles : public QObject
{
    Q_OBJECT

  private slots:
    void initTestCase();
    void init();
    void cleanup();

    void tableFile_data();
    void tableFile();
    void rangeKeywords_data();
    void rangeKeywords();
    void unwritableTableFileStands();

    void historyRecord_data();
    void historyRecord();
    void recordWords_data();
    void recordWords();
    void polynomialRangeRecord_data();
    void polynomialRangeRecord();
    void recordTexts_data();
    void recordTexts();
    void damagedCountsStayWithinTheTable();
    void saveFlows_data();
    void saveFlows();

    void uutAndRefFiles_data();
    void uutAndRefFiles();
    void keywordReading_data();
    void keywordReading();
    void report_data();
    void report();
    // Last: once linked, the version segment stays linked for the process.
    void versionLineWhenHostIsUp_data();
    void versionLineWhenHostIsUp();

  private:
    QString tables(const QString &name = QString()) const
    {
        return cell_.path(QStringLiteral("/cell/tables/")) + name;
    }
    QByteArray append(uint16_t cal_mode, int *result = nullptr);
    QString newLog() const { return cell_.hostLog().mid(log_size_); } // what this test logged

    SimCell cell_; // a private root; started only for the version line
    int log_size_ = 0;
    std::unique_ptr<VREL_CFG> r_;
    CellInfo cell_info_{};
    EnvSettings env_{};
    orv_ai_real channels_[4]{};
    orv_sys_attr system_{};
    orv_scheduler scheduler_{};
    orv_variable humidity_ = variable_with_units("%RH"), barometer_ = variable_with_units("kPa"),
                 temperature_ = variable_with_units("degC");
};

void TstTableFiles::initTestCase()
{
    fix_time();
    // The dyno_cal type words are the host's list 2.
    QCOMPARE(string_associate_indexN("ENGINE_DYNO", 7, 2), short(0));
    QVERIFY(QDir().mkpath(tables()));
    QVERIFY(write_file(cell_.path(QStringLiteral("/cell/vrel_util_specs.ini")),
                       "[Environment]\nENV_VARS_USED_FLAG=TRUE\n\n[SITE1]\nname=Springfield Works\n"
                       "address=\"12 Main Street, Springfield\"\n"));
    set_text(cell_info_.cell_name, "CELL_7");
    set_text(channels_[2].name, "T_INLET");
    system_.channel_count = 4, scheduler_.tick = 20;
}

void TstTableFiles::init()
{
    QDir(tables()).removeRecursively();
    for (const char *folder : {"uut_ref_data", "verifications"})
        QVERIFY(QDir().mkpath(tables(QString::fromLatin1(folder))));
    r_.reset(new VREL_CFG());
    init_tolerance_texts();
    log_size_ = cell_.hostLog().size();
    cfg = r_.get(), cell_info = &cell_info_, env_settings = &env_, Ai_real = channels_, Sys_attr = &system_;
    set_text(r_->uut_file, QFile::encodeName(tables("uut_ref_data/ENG_T1.uut")));
    set_text(r_->ref_file, QFile::encodeName(tables("uut_ref_data/ENG_T1.ref")));
}

void TstTableFiles::cleanup()
{
    cfg = nullptr, cell_info = nullptr, env_settings = nullptr, Ai_real = nullptr, Sys_attr = nullptr;
    Sched_attr = nullptr;
    humidity_var = barometer_var = room_temp_var = nullptr;
}

QByteArray TstTableFiles::append(uint16_t cal_mode, int *result)
{
    const int done = append_history_record(r_->save_file, r_.get(), cal_mode);
    if (result)
        *result = done;
    return file_bytes(QFile::decodeName(r_->save_file));
}

void TstTableFiles::tableFile_data()
{
    add_locale_rows(table_cases, &TableCase::golden);
}

void TstTableFiles::tableFile()
{
    QFETCH(int, which);
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    const TableCase &c = table_cases[which];
    const QByteArray source = QFile::encodeName(tables(QStringLiteral("source.tbl")));
    QVERIFY(write_file(QFile::decodeName(source), golden(QString::fromLatin1(c.golden))));
    TableInfo &t = r_->table_info;
    QVERIFY((read_table(source.constData(), &t) & 0xFFFF) != 0xFFFF);
    std::memcpy(r_->new_table_poly, t.dim.table_poly, sizeof r_->new_table_poly);
    const RawData &raw = t.dim.table_poly[0].raw_data;
    r_->new_long_table.count = raw.count;
    std::memcpy(r_->new_long_table.x, raw.x, sizeof raw.x), std::memcpy(r_->new_long_table.y, raw.y, sizeof raw.y);
    t.cal_mode = c.cal_mode;
    c.states(*r_);
    const QString path = tables(QStringLiteral("written.tbl"));

    write_table_file(QFile::encodeName(path).constData(), r_.get());

    COMPARE_GOLDEN(file_bytes(path), QString::fromLatin1(c.golden));
    QVERIFY2(newLog().contains(path), "registered with put_rcs_specs");
    if (t.tbl_type == TBL_POLYNOMIAL) { // what the writer filled in goes back to the record
        QCOMPARE(QVector<int64_t>({t.last_cal, t.cal_interval}), QVector<int64_t>({kNow, 15724800}));
        QCOMPARE(joined({t.user_comment, t.sensor_range_units, t.working_standard, t.tbl_desc}), QByteArray("none|degC||\"\""));
    }
}

void TstTableFiles::rangeKeywords_data()
{
    QTest::addColumn<TablePoly>("inForce");
    QTest::addColumn<TablePoly>("fresh");
    QTest::addColumn<QByteArray>("line");
    const double nan = std::numeric_limits<double>::quiet_NaN();
    TablePoly fresh = poly(5.0, 100.0, 0.5, 1.0, 1);
    fresh.coeff[0] = 2.0;
    // MIN, MAX and BIAS are decided by the table in force, printed new.
    QTest::newRow("MIN in force 0") << poly(0.0, 200.0, 0.25) << fresh << QByteArray("C0=2 MIN=0 MAX=100 BIAS=0.5 GAIN=1.0");
    QTest::newRow("MIN in force set") << poly(1.0, 200.0, 0.25) << fresh << QByteArray("C0=2 MIN=5 MAX=100 BIAS=0.5 GAIN=1.0");
    QTest::newRow("MAX in force 1e6 left out") << poly(1.0, 1e6, 0.25) << fresh << QByteArray("C0=2 MIN=5 BIAS=0.5 GAIN=1.0");
    QTest::newRow("BIAS in force 0") << poly(1.0, 200.0, 0.0) << fresh << QByteArray("C0=2 MIN=5 MAX=100 BIAS=0 GAIN=1.0");
    QTest::newRow("NaN in force is unequal") << poly(nan, nan, nan) << fresh << QByteArray("C0=2 MIN=5 MAX=100 BIAS=0.5 GAIN=1.0");
    const TablePoly defaults = poly(0.0, 1e6, 0.0);
    for (const auto &gain : {std::make_pair(0.0, "1.0"), std::make_pair(2.0, "2"), std::make_pair(nan, "nan")}) {
        TablePoly p = fresh;
        p.gain = gain.first;
        QTest::addRow("GAIN %s", gain.second) << defaults << p << "C0=2 MIN=0 BIAS=0 GAIN=" + QByteArray(gain.second);
    }
    TablePoly virtuals = fresh;
    virtuals.vz_x = 1.5, virtuals.vs_y = -3.0;
    QTest::newRow("virtual settings only when not 0") << defaults << virtuals << QByteArray("C0=2 MIN=0 BIAS=0 GAIN=1.0 VZ_X=1.5 VS_Y=-3");
    virtuals.vz_y = 2.0, virtuals.vs_x = 3.0;
    QTest::newRow("all four virtual settings") << defaults << virtuals << QByteArray("C0=2 MIN=0 BIAS=0 GAIN=1.0 VZ_X=1.5 VZ_Y=2 VS_X=3 VS_Y=-3");
    TablePoly many = fresh;
    many.num_coeff = 12;
    for (int c = 0; c < kMaxCoeffs; ++c)
        many.coeff[c] = c + 0.5;
    QTest::newRow("12 coefficients: C0 to C7") << defaults << many
        << QByteArray("C0=0.5 C1=1.5 C2=2.5 C3=3.5 C4=4.5 C5=5.5 C6=6.5 C7=7.5 MIN=0 BIAS=0 GAIN=1.0");
}

void TstTableFiles::rangeKeywords()
{
    QFETCH(TablePoly, inForce);
    QFETCH(TablePoly, fresh);
    QFETCH(QByteArray, line);
    r_->table_info.tbl_type = TBL_POLYNOMIAL_RANGE;
    r_->table_info.dim.table_poly[3] = inForce;
    r_->new_table_poly[3] = fresh;
    const QString path = tables(QStringLiteral("keywords.tbl"));

    write_table_file(QFile::encodeName(path).constData(), r_.get());

    const QByteArray bytes = file_bytes(path);
    QCOMPARE(bytes.mid(bytes.indexOf("\nRANGE=") + 1), "RANGE=3 " + line + " \n");
}

// A table file this process cannot write keeps its bytes and is not
// registered; the outgoing table is kept and the record made all the same.
void TstTableFiles::unwritableTableFileStands()
{
    archive_record(*r_, tables());
    const QString path = QFile::decodeName(r_->tbl_file);
    const QByteArray previous("#revision code\n@AUG07\n\n# the table in force\n");
    QVERIFY(write_file(path, previous));
    Unwritable guard(path);
    if (!guard.ok())
        QSKIP("this station cannot make a file unwritable");
    QCOMPARE(save_calibration(r_.get(), CAL_ADJUSTED), 0);
    QCOMPARE(file_bytes(path), previous);
    QVERIFY(!newLog().contains(path));
    QCOMPARE(file_bytes(QFile::decodeName(r_->old_file)), previous);
    QVERIFY(file_bytes(QFile::decodeName(r_->save_file)).contains("'ADJUSTED'"));
}

void TstTableFiles::historyRecord_data()
{
    add_locale_rows(mode_cases, &ModeCase::name);
}

void TstTableFiles::historyRecord()
{
    QFETCH(int, which);
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    const ModeCase &c = mode_cases[which];
    archive_record(*r_, tables());
    TableInfo &t = r_->table_info;
    t.tol_state = c.tol_state;
    t.dyno_cal.dyno_cal_type = 7, t.dyno_cal.count = 2;
    t.dyno_cal.x[0] = 1.0, t.dyno_cal.y[0] = 10.0, t.dyno_cal.x[1] = 2.5, t.dyno_cal.y[1] = -20.75;
    int result = -2;

    COMPARE_GOLDEN(append(c.cal_mode, &result), QString::fromLatin1(c.golden));
    QCOMPARE(result, 0);
    QCOMPARE(QByteArray(t.tol_units) + ' ' + QByteArray::number(t.tbl_tol), "PCT " + QByteArray::number(c.tolerance));
    QVERIFY2(newLog().contains(QFile::decodeName(r_->save_file)), "put_rcs_specs on the archive");
}

void TstTableFiles::recordWords_data()
{
    QTest::addColumn<int>("mode");
    QTest::addColumn<int>("type");
    QTest::addColumn<QByteArray>("words");
    QTest::newRow("auto_cal_complete, polynomial") << int(CAL_AUTO_CAL_COMPLETE) << int(TBL_POLYNOMIAL) << QByteArray("'auto_cal_complete' 'NOADJ' \"ENG_T1\" \\\n \"POLYNOMIAL\"");
    QTest::newRow("NOADJ, scaled") << int(CAL_NOADJ) << int(TBL_SCALED) << QByteArray("'NOADJ' 'NOADJ' \"ENG_T1\" \\\n \"SCALED\"");
    QTest::newRow("after service, hyperbolic") << int(CAL_AFTER_SERVICE) << int(TBL_HYPERBOLIC) << QByteArray("'AFTER_SERVICE' 'NOADJ' \"ENG_T1\" \\\n \"HYPERBOLIC\"");
    QTest::newRow("correlation change, 2D") << int(CAL_CORRELATION_CHANGE) << int(TBL_2D_INTERPOLATION) << QByteArray("'CORRELATION_CHANGE' 'NOADJ' \"ENG_T1\" \\\n \"2D_INTERPOLATION\"");
    QTest::newRow("any other mode, local 2D") << 0 << int(TBL_LOCAL_2D_INTERPOLATION) << QByteArray("'5-point' 'NOADJ' \"ENG_T1\" \\\n \"LOCAL_2D_INTERPOLATION\"");
}

void TstTableFiles::recordWords()
{
    QFETCH(int, mode);
    QFETCH(int, type);
    QFETCH(QByteArray, words);
    archive_record(*r_, tables());
    r_->table_info.tbl_type = int16_t(type);
    QVERIFY(append(uint16_t(mode)).contains("\n1700000000 \"10:13:20 PM 11/14/23\" " + words + " \"0.25\" \"PCT\""));
}

void TstTableFiles::polynomialRangeRecord_data()
{
    add_locale_rows({QStringLiteral("range table")});
}

// The record names its sibling, which holds all eight ranges of the table
// in force; a second record of the same second rewrites the sibling.
void TstTableFiles::polynomialRangeRecord()
{
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    archive_polynomial_range(*r_, tables());
    r_->table_info.tol_state = TOL_OOT;
    const QString sibling = tables(QStringLiteral("PR_1-1700000000.poly_range"));

    COMPARE_GOLDEN(append(CAL_ADJUSTED), QStringLiteral("polynomial_range.save"));
    COMPARE_GOLDEN(file_bytes(sibling), QStringLiteral("PR_1-1700000000.poly_range"));
    QVERIFY2(newLog().contains(sibling), "put_rcs_specs on the sibling");
    const TablePoly &filled = r_->table_info.dim.table_poly[6]; // completed in the record too
    QCOMPARE(QVector<int>({filled.num_coeff, filled.range, filled.raw_data.count}), QVector<int>({2, 6, 3}));
    QCOMPARE(filled.raw_data.y[2], 2.0);

    void *records[500] = {};
    int64_t scratch[500] = {};
    QCOMPARE(read_archive_file_poly(1, r_->save_file, records, scratch), short(1));
    const TableInfo &read = *static_cast<const TableInfo *>(records[0]);
    QCOMPARE(read.tbl_type, int16_t(TBL_POLYNOMIAL_RANGE));
    QCOMPARE(read.dim.table_poly[0].raw_data.y[1], 15.0);
    QCOMPARE(read.dim.table_poly[3].coeff[2], 3.25);
    QCOMPARE(read.dim.table_poly[3].raw_data.y[0], -38.0625);
    QCOMPARE(read.dim.table_poly[5].coeff[1], 1.0);

    r_->table_info.dim.table_poly[3].coeff[2] = 6.5;
    QCOMPARE(append(CAL_VERIFICATION).count("\"/cell/tables/PR_1-1700000000.poly_range\""), 2);
    QCOMPARE(QDir(tables()).entryList({QStringLiteral("*.poly_range")}), QStringList{QFileInfo(sibling).fileName()});
    QVERIFY(file_bytes(sibling).contains("\n \" 3 1 2 6.5 \"  \\\n"));
}

void TstTableFiles::recordTexts_data()
{
    QTest::addColumn<QByteArray>("comment");
    QTest::addColumn<QByteArray>("description"); // may fill its field, unended
    QTest::addColumn<QByteArray>("commentKept");
    QTest::addColumn<QByteArray>("descriptionKept");
    QTest::newRow("only what is dropped") << QByteArray("  \"'\\\n  ") << QByteArray(" \"\" \n") << QByteArray("none") << QByteArray("none");
    QTest::newRow("quotes, newlines, apostrophes, backslashes") << QByteArray("Don't \"touch\"\nC:\\path") << QByteArray("a\"b\nc\"") << QByteArray("Dont touchC:path") << QByteArray("abc");
    QTest::newRow("32 characters: 31 kept") << QByteArray("x") << QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZ012345") << QByteArray("x") << QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZ01234");
    QTest::newRow("32 with a quote") << QByteArray("x") << QByteArray("ABCDEFGHIJKLMNO\"QRSTUVWXYZ012345") << QByteArray("x") << QByteArray("ABCDEFGHIJKLMNOQRSTUVWXYZ012345");
}

// The record's texts are sanitised in the record itself, then written.
void TstTableFiles::recordTexts()
{
    QFETCH(QByteArray, description);
    QFETCH(QByteArray, commentKept);
    QFETCH(QByteArray, descriptionKept);
    archive_record(*r_, tables());
    TableInfo &t = r_->table_info;
    QFETCH(QByteArray, comment);
    set_text(t.user_comment, comment);
    std::memcpy(t.tbl_desc, description.constData(), size_t(qMin(description.size(), 32)));
    if (description.size() < 32)
        t.tbl_desc[description.size()] = '\0';

    const QByteArray bytes = append(CAL_AS_FOUND);

    QCOMPARE(QByteArray(t.user_comment), commentKept);
    QCOMPARE(QByteArray(t.tbl_desc), descriptionKept);
    QVERIFY(bytes.contains(" \\\n   \"" + commentKept + "\" \\\n   \"0[PCT]\""));
    QVERIFY(bytes.contains("\"MUA-1\" \"" + descriptionKept + "\"   \\\n"));
    QCOMPARE(joined({t.tbl_name, t.sensor_model, t.sensor_sn, t.working_standard}),
             QByteArray("ENG_T1|PT100|SN-4711|WS-17"));
}

void TstTableFiles::damagedCountsStayWithinTheTable()
{
    archive_record(*r_, tables());
    TableInfo &t = r_->table_info;
    t.range_index = -1; // the host may leave it so
    t.dim.table_poly[0].raw_data.count = -5;
    r_->new_long_table.count = 300;
    t.dyno_cal.count = 99;
    int result = -2;

    const QByteArray bytes = append(CAL_AUTO_CAL, &result);

    QCOMPARE(result, 0);
    QVERIFY(bytes.contains(" \" -1 \"  \\\n")); // the index alone names no range
    QVERIFY(!bytes.contains("raw_data.x["));
    QCOMPARE(bytes.count("# channel->table_info.dyno_cal.x["), kMaxPoints);
    const QRegularExpression row(QStringLiteral("^   +[-+.e0-9]+ +[-+.e0-9]+( \\\\)?$"), QRegularExpression::MultilineOption);
    QCOMPARE(QString::fromLatin1(bytes).count(row), 2 * kMaxPoints);
}

void TstTableFiles::saveFlows_data()
{
    QTest::addColumn<bool>("historyOnly");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QByteArray>("name");     // tbl_name
    QTest::addColumn<QByteArray>("stem");     // of the .tbl and the .old
    QTest::addColumn<QByteArray>("archived"); // in the new record; empty: no record
    QTest::addColumn<QByteArray>("label");    // of the rewritten .tbl; empty: not rewritten
    QTest::addColumn<bool>("adopts");
    QTest::addColumn<bool>("stamps");
    const QByteArray e, adjusted("'ADJUSTED' 'OOT' \"ENG_T1\""), changed("cal last adjusted");
    QTest::newRow("adjusted") << false << 7 << QByteArray("ENG_T1") << QByteArray("ENG_T1") << adjusted << changed << true << true;
    QTest::newRow("correlation change") << false << 9 << QByteArray("ENG_T1") << QByteArray("ENG_T1") << QByteArray("'CORRELATION_CHANGE'") << QByteArray("last calibrated") << false << true;
    QTest::newRow("as found") << false << 3 << QByteArray("ENG_T1") << QByteArray("ENG_T1") << QByteArray("'AS_FOUND' 'OOT'") << e << false << true;
    QTest::newRow("history only") << true << 8 << QByteArray("ENG_T1") << QByteArray("ENG_T1") << QByteArray("'REUSE' 'OOT'") << e << false << false;
    QTest::newRow("inactive table") << false << 7 << QByteArray("INACTIVE") << QByteArray("ENG_T1") << e << e << false << false;
    QTest::newRow("inactive table, history only") << true << 8 << QByteArray("INACTIVE") << QByteArray("ENG_T1") << e << e << false << false;
    QTest::newRow("invalid table type") << false << 3 << QByteArray("BAD_TYPE") << QByteArray("ENG_T1") << e << e << false << true;
    QTest::newRow(".old cut to the .tbl's name") << false << 7 << QByteArray("ENG_T1") << QByteArray() << adjusted << e << true << true;
}

// What each way of saving does to the archive, the table file, the archive
// of outgoing tables and the record.
void TstTableFiles::saveFlows()
{
    QFETCH(bool, historyOnly);
    QFETCH(int, mode);
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, stem);
    QFETCH(QByteArray, archived);
    QFETCH(QByteArray, label);
    QFETCH(bool, adopts);
    QFETCH(bool, stamps);
    archive_record(*r_, tables());
    TableInfo &t = r_->table_info;
    set_text(t.tbl_name, name);
    t.tbl_type = name == "BAD_TYPE" ? -1 : TBL_INTERPOLATION; // 65535 taken unsigned
    t.tol_state = TOL_OOT, t.last_cal = 1600000000, t.cal_mode = CAL_VERIFICATION;
    r_->new_long_table.y[1] = -5.0;
    r_->unrecorded_changes = r_->pending_changes = 1;
    const QString tbl = tables(QString::fromLatin1(stem.isEmpty() ? "ENG_T1" : stem) + ".tbl");
    const QString old = stem.isEmpty() ? tbl : tables(QString::fromLatin1(stem) + ".old");
    const QString save = QFile::decodeName(r_->save_file);
    set_text(r_->tbl_file, QFile::encodeName(tbl));
    set_text(r_->old_file, QFile::encodeName(old));
    const QByteArray outgoing("#revision code\n@AUG07\n\n# the outgoing table\n"), earlier("# earlier\n");
    QVERIFY(write_file(tbl, outgoing) && write_file(save, earlier));
    QVERIFY(stem.isEmpty() || write_file(old, "# adopted before\n"));
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));

    QCOMPARE(historyOnly ? save_history(r_.get(), uint16_t(mode)) : save_calibration(r_.get(), uint16_t(mode)), 0);

    QCOMPARE(answerer.seen().size(), name == "BAD_TYPE" ? 1 : 0);
    if (name == "BAD_TYPE")
        QCOMPARE(answerer.seen()[0].title + ": " + answerer.seen()[0].text,
                 "Information: Unable to update the " + save + " file - due to an invalid calibration table type");
    const QByteArray archive = file_bytes(save);
    QVERIFY(archive.startsWith(earlier));
    QVERIFY2(archived.isEmpty() ? archive == earlier : archive.contains(archived), archive.constData());
    if (label.isEmpty()) {
        QCOMPARE(file_bytes(tbl), outgoing);
        QCOMPARE(file_bytes(old), stem.isEmpty() ? outgoing : QByteArray("# adopted before\n"));
    } else { // the outgoing table kept, then the new one written, the flagged point left out
        QCOMPARE(file_bytes(old), "# adopted before\n" + outgoing);
        QVERIFY(file_bytes(tbl).startsWith("#revision code\n@AUG07\n\n# user comment\nDont touchC:path\n\n#"));
        QVERIFY(file_bytes(tbl).contains(label + " on: Tue Nov 14 22:13:20 2023\n"));
        QVERIFY(file_bytes(tbl).endsWith("3\n\n#          mV         degC\n      0.00000      0.00000\n"
                                         "     10.50000     -5.00000\n     31.25000     150.12500\n"));
    }
    QCOMPARE(newLog().contains("coincide when cut to their fields"), stem.isEmpty());
    QCOMPARE(std::memcmp(t.dim.table_poly, r_->new_table_poly, sizeof r_->new_table_poly) == 0, adopts);
    QCOMPARE(std::memcmp(&r_->long_table, &r_->new_long_table, sizeof(LongTable)) == 0, adopts);
    if (!archived.isEmpty()) // the limits of the rows recorded
        QCOMPARE(QVector<double>({t.min_range, t.max_range, t.tbl_tol}), QVector<double>({-5.0, 150.125, 1.0}));
    QCOMPARE(QVector<int64_t>({t.last_cal, t.cal_mode}),
             stamps ? QVector<int64_t>({kNow, mode}) : QVector<int64_t>({1600000000, CAL_VERIFICATION}));
    QCOMPARE(r_->unrecorded_changes + r_->pending_changes, 0);
}

void TstTableFiles::uutAndRefFiles_data()
{
    QTest::addColumn<int>("action");
    QTest::addColumn<QString>("locale");
    QTest::addColumn<QByteArray>("word");
    for (const char *locale : {"C", "de_DE.UTF-8"}) {
        QTest::addRow("verification [%s]", locale) << 6 << locale << QByteArray("AS_LEFT");
        QTest::addRow("adjust [%s]", locale) << 7 << locale << QByteArray("AS_FOUND");
    }
    QTest::newRow("re-use") << 8 << "C" << QByteArray("AS_FOUND/AS_LEFT");
    QTest::newRow("any other, 3") << 3 << "C" << QByteArray("AS_FOUND/AS_LEFT");
    QTest::newRow("any other, 0") << 0 << "C" << QByteArray("AS_FOUND/AS_LEFT");
}

void TstTableFiles::uutAndRefFiles()
{
    QFETCH(int, action);
    QFETCH(QString, locale);
    QFETCH(QByteArray, word);
    ENTER_LOCALE(locale);
    uut_and_reference(*r_);
    write_uut_data(r_.get(), uint16_t(action));
    write_ref_data(r_.get(), uint16_t(action));
    const QByteArray uut = file_bytes(QFile::decodeName(r_->uut_file)), ref = file_bytes(QFile::decodeName(r_->ref_file));
    if (action == CAL_VERIFICATION)
        COMPARE_GOLDEN(uut, QStringLiteral("ENG_T1.uut"));
    if (action == CAL_ADJUSTED)
        COMPARE_GOLDEN(ref, QStringLiteral("ENG_T1.ref"));
    QVERIFY(uut.endsWith("\n\n@RECORD_DATA_ACTION_KEYWORD\n" + word + "\n"));
    QVERIFY(ref.endsWith("\n\n@RECORD_DATA_ACTION_KEYWORD\n" + word + "\n"));
}

void TstTableFiles::keywordReading_data()
{
    QTest::addColumn<QByteArray>("uut"); // "<written>": as write_uut_data wrote it
    QTest::addColumn<QByteArray>("ref");
    QTest::addColumn<QByteArray>("uutRead"); // cal type|model|MTE
    QTest::addColumn<QByteArray>("refRead"); // the six hist_ref_* texts
    QTest::newRow("as written") << QByteArray("<written>") << QByteArray("<written>") << QByteArray("Temperature|TX-9|MTE-3")
                                << QByteArray("Harlow Instruments|HDB-14|B12345|EQ-0042|12/31/2024|Dry block");
    QTest::newRow("no files") << QByteArray() << QByteArray() << QByteArray("||") << QByteArray("|||||");
    QTest::newRow("keyword with nothing after it") << QByteArray("@UUT_MODEL_KEYWORD") << QByteArray("@REF_MODEL_KEYWORD") << QByteArray("||") << QByteArray("|||||");
    QTest::newRow("keywords in any order")
        << QByteArray("@UUT_MTE_KEYWORD\nM\n\n@UUT_MODEL_KEYWORD\nTX-9\n\n@UUT_CAL_TYPE_KEYWORD\nPressure\n")
        << QByteArray("@REF_SER_NUM_KEYWORD\nS-1\n\n@REF_PHYSICAL_CON_KEYWORD\nP\n\n@REF_MANUFACTURER_KEYWORD\nF\n")
        << QByteArray("Pressure|TX-9|M") << QByteArray("F||S-1|||P");
    QTest::newRow("values cut to 31 characters")
        << QByteArray("@UUT_MODEL_KEYWORD\n0123456789012345678901234567890123456789\n")
        << QByteArray("@REF_EQUIP_NUM_KEYWORD\nABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789\n")
        << QByteArray("|0123456789012345678901234567890|") << QByteArray("|||ABCDEFGHIJKLMNOPQRSTUVWXYZ01234||");
    // No escaping: a value line that is a keyword is taken for that keyword.
    QTest::newRow("a value that reads as a keyword")
        << QByteArray("@UUT_MTE_KEYWORD\n@UUT_MODEL_KEYWORD\n\n@UUT_MODEL_KEYWORD\nTX-9\n")
        << QByteArray("@REF_CAL_DUE_DATE_KEYWORD\n@REF_MODEL_KEYWORD\n\n@REF_MODEL_KEYWORD\nHDB-14\n") << QByteArray("||@UUT_MODEL_KEYWORD") << QByteArray("||||@REF_MODEL_KEYWORD|");
    QTest::newRow("CRLF line ends") << QByteArray("@UUT_MODEL_KEYWORD\r\nTX-9\r\n\r\n") << QByteArray("@REF_MODEL_KEYWORD\r\nHDB-14\r\n\r\n")
                                    << QByteArray("|TX-9|") << QByteArray("|HDB-14||||");
}

// The UUT file gives three texts; the table and the OOT tolerance give the
// rest, file or no file.  The reference file gives the six hist_ref texts.
void TstTableFiles::keywordReading()
{
    QFETCH(QByteArray, uut);
    QFETCH(QByteArray, ref);
    uut_and_reference(*r_);
    const UutEntry entered = uut_entry_of(r_.get());
    for (char *text : {hist_ref_mfg, hist_ref_model, hist_ref_ser_num, hist_ref_equip_num, hist_ref_cal_due_date, hist_ref_physical_con})
        std::strcpy(text, "left over");
    if (uut == "<written>")
        write_uut_data(r_.get(), CAL_VERIFICATION), write_ref_data(r_.get(), CAL_VERIFICATION);
    else if (!uut.isEmpty())
        QVERIFY(write_file(QFile::decodeName(r_->uut_file), uut) && write_file(QFile::decodeName(r_->ref_file), ref));
    TableInfo &t = r_->table_info;
    set_text(t.sensor_sn, "SN-0815");
    set_text(t.tbl_desc, "Exhaust temp");
    set_text(t.sensor_model, "K-Type 3");
    t.sensor_range_upper_limit = 900.0;
    set_text(t.sensor_range_units, "degF");
    oot_tol_text = QStringLiteral("1.5[KPA]");
    r_->averaging_seconds = 20;

    read_uut_data(r_.get());
    read_ref_data(r_.get());

    QTEST(joined({r_->uut_cal_type, r_->uut_model, r_->uut_mte}), "uutRead");
    QTEST(joined({hist_ref_mfg, hist_ref_model, hist_ref_ser_num, hist_ref_equip_num, hist_ref_cal_due_date,
                  hist_ref_physical_con}), "refRead");
    QCOMPARE(joined({r_->uut_sn, r_->uut_description, r_->uut_mfg, r_->uut_full_scale_units, r_->uut_error_limit_units}), QByteArray("SN-0815|Exhaust temp|K-Type 3|degF|KPA"));
    QCOMPARE(QVector<double>({r_->uut_full_scale, r_->uut_error_limit, double(r_->averaging_seconds)}),
             QVector<double>({900.0, 1.5, 0.0}));
    restore_uut_entry(r_.get(), entered); // what the technician accepted comes back whole
    QCOMPARE(joined({r_->uut_cal_type, r_->uut_model, r_->uut_mte}), QByteArray("Temperature|TX-9|MTE-3"));
}

void TstTableFiles::report_data()
{
    add_locale_rows(report_cases, &ReportCase::name);
}

// The report and its JSON twin to the byte.
void TstTableFiles::report()
{
    QFETCH(int, which);
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    const ReportCase &c = report_cases[which];
    report_record(*r_, tables("verifications"));
    num_points = c.points;
    point_samples[0] = 500, point_samples[1] = 499, point_samples[2] = 498;
    set_text(cell_info_.site_name, c.site);
    env_.env_vars_used = c.environment;
    humidity_var = &humidity_, barometer_var = &barometer_, room_temp_var = &temperature_;
    Sched_attr = &scheduler_;

    write_calibration_report(c.action);

    const QString base = tables("verifications/") + QString::fromLatin1(c.file);
    QCOMPARE(QDir(tables("verifications")).entryList(QDir::Files).size(), 2);
    const QByteArray csv = file_bytes(base + ".csv");
    COMPARE_GOLDEN(csv, QString::fromLatin1(c.golden));
    // The twin carries what the CSV cannot: the scheduler's tick and the
    // samples behind each mean.
    COMPARE_GOLDEN(file_bytes(base + ".json"), QString::fromLatin1(c.golden).replace(".csv", ".json"));
    // A second report of the same second takes the place of the first.
    set_text(r_->comment, "second thoughts");
    write_calibration_report(c.action);
    QCOMPARE(QDir(tables("verifications")).entryList(QDir::Files).size(), 2);
    QVERIFY(file_bytes(base + ".csv").contains("\nComment,-,second thoughts,,,,\n"));
    QCOMPARE(QJsonDocument::fromJson(file_bytes(base + ".json")).object().value("comment").toString(), QStringLiteral("second thoughts"));
    // Without its folder there is no report.
    set_text(r_->report_file, QFile::encodeName(tables("no_such_folder/ENG_T1")));
    write_calibration_report(c.action);
    QVERIFY(!QDir(tables("no_such_folder")).exists());
}

void TstTableFiles::versionLineWhenHostIsUp_data()
{
    add_locale_rows({QStringLiteral("as found")});
}

void TstTableFiles::versionLineWhenHostIsUp()
{
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    if (!cell_.running()) // the cell runs on until the test ends
        QVERIFY2(cell_.start({QStringLiteral("--no-noise")}), qPrintable(cell_.lastOutput()));
    QVERIFY(QDir().mkpath(tables()));
    archive_record(*r_, tables());
    COMPARE_GOLDEN(append(CAL_AS_FOUND), QStringLiteral("as_found_version.save"));
}

QTEST_MAIN(TstTableFiles)
#include "tst_table_files.moc"
