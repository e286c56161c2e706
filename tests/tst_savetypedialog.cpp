// The record type dialog: its decision on Record, the description it puts
// into user_comment, the duplicate As-Found refusal, Cancel, and its form.
// The recording flows are the main window's; here they are only observed
// through what they leave behind (cal_mode, the date fields, the history).
#include "dialoganswerer.h"
#include "station.h"
#include "warningguard.h"

#include "mainwindow.h"
#include "messageboxes.h"
#include "savetypedialog.h"
#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QtTest>

#include <cstring>
#include <memory>

namespace {

QString user_comment()
{
    const char *field = cfg->table_info.user_comment;
    return QString::fromLatin1(field, static_cast<int>(strnlen(field, sizeof cfg->table_info.user_comment)));
}

void set_user_comment(const char *text)
{
    std::strncpy(cfg->table_info.user_comment, text, sizeof cfg->table_info.user_comment - 1);
}

qint64 history_size()
{
    return QFileInfo(QString::fromLatin1(cfg->save_file)).size();
}

template <typename T> T *child(QWidget *dialog, const char *name)
{
    return dialog->findChild<T *>(QString::fromLatin1(name));
}

// Picks a kind of data ("as-found", "verification", or anything else for
// none) and types the description.
void fill_form(QWidget *dialog, const QString &choice, const QString &description)
{
    if (choice == QLatin1String("as-found"))
        child<QRadioButton>(dialog, "rbAsFound")->setChecked(true);
    else if (choice == QLatin1String("verification"))
        child<QRadioButton>(dialog, "rbVerification")->setChecked(true);
    child<QLineEdit>(dialog, "txtComment")->setText(description);
}

// A station on channel 0 with the date fields set up so that neither
// flow asks a question of its own: an As-Found record on a channel that was
// not adjusted, a Verification record on one that was.
bool open_station(Station &station, const QString &choice)
{
    if (!station.open() || !station.select(0))
        return false;
    the_main_window = &station.window();
    Ui::MainWindow *ui = station.window().form();
    ui->txtAsFound->clear();
    ui->txtVerificationData->clear();
    if (choice == QLatin1String("verification"))
        ui->txtAdjustCalibration->setText(QStringLiteral("01/02/2024 10:00:00"));
    else
        ui->txtAdjustCalibration->clear();
    return true;
}

struct FlowButtons {
    bool adjust;
    bool reuse;
    bool operator==(const FlowButtons &other) const { return adjust == other.adjust && reuse == other.reuse; }
};

FlowButtons flow_buttons(MainWindow &window)
{
    return {window.form()->btnAdjustCalibration->isEnabled(), window.form()->btnReuseCalibration->isEnabled()};
}

} // namespace

class TestSaveTypeDialog : public QObject {
    Q_OBJECT
private slots:
    void cleanup();

    void decision_data();
    void decision();
    void storedDescription_data();
    void storedDescription();

    void formAtOpening_data();
    void formAtOpening();
    void windowAndSize();
    void geometryBelowTheMainWindow();
    void noWiringWarnings();
    void touchStation_data();
    void touchStation();

    void record_data();
    void record();
    void duplicateAsFoundWaitsForADescription();
    void escapeRecordsNothing();
    void screenshot();
};

void TestSaveTypeDialog::cleanup()
{
    touch_screen = 0;
    the_main_window = nullptr;
    for (QWidget *top : QApplication::topLevelWidgets())
        QVERIFY2(!qobject_cast<SaveTypeDialog *>(top) && !qobject_cast<MainWindow *>(top),
                 qPrintable(top->objectName()));
}

