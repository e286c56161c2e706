// The reference-standard control of the simulated cell: its rows, what an
// Apply does to the cell, what it says without a cell.
#include "refcontrolwindow.h"
#include "simcell.h"

#include "cell_runtime.h"

#include <orvane/cell.h>
#include <orvane/shm.h>

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

#include <cmath>

namespace
{

const orv_control *control_block()
{
    return static_cast<const orv_control *>(get_shrd_mem(ORV_SEG_CONTROL, 0));
}

double live_millivolts(int channel)
{
    const auto *mv = static_cast<const orv_millivolts *>(get_shrd_mem(ORV_SEG_MILLIVOLTS, 0));
    return orvsim::load_live(&mv[channel].value);
}

int64_t ticks()
{
    return __atomic_load_n(&control_block()->ticks, __ATOMIC_ACQUIRE);
}

} // namespace

class TestRefControl : public QObject
{
    Q_OBJECT
  private slots:
    void rowsAreTheActiveChannels();
    void parsesValues_data();
    void parsesValues();
    void applyReachesTheCell_data();
    void applyReachesTheCell();
    void showsValuesAppliedElsewhere();
    void withoutCell();
    void cellStops();
};

void TestRefControl::rowsAreTheActiveChannels()
{
    SimCell cell;
    QVERIFY(cell.start({"--tick", "20"}));
    RefControlWindow window;
    QVERIFY(window.connected());
    const int coolant = window.rowOf(2);
    QVERIFY(coolant >= 0);
    QCOMPARE(window.rowOf(3), -1);  // FUEL TEMP is not in use
    QCOMPARE(window.rowOf(11), -1); // AIR FLOW is in a host state of its own
    QCOMPARE(window.rowOf(0), 0);
    const QVector<RefChannel> channels =
        active_channels(static_cast<const orv_sys_attr *>(get_shrd_mem(ORV_SEG_SYS_ATTR, 0)),
                        static_cast<const orv_ai_real *>(get_shrd_mem(ORV_SEG_AI_REAL, 0)),
                        static_cast<const orv_ai_transfer *>(get_shrd_mem(ORV_SEG_AI_TRANSFER, 0)));
    QCOMPARE(window.rowCount(), channels.size());
    QCOMPARE(channels[coolant].name, QStringLiteral("COOLANT TEMP"));
    QCOMPARE(channels[coolant].units, QStringLiteral("C"));
    QCOMPARE(channels[coolant].table, QStringLiteral("coolant_temp"));
    // The field starts at what the cell applies now.
    QCOMPARE(window.valueField(coolant)->text().toDouble(), control_block()->applied[2]);
    QVERIFY(window.cellText().contains(cell.instance()));
}

void TestRefControl::parsesValues_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<double>("value");
    QTest::addColumn<QString>("message");
    QTest::newRow("whole") << "80" << true << 80.0 << "";
    QTest::newRow("blanks and sign") << "  -12.5 " << true << -12.5 << "";
    QTest::newRow("exponent") << "1.5e2" << true << 150.0 << "";
    QTest::newRow("empty") << "" << false << 0.0 << "Type a value to apply first.";
    QTest::newRow("blanks only") << "   " << false << 0.0 << "Type a value to apply first.";
    QTest::newRow("letters") << "abc" << false << 0.0 << "'abc' is not a number.";
    QTest::newRow("decimal comma") << "12,5" << false << 0.0 << "'12,5' is not a number.";
    QTest::newRow("overflow") << "1e999" << false << 0.0 << "'1e999' is not a number.";
    QTest::newRow("nan") << "nan" << false << 0.0 << "'nan' is not a number.";
}

void TestRefControl::parsesValues()
{
    QFETCH(QString, text);
    QFETCH(bool, accepted);
    double value = 0.0;
    QString message;
    QCOMPARE(parse_reference_value(text, value, message), accepted);
    if (accepted)
        QTEST(value, "value");
    else
        QTEST(message, "message");
}

