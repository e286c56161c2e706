#include "mainwindow.h"

#include "functions.h"
#include "inputdevice.h"
#include "messageboxes.h"
#include "monitorthread.h"
#include "pointinfo.h"
#include "startup.h"
#include "vrel_cfg.h"
#include "worker.h"

#include "ui_mainwindow.h"

#include <qwt_plot_curve.h>
#include <qwt_symbol.h>

#include <QEvent>
#include <QIntValidator>
#include <QLabel>
#include <QMutex>
#include <QProgressBar>
#include <QStatusBar>

#include <cstdlib>
#include <cstring>

namespace {

// The record and its companions are allocated once per process and never
// freed; a second window (as in the tests) starts from zeroed ones again.
template <typename T> T *zeroed_once(T *existing)
{
    T *record = existing ? existing : static_cast<T *>(std::calloc(1, sizeof(T)));
    std::memset(static_cast<void *>(record), 0, sizeof(T));
    return record;
}

} // namespace

MainWindow::MainWindow(QWidget *parent) : QMainWindow(parent), ui(new Ui::MainWindow)
{
    blank_selection_allowed = true;
    cfg_mutex = new QMutex(QMutex::Recursive);

    ui->setupUi(this);
    ui->cboCalType->setEnabled(false);
    ui->cboOrderOfPolynomial->setEnabled(false);
    ui->cboPolyRangeIndex->setEnabled(false);
    ui->txtCalibrationQIE->setFocus(Qt::OtherFocusReason);
    plot_detached = false;

    if (!init())
        std::exit(0);

    input_device = nullptr;
    if (touch_screen) {
        // The device lives as long as this window.
        InputDevice *device = new InputDevice(objectName());
        input_device = device;
        connect(this, &QObject::destroyed, [device] {
            if (input_device == device)
                input_device = nullptr;
            delete device;
        });
        for (QWidget *field : touchFields()) {
            field->setProperty("keyboard", true);
            field->installEventFilter(this);
        }
        auto *validator = new QIntValidator(this);
        for (QLineEdit *field : {ui->txtNumPoints, ui->txtAveragingTime}) {
            field->setValidator(validator);
            field->setProperty("keyboard", true);
            field->installEventFilter(this);
        }
    }

    plot_reset = false;
    ui->frame->setFrameShape(QFrame::NoFrame);
    ui->btnAdjustCalibration->setEnabled(false);
    ui->btnReuseCalibration->setEnabled(false);
    ui->btnRecordData->setEnabled(false);
    ui->lblSerialNumber->clear();
    ui->btnUnits->setText(QString());

    for (int i = 0; i < 64; ++i) {
        auto *row = new PointInfo(this, i, nullptr);
        point_rows.append(row);
        ui->verticalLayout_4->addWidget(row);
    }
    hideAllRows();
    setupPlot();
    ui->dataPlot->show();
    ui->coeffFrame->hide();
    ui->lblTableName->clear();

    if (debug_mode) {
        for (QLineEdit *field : {ui->txtCalibrationQIE, ui->txtTechnicianName, ui->txtLabManager, ui->txtComment})
            field->setText(QStringLiteral("7777"));
        ui->txtAveragingTime->setText(QStringLiteral("5"));
    }

    averaging_count = averaging_count_for(Sched_attr->tick, ui->txtAveragingTime->text().toLong());

    monitor_ = new monitorThread(cfg_mutex);
    monitor_->setInterval(100);
    connect(monitor_, &monitorThread::plotInfo, this, &MainWindow::draw_plots_info);

    worker = new Worker;
    connect(this, &MainWindow::setPointIndex, worker, &Worker::setCurrentCapturedPointIndex);
    connect(this, &MainWindow::startAveraging, worker, &Worker::startAveraging);
    connect(worker, &Worker::finishedAveraging, this, &MainWindow::avgFinished);
    connect(this, &MainWindow::enableCaptureButtons, this, &MainWindow::enableAllCaptureButtons);

    // The otherwise unused status bar tells which point is averaging.
    averaging_label = new QLabel(this);
    averaging_progress = new QProgressBar(this);
    averaging_progress->setTextVisible(true);
    averaging_progress->setFormat(QStringLiteral("%v of %m samples"));
    statusBar()->addWidget(averaging_label);
    statusBar()->addWidget(averaging_progress, 1);
    averaging_label->hide();
    averaging_progress->hide();
    connect(worker, &Worker::samplesTaken, this, &MainWindow::showAveragingProgress);

    ui->cboCurrentChannel->setStyleSheet(QStringLiteral("combobox-popup: 0;"));
    environment_confirmed = false;
}

