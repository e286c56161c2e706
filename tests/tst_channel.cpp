// Channel selection on the main window, against a simulated cell.
#include "calibrationfiles.h"
#include "station.h"

#include "mainwindow.h"
#include "monitorthread.h"
#include "pointinfo.h"
#include "vrel_cfg.h"
#include "worker.h"

#include "ui_mainwindow.h"

#include <QtTest>

class TestChannel : public QObject {
    Q_OBJECT
private slots:
    void selectionShowsTheTable_data();
    void selectionShowsTheTable();
    void firstSelectionStartsThreads();
    void blankSelectionIsQuietOnce();
    void blankSelectionLaterIsRefused();
    void channelWithBlanksParsedByNumber();
    void incompleteCalibrationCancelKeepsRows();
    void changingWithCapturesAsksNothing();
    void sensorGuardRefusalClearsTheScreen();
    void refusalAfterABlankVisitReselects();
    void environmentForcedAtFirstSelection();
};

void TestChannel::selectionShowsTheTable_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<QString>("table");
    QTest::addColumn<QString>("serial");
    QTest::addColumn<QString>("units");
    QTest::addColumn<int>("points");
    QTest::addColumn<QString>("first_value");
    QTest::addColumn<QString>("cal_type");
    QTest::newRow("interpolation") << 0 << "oil_temp_in" << "SN-41000" << "C" << 11 << "-10.0000" << "INTERP";
    QTest::newRow("polynomial") << 4 << "oil_press" << "SN-41148" << "KPA" << 0 << "" << "POLY";
    QTest::newRow("scaled as interpolation") << 7 << "exh_back_press" << "SN-41259" << "KPA" << 2 << "  0.0000"
                                             << "INTERP";
}

void TestChannel::selectionShowsTheTable()
{
    QFETCH(int, channel);
    Station station;
    QVERIFY(station.open());
    if (channel == 7)
        station.answerer().answer("OK"); // the SCALED conversion notice
    QVERIFY(station.select(channel));
    Ui::MainWindow *ui = station.window().form();
    QTEST(ui->lblTableName->text(), "table");
    QTEST(ui->lblSerialNumber->text(), "serial");
    QTEST(ui->btnUnits->text(), "units");
    QTEST(ui->cboCalType->currentText(), "cal_type");
    QFETCH(int, points);
    QCOMPARE(ui->txtNumPoints->text(), QString::number(points));
    QCOMPARE(int(num_points), channel == 4 ? int(cfg->long_table.count) : points);
    for (int i = 0; i < 64; ++i)
        QCOMPARE(station.row(i)->currentValueField()->isVisibleTo(&station.window()), i < num_points);
    QFETCH(QString, first_value);
    if (!first_value.isEmpty())
        QCOMPARE(station.row(0)->currentValueField()->text().trimmed(), first_value.trimmed());
    QCOMPARE(captured_count, 0);
    QCOMPARE(cfg->table_info.cal_mode, uint16_t(0));
    QVERIFY(!ui->btnAdjustCalibration->isEnabled());
    QVERIFY(!ui->btnReuseCalibration->isEnabled());
    QVERIFY(station.answerer().allAnswered());
}

void TestChannel::firstSelectionStartsThreads()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(!station.worker()->isRunning());
    QVERIFY(station.select(1));
    QVERIFY(station.worker()->isRunning());
    QVERIFY(station.window().monitor()->isRunning());
    // The heartbeat reaches the plot: its title shows the live point.
    QTRY_VERIFY_WITH_TIMEOUT(station.window().form()->dataPlot->title().text().startsWith("Current Point:"), 5000);
}

void TestChannel::blankSelectionIsQuietOnce()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(blank_selection_allowed);
    QVERIFY(station.select(2));
    // The first visit of "Select A Channel" was at start-up, by nobody: the
    // flag is still set, so this one is quiet and clears it.
    station.window().form()->cboCurrentChannel->setCurrentIndex(0);
    QVERIFY(station.answerer().seen().isEmpty());
    QVERIFY(!blank_selection_allowed);
    for (int i = 0; i < 64; ++i)
        QVERIFY(!station.row(i)->currentValueField()->isVisibleTo(&station.window()));
}

void TestChannel::blankSelectionLaterIsRefused()
{
    Station station;
    QVERIFY(station.open());
    blank_selection_allowed = false;
    QVERIFY(station.select(2));
    station.answerer().answer("OK");
    station.window().form()->cboCurrentChannel->setCurrentIndex(0);
    QCOMPARE(station.answerer().seen().size(), 1);
    QCOMPARE(station.answerer().seen()[0].text, QStringLiteral("Please select a valid channel number and name"));
    QCOMPARE(station.window().form()->cboCurrentChannel->currentIndex(),
             channel_item(station.window().form()->cboCurrentChannel, 2));
    QCOMPARE(int(cfg->channel), 2);
}

