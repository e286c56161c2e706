// The flows from captured points to a new table: Record, Adjust, Re-use,
// their questions, and whole sequences that once ended the process or wrote
// points that were never measured.
#include "archivecheck.h"
#include "calibrationfiles.h"
#include "comboitems.h"
#include "window_fixture.h"

#include "flow_questions.h"
#include "functions.h"

#include <qwt_plot_curve.h>

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

QStringList reports(Station &station, const QString &table)
{
    return QDir(station.cell().path("/cell/tables/verifications")).entryList({table + "_*.csv"}, QDir::Files, QDir::Name);
}

// A station on a channel with every row captured at its value and
// recorded as As-Found.
bool as_found(Station &station, int channel)
{
    if (!station.open() || !station.select(channel))
        return false;
    station.fillRecordTexts();
    averaging_count = 2;
    if (!station.captureAllAtRowValues(channel))
        return false;
    station.record("rbAsFound");
    return true;
}

} // namespace

class TestFlow : public QObject {
    Q_OBJECT
private slots:
    void questions_data();
    void questions();
    void driftedChannelAdjustedAndVerified();
    void acceptWithoutAdjustment();
    void recordQuestions_data();
    void recordQuestions();
    void answeringNoChangesNothingButTheBand();
    void entryMessages_data();
    void entryMessages();
    void fitNeverPassesEightCoefficients_data();
    void fitNeverPassesEightCoefficients();
    void refusedChannelWithWorkInHand_data();
    void refusedChannelWithWorkInHand();
    void adjustWhileTheHostIsDown();
};

