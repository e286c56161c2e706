// The history program's reading of whole archives: the utility's records of every kind, damaged
// and cut archives, and the drift and interval of an archive whose errors are known by hand.
#include "faults_fixture.h"
#include "archive_reader.h"
#include "drift.h"

#include <cmath>
#include <ctime>

namespace {

QByteArray golden(const QString &name)
{
    return file_bytes(QStringLiteral(VREL_SOURCE_DIR "/tests/data/golden/") + name);
}

struct Read {
    std::vector<HistoryRecord> records;
    std::vector<ArchiveDamage> damage;
    bool opened = false;
    explicit Read(const QString &path)
    {
        ArchiveReader reader(path);
        opened = reader.open();
        HistoryRecord record;
        while (opened && reader.next(record))
            records.push_back(record);
        damage = reader.damage();
    }
};

// One record in the utility's format from its golden adjusted one: a POLYNOMIAL table, span -50 to 150.
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

QString n(double value)
{
    return QString::number(value, 'g', 10);
}

constexpr int64_t kDay = 86400;
constexpr int64_t kStart = 1600000000; // 2020-09-13 12:26:40 UTC

} // namespace

class TestHistoryArchive : public QObject {
    Q_OBJECT
    QTemporaryDir dir_;
    Read read_bytes(const QByteArray &bytes, const QString &name = QStringLiteral("eng_t1.save"))
    {
        return Read(write_bytes(dir_.filePath(name), bytes) ? dir_.filePath(name) : QString());
    }
private slots:
    void initTestCase()
    {
        qputenv("TZ", "UTC");
        tzset();
    }

