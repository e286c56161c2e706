#include "autopilot_run.h"

#include "autopilot_answerer.h"

#include "functions.h"
#include "mainwindow.h"
#include "monitorthread.h"
#include "pointinfo.h"
#include "startup.h"
#include "vrel_cfg.h"
#include "worker.h"

#include "ui_mainwindow.h"

#include <orvane/cell.h>
#include <orvane/shm.h>

#include <QComboBox>
#include <QCoreApplication>
#include <QDateTime>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QLineEdit>
#include <QPixmap>
#include <QProcess>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QTextDocument>
#include <QTextStream>
#include <QTimer>
#include <QWindow>

#include <algorithm>

namespace
{

// The answers the autopilot gives, as a technician with this sheet in hand.
const char kSensorCalType[] = "RTD";
const char kSensorModel[] = "PT100-4W";
const char kSensorMte[] = "MTE-2231";
const char *const kReference[6] = {
    "Harlow Instruments", "HCX-20 Process Calibrator", "4471023", "MTE-0917", "12/31/2027", "N/A"};
const char kProcedure[] = "QP-TC-104 rev 3";
const char kTechnician[] = "A. Walker";
const char kLabManager[] = "J. Moreau";
const char kComment[] = "Yearly calibration; drift reported by the cell operators";

// The titles of the windows that a calibration of a fresh channel brings up.
const char kEnvironmentTitle[] = "Environment Variables";
const char kUpdateDataTitle[] = "Update Data";
const char kSensorTitle[] = "Sensiva Calibration Configuration";
const char kClearingTitle[] = "Clearing Calibration Data";
const char kReferenceTitle[] = "Reference Standard Information";
const char kRecordTitle[] = "Record Calibration Data";
const char kAdjustTitle[] = "Adjust Calibration?";

// Seconds of one average when not fast, and the samples of a fast one.
const int kAveragingSeconds = 5;
const int kFastSamples = 3;

const char *band_name(unsigned state)
{
    static const char *const names[] = {"No Adjustment Needed", "Out of Adjustment",
                                        "Out of Tolerance", "Significantly Out of Tolerance"};
    return state < 4 ? names[state] : "unknown";
}

int64_t published_ticks(const orv_control *control)
{
    return __atomic_load_n(&control->ticks, __ATOMIC_ACQUIRE);
}

template <typename T> T *child(QWidget *parent, const char *name)
{
    return parent->findChild<T *>(QLatin1String(name));
}

void set_text(QWidget *form, const char *name, const QString &text)
{
    if (auto *field = child<QLineEdit>(form, name))
        field->setText(text);
}

void fill_if_empty(QWidget *form, const char *name, const QString &text)
{
    auto *field = child<QLineEdit>(form, name);
    if (field && field->text().trimmed().isEmpty())
        field->setText(text);
}

// The sensor form forced for a channel whose UUT data are missing: the
// three UUT entries, and the identity fields only where the table left
// them empty.
void fill_sensor_form(QWidget *form)
{
    if (auto *cal_type = child<QComboBox>(form, "cboUUTCalType"))
        cal_type->setCurrentText(QLatin1String(kSensorCalType));
    set_text(form, "txtUUTModel", QLatin1String(kSensorModel));
    set_text(form, "txtUUT_MTE", QLatin1String(kSensorMte));
    fill_if_empty(form, "txtUUTMfg", QStringLiteral("Brookmere Sensors"));
    fill_if_empty(form, "txtUUTSerialNumber", QStringLiteral("SN-DEMO-2"));
    fill_if_empty(form, "txtDescription", QStringLiteral("Coolant temperature"));
}

void fill_reference_form(QWidget *form)
{
    const char *fields[] = {"txtCurrRefMfg", "txtCurrRefModel", "txtCurrRefSN",
                            "txtCurrRefEquipNum", "txtCurrRefCalDueDate"};
    for (int i = 0; i < 5; ++i)
        set_text(form, fields[i], QLatin1String(kReference[i]));
    if (auto *connection = child<QComboBox>(form, "cboCurrRefPhysicalConn"))
        connection->setCurrentText(QLatin1String(kReference[5]));
}

std::function<void(QWidget *)> fill_record_form(const char *choice, const QString &description)
{
    return [choice, description](QWidget *form) {
        if (auto *button = child<QRadioButton>(form, choice))
            button->setChecked(true);
        set_text(form, "txtComment", description);
    };
}

QString plain_text(const QString &rich)
{
    QTextDocument document;
    document.setHtml(rich);
    return document.toPlainText().simplified();
}

} // namespace

