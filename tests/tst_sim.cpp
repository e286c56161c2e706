// The simulated cell (description file, demo files, command line) and the reference control.
#include "refcontrolwindow.h"
#include "simcell.h"
#include "cell_model.h"
#include "cell_runtime.h"
#include "demo_tables.h"
#include "ini.h"
#include "archive_reader.h"
#include "drift.h"
#include <orvane/tables.h>
#include <orvane/cell.h>
#include <orvane/shm.h>
#include <orvane/units.h>
#include <orvane/vars.h>
#include <QtTest>
#include <QtWidgets>

using namespace orvsim;

namespace
{
const orv_control *control() { return static_cast<orv_control *>(get_shrd_mem(ORV_SEG_CONTROL, 0)); }
int64_t ticks() { return __atomic_load_n(&control()->ticks, __ATOMIC_ACQUIRE); }
double live_mv(int channel)
{
    const auto *mv = static_cast<const orv_millivolts *>(get_shrd_mem(ORV_SEG_MILLIVOLTS, 0));
    return mv ? load_live(&mv[channel].value) : std::nan("");
}
QByteArray swap(const QString &path, const QByteArray &bytes) // gives the old bytes
{
    QFile file(path);
    const QByteArray old = file.open(QIODevice::ReadWrite) ? file.readAll() : "-";
    return file.resize(0) && file.write(bytes) == bytes.size() ? old : "-";
}
} // namespace

class TestSim : public QObject
{
    Q_OBJECT
    SimCell cell_;

