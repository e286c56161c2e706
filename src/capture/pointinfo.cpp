#include "pointinfo.h"

#include "inputdevice.h"
#include "mainwindow.h"
#include "undodialog.h"
#include "vrel_cfg.h"

#include <orvane/tables.h>

#include "ui_mainwindow.h"
#include "ui_pointinfo.h"

#include <QDoubleValidator>
#include <QEvent>

const char kFaceBlue[] = "background-color: rgb(126,232,255)";
const char kFaceGrey[] = "background-color: rgb(238, 238,238)";
const char kFaceAveraging[] = "background-color: rgb(255,170,0); color: rgb(136, 138, 133)";
const char kFieldWhite[] = "background-color: white";

QString band_style(int band)
{
    static const char *const styles[] = {"background-color: rgb(0,255,0)", "background-color: rgb(255, 255, 127)",
                                         "background-color: rgb(255,170,0)", "background-color: rgb(255, 78, 78)"};
    return QString::fromLatin1(styles[band < 0 ? 0 : (band > 3 ? 3 : band)]);
}

PointInfo::PointInfo(MainWindow *main_window, int index, QWidget *parent)
    : QWidget(parent), main_window_(main_window), index_(index), ui(new Ui::PointInfo)
{
    ui->setupUi(this);
    ui->txtCurrentValue->setStyleSheet(QString::fromLatin1(kFieldWhite));
    ui->btnCapture->setStyleSheet(QString::fromLatin1(kFaceBlue));
    ui->lblIndexNum->setNum(index + 1);
    ui->btnCapture->setText(QStringLiteral("Capture"));
    if (touch_screen) {
        ui->txtCurrentValue->setValidator(new QDoubleValidator(ui->txtCurrentValue));
        ui->txtCurrentValue->setProperty("keyboard", true);
        ui->txtCurrentValue->installEventFilter(this);
    }
}

PointInfo::~PointInfo()
{
    delete ui;
}

QLineEdit *PointInfo::currentValueField() const
{
    return ui->txtCurrentValue;
}

QLabel *PointInfo::millivoltsLabel() const
{
    return ui->lblMillivolts;
}

QString PointInfo::fieldStyle() const
{
    return ui->txtCurrentValue->styleSheet();
}

void PointInfo::setFieldStyle(const QString &style)
{
    ui->txtCurrentValue->setStyleSheet(style);
}

QString PointInfo::captureText() const
{
    return ui->btnCapture->text();
}

void PointInfo::setCaptureEnabled(bool enabled)
{
    ui->btnCapture->setEnabled(enabled);
}

bool PointInfo::captureEnabled() const
{
    return ui->btnCapture->isEnabled();
}

void PointInfo::setCaptureStyle(const QString &style)
{
    ui->btnCapture->setStyleSheet(style);
}

void PointInfo::setCaptureFace(const QString &text)
{
    ui->btnCapture->setText(text);
    ui->btnCapture->setStyleSheet(QString::fromLatin1(text.contains(QLatin1String("Undo")) ? kFaceGrey : kFaceBlue));
}

void PointInfo::setRowVisible(bool visible)
{
    ui->txtCurrentValue->setVisible(visible);
    ui->lblMillivolts->setVisible(visible);
    ui->btnCapture->setVisible(visible);
    ui->lblIndexNum->setVisible(visible);
}

namespace {

TablePoly &in_force(int range)
{
    return cfg->table_info.dim.table_poly[range];
}

QString four_decimals(double value)
{
    return QString::asprintf("%8.4f", value);
}

} // namespace

bool PointInfo::eventFilter(QObject *object, QEvent *event)
{
    // On a touch station a double click on the value asks the input device
    // for its panel directly: the row lies too deep for the
    // application-wide route.
    if (touch_screen && object == ui->txtCurrentValue && event->type() == QEvent::MouseButtonDblClick)
        request_input_panel(object);
    return false;
}

void PointInfo::on_txtCurrentValue_editingFinished()
{
    const double value = ui->txtCurrentValue->text().toDouble(); // a bad text reads 0.0
    in_force(range_in_use(cfg)).raw_data.y[index_] = value;
    cfg->point_stats[index_].ref_value = value;
    cfg->table_changed = 1;
    cfg->unrecorded_changes = 0;
}

void PointInfo::on_btnCapture_clicked()
{
    if (ui->btnCapture->text().contains(QLatin1String("Capture")))
        capture();
    else
        undo();
}

