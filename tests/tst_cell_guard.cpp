// A test process that crashes or is killed must not leave its simulated cell
// running, nor its shared memory or its temporary root behind.
#include "simcell.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QtTest>

#include <csignal>

class CellGuardTest : public QObject {
    Q_OBJECT

private slots:
    void cellEndsWithItsProcess_data()
    {
        QTest::addColumn<int>("signal");
        QTest::addColumn<bool>("stuck"); // the cell does not answer stop
        QTest::newRow("killed") << SIGKILL << false;
        QTest::newRow("aborted") << SIGABRT << false; // the sanitizers turn a SIGSEGV into an ordinary exit
        QTest::newRow("terminated") << SIGTERM << false;
        QTest::newRow("killed, its cell stuck") << SIGKILL << true;
    }

    void cellEndsWithItsProcess()
    {
        QFETCH(int, signal);
        QFETCH(bool, stuck);
        QProcess holder;
        holder.start(SimCell::program(QStringLiteral("cell_holder")), QStringList{});
        QVERIFY(holder.waitForReadyRead(30000));
        const QStringList where = QString::fromLocal8Bit(holder.readLine()).split(QLatin1Char(' '));
        QCOMPARE(where.size(), 3);
        const QString root = where[0], instance = where[1], cell_pid = where[2].trimmed();
        const QString stat = QStringLiteral("/proc/%1/stat").arg(cell_pid);
        const auto leftovers = [&] {
            return QDir(QStringLiteral("/dev/shm")).entryList({QStringLiteral("orvane.%1.*").arg(instance)}, QDir::System | QDir::Files);
        };
        QVERIFY(QFile::exists(stat));
        QVERIFY(!leftovers().isEmpty());

        if (stuck)
            QCOMPARE(::kill(static_cast<pid_t>(cell_pid.toInt()), SIGSTOP), 0);
        ::kill(static_cast<pid_t>(holder.processId()), signal);
        QVERIFY(holder.waitForFinished(10000));
        QCOMPARE(holder.exitStatus(), QProcess::CrashExit);
        // The cell's process is gone (or a zombie nobody reaps), its memory and root removed.
        QTRY_VERIFY_WITH_TIMEOUT(!QDir(root).exists(), 30000); // a stuck cell is given 10 s to stop
        QTRY_VERIFY(leftovers().isEmpty());
        // A killed cell takes a moment to die after its root is gone.
        const auto ended = [&stat] {
            QFile process(stat);
            return !process.open(QIODevice::ReadOnly) || process.readAll().split(' ').value(2) == "Z";
        };
        QTRY_VERIFY_WITH_TIMEOUT(ended(), 10000);
    }
};

QTEST_GUILESS_MAIN(CellGuardTest)
#include "tst_cell_guard.moc"
