// The calibration plot: which curves a channel shows and how, the captured
// curve as points come in, and the live point's drawing, which must cost
// nothing while the input stands still.
#include "calibrationfiles.h"
#include "station.h"
#include "warningguard.h"

#include "conversion.h"
#include "functions.h"
#include "mainwindow.h"
#include "pointinfo.h"
#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <orvane/cell.h>
#include <orvane/shm.h>

#include <qwt_legend.h>
#include <qwt_legend_label.h>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_symbol.h>

#include <QLayout>
#include <QPushButton>
#include <QtTest>

#include <algorithm>
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

// The cell's tick counter: a tick that began after a command has seen it.
class CellTicks {
public:
    CellTicks() { control_ = static_cast<orv_control *>(orvane_segment_attach_rw(ORV_SEG_CONTROL, nullptr)); }
    bool valid() const { return control_ != nullptr; }
    int64_t now() const { return __atomic_load_n(&control_->ticks, __ATOMIC_RELAXED); }

private:
    orv_control *control_ = nullptr;
};

// Waits until two more ticks have run, so that the cell has acted on what
// it was told before.
#define WAIT_TWO_TICKS(ticks)                                                                                      \
    do {                                                                                                           \
        const int64_t start_ = (ticks).now();                                                                      \
        QTRY_VERIFY_WITH_TIMEOUT((ticks).now() >= start_ + 2, 5000);                                               \
    } while (0)

// Counts the paint events of a widget: a replot repaints the canvas.
class PaintCounter : public QObject {
public:
    explicit PaintCounter(QWidget *widget) : widget_(widget) { widget->installEventFilter(this); }
    ~PaintCounter() override { widget_->removeEventFilter(this); }
    int count() const { return count_; }
    void reset() { count_ = 0; }
    bool eventFilter(QObject *object, QEvent *event) override
    {
        if (object == widget_ && event->type() == QEvent::Paint)
            ++count_;
        return false;
    }

private:
    QWidget *widget_;
    int count_ = 0;
};

