// The calibration certificate: one calibration (an As-Found and the
// As-Left after it, or a Re-use) set out as a laboratory issues it, and
// written as a PDF with Qt's own PDF writer.
#pragma once

#include "calibration_report.h"
#include "channel_facts.h"

#include <QColor>
#include <QDate>
#include <QString>

struct CertificateInput {
    Calibration calibration;
    ChannelFacts channel;
    QDate issued;
};

// Judged against the sensor's span: 0.25, 1 and 2 % close the bands.
struct PointResult {
    double applied = 0.0, reading = 0.0, error = 0.0;
    double tolerance = 0.0; // the conformity limit, table units
    int band = 0;
    double stdev = 0.0;
    int samples = 0;
    double type_a = -1.0; // standard uncertainty of the mean; < 0: not known
};
PointResult point_result(const ReportPoint &point, double span);

// Unique for a calibration: the table and the As-Left report's stamp.
QString certificate_number(const CertificateInput &input);
QString certificate_html(const CertificateInput &input);
// Whole or not at all: a file that cannot be written leaves any previous one.
bool write_certificate_pdf(const QString &path, const CertificateInput &input, QString *error = nullptr);

// The band's name and colour as the utility shows them.
QString band_name(int band);
QColor band_colour(int band);
