// Capturing points and what follows from them: the average against what the
// cell published, the row's walk through capture and undo, the candidate fit
// and its segments, the verdict, and the plot.
#include "comboitems.h"
#include "window_fixture.h"

#include "calibrationplot.h"
#include "vrel_util.h"

#include <qwt_text_label.h>

#include <QSignalBlocker>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

using Values = std::vector<double>;
Q_DECLARE_METATYPE(Values)

namespace {

constexpr double kUntouched = 123.25; // "not written by the code under test"

bool close_to(double actual, double expected, double tolerance = 1e-9)
{
    return std::fabs(actual - expected) <= tolerance * std::max(1.0, std::fabs(expected));
}

double evaluate(const TablePoly &poly, double x)
{
    double y = 0.0;
    for (int i = poly.num_coeff - 1; i >= 0; --i)
        y = y * x + poly.coeff[i];
    return y;
}

Values quadratic(const Values &x)
{
    Values y;
    for (double v : x)
        y.push_back(2.0 + 3.0 * v - 0.5 * v * v);
    return y;
}

void fill_long_table(LongTable &table, double value)
{
    for (int i = 0; i < kMaxPoints; ++i)
        table.x[i] = table.y[i] = table.slope[i] = table.x_intercept[i] = table.y_intercept[i] = value;
}

bool open_at(Station &station, int channel)
{
    return station.open() && station.select(channel);
}

// The boxes the fit reads, set without running their handlers.
void set_boxes(Ui::MainWindow *ui, int cal_type, int order)
{
    const QSignalBlocker type_blocker(ui->cboCalType);
    const QSignalBlocker order_blocker(ui->cboOrderOfPolynomial);
    ui->cboCalType->setCurrentIndex(cal_type);
    ui->cboOrderOfPolynomial->clear();
    ui->cboOrderOfPolynomial->addItems(orders_up_to(7));
    ui->cboOrderOfPolynomial->setCurrentIndex(order - 1);
}

} // namespace

class TestCapture : public QObject {
    Q_OBJECT
private slots:
    void cleanup();
    void averageOfPublishedValues();
    void ticksReachTheWindowOnlyDuringAnAverage();
    void liveTitleLayout();
    void captureConvertsThroughTheTable_data();
    void captureConvertsThroughTheTable();
    void finishOutsideTheRowsIsIgnored();
    void captureAndUndo();
    void verdictAtBandBoundaries_data();
    void verdictAtBandBoundaries();
    void refit_data();
    void refit();
    void segments_data();
    void segments();
    void calTypeSwitch_data();
    void calTypeSwitch();
};

