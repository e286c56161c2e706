// The candidate calibration kept while points are captured: the fit through
// the captured pairs, the sorted long table with its segments, the
// coefficient labels, and the order lists the controls offer per table type.
//
// One station serves the whole case: every test writes the record fields it
// depends on and sets the form's boxes with their signals blocked, so that
// the operation under test runs alone.
#include "comboitems.h"
#include "station.h"
#include "warningguard.h"

#include "mainwindow.h"
#include "vrel_cfg.h"
#include "vrel_util.h"

#include "ui_mainwindow.h"

#include <QLabel>
#include <QSignalBlocker>
#include <QStandardItemModel>
#include <QtTest>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

Q_DECLARE_METATYPE(std::vector<double>)

namespace {

using Values = std::vector<double>;

// A marker of "not written by the code under test".
constexpr double kUntouched = 123.25;

// Least-squares line through the points: {intercept, slope}.
Values least_squares_line(const Values &x, const Values &y)
{
    const double n = double(x.size());
    double sx = 0, sy = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        sx += x[i];
        sy += y[i];
    }
    const double mx = sx / n, my = sy / n;
    double sxy = 0, sxx = 0;
    for (size_t i = 0; i < x.size(); ++i) {
        sxy += (x[i] - mx) * (y[i] - my);
        sxx += (x[i] - mx) * (x[i] - mx);
    }
    const double slope = sxy / sxx;
    return {my - slope * mx, slope};
}

Values quadratic(const Values &x)
{
    Values y;
    for (double v : x)
        y.push_back(2.0 + 3.0 * v - 0.5 * v * v);
    return y;
}

double evaluate(const TablePoly &poly, double x)
{
    double y = 0.0;
    for (int i = poly.num_coeff - 1; i >= 0; --i)
        y = y * x + poly.coeff[i];
    return y;
}

bool close_to(double actual, double expected, double tolerance = 1e-9)
{
    return std::fabs(actual - expected) <= tolerance * std::max(1.0, std::fabs(expected));
}

QLabel *coefficient_name(Ui::MainWindow *ui, int i)
{
    return ui->coeffFrame->findChild<QLabel *>(QStringLiteral("lblCoeff%1").arg(i));
}

QLabel *coefficient_value(Ui::MainWindow *ui, int i)
{
    return ui->coeffFrame->findChild<QLabel *>(QStringLiteral("lblCoeff%1Value").arg(i));
}

int shown_coefficients(Ui::MainWindow *ui)
{
    int shown = 0;
    for (int i = 0; i < kMaxCoeffs; ++i) {
        if (!coefficient_value(ui, i)->isHidden())
            ++shown;
        if (coefficient_name(ui, i)->isHidden() != coefficient_value(ui, i)->isHidden())
            return -1; // a name without its value, or the other way round
    }
    return shown;
}

void fill_long_table(LongTable &table, double value)
{
    for (int i = 0; i < kMaxPoints; ++i) {
        table.x[i] = table.y[i] = value;
        table.slope[i] = table.x_intercept[i] = table.y_intercept[i] = value;
    }
}

} // namespace

class TestCurves : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();

    void refit_data();
    void refit();
    void refitWithoutCapturesChangesNothing_data();
    void refitWithoutCapturesChangesNothing();
    void equalRawValuesGiveZeroSlope();

    void segments_data();
    void segments();
    void segmentsOutsideTheCountLeaveTheTable_data();
    void segmentsOutsideTheCountLeaveTheTable();

    void coefficientLabels_data();
    void coefficientLabels();

    void orderItems_data();
    void orderItems();
    void orderItemsForOtherTypes();

private:
    void setBoxes(int cal_type, int order);

    std::unique_ptr<Station> station_;
    std::unique_ptr<WarningGuard> warnings_;
};

void TestCurves::initTestCase()
{
    warnings_ = std::make_unique<WarningGuard>();
    station_ = std::make_unique<Station>();
    QVERIFY(station_->open());
    QVERIFY(station_->select(0));
    QVERIFY(warnings_->warnings(QStringLiteral("connectSlotsByName")).isEmpty());
}

