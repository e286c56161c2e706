// The table file writer: a golden file per table type, the RANGE= keyword
// rules, the defaults written back into the record, and a file that
// cannot be opened.
#include "table_writer.h"

#include "simcell.h"
#include "writer_fixture.h"

#include <orvane/tables.h>

#include <QDir>
#include <QtTest>

#include <cmath>
#include <limits>

using namespace writer_fixture;

namespace
{

// Metadata shared by the golden cases.  The table in force holds data of
// its own, which the file must not take: the data come from the working
// blocks.
void fill_metadata(VREL_CFG &r)
{
    TableInfo &t = r.table_info;
    set_text(t.user_comment, " \n Annual check  \n");
    t.last_cal = 1699000000;
    t.cal_interval = 0;
    set_text(t.working_standard, "WS-17");
    set_text(t.technician, "J. Doe");
    set_text(t.tbl_desc, "Inlet \"air\" temp");
    set_text(t.tbl_units, "degC");
    set_text(t.x_units, "mV");
    t.min_range = 0.0;
    t.max_range = 150.0;
    t.tbl_tol = 0.25;
    set_text(t.tol_units, "PCT");
    set_text(t.sensor_model, "PT100");
    set_text(t.sensor_sn, "SN-4711");
    set_text(t.sensor_range_units, "degC");
    t.sensor_range_lower_limit = -50.0;
    t.sensor_range_upper_limit = 150.0;
    set_text(t.tbl_name, "ENG_T1");
    TablePoly &in_force = t.dim.table_poly[0];
    in_force.num_coeff = 4;
    in_force.coeff[0] = 99.0;
    in_force.raw_data.count = 2;
    in_force.raw_data.x[0] = 77.0;
    r.long_table.count = 2;
    r.long_table.x[0] = 66.0;
}

void build_interpolation(VREL_CFG &r)
{
    fill_metadata(r);
    r.table_info.tbl_type = TBL_INTERPOLATION;
    r.table_info.cal_mode = CAL_AS_FOUND;
    const double x[] = {0.0, 10.5, 21.0, 31.25};
    const double y[] = {0.0, 50.0, 100.0, 150.125};
    r.new_long_table.count = 4;
    for (int i = 0; i < 4; ++i) {
        r.new_long_table.x[i] = x[i];
        r.new_long_table.y[i] = y[i];
    }
    r.table_info.point_flags[1] = POINT_CAPTURED;
    r.table_info.point_flags[2] = POINT_NEW; // left out
    r.table_info.point_flags[3] = POINT_CAPTURED;
}

void build_polynomial(VREL_CFG &r)
{
    fill_metadata(r);
    TableInfo &t = r.table_info;
    t.tbl_type = TBL_POLYNOMIAL;
    t.cal_mode = CAL_ADJUSTED;
    t.last_cal = 0; // becomes now
    t.cal_interval = 15724800;
    set_text(t.user_comment, "   ");
    set_text(t.working_standard, "");
    set_text(t.tbl_desc, "\"\"");
    set_text(t.sensor_range_units, "");
    t.min_range = -1.5;
    t.max_range = 1234.5678;
    t.tbl_tol = 1.0;
    r.new_table_poly[0].num_coeff = 3;
    r.new_table_poly[0].coeff[0] = 0.5;
    r.new_table_poly[0].coeff[1] = 2.25;
    r.new_table_poly[0].coeff[2] = -0.001;
    r.new_table_poly[0].coeff[3] = 42.0; // beyond num_coeff
}

void build_hyperbolic(VREL_CFG &r)
{
    fill_metadata(r);
    TableInfo &t = r.table_info;
    t.tbl_type = TBL_HYPERBOLIC;
    t.cal_mode = CAL_REUSE;
    t.last_cal = 1690000000;
    t.cal_interval = 15724800;
    set_text(t.technician, "");
    set_text(t.mua_instance_name, "MUA-2");
    set_text(t.sensor_model, "\"X\"-1");
    t.tbl_tol = 2.0;
    r.new_table_poly[0].num_coeff = 2;
    r.new_table_poly[0].coeff[0] = 1e-07;
    r.new_table_poly[0].coeff[1] = 123456789.0;
}

void build_scaled(VREL_CFG &r)
{
    fill_metadata(r);
    r.table_info.tbl_type = TBL_SCALED;
    r.table_info.cal_mode = CAL_VERIFICATION;
    r.table_info.cal_interval = 1000000; // not whole weeks: 1 week is written
    r.new_long_table.count = 1;
    r.new_long_table.x[0] = 2.5;
}

void build_polynomial_range(VREL_CFG &r)
{
    fill_metadata(r);
    TableInfo &t = r.table_info;
    t.tbl_type = TBL_POLYNOMIAL_RANGE;
    t.cal_mode = CAL_ADJUSTED;
    TablePoly &new0 = r.new_table_poly[0];
    new0.num_coeff = 2;
    new0.coeff[1] = 1.5;
    new0.min = 5.0;   // in force 0: "MIN=0 "
    new0.max = 100.0; // in force 1e6: no MAX
    new0.bias = 0.1;  // in force 0: "BIAS=0 "
    new0.gain = 0.0;  // "GAIN=1.0 "
    t.dim.table_poly[0].min = 0.0;
    t.dim.table_poly[0].max = 1e6;
    t.dim.table_poly[0].bias = 0.0;
    TablePoly &new2 = r.new_table_poly[2];
    new2.num_coeff = 3;
    new2.coeff[0] = 1.0;
    new2.coeff[1] = 2.0;
    new2.coeff[2] = 3.0;
    new2.min = -10.0;
    new2.max = 1e6;
    new2.bias = 0.5;
    new2.gain = 1.5;
    new2.vz_x = 0.1;
    new2.vs_y = 99.0;
    t.dim.table_poly[2].min = 3.0;
    t.dim.table_poly[2].max = 200.0;
    t.dim.table_poly[2].bias = 0.25;
    // Ranges in force without new coefficients get no line.
    t.dim.table_poly[5].num_coeff = 2;
}

// What the host's reader must find of the data in the file written.
void read_interpolation(const VREL_CFG &, const TableInfo &read)
{
    const RawData &raw = read.dim.table_poly[0].raw_data;
    QCOMPARE(raw.count, int16_t(3)); // the flagged point is not in the file
    QCOMPARE(raw.x[1], 10.5);
    QCOMPARE(raw.y[1], 50.0);
    QCOMPARE(raw.x[2], 31.25);
    QCOMPARE(raw.y[2], 150.125);
}

void read_coefficients(const VREL_CFG &written, const TableInfo &read)
{
    const TablePoly &fresh = written.new_table_poly[0];
    QCOMPARE(read.dim.table_poly[0].num_coeff, fresh.num_coeff);
    for (int c = 0; c < fresh.num_coeff; ++c) // " %10g" keeps six digits
        QVERIFY2(std::fabs(read.dim.table_poly[0].coeff[c] - fresh.coeff[c]) <=
                     1e-5 * std::fabs(fresh.coeff[c]),
                 qPrintable(QString::number(c)));
}

void read_factor(const VREL_CFG &, const TableInfo &read)
{
    QCOMPARE(read.dim.table_poly[0].raw_data.x[0], 2.5);
}

// The values as the RANGE= lines print them: MIN=0 and a missing MAX read
// as the defaults, not as the new values.
void read_ranges(const VREL_CFG &, const TableInfo &read)
{
    const TablePoly &r0 = read.dim.table_poly[0];
    QCOMPARE(r0.num_coeff, int16_t(2));
    QCOMPARE(r0.coeff[1], 1.5);
    QCOMPARE(r0.min, 0.0);
    QCOMPARE(r0.max, 1e6);
    QCOMPARE(r0.bias, 0.0);
    QCOMPARE(r0.gain, 1.0);
    const TablePoly &r2 = read.dim.table_poly[2];
    QCOMPARE(r2.num_coeff, int16_t(3));
    QCOMPARE(r2.coeff[2], 3.0);
    QCOMPARE(r2.min, -10.0);
    QCOMPARE(r2.max, 1e6);
    QCOMPARE(r2.bias, 0.5);
    QCOMPARE(r2.gain, 1.5);
    QCOMPARE(r2.vz_x, 0.1);
    QCOMPARE(r2.vs_y, 99.0);
    for (int r : {1, 3, 4, 5, 6, 7})
        QCOMPARE(read.dim.table_poly[r].num_coeff, int16_t(0));
}

struct GoldenCase {
    const char *name;
    const char *golden;
    void (*build)(VREL_CFG &);
    void (*check_read)(const VREL_CFG &written, const TableInfo &read);
};

const GoldenCase golden_cases[] = {
    {"interpolation, as found, flagged point skipped", "interpolation.tbl", build_interpolation,
     read_interpolation},
    {"polynomial, adjusted, none defaults", "polynomial.tbl", build_polynomial, read_coefficients},
    {"hyperbolic, accepted", "hyperbolic.tbl", build_hyperbolic, read_coefficients},
    {"scaled, verification, part week", "scaled.tbl", build_scaled, read_factor},
    {"polynomial range, keyword tests", "polynomial_range.tbl", build_polynomial_range,
     read_ranges},
};

QByteArray or_none(const char *text)
{
    return *text ? QByteArray(text) : QByteArray("none");
}

// The RANGE= lines of a written file.
QList<QByteArray> range_lines(const QByteArray &bytes)
{
    QList<QByteArray> lines;
    for (const QByteArray &line : bytes.split('\n'))
        if (line.startsWith("RANGE="))
            lines << line + '\n';
    return lines;
}

TablePoly poly(double min, double max, double bias)
{
    TablePoly p{};
    p.min = min;
    p.max = max;
    p.bias = bias;
    return p;
}

} // namespace