void TestSaveTypeDialog::decision_data()
{
    QTest::addColumn<bool>("as_found");
    QTest::addColumn<bool>("verification");
    QTest::addColumn<bool>("present");
    QTest::addColumn<bool>("empty");
    QTest::addColumn<int>("action");
    const int nothing = int(RecordAction::Nothing), required = int(RecordAction::DescriptionRequired),
              as_found = int(RecordAction::AsFound), verification = int(RecordAction::Verification);
    QTest::newRow("no choice") << false << false << false << true << nothing;
    QTest::newRow("no choice, described, repeat") << false << false << true << false << nothing;
    QTest::newRow("first as-found, empty") << true << false << false << true << as_found;
    QTest::newRow("first as-found, described") << true << false << false << false << as_found;
    QTest::newRow("repeat as-found, empty") << true << false << true << true << required;
    QTest::newRow("repeat as-found, described") << true << false << true << false << as_found;
    QTest::newRow("verification, empty") << false << true << false << true << verification;
    QTest::newRow("verification, empty, as-found present") << false << true << true << true << verification;
    QTest::newRow("verification, described") << false << true << true << false << verification;
    QTest::newRow("both checked: as-found first") << true << true << true << true << required;
}

void TestSaveTypeDialog::decision()
{
    QFETCH(bool, as_found);
    QFETCH(bool, verification);
    QFETCH(bool, present);
    QFETCH(bool, empty);
    QTEST(int(record_action(as_found, verification, present, empty)), "action");
}

void TestSaveTypeDialog::storedDescription_data()
{
    QTest::addColumn<QString>("description");
    QTest::addColumn<QByteArray>("stored");
    const QString digits = QStringLiteral("0123456789").repeated(12);
    QTest::newRow("empty") << QString() << QByteArray();
    QTest::newRow("short") << QStringLiteral("Sensor replaced") << QByteArray("Sensor replaced");
    QTest::newRow("79 characters kept") << digits.left(79) << digits.left(79).toLatin1();
    QTest::newRow("80 characters cut to 79") << digits.left(80) << digits.left(79).toLatin1();
    QTest::newRow("120 characters cut to 79") << digits << digits.left(79).toLatin1();
    // 79 characters of two UTF-8 bytes each still fit: the field is Latin-1.
    QTest::newRow("latin-1 counts one byte a character") << QString(79, QChar(0xE9)) << QByteArray(79, '\xE9');
    QTest::newRow("outside latin-1") << QStringLiteral("5 \u2126 shunt") << QByteArray("5 ? shunt");
}

void TestSaveTypeDialog::storedDescription()
{
    QFETCH(QString, description);
    QFETCH(QByteArray, stored);
    auto record = std::make_unique<VREL_CFG>();
    std::memset(record->table_info.user_comment, 'x', sizeof record->table_info.user_comment);
    store_user_comment(description, *record);
    const char *field = record->table_info.user_comment;
    QCOMPARE(QByteArray(field, static_cast<int>(strnlen(field, sizeof record->table_info.user_comment))), stored);
}

void TestSaveTypeDialog::formAtOpening_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("style");
    QTest::addColumn<bool>("wraps");
    const QString font = QStringLiteral("font: 12pt \"Sans Serif\";");
    QTest::newRow("groupBox") << "groupBox" << "What type of data is this?" << "" << false;
    QTest::newRow("label_2") << "label_2" << "Select One" << font << false;
    QTest::newRow("rbAsFound") << "rbAsFound" << "As-Found Data" << "" << false;
    QTest::newRow("label_3") << "label_3"
                             << "Collected before performing any service or adjustments to assess the data quality "
                                "that the customer was experiencing."
                             << font << true;
    QTest::newRow("rbVerification") << "rbVerification" << "Verification Data" << "" << false;
    QTest::newRow("label_5") << "label_5"
                             << "Collected after a calibration adjustment to verify that the adjusted calibration "
                                "meets the requirements. (As-Left)"
                             << font << true;
    QTest::newRow("lblComment") << "lblComment" << "Description:" << "" << false;
    QTest::newRow("txtComment") << "txtComment" << "" << "" << false;
    QTest::newRow("btnRecord") << "btnRecord" << "Record" << "" << false;
    QTest::newRow("btnCancel") << "btnCancel" << "Cancel" << "" << false;
}

