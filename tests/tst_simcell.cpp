// The simulated cell as a test instrument: its sensor model, its
// description file, its demo tables and its command line.
#include "simcell.h"

#include "cell_model.h"
#include "archive_reader.h"
#include "demo_tables.h"
#include "drift.h"
#include "ini.h"

#include <orvane/cell.h>
#include <orvane/shm.h>
#include <orvane/tables.h>

#include <QtTest>

#include <cmath>
#include <cstring>
#include <memory>

using namespace orvsim;

namespace {

double live_mv(int channel)
{
    auto *mv = static_cast<const orv_millivolts *>(get_shrd_mem(ORV_SEG_MILLIVOLTS, 0));
    return mv ? mv[channel].value : std::nan("");
}

} // namespace

class TestSimCell : public QObject {
    Q_OBJECT
private slots:
    void sensorReadsAppliedPlusDrift_data();
    void sensorReadsAppliedPlusDrift();
    void defaultCellDriftClasses();
    void descriptionErrors_data();
    void descriptionErrors();
    void descriptionReadsChannels();
    void demoTableFormats_data();
    void demoTableFormats();
    void demoTablesNeverOverwrite();
    void demoHistory();
    void appliedValueMovesLiveMillivolts();
    void freezeStopsPublishing();
    void vanishRemovesTheHost();
    void commandLineRefusals_data();
    void commandLineRefusals();
};

void TestSimCell::sensorReadsAppliedPlusDrift_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<double>("applied");
    // error(p) = span * (zero + drift * (p - lower) / span) / 100
    QTest::newRow("linear at bottom") << 2 << -20.0;
    QTest::newRow("linear mid span") << 2 << 50.0;
    QTest::newRow("linear at top") << 2 << 120.0;
    QTest::newRow("quadratic sensor") << 4 << 600.0;
    QTest::newRow("offset raw range") << 8 << 40.0;
    QTest::newRow("beyond the span") << 5 << 700.0;
}

void TestSimCell::sensorReadsAppliedPlusDrift()
{
    QFETCH(int, channel);
    QFETCH(double, applied);
    const CellSpec cell = default_cell();
    const ChannelSpec &c = *cell.channel(channel);
    const double lower = std::min(c.eng_lower(), c.eng_upper());
    const double expected_error = c.span() * (c.zero_pct + c.drift_pct * (applied - lower) / c.span()) / 100.0;
    const double reading = c.eng_of_mv(c.mv_for(applied));
    QVERIFY2(std::fabs(reading - (applied + expected_error)) < 1e-9 * c.span(),
             qPrintable(QString("reading %1, expected %2").arg(reading).arg(applied + expected_error)));
    // The drift is the sensor's, not the table's: a perfect sensor reads true.
    ChannelSpec perfect = c;
    perfect.drift_pct = perfect.zero_pct = 0.0;
    QVERIFY(std::fabs(perfect.eng_of_mv(perfect.mv_for(applied)) - applied) < 1e-9 * c.span());
}

void TestSimCell::defaultCellDriftClasses()
{
    const CellSpec cell = default_cell();
    QCOMPARE(cell.channel_count(), 16);
    int within = 0, out_of_adjustment = 0, out_of_tolerance = 0, inactive = 0;
    for (const ChannelSpec &c : cell.channels) {
        if (c.active != 1) {
            ++inactive;
            continue;
        }
        // The worst error over the span, as % of span.
        const double worst = std::max(std::fabs(c.zero_pct), std::fabs(c.zero_pct + c.drift_pct));
        if (worst <= 0.25)
            ++within;
        else if (worst <= 1.0)
            ++out_of_adjustment;
        else if (worst <= 2.0)
            ++out_of_tolerance;
    }
    QVERIFY(inactive >= 2);
    QVERIFY(within > out_of_adjustment + out_of_tolerance);
    QVERIFY(out_of_adjustment >= 2);
    QCOMPARE(out_of_tolerance, 1);
}

