// Loading a channel's table pair into the calibration record.
#include "localeguard.h"
#include "archivetext.h"
#include "dialoganswerer.h"
#include "functions.h"
#include "history.h"
#include "simcell.h"
#include "vrel_cfg.h"
#include "vrel_util.h"

#include <orvane/units.h>

#include <QFile>
#include <QRegularExpression>
#include <QtTest>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace
{

struct Point {
    double x, y;
    bool operator<(const Point &other) const
    {
        return x < other.x || (x == other.x && y < other.y);
    }
    bool operator==(const Point &other) const { return x == other.x && y == other.y; }
};
using Points = QVector<Point>;

const char kTableName[] = "load_test";
const QByteArray kLongName(79, 'n');

// The cell of these tests: an active channel whose table the tests write, a
// channel not in use, one whose active word is neither 0 nor 1, and one
// whose table name has the full 79 characters.
QByteArray cell_description()
{
    return "[cell]\nname = LOADING\ntick_ms = 20\n\n"
           "[channel 0]\nname = LOAD TEST\nunits = KPA\ntable = load_test\ncoefficients = 0, 10\n\n"
           "[channel 1]\nname = IDLE\nunits = KPA\ntable = idle_table\nactive = 0\n\n"
           "[channel 2]\nname = ODD STATE\nunits = KPA\ntable = odd_state\nactive = 2\n\n"
           "[channel 3]\nname = LONG NAME\nunits = KPA\ntable = " +
           kLongName + "\n";
}

QByteArray number(double value)
{
    return QString::asprintf("%g", value).toLatin1();
}

// A table file as the writer lays it out, sensor span 0 to `upper` KPA.
QByteArray table_text(const char *type, const QByteArray &data,
                      const char *description = "LOAD TEST DESC", const char *mua = "table mua",
                      double upper = 100.0)
{
    QByteArray text =
        "#revision code\n@AUG07\n\n# user comment\ntest table\n\n"
        "#     last calibrated on: Tue Nov 14 10:00:00 2023\n"
        "#next calibration due on: 05/14/24\n\n"
        "#last_cal(time_t)        cal_interval\n 1699956000               26[week]\n\n"
        "#Working Standard\nnone\n\n#Technician\nnone\n\n";
    text += "#Description\n" + QByteArray(description) + "\n\n";
    text += "#calibration units\n#eng_units          raw_units\n  KPA                 MV\n\n";
    if (std::strcmp(type, "POLYNOMIAL_RANGE") != 0)
        text += "# calibration limits\n#  min_cal_range        max_cal_range      tolerance   "
                "tolerance_units\n"
                "    0.00[KPA]      100.00[KPA]        0.25       PCT\n\n";
    text += "#MUA Instance Name\n" + QByteArray(mua) + "\n\n";
    text += "#Sensor Model\nSIM-100\n\n#Sensor Serial Number\nSN-1\n\n#Sensor Range Units\nKPA\n\n";
    text += "#Sensor range limits\n#  lower_limit         upper_limit\n    0.00[KPA]     " +
            QString::asprintf("%8.2f", upper).toLatin1() + "[KPA]\n\n";
    text += QString::asprintf("#type_code\n%-24s\n\n", type).toLatin1();
    return text + data;
}

QByteArray points_data(const Points &points)
{
    QByteArray text = QString::asprintf("#number of points\n%d\n\n#%12.12s %12.12s\n",
                                        int(points.size()), "MV", "KPA")
                          .toLatin1();
    for (const Point &p : points)
        text += QString::asprintf("     %8.5f     %8.5f\n", p.x, p.y).toLatin1();
    return text;
}

QByteArray coefficients_data(const QVector<double> &coefficients)
{
    QByteArray text =
        QString::asprintf("#number of points\n%d\n\n#coefficients\n", int(coefficients.size()))
            .toLatin1();
    for (double c : coefficients)
        text += " " + number(c) + "\n";
    return text;
}

// One history record, as the record writer appends it.
QByteArray archive_record(const char *type, const char *coefficients, const Points &points,
                          const char *description = "ARCHIVED DESC",
                          const char *mua = "archive mua")
{
    QByteArray text = QByteArray(kArchiveRecordStart) + kArchiveFieldNames + kArchiveCoefficientNames;
    for (int i = 0; i < points.size(); ++i)
        text += QString::asprintf("# channel->table_info.dim.table_poly[0].raw_data.x[%d] "
                                  "channel->table_info.dim.table_poly[0].raw_data.y[%d]\n",
                                  i, i)
                    .toLatin1();
    text += QString::asprintf(
                "\n%ld \"%s\" '%s' '%s' \"%s\" \\\n \"%s\" \"%.6g\" \"%s\" \\\n   \"%s\" \\\n",
                1699956000L, "10:00:00 AM 11/14/23", "AS_FOUND", "NOADJ", kTableName, type, 0.25,
                "PCT", "none")
                .toLatin1();
    text += "   \"0[PCT]\"   \".25[PCT]\" \\\n   \"0[PCT]\"   \"1[PCT]\" \\\n   \"0[PCT]\"   "
            "\"2[PCT]\" \\\n"
            "   \"0[PCT]\"   \"0[PCT]\" \\\n   \"0[PCT]\"   \"0[PCT]\" \\\n   \"0[PCT]\"   "
            "\"0[PCT]\" \\\n"
            "   \"SIM-100\" \"SN-1\" \"KPA\" \\\n   \"0[KPA]\" \"100[KPA]\" \\\n   \"0[KPA]\" "
            "\"100[KPA]\" \\\n"
            "   \"none\" \"none\" \"MV\" \"KPA\" \\\n";
    text += QString::asprintf(" \"%s\"  \\\n \"%s\" \"%s\"  ", coefficients, mua, description)
                .toLatin1();
    for (const Point &p : points)
        text += QString::asprintf(" \\\n   %10.6g %10.6g", p.x, p.y).toLatin1();
    return text + "\n\n";
}

Points line_points(int count, double first_x, double step)
{
    Points points;
    for (int i = 0; i < count; ++i) {
        const double x = first_x + step * i;
        points.append({x, 10.0 * x + 5.0});
    }
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

bool ascending_x(const Points &points)
{
    for (int i = 1; i < points.size(); ++i)
        if (points[i].x < points[i - 1].x)
            return false;
    return true;
}

bool near(double actual, double expected)
{
    return std::fabs(actual - expected) <= 1e-7 * std::max(1.0, std::fabs(expected));
}


} // namespace

Q_DECLARE_METATYPE(Points)

class TestLoading : public QObject
{
    Q_OBJECT

  private slots:
    void initTestCase();
    void init();

    void tablePaths_data();
    void tablePaths();
    void loadChannelMessages_data();
    void loadChannelMessages();
    void reloadIfActive_data();
    void reloadIfActive();
    void loadChannelSteps();
    void unreadableTable();
    void loadUnderGermanLocale();

    void interpolationPoints_data();
    void interpolationPoints();
    void storeFitCoefficients_data();
    void storeFitCoefficients();
    void sortRawPoints_data();
    void sortRawPoints();
    void sortSurvivesNaN();
    void scaledTable_data();
    void scaledTable();
    void polynomialRangeAllEmpty();
    void polynomialRangeFirstFilled();
    void polynomialRangeAfterRecord_data();
    void polynomialRangeAfterRecord();
    void firstFilledRange_data();
    void firstFilledRange();
    void polynomialRefit();
    void polynomialCoefficientsStand();

    void comparePair_data();
    void comparePair();
    void archivePair_data();
    void archivePair();

    void clearNewTable();
    void clearNewLongTable();

  private:
    QString tablePath(const QString &name) const { return cell_->path("/cell/tables/") + name; }
    void writeFile(const QString &name, const QByteArray &bytes);
    void removeTables();
    short loadChannel(int channel, DialogAnswerer &answerer);

    std::unique_ptr<SimCell> cell_;
    std::unique_ptr<VREL_CFG> record_;
};

void TestLoading::initTestCase()
{
    cell_ = std::make_unique<SimCell>();
    const QString description = cell_->root() + "/loading.ini";
    QFile file(description);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(cell_description());
    file.close();
    QVERIFY2(cell_->start({"--cell", description, "--tick", "20", "--no-noise"}),
             qPrintable(cell_->lastOutput()));
    QCOMPARE(link_shared_memory(), 0);
    QCOMPARE(int(units_init_access(1)), 0);
    record_ = std::make_unique<VREL_CFG>();
    set_cfg(record_.get());
}

void TestLoading::init()
{
    std::memset(record_.get(), 0, sizeof(VREL_CFG));
    init_tolerance_texts();
    removeTables();
}

void TestLoading::writeFile(const QString &name, const QByteArray &bytes)
{
    QFile file(tablePath(name));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

void TestLoading::removeTables()
{
    for (const char *extension : {".tbl", ".save"})
        QFile::remove(tablePath(QString::fromLatin1(kTableName) + QLatin1String(extension)));
    QDir tables(tablePath(QString()));
    for (const QString &sibling :
         tables.entryList({QString::fromLatin1(kTableName) + QStringLiteral("-*.poly_range")}))
        tables.remove(sibling);
}

short TestLoading::loadChannel(int channel, DialogAnswerer &answerer)
{
    Q_UNUSED(answerer) // alive across the load, so that a box is answered and noted
    record_->channel = static_cast<int16_t>(channel);
    return load_channel(record_.get());
}

// ---------------------------------------------------------------- channel

void TestLoading::tablePaths_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<int>("field");
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("extension");

    const QString name = QString::fromLatin1(kTableName);
    const QString long_name = QString::fromLatin1(kLongName);
    const char *const fields[] = {"tbl_file", "save_file", "old_file",
                                  "ref_file", "uut_file",  "report_file"};
    const char *const folders[] = {"/cell/tables/", "/cell/tables/", "/cell/tables/",
                                   "/cell/tables/uut_ref_data/", "/cell/tables/uut_ref_data/",
                                   "/cell/tables/verifications/"};
    const char *const extensions[] = {".tbl", ".save", ".old", ".ref", ".uut", ""};
    for (int f = 0; f < 6; ++f) {
        QTest::addRow("%s", fields[f]) << 0 << f << folders[f] << name << extensions[f];
        QTest::addRow("%s, 79-character name", fields[f]) << 3 << f << folders[f] << long_name << extensions[f];
    }
}

void TestLoading::tablePaths()
{
    QFETCH(int, channel);
    QFETCH(int, field);
    QFETCH(QString, folder);
    QFETCH(QString, name);
    QFETCH(QString, extension);

    DialogAnswerer answerer;
    QCOMPARE(loadChannel(channel, answerer), short(0));
    const char *const fields[] = {record_->tbl_file, record_->save_file, record_->old_file,
                                  record_->ref_file, record_->uut_file,  record_->report_file};
    const QByteArray rooted_folder = cell_->path(folder).toLocal8Bit();
    const int room = int(sizeof record_->tbl_file) - 1 - rooted_folder.size() - extension.size();
    QVERIFY2(room > 8, "the test root leaves no room for a name");
    // A name too long for the 100-byte field under this root is cut; the
    // folder and the extension stay, so the channel's files stay apart.
    const QByteArray expected = rooted_folder + name.toLatin1().left(room) + extension.toLatin1();
    QCOMPARE(QByteArray(fields[field]), expected);
    QVERIFY(expected.size() < int(sizeof record_->tbl_file));
    const QRegularExpression cut(QStringLiteral("vrel_util:\\d+ sev 1 code 0 table name '%1' cut to %2 characters")
                                     .arg(name)
                                     .arg(room));
    QCOMPARE(cell_->hostLog().contains(cut), name.size() > room);
}

void TestLoading::loadChannelMessages_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<QStringList>("messages");
    QTest::addColumn<int>("result");

    QTest::newRow("active") << 0 << QStringList() << 0;
    QTest::newRow("active word 2 loads") << 2 << QStringList() << 0;
    QTest::newRow("not active") << 1 << QStringList{"Channel '1' is not Active"} << -1;
    // An index past the host's channels has no entry to read: not active.
    QTest::newRow("just past the count")
        << 4 << QStringList{"Channel '4' is Out of Range", "Channel '4' is not Active"} << -1;
    QTest::newRow("far past the count")
        << 30000 << QStringList{"Channel '30000' is Out of Range", "Channel '30000' is not Active"}
        << -1;
    QTest::newRow("negative") << -1
                              << QStringList{"Channel '-1' is Out of Range",
                                             "Channel '-1' is not Active"}
                              << -1;
}