void TestCurves::cleanupTestCase()
{
    station_.reset();
    const QWidgetList tops = QApplication::topLevelWidgets();
    QVERIFY(std::none_of(tops.begin(), tops.end(), [](QWidget *w) { return qobject_cast<MainWindow *>(w); }));
    QVERIFY2(warnings_->warnings(QStringLiteral("connectSlotsByName")).isEmpty(),
             qPrintable(warnings_->warnings().join('\n')));
}

void TestCurves::init()
{
    clear_new_table(cfg);
    clear_new_long_table(cfg);
    cfg->table_info.range_index = 0;
    cfg->table_info.tbl_type = TBL_INTERPOLATION;
}

// The two boxes that the fit reads, set without running their handlers.
void TestCurves::setBoxes(int cal_type, int order)
{
    Ui::MainWindow *ui = station_->window().form();
    const QSignalBlocker type_blocker(ui->cboCalType);
    const QSignalBlocker order_blocker(ui->cboOrderOfPolynomial);
    ui->cboCalType->setCurrentIndex(cal_type);
    ui->cboOrderOfPolynomial->clear();
    ui->cboOrderOfPolynomial->addItems(orders_up_to(7));
    ui->cboOrderOfPolynomial->setCurrentIndex(order - 1);
}

void TestCurves::refit_data()
{
    QTest::addColumn<int>("cal_type"); // cboCalType index
    QTest::addColumn<int>("order");    // cboOrderOfPolynomial
    QTest::addColumn<int>("range");
    QTest::addColumn<Values>("x");     // in capture order, spread over the slots
    QTest::addColumn<Values>("y");
    QTest::addColumn<int>("count");    // the commits' tally
    QTest::addColumn<int>("coefficients");
    QTest::addColumn<Values>("expected_coeff"); // empty: the fit must reproduce the points
    QTest::addColumn<Values>("sorted_x");       // new_long_table after the refit
    QTest::addColumn<Values>("sorted_y");

    const Values five_x{4, 0, 3, 1, 2};
    const Values five_sorted{0, 1, 2, 3, 4};
    const Values line_fit = least_squares_line(five_x, quadratic(five_x));
    const double marker = kUnusedPoint;

    QTest::newRow("one point: no fit") << 0 << 1 << 0 << Values{2.5} << Values{30} << 1 << 0 << Values{}
                                       << Values{2.5} << Values{30};
    QTest::newRow("one point under poly: no fit") << 1 << 3 << 0 << Values{2.5} << Values{30} << 1 << 0
                                                  << Values{} << Values{2.5} << Values{30};
    QTest::newRow("poly order 3, two points: a line") << 1 << 3 << 0 << Values{3, 1} << Values{20, 10} << 2 << 2
                                                      << Values{5, 5} << Values{1, 3} << Values{10, 20};
    QTest::newRow("poly order 3, five points of a quadratic")
        << 1 << 3 << 0 << five_x << quadratic(five_x) << 5 << 4 << Values{2, 3, -0.5, 0} << five_sorted
        << quadratic(five_sorted);
    QTest::newRow("poly order 1: least-squares line") << 1 << 1 << 0 << five_x << quadratic(five_x) << 5 << 2
                                                      << line_fit << five_sorted << quadratic(five_sorted);
    QTest::newRow("interp fits a line whatever the order") << 0 << 5 << 0 << five_x << quadratic(five_x) << 5 << 2
                                                           << line_fit << five_sorted << quadratic(five_sorted);
    QTest::newRow("poly order 7, three points: cut to three")
        << 1 << 7 << 0 << Values{2, 0, 1} << quadratic({2, 0, 1}) << 3 << 3 << Values{2, 3, -0.5}
        << Values{0, 1, 2} << quadratic({0, 1, 2});
    QTest::newRow("poly order 7, nine points: eight coefficients")
        << 1 << 7 << 0 << Values{8, 0, 7, 1, 6, 2, 5, 3, 4} << quadratic({8, 0, 7, 1, 6, 2, 5, 3, 4}) << 9 << 8
        << Values{} << Values{0, 1, 2, 3, 4, 5, 6, 7, 8} << quadratic({0, 1, 2, 3, 4, 5, 6, 7, 8});
    QTest::newRow("poly range fits its own range") << 2 << 2 << 2 << five_x << quadratic(five_x) << 5 << 3
                                                   << Values{2, 3, -0.5} << five_sorted << quadratic(five_sorted);
    QTest::newRow("reference of the marker drops the point")
        << 1 << 3 << 0 << Values{1, 2, 3} << Values{10, marker, 30} << 3 << 2 << Values{0, 10} << Values{1, 3}
        << Values{10, 30};
    QTest::newRow("raw of the marker drops the point")
        << 1 << 3 << 0 << Values{1, marker, 3} << Values{10, 20, 30} << 3 << 2 << Values{0, 10} << Values{1, 3}
        << Values{10, 30};
    QTest::newRow("within 1e-6 of the marker drops the point")
        << 1 << 3 << 0 << Values{1, 2, 3} << Values{10, marker - 0.9e-6, 30} << 3 << 2 << Values{0, 10}
        << Values{1, 3} << Values{10, 30};
    QTest::newRow("1e-5 from the marker is a value")
        << 1 << 1 << 0 << Values{1, 2} << Values{10, marker + 1e-5} << 2 << 2 << Values{} << Values{1, 2}
        << Values{10, marker + 1e-5};
    QTest::newRow("the only point dropped: zeros in front") << 1 << 3 << 0 << Values{4} << Values{marker} << 1
                                                            << 0 << Values{} << Values{0} << Values{0};
    QTest::newRow("tally above the filled slots") << 0 << 1 << 0 << Values{2, 1} << Values{5, 3} << 4 << 2
                                                  << Values{1, 2} << Values{1, 2} << Values{3, 5};
}