  private slots:
    void initTestCase() { QVERIFY2(cell_.start({"--tick", "10", "--no-noise"}), qPrintable(cell_.lastOutput())); }
    void description_data()
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
    void description()
    {
        QFETCH(QString, text);
        QFETCH(QString, reason);
        IniDocument doc;
        IniError error;
        CellSpec cell;
        const bool ok = parse_ini_string(text.toStdString(), doc, error) && cell_from_ini(doc, cell, error);
        QTEST(error.line, "line");
        QVERIFY2(!ok && QString::fromStdString(error.reason).contains(reason), error.reason.c_str());
    }
    void demoTableText_data()
    {
        QTest::addColumn<int>("channel");
        QTest::addColumn<QStringList>("expected");
        QTest::newRow("interpolation") << 0 << QStringList{"@AUG07", "#type_code\nINTERPOLATION           \n",
            "#number of points\n11\n", "      0.00000     -10.00000\n", "     10.00000     150.00000\n"};
        QTest::newRow("polynomial") << 4 << QStringList{"#type_code\nPOLYNOMIAL              \n",
            "#coefficients\n          0\n        9.5\n      0.005\n"};
        QTest::newRow("scaled") << 7 << QStringList{"#type_code\nSCALED", "#conversion factor\n 0.5\n"};
        QTest::newRow("range") << 6 << QStringList{"@POLY3", "RANGE=1 \\\n   C0=0 \\\n",
            "RANGE=0 C0=0 C1=3 C2=0.0001 MIN=0 MAX=301 BIAS=0 GAIN=1.0 \n"};
    }
    void demoTableText()
    {
        QFETCH(int, channel);
        QFETCH(QStringList, expected);
        const QString text = QString::fromStdString(demo_table_text(*default_cell().channel(channel), 1700000000));
        expected << "#last_cal(time_t)        cal_interval\n 1700000000               26[week]\n";
        for (const QString &piece : expected)
            QVERIFY2(text.contains(piece), qPrintable(QString("missing <%1> in\n%2").arg(piece, text)));
    }
    void demoFiles()
    {
        // Tables for the channels, archives only with --history and for point tables, never over a file.
        SimCell files; // a root of its own, no cell running
        const QString tables = files.path("/cell/tables/");
        QVERIFY(files.command({"demo-tables"}) && QDir(tables).entryList({"*.save"}).isEmpty());
        QCOMPARE(QDir(tables).entryList({"*.tbl"}).size(), 15); // all but the spare channel
        QVERIFY(swap(tables + "oil_temp_in.tbl", "own\n") != "-" && swap(tables + "oil_temp_in.save", "own\n") == "");
        // A table written on an earlier day: its history ends with it.
        QString dated = QString::fromLatin1(swap(tables + "coolant_temp.tbl", ""));
        dated.replace(QRegularExpression("(#last_cal\\(time_t\\)[^\n]*\n) *\\d+"), "\\1 1600000000");
        QVERIFY(swap(tables + "coolant_temp.tbl", dated.toLatin1()) == "");
        QVERIFY(files.command({"demo-tables", "--history"}));
        QCOMPARE(swap(tables + "oil_temp_in.tbl", "") + swap(tables + "oil_temp_in.save", ""), "own\nown\n");
        QVERIFY(QFile::exists(tables + "coolant_temp.save") && QFile::exists(tables + "oil_press.save"));
        QVERIFY(!QFile::exists(tables + "intake_press.save") && !QFile::exists(tables + "exh_back_press.save"));

        // The host reads the same table in force from the archive as from the table.
        auto table = std::make_unique<TableInfo>();
        QCOMPARE(read_table(qPrintable(tables + "coolant_temp.tbl"), table.get()), 0);
        void *records[500] = {};
        int64_t scratch[500] = {};
        QCOMPARE(read_archive_file_poly(1, qPrintable(tables + "coolant_temp.save"), records, scratch), short(1));
        const auto *newest = static_cast<const TableInfo *>(records[0]);
        QCOMPARE(table->last_cal, int64_t(1600000000));
        QCOMPARE(newest->last_cal, table->last_cal + 7200); // the verification after the last adjustment
        const RawData &a = newest->dim.table_poly[0].raw_data;
        const RawData &t = table->dim.table_poly[0].raw_data;
        QCOMPARE(a.count, t.count);
        for (int i = 0; i < t.count; ++i)
            QVERIFY(std::fabs(a.x[i] - t.x[i]) < 1e-5 && std::fabs(a.y[i] - t.y[i]) < 1e-4);
        // Seven rounds; each As-Found of the drifted coolant sensor is out of adjustment, and
        // the trend asks for a shorter interval than the table's 26 weeks.
        ArchiveReader reader(tables + "coolant_temp.save");
        QVERIFY(reader.open());
        const ChannelHistory history = analyse_archive(reader);
        QVERIFY(history.records.size() == 23 && reader.damage().empty());
        QStringList as_found;
        for (const RecordSummary &r : history.records)
            if (r.mode == QLatin1String("AS_FOUND"))
                as_found << QStringLiteral("%1 %2").arg(r.band).arg(r.tol_state);
        QCOMPARE(as_found.join(QLatin1Char(',')), QStringLiteral("1 OOA,1 OOA,1 OOA,1 OOA,1 OOA,1 OOA,1 OOA"));
        QCOMPARE(history.drifts.size(), size_t(7));
        const QDate last = QDateTime::fromSecsSinceEpoch(table->last_cal).date();
        QVERIFY(history.interval.known && history.interval.suggested > last);
        QVERIFY(history.interval.suggested < last.addDays(26 * 7));
    }
    void liveValues()
    {
        const ChannelSpec c = *default_cell().channel(9);
        QTRY_VERIFY_WITH_TIMEOUT(std::fabs(live_mv(9) - c.mv_for(0.0)) < 1e-9, 5000);
        QVERIFY(cell_.apply(9, 1500.0) && c.mv_for(1500.0) > 15.0); // 15 mV, drift on top
        QTRY_VERIFY_WITH_TIMEOUT(std::fabs(live_mv(9) - c.mv_for(1500.0)) < 1e-9, 5000);
        QString status;
        QVERIFY(cell_.command({"status"}, &status) && QFile::exists(cell_.path("/cell/tables/dyno_torque.tbl")));
        const QRegularExpression row(" 9  DYNO TORQUE +1 +NM +dyno_torque +1500.0000 ");
        QVERIFY2(status.contains(row), qPrintable(status));
        // Frozen, the clock goes on but the values stay, whatever is applied meanwhile.
        QVERIFY(cell_.command({"freeze"}) && cell_.apply(9, 500.0));
        const int64_t at = ticks();
        QTRY_VERIFY_WITH_TIMEOUT(ticks() > at + 5, 5000);
        QCOMPARE(live_mv(9), c.mv_for(1500.0));
        QVERIFY(cell_.command({"resume"}));
        QTRY_VERIFY_WITH_TIMEOUT(std::fabs(live_mv(9) - c.mv_for(500.0)) < 1e-9, 5000);
    }
    void commandLineRefusals_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("message");
        QTest::newRow("no command") << QStringList{} << "usage";
        QTest::newRow("not running") << QStringList{"status"} << "is not running";
        QTest::newRow("bad option") << QStringList{"run", "--speed", "3"} << "unknown option";
        QTest::newRow("bad tick") << QStringList{"run", "--tick", "0"} << "--tick must be";
        QTest::newRow("missing file") << QStringList{"run", "--cell", "/nonexistent.ini"} << "cannot open";
    }
    void commandLineRefusals()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        SimCell sim; // not started
        QString output;
        QVERIFY2(!sim.command(arguments, &output) && output.contains(message), qPrintable(output));
    }
    void controlApplies_data()
    {
        QTest::addColumn<int>("channel");
        QTest::addColumn<QString>("entry");
        QTest::addColumn<QString>("said");
        QTest::newRow("coolant 80") << 2 << "80" << "Channel 2 COOLANT TEMP: 80 C applied.";
        QTest::newRow("blanks and sign") << 4 << "  -12.5 " << "Channel 4 OIL PRESS: -12.5 KPA applied.";
        QTest::newRow("exponent") << 2 << "1.5e2" << "Channel 2 COOLANT TEMP: 150 C applied.";
        for (const char *text : {"", "   "})
            QTest::newRow(text) << 2 << text << "Channel 2 COOLANT TEMP: Type a value to apply first.";
        for (const char *text : {"hot", "12,5", "1e999", "nan"})
            QTest::newRow(text) << 2 << text << QString("Channel 2 COOLANT TEMP: '%1' is not a number.").arg(text);
    }
    void controlApplies()
    {
        QFETCH(int, channel);
        QFETCH(QString, entry);
        RefControlWindow window; // a row per channel in use, its field at what the cell applies now
        const int row = window.rowOf(channel);
        QVERIFY(window.connected() && window.cellText().contains(cell_.instance()) && window.rowOf(0) == 0);
        QVERIFY(window.rowOf(3) == -1 && window.rowOf(11) == -1); // not in use, in a host state of its own
        const double before = control()->applied[channel];
        const double mv_before = live_mv(channel);
        QCOMPARE(window.valueField(row)->text().toDouble(), before);
        window.valueField(row)->setText(entry);
        window.findChild<QPushButton *>(QStringLiteral("btnApply%1").arg(channel))->click();
        QTEST(window.messageText(), "said");
        const bool applied = window.messageText().endsWith(" applied.");
        QCOMPARE(control()->applied[channel], applied ? entry.toDouble() : before);
        if (!applied)
            return;
        const int64_t at = ticks(); // the sensor's response is published at the next ticks, shown
        QTRY_VERIFY_WITH_TIMEOUT(ticks() > at + 1, 5000);
        QVERIFY(control()->applied_set[channel] && std::fabs(live_mv(channel) - mv_before) > 1e-6);
        window.refresh();
        QCOMPARE(window.millivoltsLabel(row)->text(), QString::asprintf("%12.5f", live_mv(channel)));
    }
    void controlWithoutCell()
    {
        SimCell sim; // a root and an instance, no cell running yet
        RefControlWindow window;
        QVERIFY(!window.connected() && window.rowCount() == 0);
        QVERIFY(!get_shrd_mem(ORV_SEG_AI_REAL, 0) && !get_cell_name(1));
        void *pointer = &sim; // the host's services answer without a host
        vrbl_handle handle{};
        QVERIFY(!link_to_memory(ORV_SEG_SCHEDULER, &pointer) && pointer == &sim);
        QCOMPARE(units_init_access(1) & 0xFFFF, 0xFFFF);
        QCOMPARE(int(join_layer(3)) * 10 + find_variable("instr_t", &handle), 0xFFFF * 10 + ORV_FAILURE);
        QVERIFY(window.cellText().startsWith("No simulated cell is running for ORVANE_CELL=" + sim.instance()));
        QVERIFY(sim.start({"--tick", "20"}));
        QTRY_VERIFY_WITH_TIMEOUT(window.connected() && window.rowCount() > 0, 5000);
        // A host that vanishes leaves no segment behind and its instance free for a new one.
        QVERIFY(sim.command({"vanish"}) && !get_shrd_mem(ORV_SEG_AI_REAL, 0) && !get_shrd_mem(ORV_SEG_CONTROL, 0));
        QVERIFY2(sim.command({"start"}), qPrintable(sim.lastOutput()));
        QTRY_VERIFY_WITH_TIMEOUT(get_shrd_mem(ORV_SEG_AI_REAL, 0) && window.connected(), 5000);
        QVERIFY(sim.stop());
        QTRY_VERIFY_WITH_TIMEOUT(!window.connected() && window.rowCount() == 0 && !window.applyRow(0), 5000);
    }
};

QTEST_MAIN(TestSim)
#include "tst_sim.moc"
