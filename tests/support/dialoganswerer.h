// Answers the modal message boxes and dialogs that code under test opens:
// queue the answers, run the code, then read what was shown.  The answer is
// given by the text of the button to click; a dialog without such a button
// is rejected.
#pragma once

#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTimer>
#include <QVector>

#include <functional>

class DialogAnswerer : public QObject {
    Q_OBJECT
public:
    struct Seen {
        QString title;
        QString text;
        QString className;
        QStringList buttons;
        QString answeredWith;
    };

    DialogAnswerer();
    // Click the button whose text (mnemonics removed) is `button`: "OK",
    // "Cancel", "Yes", "No", "Record", ...
    void answer(const QString &button);
    // The same, after `prepare` has filled in the modal widget.
    void answer(const QString &button, std::function<void(QWidget *)> prepare);
    // The modal widgets met so far, in order.
    const QVector<Seen> &seen() const { return seen_; }
    int pending() const { return answers_.size(); }
    // Answers left over mean an expected dialog never came.
    bool allAnswered() const { return answers_.isEmpty(); }

private:
    void poll();

    QTimer timer_;
    QStringList answers_;
    QVector<std::function<void(QWidget *)>> preparations_;
    QVector<Seen> seen_;
    // The widgets whose answers are on their way.  A click may open further
    // modal widgets inside it; each stays here until its own click returns,
    // so an inner answer never frees an outer form that is still closing.
    QVector<QPointer<QWidget>> answering_;
};
