// The on-screen keyboard on its own: its form and key field, the texts of
// the keys under shift and caps, and the editing of its private line.
#include "keyboard.h"
#include "warningguard.h"

#include <QFrame>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

namespace {

QPushButton *key(Keyboard &keyboard, const QString &name)
{
    return keyboard.findChild<QPushButton *>(QStringLiteral("btn_") + name);
}

QLineEdit *line(Keyboard &keyboard)
{
    return keyboard.findChild<QLineEdit *>(QStringLiteral("edValue"));
}

// Presses keys by their object names without "btn_", as "lshift 7".
bool press(Keyboard &keyboard, const QString &keys)
{
    for (const QString &name : keys.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        QPushButton *button = key(keyboard, name);
        if (!button) {
            qWarning("no key %s", qPrintable(name));
            return false;
        }
        QTest::mouseClick(button, Qt::LeftButton);
    }
    return true;
}

// Notes that a window was activated.
class ActivationWatch : public QObject {
public:
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::WindowActivate)
            activated = true;
        return false;
    }
    bool activated = false;
};

struct Key {
    const char *name;
    QRect geometry;
    int mode;
    QString normal;
    QString shifted;
    QString text;
};

// The key field as the form is to lay it out: character rows of adjacent
// 60 by 60 keys, and the function keys with their own sizes.
QVector<Key> expected_keys()
{
    QVector<Key> keys;
    struct Character {
        const char *name;
        const char *normal;
        const char *shifted;
    };
    auto row = [&keys](int top, int left, int mode, std::initializer_list<Character> characters) {
        for (const Character &c : characters) {
            keys.append({c.name, QRect(left, top, 60, 60), mode, QString::fromLatin1(c.normal),
                         QString::fromLatin1(c.shifted), QString::fromLatin1(c.normal)});
            left += 60;
        }
        return left;
    };
    row(60, 0, 1,
        {{"backquote", "`", "~"}, {"1", "1", "!"}, {"2", "2", "@"}, {"3", "3", "#"}, {"4", "4", "$"},
         {"5", "5", "%"}, {"6", "6", "^"}, {"7", "7", "&&"}, {"8", "8", "*"}, {"9", "9", "("},
         {"0", "0", ")"}, {"dash", "-", "_"}, {"equal", "=", "+"}});
    int left = row(120, 70, 0,
                   {{"q", "q", "Q"}, {"w", "w", "W"}, {"e", "e", "E"}, {"r", "r", "R"}, {"t", "t", "T"},
                    {"y", "y", "Y"}, {"u", "u", "U"}, {"i", "i", "I"}, {"o", "o", "O"}, {"p", "p", "P"}});
    row(120, left, 1, {{"startbracket", "[", "{"}, {"endbracket", "]", "}"}});
    keys.append({"backslash", QRect(790, 120, 71, 60), 1, "\\", "|", "\\"});
    left = row(180, 80, 0,
               {{"a", "a", "A"}, {"s", "s", "S"}, {"d", "d", "D"}, {"f", "f", "F"}, {"g", "g", "G"},
                {"h", "h", "H"}, {"j", "j", "J"}, {"k", "k", "K"}, {"l", "l", "L"}});
    row(180, left, 1, {{"semicolon", ";", ":"}, {"apostrophe", "'", "\""}});
    left = row(240, 90, 0,
               {{"z", "z", "Z"}, {"x", "x", "X"}, {"c", "c", "C"}, {"v", "v", "V"}, {"b", "b", "B"},
                {"n", "n", "N"}, {"m", "m", "M"}});
    row(240, left, 1, {{"comma", ",", "<"}, {"period", ".", ">"}, {"slash", "/", "?"}});

    const struct {
        const char *name;
        QRect geometry;
        const char *text;
        const char *word;
    } functions[] = {
        {"escape", QRect(0, 0, 60, 60), "Esc", "escape"},
        {"clear", QRect(780, 0, 81, 60), "Clear", "clear"},
        {"backspace", QRect(780, 60, 81, 60), "<--", "backspace"},
        {"tab", QRect(0, 120, 71, 60), "Tab", "tab"},
        {"cabs", QRect(0, 180, 81, 60), "Caps", "caps"},
        {"enter", QRect(740, 180, 121, 60), "Enter", "enter"},
        {"lshift", QRect(0, 240, 91, 60), "Shift", "shift"},
        {"rshift", QRect(690, 240, 171, 60), "Shift", "shift"},
        {"left", QRect(0, 300, 60, 60), "<-", "left"},
        {"right", QRect(60, 300, 60, 60), "->", "right"},
        {"space", QRect(170, 300, 431, 60), "Space", "space"},
        {"rshift_2", QRect(690, 300, 171, 60), "Ok", "ok"},
    };
    for (const auto &f : functions)
        keys.append({f.name, f.geometry, 2, QString::fromLatin1(f.word), QString(),
                     QString::fromLatin1(f.text)});
    return keys;
}

} // namespace

