// The on-screen numeric pad of a touch station, for fields that carry a
// numeric validator.  It shows a private copy of the field's text, which
// the first entry key replaces, judges the entry with the field's validator
// after every key (red text and a disabled Ok while it is not acceptable)
// and hands the finished text back through dataSet on Ok.  Keys describe
// themselves by the same dynamic properties as the keyboard's (btnMode 1 a
// digit, 2 a function whose word is in btnNormal).
#pragma once

#include <QLineEdit>
#include <QList>
#include <QPalette>
#include <QPointer>
#include <QString>
#include <QValidator>
#include <QWidget>

#include <cstdint>

class QVariant;

namespace Ui
{
class Numpad;
}

// The pad's entry as its keys change it.  Text is inserted at the cursor,
// which stays at the end unless the line was tapped.
struct PadEntry {
    QString text;
    int cursor = 0;
    bool first_key = true; // the next entry key replaces the copied text
};

// The first entry key empties the copied text, once.
void consume_first_key(PadEntry &entry);
// A digit: replaces the copy at the first key, and a lone "0" so that no
// leading zero stays.
void pad_digit(PadEntry &entry, const QString &digit);
// The decimal point: "0" in front of it on an empty entry.  A second
// period is ignored: false, and the entry is not to be judged again.
bool pad_period(PadEntry &entry, const QString &period);
// +/-: drops a leading "-" or puts one in front; on an empty entry it
// gives "-".
void pad_sign(PadEntry &entry);
// Backspace drops the last character and, unlike the entry keys, leaves
// the first-key state alone: the next digit still replaces everything.
void pad_backspace(PadEntry &entry);
// What Ok sends: the entry without a trailing period.
QString pad_result(const QString &text, const QString &period);

enum class EntryVerdict {
    Unjudged,   // no validator: every entry goes, Ok stays as it was
    Acceptable, // normal text, Ok enabled
    Refused,    // Intermediate or Invalid: red text, Ok disabled
};
EntryVerdict judge_entry(const QValidator *validator, const QString &text);
// `palette` with the text red in every colour group.
QPalette refused_palette(QPalette palette);

class Numpad : public QWidget
{
    Q_OBJECT
  public:
    explicit Numpad(QWidget *parent = nullptr);
    ~Numpad() override;

    // Fills `edValue`, keeps `validator` (the field's, not owned, may be
    // null) for judging, shows the pad and judges the copied text.
    void show_for(const QVariant &text, const QValidator *validator);
    void set_echo_mode(QLineEdit::EchoMode mode);

  signals:
    // Emitted on Ok.  The value belongs to the pad and lives only while the
    // signal is delivered: receivers read it, never keep it.
    void dataSet(QVariant *value);
    void updateData();

  public slots:
    void buttonClicked();
    void enterClicked();
    void escapeClicked();
    void clearClicked();
    void backspaceClicked();
    void periodClicked();
    void pmClicked();
    void saveFocusWidget(QWidget *old, QWidget *newFocus);

  protected:
    // Unlike the keyboard, the pad leaves the activation of windows alone.
    bool event(QEvent *e) override;

  private:
    void wire_keys();
    PadEntry entry() const;
    void show_entry(const PadEntry &entry);
    void validate_entry();

    Ui::Numpad *ui;
    QList<QObject *> allButtons;
    QPointer<const QValidator> validator; // not owned
    uint8_t first_key = 0;
    QPointer<QWidget> lastFocusedWidget; // not owned
    QPalette normal_palette;
};
