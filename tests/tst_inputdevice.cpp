// On-screen input on a touch station: which requests open which panel,
// how the finished text comes back into the field, and a whole As-Found
// pass entered through the panels alone.
#include "station.h"

#include "functions.h"
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

#include <orvane/cell.h>
#include <orvane/shm.h>

#include <QDoubleValidator>
#include <QFrame>
#include <QIntValidator>
#include <QPainter>
#include <QPushButton>
#include <QRadioButton>
#include <QRegExpValidator>
#include <QScreen>
#include <QtTest>

#include <algorithm>
#include <memory>

namespace {

const char kWindowName[] = "MainWindow";

// A stand-in for the main window: a top-level widget named like it, with
// widgets one to four levels below it.
struct Form {
    Form()
    {
        top.setObjectName(QString::fromLatin1(kWindowName));
        top.resize(400, 300);
        levels << &top << new QWidget(&top) << nullptr << nullptr;
        levels[2] = new QFrame(levels[1]);
        levels[3] = new QWidget(levels[2]);
    }
    // A line edit `depth` levels below the top, opted in to the keyboard.
    QLineEdit *field(int depth, const QString &text = QString())
    {
        auto *edit = new QLineEdit(text, levels[depth - 1]);
        edit->setProperty("keyboard", true);
        return edit;
    }
    bool showActive()
    {
        top.show();
        top.activateWindow();
        return QTest::qWaitForWindowActive(&top);
    }
    QWidget top;
    QVector<QWidget *> levels;
};

QValidator *make_validator(const QString &kind, QObject *parent)
{
    if (kind == QLatin1String("int"))
        return new QIntValidator(parent);
    if (kind == QLatin1String("double"))
        return new QDoubleValidator(parent);
    if (kind == QLatin1String("regexp"))
        return new QRegExpValidator(QRegExp(QStringLiteral("[A-Z]*")), parent);
    return nullptr;
}

QLineEdit *panel_line(QWidget *panel)
{
    return panel->findChild<QLineEdit *>(QStringLiteral("edValue"));
}

QPushButton *panel_key(QWidget *panel, const QString &name)
{
    return panel->findChild<QPushButton *>(name);
}

bool click(QWidget *panel, const QString &name)
{
    QPushButton *button = panel_key(panel, name);
    if (!button || !button->isEnabled()) {
        qWarning("key %s missing or disabled", qPrintable(name));
        return false;
    }
    QTest::mouseClick(button, Qt::LeftButton);
    return true;
}

// Types `text` on the keyboard as a technician would: a key that shows the
// character, or Shift and the key whose shifted face it is.
bool type_on_keyboard(Keyboard *keyboard, const QString &text)
{
    for (const QChar c : text) {
        if (c == QLatin1Char(' ')) {
            if (!click(keyboard, QStringLiteral("btn_space")))
                return false;
            continue;
        }
        QPushButton *plain = nullptr;
        QPushButton *shifted = nullptr;
        for (QPushButton *button : keyboard->findChildren<QPushButton *>()) {
            if (button->property("btnMode").toInt() == 2)
                continue;
            const QString shift_face = button->property("btnShift").toString();
            if (button->property("btnNormal").toString() == c)
                plain = button;
            else if ((shift_face == QLatin1String("&&") ? QStringLiteral("&") : shift_face) == c)
                shifted = button;
        }
        if (plain) {
            QTest::mouseClick(plain, Qt::LeftButton);
        } else if (shifted) {
            if (!click(keyboard, QStringLiteral("btn_lshift")))
                return false;
            QTest::mouseClick(shifted, Qt::LeftButton);
        } else {
            qWarning("no key for %s", qPrintable(QString(c)));
            return false;
        }
    }
    return true;
}

// Digits, "." and "-" on the pad; the sign goes last, as the pad wants it.
bool type_on_numpad(Numpad *numpad, const QString &number)
{
    QString digits = number;
    const bool negative = digits.startsWith(QLatin1Char('-'));
    if (negative)
        digits.remove(0, 1);
    for (const QChar c : digits) {
        const QString name = c == QLatin1Char('.') ? QStringLiteral("btn_period") : QStringLiteral("btn_") + c;
        if (!click(numpad, name))
            return false;
    }
    return !negative || click(numpad, QStringLiteral("btn_10"));
}

bool visible(QWidget *panel)
{
    return panel && panel->isVisible();
}

bool make_marker(Station &station)
{
    if (!QDir().mkpath(station.cell().path(QStringLiteral("/cell"))))
        return false;
    QFile marker(station.cell().path(QStringLiteral("/cell/orvane_ts.ini")));
    return marker.open(QIODevice::WriteOnly);
}

// The window with a panel over it, as the technician sees the screen.
QPixmap screen_with_panel(QWidget &window, QWidget *panel)
{
    const QRect area = window.geometry().united(panel->geometry());
    QPixmap shot(area.size());
    shot.fill(Qt::black);
    QPainter painter(&shot);
    painter.drawPixmap(window.geometry().topLeft() - area.topLeft(), window.grab());
    painter.drawPixmap(panel->geometry().topLeft() - area.topLeft(), panel->grab());
    return shot;
}

bool no_touch_windows_left()
{
    const QWidgetList tops = QApplication::topLevelWidgets();
    return std::none_of(tops.begin(), tops.end(), [](QWidget *w) {
        return qobject_cast<InputDevice *>(w) || qobject_cast<Keyboard *>(w) || qobject_cast<Numpad *>(w);
    });
}

} // namespace