void TestFlow::questions_data()
{
    QTest::addColumn<bool>("adjust"); // the Adjust button's question, else Re-use's
    QTest::addColumn<int>("cal_mode");
    QTest::addColumn<int>("tol_state");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("band");
    const QString reuse = "Re-Use Calibration?", adjust = "Adjust Calibration?";
    const QString service = "Data shows that this channel needs service.\n\nDo you want to ";
    const QString verification = "This data was collected as verification, not for calibration.\n\nDo you want to ";
    // clang-format off
    QTest::newRow("re-use, as-found green") << false << 3 << 0 << "" << "" << 0;
    QTest::newRow("re-use, as-found yellow") << false << 3 << 1 << reuse << "Data shows that this channel needs to be adjusted." << 1;
    QTest::newRow("re-use, as-found orange") << false << 3 << 2 << reuse << "Data shows that this channel needs service." << 3;
    QTest::newRow("re-use, as-found red") << false << 3 << 3 << reuse << "Data shows that this channel needs service." << 3;
    QTest::newRow("re-use, verification green") << false << 6 << 0 << adjust << verification + "update cal anyway?" << 0;
    QTest::newRow("re-use, verification yellow") << false << 6 << 1 << adjust << verification + "adjust anyway?" << 0;
    QTest::newRow("re-use, adjusted") << false << 7 << 2 << "" << "" << -1;
    QTest::newRow("re-use, fresh") << false << 0 << 1 << "" << "" << -1;
    QTest::newRow("re-use, state out of range") << false << 3 << 4 << "" << "" << -1;
    QTest::newRow("adjust, as-found green") << true << 3 << 0 << adjust << "Data shows that this channel does not require adjustment.\n\nDo you want to adjust anyway?" << 0;
    QTest::newRow("adjust, as-found yellow") << true << 3 << 1 << "" << "" << 0;
    QTest::newRow("adjust, as-found orange") << true << 3 << 2 << adjust << service + "adjust the calibration anyway?" << 3;
    QTest::newRow("adjust, as-found red") << true << 3 << 3 << adjust << service + "adjust the calibration anyway?" << 3;
    for (int state = 0; state < 4; ++state)
        QTest::addRow("adjust, verification %d", state) << true << 6 << state << adjust << verification + "adjust anyway?" << 0;
    QTest::newRow("adjust, adjusted") << true << 7 << 0 << "" << "" << -1;
    QTest::newRow("adjust, re-used") << true << 8 << 3 << "" << "" << -1;
    QTest::newRow("adjust, state out of range") << true << 6 << 9 << "" << "" << -1;
    // clang-format on
}
void TestFlow::questions()
{
    QFETCH(bool, adjust);
    QFETCH(int, cal_mode);
    QFETCH(int, tol_state);
    const FlowQuestion question = adjust ? adjust_question(uint16_t(cal_mode), uint16_t(tol_state))
                                         : reuse_question(uint16_t(cal_mode), uint16_t(tol_state));
    QTEST(question.title, "title");
    QFETCH(QString, text);
    if (adjust || text.isEmpty())
        QCOMPARE(question.text, text);
    else
        QVERIFY2(question.text.startsWith(text), qPrintable(question.text));
    QTEST(question.date_band, "band");
}
void TestFlow::driftedChannelAdjustedAndVerified()
{
    Station station;
    QVERIFY(as_found(station, 2)); // COOLANT TEMP: out of adjustment
    const QString tables = station.cell().path("/cell/tables/");
    const QByteArray old_table = file_bytes(tables + "coolant_temp.tbl");
    const auto builds_before = static_cast<const orv_cal_tables *>(get_shrd_mem(ORV_SEG_CAL_TABLES, 0))->build_count;
    Ui::MainWindow *ui = station.window().form();
    QVERIFY(cfg->table_info.cal_mode == CAL_AS_FOUND && cfg->table_info.tol_state == TOL_OOA);
    QCOMPARE(ui->txtAsFound->styleSheet(), band_style(1));
    QCOMPARE(ui->btnAdjustCalibration->styleSheet(), QStringLiteral("background-color: rgb(126,232,255)"));
    QCOMPARE(ui->btnReuseCalibration->styleSheet(), QStringLiteral("background-color: rgb(238, 238,238)"));
    QVERIFY(ui->btnReuseCalibration->isEnabled() && !ui->btnRecordData->isEnabled());
    QVERIFY(reports(station, "coolant_temp").isEmpty()); // an As-Found record writes no report
    ui->btnAdjustCalibration->click(); // band 1 after As-Found: no question
    QVERIFY(station.answerer().seen().size() == 1); // the record type form only
    QCOMPARE(cfg->table_info.cal_mode, uint16_t(0)); // the rebuild reloaded the channel
    QCOMPARE(ui->txtAdjustCalibration->styleSheet(), band_style(0));
    QVERIFY(!ui->btnAdjustCalibration->isEnabled() && !ui->btnReuseCalibration->isEnabled());
    QVERIFY(static_cast<const orv_cal_tables *>(get_shrd_mem(ORV_SEG_CAL_TABLES, 0))->build_count > builds_before);
    QVERIFY(station.captureAllAtRowValues(2));
    station.record("rbVerification", "after adjustment");
    QCOMPARE(cfg->table_info.tol_state, uint16_t(TOL_NOADJ));
    QCOMPARE(ui->lblNextStep->text(), QStringLiteral("<font color='red'>Channel is within expected range</font>"));
    QCOMPARE(history_modes(tables + "coolant_temp.save"), QStringList({"AS_FOUND", "ADJUSTED", "VERIFICATION"}));
    QCOMPARE(file_bytes(tables + "coolant_temp.old"), old_table);
    const QByteArray new_table = file_bytes(tables + "coolant_temp.tbl");
    QVERIFY(new_table != old_table && new_table.contains("#   cal last adjusted on: "));
    QVERIFY(file_bytes(tables + "uut_ref_data/coolant_temp.uut").endsWith("@RECORD_DATA_ACTION_KEYWORD\nAS_LEFT\n"));
    const QStringList written = reports(station, "coolant_temp");
    QVERIFY(written.size() == 2 && written.filter("_AF_").size() == 1 && written.filter("_AL_").size() == 1);
    const QByteArray csv = file_bytes(tables + "verifications/" + written.filter("_AL_").first());
    QVERIFY(csv.contains("Cal_Status,-,AS_LEFT,,,,\n") && csv.contains("Comment,-,yearly with commas,,,,\n"));
    // Each report's twin carries the samples of every average and the tick.
    for (const QString &name : written) {
        const QJsonObject json =
            QJsonDocument::fromJson(file_bytes(tables + "verifications/" + QString(name).replace(".csv", ".json"))).object();
        QCOMPARE(json.value("scheduler_tick_ms").toInt(), 20);
        QCOMPARE(json.value("cal_status").toString(), QString(name.contains("_AL_") ? "AS_LEFT" : "AS_FOUND"));
        const QJsonArray points = json.value("points").toArray();
        QCOMPARE(points.size(), int(num_points));
        for (int i = 0; i < points.size(); ++i)
            QVERIFY(points[i].toObject().value("samples").toInt() == 2 &&
                    points[i].toObject().value("set_point").toDouble() == cfg->point_stats[i].ref_value);
    }
}
void TestFlow::acceptWithoutAdjustment()
{
    Station station;
    QVERIFY(as_found(station, 1)); // OIL TEMP OUT: within tolerance
    Ui::MainWindow *ui = station.window().form();
    QCOMPARE(cfg->table_info.tol_state, uint16_t(TOL_NOADJ));
    QCOMPARE(ui->btnReuseCalibration->styleSheet(), QStringLiteral("background-color: rgb(126,232,255)"));
    ui->btnReuseCalibration->click(); // band 0 after As-Found: no question
    QCOMPARE(cfg->table_info.cal_mode, uint16_t(0)); // Re-use writes no mode of its own
    QCOMPARE(ui->txtVerificationData->styleSheet(), band_style(0));
    const QString tables = station.cell().path("/cell/tables/");
    QCOMPARE(history_modes(tables + "oil_temp_out.save"), QStringList({"AS_FOUND", "REUSE"}));
    QVERIFY(!QFile::exists(tables + "oil_temp_out.old"));
    const QStringList written = reports(station, "oil_temp_out");
    QVERIFY(written.size() == 1 && written.first().contains("_AFAL_"));
    QVERIFY(file_bytes(tables + "uut_ref_data/oil_temp_out.ref").endsWith("@RECORD_DATA_ACTION_KEYWORD\nAS_FOUND/AS_LEFT\n"));
}
void TestFlow::recordQuestions_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<bool>("adjusted_first");
    QTest::addColumn<QString>("choice");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("modes"); // after No, then after Yes
    QTest::newRow("As-Found after an adjustment") << 2 << true << "rbAsFound"
        << "This channel has already been adjusted.\n\nAre you sure you want to record this as As-Found data?"
        << QStringList{"AS_FOUND ADJUSTED", "AS_FOUND ADJUSTED AS_FOUND"};
    QTest::newRow("Verification without adjustment") << 1 << false << "rbVerification"
        << "No adjustment has been made.\n\nAre you sure you want to record this as Verification data?"
        << QStringList{"", "VERIFICATION"};
}
void TestFlow::recordQuestions()
{
    QFETCH(int, channel);
    QFETCH(QString, choice);
    QFETCH(QStringList, modes);
    QFETCH(bool, adjusted_first);
    Station station;
    if (adjusted_first) {
        QVERIFY(as_found(station, channel));
        station.window().form()->btnAdjustCalibration->click();
    } else {
        QVERIFY(station.open() && station.select(channel));
        station.fillRecordTexts();
    }
    QVERIFY(station.captureAllAtRowValues(channel));
    const QString archive = station.cell().path("/cell/tables/" + station.window().form()->lblTableName->text() + ".save");
    for (int yes = 0; yes < 2; ++yes) { // No keeps the captures for a second try
        station.record(choice.toLatin1().constData(), "sensor replaced", yes ? "Yes" : "No");
        const DialogAnswerer::Seen &question = station.answerer().seen().last();
        QCOMPARE(question.title, QStringLiteral("Warning"));
        QTEST(question.text, "text");
        QCOMPARE(question.buttons, QStringList({"Yes", "No"}));
        QCOMPARE(history_modes(archive).join(' '), modes[yes]);
    }
    Ui::MainWindow *ui = station.window().form();
    QCOMPARE(adjusted_first ? ui->txtAdjustCalibration->text().isEmpty() : !ui->txtVerificationData->text().isEmpty(), true);
}
void TestFlow::answeringNoChangesNothingButTheBand()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    Ui::MainWindow *ui = station.window().form();
    // Record with the texts empty is refused with the list of what is missing.
    station.answerer().answer("OK");
    ui->btnRecordData->setEnabled(true);
    ui->btnRecordData->click();
    QCOMPARE(station.answerer().seen()[0].title, QStringLiteral("Information"));
    QVERIFY(station.answerer().seen()[0].text.startsWith("Please enter the:"));
    cfg->table_info.cal_mode = CAL_AS_FOUND;
    station.row(0)->band = 2; // a captured row out of tolerance
    ui->btnAdjustCalibration->setEnabled(true);
    ui->btnReuseCalibration->setEnabled(true);
    station.answerer().answer("No");
    station.answerer().answer("No");
    ui->btnAdjustCalibration->click();
    ui->btnReuseCalibration->click();
    QCOMPARE(station.answerer().seen().size(), 3);
    QCOMPARE(station.answerer().seen()[1].title, QStringLiteral("Adjust Calibration?"));
    QCOMPARE(station.answerer().seen()[2].title, QStringLiteral("Re-Use Calibration?"));
    QCOMPARE(station.answerer().seen()[1].buttons, QStringList({"Yes", "No"}));
    // The band is refreshed from the rows; nothing else changes.
    QVERIFY(cfg->table_info.tol_state == 2 && cfg->table_info.cal_mode == CAL_AS_FOUND);
    QVERIFY(ui->txtAdjustCalibration->text().isEmpty() && ui->txtVerificationData->text().isEmpty() &&
            ui->btnAdjustCalibration->isEnabled() && ui->btnReuseCalibration->isEnabled());
    QVERIFY(!QFile::exists(station.cell().path("/cell/tables/oil_temp_in.save")));
}
void TestFlow::entryMessages_data()
{
    QTest::addColumn<bool>("points"); // the number of points, else the averaging time
    QTest::addColumn<QString>("entry");
    QTest::addColumn<int>("result"); // num_points, or seconds; -1: refused
    for (const char *entry : {"1", "65", "abc", "2", "64"}) {
        const int n = QByteArray(entry).toInt();
        QTest::addRow("points %s", entry) << true << entry << (n >= 2 && n <= 64 ? n : -1);
    }
    for (const char *entry : {"4", "31", "", "5", "30"}) {
        const int n = QByteArray(entry).toInt();
        QTest::addRow("seconds %s", entry) << false << entry << (n >= 5 && n <= 30 ? n : -1);
    }
}
void TestFlow::entryMessages()
{
    QFETCH(bool, points);
    QFETCH(QString, entry);
    QFETCH(int, result);
    Station station;
    QVERIFY(station.open()); // tick 20 ms: 50 samples a second
    QVERIFY(station.select(0)); // 11 points
    Ui::MainWindow *ui = station.window().form();
    station.answerer().answer("OK"); // left over when the entry is taken
    QLineEdit *field = points ? ui->txtNumPoints : ui->txtAveragingTime;
    field->setText(entry);
    if (points)
        QTest::keyClick(field, Qt::Key_Return);
    else
        QMetaObject::invokeMethod(field, "editingFinished");
    QCOMPARE(station.answerer().seen().size(), result < 0 ? 1 : 0);
    if (result < 0)
        QCOMPARE(station.answerer().seen()[0].text,
                 points ? QStringLiteral("A invalid value for Calibration Points was entered\n\nPlease reenter a Calibration Points value between 2 and 64") : QStringLiteral("The entered Averaging Time must be between 5 and 30 seconds"));
    if (points)
        QCOMPARE(int(num_points), result < 0 ? 11 : result); // a refusal keeps the earlier count
    else
        QCOMPARE(averaging_count, 50 * (result < 0 ? 30 : result));
    QCOMPARE(field->text(), result < 0 ? (points ? QString() : QStringLiteral("30")) : entry);
}
void TestFlow::fitNeverPassesEightCoefficients_data()
{
    QTest::addColumn<bool>("as_polynomial");
    QTest::newRow("range table, highest order offered") << false;
    QTest::newRow("polynomial reached from a range table") << true;
}
void TestFlow::fitNeverPassesEightCoefficients()
{
    // A range table offers orders up to one below its points; a table holds
    // eight coefficients.  24 points, the highest order offered, As-Found
    // and Adjust: the archive holds what was captured, the table the fit.
    QFETCH(bool, as_polynomial);
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(6)); // INTAKE MANIFOLD PRESS, POLYNOMIAL_RANGE
    Ui::MainWindow *ui = station.window().form();
    station.fillRecordTexts();
    averaging_count = 2;
    ui->txtNumPoints->setText("24");
    QTest::keyClick(ui->txtNumPoints, Qt::Key_Return);
    for (int i = 0; i < 24; ++i) {
        station.row(i)->currentValueField()->setText(QString::number(12.5 * i));
        QVERIFY(station.applyAndCapture(6, i, 12.5 * i));
    }
    if (as_polynomial) {
        ui->cboCalType->setCurrentIndex(1);
        QCOMPARE(items_of(ui->cboOrderOfPolynomial), orders_up_to(7));
    }
    ui->cboOrderOfPolynomial->setCurrentIndex(ui->cboOrderOfPolynomial->count() - 1);
    const TablePoly fitted = cfg->new_table_poly[0];
    QCOMPARE(fitted.num_coeff, int16_t(8));
    QVERIFY(std::fabs(fitted.coeff[1]) > 1.0); // about 3 kPa a millivolt: a real fit
    station.record("rbAsFound");
    const QString tables = station.cell().path("/cell/tables/");
    const QByteArray archive = file_bytes(tables + "intake_press.save");
    const QList<QByteArray> lines = archive.mid(archive.lastIndexOf("\"INTAKE MANIFOLD PRESS\"")).split('\n');
    for (int i = 0; i < 24; ++i) // the recorded pairs: millivolts and the value typed
        QCOMPARE(lines.value(i + 1).simplified().replace("\\", "").trimmed().split(' ').value(1).toDouble(), 12.5 * i);
    station.answerer().answer("Yes"); // out of tolerance: adjust anyway
    ui->btnAdjustCalibration->click();
    QCOMPARE(history_modes(tables + "intake_press.save"), QStringList({"AS_FOUND", "ADJUSTED"}));
    QByteArray expected = as_polynomial ? "#number of points\n8\n\n#coefficients\n" : "RANGE=0 ";
    for (int c = 0; c < 8; ++c)
        expected += (as_polynomial ? QString::asprintf(" %10g\n", fitted.coeff[c])
                                   : QString::asprintf("C%d=%g ", c, fitted.coeff[c])).toLatin1();
    QVERIFY2(file_bytes(tables + "intake_press.tbl").contains(expected), expected.constData());
    // The reload after the rebuild judges with the table just adopted.
    for (int c = 0; c < 8; ++c)
        QVERIFY(std::fabs(cfg->table_info.dim.table_poly[0].coeff[c] - fitted.coeff[c]) <= 1e-9 * std::max(1.0, std::fabs(fitted.coeff[c])));
    if (!as_polynomial) {
        const QStringList siblings = QDir(tables).entryList({"intake_press-*.poly_range"}, QDir::Files, QDir::Name);
        QVERIFY(!siblings.isEmpty());
        QVERIFY(file_bytes(tables + siblings.last()).contains(QString::asprintf("\n \" 0 %.10g ", fitted.coeff[0]).toLatin1()));
    }
}

