// The reference standard dialog: the historical column from the channel's
// reference data file, the arrows that copy it across, the checks on OK,
// and the warning on Cancel.
#include "dialoganswerer.h"
#include "warningguard.h"

#include "referencedialog.h"
#include "uut_ref.h"
#include "vrel_cfg.h"

#include <QComboBox>
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

#include <cstdio>
#include <cstring>
#include <memory>

namespace {

// The six rows of the form: historical field, arrow, current field (a line
// edit, or the combo box for the physical connection).
struct FormRow {
    const char *hist;
    const char *move;
    const char *current;
};
const FormRow kRows[] = {
    {"txtHistRefMfg", "btnMoveMfg", "txtCurrRefMfg"},
    {"txtHistRefModel", "btnMoveModel", "txtCurrRefModel"},
    {"txtHistRefSN", "btnMoveSN", "txtCurrRefSN"},
    {"txtHistRefEquipNum", "btnMoveEquipNum", "txtCurrRefEquipNum"},
    {"txtHistRefCalDueDate", "btnMoveCalDueDate", "txtCurrRefCalDueDate"},
    {"txtHistRefPhysicalConn", "btnMovePhyConn", "cboCurrRefPhysicalConn"},
};

void set_text(char (&field)[32], const char *text)
{
    std::strncpy(field, text, sizeof field - 1);
    field[sizeof field - 1] = '\0';
}

void set_path(char (&field)[100], const QString &path)
{
    std::snprintf(field, sizeof field, "%s", QFile::encodeName(path).constData());
}

void fill_record(VREL_CFG &record)
{
    set_text(record.ref_mfg, "Halvorsen Instruments");
    set_text(record.ref_model, "HQ-400");
    set_text(record.ref_ser_num, "SN-10042");
    set_text(record.ref_equip_num, "MTE-0815");
    set_text(record.ref_cal_due_date, "11/30/2025");
    set_text(record.ref_physical_con, "Left");
}

void fill_history()
{
    set_text(hist_ref_mfg, "Brightwater Metrology");
    set_text(hist_ref_model, "DPC-9");
    set_text(hist_ref_ser_num, "B-77321");
    set_text(hist_ref_equip_num, "MTE-0420");
    set_text(hist_ref_cal_due_date, "02/29/2024");
    set_text(hist_ref_physical_con, "Right");
}

char *history_text(const QString &field)
{
    if (field == "txtHistRefMfg")
        return hist_ref_mfg;
    if (field == "txtHistRefModel")
        return hist_ref_model;
    if (field == "txtHistRefSN")
        return hist_ref_ser_num;
    if (field == "txtHistRefEquipNum")
        return hist_ref_equip_num;
    if (field == "txtHistRefCalDueDate")
        return hist_ref_cal_due_date;
    return hist_ref_physical_con;
}

QString current_text(ReferenceDialog &dialog, const char *name)
{
    if (auto *combo = dialog.findChild<QComboBox *>(name))
        return combo->currentText();
    return dialog.findChild<QLineEdit *>(name)->text();
}

ReferenceEntry valid_entry()
{
    return {"Halvorsen Instruments", "HQ-400", "SN-10042", "MTE-0815", "11/30/2025", "Left"};
}

} // namespace

class TestReferenceDialog : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void dueDate_data();
    void dueDate();
    void entryMissing_data();
    void entryMissing();
    void entryChanged_data();
    void entryChanged();
    void storeCutsToRecordWidth();

    void formAtStart();
    void historicalColumnFromReferenceFile();
    void arrowsFollowHistory_data();
    void arrowsFollowHistory();
    void moveButton_data();
    void moveButton();
    void moveAll();
    void physicalConnectionOutsideOptions();
    void resetClearsCurrentOnly();
    void okChecks_data();
    void okChecks();
    void unfilledDateReadsAsSlashes();
    void cancel_data();
    void cancel();
    void escapeLeavesRecord();
    void touchStationFields();
    void execAccepted();
    void screenshot();

private:
    QTemporaryDir root_;
    QByteArray previous_root_;
    std::unique_ptr<VREL_CFG> record_;
};

