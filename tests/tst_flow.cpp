// The whole flow from channel to new table: Record, Adjust, Re-use, and
// the files on disk that tell the story.
#include "calibrationfiles.h"
#include "archivecheck.h"
#include "station.h"

#include "flow_questions.h"
#include "functions.h"
#include "mainwindow.h"
#include "pointinfo.h"
#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <orvane/cell.h>
#include <orvane/shm.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPushButton>
#include <QRadioButton>
#include <QtTest>

#include <cmath>

namespace {

QStringList reports(const Station &station, const QString &table)
{
    QDir dir(const_cast<Station &>(station).cell().path("/cell/tables/verifications"));
    return dir.entryList({table + "_*.csv"}, QDir::Files, QDir::Name);
}

} // namespace

class TestFlow : public QObject {
    Q_OBJECT
private slots:
    void reuseQuestions_data();
    void reuseQuestions();
    void adjustQuestions_data();
    void adjustQuestions();
    void nextStepTexts();
    void drifted_channel_asFound_adjust_verify();
    void acceptNoAdjust();
    void recordRefusesEmptyTexts();
    void answeringNoChangesNothingButTheBand();
    void numberOfPointsMessages_data();
    void numberOfPointsMessages();
    void averagingTimeMessages_data();
    void averagingTimeMessages();
    void raisingAndLoweringPoints();
};

void TestFlow::reuseQuestions_data()
{
    QTest::addColumn<int>("cal_mode");
    QTest::addColumn<int>("tol_state");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text_start");
    QTest::addColumn<int>("band");
    QTest::newRow("as-found green") << 3 << 0 << "" << "" << 0;
    QTest::newRow("as-found yellow") << 3 << 1 << "Re-Use Calibration?" << "Data shows that this channel needs to be adjusted." << 1;
    QTest::newRow("as-found orange") << 3 << 2 << "Re-Use Calibration?" << "Data shows that this channel needs service." << 3;
    QTest::newRow("as-found red") << 3 << 3 << "Re-Use Calibration?" << "Data shows that this channel needs service." << 3;
    QTest::newRow("verification green") << 6 << 0 << "Adjust Calibration?" << "This data was collected as verification, not for calibration.\n\nDo you want to update cal anyway?" << 0;
    QTest::newRow("verification yellow") << 6 << 1 << "Adjust Calibration?" << "This data was collected as verification, not for calibration.\n\nDo you want to adjust anyway?" << 0;
    QTest::newRow("verification red") << 6 << 3 << "Adjust Calibration?" << "This data was collected as verification" << 0;
    QTest::newRow("adjusted") << 7 << 2 << "" << "" << -1;
    QTest::newRow("fresh") << 0 << 1 << "" << "" << -1;
    QTest::newRow("state out of range") << 3 << 4 << "" << "" << -1;
}

void TestFlow::reuseQuestions()
{
    QFETCH(int, cal_mode);
    QFETCH(int, tol_state);
    const FlowQuestion question = reuse_question(uint16_t(cal_mode), uint16_t(tol_state));
    QTEST(question.title, "title");
    QFETCH(QString, text_start);
    if (text_start.isEmpty())
        QVERIFY(question.text.isEmpty());
    else
        QVERIFY2(question.text.startsWith(text_start), qPrintable(question.text));
    QTEST(question.date_band, "band");
}

void TestFlow::adjustQuestions_data()
{
    QTest::addColumn<int>("cal_mode");
    QTest::addColumn<int>("tol_state");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("band");
    QTest::newRow("as-found green") << 3 << 0 << "Adjust Calibration?" << "Data shows that this channel does not require adjustment.\n\nDo you want to adjust anyway?" << 0;
    QTest::newRow("as-found yellow") << 3 << 1 << "" << "" << 0;
    QTest::newRow("as-found orange") << 3 << 2 << "Adjust Calibration?" << "Data shows that this channel needs service.\n\nDo you want to adjust the calibration anyway?" << 3;
    QTest::newRow("as-found red") << 3 << 3 << "Adjust Calibration?" << "Data shows that this channel needs service.\n\nDo you want to adjust the calibration anyway?" << 3;
    for (int state = 0; state < 4; ++state)
        QTest::addRow("verification %d", state) << 6 << state << "Adjust Calibration?" << "This data was collected as verification, not for calibration.\n\nDo you want to adjust anyway?" << 0;
    QTest::newRow("adjusted") << 7 << 0 << "" << "" << -1;
    QTest::newRow("reuse") << 8 << 3 << "" << "" << -1;
    QTest::newRow("state out of range") << 6 << 9 << "" << "" << -1;
}