void TestSimCell::descriptionErrors_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("line");
    QTest::addColumn<QString>("reason");
    QTest::newRow("key before section") << "name = x\n" << 1 << "before the first section";
    QTest::newRow("unclosed section") << "[cell]\n[channel 1\n" << 2 << "closing";
    QTest::newRow("no equals") << "[cell]\nname x\n" << 2 << "key = value";
    QTest::newRow("bad tick") << "; comment\n[cell]\ntick_ms = 0\n" << 2 << "tick_ms";
    QTest::newRow("bad type") << "[channel 0]\ntype = CUBIC\n" << 1 << "unknown table type";
    QTest::newRow("bad range") << "[cell]\n\n[channel 2]\nmv_range = 5, 1\n" << 3 << "ascending";
    QTest::newRow("duplicate") << "[channel 1]\n[channel 1]\n" << 2 << "twice";
    QTest::newRow("scaled offset") << "[channel 1]\ntype = SCALED\ncoefficients = 1, 2\n" << 1 << "SCALED";
    QTest::newRow("unknown section") << "[pump]\n" << 1 << "unknown section";
}

void TestSimCell::descriptionErrors()
{
    QFETCH(QString, text);
    IniDocument doc;
    IniError error;
    CellSpec cell;
    const bool ok = parse_ini_string(text.toStdString(), doc, error) && cell_from_ini(doc, cell, error);
    QVERIFY(!ok);
    QTEST(error.line, "line");
    QFETCH(QString, reason);
    QVERIFY2(QString::fromStdString(error.reason).contains(reason), error.reason.c_str());
}

void TestSimCell::descriptionReadsChannels()
{
    const char *text = "[cell]\nname = BENCH 2\nsite = ABC\ntick_ms = 30\n"
                       "[channel 4]\nname = DP SENSOR\nunits = KPA\ntable = dp\ntype = POLYNOMIAL\n"
                       "coefficients = 1, 2, 0.5\nmv_range = -5, 5\ndrift_pct = 0.3\napplied = 4\n";
    IniDocument doc;
    IniError error;
    CellSpec cell;
    QVERIFY(parse_ini_string(text, doc, error));
    QVERIFY2(cell_from_ini(doc, cell, error), error.reason.c_str());
    QCOMPARE(cell.cell_name, std::string("BENCH 2"));
    QCOMPARE(cell.tick_ms, 30);
    QCOMPARE(cell.channel_count(), 5); // channels 0 to 3 exist as empty slots
    const ChannelSpec *c = cell.channel(4);
    QVERIFY(c);
    QCOMPARE(c->eng_of_mv(2.0), 1.0 + 4.0 + 2.0);
    QCOMPARE(c->applied, 4.0);
    QCOMPARE(cell.variables.size(), size_t(3)); // the room variables by default
}

void TestSimCell::demoTableFormats_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<QStringList>("expected");
    QTest::newRow("interpolation") << 0
                                   << QStringList{"@AUG07", "#type_code\nINTERPOLATION           \n",
                                                  "#number of points\n11\n", "      0.00000     -10.00000\n",
                                                  "     10.00000     150.00000\n"};
    QTest::newRow("polynomial") << 4
                                << QStringList{"#type_code\nPOLYNOMIAL              \n",
                                               "#coefficients\n          0\n        9.5\n      0.005\n"};
    QTest::newRow("scaled") << 7 << QStringList{"#type_code\nSCALED", "#conversion factor\n 0.5\n"};
    QTest::newRow("range") << 6
                           << QStringList{"@POLY3", "RANGE=0 C0=0 C1=3 C2=0.0001 MIN=0 MAX=301 BIAS=0 GAIN=1.0 \n",
                                          "RANGE=1 \\\n   C0=0 \\\n"};
}

void TestSimCell::demoTableFormats()
{
    QFETCH(int, channel);
    QFETCH(QStringList, expected);
    const CellSpec cell = default_cell();
    const QString text = QString::fromStdString(demo_table_text(*cell.channel(channel), 1700000000));
    for (const QString &piece : expected)
        QVERIFY2(text.contains(piece), qPrintable(QString("missing <%1> in\n%2").arg(piece, text)));
    QVERIFY(text.contains("#last_cal(time_t)        cal_interval\n 1700000000               26[week]\n"));
}

