// The autopilot: its way of answering modal windows, its command line, and
// a whole calibration of the drifted demo channel run as its own process
// against a cell of the test's own, judged by the files it leaves.
#include "calibrationfiles.h"
#include "archivecheck.h"
#include "autopilot_answerer.h"
#include "autopilot_run.h"
#include "simcell.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QImage>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QVBoxLayout>
#include <QtTest>

namespace
{

// A form with a field and an OK button.  Its OK opens a notice first when
// `notice` is set, and refuses to close while the field is empty when
// `refuse_empty` is set.
class Form : public QDialog
{
  public:
    Form(const QString &title, const QString &notice, bool refuse_empty)
        : notice_(notice), refuse_(refuse_empty)
    {
        setWindowTitle(title);
        field = new QLineEdit(this);
        field->setObjectName(QStringLiteral("txtEntry"));
        auto *ok = new QPushButton(QStringLiteral("&OK"), this);
        auto *layout = new QVBoxLayout(this);
        layout->addWidget(field);
        layout->addWidget(ok);
        connect(ok, &QPushButton::clicked, this, &Form::onOk);
    }
    QLineEdit *field;
    QString text_at_ok;
    int notice_result = -1;

  private:
    void onOk()
    {
        text_at_ok = field->text();
        if (!notice_.isEmpty()) {
            QMessageBox box(QMessageBox::Information, notice_,
                            QStringLiteral("Changes may matter."), QMessageBox::Ok, this);
            notice_result = box.exec();
        }
        if (refuse_ && field->text().isEmpty())
            return;
        accept();
    }
    QString notice_;
    bool refuse_;
};

// Should the answerer fail to answer, this closes whatever is left up
// after a while, so that the test fails on its checks instead of hanging.
struct HangGuard {
    HangGuard()
    {
        timer.setInterval(10000);
        QObject::connect(&timer, &QTimer::timeout, [] {
            while (QWidget *modal = QApplication::activeModalWidget()) {
                if (auto *dialog = qobject_cast<QDialog *>(modal))
                    dialog->reject();
                else
                    modal->close();
                if (QApplication::activeModalWidget() == modal)
                    break;
            }
        });
        timer.start();
    }
    QTimer timer;
};

struct Run {
    int exit_code = -1;
    QString out;
    QString err;
};

Run run_autopilot(const QStringList &arguments, const QString &root = QString())
{
    QProcess autopilot;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    if (!root.isEmpty())
        env.insert(QStringLiteral("ORVANE_ROOT"), root);
    autopilot.setProcessEnvironment(env);
    autopilot.start(SimCell::program(QStringLiteral("vrel_autopilot")), arguments);
    Run run;
    if (!autopilot.waitForFinished(240000)) {
        autopilot.kill();
        autopilot.waitForFinished(5000);
    } else if (autopilot.exitStatus() == QProcess::NormalExit) {
        run.exit_code = autopilot.exitCode();
    }
    run.out = QString::fromLocal8Bit(autopilot.readAllStandardOutput());
    run.err = QString::fromLocal8Bit(autopilot.readAllStandardError());
    return run;
}

} // namespace

class TestAutopilot : public QObject
{
    Q_OBJECT
  private slots:
    void plainButtonText_data();
    void plainButtonText();
    void answersNestedBoxes();
    void failures_data();
    void failures();
    void options_data();
    void options();
    void fullCalibration();
    void refusesToStart_data();
    void refusesToStart();
};

void TestAutopilot::plainButtonText_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("plain");
    QTest::newRow("mnemonic") << "&OK"
                              << "OK";
    QTest::newRow("inside") << "Re&cord"
                            << "Record";
    QTest::newRow("literal ampersand") << "Adjust &&\nRebuild Calibration"
                                       << "Adjust &\nRebuild Calibration";
    QTest::newRow("none") << "Yes"
                          << "Yes";
}

void TestAutopilot::plainButtonText()
{
    QFETCH(QString, text);
    QTEST(plain_button_text(text), "plain");
}