class TestKeyboard : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();

    void form();
    void keys_data();
    void keys();
    void typing_data();
    void typing();
    void relabelling_data();
    void relabelling();
    void backspace_data();
    void backspace();
    void insertAtMaximumLength_data();
    void insertAtMaximumLength();
    void finishingKeys_data();
    void finishingKeys();
    void enterInMultiLineMode();
    void modifiersSurviveReopening();
    void activationGoesBackToTheForm();
};

void TestKeyboard::initTestCase()
{
    // The spies below record the panel's signal.
    qRegisterMetaType<QVariant *>("QVariant*");
}

void TestKeyboard::cleanup()
{
    const QWidgetList tops = QApplication::topLevelWidgets();
    for (QWidget *widget : tops)
        QVERIFY2(!widget->isVisible(), qPrintable(widget->objectName()));
}

void TestKeyboard::form()
{
    WarningGuard warnings;
    Keyboard keyboard;
    QVERIFY2(warnings.warnings().isEmpty(), qPrintable(warnings.warnings().join('\n')));
    QCOMPARE(keyboard.windowTitle(), QStringLiteral("Keyboard"));
    QVERIFY(!keyboard.parentWidget());
    QCOMPARE(keyboard.windowFlags() & Qt::WindowType_Mask, Qt::Tool);
    QVERIFY(keyboard.windowFlags() & Qt::WindowStaysOnTopHint);
    QCOMPARE(keyboard.windowModality(), Qt::WindowModal);
    QCOMPARE(keyboard.minimumSize(), QSize(879, 426));
    QCOMPARE(keyboard.maximumSize(), QSize(879, 426));

    QLineEdit *edit = line(keyboard);
    QVERIFY(edit);
    QCOMPARE(edit->geometry(), QRect(QPoint(10, 10), QPoint(870, 50)));
    QCOMPARE(edit->focusPolicy(), Qt::NoFocus);
    QCOMPARE(edit->font().pointSize(), 10);
    QCOMPARE(edit->font().weight(), 75);

    auto *holder = keyboard.findChild<QFrame *>(QStringLiteral("keyholder"));
    QVERIFY(holder);
    QCOMPARE(holder->geometry(), QRect(QPoint(10, 60), QPoint(870, 420)));
    QCOMPARE(holder->focusPolicy(), Qt::NoFocus);
    QCOMPARE(holder->frameShape(), QFrame::StyledPanel);
    QCOMPARE(holder->frameShadow(), QFrame::Raised);
    // Every key lies in the holder, and there is no other.
    QCOMPARE(holder->findChildren<QPushButton *>().size(), expected_keys().size());
    QCOMPARE(keyboard.findChildren<QPushButton *>().size(), expected_keys().size());
}

void TestKeyboard::keys_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QRect>("geometry");
    QTest::addColumn<int>("mode");
    QTest::addColumn<QString>("normal");
    QTest::addColumn<QString>("shifted");
    QTest::addColumn<QString>("text");
    for (const Key &k : expected_keys())
        QTest::newRow(k.name) << QString::fromLatin1(k.name) << k.geometry << k.mode << k.normal
                              << k.shifted << k.text;
}

