#include "dialoganswerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QMessageBox>
#include <QPushButton>

DialogAnswerer::DialogAnswerer()
{
    timer_.setInterval(10);
    connect(&timer_, &QTimer::timeout, this, &DialogAnswerer::poll);
}

void DialogAnswerer::answer(const QString &button)
{
    answers_.append(button);
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
    // A message box is only answerable once it is laid out and shown.
    if (!modal->isVisible())
        return;
    Seen seen;
    seen.title = modal->windowTitle();
    seen.className = QString::fromLatin1(modal->metaObject()->className());
    if (auto *box = qobject_cast<QMessageBox *>(modal))
        seen.text = box->text();
    const QList<QAbstractButton *> buttons = modal->findChildren<QAbstractButton *>();
    QString wanted = answers_.takeFirst();
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
    if (target)
        target->click();
    else if (auto *dialog = qobject_cast<QDialog *>(modal))
        dialog->reject();
    else
        modal->close();
}