void TestReferenceDialog::initTestCase()
{
    // Cut texts are logged by the host library: keep its log in a private root.
    QVERIFY(root_.isValid());
    previous_root_ = qgetenv("ORVANE_ROOT");
    qputenv("ORVANE_ROOT", root_.path().toLocal8Bit());
    record_.reset(new VREL_CFG());
    set_cfg(record_.get());
}

void TestReferenceDialog::cleanupTestCase()
{
    set_cfg(nullptr);
    record_.reset();
    qputenv("ORVANE_ROOT", previous_root_);
}

void TestReferenceDialog::init()
{
    std::memset(static_cast<void *>(record_.get()), 0, sizeof(VREL_CFG));
    fill_record(*record_);
    fill_history();
    touch_screen = 0;
}

void TestReferenceDialog::cleanup()
{
    touch_screen = 0;
    const QWidgetList tops = QApplication::topLevelWidgets();
    for (QWidget *widget : tops)
        QVERIFY2(!qobject_cast<QDialog *>(widget), qPrintable(widget->metaObject()->className()));
}

void TestReferenceDialog::dueDate_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("valid");
    QTest::newRow("leap day of a leap year") << "02/29/2024" << true;
    QTest::newRow("February 30th") << "02/30/2024" << false;
    QTest::newRow("leap day of a common year") << "02/29/2023" << false;
    QTest::newRow("leap day of a century year") << "02/29/1900" << false;
    QTest::newRow("leap day of year 2000") << "02/29/2000" << true;
    QTest::newRow("a date in the past") << "06/15/1998" << true;
    QTest::newRow("month 13") << "13/01/2024" << false;
    QTest::newRow("month 00") << "00/10/2024" << false;
    QTest::newRow("April 31st") << "04/31/2024" << false;
    QTest::newRow("day and month swapped") << "31/12/2024" << false;
    QTest::newRow("the unfilled mask") << "//" << false;
    QTest::newRow("empty") << "" << false;
    QTest::newRow("year cut short") << "12/31/24" << false;
    QTest::newRow("ISO order") << "2024-12-31" << false;
}

void TestReferenceDialog::dueDate()
{
    QFETCH(QString, text);
    QFETCH(bool, valid);
    QCOMPARE(valid_due_date(text), valid);
}

void TestReferenceDialog::entryMissing_data()
{
    QTest::addColumn<int>("emptied");  // index into the entry; -1 none
    QTest::addColumn<bool>("missing");
    QTest::newRow("all filled") << -1 << false;
    QTest::newRow("manufacturer empty") << 0 << true;
    QTest::newRow("model empty") << 1 << true;
    QTest::newRow("serial number empty") << 2 << true;
    QTest::newRow("equipment number empty") << 3 << true;
    QTest::newRow("cal due date empty") << 4 << true;
    QTest::newRow("physical connection empty") << 5 << true;
}

void TestReferenceDialog::entryMissing()
{
    QFETCH(int, emptied);
    QFETCH(bool, missing);
    ReferenceEntry entry = valid_entry();
    QString *fields[] = {&entry.mfg, &entry.model, &entry.ser_num, &entry.equip_num, &entry.cal_due_date,
                         &entry.physical_con};
    if (emptied >= 0)
        fields[emptied]->clear();
    QCOMPARE(reference_entry_missing(entry), missing);
}

void TestReferenceDialog::entryChanged_data()
{
    QTest::addColumn<int>("edited");  // index into the entry; -1 none
    QTest::addColumn<bool>("changed");
    QTest::newRow("nothing edited") << -1 << false;
    QTest::newRow("manufacturer edited") << 0 << true;
    QTest::newRow("model edited") << 1 << true;
    QTest::newRow("serial number edited") << 2 << true;
    QTest::newRow("equipment number edited") << 3 << true;
    QTest::newRow("cal due date edited") << 4 << true;
    QTest::newRow("physical connection edited, not compared") << 5 << false;
}

void TestReferenceDialog::entryChanged()
{
    QFETCH(int, edited);
    QFETCH(bool, changed);
    ReferenceEntry entry = valid_entry();
    QString *fields[] = {&entry.mfg, &entry.model, &entry.ser_num, &entry.equip_num, &entry.cal_due_date,
                         &entry.physical_con};
    if (edited >= 0)
        fields[edited]->append(QLatin1Char('X'));
    QCOMPARE(reference_entry_changed(entry, *record_), changed);
}

