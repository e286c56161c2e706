#include "dialoganswerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QPushButton>

#include <algorithm>

DialogAnswerer::DialogAnswerer()
{
    timer_.setInterval(10);
    connect(&timer_, &QTimer::timeout, this, &DialogAnswerer::poll);
}

void DialogAnswerer::answer(const QString &button)
{
    answer(button, nullptr);
}

void DialogAnswerer::answer(const QString &button, std::function<void(QWidget *)> prepare)
{
    answers_.append(button);
    preparations_.append(std::move(prepare));
    timer_.start();
}

void DialogAnswerer::poll()
{
    QWidget *modal = QApplication::activeModalWidget();
    if (!modal || answers_.isEmpty()) {
        if (answers_.isEmpty())
            timer_.stop();
        return;
    }
    // A message box is only answerable once it is laid out and shown, and
    // only once the answer given to it before has been carried out.
    if (!modal->isVisible() || answering_.contains(modal))
        return;
    Seen seen;
    seen.title = modal->windowTitle();
    seen.className = QString::fromLatin1(modal->metaObject()->className());
    if (auto *box = qobject_cast<QMessageBox *>(modal))
        seen.text = box->text();
    const QList<QAbstractButton *> buttons = modal->findChildren<QAbstractButton *>();
    QString wanted = answers_.takeFirst();
    if (auto prepare = preparations_.takeFirst())
        prepare(modal);
    QAbstractButton *target = nullptr;
    for (QAbstractButton *button : buttons) {
        QString text = button->text().remove(QLatin1Char('&'));
        if (qobject_cast<QPushButton *>(button))
            seen.buttons.append(text);
        if (!target && text == wanted && button->isVisible())
            target = button;
    }
    seen.answeredWith = target ? wanted : QStringLiteral("<rejected>");
    seen_.append(seen);
    // The answer is given from the event loop, not from inside this timer
    // slot: what the click opens in turn must find the timer free to fire.
    answering_.append(modal);
    QPointer<QAbstractButton> button(target);
    QPointer<QWidget> widget(modal);
    QMetaObject::invokeMethod(
        this,
        [this, button, widget, modal] {
            if (button)
                button->click();
            else if (auto *dialog = qobject_cast<QDialog *>(widget.data()))
                dialog->reject();
            else if (widget)
                widget->close();
            answering_.erase(std::remove_if(answering_.begin(), answering_.end(),
                                            [modal](const QPointer<QWidget> &w) { return w.isNull() || w == modal; }),
                             answering_.end());
        },
        Qt::QueuedConnection);
}
