// The history program's certificate and command line: a calibration made
// through the utility's window, turned into a PDF and read back as text.
#include "station.h"

#include "certificate.h"
#include "history_session.h"
#include "historywindow.h"
#include "mainwindow.h"
#include "vrel_cfg.h"

#include "ui_historywindow.h"
#include "ui_mainwindow.h"

#include <QtTest>

#include <cmath>

namespace {

// The values of one row of a CSV report's data block, after its name and unit.
QStringList report_row(const QString &path, const QString &name)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    for (const QByteArray &line : file.readAll().split('\n')) {
        const QStringList cells = QString::fromLatin1(line).split(QLatin1Char(','));
        if (cells.value(0) == name)
            return cells.mid(2);
    }
    return {};
}

QString pdf_text(const QString &pdf)
{
    QProcess process;
    process.start(QStringLiteral("pdftotext"), {QStringLiteral("-layout"), pdf, QStringLiteral("-")});
    if (!process.waitForFinished(30000) || process.exitCode() != 0)
        return {};
    // The PDF's text may carry typographic ligatures ("fi" as one glyph).
    return QString::fromUtf8(process.readAllStandardOutput()).normalized(QString::NormalizationForm_KC);
}

QString newest(const QString &folder, const QString &pattern)
{
    const QStringList names = QDir(folder).entryList({pattern}, QDir::Files, QDir::Name);
    return names.isEmpty() ? QString() : QDir(folder).filePath(names.last());
}

ReportPoint point(double set_point, double mean, double stdev, int samples)
{
    ReportPoint p;
    p.set_point = set_point;
    p.mean = mean;
    p.stdev = stdev;
    p.samples = samples;
    return p;
}

CertificateInput certificate_with_reference_due(const QString &due)
{
    CertificateInput input;
    input.calibration.as_left.status = QStringLiteral("AS_LEFT");
    input.calibration.as_left.table = QStringLiteral("coolant_temp");
    input.calibration.as_left.ref_due = due;
    ReportPoint p = point(50.0, 50.1, 0.01, 4);
    p.date = QStringLiteral("03/15/2027");
    input.calibration.as_left.points.push_back(p);
    input.channel.sensor_lower = 0.0;
    input.channel.sensor_upper = 150.0;
    input.issued = QDate(2027, 3, 16);
    return input;
}

} // namespace

class TestCertificate : public QObject {
    Q_OBJECT
private slots:
    void certificateOfACalibration();
    void pointJudgement_data();
    void pointJudgement();
    void referenceDueDate_data();
    void referenceDueDate();
    void commandLine_data();
    void commandLine();
    void windowOfADamagedArchive();
};