void TestCapture::cleanup()
{
    captured_count = 0;
    const QWidgetList tops = QApplication::topLevelWidgets();
    QVERIFY(std::none_of(tops.begin(), tops.end(), [](QWidget *w) { return w->isVisible(); }));
}
void TestCapture::averageOfPublishedValues()
{
    Station station;
    QVERIFY(open_at(station, 0));
    QVERIFY(freeze(station));
    LiveValue live;
    averaging_count = 5;
    live.set(0, 3.0); // the reading at the press seeds minimum and maximum
    capture_button(station.row(2))->click();
    for (double value : {4.0, 2.0, 6.0, 5.0, 3.0}) {
        live.set(0, value);
        station.worker()->dealWithStatValuesAveraging();
    }
    live.set(0, 100.0); // the finishing tick takes no sample
    station.worker()->dealWithStatValuesAveraging();
    QVERIFY(!station.worker()->isAveraging());
    const PointRecord &stats = cfg->point_stats[2];
    QVERIFY(stats.raw_mean == 4.0 && stats.raw_min == 2.0 && stats.raw_max == 6.0);
    QVERIFY(close_to(stats.raw_stdev, std::sqrt(2.5))); // the sample deviation
    // The channel's table is a line of 16 C per mV from -10 C at 0 mV.
    QVERIFY(close_to(stats.eng_mean, -10.0 + 16.0 * 4.0) && close_to(stats.eng_min, -10.0 + 16.0 * 2.0));
    QCOMPARE(QString::fromLatin1(stats.capture_date), QDate::currentDate().toString("MM/dd/yyyy"));
    QCOMPARE(station.row(2)->captureText(), QStringLiteral("Undo"));
    QCOMPARE(station.row(2)->millivoltsLabel()->text(), QStringLiteral("  4.0000"));
    QCOMPARE(captured_count, 1);
}
// The worker's timer ticks on its own thread all the time; a tick crosses
// to the GUI thread only while an average runs, the finishing one included.
void TestCapture::ticksReachTheWindowOnlyDuringAnAverage()
{
    struct QueuedCalls : QObject {
        int count = 0;
        bool eventFilter(QObject *, QEvent *event) override
        {
            count += event->type() == QEvent::MetaCall;
            return false;
        }
    } calls;
    Station station;
    QVERIFY(open_at(station, 0));
    station.worker()->installEventFilter(&calls);
    QTest::qWait(400);
    QCOMPARE(calls.count, 0);
    averaging_count = 4;
    capture_button(station.row(1))->click();
    QTRY_VERIFY(!station.worker()->isAveraging());
    QTest::qWait(200);
    // Four samples and the finishing tick; one more may have been on its way.
    QVERIFY2(calls.count == 5 || calls.count == 6, qPrintable(QString::number(calls.count)));
    QCOMPARE(point_samples[1], 4);
    const int after = calls.count;
    QTest::qWait(400);
    QCOMPARE(calls.count, after);
}
// The live title is rewritten whenever the reading moves; the plot is laid
// out again only when the title's room changes, and then in full.
void TestCapture::liveTitleLayout()
{
    Station station;
    QVERIFY(open_at(station, 0) && freeze(station));
    MainWindow &window = station.window();
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    CalibrationPlot *plot = window.form()->dataPlot;
    QwtTextLabel *label = plot->titleLabel();
    LiveValue live;
    // A layout that moved the parts is checked once more before it counts
    // as settled.
    for (double mv : {1.0, 1.05}) {
        live.set(0, mv);
        window.draw_plots_info(cfg);
        QCoreApplication::processEvents();
    }
    const int settled = plot->layoutCount();
    const QRect canvas = plot->canvas()->geometry();
    for (double mv : {1.1, 1.25, 1.375}) {
        live.set(0, mv);
        window.draw_plots_info(cfg);
    }
    QCOMPARE(plot->layoutCount(), settled);
    QCOMPARE(label->text().text(), QStringLiteral("Current Point:   1.3750 / 12.0000"));
    // Words that need a second line take room from the canvas.
    const QString long_title = QStringLiteral("a title of many words ").repeated(16);
    plot->setLiveTitle(long_title);
    QVERIFY(plot->layoutCount() > settled);
    QVERIFY(plot->canvas()->geometry().top() > canvas.top());
    // Back to one line: the canvas gets its room back.
    live.set(0, 1.0);
    window.draw_plots_info(cfg);
    QCOMPARE(plot->canvas()->geometry(), canvas);
    // A resize lays out anew; once settled, a move of the reading keeps that.
    const int before_resize = plot->layoutCount();
    window.resize(window.width() - 120, window.height());
    QCoreApplication::processEvents();
    QVERIFY(plot->layoutCount() > before_resize);
    live.set(0, 1.125);
    window.draw_plots_info(cfg);
    const int resized = plot->layoutCount();
    live.set(0, 1.25);
    window.draw_plots_info(cfg);
    QCOMPARE(plot->layoutCount(), resized);
}
void TestCapture::captureConvertsThroughTheTable_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<double>("applied");
    QTest::addColumn<double>("tolerance"); // the sensor's drift at that value, and some
    QTest::newRow("interpolation") << 0 << 70.0 << 0.5;
    QTest::newRow("polynomial") << 4 << 500.0 << 1.5;
    QTest::newRow("polynomial range") << 6 << 150.0 << 0.5;
}
void TestCapture::captureConvertsThroughTheTable()
{
    QFETCH(int, channel);
    QFETCH(double, applied);
    QFETCH(double, tolerance);
    Station station;
    QVERIFY(open_at(station, channel));
    averaging_count = 3;
    QVERIFY(station.applyAndCapture(channel, 0, applied));
    const double mean = cfg->point_stats[0].eng_mean;
    QVERIFY2(std::fabs(mean - applied) < tolerance, qPrintable(QString::number(mean)));
    QVERIFY(cfg->point_stats[0].raw_mean > 0.0);
}
void TestCapture::finishOutsideTheRowsIsIgnored()
{
    Station station;
    QVERIFY(open_at(station, 1));
    emit station.worker()->finishedAveraging(-1);
    emit station.worker()->finishedAveraging(64);
    QCOMPARE(captured_count, 0);
    for (int i = 0; i < num_points; ++i)
        QCOMPARE(station.row(i)->captureText(), QStringLiteral("Capture"));
}
void TestCapture::captureAndUndo()
{
    Station station;
    QVERIFY(open_at(station, 0));
    averaging_count = 3;
    PointInfo *row = station.row(4);
    const double raw_before = cfg->table_info.dim.table_poly[0].raw_data.x[4];
    const QString field_before = row->fieldStyle();
    station.captureRow(4);
    QCOMPARE(row->captureText(), QStringLiteral("Undo"));
    QCOMPARE(cfg->table_info.point_flags[4], uint16_t(POINT_CAPTURED));
    QVERIFY(row->fieldStyle() != field_before); // coloured by its band
    QCOMPARE(cfg->new_table_poly[0].raw_data.count, int16_t(1));
    QCOMPARE(cfg->unrecorded_changes, uint16_t(1));

    Ui::MainWindow *ui = station.window().form();
    ui->btnAdjustCalibration->setStyleSheet("background-color: rgb(126,232,255)");
    station.answerer().answer("Cancel Undo");
    capture_button(row)->click();
    QCOMPARE(row->captureText(), QStringLiteral("Undo"));
    QCOMPARE(captured_count, 1);
    QCOMPARE(ui->btnAdjustCalibration->styleSheet(), QStringLiteral("background-color: rgb(238, 238,238)"));

    station.answerer().answer("Revert to Previous Value");
    capture_button(row)->click();
    QCOMPARE(station.answerer().seen()[1].title, QStringLiteral("Undo Action"));
    QCOMPARE(row->captureText(), QStringLiteral("Capture"));
    QCOMPARE(row->fieldStyle(), field_before);
    QVERIFY(cfg->table_info.dim.table_poly[0].raw_data.x[4] == raw_before && cfg->table_info.point_flags[4] == POINT_TABLE);
    QVERIFY(cfg->new_table_poly[0].raw_data.x[4] == kUnusedPoint && cfg->new_table_poly[0].raw_data.count == 0);
    QCOMPARE(captured_count, 0);
    station.captureRow(4); // captured again after the undo, it counts once
    QVERIFY(cfg->new_table_poly[0].raw_data.count == 1 && cfg->new_long_table.count == 1);
}
void TestCapture::verdictAtBandBoundaries_data()
{
    QTest::addColumn<double>("error");
    QTest::addColumn<int>("band");
    QTest::addColumn<QString>("style");
    const QString green = "background-color: rgb(0,255,0)", yellow = "background-color: rgb(255, 255, 127)",
                  orange = "background-color: rgb(255,170,0)", red = "background-color: rgb(255, 78, 78)";
    // The span of channel 0 is 160 C: 0.4, 1.6 and 3.2 C close the bands.
    QTest::newRow("exact") << 0.0 << 0 << green;
    QTest::newRow("at no-adjust") << 0.4 << 0 << green;
    QTest::newRow("ulp above no-adjust") << std::nextafter(0.4, 10.0) << 1 << yellow;
    QTest::newRow("at oot") << 1.6 << 1 << yellow;
    QTest::newRow("ulp above oot") << std::nextafter(1.6, 10.0) << 2 << orange;
    QTest::newRow("at soot") << 3.2 << 2 << orange;
    QTest::newRow("ulp above soot") << std::nextafter(3.2, 10.0) << 3 << red;
    QTest::newRow("below") << -2.0 << 2 << orange;
    QTest::newRow("nan") << std::numeric_limits<double>::quiet_NaN() << 0 << green;
}
void TestCapture::verdictAtBandBoundaries()
{
    QFETCH(double, error);
    Station station;
    QVERIFY(open_at(station, 0));
    QCOMPARE(cfg->table_info.no_adjust_tol, 0.4);
    cfg->table_info.oot_tol = 1.6; // exact tolerances, free of unit rounding
    cfg->table_info.soot_tol = 3.2;
    cfg->point_stats[6].ref_value = 0.0; // so the error is exactly the mean
    cfg->point_stats[6].eng_mean = error;
    short band = -1;
    QLineEdit *field = station.row(6)->currentValueField();
    station.window().classifyPoint(6, field, band);
    QTEST(int(band), "band");
    QTEST(field->styleSheet(), "style");
}
void TestCapture::refit_data()
{
    QTest::addColumn<int>("cal_type"); // cboCalType index
    QTest::addColumn<int>("order");
    QTest::addColumn<int>("range");
    QTest::addColumn<Values>("x"); // in capture order, spread over the slots
    QTest::addColumn<Values>("y");
    QTest::addColumn<int>("count"); // the commits' tally
    QTest::addColumn<int>("coefficients");
    QTest::addColumn<Values>("coeff"); // empty: the fit must reproduce the points
    QTest::addColumn<Values>("sorted_x");
    const Values five{4, 0, 3, 1, 2}, sorted{0, 1, 2, 3, 4}, nine{8, 0, 7, 1, 6, 2, 5, 3, 4};
    const Values line{3.0, 1.0}; // least squares through the quadratic at 0..4
    const double m = kUnusedPoint;
    // clang-format off
    QTest::newRow("one point: no fit") << 0 << 1 << 0 << Values{2.5} << Values{30} << 1 << 0 << Values{} << Values{2.5};
    QTest::newRow("poly order 3, two points: a line") << 1 << 3 << 0 << Values{3, 1} << Values{20, 10} << 2 << 2 << Values{5, 5} << Values{1, 3};
    QTest::newRow("poly order 3, a quadratic") << 1 << 3 << 0 << five << quadratic(five) << 5 << 4 << Values{2, 3, -0.5, 0} << sorted;
    QTest::newRow("poly order 1: least squares") << 1 << 1 << 0 << five << quadratic(five) << 5 << 2 << line << sorted;
    QTest::newRow("interp fits a line whatever the order") << 0 << 5 << 0 << five << quadratic(five) << 5 << 2 << line << sorted;
    QTest::newRow("order 7, three points: three") << 1 << 7 << 0 << Values{2, 0, 1} << quadratic({2, 0, 1}) << 3 << 3 << Values{2, 3, -0.5} << Values{0, 1, 2};
    QTest::newRow("order 7, nine points: eight") << 1 << 7 << 0 << nine << quadratic(nine) << 9 << 8 << Values{} << Values{0, 1, 2, 3, 4, 5, 6, 7, 8};
    QTest::newRow("poly range fits its own range") << 2 << 2 << 2 << five << quadratic(five) << 5 << 3 << Values{2, 3, -0.5} << sorted;
    QTest::newRow("reference of the marker drops the point") << 1 << 3 << 0 << Values{1, 2, 3} << Values{10, m, 30} << 3 << 2 << Values{0, 10} << Values{1, 3};
    QTest::newRow("raw within 1e-6 of the marker drops it") << 1 << 3 << 0 << Values{1, m - 0.9e-6, 3} << Values{10, 20, 30} << 3 << 2 << Values{0, 10} << Values{1, 3};
    QTest::newRow("1e-5 from the marker is a value") << 1 << 1 << 0 << Values{1, 2} << Values{10, m + 1e-5} << 2 << 2 << Values{} << Values{1, 2};
    QTest::newRow("tally above the filled slots") << 0 << 1 << 0 << Values{2, 1} << Values{5, 3} << 4 << 2 << Values{1, 2} << Values{1, 2};
    // clang-format on
}
void TestCapture::refit()
{
    QFETCH(int, cal_type);
    QFETCH(int, range);
    QFETCH(Values, x);
    QFETCH(Values, y);
    QFETCH(int, coefficients);
    QFETCH(Values, coeff);
    QFETCH(Values, sorted_x);
    Station station;
    QVERIFY(open_at(station, 0));
    QFETCH(int, order);
    set_boxes(station.window().form(), cal_type, order);
    clear_new_table(cfg);
    clear_new_long_table(cfg);
    cfg->table_info.range_index = int16_t(range);
    cfg->table_info.tbl_type = cal_type == 0 ? TBL_INTERPOLATION : cal_type == 1 ? TBL_POLYNOMIAL : TBL_POLYNOMIAL_RANGE;
    TablePoly &candidate = cfg->new_table_poly[range];
    for (size_t i = 0; i < x.size(); ++i) { // slots 0, 3, 6, ...: gaps between captures
        candidate.raw_data.x[3 * i] = x[i];
        candidate.raw_data.y[3 * i] = y[i];
    }
    QFETCH(int, count);
    candidate.raw_data.count = int16_t(count);
    candidate.num_coeff = 99;
    cfg->new_long_table.count = 7; // what the commits left
    station.window().refitCapturedPoints(cfg);
    QCOMPARE(int(candidate.num_coeff), coefficients);
    if (range != 0)
        QCOMPARE(int(cfg->new_table_poly[0].num_coeff), 0); // another range's fit stays out
    for (int i = 0; i < int(coeff.size()); ++i)
        QVERIFY2(close_to(candidate.coeff[i], coeff[size_t(i)], 1e-7), qPrintable(QString::number(i)));
    if (coeff.empty() && coefficients > 0)
        for (size_t i = 0; i < x.size(); ++i)
            QVERIFY(close_to(evaluate(candidate, x[i]), y[i], 1e-6));
    const int n = int(sorted_x.size());
    QCOMPARE(int(cfg->new_long_table.count), n > 1 ? n : 7);
    for (int i = 0; i < n; ++i) {
        QCOMPARE(cfg->new_long_table.x[i], sorted_x[size_t(i)]);
        const auto at = std::find(x.begin(), x.end(), sorted_x[size_t(i)]) - x.begin();
        QCOMPARE(cfg->new_long_table.y[i], y[size_t(at)]); // each pair kept together
    }
}
void TestCapture::segments_data()
{
    QTest::addColumn<Values>("x");
    QTest::addColumn<Values>("y");
    QTest::addColumn<Values>("slope"); // the last repeats the one before it; empty: nothing written
    QTest::newRow("two points") << Values{0, 2} << Values{0, 4} << Values{2, 2};
    QTest::newRow("rising, flat, falling") << Values{0, 1, 3, 5} << Values{1, 3, 3, -1} << Values{2, 0, -2, -2};
    QTest::newRow("negative raw values") << Values{-4, -2, 0} << Values{-10, -6, 0} << Values{2, 3, 3};
    QTest::newRow("equal raw values: intercepts kept") << Values{1.5, 1.5} << Values{10, 20} << Values{0, 0};
    QTest::newRow("one point") << Values{1} << Values{2} << Values{};
    QTest::newRow("65 points") << Values(65, 1.0) << Values(65, 2.0) << Values{};
}
void TestCapture::segments()
{
    QFETCH(Values, x);
    QFETCH(Values, y);
    QFETCH(Values, slope);
    Station station;
    QVERIFY(open_at(station, 0));
    auto points = std::make_unique<PointBlock>();
    const int n = int(x.size());
    std::copy(x.begin(), x.begin() + std::min(n, int(kMaxPoints)), points->x);
    std::copy(y.begin(), y.begin() + std::min(n, int(kMaxPoints)), points->y);
    points->count = n;
    auto table = std::make_unique<LongTable>();
    fill_long_table(*table, kUntouched);
    table->count = 5;
    const auto before = std::make_unique<LongTable>(*table);
    station.window().buildSegments(*points, table.get());
    if (slope.empty()) {
        QVERIFY(std::memcmp(before.get(), table.get(), sizeof(LongTable)) == 0);
        return;
    }
    QCOMPARE(int(table->count), n);
    for (int i = 0; i < n; ++i) {
        QCOMPARE(table->x[i], x[size_t(i)]);
        QCOMPARE(table->slope[i], slope[size_t(i)]);
        const int k = std::min(i, n - 2); // the segment's line meets both its points, y = 0 at x_intercept
        if (x[size_t(k)] == x[size_t(k) + 1])
            QCOMPARE(table->y_intercept[i], kUntouched);
        else if (slope[size_t(i)] != 0.0)
            QVERIFY(close_to(table->y_intercept[i] + slope[size_t(i)] * x[size_t(k) + 1], y[size_t(k) + 1]) &&
                    close_to(slope[size_t(i)] * table->x_intercept[i] + table->y_intercept[i], 0.0));
    }
    QCOMPARE(table->slope[n], kUntouched);
}
void TestCapture::calTypeSwitch_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("type");
    QTest::addColumn<bool>("range_box");
    QTest::addColumn<bool>("coefficients");
    QTest::newRow("polynomial to interpolation") << 4 << 0 << int(TBL_INTERPOLATION) << false << false;
    QTest::newRow("interpolation to polynomial") << 0 << 1 << int(TBL_POLYNOMIAL) << false << true;
    QTest::newRow("polynomial to range") << 4 << 2 << int(TBL_POLYNOMIAL_RANGE) << true << true;
    QTest::newRow("range to polynomial") << 6 << 1 << int(TBL_POLYNOMIAL) << false << true;
}
void TestCapture::calTypeSwitch()
{
    QFETCH(int, channel);
    QFETCH(int, index);
    Station station;
    QVERIFY(open_at(station, channel));
    Ui::MainWindow *ui = station.window().form();
    ui->cboCalType->setCurrentIndex(index);
    QTEST(int(cfg->table_info.tbl_type), "type");
    QTEST(ui->cboPolyRangeIndex->isEnabled(), "range_box");
    QTEST(!ui->coeffFrame->isHidden(), "coefficients");
    QCOMPARE(ui->cboOrderOfPolynomial->isEnabled(), index != 0);
}
QTEST_MAIN(TestCapture)
#include "tst_capture.moc"