void TestCurves::refit()
{
    QFETCH(int, cal_type);
    QFETCH(int, order);
    QFETCH(int, range);
    QFETCH(Values, x);
    QFETCH(Values, y);
    QFETCH(int, count);
    QFETCH(int, coefficients);
    QFETCH(Values, expected_coeff);
    QFETCH(Values, sorted_x);
    QFETCH(Values, sorted_y);

    setBoxes(cal_type, order);
    cfg->table_info.range_index = int16_t(range);
    cfg->table_info.tbl_type = cal_type == 0 ? TBL_INTERPOLATION : cal_type == 1 ? TBL_POLYNOMIAL
                                                                                   : TBL_POLYNOMIAL_RANGE;
    TablePoly &candidate = cfg->new_table_poly[range];
    for (size_t i = 0; i < x.size(); ++i) { // slots 0, 3, 6, ...: gaps between captures
        candidate.raw_data.x[3 * i] = x[i];
        candidate.raw_data.y[3 * i] = y[i];
    }
    candidate.raw_data.count = int16_t(count);
    candidate.num_coeff = 99;
    const int16_t commits = 7; // what commitCapturedPoint left in new_long_table
    cfg->new_long_table.count = commits;

    station_->window().refitCapturedPoints(cfg);

    QCOMPARE(int(candidate.num_coeff), coefficients);
    if (range != 0)
        QCOMPARE(int(cfg->new_table_poly[0].num_coeff), 0); // another range's fit stays out
    if (!expected_coeff.empty()) {
        QCOMPARE(int(expected_coeff.size()), coefficients);
        for (int i = 0; i < coefficients; ++i)
            QVERIFY2(close_to(candidate.coeff[i], expected_coeff[size_t(i)], 1e-7),
                     qPrintable(QStringLiteral("C%1 = %2, expected %3")
                                    .arg(i)
                                    .arg(candidate.coeff[i], 0, 'g', 17)
                                    .arg(expected_coeff[size_t(i)])));
    } else if (coefficients > 0) {
        for (size_t i = 0; i < x.size(); ++i)
            QVERIFY(close_to(evaluate(candidate, x[i]), y[i], 1e-6));
    }

    const int n = int(sorted_x.size());
    QCOMPARE(int(cfg->new_long_table.count), n > 1 ? n : int(commits));
    for (int i = 0; i < n; ++i) {
        QCOMPARE(cfg->new_long_table.x[i], sorted_x[size_t(i)]);
        QCOMPARE(cfg->new_long_table.y[i], sorted_y[size_t(i)]);
    }

    // The labels show this fit for the polynomial types, nothing for INTERP.
    station_->window().updateCoefficientLabels(cfg);
    QCOMPARE(shown_coefficients(station_->window().form()), cal_type == 0 ? 0 : coefficients);
}

