// The modal forms that the flows of the main window open.
#include "mainwindow.h"

#include "configdialog2.h"
#include "environmentdialog.h"
#include "referencedialog.h"

void MainWindow::runEnvironmentDialog()
{
    EnvironmentDialog dialog(this);
    dialog.exec();
}

bool MainWindow::runSensorDialog(int guard_status)
{
    ConfigDialog2 dialog(this, true, guard_status);
    return dialog.exec() == QDialog::Accepted && dialog.range_status() == 0;
}

bool MainWindow::runReferenceDialog()
{
    ReferenceDialog dialog(this);
    return dialog.exec() == QDialog::Accepted;
}
