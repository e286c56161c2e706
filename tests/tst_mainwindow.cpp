// The main window as the technician first sees it, against a simulated
// cell: its form, the channel list, the Exit entry's guards.
#include "dialoganswerer.h"
#include "simcell.h"
#include "warningguard.h"

#include "mainwindow.h"
#include "pointinfo.h"
#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <QtTest>

class TestMainWindow : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void cleanup();

    void formAtStart();
    void channelListHoldsActiveChannels();
    void averagingCountFromTick();
    void debugModeFillsFields();
    void exitGuards_data();
    void exitGuards();
    void touchStation();
    void screenshot();

private:
    SimCell *cell_ = nullptr;
};

void TestMainWindow::initTestCase()
{
    cell_ = new SimCell;
    QVERIFY(cell_->start({"--tick", "30"}));
}

void TestMainWindow::cleanupTestCase()
{
    delete cell_;
}

void TestMainWindow::cleanup()
{
    debug_mode = false;
    touch_screen = 0;
    captured_count = 0;
    const QWidgetList tops = QApplication::topLevelWidgets();
    QVERIFY(std::none_of(tops.begin(), tops.end(), [](QWidget *w) { return qobject_cast<MainWindow *>(w); }));
}

void TestMainWindow::formAtStart()
{
    WarningGuard warnings;
    MainWindow window;
    QVERIFY2(warnings.warnings(QStringLiteral("connectSlotsByName")).isEmpty(),
             qPrintable(warnings.warnings().join('\n')));
    Ui::MainWindow *ui = window.form();
    QCOMPARE(window.windowTitle(), QStringLiteral("Sensiva Calibration Utility 64 Points"));
    QCOMPARE(ui->cboCurrentChannel->currentText(), QStringLiteral("Select A Channel"));
    for (QWidget *w : {static_cast<QWidget *>(ui->btnRecordData), static_cast<QWidget *>(ui->btnReuseCalibration),
                       static_cast<QWidget *>(ui->btnAdjustCalibration), static_cast<QWidget *>(ui->cboCalType),
                       static_cast<QWidget *>(ui->cboOrderOfPolynomial),
                       static_cast<QWidget *>(ui->cboPolyRangeIndex)})
        QVERIFY2(!w->isEnabled(), qPrintable(w->objectName()));
    QVERIFY(ui->coeffFrame->isHidden());
    QVERIFY(!ui->dataPlot->isHidden());
    QCOMPARE(ui->frame->frameShape(), QFrame::NoFrame);
    QCOMPARE(ui->cboCurrentChannel->styleSheet(), QStringLiteral("combobox-popup: 0;"));
    QVERIFY(ui->lblSerialNumber->text().isEmpty() && ui->btnUnits->text().isEmpty());
    QCOMPARE(window.pointRows().size(), 64);
    for (PointInfo *row : window.pointRows()) {
        QVERIFY(row->currentValueField()->isHidden());
        QCOMPARE(row->captureText(), QStringLiteral("Capture"));
        QCOMPARE(row->fieldStyle(), QStringLiteral("background-color: white"));
    }
    QVERIFY(blank_selection_allowed);
    QVERIFY(!environment_confirmed);
    QCOMPARE(QString::fromLatin1(cell_info->cell_name), QStringLiteral("TC-07"));
    QCOMPARE(QString::fromLatin1(cell_info->site_name), QStringLiteral("NRTC"));
    QVERIFY(QFileInfo(cell_->path("/cell/tables/verifications")).isDir());
}

void TestMainWindow::channelListHoldsActiveChannels()
{
    MainWindow window;
    QStringList items;
    for (int i = 0; i < window.form()->cboCurrentChannel->count(); ++i)
        items << window.form()->cboCurrentChannel->itemText(i);
    // Channels 3 and 13 are inactive (0), 11 is in another host state (2).
    QStringList expected{"Select A Channel"};
    const char *names[] = {"OIL TEMP IN", "OIL TEMP OUT", "COOLANT TEMP", nullptr, "OIL PRESS", "FUEL PRESS",
                           "INTAKE MANIFOLD PRESS", "EXHAUST BACK PRESS", "THROTTLE POSITION", "DYNO TORQUE",
                           "FUEL FLOW", nullptr, "ENGINE SPEED", nullptr, "INTAKE AIR TEMP", "BLOWBY FLOW"};
    for (int channel = 0; channel < 16; ++channel)
        if (names[channel])
            expected << QString::asprintf("%5d  -  %s", channel, names[channel]);
    QCOMPARE(items, expected);
    QCOMPARE(items[1], QStringLiteral("    0  -  OIL TEMP IN"));
}