// Delivers what is queued: the monitor's draws and the repaints they ask for.
void flush_events()
{
    for (int i = 0; i < 3; ++i) {
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

QwtPlotCurve *attached_curve(QwtPlot *plot, const QString &title)
{
    for (QwtPlotItem *item : plot->itemList(QwtPlotItem::Rtti_PlotCurve))
        if (item->title().text() == title)
            return static_cast<QwtPlotCurve *>(item);
    return nullptr;
}

QStringList attached_titles(QwtPlot *plot)
{
    QStringList titles;
    for (QwtPlotItem *item : plot->itemList(QwtPlotItem::Rtti_PlotCurve))
        titles << item->title().text();
    titles.sort();
    return titles;
}

QStringList legend_entries(QwtPlot *plot)
{
    QStringList entries;
    auto *legend = qobject_cast<QwtLegend *>(plot->legend());
    if (!legend)
        return {QStringLiteral("(no legend)")};
    QLayout *layout = legend->contentsWidget()->layout();
    for (int i = 0; i < layout->count(); ++i)
        if (auto *label = qobject_cast<QwtLegendLabel *>(layout->itemAt(i)->widget()))
            entries << label->text().text();
    entries.sort();
    return entries;
}

QString expected_title(double mv)
{
    short error = 0;
    const double eng = raw_to_engineering(cfg->table_info.tbl_type, &error, cfg, mv);
    return QString::asprintf("Current Point: %8.4f /%8.4f", mv, eng);
}

// The live point's sample store: setRawSamples makes a new one.
const void *live_samples(MainWindow &window)
{
    return window.curve(MainWindow::CurrentPointCurve)->data();
}

double engineering(double mv)
{
    short error = 0;
    return raw_to_engineering(cfg->table_info.tbl_type, &error, cfg, mv);
}

// The samples of a table padded to 64 by repeating its last point.
bool samples_are_padded_table(const QwtPlotCurve *curve, const LongTable &table)
{
    if (curve->dataSize() != size_t(kMaxPoints) || table.count < 1)
        return false;
    for (int i = 0; i < kMaxPoints; ++i) {
        const int from = std::min<int>(i, table.count - 1);
        const QPointF sample = curve->sample(i);
        if (sample.x() != table.x[from] || sample.y() != table.y[from])
            return false;
    }
    return true;
}

double polynomial(const TablePoly &poly, double x)
{
    double y = 0.0;
    for (int i = poly.num_coeff - 1; i >= 0; --i)
        y = y * x + poly.coeff[i];
    return y;
}

// 100 samples of the polynomial, evenly spaced over the table's x span.
bool samples_are_polynomial(const QwtPlotCurve *curve, const TablePoly &poly, double x_min, double x_max)
{
    if (curve->dataSize() != 100)
        return false;
    for (int i = 0; i < 100; ++i) {
        const QPointF sample = curve->sample(i);
        const double x = x_min + (x_max - x_min) * i / 99.0;
        if (std::fabs(sample.x() - x) > 1e-9 * std::max(1.0, std::fabs(x)))
            return false;
        const double y = polynomial(poly, sample.x());
        if (std::fabs(sample.y() - y) > 1e-9 * std::max(1.0, std::fabs(y)))
            return false;
    }
    return true;
}

bool open_and_select(Station &station, int channel)
{
    if (!station.open())
        return false;
    if (channel == 7)
        station.answerer().answer("OK"); // the notice of the SCALED conversion
    if (!station.select(channel))
        return false;
    station.window().show();
    return QTest::qWaitForWindowExposed(&station.window());
}

} // namespace

class TestPlot : public QObject {
    Q_OBJECT
private slots:
    void cleanup();

    void curvesAfterSelection_data();
    void curvesAfterSelection();
    void dashDotTitleFollowsTheType();
    void capturedCurve_data();
    void capturedCurve();

    void flatInputDrawsNothing();
    void deadBandHoldsTheTitle();
    void tableChangeForcesTheDraw();
    void crossingAThousandthRedraws();
    void detachedPlotIsLeftAlone();
    void deadBandKey_data();
    void deadBandKey();
    void deadBandKeyOutOfRange();

    void screenshotAfterCapture();
};

void TestPlot::cleanup()
{
    captured_count = 0;
    const QWidgetList tops = QApplication::topLevelWidgets();
    QVERIFY(std::none_of(tops.begin(), tops.end(), [](QWidget *w) { return w->isVisible(); }));
}

void TestPlot::curvesAfterSelection_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<QStringList>("curves");
    QTest::addColumn<int>("previous_pen");
    QTest::addColumn<QString>("line_title");
    QTest::addColumn<bool>("polynomial");

    const QStringList interp{"Current Point", "Previous", "Previous Curve"};
    const QStringList poly{"Current Point", "Previous", "Previous Poly Curve"};
    QTest::newRow("interpolation") << 0 << interp << int(Qt::DashLine) << "Previous Curve" << false;
    QTest::newRow("polynomial") << 4 << poly << int(Qt::NoPen) << "Previous Poly Curve" << true;
    QTest::newRow("polynomial range") << 6 << poly << int(Qt::NoPen) << "Previous Poly Curve" << true;
    QTest::newRow("scaled, loaded as interpolation") << 7 << interp << int(Qt::DashLine) << "Previous Curve"
                                                     << false;
}

