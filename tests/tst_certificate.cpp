// The history program's certificate and command line: a calibration made
// through the utility's window, turned into a PDF and read back as text.
#include "faults_fixture.h"
#include "station.h"
#include "certificate.h"
#include "history_session.h"
#include "historywindow.h"
#include "mainwindow.h"
#include "vrel_cfg.h"
#include "ui_historywindow.h"
#include "ui_mainwindow.h"

#include <cmath>

namespace {

// The newest report of a pass ("AF", "AL") of the coolant table, as its JSON gives it.
QJsonObject newest_report(const QString &folder, const char *pass)
{
    const QStringList names =
        QDir(folder).entryList({QStringLiteral("coolant_temp_%1_*.json").arg(pass)}, QDir::Files, QDir::Name);
    return names.isEmpty() ? QJsonObject() : QJsonDocument::fromJson(file_bytes(folder + '/' + names.last())).object();
}

// A value as the certificate prints it: a value that rounds to zero has no sign.
QString fixed(double value, int digits = 4)
{
    const QString text = QString::number(value, 'f', digits);
    return text.toDouble() == 0.0 ? QString::number(0.0, 'f', digits) : text;
}

} // namespace

class TestCertificate : public QObject {
    Q_OBJECT
private slots:
    void certificateOfACalibration()
    {
        // The cell's coolant sensor has drifted out of adjustment: As-Found, Adjust, Verification.
        // The certificate holds both passes with the values the reports hold.
        Station station;
        QVERIFY(station.open());
        QVERIFY(station.select(2));
        station.fillRecordTexts();
        averaging_count = 3;
        QVERIFY(station.captureAllAtRowValues(2));
        station.record("rbAsFound");
        station.window().form()->btnAdjustCalibration->click();
        QVERIFY(station.captureAllAtRowValues(2));
        station.record("rbVerification");
        QVERIFY(station.answerer().allAnswered());

        QString error;
        const std::optional<HistorySession> session =
            open_history(station.cell().path("/cell/tables/coolant_temp.save"), &error);
        QVERIFY2(session, qPrintable(error));
        const std::optional<CertificateInput> input = newest_certificate(*session, QDate(2026, 11, 24), &error);
        QVERIFY2(input && input->calibration.as_found, qPrintable(error));
        const QString pdf = station.cell().path("/certificate.pdf");
        QVERIFY2(write_certificate_pdf(pdf, *input, &error), qPrintable(error));
        // The PDF's text may carry typographic ligatures ("fi" as one glyph).
        const Run pdftotext = run_program("pdftotext", {"-layout", pdf, "-"});
        const QString text = pdftotext.out.normalized(QString::NormalizationForm_KC).simplified();

        const QString reports = station.cell().path("/cell/tables/verifications");
        const QJsonObject found = newest_report(reports, "AF");
        const QJsonObject left = newest_report(reports, "AL");
        const QJsonArray left_points = left["points"].toArray();
        QVERIFY(!found["points"].toArray().isEmpty() && !left_points.isEmpty());
        const QString calibrated =
            QDate::fromString(left_points[0].toObject()["date"].toString(), "MM/dd/yyyy").toString(Qt::ISODate);
        QStringList expected = {
            "Calibration Certificate Certificate No. " + certificate_number(*input),
            "Channel 2 " + left["channel_name"].toString(),
            "Date of calibration " + calibrated + " Date of issue 2026-11-24",
            "Simple acceptance: a point conforms when its error is within the tolerance of 1 %",
            "Statement of conformity: the unit under test conforms to the specified tolerance as left"};
        // Each label with the As-Left report's value ("/": in the reference's or the unit under test's block).
        for (const QString item :
             {"Laboratory site", "Cell cell", "Table table", "Model uut/model", "Serial number uut/serial_number",
              "Manufacturer uut/manufacturer", "M&TE uut/mte", "Cal type uut/cal_type", "Procedure uut/procedure",
              "Manufacturer reference/manufacturer", "Model reference/model", "Serial number reference/serial_number",
              "Equipment number reference/equipment_number", "Calibration due reference/cal_due_date",
              "Technician user", "Lab manager approver"}) {
            const QString key = item.section(' ', -1);
            const QJsonObject from = key.contains('/') ? left[key.section('/', 0, 0)].toObject() : left;
            expected << item.section(' ', 0, -2) + ' ' + from[key.section('/', -1)].toString();
        }
        // The station records no environment: its points carry none.
        QCOMPARE(left_points[0].toObject()["temperature"].toDouble(), -999999.0);
        expected << "Room temperature not recorded Barometer not recorded Humidity not recorded";
        // Every point of both passes; the bands close at 0.25, 1 and 2 % of the sensor's span of 140.
        const char *const bands[] = {"No Adjustment Needed", "Out of Adjustment", "Out of Tolerance",
                                     "Significantly Out of Tolerance"};
        for (const QJsonObject &report : {found, left}) {
            for (const QJsonValue &value : report["points"].toArray()) {
                const QJsonObject p = value.toObject();
                const double error = p["mean"].toDouble() - p["set_point"].toDouble();
                const double pct = std::fabs(error) / 140.0 * 100.0;
                const int band = pct <= 0.25 ? 0 : pct <= 1.0 ? 1 : pct <= 2.0 ? 2 : 3;
                expected << QStringList{QString::number(p["step"].toInt()), fixed(p["set_point"].toDouble()),
                                        fixed(p["mean"].toDouble()), fixed(error), QStringLiteral("±1.4000"),
                                        bands[band], fixed(p["stdev"].toDouble(), 5), QString::number(averaging_count),
                                        fixed(p["stdev"].toDouble() / std::sqrt(3.0), 5)}
                                .join(' ');
            }
        }
        for (const QString &item : expected)
            QVERIFY2(text.contains(item), qPrintable(item + "\nnot in\n" + text));
        // Out of adjustment as found; the reference standard is not past its date.
        QVERIFY(expected.filter(" Out of Adjustment ").size() >= 1);
        QVERIFY(!text.contains("Warning") && !text.contains("Note:"));
    }

