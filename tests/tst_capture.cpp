// Capturing points: the average of a point against what the cell
// published, the row's walk through capture and undo, and the verdict.
#include "station.h"

#include "mainwindow.h"
#include "pointinfo.h"
#include "vrel_cfg.h"
#include "worker.h"

#include "ui_mainwindow.h"

#include "environment_settings.h"
#include "report.h"

#include <orvane/cell.h>
#include <orvane/shm.h>
#include <orvane/vars.h>

#include <QPushButton>
#include <QtTest>

#include <cmath>
#include <limits>

namespace {

// The cell is frozen and the test writes the channel's live value itself.
class LiveValue {
public:
    explicit LiveValue(int channel) : channel_(channel)
    {
        mv_ = static_cast<orv_millivolts *>(orvane_segment_attach_rw(ORV_SEG_MILLIVOLTS, nullptr));
    }
    bool valid() const { return mv_ != nullptr; }
    void set(double value) { mv_[channel_].value = value; }

private:
    int channel_;
    orv_millivolts *mv_ = nullptr;
};

QPushButton *capture_button(PointInfo *row)
{
    return row->findChild<QPushButton *>(QStringLiteral("btnCapture"));
}

} // namespace

class TestCapture : public QObject {
    Q_OBJECT
private slots:
    void averageMatchesPublishedValues();
    void averageCountIsExact();
    void secondStartAndIndexChangeIgnored();
    void rowWalksThroughCaptureAndUndo();
    void undoCancelKeepsThePoint();
    void captureNewCountsAtThePress();
    void verdictAtBandBoundaries_data();
    void verdictAtBandBoundaries();
    void oneRedRowMakesTheChannelRed();
    void recordButtonLightsWhenAllCaptured();
    void environmentAveragedWithThePoint();
};

void TestCapture::averageMatchesPublishedValues()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    QVERIFY(station.cell().command({"freeze"}));
    LiveValue live(0);
    QVERIFY(live.valid());
    averaging_count = 5;
    live.set(3.0); // the reading at the press seeds minimum and maximum
    capture_button(station.row(2))->click();
    QVERIFY(station.worker()->isAveraging());
    const double samples[] = {4.0, 2.0, 6.0, 5.0, 3.0};
    for (double value : samples) {
        live.set(value);
        station.worker()->dealWithStatValuesAveraging();
    }
    live.set(100.0); // the finishing tick takes no sample
    station.worker()->dealWithStatValuesAveraging();
    QVERIFY(!station.worker()->isAveraging());

    const PointRecord &stats = cfg->point_stats[2];
    QCOMPARE(stats.raw_mean, 4.0);
    QCOMPARE(stats.raw_min, 2.0);
    QCOMPARE(stats.raw_max, 6.0);
    QVERIFY(std::fabs(stats.raw_stdev - std::sqrt(2.5)) < 1e-12); // the sample deviation
    // The channel's table is a line of 16 C per mV from -10 C at 0 mV.
    QVERIFY(std::fabs(stats.eng_mean - (-10.0 + 16.0 * 4.0)) < 1e-9);
    QVERIFY(std::fabs(stats.eng_min - (-10.0 + 16.0 * 2.0)) < 1e-9);
    QCOMPARE(QString::fromLatin1(stats.capture_date), QDate::currentDate().toString("MM/dd/yyyy"));
    QCOMPARE(station.row(2)->captureText(), QStringLiteral("Undo"));
    QCOMPARE(station.row(2)->millivoltsLabel()->text(), QStringLiteral("  4.0000"));
    QCOMPARE(captured_count, 1);
}

void TestCapture::averageCountIsExact()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(1));
    QSignalSpy finished(station.worker(), &Worker::finishedAveraging);
    averaging_count = 7;
    capture_button(station.row(0))->click();
    for (int tick = 0; tick < 7; ++tick)
        station.worker()->dealWithStatValuesAveraging();
    QCOMPARE(finished.count(), 0);
    QCOMPARE(station.worker()->sampleCount(), 7);
    station.worker()->dealWithStatValuesAveraging();
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toInt(), 0);
    QCOMPARE(raw_stats.count, int64_t(7));
}

void TestCapture::secondStartAndIndexChangeIgnored()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(1));
    QSignalSpy finished(station.worker(), &Worker::finishedAveraging);
    averaging_count = 4;
    capture_button(station.row(1))->click();
    station.worker()->dealWithStatValuesAveraging();
    station.worker()->dealWithStatValuesAveraging();
    emit station.window().startAveraging();  // a second start
    emit station.window().setPointIndex(5); // an index change
    QCOMPARE(station.worker()->sampleCount(), 2);
    QCOMPARE(int(station.worker()->pointIndex()), 1);
    station.worker()->dealWithStatValuesAveraging();
    station.worker()->dealWithStatValuesAveraging();
    station.worker()->dealWithStatValuesAveraging();
    QCOMPARE(finished.count(), 1);
    QCOMPARE(finished.at(0).at(0).toInt(), 1);
}