void TestSaveTypeDialog::formAtOpening()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    QFETCH(bool, wraps);
    SaveTypeDialog dialog(nullptr, true);
    QWidget *widget = dialog.findChild<QWidget *>(name);
    QVERIFY(widget);
    QTEST(widget->styleSheet(), "style");
    if (auto *label = qobject_cast<QLabel *>(widget)) {
        QCOMPARE(label->text(), text);
        QCOMPARE(label->wordWrap(), wraps);
    } else if (auto *button = qobject_cast<QAbstractButton *>(widget)) {
        QCOMPARE(button->text(), text);
        QCOMPARE(button->isChecked(), false);
    } else if (auto *box = qobject_cast<QGroupBox *>(widget)) {
        QCOMPARE(box->title(), text);
    } else if (auto *edit = qobject_cast<QLineEdit *>(widget)) {
        QCOMPARE(edit->text(), text);
    } else {
        QFAIL("unexpected kind of widget");
    }
    QVERIFY(!dialog.as_found_selected());
}

void TestSaveTypeDialog::windowAndSize()
{
    SaveTypeDialog dialog(nullptr, false);
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Record Calibration Data"));
    QCOMPARE(dialog.minimumSize(), QSize(650, 325));
    QCOMPARE(dialog.size(), QSize(650, 325));
    QCOMPARE(dialog.windowFlags(), kTitledWindowFlags);
    QVERIFY(!dialog.windowFlags().testFlag(Qt::WindowCloseButtonHint));
    const QPalette palette = dialog.palette();
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        QCOMPARE(palette.color(group, QPalette::Window), QColor(255, 252, 239));
    QCOMPARE(palette.color(QPalette::Active, QPalette::Base), QColor(Qt::white));
    QCOMPARE(palette.color(QPalette::Inactive, QPalette::Base), QColor(Qt::white));
    QCOMPARE(palette.color(QPalette::Disabled, QPalette::Base), QColor(255, 252, 239));
    // The two choices exclude each other.
    auto *as_found = child<QRadioButton>(&dialog, "rbAsFound");
    auto *verification = child<QRadioButton>(&dialog, "rbVerification");
    as_found->setChecked(true);
    QVERIFY(dialog.as_found_selected());
    verification->setChecked(true);
    QVERIFY(!as_found->isChecked());
    QVERIFY(!dialog.as_found_selected());
}

void TestSaveTypeDialog::geometryBelowTheMainWindow()
{
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    station.window().setGeometry(40, 70, 1200, 800);
    const int top = station.window().geometry().top();
    QCOMPARE(top, 70);
    SaveTypeDialog dialog(&station.window(), false);
    // The corners (280, top + 250) and (860, top + 553) place it; the form's
    // minimum size is larger than that rectangle and gives the size.
    QCOMPARE(dialog.geometry(), QRect(280, top + 250, 650, 325));
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QCOMPARE(dialog.geometry(), QRect(280, top + 250, 650, 325));
    dialog.close();
}

void TestSaveTypeDialog::noWiringWarnings()
{
    WarningGuard warnings;
    SaveTypeDialog dialog(nullptr, false);
    QVERIFY2(warnings.warnings(QStringLiteral("connectSlotsByName")).isEmpty(),
             qPrintable(warnings.warnings().join('\n')));
    // Cancel is wired in the form itself.
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    child<QPushButton>(&dialog, "btnCancel")->click();
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
}

void TestSaveTypeDialog::touchStation_data()
{
    QTest::addColumn<int>("touch");
    QTest::newRow("keyboard station") << 0;
    QTest::newRow("touch station") << 1;
}

