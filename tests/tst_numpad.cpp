// The on-screen numeric pad on its own: its form, the entry rules of its
// keys from a copied value, and the verdict of the field's validator after
// every key.
#include "numpad.h"
#include "warningguard.h"

#include <QDoubleValidator>
#include <QFrame>
#include <QIntValidator>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

namespace {

QPushButton *key(Numpad &numpad, const QString &name)
{
    return numpad.findChild<QPushButton *>(QStringLiteral("btn_") + name);
}

QLineEdit *line(Numpad &numpad)
{
    return numpad.findChild<QLineEdit *>(QStringLiteral("edValue"));
}

// Presses keys by their object names without "btn_", as "1 period 5".
bool press(Numpad &numpad, const QString &keys)
{
    for (const QString &name : keys.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        QPushButton *button = key(numpad, name);
        if (!button) {
            qWarning("no key %s", qPrintable(name));
            return false;
        }
        QTest::mouseClick(button, Qt::LeftButton);
    }
    return true;
}

// The same keys through the plain entry rules.
PadEntry press_plain(PadEntry entry, const QString &keys)
{
    for (const QString &name : keys.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (name == QLatin1String("period"))
            pad_period(entry, QStringLiteral("."));
        else if (name == QLatin1String("10"))
            pad_sign(entry);
        else if (name == QLatin1String("backspace"))
            pad_backspace(entry);
        else if (name == QLatin1String("clear"))
            entry.text.clear(), entry.cursor = 0;
        else
            pad_digit(entry, name);
    }
    return entry;
}

bool text_is_red(QLineEdit *edit)
{
    const QColor red(255, 0, 0);
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        if (edit->palette().color(group, QPalette::Text) != red)
            return false;
    return true;
}

// Counts how often the pad asks for a verdict.
class CountingValidator : public QDoubleValidator {
public:
    State validate(QString &input, int &position) const override
    {
        ++calls;
        return QDoubleValidator::validate(input, position);
    }
    mutable int calls = 0;
};

} // namespace

class TestNumpad : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();

    void form();
    void keys_data();
    void keys();
    void sequences_data();
    void sequences();
    void okSends_data();
    void okSends();
    void rangeLimitedIntValidator_data();
    void rangeLimitedIntValidator();
    void secondPeriodIsNotJudged();
    void withoutValidatorOkStaysAsItWas();
    void escapeSendsNothing();
    void leavesActivationAlone();
};

void TestNumpad::initTestCase()
{
    // The spies below record the panel's signal.
    qRegisterMetaType<QVariant *>("QVariant*");
}

void TestNumpad::cleanup()
{
    const QWidgetList tops = QApplication::topLevelWidgets();
    for (QWidget *widget : tops)
        QVERIFY2(!widget->isVisible(), qPrintable(widget->objectName()));
}

void TestNumpad::form()
{
    WarningGuard warnings;
    Numpad numpad;
    QVERIFY2(warnings.warnings().isEmpty(), qPrintable(warnings.warnings().join('\n')));
    QCOMPARE(numpad.windowTitle(), QStringLiteral("Numpad"));
    QVERIFY(!numpad.parentWidget());
    QCOMPARE(numpad.windowFlags() & Qt::WindowType_Mask, Qt::Tool);
    QVERIFY(numpad.windowFlags() & Qt::WindowStaysOnTopHint);
    QCOMPARE(numpad.windowModality(), Qt::WindowModal);
    QCOMPARE(numpad.minimumSize(), QSize(261, 380));
    QCOMPARE(numpad.maximumSize(), QSize(261, 380));

    QLineEdit *edit = line(numpad);
    QVERIFY(edit);
    QCOMPARE(edit->geometry(), QRect(QPoint(10, 10), QPoint(250, 40)));
    QCOMPARE(edit->focusPolicy(), Qt::NoFocus);
    QCOMPARE(edit->font().pointSize(), 10);
    QCOMPARE(edit->font().weight(), 75);

    auto *holder = numpad.findChild<QFrame *>(QStringLiteral("keyholder"));
    QVERIFY(holder);
    QCOMPARE(holder->geometry(), QRect(QPoint(10, 70), QPoint(250, 370)));
    QCOMPARE(holder->frameShape(), QFrame::StyledPanel);
    QCOMPARE(holder->frameShadow(), QFrame::Raised);
    QCOMPARE(holder->findChildren<QPushButton *>().size(), 16);
    QCOMPARE(numpad.findChildren<QPushButton *>().size(), 16);
}

