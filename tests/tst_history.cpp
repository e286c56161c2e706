// The calibration history: a record of each cal_mode to the byte, the
// POLYNOMIAL_RANGE sibling, the sanitising of texts, an archive that only
// grows, and the adoption of a new table with the outgoing one kept.
#include "history.h"

#include "dialoganswerer.h"
#include "simcell.h"
#include "writer_fixture.h"

#include <orvane/strings.h>
#include <orvane/tables.h>

#include <QDir>
#include <QDirIterator>
#include <QtTest>

using namespace writer_fixture;

namespace
{

// A record of an INTERPOLATION table with four captured points, the third
// of them flagged new, and texts that need sanitising.
void build_record(VREL_CFG &r, const QString &folder)
{
    TableInfo &t = r.table_info;
    set_text(t.tbl_name, "  ENG_T1 ");
    t.tbl_type = TBL_INTERPOLATION;
    set_text(t.user_comment, "Don't \"touch\"\nC:\\path");
    set_text(t.tbl_desc, "Inlet \"air\"\ntemp");
    t.y_intercept_bias = 0.1;
    t.y_intercept_tol = 0.5;
    t.linearity_bias = 0.2;
    t.linearity_tol = 1.0;
    t.hysteresis_bias = 0.0;
    t.hysteresis_tolerance = 0.75;
    // Values of the record that the fixed band texts stand in for.
    t.no_adjust_tol = 9.0;
    t.oot_tol = 9.0;
    t.soot_tol = 9.0;
    set_text(t.sensor_model, "PT100 ");
    set_text(t.sensor_sn, "\tSN-4711");
    set_text(t.sensor_range_units, "degC");
    t.sensor_range_lower_limit = -50.0;
    t.sensor_range_upper_limit = 150.0;
    t.min_range = 0.0;
    t.max_range = 150.125;
    set_text(t.technician, "J. Doe");
    set_text(t.working_standard, "WS-17");
    set_text(t.x_units, "mV");
    set_text(t.tbl_units, "degC");
    set_text(t.mua_instance_name, "MUA-1");
    t.range_index = 0;
    r.new_table_poly[0].num_coeff = 2;
    r.new_table_poly[0].coeff[0] = 0.1;
    r.new_table_poly[0].coeff[1] = 4.75;
    t.dim.table_poly[0].raw_data.count = 4;
    t.point_flags[2] = POINT_NEW;
    const double x[] = {0.0, 10.5, 21.0, 31.25};
    const double y[] = {0.0, 50.0, 100.0, 150.125};
    r.new_long_table.count = 4;
    for (int i = 0; i < 4; ++i) {
        r.new_long_table.x[i] = x[i];
        r.new_long_table.y[i] = y[i];
    }
    const QByteArray base = (folder + QStringLiteral("/ENG_T1")).toLocal8Bit();
    set_text(r.save_file, (base + ".save").constData());
    set_text(r.tbl_file, (base + ".tbl").constData());
    set_text(r.old_file, (base + ".old").constData());
}

// A POLYNOMIAL_RANGE table: range 0 and range 3 in force, the rest empty.
void build_polynomial_range(VREL_CFG &r, const QString &folder)
{
    build_record(r, folder);
    TableInfo &t = r.table_info;
    set_text(t.tbl_name, "PR_1");
    t.tbl_type = TBL_POLYNOMIAL_RANGE;
    t.point_flags[2] = POINT_TABLE;
    TablePoly &range0 = t.dim.table_poly[0];
    range0.num_coeff = 2;
    range0.coeff[0] = 0.0;
    range0.coeff[1] = 1.5;
    range0.raw_data.count = 2;
    range0.raw_data.x[1] = 10.0;
    range0.raw_data.y[1] = 15.0;
    TablePoly &range3 = t.dim.table_poly[3];
    range3.num_coeff = 3;
    range3.coeff[0] = 1.0;
    range3.coeff[1] = 2.0;
    range3.coeff[2] = 3.25;
    range3.raw_data.count = 1;
    range3.raw_data.x[0] = 5.125;
    range3.raw_data.y[0] = -38.0625;
}

struct ModeCase {
    const char *name;
    uint16_t cal_mode;
    uint16_t tol_state;
    const char *golden;
};

const ModeCase mode_cases[] = {
    {"AS_FOUND, state 0 NOADJ", CAL_AS_FOUND, TOL_NOADJ, "as_found.save"},
    {"VERIFICATION, OOA", CAL_VERIFICATION, TOL_OOA, "verification.save"},
    {"ADJUSTED, OOT", CAL_ADJUSTED, TOL_OOT, "adjusted.save"},
    {"REUSE, SOOT", CAL_REUSE, TOL_SOOT, "reuse.save"},
    {"auto_cal with its dyno_cal section", CAL_AUTO_CAL, 7, "auto_cal.save"},
};

// Every entry named exactly `name` anywhere under folder.
QStringList files_named(const QString &folder, const QString &name)
{
    QStringList found;
    QDirIterator it(folder, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        if (QFileInfo(path).fileName() == name)
            found << path;
    }
    return found;
}

} // namespace

