// Tolerance resolution, the within-tolerance test, curve padding and the
// axis autoscale.
#include "localeguard.h"
#include "dialoganswerer.h"
#include "messageboxes.h"
#include "vrel_callbacks.h"
#include "vrel_cfg.h"

#include <QApplication>
#include <QMessageBox>
#include <QTimer>
#include <QtTest>

#include <clocale>
#include <cmath>
#include <cstring>
#include <limits>
#include <memory>
#include <string>

namespace
{

const double kNaN = std::numeric_limits<double>::quiet_NaN();

const char kTableUnitsWarning[] =
    "Defaulting to the NONE MUA Instance Name and Tolerance values.\n\n"
    "The tolerance units are not compatible with the calibration table units.";
const char kSensorUnitsWarning[] =
    "Defaulting to the NONE MUA Instance Name and Tolerance values.\n\n"
    "The tolerance units are not compatible with the sensor units.";

bool near(double actual, double expected)
{
    return std::fabs(actual - expected) <= 1e-9 * std::max(1.0, std::fabs(expected));
}


// Notes the look of every modal message box while it is up; the answerer
// does the clicking.
class ModalProbe
{
  public:
    ModalProbe()
    {
        timer_.setInterval(0);
        QObject::connect(&timer_, &QTimer::timeout, [this] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            if (box && box->isVisible()) {
                flags = box->windowFlags();
                point_size = box->font().pointSize();
                seen = true;
            }
        });
        timer_.start();
    }
    bool seen = false;
    Qt::WindowFlags flags;
    int point_size = 0;

  private:
    QTimer timer_;
};

struct Sensor {
    double lower, upper;
    const char *sensor_units;
    const char *table_units;
};

} // namespace

Q_DECLARE_METATYPE(Sensor)

class TestTolerances : public QObject
{
    Q_OBJECT

  private slots:
    void initTestCase();
    void init();

    void splitValueUnits_data();
    void splitValueUnits();

    void defaultTolerances_data();
    void defaultTolerances();
    void toleranceInUnits_data();
    void toleranceInUnits();
    void toleranceUnitTrouble_data();
    void toleranceUnitTrouble();
    void warningLooksTitled();
    void dialogTwinOptions_data();
    void dialogTwinOptions();
    void biasPaths_data();
    void biasPaths();
    void numbersReadInCLocale();

    void withinTolerance_data();
    void withinTolerance();
    void padLongTable_data();
    void padLongTable();
    void niceAxisRange_data();
    void niceAxisRange();
    void extendAxisRange_data();
    void extendAxisRange();

  private:
    void setSensor(const Sensor &sensor);
    std::unique_ptr<VREL_CFG> record_;
};

void TestTolerances::initTestCase()
{
    record_ = std::make_unique<VREL_CFG>();
    set_cfg(record_.get());
}

void TestTolerances::init()
{
    init_tolerance_texts();
    std::memset(record_.get(), 0, sizeof(VREL_CFG));
    selected_mua_index = 7;
}

void TestTolerances::setSensor(const Sensor &sensor)
{
    TableInfo &info = record_->table_info;
    info.sensor_range_lower_limit = sensor.lower;
    info.sensor_range_upper_limit = sensor.upper;
    std::strcpy(info.sensor_range_units, sensor.sensor_units);
    std::strcpy(info.tbl_units, sensor.table_units);
}

