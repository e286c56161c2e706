// On-screen input of a touch station: which request opens which panel, how
// the typed text comes back into the field once, the rules of the keyboard
// and of the numeric pad, and an As-Found pass entered through the panels.
#include "forms_fixture.h"
#include "station.h"

#include "configdialog2.h"
#include "inputdevice.h"
#include "keyboard.h"
#include "mainwindow.h"
#include "numpad.h"
#include "pointinfo.h"
#include "referencedialog.h"
#include "savetypedialog.h"
#include "startup.h"
#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <QDoubleValidator>
#include <QRegExpValidator>
#include <QScreen>

#include <memory>

namespace
{

QValidator *make_validator(const QString &kind, QObject *parent)
{
    auto *number = new QDoubleValidator(parent);
    number->setLocale(QLocale::c());
    QValidator *validators[] = {new QIntValidator(parent), new QIntValidator(2, 64, parent), number,
                                new QRegExpValidator(QRegExp(QStringLiteral("[A-Z]*")), parent)};
    const int index = QStringList{"int", "int2-64", "double", "regexp"}.indexOf(kind);
    return index < 0 ? nullptr : validators[index];
}

QLineEdit *line_of(QWidget *panel) { return panel->findChild<QLineEdit *>(QStringLiteral("edValue")); }

// Presses keys by their names without "btn_", as "lshift 7"; false on a key missing or disabled.
bool press(QWidget *panel, const QString &keys)
{
    for (const QString &name : keys.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        auto *key = panel->findChild<QPushButton *>(QStringLiteral("btn_") + name);
        if (!key || !key->isEnabled())
            return false;
        QTest::mouseClick(key, Qt::LeftButton);
    }
    return true;
}

// The panels shown, "keyboard", "numpad" or both; all closed after.
QString close_panels(InputDevice &device)
{
    QStringList shown;
    for (QWidget *panel : {static_cast<QWidget *>(device.keyboard_panel()), static_cast<QWidget *>(device.numpad_panel())})
        if (panel->isVisible() && panel->close())
            shown << panel->objectName();
    return shown.join(QLatin1Char(' '));
}

// A stand-in for the main window, with a field `depth` levels below it that asks for the keyboard.
struct Form {
    explicit Form(int depth = 3, const QString &name = QStringLiteral("MainWindow"))
    {
        top.setObjectName(name);
        QWidget *parent = &top;
        for (int level = 1; level < depth; ++level)
            parent = level == 2 ? new QFrame(parent) : new QWidget(parent);
        field = new QLineEdit(QStringLiteral("text"), parent);
        field->setProperty("keyboard", true);
    }
    QWidget top;
    QLineEdit *field;
};

} // namespace

class TestTouch : public QObject
{
    Q_OBJECT
    SimCell root_; // a private host root for what the forms log
    VREL_CFG record_{};

  private slots:
    void cleanup();
    void routes_data();
    void routes();
    void roundTrip_data();
    void roundTrip();
    void formFields_data();
    void formFields();
    void asFoundThroughThePanels();
    void panels_data();
    void panels();
};

void TestTouch::cleanup()
{
    touch_screen = 0;
    input_device = nullptr;
    for (QWidget *top : QApplication::topLevelWidgets())
        QVERIFY2(!top->isVisible(), top->metaObject()->className());
}