class TstHistory : public QObject
{
    Q_OBJECT

  private slots:
    void initTestCase();
    void init();
    void recordOfEachMode_data();
    void recordOfEachMode();
    void readBack_data();
    void readBack();
    void readBackPolynomialRange();
    void polynomialRangeSibling_data();
    void polynomialRangeSibling();
    void siblingOfTheSameSecondIsRewritten();
    void sanitisesTheRecordTexts();
    void descriptionCutWithinItsField_data();
    void descriptionCutWithinItsField();
    void damagedCountsStayWithinTheTable();
    void archiveOnlyGrows();
    void invalidTypeWritesNothing();
    void unopenableArchiveWritesNothing();
    void adjustedKeepsOutgoingTable();
    void asFoundLeavesTableFile();
    void historyOnlyChangesNothingElse();
    void inactiveTableRecordsNothing();
    void hostileTableNamesRunNothing_data();
    void hostileTableNamesRunNothing();
    void unwritableTableFileStands();
    // Last: once linked, the version segment stays linked for the process.
    void versionLineWhenHostIsUp_data();
    void versionLineWhenHostIsUp();

  private:
    QString tables() const { return root_.path(QStringLiteral("/cell/tables")); }
    QByteArray appendOne(VREL_CFG &record, uint16_t cal_mode, int *result = nullptr);

    SimCell root_; // a private root and cell instance; started only for the version
};

void TstHistory::initTestCase()
{
    fix_time();
    // The dyno_cal type words are the host's list 2.
    QCOMPARE(string_associate_indexN("ENGINE_DYNO", 7, 2), short(0));
}

void TstHistory::init()
{
    QDir(tables()).removeRecursively();
    QVERIFY(QDir().mkpath(tables()));
}

QByteArray TstHistory::appendOne(VREL_CFG &record, uint16_t cal_mode, int *result)
{
    const int r = append_history_record(record.save_file, &record, cal_mode);
    if (result)
        *result = r;
    return file_bytes(QString::fromLocal8Bit(record.save_file));
}

void TstHistory::recordOfEachMode_data()
{
    add_case_rows(mode_cases);
}

void TstHistory::recordOfEachMode()
{
    QFETCH(int, which);
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    const ModeCase &c = mode_cases[which];
    auto record = zeroed_record();
    build_record(*record, tables());
    record->table_info.tol_state = c.tol_state;
    if (c.cal_mode == CAL_AUTO_CAL) {
        DynoCal &dyno = record->table_info.dyno_cal;
        dyno.dyno_cal_type = 7;
        dyno.count = 2;
        dyno.x[0] = 1.0;
        dyno.y[0] = 10.0;
        dyno.x[1] = 2.5;
        dyno.y[1] = -20.75;
    }
    int result = -2;

    COMPARE_GOLDEN(appendOne(*record, c.cal_mode, &result), QString::fromLatin1(c.golden));
    QCOMPARE(result, 0);
    QCOMPARE(QByteArray(record->table_info.tol_units), QByteArray("PCT"));
    QCOMPARE(record->table_info.tbl_tol, c.tol_state == TOL_OOT    ? 1.0
                                         : c.tol_state == TOL_SOOT ? 2.0
                                                                   : 0.25);
    QVERIFY2(root_.hostLog().contains(QString::fromLocal8Bit(record->save_file)),
             "put_rcs_specs on the archive");
}

void TstHistory::readBack_data()
{
    recordOfEachMode_data();
}