void TestFlow::adjustQuestions()
{
    QFETCH(int, cal_mode);
    QFETCH(int, tol_state);
    const FlowQuestion question = adjust_question(uint16_t(cal_mode), uint16_t(tol_state));
    QTEST(question.title, "title");
    QTEST(question.text, "text");
    QTEST(question.date_band, "band");
}

void TestFlow::nextStepTexts()
{
    const QString service = "<font color='red'>Channel is out of tolerance,<br>perform service and capture new data";
    QCOMPARE(as_found_next_step(0), QString());
    QCOMPARE(as_found_next_step(1), QString());
    QCOMPARE(as_found_next_step(2), service + "</font>");
    QCOMPARE(as_found_next_step(3), service + "</font>");
    // The verification text ends with a full stop; the as-found one does not.
    QCOMPARE(verification_next_step(2), service + ".</font>");
    QCOMPARE(verification_next_step(0), QStringLiteral("<font color='red'>Channel is within expected range</font>"));
    QCOMPARE(verification_next_step(1), QStringLiteral("<font color='red'>Channel is outside of expected range</font>"));
}

void TestFlow::drifted_channel_asFound_adjust_verify()
{
    Station station;
    QVERIFY(station.open({"--tick", "20", "--no-noise"}));
    QVERIFY(station.select(2)); // COOLANT TEMP: out of adjustment
    Ui::MainWindow *ui = station.window().form();
    station.fillRecordTexts();
    averaging_count = 3;
    const QString tables = station.cell().path("/cell/tables/");
    QFile tbl(tables + "coolant_temp.tbl");
    QVERIFY(tbl.open(QIODevice::ReadOnly));
    const QByteArray old_table = tbl.readAll();
    tbl.close();
    const auto builds_before =
        static_cast<const orv_cal_tables *>(get_shrd_mem(ORV_SEG_CAL_TABLES, 0))->build_count;

    QVERIFY(station.captureAllAtRowValues(2));
    QVERIFY(ui->btnRecordData->isEnabled());
    station.record("rbAsFound");
    QCOMPARE(cfg->table_info.cal_mode, uint16_t(CAL_AS_FOUND));
    QCOMPARE(cfg->table_info.tol_state, uint16_t(TOL_OOA));
    QVERIFY(!ui->txtAsFound->text().isEmpty());
    QCOMPARE(ui->txtAsFound->styleSheet(), band_style(1));
    QCOMPARE(ui->btnAdjustCalibration->styleSheet(), QStringLiteral("background-color: rgb(126,232,255)"));
    QCOMPARE(ui->btnReuseCalibration->styleSheet(), QStringLiteral("background-color: rgb(238, 238,238)"));
    QVERIFY(ui->btnAdjustCalibration->isEnabled() && ui->btnReuseCalibration->isEnabled());
    QVERIFY(!ui->btnRecordData->isEnabled());
    QCOMPARE(station.row(0)->captureText(), QStringLiteral("Capture"));
    QVERIFY(reports(station, "coolant_temp").isEmpty()); // an As-Found record writes no report
    station.window().grab().save(QStringLiteral(VREL_BIN_DIR "/../screenshots/flow-as-found.png"));

    const int answered = station.answerer().seen().size();
    ui->btnAdjustCalibration->click(); // band 1 after As-Found: no question
    QCOMPARE(station.answerer().seen().size(), answered);
    // The rebuild reloaded the channel: a load starts the mode from 0.
    QCOMPARE(cfg->table_info.cal_mode, uint16_t(0));
    QCOMPARE(history_modes(tables + "coolant_temp.save"), QStringList({"AS_FOUND", "ADJUSTED"}));
    QVERIFY(!ui->txtAdjustCalibration->text().isEmpty());
    QCOMPARE(ui->txtAdjustCalibration->styleSheet(), band_style(0));
    QVERIFY(!ui->btnAdjustCalibration->isEnabled() && !ui->btnReuseCalibration->isEnabled());
    QVERIFY(static_cast<const orv_cal_tables *>(get_shrd_mem(ORV_SEG_CAL_TABLES, 0))->build_count > builds_before);

    QVERIFY(station.captureAllAtRowValues(2));
    station.record("rbVerification", "after adjustment");
    QCOMPARE(cfg->table_info.cal_mode, uint16_t(CAL_VERIFICATION));
    QCOMPARE(cfg->table_info.tol_state, uint16_t(TOL_NOADJ));
    QCOMPARE(ui->txtVerificationData->styleSheet(), band_style(0));
    QCOMPARE(ui->lblNextStep->text(), QStringLiteral("<font color='red'>Channel is within expected range</font>"));
    QVERIFY(!ui->btnAdjustCalibration->isEnabled() && !ui->btnReuseCalibration->isEnabled());
    station.window().grab().save(QStringLiteral(VREL_BIN_DIR "/../screenshots/flow-verification.png"));

    QCOMPARE(history_modes(tables + "coolant_temp.save"), QStringList({"AS_FOUND", "ADJUSTED", "VERIFICATION"}));
    QFile old(tables + "coolant_temp.old");
    QVERIFY(old.open(QIODevice::ReadOnly));
    QCOMPARE(old.readAll(), old_table);
    QVERIFY(tbl.open(QIODevice::ReadOnly));
    const QByteArray new_table = tbl.readAll();
    QVERIFY(new_table != old_table);
    QVERIFY(new_table.contains("#   cal last adjusted on: "));
    QVERIFY(QFile::exists(tables + "uut_ref_data/coolant_temp.uut"));
    QVERIFY(QFile::exists(tables + "uut_ref_data/coolant_temp.ref"));
    const QStringList written = reports(station, "coolant_temp");
    QCOMPARE(written.size(), 2);
    QVERIFY(written.filter("_AF_").size() == 1 && written.filter("_AL_").size() == 1);
    QFile uut(tables + "uut_ref_data/coolant_temp.uut");
    QVERIFY(uut.open(QIODevice::ReadOnly));
    QVERIFY(uut.readAll().endsWith("@RECORD_DATA_ACTION_KEYWORD\nAS_LEFT\n"));
    QFile report(tables + "verifications/" + written.filter("_AL_").first());
    QVERIFY(report.open(QIODevice::ReadOnly));
    const QByteArray csv = report.readAll();
    QVERIFY(csv.contains("Cal_Status,-,AS_LEFT,,,,\n"));
    QVERIFY(csv.contains("Comment,-,yearly with commas,,,,\n"));

    // Each report has its twin for programs, with what the CSV cannot
    // carry: the samples of every average and the scheduler's tick.
    for (const QString &name : written) {
        QFile twin(tables + "verifications/" + QString(name).replace(".csv", ".json"));
        QVERIFY2(twin.open(QIODevice::ReadOnly), qPrintable(twin.fileName()));
        const QJsonObject json = QJsonDocument::fromJson(twin.readAll()).object();
        QCOMPARE(json.value("scheduler_tick_ms").toInt(), 20);
        QCOMPARE(json.value("table").toString(), QStringLiteral("coolant_temp"));
        const QJsonArray points = json.value("points").toArray();
        QCOMPARE(points.size(), int(num_points));
        for (int i = 0; i < points.size(); ++i) {
            const QJsonObject point = points[i].toObject();
            QCOMPARE(point.value("samples").toInt(), 3);
            QCOMPARE(point.value("set_point").toDouble(), cfg->point_stats[i].ref_value);
        }
    }
    const QJsonObject as_left =
        QJsonDocument::fromJson(file_bytes(tables + "verifications/" + QString(written.filter("_AL_").first()).replace(".csv", ".json"))).object();
    QCOMPARE(as_left.value("cal_status").toString(), QStringLiteral("AS_LEFT"));
    QCOMPARE(as_left.value("points").toArray()[0].toObject().value("mean").toDouble(), cfg->point_stats[0].eng_mean);
}