bool parse_autopilot_options(const QStringList &arguments, AutopilotOptions &options,
                             QString &error)
{
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &arg = arguments[i];
        auto value = [&](QString &out) {
            if (i + 1 >= arguments.size()) {
                error = QStringLiteral("%1 needs a value").arg(arg);
                return false;
            }
            out = arguments[++i];
            return true;
        };
        QString text;
        if (arg == QLatin1String("--shots")) {
            if (!value(options.shots))
                return false;
            if (options.shots.isEmpty()) {
                error = QStringLiteral("--shots needs a folder");
                return false;
            }
        } else if (arg == QLatin1String("--shot-width") || arg == QLatin1String("--channel")) {
            if (!value(text))
                return false;
            bool ok = false;
            const int number = text.toInt(&ok);
            const bool width = arg == QLatin1String("--shot-width");
            if (!ok || number < 0 || (width && number > 0 && number < 100) ||
                (!width && number > 511)) {
                error =
                    width
                        ? QStringLiteral("--shot-width must be 0 or 100 and more pixels, not '%1'")
                              .arg(text)
                        : QStringLiteral("--channel must be a channel number 0 to 511, not '%1'")
                              .arg(text);
                return false;
            }
            (width ? options.shot_width : options.channel) = number;
        } else if (arg == QLatin1String("--fast")) {
            options.fast = true;
        } else if (arg == QLatin1String("-d")) {
            options.debug = true;
        } else if (arg == QLatin1String("--help") || arg == QLatin1String("-h")) {
            options.help = true;
        } else {
            error = QStringLiteral("unknown argument '%1'").arg(arg);
            return false;
        }
    }
    return true;
}

QString autopilot_usage()
{
    return QStringLiteral(
        "usage: vrel_autopilot [--shots DIR] [--shot-width PX] [--channel N] [--fast] [-d]\n"
        "\n"
        "Calibrates one channel of a running simulated cell (ORVANE_ROOT, ORVANE_CELL)\n"
        "through the utility's window: As-Found, Adjust, Verification.\n"
        "\n"
        "  --shots DIR       save a screenshot of every step into DIR\n"
        "  --shot-width PX   scale the screenshots to PX pixels wide\n"
        "  --channel N       the channel to calibrate (default 2, COOLANT TEMP)\n"
        "  --fast            average a few samples per point instead of 5 seconds\n"
        "  -d                the utility's debug mode\n");
}

int capture_timeout_ms(int samples, int tick_ms)
{
    const int tick = std::max(tick_ms, 1);
    return (std::max(samples, 0) + 2) * tick + 5000;
}

bool ShotFolder::open(const QString &folder, int width, QString &error)
{
    if (!QDir().mkpath(folder)) {
        error = QStringLiteral("cannot make the screenshot folder %1").arg(folder);
        return false;
    }
    folder_ = QDir(folder).absolutePath();
    width_ = width;
    return true;
}

QString ShotFolder::save(QWidget *widget, const QString &name)
{
    if (!active() || !widget)
        return QString();
    QPixmap picture = widget->grab();
    if (width_ > 0 && picture.width() > width_)
        picture = picture.scaledToWidth(width_, Qt::SmoothTransformation);
    const QString path =
        QStringLiteral("%1/%2-%3.png").arg(folder_).arg(next_, 2, 10, QLatin1Char('0')).arg(name);
    if (!picture.save(path, "PNG"))
        return QString();
    ++next_;
    saved_.append(path);
    return path;
}

Autopilot::Autopilot(const AutopilotOptions &options, QTextStream &out, QTextStream &err)
    : options_(options), out_(out), err_(err)
{
}

Autopilot::~Autopilot()
{
    window_.reset();
    the_main_window = nullptr;
}

bool Autopilot::fail(const QString &message)
{
    if (failure_.isEmpty())
        failure_ = message;
    return false;
}

bool Autopilot::waitUntil(const std::function<bool()> &done, int timeout_ms)
{
    if (done())
        return true;
    QEventLoop loop;
    QTimer poll;
    poll.setInterval(5);
    QObject::connect(&poll, &QTimer::timeout, &loop, [&] {
        if (done())
            loop.quit();
    });
    QTimer deadline;
    deadline.setSingleShot(true);
    QObject::connect(&deadline, &QTimer::timeout, &loop, &QEventLoop::quit);
    poll.start();
    deadline.start(timeout_ms);
    loop.exec();
    return done();
}