void TestTouch::routes_data()
{
    QTest::addColumn<bool>("direct");    // the forms' route, else the application filter
    QTest::addColumn<QString>("target"); // "null", or kind and depth, properties (keyboard, numpad), validator
    QTest::addColumn<QString>("window");
    QTest::addColumn<int>("event");
    QTest::addColumn<bool>("taken");
    QTest::addColumn<QString>("after"); // the panels shown; both were open before a close
    const int request = QEvent::RequestSoftwareInputPanel, close = QEvent::CloseSoftwareInputPanel;
    const int dbl = QEvent::MouseButtonDblClick;
    const QString main = QStringLiteral("MainWindow");
    // clang-format off
    QTest::newRow("app: field three levels down") << false << "line3 k" << main << request << true << "keyboard";
    QTest::newRow("app: int validator") << false << "line3 k int" << main << request << true << "numpad";
    QTest::newRow("app: disabled field") << false << "line3 k off" << main << request << true << "";
    QTest::newRow("app: numpad property alone") << false << "line3 n int" << main << request << true << "";
    QTest::newRow("app: no property") << false << "line3" << main << request << false << "";
    QTest::newRow("app: not a line edit") << false << "button3 k" << main << request << true << "";
    QTest::newRow("app: two levels down") << false << "line2 k" << main << request << false << "";
    QTest::newRow("app: four levels down") << false << "line4 k" << main << request << false << "";
    QTest::newRow("app: another window") << false << "line3 k" << "ConfigDialog2" << request << false << "";
    QTest::newRow("app: close") << false << "line3 k" << main << close << true << "";
    QTest::newRow("app: close without property") << false << "line3" << main << close << false << "keyboard numpad";
    QTest::newRow("app: other event") << false << "line3 k" << main << dbl << false << "";
    QTest::newRow("app: null request swallowed") << false << "null" << main << request << true << "";
    QTest::newRow("app: null close passes") << false << "null" << main << close << false << "keyboard numpad";
    QTest::newRow("direct: at any depth, in any window") << true << "line4 k double" << "Other" << request << true << "numpad";
    QTest::newRow("direct: disabled field") << true << "line2 k off" << main << request << false << "";
    QTest::newRow("direct: close does nothing") << true << "line3 k" << main << close << false << "keyboard numpad";
    QTest::newRow("direct: null") << true << "null" << main << request << false << "";
    // clang-format on
}

void TestTouch::routes()
{
    QFETCH(QString, target);
    QFETCH(QString, window);
    QFETCH(int, event);
    const QStringList parts = target.split(QLatin1Char(' '));
    Form form(parts[0].right(1).toInt(), window);
    QObject *object = parts[0] == QLatin1String("null") ? nullptr : form.field;
    if (parts[0].startsWith(QLatin1String("button")))
        object = new QPushButton(form.field->parentWidget());
    form.field->setValidator(make_validator(parts.last(), form.field));
    if (object) {
        object->setProperty("keyboard", parts.contains("k") ? QVariant(true) : parts.contains("k0") ? QVariant(false) : QVariant());
        object->setProperty("numpad", parts.contains("n") ? QVariant(true) : QVariant());
        object->setProperty("enabled", !parts.contains("off"));
    }
    InputDevice device(QStringLiteral("MainWindow"));
    device.keyboard_panel()->setVisible(event == QEvent::CloseSoftwareInputPanel);
    device.numpad_panel()->setVisible(event == QEvent::CloseSoftwareInputPanel);
    QEvent request(static_cast<QEvent::Type>(event));
    QFETCH(bool, direct);
    QTEST(direct ? device.open_panel_for(object, &request) : device.eventFilter(object, &request), "taken");
    const QString after = close_panels(device);
    QTEST(after, "after");
    if (after == QLatin1String("keyboard") || after == QLatin1String("numpad")) { // for the field, with its text
        QCOMPARE(device.field(), object);
        QCOMPARE(line_of(after == "numpad" ? static_cast<QWidget *>(device.numpad_panel()) : device.keyboard_panel())->text(), "text");
    }
}

void TestTouch::roundTrip_data()
{
    QTest::addColumn<QString>("validator");
    QTest::addColumn<int>("echo");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<bool>("activate"); // the panel took the activation from the form
    QTest::addColumn<QString>("shown");  // on the panel as it opens
    QTest::addColumn<QString>("text");   // in the field after
    QTest::addColumn<QString>("signals"); // textChanged count, the texts editingFinished saw
    const int normal = QLineEdit::Normal;
    // clang-format off
    QTest::newRow("keyboard, Ok") << "" << normal << "old" << "clear h i rshift_2" << false << "old" << "hi" << "1 hi";
    QTest::newRow("keyboard cuts at the field's maximum") << "regexp" << normal << "ABC" << "cabs d e f g h i cabs rshift_2" << false << "ABC" << "ABCDEFGH" << "1 ABCDEFGH";
    QTest::newRow("numpad shows the number without blanks") << "double" << normal << "   12.50" << "4 2 enter" << false << "12.50" << "42" << "1 42";
    QTest::newRow("keyboard gives the activation back") << "" << normal << "ab" << "c rshift_2" << true << "ab" << "abc" << "1 abc";
    QTest::newRow("numpad that took the activation") << "int" << normal << "11" << "3 enter" << true << "11" << "3" << "1 3";
    QTest::newRow("Ok with the text unchanged") << "" << normal << "same" << "rshift_2" << false << "same" << "same" << "0 same";
    QTest::newRow("keyboard, password, Esc") << "" << int(QLineEdit::Password) << "1234" << "a escape" << false << "1234" << "1234" << "0 ";
    QTest::newRow("numpad, no echo, Esc") << "int" << int(QLineEdit::NoEcho) << "4321" << "7 escape" << false << "4321" << "4321" << "0 ";
    // clang-format on
}