// The host's reader takes the newest record back into a table block.
void TstHistory::readBack()
{
    QFETCH(int, which);
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    const ModeCase &c = mode_cases[which];
    auto record = zeroed_record();
    build_record(*record, tables());
    record->table_info.tol_state = c.tol_state;
    record->table_info.dyno_cal.count = 1;
    record->table_info.dyno_cal.x[0] = 3.5;
    record->table_info.dyno_cal.y[0] = 7.25;
    appendOne(*record, CAL_AS_FOUND); // an older record, not the one read
    appendOne(*record, c.cal_mode);
    void *records[500] = {};
    int64_t scratch[500] = {};

    QCOMPARE(read_archive_file_poly(1, record->save_file, records, scratch), short(1));

    const TableInfo &read = *static_cast<const TableInfo *>(records[0]);
    const TableInfo &t = record->table_info;
    QCOMPARE(read.last_cal, int64_t(kNow));
    // The mode and state words are the record's; the loaded block starts
    // from 0 for both, as every load does.
    QCOMPARE(read.cal_mode, uint16_t(0));
    QCOMPARE(read.tol_state, uint16_t(0));
    QCOMPARE(QByteArray(read.tbl_name), QByteArray("ENG_T1"));
    QCOMPARE(read.tbl_type, int16_t(TBL_INTERPOLATION));
    QCOMPARE(read.tbl_tol, t.tbl_tol);
    QCOMPARE(QByteArray(read.user_comment), QByteArray("Dont touchC:path"));
    // The band pairs are the fixed text, not the record's values.
    QCOMPARE(read.no_adjust_tol, 0.25);
    QCOMPARE(read.oot_tol, 1.0);
    QCOMPARE(read.soot_tol, 2.0);
    QCOMPARE(read.y_intercept_bias, 0.1);
    QCOMPARE(read.hysteresis_tolerance, 0.75);
    QCOMPARE(QByteArray(read.sensor_sn), QByteArray("SN-4711"));
    QCOMPARE(read.sensor_range_lower_limit, -50.0);
    QCOMPARE(read.max_range, 150.125);
    QCOMPARE(QByteArray(read.working_standard), QByteArray("WS-17"));
    QCOMPARE(QByteArray(read.tbl_units), QByteArray("degC"));
    QCOMPARE(QByteArray(read.mua_instance_name), QByteArray("MUA-1"));
    QCOMPARE(QByteArray(read.tbl_desc), QByteArray("Inlet airtemp"));
    const TablePoly &range = read.dim.table_poly[0];
    QCOMPARE(range.num_coeff, int16_t(2));
    QCOMPARE(range.coeff[1], 4.75);
    // Every point, the flagged one too.
    QCOMPARE(range.raw_data.count, int16_t(4));
    QCOMPARE(range.raw_data.x[2], 21.0);
    QCOMPARE(range.raw_data.y[3], 150.125);
    QCOMPARE(read.dyno_cal.count, int16_t(c.cal_mode == CAL_AUTO_CAL ? 1 : 0));
    if (c.cal_mode == CAL_AUTO_CAL)
        QCOMPARE(read.dyno_cal.y[0], 7.25);
}

void TstHistory::readBackPolynomialRange()
{
    auto record = zeroed_record();
    build_polynomial_range(*record, tables());
    appendOne(*record, CAL_ADJUSTED);
    void *records[500] = {};
    int64_t scratch[500] = {};

    QCOMPARE(read_archive_file_poly(1, record->save_file, records, scratch), short(1));

    const TableInfo &read = *static_cast<const TableInfo *>(records[0]);
    QCOMPARE(read.tbl_type, int16_t(TBL_POLYNOMIAL_RANGE));
    QCOMPARE(read.dim.table_poly[0].coeff[1], 1.5);
    QCOMPARE(read.dim.table_poly[0].raw_data.count, int16_t(2));
    QCOMPARE(read.dim.table_poly[0].raw_data.y[1], 15.0);
    QCOMPARE(read.dim.table_poly[3].num_coeff, int16_t(3));
    QCOMPARE(read.dim.table_poly[3].coeff[2], 3.25);
    QCOMPARE(read.dim.table_poly[3].raw_data.y[0], -38.0625);
    // A range never filled reads as the default line.
    QCOMPARE(read.dim.table_poly[5].num_coeff, int16_t(2));
    QCOMPARE(read.dim.table_poly[5].coeff[1], 1.0);
    QCOMPARE(read.dim.table_poly[5].raw_data.count, int16_t(3));
    QCOMPARE(read.range_index, int16_t(0));
}

