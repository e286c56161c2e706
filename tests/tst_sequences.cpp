// Whole sequences at the window, each of which once ended the process or
// wrote points that were never measured: refused channels with work in
// hand, a host gone during a rebuild, range tables fitted past the eight
// coefficients a table holds, and the questions of the recording flows.
#include "calibrationfiles.h"
#include "archivecheck.h"
#include "comboitems.h"
#include "station.h"

#include "functions.h"
#include "mainwindow.h"
#include "pointinfo.h"
#include "vrel_cfg.h"
#include "worker.h"

#include "ui_mainwindow.h"

#include <qwt_plot_curve.h>

#include <QtTest>

#include <climits>
#include <cstring>

namespace {

const char kUutAnswers[] = "PT-9";

// The sensor form forced by a missing .uut, completed as a technician would.
void complete_sensor_form(QWidget *form)
{
    form->findChild<QComboBox *>("cboUUTCalType")->setCurrentIndex(4);
    form->findChild<QLineEdit *>("txtUUTModel")->setText(kUutAnswers);
    form->findChild<QLineEdit *>("txtUUT_MTE")->setText("MTE-1");
}

// Selects `channel` after removing its .uut, so that the sensor form is
// forced; the form is answered with `answer` ("OK" completes it).
void select_with_sensor_form(Station &station, int channel, const QString &table, const QString &answer)
{
    QFile::remove(station.cell().path("/cell/tables/uut_ref_data/" + table + ".uut"));
    station.answerer().answer("OK"); // the reason for the forced form
    if (answer == QLatin1String("OK")) {
        station.answerer().answer("OK", complete_sensor_form);
        station.answerer().answer("OK"); // "Clearing Calibration Data"
    } else
        station.answerer().answer(answer);
    station.select(channel);
}

// The (millivolts, value) pairs of the archive's newest record, as listed
// after its description line.
QVector<QPointF> newest_record_points(const QString &archive, const QString &description)
{
    QFile file(archive);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QString text = QString::fromLatin1(file.readAll());
    const int at = text.lastIndexOf(QLatin1Char('"') + description + QLatin1Char('"'));
    QVector<QPointF> points;
    const QStringList lines = text.mid(at).split(QLatin1Char('\n'));
    for (int i = 1; i < lines.size(); ++i) {
        const QStringList words = QString(lines[i]).remove(QLatin1Char('\\')).split(QLatin1Char(' '), Qt::SkipEmptyParts);
        bool x_ok = false, y_ok = false;
        if (words.size() != 2)
            break;
        points.append(QPointF(words[0].toDouble(&x_ok), words[1].toDouble(&y_ok)));
        if (!x_ok || !y_ok)
            break;
    }
    return points;
}

} // namespace

class TestSequences : public QObject {
    Q_OBJECT
private slots:
    void init();
    void fitNeverPassesEightCoefficients_data();
    void fitNeverPassesEightCoefficients();
    void orderListFilledOnce_data();
    void orderListFilledOnce();
    void refusedChannelWithWorkInHand_data();
    void refusedChannelWithWorkInHand();
    void refusedRangeChannelLeavesTheStartScreen();
    void refusedReferenceFormKeepsTheExitGuard();
    void environmentLeftWithEscape_data();
    void environmentLeftWithEscape();
    void adjustWhileTheHostIsDown();
    void uutEntrySurvivesTheFirstAdjust();
    void asFoundAgainAfterAdjust();
    void verificationWithoutAdjustment();
    void averagingTimeLoweredDuringAnAverage();
    void sampleCountWraps();
    void menuEntries_data();
    void menuEntries();
};

void TestSequences::init()
{
    // The host-variable pointers are process-wide: each case starts unresolved.
    room_temp_var = humidity_var = barometer_var = nullptr;
}

void TestSequences::fitNeverPassesEightCoefficients_data()
{
    QTest::addColumn<bool>("as_polynomial");
    QTest::newRow("range table, highest order offered") << false;
    QTest::newRow("polynomial reached from a range table") << true;
}