void TestLoading::loadChannelMessages()
{
    QFETCH(int, channel);
    QFETCH(QStringList, messages);
    QFETCH(int, result);

    writeFile(QStringLiteral("load_test.tbl"),
              table_text("INTERPOLATION", points_data(line_points(3, 1.0, 1.0))));
    record_->channel = static_cast<int16_t>(channel);
    std::strcpy(record_->raw_units, "BEFORE");
    captured_count = 3;
    const auto before = std::make_unique<VREL_CFG>(*record_);

    DialogAnswerer answerer;
    for (int i = 0; i <= messages.size(); ++i) // one more: a stray box is noted
        answerer.answer(QStringLiteral("OK"));
    QCOMPARE(int(load_channel(record_.get())), result);

    QCOMPARE(answerer.pending(), 1);
    QCOMPARE(answerer.seen().size(), messages.size());
    for (int i = 0; i < messages.size(); ++i) {
        QCOMPARE(answerer.seen()[i].title, QStringLiteral("Information"));
        QCOMPARE(answerer.seen()[i].text, messages[i]);
    }
    QCOMPARE(captured_count, 0);
    if (result == -1)
        QVERIFY2(std::memcmp(before.get(), record_.get(), sizeof(VREL_CFG)) == 0,
                 "a refused channel changes nothing");
    else
        QCOMPARE(record_->table_changed, uint16_t(1));
}