void TestAutopilot::answersNestedBoxes()
{
    HangGuard guard;
    ModalAnswerer answerer;
    QStringList witnessed;
    answerer.setWitness([&witnessed](QWidget *modal, const QString &name) {
        witnessed << name + ":" + modal->windowTitle();
    });
    answerer.on("Sensor", "OK", "sensor",
                [](QWidget *form) { form->findChild<QLineEdit *>("txtEntry")->setText("PT100"); });
    answerer.on("Clearing", "OK", "clearing");
    Form form("Sensor", "Clearing", true);
    QCOMPARE(form.exec(), int(QDialog::Accepted));
    QCOMPARE(form.text_at_ok, QStringLiteral("PT100")); // filled before the press
    QCOMPARE(form.notice_result, int(QMessageBox::Ok)); // the nested box got its own answer
    QCOMPARE(answerer.answered("Sensor"), 1);
    QCOMPARE(answerer.answered("Clearing"), 1);
    QVERIFY2(!answerer.failed(), qPrintable(answerer.failures().join("; ")));
    QCOMPARE(witnessed, QStringList({"sensor:Sensor", "clearing:Clearing"}));
}

void TestAutopilot::failures_data()
{
    QTest::addColumn<QString>("rule_title");
    QTest::addColumn<QString>("rule_button");
    QTest::addColumn<bool>("refuse_empty");
    QTest::addColumn<QString>("failure");
    QTest::newRow("no rule for the window")
        << "Other"
        << "OK" << false << "an unexpected window came up, \"Surprise\"";
    QTest::newRow("no such button") << "Surprise"
                                    << "Apply" << false << "has no button \"Apply\"";
    QTest::newRow("the answer is refused") << "Surprise"
                                           << "OK" << true << "stayed open after its answer";
}

void TestAutopilot::failures()
{
    QFETCH(QString, rule_title);
    QFETCH(QString, rule_button);
    QFETCH(bool, refuse_empty);
    QFETCH(QString, failure);
    HangGuard guard;
    ModalAnswerer answerer;
    QStringList witnessed;
    answerer.setWitness([&witnessed](QWidget *, const QString &name) { witnessed << name; });
    answerer.on(rule_title, rule_button, "rule");
    Form form("Surprise", QString(), refuse_empty);
    // Whatever went wrong, the window is closed so that the run goes on to
    // report it instead of hanging.
    QCOMPARE(form.exec(), int(QDialog::Rejected));
    QVERIFY(answerer.failed());
    QCOMPARE(answerer.failures().size(), 1);
    QVERIFY2(answerer.failures().first().contains(failure),
             qPrintable(answerer.failures().first()));
    QVERIFY(witnessed.contains("unexpected") == (rule_title != "Surprise" || refuse_empty));
}

void TestAutopilot::options_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QString>("shots");
    QTest::addColumn<int>("channel");
    QTest::addColumn<int>("width");
    QTest::addColumn<bool>("fast");
    QTest::addColumn<QString>("error");
    QTest::newRow("none") << QStringList() << true << "" << 2 << 0 << false << "";
    QTest::newRow("all") << QStringList({"--shots", "/tmp/s", "--channel", "0", "--shot-width",
                                         "900", "--fast"})
                         << true << "/tmp/s" << 0 << 900 << true << "";
    QTest::newRow("shots without folder")
        << QStringList({"--shots"}) << false << "" << 2 << 0 << false << "--shots needs a value";
    QTest::newRow("empty shots folder") << QStringList({"--shots", ""}) << false << "" << 2 << 0
                                        << false << "--shots needs a folder";
    QTest::newRow("channel not a number")
        << QStringList({"--channel", "two"}) << false << "" << 2 << 0 << false
        << "--channel must be a channel number 0 to 511, not 'two'";
    QTest::newRow("channel too high")
        << QStringList({"--channel", "512"}) << false << "" << 2 << 0 << false << "not '512'";
    QTest::newRow("tiny width") << QStringList({"--shot-width", "40"}) << false << "" << 2 << 0
                                << false << "--shot-width must be 0 or 100 and more pixels";
    QTest::newRow("unknown") << QStringList({"--slow"}) << false << "" << 2 << 0 << false
                             << "unknown argument '--slow'";
}

