// The one top-level window.  It owns the form, the 64 point rows and the
// plot; its slots are the adapters between the form and the plain
// functions of the subsystems.  The implementation is split by concern:
//   mainwindow.cpp        construction, start-up, exit
//   mainwindow_plot.cpp   the plot's curves
#pragma once

#include <QDateTime>
#include <QList>
#include <QMainWindow>
#include <QPen>

class PointInfo;
class QMutex;
class QwtPlotCurve;
class QwtSymbol;
struct VREL_CFG;

namespace Ui {
class MainWindow;
}

class MainWindow : public QMainWindow {
    Q_OBJECT
public:
    explicit MainWindow(QWidget *parent = nullptr);
    ~MainWindow() override;

    bool eventFilter(QObject *object, QEvent *event) override;

    Ui::MainWindow *form() const { return ui; }
    const QList<PointInfo *> &pointRows() const { return point_rows; }
    QMutex *cfgMutex() const { return cfg_mutex; }

    // Point grid operations on all rows at once.
    void hideAllRows();
    void showActiveRows();

signals:
    void timeout();
    void setPointIndex(short index);
    void startAveraging();
    void enableCaptureButtons(bool enabled);

private slots:
    void on_actionExit_triggered();

private:
    bool init();
    void fillChannelList();
    void setupPlot();
    // The fields of the form that offer the on-screen keyboard on a touch station.
    QList<QWidget *> touchFields() const;

    QMutex *cfg_mutex = nullptr;
    bool restoring_selection = false;
    QList<PointInfo *> point_rows;
    bool plot_detached = false;
    Ui::MainWindow *ui;
    QDateTime last_action_time;
    bool plot_reset = false;

    // The plot: "Captured", "Previous", "Current Point", "Previous Poly Curve",
    // "Captured Poly Curve", in that order.
    enum Curve { CapturedCurve, PreviousCurve, CurrentPointCurve, PreviousPolyCurve, CapturedPolyCurve, CurveCount };
    QwtPlotCurve *curves[CurveCount] = {};
    QPen pens[CurveCount];
    QwtSymbol *symbols[CurveCount] = {};
};