class TestInputDevice : public QObject {
    Q_OBJECT
private slots:
    void init();
    void cleanup();

    void panels();
    void panelForValidator_data();
    void panelForValidator();
    void routes_data();
    void routes();
    void nullObject();
    void toolkitKeepsWidgetRequestsFromTheFilter();
    void shownTextIsTrimmed_data();
    void shownTextIsTrimmed();
    void echoModeOfTheField_data();
    void echoModeOfTheField();
    void keyboardTakesMaxLengthAndValidator();
    void typedTextReachesTheFieldOnceOnOk_data();
    void typedTextReachesTheFieldOnceOnOk();
    void okWithUnchangedTextFinishesTheEdit();
    void escapeKeepsTheOldText_data();
    void escapeKeepsTheOldText();
    void openPanelIsRefilledForTheNextField();
    void fieldGoneWhilePanelIsOpen();
    void centredPosition_data();
    void centredPosition();
    void bothPanelsCentred();

    void stationWithoutMarker();
    void stationWithMarker();
    void dialogFieldsOnATouchStation_data();
    void dialogFieldsOnATouchStation();
    void asFoundPassThroughThePanels();
    void screenshots();
};

void TestInputDevice::init()
{
    touch_screen = 0;
}

void TestInputDevice::cleanup()
{
    touch_screen = 0;
    const QWidgetList tops = QApplication::topLevelWidgets();
    for (QWidget *widget : tops)
        QVERIFY2(!widget->isVisible(), qPrintable(widget->metaObject()->className()));
}

void TestInputDevice::panels()
{
    InputDevice device(QString::fromLatin1(kWindowName));
    QCOMPARE(device.keyboard_panel()->objectName(), QStringLiteral("keyboard"));
    QCOMPARE(device.numpad_panel()->objectName(), QStringLiteral("numpad"));
    QVERIFY(!device.keyboard_panel()->parentWidget());
    QVERIFY(!device.numpad_panel()->parentWidget());
    QVERIFY(!device.field());
    QVERIFY(!device.isVisible());
}

void TestInputDevice::panelForValidator_data()
{
    QTest::addColumn<QString>("validator");
    QTest::addColumn<bool>("numpad");
    QTest::newRow("none") << "none" << false;
    QTest::newRow("int") << "int" << true;
    QTest::newRow("double") << "double" << true;
    QTest::newRow("regexp") << "regexp" << false;
}

void TestInputDevice::panelForValidator()
{
    QFETCH(QString, validator);
    QFETCH(bool, numpad);
    QObject owner;
    QCOMPARE(panel_for(make_validator(validator, &owner)) == InputPanel::Numpad, numpad);
}

void TestInputDevice::routes_data()
{
    QTest::addColumn<QString>("route");
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("depth");
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<QVariant>("keyboard");
    QTest::addColumn<bool>("numpad");
    QTest::addColumn<QString>("windowName");
    QTest::addColumn<int>("type");
    QTest::addColumn<QString>("validator");
    QTest::addColumn<bool>("panelsOpenBefore");
    QTest::addColumn<bool>("taken");
    QTest::addColumn<QString>("after");

    const int request = QEvent::RequestSoftwareInputPanel;
    const int close = QEvent::CloseSoftwareInputPanel;
    const QVariant yes(true);
    const QVariant no(false);
    const QVariant none;
    const QString main = QString::fromLatin1(kWindowName);
    // clang-format off
    QTest::newRow("app: field three levels down") << "app" << "line" << 3 << true << yes << false << main << request << "none" << false << true << "keyboard";
    QTest::newRow("app: int validator") << "app" << "line" << 3 << true << yes << false << main << request << "int" << false << true << "numpad";
    QTest::newRow("app: double validator") << "app" << "line" << 3 << true << yes << false << main << request << "double" << false << true << "numpad";
    QTest::newRow("app: regexp validator") << "app" << "line" << 3 << true << yes << false << main << request << "regexp" << false << true << "keyboard";
    QTest::newRow("app: disabled field") << "app" << "line" << 3 << false << yes << false << main << request << "none" << false << true << "none";
    QTest::newRow("app: numpad property alone") << "app" << "line" << 3 << true << none << true << main << request << "int" << false << true << "none";
    QTest::newRow("app: keyboard false, numpad true") << "app" << "line" << 3 << true << no << true << main << request << "none" << false << true << "none";
    QTest::newRow("app: no property") << "app" << "line" << 3 << true << none << false << main << request << "none" << false << false << "none";
    QTest::newRow("app: keyboard false") << "app" << "line" << 3 << true << no << false << main << request << "none" << false << false << "none";
    QTest::newRow("app: not a line edit") << "app" << "button" << 3 << true << yes << false << main << request << "none" << false << true << "none";
    QTest::newRow("app: not a widget") << "app" << "object" << 3 << true << yes << false << main << request << "none" << false << true << "none";
    QTest::newRow("app: two levels down") << "app" << "line" << 2 << true << yes << false << main << request << "none" << false << false << "none";
    QTest::newRow("app: one level down") << "app" << "line" << 1 << true << yes << false << main << request << "none" << false << false << "none";
    QTest::newRow("app: four levels down") << "app" << "line" << 4 << true << yes << false << main << request << "none" << false << false << "none";
    QTest::newRow("app: another window") << "app" << "line" << 3 << true << yes << false << "ConfigDialog2" << request << "none" << false << false << "none";
    QTest::newRow("app: close") << "app" << "line" << 3 << true << yes << false << main << close << "none" << true << true << "closed";
    QTest::newRow("app: close for numpad property") << "app" << "button" << 1 << false << none << true << main << close << "none" << true << true << "closed";
    QTest::newRow("app: close without property") << "app" << "line" << 3 << true << none << false << main << close << "none" << true << false << "open";
    QTest::newRow("app: other event") << "app" << "line" << 3 << true << yes << false << main << int(QEvent::MouseButtonDblClick) << "none" << false << false << "none";
    QTest::newRow("direct: field three levels down") << "direct" << "line" << 3 << true << yes << false << main << request << "none" << false << true << "keyboard";
    QTest::newRow("direct: two levels down") << "direct" << "line" << 2 << true << yes << false << main << request << "int" << false << true << "numpad";
    QTest::newRow("direct: four levels, another window") << "direct" << "line" << 4 << true << yes << false << "Other" << request << "double" << false << true << "numpad";
    QTest::newRow("direct: disabled field") << "direct" << "line" << 2 << false << yes << false << main << request << "none" << false << false << "none";
    QTest::newRow("direct: no property") << "direct" << "line" << 2 << true << none << false << main << request << "none" << false << false << "none";
    QTest::newRow("direct: numpad property alone") << "direct" << "line" << 2 << true << none << true << main << request << "int" << false << false << "none";
    QTest::newRow("direct: not a line edit") << "direct" << "button" << 2 << true << yes << false << main << request << "none" << false << false << "none";
    QTest::newRow("direct: close does nothing") << "direct" << "line" << 3 << true << yes << false << main << close << "none" << true << false << "open";
    // clang-format on
}

