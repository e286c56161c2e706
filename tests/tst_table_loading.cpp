// Loading a channel's tables from its files on a running simulated cell,
// the tolerances and axis helpers, and the reload after a rebuild of the
// host's tables.
#include "dialoganswerer.h"
#include "functions.h"
#include "history.h"
#include "rebuild.h"
#include "simcell.h"
#include "table_fixture.h"
#include "vrel_callbacks.h"
#include "vrel_cfg.h"
#include "vrel_util.h"

#include <orvane/shm.h>
#include <orvane/units.h>

#include <QDir>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <limits>
#include <memory>

using namespace table_fixture;

namespace
{

struct Point {
    double x, y;
    bool operator<(const Point &o) const { return x < o.x || (x == o.x && y < o.y); }
    bool operator==(const Point &o) const { return x == o.x && y == o.y; }
};
using Points = QVector<Point>;
const double kNaN = std::numeric_limits<double>::quiet_NaN();
const QByteArray kLongName(79, 'n');

// Channel 0 is active, 1 not in use, 2 has an active word of 2, and 3 a
// table name of the full 79 characters.
QByteArray cell_description()
{
    return "[cell]\nname = LOADING\ntick_ms = 20\n\n[channel 0]\nname = LOAD TEST\nunits = KPA\n"
           "table = load_test\ncoefficients = 0, 10\n\n[channel 1]\nname = IDLE\nunits = KPA\n"
           "table = idle_table\nactive = 0\n\n[channel 2]\nname = ODD STATE\nunits = KPA\ntable = odd_state\n"
           "active = 2\n\n[channel 3]\nname = LONG NAME\nunits = KPA\ntable = " + kLongName + "\n";
}

// A table file as the writer lays it out, sensor span 0 to `upper` KPA.
QByteArray table_text(const char *type, const QByteArray &data, double upper = 100.0)
{
    return "#revision code\n@AUG07\n\n# user comment\ntest table\n\n"
           "#last_cal(time_t)        cal_interval\n 1699956000               26[week]\n\n"
           "#Description\nLOAD TEST DESC\n\n#calibration units\n#eng_units          raw_units\n  KPA   MV\n\n" +
           QByteArray(std::strcmp(type, "POLYNOMIAL_RANGE") ? "# calibration limits\n#  min max tol units\n"
                                                              "    0.00[KPA]      100.00[KPA]        0.25       PCT\n\n" : "") +
           "#MUA Instance Name\ntable mua\n\n#Sensor Range Units\nKPA\n\n#Sensor range limits\n#  lower upper\n"
           "    0.00[KPA]     " + QByteArray::number(upper, 'f', 2) + "[KPA]\n\n#type_code\n" + type + "\n\n" + data;
}

QByteArray points_data(const Points &points)
{
    QByteArray text = "#number of points\n" + QByteArray::number(points.size()) + "\n\n#  MV  KPA\n";
    for (const Point &p : points)
        text += QString::asprintf("     %8.5f     %8.5f\n", p.x, p.y).toLatin1();
    return text;
}

QByteArray coefficients_data(const QVector<double> &coefficients)
{
    QByteArray text = "#number of points\n" + QByteArray::number(coefficients.size()) + "\n\n#coefficients\n";
    for (double c : coefficients)
        text += " " + QByteArray::number(c) + "\n";
    return text;
}

Points line_points(int count, double first_x, double step)
{
    Points points;
    for (int i = 0; i < count; ++i)
        points.append({first_x + step * i, 10.0 * (first_x + step * i) + 5.0});
    return points;
}

Points raw_points(const TablePoly &poly)
{
    Points points;
    for (int i = 0; i < poly.raw_data.count; ++i)
        points.append({poly.raw_data.x[i], poly.raw_data.y[i]});
    return points;
}

Points sorted(Points points)
{
    std::sort(points.begin(), points.end());
    return points;
}

bool near(double actual, double expected, double tolerance = 1e-7)
{
    return std::fabs(actual - expected) <= tolerance * std::max(1.0, std::fabs(expected));
}

struct Sensor {
    double lower, upper;
    const char *sensor_units, *table_units;
};

const char kTableUnitsWarning[] = "Defaulting to the NONE MUA Instance Name and Tolerance values.\n\n"
                                  "The tolerance units are not compatible with the calibration table units.";
const char kSensorUnitsWarning[] = "Defaulting to the NONE MUA Instance Name and Tolerance values.\n\n"
                                   "The tolerance units are not compatible with the sensor units.";

} // namespace

Q_DECLARE_METATYPE(Points)
Q_DECLARE_METATYPE(Sensor)

class TstTableLoading : public QObject
{
    Q_OBJECT

  private slots:
    void initTestCase();
    void init();

    void tablePaths_data();
    void tablePaths();
    void loadChannelMessages_data();
    void loadChannelMessages();
    void reload_data();
    void reload();
    void loadChannelSteps();
    void loadUnderGermanLocale();
    void interpolationPoints_data();
    void interpolationPoints();
    void scaledTable_data();
    void scaledTable();
    void polynomialRange_data();
    void polynomialRange();
    void polynomialRangeAfterRecord_data();
    void polynomialRangeAfterRecord();
    void polynomialRefit();
    void archivePair_data();
    void archivePair();

    void splitValueUnits_data();
    void splitValueUnits();
    void tolerance_data();
    void tolerance();
    void toleranceOfTheForm_data();
    void toleranceOfTheForm();
    void niceAxisRange_data();
    void niceAxisRange();
    void extendAxisRange_data();
    void extendAxisRange();