void TestPlot::curvesAfterSelection()
{
    QFETCH(int, channel);
    QFETCH(QString, line_title);
    QFETCH(bool, polynomial);
    WarningGuard warnings;
    Station station;
    QVERIFY(open_and_select(station, channel));
    QVERIFY(station.answerer().allAnswered());
    QwtPlot *plot = station.window().form()->dataPlot;

    // Nothing captured: "Captured" and "Captured Poly Curve" are neither
    // on the plot nor in its legend.
    QCOMPARE(captured_count, 0);
    QTEST(attached_titles(plot), "curves");
    QTEST(legend_entries(plot), "curves");

    QwtPlotCurve *previous = attached_curve(plot, QStringLiteral("Previous"));
    QVERIFY(previous);
    QTEST(int(previous->pen().style()), "previous_pen");
    QCOMPARE(previous->pen().color(), QColor(Qt::blue));
    QVERIFY(previous->symbol());
    QCOMPARE(previous->symbol()->style(), QwtSymbol::Diamond);
    QCOMPARE(previous->symbol()->brush().color(), QColor(Qt::blue));
    QVERIFY2(samples_are_padded_table(previous, cfg->long_table), "the previous points are the table in force");

    QwtPlotCurve *line = attached_curve(plot, line_title);
    QVERIFY(line);
    QCOMPARE(line->pen().style(), Qt::DashDotLine);
    QCOMPARE(line->pen().color(), QColor(Qt::blue));
    QVERIFY(line->symbol());
    QCOMPARE(line->symbol()->style(), QwtSymbol::Cross);
    if (polynomial) {
        const LongTable &table = cfg->long_table;
        QVERIFY2(samples_are_polynomial(line, cfg->table_info.dim.table_poly[0], table.x[0],
                                        table.x[table.count - 1]),
                 "the line is the polynomial of range 0 over the table's span");
    } else {
        QVERIFY2(samples_are_padded_table(line, cfg->long_table), "the line joins the table's points");
    }

    QwtPlotCurve *current = attached_curve(plot, QStringLiteral("Current Point"));
    QVERIFY(current);
    QCOMPARE(current->pen().style(), Qt::NoPen);
    QVERIFY(current->symbol());
    QCOMPARE(current->symbol()->style(), QwtSymbol::Rect);
    QCOMPARE(current->symbol()->size(), QSize(12, 12));

    QCOMPARE(plot->axisTitle(QwtPlot::xBottom).text(), QStringLiteral("Millivolts (mv)"));
    // The heartbeat's first draw after the load writes the units and the
    // title.  (A notice during the load lets earlier draws through, of the
    // record as it was: only the units tell the load's draw apart.)
    QTRY_COMPARE_WITH_TIMEOUT(plot->axisTitle(QwtPlot::yLeft).text(),
                              QString::fromLatin1(cfg->table_info.tbl_units), 5000);
    QCOMPARE(plot->title().text(), expected_title(live_millivolts(channel))); // the cell has no noise
    QVERIFY2(warnings.warnings(QStringLiteral("connectSlotsByName")).isEmpty(),
             qPrintable(warnings.warnings().join('\n')));
}

void TestPlot::dashDotTitleFollowsTheType()
{
    Station station;
    QVERIFY(open_and_select(station, 0));
    QwtPlot *plot = station.window().form()->dataPlot;
    const struct {
        int16_t type;
        QStringList curves;
    } steps[] = {
        {TBL_POLYNOMIAL, {"Current Point", "Previous", "Previous Poly Curve"}},
        {TBL_INTERPOLATION, {"Current Point", "Previous", "Previous Curve"}},
        {TBL_POLYNOMIAL_RANGE, {"Current Point", "Previous", "Previous Poly Curve"}},
        {TBL_HYPERBOLIC, {"Current Point"}}, // no previous curve for other types
        {TBL_INTERPOLATION, {"Current Point", "Previous", "Previous Curve"}},
    };
    for (const auto &step : steps) {
        cfg->table_info.tbl_type = step.type;
        station.window().drawPreviousCurve(cfg);
        QCOMPARE(attached_titles(plot), step.curves);
        QCOMPARE(legend_entries(plot), step.curves);
    }
}

void TestPlot::capturedCurve_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<int>("captures");
    QTest::addColumn<int>("captured_pen");
    QTest::addColumn<bool>("poly_curve");

    QTest::newRow("interpolation, three points") << 0 << 3 << int(Qt::DashLine) << false;
    QTest::newRow("polynomial, three points") << 4 << 3 << int(Qt::NoPen) << true;
    QTest::newRow("polynomial, one point: no curve") << 4 << 1 << int(Qt::NoPen) << false;
    QTest::newRow("polynomial range, two points") << 6 << 2 << int(Qt::NoPen) << true;
}