void TestNumpad::keys_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QRect>("geometry");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("normal");
    // clang-format off
    QTest::newRow("escape") << "escape" << QRect(0, 0, 60, 60) << "Esc" << 2 << "escape";
    QTest::newRow("clear") << "clear" << QRect(180, 0, 60, 60) << "Clear" << 2 << "clear";
    QTest::newRow("7") << "7" << QRect(0, 60, 60, 60) << "7" << 1 << "7";
    QTest::newRow("8") << "8" << QRect(60, 60, 60, 60) << "8" << 1 << "8";
    QTest::newRow("9") << "9" << QRect(120, 60, 60, 60) << "9" << 1 << "9";
    QTest::newRow("backspace") << "backspace" << QRect(180, 60, 60, 121) << "<--" << 2 << "backspace";
    QTest::newRow("4") << "4" << QRect(0, 120, 60, 60) << "4" << 1 << "4";
    QTest::newRow("5") << "5" << QRect(60, 120, 60, 60) << "5" << 1 << "5";
    QTest::newRow("6") << "6" << QRect(120, 120, 60, 60) << "6" << 1 << "6";
    QTest::newRow("1") << "1" << QRect(0, 180, 60, 60) << "1" << 1 << "1";
    QTest::newRow("2") << "2" << QRect(60, 180, 60, 60) << "2" << 1 << "2";
    QTest::newRow("3") << "3" << QRect(120, 180, 60, 60) << "3" << 1 << "3";
    QTest::newRow("enter") << "enter" << QRect(180, 180, 60, 121) << "Ok" << 2 << "ok";
    QTest::newRow("10") << "10" << QRect(0, 240, 60, 60) << "+/-" << 2 << "pm";
    QTest::newRow("0") << "0" << QRect(60, 240, 60, 60) << "0" << 1 << "0";
    QTest::newRow("period") << "period" << QRect(120, 240, 60, 60) << "." << 2 << "period";
    // clang-format on
}

void TestNumpad::keys()
{
    QFETCH(QString, name);
    QFETCH(QRect, geometry);
    QFETCH(QString, text);
    QFETCH(int, mode);
    QFETCH(QString, normal);
    Numpad numpad;
    QPushButton *button = key(numpad, name);
    QVERIFY(button);
    QCOMPARE(button->parentWidget()->objectName(), QStringLiteral("keyholder"));
    QCOMPARE(button->geometry(), geometry);
    QCOMPARE(button->text(), text);
    QCOMPARE(button->property("btnMode"), QVariant(mode));
    QCOMPARE(button->property("btnNormal").toString(), normal);
    // A digit carries itself as its shifted text too; a function key none.
    QCOMPARE(button->property("btnShift").toString(), mode == 1 ? normal : QString());
    QCOMPARE(button->focusPolicy(), Qt::NoFocus);
    QVERIFY(button->statusTip().isEmpty());
}

