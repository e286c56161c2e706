// The row of controls above the grid that says how the channel's table is
// to be built: its type, polynomial order and range.
#include "mainwindow.h"

#include "functions.h"
#include "messageboxes.h"
#include "pointinfo.h"
#include "startup.h"
#include "vrel_cfg.h"
#include "vrel_util.h"

#include "ui_mainwindow.h"

#include <orvane/tables.h>

#include <QMutexLocker>
#include <QSignalBlocker>
#include <QStandardItemModel>

#include <algorithm>

namespace {

// The box holds exactly the items "1" to "k", in order.
void fill_orders(QComboBox *box, int k)
{
    box->clear();
    for (int order = 1; order <= k; ++order)
        box->addItem(QString::number(order));
}

// The orders a POLYNOMIAL table of n points offers (n 0: those of its
// coefficients).
int polynomial_order_limit(int n, int num_coeff)
{
    return n == 0 ? num_coeff - 1 : (n > 8 ? 7 : n - 1);
}

// Selects an order by its exact text; an order the box lacks selects the last item.
void select_order(QComboBox *box, int order)
{
    const int found = box->findText(QString::number(order), Qt::MatchCaseSensitive | Qt::MatchExactly);
    box->setCurrentIndex(found >= 0 ? found : box->count() - 1);
}

} // namespace

void MainWindow::setPolyRangeItemEnabled(bool enabled)
{
    if (auto *model = qobject_cast<QStandardItemModel *>(ui->cboCalType->model()))
        if (QStandardItem *item = model->item(2))
            item->setEnabled(enabled);
}

void MainWindow::showCalibrationControls(VREL_CFG *record)
{
    const QSignalBlocker blocker(ui->cboOrderOfPolynomial);
    QComboBox *orders = ui->cboOrderOfPolynomial;
    orders->clear();
    ui->cboCalType->setEnabled(true);
    const TableInfo &table = record->table_info;
    const int range = range_in_use(record);
    switch (table.tbl_type) {
    case TBL_INTERPOLATION: {
        const int n = table.dim.table_poly[0].raw_data.count;
        ui->cboCalType->setCurrentIndex(0);
        orders->setEnabled(false);
        fill_orders(orders, n > 7 ? 7 : n - 1);
        orders->setCurrentIndex(0);
        ui->cboPolyRangeIndex->setEnabled(false);
        setPolyRangeItemEnabled(false);
        ui->coeffFrame->hide();
        updateCoefficientLabels(record);
        break;
    }
    case TBL_POLYNOMIAL: {
        const int n = table.dim.table_poly[range].raw_data.count;
        const int num_coeff = table.dim.table_poly[range].num_coeff;
        ui->cboCalType->setCurrentIndex(1);
        orders->setEnabled(true);
        fill_orders(orders, polynomial_order_limit(n, num_coeff));
        select_order(orders, num_coeff - 1);
        setPolyRangeItemEnabled(true);
        ui->coeffFrame->show();
        updateCoefficientLabels(record);
        break;
    }
    case TBL_POLYNOMIAL_RANGE: {
        // No limit of 7 here, and the order follows the points, not the
        // coefficients: the limits differ by type and are kept so.
        const int n = table.dim.table_poly[range].raw_data.count;
        ui->cboCalType->setCurrentIndex(2);
        ui->cboPolyRangeIndex->setEnabled(true);
        fill_orders(orders, n - 1);
        select_order(orders, n - 1);
        setPolyRangeItemEnabled(true);
        ui->coeffFrame->show();
        updateCoefficientLabels(record);
        break;
    }
    default:
        break;
    }
}

void MainWindow::refitAndRedraw()
{
    refitCapturedPoints(cfg);
    if (captured_count > 0)
        drawCapturedCurve(cfg);
}