Q_DECLARE_METATYPE(TablePoly)

class TstTableWriter : public QObject
{
    Q_OBJECT

  private slots:
    void initTestCase();
    void goldenFile_data();
    void goldenFile();
    void readBack_data();
    void readBack();
    void rangeKeywords_data();
    void rangeKeywords();
    void writesDefaultsBack();
    void allPointsFlagged();
    void unopenablePathKeepsPreviousFile();
    void stripQuotes_data();
    void stripQuotes();
    void exportedTextsAreTheFileTexts();

  private:
    QString tablePath(const QString &name) const { return root_.path("/cell/tables/") + name; }

    SimCell root_; // a private root for the host log; no cell is started
};

void TstTableWriter::initTestCase()
{
    fix_time();
    QVERIFY(QDir().mkpath(root_.path("/cell/tables")));
}

void TstTableWriter::goldenFile_data()
{
    add_case_rows(golden_cases);
}

void TstTableWriter::goldenFile()
{
    QFETCH(int, which);
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    const GoldenCase &c = golden_cases[which];
    auto record = zeroed_record();
    c.build(*record);
    const QString path = tablePath(QStringLiteral("golden.tbl"));
    QFile::remove(path);

    write_table_file(path.toLocal8Bit().constData(), record.get());

    COMPARE_GOLDEN(file_bytes(path), QString::fromLatin1(c.golden));
    QVERIFY2(root_.hostLog().contains(path), "the written file is registered with put_rcs_specs");
}