void TestLoading::reloadIfActive_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<bool>("loads");

    QTest::newRow("active word 1") << 0 << true;
    QTest::newRow("active word 2") << 2 << false;
    QTest::newRow("not active") << 1 << false;
    QTest::newRow("past the count") << 4 << false;
    QTest::newRow("negative") << -5 << false;
}

void TestLoading::reloadIfActive()
{
    QFETCH(int, channel);
    QFETCH(bool, loads);

    record_->channel = static_cast<int16_t>(channel);
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK")); // a box wrongly shown is noted
    QCOMPARE(reload_if_active(record_.get()), channel);
    QCOMPARE(record_->table_changed, uint16_t(loads ? 1 : 0));
    QCOMPARE(QByteArray(record_->tbl_file).isEmpty(), !loads);
    QVERIFY(answerer.seen().isEmpty());
}

void TestLoading::loadChannelSteps()
{
    const Points file_points = line_points(5, 0.0, 2.5);
    writeFile(QStringLiteral("load_test.tbl"), table_text("INTERPOLATION", points_data(file_points),
                                                          "LOAD TEST DESC", "table mua", 200.0));
    VREL_CFG &r = *record_;
    r.x_scale = {0, 1, {}, 3.0, 9.0, 0.5, 2, {}};
    r.y_scale = r.x_scale;
    for (int i = 0; i < kMaxPoints; ++i) {
        r.long_table.x[i] = 7.0;
        r.long_table.y[i] = 8.0;
        r.captured_curve.points[i] = {double(i), -double(i)};
        r.new_long_table.x[i] = 3.0;
    }
    r.captured_curve.count = 17;
    r.unrecorded_changes = 1;
    std::strcpy(r.raw_units, "OLD");
    selected_mua_index = 9;
    captured_count = 4;
    num_points = 0;

    DialogAnswerer answerer;
    QCOMPARE(loadChannel(0, answerer), short(0));
    QVERIFY(answerer.seen().isEmpty());

    const TableInfo &info = r.table_info;
    QCOMPARE(QByteArray(info.tbl_desc), QByteArray("LOAD TEST DESC"));
    QCOMPARE(QByteArray(info.tbl_units), QByteArray("KPA"));
    QCOMPARE(QByteArray(r.raw_units), QByteArray("KPA"));
    for (const axis_scale *scale : {&r.x_scale, &r.y_scale}) {
        QCOMPARE(scale->min, 0.0);
        QCOMPARE(scale->max, 0.0);
        QCOMPARE(scale->ticks, int16_t(5));
    }
    QCOMPARE(r.long_table.count, int16_t(5));
    for (int i = 0; i < 5; ++i) {
        QCOMPARE(r.long_table.x[i], file_points[i].x);
        QCOMPARE(r.long_table.y[i], file_points[i].y);
    }
    for (int i = 5; i < kMaxPoints; ++i) {
        QCOMPARE(r.long_table.x[i], 0.0);
        QCOMPARE(r.long_table.y[i], 0.0);
    }
    QVERIFY(std::memcmp(&r.prev_curve, &r.captured_curve, sizeof r.prev_curve) == 0);
    QCOMPARE(r.prev_curve.count, int16_t(17));
    QVERIFY(std::memcmp(&r.prev_long_table, &r.long_table, sizeof r.long_table) == 0);
    QCOMPARE(selected_mua_index, int16_t(0));
    QCOMPARE(info.tol_state, uint16_t(0));
    // Span 200 KPA: 0.25 %, 1 % and 2 %.
    QVERIFY(near(info.no_adjust_tol, 0.5));
    QVERIFY(near(info.oot_tol, 2.0));
    QVERIFY(near(info.soot_tol, 4.0));
    QCOMPARE(info.no_adjust_bias, 0.0);
    QCOMPARE(info.oot_bias, 0.0);
    QCOMPARE(info.soot_bias, 0.0);
    QCOMPARE(num_points, int16_t(5));
    QCOMPARE(captured_count, 0);
    QCOMPARE(r.table_changed, uint16_t(1));
    QCOMPARE(r.unrecorded_changes, uint16_t(0));
    for (const TablePoly &range : r.new_table_poly) {
        QCOMPARE(range.raw_data.count, int16_t(0));
        QCOMPARE(range.raw_data.x[0], kUnusedPoint);
        QCOMPARE(range.raw_data.y[63], kUnusedPoint);
    }
    QCOMPARE(r.new_long_table.x[0], 0.0);
}

