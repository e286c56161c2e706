#include "calibrationplot.h"

#include <qwt_abstract_legend.h>
#include <qwt_scale_widget.h>
#include <qwt_text_label.h>

#include <QFontMetrics>

namespace
{

// Whether text takes no more than width pixels in font.  The sum of the
// characters' own advances, with the widest character's width to spare
// for kerning and the like, settles most titles without shaping the text,
// which at the monitor's 10 Hz would cost as much as the layout it spares.
bool fits_one_line(const QwtText &text, const QFont &font, int width)
{
    const QFontMetrics metrics(font);
    qint64 advances = metrics.maxWidth();
    for (const QChar c : text.text())
        advances += metrics.horizontalAdvance(c);
    if (advances <= width)
        return true;
    return text.textSize(font).width() <= width;
}

} // namespace

CalibrationPlot::CalibrationPlot(QWidget *parent) : QwtPlot(parent) {}

bool CalibrationPlot::Axis::operator==(const Axis &other) const
{
    return enabled == other.enabled && division == other.division && title == other.title && font == other.font &&
           start_border == other.start_border && end_border == other.end_border;
}

bool CalibrationPlot::Inputs::operator==(const Inputs &other) const
{
    return contents == other.contents && title_shown == other.title_shown &&
           title_one_line == other.title_one_line && title_font == other.title_font &&
           legend_hint == other.legend_hint && axes == other.axes && parts == other.parts;
}

CalibrationPlot::Inputs CalibrationPlot::currentInputs() const
{
    Inputs inputs;
    inputs.contents = contentsRect();
    const QwtTextLabel *label = titleLabel();
    const QwtText title = label->text();
    inputs.title_shown = !title.isEmpty();
    inputs.title_font = label->font();
    // One line that fits the label as it stands: the room it needs is one
    // line's height whatever the words.  Anything else is laid out anew.
    inputs.title_one_line = inputs.title_shown && !title.text().contains(QLatin1Char('\n')) &&
                            fits_one_line(title, label->font(), label->contentsRect().width());
    if (const QwtAbstractLegend *legend_widget = legend())
        inputs.legend_hint = legend_widget->isEmpty() ? QSize() : legend_widget->sizeHint();
    for (int axis = 0; axis < QwtPlot::axisCnt; ++axis) {
        Axis &a = inputs.axes[size_t(axis)];
        a.enabled = axisEnabled(axis);
        a.division = axisScaleDiv(axis);
        a.title = axisTitle(axis);
        const QwtScaleWidget *scale = axisWidget(axis);
        a.font = scale->font();
        a.start_border = scale->startBorderDist();
        a.end_border = scale->endBorderDist();
        inputs.parts.append(scale->geometry());
    }
    inputs.parts.append(label->geometry());
    inputs.parts.append(canvas()->geometry());
    if (const QWidget *legend_widget = legend())
        inputs.parts.append(legend_widget->geometry());
    return inputs;
}

void CalibrationPlot::setLiveTitle(const QString &text)
{
    const QwtTextLabel *label = titleLabel();
    keep_layout_ = laid_out_ && laid_out_for_.title_one_line && !text.contains(QLatin1Char('\n')) &&
                   fits_one_line(QwtText(text), label->font(), label->contentsRect().width());
    setTitle(text);
    keep_layout_ = false;
}

void CalibrationPlot::updateLayout()
{
    if (keep_layout_)
        return;
    const Inputs before = currentInputs();
    // A title that did not fit in one line before or does not now is
    // never taken as unchanged.
    if (laid_out_ && before.title_one_line && before == laid_out_for_)
        return;
    QwtPlot::updateLayout();
    ++layouts_;
    // Only a layout that left what it reads as it found it is settled: one
    // that moved the parts may move them again when run once more, as a
    // plain plot would.
    laid_out_for_ = currentInputs();
    laid_out_ = laid_out_for_ == before;
}