void TestTolerances::splitValueUnits_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("number");
    QTest::addColumn<QByteArray>("units"); // units start as "KEEP"

    QTest::newRow("value and units")
        << QByteArray(".25[PCT]") << QByteArray(".25") << QByteArray("PCT");
    QTest::newRow("no bracket leaves units")
        << QByteArray("1.5") << QByteArray("1.5") << QByteArray("KEEP");
    QTest::newRow("empty text") << QByteArray("") << QByteArray("") << QByteArray("KEEP");
    QTest::newRow("no closing bracket")
        << QByteArray("2[KPA") << QByteArray("2") << QByteArray("KP");
    QTest::newRow("empty brackets") << QByteArray("3[]") << QByteArray("3") << QByteArray("");
    QTest::newRow("bracket alone") << QByteArray("4[") << QByteArray("4") << QByteArray("");
    QTest::newRow("no number") << QByteArray("[PCT]") << QByteArray("") << QByteArray("PCT");
    QTest::newRow("blank after bracket")
        << QByteArray("5[PCT] ") << QByteArray("5") << QByteArray("PCT]");
    QTest::newRow("second bracket kept")
        << QByteArray("1[A[B]") << QByteArray("1") << QByteArray("A[B");
    QTest::newRow("long unit cut to 14")
        << QByteArray("1[ABCDEFGHIJKLMNOPQRS]") << QByteArray("1") << QByteArray("ABCDEFGHIJKLMN");
    QTest::newRow("long number cut to 79")
        << QByteArray(100, '9') << QByteArray(79, '9') << QByteArray("KEEP");
    QTest::newRow("bracket beyond 79 lost")
        << QByteArray(85, '1') + "[PCT]" << QByteArray(79, '1') << QByteArray("KEEP");
}

void TestTolerances::splitValueUnits()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, number);
    QFETCH(QByteArray, units);

    char number_out[kValueTextSize];
    std::memset(number_out, 'x', sizeof number_out);
    char units_out[kUnitTextSize] = "KEEP";
    split_value_units(text.constData(), number_out, units_out);
    QCOMPARE(QByteArray(number_out), number);
    QCOMPARE(QByteArray(units_out), units);
}

void TestTolerances::defaultTolerances_data()
{
    QTest::addColumn<Sensor>("sensor");
    QTest::addColumn<double>("ooa");
    QTest::addColumn<double>("oot");
    QTest::addColumn<double>("soot");

    QTest::newRow("span 100") << Sensor{0.0, 100.0, "KPA", "KPA"} << 0.25 << 1.0 << 2.0;
    QTest::newRow("reversed limits") << Sensor{100.0, 0.0, "KPA", "KPA"} << 0.25 << 1.0 << 2.0;
    QTest::newRow("span across zero") << Sensor{-50.0, 50.0, "C", "C"} << 0.25 << 1.0 << 2.0;
    QTest::newRow("equal limits") << Sensor{40.0, 40.0, "KPA", "KPA"} << 0.0 << 0.0 << 0.0;
    // 100 PSI is 689.4757293168 kPa.
    QTest::newRow("span converted to table units")
        << Sensor{0.0, 100.0, "PSI", "KPA"} << 1.723689323292 << 6.894757293168 << 13.789514586336;
    // The span converts as a reading, so a temperature's offset counts:
    // 180 F becomes (180 - 32) * 5 / 9 C, not 100.
    const double span_c = (180.0 - 32.0) * 5.0 / 9.0;
    QTest::newRow("temperature span converts as a reading")
        << Sensor{0.0, 180.0, "F", "C"} << span_c * 0.0025 << span_c * 0.01 << span_c * 0.02;
}

void TestTolerances::defaultTolerances()
{
    QFETCH(Sensor, sensor);
    QFETCH(double, ooa);
    QFETCH(double, oot);
    QFETCH(double, soot);

    setSensor(sensor);
    // A box wrongly shown would be answered and noted here.
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    QVERIFY(near(resolve_tolerance(1, record_.get()), ooa));
    QVERIFY(near(resolve_tolerance(2, record_.get()), oot));
    QVERIFY(near(resolve_tolerance(3, record_.get()), soot));
    QVERIFY2(near(resolve_tolerance(9, record_.get()), soot), "any other kind is SOOT");
    for (int16_t kind : {1, 2, 3})
        QCOMPARE(resolve_bias(kind, record_.get()), 0.0);
    QVERIFY(answerer.seen().isEmpty());
    QCOMPARE(selected_mua_index, int16_t(7));
}

