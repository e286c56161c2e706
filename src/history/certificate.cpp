#include "certificate.h"

#include <QAbstractTextDocumentLayout>
#include <QPainter>
#include <QPageLayout>
#include <QPageSize>
#include <QPdfWriter>
#include <QSaveFile>
#include <QTextDocument>

#include <cmath>

namespace {

constexpr double kBandLimitsPct[3] = {0.25, 1.0, 2.0};
constexpr double kMissing = -999999.0;

int band_for(double error, double span)
{
    const double pct = span > 0.0 ? std::fabs(error) / span * 100.0 : NAN;
    for (int band = 0; band < 3; ++band)
        if (!(pct > kBandLimitsPct[band])) // a NaN is inside, as in the utility
            return band;
    return 3;
}

QString esc(const QString &text)
{
    return text.toHtmlEscaped();
}

QString num(double value, int digits = 4)
{
    if (!std::isfinite(value))
        return QStringLiteral("-");
    QString text = QString::number(value, 'f', digits);
    // A value that rounds to zero is shown without a sign.
    if (text.startsWith(QLatin1Char('-')) && text.count(QLatin1Char('0')) == text.size() - 2)
        text.remove(0, 1);
    return text;
}

QString row(const QStringList &cells, bool header = false)
{
    const QString tag = header ? QStringLiteral("th") : QStringLiteral("td");
    QString html = QStringLiteral("<tr>");
    for (const QString &cell : cells)
        html += QStringLiteral("<%1>%2</%1>").arg(tag, cell);
    return html + QStringLiteral("</tr>");
}

QString field(const QString &label, const QString &value)
{
    return row({QStringLiteral("<b>%1</b>").arg(esc(label)), esc(value.isEmpty() ? QStringLiteral("-") : value)});
}

// The dates a technician types for a due date, in the forms a station meets.
QDate parse_due(const QString &text)
{
    for (const char *format : {"yyyy-MM-dd", "MM/dd/yyyy", "M/d/yyyy", "dd.MM.yyyy", "MM/dd/yy", "MMddyyyy"}) {
        QDate date = QDate::fromString(text.trimmed(), QLatin1String(format));
        if (format == QLatin1String("MM/dd/yy") && date.isValid() && date.year() < 1970)
            date = date.addYears(100);
        if (date.isValid())
            return date;
    }
    return {};
}

QDate calibration_date(const CalibrationReport &report)
{
    if (!report.points.empty()) {
        const QDate date = QDate::fromString(report.points.front().date, QStringLiteral("MM/dd/yyyy"));
        if (date.isValid())
            return date;
    }
    return report.written.date();
}

QString results_table(const CalibrationReport &report, double span)
{
    QString html = QStringLiteral("<table border=\"1\" cellspacing=\"0\" cellpadding=\"3\" width=\"100%\">");
    html += row({QStringLiteral("Point"), QStringLiteral("Applied [%1]").arg(esc(report.units)),
                 QStringLiteral("Reading [%1]").arg(esc(report.units)), QStringLiteral("Error"),
                 QStringLiteral("Tolerance"), QStringLiteral("Band"), QStringLiteral("Std. deviation"),
                 QStringLiteral("Samples"), QStringLiteral("Type A u")},
                true);
    for (const ReportPoint &point : report.points) {
        const PointResult result = point_result(point, span);
        html += row({QString::number(point.step), num(result.applied), num(result.reading), num(result.error),
                     QStringLiteral("&plusmn;") + num(result.tolerance),
                     QStringLiteral("<span style=\"background-color:%1\">%2</span>")
                         .arg(band_colour(result.band).name(), esc(band_name(result.band))),
                     num(result.stdev, 5), result.samples > 0 ? QString::number(result.samples) : QStringLiteral("-"),
                     result.type_a >= 0.0 ? num(result.type_a, 5) : QStringLiteral("-")});
    }
    return html + QStringLiteral("</table>");
}

int worst_band(const CalibrationReport &report, double span)
{
    int worst = 0;
    for (const ReportPoint &point : report.points)
        worst = std::max(worst, point_result(point, span).band);
    return worst;
}

// The mean over the points that carry the variable; NaN when none does.
double environment_mean(const CalibrationReport &report, double ReportPoint::*member)
{
    double sum = 0.0;
    int count = 0;
    for (const ReportPoint &point : report.points) {
        const double value = point.*member;
        if (std::isfinite(value) && value != kMissing) {
            sum += value;
            ++count;
        }
    }
    return count ? sum / count : NAN;
}

QString environment_text(const CalibrationReport &report, double ReportPoint::*member, const QString &units)
{
    const double mean = environment_mean(report, member);
    return std::isfinite(mean) ? QStringLiteral("%1 %2").arg(num(mean, 2), units) : QStringLiteral("not recorded");
}

} // namespace