void PointInfo::capture()
{
    const int range = range_in_use(cfg);
    if (point_flag == POINT_NEW)
        ++in_force(range).raw_data.count; // a new point counts at the press
    emit main_window_->setPointIndex(static_cast<short>(index_));
    emit main_window_->enableCaptureButtons(false);
    raw_backup = in_force(range).raw_data.x[index_];
    field_style_backup = fieldStyle();
    saved_point_flag = point_flag;
    saved_value = raw_backup;
    saved_field_style = field_style_backup;
    saved_band = band;
    cfg->table_info.point_flags[index_] = POINT_CAPTURED;
    point_flag = POINT_CAPTURED;
    cfg->table_changed = 1;
    ui->btnCapture->setStyleSheet(QString::fromLatin1(kFaceAveraging));
    ui->btnCapture->setText(QStringLiteral("Averaging"));
    ui->lblMillivolts->setFocus(Qt::OtherFocusReason);
    ui->btnCapture->setEnabled(false);
    emit main_window_->startAveraging();
}

void PointInfo::finishCapture()
{
    const double value = ui->txtCurrentValue->text().toDouble();
    Ui::MainWindow *form = main_window_->form();
    if (main_window_->commitCapturedPoint(cfg, index_, value)) {
        emit main_window_->enableCaptureButtons(true);
        form->lblNextStep->clear();
        ++captured_count;
        main_window_->updateRecordButton();
        setCaptureFace(QStringLiteral("Undo"));
        ui->btnCapture->setEnabled(true);
        main_window_->classifyPoint(index_, ui->txtCurrentValue, class_band);
        band = class_band;
        main_window_->showCalibrationControls(cfg);
        main_window_->greyFlowButtons();
        main_window_->updateCoefficientLabels(cfg);
        main_window_->drawCapturedCurve(cfg);
        return;
    }
    // The commit refused the point: everything goes back as before the press.
    const int range = range_in_use(cfg);
    emit main_window_->enableCaptureButtons(true);
    ui->lblMillivolts->setText(four_decimals(saved_value));
    cfg->long_table.x[index_] = saved_value;
    in_force(range).raw_data.x[index_] = saved_value;
    if (saved_point_flag != POINT_NEW) {
        cfg->table_info.point_flags[index_] = POINT_TABLE;
        point_flag = POINT_TABLE;
    } else {
        --cfg->long_table.count;
        --in_force(range).raw_data.count;
        was_new = 1;
    }
    compute_long_table(&cfg->table_info, &cfg->long_table);
    restoreSaved(was_new ? QStringLiteral("Capture New") : QStringLiteral("Capture"));
    main_window_->greyFlowButtons();
    main_window_->updateCoefficientLabels(cfg);
}

void PointInfo::restoreSaved(const QString &face)
{
    cfg->table_info.point_flags[index_] = static_cast<uint16_t>(saved_point_flag);
    point_flag = saved_point_flag;
    setFieldStyle(saved_field_style);
    // The row keeps its band: reduceTolState still counts it.
    cfg->table_info.tol_state = static_cast<uint16_t>(saved_band);
    --captured_count;
    main_window_->updateRecordButton();
    setCaptureFace(face);
}

void PointInfo::undo()
{
    undoDialog question(this);
    if (question.exec() == QDialog::Accepted) {
        const int range = range_in_use(cfg);
        RawData &captured = cfg->new_table_poly[range].raw_data;
        cfg->table_changed = 1;
        ui->lblMillivolts->setText(four_decimals(saved_value));
        in_force(range).raw_data.x[index_] = saved_value;
        captured.x[index_] = kUnusedPoint;
        captured.y[index_] = kUnusedPoint;
        QString face;
        if (saved_point_flag == POINT_NEW) {
            --in_force(range).raw_data.count;
            --captured.count;
            face = QStringLiteral("Capture New");
        } else {
            cfg->table_info.point_flags[index_] = POINT_TABLE;
            point_flag = POINT_TABLE;
            --captured.count;
            face = QStringLiteral("Capture");
        }
        --cfg->new_long_table.count;
        main_window_->refitCapturedPoints(cfg);
        restoreSaved(face);
    }
    main_window_->greyFlowButtons();
    main_window_->updateCoefficientLabels(cfg);
    main_window_->drawCapturedCurve(cfg);
}
