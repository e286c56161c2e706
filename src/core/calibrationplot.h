// The calibration plot of the main window: a QwtPlot that lays itself out
// again only when something its layout depends on has changed.
#pragma once

#include <qwt_plot.h>
#include <qwt_scale_div.h>
#include <qwt_text.h>

#include <QFont>
#include <QList>
#include <QRect>
#include <QSize>

#include <array>

class CalibrationPlot : public QwtPlot
{
    Q_OBJECT

  public:
    explicit CalibrationPlot(QWidget *parent = nullptr);

    void updateLayout() override;

    // The live reading's title, set with QwtPlot::setTitle.  A settled
    // layout whose title was one line keeps itself without the full check
    // when the new words still fit one line of the label: at the live
    // display's rate that check cost more than anything else in the draw.
    void setLiveTitle(const QString &text);

    // How many times the layout was computed (not skipped).
    int layoutCount() const { return layouts_; }

  private:
    // What the plot's layout reads: where each part goes follows from these
    // alone.  The live title's text is not among them: a title that still
    // takes one line of the same font takes the same room, so the reading
    // of a noisy sensor, which rewrites the title at every tick, does not
    // lay the plot out again.
    struct Axis {
        bool enabled = false;
        QwtScaleDiv division;
        QwtText title;
        QFont font;
        int start_border = 0; // the ends the scale keeps clear for its labels
        int end_border = 0;
        bool operator==(const Axis &other) const;
    };
    struct Inputs {
        QRect contents;
        bool title_shown = false;
        bool title_one_line = false;
        QFont title_font;
        QSize legend_hint;
        std::array<Axis, QwtPlot::axisCnt> axes;
        // Where the parts stand: the scales' label room follows from their
        // lengths, so a layout that moved them may move them again.
        QList<QRect> parts;
        bool operator==(const Inputs &other) const;
    };
    Inputs currentInputs() const;

    Inputs laid_out_for_;
    bool laid_out_ = false;
    bool keep_layout_ = false; // set only across setLiveTitle's setTitle
    int layouts_ = 0;
};