void TstTableWriter::readBack_data()
{
    goldenFile_data();
}

void TstTableWriter::readBack()
{
    QFETCH(int, which);
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    const GoldenCase &c = golden_cases[which];
    auto record = zeroed_record();
    c.build(*record);
    const QString path = tablePath(QStringLiteral("readback.tbl"));
    write_table_file(path.toLocal8Bit().constData(), record.get());
    std::unique_ptr<TableInfo> read(new TableInfo());

    QVERIFY2((read_table(path.toLocal8Bit().constData(), read.get()) & 0xFFFF) != 0xFFFF,
             qPrintable(root_.hostLog()));

    const TableInfo &t = record->table_info;
    QCOMPARE(read->tbl_type, t.tbl_type);
    QCOMPARE(QByteArray(read->user_comment), QByteArray(t.user_comment));
    QCOMPARE(QByteArray(read->working_standard), or_none(t.working_standard));
    QCOMPARE(QByteArray(read->technician), or_none(t.technician));
    QCOMPARE(QByteArray(read->tbl_desc),
             or_none(QByteArray(t.tbl_desc).replace('"', "").constData()));
    QCOMPARE(QByteArray(read->tbl_units), QByteArray(t.tbl_units));
    QCOMPARE(QByteArray(read->x_units), QByteArray(t.x_units));
    QCOMPARE(QByteArray(read->mua_instance_name), or_none(t.mua_instance_name));
    QCOMPARE(QByteArray(read->sensor_sn), QByteArray(t.sensor_sn));
    QCOMPARE(read->sensor_range_upper_limit, t.sensor_range_upper_limit);
    QCOMPARE(read->last_cal, t.last_cal);
    // The interval goes in whole weeks: a part week is lost.
    QCOMPARE(read->cal_interval, t.cal_interval / 604800 * 604800);
    if (t.tbl_type != TBL_POLYNOMIAL_RANGE) {
        QCOMPARE(read->tbl_tol, t.tbl_tol);
        QCOMPARE(QByteArray(read->tol_units), QByteArray("PCT"));
    }
    c.check_read(*record, *read);
}