void TestInputDevice::routes()
{
    QFETCH(QString, route);
    QFETCH(QString, kind);
    QFETCH(int, depth);
    QFETCH(bool, enabled);
    QFETCH(QVariant, keyboard);
    QFETCH(bool, numpad);
    QFETCH(QString, windowName);
    QFETCH(int, type);
    QFETCH(QString, validator);
    QFETCH(bool, panelsOpenBefore);
    QFETCH(bool, taken);
    QFETCH(QString, after);

    Form form;
    form.top.setObjectName(windowName);
    QWidget *parent = form.levels[depth - 1];
    QObject *target = nullptr;
    if (kind == QLatin1String("line")) {
        auto *edit = new QLineEdit(QStringLiteral("text"), parent);
        edit->setValidator(make_validator(validator, edit));
        edit->setEnabled(enabled);
        target = edit;
    } else if (kind == QLatin1String("button")) {
        auto *button = new QPushButton(parent);
        button->setEnabled(enabled);
        target = button;
    } else {
        target = new QObject(parent);
    }
    if (keyboard.isValid())
        target->setProperty("keyboard", keyboard);
    if (numpad)
        target->setProperty("numpad", true);

    InputDevice device(QString::fromLatin1(kWindowName));
    if (panelsOpenBefore) {
        device.keyboard_panel()->show();
        device.numpad_panel()->show();
    }
    QEvent event(static_cast<QEvent::Type>(type));
    const bool result =
        route == QLatin1String("app") ? device.eventFilter(target, &event) : device.open_panel_for(target, &event);
    QCOMPARE(result, taken);

    const bool keyboard_shown = visible(device.keyboard_panel());
    const bool numpad_shown = visible(device.numpad_panel());
    if (after == QLatin1String("keyboard") || after == QLatin1String("numpad")) {
        QCOMPARE(keyboard_shown, after == QLatin1String("keyboard"));
        QCOMPARE(numpad_shown, after == QLatin1String("numpad"));
        QCOMPARE(device.field(), target);
        QCOMPARE(panel_line(after == QLatin1String("keyboard") ? static_cast<QWidget *>(device.keyboard_panel())
                                                               : device.numpad_panel())
                     ->text(),
                 QStringLiteral("text"));
    } else if (after == QLatin1String("open")) {
        QVERIFY(keyboard_shown && numpad_shown);
    } else {
        QVERIFY(!keyboard_shown && !numpad_shown);
        QVERIFY(!device.field());
    }
    device.keyboard_panel()->close();
    device.numpad_panel()->close();
}

void TestInputDevice::nullObject()
{
    InputDevice device(QString::fromLatin1(kWindowName));
    QEvent request(QEvent::RequestSoftwareInputPanel);
    QCOMPARE(device.eventFilter(nullptr, &request), true); // swallowed, nothing opens
    QCOMPARE(device.open_panel_for(nullptr, &request), false);
    QVERIFY(!visible(device.keyboard_panel()) && !visible(device.numpad_panel()));
    Form form;
    QCOMPARE(device.open_panel_for(form.field(3), nullptr), false);
}