void TestFlow::acceptNoAdjust()
{
    Station station;
    QVERIFY(station.open({"--tick", "20", "--no-noise"}));
    QVERIFY(station.select(1)); // OIL TEMP OUT: within tolerance
    Ui::MainWindow *ui = station.window().form();
    station.fillRecordTexts();
    averaging_count = 3;
    QVERIFY(station.captureAllAtRowValues(1));
    station.record("rbAsFound");
    QCOMPARE(cfg->table_info.tol_state, uint16_t(TOL_NOADJ));
    QCOMPARE(ui->btnReuseCalibration->styleSheet(), QStringLiteral("background-color: rgb(126,232,255)"));
    ui->btnReuseCalibration->click(); // band 0 after As-Found: no question
    // Re-use writes no mode of its own: the history says REUSE, the record
    // holds what the reload of the rebuild gave, 0.
    QCOMPARE(cfg->table_info.cal_mode, uint16_t(0));
    QCOMPARE(ui->txtVerificationData->styleSheet(), band_style(0));
    const QString tables = station.cell().path("/cell/tables/");
    QCOMPARE(history_modes(tables + "oil_temp_out.save"), QStringList({"AS_FOUND", "REUSE"}));
    QVERIFY(!QFile::exists(tables + "oil_temp_out.old"));
    const QStringList written = reports(station, "oil_temp_out");
    QCOMPARE(written.size(), 1);
    QVERIFY(written.first().contains("_AFAL_"));
    QFile ref(tables + "uut_ref_data/oil_temp_out.ref");
    QVERIFY(ref.open(QIODevice::ReadOnly));
    QVERIFY(ref.readAll().endsWith("@RECORD_DATA_ACTION_KEYWORD\nAS_FOUND/AS_LEFT\n"));
}