bool Autopilot::step(const QString &name, const std::function<bool()> &body)
{
    current_step_ = name;
    out_ << "vrel_autopilot: " << name << "\n";
    out_.flush();
    const bool ok = body() && !answerer_->failed();
    if (answerer_->failed())
        fail(answerer_->failures().join(QStringLiteral("; ")));
    return ok;
}

void Autopilot::shoot(const QString &name)
{
    if (!shots_.active() || !window_)
        return;
    // The plot follows the record at the live monitor's heartbeat: two
    // beats after a change the picture shows what the technician sees.
    monitorThread *monitor = window_->monitor();
    if (monitor && monitor->isRunning()) {
        int beats = 0;
        const QMetaObject::Connection beat =
            connect(monitor, &monitorThread::plotInfo, this, [&beats](VREL_CFG *) { ++beats; });
        waitUntil([&beats] { return beats >= 2; }, 2000);
        disconnect(beat);
        // The draw posts layout requests (the legend); carry them out.
        QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
        QCoreApplication::processEvents();
    }
    if (shots_.save(window_.get(), name).isEmpty())
        err_ << "vrel_autopilot: warning: the screenshot " << name << " could not be saved in "
             << shots_.folder() << "\n";
}

int Autopilot::run()
{
    started_ = QDateTime::currentSecsSinceEpoch();
    answerer_ = std::make_unique<ModalAnswerer>();
    if (!options_.shots.isEmpty()) {
        QString error;
        if (!shots_.open(options_.shots, options_.shot_width, error)) {
            err_ << "vrel_autopilot: " << error << "\n";
            return 1;
        }
        answerer_->setWitness([this](QWidget *modal, const QString &name) {
            if (shots_.save(modal, name).isEmpty())
                err_ << "vrel_autopilot: warning: the screenshot " << name
                     << " could not be saved\n";
        });
    }

    const bool ok =
        step(QStringLiteral("checking the simulated cell"), [this] { return checkCell(); }) &&
        step(QStringLiteral("opening the utility's window"), [this] { return openWindow(); }) &&
        step(QStringLiteral("selecting channel %1").arg(options_.channel),
             [this] { return selectChannel(); }) &&
        step(QStringLiteral("typing the procedure, names, comment and averaging time"),
             [this] { return enterTexts(); }) &&
        step(QStringLiteral("capturing the As-Found points"),
             [this] { return capturePass(QStringLiteral("as-found")); }) &&
        step(QStringLiteral("recording As-Found"), [this] { return record(true); }) &&
        step(QStringLiteral("adjusting and rebuilding the table"), [this] { return adjust(); }) &&
        step(QStringLiteral("capturing the Verification points"),
             [this] { return capturePass(QStringLiteral("verification")); }) &&
        step(QStringLiteral("recording Verification"), [this] { return record(false); });
    if (!ok) {
        if (answerer_)
            answerer_->rejectAllModals();
        shoot(QStringLiteral("failed"));
        err_ << "vrel_autopilot: FAILED while " << current_step_ << ": " << failure_ << "\n";
        if (shots_.active())
            err_ << "vrel_autopilot: screenshots up to the failure are in " << shots_.folder()
                 << "\n";
        return 1;
    }
    reportFiles();
    return 0;
}

bool Autopilot::checkCell()
{
    const QString where =
        QStringLiteral("ORVANE_CELL=%1 ORVANE_ROOT=%2")
            .arg(qEnvironmentVariable("ORVANE_CELL"), qEnvironmentVariable("ORVANE_ROOT"));
    control_ = static_cast<const orv_control *>(get_shrd_mem(ORV_SEG_CONTROL, 0));
    if (!control_ || control_->magic != ORV_CONTROL_MAGIC || !control_->ready)
        return fail(
            QStringLiteral("no simulated cell is running for %1; start one with 'orvane-sim start'")
                .arg(where));
    if (!__atomic_load_n(&control_->publishing, __ATOMIC_RELAXED))
        return fail(QStringLiteral(
            "the simulated cell is frozen; 'orvane-sim resume' lets it publish again"));
    if (options_.channel >= control_->channel_count)
        return fail(QStringLiteral("the cell has channels 0 to %1, not %2")
                        .arg(control_->channel_count - 1)
                        .arg(options_.channel));
    if (join_layer(3) == 5000)
        return fail(QStringLiteral(
            "the host refused the utility's task ('orvane-sim refuse off' lets it in)"));
    // The record keeps each of the channel's file paths in 100 bytes: a
    // deeper root would have the utility write to cut paths.
    const auto *transfer =
        static_cast<const orv_ai_transfer *>(get_shrd_mem(ORV_SEG_AI_TRANSFER, 0));
    if (!transfer)
        return fail(QStringLiteral("the cell publishes no table names (AI_TRANSFER)"));
    const char *table = transfer[options_.channel].table_name;
    const QString name =
        QString::fromLatin1(table, int(qstrnlen(table, sizeof transfer->table_name)));
    const QString deepest = host_path("/cell/tables/uut_ref_data/") + name + QStringLiteral(".uut");
    if (deepest.toLocal8Bit().size() >= 100)
        return fail(
            QStringLiteral("ORVANE_ROOT is too deep for the utility's 100-byte file paths (%1); "
                           "use a shorter folder")
                .arg(deepest));
    out_ << "  cell '" << QString::fromLatin1(get_cell_name(1)) << "' instance "
         << qEnvironmentVariable("ORVANE_CELL") << ", tick " << control_->tick_ms << " ms, root "
         << host_path("/") << "\n";
    return true;
}