// A refusal takes the plot's curves; an average that ends afterwards, or a
// capture on the refused window, draws nothing until a channel is taken
// again (both once ended the process).
void TestFlow::refusedChannelWithWorkInHand_data()
{
    QTest::addColumn<bool>("average_running");
    QTest::newRow("an average running at the refusal") << true;
    QTest::newRow("points and a capture on the refused window") << false;
}
void TestFlow::refusedChannelWithWorkInHand()
{
    QFETCH(bool, average_running);
    Station station;
    QVERIFY(station.open() && station.select(1));
    averaging_count = 3;
    if (average_running)
        capture_button(station.row(0))->click();
    select_refused(station, 2, "coolant_temp");
    QVERIFY(station.window().plotDetached());
    if (!average_running) {
        station.window().form()->txtNumPoints->setText("5");
        QTest::keyClick(station.window().form()->txtNumPoints, Qt::Key_Return);
        capture_button(station.row(0))->click();
    }
    for (int i = 0; i <= averaging_count + 1; ++i)
        station.worker()->dealWithStatValuesAveraging();
    QVERIFY(!station.worker()->isAveraging());
    QCOMPARE(station.row(0)->captureText(), QStringLiteral("Undo"));
    QVERIFY(station.select(1)); // the plot comes back with the next channel
    QVERIFY(!station.window().plotDetached());
    QVERIFY(station.window().curve(MainWindow::PreviousCurve)->plot());
}

// The host gone when Adjust rebuilds: the notice, the log line, the old
// memory kept; once the host is back a selection links to the live cell.
void TestFlow::adjustWhileTheHostIsDown()
{
    Station station;
    QVERIFY(as_found(station, 2));
    QVERIFY(station.cell().stop());
    station.answerer().answer("OK");
    station.window().form()->btnAdjustCalibration->click(); // band 1: no question
    QCOMPARE(station.answerer().seen().last().text, QStringLiteral("Orvane must be running\nUnable to get AI_REAL memory"));
    QVERIFY(station.cell().hostLog().contains("Failure Initializing Shared Memory after Table Rebuild"));
    QVERIFY(station.select(1)); // the previous memory, still mapped
    QVERIFY(station.cell().start({"--tick", "20", "--no-noise"}));
    QVERIFY(station.select(0) && station.select(1));
    const double published = Mv[1].value;
    QVERIFY(station.cell().apply(1, published + 33.0));
    QTRY_VERIFY_WITH_TIMEOUT(Mv[1].value != published, 5000); // the live cell, not the old memory
}

QTEST_MAIN(TestFlow)
#include "tst_flow.moc"