  private:
    QString tablePath(const QString &name) const { return cell_.path("/cell/tables/") + name; }
    void writeTable(const QByteArray &bytes) { QVERIFY(write_file(tablePath("load_test.tbl"), bytes)); }
    // Appends one record of the table to the channel's archive, as the
    // utility writes it.
    void writeRecord(int type, const Points &points, int range = 0, const QVector<double> &coeffs = {});
    short load(int channel)
    {
        r_->channel = int16_t(channel);
        return load_channel(r_.get());
    }
    void setSensor(const Sensor &sensor);

    SimCell cell_;
    std::unique_ptr<VREL_CFG> r_;
};

void TstTableLoading::initTestCase()
{
    const QString description = cell_.root() + "/loading.ini";
    QVERIFY(write_file(description, cell_description()));
    QVERIFY2(cell_.start({"--cell", description, "--tick", "20", "--no-noise"}), qPrintable(cell_.lastOutput()));
    QCOMPARE(link_shared_memory(), 0);
    QCOMPARE(int(units_init_access(1)), 0);
    r_.reset(new VREL_CFG());
    set_cfg(r_.get());
}

void TstTableLoading::init()
{
    std::memset(r_.get(), 0, sizeof(VREL_CFG));
    init_tolerance_texts();
    selected_mua_index = 7;
    QDir tables(tablePath(QString()));
    for (const QString &file : tables.entryList({"load_test*"}, QDir::Files))
        QVERIFY(tables.remove(file));
}

void TstTableLoading::writeRecord(int type, const Points &points, int range, const QVector<double> &coeffs)
{
    std::unique_ptr<VREL_CFG> record(new VREL_CFG());
    TableInfo &t = record->table_info;
    set_text(t.tbl_name, "load_test");
    set_text(t.tbl_desc, "ARCHIVED DESC");
    set_text(t.mua_instance_name, "archive mua");
    t.tbl_type = int16_t(type);
    t.range_index = int16_t(range);
    t.last_cal = 1699956000;
    t.dim.table_poly[0].raw_data.count = int16_t(points.size());
    record->new_long_table.count = int16_t(points.size());
    for (int i = 0; i < points.size(); ++i)
        record->new_long_table.x[i] = points[i].x, record->new_long_table.y[i] = points[i].y;
    record->new_table_poly[range].num_coeff = int16_t(coeffs.size());
    std::copy(coeffs.begin(), coeffs.end(), record->new_table_poly[range].coeff);
    QCOMPARE(append_history_record(QFile::encodeName(tablePath("load_test.save")).constData(), record.get(), CAL_AS_FOUND), 0);
}

void TstTableLoading::tablePaths_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<int>("field");
    const char *const fields[] = {"tbl_file", "save_file", "old_file", "ref_file", "uut_file", "report_file"};
    for (int f = 0; f < 6; ++f) {
        QTest::addRow("%s", fields[f]) << 0 << f;
        QTest::addRow("%s, 79-character name", fields[f]) << 3 << f;
    }
}

// A name too long for the 100-byte field under this root is cut; the
// folder and the extension stay, so the channel's files stay apart.
void TstTableLoading::tablePaths()
{
    QFETCH(int, channel);
    QFETCH(int, field);
    const QString log = cell_.hostLog();
    QCOMPARE(load(channel), short(0));
    const char *const paths[] = {r_->tbl_file, r_->save_file, r_->old_file, r_->ref_file, r_->uut_file, r_->report_file};
    const char *const folders[] = {"", "", "", "uut_ref_data/", "uut_ref_data/", "verifications/"};
    const char *const extensions[] = {".tbl", ".save", ".old", ".ref", ".uut", ""};
    const QByteArray folder = QFile::encodeName(tablePath(folders[field]));
    const QByteArray name = channel == 3 ? kLongName : QByteArray("load_test");
    const int room = int(sizeof r_->tbl_file) - 1 - folder.size() - int(std::strlen(extensions[field]));
    QVERIFY2(room > 8, "the test root leaves no room for a name");
    QCOMPARE(QByteArray(paths[field]), folder + name.left(room) + extensions[field]);
    const QRegularExpression cut(QStringLiteral("vrel_util:\\d+ sev 1 code 0 table name '%1' cut to %2 characters").arg(QString(name)).arg(room));
    QCOMPARE(cell_.hostLog().mid(log.size()).contains(cut), name.size() > room);
}

void TstTableLoading::loadChannelMessages_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<QStringList>("messages");
    QTest::newRow("active") << 0 << QStringList();
    QTest::newRow("active word 2 loads") << 2 << QStringList();
    QTest::newRow("not active") << 1 << QStringList{"Channel '1' is not Active"};
    // An index past the host's channels has no entry to read: not active.
    for (int channel : {4, 30000, -1})
        QTest::addRow("out of range %d", channel) << channel << QStringList{QString("Channel '%1' is Out of Range").arg(channel), QString("Channel '%1' is not Active").arg(channel)};
}

void TstTableLoading::loadChannelMessages()
{
    QFETCH(int, channel);
    QFETCH(QStringList, messages);
    writeTable(table_text("INTERPOLATION", points_data(line_points(3, 1.0, 1.0))));
    r_->channel = int16_t(channel);
    set_text(r_->raw_units, "BEFORE");
    captured_count = 3;
    const std::unique_ptr<VREL_CFG> before(new VREL_CFG(*r_));
    DialogAnswerer answerer;
    for (int i = 0; i <= messages.size(); ++i) // one more: a stray box is noted
        answerer.answer(QStringLiteral("OK"));

    QCOMPARE(int(load_channel(r_.get())), messages.isEmpty() ? 0 : -1);

    QCOMPARE(answerer.pending(), 1);
    QStringList shown;
    for (const DialogAnswerer::Seen &seen : answerer.seen())
        shown << seen.title + ": " + seen.text;
    QCOMPARE(shown, messages.replaceInStrings(QRegularExpression("^"), "Information: "));
    QCOMPARE(captured_count, 0);
    if (!messages.isEmpty()) // a refused channel changes nothing
        QVERIFY(std::memcmp(before.get(), r_.get(), sizeof(VREL_CFG)) == 0);
    else
        QCOMPARE(r_->table_changed, uint16_t(1));
}