void TestSequences::fitNeverPassesEightCoefficients()
{
    // A range table offers orders up to one below its points; a table holds
    // eight coefficients.  24 points through the window, the highest order
    // offered, then As-Found and Adjust: the archive holds what was
    // captured and the new table the fit.
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
    } else {
        QVERIFY(ui->cboOrderOfPolynomial->count() > 8);
    }
    ui->cboOrderOfPolynomial->setCurrentIndex(ui->cboOrderOfPolynomial->count() - 1);
    const TablePoly fitted = cfg->new_table_poly[0];
    QCOMPARE(fitted.num_coeff, int16_t(8));
    QVERIFY(cfg->table_info.dim.table_poly[0].num_coeff <= 8);
    QVERIFY(std::fabs(fitted.coeff[1]) > 1.0); // about 3 kPa a millivolt: a real fit

    station.record("rbAsFound");
    const QString tables = station.cell().path("/cell/tables/");
    const QVector<QPointF> recorded = newest_record_points(tables + "intake_press.save", "INTAKE MANIFOLD PRESS");
    QCOMPARE(recorded.size(), 24);
    for (int i = 0; i < 24; ++i)
        QCOMPARE(recorded[i].y(), 12.5 * i);

    station.answerer().answer("Yes"); // the channel is out of tolerance: adjust anyway
    ui->btnAdjustCalibration->click();
    QCOMPARE(history_modes(tables + "intake_press.save"), QStringList({"AS_FOUND", "ADJUSTED"}));
    QByteArray expected;
    if (as_polynomial) {
        expected = "#number of points\n8\n\n#coefficients\n";
        for (int c = 0; c < 8; ++c)
            expected += QString::asprintf(" %10g\n", fitted.coeff[c]).toLatin1();
    } else {
        expected = "RANGE=0 ";
        for (int c = 0; c < 8; ++c)
            expected += QString::asprintf("C%d=%g ", c, fitted.coeff[c]).toLatin1();
        expected += "MIN=";
    }
    QVERIFY2(file_bytes(tables + "intake_press.tbl").contains(expected), expected.constData());

    // The reload after the rebuild reads the ADJUSTED record: the channel
    // shows and judges with the table just adopted, and for a range table
    // the record's range file holds it too.
    const TablePoly &in_force = cfg->table_info.dim.table_poly[0];
    QCOMPARE(in_force.num_coeff, int16_t(8));
    QString fitted_text;
    for (int c = 0; c < 8; ++c) {
        QVERIFY2(std::fabs(in_force.coeff[c] - fitted.coeff[c]) <= 1e-9 * std::max(1.0, std::fabs(fitted.coeff[c])),
                 qPrintable(QString::number(c)));
        fitted_text += QString::asprintf("%.10g ", fitted.coeff[c]);
    }
    if (!as_polynomial) {
        const QStringList siblings = QDir(tables).entryList({"intake_press-*.poly_range"}, QDir::Files, QDir::Name);
        QVERIFY(!siblings.isEmpty());
        const QByteArray sibling = file_bytes(tables + siblings.last());
        QVERIFY2(sibling.contains("\n \" 0 " + fitted_text.toLatin1() + "\""), sibling.constData());
    }
}

void TestSequences::orderListFilledOnce_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<int>("channel");
    QTest::addColumn<QStringList>("orders");
    // A change of type while the controls are filled re-enters them.
    QTest::newRow("interpolation after a polynomial") << 4 << 0 << orders_up_to(7);
    QTest::newRow("polynomial after an interpolation") << 0 << 4 << orders_up_to(2);
    QTest::newRow("interpolation after a range table") << 6 << 0 << orders_up_to(7);
}

void TestSequences::orderListFilledOnce()
{
    QFETCH(int, before);
    QFETCH(int, channel);
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(before));
    QVERIFY(station.select(channel));
    QTEST(items_of(station.window().form()->cboOrderOfPolynomial), "orders");
}

void TestSequences::refusedChannelWithWorkInHand_data()
{
    QTest::addColumn<bool>("average_running");
    QTest::newRow("an average running when the channel is refused") << true;
    QTest::newRow("Number Points and a capture on the refused window") << false;
}