void TestCertificate::certificateOfACalibration()
{
    // The cell's coolant sensor has drifted out of adjustment: As-Found,
    // Adjust, Verification.  The certificate holds both passes with the
    // values the reports hold.
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(2));
    Ui::MainWindow *ui = station.window().form();
    station.fillRecordTexts();
    averaging_count = 3;
    QVERIFY(station.captureAllAtRowValues(2));
    station.record("rbAsFound");
    ui->btnAdjustCalibration->click();
    QVERIFY(station.captureAllAtRowValues(2));
    station.record("rbVerification");
    QVERIFY(station.answerer().allAnswered());

    QString error;
    const std::optional<HistorySession> session =
        open_history(station.cell().path("/cell/tables/coolant_temp.save"), &error);
    QVERIFY2(session, qPrintable(error));
    const std::optional<CertificateInput> input = newest_certificate(*session, QDate(2026, 11, 24), &error);
    QVERIFY2(input, qPrintable(error));
    QVERIFY(input->calibration.as_found);
    QTemporaryDir dir;
    const QString pdf = dir.filePath("certificate.pdf");
    QVERIFY2(write_certificate_pdf(pdf, *input, &error), qPrintable(error));
    const QString text = pdf_text(pdf).simplified();
    QVERIFY2(!text.isEmpty(), "pdftotext gave nothing");

    const QString reports = station.cell().path("/cell/tables/verifications");
    const QString as_found = newest(reports, "coolant_temp_AF_*.csv");
    const QString as_left = newest(reports, "coolant_temp_AL_*.csv");
    QVERIFY(!as_found.isEmpty() && !as_left.isEmpty());
    for (const QString &expected :
         {QStringLiteral("Calibration Certificate"), certificate_number(*input), QStringLiteral("R. Tester"),
          QStringLiteral("M. Lab"), QStringLiteral("Harlow Instruments"), QStringLiteral("HCX-20"),
          QStringLiteral("SN-REF-1"), QStringLiteral("EQ-77"), QStringLiteral("12/31/2027"),
QStringLiteral("2026-11-24"), QStringLiteral("As-Found results"),
          QStringLiteral("As-Left results"), QStringLiteral("Statement of conformity"),
          QStringLiteral("Room temperature"), QStringLiteral("Barometer"), QStringLiteral("Humidity"),
          QStringLiteral("Simple acceptance")})
        QVERIFY2(text.contains(expected), qPrintable(expected));
    // The unit under test and the site as the As-Left report gives them
    // (header rows carry their value after "-", data rows repeat it).
    for (const char *row :
         {"UUT_Model", "UUT_SN", "UUT_MTE", "UUT_Cal_Type", "UUT_Cal_Procedure", "Site_Loc", "Cell_Num"}) {
        const QString value = report_row(as_left, QString::fromLatin1(row)).value(0);
        QVERIFY2(!value.isEmpty() && text.contains(value), row);
    }
    // Every point of both passes: applied value, reading and spread.
    for (const QString &report : {as_found, as_left}) {
        const QStringList set_points = report_row(report, "Ref_SetPoint");
        QVERIFY(!set_points.isEmpty());
        for (const QString &value : set_points)
            QVERIFY2(text.contains(QString::number(value.toDouble(), 'f', 4)), qPrintable(value));
    }
    const auto &left_points = input->calibration.as_left.points;
    for (const ReportPoint &p : left_points) {
        QCOMPARE(p.samples, averaging_count);
        QVERIFY2(text.contains(QString::number(p.mean, 'f', 4)), qPrintable(QString::number(p.mean)));
    }
    // Out of adjustment as found, within the first band as left.
    QVERIFY(text.contains("Out of Adjustment"));
    QVERIFY(text.contains("conforms to the specified tolerance as left"));
}

void TestCertificate::pointJudgement_data()
{
    QTest::addColumn<double>("mean");
    QTest::addColumn<double>("stdev");
    QTest::addColumn<int>("samples");
    QTest::addColumn<int>("band");
    QTest::addColumn<double>("type_a");
    // Span 200: 0.25 % is 0.5, 1 % is 2, 2 % is 4; applied 100.
    QTest::newRow("exact") << 100.0 << 0.2 << 4 << 0 << 0.1;
    QTest::newRow("on the first limit") << 100.5 << 0.0 << 9 << 0 << 0.0;
    QTest::newRow("just past it") << 100.5001 << 0.3 << 9 << 1 << 0.1;
    QTest::newRow("low, out of tolerance") << 97.0 << 0.3 << 1 << 2 << -1.0;
    QTest::newRow("significantly out") << 104.01 << 0.3 << 0 << 3 << -1.0;
    QTest::newRow("no reading") << double(NAN) << 0.3 << 2 << 0 << 0.3 / std::sqrt(2.0);
}

void TestCertificate::pointJudgement()
{
    QFETCH(double, mean);
    QFETCH(double, stdev);
    QFETCH(int, samples);
    QFETCH(int, band);
    QFETCH(double, type_a);
    const PointResult result = point_result(point(100.0, mean, stdev, samples), 200.0);
    QCOMPARE(result.band, band);
    QCOMPARE(result.tolerance, 2.0);
    if (std::isfinite(mean))
        QCOMPARE(result.error, mean - 100.0);
    QVERIFY(std::fabs(result.type_a - type_a) < 1e-12);
}

void TestCertificate::referenceDueDate_data()
{
    QTest::addColumn<QString>("due");
    QTest::addColumn<bool>("warned");
    QTest::addColumn<bool>("noted");
    // The calibration is on 2027-03-15.
    QTest::newRow("due later") << "12/31/2027" << false << false;
    QTest::newRow("due that day") << "2027-03-15" << false << false;
    QTest::newRow("passed the day before") << "03/14/2027" << true << false;
    QTest::newRow("passed, day first") << "01.02.2027" << true << false;
    QTest::newRow("two-digit year") << "12/31/26" << true << false;
    QTest::newRow("not a date") << "next spring" << false << true;
}