void TstTableLoading::reload_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<bool>("loads");     // when active: active word 1 only
    QTest::addColumn<int>("unrecorded"); // after a rebuild's reload: cleared when it loads
    QTest::newRow("active word 1") << 0 << true << 0;
    QTest::newRow("active word 2: loads after a rebuild only") << 2 << false << 0;
    QTest::newRow("not active") << 1 << false << 1;
    QTest::newRow("past the count") << 4 << false << 1;
    QTest::newRow("negative") << -5 << false << 1;
}

void TstTableLoading::reload()
{
    QFETCH(int, channel);
    QFETCH(bool, loads);
    r_->channel = int16_t(channel);
    {
        DialogAnswerer answerer;
        answerer.answer(QStringLiteral("OK")); // a box wrongly shown is noted
        QCOMPARE(reload_if_active(r_.get()), channel);
        QCOMPARE(r_->table_changed, uint16_t(loads));
        QCOMPARE(QByteArray(r_->tbl_file).isEmpty(), !loads);
        QVERIFY(answerer.seen().isEmpty());
    }
    r_->unrecorded_changes = 1;
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    answerer.answer(QStringLiteral("OK"));
    reload_after_rebuild(r_.get());
    QTEST(int(r_->unrecorded_changes), "unrecorded");
}

// Everything a load sets besides the table itself.
void TstTableLoading::loadChannelSteps()
{
    const Points file_points = line_points(5, 0.0, 2.5);
    writeTable(table_text("INTERPOLATION", points_data(file_points), 200.0));
    VREL_CFG &r = *r_;
    r.x_scale = {0, 1, {}, 3.0, 9.0, 0.5, 2, {}};
    r.y_scale = r.x_scale;
    for (int i = 0; i < kMaxPoints; ++i) {
        r.long_table.x[i] = 7.0, r.long_table.y[i] = 8.0, r.new_long_table.x[i] = 3.0;
        r.captured_curve.points[i] = {double(i), -double(i)};
    }
    r.captured_curve.count = 17;
    for (TablePoly &range : r.new_table_poly)
        range.num_coeff = 5, range.raw_data.count = 12, range.raw_data.y[20] = 1.0;
    r.unrecorded_changes = 1;
    captured_count = 4, num_points = 0;
    DialogAnswerer answerer;

    QCOMPARE(load(0), short(0));

    QVERIFY(answerer.seen().isEmpty());
    const TableInfo &info = r.table_info;
    QCOMPARE(joined({info.tbl_desc, info.tbl_units, r.raw_units}), QByteArray("LOAD TEST DESC|KPA|KPA"));
    for (const axis_scale *scale : {&r.x_scale, &r.y_scale})
        QCOMPARE(QVector<double>({scale->min, scale->max, double(scale->ticks)}), QVector<double>({0.0, 0.0, 5.0}));
    Points long_points;
    for (int i = 0; i < kMaxPoints; ++i)
        long_points.append({r.long_table.x[i], r.long_table.y[i]});
    QCOMPARE(long_points, file_points + Points(kMaxPoints - 5, {0.0, 0.0}));
    QVERIFY(std::memcmp(&r.prev_curve, &r.captured_curve, sizeof r.prev_curve) == 0);
    QVERIFY(std::memcmp(&r.prev_long_table, &r.long_table, sizeof r.long_table) == 0);
    // Span 200 KPA: 0.25 %, 1 % and 2 %, no bias, the MUA index reset.
    QVERIFY(near(info.no_adjust_tol, 0.5) && near(info.oot_tol, 2.0) && near(info.soot_tol, 4.0));
    QCOMPARE(QVector<double>({info.no_adjust_bias, info.oot_bias, info.soot_bias}), QVector<double>(3, 0.0));
    QCOMPARE(QVector<int>({selected_mua_index, info.tol_state, num_points, captured_count, r.table_changed,
                           r.unrecorded_changes}), QVector<int>({0, 0, 5, 0, 1, 0}));
    // The working blocks are emptied; only range 0 beyond its points.
    for (int range = 0; range < kMaxRanges; ++range) {
        const RawData &raw = r.new_table_poly[range].raw_data;
        QCOMPARE(QVector<double>({double(raw.count), raw.x[0], raw.y[20], double(r.new_table_poly[range].num_coeff)}),
                 QVector<double>({0.0, kUnusedPoint, kUnusedPoint, range == 0 ? 0.0 : 5.0}));
    }
    QCOMPARE(r.new_long_table.x[0], 0.0);

    // A table that cannot be read still loads: no description, no points.
    QVERIFY(QFile::remove(tablePath("load_test.tbl")));
    set_text(r.raw_units, "OLD");
    r.long_table.host_count = 9;
    QCOMPARE(load(0), short(0));
    QCOMPARE(joined({info.tbl_desc, r.raw_units}), QByteArray("No Description|OLD"));
    QCOMPARE(QVector<int>({r.long_table.count, r.long_table.host_count, num_points}), QVector<int>(3, 0));
}