void TestReferenceDialog::storeCutsToRecordWidth()
{
    ReferenceEntry entry = valid_entry();
    entry.ser_num = QString(33, QLatin1Char('7'));
    entry.mfg = QStringLiteral("Wendelb\xfchl Messtechnik"); // Latin-1 on the way to the record
    std::memset(record_->ref_model, 'x', sizeof record_->ref_model);  // an unended field is overwritten
    store_reference_entry(entry, *record_);
    QCOMPARE(QByteArray(record_->ref_ser_num), QByteArray(31, '7'));
    QCOMPARE(QByteArray(record_->ref_mfg), QByteArray("Wendelb\xfchl Messtechnik"));
    QCOMPARE(QByteArray(record_->ref_model), QByteArray("HQ-400"));
    QCOMPARE(QByteArray(record_->ref_cal_due_date), QByteArray("11/30/2025"));
    QCOMPARE(QByteArray(record_->ref_physical_con), QByteArray("Left"));
    QCOMPARE(QByteArray(record_->ref_equip_num), QByteArray("MTE-0815"));
    // The form still holds 33 characters, the record 31: that is a change.
    QVERIFY(reference_entry_changed(entry, *record_));
}

void TestReferenceDialog::formAtStart()
{
    WarningGuard warnings;
    ReferenceDialog dialog;
    QVERIFY2(warnings.warnings(QStringLiteral("connectSlotsByName")).isEmpty(),
             qPrintable(warnings.warnings().join('\n')));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Reference Standard Information"));
    QCOMPARE(dialog.size(), QSize(1079, 399));
    QCOMPARE(dialog.windowFlags(), Qt::Dialog | Qt::WindowTitleHint | Qt::CustomizeWindowHint);
    const QColor cream(255, 252, 239);
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        QCOMPARE(dialog.palette().color(group, QPalette::Window), cream);
    QCOMPARE(dialog.palette().color(QPalette::Disabled, QPalette::Base), cream);
    QVERIFY(dialog.palette().color(QPalette::Active, QPalette::Base) != cream);
    QCOMPARE(dialog.findChild<QGroupBox *>("groupBox")->title(),
             QStringLiteral("Historical Reference Standard Information"));
    QCOMPARE(dialog.findChild<QGroupBox *>("groupBox_3")->title(),
             QStringLiteral("Current Reference Standard Information"));

    // The current column starts from the record.
    const char *const expected[] = {"Halvorsen Instruments", "HQ-400", "SN-10042", "MTE-0815", "11/30/2025", "Left"};
    for (int i = 0; i < 6; ++i)
        QCOMPARE(current_text(dialog, kRows[i].current), QString::fromLatin1(expected[i]));
    for (int i = 0; i < 5; ++i) {
        auto *field = dialog.findChild<QLineEdit *>(kRows[i].current);
        QCOMPARE(field->styleSheet(), QStringLiteral("background-color: rgb(255, 255, 255);"));
        QVERIFY(field->isEnabled());
    }
    auto *date = dialog.findChild<QLineEdit *>("txtCurrRefCalDueDate");
    QCOMPARE(date->inputMask(), QStringLiteral("##/##/####"));
    auto *combo = dialog.findChild<QComboBox *>("cboCurrRefPhysicalConn");
    QCOMPARE(combo->count(), 3);
    QCOMPARE(combo->itemText(0), QStringLiteral("N/A"));
    QCOMPARE(combo->itemText(1), QStringLiteral("Left"));
    QCOMPARE(combo->itemText(2), QStringLiteral("Right"));

    // The historical column, read-only.
    for (const FormRow &row : kRows) {
        auto *field = dialog.findChild<QLineEdit *>(row.hist);
        QVERIFY2(!field->isEnabled(), row.hist);
        QCOMPARE(field->text(), QString::fromLatin1(history_text(row.hist)));
        QCOMPARE(dialog.findChild<QPushButton *>(row.move)->text(), QStringLiteral("->"));
    }
    QCOMPARE(dialog.findChild<QPushButton *>("btnMoveAll")->text(), QStringLiteral("Move\nAll ->"));
    QCOMPARE(dialog.findChild<QPushButton *>("btnReset")->text(),
             QStringLiteral("Reset Current\nReference Standard Information"));
    QCOMPARE(dialog.findChild<QPushButton *>("btnOK")->text(), QStringLiteral("OK"));
    QCOMPARE(dialog.findChild<QPushButton *>("btnCancel")->text(), QStringLiteral("Cancel"));
}

