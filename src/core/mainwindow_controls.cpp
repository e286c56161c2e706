// The row of controls above the grid that says how the channel's table is
// to be built: its type, polynomial order and range.
#include "mainwindow.h"

#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <QSignalBlocker>
#include <QStandardItemModel>

namespace {

// Items "1" to "k", in order.
void fill_orders(QComboBox *box, int k)
{
    for (int order = 1; order <= k; ++order)
        box->addItem(QString::number(order));
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
        fill_orders(orders, n == 0 ? num_coeff - 1 : (n > 8 ? 7 : n - 1));
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
