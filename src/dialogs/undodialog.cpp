#include "undodialog.h"

#include "messageboxes.h"

#include "ui_undodialog.h"

undoDialog::undoDialog(QWidget *parent) : QDialog(parent, kTitledWindowFlags), ui(new Ui::undoDialog)
{
    ui->setupUi(this);
}

undoDialog::~undoDialog()
{
    delete ui;
}

void undoDialog::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
}
