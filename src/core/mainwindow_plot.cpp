// The calibration plot: raw millivolts on the bottom axis against table
// units on the left, the channel's present calibration ("Previous"), the
// captured points ("Captured") and the live reading ("Current Point").
#include "mainwindow.h"

#include "conversion.h"
#include "functions.h"
#include "vrel_callbacks.h"
#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <orvane/strings.h>
#include <orvane/tables.h>

#include <QMutex>

#include <algorithm>
#include <cmath>
#include <cstring>

#include <qwt_legend.h>
#include <qwt_plot.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>
#include <qwt_symbol.h>
#include <qwt_text_label.h>

namespace {

struct CurveLook {
    const char *title;
    Qt::PenStyle pen_style;
    Qt::GlobalColor pen_colour;
    QwtSymbol::Style symbol;
    Qt::GlobalColor symbol_colour;
    Qt::PenStyle symbol_pen_style;
    int size;
    bool attached;
};

// In the order of MainWindow::Curve.
const CurveLook kLooks[] = {
    {"Captured", Qt::SolidLine, Qt::red, QwtSymbol::Ellipse, Qt::red, Qt::SolidLine, 10, true},
    {"Previous", Qt::DashLine, Qt::blue, QwtSymbol::Diamond, Qt::blue, Qt::DashLine, 10, true},
    {"Current Point", Qt::NoPen, Qt::black, QwtSymbol::Rect, Qt::black, Qt::NoPen, 12, true},
    {"Previous Poly Curve", Qt::DashDotLine, Qt::blue, QwtSymbol::Cross, Qt::blue, Qt::DashDotLine, 6, true},
    {"Captured Poly Curve", Qt::DashLine, Qt::red, QwtSymbol::NoSymbol, Qt::cyan, Qt::NoPen, 6, false},
};

QwtSymbol *make_symbol(const CurveLook &look)
{
    QPen outline(QBrush(look.symbol_colour), 0, look.symbol_pen_style, Qt::SquareCap, Qt::BevelJoin);
    // The captured poly curve's symbol is kept for when the curve is drawn.
    QwtSymbol::Style style = look.symbol == QwtSymbol::NoSymbol ? QwtSymbol::Ellipse : look.symbol;
    return new QwtSymbol(style, QBrush(look.symbol_colour, Qt::SolidPattern), outline,
                         QSize(look.size, look.size));
}

} // namespace

void MainWindow::releaseCurves()
{
    // Attached curves belong to the plot, which deletes them when told; an
    // unattached curve, and a symbol that no curve has taken, are ours.
    for (int i = 0; i < CurveCount; ++i) {
        if (curves[i] && symbols[i] && curves[i]->symbol() != symbols[i])
            delete symbols[i];
        if (curves[i] && !curves[i]->plot())
            delete curves[i];
        curves[i] = nullptr;
        symbols[i] = nullptr;
    }
}

void MainWindow::setupPlot()
{
    auto *legend = new QwtLegend;
    legend->setFrameStyle(QFrame::Box);
    ui->dataPlot->insertLegend(legend, QwtPlot::BottomLegend, -1.0);
    ui->dataPlot->setAxisTitle(QwtPlot::xBottom, QStringLiteral("Millivolts (mv)"));
    ui->dataPlot->setCanvasBackground(QBrush(Qt::white, Qt::SolidPattern));
    // The live point replots the plot at the monitor's 10 Hz whenever the
    // reading moves past the dead band, which a real sensor's noise does.
    // A canvas that keeps a copy of itself would make a new canvas-sized
    // pixmap for each of those replots only to copy it to the screen; the
    // items are few and are drawn straight onto the canvas instead.
    if (auto *canvas = qobject_cast<QwtPlotCanvas *>(ui->dataPlot->canvas()))
        canvas->setPaintAttribute(QwtPlotCanvas::BackingStore, false);
    // The title changes with every such move: painted on a background of
    // its own, it does not make the window, the frame and the plot behind
    // it paint that strip again each time.
    ui->dataPlot->titleLabel()->setAutoFillBackground(true);

    for (int i = 0; i < CurveCount; ++i) {
        const CurveLook &look = kLooks[i];
        pens[i].setStyle(look.pen_style);
        pens[i].setColor(look.pen_colour);
        symbols[i] = make_symbol(look);
        curves[i] = new QwtPlotCurve(QString::fromLatin1(look.title));
        curves[i]->setRenderHint(QwtPlotItem::RenderAntialiased, true);
        curves[i]->setPen(pens[i]);
        if (look.attached) {
            // The curve owns its symbol; ours is the one it was given.
            curves[i]->setSymbol(symbols[i]);
            curves[i]->setLegendAttribute(QwtPlotCurve::LegendShowSymbol, true);
            curves[i]->attach(ui->dataPlot);
        } else {
            curves[i]->setSymbol(nullptr);
            curves[i]->setLegendAttribute(QwtPlotCurve::LegendShowLine, false);
        }
    }
}