bool Autopilot::openWindow()
{
    debug_mode = options_.debug;
    touch_screen = touch_screen_marker_present();
    window_ = std::make_unique<MainWindow>();
    the_main_window = window_.get();
    window_->show();
    if (!waitUntil(
            [this] { return window_->windowHandle() && window_->windowHandle()->isExposed(); },
            10000))
        return fail(QStringLiteral("the window was not shown within 10 s"));
    shoot(QStringLiteral("start"));
    return true;
}

bool Autopilot::selectChannel()
{
    answerer_->on(QLatin1String(kEnvironmentTitle), QStringLiteral("OK"),
                  QStringLiteral("environment"));
    answerer_->on(QLatin1String(kUpdateDataTitle), QStringLiteral("OK"),
                  QStringLiteral("update-data"));
    answerer_->on(QLatin1String(kSensorTitle), QStringLiteral("OK"), QStringLiteral("sensor-form"),
                  fill_sensor_form);
    answerer_->on(QLatin1String(kClearingTitle), QStringLiteral("OK"),
                  QStringLiteral("clearing-data"));
    answerer_->on(QLatin1String(kReferenceTitle), QStringLiteral("OK"),
                  QStringLiteral("reference-form"), fill_reference_form);

    Ui::MainWindow *ui = window_->form();
    const QString key = QString::asprintf("%5d  -  ", options_.channel);
    int item = -1;
    for (int i = 1; i < ui->cboCurrentChannel->count() && item < 0; ++i)
        if (ui->cboCurrentChannel->itemText(i).startsWith(key))
            item = i;
    if (item < 0)
        return fail(
            QStringLiteral("channel %1 is not in the channel list (not active on this cell)")
                .arg(options_.channel));
    ui->cboCurrentChannel->setCurrentIndex(item);
    answerer_->forgetAll();
    if (answerer_->failed())
        return false;
    if (answerer_->answered(QLatin1String(kEnvironmentTitle)) != 1)
        return fail(QStringLiteral("the environment form did not come up at the first selection"));
    if (ui->cboCurrentChannel->currentIndex() != item || cfg->channel != options_.channel)
        return fail(QStringLiteral("the channel was not kept selected (a form was refused)"));
    if (num_points < 2)
        return fail(
            QStringLiteral("the channel's table has %1 points; a calibration needs 2 or more")
                .arg(num_points));
    out_ << "  " << ui->cboCurrentChannel->currentText().simplified() << ": table "
         << QString::fromLatin1(cfg->table_info.tbl_name) << ", " << num_points << " points, units "
         << QString::fromLatin1(cfg->table_info.tbl_units) << "\n";
    shoot(QStringLiteral("channel-selected"));
    return true;
}

bool Autopilot::enterTexts()
{
    Ui::MainWindow *ui = window_->form();
    ui->txtCalibrationQIE->setText(QLatin1String(kProcedure));
    ui->txtTechnicianName->setText(QLatin1String(kTechnician));
    ui->txtLabManager->setText(QLatin1String(kLabManager));
    ui->txtComment->setText(QLatin1String(kComment));
    // The technician types the time and leaves the field.
    ui->txtAveragingTime->setText(QString::number(kAveragingSeconds));
    QMetaObject::invokeMethod(ui->txtAveragingTime, "editingFinished");
    if (answerer_->failed())
        return false;
    if (options_.fast)
        averaging_count = kFastSamples;
    if (averaging_count < 1)
        return fail(QStringLiteral("the averaging time gives no samples (tick %1 ms)")
                        .arg(control_->tick_ms));
    out_ << "  averaging " << averaging_count << " samples per point\n";
    shoot(QStringLiteral("texts-entered"));
    return true;
}