void TestChannel::channelWithBlanksParsedByNumber()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(14)); // "   14  -  INTAKE AIR TEMP"
    QCOMPARE(station.window().form()->lblTableName->text(), QStringLiteral("intake_air_temp"));
}

void TestChannel::incompleteCalibrationCancelKeepsRows()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    Ui::MainWindow *ui = station.window().form();
    ui->txtAsFound->setText("11/21/2026 10:00:00");
    const QString yellow = QStringLiteral("background-color: rgb(255, 255, 127)");
    station.row(3)->setFieldStyle(yellow);
    station.answerer().answer("Cancel");
    station.select(1);
    QCOMPARE(station.answerer().seen().size(), 1);
    QCOMPARE(station.answerer().seen()[0].title, QStringLiteral("Incomplete Calibration"));
    QCOMPARE(int(cfg->channel), 0);
    QCOMPARE(ui->cboCurrentChannel->currentIndex(), channel_item(ui->cboCurrentChannel, 0));
    QCOMPARE(station.row(3)->saved_field_style, yellow);
    QCOMPARE(ui->txtAsFound->text(), QStringLiteral("11/21/2026 10:00:00"));
}

void TestChannel::changingWithCapturesAsksNothing()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    captured_count = 3;
    cfg->unrecorded_changes = 1;
    QVERIFY(station.select(1)); // the guards read a flag the handler has just cleared
    QVERIFY(station.answerer().seen().isEmpty());
    QCOMPARE(captured_count, 0);
}

void TestChannel::sensorGuardRefusalClearsTheScreen()
{
    Station station;
    QVERIFY(station.open());
    QFile::remove(station.cell().path("/cell/tables/uut_ref_data/coolant_temp.uut"));
    station.answerer().answer("OK");     // the reason for the forced form
    station.answerer().answer("Cancel"); // the form itself
    station.select(2);
    Ui::MainWindow *ui = station.window().form();
    QCOMPARE(ui->cboCurrentChannel->currentIndex(), 0);
    QVERIFY(ui->lblTableName->text().isEmpty());
    QVERIFY(station.window().plotDetached());
    QVERIFY(blank_selection_allowed);
}

void TestChannel::refusalAfterABlankVisitReselects()
{
    // Once "Select A Channel" has been visited, clearing the screen moves
    // the box while the flag is still unset: the handler refuses the blank
    // choice, reselects the refused channel and runs its guards again.
    // When the technician then completes the form, the outer clearing goes
    // on and empties the screen under the reselected name.
    Station station;
    QVERIFY(station.open());
    blank_selection_allowed = false;
    QFile::remove(station.cell().path("/cell/tables/uut_ref_data/coolant_temp.uut"));
    DialogAnswerer &answers = station.answerer();
    answers.answer("OK");     // "UUT Information is missing"
    answers.answer("Cancel"); // the form: refused
    answers.answer("OK");     // "Please select a valid channel number and name"
    answers.answer("OK");     // the reason again, for the reselected channel
    answers.answer("OK", [](QWidget *form) {
        form->findChild<QComboBox *>("cboUUTCalType")->setCurrentIndex(4);
        form->findChild<QLineEdit *>("txtUUTModel")->setText("PT-9");
        form->findChild<QLineEdit *>("txtUUT_MTE")->setText("MTE-1");
    });
    answers.answer("OK"); // "Clearing Calibration Data"
    station.select(2);
    QVERIFY(answers.allAnswered());
    QCOMPARE(answers.seen()[2].text, QStringLiteral("Please select a valid channel number and name"));
    Ui::MainWindow *ui = station.window().form();
    QCOMPARE(ui->cboCurrentChannel->currentIndex(), channel_item(ui->cboCurrentChannel, 2));
    QVERIFY(ui->lblTableName->text().isEmpty());
    QVERIFY(!station.row(0)->currentValueField()->isVisibleTo(&station.window()));
    QVERIFY(station.window().plotDetached());
    QVERIFY(blank_selection_allowed);
}

void TestChannel::environmentForcedAtFirstSelection()
{
    Station station;
    QVERIFY(station.open());
    environment_confirmed = false;
    station.answerer().answer("OK");
    QVERIFY(station.select(1));
    QCOMPARE(station.answerer().seen().size(), 1);
    QCOMPARE(station.answerer().seen()[0].title, QStringLiteral("Environment Variables"));
    QVERIFY(environment_confirmed);
    QVERIFY(station.select(0)); // only once a run
    QCOMPARE(station.answerer().seen().size(), 1);
}

QTEST_MAIN(TestChannel)
#include "tst_channel.moc"