void MainWindow::setCurveSamples(const CurvePoints &block, int which)
{
    const int count = std::min<int>(std::max<int>(block.count, 0), kMaxPoints);
    for (int i = 0; i < count; ++i) {
        curve_x[which][i] = block.points[i].x;
        curve_y[which][i] = block.points[i].y;
    }
    curves[which == 0 ? CapturedCurve : PreviousCurve]->setRawSamples(curve_x[which], curve_y[which], count);
}

namespace {

// A pen of the given style handed to the curve and to its symbol.
void restyle(QwtPlotCurve *curve, QPen &pen, QwtSymbol *symbol, Qt::PenStyle style)
{
    pen.setStyle(style);
    if (symbol) {
        QPen outline = symbol->pen();
        outline.setStyle(style);
        symbol->setPen(outline);
    }
    curve->setPen(pen);
}

} // namespace

void MainWindow::drawPreviousCurve(VREL_CFG *record)
{
    if (plot_detached)
        return; // a refused channel took the curves with it
    curves[PreviousCurve]->detach();
    curves[PreviousPolyCurve]->detach();
    ui->dataPlot->replot();
    const int16_t type = record->table_info.tbl_type;
    if (type != TBL_INTERPOLATION && type != TBL_POLYNOMIAL && type != TBL_POLYNOMIAL_RANGE)
        return;
    if (record->long_table.count < 1)
        return; // nothing to pad: an unreadable or empty table
    pad_long_table(&record->long_table, &record->prev_curve);
    setCurveSamples(record->prev_curve, 1);
    QwtPlotCurve *poly = curves[PreviousPolyCurve];
    if (type == TBL_INTERPOLATION) {
        restyle(curves[PreviousCurve], pens[PreviousCurve], symbols[PreviousCurve], Qt::DashLine);
        curves[PreviousCurve]->attach(ui->dataPlot);
        poly->setRawSamples(curve_x[1], curve_y[1], record->prev_curve.count);
        restyle(poly, pens[PreviousPolyCurve], symbols[PreviousPolyCurve], Qt::DashDotLine);
        poly->attach(ui->dataPlot);
        poly->setTitle(QStringLiteral("Previous Curve"));
    } else {
        // Only the diamonds of the points; the polynomial is the line.
        restyle(curves[PreviousCurve], pens[PreviousCurve], symbols[PreviousCurve], Qt::NoPen);
        curves[PreviousCurve]->attach(ui->dataPlot);
        const TablePoly &poly0 = record->table_info.dim.table_poly[0];
        const LongTable &table = record->long_table;
        computepoints(poly0.coeff, poly0.num_coeff, 100, previous_poly_x, previous_poly_y, table.x[0],
                      table.x[table.count - 1]);
        poly->setRawSamples(previous_poly_x, previous_poly_y, 100);
        restyle(poly, pens[PreviousPolyCurve], symbols[PreviousPolyCurve], Qt::DashDotLine);
        poly->attach(ui->dataPlot);
        poly->setTitle(QStringLiteral("Previous Poly Curve"));
    }
    ui->dataPlot->replot();
}