void TestNumpad::sequences_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("acceptable");
    // clang-format off
    QTest::newRow("copy untouched") << "12.5" << "" << "12.5" << true;
    QTest::newRow("a digit replaces the copy") << "12.5" << "3" << "3" << true;
    QTest::newRow("digits after the first append") << "12.5" << "3 4" << "34" << true;
    QTest::newRow("period first") << "12.5" << "period" << "0." << true;
    QTest::newRow("backspace keeps the copy's first key") << "12.5" << "backspace" << "12." << true;
    QTest::newRow("digit after backspace replaces") << "12.5" << "backspace 4" << "4" << true;
    QTest::newRow("backspace after a digit") << "12.5" << "3 4 backspace" << "3" << true;
    QTest::newRow("backspace to empty") << "12.5" << "3 backspace" << "" << false;
    QTest::newRow("no leading zero") << "12.5" << "0 7" << "7" << true;
    QTest::newRow("zero then zero") << "12.5" << "0 0" << "0" << true;
    QTest::newRow("zero then period") << "12.5" << "0 period" << "0." << true;
    QTest::newRow("zero after a digit stays") << "12.5" << "1 0 7" << "107" << true;
    QTest::newRow("second period ignored") << "12.5" << "1 period 5 period 2" << "1.52" << true;
    QTest::newRow("sign after a digit") << "12.5" << "5 10" << "-5" << true;
    QTest::newRow("sign twice") << "12.5" << "5 10 10" << "5" << true;
    QTest::newRow("sign as the first key") << "12.5" << "10" << "-" << false;
    QTest::newRow("sign then digits") << "12.5" << "10 5 period 2" << "-5.2" << true;
    QTest::newRow("sign on a cleared entry") << "12.5" << "3 clear 10" << "-" << false;
    QTest::newRow("clear") << "12.5" << "clear" << "" << false;
    QTest::newRow("clear then digit") << "12.5" << "clear 7" << "7" << true;
    QTest::newRow("empty copy") << "" << "" << "" << false;
    QTest::newRow("negative copy, sign") << "-12.5" << "3 10" << "-3" << true;
    // clang-format on
}

void TestNumpad::sequences()
{
    QFETCH(QString, start);
    QFETCH(QString, keys);
    QFETCH(QString, text);
    QFETCH(bool, acceptable);
    QDoubleValidator validator;
    validator.setLocale(QLocale::c());
    Numpad numpad;
    numpad.show_for(start, &validator);
    QVERIFY(press(numpad, keys));
    QCOMPARE(line(numpad)->text(), text);
    QCOMPARE(key(numpad, "enter")->isEnabled(), acceptable);
    QCOMPARE(text_is_red(line(numpad)), !acceptable);

    // The plain rules agree with the pad.
    const PadEntry plain = press_plain({start, start.size(), true}, keys);
    QCOMPARE(plain.text, text);
    numpad.close();
}

void TestNumpad::okSends_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("sent");
    // clang-format off
    QTest::newRow("copy sent as it is") << "12.5" << "" << "12.5";
    QTest::newRow("trailing period dropped") << "12.5" << "5 period" << "5";
    QTest::newRow("period alone gives zero") << "12.5" << "period" << "0";
    QTest::newRow("backspace to a trailing period") << "12.5" << "backspace" << "12";
    QTest::newRow("inner period kept") << "12.5" << "1 period 5" << "1.5";
    QTest::newRow("negative") << "12.5" << "7 10" << "-7";
    // clang-format on
}

void TestNumpad::okSends()
{
    QFETCH(QString, start);
    QFETCH(QString, keys);
    QFETCH(QString, sent);
    QDoubleValidator validator;
    validator.setLocale(QLocale::c());
    Numpad numpad;
    QStringList received;
    connect(&numpad, &Numpad::dataSet, this, [&received](QVariant *value) { received << value->toString(); });
    numpad.show_for(start, &validator);
    QVERIFY(press(numpad, keys));
    QVERIFY(received.isEmpty());
    QVERIFY(press(numpad, "enter"));
    QCOMPARE(received, QStringList{sent});
    QVERIFY(!numpad.isVisible());
}

