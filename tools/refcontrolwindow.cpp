#include "refcontrolwindow.h"

#include "ui_refcontrolwindow.h"

#include "cell_runtime.h"

#include <orvane/cell.h>
#include <orvane/shm.h>

#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QTimer>

#include <cmath>

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

namespace
{

enum Column { kNumber, kName, kUnits, kValue, kApply, kMillivolts };

QString fixed_text(const char *text, size_t size)
{
    return QString::fromLatin1(text, int(qstrnlen(text, size))).trimmed();
}

// The cell removes its control block's name last on the way out, and a
// vanishing host removes it at once: while the name is there the cell runs.
// (Its pid proves nothing: a stopped cell may linger as a zombie.)
bool cell_present()
{
    char name[128];
    orvane_segment_name(ORV_SEG_CONTROL, name, sizeof name);
    const int fd = ::shm_open(name, O_RDONLY, 0);
    if (fd < 0)
        return false;
    ::close(fd);
    return true;
}

} // namespace

QVector<RefChannel> active_channels(const orv_sys_attr *attributes, const orv_ai_real *channels,
                                    const orv_ai_transfer *transfers)
{
    QVector<RefChannel> list;
    if (!attributes || !channels)
        return list;
    const int count = qBound(0, int(attributes->channel_count), ORV_MAX_CHANNELS);
    for (int ch = 0; ch < count; ++ch) {
        if (channels[ch].active != 1)
            continue;
        RefChannel channel;
        channel.number = ch;
        channel.name = fixed_text(channels[ch].name, sizeof channels[ch].name);
        channel.units = fixed_text(channels[ch].units, sizeof channels[ch].units);
        if (transfers)
            channel.table = fixed_text(transfers[ch].table_name, sizeof transfers[ch].table_name);
        list.append(channel);
    }
    return list;
}

bool parse_reference_value(const QString &text, double &value, QString &message)
{
    bool ok = false;
    const double number = QLocale::c().toDouble(text.trimmed(), &ok);
    if (!ok || !std::isfinite(number)) {
        message = text.trimmed().isEmpty()
                      ? QStringLiteral("Type a value to apply first.")
                      : QStringLiteral("'%1' is not a number.").arg(text.trimmed());
        return false;
    }
    value = number;
    return true;
}

void apply_reference_value(orv_control *control, int channel, double value)
{
    orvsim::store_live(&control->applied[channel], value);
    __atomic_store_n(&control->applied_set[channel], uint8_t(1), __ATOMIC_RELEASE);
}

RefControlWindow::RefControlWindow(QWidget *parent) : QWidget(parent), ui(new Ui::RefControlWindow)
{
    ui->setupUi(this);
    QHeaderView *header = ui->tblChannels->horizontalHeader();
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    header->setSectionResizeMode(kName, QHeaderView::Stretch);
    timer_ = new QTimer(this);
    timer_->setInterval(250);
    connect(timer_, &QTimer::timeout, this, &RefControlWindow::refresh);
    timer_->start();
    refresh();
}

RefControlWindow::~RefControlWindow()
{
    delete ui;
}

int RefControlWindow::rowCount() const
{
    return ui->tblChannels->rowCount();
}

int RefControlWindow::rowOf(int channel) const
{
    for (int row = 0; row < channels_.size(); ++row)
        if (channels_[row].number == channel)
            return row;
    return -1;
}

QLineEdit *RefControlWindow::valueField(int row) const
{
    return qobject_cast<QLineEdit *>(ui->tblChannels->cellWidget(row, kValue));
}

QLabel *RefControlWindow::millivoltsLabel(int row) const
{
    return qobject_cast<QLabel *>(ui->tblChannels->cellWidget(row, kMillivolts));
}

QString RefControlWindow::cellText() const
{
    return ui->lblCell->text();
}

QString RefControlWindow::messageText() const
{
    return ui->lblMessage->text();
}

namespace
{

void show_on(QLabel *label, const QString &text, bool trouble)
{
    label->setText(text);
    label->setStyleSheet(trouble ? QStringLiteral("color: rgb(200, 0, 0)") : QString());
}

} // namespace

void RefControlWindow::showCell(const QString &text, bool trouble)
{
    show_on(ui->lblCell, text, trouble);
}

void RefControlWindow::showMessage(const QString &text, bool trouble)
{
    show_on(ui->lblMessage, text, trouble);
}