void TestTouch::roundTrip()
{
    QFETCH(QString, start);
    QFETCH(int, echo);
    QFETCH(QString, keys);
    QStringList finished; // outlives the form: closing it finishes the edit once more
    Form form;
    QLineEdit *field = form.field;
    field->setText(start);
    field->setMaxLength(8);
    field->setEchoMode(QLineEdit::EchoMode(echo));
    QFETCH(QString, validator);
    field->setValidator(make_validator(validator, field));
    InputDevice device(QStringLiteral("MainWindow")); // made before the field takes the focus, as at start
    form.top.show();
    form.top.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&form.top));
    field->setFocus(Qt::OtherFocusReason);
    QSignalSpy changed(field, &QLineEdit::textChanged);
    QEvent request(QEvent::RequestSoftwareInputPanel);
    QVERIFY(device.open_panel_for(field, &request));
    QWidget *panel = validator == "int" || validator == "double" ? static_cast<QWidget *>(device.numpad_panel())
                                                                 : device.keyboard_panel();
    QVERIFY(panel->isVisible());
    QTEST(line_of(panel)->text(), "shown");
    QCOMPARE(int(line_of(panel)->echoMode()), echo);
    // Both panels are centred on the screen, whichever opens.
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    const QPoint centre(screen.width() / 2, screen.height() / 2); // the screen's own origin is not added
    QCOMPARE(device.keyboard_panel()->pos(), centre - QPoint(879 / 2, 426 / 2));
    QCOMPARE(device.numpad_panel()->pos(), centre - QPoint(261 / 2, 380 / 2));
    QFETCH(bool, activate);
    if (activate) { // the keyboard hands the activation back to the form, the pad keeps it
        int changes = 0;
        connect(qApp, &QGuiApplication::focusWindowChanged, panel, [&changes] { ++changes; });
        panel->activateWindow();
        QTRY_VERIFY(changes >= (panel == device.keyboard_panel() ? 2 : 1));
        QTRY_COMPARE(QGuiApplication::focusWindow(), (panel == device.keyboard_panel() ? &form.top : panel)->windowHandle());
    }
    const QStringList pressed = keys.split(QLatin1Char(' '));
    QVERIFY(press(panel, pressed.mid(0, pressed.size() - 1).join(QLatin1Char(' '))));
    // Nothing reaches the field while the panel is open; the finishing key
    // sets the text once, then finishes the edit with the new text.
    QCOMPARE(field->text() + QString::number(changed.count()), start + QLatin1Char('0'));
    connect(field, &QLineEdit::editingFinished, field, [&] { finished << field->text(); });
    QVERIFY(press(panel, pressed.last()));
    QVERIFY(!panel->isVisible());
    QTEST(field->text(), "text");
    QTEST(QStringLiteral("%1 ").arg(changed.count()) + finished.join(QLatin1Char('|')), "signals");
    QCOMPARE(device.field(), static_cast<QObject *>(field));
}

void TestTouch::formFields_data()
{
    QTest::addColumn<int>("touch");
    QTest::addColumn<QString>("form");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("panel"); // that a double click opens
    // clang-format off
    QTest::newRow("table info, lower limit") << 1 << "config" << "txtLowerRangeLimit" << "numpad";
    QTest::newRow("table info, manufacturer") << 1 << "config" << "txtUUTMfg" << "keyboard";
    // These two carry the property but were never in the dialog's list.
    QTest::newRow("table info, model") << 1 << "config" << "txtUUTModel" << "";
    QTest::newRow("table info, M&TE") << 1 << "config" << "txtUUT_MTE" << "";
    QTest::newRow("reference, due date") << 1 << "reference" << "txtCurrRefCalDueDate" << "keyboard";
    QTest::newRow("reference, historical field") << 1 << "reference" << "txtHistRefMfg" << "";
    QTest::newRow("record type, description") << 1 << "savetype" << "txtComment" << "keyboard";
    QTest::newRow("keyboard station, limit") << 0 << "config" << "txtLowerRangeLimit" << "";
    // clang-format on
}