void TestKeyboard::keys()
{
    QFETCH(QString, name);
    QFETCH(QRect, geometry);
    QFETCH(int, mode);
    QFETCH(QString, normal);
    QFETCH(QString, shifted);
    QFETCH(QString, text);
    Keyboard keyboard;
    QPushButton *button = key(keyboard, name);
    QVERIFY(button);
    QCOMPARE(button->parentWidget()->objectName(), QStringLiteral("keyholder"));
    QCOMPARE(button->geometry(), geometry);
    QCOMPARE(button->property("btnMode"), QVariant(mode));
    QCOMPARE(button->property("btnNormal").toString(), normal);
    QCOMPARE(button->property("btnShift").toString(), shifted);
    QCOMPARE(button->text(), text);
    QCOMPARE(button->focusPolicy(), Qt::NoFocus);
    QVERIFY(button->statusTip().isEmpty());
}

void TestKeyboard::typing_data()
{
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("text");
    // clang-format off
    QTest::newRow("ampersand from shift and 7") << "lshift 7" << "&";
    QTest::newRow("right shift as the left") << "rshift a" << "A";
    QTest::newRow("shift lasts one key") << "lshift a a" << "Aa";
    QTest::newRow("shift pressed twice is off") << "lshift rshift a" << "a";
    QTest::newRow("shift survives function keys") << "lshift left space a" << " A";
    QTest::newRow("caps keeps capitals") << "cabs a b" << "AB";
    QTest::newRow("caps leaves digits") << "cabs 1 dash" << "1-";
    QTest::newRow("shift under caps stays capital") << "cabs lshift a b" << "AB";
    QTest::newRow("shift under caps shifts a digit once") << "cabs lshift 1 1" << "!1";
    QTest::newRow("caps ends shift") << "lshift cabs cabs a" << "a";
    QTest::newRow("tab inserts a tab") << "a tab b" << "a\tb";
    QTest::newRow("space") << "a space b" << "a b";
    QTest::newRow("backquote and tilde") << "backquote lshift backquote" << "`~";
    QTest::newRow("backslash and bar") << "backslash lshift backslash" << "\\|";
    QTest::newRow("apostrophe and quotation mark") << "apostrophe lshift apostrophe" << "'\"";
    QTest::newRow("brackets") << "startbracket endbracket lshift startbracket lshift endbracket" << "[]{}";
    QTest::newRow("left then insert") << "a b left x" << "axb";
    QTest::newRow("left twice then right") << "a b left left right y" << "ayb";
    QTest::newRow("left at the start stays") << "left left a" << "a";
    QTest::newRow("right at the end stays") << "a right b" << "ab";
    QTest::newRow("clear empties the line") << "a b clear c" << "c";
    QTest::newRow("backspace after cursor moves") << "a b c left backspace" << "ac";
    // clang-format on
}

void TestKeyboard::typing()
{
    QFETCH(QString, keys);
    QFETCH(QString, text);
    Keyboard keyboard;
    keyboard.show_for(QString(), 32767, false);
    QVERIFY(press(keyboard, keys));
    QCOMPARE(line(keyboard)->text(), text);
    keyboard.close();
}

void TestKeyboard::relabelling_data()
{
    QTest::addColumn<QString>("keys");
    QTest::addColumn<bool>("lettersShifted");
    QTest::addColumn<bool>("othersShifted");
    // clang-format off
    QTest::newRow("neutral") << "" << false << false;
    QTest::newRow("shift") << "lshift" << true << true;
    QTest::newRow("caps") << "cabs" << true << false;
    QTest::newRow("caps and shift") << "cabs lshift" << true << true;
    QTest::newRow("letter after shift") << "lshift q" << false << false;
    QTest::newRow("digit after shift") << "lshift 5" << false << false;
    QTest::newRow("letter after caps and shift") << "cabs lshift q" << true << false;
    QTest::newRow("function key after shift") << "lshift right" << true << true;
    QTest::newRow("caps off again") << "cabs cabs" << false << false;
    QTest::newRow("caps clears shift") << "lshift cabs" << true << false;
    // clang-format on
}

