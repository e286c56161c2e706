#include "drift_plot.h"

#include <qwt_date.h>
#include <qwt_date_scale_draw.h>
#include <qwt_date_scale_engine.h>
#include <qwt_legend.h>
#include <qwt_plot.h>
#include <qwt_plot_curve.h>
#include <qwt_plot_grid.h>
#include <qwt_plot_marker.h>
#include <qwt_plot_renderer.h>
#include <qwt_symbol.h>

#include <QDateTime>
#include <QImage>
#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

constexpr int kMarkedSamples = 400;
constexpr int kBuckets = 1500; // about one a pixel of a wide plot

// A long series kept to the lowest and highest error in each of kBuckets
// equal stretches of time: the same envelope for a fraction of the points.
QVector<QPointF> thinned(const QVector<QPointF> &samples)
{
    if (samples.size() <= 4 * kBuckets)
        return samples;
    const double first = samples.front().x(), last = samples.back().x();
    const double width = (last - first) / kBuckets;
    QVector<QPointF> kept;
    int i = 0;
    while (i < samples.size()) {
        const double end = width > 0.0 ? first + width * (std::floor((samples[i].x() - first) / width) + 1) : last + 1;
        QPointF low = samples[i], high = samples[i];
        for (; i < samples.size() && samples[i].x() < end; ++i) {
            if (samples[i].y() < low.y())
                low = samples[i];
            if (samples[i].y() > high.y())
                high = samples[i];
        }
        if (low.x() <= high.x())
            kept << low << high;
        else
            kept << high << low;
    }
    return kept;
}

void limit_line(QwtPlot *plot, double value, const QString &label)
{
    auto *marker = new QwtPlotMarker;
    marker->setLineStyle(QwtPlotMarker::HLine);
    marker->setYValue(value);
    marker->setLinePen(QColor(255, 78, 78), 1.5, Qt::DashLine);
    marker->setLabel(QwtText(label));
    marker->setLabelAlignment(Qt::AlignRight | Qt::AlignTop);
    marker->attach(plot);
}

} // namespace

void draw_drift(QwtPlot *plot, const ChannelHistory &history)
{
    plot->detachItems(QwtPlotItem::Rtti_PlotItem, true);
    plot->setCanvasBackground(Qt::white);
    plot->setTitle(QStringLiteral("%1: error at each set point").arg(history.table));
    plot->setAxisTitle(QwtPlot::yLeft, QStringLiteral("error, % of span"));
    auto *scale = new QwtDateScaleDraw(Qt::LocalTime);
    for (auto unit : {QwtDate::Millisecond, QwtDate::Second, QwtDate::Minute, QwtDate::Hour, QwtDate::Day,
                      QwtDate::Week})
        scale->setDateFormat(unit, QStringLiteral("yyyy-MM-dd"));
    scale->setDateFormat(QwtDate::Month, QStringLiteral("MMM yyyy"));
    scale->setDateFormat(QwtDate::Year, QStringLiteral("yyyy"));
    plot->setAxisScaleDraw(QwtPlot::xBottom, scale);
    plot->setAxisScaleEngine(QwtPlot::xBottom, new QwtDateScaleEngine(Qt::LocalTime));
    if (!plot->legend())
        plot->insertLegend(new QwtLegend, QwtPlot::RightLegend);
    auto *grid = new QwtPlotGrid;
    grid->setMajorPen(QColor(220, 220, 220), 0.0, Qt::DotLine);
    grid->attach(plot);

    const double span = history.span;
    // Points only ever recorded on the table (adjustments, verifications)
    // stay at zero: shown only when no point has moved at all.
    auto moved = [](const SetPointDrift &s) {
        return std::any_of(s.errors.begin(), s.errors.end(), [](const auto &e) { return std::fabs(e.second) > 1e-12; });
    };
    const bool any_moved = std::any_of(history.set_points.begin(), history.set_points.end(), moved);
    const int shown = static_cast<int>(std::count_if(history.set_points.begin(), history.set_points.end(),
                                                     [&](const SetPointDrift &s) { return !any_moved || moved(s); }));
    int colour = 0;
    for (const SetPointDrift &set_point : history.set_points) {
        if (any_moved && !moved(set_point))
            continue;
        QVector<QPointF> samples;
        for (const auto &error : set_point.errors)
            if (span > 0.0 && std::isfinite(error.second))
                // The date scale counts milliseconds since the epoch.
                samples.append(QPointF(static_cast<double>(error.first) * 1000.0, error.second / span * 100.0));
        if (samples.isEmpty())
            continue;
        // Hues spread round the wheel, from the lowest set point to the highest.
        const QColor tint = QColor::fromHsv(colour++ * 300 / std::max(1, shown), 230, 190);
        auto *curve = new QwtPlotCurve(QStringLiteral("%1 %2").arg(set_point.set_point, 0, 'g', 6).arg(history.table_units));
        curve->setPen(tint, 1.5);
        // A marker at each calibration while they can be told apart; a long
        // history is drawn as its line, thinned to what the pixels show.
        if (samples.size() <= kMarkedSamples)
            curve->setSymbol(new QwtSymbol(QwtSymbol::Ellipse, tint, tint, QSize(6, 6)));
        curve->setSamples(thinned(samples));
        curve->attach(plot);
    }
    const double limit = history.interval.limit_pct;
    limit_line(plot, limit, QStringLiteral("adjustment limit"));
    limit_line(plot, -limit, QString());
    plot->replot();
}

bool save_drift_picture(const ChannelHistory &history, const QString &path, int width, int height)
{
    QwtPlot plot;
    plot.resize(width, height);
    draw_drift(&plot, history);
    QImage image(width, height, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    QwtPlotRenderer().render(&plot, &painter, QRectF(0, 0, width, height));
    painter.end();
    return image.save(path, "PNG");
}