void TestLoading::unreadableTable()
{
    VREL_CFG &r = *record_;
    std::strcpy(r.raw_units, "OLD");
    r.long_table.count = 9;
    r.long_table.host_count = 9;
    DialogAnswerer answerer;
    QCOMPARE(loadChannel(0, answerer), short(0));
    QVERIFY(answerer.seen().isEmpty());
    QCOMPARE(QByteArray(r.table_info.tbl_desc), QByteArray("No Description"));
    QCOMPARE(r.long_table.count, int16_t(0));
    QCOMPARE(r.long_table.host_count, int16_t(0));
    QCOMPARE(QByteArray(r.raw_units), QByteArray("OLD"));
    QCOMPARE(num_points, int16_t(0));
    QCOMPARE(r.table_changed, uint16_t(1));
}

void TestLoading::loadUnderGermanLocale()
{
    LocaleGuard guard;
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8"))
        QSKIP("the de_DE.UTF-8 locale is not installed");
    writeFile(QStringLiteral("load_test.tbl"),
              table_text("INTERPOLATION", points_data({{0.5, 10.25}, {1.5, 20.75}}), "GERMAN",
                         "none", 50.0));
    oot_tol_text = QStringLiteral("1.5[KPA]");
    DialogAnswerer answerer;
    QCOMPARE(loadChannel(0, answerer), short(0));
    QCOMPARE(record_->long_table.x[1], 1.5);
    QCOMPARE(record_->long_table.y[1], 20.75);
    QVERIFY(near(record_->table_info.no_adjust_tol, 0.125));
    QCOMPARE(record_->table_info.oot_tol, 1.5);
}

// ---------------------------------------------------------------- types

void TestLoading::interpolationPoints_data()
{
    QTest::addColumn<Points>("file");
    QTest::addColumn<Points>("expected");

    QTest::newRow("two points") << line_points(2, 1.0, 1.0) << line_points(2, 1.0, 1.0);
    QTest::newRow("unsorted file")
        << Points{{3, 35}, {1, 15}, {4, 45}, {2, 25}} << Points{{1, 15}, {2, 25}, {3, 35}, {4, 45}};
    QTest::newRow("nine points") << line_points(9, 1.0, 1.0) << line_points(9, 1.0, 1.0);
    QTest::newRow("18 points keep every x")
        << line_points(18, 1.0, 1.0) << line_points(18, 1.0, 1.0);
    // The 19th coefficient slot is raw_data.x[0]: the store zeroes it
    // before the sort, and the point keeps its y.
    Points lost = line_points(19, 1.0, 1.0);
    lost[0].x = 0.0;
    QTest::newRow("19 points lose x[0]") << line_points(19, 1.0, 1.0) << lost;
    Points many = line_points(64, 1.0, 1.0);
    for (int i = 0; i < 64 - 18; ++i)
        many[i].x = 0.0;
    QTest::newRow("64 points lose 46") << line_points(64, 1.0, 1.0) << sorted(many);
}

void TestLoading::interpolationPoints()
{
    QFETCH(Points, file);
    QFETCH(Points, expected);

    writeFile(QStringLiteral("load_test.tbl"), table_text("INTERPOLATION", points_data(file)));
    DialogAnswerer answerer;
    QCOMPARE(loadChannel(0, answerer), short(0));

    const TablePoly &range0 = record_->table_info.dim.table_poly[0];
    const Points loaded = raw_points(range0);
    QVERIFY(ascending_x(loaded));
    // Pairs of equal x may come in any order: compare them as a set.
    QCOMPARE(sorted(loaded), sorted(expected));
    QCOMPARE(int(range0.num_coeff), int(file.size()));
    QVERIFY(near(range0.coeff[0], 5.0));
    QVERIFY(near(range0.coeff[1], 10.0));
    for (int k = 2; k < kMaxCoeffs; ++k)
        QCOMPARE(range0.coeff[k], 0.0);
    QCOMPARE(int(record_->long_table.count), int(file.size()));
    QCOMPARE(record_->long_table.x[0], loaded[0].x);
    QCOMPARE(record_->table_info.tbl_type, int16_t(TBL_INTERPOLATION));
}

void TestLoading::storeFitCoefficients_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("stored"); // doubles written from coeff[0] on

    QTest::newRow("none") << 0 << 0;
    QTest::newRow("two") << 2 << 2;
    QTest::newRow("eight fill coeff") << 8 << 8;
    QTest::newRow("nine reach bias") << 9 << 9;
    QTest::newRow("twelve") << 12 << 12;
    QTest::newRow("eighteen end at max") << 18 << 18;
    QTest::newRow("nineteen reach x[0]") << 19 << 19;
    QTest::newRow("full table") << 64 << 64;
    QTest::newRow("count past the table") << 70 << 64;
    QTest::newRow("negative count") << -3 << 0;
}