void TestCurves::refitWithoutCapturesChangesNothing_data()
{
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("cal_type");
    QTest::newRow("count 0, slots filled") << 0 << 1;
    QTest::newRow("count -1") << -1 << 1;
    QTest::newRow("count 0 under interp") << 0 << 0;
}

void TestCurves::refitWithoutCapturesChangesNothing()
{
    QFETCH(int, count);
    QFETCH(int, cal_type);
    setBoxes(cal_type, 2);
    TablePoly &candidate = cfg->new_table_poly[0];
    // Slots hold pairs (a recapture after a record), but the tally says none.
    for (int i = 0; i < 4; ++i) {
        candidate.raw_data.x[i] = 1.0 + i;
        candidate.raw_data.y[i] = 10.0 * i;
    }
    candidate.raw_data.count = int16_t(count);
    candidate.num_coeff = 5;
    candidate.coeff[0] = kUntouched;
    fill_long_table(cfg->new_long_table, kUntouched);
    cfg->new_long_table.count = 3;

    auto polys = std::make_unique<TablePoly[]>(kMaxRanges);
    std::memcpy(polys.get(), cfg->new_table_poly, sizeof cfg->new_table_poly);
    auto table = std::make_unique<LongTable>(cfg->new_long_table);

    station_->window().refitCapturedPoints(cfg);

    QVERIFY(std::memcmp(polys.get(), cfg->new_table_poly, sizeof cfg->new_table_poly) == 0);
    QVERIFY(std::memcmp(table.get(), &cfg->new_long_table, sizeof(LongTable)) == 0);
}

void TestCurves::equalRawValuesGiveZeroSlope()
{
    setBoxes(0, 1);
    TablePoly &candidate = cfg->new_table_poly[0];
    candidate.raw_data.x[0] = 1.5;
    candidate.raw_data.y[0] = 10.0;
    candidate.raw_data.x[1] = 1.5;
    candidate.raw_data.y[1] = 20.0;
    candidate.raw_data.count = 2;
    fill_long_table(cfg->new_long_table, kUntouched);

    station_->window().refitCapturedPoints(cfg);

    const LongTable &table = cfg->new_long_table;
    QCOMPARE(int(table.count), 2);
    QCOMPARE(int(candidate.num_coeff), 2); // what the host made of it is its own affair
    QCOMPARE(table.x[0], 1.5);
    QCOMPARE(table.x[1], 1.5);
    for (int i = 0; i < 2; ++i) {
        QCOMPARE(table.slope[i], 0.0);
        QCOMPARE(table.x_intercept[i], kUntouched); // keeps its earlier content
        QCOMPARE(table.y_intercept[i], kUntouched);
    }
}

void TestCurves::segments_data()
{
    QTest::addColumn<Values>("x");
    QTest::addColumn<Values>("y");
    QTest::addColumn<Values>("slope"); // empty: checked against the points' geometry

    QTest::newRow("two points") << Values{0, 2} << Values{0, 4} << Values{2, 2};
    QTest::newRow("rising, flat, falling") << Values{0, 1, 3, 5} << Values{1, 3, 3, -1} << Values{2, 0, -2, -2};
    QTest::newRow("negative raw values") << Values{-4, -2, 0} << Values{-10, -6, 0} << Values{2, 3, 3};
    Values x64, y64;
    for (int i = 0; i < 64; ++i) {
        x64.push_back(-3.0 + 0.25 * i);
        y64.push_back(i % 7 == 3 ? y64.back() : 40.0 * std::sin(0.3 * i) - 5.0);
    }
    QTest::newRow("64 points") << x64 << y64 << Values{};
}

