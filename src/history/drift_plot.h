// The drift plot: each set point's error, in % of the sensor's span, at
// every record whose errors are known, against the date; the adjustment
// limit drawn on both sides.
#pragma once

#include "drift.h"

class QwtPlot;
class QString;

void draw_drift(QwtPlot *plot, const ChannelHistory &history);
// The plot drawn off screen into a PNG of `width` x `height` pixels.
bool save_drift_picture(const ChannelHistory &history, const QString &path, int width = 1000, int height = 600);
