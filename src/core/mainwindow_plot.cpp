// The calibration plot: raw millivolts on the bottom axis against table
// units on the left, the channel's present calibration ("Previous"), the
// captured points ("Captured") and the live reading ("Current Point").
#include "mainwindow.h"

#include "ui_mainwindow.h"

#include <qwt_legend.h>
#include <qwt_plot.h>
#include <qwt_plot_canvas.h>
#include <qwt_plot_curve.h>
#include <qwt_symbol.h>

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

void MainWindow::setupPlot()
{
    auto *legend = new QwtLegend;
    legend->setFrameStyle(QFrame::Box);
    ui->dataPlot->insertLegend(legend, QwtPlot::BottomLegend, -1.0);
    ui->dataPlot->setAxisTitle(QwtPlot::xBottom, QStringLiteral("Millivolts (mv)"));
    ui->dataPlot->setCanvasBackground(QBrush(Qt::white, Qt::SolidPattern));

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