void TestLoading::storeFitCoefficients()
{
    QFETCH(int, count);
    QFETCH(int, stored);

    TablePoly element;
    std::memset(&element, 0, sizeof element);
    element.num_coeff = 99;
    element.range = 5;
    // The doubles that follow coeff[0] in declared order.
    QVector<double *> following;
    for (double &c : element.coeff)
        following.append(&c);
    for (double *field :
         {&element.bias, &element.gain, &element.vz_x, &element.vz_y, &element.vs_x, &element.vs_y,
          &element.calz_x, &element.cals_x, &element.min, &element.max})
        following.append(field);
    for (double &x : element.raw_data.x)
        following.append(&x);
    for (int i = 0; i < following.size(); ++i)
        *following[i] = 1000.0 + i;
    for (int i = 0; i < kMaxPoints; ++i)
        element.raw_data.y[i] = 2000.0 + i;
    element.raw_data.count = 42;

    double scratch[kMaxPoints];
    for (int i = 0; i < kMaxPoints; ++i)
        scratch[i] = -(i + 1.0);
    store_fit_coefficients(&element, scratch, count);

    QCOMPARE(int(element.num_coeff), count);
    QCOMPARE(element.range, int16_t(5));
    for (int i = 0; i < following.size(); ++i)
        QCOMPARE(*following[i], i < stored ? -(i + 1.0) : 1000.0 + i);
    for (int i = 0; i < kMaxPoints; ++i)
        QCOMPARE(element.raw_data.y[i], 2000.0 + i);
    QCOMPARE(element.raw_data.count, int16_t(42));
}

void TestLoading::sortRawPoints_data()
{
    QTest::addColumn<Points>("points");
    QTest::addColumn<int>("count");

    QTest::newRow("empty") << Points{} << 0;
    QTest::newRow("one") << Points{{5, 1}} << 1;
    QTest::newRow("sorted") << line_points(10, 0.0, 1.0) << 10;
    Points reversed = line_points(10, 0.0, 1.0);
    std::reverse(reversed.begin(), reversed.end());
    QTest::newRow("reversed") << reversed << 10;
    QTest::newRow("negatives") << Points{{-1, 1}, {-5, 2}, {3, 3}, {0, 4}, {-2.5, 5}} << 5;
    QTest::newRow("equal x") << Points{{2, 1}, {1, 2}, {2, 3}, {1, 4}, {2, 5}, {0, 6}} << 6;
    QTest::newRow("all equal") << Points{{7, 1}, {7, 2}, {7, 3}, {7, 4}} << 4;
    std::mt19937 generator(17);
    std::uniform_int_distribution<int> values(-20, 20);
    Points shuffled;
    for (int i = 0; i < kMaxPoints; ++i)
        shuffled.append({double(values(generator)), double(i)});
    QTest::newRow("64 with repeats") << shuffled << 64;
    QTest::newRow("only the first count") << Points{{3, 1}, {1, 2}, {2, 3}, {0, 4}} << 3;
    QTest::newRow("count past the table") << shuffled << 200;
    QTest::newRow("negative count") << reversed << -4;
}

void TestLoading::sortRawPoints()
{
    QFETCH(Points, points);
    QFETCH(int, count);

    RawData raw;
    std::memset(&raw, 0, sizeof raw);
    for (int i = 0; i < points.size(); ++i)
        raw.x[i] = points[i].x, raw.y[i] = points[i].y;
    sort_raw_points(&raw, count);

    const int n = std::max(0, std::min(count, int(kMaxPoints)));
    Points head, rest;
    for (int i = 0; i < points.size(); ++i)
        (i < n ? head : rest).append({raw.x[i], raw.y[i]});
    QVERIFY(ascending_x(head));
    QCOMPARE(sorted(head), sorted(points.mid(0, n)));
    QCOMPARE(rest, points.mid(n));
}

void TestLoading::sortSurvivesNaN()
{
    // A NaN compares false every way: the scans must still stay inside the
    // points, and no pair may be lost or split.
    RawData raw;
    std::memset(&raw, 0, sizeof raw);
    std::mt19937 generator(5);
    std::uniform_int_distribution<int> values(-9, 9);
    for (int i = 0; i < kMaxPoints; ++i) {
        raw.x[i] = i % 7 == 3 ? std::nan("") : double(values(generator));
        raw.y[i] = i;
    }
    const RawData before = raw;
    sort_raw_points(&raw, kMaxPoints);

    QVector<double> ys;
    for (int i = 0; i < kMaxPoints; ++i) {
        const int from = int(raw.y[i]);
        QVERIFY(from >= 0 && from < kMaxPoints);
        QVERIFY(std::isnan(before.x[from]) ? std::isnan(raw.x[i]) : raw.x[i] == before.x[from]);
        ys.append(raw.y[i]);
    }
    std::sort(ys.begin(), ys.end());
    for (int i = 0; i < kMaxPoints; ++i)
        QCOMPARE(ys[i], double(i));
}

void TestLoading::scaledTable_data()
{
    QTest::addColumn<double>("factor");
    QTest::newRow("factor 0: flat line") << 0.0;
    QTest::newRow("factor 0.5") << 0.5;
    QTest::newRow("negative factor") << -2.0;
}

void TestLoading::scaledTable()
{
    QFETCH(double, factor);

    writeFile(QStringLiteral("load_test.tbl"),
              table_text("SCALED", "#conversion factor\n " + number(factor) + "\n"));
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    answerer.answer(QStringLiteral("OK")); // a second box would be noted
    QCOMPARE(loadChannel(0, answerer), short(0));

    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen()[0].text,
             QStringLiteral("Table will be converted to an INTERP table on save.\n"
                            "The newly read table is a SCALED table type"));
    const TableInfo &info = record_->table_info;
    QCOMPARE(info.tbl_type, int16_t(TBL_INTERPOLATION));
    QCOMPARE(raw_points(info.dim.table_poly[0]), (Points{{0.0, 0.0}, {100.0, factor * 100.0}}));
    // No fit: the coefficients stay as the file left them.
    QCOMPARE(info.dim.table_poly[0].num_coeff, int16_t(0));
    QCOMPARE(record_->long_table.count, int16_t(2));
    QCOMPARE(record_->long_table.x[1], 100.0);
    QCOMPARE(record_->long_table.y[1], factor * 100.0);
}