void TestTolerances::toleranceInUnits_data()
{
    QTest::addColumn<Sensor>("sensor");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("expected");

    QTest::newRow("same units") << Sensor{0.0, 100.0, "KPA", "KPA"} << "5[KPA]" << 5.0;
    QTest::newRow("to table units") << Sensor{0.0, 100.0, "KPA", "KPA"} << "1[BAR]" << 100.0;
    QTest::newRow("sensor and table differ")
        << Sensor{0.0, 100.0, "PSI", "KPA"} << "2[PSI]" << 13.789514586336;
    QTest::newRow("keyword case ignored") << Sensor{0.0, 100.0, "KPA", "KPA"} << "2[kpa]" << 2.0;
    QTest::newRow("fraction of span") << Sensor{0.0, 200.0, "KPA", "KPA"} << "0.5[FRAC]" << 100.0;
    QTest::newRow("parts per million") << Sensor{0.0, 1000.0, "KPA", "KPA"} << "500[PPM]" << 0.5;
}

void TestTolerances::toleranceInUnits()
{
    QFETCH(Sensor, sensor);
    QFETCH(QString, text);
    QFETCH(double, expected);

    setSensor(sensor);
    oot_tol_text = text;
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    QVERIFY(near(resolve_tolerance(2, record_.get()), expected));
    QVERIFY(answerer.seen().isEmpty());
    QCOMPARE(selected_mua_index, int16_t(7));
}

void TestTolerances::toleranceUnitTrouble_data()
{
    QTest::addColumn<Sensor>("sensor");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<double>("expected");

    // The span cannot reach the table's units and stays 100; the number is
    // no fraction, so it multiplies the span unconverted.
    QTest::newRow("sensor units, not table units")
        << Sensor{0.0, 100.0, "KPA", "C"} << "1[KPA]" << kTableUnitsWarning << 100.0;
    QTest::newRow("neither sensor nor fraction")
        << Sensor{0.0, 100.0, "KPA", "KPA"} << "1[C]" << kSensorUnitsWarning << 100.0;
    QTest::newRow("unknown unit") << Sensor{0.0, 100.0, "KPA", "KPA"} << "2[XYZ]"
                                  << kSensorUnitsWarning << 200.0;
    QTest::newRow("no units at all")
        << Sensor{0.0, 10.0, "KPA", "KPA"} << "3" << kSensorUnitsWarning << 30.0;
    QTest::newRow("sensor units empty")
        << Sensor{0.0, 10.0, "", "KPA"} << "4[KPA]" << kSensorUnitsWarning << 40.0;
}

void TestTolerances::toleranceUnitTrouble()
{
    QFETCH(Sensor, sensor);
    QFETCH(QString, text);
    QFETCH(QString, warning);
    QFETCH(double, expected);

    setSensor(sensor);
    soot_tol_text = text;
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    answerer.answer(QStringLiteral("OK")); // a second box would be noted
    const double result = resolve_tolerance(3, record_.get());

    QCOMPARE(answerer.pending(), 1);
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen()[0].title, QStringLiteral("Warning"));
    QCOMPARE(answerer.seen()[0].text, warning);
    QCOMPARE(answerer.seen()[0].buttons, QStringList{QStringLiteral("OK")});
    QVERIFY2(near(result, expected), qPrintable(QString::number(result, 'g', 17)));
    QCOMPARE(selected_mua_index, int16_t(0));
    QCOMPARE(soot_tol_text, text); // the text stays, whatever the message says
}

void TestTolerances::warningLooksTitled()
{
    setSensor({0.0, 100.0, "KPA", "KPA"});
    ooa_tol_text = QStringLiteral("1[C]");
    ModalProbe probe;
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    resolve_tolerance(1, record_.get());

    QVERIFY(probe.seen);
    QCOMPARE(probe.point_size, 13);
    QCOMPARE(probe.flags & kTitledWindowFlags, kTitledWindowFlags);
    QVERIFY(!(probe.flags & Qt::WindowCloseButtonHint));
}

void TestTolerances::dialogTwinOptions_data()
{
    QTest::addColumn<Sensor>("sensor");
    QTest::addColumn<bool>("reset_on_table_units");
    QTest::addColumn<double>("expected");
    QTest::addColumn<int>("index_after");

    // Table-units warning: the channel load resets the index, the dialog not.
    QTest::newRow("load, table units") << Sensor{0.0, 100.0, "KPA", "C"} << true << 100.0 << 0;
    QTest::newRow("dialog, table units") << Sensor{0.0, 100.0, "KPA", "C"} << false << 100.0 << 7;
    // Sensor-units warning: both reset, and the fraction comes from the
    // fallback text, 2 % of 100.
    QTest::newRow("load, sensor units") << Sensor{0.0, 100.0, "C", "C"} << true << 2.0 << 0;
    QTest::newRow("dialog, sensor units") << Sensor{0.0, 100.0, "C", "C"} << false << 2.0 << 0;
}