void TestKeyboard::relabelling()
{
    QFETCH(QString, keys);
    QFETCH(bool, lettersShifted);
    QFETCH(bool, othersShifted);
    Keyboard keyboard;
    keyboard.show_for(QString(), 32767, false);
    QVERIFY(press(keyboard, keys));
    // Every key at once: the letters, the digits and punctuation, and the
    // function keys, which keep their texts.
    for (const Key &k : expected_keys()) {
        QPushButton *button = key(keyboard, QString::fromLatin1(k.name));
        const bool shifted = k.mode == 0 ? lettersShifted : othersShifted;
        const QString expected = k.mode == 2 ? k.text : (shifted ? k.shifted : k.normal);
        QVERIFY2(button->text() == expected,
                 qPrintable(QStringLiteral("%1 shows %2").arg(k.name, button->text())));
    }
    keyboard.close();
}

void TestKeyboard::backspace_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("cursor");
    QTest::addColumn<QString>("after");
    QTest::addColumn<int>("cursorAfter");
    // clang-format off
    QTest::newRow("position 0") << "abcd" << 0 << "abcd" << 0;
    QTest::newRow("position 1") << "abcd" << 1 << "bcd" << 0;
    QTest::newRow("middle") << "abcd" << 2 << "acd" << 1;
    QTest::newRow("one before the end") << "abcd" << 3 << "abd" << 2;
    QTest::newRow("end") << "abcd" << 4 << "abc" << 3;
    QTest::newRow("only character") << "a" << 1 << "" << 0;
    QTest::newRow("empty") << "" << 0 << "" << 0;
    // clang-format on
}

void TestKeyboard::backspace()
{
    QFETCH(QString, text);
    QFETCH(int, cursor);
    QFETCH(QString, after);
    QFETCH(int, cursorAfter);
    const LineEdit plain = backspaced({text, cursor});
    QCOMPARE(plain.text, after);
    QCOMPARE(plain.cursor, cursorAfter);

    Keyboard keyboard;
    keyboard.show_for(text, 32767, false);
    line(keyboard)->setCursorPosition(cursor);
    QVERIFY(press(keyboard, "backspace"));
    QCOMPARE(line(keyboard)->text(), after);
    QCOMPARE(line(keyboard)->cursorPosition(), cursorAfter);
    keyboard.close();
}

void TestKeyboard::insertAtMaximumLength_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("maxLength");
    QTest::addColumn<int>("cursor");
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QString>("after");
    QTest::addColumn<int>("cursorAfter");
    // clang-format off
    QTest::newRow("room left") << "ab" << 5 << 1 << "x" << "axb" << 2;
    QTest::newRow("full, in the middle: the last one drops") << "abc" << 3 << 1 << "x" << "axb" << 2;
    QTest::newRow("full, at the end: nothing goes in") << "abc" << 3 << 3 << "x" << "abc" << 3;
    QTest::newRow("full, at the start") << "abc" << 3 << 0 << "x y" << "xya" << 2;
    QTest::newRow("shown text cut to the maximum") << "abcdef" << 3 << 3 << "" << "abc" << 3;
    QTest::newRow("a tab counts as one") << "ab" << 3 << 2 << "tab space" << "ab\t" << 3;
    // clang-format on
}

void TestKeyboard::insertAtMaximumLength()
{
    QFETCH(QString, text);
    QFETCH(int, maxLength);
    QFETCH(int, cursor);
    QFETCH(QString, keys);
    QFETCH(QString, after);
    QFETCH(int, cursorAfter);
    Keyboard keyboard;
    keyboard.show_for(text, maxLength, false);
    QCOMPARE(line(keyboard)->maxLength(), maxLength);
    line(keyboard)->setCursorPosition(cursor);
    QVERIFY(press(keyboard, keys));
    QCOMPARE(line(keyboard)->text(), after);
    QCOMPARE(line(keyboard)->cursorPosition(), cursorAfter);
    keyboard.close();
}