void TestLoading::polynomialRangeAllEmpty()
{
    writeFile(QStringLiteral("load_test.tbl"),
              table_text("POLYNOMIAL_RANGE",
                         "RANGE=3 MIN=0 MAX=100 BIAS=0 GAIN=1.0 \nRANGE=5 MIN=0 MAX=10 \n"));
    host_path("/cell/tables/load_test.tbl", record_->tbl_file, sizeof record_->tbl_file);
    std::memset(&record_->long_table, 0x5a, sizeof record_->long_table);
    const LongTable before = record_->long_table;

    QCOMPARE(load_table(record_.get()), 0);
    QCOMPARE(record_->table_info.tbl_type, int16_t(TBL_POLYNOMIAL_RANGE));
    QVERIFY2(std::memcmp(&before, &record_->long_table, sizeof before) == 0,
             "long_table must stay untouched");
    QCOMPARE(record_->table_info.range_index, int16_t(3)); // as read
}

void TestLoading::polynomialRangeFirstFilled()
{
    writeFile(QStringLiteral("load_test.tbl"),
              table_text("POLYNOMIAL_RANGE",
                         "RANGE=1 MIN=0 MAX=100 \nRANGE=4 C0=1 C1=2 MIN=0 MAX=50 \n"
                         "RANGE=6 C0=5 MIN=0 MAX=10 \n"));
    DialogAnswerer answerer;
    QCOMPARE(loadChannel(0, answerer), short(0));
    QCOMPARE(record_->table_info.range_index, int16_t(4));
    const LongTable &table = record_->long_table;
    QVERIFY(table.count >= 2);
    QCOMPARE(table.x[table.count - 1], 50.0);
    for (int i = 0; i < table.count; ++i)
        QVERIFY(near(table.y[i], 1.0 + 2.0 * table.x[i]));
}

void TestLoading::polynomialRangeAfterRecord_data()
{
    QTest::addColumn<QByteArray>("ranges");
    QTest::addColumn<int>("cal_mode");

    const QByteArray two_ranges = "RANGE=0 C0=1 C1=3 C2=0.0001 MIN=0 MAX=300 BIAS=0 GAIN=1.0 \n"
                                  "RANGE=1 C0=0.1 C1=0.3 MIN=0 MAX=30 \n";
    QTest::newRow("As-Found") << two_ranges << int(CAL_AS_FOUND);
    QTest::newRow("Verification") << two_ranges << int(CAL_VERIFICATION);
    QTest::newRow("Re-use, history only") << two_ranges << int(CAL_REUSE);
    QTest::newRow("from 10, a higher range") << QByteArray("RANGE=0 C0=-2 C1=0.5 MIN=10 MAX=60 \n"
                                                           "RANGE=5 C1=2 \n")
                                             << int(CAL_AS_FOUND);
}

// A range table read from its table file has no points of its own.  A
// record of the rows captured on a sensor that agrees with its table must
// not change how the channel looks when the record is loaded back.
void TestLoading::polynomialRangeAfterRecord()
{
    QFETCH(QByteArray, ranges);
    QFETCH(int, cal_mode);
    writeFile(QStringLiteral("load_test.tbl"), table_text("POLYNOMIAL_RANGE", ranges));
    DialogAnswerer answerer;
    QCOMPARE(loadChannel(0, answerer), short(0));
    const LongTable before = record_->long_table;
    const int16_t range = record_->table_info.range_index;
    QVERIFY(before.count >= 2);
    record_->new_long_table = before; // the rows, captured at their own values

    if (cal_mode == CAL_REUSE)
        save_history(record_.get(), uint16_t(cal_mode));
    else
        save_calibration(record_.get(), uint16_t(cal_mode));
    QCOMPARE(loadChannel(0, answerer), short(0));

    QVERIFY2(record_->table_info.last_cal > 1699956000, "loaded from the record");
    QCOMPARE(record_->table_info.range_index, range);
    const LongTable &after = record_->long_table;
    QCOMPARE(after.count, before.count);
    QCOMPARE(after.x[after.count - 1], before.x[before.count - 1]);
    Points was, is;
    for (int i = 0; i < before.count; ++i) {
        was.append({before.x[i], before.y[i]});
        is.append({after.x[i], after.y[i]});
    }
    QCOMPARE(is, was);
    QVERIFY(answerer.seen().isEmpty());
}

void TestLoading::firstFilledRange_data()
{
    QTest::addColumn<QVector<int>>("num_coeff");
    QTest::addColumn<int>("range");

    QTest::newRow("none") << QVector<int>{0, 0, 0, 0, 0, 0, 0, 0} << -1;
    QTest::newRow("first") << QVector<int>{3, 0, 2, 0, 0, 0, 0, 0} << 0;
    QTest::newRow("third") << QVector<int>{0, 0, 2, 4, 0, 0, 0, 0} << 2;
    QTest::newRow("last") << QVector<int>{0, 0, 0, 0, 0, 0, 0, 1} << 7;
    QTest::newRow("negative is not filled") << QVector<int>{-1, -8, 0, 0, 0, 2, 0, 0} << 5;
}

void TestLoading::firstFilledRange()
{
    QFETCH(QVector<int>, num_coeff);
    QFETCH(int, range);

    auto table = std::make_unique<TableInfo>();
    for (int r = 0; r < kMaxRanges; ++r)
        table->dim.table_poly[r].num_coeff = static_cast<int16_t>(num_coeff[r]);
    QCOMPARE(first_filled_range(table.get()), range);
}