// A German station's decimal comma reaches neither the table's numbers nor
// the tolerance texts.
void TstTableLoading::loadUnderGermanLocale()
{
    ENTER_LOCALE("de_DE.UTF-8");
    writeTable(table_text("INTERPOLATION", points_data({{0.5, 10.25}, {1.5, 20.75}}), 50.0));
    oot_tol_text = QStringLiteral("1.5[KPA]");
    ooa_bias_text = QStringLiteral("2.5[KPA]");
    QCOMPARE(load(0), short(0));
    QCOMPARE(QVector<double>({r_->long_table.x[1], r_->long_table.y[1], r_->table_info.oot_tol, r_->table_info.no_adjust_bias}),
             QVector<double>({1.5, 20.75, 1.5, 2.5}));
    QVERIFY(near(r_->table_info.no_adjust_tol, 0.125));
}

void TstTableLoading::interpolationPoints_data()
{
    QTest::addColumn<Points>("file");
    QTest::addColumn<Points>("expected");
    QTest::newRow("two points") << line_points(2, 1.0, 1.0) << line_points(2, 1.0, 1.0);
    QTest::newRow("unsorted file") << Points{{3, 35}, {1, 15}, {4, 45}, {2, 25}} << line_points(4, 1.0, 1.0);
    QTest::newRow("18 points keep every x") << line_points(18, 1.0, 1.0) << line_points(18, 1.0, 1.0);
    // One fitted coefficient is stored per point: the 19th slot is
    // raw_data.x[0], zeroed before the sort; the point keeps its y.
    Points lost = line_points(19, 1.0, 1.0);
    lost[0].x = 0.0;
    QTest::newRow("19 points lose x[0]") << line_points(19, 1.0, 1.0) << lost;
    Points many = line_points(64, 1.0, 1.0);
    for (int i = 0; i < 64 - 18; ++i)
        many[i].x = 0.0;
    QTest::newRow("64 points lose 46") << line_points(64, 1.0, 1.0) << many;
}

void TstTableLoading::interpolationPoints()
{
    QFETCH(Points, file);
    QFETCH(Points, expected);
    writeTable(table_text("INTERPOLATION", points_data(file)));
    QCOMPARE(load(0), short(0));
    const TablePoly &range0 = r_->table_info.dim.table_poly[0];
    const Points loaded = raw_points(range0);
    QVERIFY(std::is_sorted(loaded.begin(), loaded.end(), [](const Point &a, const Point &b) { return a.x < b.x; }));
    QCOMPARE(sorted(loaded), sorted(expected)); // pairs of equal x in any order
    QCOMPARE(int(range0.num_coeff), file.size());
    QVERIFY(near(range0.coeff[0], 5.0) && near(range0.coeff[1], 10.0));
    QCOMPARE(std::count(range0.coeff + 2, range0.coeff + kMaxCoeffs, 0.0), long(kMaxCoeffs - 2));
    QCOMPARE(QVector<double>({double(r_->long_table.count), r_->long_table.x[0], double(r_->table_info.tbl_type)}),
             QVector<double>({double(file.size()), loaded[0].x, TBL_INTERPOLATION}));
}

void TstTableLoading::scaledTable_data()
{
    QTest::addColumn<double>("factor");
    QTest::newRow("factor 0: flat line") << 0.0;
    QTest::newRow("negative factor") << -2.0;
}

// A SCALED table becomes a two-point interpolation, unfitted.
void TstTableLoading::scaledTable()
{
    QFETCH(double, factor);
    writeTable(table_text("SCALED", "#conversion factor\n " + QByteArray::number(factor) + "\n"));
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    answerer.answer(QStringLiteral("OK")); // a second box would be noted
    QCOMPARE(load(0), short(0));
    QCOMPARE(answerer.pending(), 1);
    QCOMPARE(answerer.seen()[0].text, QStringLiteral("Table will be converted to an INTERP table on save.\n"
                                                     "The newly read table is a SCALED table type"));
    const TableInfo &info = r_->table_info;
    QCOMPARE(raw_points(info.dim.table_poly[0]), (Points{{0.0, 0.0}, {100.0, factor * 100.0}}));
    QCOMPARE(QVector<double>({double(info.tbl_type), double(info.dim.table_poly[0].num_coeff), double(r_->long_table.count),
                              r_->long_table.x[1], r_->long_table.y[1]}),
             QVector<double>({TBL_INTERPOLATION, 0, 2, 100.0, factor * 100.0}));
}

void TstTableLoading::polynomialRange_data()
{
    QTest::addColumn<QByteArray>("ranges");
    QTest::addColumn<int>("range"); // in use; -1: none filled
    QTest::newRow("no range filled") << QByteArray("RANGE=3 MIN=0 MAX=100 BIAS=0 GAIN=1.0 \nRANGE=5 MIN=0 MAX=10 \n") << -1;
    QTest::newRow("first filled") << QByteArray("RANGE=1 MIN=0 MAX=100 \nRANGE=4 C0=1 C1=2 MIN=0 MAX=50 \nRANGE=6 C0=5 MIN=0 MAX=10 \n") << 4;
    QTest::newRow("the last") << QByteArray("RANGE=7 C0=1 C1=2 MIN=0 MAX=50 \n") << 7;
}