PointResult point_result(const ReportPoint &point, double span)
{
    PointResult result;
    result.applied = point.set_point;
    result.reading = point.mean;
    result.error = point.mean - point.set_point;
    result.tolerance = span * kBandLimitsPct[1] / 100.0;
    result.band = band_for(result.error, span);
    result.stdev = point.stdev;
    result.samples = point.samples;
    if (point.samples > 1 && std::isfinite(point.stdev))
        result.type_a = point.stdev / std::sqrt(static_cast<double>(point.samples));
    return result;
}

QString band_name(int band)
{
    static const char *const names[] = {"No Adjustment Needed", "Out of Adjustment", "Out of Tolerance",
                                        "Significantly Out of Tolerance"};
    return QString::fromLatin1(names[std::clamp(band, 0, 3)]);
}

QColor band_colour(int band)
{
    static const QColor colours[] = {QColor(0, 255, 0), QColor(255, 255, 127), QColor(255, 170, 0),
                                     QColor(255, 78, 78)};
    return colours[std::clamp(band, 0, 3)];
}

QString certificate_number(const CertificateInput &input)
{
    const CalibrationReport &left = input.calibration.as_left;
    return QStringLiteral("VC-%1-%2").arg(table_stem(left.table).toUpper(),
                                          left.written.toString(QStringLiteral("yyyyMMdd-hhmmss")));
}

