// The history program's reading of a whole archive: the utility's own
// records of every kind, damaged and cut archives, and the drift and the
// interval of an archive whose errors are known by hand.
#include "archive_reader.h"
#include "drift.h"

#include <QtTest>

#include <cmath>
#include <ctime>

namespace {

QByteArray golden(const QString &name)
{
    QFile file(QStringLiteral(VREL_SOURCE_DIR "/tests/data/golden/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

struct Read {
    std::vector<HistoryRecord> records;
    std::vector<ArchiveDamage> damage;
    bool opened = false;
    QString error;
};

Read read_all(const QString &path)
{
    Read read;
    ArchiveReader reader(path);
    read.opened = reader.open();
    read.error = reader.error();
    HistoryRecord record;
    while (read.opened && reader.next(record))
        read.records.push_back(record);
    read.damage = reader.damage();
    return read;
}

// One record in the utility's format, made from its golden adjusted
// record: a POLYNOMIAL table over a sensor span of -50 to 150.
QByteArray record_text(int64_t time, const char *mode, const QByteArray &coefficients,
                       const std::vector<HistoryPoint> &points)
{
    QByteArray text = golden("adjusted.save");
    text.replace("1700000000 ", QByteArray::number(qint64(time)) + ' ');
    text.replace("'ADJUSTED'", QByteArray("'") + mode + "'");
    text.replace("\"INTERPOLATION\"", "\"POLYNOMIAL\"");
    text.replace("\" 0 0.1 4.75 \"", "\"" + coefficients + "\"");
    const int first = text.indexOf("\"MUA-1\" \"Inlet airtemp\"");
    text.truncate(text.indexOf('\n', first));
    for (const HistoryPoint &p : points)
        text += " \\\n   " + QByteArray::number(p.x, 'g', 6) + ' ' + QByteArray::number(p.y, 'g', 6);
    return text + "\n\n";
}

constexpr int64_t kDay = 86400;
constexpr int64_t kStart = 1600000000; // 2020-09-13 12:26:40 UTC

} // namespace

class TestHistoryArchive : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void utilityRecords_data();
    void utilityRecords();
    void rangeFile();
    void damagedArchives_data();
    void damagedArchives();
    void unreadableArchive_data();
    void unreadableArchive();
    void tableInForce_data();
    void tableInForce();
    void driftByHand();
};

void TestHistoryArchive::initTestCase()
{
    qputenv("TZ", "UTC");
    tzset();
}

void TestHistoryArchive::utilityRecords_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("mode");
    QTest::addColumn<double>("table_tolerance");
    QTest::addColumn<int>("coefficients");
    QTest::newRow("As-Found") << "as_found.save" << "AS_FOUND" << 0.25 << 2;
    QTest::newRow("As-Found with the version line") << "as_found_version.save" << "AS_FOUND" << 0.25 << 2;
    QTest::newRow("adjusted") << "adjusted.save" << "ADJUSTED" << 1.0 << 2;
    QTest::newRow("verification") << "verification.save" << "VERIFICATION" << 0.25 << 2;
    QTest::newRow("re-use") << "reuse.save" << "REUSE" << 2.0 << 2;
    QTest::newRow("auto cal: its dyno points are not the table's") << "auto_cal.save" << "auto_cal" << 0.25 << 2;
}

void TestHistoryArchive::utilityRecords()
{
    QFETCH(QString, file);
    QFETCH(QString, mode);
    QFETCH(double, table_tolerance);
    QFETCH(int, coefficients);
    QTemporaryDir dir;
    // Twice over: the second record starts where the first one's blank lines end.
    const QString path = dir.filePath("eng_t1.save");
    QVERIFY(write(path, golden(file) + golden(file)));
    const Read read = read_all(path);
    QVERIFY(read.opened);
    QCOMPARE(read.damage.size(), size_t(0));
    QCOMPARE(read.records.size(), size_t(2));
    const HistoryRecord &r = read.records[1];
    QCOMPARE(read.records[0].line, 1);
    QCOMPARE(r.line, golden(file).count('\n') + 1);
    QCOMPARE(r.time, int64_t(1700000000));
    QCOMPARE(r.time_text, QStringLiteral("10:13:20 PM 11/14/23"));
    QCOMPARE(r.mode, mode);
    QCOMPARE(r.table, QStringLiteral("ENG_T1"));
    QCOMPARE(r.type, QStringLiteral("INTERPOLATION"));
    QCOMPARE(r.table_tolerance, table_tolerance);
    QCOMPARE(r.sensor_lower, -50.0);
    QCOMPARE(r.sensor_upper, 150.0);
    QCOMPARE(r.max_range, 150.125);
    QCOMPARE(r.technician, QStringLiteral("J. Doe"));
    QCOMPARE(r.working_standard, QStringLiteral("WS-17"));
    QCOMPARE(r.table_units, QStringLiteral("degC"));
    QCOMPARE(r.description, QStringLiteral("Inlet airtemp"));
    QCOMPARE(int(r.coefficients.size()), coefficients);
    QCOMPARE(r.points.size(), size_t(4));
    QCOMPARE(r.points.back().x, 31.25);
    QCOMPARE(r.points.back().y, 150.125);
}

void TestHistoryArchive::rangeFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath("pr_1.save");
    QVERIFY(write(path, golden("polynomial_range.save")));
    // Without its range file the record still reads, and says what is missing.
    Read read = read_all(path);
    QCOMPARE(read.records.size(), size_t(1));
    QVERIFY(read.records[0].ranges.empty());
    QCOMPARE(read.damage.size(), size_t(1));
    QVERIFY(read.damage[0].reason.contains("PR_1-1700000000.poly_range"));
    // Beside the archive, under the name the record gives.
    QVERIFY(write(dir.filePath("PR_1-1700000000.poly_range"), golden("PR_1-1700000000.poly_range")));
    read = read_all(path);
    QCOMPARE(read.damage.size(), size_t(0));
    const HistoryRecord &r = read.records[0];
    QCOMPARE(r.type, QStringLiteral("POLYNOMIAL_RANGE"));
    QCOMPARE(r.range_file, QStringLiteral("/cell/tables/PR_1-1700000000.poly_range"));
    QCOMPARE(r.ranges.size(), size_t(8));
    QCOMPARE(r.ranges[0].coefficients, std::vector<double>({0.0, 1.5}));
    QCOMPARE(r.ranges[0].points.size(), size_t(2));
    QCOMPARE(r.ranges[1].points.size(), size_t(3));
    // Range 0's polynomial is the table in force after it.
    TableInForce table;
    table.adopt(r);
    QCOMPARE(table.convert(10.0), 15.0);
}