// The first filled range is the one in use; without one the long table
// is left as it was.
void TstTableLoading::polynomialRange()
{
    QFETCH(QByteArray, ranges);
    QFETCH(int, range);
    writeTable(table_text("POLYNOMIAL_RANGE", ranges));
    host_path("/cell/tables/load_test.tbl", r_->tbl_file, sizeof r_->tbl_file);
    std::memset(&r_->long_table, 0x5a, sizeof r_->long_table);
    const LongTable before = r_->long_table;
    QCOMPARE(load_table(r_.get()), 0);
    QCOMPARE(r_->table_info.tbl_type, int16_t(TBL_POLYNOMIAL_RANGE));
    const LongTable &table = r_->long_table;
    if (range < 0) {
        QVERIFY(std::memcmp(&before, &table, sizeof before) == 0);
        return;
    }
    QCOMPARE(int(r_->table_info.range_index), range);
    QVERIFY(table.count >= 2);
    QCOMPARE(table.x[table.count - 1], 50.0);
    for (int i = 0; i < table.count; ++i)
        QVERIFY(near(table.y[i], 1.0 + 2.0 * table.x[i]));
}

void TstTableLoading::polynomialRangeAfterRecord_data()
{
    QTest::addColumn<QByteArray>("ranges");
    QTest::addColumn<int>("mode");
    const QByteArray two_ranges = "RANGE=0 C0=1 C1=3 C2=0.0001 MIN=0 MAX=300 BIAS=0 GAIN=1.0 \nRANGE=1 C0=0.1 C1=0.3 MIN=0 MAX=30 \n";
    QTest::newRow("As-Found") << two_ranges << int(CAL_AS_FOUND);
    QTest::newRow("Adjusted") << two_ranges << int(CAL_ADJUSTED);
    QTest::newRow("Re-use, history only") << two_ranges << int(CAL_REUSE);
    QTest::newRow("from 10, a higher range") << QByteArray("RANGE=0 C0=-2 C1=0.5 MIN=10 MAX=60 \nRANGE=5 C1=2 \n") << int(CAL_AS_FOUND);
}

// A range table read from its table file has no points of its own.  A
// record of rows captured at the table's own values must not change how
// the channel looks when the record is loaded back.
void TstTableLoading::polynomialRangeAfterRecord()
{
    QFETCH(QByteArray, ranges);
    QFETCH(int, mode);
    writeTable(table_text("POLYNOMIAL_RANGE", ranges));
    DialogAnswerer answerer;
    QCOMPARE(load(0), short(0));
    const LongTable before = r_->long_table;
    const int16_t range = r_->table_info.range_index;
    QVERIFY(before.count >= 2);
    r_->new_long_table = before;
    std::memcpy(r_->new_table_poly, r_->table_info.dim.table_poly, sizeof r_->new_table_poly);

    (mode == CAL_REUSE ? save_history : save_calibration)(r_.get(), uint16_t(mode));
    QCOMPARE(load(0), short(0));

    QVERIFY2(r_->table_info.last_cal > 1699956000, "loaded from the record");
    QCOMPARE(r_->table_info.range_index, range);
    QCOMPARE(r_->long_table.count, before.count);
    for (int i = 0; i < before.count; ++i)
        QVERIFY(r_->long_table.x[i] == before.x[i] && near(r_->long_table.y[i], before.y[i]));
    QVERIFY(answerer.seen().isEmpty());
}

// A POLYNOMIAL archived without coefficients, in range 3: the line fitted
// to range 0's points goes to range 3, one coefficient slot per point.
// Coefficients read from a table file stand.
void TstTableLoading::polynomialRefit()
{
    writeRecord(TBL_POLYNOMIAL, {{3, 35}, {1, 15}, {2, 25}}, 3);
    QCOMPARE(load(0), short(0));
    const TablePoly &range3 = r_->table_info.dim.table_poly[3];
    QCOMPARE(int(range3.num_coeff), 3);
    QVERIFY(near(range3.coeff[0], 5.0) && near(range3.coeff[1], 10.0) && range3.coeff[2] == 0.0);
    QCOMPARE(r_->table_info.dim.table_poly[0].num_coeff, int16_t(0));
    QCOMPARE(raw_points(r_->table_info.dim.table_poly[0]), (Points{{1, 15}, {2, 25}, {3, 35}}));

    QVERIFY(QFile::remove(tablePath("load_test.save")));
    writeTable(table_text("POLYNOMIAL", coefficients_data({1.5, 2.0, 0.25})));
    QCOMPARE(load(0), short(0));
    const TablePoly &range0 = r_->table_info.dim.table_poly[0];
    QCOMPARE(QVector<double>({double(range0.num_coeff), range0.coeff[0], range0.coeff[1], range0.coeff[2]}),
             QVector<double>({3, 1.5, 2.0, 0.25}));
    const double x = r_->long_table.x[1];
    QVERIFY(near(r_->long_table.y[1], 1.5 + 2.0 * x + 0.25 * x * x));
}

void TstTableLoading::archivePair_data()
{
    QTest::addColumn<int>("type");      // of the archive's newest record
    QTest::addColumn<QVector<double>>("coeffs");
    QTest::addColumn<QByteArray>("table"); // empty: no .tbl
    QTest::addColumn<QString>("message");  // "%1" the .tbl, "%2" the archive
    QTest::addColumn<bool>("fromArchive"); // the description and MUA instance too
    const QByteArray same = table_text("INTERPOLATION", points_data({{5, 50}, {6, 60}, {7, 70}}));
    QTest::newRow("archive without table") << 0 << QVector<double>() << QByteArray() << "" << true;
    QTest::newRow("same count, other values: silent") << 0 << QVector<double>() << same << "" << false;
    QTest::newRow("point counts differ") << 0 << QVector<double>() << table_text("INTERPOLATION", points_data(line_points(4, 1.0, 1.0)))
                                         << "%1 pts diff from %2 ADJUST cal" << false;
    QTest::newRow("types differ: only the type message") << 0 << QVector<double>() << table_text("POLYNOMIAL", coefficients_data({1.0, 2.0}))
                                                         << "<%1> table type differs from <%2> " << false;
    QTest::newRow("archive without a type takes the table's") << -1 << QVector<double>() << same << "" << false;
    QTest::newRow("coefficient counts differ") << 1 << QVector<double>{1.0, 2.0} << table_text("POLYNOMIAL", coefficients_data({1.0, 2.0, 3.0}))
                                               << "%1 num coeff of polynomial differ from %2" << false;
    QTest::newRow("polynomial, point counts differ: silent") << 1 << QVector<double>{1.0, 2.0} << table_text("POLYNOMIAL", coefficients_data({4.0, 5.0}))
                                                             << "" << false;
    QTest::newRow("hyperbolic tables not compared") << 6 << QVector<double>{1.0, 2.0} << table_text("HYPERBOLIC", coefficients_data({1.0}))
                                                    << "" << false;
    QTest::newRow("unreadable table: archive stands") << 0 << QVector<double>() << QByteArray("#type_code\nNO_SUCH_TYPE\n") << "" << true;
}