void TestTolerances::dialogTwinOptions()
{
    QFETCH(Sensor, sensor);
    QFETCH(bool, reset_on_table_units);
    QFETCH(double, expected);
    QFETCH(int, index_after);

    setSensor(sensor);
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    answerer.answer(QStringLiteral("OK")); // a second box would be noted
    const double result =
        resolve_tolerance_text({"1[KPA]", "2[PCT]", reset_on_table_units}, record_.get());
    QCOMPARE(answerer.pending(), 1);
    QVERIFY2(near(result, expected), qPrintable(QString::number(result, 'g', 17)));
    QCOMPARE(int(selected_mua_index), index_after);
}

void TestTolerances::biasPaths_data()
{
    QTest::addColumn<Sensor>("sensor");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("expected");

    QTest::newRow("zero percent") << Sensor{0.0, 100.0, "KPA", "KPA"} << "0[PCT]" << 0.0;
    // A fraction bias is never multiplied by the span.
    QTest::newRow("percent stays a fraction")
        << Sensor{0.0, 500.0, "KPA", "KPA"} << "5[PCT]" << 0.05;
    QTest::newRow("sensor units") << Sensor{0.0, 100.0, "KPA", "C"} << "1[BAR]" << 100.0;
    QTest::newRow("to sensor units")
        << Sensor{0.0, 100.0, "KPA", "KPA"} << "2[PSI]" << 13.789514586336;
    // Neither: the unseen box, and the number as strtod read it.
    QTest::newRow("incompatible unit") << Sensor{0.0, 100.0, "KPA", "KPA"} << "1.5[C]" << 1.5;
    QTest::newRow("no units") << Sensor{0.0, 100.0, "KPA", "KPA"} << "4" << 4.0;
}

void TestTolerances::biasPaths()
{
    QFETCH(Sensor, sensor);
    QFETCH(QString, text);
    QFETCH(double, expected);

    setSensor(sensor);
    oot_bias_text = text;
    // A box wrongly shown would be answered and noted here.
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    const double result = resolve_bias(2, record_.get());
    QVERIFY2(near(result, expected), qPrintable(QString::number(result, 'g', 17)));
    QVERIFY(answerer.seen().isEmpty());
    QCOMPARE(answerer.pending(), 1);
    QCOMPARE(selected_mua_index, int16_t(7));
}

void TestTolerances::numbersReadInCLocale()
{
    LocaleGuard guard;
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8"))
        QSKIP("the de_DE.UTF-8 locale is not installed");
    setSensor({0.0, 100.0, "KPA", "KPA"});
    ooa_tol_text = QStringLiteral("1.5[KPA]");
    ooa_bias_text = QStringLiteral("2.5[KPA]");
    QCOMPARE(resolve_tolerance(1, record_.get()), 1.5);
    QCOMPARE(resolve_bias(1, record_.get()), 2.5);
    QVERIFY(near(resolve_tolerance(2, record_.get()), 1.0));
}

void TestTolerances::withinTolerance_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<double>("eng_mean");
    QTest::addColumn<double>("ref_value");
    QTest::addColumn<double>("tolerance");
    QTest::addColumn<bool>("within");

    QTest::newRow("on the boundary") << 0 << 10.5 << 10.0 << 0.5 << true;
    QTest::newRow("below, on the boundary") << 1 << 9.5 << 10.0 << 0.5 << true;
    QTest::newRow("just past") << 2 << 10.5 << 10.0 << 0.4999 << false;
    QTest::newRow("below, just past") << 2 << 9.25 << 10.0 << 0.5 << false;
    QTest::newRow("exact, zero tolerance") << 3 << 4.0 << 4.0 << 0.0 << true;
    QTest::newRow("NaN mean") << 4 << kNaN << 10.0 << 0.5 << true;
    QTest::newRow("NaN reference") << 5 << 10.0 << kNaN << 0.5 << true;
    QTest::newRow("NaN tolerance") << 6 << 12.0 << 10.0 << kNaN << true;
    QTest::newRow("last point") << 63 << 11.0 << 10.0 << 0.5 << false;
    QTest::newRow("index past the table") << 64 << 10.0 << 10.0 << 1.0 << false;
    QTest::newRow("negative index") << -1 << 10.0 << 10.0 << 1.0 << false;
}