bool Autopilot::applyToCell(double value)
{
    QProcess sim;
    sim.setProcessChannelMode(QProcess::MergedChannels);
    const QString program = QCoreApplication::applicationDirPath() + QStringLiteral("/orvane-sim");
    sim.start(program, {QStringLiteral("apply"), QString::number(options_.channel),
                        QString::number(value, 'g', 17)});
    if (!waitUntil([&sim] { return sim.state() == QProcess::NotRunning; }, 10000)) {
        sim.kill();
        sim.waitForFinished(1000);
        return fail(QStringLiteral("'%1 apply' did not finish within 10 s").arg(program));
    }
    if (sim.error() == QProcess::FailedToStart)
        return fail(QStringLiteral("cannot run %1").arg(program));
    if (sim.exitStatus() != QProcess::NormalExit || sim.exitCode() != 0)
        return fail(QStringLiteral("'orvane-sim apply %1 %2' failed: %3")
                        .arg(options_.channel)
                        .arg(value)
                        .arg(QString::fromLocal8Bit(sim.readAll()).trimmed()));
    return true;
}

bool Autopilot::waitForPublication()
{
    // The cell reads the applied value at the start of a tick: once two
    // ticks have ended since the value was stored, it is live.
    const int64_t applied_at = published_ticks(control_);
    const int timeout = std::max(5000, 4 * control_->tick_ms);
    if (!waitUntil([&] { return published_ticks(control_) > applied_at + 1; }, timeout))
        return fail(QStringLiteral("the cell published no new values within %1 ms").arg(timeout));
    return true;
}

bool Autopilot::capturePoint(int index, const QString &pass)
{
    PointInfo *row = window_->pointRows().at(index);
    const QString entry = row->currentValueField()->text().trimmed();
    bool is_number = false;
    const double value = entry.toDouble(&is_number);
    if (!is_number)
        return fail(
            QStringLiteral("point %1 has no value to apply ('%2')").arg(index + 1).arg(entry));
    if (!applyToCell(value) || !waitForPublication())
        return false;

    // The technician scrolls the grid to the row before pressing its button.
    for (QWidget *up = row->parentWidget(); up; up = up->parentWidget()) {
        if (auto *area = qobject_cast<QScrollArea *>(up)) {
            area->ensureWidgetVisible(row);
            break;
        }
    }
    auto *button = row->findChild<QPushButton *>(QStringLiteral("btnCapture"));
    if (!button || !button->isEnabled() || !button->text().contains(QLatin1String("Capture")))
        return fail(
            QStringLiteral("the Capture button of point %1 cannot be pressed (it reads '%2')")
                .arg(index + 1)
                .arg(button ? button->text() : QString()));
    Worker *worker = window_->averagingWorker();
    bool finished = false;
    const QMetaObject::Connection done =
        connect(worker, &Worker::finishedAveraging, this, [&finished, index](int point) {
            if (point == index)
                finished = true;
        });
    // One picture of an average under way, halfway through the first point.
    QMetaObject::Connection halfway;
    if (!averaging_shot_taken_) {
        halfway = connect(worker, &Worker::samplesTaken, this, [this](int, int samples) {
            if (!averaging_shot_taken_ && samples >= std::max(1, averaging_count / 2)) {
                averaging_shot_taken_ = true;
                shoot(QStringLiteral("averaging"));
            }
        });
    }
    button->click();
    const int timeout = capture_timeout_ms(averaging_count, control_->tick_ms);
    const bool in_time = waitUntil([&finished] { return finished; }, timeout);
    disconnect(done);
    if (halfway)
        disconnect(halfway);
    if (!in_time)
        return fail(QStringLiteral("the average of point %1 did not finish within %2 ms")
                        .arg(index + 1)
                        .arg(timeout));
    if (row->captureText() != QLatin1String("Undo"))
        return fail(QStringLiteral("point %1 was not accepted (its button reads '%2')")
                        .arg(index + 1)
                        .arg(row->captureText()));
    out_ << QString::asprintf("  point %2d: applied %10.4f  mean %10.4f mV  reads %10.4f %s\n",
                              index + 1, value, cfg->point_stats[index].raw_mean,
                              cfg->point_stats[index].eng_mean, cfg->table_info.tbl_units);
    out_.flush();
    shoot(QStringLiteral("%1-point-%2").arg(pass).arg(index + 1, 2, 10, QLatin1Char('0')));
    return true;
}

