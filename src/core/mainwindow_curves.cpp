// The candidate calibration kept ready while points are captured: a
// polynomial fit through the captured pairs and a sorted long table of
// them with every segment's slope and intercepts; and the verdict on
// each captured point.
#include "mainwindow.h"

#include "pointinfo.h"
#include "vrel_callbacks.h"
#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <orvane/tables.h>

#include <QLabel>
#include <QPair>
#include <QtAlgorithms>

#include <algorithm>

int fit_coefficient_count(int points, int order)
{
    // A range table offers orders up to one below its points, but a table
    // holds eight coefficients: a higher order fits as order 7.
    return std::min({points, order + 1, static_cast<int>(kMaxCoeffs)});
}

void MainWindow::refitCapturedPoints(VREL_CFG *record)
{
    TablePoly &candidate = record->new_table_poly[range_in_use(record)];
    if (candidate.raw_data.count < 1)
        return;
    PointBlock points {};
    int n = 0;
    for (int i = 0; i < kMaxPoints; ++i) {
        const double x = candidate.raw_data.x[i], y = candidate.raw_data.y[i];
        if (equal_within_1e6(x, kUnusedPoint) || equal_within_1e6(y, kUnusedPoint))
            continue;
        points.x[n] = x;
        points.y[n] = y;
        ++n;
    }
    points.count = n;

    // The number of coefficients follows the table type the box shows.
    int c = 0;
    const int type_index = ui->cboCalType->currentIndex();
    if (n > 1) {
        if (type_index == 0)
            c = 2;
        else if (type_index == 1 || type_index == 2)
            c = fit_coefficient_count(n, ui->cboOrderOfPolynomial->currentText().toInt());
    }
    double coefficients[kMaxCoeffs] = {};
    if (n > 1)
        polynomialfit(n, c, points.x, points.y, coefficients);
    candidate.num_coeff = static_cast<int16_t>(c);
    for (int i = 0; i < c; ++i)
        candidate.coeff[i] = coefficients[i];

    QList<QPair<double, double>> pairs;
    for (int i = 0; i < n; ++i)
        pairs.append(qMakePair(points.x[i], points.y[i]));
    std::sort(pairs.begin(), pairs.end(),
              [](const QPair<double, double> &a, const QPair<double, double> &b) { return a.first < b.first; });
    for (int i = 0; i < n; ++i) {
        points.x[i] = pairs[i].first;
        points.y[i] = pairs[i].second;
    }
    if (n > 1) {
        buildSegments(points, &record->new_long_table);
    } else {
        record->new_long_table.x[0] = points.x[0];
        record->new_long_table.y[0] = points.y[0];
    }
}

void MainWindow::buildSegments(const PointBlock &points, LongTable *table)
{
    const int n = points.count;
    if (n < 2 || n > kMaxPoints)
        return;
    table->count = static_cast<int16_t>(n);
    std::copy(points.x, points.x + n, table->x);
    std::copy(points.y, points.y + n, table->y);
    for (int i = 0; i < n - 1; ++i) {
        const double dx = table->x[i + 1] - table->x[i];
        if (dx != 0.0) {
            table->slope[i] = (table->y[i + 1] - table->y[i]) / dx;
            table->y_intercept[i] = table->y[i] - table->x[i] * table->slope[i];
            table->x_intercept[i] = table->slope[i] != 0.0 ? table->x[i] - table->y[i] / table->slope[i] : 0.0;
        } else {
            table->slope[i] = 0.0; // the intercepts keep what they held
        }
    }
    table->x_intercept[n - 1] = table->x_intercept[n - 2];
    table->y_intercept[n - 1] = table->y_intercept[n - 2];
    table->slope[n - 1] = table->slope[n - 2];
}

void MainWindow::updateCoefficientLabels(VREL_CFG *record)
{
    QLabel *names[] = {ui->lblCoeff0, ui->lblCoeff1, ui->lblCoeff2, ui->lblCoeff3,
                       ui->lblCoeff4, ui->lblCoeff5, ui->lblCoeff6, ui->lblCoeff7};
    QLabel *values[] = {ui->lblCoeff0Value, ui->lblCoeff1Value, ui->lblCoeff2Value, ui->lblCoeff3Value,
                        ui->lblCoeff4Value, ui->lblCoeff5Value, ui->lblCoeff6Value, ui->lblCoeff7Value};
    for (int i = 0; i < kMaxCoeffs; ++i) {
        names[i]->setText(QStringLiteral("Co %1:").arg(i));
        names[i]->hide();
        values[i]->hide();
    }
    const TablePoly *shown = nullptr;
    if (record->table_info.tbl_type == TBL_POLYNOMIAL_RANGE)
        shown = &record->new_table_poly[range_in_use(record)];
    else if (record->table_info.tbl_type == TBL_POLYNOMIAL)
        shown = &record->new_table_poly[0];
    if (!shown)
        return;
    for (int i = 0; i < shown->num_coeff && i < kMaxCoeffs; ++i) {
        names[i]->show();
        values[i]->setText(QString::number(shown->coeff[i], 'g', 6));
        values[i]->show();
    }
}

void MainWindow::classifyPoint(int index, QLineEdit *field, short &band)
{
    const TableInfo &t = cfg->table_info;
    if (within_tolerance(index, t.no_adjust_tol))
        band = TOL_NOADJ;
    else if (within_tolerance(index, t.oot_tol))
        band = TOL_OOA;
    else if (within_tolerance(index, t.soot_tol))
        band = TOL_OOT;
    else
        band = TOL_SOOT;
    field->setStyleSheet(band_style(band));
}

void MainWindow::reduceTolState()
{
    short worst = 0;
    for (int i = 0; i < num_points && i < point_rows.size(); ++i)
        worst = std::max(worst, point_rows[i]->band);
    cfg->table_info.tol_state = static_cast<uint16_t>(worst);
}
