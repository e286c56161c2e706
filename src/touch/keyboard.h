// The on-screen keyboard of a touch station: one line of text on top and a
// US-style key field below.  The technician edits a private copy of a
// field's text in `edValue`; Ok hands the finished text back through
// dataSet, Esc drops it.  Nothing is typed into the field itself.
//
// Every key is a QPushButton without focus that describes itself by three
// dynamic properties, so one loop wires the key field and one relabels it:
//   btnMode    0 a letter, 1 a digit or punctuation key, 2 a function key
//   btnNormal  the unshifted text; for a function key the function's word
//   btnShift   the shifted text; empty for a function key
// A button text of "&&" is a single ampersand (one alone is a mnemonic).
#pragma once

#include <QLineEdit>
#include <QList>
#include <QPointer>
#include <QString>
#include <QWidget>

#include <cstdint>

class QValidator;
class QVariant;

namespace Ui
{
class Keyboard;
}

// A line of text with its cursor, as the keys edit it.
struct LineEdit {
    QString text;
    int cursor = 0;
};

// `insertion` put in at the cursor; the cursor goes one further whatever
// the length inserted.  A cursor beyond the text inserts at its end.
LineEdit inserted_at_cursor(const LineEdit &line, const QString &insertion);
// The character before the cursor removed and the cursor one back; at
// position 0 the line stays as it is.
LineEdit backspaced(const LineEdit &line);
// The text a key shows: letters take their shifted text under shift or
// caps, digits and punctuation under shift only; a function key keeps
// its `current` text.
QString key_label(int mode, const QString &normal, const QString &shifted, const QString &current,
                  bool shift, bool caps);
// What a character key inserts for its label: "&&" is one ampersand.
QString key_insertion(const QString &label);

class Keyboard : public QWidget
{
    Q_OBJECT
  public:
    Keyboard();
    ~Keyboard() override;

    // Fills `edValue` and shows the keyboard.  With multi_line, Enter
    // inserts a newline instead of finishing.  Shift and caps stay as the
    // last use left them.
    void show_for(const QVariant &text, int max_length, bool multi_line);
    void set_echo_mode(QLineEdit::EchoMode mode);
    void set_validator(const QValidator *validator);

  signals:
    // Emitted on Ok.  The value belongs to the keyboard and lives only
    // while the signal is delivered: receivers read it, never keep it.
    void dataSet(QVariant *value);

  public slots:
    void buttonClicked();
    void shiftClicked();
    void capsClicked();
    void enterClicked();
    void okClicked();
    void escapeClicked();
    void spaceClicked();
    void clearClicked();
    void tabClicked();
    void backspaceClicked();
    void leftClicked();
    void rightClicked();
    void saveFocusWidget(QWidget *old, QWidget *newFocus);

  protected:
    // Gives the activation back to the window of the last field outside
    // the keyboard, so that the form underneath stays the active window.
    bool event(QEvent *e) override;

  private:
    void wire_keys();
    void insert_text(const QString &text);
    void update_keys();

    QList<QObject *> allButtons;
    uint8_t shift = 0;
    uint8_t caps = 0;
    uint8_t multi_line = 0;
    QPointer<QWidget> lastFocusedWidget; // not owned
    Ui::Keyboard *ui;
};