void TestCertificate::referenceDueDate()
{
    QFETCH(QString, due);
    QFETCH(bool, warned);
    QFETCH(bool, noted);
    const QString html = certificate_html(certificate_with_reference_due(due));
    QCOMPARE(html.contains("Warning: the reference standard's calibration was due"), warned);
    QCOMPARE(html.contains("is not a date"), noted);
}

void TestCertificate::commandLine_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("message");
    QTest::newRow("no channel") << QStringList{"--pdf", "x.pdf"} << 2 << "no table or archive named";
    QTest::newRow("option without its file") << QStringList{"coolant_temp", "--csv"} << 2 << "--csv needs a file name";
    QTest::newRow("unknown option") << QStringList{"coolant_temp", "--xml", "x"} << 2 << "unknown option --xml";
    QTest::newRow("missing archive") << QStringList{"no_such_table", "--json", "x.json"} << 1 << "no_such_table.save";
}

void TestCertificate::commandLine()
{
    QFETCH(QStringList, arguments);
    QFETCH(int, status);
    QFETCH(QString, message);
    QTemporaryDir root;
    QProcess process;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ORVANE_ROOT", root.path());
    process.setProcessEnvironment(environment);
    process.setWorkingDirectory(root.path());
    process.start(QStringLiteral(VREL_BIN_DIR "/vrel_history"), arguments);
    QVERIFY(process.waitForFinished(60000));
    QCOMPARE(process.exitCode(), status);
    const QString said = QString::fromLocal8Bit(process.readAllStandardError());
    QVERIFY2(said.contains(message), qPrintable(said));
    QVERIFY(QDir(root.path()).entryList(QDir::Files).isEmpty()); // nothing half-written
}

void TestCertificate::windowOfADamagedArchive()
{
    // Two calibrations and a record cut short between them: the window
    // lists the whole ones newest first, names the damaged one by its line,
    // and has no interval to suggest from a single As-Found.
    QTemporaryDir dir;
    const QString path = dir.filePath("eng_t1.save");
    QFile golden_file(QStringLiteral(VREL_SOURCE_DIR "/tests/data/golden/adjusted.save"));
    QVERIFY(golden_file.open(QIODevice::ReadOnly));
    const QByteArray adjusted = golden_file.readAll();
    QByteArray as_found = adjusted;
    as_found.replace("'ADJUSTED'", "'AS_FOUND'").replace("1700000000 ", "1700086400 ");
    QFile archive(path);
    QVERIFY(archive.open(QIODevice::WriteOnly));
    archive.write(adjusted + adjusted.left(adjusted.size() - 40) + "\n\n" + as_found);
    archive.close();

    QString error;
    std::optional<HistorySession> session = open_history(path, &error);
    QVERIFY2(session, qPrintable(error));
    HistoryWindow window(std::move(*session));
    Ui::HistoryWindow *ui = window.form();
    QAbstractItemModel *rows = ui->tblRecords->model();
    QCOMPARE(rows->rowCount(), 2);
    QCOMPARE(rows->index(0, 1).data().toString(), QStringLiteral("As-Found"));
    QCOMPARE(rows->index(1, 1).data().toString(), QStringLiteral("Adjusted"));
    QCOMPARE(rows->index(0, 2).data().toString(), QStringLiteral("J. Doe"));
    QCOMPARE(rows->index(0, 4).data().toInt(), 4);
    const int second_record = adjusted.count('\n') + 1;
    QVERIFY2(ui->lblDamage->text().startsWith("1 damaged record(s) skipped: line " + QString::number(second_record)),
             qPrintable(ui->lblDamage->text()));
    QVERIFY(!ui->lblDamage->isHidden());
    QVERIFY(ui->lblInterval->text().startsWith("Interval: not enough As-Found drift"));
    // The As-Found a day after the adjustment: its points as they were, so
    // no drift at any set point.
    QAbstractItemModel *drifts = ui->tblDrifts->model();
    QCOMPARE(drifts->rowCount(), 1);
    QCOMPARE(drifts->index(0, 2).data().toString(), QStringLiteral("1.0"));
    QCOMPARE(drifts->index(0, 3).data().toDouble(), 0.0);
    QCOMPARE(drifts->headerData(3, Qt::Horizontal).toString(), QStringLiteral("Largest drift [degC]"));
}

QTEST_MAIN(TestCertificate)
#include "tst_certificate.moc"
