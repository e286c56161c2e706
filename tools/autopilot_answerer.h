// The autopilot's hands on modal windows.  A calibration opens forms and
// message boxes whose exec() blocks the code that opened them, so they are
// answered from a timer: every few milliseconds the active modal widget is
// looked at and, when a rule for its window title is in force, the rule's
// preparation fills it in and the named button is clicked.  The click is
// queued, not made from inside the timer slot, so that a box which the
// click opens in turn (a notice raised by a form's OK) finds the timer free
// and is answered too.
//
// A modal widget that no rule covers is a failure of the run: it is
// noted, shown to the witness, and rejected so that the code behind it
// returns.
#pragma once

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <functional>

class QWidget;

class ModalAnswerer : public QObject
{
    Q_OBJECT
  public:
    using Prepare = std::function<void(QWidget *modal)>;
    // Sees each modal widget once it is filled in and before it is answered;
    // `name` is the rule's picture name, or "unexpected".
    using Witness = std::function<void(QWidget *modal, const QString &name)>;

    explicit ModalAnswerer(QObject *parent = nullptr);

    // While in force, a modal widget titled `title` is prepared and then
    // answered with the button whose text (mnemonics removed) is `button`.
    void on(const QString &title, const QString &button, const QString &picture = QString(),
            Prepare prepare = nullptr);
    void forget(const QString &title);
    void forgetAll();
    void setWitness(Witness witness) { witness_ = std::move(witness); }

    // How often a rule has answered so far.
    int answered(const QString &title) const { return counts_.value(title); }
    // The modal widgets no rule covered, as "title: text", and the rules
    // whose button was not there.
    const QStringList &failures() const { return failures_; }
    bool failed() const { return !failures_.isEmpty(); }
    void noteFailure(const QString &what) { failures_.append(what); }

    // Rejects whatever modal widget is up, so that a stuck step returns.
    void rejectAllModals();

    // Polling interval; the answers themselves are immediate.
    static constexpr int kPollMs = 20;

  private:
    struct Rule {
        QString button;
        QString picture;
        Prepare prepare;
    };

    void poll();
    void answer(QWidget *modal, const Rule *rule);

    QTimer timer_;
    QHash<QString, Rule> rules_;
    QHash<QString, int> counts_;
    QStringList failures_;
    Witness witness_;
    // The widgets whose answer is on its way or still running: a form whose
    // OK raised a nested box is still the one being answered underneath it.
    QList<QPointer<QWidget>> answering_;
};

// The text of a button as a person reads it: mnemonic ampersands removed.
QString plain_button_text(const QString &text);