// The archive's newest record wins; the .tbl gives its description and MUA
// instance, and a disagreement of the two is told.
void TstTableLoading::archivePair()
{
    QFETCH(int, type);
    QFETCH(QVector<double>, coeffs);
    QFETCH(QByteArray, table);
    QFETCH(QString, message);
    QFETCH(bool, fromArchive);
    const Points archived{{1, 11}, {2, 22}, {3, 33}};
    writeRecord(TBL_INTERPOLATION, line_points(6, 0.0, 1.0)); // an older record
    writeRecord(type < 0 ? 0 : type, archived, 0, coeffs);
    if (type < 0) { // a record whose type word is missing
        QByteArray archive = file_bytes(tablePath("load_test.save"));
        const int last = archive.lastIndexOf("\"INTERPOLATION\" \"0.25\"");
        QVERIFY(last > 0 && write_file(tablePath("load_test.save"), archive.replace(last, 15, "\"\"")));
    }
    if (!table.isEmpty())
        writeTable(table);
    const QString log = cell_.hostLog();
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    answerer.answer(QStringLiteral("OK")); // a second box would be noted

    QCOMPARE(load(0), short(0));

    QStringList shown;
    for (const DialogAnswerer::Seen &seen : answerer.seen())
        shown << seen.title + ": " + seen.text;
    const QString expected = message.arg(tablePath("load_test.tbl"), tablePath("load_test.save"));
    QCOMPARE(shown, message.isEmpty() ? QStringList() : QStringList{"Information: " + expected.left(119)});
    QCOMPARE(cell_.hostLog().mid(log.size()).contains("data does not agree with"), message.contains("pts diff"));
    const TableInfo &info = r_->table_info;
    QCOMPARE(int(info.tbl_type), qMax(type, 0));
    QCOMPARE(raw_points(info.dim.table_poly[0]), type == 0 || type < 0 ? archived : sorted(archived));
    QCOMPARE(joined({info.tbl_desc, info.mua_instance_name}),
             fromArchive ? QByteArray("ARCHIVED DESC|archive mua") : QByteArray("LOAD TEST DESC|table mua"));
}

void TstTableLoading::splitValueUnits_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("split"); // number|units; units start as "KEEP"
    QTest::newRow("value and units") << QByteArray(".25[PCT]") << QByteArray(".25|PCT");
    QTest::newRow("no bracket leaves units") << QByteArray("1.5") << QByteArray("1.5|KEEP");
    QTest::newRow("no closing bracket costs a letter") << QByteArray("2[KPA") << QByteArray("2|KP");
    QTest::newRow("empty brackets") << QByteArray("3[]") << QByteArray("3|");
    QTest::newRow("blank after bracket") << QByteArray("5[PCT] ") << QByteArray("5|PCT]");
    QTest::newRow("second bracket kept") << QByteArray("1[A[B]") << QByteArray("1|A[B");
    QTest::newRow("long unit cut to 15") << QByteArray("1[ABCDEFGHIJKLMNOPQRS]") << QByteArray("1|ABCDEFGHIJKLMN");
    QTest::newRow("bracket beyond 79 lost") << QByteArray(85, '1') + "[PCT]" << QByteArray(79, '1') + "|KEEP";
}

void TstTableLoading::splitValueUnits()
{
    QFETCH(QByteArray, text);
    char number[kValueTextSize];
    std::memset(number, 'x', sizeof number);
    char units[kUnitTextSize] = "KEEP";
    split_value_units(text.constData(), number, units);
    QTEST(joined({number, units}), "split");
}

void TstTableLoading::setSensor(const Sensor &sensor)
{
    TableInfo &info = r_->table_info;
    info.sensor_range_lower_limit = sensor.lower, info.sensor_range_upper_limit = sensor.upper;
    set_text(info.sensor_range_units, sensor.sensor_units);
    set_text(info.tbl_units, sensor.table_units);
}