void TestTouch::formFields()
{
    QFETCH(int, touch);
    QFETCH(QString, form);
    QFETCH(QString, field);
    QFETCH(QString, panel);
    cfg = &record_;
    touch_screen = int16_t(touch);
    InputDevice device(QStringLiteral("MainWindow"));
    input_device = &device;
    std::unique_ptr<QDialog> dialog(form == "config"      ? static_cast<QDialog *>(new ConfigDialog2(nullptr, false, 0))
                                    : form == "reference" ? static_cast<QDialog *>(new ReferenceDialog(nullptr))
                                                          : new SaveTypeDialog(nullptr, false));
    auto *edit = dialog->findChild<QLineEdit *>(field);
    QCOMPARE(edit->property("keyboard").toBool(), touch && !field.startsWith(QLatin1String("txtHist")));
    QTest::mouseDClick(edit, Qt::LeftButton);
    if (panel == QLatin1String("numpad")) // "%8.2f" without its blanks, acceptable as it stands
        QCOMPARE(form_mismatches(device.numpad_panel(), "edValue=" + edit->text().trimmed() + "|btn_enter?=1"), QString());
    QTEST(close_panels(device), "panel");
}

void TestTouch::asFoundThroughThePanels()
{
    Station station;
    QVERIFY(QDir().mkpath(station.cell().path(QStringLiteral("/cell"))));
    QFile marker(station.cell().path(QStringLiteral("/cell/orvane_ts.ini")));
    QVERIFY(marker.open(QIODevice::WriteOnly));
    touch_screen = touch_screen_marker_present();
    QVERIFY(touch_screen == 1 && station.open());
    Ui::MainWindow *ui = station.window().form();
    station.window().show();
    QVERIFY(QTest::qWaitForWindowActive(&station.window()) && station.select(0)); // OIL TEMP IN
    Keyboard *keyboard = input_device->keyboard_panel();
    Numpad *numpad = input_device->numpad_panel();
    // The texts of the form on the keyboard, the counts and each row's value on the pad.
    const struct { QLineEdit *field; QWidget *panel; const char *keys; } entries[] = {
        {ui->txtCalibrationQIE, keyboard, "clear cabs q i e cabs dash 1 7 comma space 3 rshift_2"},
        {ui->txtTechnicianName, keyboard, "clear lshift r period space lshift t enter"},
        {ui->txtLabManager, keyboard, "clear lshift m space 7 lshift 7 rshift_2"},
        {ui->txtComment, keyboard, "clear y e a r l y rshift_2"},
        {ui->txtNumPoints, numpad, "2 enter"},
        {ui->txtAveragingTime, numpad, "5 enter"},
        {station.row(0)->currentValueField(), numpad, "2 0 enter"},
        {station.row(1)->currentValueField(), numpad, "7 0 period 5 10 enter"},
    };
    for (const auto &entry : entries) {
        QTest::mouseDClick(entry.field, Qt::LeftButton);
        QVERIFY2(entry.panel->isVisible() && line_of(entry.panel)->text() == entry.field->text().trimmed(), entry.keys);
        QVERIFY(press(entry.panel, QString::fromLatin1(entry.keys)));
    }
    QCOMPARE(QString::number(num_points) + ' ' + QString::number(averaging_count), QStringLiteral("2 250")); // 20 ms ticks
    QCOMPARE(QPointF(cfg->point_stats[0].ref_value, cfg->point_stats[1].ref_value), QPointF(20.0, -70.5));
    QVERIFY(station.applyAndCapture(0, 0, 20.0) && station.applyAndCapture(0, 1, -70.5));
    // Record, with the description typed on the keyboard over the dialog.
    station.answerer().answer("Record", [](QWidget *dialog) {
        act(dialog, QStringLiteral("rbAsFound=1"));
        QTest::mouseDClick(dialog->findChild<QLineEdit *>(QStringLiteral("txtComment")), Qt::LeftButton);
        press(input_device->keyboard_panel(), QStringLiteral("f i r s t space p a s s rshift_2"));
    });
    ui->btnRecordData->click();
    QVERIFY(station.answerer().allAnswered());
    QCOMPARE(int(cfg->table_info.cal_mode), int(CAL_AS_FOUND));
    QCOMPARE(QByteArrayList({cfg->table_info.user_comment, cfg->table_info.working_standard, cfg->table_info.technician,
                             cfg->lab_manager, cfg->comment}).join('|'), QByteArray("first pass|QIE-17 3|R. T|M 7&|yearly")); // commas go
    QVERIFY(!keyboard->isVisible() && !numpad->isVisible());
    QFile archive(station.cell().path(QStringLiteral("/cell/tables/oil_temp_in.save")));
    QVERIFY(archive.open(QIODevice::ReadOnly) && archive.readAll().contains("'AS_FOUND'"));
}