void TstHistory::polynomialRangeSibling_data()
{
    QTest::addColumn<QString>("locale");
    for (const QString &locale : station_locales())
        QTest::newRow(qPrintable(locale)) << locale;
}

void TstHistory::polynomialRangeSibling()
{
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    auto record = zeroed_record();
    build_polynomial_range(*record, tables());
    record->table_info.tol_state = TOL_OOT;

    COMPARE_GOLDEN(appendOne(*record, CAL_ADJUSTED), QStringLiteral("polynomial_range.save"));
    const QString sibling = tables() + QStringLiteral("/PR_1-1700000000.poly_range");
    COMPARE_GOLDEN(file_bytes(sibling), QStringLiteral("PR_1-1700000000.poly_range"));
    QVERIFY2(root_.hostLog().contains(sibling), "put_rcs_specs on the sibling");
    // The empty ranges were completed in the table in force as well.
    const TablePoly &filled = record->table_info.dim.table_poly[6];
    QCOMPARE(filled.num_coeff, int16_t(2));
    QCOMPARE(filled.range, int16_t(6));
    QCOMPARE(filled.raw_data.count, int16_t(3));
    QCOMPARE(filled.raw_data.y[2], 2.0);
    QCOMPARE(record->table_info.dim.table_poly[3].num_coeff, int16_t(3));
}

void TstHistory::siblingOfTheSameSecondIsRewritten()
{
    auto record = zeroed_record();
    build_polynomial_range(*record, tables());
    appendOne(*record, CAL_AS_FOUND);
    record->table_info.dim.table_poly[3].coeff[2] = 6.5;

    const QByteArray archive = appendOne(*record, CAL_VERIFICATION);

    QCOMPARE(archive.count("\"/cell/tables/PR_1-1700000000.poly_range\""), 2);
    QCOMPARE(QDir(tables()).entryList({QStringLiteral("*.poly_range")}, QDir::Files),
             QStringList{QStringLiteral("PR_1-1700000000.poly_range")});
    const QByteArray sibling = file_bytes(tables() + QStringLiteral("/PR_1-1700000000.poly_range"));
    QVERIFY(sibling.contains("\n \" 3 1 2 6.5 \"  \\\n"));
    QVERIFY(!sibling.contains(" 3 1 2 3.25 "));
}

void TstHistory::sanitisesTheRecordTexts()
{
    auto record = zeroed_record();
    build_record(*record, tables());
    TableInfo &t = record->table_info;
    set_text(t.user_comment, "  \"'\\\n  ");
    set_text(t.tbl_desc, " \"\" \n");

    appendOne(*record, CAL_AS_FOUND);

    QCOMPARE(QByteArray(t.user_comment), QByteArray("none"));
    QCOMPARE(QByteArray(t.tbl_desc), QByteArray("none"));
    QCOMPARE(QByteArray(t.tbl_name), QByteArray("ENG_T1"));
    QCOMPARE(QByteArray(t.sensor_model), QByteArray("PT100"));
    QCOMPARE(QByteArray(t.sensor_sn), QByteArray("SN-4711"));

    set_text(t.user_comment, "Don't \"touch\"\nC:\\path");
    const QByteArray second = appendOne(*record, CAL_AS_FOUND);
    QCOMPARE(QByteArray(t.user_comment), QByteArray("Dont touchC:path"));
    QVERIFY(second.contains("\\\n   \"Dont touchC:path\" \\\n"));
}

void TstHistory::descriptionCutWithinItsField_data()
{
    QTest::addColumn<QByteArray>("description");
    QTest::addColumn<QByteArray>("kept");
    // 32 characters fill the field with no room for its end: 31 are kept.
    QTest::newRow("32 characters") << QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZ012345")
                                   << QByteArray("ABCDEFGHIJKLMNOPQRSTUVWXYZ01234");
    QTest::newRow("32 with a quote among them") << QByteArray("ABCDEFGHIJKLMNO\"QRSTUVWXYZ012345")
                                                << QByteArray("ABCDEFGHIJKLMNOQRSTUVWXYZ012345");
    QTest::newRow("newline and quotes") << QByteArray("a\"b\nc\"") << QByteArray("abc");
}