void TestMainWindow::averagingCountFromTick()
{
    MainWindow window; // the cell's tick is 30 ms: 33 samples a second, 30 s
    QCOMPARE(averaging_count, 33 * 30);
}

void TestMainWindow::debugModeFillsFields()
{
    debug_mode = true;
    MainWindow window;
    Ui::MainWindow *ui = window.form();
    for (QLineEdit *field : {ui->txtCalibrationQIE, ui->txtTechnicianName, ui->txtLabManager, ui->txtComment})
        QCOMPARE(field->text(), QStringLiteral("7777"));
    QCOMPARE(ui->txtAveragingTime->text(), QStringLiteral("5"));
    QCOMPARE(averaging_count, 33 * 5);
}

void TestMainWindow::exitGuards_data()
{
    QTest::addColumn<int>("captured");
    QTest::addColumn<bool>("unrecorded");
    QTest::addColumn<QString>("stamps"); // A, J, V: As-Found, Table Updated, Verification
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QString>("title");
    QTest::addColumn<bool>("closes");

    QTest::newRow("captured, OK") << 2 << true << "" << "OK" << "Captured Points Not Recorded" << true;
    QTest::newRow("captured, Cancel") << 2 << true << "" << "Cancel" << "Captured Points Not Recorded" << false;
    QTest::newRow("captured wins over stamps") << 1 << true << "AV" << "Cancel" << "Captured Points Not Recorded"
                                               << false;
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

void TestMainWindow::exitGuards()
{
    QFETCH(int, captured);
    QFETCH(bool, unrecorded);
    QFETCH(QString, stamps);
    QFETCH(QString, answer);
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    Ui::MainWindow *ui = window.form();
    captured_count = captured;
    cfg->unrecorded_changes = unrecorded ? 1 : 0;
    const QString stamp = QStringLiteral("11/21/2026 10:00:00");
    ui->txtAsFound->setText(stamps.contains('A') ? stamp : QString());
    ui->txtAdjustCalibration->setText(stamps.contains('J') ? stamp : QString());
    ui->txtVerificationData->setText(stamps.contains('V') ? stamp : QString());

    DialogAnswerer answerer;
    if (!answer.isEmpty())
        answerer.answer(answer);
    ui->actionExit->trigger();

    QVERIFY(answerer.allAnswered());
    QFETCH(QString, title);
    if (title.isEmpty()) {
        QVERIFY(answerer.seen().isEmpty());
    } else {
        QCOMPARE(answerer.seen().size(), 1);
        QCOMPARE(answerer.seen()[0].title, title);
        QCOMPARE(answerer.seen()[0].buttons.size(), 2);
    }
    QTEST(!window.isVisible(), "closes");
    // The unrecorded-changes test marks pending changes where it is asked.
    const bool asked = captured > 0 || (!stamps.contains('A') && !stamps.contains('J'));
    QCOMPARE(cfg->pending_changes, uint16_t(unrecorded && asked ? 1 : 0));
}

void TestMainWindow::touchStation()
{
    {
        MainWindow window;
        QVERIFY(!window.form()->txtComment->property("keyboard").isValid());
        QVERIFY(!window.form()->txtNumPoints->validator());
        QVERIFY(!input_device);
    }
    touch_screen = 1;
    MainWindow window;
    Ui::MainWindow *ui = window.form();
    for (QLineEdit *field : {ui->txtCalibrationQIE, ui->txtTechnicianName, ui->txtLabManager, ui->txtComment,
                             ui->txtNumPoints, ui->txtAveragingTime})
        QVERIFY2(field->property("keyboard").toBool(), qPrintable(field->objectName()));
    QVERIFY(qobject_cast<const QIntValidator *>(ui->txtNumPoints->validator()));
    QCOMPARE(ui->txtNumPoints->validator(), ui->txtAveragingTime->validator()); // one shared validator
    QVERIFY(input_device); // the one router of the station's panels
}

void TestMainWindow::screenshot()
{
    MainWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    const QString dir = QStringLiteral(VREL_BIN_DIR "/../screenshots");
    QVERIFY(QDir().mkpath(dir));
    const QPixmap shot = window.grab();
    QCOMPARE(shot.size(), window.size());
    QVERIFY(shot.save(dir + QStringLiteral("/main-window-") + QGuiApplication::platformName() + ".png"));
}

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
