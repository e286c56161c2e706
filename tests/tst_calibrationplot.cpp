// The calibration plot skips a layout only when the result would be the
// one it has: after any change, every part of it stands where a plain
// QwtPlot given the same changes puts it.
#include "calibrationplot.h"

#include <QtTest>

#include <qwt_legend.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>
#include <qwt_scale_widget.h>
#include <qwt_text_label.h>

#include <functional>

namespace
{

using Change = std::function<void(QwtPlot &)>;

// As the main window sets the plot up: a legend below, titled axes, a
// title, one curve.
void set_up(QwtPlot &plot)
{
    plot.insertLegend(new QwtLegend, QwtPlot::BottomLegend);
    plot.setAxisTitle(QwtPlot::xBottom, QStringLiteral("Millivolts (mv)"));
    plot.setAxisTitle(QwtPlot::yLeft, QStringLiteral("KPA"));
    plot.setAxisScale(QwtPlot::xBottom, 0.0, 10.0);
    plot.setAxisScale(QwtPlot::yLeft, 0.0, 100.0);
    plot.setTitle(QStringLiteral("Current Point:   1.0000 /  10.0000"));
    auto *curve = new QwtPlotCurve(QStringLiteral("Captured"));
    curve->attach(&plot);
    plot.resize(700, 500);
    plot.show();
    plot.replot();
}

// Where each part of the plot stands.
QList<QRect> geometries(QwtPlot &plot)
{
    QList<QRect> parts{plot.titleLabel()->geometry(), plot.canvas()->geometry()};
    for (int axis = 0; axis < QwtPlot::axisCnt; ++axis)
        parts.append(plot.axisEnabled(axis) ? plot.axisWidget(axis)->geometry() : QRect());
    if (plot.legend())
        parts.append(plot.legend()->geometry());
    return parts;
}

void settle()
{
    for (int i = 0; i < 3; ++i)
        QCoreApplication::processEvents();
}

QString long_title()
{
    return QStringLiteral("Current Point: ") + QString(200, QLatin1Char('8'));
}

} // namespace

Q_DECLARE_METATYPE(Change)

class TestCalibrationPlot : public QObject
{
    Q_OBJECT

  private slots:
    void sameLayoutAsPlainPlot_data();
    void sameLayoutAsPlainPlot();
    void liveTitleSkipsLayout();
};

void TestCalibrationPlot::sameLayoutAsPlainPlot_data()
{
    QTest::addColumn<Change>("change");
    QTest::addColumn<bool>("laidOut"); // whether the change must lay the plot out again

    QTest::newRow("live title") << Change([](QwtPlot &p) {
        p.setTitle(QStringLiteral("Current Point:   1.0010 /  10.0100"));
    }) << false;
    QTest::newRow("title too long for one line") << Change([](QwtPlot &p) { p.setTitle(long_title()); }) << true;
    QTest::newRow("title on two lines")
        << Change([](QwtPlot &p) { p.setTitle(QStringLiteral("Current\nPoint")); }) << true;
    QTest::newRow("title cleared") << Change([](QwtPlot &p) { p.setTitle(QString()); }) << true;
    QTest::newRow("left axis title") << Change([](QwtPlot &p) {
        p.setAxisTitle(QwtPlot::yLeft, QStringLiteral("DEG C"));
    }) << true;
    QTest::newRow("wider tick labels") << Change([](QwtPlot &p) {
        p.setAxisScale(QwtPlot::yLeft, -100000.0, 100000.0);
        p.replot();
    }) << true;
    QTest::newRow("resized") << Change([](QwtPlot &p) { p.resize(640, 420); }) << true;
    QTest::newRow("curve added to the legend") << Change([](QwtPlot &p) {
        (new QwtPlotCurve(QStringLiteral("Previous Poly Curve")))->attach(&p);
    }) << true;
    QTest::newRow("curve taken off") << Change([](QwtPlot &p) {
        p.detachItems(QwtPlotItem::Rtti_PlotCurve, true);
    }) << true;
    QTest::newRow("right axis shown") << Change([](QwtPlot &p) { p.enableAxis(QwtPlot::yRight); }) << true;
    QTest::newRow("axis font") << Change([](QwtPlot &p) {
        QFont font = p.axisFont(QwtPlot::xBottom);
        font.setPointSize(font.pointSize() + 6);
        p.setAxisFont(QwtPlot::xBottom, font);
    }) << true;
    QTest::newRow("long title, then the live title again") << Change([](QwtPlot &p) {
        p.setTitle(long_title());
        QCoreApplication::processEvents();
        p.setTitle(QStringLiteral("Current Point:   1.0010 /  10.0100"));
    }) << true;
}

void TestCalibrationPlot::sameLayoutAsPlainPlot()
{
    QFETCH(Change, change);
    QFETCH(bool, laidOut);
    CalibrationPlot plot;
    QwtPlot plain;
    set_up(plot);
    set_up(plain);
    QVERIFY(QTest::qWaitForWindowExposed(&plot));
    QVERIFY(QTest::qWaitForWindowExposed(&plain));
    settle();
    QCOMPARE(geometries(plot), geometries(plain));
    const int layouts = plot.layoutCount();

    change(plot);
    change(plain);
    settle();

    QCOMPARE(geometries(plot), geometries(plain));
    QCOMPARE(plot.titleLabel()->text().text(), plain.titleLabel()->text().text());
    QCOMPARE(plot.titleLabel()->isVisible(), plain.titleLabel()->isVisible());
    QCOMPARE(plot.layoutCount() > layouts, laidOut);
}

void TestCalibrationPlot::liveTitleSkipsLayout()
{
    CalibrationPlot plot;
    set_up(plot);
    QVERIFY(QTest::qWaitForWindowExposed(&plot));
    settle();
    const int layouts = plot.layoutCount();
    // A second of a noisy reading: a new title and a replot at every tick.
    for (int tick = 0; tick < 10; ++tick) {
        plot.setTitle(QStringLiteral("Current Point: %1 /%2").arg(1.0 + tick * 0.001, 8, 'f', 4).arg(10.0 + tick * 0.01, 8, 'f', 4));
        plot.replot();
        settle();
    }
    QCOMPARE(plot.layoutCount(), layouts);
    QCOMPARE(plot.titleLabel()->text().text(), QStringLiteral("Current Point:   1.0090 / 10.0900"));
}

QTEST_MAIN(TestCalibrationPlot)
#include "tst_calibrationplot.moc"