void TestTouch::panels_data()
{
    QTest::addColumn<QString>("panel"); // the keyboard with its maximum length or for many lines, the pad with its validator
    QTest::addColumn<QString>("start");
    QTest::addColumn<int>("cursor");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("sent");
    // The keyboard: where its cursor is, then the faces of q, 1, 7 and Ok
    // once it is opened again.  The pad: whether Ok is enabled, the text red.
    QTest::addColumn<QString>("state");
    const QStringList none;
    const QString plain = QStringLiteral("q 1 7 Ok"), caps = QStringLiteral("Q 1 7 Ok"), shift = QStringLiteral("Q ! & Ok");
    // clang-format off
    QTest::newRow("shift and 7: an ampersand") << "keyboard" << "" << 0 << "lshift 7" << "&" << none << "at 1 | " + plain;
    QTest::newRow("shift shows the shifted faces") << "keyboard" << "" << 0 << "rshift" << "" << none << "at 0 | " + shift;
    QTest::newRow("shift lasts one key") << "keyboard" << "" << 0 << "lshift a a" << "Aa" << none << "at 2 | " + plain;
    QTest::newRow("shift twice is off") << "keyboard" << "" << 0 << "lshift rshift a" << "a" << none << "at 1 | " + plain;
    QTest::newRow("shift survives function keys") << "keyboard" << "" << 0 << "lshift left space" << " " << none << "at 1 | " + shift;
    QTest::newRow("caps: capitals, digits unshifted") << "keyboard" << "" << 0 << "cabs a 1 dash" << "A1-" << none << "at 3 | " + caps;
    QTest::newRow("shift under caps shifts a digit once") << "keyboard" << "" << 0 << "cabs lshift 1 1 a" << "!1A" << none << "at 3 | " + caps;
    QTest::newRow("caps clears shift") << "keyboard" << "" << 0 << "lshift cabs" << "" << none << "at 0 | " + caps;
    QTest::newRow("punctuation and its shifted face") << "keyboard" << "" << 0 << "backquote lshift backquote backslash lshift backslash apostrophe lshift apostrophe lshift startbracket endbracket" << "`~\\|'\"{]" << none << "at 8 | " + plain;
    QTest::newRow("tab inserts a tab") << "keyboard" << "" << 0 << "a tab b" << "a\tb" << none << "at 3 | " + plain;
    QTest::newRow("left at the start, right at the end") << "keyboard" << "" << 0 << "left a right right" << "a" << none << "at 1 | " + plain;
    QTest::newRow("clear") << "keyboard" << "abc" << 3 << "clear c" << "c" << none << "at 1 | " + plain;
    QTest::newRow("backspace at 0") << "keyboard" << "abcd" << 0 << "backspace" << "abcd" << none << "at 0 | " + plain;
    QTest::newRow("backspace at the end") << "keyboard" << "abcd" << 4 << "backspace" << "abc" << none << "at 3 | " + plain;
    QTest::newRow("full, in the middle: the last drops") << "keyboard 3" << "abc" << 1 << "x" << "axb" << none << "at 2 | " + plain;
    QTest::newRow("full, at the end: nothing goes in") << "keyboard 3" << "abc" << 3 << "x" << "abc" << none << "at 3 | " + plain;
    QTest::newRow("shown text cut to the maximum") << "keyboard 3" << "abcdef" << 3 << "" << "abc" << none << "at 3 | " + plain;
    QTest::newRow("Ok sends the line") << "keyboard" << "abc" << 3 << "d rshift_2" << "abcd" << QStringList{"abcd"} << "closed | " + plain;
    QTest::newRow("Enter on one line sends") << "keyboard" << "abc" << 3 << "d enter" << "abcd" << QStringList{"abcd"} << "closed | " + plain;
    QTest::newRow("Enter on many lines inserts") << "keyboard lines" << "ab" << 1 << "enter" << "a\nb" << none << "at 2 | " + plain;
    QTest::newRow("Esc sends nothing, caps stays") << "keyboard" << "abc" << 3 << "cabs d escape" << "abcD" << none << "closed | " + caps;
    QTest::newRow("shift survives Ok") << "keyboard" << "" << 0 << "a lshift rshift_2" << "a" << QStringList{"a"} << "closed | " + shift;
    QTest::newRow("copy untouched") << "numpad double" << "12.5" << -1 << "" << "12.5" << none << "open ok";
    QTest::newRow("digits replace the copy") << "numpad double" << "12.5" << -1 << "3 4" << "34" << none << "open ok";
    QTest::newRow("period first") << "numpad double" << "12.5" << -1 << "period" << "0." << none << "open ok";
    QTest::newRow("backspace keeps the copy's first key") << "numpad double" << "12.5" << -1 << "backspace 4" << "4" << none << "open ok";
    QTest::newRow("backspace to empty") << "numpad double" << "12.5" << -1 << "3 backspace" << "" << none << "open refused red";
    QTest::newRow("no leading zero") << "numpad double" << "12.5" << -1 << "0 0 7" << "7" << none << "open ok";
    QTest::newRow("second period ignored") << "numpad double" << "12.5" << -1 << "1 period 5 period 2" << "1.52" << none << "open ok";
    QTest::newRow("sign after a digit") << "numpad double" << "12.5" << -1 << "5 10" << "-5" << none << "open ok";
    QTest::newRow("sign as the first key") << "numpad double" << "12.5" << -1 << "10" << "-" << none << "open refused red";
    QTest::newRow("sign on a cleared entry") << "numpad double" << "12.5" << -1 << "3 clear 10" << "-" << none << "open refused red";
    QTest::newRow("Ok sends the copy") << "numpad double" << "12.5" << -1 << "enter" << "12.5" << QStringList{"12.5"} << "closed ok";
    QTest::newRow("trailing period dropped") << "numpad double" << "12.5" << -1 << "5 period enter" << "5." << QStringList{"5"} << "closed ok";
    QTest::newRow("Esc sends nothing") << "numpad double" << "12.5" << -1 << "3 escape" << "3" << none << "closed ok";
    QTest::newRow("range: just beyond") << "numpad int2-64" << "11" << -1 << "6 5" << "65" << none << "open refused red";
    QTest::newRow("range: back inside") << "numpad int2-64" << "11" << -1 << "6 5 backspace enter" << "6" << QStringList{"6"} << "closed ok";
    QTest::newRow("no validator: a lone sign goes") << "numpad " << "5" << -1 << "10 period enter" << "-." << QStringList{"-"} << "closed ok";
    // clang-format on
}