void TestInputDevice::toolkitKeepsWidgetRequestsFromTheFilter()
{
    // Qt 5 turns these two events into calls on its own input method as soon
    // as they are sent to a widget, before any filter sees them: sent to a
    // field they open nothing, and only the direct route reaches a panel.
    Form form;
    QLineEdit *field = form.field(3, QStringLiteral("7"));
    field->setValidator(new QIntValidator(field));
    InputDevice device(QString::fromLatin1(kWindowName));
    QEvent request(QEvent::RequestSoftwareInputPanel);
    QCoreApplication::sendEvent(field, &request);
    QVERIFY(!visible(device.numpad_panel()));
    // The filter itself, handed the same request, opens the pad.
    QVERIFY(device.eventFilter(field, &request));
    QVERIFY(visible(device.numpad_panel()));
    QCOMPARE(panel_line(device.numpad_panel())->text(), QStringLiteral("7"));
    QEvent close(QEvent::CloseSoftwareInputPanel);
    QVERIFY(device.eventFilter(field, &close));
    QVERIFY(!visible(device.numpad_panel()));
}

void TestInputDevice::shownTextIsTrimmed_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("validator");
    QTest::addColumn<QString>("shown");
    QTest::newRow("padded number") << "   12.50" << "double" << "12.50";
    QTest::newRow("blanks both sides") << "  a b  " << "none" << "a b";
    QTest::newRow("tab and newline") << "\tx\n" << "none" << "x";
}

void TestInputDevice::shownTextIsTrimmed()
{
    QFETCH(QString, text);
    QFETCH(QString, validator);
    QFETCH(QString, shown);
    Form form;
    QLineEdit *field = form.field(2, text);
    field->setValidator(make_validator(validator, field));
    InputDevice device(QString::fromLatin1(kWindowName));
    QEvent request(QEvent::RequestSoftwareInputPanel);
    QVERIFY(device.open_panel_for(field, &request));
    QCOMPARE(device.field_text(), shown);
    QWidget *panel = validator == QLatin1String("none") ? static_cast<QWidget *>(device.keyboard_panel())
                                                        : device.numpad_panel();
    QCOMPARE(panel_line(panel)->text(), shown);
    panel->close();
}

void TestInputDevice::echoModeOfTheField_data()
{
    QTest::addColumn<QString>("validator");
    QTest::addColumn<int>("mode");
    QTest::newRow("keyboard, password") << "none" << int(QLineEdit::Password);
    QTest::newRow("keyboard, normal after a password") << "none" << int(QLineEdit::Normal);
    QTest::newRow("numpad, password") << "int" << int(QLineEdit::Password);
    QTest::newRow("numpad, no echo") << "int" << int(QLineEdit::NoEcho);
    QTest::newRow("numpad, normal after a password") << "double" << int(QLineEdit::Normal);
}

void TestInputDevice::echoModeOfTheField()
{
    QFETCH(QString, validator);
    QFETCH(int, mode);
    Form form;
    InputDevice device(QString::fromLatin1(kWindowName));
    QEvent request(QEvent::RequestSoftwareInputPanel);
    // A password field first, so that a panel that keeps the last mode is
    // caught by the normal rows.
    QLineEdit *secret = form.field(2, QStringLiteral("1234"));
    secret->setValidator(make_validator(validator, secret));
    secret->setEchoMode(QLineEdit::Password);
    QVERIFY(device.open_panel_for(secret, &request));

    QLineEdit *field = form.field(2, QStringLiteral("4321"));
    field->setValidator(make_validator(validator, field));
    field->setEchoMode(static_cast<QLineEdit::EchoMode>(mode));
    QVERIFY(device.open_panel_for(field, &request));
    QWidget *panel = validator == QLatin1String("none") ? static_cast<QWidget *>(device.keyboard_panel())
                                                        : device.numpad_panel();
    QVERIFY(panel->isVisible());
    QCOMPARE(int(panel_line(panel)->echoMode()), mode);
    QCOMPARE(panel_line(panel)->text(), QStringLiteral("4321"));
    panel->close();
}

void TestInputDevice::keyboardTakesMaxLengthAndValidator()
{
    Form form;
    QLineEdit *field = form.field(2, QStringLiteral("ABC"));
    auto *letters = new QRegExpValidator(QRegExp(QStringLiteral("[A-Z]*")), field);
    field->setValidator(letters);
    field->setMaxLength(5);
    InputDevice device(QString::fromLatin1(kWindowName));
    QEvent request(QEvent::RequestSoftwareInputPanel);
    QVERIFY(device.open_panel_for(field, &request));
    QLineEdit *line = panel_line(device.keyboard_panel());
    QCOMPARE(line->maxLength(), 5);
    QCOMPARE(line->validator(), static_cast<const QValidator *>(letters));
    // The cut by the maximum length applies to what the keys insert.
    QVERIFY(type_on_keyboard(device.keyboard_panel(), QStringLiteral("DEFG")));
    QCOMPARE(line->text(), QStringLiteral("ABCDE"));
    device.keyboard_panel()->close();
}

void TestInputDevice::typedTextReachesTheFieldOnceOnOk_data()
{
    QTest::addColumn<QString>("validator");
    QTest::addColumn<QString>("start");
    QTest::addColumn<QStringList>("keys");
    QTest::addColumn<QString>("ok");
    QTest::addColumn<bool>("panelActivated");
    QTest::addColumn<QString>("text");
    // clang-format off
    QTest::newRow("keyboard") << "none" << "old" << QStringList{"btn_clear", "btn_h", "btn_i"} << "btn_rshift_2" << false << "hi";
    QTest::newRow("keyboard, Enter") << "regexp" << "AB" << QStringList{"btn_lshift", "btn_c"} << "btn_enter" << false << "ABC";
    QTest::newRow("numpad") << "double" << "   12.50" << QStringList{"btn_4", "btn_2"} << "btn_enter" << false << "42";
    QTest::newRow("numpad that took the activation") << "int" << "11" << QStringList{"btn_3"} << "btn_enter" << true << "3";
    // clang-format on
}