void TestReferenceDialog::historicalColumnFromReferenceFile()
{
    const QString path = root_.filePath(QStringLiteral("PX_01.ref"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("@REF_FILE_UPDATED_KEYWORD\n03/01/2024 10:15:00\n\n"
               "@REF_MANUFACTURER_KEYWORD\nWrenfield Gauge Works\n\n"
               "@REF_MODEL_KEYWORD\nKG-12\n\n"
               "@REF_SER_NUM_KEYWORD\n000123456789012345678901234567890123\n\n"
               "@REF_EQUIP_NUM_KEYWORD\nMTE-3001\n\n"
               "@REF_CAL_DUE_DATE_KEYWORD\n09/30/2026\n\n"
               "@REF_PHYSICAL_CON_KEYWORD\nRight\n\n"
               "@RECORD_DATA_ACTION_KEYWORD\nAS_LEFT\n");
    file.close();
    set_path(record_->ref_file, path);
    read_ref_data(record_.get());

    ReferenceDialog dialog;
    QCOMPARE(current_text(dialog, "txtHistRefMfg"), QStringLiteral("Wrenfield Gauge Works"));
    QCOMPARE(current_text(dialog, "txtHistRefModel"), QStringLiteral("KG-12"));
    QCOMPARE(current_text(dialog, "txtHistRefSN"), QStringLiteral("0001234567890123456789012345678"));
    QCOMPARE(current_text(dialog, "txtHistRefEquipNum"), QStringLiteral("MTE-3001"));
    QCOMPARE(current_text(dialog, "txtHistRefCalDueDate"), QStringLiteral("09/30/2026"));
    QCOMPARE(current_text(dialog, "txtHistRefPhysicalConn"), QStringLiteral("Right"));
    QVERIFY(dialog.findChild<QPushButton *>("btnMoveAll")->isEnabled());

    // No reference file: nothing historical, nothing to move.
    set_path(record_->ref_file, root_.filePath(QStringLiteral("absent.ref")));
    read_ref_data(record_.get());
    ReferenceDialog empty;
    for (const FormRow &row : kRows) {
        QVERIFY(current_text(empty, row.hist).isEmpty());
        QVERIFY2(!empty.findChild<QPushButton *>(row.move)->isEnabled(), row.move);
    }
    QVERIFY(!empty.findChild<QPushButton *>("btnMoveAll")->isEnabled());
}

void TestReferenceDialog::arrowsFollowHistory_data()
{
    QTest::addColumn<int>("emptied");  // the row whose historical text is empty; -1 none
    QTest::newRow("all known") << -1;
    for (int i = 0; i < 6; ++i)
        QTest::newRow(kRows[i].hist) << i;
}

void TestReferenceDialog::arrowsFollowHistory()
{
    QFETCH(int, emptied);
    if (emptied >= 0)
        history_text(kRows[emptied].hist)[0] = '\0';
    ReferenceDialog dialog;
    for (int i = 0; i < 6; ++i)
        QCOMPARE(dialog.findChild<QPushButton *>(kRows[i].move)->isEnabled(), i != emptied);
    QCOMPARE(dialog.findChild<QPushButton *>("btnMoveAll")->isEnabled(), emptied < 0);
}

void TestReferenceDialog::moveButton_data()
{
    QTest::addColumn<int>("row");
    for (int i = 0; i < 6; ++i)
        QTest::newRow(kRows[i].move) << i;
}

void TestReferenceDialog::moveButton()
{
    QFETCH(int, row);
    const char *const initial[] = {"Halvorsen Instruments", "HQ-400", "SN-10042", "MTE-0815", "11/30/2025", "Left"};
    ReferenceDialog dialog;
    dialog.findChild<QPushButton *>(kRows[row].move)->click();
    for (int i = 0; i < 6; ++i) {
        const char *expected = i == row ? history_text(kRows[i].hist) : initial[i];
        QCOMPARE(current_text(dialog, kRows[i].current), QString::fromLatin1(expected));
    }
    // An arrow changes the form, never the record.
    QCOMPARE(QByteArray(record_->ref_mfg), QByteArray("Halvorsen Instruments"));
    QCOMPARE(QByteArray(record_->ref_physical_con), QByteArray("Left"));
}

void TestReferenceDialog::moveAll()
{
    ReferenceDialog dialog;
    dialog.findChild<QPushButton *>("btnMoveAll")->click();
    for (const FormRow &row : kRows)
        QCOMPARE(current_text(dialog, row.current), QString::fromLatin1(history_text(row.hist)));
    QVERIFY(dialog.current_info_changed(record_.get()));
    QCOMPARE(QByteArray(record_->ref_model), QByteArray("HQ-400"));
}

void TestReferenceDialog::physicalConnectionOutsideOptions()
{
    set_text(hist_ref_physical_con, "Front");
    set_text(record_->ref_physical_con, "Right");
    ReferenceDialog dialog;
    QCOMPARE(current_text(dialog, "cboCurrRefPhysicalConn"), QStringLiteral("Right"));
    dialog.findChild<QPushButton *>("btnMovePhyConn")->click();
    QCOMPARE(current_text(dialog, "cboCurrRefPhysicalConn"), QStringLiteral("Right"));

    // A record text outside the options leaves the combo box on "N/A".
    set_text(record_->ref_physical_con, "Rear");
    ReferenceDialog other;
    QCOMPARE(current_text(other, "cboCurrRefPhysicalConn"), QStringLiteral("N/A"));
}

void TestReferenceDialog::resetClearsCurrentOnly()
{
    ReferenceDialog dialog;
    dialog.findChild<QPushButton *>("btnReset")->click();
    for (int i = 0; i < 4; ++i)
        QVERIFY2(current_text(dialog, kRows[i].current).isEmpty(), kRows[i].current);
    QCOMPARE(current_text(dialog, "txtCurrRefCalDueDate"), QStringLiteral("//"));
    QCOMPARE(dialog.findChild<QComboBox *>("cboCurrRefPhysicalConn")->currentIndex(), 0);
    for (const FormRow &row : kRows)
        QCOMPARE(current_text(dialog, row.hist), QString::fromLatin1(history_text(row.hist)));
    QCOMPARE(QByteArray(record_->ref_mfg), QByteArray("Halvorsen Instruments"));
    QCOMPARE(QByteArray(record_->ref_physical_con), QByteArray("Left"));
    QVERIFY(dialog.current_info_missing());
}

void TestReferenceDialog::okChecks_data()
{
    QTest::addColumn<QString>("field");  // the current field to set
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("title");  // of the box; empty: accepted
    QTest::addColumn<QString>("message");

    const QString missingTitle = QStringLiteral("Current Reference Standard Information Missing");
    const QString missingText =
        QStringLiteral("Make sure all the Current Reference Standard Information fields in the screen contain data\n");
    const QString dateTitle = QStringLiteral("Invalid Current Cal Due Date");
    const QString dateText = QStringLiteral("The entered Current Cal Due Date is not valid \n");
    QTest::newRow("leap day accepted") << "txtCurrRefCalDueDate" << "02/29/2024" << QString() << QString();
    QTest::newRow("past date accepted") << "txtCurrRefCalDueDate" << "01/15/2001" << QString() << QString();
    QTest::newRow("February 30th refused") << "txtCurrRefCalDueDate" << "02/30/2024" << dateTitle << dateText;
    QTest::newRow("month 13 refused") << "txtCurrRefCalDueDate" << "13/01/2024" << dateTitle << dateText;
    QTest::newRow("manufacturer missing") << "txtCurrRefMfg" << "" << missingTitle << missingText;
    QTest::newRow("model missing") << "txtCurrRefModel" << "" << missingTitle << missingText;
    QTest::newRow("serial number missing") << "txtCurrRefSN" << "" << missingTitle << missingText;
    QTest::newRow("equipment number missing") << "txtCurrRefEquipNum" << "" << missingTitle << missingText;
}

void TestReferenceDialog::okChecks()
{
    QFETCH(QString, field);
    QFETCH(QString, text);
    QFETCH(QString, title);
    QFETCH(QString, message);

    const QByteArray before(reinterpret_cast<const char *>(record_.get()), sizeof(VREL_CFG));
    ReferenceDialog dialog;
    dialog.findChild<QLineEdit *>(field)->setText(text);
    dialog.findChild<QComboBox *>("cboCurrRefPhysicalConn")->setCurrentText(QStringLiteral("Right"));
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    dialog.findChild<QPushButton *>("btnOK")->click();
    const QByteArray after(reinterpret_cast<const char *>(record_.get()), sizeof(VREL_CFG));

    if (title.isEmpty()) {
        QVERIFY(answerer.seen().isEmpty());
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(QByteArray(record_->ref_cal_due_date), text.toLatin1());
        QCOMPARE(QByteArray(record_->ref_physical_con), QByteArray("Right"));
        QCOMPARE(QByteArray(record_->ref_mfg), QByteArray("Halvorsen Instruments"));
        return;
    }
    QCOMPARE(answerer.seen().size(), 1);
    const DialogAnswerer::Seen &seen = answerer.seen().first();
    QCOMPARE(seen.title, title);
    QCOMPARE(seen.text, message);
    QCOMPARE(seen.buttons, QStringList{QStringLiteral("OK")});
    QCOMPARE(dialog.result(), int(QDialog::Rejected));  // still open: no result given
    QVERIFY(after == before);
    if (field == QLatin1String("txtCurrRefCalDueDate"))
        QCOMPARE(current_text(dialog, "txtCurrRefCalDueDate"), QStringLiteral("//"));
}

void TestReferenceDialog::unfilledDateReadsAsSlashes()
{
    ReferenceDialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    auto *date = dialog.findChild<QLineEdit *>("txtCurrRefCalDueDate");
    date->clear();
    QCOMPARE(date->text(), QStringLiteral("//"));
    QVERIFY(!dialog.current_info_missing());
    dialog.findChild<QLineEdit *>("txtCurrRefMfg")->setFocus();

    // The missing-data check passes, the calendar check reports it.
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    dialog.findChild<QPushButton *>("btnOK")->click();
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, QStringLiteral("Invalid Current Cal Due Date"));
    QVERIFY(dialog.isVisible());
    QCOMPARE(dialog.focusWidget(), static_cast<QWidget *>(date));
    QCOMPARE(QByteArray(record_->ref_cal_due_date), QByteArray("11/30/2025"));
    dialog.close();
}

void TestReferenceDialog::cancel_data()
{
    QTest::addColumn<QString>("edit");  // what is done before Cancel
    QTest::addColumn<bool>("warned");
    QTest::newRow("nothing changed") << "none" << false;
    QTest::newRow("manufacturer changed") << "txtCurrRefMfg" << true;
    QTest::newRow("model changed") << "txtCurrRefModel" << true;
    QTest::newRow("serial number changed") << "txtCurrRefSN" << true;
    QTest::newRow("equipment number changed") << "txtCurrRefEquipNum" << true;
    QTest::newRow("cal due date changed") << "txtCurrRefCalDueDate" << true;
    QTest::newRow("only the physical connection changed") << "cboCurrRefPhysicalConn" << false;
    QTest::newRow("reset with data in the record") << "btnReset" << true;
    // An empty record's date is "", the masked field's "//": even an
    // untouched form over an empty record reports a change.
    QTest::newRow("empty record, nothing changed") << "none empty" << true;
    QTest::newRow("reset of an empty record") << "btnReset empty" << true;
}

void TestReferenceDialog::cancel()
{
    QFETCH(QString, edit);
    QFETCH(bool, warned);
    if (edit.endsWith(QLatin1String(" empty")))
        for (char *field : {record_->ref_mfg, record_->ref_model, record_->ref_ser_num, record_->ref_equip_num,
                            record_->ref_cal_due_date, record_->ref_physical_con})
            field[0] = '\0';
    const QByteArray before(reinterpret_cast<const char *>(record_.get()), sizeof(VREL_CFG));

    ReferenceDialog dialog;
    if (edit == QLatin1String("cboCurrRefPhysicalConn"))
        dialog.findChild<QComboBox *>("cboCurrRefPhysicalConn")->setCurrentText(QStringLiteral("Right"));
    else if (edit.startsWith(QLatin1String("btnReset")))
        dialog.findChild<QPushButton *>("btnReset")->click();
    else if (edit == QLatin1String("txtCurrRefCalDueDate"))
        dialog.findChild<QLineEdit *>(edit)->setText(QStringLiteral("12/01/2025"));
    else if (!edit.startsWith(QLatin1String("none")))
        dialog.findChild<QLineEdit *>(edit)->setText(QStringLiteral("Other"));

    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    dialog.findChild<QPushButton *>("btnCancel")->click();
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QCOMPARE(answerer.seen().size(), warned ? 1 : 0);
    if (warned) {
        QCOMPARE(answerer.seen().first().title, QStringLiteral("Changes Lost"));
        QCOMPARE(answerer.seen().first().text,
                 QStringLiteral("Changes made to the Current Reference Standard Information will be lost."));
        QCOMPARE(answerer.seen().first().buttons, QStringList{QStringLiteral("OK")});
    }
    const QByteArray after(reinterpret_cast<const char *>(record_.get()), sizeof(VREL_CFG));
    QVERIFY(after == before);
}

void TestReferenceDialog::escapeLeavesRecord()
{
    const QByteArray before(reinterpret_cast<const char *>(record_.get()), sizeof(VREL_CFG));
    ReferenceDialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    dialog.findChild<QLineEdit *>("txtCurrRefMfg")->setText(QStringLiteral("Other"));
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    QTest::keyClick(&dialog, Qt::Key_Escape);
    QVERIFY(!dialog.isVisible());
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QVERIFY(answerer.seen().isEmpty());  // Escape does not warn
    QVERIFY(QByteArray(reinterpret_cast<const char *>(record_.get()), sizeof(VREL_CFG)) == before);
}

void TestReferenceDialog::touchStationFields()
{
    touch_screen = 1;
    ReferenceDialog dialog;
    for (int i = 0; i < 5; ++i) {
        QObject *field = dialog.findChild<QObject *>(kRows[i].current);
        QCOMPARE(field->property("keyboard"), QVariant(true));
    }
    QVERIFY(!dialog.findChild<QObject *>("cboCurrRefPhysicalConn")->property("keyboard").isValid());
    QVERIFY(!dialog.findChild<QObject *>("txtHistRefMfg")->property("keyboard").isValid());

    // Without a touch screen no field asks for the keyboard.
    touch_screen = 0;
    ReferenceDialog plain;
    for (int i = 0; i < 5; ++i)
        QVERIFY(!plain.findChild<QObject *>(kRows[i].current)->property("keyboard").isValid());
}

void TestReferenceDialog::execAccepted()
{
    // The caller's form: a modal run whose result says whether to go on.
    ReferenceDialog dialog;
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("Move\nAll ->"));
    answerer.answer(QStringLiteral("OK"));
    QCOMPARE(dialog.exec(), int(QDialog::Accepted));
    QVERIFY(answerer.allAnswered());
    QCOMPARE(QByteArray(record_->ref_mfg), QByteArray("Brightwater Metrology"));
    QCOMPARE(QByteArray(record_->ref_model), QByteArray("DPC-9"));
    QCOMPARE(QByteArray(record_->ref_ser_num), QByteArray("B-77321"));
    QCOMPARE(QByteArray(record_->ref_equip_num), QByteArray("MTE-0420"));
    QCOMPARE(QByteArray(record_->ref_cal_due_date), QByteArray("02/29/2024"));
    QCOMPARE(QByteArray(record_->ref_physical_con), QByteArray("Right"));
}

void TestReferenceDialog::screenshot()
{
    set_text(record_->ref_model, "HQ-400 Dual Range");
    ReferenceDialog dialog;
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    const QString dir = QStringLiteral(VREL_BIN_DIR "/../screenshots");
    QVERIFY(QDir().mkpath(dir));
    // The form fits its designed size: the layout does not push it wider or taller.
    QCOMPARE(dialog.size(), QSize(1079, 399));
    const QPixmap shot = dialog.grab();
    QCOMPARE(shot.size(), dialog.size());
    QVERIFY(shot.save(dir + QStringLiteral("/reference-dialog.png")));
    dialog.close();
}

QTEST_MAIN(TestReferenceDialog)
#include "tst_referencedialog.moc"