void TestFlow::recordRefusesEmptyTexts()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    station.answerer().answer("OK");
    station.window().form()->btnRecordData->setEnabled(true);
    station.window().form()->btnRecordData->click();
    QCOMPARE(station.answerer().seen().size(), 1);
    QCOMPARE(station.answerer().seen()[0].title, QStringLiteral("Information"));
    QVERIFY(station.answerer().seen()[0].text.startsWith("Please enter the:"));
    QVERIFY(!QFile::exists(station.cell().path("/cell/tables/oil_temp_in.save")));
}

void TestFlow::answeringNoChangesNothingButTheBand()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    Ui::MainWindow *ui = station.window().form();
    cfg->table_info.cal_mode = CAL_AS_FOUND;
    station.row(0)->band = 2; // a captured row out of tolerance
    ui->btnAdjustCalibration->setEnabled(true);
    ui->btnReuseCalibration->setEnabled(true);
    station.answerer().answer("No");
    station.answerer().answer("No");
    ui->btnAdjustCalibration->click();
    ui->btnReuseCalibration->click();
    QCOMPARE(station.answerer().seen().size(), 2);
    QCOMPARE(station.answerer().seen()[0].title, QStringLiteral("Adjust Calibration?"));
    QCOMPARE(station.answerer().seen()[1].title, QStringLiteral("Re-Use Calibration?"));
    QCOMPARE(station.answerer().seen()[0].buttons, QStringList({"Yes", "No"}));
    QCOMPARE(cfg->table_info.tol_state, uint16_t(2)); // refreshed from the rows
    QCOMPARE(cfg->table_info.cal_mode, uint16_t(CAL_AS_FOUND));
    QVERIFY(ui->txtAdjustCalibration->text().isEmpty() && ui->txtVerificationData->text().isEmpty());
    QVERIFY(ui->btnAdjustCalibration->isEnabled() && ui->btnReuseCalibration->isEnabled());
    QVERIFY(!QFile::exists(station.cell().path("/cell/tables/oil_temp_in.save")));
}