MainWindow::~MainWindow()
{
    releaseCurves();
    // Threads that run end with the process; the others can go now.
    if (monitor_ && !monitor_->isRunning())
        delete monitor_;
    if (worker && !worker->isRunning())
        delete worker;
    // The monitor keeps the mutex's address but never takes it.
    delete cfg_mutex;
    delete ui;
}

bool MainWindow::init()
{
    init_tolerance_texts();
    // The record outlives the window, as does the heartbeat that marks it:
    // a window opened after another clears it in place.
    if (cfg)
        clear_record(cfg);
    else
        cfg = zeroed_once(cfg);
    env_settings = zeroed_once(env_settings);
    cell_info = zeroed_once(cell_info);
    cfg->units_lists_loaded = 0;
    cfg->units_for_table = 0;
    restoring_selection = false;

    if (!connect_to_host())
        return false;
    fillChannelList();
    bool directories = make_data_directories(this);
    bool names = read_cell_names(cell_info);
    return directories && names;
}

void MainWindow::fillChannelList()
{
    const QSignalBlocker blocker(ui->cboCurrentChannel);
    ui->cboCurrentChannel->addItem(QStringLiteral("Select A Channel"));
    const int count = host_channel_count();
    for (int channel = 0; channel < count; ++channel) {
        if (channel_active_word(channel) != 1)
            continue;
        ui->cboCurrentChannel->addItem(
            QString::asprintf("%5d  -  %s", channel, channel_name(channel)));
    }
}

QList<QWidget *> MainWindow::touchFields() const
{
    return {ui->txtCalibrationQIE, ui->txtTechnicianName, ui->txtLabManager, ui->txtComment,
            ui->txtNumPoints,      ui->txtAveragingTime};
}

bool MainWindow::eventFilter(QObject *object, QEvent *event)
{
    if (!touch_screen)
        return false;
    // A double click on a keyboard field asks the input device for its
    // panel.  The request goes straight to the device: the application-wide
    // route would miss txtNumPoints, which lies only two levels down.
    if (event->type() == QEvent::MouseButtonDblClick && touchFields().contains(qobject_cast<QWidget *>(object)))
        request_input_panel(object);
    return false;
}

void MainWindow::on_actionExit_triggered()
{
    if (captured_count > 0 && has_unrecorded_changes(cfg)) {
        if (confirm_ok_cancel(this, QStringLiteral("Captured Points Not Recorded"),
                              QStringLiteral("Captured points have not been recorded.\n\nClick OK to exit anyway "
                                             "or Cancel to return and record data.")))
            close();
        return;
    }
    const bool as_found = !ui->txtAsFound->text().isEmpty();
    const bool verified = !ui->txtVerificationData->text().isEmpty();
    const bool adjusted = !ui->txtAdjustCalibration->text().isEmpty();
    if (!as_found) {
        if (!adjusted && has_unrecorded_changes(cfg)) {
            if (confirm_ok_cancel(this, QStringLiteral("Table Information Modified"),
                                  QStringLiteral("The table information has been modified and will not be saved "
                                                 "without updating the calibration table.\n\nClick OK to exit "
                                                 "anyway or Cancel to return and update the calibration.")))
                close();
            return;
        }
        close();
        return;
    }
    if (!verified && !adjusted) {
        if (confirm_ok_cancel(this, QStringLiteral("Incomplete Calibration"),
                              QStringLiteral("The calibration is incomplete.\n\nClick OK to exit anyway or Cancel "
                                             "to return and complete the calibration.")))
            close();
        return;
    }
    // A finished As-Found with Verification or a table update: the Exit
    // entry leaves the window open; only the window's own close button
    // ends the program then.
}

void MainWindow::showAveragingProgress(int index, int samples)
{
    if (samples < 0) {
        averaging_label->hide();
        averaging_progress->hide();
        return;
    }
    averaging_label->setText(QStringLiteral("Averaging point %1").arg(index + 1));
    averaging_progress->setMaximum(averaging_count > 0 ? averaging_count : 1);
    averaging_progress->setValue(samples);
    averaging_label->show();
    averaging_progress->show();
}