void TestTouch::panels()
{
    QFETCH(QString, panel);
    QFETCH(QString, start);
    QFETCH(int, cursor);
    QFETCH(QString, keys);
    Keyboard keyboard;
    Numpad numpad;
    QStringList sent;
    const auto take = [&sent](QVariant *value) { sent << value->toString(); };
    connect(&keyboard, &Keyboard::dataSet, this, take);
    connect(&numpad, &Numpad::dataSet, this, take);
    QWidget *shown = panel.startsWith(QLatin1String("keyboard")) ? static_cast<QWidget *>(&keyboard) : &numpad;
    if (shown == &keyboard)
        keyboard.show_for(start, panel.endsWith(QLatin1String("3")) ? 3 : 99, panel.endsWith(QLatin1String("lines")));
    else
        numpad.show_for(start, make_validator(panel.section(' ', 1), &numpad));
    if (cursor >= 0)
        line_of(shown)->setCursorPosition(cursor);
    QVERIFY(press(shown, keys));
    QTEST(line_of(shown)->text(), "text");
    QTEST(sent, "sent");
    QString state = shown->isVisible() ? QStringLiteral("open") : QStringLiteral("closed");
    if (shown == &keyboard) {
        state = shown->isVisible() ? QStringLiteral("at %1 |").arg(line_of(shown)->cursorPosition()) : "closed |";
        keyboard.show_for(QString(), 99, false); // shift and caps stay as they were left
        for (const char *key : {"btn_q", "btn_1", "btn_7", "btn_rshift_2"})
            state += ' ' + widget_value(&keyboard, QLatin1String(key)).replace(QLatin1String("&&"), QLatin1String("&"));
    } else {
        state += widget_value(&numpad, "btn_enter?") == "1" ? " ok" : " refused";
        state += line_of(shown)->palette().color(QPalette::Inactive, QPalette::Text) == Qt::red ? " red" : "";
    }
    QTEST(state, "state");
    shown->close();
}

QTEST_MAIN(TestTouch)
#include "tst_touch.moc"