void TestCapture::rowWalksThroughCaptureAndUndo()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    averaging_count = 3;
    PointInfo *row = station.row(4);
    const double raw_before = cfg->table_info.dim.table_poly[0].raw_data.x[4];
    const QString field_before = row->fieldStyle();
    station.captureRow(4);
    QCOMPARE(row->captureText(), QStringLiteral("Undo"));
    QCOMPARE(cfg->table_info.point_flags[4], uint16_t(POINT_CAPTURED));
    QVERIFY(row->fieldStyle() != field_before); // coloured by its band
    QCOMPARE(cfg->new_table_poly[0].raw_data.count, int16_t(1));
    QCOMPARE(cfg->new_long_table.count, int16_t(1));
    QCOMPARE(cfg->unrecorded_changes, uint16_t(1));

    station.answerer().answer("Revert to Previous Value");
    capture_button(row)->click();
    QCOMPARE(station.answerer().seen().size(), 1);
    QCOMPARE(station.answerer().seen()[0].title, QStringLiteral("Undo Action"));
    QCOMPARE(row->captureText(), QStringLiteral("Capture"));
    QCOMPARE(cfg->table_info.dim.table_poly[0].raw_data.x[4], raw_before);
    QCOMPARE(cfg->table_info.point_flags[4], uint16_t(POINT_TABLE));
    QCOMPARE(row->fieldStyle(), field_before);
    QCOMPARE(cfg->new_table_poly[0].raw_data.x[4], kUnusedPoint);
    QCOMPARE(cfg->new_table_poly[0].raw_data.count, int16_t(0));
    QCOMPARE(cfg->table_info.tol_state, uint16_t(0)); // the band before the capture
    QCOMPARE(captured_count, 0);

    // Captured again after the undo, it counts once.
    station.captureRow(4);
    QCOMPARE(cfg->new_table_poly[0].raw_data.count, int16_t(1));
    QCOMPARE(cfg->new_long_table.count, int16_t(1));
}

void TestCapture::undoCancelKeepsThePoint()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    averaging_count = 2;
    station.captureRow(0);
    station.window().form()->btnAdjustCalibration->setStyleSheet("background-color: rgb(126,232,255)");
    station.answerer().answer("Cancel Undo");
    capture_button(station.row(0))->click();
    QCOMPARE(station.row(0)->captureText(), QStringLiteral("Undo"));
    QCOMPARE(captured_count, 1);
    QCOMPARE(station.window().form()->btnAdjustCalibration->styleSheet(),
             QStringLiteral("background-color: rgb(238, 238,238)"));
}

void TestCapture::captureNewCountsAtThePress()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    PointInfo *row = station.row(3);
    row->point_flag = POINT_NEW;
    const int16_t before = cfg->table_info.dim.table_poly[0].raw_data.count;
    averaging_count = 50;
    capture_button(row)->click();
    QCOMPARE(cfg->table_info.dim.table_poly[0].raw_data.count, int16_t(before + 1));
    QCOMPARE(row->captureText(), QStringLiteral("Averaging"));
    QVERIFY(!row->captureEnabled());
    for (int i = 0; i < 11; ++i)
        QVERIFY(!station.row(i)->captureEnabled()); // every row waits for the average
}

void TestCapture::verdictAtBandBoundaries_data()
{
    QTest::addColumn<double>("error");
    QTest::addColumn<int>("band");
    QTest::addColumn<QString>("style");
    // The span of channel 0 is 160 C: 0.4, 1.6 and 3.2 C close the bands.
    const double ooa = 0.4, oot = 1.6, soot = 3.2;
    QTest::newRow("exact") << 0.0 << 0 << "background-color: rgb(0,255,0)";
    QTest::newRow("at no-adjust") << ooa << 0 << "background-color: rgb(0,255,0)";
    QTest::newRow("ulp above no-adjust") << std::nextafter(ooa, 10.0) << 1
                                         << "background-color: rgb(255, 255, 127)";
    QTest::newRow("at oot") << oot << 1 << "background-color: rgb(255, 255, 127)";
    QTest::newRow("ulp above oot") << std::nextafter(oot, 10.0) << 2 << "background-color: rgb(255,170,0)";
    QTest::newRow("at soot") << soot << 2 << "background-color: rgb(255,170,0)";
    QTest::newRow("ulp above soot") << std::nextafter(soot, 10.0) << 3 << "background-color: rgb(255, 78, 78)";
    QTest::newRow("below") << -2.0 << 2 << "background-color: rgb(255,170,0)";
    QTest::newRow("nan") << std::numeric_limits<double>::quiet_NaN() << 0 << "background-color: rgb(0,255,0)";
}