void TstHistory::descriptionCutWithinItsField()
{
    QFETCH(QByteArray, description);
    QFETCH(QByteArray, kept);
    auto record = zeroed_record();
    build_record(*record, tables());
    TableInfo &t = record->table_info;
    // The description may fill its whole field and run on, unended.
    std::memcpy(t.tbl_desc, description.constData(), size_t(qMin(description.size(), 32)));
    if (description.size() < 32)
        t.tbl_desc[description.size()] = '\0';

    const QByteArray bytes = appendOne(*record, CAL_AS_FOUND);

    QCOMPARE(QByteArray(t.tbl_desc), kept);
    QCOMPARE(QByteArray(t.working_standard), QByteArray("WS-17"));
    QVERIFY(bytes.contains("\"MUA-1\" \"" + kept + "\"   \\\n"));
}

void TstHistory::damagedCountsStayWithinTheTable()
{
    auto record = zeroed_record();
    build_record(*record, tables());
    TableInfo &t = record->table_info;
    t.range_index = -1; // the host may leave it so
    t.dim.table_poly[0].raw_data.count = -5;
    record->new_long_table.count = 300;
    t.dyno_cal.count = 99;
    int result = -2;

    const QByteArray bytes = appendOne(*record, CAL_AUTO_CAL, &result);

    QCOMPARE(result, 0);
    QVERIFY(bytes.contains(" \" -1 \"  \\\n")); // the index alone names no range
    QVERIFY(!bytes.contains("raw_data.x["));
    QCOMPARE(bytes.count("# channel->table_info.dyno_cal.x["), kMaxPoints);
    const QRegularExpression point_row(QStringLiteral("^   +[-+.e0-9]+ +[-+.e0-9]+( \\\\)?$"),
                                       QRegularExpression::MultilineOption);
    QCOMPARE(QString::fromLatin1(bytes).count(point_row), 2 * kMaxPoints);
}

void TstHistory::archiveOnlyGrows()
{
    auto record = zeroed_record();
    build_record(*record, tables());
    const QByteArray earlier("# an earlier record, kept as it is\n");
    QVERIFY(write_file(QString::fromLocal8Bit(record->save_file), earlier));

    const QByteArray first = appendOne(*record, CAL_AS_FOUND);
    const QByteArray second = appendOne(*record, CAL_VERIFICATION);

    QVERIFY(first.startsWith(earlier));
    QVERIFY(second.size() > first.size());
    QCOMPARE(second.left(first.size()), first);
    QVERIFY(second.mid(first.size())
                .startsWith("# The following comment lines describes the data in\n"));
}

void TstHistory::invalidTypeWritesNothing()
{
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    auto record = zeroed_record();
    build_record(*record, tables());
    record->table_info.tbl_type = -1; // 65535 taken unsigned
    record->unrecorded_changes = 1;
    record->pending_changes = 1;
    const QByteArray earlier("# earlier\n");
    const QString save = QString::fromLocal8Bit(record->save_file);
    QVERIFY(write_file(save, earlier));

    QCOMPARE(append_history_record(record->save_file, record.get(), CAL_AS_FOUND), -1);
    QCOMPARE(file_bytes(save), earlier);
    QCOMPARE(save_calibration(record.get(), CAL_AS_FOUND), 0);

    QCOMPARE(file_bytes(save), earlier);
    QVERIFY(answerer.allAnswered());
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, QStringLiteral("Information"));
    QCOMPARE(
        answerer.seen().first().text,
        QStringLiteral("Unable to update the %1 file - due to an invalid calibration table type")
            .arg(save));
    // The steps after the record run all the same.
    QCOMPARE(record->table_info.last_cal, int64_t(kNow));
    QCOMPARE(record->table_info.cal_mode, uint16_t(CAL_AS_FOUND));
    QCOMPARE(record->unrecorded_changes, uint16_t(0));
    QCOMPARE(record->pending_changes, uint16_t(0));
}

void TstHistory::unopenableArchiveWritesNothing()
{
    auto record = zeroed_record();
    build_polynomial_range(*record, tables());
    set_text(record->save_file,
             (tables() + QStringLiteral("/no/such/folder/PR_1.save")).toLocal8Bit().constData());

    QCOMPARE(append_history_record(record->save_file, record.get(), CAL_ADJUSTED), 0);

    QCOMPARE(QDir(tables()).entryList({QStringLiteral("*.poly_range")}, QDir::Files),
             QStringList());
    QCOMPARE(record->table_info.dim.table_poly[6].num_coeff, int16_t(0));
    // Only what comes before the open has happened.
    QCOMPARE(QByteArray(record->table_info.tol_units), QByteArray("PCT"));
    QCOMPARE(QByteArray(record->table_info.tbl_name), QByteArray("PR_1"));
    QCOMPARE(QByteArray(record->table_info.user_comment), QByteArray("Don't \"touch\"\nC:\\path"));
}