void MainWindow::drawCapturedCurve(VREL_CFG *record)
{
    if (plot_detached)
        return; // a refused channel took the curves with it
    curves[CapturedCurve]->detach();
    curves[CapturedPolyCurve]->detach();
    ui->dataPlot->replot();
    if (captured_count <= 0)
        return;
    const int16_t type = record->table_info.tbl_type;
    if (type != TBL_INTERPOLATION && type != TBL_POLYNOMIAL && type != TBL_POLYNOMIAL_RANGE)
        return;
    const LongTable &table = record->new_long_table;
    if (table.count < 1 || table.count > kMaxPoints)
        return;
    pad_long_table(&table, &record->captured_curve);
    setCurveSamples(record->captured_curve, 0);
    if (type == TBL_INTERPOLATION) {
        restyle(curves[CapturedCurve], pens[CapturedCurve], symbols[CapturedCurve], Qt::DashLine);
        curves[CapturedCurve]->attach(ui->dataPlot);
        return;
    }
    restyle(curves[CapturedCurve], pens[CapturedCurve], nullptr, Qt::NoPen);
    curves[CapturedCurve]->attach(ui->dataPlot);
    const TablePoly &poly0 = record->new_table_poly[0];
    if (poly0.raw_data.count > 1) {
        computepoints(poly0.coeff, poly0.num_coeff, 100, captured_poly_x, captured_poly_y, table.x[0],
                      table.x[table.count - 1]);
        QwtPlotCurve *poly = curves[CapturedPolyCurve];
        poly->setRawSamples(captured_poly_x, captured_poly_y, 100);
        restyle(poly, pens[CapturedPolyCurve], symbols[CapturedPolyCurve], Qt::DashDotLine);
        if (poly->symbol() != symbols[CapturedPolyCurve])
            poly->setSymbol(symbols[CapturedPolyCurve]); // the curve owns it from now on
        poly->attach(ui->dataPlot);
    }
    ui->dataPlot->replot();
}

void MainWindow::draw_plots_info(VREL_CFG *record)
{
    if (plot_detached)
        return;
    cfg_mutex->lock();
    const bool table_changed = record->table_changed != 0;
    bool point_changed = false;
    if (table_changed ||
        std::memcmp(long_table_snapshot, &record->long_table, ORV_LONG_TABLE_POINTS_BYTES) != 0) {
        extend_axis_range(&record->x_scale, record->long_table.x, record->long_table.count);
        extend_axis_range(&record->y_scale, record->long_table.y, record->long_table.count);
        updateCoefficientLabels(record);
        std::memcpy(long_table_snapshot, &record->long_table, ORV_LONG_TABLE_POINTS_BYTES);
    }
    const double mv = live_millivolts(record->channel);
    short error = 0;
    const double eng = raw_to_engineering(record->table_info.tbl_type, &error, record, mv);
    const int64_t mv_key = dead_band_key(mv);
    if (table_changed || mv_key != last_mv_key) {
        double value = mv;
        extend_axis_range(&record->x_scale, &value, 1);
        last_mv_key = mv_key;
        point_changed = true;
    }
    const int64_t eng_key = dead_band_key(eng);
    if (table_changed || eng_key != last_eng_key) {
        double value = eng;
        extend_axis_range(&record->y_scale, &value, 1);
        last_eng_key = eng_key;
        point_changed = true;
    }
    if (point_changed || table_changed) {
        char title[80];
        snprintf_bounded("mainwindow", __LINE__, title, sizeof title, "Current Point: %8.4f /%8.4f", mv, eng);
        ui->dataPlot->setLiveTitle(QString::fromLatin1(title));
    }
    const bool scale_changed = record->x_scale.changed || record->y_scale.changed;
    if (table_changed)
        ui->dataPlot->setAxisTitle(QwtPlot::yLeft, QString::fromLatin1(record->table_info.tbl_units));
    if (scale_changed || table_changed || plot_reset) {
        record->x_scale.changed = 0;
        record->y_scale.changed = 0;
        plot_reset = false;
    }
    const bool redraw = point_changed || table_changed || scale_changed;
    if (redraw) {
        current_point_x = mv;
        current_point_y = eng;
        curves[CurrentPointCurve]->setRawSamples(&current_point_x, &current_point_y, 1);
    }
    cfg_mutex->unlock();
    if (redraw)
        ui->dataPlot->replot();
    record->table_changed = 0;
}