void TestSequences::refusedChannelWithWorkInHand()
{
    // The refusal removes the plot's curves; what comes after draws nothing
    // until a channel is taken again.
    QFETCH(bool, average_running);
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(1));
    averaging_count = 3;
    if (average_running)
        station.row(0)->findChild<QPushButton *>("btnCapture")->click();
    select_with_sensor_form(station, 2, "coolant_temp", "Cancel");
    QVERIFY(station.window().plotDetached());
    Ui::MainWindow *ui = station.window().form();
    if (!average_running) {
        ui->txtNumPoints->setText("5");
        QTest::keyClick(ui->txtNumPoints, Qt::Key_Return);
        station.row(0)->findChild<QPushButton *>("btnCapture")->click();
    }
    for (int i = 0; i <= averaging_count + 1; ++i)
        station.worker()->dealWithStatValuesAveraging();
    QVERIFY(!station.worker()->isAveraging());
    QCOMPARE(station.row(0)->captureText(), QStringLiteral("Undo"));
    QVERIFY(station.window().plotDetached());
    QVERIFY(station.select(1)); // and the plot comes back with the next channel
    QVERIFY(!station.window().plotDetached());
    QVERIFY(station.window().curve(MainWindow::PreviousCurve)->plot());
}

void TestSequences::refusedRangeChannelLeavesTheStartScreen()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(6));
    Ui::MainWindow *ui = station.window().form();
    ui->cboPolyRangeIndex->setCurrentIndex(1);
    select_with_sensor_form(station, 2, "coolant_temp", "Cancel");
    QCOMPARE(ui->cboCurrentChannel->currentIndex(), 0);
    QCOMPARE(ui->cboPolyRangeIndex->currentIndex(), 0);
    QVERIFY(!ui->cboCalType->isEnabled());
    QVERIFY(!ui->cboPolyRangeIndex->isEnabled());
    QVERIFY(!ui->coeffFrame->isVisibleTo(&station.window()));
    for (PointInfo *row : station.window().pointRows())
        QVERIFY(!row->currentValueField()->isVisibleTo(&station.window()));
}

void TestSequences::refusedReferenceFormKeepsTheExitGuard()
{
    // An accepted, changed sensor form and a refused reference form: the
    // channel is cleared, but the change is still unrecorded and the Exit
    // entry asks before closing.
    Station station;
    QVERIFY(station.open());
    cfg->ref_mfg[0] = '\0';
    QFile::remove(station.cell().path("/cell/tables/uut_ref_data/coolant_temp.uut"));
    station.answerer().answer("OK");                       // the reason for the sensor form
    station.answerer().answer("OK", [](QWidget *form) { // the sensor form, its serial number changed
        complete_sensor_form(form);
        form->findChild<QLineEdit *>("txtUUTSerialNumber")->setText("SN-77");
    });
    station.answerer().answer("OK");                       // "Clearing Calibration Data"
    station.answerer().answer("Cancel");                   // the reference form
    station.select(2);
    QVERIFY(station.answerer().allAnswered());
    QVERIFY(station.window().plotDetached());
    station.answerer().answer("Cancel");
    station.window().form()->actionExit->trigger();
    QCOMPARE(station.answerer().seen().size(), 5);
    QCOMPARE(station.answerer().seen().last().title, QStringLiteral("Table Information Modified"));
}

void TestSequences::environmentLeftWithEscape_data()
{
    QTest::addColumn<bool>("forced");
    QTest::newRow("the form forced by the first selection") << true;
    QTest::newRow("the form of the menu") << false;
}

void TestSequences::environmentLeftWithEscape()
{
    // The settings file's default has the environment in use; a form left
    // with Escape resolves none of its variables.  A capture then takes
    // the point and leaves the point's environment as it was.
    QFETCH(bool, forced);
    Station station;
    QVERIFY(station.open());
    env_settings->env_vars_used = 1;
    station.answerer().answer("Escape");
    if (forced) {
        environment_confirmed = false;
        QVERIFY(station.select(1));
    } else {
        QVERIFY(station.select(1));
        station.window().form()->actionEnvironment_Variable_Data->trigger();
    }
    QCOMPARE(station.answerer().seen().size(), 1);
    QCOMPARE(station.answerer().seen()[0].title, QStringLiteral("Environment Variables"));
    QVERIFY(!room_temp_var);
    cfg->env[0] = {21.5, 101.3, 40.0};
    averaging_count = 2;
    QVERIFY(station.applyAndCapture(1, 0, 7.0));
    QCOMPARE(station.row(0)->captureText(), QStringLiteral("Undo"));
    QCOMPARE(cfg->env[0].temperature, 21.5);
    QCOMPARE(cfg->env[0].humidity, 40.0);
}

