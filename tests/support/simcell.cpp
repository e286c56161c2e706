#include "simcell.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {
int counter = 0;

// A cell would outlive a test process that crashes or is killed, so each
// cell gets a guard: a shell in a session of its own that waits for the end
// of a pipe this process holds (the kernel closes it however the process
// ends), then stops the cell (kills it when it does not stop: a stopped or
// hung cell) and removes its shared memory and its root.
int start_guard(const QString &sim, const QString &root, const QString &instance)
{
    static const char script[] = "cat >/dev/null\n"
                                 "export ORVANE_ROOT=\"$2\" ORVANE_CELL=\"$3\"\n"
                                 "\"$1\" stop || \"$1\" kill\n"
                                 "rm -f /dev/shm/orvane.\"$3\".*\n"
                                 "rm -rf \"$2\"\n";
    const QByteArray sim_path = sim.toLocal8Bit(), root_path = root.toLocal8Bit(),
                     cell = instance.toLocal8Bit();
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0)
        return -1;
    const pid_t child = ::fork();
    if (child == 0) {
        // Forked twice, so that init reaps the guard and no zombie is left;
        // only async-signal-safe calls between fork and exec.
        if (::fork() == 0) {
            ::setsid();
            const int null = ::open("/dev/null", O_WRONLY);
            ::dup2(ends[0], STDIN_FILENO);
            ::dup2(null, STDOUT_FILENO);
            ::dup2(null, STDERR_FILENO);
            ::execl("/bin/sh", "sh", "-c", script, "cell-guard", sim_path.constData(), root_path.constData(),
                    cell.constData(), static_cast<char *>(nullptr));
        }
        ::_exit(0);
    }
    ::close(ends[0]);
    if (child > 0)
        ::waitpid(child, nullptr, 0);
    return ends[1];
}
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
    if (guard_ >= 0)
        ::close(guard_);
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
    if (guard_ < 0)
        guard_ = start_guard(program(QStringLiteral("orvane-sim")), root(), instance_);
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
