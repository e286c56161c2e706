// The reference-standard control of the simulated cell: one row per active
// channel (number, name, units, the value to apply, Apply, the live
// millivolts).  It is the calibrator on the bench in a training session:
// what it applies is what the channel's sensor sees at the next tick.
#pragma once

#include <QString>
#include <QVector>
#include <QWidget>

class QLabel;
class QLineEdit;
class QTimer;
struct orv_ai_real;
struct orv_ai_transfer;
struct orv_control;
struct orv_millivolts;
struct orv_sys_attr;

namespace Ui
{
class RefControlWindow;
}

// One channel as the control lists it.
struct RefChannel {
    int number = 0;
    QString name;
    QString units;
    QString table;
};

// The active channels (active word 1) of a cell's records, in order.
QVector<RefChannel> active_channels(const orv_sys_attr *attributes, const orv_ai_real *channels,
                                    const orv_ai_transfer *transfers);

// A value typed by the technician: a finite number in the C locale, blanks
// around it allowed.  False with a message for anything else.
bool parse_reference_value(const QString &text, double &value, QString &message);

// Stores the value as applied to the channel's sensor; the cell publishes
// the sensor's response at its next tick.
void apply_reference_value(orv_control *control, int channel, double value);

class RefControlWindow : public QWidget
{
    Q_OBJECT
  public:
    explicit RefControlWindow(QWidget *parent = nullptr);
    ~RefControlWindow() override;

    bool connected() const { return control_ != nullptr; }
    int rowCount() const;
    int rowOf(int channel) const;
    QLineEdit *valueField(int row) const;
    QLabel *millivoltsLabel(int row) const;
    // The cell line (or why there is no cell), and the last apply's result.
    QString cellText() const;
    QString messageText() const;

    // Applies what the row's field holds; false when the entry was refused.
    bool applyRow(int row);
    // Connects to the cell when it was not, and refreshes the live values.
    void refresh();

  private:
    bool connectToCell();
    void disconnectFromCell(const QString &why);
    void fillRows();
    void showCell(const QString &text, bool trouble);
    void showMessage(const QString &text, bool trouble);

    Ui::RefControlWindow *ui;
    QTimer *timer_ = nullptr;
    orv_control *control_ = nullptr;
    const orv_millivolts *millivolts_ = nullptr;
    QVector<RefChannel> channels_;
};