void TestCurves::segments()
{
    QFETCH(Values, x);
    QFETCH(Values, y);
    QFETCH(Values, slope);
    PointBlock points {};
    const int n = int(x.size());
    for (int i = 0; i < n; ++i) {
        points.x[i] = x[size_t(i)];
        points.y[i] = y[size_t(i)];
    }
    points.count = n;
    auto table = std::make_unique<LongTable>();
    fill_long_table(*table, kUntouched);
    table->host_count = 17;

    station_->window().buildSegments(points, table.get());

    QCOMPARE(int(table->count), n);
    QCOMPARE(int(table->host_count), 17);
    for (int i = 0; i < n; ++i) {
        QCOMPARE(table->x[i], x[size_t(i)]);
        QCOMPARE(table->y[i], y[size_t(i)]);
    }
    for (int i = 0; i < n - 1; ++i) {
        const double s = table->slope[i];
        if (!slope.empty())
            QCOMPARE(s, slope[size_t(i)]);
        QVERIFY(close_to(s, (y[size_t(i) + 1] - y[size_t(i)]) / (x[size_t(i) + 1] - x[size_t(i)])));
        // The segment's line meets both of its points, and y = 0 at x_intercept.
        QVERIFY(close_to(table->y_intercept[i] + s * x[size_t(i)], y[size_t(i)]));
        QVERIFY(close_to(table->y_intercept[i] + s * x[size_t(i) + 1], y[size_t(i) + 1], 1e-9));
        if (s == 0.0)
            QCOMPARE(table->x_intercept[i], 0.0);
        else
            QVERIFY(close_to(s * (table->x_intercept[i] - x[size_t(i)]) + y[size_t(i)], 0.0, 1e-9));
    }
    // The last entry repeats the one before it.
    QCOMPARE(table->slope[n - 1], table->slope[n - 2]);
    QCOMPARE(table->x_intercept[n - 1], table->x_intercept[n - 2]);
    QCOMPARE(table->y_intercept[n - 1], table->y_intercept[n - 2]);
    for (int i = n; i < kMaxPoints; ++i) {
        QCOMPARE(table->x[i], kUntouched);
        QCOMPARE(table->slope[i], kUntouched);
    }
}

void TestCurves::segmentsOutsideTheCountLeaveTheTable_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("0") << 0;
    QTest::newRow("1") << 1;
    QTest::newRow("65") << 65;
    QTest::newRow("-2") << -2;
}

void TestCurves::segmentsOutsideTheCountLeaveTheTable()
{
    QFETCH(int, count);
    PointBlock points {};
    for (int i = 0; i < kMaxPoints; ++i) {
        points.x[i] = i;
        points.y[i] = 2.0 * i;
    }
    points.count = count;
    auto table = std::make_unique<LongTable>();
    fill_long_table(*table, kUntouched);
    table->count = 5;
    const auto before = std::make_unique<LongTable>(*table);

    station_->window().buildSegments(points, table.get());

    QVERIFY(std::memcmp(before.get(), table.get(), sizeof(LongTable)) == 0);
}

void TestCurves::coefficientLabels_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("range");
    QTest::addColumn<QStringList>("values");

    const QStringList range0{"1.23457", "-0.000123457", "9.87654e+07"};
    const QStringList range2{"0", "2.5", "-7", "1e-09", "123457"};
    QTest::newRow("poly shows range 0 of the captured fit") << int(TBL_POLYNOMIAL) << 2 << range0;
    QTest::newRow("poly range shows its range") << int(TBL_POLYNOMIAL_RANGE) << 2 << range2;
    QTest::newRow("poly range at range 0") << int(TBL_POLYNOMIAL_RANGE) << 0 << range0;
    QTest::newRow("poly range left at -1 by the host") << int(TBL_POLYNOMIAL_RANGE) << -1 << range0;
    QTest::newRow("interp shows nothing") << int(TBL_INTERPOLATION) << 0 << QStringList{};
    QTest::newRow("scaled shows nothing") << int(TBL_SCALED) << 0 << QStringList{};
    QTest::newRow("hyperbolic shows nothing") << int(TBL_HYPERBOLIC) << 0 << QStringList{};
}