void MainWindow::on_cboCalType_currentIndexChanged(int index)
{
    cfg->table_changed = 1;
    cfg->unrecorded_changes = 0;
    TableInfo &table = cfg->table_info;
    if (index == 0) {
        table.tbl_type = TBL_INTERPOLATION;
        ui->cboOrderOfPolynomial->setCurrentIndex(0);
        ui->cboOrderOfPolynomial->setEnabled(false);
        ui->cboPolyRangeIndex->setEnabled(false);
        ui->coeffFrame->hide();
        showCalibrationControls(cfg);
    } else if (index == 1) {
        table.tbl_type = TBL_POLYNOMIAL;
        ui->cboPolyRangeIndex->setEnabled(false);
        ui->coeffFrame->show();
        select_order(ui->cboOrderOfPolynomial, 1);
        {
            // A range table's list may run past 7: a POLYNOMIAL offers its own.
            const QSignalBlocker blocker(ui->cboOrderOfPolynomial);
            const TablePoly &poly = table.dim.table_poly[range_in_use(cfg)];
            fill_orders(ui->cboOrderOfPolynomial, polynomial_order_limit(poly.raw_data.count, poly.num_coeff));
            select_order(ui->cboOrderOfPolynomial, 1);
        }
        setPolyRangeItemEnabled(true);
        ui->cboOrderOfPolynomial->setEnabled(true);
    } else if (index == 2) {
        table.tbl_type = TBL_POLYNOMIAL_RANGE;
        table.range_index = 0;
        select_order(ui->cboOrderOfPolynomial, table.dim.table_poly[0].raw_data.count - 1);
        setPolyRangeItemEnabled(true);
        showCalibrationControls(cfg);
        ui->cboOrderOfPolynomial->setEnabled(true);
        ui->cboPolyRangeIndex->setEnabled(true);
        ui->cboPolyRangeIndex->setCurrentIndex(0);
    }
    refitAndRedraw();
    drawPreviousCurve(cfg);
}

void MainWindow::on_cboOrderOfPolynomial_currentIndexChanged(int index)
{
    Q_UNUSED(index);
    cfg->table_changed = 1;
    cfg->unrecorded_changes = 0;
    const int16_t type = cfg->table_info.tbl_type;
    if (type == TBL_POLYNOMIAL || type == TBL_POLYNOMIAL_RANGE)
        cfg->table_info.dim.table_poly[range_in_use(cfg)].num_coeff = static_cast<int16_t>(
            std::min(ui->cboOrderOfPolynomial->currentText().toInt() + 1, kMaxCoeffs));
    refitAndRedraw();
    updateCoefficientLabels(cfg);
}

void MainWindow::on_cboPolyRangeIndex_currentIndexChanged(int index)
{
    if (index < 0 || index >= kMaxRanges)
        return; // the box was emptied: no range is chosen
    cfg->table_info.range_index = static_cast<int16_t>(index);
    select_order(ui->cboOrderOfPolynomial, cfg->table_info.dim.table_poly[index].raw_data.count - 1);
    resetForRange();
    cfg->table_changed = 1;
    cfg->unrecorded_changes = 0;
    showCalibrationControls(cfg);
    updateCoefficientLabels(cfg);
}

void MainWindow::resetForRange()
{
    compute_long_table(&cfg->table_info, &cfg->long_table);
    {
        QMutexLocker lock(cfg_mutex);
        reset_axis_scale(&cfg->x_scale);
        reset_axis_scale(&cfg->y_scale);
        LongTable &table = cfg->long_table;
        for (int i = std::max<int>(table.count, 0); i < kMaxPoints; ++i)
            table.x[i] = table.y[i] = 0.0;
        cfg->prev_curve = cfg->captured_curve;
        cfg->prev_long_table = cfg->long_table;
        cfg->table_info.tol_state = TOL_NOADJ;
        resolve_tolerances(cfg);
        num_points = cfg->long_table.count;
        cfg->table_changed = 1;
        cfg->unrecorded_changes = 0;
        captured_count = 0;
        cfg->x_scale.changed = 1;
        cfg->y_scale.changed = 1;
        // Only the first two, and without the reference values, unlike a load.
        for (int i = 0; i < 2; ++i) {
            PointRecord &stats = cfg->point_stats[i];
            stats.marker = stats.eng_mean = stats.eng_stdev = stats.eng_max = kNotMeasured;
            stats.eng_min = -kNotMeasured;
        }
    }
    plot_reset = true;
    showCalibrationControls(cfg);
    populateRows(cfg);
    refreshPointRows(false);
    for (PointInfo *row : point_rows)
        showTablePoint(row->currentValueField(), row->millivoltsLabel(), row->index());
    restNextStep();
}