void TestPlot::capturedCurve()
{
    QFETCH(int, channel);
    QFETCH(int, captures);
    QFETCH(bool, poly_curve);
    Station station;
    QVERIFY(open_and_select(station, channel));
    CellTicks ticks;
    QVERIFY(station.cell().command({"freeze"}));
    WAIT_TWO_TICKS(ticks);
    QVERIFY(num_points >= captures);
    QwtPlot *plot = station.window().form()->dataPlot;
    LiveValue live(channel);
    QVERIFY(live.valid());
    averaging_count = 3;
    for (int i = 0; i < captures; ++i) {
        live.set(1.0 + 2.0 * i);
        station.captureRow(i);
        QCOMPARE(station.row(i)->captureText(), QStringLiteral("Undo"));
    }
    QCOMPARE(captured_count, captures);

    QwtPlotCurve *captured = attached_curve(plot, QStringLiteral("Captured"));
    QVERIFY(captured);
    QTEST(int(captured->pen().style()), "captured_pen");
    QCOMPARE(captured->pen().color(), QColor(Qt::red));
    QVERIFY(captured->symbol());
    QCOMPARE(captured->symbol()->style(), QwtSymbol::Ellipse);
    QCOMPARE(int(cfg->new_long_table.count), captures);
    QVERIFY2(samples_are_padded_table(captured, cfg->new_long_table), "the captured points, padded to 64");
    QCOMPARE(captured->sample(0), QPointF(1.0, cfg->new_long_table.y[0]));
    QCOMPARE(captured->sample(63).x(), 1.0 + 2.0 * (captures - 1));

    QwtPlotCurve *poly = attached_curve(plot, QStringLiteral("Captured Poly Curve"));
    QCOMPARE(poly != nullptr, poly_curve);
    QCOMPARE(legend_entries(plot).contains(QStringLiteral("Captured Poly Curve")), poly_curve);
    QVERIFY(legend_entries(plot).contains(QStringLiteral("Captured")));
    if (poly) {
        QCOMPARE(poly->pen().style(), Qt::DashDotLine);
        QCOMPARE(poly->pen().color(), QColor(Qt::red));
        QVERIFY(poly->symbol()); // the kept symbol, given when the curve is drawn
        QCOMPARE(poly->symbol()->brush().color(), QColor(Qt::cyan));
        QCOMPARE(poly->symbol()->size(), QSize(6, 6));
        const LongTable &table = cfg->new_long_table;
        QVERIFY2(samples_are_polynomial(poly, cfg->new_table_poly[0], table.x[0], table.x[table.count - 1]),
                 "the captured fit over the captured span");
    }

    // Once the captures no longer count (a record, a units change), the
    // captured curves go, though the candidate still holds the points.
    captured_count = 0;
    station.window().drawCapturedCurve(cfg);
    QCOMPARE(int(cfg->new_long_table.count), captures);
    QVERIFY(!attached_curve(plot, QStringLiteral("Captured")));
    QVERIFY(!attached_curve(plot, QStringLiteral("Captured Poly Curve")));
    QVERIFY(!legend_entries(plot).contains(QStringLiteral("Captured")));
    QVERIFY(!legend_entries(plot).contains(QStringLiteral("Captured Poly Curve")));
}

void TestPlot::flatInputDrawsNothing()
{
    Station station;
    QVERIFY(open_and_select(station, 0));
    CellTicks ticks;
    QVERIFY(ticks.valid());
    QVERIFY(station.cell().command({"freeze"}));
    WAIT_TWO_TICKS(ticks);
    MainWindow &window = station.window();
    QwtPlot *plot = window.form()->dataPlot;
    PaintCounter paints(plot->canvas());

    cfg->table_changed = 1; // a first draw of the frozen value
    window.draw_plots_info(cfg);
    flush_events();
    QVERIFY2(paints.count() > 0, "a draw that changes something repaints the canvas");
    const QString title = plot->title().text();
    QCOMPARE(title, expected_title(live_millivolts(0)));

    paints.reset();
    const void *samples = live_samples(window);
    for (int i = 0; i < 5; ++i) {
        window.draw_plots_info(cfg);
        flush_events(); // the heartbeat's own draws come in here as well
    }
    QCOMPARE(paints.count(), 0);
    QCOMPARE(live_samples(window), samples); // no new samples either
    QCOMPARE(plot->title().text(), title);
}

void TestPlot::deadBandHoldsTheTitle()
{
    Station station;
    QVERIFY(open_and_select(station, 0));
    CellTicks ticks;
    QVERIFY(station.cell().command({"freeze"}));
    WAIT_TWO_TICKS(ticks);
    LiveValue live(0);
    QVERIFY(live.valid());
    MainWindow &window = station.window();
    QwtPlot *plot = window.form()->dataPlot;

    // Both values lie in one thousandth, in millivolts and in table units,
    // yet print differently: a title written for the second would show it.
    const double first = 1.00003125, second = 1.00005125;
    QCOMPARE(dead_band_key(first), dead_band_key(second));
    QCOMPARE(dead_band_key(engineering(first)), dead_band_key(engineering(second)));
    QVERIFY(expected_title(first) != expected_title(second));

    live.set(first);
    window.draw_plots_info(cfg);
    flush_events();
    QCOMPARE(plot->title().text(), expected_title(first));

    PaintCounter paints(plot->canvas());
    const void *samples = live_samples(window);
    live.set(second);
    window.draw_plots_info(cfg);
    flush_events();
    QCOMPARE(plot->title().text(), expected_title(first));
    QCOMPARE(paints.count(), 0);
    QCOMPARE(live_samples(window), samples);
}