void TestRefControl::applyReachesTheCell_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<QString>("entry");
    QTest::addColumn<bool>("applied");
    QTest::addColumn<QString>("said");
    QTest::newRow("coolant 80") << 2 << "80" << true << "Channel 2 COOLANT TEMP: 80 C applied.";
    QTest::newRow("oil pressure 55.5")
        << 4 << "55.5" << true << "Channel 4 OIL PRESS: 55.5 KPA applied.";
    QTest::newRow("coolant letters")
        << 2 << "hot" << false << "Channel 2 COOLANT TEMP: 'hot' is not a number.";
}

void TestRefControl::applyReachesTheCell()
{
    QFETCH(int, channel);
    QFETCH(QString, entry);
    QFETCH(bool, applied);
    SimCell cell;
    QVERIFY(cell.start({"--tick", "20", "--no-noise"}));
    RefControlWindow window;
    const int row = window.rowOf(channel);
    QVERIFY(row >= 0);
    const double before = control_block()->applied[channel];
    const double mv_before = live_millivolts(channel);
    window.valueField(row)->setText(entry);
    window.findChild<QPushButton *>(QStringLiteral("btnApply%1").arg(channel))->click();
    if (!applied) {
        QCOMPARE(control_block()->applied[channel], before);
        QTEST(window.messageText(), "said");
        return;
    }
    QCOMPARE(control_block()->applied[channel], entry.toDouble());
    QVERIFY(control_block()->applied_set[channel]);
    QTEST(window.messageText(), "said");
    // The sensor's response is published at the next ticks and shown.
    const int64_t at = ticks();
    QTRY_VERIFY_WITH_TIMEOUT(ticks() > at + 1, 5000);
    QVERIFY(std::fabs(live_millivolts(channel) - mv_before) > 1e-6);
    window.refresh();
    QCOMPARE(window.millivoltsLabel(row)->text(),
             QString::asprintf("%12.5f", live_millivolts(channel)));
}

void TestRefControl::showsValuesAppliedElsewhere()
{
    SimCell cell;
    QVERIFY(cell.start({"--tick", "20"}));
    RefControlWindow window;
    const int coolant = window.rowOf(2), oil = window.rowOf(0);
    // The technician has started typing for channel 0; channel 2 is left alone.
    window.valueField(oil)->setText("55");
    window.valueField(oil)->setModified(true);
    QVERIFY(cell.apply(2, 42.5));
    QVERIFY(cell.apply(0, 17));
    window.refresh();
    QCOMPARE(window.valueField(coolant)->text(), QStringLiteral("42.5"));
    QCOMPARE(window.valueField(oil)->text(), QStringLiteral("55")); // not overwritten
    QVERIFY(window.applyRow(oil));
    QCOMPARE(control_block()->applied[0], 55.0);
    QVERIFY(cell.apply(0, 18));
    window.refresh();
    QCOMPARE(window.valueField(oil)->text(),
             QStringLiteral("18")); // applied: it follows the cell again
}

void TestRefControl::withoutCell()
{
    SimCell cell; // a root and an instance, no cell running
    RefControlWindow window;
    QVERIFY(!window.connected());
    QCOMPARE(window.rowCount(), 0);
    QVERIFY(window.cellText().startsWith("No simulated cell is running for ORVANE_CELL=" +
                                         cell.instance()));
    // It connects once the cell is up.
    QVERIFY(cell.start({"--tick", "20"}));
    QTRY_VERIFY_WITH_TIMEOUT(window.connected(), 5000);
    QVERIFY(window.rowCount() > 0);
}

void TestRefControl::cellStops()
{
    SimCell cell;
    QVERIFY(cell.start({"--tick", "20"}));
    RefControlWindow window;
    QVERIFY(window.connected());
    QVERIFY(cell.stop());
    QTRY_VERIFY_WITH_TIMEOUT(!window.connected(), 5000);
    QCOMPARE(window.rowCount(), 0);
    QVERIFY(!window.applyRow(0));
}

QTEST_MAIN(TestRefControl)
#include "tst_refcontrol.moc"
