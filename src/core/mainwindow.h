// The one top-level window.  It owns the form, the 64 point rows and the
// plot; its slots are the adapters between the form and the plain
// functions of the subsystems.  The implementation is split by concern:
//   mainwindow.cpp          construction, start-up, exit
//   mainwindow_channel.cpp  channel selection and the screen's reset
//   mainwindow_grid.cpp     the point rows as a whole, capture bookkeeping
//   mainwindow_curves.cpp   the candidate fit, coefficient labels, verdicts
//   mainwindow_plot.cpp     the plot's curves and the live point
//   mainwindow_controls.cpp the table-type, order and range controls
//   mainwindow_flow.cpp     Record Data, Accept No-Adjust, Adjust & Rebuild
//   mainwindow_dialogs.cpp  the modal forms the flows open
#pragma once

#include <QDateTime>
#include <QList>
#include <QMainWindow>
#include <QPen>

#include <cstdint>

class PointInfo;
class QLabel;
class QLineEdit;
class QMutex;
class QProgressBar;
class QwtPlotCurve;
class QwtSymbol;
class Worker;
class monitorThread;
struct FlowQuestion;
struct LongTable;
struct VREL_CFG;

namespace Ui {
class MainWindow;
}

// A working block of points for buildSegments.
struct PointBlock {
    double x[64];
    double y[64];
    int count;
};

// The coefficients of a fit through `points` pairs at the chosen order:
// never more than the points, nor than a table holds.
int fit_coefficient_count(int points, int order);

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    bool eventFilter(QObject *object, QEvent *event) override;

    Ui::MainWindow *form() const { return ui; }
    const QList<PointInfo *> &pointRows() const { return point_rows; }
    QMutex *cfgMutex() const { return cfg_mutex; }
    Worker *averagingWorker() const { return worker; }
    monitorThread *monitor() const { return monitor_; }
    bool plotDetached() const { return plot_detached; }
    QwtPlotCurve *curve(int which) const { return curves[which]; }

    // The point grid as a whole.
    void showTablePoint(QLineEdit *field, QLabel *label, int i);
    void populateRows(VREL_CFG *record);
    void refreshPointRows(bool reset);
    void hideAllRows();
    void showActiveRows();
    void clearRowFieldStyles();
    void resetCaptureButtons();
    void updateRecordButton();
    bool validNumPoints() const;
    bool commitCapturedPoint(VREL_CFG *record, int index, double value);

    // The candidate calibration and the verdict on points.
    void refitCapturedPoints(VREL_CFG *record);
    void buildSegments(const PointBlock &points, LongTable *table);
    void updateCoefficientLabels(VREL_CFG *record);
    void classifyPoint(int index, QLineEdit *field, short &band);
    void reduceTolState();

    // The plot.
    void drawPreviousCurve(VREL_CFG *record);
    void drawCapturedCurve(VREL_CFG *record);

    // Channel selection.
    bool checkSensorInfo(int &guard_status);
    bool checkReferenceInfo(int &guard_status);
    void restoreSelection(int previous);
    void clearChannel();
    // The guards on leaving the shown channel; false when the technician
    // went back to it.
    bool confirmLeavingChannel(VREL_CFG &working, int previous);

    // The calibration controls.
    void showCalibrationControls(VREL_CFG *record);
    void setPolyRangeItemEnabled(bool enabled);
    void resetForRange();

    // Both finishing buttons take the grey face: a new capture or a record
    // leaves no recommendation standing.
    void greyFlowButtons();

    // The two recording flows, started by the record type dialog.
    void recordAsFound();
    void recordVerification();

    enum Curve { CapturedCurve, PreviousCurve, CurrentPointCurve, PreviousPolyCurve, CapturedPolyCurve, CurveCount };

signals:
    void timeout();
    void setPointIndex(short index);
    void startAveraging();
    void enableCaptureButtons(bool enabled);

public slots:
    void draw_plots_info(VREL_CFG *record);
    void avgFinished(int index);
    void enableAllCaptureButtons(bool enabled);

private slots:
    void on_btnReuseCalibration_clicked();
    void on_cboCurrentChannel_currentIndexChanged(const QString &text);
    void on_btnRecordData_clicked();
    void on_btnUnits_clicked();
    void on_actionExit_triggered();
    void on_actionTable_Info_triggered();
    void on_btnAdjustCalibration_clicked();
    void on_cboCalType_currentIndexChanged(int index);
    void on_cboOrderOfPolynomial_currentIndexChanged(int index);
    void on_txtNumPoints_returnPressed();
    void on_cboPolyRangeIndex_currentIndexChanged(int index);
    void on_txtAveragingTime_editingFinished();
    void on_txtNumPoints_textChanged(const QString &text);
    void on_txtAveragingTime_textChanged(const QString &text);
    void on_actionReference_Info_triggered();
    void on_actionEnvironment_Variable_Data_triggered();

private:
    bool init();
    void fillChannelList();
    void setupPlot();
    void releaseCurves();
    void setCurveSamples(const struct CurvePoints &block, int which);
    void showAveragingProgress(int index, int samples);
    // The fields of the form that offer the on-screen keyboard on a touch station.
    QList<QWidget *> touchFields() const;

    // Pieces of the recording flows.
    void takeFormTexts();
    void restNextStep();
    void stampDate(QLineEdit *field);
    bool confirmFinish(const FlowQuestion &question, QLineEdit *date_field);
    void changeNumberOfPoints(int count);
    void refitAndRedraw();

    // The modal forms of the flows.
    void runEnvironmentDialog();
    bool runSensorDialog(int guard_status);
    bool runReferenceDialog();

    monitorThread *monitor_ = nullptr;
    QMutex *cfg_mutex = nullptr;
    QwtPlotCurve *curves[CurveCount] = {};
    double curve_x[2][64] = {};
    double curve_y[2][64] = {};
    double captured_poly_x[101] = {}, captured_poly_y[101] = {};
    double previous_poly_x[101] = {}, previous_poly_y[101] = {};
    double current_point_x = 0.0, current_point_y = 0.0;
    bool restoring_selection = false;
    QList<PointInfo *> point_rows;
    bool plot_detached = false;
    Worker *worker = nullptr;
    Ui::MainWindow *ui;
    QDateTime last_action_time;
    bool plot_reset = false;
    QPen pens[CurveCount];
    QwtSymbol *symbols[CurveCount] = {};

    // The status bar's report of an average in progress.
    QLabel *averaging_label = nullptr;
    QProgressBar *averaging_progress = nullptr;
};