void TestPlot::tableChangeForcesTheDraw()
{
    Station station;
    QVERIFY(open_and_select(station, 0));
    CellTicks ticks;
    QVERIFY(station.cell().command({"freeze"}));
    WAIT_TWO_TICKS(ticks);
    LiveValue live(0);
    MainWindow &window = station.window();
    QwtPlot *plot = window.form()->dataPlot;
    const double first = 2.00003125, second = 2.00005125; // one thousandth, two titles
    QCOMPARE(dead_band_key(first), dead_band_key(second));
    QCOMPARE(dead_band_key(engineering(first)), dead_band_key(engineering(second)));
    live.set(first);
    window.draw_plots_info(cfg);
    flush_events();
    QCOMPARE(plot->title().text(), expected_title(first));

    // A handler's table change: title, samples and replot at the next draw,
    // though the live value moved less than the dead band.
    live.set(second);
    plot->setAxisTitle(QwtPlot::yLeft, QString());
    flush_events();
    PaintCounter paints(plot->canvas());
    const void *samples = live_samples(window);
    cfg->table_changed = 1;
    window.draw_plots_info(cfg);
    QCOMPARE(cfg->table_changed, uint16_t(0));
    QCOMPARE(plot->title().text(), expected_title(second));
    QVERIFY(live_samples(window) != samples);
    QCOMPARE(window.curve(MainWindow::CurrentPointCurve)->sample(0), QPointF(second, engineering(second)));
    QCOMPARE(plot->axisTitle(QwtPlot::yLeft).text(), QStringLiteral("C"));
    flush_events();
    QVERIFY(paints.count() > 0);

    // And the next draw, with the flag clear, is quiet again.
    paints.reset();
    window.draw_plots_info(cfg);
    flush_events();
    QCOMPARE(paints.count(), 0);
}

void TestPlot::crossingAThousandthRedraws()
{
    Station station;
    QVERIFY(open_and_select(station, 0));
    CellTicks ticks;
    QVERIFY(station.cell().command({"freeze"}));
    WAIT_TWO_TICKS(ticks);
    LiveValue live(0);
    MainWindow &window = station.window();
    QwtPlot *plot = window.form()->dataPlot;
    // 0.2 nV across the multiple 3.000 mV.
    const double below = 3.0 - 1e-10, above = 3.0 + 1e-10;
    QVERIFY(dead_band_key(below) != dead_band_key(above));
    live.set(below);
    window.draw_plots_info(cfg);
    flush_events();
    PaintCounter paints(plot->canvas());
    const void *samples = live_samples(window);
    live.set(above);
    window.draw_plots_info(cfg);
    QVERIFY(live_samples(window) != samples);
    QCOMPARE(window.curve(MainWindow::CurrentPointCurve)->sample(0).x(), above);
    flush_events();
    QVERIFY(paints.count() > 0);
}

void TestPlot::detachedPlotIsLeftAlone()
{
    Station station;
    QVERIFY(station.open());
    station.window().show();
    QVERIFY(QTest::qWaitForWindowExposed(&station.window()));
    // A refused channel: the sensor form is forced and cancelled.
    QVERIFY(QFile::remove(station.cell().path("/cell/tables/uut_ref_data/coolant_temp.uut")));
    station.answerer().answer("OK");
    station.answerer().answer("Cancel");
    station.select(2);
    QVERIFY(station.answerer().allAnswered());
    MainWindow &window = station.window();
    QwtPlot *plot = window.form()->dataPlot;
    QVERIFY(window.plotDetached());
    QVERIFY(plot->itemList(QwtPlotItem::Rtti_PlotCurve).isEmpty());
    QVERIFY(plot->title().text().isEmpty());

    cfg->table_changed = 1;
    window.draw_plots_info(cfg);
    QCOMPARE(cfg->table_changed, uint16_t(1));
    QVERIFY(plot->title().text().isEmpty());
    QVERIFY(plot->axisTitle(QwtPlot::yLeft).text().isEmpty());
    // The heartbeat goes on through the same slot while nothing is shown:
    // two passes of the monitor, the first one's draw delivered meanwhile.
    for (int pass = 0; pass < 2; ++pass) {
        cfg->monitor_mark = 0;
        QTRY_VERIFY_WITH_TIMEOUT(cfg->monitor_mark == 1, 5000);
    }
    flush_events();
    QCOMPARE(cfg->table_changed, uint16_t(1));
    QVERIFY(plot->itemList(QwtPlotItem::Rtti_PlotCurve).isEmpty());

    // The next selection builds the plot again, once.
    QVERIFY(station.select(0));
    QVERIFY(!window.plotDetached());
    const QStringList interp{"Current Point", "Previous", "Previous Curve"};
    QCOMPARE(attached_titles(plot), interp);
    QCOMPARE(legend_entries(plot), interp);
    QTRY_VERIFY_WITH_TIMEOUT(plot->title().text().startsWith(QStringLiteral("Current Point:")), 5000);
}