void TstHistory::adjustedKeepsOutgoingTable()
{
    auto record = zeroed_record();
    build_record(*record, tables());
    const QByteArray outgoing("#revision code\n@AUG07\n\n# the outgoing table\n");
    const QByteArray older("# a table adopted earlier\n");
    QVERIFY(write_file(QString::fromLocal8Bit(record->tbl_file), outgoing));
    QVERIFY(write_file(QString::fromLocal8Bit(record->old_file), older));
    record->table_info.tol_state = TOL_OOT;
    record->unrecorded_changes = 1;
    record->pending_changes = 1;
    record->new_long_table.y[1] = -5.0;

    QCOMPARE(save_calibration(record.get(), CAL_ADJUSTED), 0);

    QCOMPARE(file_bytes(QString::fromLocal8Bit(record->old_file)), older + outgoing);
    const QByteArray table = file_bytes(QString::fromLocal8Bit(record->tbl_file));
    QVERIFY(table.startsWith("#revision code\n@AUG07\n\n# user comment\nDont touchC:path\n\n"
                             "#   cal last adjusted on: Tue Nov 14 22:13:20 2023\n"));
    QVERIFY(table.endsWith("#number of points\n3\n\n#          mV         degC\n"
                           "      0.00000      0.00000\n     10.50000     -5.00000\n"
                           "     31.25000     150.12500\n"));
    const TableInfo &t = record->table_info;
    QCOMPARE(t.min_range, -5.0);
    QCOMPARE(t.max_range, 150.125);
    QCOMPARE(t.tbl_tol, 1.0);
    QCOMPARE(t.last_cal, int64_t(kNow));
    QCOMPARE(t.cal_mode, uint16_t(CAL_ADJUSTED));
    QCOMPARE(std::memcmp(t.dim.table_poly, record->new_table_poly, sizeof record->new_table_poly),
             0);
    QCOMPARE(std::memcmp(&record->long_table, &record->new_long_table, sizeof(LongTable)), 0);
    QCOMPARE(record->unrecorded_changes, uint16_t(0));
    QCOMPARE(record->pending_changes, uint16_t(0));
    QVERIFY(file_bytes(QString::fromLocal8Bit(record->save_file))
                .contains("'ADJUSTED' 'OOT' \"ENG_T1\""));
}

void TstHistory::asFoundLeavesTableFile()
{
    auto record = zeroed_record();
    build_record(*record, tables());
    const QByteArray table("# the table in force\n");
    QVERIFY(write_file(QString::fromLocal8Bit(record->tbl_file), table));
    record->table_info.last_cal = 1600000000;
    record->new_long_table.count = 0;

    QCOMPARE(save_calibration(record.get(), CAL_AS_FOUND), 0);

    QCOMPARE(file_bytes(QString::fromLocal8Bit(record->tbl_file)), table);
    QVERIFY(!QFile::exists(QString::fromLocal8Bit(record->old_file)));
    QCOMPARE(record->table_info.last_cal, int64_t(kNow));
    QCOMPARE(record->table_info.cal_mode, uint16_t(CAL_AS_FOUND));
    // With no points the starting values of the scan stand.
    QCOMPARE(record->table_info.min_range, 999999.0);
    QCOMPARE(record->table_info.max_range, -999999.0);
    QCOMPARE(record->table_info.dim.table_poly[0].num_coeff, int16_t(0));
}

void TstHistory::historyOnlyChangesNothingElse()
{
    auto record = zeroed_record();
    build_record(*record, tables());
    record->table_info.last_cal = 1600000000;
    record->table_info.cal_mode = CAL_VERIFICATION;
    record->unrecorded_changes = 1;
    record->pending_changes = 1;

    QCOMPARE(save_history(record.get(), CAL_REUSE), 0);

    QVERIFY(file_bytes(QString::fromLocal8Bit(record->save_file)).contains("'REUSE' 'NOADJ'"));
    QCOMPARE(record->table_info.last_cal, int64_t(1600000000));
    QCOMPARE(record->table_info.cal_mode, uint16_t(CAL_VERIFICATION));
    QCOMPARE(record->table_info.dim.table_poly[0].num_coeff, int16_t(0));
    QCOMPARE(record->table_info.max_range, 150.125);
    QVERIFY(!QFile::exists(QString::fromLocal8Bit(record->tbl_file)));
    QCOMPARE(record->unrecorded_changes, uint16_t(0));
    QCOMPARE(record->pending_changes, uint16_t(0));
}

