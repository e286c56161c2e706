// Helpers shared by the tests of faults, of the history program and of the
// autopilot: files written and read whole, and a program run to its end.
#pragma once

#include "calibrationfiles.h"

#include <QProcess>
#include <QtTest>

inline bool write_bytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

struct Run {
    int exit_code = -1; // -1: it crashed or hung
    QString out, err;
};

// Runs a program off screen, with ORVANE_ROOT and the working folder given.
inline Run run_program(const QString &program, const QStringList &arguments, const QString &root = QString(),
                       const QString &work_dir = QString())
{
    QProcess process;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    if (!root.isEmpty())
        env.insert(QStringLiteral("ORVANE_ROOT"), root);
    process.setProcessEnvironment(env);
    process.setWorkingDirectory(work_dir);
    process.start(program, arguments);
    Run run;
    if (!process.waitForFinished(240000))
        process.kill(), process.waitForFinished(5000);
    else if (process.exitStatus() == QProcess::NormalExit)
        run.exit_code = process.exitCode();
    run.out = QString::fromUtf8(process.readAllStandardOutput());
    run.err = QString::fromLocal8Bit(process.readAllStandardError());
    return run;
}