void TstTableWriter::rangeKeywords_data()
{
    QTest::addColumn<TablePoly>("inForce");
    QTest::addColumn<TablePoly>("fresh");
    QTest::addColumn<QByteArray>("line");
    const double nan = std::numeric_limits<double>::quiet_NaN();

    TablePoly fresh = poly(5.0, 100.0, 0.5);
    fresh.num_coeff = 1;
    fresh.coeff[0] = 2.0;
    fresh.gain = 1.0;
    QTest::newRow("MIN decided by the table in force, 0")
        << poly(0.0, 200.0, 0.25) << fresh
        << QByteArray("RANGE=3 C0=2 MIN=0 MAX=100 BIAS=0.5 GAIN=1.0 \n");
    QTest::newRow("MIN in force set prints the new MIN")
        << poly(1.0, 200.0, 0.25) << fresh
        << QByteArray("RANGE=3 C0=2 MIN=5 MAX=100 BIAS=0.5 GAIN=1.0 \n");
    QTest::newRow("MAX in force 1e6 is omitted")
        << poly(1.0, 1e6, 0.25) << fresh << QByteArray("RANGE=3 C0=2 MIN=5 BIAS=0.5 GAIN=1.0 \n");
    QTest::newRow("BIAS in force 0 prints BIAS=0")
        << poly(1.0, 200.0, 0.0) << fresh
        << QByteArray("RANGE=3 C0=2 MIN=5 MAX=100 BIAS=0 GAIN=1.0 \n");
    QTest::newRow("NaN in force counts as unequal")
        << poly(nan, nan, nan) << fresh
        << QByteArray("RANGE=3 C0=2 MIN=5 MAX=100 BIAS=0.5 GAIN=1.0 \n");

    TablePoly gain_zero = fresh;
    gain_zero.gain = 0.0;
    QTest::newRow("GAIN 0 written GAIN=1.0")
        << poly(0.0, 1e6, 0.0) << gain_zero << QByteArray("RANGE=3 C0=2 MIN=0 BIAS=0 GAIN=1.0 \n");
    TablePoly gain_set = fresh;
    gain_set.gain = 2.0;
    QTest::newRow("GAIN other than 0 and 1")
        << poly(0.0, 1e6, 0.0) << gain_set << QByteArray("RANGE=3 C0=2 MIN=0 BIAS=0 GAIN=2 \n");
    TablePoly gain_nan = fresh;
    gain_nan.gain = nan;
    QTest::newRow("GAIN NaN printed")
        << poly(0.0, 1e6, 0.0) << gain_nan << QByteArray("RANGE=3 C0=2 MIN=0 BIAS=0 GAIN=nan \n");

    TablePoly virtuals = fresh;
    virtuals.vz_x = 1.5;
    virtuals.vs_y = -3.0;
    QTest::newRow("virtual settings only when not 0")
        << poly(0.0, 1e6, 0.0) << virtuals
        << QByteArray("RANGE=3 C0=2 MIN=0 BIAS=0 GAIN=1.0 VZ_X=1.5 VS_Y=-3 \n");
    TablePoly all_virtuals = fresh;
    all_virtuals.vz_x = 1.0;
    all_virtuals.vz_y = 2.0;
    all_virtuals.vs_x = 3.0;
    all_virtuals.vs_y = 4.0;
    QTest::newRow("all four virtual settings in order")
        << poly(0.0, 1e6, 0.0) << all_virtuals
        << QByteArray("RANGE=3 C0=2 MIN=0 BIAS=0 GAIN=1.0 VZ_X=1 VZ_Y=2 VS_X=3 VS_Y=4 \n");

    TablePoly many = fresh;
    many.num_coeff = 12;
    for (int c = 0; c < kMaxCoeffs; ++c)
        many.coeff[c] = c + 0.5;
    QTest::newRow("more than 8 coefficients: C0 to C7")
        << poly(0.0, 1e6, 0.0) << many
        << QByteArray("RANGE=3 C0=0.5 C1=1.5 C2=2.5 C3=3.5 C4=4.5 C5=5.5 C6=6.5 C7=7.5 MIN=0 "
                      "BIAS=0 GAIN=1.0 \n");
}

void TstTableWriter::rangeKeywords()
{
    QFETCH(TablePoly, inForce);
    QFETCH(TablePoly, fresh);
    QFETCH(QByteArray, line);
    auto record = zeroed_record();
    build_polynomial_range(*record);
    for (TablePoly &p : record->new_table_poly)
        p.num_coeff = 0;
    record->table_info.dim.table_poly[3] = inForce;
    record->new_table_poly[3] = fresh;
    const QString path = tablePath(QStringLiteral("keywords.tbl"));

    write_table_file(path.toLocal8Bit().constData(), record.get());

    QCOMPARE(range_lines(file_bytes(path)), QList<QByteArray>{line});
}