void TestFlow::numberOfPointsMessages_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<bool>("refused");
    QTest::newRow("one") << "1" << true;
    QTest::newRow("sixty-five") << "65" << true;
    QTest::newRow("letters") << "abc" << true;
    QTest::newRow("two") << "2" << false;
    QTest::newRow("sixty-four") << "64" << false;
}

void TestFlow::numberOfPointsMessages()
{
    QFETCH(QString, entry);
    QFETCH(bool, refused);
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    Ui::MainWindow *ui = station.window().form();
    if (refused)
        station.answerer().answer("OK");
    ui->txtNumPoints->setText(entry);
    QTest::keyClick(ui->txtNumPoints, Qt::Key_Return);
    QCOMPARE(station.answerer().seen().size(), refused ? 1 : 0);
    if (refused) {
        QCOMPARE(station.answerer().seen()[0].title, QStringLiteral("Invalid Calibration Points"));
        QVERIFY(ui->txtNumPoints->text().isEmpty());
        QCOMPARE(int(num_points), 11); // the earlier count stays
    } else {
        QCOMPARE(int(num_points), entry.toInt());
    }
}

void TestFlow::averagingTimeMessages_data()
{
    QTest::addColumn<QString>("entry");
    QTest::addColumn<int>("seconds");
    QTest::newRow("four") << "4" << 30;
    QTest::newRow("thirty-one") << "31" << 30;
    QTest::newRow("empty") << "" << 30;
    QTest::newRow("five") << "5" << 5;
    QTest::newRow("thirty") << "30" << 30;
}

void TestFlow::averagingTimeMessages()
{
    QFETCH(QString, entry);
    QFETCH(int, seconds);
    Station station;
    QVERIFY(station.open()); // tick 20 ms: 50 samples a second
    Ui::MainWindow *ui = station.window().form();
    const bool refused = seconds == 30 && entry != "30";
    if (refused)
        station.answerer().answer("OK");
    ui->txtAveragingTime->setText(entry);
    QMetaObject::invokeMethod(ui->txtAveragingTime, "editingFinished");
    QCOMPARE(station.answerer().seen().size(), refused ? 1 : 0);
    if (refused)
        QCOMPARE(station.answerer().seen()[0].text,
                 QStringLiteral("The entered Averaging Time must be between 5 and 30 seconds"));
    QCOMPARE(ui->txtAveragingTime->text(), QString::number(seconds));
    QCOMPARE(averaging_count, 50 * seconds);
}

void TestFlow::raisingAndLoweringPoints()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0)); // 11 points
    Ui::MainWindow *ui = station.window().form();
    ui->txtNumPoints->setText("13");
    QTest::keyClick(ui->txtNumPoints, Qt::Key_Return);
    QCOMPARE(int(num_points), 13);
    QCOMPARE(cfg->unrecorded_changes, uint16_t(1));
    for (int i : {11, 12}) {
        QCOMPARE(station.row(i)->captureText(), QStringLiteral("Capture New"));
        QCOMPARE(cfg->table_info.point_flags[i], uint16_t(POINT_NEW));
        // New rows start as copies of the last table point.
        QCOMPARE(station.row(i)->currentValueField()->text(), station.row(10)->currentValueField()->text());
        QVERIFY(station.row(i)->currentValueField()->isVisibleTo(&station.window()));
    }
    QCOMPARE(cfg->table_info.dim.table_poly[0].raw_data.count, int16_t(11)); // raising writes no count
    ui->txtNumPoints->setText("5");
    QTest::keyClick(ui->txtNumPoints, Qt::Key_Return);
    QCOMPARE(int(num_points), 5);
    QCOMPARE(cfg->table_info.dim.table_poly[0].raw_data.count, int16_t(5));
    QCOMPARE(cfg->table_info.point_flags[7], uint16_t(POINT_NEW));
    QVERIFY(!station.row(5)->currentValueField()->isVisibleTo(&station.window()));
    QVERIFY(station.row(4)->currentValueField()->isVisibleTo(&station.window()));
}

QTEST_MAIN(TestFlow)
#include "tst_flow.moc"