void TestSimCell::demoTablesNeverOverwrite()
{
    QTemporaryDir dir;
    const std::string tables = dir.path().toStdString() + "/cell/tables";
    const CellSpec cell = default_cell();
    const int with_table = int(std::count_if(cell.channels.begin(), cell.channels.end(),
                                             [](const ChannelSpec &c) { return !c.table.empty(); }));
    QCOMPARE(write_demo_tables(cell, tables, 1700000000), with_table);
    QFile own(QString::fromStdString(tables) + "/oil_temp_in.tbl");
    QVERIFY(own.open(QIODevice::WriteOnly | QIODevice::Truncate));
    own.write("a technician's own table\n");
    own.close();
    QCOMPARE(write_demo_tables(cell, tables, 1700000000), 0);
    QVERIFY(own.open(QIODevice::ReadOnly));
    QCOMPARE(own.readAll(), QByteArray("a technician's own table\n"));
}

void TestSimCell::demoHistory()
{
    // Through the command line: archives only with --history, only for
    // tables that have a history format of points, never over an archive.
    QTemporaryDir root;
    const QString tables = root.path() + "/cell/tables/";
    auto demo_tables = [&](const QStringList &options) {
        QProcess sim;
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("ORVANE_ROOT", root.path());
        sim.setProcessEnvironment(environment);
        sim.start(QStringLiteral(VREL_BIN_DIR "/orvane-sim"), QStringList{"demo-tables"} + options);
        return sim.waitForFinished(30000) && sim.exitCode() == 0;
    };
    QVERIFY(demo_tables({}));
    QVERIFY(QDir(tables).entryList({"*.save"}).isEmpty());
    QVERIFY(demo_tables({"--history"}));
    QVERIFY(QFile::exists(tables + "coolant_temp.save"));
    QVERIFY(QFile::exists(tables + "oil_press.save"));       // a polynomial
    QVERIFY(!QFile::exists(tables + "intake_press.save"));   // a range table
    QVERIFY(!QFile::exists(tables + "exh_back_press.save")); // a scaled one

    // The host reads the same table in force from the archive as from the table.
    auto from_table = std::make_unique<TableInfo>();
    QCOMPARE(read_table(qPrintable(tables + "coolant_temp.tbl"), from_table.get()), 0);
    void *records[500] = {};
    int64_t scratch[500] = {};
    QCOMPARE(read_archive_file_poly(1, qPrintable(tables + "coolant_temp.save"), records, scratch), short(1));
    const auto *newest = static_cast<const TableInfo *>(records[0]);
    QCOMPARE(newest->last_cal, from_table->last_cal + 7200); // the verification after the last adjustment
    const RawData &a = newest->dim.table_poly[0].raw_data, &t = from_table->dim.table_poly[0].raw_data;
    QCOMPARE(a.count, t.count);
    for (int i = 0; i < t.count; ++i)
        QVERIFY(std::fabs(a.x[i] - t.x[i]) < 1e-5 && std::fabs(a.y[i] - t.y[i]) < 1e-4);

    // Eight calibrations; each As-Found of the drifted coolant sensor is out
    // of adjustment, as its record says, and the trend asks for a shorter
    // interval than the table's 26 weeks.
    ArchiveReader reader(tables + "coolant_temp.save");
    QVERIFY(reader.open());
    const ChannelHistory history = analyse_archive(reader);
    QCOMPARE(history.records.size(), size_t(23));
    QVERIFY(reader.damage().empty());
    int as_found = 0;
    for (const RecordSummary &r : history.records) {
        QVERIFY(r.known);
        if (r.mode == QLatin1String("AS_FOUND")) {
            ++as_found;
            QCOMPARE(r.band, 1);
            QCOMPARE(r.tol_state, QStringLiteral("OOA"));
        }
    }
    QCOMPARE(as_found, 7);
    QCOMPARE(history.drifts.size(), size_t(7));
    QVERIFY(history.interval.known);
    const QDate last = QDateTime::fromSecsSinceEpoch(from_table->last_cal).date();
    QVERIFY(history.interval.suggested > last);
    QVERIFY(history.interval.suggested < last.addDays(26 * 7));

    // An archive that is there stays as it is.
    QFile own(tables + "oil_temp_in.save");
    QVERIFY(own.open(QIODevice::WriteOnly | QIODevice::Truncate));
    own.write("a technician's own archive\n");
    own.close();
    QVERIFY(demo_tables({"--history"}));
    QVERIFY(own.open(QIODevice::ReadOnly));
    QCOMPARE(own.readAll(), QByteArray("a technician's own archive\n"));
}