void TstTableWriter::writesDefaultsBack()
{
    auto record = zeroed_record();
    build_polynomial(*record);
    TableInfo &t = record->table_info;
    t.cal_interval = 0;
    set_text(t.tbl_units, "kPa");
    const QString path = tablePath(QStringLiteral("defaults.tbl"));

    write_table_file(path.toLocal8Bit().constData(), record.get());

    QCOMPARE(t.last_cal, int64_t(kNow));
    QCOMPARE(t.cal_interval, int64_t(15724800));
    QCOMPARE(QByteArray(t.user_comment), QByteArray("none"));
    QCOMPARE(QByteArray(t.sensor_range_units), QByteArray("kPa"));
    // Fields printed as "none" but not written back.
    QCOMPARE(QByteArray(t.working_standard), QByteArray());
    QCOMPARE(QByteArray(t.tbl_desc), QByteArray("\"\""));
    const QByteArray bytes = file_bytes(path);
    QVERIFY(bytes.contains(
        "#Sensor Range Units\nnone\n\n#Sensor range limits\n#  lower_limit         upper_limit\n"
        "  -50.00[kPa]       150.00[kPa]\n\n"));
}

void TstTableWriter::allPointsFlagged()
{
    auto record = zeroed_record();
    build_interpolation(*record);
    for (int i = 0; i < 4; ++i)
        record->table_info.point_flags[i] = POINT_NEW;
    const QString path = tablePath(QStringLiteral("flagged.tbl"));

    write_table_file(path.toLocal8Bit().constData(), record.get());

    QVERIFY(file_bytes(path).endsWith("#type_code\nINTERPOLATION           \n\n"
                                      "#number of points\n0\n\n#          mV         degC\n"));
}

void TstTableWriter::unopenablePathKeepsPreviousFile()
{
    const QString path = tablePath(QStringLiteral("PREVIOUS.tbl"));
    const QByteArray previous("#revision code\n@AUG07\n\n# the table in force\n");
    QVERIFY(write_file(path, previous));
    Unwritable guard(path);
    if (!guard.ok())
        QSKIP("this station cannot make a file unwritable");
    auto record = zeroed_record();
    build_interpolation(*record);

    write_table_file(path.toLocal8Bit().constData(), record.get());

    QCOMPARE(file_bytes(path), previous);
    QVERIFY2(!root_.hostLog().contains(path), "a file not written is not registered");
    QCOMPARE(record->table_info.cal_interval, int64_t(0)); // nothing ran
}

void TstTableWriter::stripQuotes_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<QByteArray>("stripped");
    QTest::newRow("no quotes") << QByteArray("PT100") << QByteArray("PT100");
    QTest::newRow("every quote dropped") << QByteArray("\"a\"b\"\"c\"") << QByteArray("abc");
    QTest::newRow("only quotes") << QByteArray("\"\"\"") << QByteArray();
    QTest::newRow("cut at 32 characters") << QByteArray("0123456789abcdefghijklmnopqrstuvwxyz")
                                          << QByteArray("0123456789abcdefghijklmnopqrstuv");
    QTest::newRow("quotes counted among the 32")
        << QByteArray("\"123456789012345678901234567890123")
        << QByteArray("1234567890123456789012345678901");
}

void TstTableWriter::stripQuotes()
{
    QFETCH(QByteArray, source);
    QFETCH(QByteArray, stripped);
    const QByteArray before = source;
    QCOMPARE(QByteArray(strip_quotes(source.constData())), stripped);
    QCOMPARE(source, before);
}

void TstTableWriter::exportedTextsAreTheFileTexts()
{
    // The header opens the POLYNOMIAL_RANGE golden file and the notes
    // follow its type section; both are exported by these names.
    const QByteArray file = golden(QStringLiteral("polynomial_range.tbl"));
    const QByteArray header(poly_range_header);
    const QByteArray notes(poly_range_notes);
    QVERIFY(file.startsWith(header + "#revision code\n@POLY3\n\n"));
    QVERIFY(file.contains("#type_code\nPOLYNOMIAL_RANGE        \n\n" + notes + "RANGE=0 "));
    QCOMPARE(header.count('\n'), 79);
    QCOMPARE(notes.count('\n'), 17);
}

QTEST_GUILESS_MAIN(TstTableWriter)
#include "tst_table_writer.moc"
