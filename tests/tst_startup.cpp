// Start-up without the window: the link to the host in its order, the
// failure texts, the data folders, the command line, the averaging count.
#include "dialoganswerer.h"
#include "simcell.h"

#include "functions.h"
#include "startup.h"
#include "vrel_cfg.h"

#include <orvane/cell.h>
#include <orvane/shm.h>

#include <QtTest>

class TestStartup : public QObject {
    Q_OBJECT
private slots:
    void linkOrderStopsAtFirstMissing_data();
    void linkOrderStopsAtFirstMissing();
    void connectWithoutHost();
    void dataDirectories();
    void dataDirectoriesFail();
    void debugFlag_data();
    void debugFlag();
    void averagingCount_data();
    void averagingCount();
    void touchMarker();
};

namespace {

struct LinkRow {
    int id;
    void **pointer;
};

// The segments and their pointers, in the order the host link takes them.
QVector<LinkRow> link_rows()
{
    return {{ORV_SEG_AI_REAL, reinterpret_cast<void **>(&Ai_real)},
            {ORV_SEG_MILLIVOLTS, reinterpret_cast<void **>(&Mv)},
            {ORV_SEG_SYS_ATTR, reinterpret_cast<void **>(&Sys_attr)},
            {ORV_SEG_AI_TRANSFER, reinterpret_cast<void **>(&ai_transfer)},
            {ORV_SEG_SCHEDULER, reinterpret_cast<void **>(&Sched_attr)},
            {ORV_SEG_DISPLAY_STRINGS, &display_strings},
            {ORV_SEG_CAL_TABLES, &cal_tables_base}};
}

} // namespace

void TestStartup::linkOrderStopsAtFirstMissing_data()
{
    QTest::addColumn<int>("missing");
    QTest::addColumn<QString>("text");
    QTest::newRow("AI_REAL") << 0 << "Orvane must be running\nUnable to get AI_REAL memory";
    QTest::newRow("MILLIVOLTS") << 1 << "Orvane must be running\nUnable to get MILLIVOLTS memory";
    QTest::newRow("System Attributes") << 2 << "Orvane must be running\nUnable to get System Attributes memory";
    // This one has always lacked its "to".
    QTest::newRow("AI_TRANSFER") << 3 << "Orvane must be running\nUnable get AI_TRANSFER memory";
    QTest::newRow("SCHEDULER") << 4 << "Orvane must be running\nUnable to get SCHEDULER memory";
    QTest::newRow("DISPLAY_STRINGS") << 5 << "Orvane must be running\nUnable to get DISPLAY_STRINGS memory";
    QTest::newRow("CAL_TABLES") << 6 << "Orvane must be running\nUnable to get CAL_TABLES memory";
}

void TestStartup::linkOrderStopsAtFirstMissing()
{
    QFETCH(int, missing);
    SimCell cell;
    QVERIFY(cell.start());
    const QVector<LinkRow> rows = link_rows();
    orvane_segment_remove(rows[missing].id);
    void *const untouched = reinterpret_cast<void *>(0x10);
    for (const LinkRow &row : rows)
        *row.pointer = untouched;

    DialogAnswerer answerer;
    answerer.answer("OK");
    QCOMPARE(link_shared_memory(), -1);
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen()[0].title, QStringLiteral("Information"));
    QTEST(answerer.seen()[0].text, "text");
    for (int i = 0; i < rows.size(); ++i) {
        if (i < missing)
            QVERIFY2(*rows[i].pointer && *rows[i].pointer != untouched, qPrintable(QString::number(i)));
        else
            QCOMPARE(*rows[i].pointer, untouched); // the missing one keeps its memory; no attempt at the rest
    }
}

void TestStartup::connectWithoutHost()
{
    SimCell cell; // its root, no cell running
    DialogAnswerer answerer;
    answerer.answer("OK");
    answerer.answer("OK");
    QVERIFY(!connect_to_host());
    QCOMPARE(answerer.seen().size(), 2);
    QCOMPARE(answerer.seen()[0].text, QStringLiteral("Orvane must be running\nUnable to get AI_REAL memory"));
    QCOMPARE(answerer.seen()[1].text, QStringLiteral("Failure initializing shared memory for task - exiting"));
    QVERIFY(cell.hostLog().contains("mainwindow:"));
    QVERIFY(cell.hostLog().contains("code -1 Failure Initializing Shared Memory for vrel_util task"));
}