    void pointsAndReference_data()
    {
        QTest::addColumn<double>("mean");
        QTest::addColumn<double>("stdev");
        QTest::addColumn<int>("samples");
        QTest::addColumn<QString>("due");
        QTest::addColumn<QString>("said");
        // Span 200: 0.25 % is 0.5, 1 % is 2, 2 % is 4; applied 100 on 2027-03-15.
        const QString later = "12/31/2027";
        const QString ok = "±2.0000 No Adjustment Needed";
        QTest::newRow("exact") << 100.0 << 0.2 << 4 << later << "100.0000 0.0000 " + ok + " 0.20000 4 0.10000";
        QTest::newRow("on the first limit") << 100.5 << 0.0 << 9 << later << "0.5000 " + ok + " 0.00000 9 0.00000";
        QTest::newRow("past it") << 100.5001 << 0.3 << 9 << later
                                 << "0.5001 ±2.0000 Out of Adjustment 0.30000 9 0.10000";
        QTest::newRow("low") << 97.0 << 0.3 << 1 << later << "-3.0000 ±2.0000 Out of Tolerance 0.30000 1 -";
        QTest::newRow("far out") << 104.01 << 0.3 << 0 << later
                                 << "4.0100 ±2.0000 Significantly Out of Tolerance 0.30000 - -";
        QTest::newRow("no reading") << double(NAN) << 0.3 << 2 << later << "100.0000 - - " + ok + " 0.30000 2 0.2121";
        const QString was_due = "Warning: the reference standard's calibration was due on %1, before this "
                                "calibration on 2027-03-15.";
        QTest::newRow("due that day") << 100.0 << 0.0 << 4 << "2027-03-15" << "Calibration due 2027-03-15";
        QTest::newRow("passed the day before") << 100.0 << 0.0 << 4 << "03/14/2027" << was_due.arg("2027-03-14");
        QTest::newRow("passed, day first") << 100.0 << 0.0 << 4 << "01.02.2027" << was_due.arg("2027-02-01");
        QTest::newRow("two-digit year") << 100.0 << 0.0 << 4 << "12/31/26" << was_due.arg("2026-12-31");
        QTest::newRow("not a date") << 100.0 << 0.0 << 4 << "next spring"
                                    << "Note: the reference standard's due date \"next spring\" is not a date";
    }
    void pointsAndReference()
    {
        QFETCH(QString, due);
        QFETCH(QString, said);
        CertificateInput input;
        input.channel.sensor_lower = -50.0;
        input.channel.sensor_upper = 150.0;
        input.calibration.as_left.status = QStringLiteral("AS_LEFT");
        input.calibration.as_left.ref_due = due;
        ReportPoint &p = input.calibration.as_left.points.emplace_back();
        p.set_point = 100.0;
        p.date = QStringLiteral("03/15/2027");
        QFETCH(double, mean);
        p.mean = mean;
        QFETCH(double, stdev);
        p.stdev = stdev;
        QFETCH(int, samples);
        p.samples = samples;
        // The page's text, its table cells apart; a warning or a note only for a due date past or not a date.
        const QString page =
            certificate_html(input).replace("&plusmn;", "±").replace(QRegularExpression("<[^>]*>"), " ").simplified();
        QVERIFY2(page.contains(said), qPrintable(page));
        const bool warns = said.startsWith("Warning") || said.startsWith("Note");
        QCOMPARE(page.contains("Warning:") || page.contains("Note:"), warns);
    }