    void utilityRecords_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("mode_and_tolerance");
        QTest::newRow("As-Found") << "as_found.save" << "AS_FOUND|0.25";
        QTest::newRow("As-Found with the version line") << "as_found_version.save" << "AS_FOUND|0.25";
        QTest::newRow("adjusted") << "adjusted.save" << "ADJUSTED|1";
        QTest::newRow("verification") << "verification.save" << "VERIFICATION|0.25";
        QTest::newRow("re-use") << "reuse.save" << "REUSE|2";
        QTest::newRow("auto cal: its dyno points are not the table's") << "auto_cal.save" << "auto_cal|0.25";
    }
    void utilityRecords()
    {
        QFETCH(QString, file);
        QFETCH(QString, mode_and_tolerance);
        // Twice over: the second record starts where the first one's blank lines end.
        const Read read = read_bytes(golden(file) + golden(file));
        QVERIFY(read.opened && read.damage.empty());
        QCOMPARE(read.records.size(), size_t(2));
        const HistoryRecord &r = read.records[1];
        QCOMPARE(r.points.size(), size_t(4));
        const QStringList fields = {n(read.records[0].line), n(r.line), n(r.time), r.time_text, r.mode,
                                    n(r.table_tolerance), r.table, r.type, n(r.sensor_lower), n(r.sensor_upper),
                                    n(r.max_range), r.technician, r.working_standard, r.table_units, r.description,
                                    n(r.coefficients.size()), n(r.points.back().x), n(r.points.back().y)};
        const QString expected = "1|%1|1700000000|10:13:20 PM 11/14/23|%2|ENG_T1|INTERPOLATION|-50|150|150.125|J. Doe|"
                                 "WS-17|degC|Inlet airtemp|2|31.25|150.125";
        QCOMPARE(fields.join('|'), expected.arg(golden(file).count('\n') + 1).arg(mode_and_tolerance));
    }

    void rangeFile()
    {
        // Without its range file the record still reads, and says what is missing.
        Read read = read_bytes(golden("polynomial_range.save"), "pr_1.save");
        QCOMPARE(read.records.size(), size_t(1));
        QVERIFY(read.records[0].ranges.empty());
        QCOMPARE(read.damage.size(), size_t(1));
        QVERIFY(read.damage[0].reason.contains("PR_1-1700000000.poly_range"));
        // Beside the archive, under the name the record gives.
        QVERIFY(write_bytes(dir_.filePath("PR_1-1700000000.poly_range"), golden("PR_1-1700000000.poly_range")));
        read = Read(dir_.filePath("pr_1.save"));
        QVERIFY(read.damage.empty());
        const HistoryRecord &r = read.records[0];
        QCOMPARE(r.ranges.size(), size_t(8));
        const QStringList fields = {r.type, r.range_file, n(r.ranges[0].points.size()), n(r.ranges[1].points.size())};
        QCOMPARE(fields.join('|'), QStringLiteral("POLYNOMIAL_RANGE|/cell/tables/PR_1-1700000000.poly_range|2|3"));
        QCOMPARE(r.ranges[0].coefficients, std::vector<double>({0.0, 1.5}));
        // Range 0's polynomial is the table in force after it.
        TableInForce table;
        table.adopt(r);
        QCOMPARE(table.convert(10.0), 15.0);
    }

    void damagedArchives_data()
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
        const auto with = [&one](const char *from, const char *to) { return QByteArray(one).replace(from, to); };
        QTest::newRow("a quote not closed") << with("\"J. Doe\"", "\"J. Doe") + one << 1 << QList<int>{1};
        QTest::newRow("a field missing") << one + with("\"J. Doe\" ", "") << 1 << QList<int>{second};
        QTest::newRow("a limit not a number") << with("\"150[degC]\"", "\"lots[degC]\"") + one << 1 << QList<int>{1};
        QTest::newRow("a point without its value") << with("31.25    150.125", "31.25") + one << 1 << QList<int>{1};
        QTest::newRow("a limit without its closing bracket")
            << with("\"150[degC]\"", "\"150[degC\"") + one << 1 << QList<int>{1};
        QTest::newRow("a point's values parted by a tab") << with("31.25    150.125", "31.25\t150.125") + one << 2
                                                          << QList<int>{};
        QByteArray long_line = one;
        long_line.insert(long_line.indexOf("# the section below"), "# " + QByteArray(3 << 20, 'x') + "\n");
        QTest::newRow("a line of 3 MB in a comment") << one + long_line + one << 2 << QList<int>{second};
    }
    void damagedArchives()
    {
        QFETCH(QByteArray, bytes);
        QFETCH(int, records);
        const Read read = read_bytes(bytes);
        QVERIFY(read.opened);
        QCOMPARE(int(read.records.size()), records);
        QList<int> lines; // each damaged record by its first line, and with a reason
        for (const ArchiveDamage &d : read.damage)
            lines << (d.reason.isEmpty() ? -d.line : d.line);
        QTEST(lines, "damaged_lines");
        for (const HistoryRecord &r : read.records)
            QCOMPARE(r.points.size(), size_t(4));
    }

    void tableInForce()
    {
        // Points written out of order; beyond the ends the end segments go on.
        QByteArray text = record_text(kStart, "ADJUSTED", " 0 ", {{20, 100}, {0, 0}, {10, 50}});
        const Read read = read_bytes(text.replace("\"POLYNOMIAL\"", "\"INTERPOLATION\""), "t.save");
        QCOMPARE(read.records.size(), size_t(1));
        TableInForce table;
        QVERIFY(!table.known());
        table.adopt(read.records[0]);
        QVERIFY(table.known());
        const QVector<double> readings = {table.convert(5.0), table.convert(25.0), table.convert(-2.0)};
        QCOMPARE(readings, QVector<double>({25.0, 125.0, -10.0}));
    }

    void driftByHand()
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
        QVERIFY(write_bytes(dir_.filePath("drift.save"), text));
        ArchiveReader reader(dir_.filePath("drift.save"));
        QVERIFY(reader.open());
        const ChannelHistory history = analyse_archive(reader);

        // Each record's worst error (% of span) and band ('?': not known); each As-Found's drift (the As-Left
        // before it, days, worst, % of span); set point 100's known errors; the span and the interval.
        QStringList got;
        for (const RecordSummary &r : history.records)
            got << (r.known ? QString::asprintf("%.6f/%d", r.worst_pct, r.band) : QStringLiteral("?"));
        for (const AsFoundDrift &d : history.drifts)
            got << QString::asprintf("%.6f %.6f %.6f %.6f", double(d.since - kStart) / kDay, d.days, d.worst,
                                     d.worst_pct);
        QCOMPARE(history.set_points.size(), size_t(3));
        got << QString::number(history.set_points[2].set_point);
        for (const std::pair<int64_t, double> &error : history.set_points[2].errors)
            got << QString::asprintf("%.6f", error.second);
        const IntervalSuggestion &interval = history.interval;
        got << QString::asprintf("%.1f %d %.12f", history.span, interval.known, interval.slope_pct_per_day);
        got << interval.last_as_left.toString(Qt::ISODate) + " " + interval.suggested.toString(Qt::ISODate);
        QCOMPARE(got.join('|'), QStringLiteral("?|0.000000/0|0.300000/1|0.000000/0|0.500000/1|"
                                               "0.000000 100.000000 0.600000 0.300000|"
                                               "100.000012 200.000000 1.000000 0.500000|"
                                               "100|0.000000|0.600000|0.000000|1.000000|"
                                               "200.0 1 0.002600000000|2020-12-22 2021-03-28"));
    }
};

QTEST_MAIN(TestHistoryArchive)
#include "tst_history_archive.moc"