void TestSimCell::appliedValueMovesLiveMillivolts()
{
    SimCell sim;
    QVERIFY2(sim.start({"--tick", "10", "--no-noise"}), qPrintable(sim.lastOutput()));
    const CellSpec cell = default_cell();
    const ChannelSpec &c = *cell.channel(9);
    QTRY_VERIFY_WITH_TIMEOUT(std::fabs(live_mv(9) - c.mv_for(0.0)) < 1e-9, 5000);
    QVERIFY(sim.apply(9, 1500.0));
    QTRY_VERIFY_WITH_TIMEOUT(std::fabs(live_mv(9) - c.mv_for(1500.0)) < 1e-9, 5000);
    QVERIFY(c.mv_for(1500.0) > 15.0); // 1500 NM is 15 mV, drift on top
    QString status;
    QVERIFY(sim.command({"status"}, &status));
    QVERIFY2(status.contains(QRegularExpression(" 9  DYNO TORQUE +1 +NM +dyno_torque +1500.0000 ")),
             qPrintable(status));
    QVERIFY(QFile::exists(sim.path("/cell/tables/dyno_torque.tbl")));
    QVERIFY(QFileInfo(sim.path("/orvane/bin/bld_tables")).isExecutable());
}

void TestSimCell::freezeStopsPublishing()
{
    SimCell sim;
    QVERIFY(sim.start({"--tick", "10"}));
    auto *control = static_cast<const orv_control *>(get_shrd_mem(ORV_SEG_CONTROL, 0));
    QVERIFY(control);
    QVERIFY(sim.command({"freeze"}));
    const double frozen = live_mv(0);
    const int64_t ticks = control->ticks;
    QTRY_VERIFY_WITH_TIMEOUT(control->ticks > ticks + 5, 5000); // the clock goes on
    QCOMPARE(live_mv(0), frozen);                               // the values do not
    QVERIFY(sim.command({"resume"}));
    QTRY_VERIFY_WITH_TIMEOUT(live_mv(0) != frozen, 5000); // noise moves it again
}

void TestSimCell::vanishRemovesTheHost()
{
    SimCell sim;
    QVERIFY(sim.start());
    QVERIFY(get_shrd_mem(ORV_SEG_AI_REAL, 0));
    QVERIFY(sim.command({"vanish"}));
    QVERIFY(!get_shrd_mem(ORV_SEG_AI_REAL, 0));
    QVERIFY(!get_shrd_mem(ORV_SEG_CONTROL, 0));
    // The instance is free again: a restarted host comes up on it.
    QVERIFY2(sim.command({"start"}), qPrintable(sim.lastOutput()));
    QVERIFY(get_shrd_mem(ORV_SEG_AI_REAL, 0));
}

void TestSimCell::commandLineRefusals_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("message");
    QTest::newRow("no command") << QStringList{} << "usage";
    QTest::newRow("not running") << QStringList{"status"} << "is not running";
    QTest::newRow("bad option") << QStringList{"run", "--speed", "3"} << "unknown option";
    QTest::newRow("bad tick") << QStringList{"run", "--tick", "0"} << "--tick must be";
    QTest::newRow("missing file") << QStringList{"run", "--cell", "/nonexistent.ini"} << "cannot open";
}

void TestSimCell::commandLineRefusals()
{
    QFETCH(QStringList, arguments);
    SimCell sim; // not started
    QString output;
    QVERIFY(!sim.command(arguments, &output));
    QFETCH(QString, message);
    QVERIFY2(output.contains(message), qPrintable(output));
}

QTEST_GUILESS_MAIN(TestSimCell)
#include "tst_simcell.moc"
