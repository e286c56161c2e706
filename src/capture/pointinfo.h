// One line of the calibration grid: the point's number, the value applied
// (table units), the raw millivolts measured, and the button that walks the
// point through capture and undo.  The 64 rows are made once and only
// shown or hidden after that.
#pragma once

#include <QString>
#include <QWidget>

class MainWindow;
class QLabel;
class QLineEdit;

namespace Ui {
class PointInfo;
}

// Button faces.
extern const char kFaceBlue[];      // waiting or recommended
extern const char kFaceGrey[];      // the rest
extern const char kFaceAveraging[]; // an average runs
extern const char kFieldWhite[];    // the entry field at rest

// The style of a band: 0 green, 1 yellow, 2 orange, 3 red.
QString band_style(int band);

class PointInfo : public QWidget {
    Q_OBJECT
public:
    PointInfo(MainWindow *main_window, int index, QWidget *parent = nullptr);
    ~PointInfo() override;

    int index() const { return index_; }
    QLineEdit *currentValueField() const;
    QLabel *millivoltsLabel() const;

    QString fieldStyle() const;
    void setFieldStyle(const QString &style);
    QString captureText() const;
    void setCaptureEnabled(bool enabled);
    bool captureEnabled() const;
    void setCaptureStyle(const QString &style);
    // The row setter: the text, and the grey face for "Undo", blue otherwise.
    void setCaptureFace(const QString &text);
    // Shows or hides the row's four widgets.
    void setRowVisible(bool visible);

    // The average of this row's point is in: store it and judge it.
    void finishCapture();

    bool eventFilter(QObject *object, QEvent *event) override;

    short band = 0;
    short saved_band = 0;
    short point_flag = 0;
    short saved_point_flag = 0;
    double saved_value = 0.0;
    QString saved_field_style;

private slots:
    void on_btnCapture_clicked();
    void on_txtCurrentValue_editingFinished();

private:
    void capture();
    void undo();
    // Flag, field style and band state as they were before this capture.
    void restoreSaved(const QString &face);

    MainWindow *main_window_;
    int index_;
    Ui::PointInfo *ui;
    int was_new = 0;
    double raw_backup = 0.0;
    QString field_style_backup;
    short class_band = 0;
};