void TstTableLoading::tolerance_data()
{
    QTest::addColumn<Sensor>("sensor");
    QTest::addColumn<int>("kind");         // 1 OOA, 2 OOT, any other SOOT; negative: the bias
    QTest::addColumn<QString>("text");     // empty: the default texts
    QTest::addColumn<QString>("warning");  // the one box shown; empty: none
    QTest::addColumn<double>("expected");
    const Sensor kpa{0.0, 100.0, "KPA", "KPA"}, psi{0.0, 100.0, "PSI", "KPA"};
    QTest::newRow("default OOA, 0.25 % of span") << kpa << 1 << "" << "" << 0.25;
    QTest::newRow("default OOT, reversed limits") << Sensor{100.0, 0.0, "KPA", "KPA"} << 2 << "" << "" << 1.0;
    QTest::newRow("default SOOT, across zero") << Sensor{-50.0, 50.0, "C", "C"} << 3 << "" << "" << 2.0;
    QTest::newRow("any other kind is SOOT") << kpa << 9 << "" << "" << 2.0;
    QTest::newRow("equal limits") << Sensor{40.0, 40.0, "KPA", "KPA"} << 2 << "" << "" << 0.0;
    QTest::newRow("span converted, 100 PSI") << psi << 2 << "" << "" << 6.894757293168;
    // The span converts as a reading: 180 F is (180 - 32) * 5 / 9 C.
    QTest::newRow("temperature span converts as a reading") << Sensor{0.0, 180.0, "F", "C"} << 3 << "" << "" << (180.0 - 32.0) * 5.0 / 9.0 * 0.02;
    QTest::newRow("same units") << kpa << 2 << "5[KPA]" << "" << 5.0;
    QTest::newRow("to table units") << kpa << 1 << "1[BAR]" << "" << 100.0;
    QTest::newRow("sensor and table differ") << psi << 3 << "2[PSI]" << "" << 13.789514586336;
    QTest::newRow("keyword case ignored") << kpa << 2 << "2[kpa]" << "" << 2.0;
    QTest::newRow("fraction of span") << Sensor{0.0, 200.0, "KPA", "KPA"} << 2 << "0.5[FRAC]" << "" << 100.0;
    QTest::newRow("parts per million") << Sensor{0.0, 1000.0, "KPA", "KPA"} << 2 << "500[PPM]" << "" << 0.5;
    // The span cannot reach the table's units and stays 100; the number is
    // no fraction, so it multiplies the span unconverted.
    QTest::newRow("sensor units, not table units") << Sensor{0.0, 100.0, "KPA", "C"} << 3 << "1[KPA]" << kTableUnitsWarning << 100.0;
    QTest::newRow("neither sensor nor fraction") << kpa << 3 << "1[C]" << kSensorUnitsWarning << 100.0;
    QTest::newRow("unknown unit") << kpa << 1 << "2[XYZ]" << kSensorUnitsWarning << 200.0;
    QTest::newRow("no units at all") << Sensor{0.0, 10.0, "KPA", "KPA"} << 2 << "3" << kSensorUnitsWarning << 30.0;
    QTest::newRow("sensor units empty") << Sensor{0.0, 10.0, "", "KPA"} << 3 << "4[KPA]" << kSensorUnitsWarning << 40.0;
    QTest::newRow("bias: default 0") << kpa << -1 << "" << "" << 0.0;
    QTest::newRow("bias: a percentage stays a fraction") << Sensor{0.0, 500.0, "KPA", "KPA"} << -2 << "5[PCT]" << "" << 0.05;
    QTest::newRow("bias: in sensor units") << Sensor{0.0, 100.0, "KPA", "C"} << -3 << "1[BAR]" << "" << 100.0;
    QTest::newRow("bias: to sensor units") << kpa << -2 << "2[PSI]" << "" << 13.789514586336;
    // Neither: its box is built but never shown, and the number stands.
    QTest::newRow("bias: incompatible unit") << kpa << -1 << "1.5[C]" << "" << 1.5;
    QTest::newRow("bias: no units") << kpa << -3 << "4" << "" << 4.0;
}

// The tolerance and bias of each kind, from its text, in the record's units.
void TstTableLoading::tolerance()
{
    QFETCH(Sensor, sensor);
    QFETCH(int, kind);
    QFETCH(QString, text);
    QFETCH(QString, warning);
    QFETCH(double, expected);
    setSensor(sensor);
    QString *const texts[] = {&ooa_tol_text, &oot_tol_text, &soot_tol_text, &ooa_bias_text, &oot_bias_text, &soot_bias_text};
    if (!text.isEmpty())
        *texts[(kind < 0 ? 2 : -1) + qBound(1, std::abs(kind), 3)] = text;
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    answerer.answer(QStringLiteral("OK")); // a second box would be noted

    const double result = kind < 0 ? resolve_bias(int16_t(-kind), r_.get()) : resolve_tolerance(int16_t(kind), r_.get());

    QVERIFY2(near(result, expected, 1e-9), qPrintable(QString::number(result, 'g', 17)));
    QStringList shown;
    for (const DialogAnswerer::Seen &seen : answerer.seen())
        shown << seen.title + ": " + seen.text + " [" + seen.buttons.join(',') + "]";
    QCOMPARE(shown, warning.isEmpty() ? QStringList() : QStringList{"Warning: " + warning + " [OK]"});
    QCOMPARE(int(selected_mua_index), warning.isEmpty() ? 7 : 0);
    if (!text.isEmpty()) // the text stays, whatever the message says
        QCOMPARE(*texts[(kind < 0 ? 2 : -1) + qBound(1, std::abs(kind), 3)], text);
}

void TstTableLoading::toleranceOfTheForm_data()
{
    QTest::addColumn<Sensor>("sensor");
    QTest::addColumn<bool>("load"); // the channel load's handling, or the table information form's
    QTest::addColumn<double>("expected");
    QTest::addColumn<int>("index");
    // Table-units warning: the load resets the MUA index, the form not.
    QTest::newRow("load, table units") << Sensor{0.0, 100.0, "KPA", "C"} << true << 100.0 << 0;
    QTest::newRow("form, table units") << Sensor{0.0, 100.0, "KPA", "C"} << false << 100.0 << 7;
    // Sensor-units warning: both reset, and the fraction comes from the
    // fallback text, 2 % of 100.
    QTest::newRow("load, sensor units") << Sensor{0.0, 100.0, "C", "C"} << true << 2.0 << 0;
    QTest::newRow("form, sensor units") << Sensor{0.0, 100.0, "C", "C"} << false << 2.0 << 0;
}