void TestStartup::dataDirectories()
{
    SimCell cell;
    QVERIFY(make_data_directories(nullptr));
    QVERIFY(QFileInfo(cell.path("/cell/tables/uut_ref_data")).isDir());
    QVERIFY(QFileInfo(cell.path("/cell/tables/verifications")).isDir());
    QVERIFY(make_data_directories(nullptr)); // existing folders are fine
}

void TestStartup::dataDirectoriesFail()
{
    SimCell cell;
    // A file where the tables folder should be: neither folder can be made.
    QVERIFY(QDir().mkpath(cell.path("/cell")));
    QFile blocker(cell.path("/cell/tables"));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    DialogAnswerer answerer;
    answerer.answer("OK");
    answerer.answer("OK");
    QVERIFY(!make_data_directories(nullptr));
    QCOMPARE(answerer.seen().size(), 2); // the second is tried after the first failed
    for (const auto &seen : answerer.seen())
        QCOMPARE(seen.title, QStringLiteral("FATAL ERROR"));
    QCOMPARE(answerer.seen()[0].text,
             QStringLiteral("Unable to create the /cell/tables/uut_ref directory successfully. Check the "
                            "permissions on the /cell/tables directory.\n\nExiting the application."));
    QCOMPARE(answerer.seen()[1].text,
             QStringLiteral("Unable to create the /cell/tables/verifications directory successfully. Check the "
                            "permissions on the /cell/tables directory.\n\nExiting the application."));
    QCOMPARE(answerer.seen()[0].buttons, QStringList{"OK"});
}

void TestStartup::debugFlag_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("debug");
    QTest::newRow("none") << QStringList{"vrel_util"} << false;
    QTest::newRow("first") << QStringList{"vrel_util", "-d"} << true;
    QTest::newRow("first of several") << QStringList{"vrel_util", "-d", "-style", "fusion"} << true;
    QTest::newRow("second") << QStringList{"vrel_util", "-style", "-d"} << false;
    QTest::newRow("longer") << QStringList{"vrel_util", "-debug"} << false;
}

void TestStartup::debugFlag()
{
    QFETCH(QStringList, arguments);
    QVector<QByteArray> storage;
    QVector<char *> argv;
    for (const QString &argument : arguments)
        storage.append(argument.toLatin1());
    for (QByteArray &argument : storage)
        argv.append(argument.data());
    QTEST(parse_debug_flag(argv.size(), argv.data()), "debug");
}

void TestStartup::averagingCount_data()
{
    QTest::addColumn<int>("tick");
    QTest::addColumn<long>("seconds");
    QTest::addColumn<int>("count");
    QTest::newRow("50 ms, 30 s") << 50 << 30L << 600;
    QTest::newRow("30 ms gives 33 a second") << 30 << 1L << 33;
    QTest::newRow("30 ms, 30 s") << 30 << 30L << 990;
    QTest::newRow("debug 5 s at 30 ms") << 30 << 5L << 165;
    QTest::newRow("tick over a second") << 1500 << 30L << 0;
    QTest::newRow("zero tick") << 0 << 30L << 0;
}

void TestStartup::averagingCount()
{
    QFETCH(int, tick);
    QFETCH(long, seconds);
    QTEST(int(averaging_count_for(tick, seconds)), "count");
}

void TestStartup::touchMarker()
{
    SimCell cell;
    QCOMPARE(int(touch_screen_marker_present()), 0);
    QVERIFY(QDir().mkpath(cell.path("/cell")));
    QFile marker(cell.path("/cell/orvane_ts.ini"));
    QVERIFY(marker.open(QIODevice::WriteOnly)); // only its existence counts
    marker.close();
    QCOMPARE(int(touch_screen_marker_present()), 1);
}

QTEST_MAIN(TestStartup)
#include "tst_startup.moc"