void TestKeyboard::finishingKeys_data()
{
    QTest::addColumn<QString>("keys");
    QTest::addColumn<QStringList>("sent");
    // clang-format off
    QTest::newRow("Ok") << "d rshift_2" << QStringList{"abcd"};
    QTest::newRow("Enter on one line") << "d enter" << QStringList{"abcd"};
    QTest::newRow("Ok with the text unchanged") << "rshift_2" << QStringList{"abc"};
    QTest::newRow("Ok on an emptied line") << "clear rshift_2" << QStringList{""};
    QTest::newRow("Esc sends nothing") << "d escape" << QStringList{};
    // clang-format on
}

void TestKeyboard::finishingKeys()
{
    QFETCH(QString, keys);
    QFETCH(QStringList, sent);
    Keyboard keyboard;
    QStringList received;
    connect(&keyboard, &Keyboard::dataSet, this, [&received](QVariant *value) { received << value->toString(); });
    keyboard.show_for(QStringLiteral("abc"), 32767, false);
    QVERIFY(keyboard.isVisible());
    QVERIFY(press(keyboard, keys));
    QCOMPARE(received, sent);
    QVERIFY(!keyboard.isVisible());
}

void TestKeyboard::enterInMultiLineMode()
{
    Keyboard keyboard;
    QSignalSpy sent(&keyboard, &Keyboard::dataSet);
    keyboard.show_for(QStringLiteral("ab"), 32767, true);
    line(keyboard)->setCursorPosition(1);
    QVERIFY(press(keyboard, "enter"));
    QCOMPARE(sent.count(), 0);
    QVERIFY(keyboard.isVisible());
    QCOMPARE(line(keyboard)->text(), QStringLiteral("a\nb"));
    QCOMPARE(line(keyboard)->cursorPosition(), 2);
    // The next opening on one line finishes on Enter again.
    keyboard.show_for(QStringLiteral("ab"), 32767, false);
    QVERIFY(press(keyboard, "enter"));
    QCOMPARE(sent.count(), 1);
}

void TestKeyboard::modifiersSurviveReopening()
{
    Keyboard keyboard;
    keyboard.show_for(QString(), 32767, false);
    QVERIFY(press(keyboard, "cabs escape"));
    keyboard.show_for(QString(), 32767, false);
    QCOMPARE(key(keyboard, "a")->text(), QStringLiteral("A"));
    QVERIFY(press(keyboard, "a cabs lshift rshift_2"));
    keyboard.show_for(QString(), 32767, false);
    QCOMPARE(key(keyboard, "1")->text(), QStringLiteral("!"));
    QVERIFY(press(keyboard, "1 b"));
    QCOMPARE(line(keyboard)->text(), QStringLiteral("!b"));
    keyboard.close();
}

void TestKeyboard::activationGoesBackToTheForm()
{
    // The keyboard is there before the field takes the focus, as on a
    // station, where it is made at start.
    Keyboard keyboard;
    QWidget form;
    auto *field = new QLineEdit(&form);
    form.show();
    form.activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(&form));
    field->setFocus(Qt::OtherFocusReason);
    QVERIFY(field->hasFocus());

    ActivationWatch watch;
    keyboard.installEventFilter(&watch);
    keyboard.show_for(QStringLiteral("x"), 32767, false);
    keyboard.activateWindow();
    QTRY_VERIFY(watch.activated);
    // The keyboard hands the activation straight back to the form, whose
    // field gets the focus back for the finished text.
    QTRY_VERIFY(form.isActiveWindow());
    QVERIFY(!keyboard.isActiveWindow());
    QVERIFY(field->hasFocus());
    keyboard.close();
}

QTEST_MAIN(TestKeyboard)
#include "tst_keyboard.moc"