void TestLoading::polynomialRefit()
{
    // An archived POLYNOMIAL without coefficients, range 3: the line fitted
    // to range 0's points goes to range 3, one coefficient slot per point.
    writeFile(QStringLiteral("load_test.save"),
              archive_record("POLYNOMIAL", " 3 ", {{3, 35}, {1, 15}, {2, 25}}));
    DialogAnswerer answerer;
    QCOMPARE(loadChannel(0, answerer), short(0));
    QVERIFY(answerer.seen().isEmpty());
    const TableInfo &info = record_->table_info;
    QCOMPARE(info.tbl_type, int16_t(TBL_POLYNOMIAL));
    QCOMPARE(info.dim.table_poly[3].num_coeff, int16_t(3));
    QVERIFY(near(info.dim.table_poly[3].coeff[0], 5.0));
    QVERIFY(near(info.dim.table_poly[3].coeff[1], 10.0));
    QCOMPARE(info.dim.table_poly[3].coeff[2], 0.0);
    QCOMPARE(info.dim.table_poly[0].num_coeff, int16_t(0));
    QCOMPARE(raw_points(info.dim.table_poly[0]), (Points{{1, 15}, {2, 25}, {3, 35}}));
}

void TestLoading::polynomialCoefficientsStand()
{
    writeFile(QStringLiteral("load_test.tbl"),
              table_text("POLYNOMIAL", coefficients_data({1.5, 2.0, 0.25})));
    DialogAnswerer answerer;
    QCOMPARE(loadChannel(0, answerer), short(0));
    const TablePoly &range0 = record_->table_info.dim.table_poly[0];
    QCOMPARE(range0.num_coeff, int16_t(3));
    QCOMPARE(range0.coeff[0], 1.5);
    QCOMPARE(range0.coeff[1], 2.0);
    QCOMPARE(range0.coeff[2], 0.25);
    QVERIFY(record_->long_table.count >= 2);
    const double x = record_->long_table.x[1];
    QVERIFY(near(record_->long_table.y[1], 1.5 + 2.0 * x + 0.25 * x * x));
}

// ---------------------------------------------------------------- pairs

void TestLoading::comparePair_data()
{
    QTest::addColumn<int>("save_type");
    QTest::addColumn<int>("tbl_type");
    QTest::addColumn<int>("save_count"); // raw_data.count of range 0
    QTest::addColumn<int>("tbl_count");
    QTest::addColumn<int>("save_coeffs"); // num_coeff of range 0
    QTest::addColumn<int>("tbl_coeffs");
    QTest::addColumn<QString>("stem");    // the paths are <stem>.tbl and <stem>.save
    QTest::addColumn<QString>("message"); // empty: no box
    QTest::addColumn<bool>("logged");

    QTest::newRow("types differ, counts too")
        << 0 << 1 << 3 << 4 << 2 << 3 << "/t/types"
        << "</t/types.tbl> table type differs from </t/types.save> " << false;
    QTest::newRow("interpolation counts differ")
        << 0 << 0 << 3 << 4 << 0 << 0 << "/t/counts"
        << "/t/counts.tbl pts diff from /t/counts.save ADJUST cal" << true;
    QTest::newRow("interpolation, same count") << 0 << 0 << 5 << 5 << 1 << 2 << "/t/same"
                                               << "" << false;
    QTest::newRow("polynomial coefficient counts differ")
        << 1 << 1 << 3 << 3 << 2 << 3 << "/t/coeffs"
        << "/t/coeffs.tbl num coeff of polynomial differ from /t/coeffs.save" << false;
    QTest::newRow("polynomial, only point counts differ") << 1 << 1 << 3 << 9 << 4 << 4 << "/t/poly"
                                                          << "" << false;
    QTest::newRow("range tables not compared") << 7 << 7 << 3 << 9 << 4 << 2 << "/t/range"
                                               << "" << false;
    QTest::newRow("hyperbolic not compared") << 6 << 6 << 3 << 9 << 4 << 2 << "/t/hyper"
                                             << "" << false;
    const QString stem = QStringLiteral("/t/") + QString(60, QLatin1Char('p'));
    QTest::newRow("long paths cut")
        << 0 << 0 << 3 << 4 << 0 << 0 << stem
        << (stem + ".tbl pts diff from " + stem + ".save ADJUST cal").left(119) << true;
    const QString other = QStringLiteral("/t/") + QString(60, QLatin1Char('q'));
    QTest::newRow("long paths cut, type message")
        << 0 << 2 << 3 << 3 << 0 << 0 << other
        << ("<" + other + ".tbl> table type differs from <" + other + ".save> ").left(119) << false;
}

void TestLoading::comparePair()
{
    QFETCH(int, save_type);
    QFETCH(int, tbl_type);
    QFETCH(int, save_count);
    QFETCH(int, tbl_count);
    QFETCH(int, save_coeffs);
    QFETCH(int, tbl_coeffs);
    QFETCH(QString, stem);
    QFETCH(QString, message);
    QFETCH(bool, logged);

    auto saved = std::make_unique<TableInfo>();
    auto tabled = std::make_unique<TableInfo>();
    saved->tbl_type = static_cast<int16_t>(save_type);
    tabled->tbl_type = static_cast<int16_t>(tbl_type);
    saved->dim.table_poly[0].raw_data.count = static_cast<int16_t>(save_count);
    tabled->dim.table_poly[0].raw_data.count = static_cast<int16_t>(tbl_count);
    saved->dim.table_poly[0].num_coeff = static_cast<int16_t>(save_coeffs);
    tabled->dim.table_poly[0].num_coeff = static_cast<int16_t>(tbl_coeffs);
    saved->dim.table_poly[0].raw_data.x[0] = 1.0; // values are never compared
    const QByteArray tbl_path = (stem + ".tbl").toLatin1();
    const QByteArray save_path = (stem + ".save").toLatin1();

    // One answer more than expected: a box wrongly shown is noted, not waited on.
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    if (!message.isEmpty())
        answerer.answer(QStringLiteral("OK"));
    compare_table_pair(saved.get(), tabled.get(), tbl_path.constData(), save_path.constData());

    QCOMPARE(answerer.seen().size(), message.isEmpty() ? 0 : 1);
    if (!message.isEmpty()) {
        QCOMPARE(answerer.seen()[0].title, QStringLiteral("Information"));
        QCOMPARE(answerer.seen()[0].text, message);
    }
    const QString log_line = "<" + tbl_path + "> data does not agree with <" + save_path +
                             "> data| not the same number of points";
    QCOMPARE(cell_->hostLog().contains(log_line), logged);
}