void TstHistory::inactiveTableRecordsNothing()
{
    auto record = zeroed_record();
    build_record(*record, tables());
    set_text(record->table_info.tbl_name, "INACTIVE");
    record->unrecorded_changes = 1;
    record->pending_changes = 1;

    QCOMPARE(save_calibration(record.get(), CAL_ADJUSTED), 0);
    QCOMPARE(save_history(record.get(), CAL_REUSE), 0);

    QCOMPARE(QDir(tables()).entryList(QDir::Files), QStringList());
    QCOMPARE(record->table_info.last_cal, int64_t(0));
    QCOMPARE(record->table_info.cal_mode, uint16_t(0));
    QCOMPARE(record->unrecorded_changes, uint16_t(0));
    QCOMPARE(record->pending_changes, uint16_t(0));
}

void TstHistory::hostileTableNamesRunNothing_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("blanks") << QStringLiteral("ENG T1 old");
    QTest::newRow("quotes") << QStringLiteral("ENG\"T1'x");
    QTest::newRow("semicolon") << QStringLiteral("x; touch pwned;");
    QTest::newRow("command substitution") << QStringLiteral("$(touch pwned)");
    QTest::newRow("back quotes and redirection") << QStringLiteral("`touch pwned` > pwned");
}

void TstHistory::hostileTableNamesRunNothing()
{
    QFETCH(QString, name);
    const QString previous_dir = QDir::currentPath();
    QVERIFY(QDir::setCurrent(tables())); // where a shell would have made its file
    auto record = zeroed_record();
    build_record(*record, tables());
    const QString base = tables() + QLatin1Char('/') + name;
    set_text(record->tbl_file, (base + QStringLiteral(".tbl")).toLocal8Bit().constData());
    set_text(record->old_file, (base + QStringLiteral(".old")).toLocal8Bit().constData());
    const QByteArray outgoing("# the outgoing table of a hostile name\n");
    QVERIFY(write_file(base + QStringLiteral(".tbl"), outgoing));

    save_calibration(record.get(), CAL_ADJUSTED);
    QDir::setCurrent(previous_dir);

    QCOMPARE(file_bytes(base + QStringLiteral(".old")), outgoing);
    QVERIFY(file_bytes(base + QStringLiteral(".tbl")).startsWith("#revision code\n@AUG07\n"));
    QCOMPARE(files_named(root_.root(), QStringLiteral("pwned")).size(), 0);
    QCOMPARE(files_named(previous_dir, QStringLiteral("pwned")).size(), 0);
}

void TstHistory::unwritableTableFileStands()
{
    auto record = zeroed_record();
    build_record(*record, tables());
    const QString tbl = QString::fromLocal8Bit(record->tbl_file);
    const QByteArray in_force("# the table in force\n");
    QVERIFY(write_file(tbl, in_force));
    Unwritable guard(tbl);
    if (!guard.ok())
        QSKIP("this station cannot make a file unwritable");

    QCOMPARE(save_calibration(record.get(), CAL_ADJUSTED), 0);

    QCOMPARE(file_bytes(tbl), in_force);
    QCOMPARE(file_bytes(QString::fromLocal8Bit(record->old_file)), in_force);
    QVERIFY(file_bytes(QString::fromLocal8Bit(record->save_file)).contains("'ADJUSTED'"));
}

void TstHistory::versionLineWhenHostIsUp_data()
{
    polynomialRangeSibling_data();
}

void TstHistory::versionLineWhenHostIsUp()
{
    QFETCH(QString, locale);
    ENTER_LOCALE(locale);
    // The cell runs on until the test ends.
    if (!root_.running())
        QVERIFY2(root_.start({QStringLiteral("--no-noise")}), qPrintable(root_.lastOutput()));
    QVERIFY(QDir().mkpath(tables()));
    auto record = zeroed_record();
    build_record(*record, tables());
    QFile::remove(QString::fromLocal8Bit(record->save_file));

    COMPARE_GOLDEN(appendOne(*record, CAL_AS_FOUND), QStringLiteral("as_found_version.save"));
}

QTEST_MAIN(TstHistory)
#include "tst_history.moc"