    void commandLine_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<int>("status");
        QTest::addColumn<QString>("message");
        QTest::newRow("no channel") << QStringList{"--pdf", "x.pdf"} << 2 << "no table or archive named";
        QTest::newRow("option without its file") << QStringList{"coolant_temp", "--csv"} << 2 << "--csv needs a file";
        QTest::newRow("unknown option") << QStringList{"coolant_temp", "--xml", "x"} << 2 << "unknown option --xml";
        QTest::newRow("missing archive") << QStringList{"no_such_table", "--json", "x.json"} << 1
                                         << "no archive .*/cell/tables/no_such_table\\.save";
        QTest::newRow("a folder") << QStringList{"/", "--json", "x.json"} << 1 << "^vrel_history: / is not a file";
    }
    void commandLine()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, message);
        QTemporaryDir root;
        const Run run = run_program(SimCell::program("vrel_history"), arguments, root.path(), root.path());
        QTEST(run.exit_code, "status");
        const QRegularExpression said(message, QRegularExpression::MultilineOption);
        QVERIFY2(run.err.contains(said), qPrintable(run.err));
        QVERIFY(QDir(root.path()).entryList(QDir::Files).isEmpty()); // nothing half-written
    }

    void windowOfADamagedArchive()
    {
        // Two calibrations and a record cut short between them: the window lists the whole ones newest
        // first, names the damaged one by its line, and has no interval to suggest from one As-Found.
        QTemporaryDir dir;
        const QString path = dir.filePath("eng_t1.save");
        const QByteArray adjusted = file_bytes(QStringLiteral(VREL_SOURCE_DIR "/tests/data/golden/adjusted.save"));
        QByteArray as_found = adjusted;
        as_found.replace("'ADJUSTED'", "'AS_FOUND'").replace("1700000000 ", "1700086400 ");
        QVERIFY(write_bytes(path, adjusted + adjusted.left(adjusted.size() - 40) + "\n\n" + as_found));

        QString error;
        std::optional<HistorySession> session = open_history(path, &error);
        QVERIFY2(session, qPrintable(error));
        HistoryWindow window(std::move(*session));
        Ui::HistoryWindow *ui = window.form();
        // The As-Found a day after the adjustment: its points as they were, so no drift at any set point.
        const QAbstractItemModel *rows = ui->tblRecords->model();
        const QAbstractItemModel *drifts = ui->tblDrifts->model();
        const QStringList shown = {QString::number(rows->rowCount()), rows->index(0, 1).data().toString(),
                                   rows->index(1, 1).data().toString(), rows->index(0, 2).data().toString(),
                                   rows->index(0, 4).data().toString(), QString::number(drifts->rowCount()),
                                   drifts->index(0, 2).data().toString(),
                                   QString::number(drifts->index(0, 3).data().toDouble()),
                                   drifts->headerData(3, Qt::Horizontal).toString()};
        QCOMPARE(shown.join('|'), QStringLiteral("2|As-Found|Adjusted|J. Doe|4|1|1.0|0|Largest drift [degC]"));
        const QString damage = "1 damaged record(s) skipped: line " + QString::number(adjusted.count('\n') + 1);
        QVERIFY2(ui->lblDamage->text().startsWith(damage) && !ui->lblDamage->isHidden(), qPrintable(damage));
        QVERIFY(ui->lblInterval->text().startsWith("Interval: not enough As-Found drift"));
    }
};

QTEST_MAIN(TestCertificate)
#include "tst_certificate.moc"