void TestHistoryArchive::damagedArchives_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("records");
    QTest::addColumn<QList<int>>("damaged_lines");
    const QByteArray one = golden("adjusted.save");
    const int second = one.count('\n') + 1; // the second record's first line
    const int data = one.indexOf("\n1700000000") + 1;
    QTest::newRow("empty") << QByteArray() << 0 << QList<int>{};
    QTest::newRow("text between records") << one + "a note\n\n" + one << 2 << QList<int>{};
    QTest::newRow("cut inside the data line") << one + one.left(data + 200) << 1 << QList<int>{second};
    QTest::newRow("cut inside the comment block") << one + one.left(300) << 1 << QList<int>{second};
    QTest::newRow("cut, then a whole record") << one.left(data + 200) + "\n" + one << 1 << QList<int>{1};
    QByteArray unclosed = one;
    unclosed.replace("\"J. Doe\"", "\"J. Doe");
    QTest::newRow("a quote not closed") << unclosed + one << 1 << QList<int>{1};
    QByteArray missing = one;
    missing.replace("\"J. Doe\" ", "");
    QTest::newRow("a field missing") << one + missing << 1 << QList<int>{second};
    QByteArray not_number = one;
    not_number.replace("\"150[degC]\"", "\"lots[degC]\"");
    QTest::newRow("a limit that is not a number") << not_number + one << 1 << QList<int>{1};
    QByteArray lone = one;
    lone.replace("31.25    150.125", "31.25");
    QTest::newRow("a point without its value") << lone + one << 1 << QList<int>{1};
    QByteArray long_line = one;
    long_line.insert(long_line.indexOf("# the section below"), "# " + QByteArray(3 << 20, 'x') + "\n");
    QTest::newRow("a line of 3 MB in a comment") << one + long_line + one << 2 << QList<int>{second};
}

void TestHistoryArchive::damagedArchives()
{
    QFETCH(QByteArray, bytes);
    QFETCH(int, records);
    QFETCH(QList<int>, damaged_lines);
    QTemporaryDir dir;
    const QString path = dir.filePath("eng_t1.save");
    QVERIFY(write(path, bytes));
    const Read read = read_all(path);
    QVERIFY(read.opened);
    QCOMPARE(int(read.records.size()), records);
    QList<int> lines;
    for (const ArchiveDamage &d : read.damage) {
        lines << d.line;
        QVERIFY(!d.reason.isEmpty());
    }
    QCOMPARE(lines, damaged_lines);
    for (const HistoryRecord &r : read.records)
        QCOMPARE(r.points.size(), size_t(4));
}

void TestHistoryArchive::unreadableArchive_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("said");
    QTest::newRow("missing") << "none.save" << "no archive";
    QTest::newRow("a folder") << "folder.save" << "is not a file";
}

void TestHistoryArchive::unreadableArchive()
{
    QFETCH(QString, name);
    QFETCH(QString, said);
    QTemporaryDir dir;
    QVERIFY(QDir(dir.path()).mkdir("folder.save"));
    const Read read = read_all(dir.filePath(name));
    QVERIFY(!read.opened);
    QVERIFY2(read.error.contains(said) && read.error.contains(name), qPrintable(read.error));
}

