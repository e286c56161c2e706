#include "simcell.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

namespace {
int counter = 0;
}

SimCell::SimCell()
    : instance_(QStringLiteral("t%1_%2").arg(QCoreApplication::applicationPid()).arg(++counter))
{
    previous_root_ = qgetenv("ORVANE_ROOT");
    previous_cell_ = qgetenv("ORVANE_CELL");
    qputenv("ORVANE_ROOT", dir_.path().toLocal8Bit());
    qputenv("ORVANE_CELL", instance_.toLocal8Bit());
}

SimCell::~SimCell()
{
    stop();
    qputenv("ORVANE_ROOT", previous_root_);
    qputenv("ORVANE_CELL", previous_cell_);
}

QString SimCell::program(const QString &name)
{
    return QStringLiteral(VREL_BIN_DIR "/") + name;
}

bool SimCell::command(const QStringList &arguments, QString *output) const
{
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(program(QStringLiteral("orvane-sim")), arguments);
    // `start` returns only once the cell is ready; the others are quick.
    bool finished = process.waitForFinished(30000);
    output_ = QString::fromLocal8Bit(process.readAll());
    if (output)
        *output = output_;
    return finished && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
}

bool SimCell::start(const QStringList &options)
{
    if (running_)
        return true;
    running_ = command(QStringList{QStringLiteral("start")} + options);
    return running_;
}

bool SimCell::stop()
{
    if (!running_)
        return true;
    running_ = false;
    return command({QStringLiteral("stop")});
}

bool SimCell::apply(int channel, double value) const
{
    return command({QStringLiteral("apply"), QString::number(channel), QString::number(value, 'g', 17)});
}

QString SimCell::hostLog() const
{
    QFile file(path(QStringLiteral("/orvane/log/orvane.log")));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromLocal8Bit(file.readAll());
}