void TestAutopilot::options()
{
    QFETCH(QStringList, arguments);
    QFETCH(bool, accepted);
    QFETCH(QString, error);
    AutopilotOptions options;
    QString message;
    QCOMPARE(parse_autopilot_options(arguments, options, message), accepted);
    if (!accepted) {
        QVERIFY2(message.startsWith(error) || message.contains(error), qPrintable(message));
        return;
    }
    QTEST(options.shots, "shots");
    QTEST(options.channel, "channel");
    QTEST(options.shot_width, "width");
    QTEST(options.fast, "fast");
}

void TestAutopilot::fullCalibration()
{
    SimCell cell;
    QVERIFY2(cell.start({"--tick", "20", "--no-noise"}), qPrintable(cell.lastOutput()));
    const QString tables = cell.path("/cell/tables/");
    const QByteArray table_before = file_bytes(tables + "coolant_temp.tbl");
    QVERIFY(!table_before.isEmpty());
    const QString shots = cell.path("/shots");

    const Run run = run_autopilot({"--fast", "--shots", shots});
    QVERIFY2(run.exit_code == 0, qPrintable(run.out + run.err));

    // The history tells the whole story, in order.
    QCOMPARE(history_modes(tables + "coolant_temp.save"),
             QStringList({"AS_FOUND", "ADJUSTED", "VERIFICATION"}));
    // The outgoing table went to .old word for word, and a new one replaced it.
    QCOMPARE(file_bytes(tables + "coolant_temp.old"), table_before);
    const QByteArray table_after = file_bytes(tables + "coolant_temp.tbl");
    QVERIFY(table_after != table_before);
    QVERIFY(table_after.contains("#   cal last adjusted on: "));
    QVERIFY(table_after.contains("QP-TC-104 rev 3"));
    // The unit under test and the reference standard, as of the Verification.
    const QByteArray uut = file_bytes(tables + "uut_ref_data/coolant_temp.uut");
    QVERIFY(uut.startsWith("@UUT_FILE_UPDATED_KEYWORD\n"));
    QVERIFY(uut.endsWith("@RECORD_DATA_ACTION_KEYWORD\nAS_LEFT\n"));
    const QByteArray ref = file_bytes(tables + "uut_ref_data/coolant_temp.ref");
    QVERIFY(ref.contains("@REF_SER_NUM_KEYWORD\n4471023\n\n"));
    QVERIFY(ref.contains("@REF_CAL_DUE_DATE_KEYWORD\n12/31/2027\n\n"));
    QVERIFY(ref.endsWith("@RECORD_DATA_ACTION_KEYWORD\nAS_LEFT\n"));
    // One report for the adjustment, one for the verification.
    const QStringList reports =
        QDir(tables + "verifications").entryList({"coolant_temp_*.csv"}, QDir::Files, QDir::Name);
    QCOMPARE(reports.size(), 2);
    QCOMPARE(reports.filter("_AF_").size(), 1);
    QCOMPARE(reports.filter("_AL_").size(), 1);
    // Where the files are is printed.
    QVERIFY(run.out.contains(tables + "coolant_temp.save"));
    QVERIFY(run.out.contains("Out of Adjustment"));
    QVERIFY(run.out.contains("Channel is within expected range"));

    // A picture of every step: the forms of a fresh channel, every point of
    // both passes, the record dialogs and the results.
    const QStringList pictures = QDir(shots).entryList({"*.png"}, QDir::Files, QDir::Name);
    for (const char *step :
         {"environment", "update-data", "sensor-form", "clearing-data", "reference-form",
          "channel-selected", "averaging", "record-as-found", "as-found-recorded", "adjusted",
          "record-verification", "verification-recorded"})
        QVERIFY2(pictures.filter(QRegularExpression(QStringLiteral("^\\d\\d-%1\\.png$").arg(step)))
                         .size() == 1,
                 step);
    QCOMPARE(pictures.filter("-point-").size(), 22);
    for (const QString &picture : pictures)
        QVERIFY2(!QImage(shots + "/" + picture).isNull(), qPrintable(picture));

    // The laboratory's certificate of this calibration, read back as text.
    QProcess history;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert("ORVANE_ROOT", cell.path(""));
    history.setProcessEnvironment(environment);
    const QString pdf = cell.path("/certificate.pdf");
    history.start(SimCell::program(QStringLiteral("vrel_history")), {"coolant_temp", "--pdf", pdf});
    QVERIFY(history.waitForFinished(60000));
    QVERIFY2(history.exitCode() == 0, history.readAllStandardError().constData());
    QProcess pdftotext;
    pdftotext.start("pdftotext", {"-layout", pdf, "-"});
    QVERIFY(pdftotext.waitForFinished(30000));
    const QString text = QString::fromUtf8(pdftotext.readAllStandardOutput()).normalized(QString::NormalizationForm_KC);
    for (const char *expected : {"Certificate No. VC-COOLANT_TEMP-", "QP-TC-104 rev 3", "4471023", "12/31/2027",
                                 "As-Found results", "As-Left results", "Out of Adjustment",
                                 "the unit under test conforms to the specified tolerance as left"})
        QVERIFY2(text.simplified().contains(QLatin1String(expected)), expected);
}

