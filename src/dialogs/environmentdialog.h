// The form that edits where the room conditions come from (see
// environment_settings.h).  Forced once per run at the first channel
// selection, and open from the menu at any time.  It has no Cancel: OK
// checks and stores, Escape leaves the record as loaded and the variable
// pointers unresolved.
#pragma once

#include <QDialog>

namespace Ui {
class EnvironmentDialog;
}

class EnvironmentDialog : public QDialog {
    Q_OBJECT
public:
    explicit EnvironmentDialog(QWidget *parent = nullptr);
    ~EnvironmentDialog() override;

    // The record's names and flag into the form, and back.
    void fill_environment_form();
    void store_environment_form();

private slots:
    void on_btnOK_clicked();
    void on_chkEnvVarsUsed_stateChanged(int arg1);

private:
    Ui::EnvironmentDialog *ui;
};