void TestSequences::adjustWhileTheHostIsDown()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(2));
    station.fillRecordTexts();
    averaging_count = 2;
    QVERIFY(station.captureAllAtRowValues(2));
    station.record("rbAsFound");
    QVERIFY(station.cell().stop());
    station.answerer().answer("OK");
    station.window().form()->btnAdjustCalibration->click(); // band 1: no question
    QCOMPARE(station.answerer().seen().last().text,
             QStringLiteral("Orvane must be running\nUnable to get AI_REAL memory"));
    QVERIFY(station.cell().hostLog().contains("Failure Initializing Shared Memory after Table Rebuild"));
    QVERIFY(Ai_real && Mv && Sys_attr && Sched_attr);
    QVERIFY(station.select(1)); // the previous memory, still mapped

    QVERIFY(station.cell().start({"--tick", "20", "--no-noise"}));
    QVERIFY(station.cell().apply(1, 33.0));
    QVERIFY(station.select(0));
    QVERIFY(station.select(1));
    const double published = live_millivolts(1);
    QVERIFY(station.cell().apply(1, 66.0));
    QTRY_VERIFY_WITH_TIMEOUT(live_millivolts(1) != published, 5000); // the live cell, not the old memory
}

void TestSequences::uutEntrySurvivesTheFirstAdjust()
{
    // A channel without a .uut: what the technician typed into the forced
    // sensor form reaches the .uut and the report of its first Adjust.
    Station station;
    QVERIFY(station.open());
    select_with_sensor_form(station, 2, "coolant_temp", "OK");
    QCOMPARE(cfg->channel, int16_t(2));
    station.fillRecordTexts();
    averaging_count = 2;
    QVERIFY(station.captureAllAtRowValues(2));
    station.record("rbAsFound");
    station.window().form()->btnAdjustCalibration->click();
    const QString tables = station.cell().path("/cell/tables/");
    const QByteArray uut = file_bytes(tables + "uut_ref_data/coolant_temp.uut");
    QVERIFY2(uut.contains(QByteArray("@UUT_MODEL_KEYWORD\n") + kUutAnswers + "\n"), uut.constData());
    QVERIFY(uut.contains("@UUT_MTE_KEYWORD\nMTE-1\n"));
    const QStringList reports =
        QDir(tables + "verifications").entryList({"coolant_temp_*.csv"}, QDir::Files, QDir::Name);
    QCOMPARE(reports.size(), 1);
    const QByteArray report = file_bytes(tables + "verifications/" + reports.first());
    QVERIFY2(report.contains(kUutAnswers) && report.contains("MTE-1"), report.constData());
    QCOMPARE(QByteArray(cfg->uut_model), QByteArray(kUutAnswers));
}

void TestSequences::asFoundAgainAfterAdjust()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(2));
    Ui::MainWindow *ui = station.window().form();
    station.fillRecordTexts();
    averaging_count = 2;
    QVERIFY(station.captureAllAtRowValues(2));
    station.record("rbAsFound");
    ui->btnAdjustCalibration->click();
    const QString archive = station.cell().path("/cell/tables/coolant_temp.save");
    const QString adjusted_at = ui->txtAdjustCalibration->text();
    QVERIFY(!adjusted_at.isEmpty());

    QVERIFY(station.captureAllAtRowValues(2));
    for (const char *answer : {"No", "Yes"}) { // No keeps the captures for a second try
        station.record("rbAsFound", "sensor replaced", answer);
        const DialogAnswerer::Seen &question = station.answerer().seen().last();
        QCOMPARE(question.title, QStringLiteral("Warning"));
        QCOMPARE(question.text, QStringLiteral("This channel has already been adjusted.\n\nAre you sure you want "
                                               "to record this as As-Found data?"));
        QCOMPARE(question.buttons, QStringList({"Yes", "No"}));
        if (QLatin1String(answer) == QLatin1String("No")) {
            QCOMPARE(history_modes(archive), QStringList({"AS_FOUND", "ADJUSTED"}));
            QCOMPARE(ui->txtAdjustCalibration->text(), adjusted_at);
        }
    }
    QCOMPARE(history_modes(archive), QStringList({"AS_FOUND", "ADJUSTED", "AS_FOUND"}));
    QVERIFY(ui->txtAdjustCalibration->text().isEmpty());
    QVERIFY(!ui->txtAsFound->text().isEmpty());
}