void TestCurves::coefficientLabels()
{
    QFETCH(int, type);
    QFETCH(int, range);
    QFETCH(QStringList, values);
    Ui::MainWindow *ui = station_->window().form();

    // First every label is shown, so that hiding is seen.
    cfg->table_info.tbl_type = TBL_POLYNOMIAL;
    cfg->new_table_poly[0].num_coeff = 8;
    station_->window().updateCoefficientLabels(cfg);
    QCOMPARE(shown_coefficients(ui), 8);

    const double c0[] = {1.2345678, -0.000123456789, 98765432.1};
    const double c2[] = {0.0, 2.5, -7.0, 1e-9, 123456.7};
    TablePoly &poly0 = cfg->new_table_poly[0];
    TablePoly &poly2 = cfg->new_table_poly[2];
    poly0.num_coeff = 3;
    std::copy(std::begin(c0), std::end(c0), poly0.coeff);
    poly2.num_coeff = 5;
    std::copy(std::begin(c2), std::end(c2), poly2.coeff);
    // The channel's own coefficients are not what the labels show.
    TablePoly &in_force = cfg->table_info.dim.table_poly[0];
    in_force.num_coeff = 7;
    std::fill(std::begin(in_force.coeff), std::end(in_force.coeff), 42.0);
    cfg->table_info.tbl_type = int16_t(type);
    cfg->table_info.range_index = int16_t(range);

    station_->window().updateCoefficientLabels(cfg);

    QCOMPARE(shown_coefficients(ui), values.size());
    for (int i = 0; i < kMaxCoeffs; ++i)
        QCOMPARE(coefficient_name(ui, i)->text(), QStringLiteral("Co %1:").arg(i));
    for (int i = 0; i < values.size(); ++i)
        QCOMPARE(coefficient_value(ui, i)->text(), values[i]);
}

void TestCurves::orderItems_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("range");
    QTest::addColumn<int>("points");    // raw data count of the range read
    QTest::addColumn<int>("num_coeff"); // of that range
    QTest::addColumn<QStringList>("items");
    QTest::addColumn<QString>("current");
    QTest::addColumn<bool>("order_enabled"); // POLY_RANGE leaves the box as it was (disabled here)
    QTest::addColumn<bool>("poly_range_item");
    QTest::addColumn<bool>("frame_shown");

    const int interp = TBL_INTERPOLATION, poly = TBL_POLYNOMIAL, ranges = TBL_POLYNOMIAL_RANGE;
    // clang-format off
    QTest::newRow("interp, 2 points") << interp << 0 << 2 << 0 << orders_up_to(1) << "1" << false << false << false;
    QTest::newRow("interp, 7 points") << interp << 0 << 7 << 0 << orders_up_to(6) << "1" << false << false << false;
    QTest::newRow("interp, 8 points: stops at 7") << interp << 0 << 8 << 0 << orders_up_to(7) << "1" << false << false << false;
    QTest::newRow("interp, 64 points") << interp << 0 << 64 << 0 << orders_up_to(7) << "1" << false << false << false;
    QTest::newRow("interp reads range 0") << interp << 3 << 5 << 0 << orders_up_to(4) << "1" << false << false << false;
    QTest::newRow("poly, 2 points") << poly << 0 << 2 << 2 << orders_up_to(1) << "1" << true << true << true;
    QTest::newRow("poly, 8 points") << poly << 0 << 8 << 3 << orders_up_to(7) << "2" << true << true << true;
    QTest::newRow("poly, 9 points: stops at 7") << poly << 0 << 9 << 4 << orders_up_to(7) << "3" << true << true << true;
    QTest::newRow("poly, 12 points") << poly << 0 << 12 << 8 << orders_up_to(7) << "7" << true << true << true;
    QTest::newRow("poly, no points: by coefficients") << poly << 0 << 0 << 4 << orders_up_to(3) << "3" << true << true << true;
    QTest::newRow("poly, order not offered: the last") << poly << 0 << 3 << 6 << orders_up_to(2) << "2" << true << true << true;
    QTest::newRow("poly, range left at -1") << poly << -1 << 6 << 3 << orders_up_to(5) << "2" << true << true << true;
    QTest::newRow("poly range, 12 points: no limit") << ranges << 0 << 12 << 3 << orders_up_to(11) << "11" << false << true << true;
    QTest::newRow("poly range, 64 points") << ranges << 0 << 64 << 3 << orders_up_to(63) << "63" << false << true << true;
    QTest::newRow("poly range, range 3") << ranges << 3 << 5 << 2 << orders_up_to(4) << "4" << false << true << true;
    QTest::newRow("poly range, 2 points") << ranges << 0 << 2 << 8 << orders_up_to(1) << "1" << false << true << true;
    // clang-format on
}

