// The autopilot: a whole calibration of the drifted demo channel run as its own process against a cell
// of the test's own, judged by the files it leaves and by the certificate the history program makes.
#include "faults_fixture.h"
#include "archivecheck.h"
#include "simcell.h"

namespace {

// The values of one row of a CSV report's data block, after its name and unit.
QStringList report_row(const QString &path, const QString &name)
{
    for (const QByteArray &line : file_bytes(path).split('\n'))
        if (line.startsWith(name.toLatin1() + ','))
            return QString::fromLatin1(line).split(QLatin1Char(',')).mid(2);
    return {};
}

} // namespace

class TestAutopilot : public QObject {
    Q_OBJECT
private slots:
    void fullCalibration();
};

void TestAutopilot::fullCalibration()
{
    SimCell cell;
    QVERIFY2(cell.start({"--tick", "20", "--no-noise"}), qPrintable(cell.lastOutput()));
    const QString tables = cell.path("/cell/tables/");
    const QByteArray table_before = file_bytes(tables + "coolant_temp.tbl");
    QVERIFY(!table_before.isEmpty());
    const Run run = run_program(SimCell::program("vrel_autopilot"), {"--fast", "--channel", "2"});
    QVERIFY2(run.exit_code == 0, qPrintable(run.out + run.err));
    // The history tells the whole story, in order.
    QCOMPARE(history_modes(tables + "coolant_temp.save"), QStringList({"AS_FOUND", "ADJUSTED", "VERIFICATION"}));
    // The outgoing table went to .old word for word, and a new one replaced it.
    QCOMPARE(file_bytes(tables + "coolant_temp.old"), table_before);
    const QByteArray table_after = file_bytes(tables + "coolant_temp.tbl");
    QVERIFY(table_after != table_before);
    QVERIFY(table_after.contains("#   cal last adjusted on: ") && table_after.contains("QP-TC-104 rev 3"));
    // The unit under test and the reference standard, as of the Verification.
    const QByteArray uut = file_bytes(tables + "uut_ref_data/coolant_temp.uut");
    const QByteArray ref = file_bytes(tables + "uut_ref_data/coolant_temp.ref");
    const QByteArray as_left = "@RECORD_DATA_ACTION_KEYWORD\nAS_LEFT\n";
    QVERIFY(uut.startsWith("@UUT_FILE_UPDATED_KEYWORD\n") && uut.endsWith(as_left));
    QVERIFY(ref.contains("@REF_SER_NUM_KEYWORD\n4471023\n\n") && ref.endsWith(as_left));
    QVERIFY(ref.contains("@REF_CAL_DUE_DATE_KEYWORD\n12/31/2027\n\n"));
    // One report for the adjustment, one for the verification.
    const QDir reports(tables + "verifications");
    const QStringList csv = reports.entryList({"coolant_temp_*.csv"}, QDir::Files, QDir::Name);
    QCOMPARE(csv.size(), 2);
    QVERIFY(csv[0].startsWith("coolant_temp_AF_") && csv[1].startsWith("coolant_temp_AL_"));
    // Where the files are is printed, and the judgements.
    for (const QString &said : {tables + "coolant_temp.save", QStringLiteral("Out of Adjustment"),
                                QStringLiteral("Channel is within expected range")})
        QVERIFY2(run.out.contains(said), qPrintable(said));

    // The certificate that the history program's command line makes of it: its judgements, the people, the
    // site, the reference and the unit under test as the As-Left report gives them.
    const QString pdf = cell.path("/certificate.pdf");
    const Run history = run_program(SimCell::program("vrel_history"), {"coolant_temp", "--pdf", pdf}, cell.path(""));
    QVERIFY2(history.exit_code == 0, qPrintable(history.err));
    const QString text = // ligatures ("fi" as one glyph) undone
        run_program("pdftotext", {"-layout", pdf, "-"}).out.normalized(QString::NormalizationForm_KC).simplified();
    QStringList expected = {"Certificate No. VC-COOLANT_TEMP-", "As-Found results", "As-Left results",
                            "Out of Adjustment", "conforms to the specified tolerance as left"};
    for (const char *row : {"UserName", "Approver", "Site_Loc", "Cell_Num", "Ref_Manufacturer", "Ref_Model",
                            "Ref_SerNum", "Ref_Equipment_Number", "Ref_Cal_Due_Date", "UUT_Model", "UUT_SN",
                            "UUT_MTE", "UUT_Cal_Type", "UUT_Cal_Procedure"})
        expected << report_row(reports.filePath(csv[1]), row).value(0);
    for (const QString &item : expected)
        QVERIFY2(!item.isEmpty() && text.contains(item), qPrintable(item));
}

QTEST_MAIN(TestAutopilot)
#include "tst_autopilot.moc"