void TestCapture::verdictAtBandBoundaries()
{
    QFETCH(double, error);
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    QCOMPARE(cfg->table_info.no_adjust_tol, 0.4);
    cfg->table_info.no_adjust_tol = 0.4; // exact tolerances, free of unit rounding
    cfg->table_info.oot_tol = 1.6;
    cfg->table_info.soot_tol = 3.2;
    cfg->point_stats[6].ref_value = 0.0; // so the error is exactly the mean
    cfg->point_stats[6].eng_mean = error;
    short band = -1;
    QLineEdit *field = station.row(6)->currentValueField();
    station.window().classifyPoint(6, field, band);
    QTEST(int(band), "band");
    QTEST(field->styleSheet(), "style");
}

void TestCapture::oneRedRowMakesTheChannelRed()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    for (int i = 0; i < num_points; ++i)
        station.row(i)->band = i % 3;
    station.row(num_points - 1)->band = 3;
    station.window().reduceTolState();
    QCOMPARE(cfg->table_info.tol_state, uint16_t(3));
    station.row(num_points - 1)->band = 0;
    station.row(num_points)->band = 3; // beyond the points in use: not counted
    station.window().reduceTolState();
    QCOMPARE(cfg->table_info.tol_state, uint16_t(2));
}

void TestCapture::recordButtonLightsWhenAllCaptured()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(1)); // 11 points
    averaging_count = 1;
    QPushButton *record = station.window().form()->btnRecordData;
    for (int i = 0; i < num_points; ++i) {
        QVERIFY(!record->isEnabled());
        station.captureRow(i);
    }
    QVERIFY(record->isEnabled());
    QCOMPARE(record->styleSheet(), QStringLiteral("background-color: rgb(126,232,255)"));
    QCOMPARE(captured_count, int(num_points));
}

void TestCapture::environmentAveragedWithThePoint()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    QVERIFY(station.cell().command({"freeze"}));
    auto *variables = static_cast<orv_variable_segment *>(orvane_segment_attach_rw(ORV_SEG_VARIABLES, nullptr));
    QVERIFY(variables);
    auto value_of = [variables](const char *name) -> double & {
        for (int i = 0; i < variables->count; ++i)
            if (qstrcmp(variables->variables[i].name, name) == 0)
                return variables->variables[i].value;
        qFatal("no host variable %s", name);
    };
    QVERIFY(resolve_host_variable("instr_t", &room_temp_var));
    QVERIFY(resolve_host_variable("barometer", &barometer_var));
    QVERIFY(resolve_host_variable("instr_rel_hum", &humidity_var));
    env_settings->env_vars_used = 1;

    // What the cell publishes during the average: the means are 21.5 C,
    // 99 KPA and 40 PCT.
    averaging_count = 2;
    capture_button(station.row(1))->click();
    const double temperatures[] = {21.0, 22.0}, pressures[] = {98.5, 99.5}, humidities[] = {38.0, 42.0};
    for (int tick = 0; tick < 2; ++tick) {
        value_of("instr_t") = temperatures[tick];
        value_of("barometer") = pressures[tick];
        value_of("instr_rel_hum") = humidities[tick];
        station.worker()->dealWithStatValuesAveraging();
    }
    station.worker()->dealWithStatValuesAveraging();
    QCOMPARE(cfg->env[1].temperature, 21.5);
    QCOMPARE(cfg->env[1].pressure, 99.0);
    QCOMPARE(cfg->env[1].humidity, 40.0);

    build_site_table(); // as the environment form does before it reads the settings
    load_environment_settings(); // a first start writes the settings file with the sites
    num_points = 2;
    write_calibration_report(CAL_VERIFICATION);
    const QDir reports(station.cell().path("/cell/tables/verifications"));
    const QStringList files = reports.entryList({"oil_temp_in_AL_*.csv"});
    QCOMPARE(files.size(), 1);
    QFile report(reports.filePath(files.first()));
    QVERIFY(report.open(QIODevice::ReadOnly));
    const QByteArray text = report.readAll();
    QVERIFY2(text.contains("\nWs1_Hum_Rel,PCT,") && text.contains(",40.000000\n"), text.constData());
    QVERIFY(text.contains("\nWs1_P,KPA,"));
    QVERIFY(text.contains("\nCellEnv_T,C,"));
    QVERIFY(text.contains(",21.500000\n"));
    // The site's address from the settings file: the cell's site is NRTC.
    QVERIFY(text.contains("Site_Loc,-,NRTC,,,,\n"));
    QVERIFY(text.contains("Address,-,\"") && !text.contains("Address Unknown"));
    env_settings->env_vars_used = 0;
}

QTEST_MAIN(TestCapture)
#include "tst_capture.moc"