void TestHistoryArchive::tableInForce_data()
{
    QTest::addColumn<QByteArray>("type");
    QTest::addColumn<QByteArray>("coefficients");
    QTest::addColumn<double>("x");
    QTest::addColumn<double>("reading");
    // Points (20,100), (0,0), (10,50), written out of order.
    QTest::newRow("interpolation inside") << QByteArray("INTERPOLATION") << QByteArray(" 0 ") << 5.0 << 25.0;
    QTest::newRow("interpolation beyond the top") << QByteArray("INTERPOLATION") << QByteArray(" 0 ") << 25.0 << 125.0;
    QTest::newRow("interpolation below") << QByteArray("INTERPOLATION") << QByteArray(" 0 ") << -2.0 << -10.0;
    QTest::newRow("polynomial, lowest order first") << QByteArray("POLYNOMIAL") << QByteArray(" 0 1 2 3 ") << 2.0
                                                    << 17.0;
}

void TestHistoryArchive::tableInForce()
{
    QFETCH(QByteArray, type);
    QFETCH(QByteArray, coefficients);
    QFETCH(double, x);
    QFETCH(double, reading);
    QByteArray text = record_text(kStart, "ADJUSTED", coefficients, {{20, 100}, {0, 0}, {10, 50}});
    text.replace("\"POLYNOMIAL\"", "\"" + type + "\"");
    QTemporaryDir dir;
    QVERIFY(write(dir.filePath("t.save"), text));
    const Read read = read_all(dir.filePath("t.save"));
    QCOMPARE(read.records.size(), size_t(1));
    TableInForce table;
    QVERIFY(!table.known());
    table.adopt(read.records[0]);
    QVERIFY(table.known());
    QCOMPARE(table.convert(x), reading);
}

void TestHistoryArchive::driftByHand()
{
    // A table y = 2x over a span of 200 (-50 to 150).  The As-Found
    // readings are 2x; the values applied fall behind as the sensor drifts.
    //   day -1   As-Found before any table in the archive: errors unknown
    //   day 0    Adjusted, points on the line: As-Left errors 0
    //   day 100  As-Found, errors 0.2, 0.4, 0.6 -> worst 0.6 = 0.3 % of span
    //   day 100  Adjusted again, on the line
    //   day 300  As-Found, errors 0.4, 0.7, 1.0 -> worst 1.0 = 0.5 % of span
    // Drift per day through the origin: (100*0.3 + 200*0.5) / (100^2 + 200^2)
    //   = 130 / 50000 = 0.0026 % of span a day; the limit of 0.25 % is
    //   reached 96.15 days after the last As-Left (day 100): day 196.
    const QByteArray line = " 0 0 2 ";
    QByteArray text = record_text(kStart - kDay, "AS_FOUND", line, {{0, 0}, {25, 50}, {50, 100}});
    text += record_text(kStart, "ADJUSTED", line, {{0, 0}, {25, 50}, {50, 100}});
    text += record_text(kStart + 100 * kDay, "AS_FOUND", line, {{0, -0.2}, {25, 49.6}, {50, 99.4}});
    text += record_text(kStart + 100 * kDay + 1, "ADJUSTED", line, {{0, 0}, {25, 50}, {50, 100}});
    text += record_text(kStart + 300 * kDay + 1, "AS_FOUND", line, {{0, -0.4}, {25, 49.3}, {50, 99}});
    QTemporaryDir dir;
    const QString path = dir.filePath("t.save");
    QVERIFY(write(path, text));
    ArchiveReader reader(path);
    QVERIFY(reader.open());
    const ChannelHistory history = analyse_archive(reader);

    QCOMPARE(history.span, 200.0);
    QCOMPARE(history.records.size(), size_t(5));
    QVERIFY(!history.records[0].known);
    const double worst[] = {0.0, 0.0, 0.3, 0.0, 0.5};
    const int bands[] = {0, 0, 1, 0, 1};
    for (int i = 1; i < 5; ++i) {
        QVERIFY(history.records[i].known);
        QVERIFY2(std::fabs(history.records[i].worst_pct - worst[i]) < 1e-9, qPrintable(QString::number(i)));
        QCOMPARE(history.records[i].band, bands[i]);
    }
    QCOMPARE(history.drifts.size(), size_t(2));
    QCOMPARE(history.drifts[0].since, kStart);
    QVERIFY(std::fabs(history.drifts[0].days - 100.0) < 1e-9);
    QVERIFY(std::fabs(history.drifts[0].worst - 0.6) < 1e-9);
    QVERIFY(std::fabs(history.drifts[1].days - 200.0) < 1e-9);
    QVERIFY(std::fabs(history.drifts[1].worst_pct - 0.5) < 1e-9);

    // Each set point's error at every record whose errors are known.
    QCOMPARE(history.set_points.size(), size_t(3));
    QCOMPARE(history.set_points[2].set_point, 100.0);
    QCOMPARE(history.set_points[2].errors.size(), size_t(4));
    QVERIFY(std::fabs(history.set_points[2].errors[3].second - 1.0) < 1e-9);

    const IntervalSuggestion &interval = history.interval;
    QVERIFY(interval.known);
    QVERIFY(std::fabs(interval.slope_pct_per_day - 0.0026) < 1e-12);
    QCOMPARE(interval.last_as_left, QDate(2020, 12, 22)); // kStart + 100 days
    QCOMPARE(interval.suggested, QDate(2021, 3, 28));     // and 96 days
}

QTEST_MAIN(TestHistoryArchive)
#include "tst_history_archive.moc"