bool Autopilot::capturePass(const QString &pass)
{
    for (int i = 0; i < num_points; ++i)
        if (!capturePoint(i, pass))
            return false;
    if (!window_->form()->btnRecordData->isEnabled())
        return fail(QStringLiteral("Record Data is not enabled with all %1 points captured")
                        .arg(num_points));
    return true;
}

bool Autopilot::record(bool as_found)
{
    Ui::MainWindow *ui = window_->form();
    answerer_->on(QLatin1String(kRecordTitle), QStringLiteral("Record"),
                  as_found ? QStringLiteral("record-as-found")
                           : QStringLiteral("record-verification"),
                  fill_record_form(as_found ? "rbAsFound" : "rbVerification",
                                   as_found ? QStringLiteral("As found before adjustment")
                                            : QStringLiteral("After adjustment (As-Left)")));
    const int before = answerer_->answered(QLatin1String(kRecordTitle));
    ui->btnRecordData->click();
    answerer_->forgetAll();
    if (answerer_->failed())
        return false;
    if (answerer_->answered(QLatin1String(kRecordTitle)) != before + 1)
        return fail(QStringLiteral("the record type dialog did not come up"));
    QLineEdit *date = as_found ? ui->txtAsFound : ui->txtVerificationData;
    if (date->text().isEmpty())
        return fail(QStringLiteral("the %1 date stayed empty after Record")
                        .arg(as_found ? "As-Found" : "Verification"));
    const unsigned state = cfg->table_info.tol_state;
    out_ << "  " << (as_found ? "As-Found" : "Verification") << " recorded " << date->text() << ": "
         << band_name(state);
    const QString next = plain_text(ui->lblNextStep->text());
    if (!next.isEmpty())
        out_ << " (" << next << ")";
    out_ << "\n";
    shoot(as_found ? QStringLiteral("as-found-recorded") : QStringLiteral("verification-recorded"));
    return true;
}

bool Autopilot::adjust()
{
    Ui::MainWindow *ui = window_->form();
    if (!ui->btnAdjustCalibration->isEnabled())
        return fail(QStringLiteral("Adjust & Rebuild Calibration is not enabled after As-Found"));
    // A channel that needs no adjustment, or needs service, is asked about;
    // the demonstration adjusts it all the same.
    answerer_->on(QLatin1String(kAdjustTitle), QStringLiteral("Yes"),
                  QStringLiteral("adjust-question"));
    ui->btnAdjustCalibration->click();
    answerer_->forgetAll();
    if (answerer_->failed())
        return false;
    if (ui->txtAdjustCalibration->text().isEmpty())
        return fail(QStringLiteral("the Table Updated date stayed empty after Adjust"));
    out_ << "  table updated " << ui->txtAdjustCalibration->text() << "\n";
    shoot(QStringLiteral("adjusted"));
    return true;
}

void Autopilot::reportFiles()
{
    auto show = [this](const char *what, const char *path) {
        const QString file = QString::fromLocal8Bit(path);
        out_ << QStringLiteral("  %1 %2%3\n")
                    .arg(QLatin1String(what), -22)
                    .arg(file, QFileInfo::exists(file) ? QString() : QStringLiteral("  (missing)"));
    };
    out_ << "vrel_autopilot: calibration of channel " << options_.channel << " done; its files:\n";
    show("history (.save)", cfg->save_file);
    show("table (.tbl)", cfg->tbl_file);
    show("previous tables (.old)", cfg->old_file);
    show("unit under test (.uut)", cfg->uut_file);
    show("reference (.ref)", cfg->ref_file);
    const QFileInfo report_base(QString::fromLocal8Bit(cfg->report_file));
    const QDir reports(report_base.absolutePath());
    for (const QFileInfo &report : reports.entryInfoList(
             {report_base.fileName() + QStringLiteral("_*.csv")}, QDir::Files, QDir::Name))
        if (report.lastModified().toSecsSinceEpoch() >= started_)
            out_ << QStringLiteral("  %1 %2\n")
                        .arg(QStringLiteral("report (.csv)"), -22)
                        .arg(report.filePath());
    if (shots_.active())
        out_ << "vrel_autopilot: " << shots_.saved().size() << " screenshots in " << shots_.folder()
             << "\n";
    out_.flush();
}