void TestInputDevice::typedTextReachesTheFieldOnceOnOk()
{
    QFETCH(QString, validator);
    QFETCH(QString, start);
    QFETCH(QStringList, keys);
    QFETCH(QString, ok);
    QFETCH(bool, panelActivated);
    QFETCH(QString, text);
    Form form;
    QLineEdit *field = form.field(3, start);
    field->setValidator(make_validator(validator, field));
    QVERIFY(form.showActive());
    field->setFocus(Qt::OtherFocusReason);
    QVERIFY(field->hasFocus());
    QSignalSpy changed(field, &QLineEdit::textChanged);
    QSignalSpy finished(field, &QLineEdit::editingFinished);

    InputDevice device(QString::fromLatin1(kWindowName));
    QEvent request(QEvent::RequestSoftwareInputPanel);
    QVERIFY(device.open_panel_for(field, &request));
    QWidget *panel = validator == QLatin1String("int") || validator == QLatin1String("double")
                         ? static_cast<QWidget *>(device.numpad_panel())
                         : device.keyboard_panel();
    QVERIFY(panel->isVisible());
    if (panelActivated) {
        panel->activateWindow();
        QTRY_VERIFY(panel->isActiveWindow());
        QVERIFY(!field->hasFocus());
    }
    for (const QString &name : keys)
        QVERIFY(click(panel, name));
    // Nothing reaches the field while the panel is open.
    QCOMPARE(field->text(), start);
    QCOMPARE(changed.count(), 0);
    QCOMPARE(finished.count(), 0);

    QVERIFY(click(panel, ok));
    QVERIFY(!panel->isVisible());
    QCOMPARE(field->text(), text);
    QCOMPARE(changed.count(), 1);
    QCOMPARE(finished.count(), 1);
    QVERIFY(!field->hasFocus());
}

void TestInputDevice::okWithUnchangedTextFinishesTheEdit()
{
    Form form;
    QLineEdit *field = form.field(3, QStringLiteral("same"));
    QVERIFY(form.showActive());
    field->setFocus(Qt::OtherFocusReason);
    QSignalSpy changed(field, &QLineEdit::textChanged);
    QSignalSpy finished(field, &QLineEdit::editingFinished);
    InputDevice device(QString::fromLatin1(kWindowName));
    QEvent request(QEvent::RequestSoftwareInputPanel);
    QVERIFY(device.open_panel_for(field, &request));
    QVERIFY(click(device.keyboard_panel(), QStringLiteral("btn_rshift_2")));
    QCOMPARE(field->text(), QStringLiteral("same"));
    QCOMPARE(changed.count(), 0);
    QCOMPARE(finished.count(), 1);
    QVERIFY(!field->hasFocus());
}

void TestInputDevice::escapeKeepsTheOldText_data()
{
    QTest::addColumn<QString>("validator");
    QTest::addColumn<QString>("key");
    QTest::newRow("keyboard") << "none" << "btn_a";
    QTest::newRow("numpad") << "int" << "btn_7";
}

void TestInputDevice::escapeKeepsTheOldText()
{
    QFETCH(QString, validator);
    QFETCH(QString, key);
    Form form;
    QLineEdit *field = form.field(3, QStringLiteral("12"));
    field->setValidator(make_validator(validator, field));
    QVERIFY(form.showActive());
    field->setFocus(Qt::OtherFocusReason);
    QSignalSpy changed(field, &QLineEdit::textChanged);
    QSignalSpy finished(field, &QLineEdit::editingFinished);
    InputDevice device(QString::fromLatin1(kWindowName));
    QEvent request(QEvent::RequestSoftwareInputPanel);
    QVERIFY(device.open_panel_for(field, &request));
    QWidget *panel = validator == QLatin1String("none") ? static_cast<QWidget *>(device.keyboard_panel())
                                                        : device.numpad_panel();
    QVERIFY(click(panel, key));
    QVERIFY(click(panel, QStringLiteral("btn_escape")));
    QVERIFY(!panel->isVisible());
    QCOMPARE(field->text(), QStringLiteral("12"));
    QCOMPARE(changed.count(), 0);
    QCOMPARE(finished.count(), 0);
    QVERIFY(field->hasFocus());
    // The field that asked last is kept after the panel has closed.
    QCOMPARE(device.field(), static_cast<QObject *>(field));
}

void TestInputDevice::openPanelIsRefilledForTheNextField()
{
    Form form;
    QLineEdit *first = form.field(3, QStringLiteral("alpha"));
    QLineEdit *second = form.field(3, QStringLiteral("beta"));
    InputDevice device(QString::fromLatin1(kWindowName));
    QEvent request(QEvent::RequestSoftwareInputPanel);
    QVERIFY(device.open_panel_for(first, &request));
    QVERIFY(device.open_panel_for(second, &request));
    Keyboard *keyboard = device.keyboard_panel();
    QCOMPARE(panel_line(keyboard)->text(), QStringLiteral("beta"));
    QVERIFY(type_on_keyboard(keyboard, QStringLiteral("s")));
    QVERIFY(click(keyboard, QStringLiteral("btn_rshift_2")));
    QCOMPARE(first->text(), QStringLiteral("alpha"));
    QCOMPARE(second->text(), QStringLiteral("betas"));
}