void TestAutopilot::refusesToStart_data()
{
    QTest::addColumn<QStringList>("cell_commands");
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exit_code");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("deeper_root");
    QTest::newRow("no cell") << QStringList() << QStringList({"--fast"}) << 1
                             << "no simulated cell is running" << QString();
    QTest::newRow("frozen cell") << QStringList({"start", "freeze"}) << QStringList({"--fast"}) << 1
                                 << "the simulated cell is frozen" << QString();
    QTest::newRow("task refused") << QStringList({"start", "refuse on"}) << QStringList({"--fast"})
                                  << 1 << "the host refused the utility's task" << QString();
    QTest::newRow("channel beyond the cell")
        << QStringList({"start"}) << QStringList({"--channel", "500"}) << 1
        << "the cell has channels 0 to" << QString();
    QTest::newRow("inactive channel") << QStringList({"start"}) << QStringList({"--channel", "3"})
                                      << 1 << "channel 3 is not in the channel list" << QString();
    QTest::newRow("unknown argument") << QStringList() << QStringList({"--bogus"}) << 2
                                      << "unknown argument '--bogus'" << QString();
    // The channel's paths would not fit the record's 100 bytes.
    QTest::newRow("root too deep")
        << QStringList({"start"}) << QStringList({"--fast"}) << 1
        << "ORVANE_ROOT is too deep for the utility's 100-byte file paths"
        << QString(60, QLatin1Char('d'));
}

void TestAutopilot::refusesToStart()
{
    QFETCH(QStringList, cell_commands);
    QFETCH(QStringList, arguments);
    SimCell cell;
    for (const QString &command : cell_commands) {
        if (command == "start")
            QVERIFY2(cell.start({"--tick", "20"}), qPrintable(cell.lastOutput()));
        else
            QVERIFY(cell.command(command.split(' ')));
    }
    QFETCH(QString, deeper_root);
    const Run run = run_autopilot(
        arguments, deeper_root.isEmpty() ? QString() : cell.root() + "/" + deeper_root);
    QTEST(run.exit_code, "exit_code");
    QFETCH(QString, message);
    QVERIFY2(run.err.contains(message), qPrintable(run.err));
    // Nothing was recorded.
    QVERIFY(!QFile::exists(cell.path("/cell/tables/coolant_temp.save")));
}

QTEST_MAIN(TestAutopilot)
#include "tst_autopilot.moc"
