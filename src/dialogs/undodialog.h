// The question a captured point's "Undo" asks: revert to the previous
// value (accepted) or cancel the undo (rejected, also by Escape).
#pragma once

#include <QDialog>

namespace Ui {
class undoDialog;
}

class undoDialog : public QDialog {
    Q_OBJECT
public:
    explicit undoDialog(QWidget *parent = nullptr);
    ~undoDialog() override;

protected:
    void changeEvent(QEvent *event) override;

private:
    Ui::undoDialog *ui;
};