void TestInputDevice::fieldGoneWhilePanelIsOpen()
{
    Form form;
    QLineEdit *field = form.field(3, QStringLiteral("x"));
    InputDevice device(QString::fromLatin1(kWindowName));
    QEvent request(QEvent::RequestSoftwareInputPanel);
    QVERIFY(device.open_panel_for(field, &request));
    delete field;
    QVERIFY(!device.field());
    QCOMPARE(device.field_text(), QString());
    QVERIFY(click(device.keyboard_panel(), QStringLiteral("btn_rshift_2"))); // sends into nothing
    QVERIFY(!device.keyboard_panel()->isVisible());
}

void TestInputDevice::centredPosition_data()
{
    QTest::addColumn<QRect>("screen");
    QTest::addColumn<QSize>("panel");
    QTest::addColumn<QPoint>("position");
    QTest::newRow("keyboard on 1024x768") << QRect(0, 0, 1024, 768) << QSize(879, 426) << QPoint(73, 171);
    QTest::newRow("screen origin not added") << QRect(1920, 40, 1024, 768) << QSize(879, 426) << QPoint(73, 171);
    QTest::newRow("halves taken separately") << QRect(0, 0, 801, 601) << QSize(261, 381) << QPoint(270, 110);
    QTest::newRow("panel larger than the screen") << QRect(0, 0, 800, 400) << QSize(879, 426) << QPoint(-39, -13);
}

void TestInputDevice::centredPosition()
{
    QFETCH(QRect, screen);
    QFETCH(QSize, panel);
    QFETCH(QPoint, position);
    QCOMPARE(centered_panel_position(screen, panel), position);
}

void TestInputDevice::bothPanelsCentred()
{
    Form form;
    QLineEdit *field = form.field(2, QStringLiteral("x"));
    InputDevice device(QString::fromLatin1(kWindowName));
    device.keyboard_panel()->move(5, 5);
    device.numpad_panel()->move(5, 5);
    QEvent request(QEvent::RequestSoftwareInputPanel);
    QVERIFY(device.open_panel_for(field, &request));
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    // Both move, whichever opens.
    QCOMPARE(device.keyboard_panel()->pos(),
             QPoint(screen.width() / 2 - 879 / 2, screen.height() / 2 - 426 / 2));
    QCOMPARE(device.numpad_panel()->pos(),
             QPoint(screen.width() / 2 - 261 / 2, screen.height() / 2 - 380 / 2));
    device.keyboard_panel()->close();
}

void TestInputDevice::stationWithoutMarker()
{
    Station station;
    touch_screen = touch_screen_marker_present();
    QCOMPARE(touch_screen, int16_t(0));
    QVERIFY(station.open());
    QVERIFY(!input_device);
    QVERIFY(no_touch_windows_left());
    Ui::MainWindow *ui = station.window().form();
    for (QLineEdit *field : {ui->txtCalibrationQIE, ui->txtTechnicianName, ui->txtLabManager, ui->txtComment,
                             ui->txtNumPoints, ui->txtAveragingTime, station.row(0)->currentValueField()})
        QVERIFY2(!field->property("keyboard").isValid(), qPrintable(field->objectName()));
    QVERIFY(!station.row(0)->currentValueField()->validator());
    // A double click is only a double click.
    QTest::mouseDClick(ui->txtTechnicianName, Qt::LeftButton);
    QVERIFY(no_touch_windows_left());
}

void TestInputDevice::stationWithMarker()
{
    {
        Station station;
        QVERIFY(make_marker(station));
        touch_screen = touch_screen_marker_present();
        QCOMPARE(touch_screen, int16_t(1));
        QVERIFY(station.open());
        QVERIFY(input_device);
        QCOMPARE(station.row(5)->currentValueField()->property("keyboard"), QVariant(true));
        const QWidgetList tops = QApplication::topLevelWidgets();
        QCOMPARE(std::count_if(tops.begin(), tops.end(),
                               [](QWidget *w) { return qobject_cast<InputDevice *>(w) != nullptr; }),
                 1L);
    }
    // The device goes with its window.
    QVERIFY(!input_device);
    QVERIFY(no_touch_windows_left());
}