void TstTableLoading::toleranceOfTheForm()
{
    QFETCH(Sensor, sensor);
    QFETCH(bool, load);
    QFETCH(double, expected);
    setSensor(sensor);
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    answerer.answer(QStringLiteral("OK")); // a second box would be noted
    QVERIFY(near(resolve_tolerance_text({"1[KPA]", "2[PCT]", load}, r_.get()), expected, 1e-9));
    QCOMPARE(answerer.pending(), 1);
    QTEST(int(selected_mua_index), "index");
}

void TstTableLoading::niceAxisRange_data()
{
    QTest::addColumn<QVector<double>>("axis"); // min, max, ticks
    QTest::addColumn<QVector<double>>("nice");
    QTest::newRow("far from zero pulled to 0") << QVector<double>{10, 100, 5} << QVector<double>{0, 160, 5}; // g 27.5, unit 40
    QTest::newRow("ratio exactly 5 stays") << QVector<double>{20, 100, 5} << QVector<double>{20, 180, 5};    // g 22, unit 40, h 20
    QTest::newRow("negative, max pulled to 0") << QVector<double>{-100, -10, 5} << QVector<double>{-160, 0, 5};
    QTest::newRow("zero height widened") << QVector<double>{5, 5, 5} << QVector<double>{3.9, 6.3, 5};       // 4..6, unit 0.6, q 13
    QTest::newRow("across zero") << QVector<double>{-3, 7, 5} << QVector<double>{-4, 12, 5};                // unit 4, h 2, q 1
    QTest::newRow("no ticks becomes two") << QVector<double>{0, 10, 0} << QVector<double>{0, 20, 2};        // one interval, unit 20
    QTest::newRow("one tick, one interval") << QVector<double>{0, 10, 1} << QVector<double>{0, 20, 1};
    QTest::newRow("small span") << QVector<double>{0, 1, 5} << QVector<double>{0, 1.6, 5};                  // unit 0.4
    QTest::newRow("decades below") << QVector<double>{1.01, 1.1, 5} << QVector<double>{1.0, 1.16, 5};       // unit 0.04, q 50
}

void TstTableLoading::niceAxisRange()
{
    QFETCH(QVector<double>, axis);
    QFETCH(QVector<double>, nice);
    axis_scale scale{};
    scale.min = axis[0], scale.max = axis[1], scale.ticks = int16_t(axis[2]);
    nice_axis_range(&scale);
    QVERIFY2(near(scale.min, nice[0], 1e-9) && near(scale.max, nice[1], 1e-9), qPrintable(QString("%1 %2").arg(scale.min).arg(scale.max)));
    QCOMPARE(QVector<double>({double(scale.ticks), scale.step, double(scale.changed)}), QVector<double>({nice[2], 1.0, 0.0}));
}

void TstTableLoading::extendAxisRange_data()
{
    QTest::addColumn<QVector<double>>("axis"); // min, max, changed flag
    QTest::addColumn<QVector<double>>("values");
    QTest::addColumn<int>("count");
    QTest::addColumn<QVector<double>>("extended"); // min, max, result
    QTest::newRow("single value, zeroed axis") << QVector<double>{0, 0, 0} << QVector<double>{50} << 1 << QVector<double>{48.9, 51.3, 1};
    QTest::newRow("count 0 still takes the first") << QVector<double>{0, 0, 0} << QVector<double>{50} << 0 << QVector<double>{48.9, 51.3, 1};
    QTest::newRow("values inside") << QVector<double>{0, 160, 0} << QVector<double>{10, 20} << 2 << QVector<double>{0, 160, 0};
    QTest::newRow("flag already set, nothing moves") << QVector<double>{0, 160, 1} << QVector<double>{10} << 1 << QVector<double>{0, 160, 0};
    QTest::newRow("max rises") << QVector<double>{0, 160, 0} << QVector<double>{5, 170} << 2 << QVector<double>{0, 200, 1};
    QTest::newRow("min falls") << QVector<double>{0, 160, 0} << QVector<double>{-20} << 1 << QVector<double>{-25, 175, 1};
    // Below 1e-6 no rescale, yet the bytes differ.
    QTest::newRow("tiny move, no rescale") << QVector<double>{0, 160, 0} << QVector<double>{160.0000005} << 1 << QVector<double>{0, 160.0000005, 1};
    QTest::newRow("later values only") << QVector<double>{0, 0, 0} << QVector<double>{30, 10, 100} << 3 << QVector<double>{0, 160, 1};
}

void TstTableLoading::extendAxisRange()
{
    QFETCH(QVector<double>, axis);
    QFETCH(QVector<double>, values);
    QFETCH(int, count);
    QFETCH(QVector<double>, extended);
    axis_scale scale{};
    scale.min = axis[0], scale.max = axis[1], scale.changed = int16_t(axis[2]), scale.ticks = 5;
    QCOMPARE(extend_axis_range(&scale, values.constData(), count), int(extended[2]));
    QVERIFY2(near(scale.min, extended[0], 1e-9) && near(scale.max, extended[1], 1e-9), qPrintable(QString("%1 %2").arg(scale.min).arg(scale.max)));
    QCOMPARE(int(scale.changed), extended[2] == 1 ? 1 : int(axis[2]));
}

QTEST_MAIN(TstTableLoading)
#include "tst_table_loading.moc"