void TestNumpad::rangeLimitedIntValidator_data()
{
    QTest::addColumn<QString>("keys");
    QTest::addColumn<bool>("acceptable");
    // clang-format off
    QTest::newRow("inside") << "6" << true;
    QTest::newRow("the top") << "6 4" << true;
    QTest::newRow("just beyond") << "6 5" << false;
    QTest::newRow("three digits") << "1 0 0" << false;
    QTest::newRow("back inside") << "6 5 backspace" << true;
    QTest::newRow("below the bottom") << "1" << false;
    QTest::newRow("a fraction") << "2 period 5" << false;
    // clang-format on
}

void TestNumpad::rangeLimitedIntValidator()
{
    QFETCH(QString, keys);
    QFETCH(bool, acceptable);
    QIntValidator validator(2, 64);
    Numpad numpad;
    const QColor normal = line(numpad)->palette().color(QPalette::Active, QPalette::Text);
    numpad.show_for(QStringLiteral("11"), &validator);
    QVERIFY(key(numpad, "enter")->isEnabled());
    QVERIFY(press(numpad, keys));
    QCOMPARE(key(numpad, "enter")->isEnabled(), acceptable);
    QCOMPARE(text_is_red(line(numpad)), !acceptable);
    if (acceptable)
        QCOMPARE(line(numpad)->palette().color(QPalette::Active, QPalette::Text), normal);
    numpad.close();
}

void TestNumpad::secondPeriodIsNotJudged()
{
    CountingValidator validator;
    validator.setLocale(QLocale::c());
    Numpad numpad;
    numpad.show_for(QStringLiteral("12.5"), &validator);
    QVERIFY(press(numpad, "1 period"));
    const int judged = validator.calls;
    QVERIFY(judged > 0);
    QVERIFY(press(numpad, "period"));
    QCOMPARE(validator.calls, judged);
    QCOMPARE(line(numpad)->text(), QStringLiteral("1."));
    numpad.close();
}

void TestNumpad::withoutValidatorOkStaysAsItWas()
{
    QIntValidator digits(0, 9);
    Numpad numpad;
    numpad.show_for(QStringLiteral("12"), &digits);
    QVERIFY(!key(numpad, "enter")->isEnabled());
    QVERIFY(text_is_red(line(numpad)));
    // Without a validator nothing is judged: Ok and the colour stay as the
    // last verdict left them.
    numpad.show_for(QStringLiteral("5"), nullptr);
    QVERIFY(!key(numpad, "enter")->isEnabled());
    QVERIFY(text_is_red(line(numpad)));

    Numpad fresh;
    QStringList received;
    connect(&fresh, &Numpad::dataSet, this, [&received](QVariant *value) { received << value->toString(); });
    fresh.show_for(QStringLiteral("5"), nullptr);
    QVERIFY(press(fresh, "10 period"));
    QVERIFY(key(fresh, "enter")->isEnabled());
    QVERIFY(press(fresh, "enter"));
    QCOMPARE(received, QStringList{"-"}); // the lone sign, its period dropped
    numpad.close();
}

void TestNumpad::escapeSendsNothing()
{
    QIntValidator validator;
    Numpad numpad;
    QSignalSpy sent(&numpad, &Numpad::dataSet);
    numpad.show_for(QStringLiteral("12"), &validator);
    QVERIFY(press(numpad, "3 escape"));
    QCOMPARE(sent.count(), 0);
    QVERIFY(!numpad.isVisible());
}

void TestNumpad::leavesActivationAlone()
{
    // Unlike the keyboard, the pad keeps an activation it is given.
    QWidget form;
    auto *field = new QLineEdit(&form);
    form.show();
    form.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&form));
    field->setFocus(Qt::OtherFocusReason);

    Numpad numpad;
    numpad.show_for(QStringLiteral("1"), nullptr);
    numpad.activateWindow();
    QTRY_VERIFY(numpad.isActiveWindow());
    QVERIFY(!form.isActiveWindow());
    numpad.close();
}

QTEST_MAIN(TestNumpad)
#include "tst_numpad.moc"
