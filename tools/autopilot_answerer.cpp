#include "autopilot_answerer.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialog>
#include <QMessageBox>

QString plain_button_text(const QString &text)
{
    QString plain = text;
    // "&&" is a literal ampersand, a lone "&" marks the mnemonic.
    plain.replace(QLatin1String("&&"), QLatin1String("\x01"));
    plain.remove(QLatin1Char('&'));
    plain.replace(QLatin1Char('\x01'), QLatin1Char('&'));
    return plain;
}

ModalAnswerer::ModalAnswerer(QObject *parent) : QObject(parent)
{
    timer_.setInterval(kPollMs);
    connect(&timer_, &QTimer::timeout, this, &ModalAnswerer::poll);
    timer_.start();
}

void ModalAnswerer::on(const QString &title, const QString &button, const QString &picture,
                       Prepare prepare)
{
    rules_.insert(title, Rule{button, picture, std::move(prepare)});
}

void ModalAnswerer::forget(const QString &title)
{
    rules_.remove(title);
}

void ModalAnswerer::forgetAll()
{
    rules_.clear();
}

void ModalAnswerer::rejectAllModals()
{
    for (int guard = 0; guard < 16; ++guard) {
        QWidget *modal = QApplication::activeModalWidget();
        if (!modal)
            return;
        if (auto *dialog = qobject_cast<QDialog *>(modal))
            dialog->reject();
        else
            modal->close();
        if (QApplication::activeModalWidget() == modal)
            return; // it refuses to go; the caller gives up
    }
}

void ModalAnswerer::poll()
{
    QWidget *modal = QApplication::activeModalWidget();
    // A box is answerable once it is shown, and only once: a form whose
    // answer is still running (its OK raised a nested box) is skipped.
    if (!modal || !modal->isVisible())
        return;
    answering_.removeAll(QPointer<QWidget>());
    for (const QPointer<QWidget> &busy : answering_)
        if (busy == modal)
            return;
    auto rule = rules_.constFind(modal->windowTitle());
    answer(modal, rule == rules_.constEnd() ? nullptr : &rule.value());
}

void ModalAnswerer::answer(QWidget *modal, const Rule *rule)
{
    const QString title = modal->windowTitle();
    QString text;
    if (auto *box = qobject_cast<QMessageBox *>(modal))
        text = box->text();

    // A widget that comes back after its answer ran refused that answer
    // (a form that found a field missing): answering it again would loop.
    const bool refused = modal->property("autopilot_answered").toBool();
    if (rule && !refused && rule->prepare)
        rule->prepare(modal);
    if (witness_) {
        const QString picture = (!rule || refused) ? QStringLiteral("unexpected") : rule->picture;
        if (!picture.isEmpty())
            witness_(modal, picture);
    }

    QAbstractButton *target = nullptr;
    if (rule && !refused) {
        for (QAbstractButton *button : modal->findChildren<QAbstractButton *>()) {
            if (button->isVisible() && button->isEnabled() &&
                plain_button_text(button->text()) == rule->button) {
                target = button;
                break;
            }
        }
    }
    const QString shown = text.isEmpty()
                              ? QStringLiteral("\"%1\"").arg(title)
                              : QStringLiteral("\"%1\": %2").arg(title, text.simplified());
    if (!rule)
        failures_.append(QStringLiteral("an unexpected window came up, %1").arg(shown));
    else if (refused)
        failures_.append(QStringLiteral("the window %1 stayed open after its answer").arg(shown));
    else if (!target)
        failures_.append(
            QStringLiteral("the window %1 has no button \"%2\"").arg(shown, rule->button));
    else
        ++counts_[title];

    modal->setProperty("autopilot_answered", true);
    answering_.append(QPointer<QWidget>(modal));
    QPointer<QWidget> widget(modal);
    QPointer<QAbstractButton> button(target);
    QMetaObject::invokeMethod(
        this,
        [this, widget, button] {
            if (button)
                button->click();
            else if (auto *dialog = qobject_cast<QDialog *>(widget.data()))
                dialog->reject();
            else if (widget)
                widget->close();
            answering_.removeAll(widget);
        },
        Qt::QueuedConnection);
}