void MainWindow::on_txtNumPoints_returnPressed()
{
    if (!validNumPoints()) {
        show_titled_notice(this, QStringLiteral("Invalid Calibration Points"),
                           QStringLiteral("A invalid value for Calibration Points was entered\n\nPlease reenter a "
                                          "Calibration Points value between 2 and 64"));
        ui->txtNumPoints->clear();
        return;
    }
    QMutexLocker lock(cfg_mutex);
    changeNumberOfPoints(ui->txtNumPoints->text().toInt());
    refreshPointRows(false);
    showCalibrationControls(cfg);
}

void MainWindow::changeNumberOfPoints(int count)
{
    const int range = range_in_use(cfg);
    LongTable &table = cfg->long_table;
    RawData &raw = cfg->table_info.dim.table_poly[range].raw_data;
    const int old = table.count;
    if (old != count)
        cfg->unrecorded_changes = 1;
    if (count < old) {
        for (int i = count; i < kMaxPoints; ++i) {
            cfg->table_info.point_flags[i] = POINT_NEW;
            point_rows[i]->point_flag = POINT_NEW;
        }
        cfg->new_long_table.count = static_cast<int16_t>(count);
        raw.count = static_cast<int16_t>(count);
        cfg->table_changed = 1;
    } else if (count > old) {
        // New rows start as copies of the last table point (of zeros when
        // the table has none).
        const int last = old > 0 ? old - 1 : 0;
        for (int i = std::max(old, 0); i < count; ++i) {
            cfg->point_stats[i].ref_value = table.y[last];
            raw.x[i] = table.x[last];
            raw.y[i] = table.y[last];
            cfg->table_info.point_flags[i] = POINT_NEW;
            PointInfo *row = point_rows[i];
            row->point_flag = POINT_NEW;
            row->setCaptureFace(QStringLiteral("Capture New"));
            row->setCaptureStyle(QString::fromLatin1(kFieldWhite));
            // The row made visible is the one numbered by the old count,
            // whatever the row being filled: refreshPointRows shows the rest.
            point_rows[std::max(old, 0)]->setRowVisible(true);
            row->band = 0;
            showTablePoint(row->currentValueField(), row->millivoltsLabel(), last);
            cfg->table_changed = 1;
        }
    }
    num_points = static_cast<int16_t>(count);
    captured_count = cfg->new_table_poly[range].raw_data.count;
}

void MainWindow::on_txtNumPoints_textChanged(const QString &text)
{
    Q_UNUSED(text);
    if (touch_screen)
        on_txtNumPoints_returnPressed();
}

void MainWindow::on_txtAveragingTime_editingFinished()
{
    const long seconds = ui->txtAveragingTime->text().toLong(); // a bad text reads 0
    if (seconds < 5 || seconds > 30) {
        const QSignalBlocker blocker(ui->txtAveragingTime);
        show_titled_notice(this, QStringLiteral("Wrong Value Entered"),
                           QStringLiteral("The entered Averaging Time must be between 5 and 30 seconds"));
        ui->txtAveragingTime->setText(QStringLiteral("30"));
    }
    averaging_count = averaging_count_for(Sched_attr->tick, ui->txtAveragingTime->text().toLong());
}

void MainWindow::on_txtAveragingTime_textChanged(const QString &text)
{
    Q_UNUSED(text);
    if (touch_screen)
        on_txtAveragingTime_editingFinished();
}