void TestLoading::archivePair_data()
{
    QTest::addColumn<QByteArray>("archive");
    QTest::addColumn<QByteArray>("table"); // empty: no .tbl
    QTest::addColumn<QString>("message");  // as far as the paths: "%1" .tbl, "%2" .save
    QTest::addColumn<Points>("points");
    QTest::addColumn<int>("type");
    QTest::addColumn<QByteArray>("description");
    QTest::addColumn<QByteArray>("mua");

    const Points archived{{1, 11}, {2, 22}, {3, 33}};
    const QByteArray archive = archive_record("INTERPOLATION", " 0 ", archived);
    QTest::newRow("archive without table")
        << archive << QByteArray() << "" << archived << 0 << QByteArray("ARCHIVED DESC")
        << QByteArray("archive mua");
    QTest::newRow("same count, other values: silent, archive wins")
        << archive << table_text("INTERPOLATION", points_data({{5, 50}, {6, 60}, {7, 70}})) << ""
        << archived << 0 << QByteArray("LOAD TEST DESC") << QByteArray("table mua");
    QTest::newRow("point counts differ")
        << archive << table_text("INTERPOLATION", points_data(line_points(4, 1.0, 1.0)))
        << "%1 pts diff from %2 ADJUST cal" << archived << 0 << QByteArray("LOAD TEST DESC")
        << QByteArray("table mua");
    QTest::newRow("types differ: only the type message")
        << archive << table_text("POLYNOMIAL", coefficients_data({1.0, 2.0}))
        << "<%1> table type differs from <%2> " << archived << 0 << QByteArray("LOAD TEST DESC")
        << QByteArray("table mua");
    QTest::newRow("archive without a type takes the table's")
        << archive_record("", " 0 ", archived)
        << table_text("INTERPOLATION", points_data({{5, 50}, {6, 60}, {7, 70}})) << "" << archived
        << 0 << QByteArray("LOAD TEST DESC") << QByteArray("table mua");
    const QByteArray polynomial = archive_record("POLYNOMIAL", " 0 1 2 ", archived);
    QTest::newRow("coefficient counts differ")
        << polynomial << table_text("POLYNOMIAL", coefficients_data({1.0, 2.0, 3.0}))
        << "%1 num coeff of polynomial differ from %2" << archived << 1
        << QByteArray("LOAD TEST DESC") << QByteArray("table mua");
    QTest::newRow("unreadable table: archive stands")
        << archive << QByteArray("#type_code\nNO_SUCH_TYPE\n") << "" << archived << 0
        << QByteArray("ARCHIVED DESC") << QByteArray("archive mua");
}

void TestLoading::archivePair()
{
    QFETCH(QByteArray, archive);
    QFETCH(QByteArray, table);
    QFETCH(QString, message);
    QFETCH(Points, points);
    QFETCH(int, type);
    QFETCH(QByteArray, description);
    QFETCH(QByteArray, mua);

    // An older record first: only the newest counts.
    writeFile(QStringLiteral("load_test.save"),
              archive_record("INTERPOLATION", " 0 ", line_points(6, 0.0, 1.0)) + archive);
    if (!table.isEmpty())
        writeFile(QStringLiteral("load_test.tbl"), table);
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    if (!message.isEmpty())
        answerer.answer(QStringLiteral("OK"));
    QCOMPARE(loadChannel(0, answerer), short(0));

    QCOMPARE(answerer.seen().size(), message.isEmpty() ? 0 : 1);
    if (!message.isEmpty()) {
        const QString expected = message.arg(tablePath(QStringLiteral("load_test.tbl")),
                                             tablePath(QStringLiteral("load_test.save")));
        QCOMPARE(answerer.seen()[0].text, expected.left(119));
    }
    const TableInfo &info = record_->table_info;
    QCOMPARE(int(info.tbl_type), type);
    QCOMPARE(raw_points(info.dim.table_poly[0]), points);
    QCOMPARE(QByteArray(info.tbl_desc), description);
    QCOMPARE(QByteArray(info.mua_instance_name), mua);
}

// ---------------------------------------------------------------- working blocks

void TestLoading::clearNewTable()
{
    for (TablePoly &range : record_->new_table_poly) {
        range.num_coeff = 5;
        range.coeff[1] = 2.5;
        range.raw_data.count = 12;
        range.raw_data.x[10] = 1.0;
        range.raw_data.y[20] = 1.0;
    }
    clear_new_table(record_.get());
    for (int r = 0; r < kMaxRanges; ++r) {
        const TablePoly &range = record_->new_table_poly[r];
        QCOMPARE(range.raw_data.count, int16_t(0));
        for (int i = 0; i < kMaxPoints; ++i) {
            QCOMPARE(range.raw_data.x[i], kUnusedPoint);
            QCOMPARE(range.raw_data.y[i], kUnusedPoint);
        }
        // Only range 0 is zeroed beyond its points.
        QCOMPARE(range.num_coeff, int16_t(r == 0 ? 0 : 5));
        QCOMPARE(range.coeff[1], r == 0 ? 0.0 : 2.5);
    }
}

void TestLoading::clearNewLongTable()
{
    std::memset(&record_->new_long_table, 0x33, sizeof record_->new_long_table);
    record_->long_table.x[0] = 4.0;
    clear_new_long_table(record_.get());
    const LongTable zero{};
    QVERIFY(std::memcmp(&zero, &record_->new_long_table, sizeof zero) == 0);
    QCOMPARE(record_->long_table.x[0], 4.0);
}

QTEST_MAIN(TestLoading)
#include "tst_loading.moc"
