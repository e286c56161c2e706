#include "pointinfo.h"

#include "ui_pointinfo.h"

const char kFaceBlue[] = "background-color: rgb(126,232,255)";
const char kFaceGrey[] = "background-color: rgb(238, 238,238)";
const char kFaceAveraging[] = "background-color: rgb(255,170,0); color: rgb(136, 138, 133)";
const char kFieldWhite[] = "background-color: white";

PointInfo::PointInfo(MainWindow *main_window, int index, QWidget *parent)
    : QWidget(parent), main_window_(main_window), index_(index), ui(new Ui::PointInfo)
{
    ui->setupUi(this);
    ui->txtCurrentValue->setStyleSheet(QString::fromLatin1(kFieldWhite));
    ui->btnCapture->setStyleSheet(QString::fromLatin1(kFaceBlue));
    ui->lblIndexNum->setNum(index + 1);
    ui->btnCapture->setText(QStringLiteral("Capture"));
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