void TestSequences::verificationWithoutAdjustment()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(1));
    station.fillRecordTexts();
    averaging_count = 2;
    QVERIFY(station.captureAllAtRowValues(1));
    const QString archive = station.cell().path("/cell/tables/oil_temp_out.save");
    station.record("rbVerification", QString(), "No");
    QCOMPARE(station.answerer().seen().last().text,
             QStringLiteral("No adjustment has been made.\n\nAre you sure you want to record this as "
                            "Verification data?"));
    QVERIFY(!QFile::exists(archive));
    QVERIFY(station.window().form()->txtVerificationData->text().isEmpty());
    station.record("rbVerification", QString(), "Yes");
    QCOMPARE(history_modes(archive), QStringList({"VERIFICATION"}));
    QVERIFY(!station.window().form()->txtVerificationData->text().isEmpty());
    QCOMPARE(QDir(station.cell().path("/cell/tables/verifications")).entryList({"oil_temp_out_AL_*.csv"}).size(), 1);
}

void TestSequences::averagingTimeLoweredDuringAnAverage()
{
    // The field stays editable during an average.  Lowered below the
    // samples already taken, the exact comparison never matches again:
    // the average goes on.
    Station station;
    QVERIFY(station.open()); // tick 20 ms: 50 samples a second
    QVERIFY(station.select(1));
    Ui::MainWindow *ui = station.window().form();
    averaging_count = 300;
    station.row(0)->findChild<QPushButton *>("btnCapture")->click();
    Worker *worker = station.worker();
    for (int i = 0; i < 260; ++i)
        worker->dealWithStatValuesAveraging();
    ui->txtAveragingTime->setText("5");
    QMetaObject::invokeMethod(ui->txtAveragingTime, "editingFinished");
    QCOMPARE(averaging_count, 250);
    for (int i = 0; i < 1000; ++i)
        worker->dealWithStatValuesAveraging();
    QVERIFY(worker->isAveraging());
    QCOMPARE(worker->sampleCount(), 1260);
    QCOMPARE(station.row(0)->captureText(), QStringLiteral("Averaging"));
}

void TestSequences::sampleCountWraps()
{
    // ... until the count wraps round, defined, to reach the target again.
    QCOMPARE(next_sample_count(INT_MAX), INT_MIN);
    QCOMPARE(next_sample_count(-1), 0);
    QCOMPARE(next_sample_count(249), 250);
}

void TestSequences::menuEntries_data()
{
    QTest::addColumn<QString>("action");
    QTest::addColumn<int>("channel");
    QTest::addColumn<QString>("title");
    QTest::newRow("table info, no channel") << "actionTable_Info" << -1 << "";
    QTest::newRow("table info") << "actionTable_Info" << 1 << "Sensiva Calibration Configuration";
    QTest::newRow("reference info, no channel") << "actionReference_Info" << -1 << "";
    QTest::newRow("reference info") << "actionReference_Info" << 1 << "Reference Standard Information";
    QTest::newRow("environment, no channel") << "actionEnvironment_Variable_Data" << -1 << "Environment Variables";
    QTest::newRow("environment") << "actionEnvironment_Variable_Data" << 1 << "Environment Variables";
}

void TestSequences::menuEntries()
{
    QFETCH(QString, action);
    QFETCH(int, channel);
    QFETCH(QString, title);
    Station station;
    QVERIFY(station.open());
    if (channel >= 0)
        QVERIFY(station.select(channel));
    station.answerer().answer("Cancel");
    station.window().findChild<QAction *>(action)->trigger();
    if (title.isEmpty()) {
        QVERIFY(station.answerer().seen().isEmpty());
        return;
    }
    QCOMPARE(station.answerer().seen().size(), 1);
    QCOMPARE(station.answerer().seen()[0].title, title);
    QVERIFY(station.answerer().allAnswered());
}

QTEST_MAIN(TestSequences)
#include "tst_sequences.moc"