void TestCurves::orderItems()
{
    QFETCH(int, type);
    QFETCH(int, range);
    QFETCH(int, points);
    QFETCH(int, num_coeff);
    Ui::MainWindow *ui = station_->window().form();

    TableInfo &table = cfg->table_info;
    table.tbl_type = int16_t(type);
    table.range_index = int16_t(range);
    for (TablePoly &poly : table.dim.table_poly) { // other ranges tell a different story
        poly.raw_data.count = 30;
        poly.num_coeff = 6;
    }
    TablePoly &read = table.dim.table_poly[type == TBL_INTERPOLATION || range < 0 ? 0 : range];
    read.raw_data.count = int16_t(points);
    read.num_coeff = int16_t(num_coeff);
    {
        // The type box already shows the type, so that its handler keeps out.
        const QSignalBlocker blocker(ui->cboCalType);
        ui->cboCalType->setCurrentIndex(type == TBL_INTERPOLATION ? 0 : type == TBL_POLYNOMIAL ? 1 : 2);
        ui->cboCalType->setEnabled(false);
        ui->cboOrderOfPolynomial->setEnabled(type == TBL_INTERPOLATION);
    }
    QSignalSpy order_changes(ui->cboOrderOfPolynomial, SIGNAL(currentIndexChanged(int)));

    station_->window().showCalibrationControls(cfg);

    QTEST(items_of(ui->cboOrderOfPolynomial), "items");
    QTEST(ui->cboOrderOfPolynomial->currentText(), "current");
    QTEST(ui->cboOrderOfPolynomial->isEnabled(), "order_enabled");
    QVERIFY(ui->cboCalType->isEnabled());
    auto *model = qobject_cast<QStandardItemModel *>(ui->cboCalType->model());
    QVERIFY(model);
    QTEST(model->item(2)->isEnabled(), "poly_range_item");
    QCOMPARE(model->item(2)->text(), QStringLiteral("POLY_RANGE"));
    QTEST(!ui->coeffFrame->isHidden(), "frame_shown");
    if (type == TBL_INTERPOLATION)
        QVERIFY(!ui->cboPolyRangeIndex->isEnabled());
    if (type == TBL_POLYNOMIAL_RANGE)
        QVERIFY(ui->cboPolyRangeIndex->isEnabled());
    QCOMPARE(order_changes.count(), 0); // the box was filled with its signals blocked
    QVERIFY(!ui->cboOrderOfPolynomial->signalsBlocked());
}

void TestCurves::orderItemsForOtherTypes()
{
    Ui::MainWindow *ui = station_->window().form();
    {
        const QSignalBlocker blocker(ui->cboCalType);
        ui->cboCalType->setCurrentIndex(1);
        ui->cboCalType->setEnabled(false);
    }
    cfg->table_info.tbl_type = TBL_HYPERBOLIC;
    cfg->table_info.dim.table_poly[0].raw_data.count = 5;
    station_->window().showCalibrationControls(cfg);
    QCOMPARE(ui->cboOrderOfPolynomial->count(), 0); // cleared, and nothing further
    QCOMPARE(ui->cboCalType->currentIndex(), 1);     // no item for the type: the box keeps what it showed
    QVERIFY(ui->cboCalType->isEnabled());
}

QTEST_MAIN(TestCurves)
#include "tst_curves.moc"