void TestPlot::deadBandKey_data()
{
    QTest::addColumn<double>("value");
    QTest::addColumn<qlonglong>("key");
    QTest::newRow("-0.0004") << -0.0004 << 0LL;
    QTest::newRow("0.0004") << 0.0004 << 0LL;
    QTest::newRow("zero") << 0.0 << 0LL;
    QTest::newRow("negative zero") << -0.0 << 0LL;
    QTest::newRow("just below 0.001") << 0.001 - 1e-12 << 0LL;
    QTest::newRow("0.001") << 0.001 << 1LL;
    QTest::newRow("just above 0.001") << 0.001 + 1e-12 << 1LL;
    QTest::newRow("-0.001") << -0.001 << -1LL;
    QTest::newRow("just above -0.001") << -0.001 + 1e-12 << 0LL;
    QTest::newRow("1.0005") << 1.0005 << 1000LL;
    QTest::newRow("-2.7189") << -2.7189 << -2718LL;
    QTest::newRow("just below 3") << 3.0 - 1e-10 << 2999LL;
    QTest::newRow("just above 3") << 3.0 + 1e-10 << 3000LL;
    QTest::newRow("engineering scale") << 12345.6789 << 12345678LL;
}

void TestPlot::deadBandKey()
{
    QFETCH(double, value);
    QFETCH(qlonglong, key);
    QCOMPARE(qlonglong(dead_band_key(value)), key);
}

void TestPlot::deadBandKeyOutOfRange()
{
    // Values whose thousandths no 64-bit key can hold all share one key.
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const int64_t shared = dead_band_key(nan);
    QCOMPARE(dead_band_key(inf), shared);
    QCOMPARE(dead_band_key(-inf), shared);
    QCOMPARE(dead_band_key(1e300), shared);
    QCOMPARE(dead_band_key(-1e300), shared);
    QVERIFY(dead_band_key(1e15) != shared); // a large but real value keeps its own
    QCOMPARE(qlonglong(dead_band_key(1e15)), 1000000000000000000LL);
}

void TestPlot::screenshotAfterCapture()
{
    Station station;
    QVERIFY(open_and_select(station, 2)); // COOLANT TEMP, drifted
    CellTicks ticks;
    QVERIFY(ticks.valid());
    MainWindow &window = station.window();
    averaging_count = 5;
    const int points = num_points;
    QVERIFY(points >= 2);
    for (int i = 0; i < points; ++i) {
        const double value = station.row(i)->currentValueField()->text().toDouble();
        QVERIFY(station.cell().apply(2, value));
        WAIT_TWO_TICKS(ticks);
        station.captureRow(i);
        QCOMPARE(station.row(i)->captureText(), QStringLiteral("Undo"));
        QVERIFY(station.row(i)->fieldStyle() != QLatin1String(kFieldWhite));
    }
    QCOMPARE(captured_count, points);
    QwtPlot *plot = window.form()->dataPlot;
    QVERIFY(attached_curve(plot, QStringLiteral("Captured")));
    QVERIFY(attached_curve(plot, QStringLiteral("Previous")));
    QVERIFY(window.form()->btnRecordData->isEnabled());
    QTRY_VERIFY_WITH_TIMEOUT(plot->title().text().startsWith(QStringLiteral("Current Point:")), 5000);
    flush_events();

    const QString dir = QStringLiteral(VREL_BIN_DIR "/../screenshots");
    QVERIFY(QDir().mkpath(dir));
    const QPixmap shot = window.grab();
    QCOMPARE(shot.size(), window.size());
    QVERIFY(shot.save(dir + QStringLiteral("/main-window-captured.png")));
}

QTEST_MAIN(TestPlot)
#include "tst_plot.moc"
