// The utility up to its first channel: start-up without the window, the
// program as a process, the window's wiring and Exit guards, and channel
// selection with its guards and messages.
#include "calibrationfiles.h"
#include "comboitems.h"
#include "warningguard.h"
#include "window_fixture.h"

#include "functions.h"
#include "monitorthread.h"
#include "startup.h"


#include <QProcess>

#include <algorithm>
#include <csignal>

namespace {

// True once the process has installed a handler for SIGTERM.
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

class TestWindow : public QObject {
    Q_OBJECT
private slots:
    void cleanup();
    void linkStopsAtFirstMissingSegment_data();
    void linkStopsAtFirstMissingSegment();
    void startupNotices_data();
    void startupNotices();
    void debugFlag_data();
    void debugFlag();
    void program_data();
    void program();
    void windowAtStart();
    void exitGuards_data();
    void exitGuards();
    void selectionShowsTheTable_data();
    void selectionShowsTheTable();
    void leavingGuards_data();
    void leavingGuards();
    void refusedSensorForm();
};

void TestWindow::cleanup()
{
    captured_count = 0;
    const QWidgetList tops = QApplication::topLevelWidgets();
    QVERIFY(std::none_of(tops.begin(), tops.end(), [](QWidget *w) { return qobject_cast<MainWindow *>(w); }));
}
void TestWindow::linkStopsAtFirstMissingSegment_data()
{
    QTest::addColumn<int>("missing");
    QTest::addColumn<QString>("text");
    const char *names[] = {"AI_REAL", "MILLIVOLTS", "System Attributes", "AI_TRANSFER", "SCHEDULER",
                           "DISPLAY_STRINGS", "CAL_TABLES"};
    for (int i = 0; i < 7; ++i) // AI_TRANSFER's text has always lacked its "to"
        QTest::newRow(names[i]) << i
                                << QStringLiteral("Orvane must be running\nUnable %1get %2 memory")
                                       .arg(i == 3 ? "" : "to ", names[i]);
}
void TestWindow::linkStopsAtFirstMissingSegment()
{
    QFETCH(int, missing);
    void **pointers[] = {reinterpret_cast<void **>(&Ai_real),     reinterpret_cast<void **>(&Mv),
                         reinterpret_cast<void **>(&Sys_attr),    reinterpret_cast<void **>(&ai_transfer),
                         reinterpret_cast<void **>(&Sched_attr), &display_strings, &cal_tables_base};
    const int ids[] = {ORV_SEG_AI_REAL,   ORV_SEG_MILLIVOLTS,      ORV_SEG_SYS_ATTR,  ORV_SEG_AI_TRANSFER,
                       ORV_SEG_SCHEDULER, ORV_SEG_DISPLAY_STRINGS, ORV_SEG_CAL_TABLES};
    SimCell cell;
    QVERIFY(cell.start());
    orvane_segment_remove(ids[missing]);
    void *const untouched = reinterpret_cast<void *>(0x10);
    for (void **pointer : pointers)
        *pointer = untouched;
    DialogAnswerer answerer;
    answerer.answer("OK");
    QCOMPARE(link_shared_memory(), -1);
    QVERIFY(answerer.seen().size() == 1 && answerer.seen()[0].title == QStringLiteral("Information"));
    QTEST(answerer.seen()[0].text, "text");
    for (int i = 0; i < 7; ++i) // linked in order; the missing one and the rest are not tried
        QVERIFY2(i < missing ? *pointers[i] && *pointers[i] != untouched : *pointers[i] == untouched,
                 qPrintable(QString::number(i)));
}
// The notices of a start-up that cannot go on, word for word: no host, or
// a file where the tables folder should be (each folder is tried).
void TestWindow::startupNotices_data()
{
    QTest::addColumn<bool>("blocked");
    QTest::addColumn<QStringList>("texts");
    const QString folder = QStringLiteral("Unable to create the /cell/tables/%1 directory successfully. Check the "
                                          "permissions on the /cell/tables directory.\n\nExiting the application.");
    QTest::newRow("no host") << false
                             << QStringList{"Orvane must be running\nUnable to get AI_REAL memory",
                                            "Failure initializing shared memory for task - exiting"};
    QTest::newRow("folders blocked") << true << QStringList{folder.arg("uut_ref"), folder.arg("verifications")};
}
void TestWindow::startupNotices()
{
    QFETCH(bool, blocked);
    SimCell cell; // its root, no cell running
    DialogAnswerer answerer;
    answerer.answer("OK");
    answerer.answer("OK");
    if (blocked) {
        QVERIFY(QDir().mkpath(cell.path("/cell")));
        QFile blocker(cell.path("/cell/tables"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        QVERIFY(!make_data_directories(nullptr));
        QCOMPARE(answerer.seen().value(0).title, QStringLiteral("FATAL ERROR"));
    } else {
        QVERIFY(!connect_to_host());
        QVERIFY(cell.hostLog().contains("code -1 Failure Initializing Shared Memory for vrel_util task"));
    }
    QStringList texts;
    for (const auto &seen : answerer.seen())
        texts << seen.text;
    QTEST(texts, "texts");
    if (!blocked) { // folders that exist already are fine
        QVERIFY(make_data_directories(nullptr) && make_data_directories(nullptr));
        QVERIFY(QFileInfo(cell.path("/cell/tables/verifications")).isDir());
    }
}

// Only a first argument of exactly "-d" asks for the debug station.
void TestWindow::debugFlag_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("debug");
    QTest::newRow("none") << QStringList{"vrel_util"} << false;
    QTest::newRow("first") << QStringList{"vrel_util", "-d", "-style", "fusion"} << true;
    QTest::newRow("second") << QStringList{"vrel_util", "-style", "-d"} << false;
    QTest::newRow("longer") << QStringList{"vrel_util", "-debug"} << false;
}
void TestWindow::debugFlag()
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

void TestWindow::program_data()
{
    QTest::addColumn<QString>("cell");    // "", "up", "refused"
    QTest::addColumn<bool>("display");
    QTest::addColumn<int>("sigterms");    // SIGTERMs sent; each ends the event loop on screen
    QTest::addColumn<int>("exit_code");
    QTest::addColumn<QString>("stderr_has");
    QTest::addColumn<QString>("log_has");
    QTest::newRow("no display: at once") << "up" << false << 0 << 1 << "DISPLAY" << "";
    // Two notices in turn, each ended as a technician's OK would; a failed
    // start-up still exits with 0.
    QTest::newRow("no host") << "" << true << 50 << 0 << ""
                             << "Failure Initializing Shared Memory for vrel_util task";
    QTest::newRow("task refused") << "refused" << true << 0 << 2 << "not authorised" << "code 5000";
    QTest::newRow("SIGTERM ends the window") << "up" << true << 1 << 0 << "" << "";
}
void TestWindow::program()
{
    QFETCH(QString, cell);
    QFETCH(bool, display);
    QFETCH(int, sigterms);
    SimCell sim;
    QVERIFY(cell.isEmpty() || (sim.start() && (cell != "refused" || sim.command({"refuse", "on"}))));
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert("QT_QPA_PLATFORM", "offscreen");
    env.remove("DISPLAY");
    if (display)
        env.insert("DISPLAY", ":99"); // the offscreen platform never opens it
    QProcess program;
    program.setProcessEnvironment(env);
    program.start(SimCell::program("vrel_util"), QStringList());
    QVERIFY(program.waitForStarted());
    if (sigterms > 0)
        QTRY_VERIFY_WITH_TIMEOUT(catches_sigterm(program.processId()), 20000);
    for (int i = 0; i < sigterms && program.state() != QProcess::NotRunning; ++i) {
        ::kill(pid_t(program.processId()), SIGTERM);
        program.waitForFinished(200);
    }
    QVERIFY(program.state() == QProcess::NotRunning || program.waitForFinished(20000));
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QTEST(program.exitCode(), "exit_code");
    QFETCH(QString, stderr_has);
    QFETCH(QString, log_has);
    QVERIFY(program.readAllStandardError().contains(stderr_has.toLatin1()));
    QVERIFY(sim.hostLog().contains(log_has));
}
void TestWindow::windowAtStart()
{
    WarningGuard warnings;
    Station station;
    QVERIFY(station.open());
    QVERIFY2(warnings.warnings(QStringLiteral("connectSlotsByName")).isEmpty(),
             qPrintable(warnings.warnings().join('\n')));
    MainWindow &window = station.window();
    Ui::MainWindow *ui = window.form();
    QCOMPARE(window.windowTitle(), QStringLiteral("Sensiva Calibration Utility 64 Points"));
    QCOMPARE(averaging_count, 50 * 30); // the cell's tick is 20 ms; at 30 ms it is 33 a second
    QVERIFY(averaging_count_for(30, 30) == 990 && averaging_count_for(1500, 30) == 0);
    QVERIFY(blank_selection_allowed);
    QVERIFY(QByteArray(cell_info->cell_name) == "TC-07" && QByteArray(cell_info->site_name) == "NRTC");
    QVERIFY(QFileInfo(station.cell().path("/cell/tables/verifications")).isDir() &&
            QFileInfo(station.cell().path("/cell/tables/uut_ref_data")).isDir());
    // Channels 3 and 13 are inactive, 11 is in another host state.
    const QStringList items = items_of(ui->cboCurrentChannel);
    QCOMPARE(items.size(), 14);
    QCOMPARE(items.mid(0, 4), QStringList({"Select A Channel", "    0  -  OIL TEMP IN", "    1  -  OIL TEMP OUT", "    2  -  COOLANT TEMP"}));
    QCOMPARE(items.mid(11), QStringList({"   12  -  ENGINE SPEED", "   14  -  INTAKE AIR TEMP", "   15  -  BLOWBY FLOW"}));
    // The first selection starts the threads; the heartbeat draws the live point.
    QVERIFY(!station.worker()->isRunning());
    QVERIFY(station.select(1));
    QVERIFY(station.worker()->isRunning() && window.monitor()->isRunning());
    QTRY_VERIFY_WITH_TIMEOUT(ui->dataPlot->title().text().startsWith("Current Point:"), 5000);
    QVERIFY(warnings.warnings(QStringLiteral("connectSlotsByName")).isEmpty());
}
void TestWindow::exitGuards_data()
{
    QTest::addColumn<int>("captured");
    QTest::addColumn<bool>("unrecorded");
    QTest::addColumn<QString>("stamps"); // A, J, V: As-Found, Table Updated, Verification
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("title");
    QTest::addColumn<bool>("closes");
    QTest::newRow("captured, OK") << 2 << true << "" << "OK" << "Captured Points Not Recorded" << true;
    QTest::newRow("captured, Cancel") << 2 << true << "" << "Cancel" << "Captured Points Not Recorded" << false;
    QTest::newRow("captured wins over stamps") << 1 << true << "AV" << "Cancel"
                                               << "Captured Points Not Recorded" << false;
    QTest::newRow("modified, OK") << 0 << true << "" << "OK" << "Table Information Modified" << true;
    QTest::newRow("modified, Cancel") << 0 << true << "" << "Cancel" << "Table Information Modified" << false;
    QTest::newRow("modified after update") << 0 << true << "J" << "" << "" << true;
    QTest::newRow("nothing to lose") << 0 << false << "" << "" << "" << true;
    QTest::newRow("captures recorded") << 3 << false << "" << "" << "" << true;
    QTest::newRow("incomplete, OK") << 0 << false << "A" << "OK" << "Incomplete Calibration" << true;
    QTest::newRow("incomplete, Cancel") << 0 << false << "A" << "Cancel" << "Incomplete Calibration" << false;
    // After a finished As-Found the Exit entry leaves the window open.
    QTest::newRow("as-found and verified") << 0 << false << "AV" << "" << "" << false;
    QTest::newRow("as-found and updated") << 0 << true << "AJ" << "" << "" << false;
    QTest::newRow("all three") << 0 << false << "AJV" << "" << "" << false;
}
void TestWindow::exitGuards()
{
    QFETCH(int, captured);
    QFETCH(bool, unrecorded);
    QFETCH(QString, stamps);
    QFETCH(QString, answer);
    QFETCH(QString, title);
    Station station;
    QVERIFY(station.open());
    MainWindow &window = station.window();
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    Ui::MainWindow *ui = window.form();
    captured_count = captured;
    cfg->unrecorded_changes = unrecorded ? 1 : 0;
    const QString stamp = QStringLiteral("11/21/2026 10:00:00");
    ui->txtAsFound->setText(stamps.contains('A') ? stamp : QString());
    ui->txtAdjustCalibration->setText(stamps.contains('J') ? stamp : QString());
    ui->txtVerificationData->setText(stamps.contains('V') ? stamp : QString());
    if (!answer.isEmpty())
        station.answerer().answer(answer);
    ui->actionExit->trigger();
    QVERIFY(station.answerer().allAnswered());
    QCOMPARE(station.answerer().seen().size(), title.isEmpty() ? 0 : 1);
    if (!title.isEmpty()) {
        QCOMPARE(station.answerer().seen()[0].title, title);
        QCOMPARE(station.answerer().seen()[0].buttons.size(), 2);
    }
    QTEST(!window.isVisible(), "closes");
    // The guard marks pending changes where it asks about them.
    const bool asked = captured > 0 || (!stamps.contains('A') && !stamps.contains('J'));
    QCOMPARE(cfg->pending_changes, uint16_t(unrecorded && asked ? 1 : 0));
}
void TestWindow::selectionShowsTheTable_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("serial");
    QTest::addColumn<QString>("units");
    QTest::addColumn<int>("points"); // shown in the field
    QTest::addColumn<QString>("first_value");
    QTest::addColumn<QString>("cal_type");
    QTest::newRow("interpolation") << 0 << "oil_temp_in" << "SN-41000" << "C" << 11 << "-10.0000" << "INTERP";
    QTest::newRow("polynomial") << 4 << "oil_press" << "SN-41148" << "KPA" << 0 << "" << "POLY";
    QTest::newRow("scaled as interpolation") << 7 << "exh_back_press" << "SN-41259" << "KPA" << 2 << "0.0000"
                                             << "INTERP";
}
void TestWindow::selectionShowsTheTable()
{
    QFETCH(int, channel);
    QFETCH(int, points);
    QFETCH(QString, first_value);
    Station station;
    QVERIFY(station.open());
    environment_confirmed = false; // the environment form comes first, once a run
    station.answerer().answer("OK");
    if (channel == 7)
        station.answerer().answer("OK"); // the notice of the SCALED conversion
    QVERIFY(station.select(channel));
    QVERIFY(station.answerer().allAnswered());
    QCOMPARE(station.answerer().seen()[0].title, QStringLiteral("Environment Variables"));
    QVERIFY(environment_confirmed);
    Ui::MainWindow *ui = station.window().form();
    QTEST(ui->lblTableName->text(), "table");
    QTEST(ui->btnUnits->text(), "units");
    QTEST(ui->cboCalType->currentText(), "cal_type");
    QTEST(ui->lblSerialNumber->text(), "serial");
    QCOMPARE(ui->txtNumPoints->text(), QString::number(points));
    if (points > 0)
        QCOMPARE(int(num_points), points);
    for (int i = 0; i < 64; ++i)
        QCOMPARE(station.row(i)->currentValueField()->isVisibleTo(&station.window()), i < num_points);
    if (!first_value.isEmpty())
        QCOMPARE(station.row(0)->currentValueField()->text().trimmed(), first_value);
    QCOMPARE(captured_count, 0);
    QCOMPARE(cfg->table_info.cal_mode, uint16_t(0));
    QVERIFY(!ui->btnAdjustCalibration->isEnabled() && !ui->btnReuseCalibration->isEnabled());
}
void TestWindow::leavingGuards_data()
{
    QTest::addColumn<QString>("as_found");
    QTest::addColumn<int>("captured");
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("title");
    QTest::addColumn<int>("channel_after");
    QTest::newRow("incomplete, Cancel") << "11/21/2026 10:00:00" << 0 << "Cancel" << "Incomplete Calibration" << 0;
    QTest::newRow("incomplete, OK") << "11/21/2026 10:00:00" << 0 << "OK" << "Incomplete Calibration" << 1;
    // The guards read a flag the handler has just cleared: captures and
    // changes go without a question.
    QTest::newRow("captures unrecorded") << "" << 3 << "" << "" << 1;
}
void TestWindow::leavingGuards()
{
    QFETCH(QString, as_found);
    QFETCH(int, captured);
    QFETCH(QString, answer);
    QFETCH(QString, title);
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    Ui::MainWindow *ui = station.window().form();
    ui->txtAsFound->setText(as_found);
    captured_count = captured;
    cfg->unrecorded_changes = captured ? 1 : 0;
    const QString yellow = QStringLiteral("background-color: rgb(255, 255, 127)");
    station.row(3)->setFieldStyle(yellow);
    if (!answer.isEmpty())
        station.answerer().answer(answer);
    station.select(1);
    QCOMPARE(station.answerer().seen().size(), title.isEmpty() ? 0 : 1);
    if (!title.isEmpty())
        QCOMPARE(station.answerer().seen()[0].title, title);
    QFETCH(int, channel_after);
    QCOMPARE(int(cfg->channel), channel_after);
    QCOMPARE(ui->cboCurrentChannel->currentIndex(), channel_item(ui->cboCurrentChannel, channel_after));
    if (channel_after == 0) { // back on the channel, the work in hand kept
        QCOMPARE(station.row(3)->saved_field_style, yellow);
        QCOMPARE(ui->txtAsFound->text(), as_found);
    } else {
        QCOMPARE(captured_count, 0);
        QVERIFY(ui->txtAsFound->text().isEmpty());
    }
}
void TestWindow::refusedSensorForm()
{
    // A refused channel clears the screen and takes the plot's curves; an
    // accepted, changed sensor form with a refused reference form leaves
    // the change unrecorded, so Exit still asks.
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(6));
    Ui::MainWindow *ui = station.window().form();
    ui->cboPolyRangeIndex->setCurrentIndex(1);
    select_refused(station, 2, "coolant_temp");
    QVERIFY(station.answerer().allAnswered());
    QCOMPARE(ui->cboCurrentChannel->currentIndex(), 0);
    QCOMPARE(ui->cboPolyRangeIndex->currentIndex(), 0);
    QVERIFY(!ui->cboCalType->isEnabled() && !ui->cboPolyRangeIndex->isEnabled());
    QVERIFY(!ui->coeffFrame->isVisibleTo(&station.window()) && ui->lblTableName->text().isEmpty());
    for (int i = 0; i < 64; ++i)
        QVERIFY(!station.row(i)->currentValueField()->isVisibleTo(&station.window()));
    QVERIFY(station.window().plotDetached() && blank_selection_allowed);
}

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