void TestInputDevice::dialogFieldsOnATouchStation_data()
{
    QTest::addColumn<QString>("dialog");
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("panel");
    // clang-format off
    QTest::newRow("table info, lower limit") << "config" << "txtLowerRangeLimit" << "numpad";
    QTest::newRow("table info, upper limit") << "config" << "txtUpperRangeLimit" << "numpad";
    QTest::newRow("table info, manufacturer") << "config" << "txtUUTMfg" << "keyboard";
    QTest::newRow("table info, description") << "config" << "txtDescription" << "keyboard";
    QTest::newRow("table info, serial number") << "config" << "txtUUTSerialNumber" << "keyboard";
    // These two carry the property but were never in the dialog's list.
    QTest::newRow("table info, model") << "config" << "txtUUTModel" << "none";
    QTest::newRow("table info, M&TE") << "config" << "txtUUT_MTE" << "none";
    // Without a keyboard a channel with no reference data would be refused.
    QTest::newRow("reference, manufacturer") << "reference" << "txtCurrRefMfg" << "keyboard";
    QTest::newRow("reference, model") << "reference" << "txtCurrRefModel" << "keyboard";
    QTest::newRow("reference, serial number") << "reference" << "txtCurrRefSN" << "keyboard";
    QTest::newRow("reference, equipment number") << "reference" << "txtCurrRefEquipNum" << "keyboard";
    QTest::newRow("reference, due date") << "reference" << "txtCurrRefCalDueDate" << "keyboard";
    QTest::newRow("record type, description") << "savetype" << "txtComment" << "keyboard";
    // clang-format on
}

void TestInputDevice::dialogFieldsOnATouchStation()
{
    QFETCH(QString, dialog);
    QFETCH(QString, field);
    QFETCH(QString, panel);
    Station station;
    QVERIFY(make_marker(station));
    touch_screen = touch_screen_marker_present();
    QVERIFY(station.open());
    QVERIFY(station.select(5)); // FUEL PRESS
    std::unique_ptr<QDialog> form;
    if (dialog == QLatin1String("config"))
        form = std::make_unique<ConfigDialog2>(&station.window(), false, 0);
    else if (dialog == QLatin1String("reference"))
        form = std::make_unique<ReferenceDialog>(&station.window());
    else
        form = std::make_unique<SaveTypeDialog>(&station.window(), false);
    auto *edit = form->findChild<QLineEdit *>(field);
    QVERIFY(edit);
    QCOMPARE(edit->property("keyboard"), QVariant(true));
    QTest::mouseDClick(edit, Qt::LeftButton);
    Keyboard *keyboard = input_device->keyboard_panel();
    Numpad *numpad = input_device->numpad_panel();
    QCOMPARE(visible(keyboard), panel == QLatin1String("keyboard"));
    QCOMPARE(visible(numpad), panel == QLatin1String("numpad"));
    if (panel == QLatin1String("numpad")) {
        // A limit shown as "%8.2f" comes without its blanks, and is
        // acceptable as it stands.
        QCOMPARE(panel_line(numpad)->text(), edit->text().trimmed());
        QVERIFY(panel_key(numpad, QStringLiteral("btn_enter"))->isEnabled());
    }
    keyboard->close();
    numpad->close();
}