void TestSaveTypeDialog::touchStation()
{
    QFETCH(int, touch);
    touch_screen = static_cast<int16_t>(touch);
    SaveTypeDialog dialog(nullptr, false);
    auto *field = child<QLineEdit>(&dialog, "txtComment");
    QCOMPARE(field->property("keyboard"), touch ? QVariant(true) : QVariant());
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    // The double click goes on to the field whether or not it is watched:
    // it still selects the word under the pointer.
    field->setText(QStringLiteral("recalibrated"));
    field->deselect();
    QTest::mouseDClick(field, Qt::LeftButton, Qt::NoModifier, QPoint(10, field->height() / 2));
    QCOMPARE(field->selectedText(), QStringLiteral("recalibrated"));
    QMouseEvent click(QEvent::MouseButtonDblClick, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QCOMPARE(dialog.eventFilter(field, &click), false);
    dialog.close();
}

void TestSaveTypeDialog::record_data()
{
    QTest::addColumn<QString>("choice");
    QTest::addColumn<bool>("present");
    QTest::addColumn<QString>("description");
    QTest::addColumn<QString>("button");
    QTest::addColumn<bool>("recorded");
    QTest::addColumn<int>("cal_mode");
    QTest::addColumn<QString>("date_field");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("comment");

    const QString digits = QStringLiteral("0123456789").repeated(10);
    // An empty description is written to the history as "none".
    QTest::newRow("no choice: nothing, silently") << "none" << false << "why" << "Record" << false << 0 << ""
                                                  << "" << "previous";
    QTest::newRow("no choice, as-found present") << "none" << true << "" << "Record" << false << 0 << "" << ""
                                                 << "previous";
    QTest::newRow("first as-found, no description") << "as-found" << false << "" << "Record" << true << 3
                                                    << "txtAsFound" << "" << "none";
    QTest::newRow("first as-found, described") << "as-found" << false << "Before service" << "Record" << true
                                               << 3 << "txtAsFound" << "" << "Before service";
    QTest::newRow("repeated as-found, no description")
        << "as-found" << true << "" << "Record" << false << 0 << "" << "Duplicate As-Found Data" << "previous";
    QTest::newRow("repeated as-found, described") << "as-found" << true << "Sensor reseated" << "Record" << true
                                                  << 3 << "txtAsFound" << "" << "Sensor reseated";
    QTest::newRow("verification, no description") << "verification" << false << "" << "Record" << true << 6
                                                   << "txtVerificationData" << "" << "none";
    QTest::newRow("verification, no description, as-found present")
        << "verification" << true << "" << "Record" << true << 6 << "txtVerificationData" << "" << "none";
    QTest::newRow("verification, described") << "verification" << true << "After adjustment" << "Record" << true
                                             << 6 << "txtVerificationData" << "" << "After adjustment";
    QTest::newRow("as-found, long description cut") << "as-found" << false << digits << "Record" << true << 3
                                                    << "txtAsFound" << "" << digits.left(79);
    QTest::newRow("verification, long description cut") << "verification" << false << digits << "Record" << true
                                                        << 6 << "txtVerificationData" << "" << digits.left(79);
    QTest::newRow("cancel an as-found") << "as-found" << false << "Before service" << "Cancel" << false << 0 << ""
                                        << "" << "previous";
    QTest::newRow("cancel a verification") << "verification" << true << "After" << "Cancel" << false << 0 << ""
                                           << "" << "previous";
}

void TestSaveTypeDialog::record()
{
    QFETCH(QString, choice);
    QFETCH(bool, present);
    QFETCH(QString, description);
    QFETCH(QString, button);
    QFETCH(bool, recorded);
    QFETCH(QString, date_field);
    QFETCH(QString, message);

    Station station;
    QVERIFY(open_station(station, choice));
    MainWindow &window = station.window();
    set_user_comment("previous");
    const qint64 history_before = history_size();
    const FlowButtons buttons_before = flow_buttons(window);
    // Whatever box comes up is answered, so that an unexpected one shows in
    // what was seen instead of blocking the test.
    station.answerer().answer(QStringLiteral("OK"));

    SaveTypeDialog dialog(&window, present);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    fill_form(&dialog, choice, description);
    auto *field = child<QLineEdit>(&dialog, "txtComment");
    auto *pressed = dialog.findChild<QPushButton *>(QStringLiteral("btn") + button);
    QVERIFY(pressed);
    pressed->setFocus();
    pressed->click();

    const QVector<DialogAnswerer::Seen> &seen = station.answerer().seen();
    if (message.isEmpty()) {
        QVERIFY2(seen.isEmpty(), qPrintable(seen.isEmpty() ? QString() : seen.first().title));
    } else {
        QCOMPARE(seen.size(), 1);
        QCOMPARE(seen[0].title, message);
        QCOMPARE(seen[0].text, QStringLiteral("Please describe why As-Found data is being\ncollected again in the "
                                              "description box"));
        QCOMPARE(seen[0].buttons, QStringList{QStringLiteral("OK")});
        QCOMPARE(dialog.focusWidget(), field);
    }

    const bool cancelled = button == QLatin1String("Cancel");
    QCOMPARE(dialog.isVisible(), !recorded && !cancelled);
    if (recorded)
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    if (cancelled)
        QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QTEST(int(cfg->table_info.cal_mode), "cal_mode");
    QTEST(user_comment(), "comment");
    QCOMPARE(history_size() > history_before, recorded);
    Ui::MainWindow *ui = window.form();
    for (QLineEdit *date : {ui->txtAsFound, ui->txtVerificationData})
        QCOMPARE(date->text().isEmpty(), date->objectName() != date_field);
    if (!recorded)
        QVERIFY(flow_buttons(window) == buttons_before);
    // The choice stays readable for the caller after the dialog closed.
    QCOMPARE(dialog.as_found_selected(), choice == QLatin1String("as-found"));
    dialog.close();
}

void TestSaveTypeDialog::duplicateAsFoundWaitsForADescription()
{
    // The refusal leaves the dialog up with the description to fill in;
    // once it is filled, the same press records.
    Station station;
    QVERIFY(open_station(station, QStringLiteral("as-found")));
    set_user_comment("previous");
    int notice_point_size = 0;
    Qt::WindowFlags notice_flags;
    station.answerer().answer(QStringLiteral("OK"), [&](QWidget *box) {
        notice_point_size = box->font().pointSize();
        notice_flags = box->windowFlags();
    });

    SaveTypeDialog dialog(&station.window(), true);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    fill_form(&dialog, QStringLiteral("as-found"), QString());
    auto *record = child<QPushButton>(&dialog, "btnRecord");
    auto *field = child<QLineEdit>(&dialog, "txtComment");
    record->setFocus();
    record->click();
    QVERIFY(station.answerer().allAnswered());
    QCOMPARE(station.answerer().seen().size(), 1);
    QCOMPARE(station.answerer().seen()[0].className, QStringLiteral("QMessageBox"));
    QCOMPARE(notice_point_size, 13);
    QCOMPARE(notice_flags & kTitledWindowFlags, kTitledWindowFlags);
    QVERIFY(!notice_flags.testFlag(Qt::WindowCloseButtonHint));
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.focusWidget(), field);
    // Typing goes there once the dialog is the active window again.
    dialog.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    QVERIFY(field->hasFocus());
    QCOMPARE(int(cfg->table_info.cal_mode), 0);
    QVERIFY(station.window().form()->txtAsFound->text().isEmpty());

    QTest::keyClicks(field, QStringLiteral("Second look after a reseat"));
    record->click();
    QCOMPARE(station.answerer().seen().size(), 1);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(int(cfg->table_info.cal_mode), 3);
    QCOMPARE(user_comment(), QStringLiteral("Second look after a reseat"));
    QVERIFY(!station.window().form()->txtAsFound->text().isEmpty());
    QVERIFY(dialog.as_found_selected());
}

void TestSaveTypeDialog::escapeRecordsNothing()
{
    Station station;
    QVERIFY(open_station(station, QStringLiteral("verification")));
    set_user_comment("previous");
    const qint64 history_before = history_size();
    SaveTypeDialog dialog(&station.window(), false);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    fill_form(&dialog, QStringLiteral("verification"), QStringLiteral("After adjustment"));
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QCOMPARE(user_comment(), QStringLiteral("previous"));
    QCOMPARE(int(cfg->table_info.cal_mode), 0);
    QCOMPARE(history_size(), history_before);
}

void TestSaveTypeDialog::screenshot()
{
    SaveTypeDialog dialog(nullptr, true);
    fill_form(&dialog, QStringLiteral("as-found"), QStringLiteral("Sensor reseated after a leak check"));
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    const QString dir = QStringLiteral(VREL_BIN_DIR "/../screenshots");
    QDir().mkpath(dir);
    QVERIFY(dialog.grab().save(dir + QStringLiteral("/savetypedialog.png")));
    dialog.close();
}

QTEST_MAIN(TestSaveTypeDialog)
#include "tst_savetypedialog.moc"