QString certificate_html(const CertificateInput &input)
{
    const CalibrationReport &left = input.calibration.as_left;
    const CalibrationReport *found = input.calibration.as_found ? &*input.calibration.as_found : nullptr;
    const double span = input.channel.span();
    const QDate calibrated = calibration_date(left);
    QString html = QStringLiteral("<html><body style=\"font-family:sans-serif; font-size:8pt\">");
    html += QStringLiteral("<h2 align=\"center\">Calibration Certificate</h2>");
    html += QStringLiteral("<p align=\"center\"><b>Certificate No. %1</b></p>").arg(esc(certificate_number(input)));

    html += QStringLiteral("<h3>Laboratory</h3><table cellpadding=\"2\">");
    html += field(QStringLiteral("Laboratory"), left.site);
    html += field(QStringLiteral("Address"), left.address);
    html += QStringLiteral("</table>");

    html += QStringLiteral("<h3>Unit under test</h3><table cellpadding=\"2\">");
    html += field(QStringLiteral("Cell"), left.cell);
    html += field(QStringLiteral("Channel"), QStringLiteral("%1 %2").arg(left.channel).arg(left.channel_name));
    html += field(QStringLiteral("Table"), left.table);
    html += field(QStringLiteral("Description"), input.channel.description);
    html += field(QStringLiteral("Model"), left.uut_model);
    html += field(QStringLiteral("Manufacturer"), left.uut_manufacturer);
    html += field(QStringLiteral("Serial number"), left.uut_serial);
    html += field(QStringLiteral("M&TE"), left.uut_mte);
    html += field(QStringLiteral("Cal type"), left.uut_cal_type);
    html += field(QStringLiteral("Sensor"), QStringLiteral("%1, serial %2, range %3 to %4 %5")
                                                .arg(input.channel.sensor_model, input.channel.sensor_serial,
                                                     num(input.channel.sensor_lower, 2),
                                                     num(input.channel.sensor_upper, 2), input.channel.sensor_units));
    html += QStringLiteral("</table>");

    html += QStringLiteral("<h3>Calibration</h3><table cellpadding=\"2\">");
    html += field(QStringLiteral("Procedure"), left.uut_procedure);
    html += field(QStringLiteral("Date of calibration"), calibrated.toString(Qt::ISODate));
    html += field(QStringLiteral("Date of issue"), input.issued.toString(Qt::ISODate));
    html += field(QStringLiteral("Next calibration due"),
                  input.channel.due.isValid() ? input.channel.due.toString(Qt::ISODate) : QString());
    html += QStringLiteral("</table>");

    if (found) {
        html += QStringLiteral("<h3>As-Found results</h3>") + results_table(*found, span);
    }
    html += QStringLiteral("<h3>%1 results</h3>")
                .arg(left.status == QLatin1String("AS_LEFT") ? QStringLiteral("As-Left")
                                                              : QStringLiteral("As-Found / As-Left"));
    html += results_table(left, span);
    html += QStringLiteral("<p>Error = reading - applied value. Type A u: the standard uncertainty of each "
                           "point's mean, its standard deviation over the root of its sample count.</p>");

    html += QStringLiteral("<h3>Environmental conditions</h3><table cellpadding=\"2\">");
    html += field(QStringLiteral("Room temperature"),
                  environment_text(left, &ReportPoint::temperature, left.temperature_units));
    html += field(QStringLiteral("Barometer"), environment_text(left, &ReportPoint::pressure, left.pressure_units));
    html += field(QStringLiteral("Humidity"), environment_text(left, &ReportPoint::humidity, left.humidity_units));
    html += QStringLiteral("</table>");

    html += QStringLiteral("<h3>Reference standard</h3><table cellpadding=\"2\">");
    html += field(QStringLiteral("Manufacturer"), left.ref_manufacturer);
    html += field(QStringLiteral("Model"), left.ref_model);
    html += field(QStringLiteral("Serial number"), left.ref_serial);
    html += field(QStringLiteral("Equipment number"), left.ref_equipment);
    html += field(QStringLiteral("Calibration due"), left.ref_due);
    html += QStringLiteral("</table>");
    const QDate due = parse_due(left.ref_due);
    if (due.isValid() && due < calibrated)
        html += QStringLiteral("<p style=\"color:#b00000\"><b>Warning: the reference standard's calibration was due "
                               "on %1, before this calibration on %2.</b></p>")
                    .arg(due.toString(Qt::ISODate), calibrated.toString(Qt::ISODate));
    else if (!due.isValid())
        html += QStringLiteral("<p><b>Note: the reference standard's due date \"%1\" is not a date; its validity "
                               "on the day of calibration is not confirmed.</b></p>")
                    .arg(esc(left.ref_due));

    html += QStringLiteral("<h3>Decision rule and statement of conformity</h3><p>Each point is judged by its error "
                           "in per cent of the sensor's span (%1 %2): up to %3 % No Adjustment Needed, up to %4 % Out "
                           "of Adjustment, up to %5 % Out of Tolerance, beyond Significantly Out of Tolerance. "
                           "Simple acceptance: a point conforms when its error is within the tolerance of %4 % of "
                           "span, without allowance for the measurement uncertainty.</p>")
                .arg(num(span, 2), esc(input.channel.sensor_units))
                .arg(kBandLimitsPct[0])
                .arg(kBandLimitsPct[1])
                .arg(kBandLimitsPct[2]);
    const int worst = worst_band(left, span);
    html += QStringLiteral("<p><b>Statement of conformity: the unit under test %1 the specified tolerance as "
                           "left (worst point: %2).</b></p>")
                .arg(worst <= 1 ? QStringLiteral("conforms to") : QStringLiteral("does not conform to"),
                     band_name(worst));

    html += QStringLiteral("<h3>Signatures</h3><table cellpadding=\"2\">");
    html += field(QStringLiteral("Technician"), left.user);
    html += field(QStringLiteral("Lab manager"), left.approver);
    html += QStringLiteral("</table></body></html>");
    return html;
}

bool write_certificate_pdf(const QString &path, const CertificateInput &input, QString *error)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly)) {
        if (error)
            *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    {
        QPdfWriter writer(&file);
        writer.setTitle(QStringLiteral("Calibration Certificate %1").arg(certificate_number(input)));
        writer.setCreator(QStringLiteral("vrel_history"));
        writer.setPageSize(QPageSize(QPageSize::A4));
        writer.setPageMargins(QMarginsF(15, 15, 15, 15), QPageLayout::Millimeter);
        writer.setResolution(300);
        // Laid out in the writer's own units, so that the tables take the
        // page's width and the fonts keep their sizes.
        QTextDocument document;
        document.documentLayout()->setPaintDevice(&writer);
        document.setHtml(certificate_html(input));
        const QRectF page = writer.pageLayout().paintRectPixels(writer.resolution());
        document.setPageSize(page.size());
        QPainter painter(&writer);
        for (int i = 0; i < document.pageCount(); ++i) {
            if (i > 0)
                writer.newPage();
            painter.save();
            painter.translate(0, -i * page.height());
            document.drawContents(&painter, QRectF(0, i * page.height(), page.width(), page.height()));
            painter.restore();
        }
    }
    if (!file.commit()) {
        if (error)
            *error = QStringLiteral("cannot write %1: %2").arg(path, file.errorString());
        return false;
    }
    return true;
}