bool RefControlWindow::connectToCell()
{
    auto *control = static_cast<orv_control *>(orvane_segment_attach_rw(ORV_SEG_CONTROL, nullptr));
    if (!control || control->magic != ORV_CONTROL_MAGIC || !control->ready) {
        showCell(
            QStringLiteral("No simulated cell is running for ORVANE_CELL=%1 under ORVANE_ROOT=%2.\n"
                           "Start one with 'orvane-sim start'; this window connects when it is up.")
                .arg(QString::fromLocal8Bit(orvane_cell_instance()),
                     qEnvironmentVariable("ORVANE_ROOT")),
            true);
        return false;
    }
    control_ = control;
    millivolts_ = static_cast<const orv_millivolts *>(get_shrd_mem(ORV_SEG_MILLIVOLTS, 0));
    channels_ =
        active_channels(static_cast<const orv_sys_attr *>(get_shrd_mem(ORV_SEG_SYS_ATTR, 0)),
                        static_cast<const orv_ai_real *>(get_shrd_mem(ORV_SEG_AI_REAL, 0)),
                        static_cast<const orv_ai_transfer *>(get_shrd_mem(ORV_SEG_AI_TRANSFER, 0)));
    fillRows();
    return true;
}

void RefControlWindow::disconnectFromCell(const QString &why)
{
    control_ = nullptr;
    millivolts_ = nullptr;
    channels_.clear();
    ui->tblChannels->setRowCount(0);
    showCell(why, true);
    showMessage(QString(), false);
}

void RefControlWindow::fillRows()
{
    QTableWidget *table = ui->tblChannels;
    table->setRowCount(channels_.size());
    for (int row = 0; row < channels_.size(); ++row) {
        const RefChannel &channel = channels_[row];
        auto item = [](const QString &text) {
            auto *cell = new QTableWidgetItem(text);
            cell->setFlags(Qt::ItemIsEnabled);
            return cell;
        };
        table->setItem(row, kNumber, item(QString::number(channel.number)));
        table->setItem(row, kName, item(channel.name));
        table->setItem(row, kUnits, item(channel.units));
        auto *field = new QLineEdit(table);
        field->setObjectName(QStringLiteral("txtValue%1").arg(channel.number));
        field->setText(
            QString::number(orvsim::load_live(&control_->applied[channel.number]), 'g', 10));
        table->setCellWidget(row, kValue, field);
        auto *apply = new QPushButton(QStringLiteral("Apply"), table);
        apply->setObjectName(QStringLiteral("btnApply%1").arg(channel.number));
        table->setCellWidget(row, kApply, apply);
        auto *live = new QLabel(table);
        live->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
        table->setCellWidget(row, kMillivolts, live);
        // The rows are made here, per cell: they are wired here too.
        connect(apply, &QPushButton::clicked, this, [this, row] { applyRow(row); });
        connect(field, &QLineEdit::returnPressed, this, [this, row] { applyRow(row); });
    }
    table->resizeColumnsToContents();
}

bool RefControlWindow::applyRow(int row)
{
    if (!control_ || row < 0 || row >= channels_.size())
        return false;
    const RefChannel &channel = channels_[row];
    double value = 0.0;
    QString message;
    if (!parse_reference_value(valueField(row)->text(), value, message)) {
        showMessage(
            QStringLiteral("Channel %1 %2: %3").arg(channel.number).arg(channel.name, message),
            true);
        return false;
    }
    apply_reference_value(control_, channel.number, value);
    valueField(row)->setModified(false);
    showMessage(QStringLiteral("Channel %1 %2: %3 %4 applied.")
                    .arg(channel.number)
                    .arg(channel.name)
                    .arg(value, 0, 'g', 10)
                    .arg(channel.units),
                false);
    return true;
}

void RefControlWindow::refresh()
{
    if (!control_ && !connectToCell())
        return;
    if (!cell_present()) {
        disconnectFromCell(
            QStringLiteral("The simulated cell has stopped.  Start it again with "
                           "'orvane-sim start'; this window connects when it is up."));
        return;
    }
    showCell(QStringLiteral("Cell instance %1 under %2: tick %3 ms, %4 ticks, %5 channels.")
                 .arg(QString::fromLocal8Bit(orvane_cell_instance()),
                      qEnvironmentVariable("ORVANE_ROOT"))
                 .arg(control_->tick_ms)
                 .arg(static_cast<qlonglong>(__atomic_load_n(&control_->ticks, __ATOMIC_RELAXED)))
                 .arg(channels_.size()),
             false);
    for (int row = 0; row < channels_.size(); ++row) {
        const int channel = channels_[row].number;
        // A value applied from elsewhere (orvane-sim apply, a test) shows
        // in the field, unless the technician is typing there.
        QLineEdit *field = valueField(row);
        if (field && !field->hasFocus() && !field->isModified())
            field->setText(
                QString::number(orvsim::load_live(&control_->applied[channel]), 'g', 10));
        if (QLabel *live = millivoltsLabel(row); live && millivolts_)
            live->setText(
                QString::asprintf("%12.5f", orvsim::load_live(&millivolts_[channel].value)));
    }
}