void TestTolerances::withinTolerance()
{
    QFETCH(int, index);
    QFETCH(double, eng_mean);
    QFETCH(double, ref_value);
    QFETCH(double, tolerance);
    QFETCH(bool, within);

    if (index >= 0 && index < kMaxPoints) {
        record_->point_stats[index].eng_mean = eng_mean;
        record_->point_stats[index].ref_value = ref_value;
    }
    QCOMPARE(within_tolerance(index, tolerance), within);
}

void TestTolerances::padLongTable_data()
{
    QTest::addColumn<int>("count");
    QTest::newRow("three points") << 3;
    QTest::newRow("one point") << 1;
    QTest::newRow("full table") << 64;
    QTest::newRow("no points") << 0;
}

void TestTolerances::padLongTable()
{
    QFETCH(int, count);

    LongTable &table = record_->long_table;
    for (int i = 0; i < kMaxPoints; ++i) {
        table.x[i] = 100.0 + i;
        table.y[i] = -2.0 * i;
    }
    table.count = static_cast<int16_t>(count);
    CurvePoints curve;
    std::memset(&curve, 0x7f, sizeof curve);
    curve.unused = 42;
    pad_long_table(&table, &curve);

    QCOMPARE(curve.count, int16_t(64));
    QCOMPARE(curve.unused, int16_t(42));
    const double last_x = count > 0 ? 100.0 + (count - 1) : 0.0;
    const double last_y = count > 0 ? -2.0 * (count - 1) : 0.0;
    for (int i = 0; i < kMaxPoints; ++i) {
        const bool own = i < count;
        QCOMPARE(curve.points[i].x, own ? 100.0 + i : last_x);
        QCOMPARE(curve.points[i].y, own ? -2.0 * i : last_y);
    }
}

void TestTolerances::niceAxisRange_data()
{
    QTest::addColumn<double>("min");
    QTest::addColumn<double>("max");
    QTest::addColumn<int>("ticks");
    QTest::addColumn<double>("new_min");
    QTest::addColumn<double>("new_max");
    QTest::addColumn<int>("new_ticks");

    // g = 110 / 4 = 27.5, unit 40.
    QTest::newRow("far from zero pulled to 0") << 10.0 << 100.0 << 5 << 0.0 << 160.0 << 5;
    // 100 / 20 is exactly 5: no pull.  g = 22, unit 40, h = 20.
    QTest::newRow("ratio exactly 5 stays") << 20.0 << 100.0 << 5 << 20.0 << 180.0 << 5;
    QTest::newRow("negative, max pulled to 0") << -100.0 << -10.0 << 5 << -160.0 << 0.0 << 5;
    // Widened to 4..6; g = 0.55, unit 0.6, h = 0.3, q = 13.
    QTest::newRow("zero height widened") << 5.0 << 5.0 << 5 << 3.9 << 6.3 << 5;
    // g = 2.75, unit 4, h = 2, q = 1: the negative end goes one step out.
    QTest::newRow("across zero") << -3.0 << 7.0 << 5 << -4.0 << 12.0 << 5;
    // g = 11 with one interval: unit 20.
    QTest::newRow("no ticks becomes two") << 0.0 << 10.0 << 0 << 0.0 << 20.0 << 2;
    QTest::newRow("one tick, one interval") << 0.0 << 10.0 << 1 << 0.0 << 20.0 << 1;
    // g = 1.1 / 4 = 0.275, unit 0.4: the entry 1 is never taken.
    QTest::newRow("small span") << 0.0 << 1.0 << 5 << 0.0 << 1.6 << 5;
    // g = 0.02475, two decades down 2.475: unit 0.04; h = 0.02, q = 50.
    QTest::newRow("decades below") << 1.01 << 1.1 << 5 << 1.0 << 1.16 << 5;
}

