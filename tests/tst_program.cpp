// The vrel_util program as a whole process: what it does before and
// without its window.
#include "simcell.h"

#include <QtTest>

#include <csignal>

class TestProgram : public QObject {
    Q_OBJECT
private slots:
    void noDisplayExitsAtOnce();
    void noHostExitsWithZero();
    void refusedTask();
    void sigtermEndsTheEventLoop();
    void exportedVariables();

private:
    static QProcessEnvironment environment(bool with_display);
};

QProcessEnvironment TestProgram::environment(bool with_display)
{
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    if (with_display)
        env.insert("DISPLAY", ":99"); // the offscreen platform never opens it
    else
        env.remove("DISPLAY");
    return env;
}

namespace {

// True once the process has installed a handler for SIGTERM: the bit is
// set in the caught-signals mask of /proc/<pid>/status.
bool catches_sigterm(qint64 pid)
{
    QFile status(QStringLiteral("/proc/%1/status").arg(pid));
    if (!status.open(QIODevice::ReadOnly))
        return false;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("SigCgt:"))
            return (line.mid(7).trimmed().toULongLong(nullptr, 16) >> (SIGTERM - 1)) & 1;
    return false;
}

} // namespace

void TestProgram::noDisplayExitsAtOnce()
{
    SimCell cell;
    QVERIFY(cell.start());
    QProcess program;
    program.setProcessEnvironment(environment(false));
    program.start(SimCell::program("vrel_util"), QStringList());
    QVERIFY(program.waitForFinished(20000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 1);
    QVERIFY(program.readAllStandardError().contains("DISPLAY"));
}

void TestProgram::noHostExitsWithZero()
{
    SimCell cell; // no cell running
    QProcess program;
    program.setProcessEnvironment(environment(true));
    program.start(SimCell::program("vrel_util"), QStringList());
    QVERIFY(program.waitForStarted());
    // Two notices come up in turn; each SIGTERM ends the event loop of the
    // one on screen, as a technician's OK would.
    QTRY_VERIFY_WITH_TIMEOUT(catches_sigterm(program.processId()), 20000);
    for (int answered = 0; answered < 50 && program.state() != QProcess::NotRunning; ++answered) {
        ::kill(pid_t(program.processId()), SIGTERM);
        program.waitForFinished(200);
    }
    QCOMPARE(program.state(), QProcess::NotRunning);
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0); // a failed start-up still exits with 0
    QVERIFY(cell.hostLog().contains("Failure Initializing Shared Memory for vrel_util task"));
}

void TestProgram::refusedTask()
{
    SimCell cell;
    QVERIFY(cell.start());
    QVERIFY(cell.command({"refuse", "on"}));
    QProcess program;
    program.setProcessEnvironment(environment(true));
    program.start(SimCell::program("vrel_util"), QStringList());
    QVERIFY(program.waitForFinished(20000));
    QCOMPARE(program.exitCode(), 2);
    QVERIFY(program.readAllStandardError().contains("not authorised"));
    QVERIFY(cell.hostLog().contains("code 5000"));
}

void TestProgram::sigtermEndsTheEventLoop()
{
    SimCell cell;
    QVERIFY(cell.start());
    QProcess program;
    program.setProcessEnvironment(environment(true));
    program.start(SimCell::program("vrel_util"), QStringList());
    QVERIFY(program.waitForStarted());
    QTRY_VERIFY_WITH_TIMEOUT(catches_sigterm(program.processId()), 20000);
    ::kill(pid_t(program.processId()), SIGTERM);
    QVERIFY(program.waitForFinished(20000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
}

void TestProgram::exportedVariables()
{
    QProcess nm;
    nm.start(QStringLiteral("nm"), {"-D", "--defined-only", SimCell::program("vrel_util")});
    QVERIFY(nm.waitForFinished(20000));
    QCOMPARE(nm.exitCode(), 0);
    QStringList data_symbols;
    for (const QString &line : QString::fromLatin1(nm.readAllStandardOutput()).split('\n')) {
        const QStringList parts = line.split(' ', Qt::SkipEmptyParts);
        // Variables: B/D (data), V (weak object); template code (W) is Qt's.
        if (parts.size() == 3 && QStringLiteral("BDV").contains(parts[1]) && !parts[2].startsWith('_'))
            data_symbols << parts[1] + ' ' + parts[2];
    }
    data_symbols.sort();
    QCOMPARE(data_symbols, QStringList({"B Ai_real", "B Mv", "B Override_enable", "B Sched_attr",
                                        "B Spec_file_line_count", "B Sys_attr", "D poly_range_header",
                                        "D poly_range_notes", "V ORVANE_VER"}));
}

QTEST_GUILESS_MAIN(TestProgram)
#include "tst_program.moc"