void TestInputDevice::asFoundPassThroughThePanels()
{
    Station station;
    QVERIFY(make_marker(station));
    touch_screen = touch_screen_marker_present();
    QCOMPARE(touch_screen, int16_t(1));
    QVERIFY(station.open({"--tick", "20", "--no-noise"}));
    MainWindow &window = station.window();
    Ui::MainWindow *ui = window.form();
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QVERIFY(station.select(0)); // OIL TEMP IN, 11 points
    QVERIFY(input_device);
    Keyboard *keyboard = input_device->keyboard_panel();
    Numpad *numpad = input_device->numpad_panel();

    // The four texts of the form, each typed on the keyboard.
    const struct {
        QLineEdit *field;
        QString text;
    } texts[] = {
        {ui->txtCalibrationQIE, QStringLiteral("QIE-17, rev 3")},
        {ui->txtTechnicianName, QStringLiteral("R. Tester")},
        {ui->txtLabManager, QStringLiteral("M. Lab")},
        {ui->txtComment, QStringLiteral("yearly & touch")},
    };
    for (const auto &entry : texts) {
        QSignalSpy changed(entry.field, &QLineEdit::textChanged);
        QTest::mouseDClick(entry.field, Qt::LeftButton);
        QVERIFY2(visible(keyboard) && !visible(numpad), qPrintable(entry.field->objectName()));
        QVERIFY(click(keyboard, QStringLiteral("btn_clear")));
        QVERIFY(type_on_keyboard(keyboard, entry.text));
        QCOMPARE(changed.count(), 0);
        QVERIFY(click(keyboard, QStringLiteral("btn_rshift_2")));
        QVERIFY(!visible(keyboard));
        QCOMPARE(entry.field->text(), entry.text);
        QCOMPARE(changed.count(), 1);
    }

    // The number of points and the averaging time on the pad.
    QTest::mouseDClick(ui->txtNumPoints, Qt::LeftButton);
    QVERIFY(visible(numpad) && !visible(keyboard));
    QCOMPARE(panel_line(numpad)->text(), QStringLiteral("11"));
    QVERIFY(type_on_numpad(numpad, QStringLiteral("3")));
    QVERIFY(click(numpad, QStringLiteral("btn_enter")));
    QCOMPARE(ui->txtNumPoints->text(), QStringLiteral("3"));
    QCOMPARE(int(num_points), 3);

    QTest::mouseDClick(ui->txtAveragingTime, Qt::LeftButton);
    QVERIFY(visible(numpad));
    QVERIFY(type_on_numpad(numpad, QStringLiteral("5")));
    QVERIFY(click(numpad, QStringLiteral("btn_enter")));
    QCOMPARE(ui->txtAveragingTime->text(), QStringLiteral("5"));
    QCOMPARE(averaging_count, 50 * 5); // a tick of 20 ms

    // Each row's value on the pad, then the capture at that value.
    const double values[] = {20.0, 70.5, -4.0};
    for (int i = 0; i < 3; ++i) {
        QLineEdit *value_field = station.row(i)->currentValueField();
        QTest::mouseDClick(value_field, Qt::LeftButton);
        QVERIFY(visible(numpad));
        QCOMPARE(panel_line(numpad)->text(), value_field->text().trimmed());
        QVERIFY(type_on_numpad(numpad, QString::number(values[i])));
        QVERIFY(click(numpad, QStringLiteral("btn_enter")));
        QCOMPARE(value_field->text().toDouble(), values[i]);
        QCOMPARE(cfg->point_stats[i].ref_value, values[i]); // taken on editingFinished

        QVERIFY(station.applyAndCapture(0, i, values[i]));
        QCOMPARE(station.row(i)->captureText(), QStringLiteral("Undo"));
    }
    QVERIFY(ui->btnRecordData->isEnabled());

    // Record, with the description typed on the keyboard over the dialog.
    bool description_typed = false;
    station.answerer().answer("Record", [&description_typed](QWidget *dialog) {
        dialog->findChild<QRadioButton *>(QStringLiteral("rbAsFound"))->setChecked(true);
        auto *description = dialog->findChild<QLineEdit *>(QStringLiteral("txtComment"));
        QTest::mouseDClick(description, Qt::LeftButton);
        Keyboard *panel = input_device->keyboard_panel();
        description_typed = panel->isVisible() && type_on_keyboard(panel, QStringLiteral("first pass")) &&
                            click(panel, QStringLiteral("btn_rshift_2")) && !panel->isVisible() &&
                            description->text() == QLatin1String("first pass");
    });
    ui->btnRecordData->click();
    QVERIFY(station.answerer().allAnswered());
    QVERIFY(description_typed);

    QCOMPARE(cfg->table_info.cal_mode, uint16_t(CAL_AS_FOUND));
    QCOMPARE(QByteArray(cfg->table_info.user_comment), QByteArray("first pass"));
    QCOMPARE(QByteArray(cfg->table_info.working_standard), QByteArray("QIE-17 rev 3")); // commas removed
    QCOMPARE(QByteArray(cfg->table_info.technician), QByteArray("R. Tester"));
    QCOMPARE(QByteArray(cfg->lab_manager), QByteArray("M. Lab"));
    QCOMPARE(QByteArray(cfg->comment), QByteArray("yearly & touch"));
    QVERIFY(!ui->txtAsFound->text().isEmpty());
    QVERIFY(ui->btnAdjustCalibration->isEnabled() && ui->btnReuseCalibration->isEnabled());
    for (int i = 0; i < 3; ++i)
        QCOMPARE(cfg->point_stats[i].ref_value, values[i]);
    QFile archive(station.cell().path(QStringLiteral("/cell/tables/oil_temp_in.save")));
    QVERIFY(archive.open(QIODevice::ReadOnly));
    QVERIFY(archive.readAll().contains("'AS_FOUND'"));
    QVERIFY(!visible(keyboard) && !visible(numpad));
}

void TestInputDevice::screenshots()
{
    Station station;
    QVERIFY(make_marker(station));
    touch_screen = touch_screen_marker_present();
    QVERIFY(station.open());
    MainWindow &window = station.window();
    window.show();
    window.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&window));
    QVERIFY(station.select(0));
    Ui::MainWindow *ui = window.form();
    ui->txtCalibrationQIE->setText(QStringLiteral("QIE-17 rev 3"));
    ui->txtTechnicianName->setText(QStringLiteral("R. Tester"));
    const QString dir = QStringLiteral(VREL_BIN_DIR "/../screenshots");
    QVERIFY(QDir().mkpath(dir));

    QTest::mouseDClick(ui->txtLabManager, Qt::LeftButton);
    Keyboard *keyboard = input_device->keyboard_panel();
    QVERIFY(visible(keyboard));
    QVERIFY(type_on_keyboard(keyboard, QStringLiteral("M. Lab")));
    QVERIFY(click(keyboard, QStringLiteral("btn_lshift")));
    QVERIFY(screen_with_panel(window, keyboard).save(dir + QStringLiteral("/touch-keyboard.png")));
    QVERIFY(click(keyboard, QStringLiteral("btn_escape")));

    QTest::mouseDClick(station.row(2)->currentValueField(), Qt::LeftButton);
    Numpad *numpad = input_device->numpad_panel();
    QVERIFY(visible(numpad));
    QVERIFY(type_on_numpad(numpad, QStringLiteral("-1.")));
    QVERIFY(screen_with_panel(window, numpad).save(dir + QStringLiteral("/touch-numpad.png")));
    QVERIFY(click(numpad, QStringLiteral("btn_clear")));
    QVERIFY(click(numpad, QStringLiteral("btn_10"))); // a lone sign: red, Ok disabled
    QVERIFY(!panel_key(numpad, QStringLiteral("btn_enter"))->isEnabled());
    QVERIFY(screen_with_panel(window, numpad).save(dir + QStringLiteral("/touch-numpad-refused.png")));
    QVERIFY(click(numpad, QStringLiteral("btn_escape")));
}

QTEST_MAIN(TestInputDevice)
#include "tst_inputdevice.moc"