void TestTolerances::niceAxisRange()
{
    QFETCH(double, min);
    QFETCH(double, max);
    QFETCH(int, ticks);
    QFETCH(double, new_min);
    QFETCH(double, new_max);
    QFETCH(int, new_ticks);

    axis_scale scale{};
    scale.min = min;
    scale.max = max;
    scale.ticks = static_cast<int16_t>(ticks);
    nice_axis_range(&scale);
    QVERIFY2(near(scale.min, new_min), qPrintable(QString::number(scale.min, 'g', 17)));
    QVERIFY2(near(scale.max, new_max), qPrintable(QString::number(scale.max, 'g', 17)));
    QCOMPARE(int(scale.ticks), new_ticks);
    QCOMPARE(scale.step, 1.0);
    QCOMPARE(scale.changed, int16_t(0));
}

void TestTolerances::extendAxisRange_data()
{
    QTest::addColumn<double>("min");
    QTest::addColumn<double>("max");
    QTest::addColumn<int>("changed");
    QTest::addColumn<QVector<double>>("values");
    QTest::addColumn<int>("count");
    QTest::addColumn<double>("new_min");
    QTest::addColumn<double>("new_max");
    QTest::addColumn<int>("result");

    // 50..50 widened to 49..51, then rounded: unit 0.6, h 0.3, q 163.
    QTest::newRow("single value, zeroed record")
        << 0.0 << 0.0 << 0 << QVector<double>{50.0} << 1 << 48.9 << 51.3 << 1;
    QTest::newRow("count 0 still takes the first")
        << 0.0 << 0.0 << 0 << QVector<double>{50.0} << 0 << 48.9 << 51.3 << 1;
    QTest::newRow("values inside")
        << 0.0 << 160.0 << 0 << QVector<double>{10.0, 20.0} << 2 << 0.0 << 160.0 << 0;
    QTest::newRow("flag already set, nothing moves")
        << 0.0 << 160.0 << 1 << QVector<double>{10.0} << 1 << 0.0 << 160.0 << 0;
    // 0..170: g = 46.75, unit 50.
    QTest::newRow("max rises") << 0.0 << 160.0 << 0 << QVector<double>{5.0, 170.0} << 2 << 0.0
                               << 200.0 << 1;
    // -20..160: g = 49.5, unit 50, h 25, q 0.
    QTest::newRow("min falls") << 0.0 << 160.0 << 0 << QVector<double>{-20.0} << 1 << -25.0 << 175.0
                               << 1;
    // Below 1e-6 no rescale, yet the bytes differ.
    QTest::newRow("tiny move, no rescale")
        << 0.0 << 160.0 << 0 << QVector<double>{160.0000005} << 1 << 0.0 << 160.0000005 << 1;
    QTest::newRow("later values only")
        << 0.0 << 0.0 << 0 << QVector<double>{30.0, 10.0, 100.0} << 3 << 0.0 << 160.0 << 1;
}

void TestTolerances::extendAxisRange()
{
    QFETCH(double, min);
    QFETCH(double, max);
    QFETCH(int, changed);
    QFETCH(QVector<double>, values);
    QFETCH(int, count);
    QFETCH(double, new_min);
    QFETCH(double, new_max);
    QFETCH(int, result);

    axis_scale scale{};
    scale.min = min;
    scale.max = max;
    scale.ticks = 5;
    scale.changed = static_cast<int16_t>(changed);
    QCOMPARE(extend_axis_range(&scale, values.constData(), count), result);
    QVERIFY2(near(scale.min, new_min), qPrintable(QString::number(scale.min, 'g', 17)));
    QVERIFY2(near(scale.max, new_max), qPrintable(QString::number(scale.max, 'g', 17)));
    QCOMPARE(int(scale.changed), result == 1 ? 1 : changed);
}

QTEST_MAIN(TestTolerances)
#include "tst_tolerances.moc"
