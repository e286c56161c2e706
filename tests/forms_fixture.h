// Driving a form by the object names of its widgets.  Steps such as
// "txtUUTMfg=Other|cboUUTCalType=#5|btnOk" set fields (a combo box's text or
// "#index", "1"/"0" for a check or radio button, the text of any other
// widget) and click the buttons named alone; "<Esc>" presses Escape on the
// shown form.  Read back, the same syntax states what the form shows, with
// "name?" for whether a widget is enabled.
#pragma once

#include "dialoganswerer.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QDialog>
#include <QtTest>

inline QStringList form_steps(const QString &steps) { return steps.split(QLatin1Char('|'), Qt::SkipEmptyParts); }

inline QString widget_value(QWidget *form, const QString &name)
{
    QWidget *widget = form->findChild<QWidget *>(QString(name).remove(QLatin1Char('?')));
    auto *button = qobject_cast<QAbstractButton *>(widget);
    auto *combo = qobject_cast<QComboBox *>(widget);
    if (!widget || name.endsWith(QLatin1Char('?')))
        return widget ? QString::number(widget->isEnabled()) : QStringLiteral("<no widget>");
    if (button && button->isCheckable())
        return QString::number(button->isChecked());
    return combo ? combo->currentText() : widget->property("text").toString();
}

// Runs the steps; false (with a warning) on a name the form does not have.
inline bool act(QWidget *form, const QString &steps)
{
    for (const QString &step : form_steps(steps)) {
        const int equals = step.indexOf(QLatin1Char('='));
        QWidget *widget = form->findChild<QWidget *>(step.left(equals));
        auto *button = qobject_cast<QAbstractButton *>(widget);
        auto *combo = qobject_cast<QComboBox *>(widget);
        const QString value = step.mid(equals + 1);
        if (step == QLatin1String("<Esc>")) {
            form->show();
            if (!QTest::qWaitForWindowExposed(form))
                return false;
            QTest::keyClick(form, Qt::Key_Escape);
        } else if (!widget) {
            qWarning("no widget for step %s", qPrintable(step));
            return false;
        } else if (combo && value.startsWith(QLatin1Char('#'))) {
            combo->setCurrentIndex(value.mid(1).toInt());
        } else if (combo) {
            combo->setCurrentText(value);
        } else if (button && equals < 0) {
            button->click();
        } else if (button && button->isCheckable()) {
            button->setChecked(value == QLatin1String("1"));
        } else {
            widget->setProperty("text", value);
        }
    }
    return true;
}

// The steps' values that the form does not show, as "name: 'shown'".
inline QString form_mismatches(QWidget *form, const QString &expected)
{
    QStringList wrong;
    for (const QString &step : form_steps(expected)) {
        const QString name = step.section(QLatin1Char('='), 0, 0);
        if (widget_value(form, name) != step.section(QLatin1Char('='), 1))
            wrong << name + QStringLiteral(": '") + widget_value(form, name) + QLatin1Char('\'');
    }
    return wrong.join(QStringLiteral(", "));
}

// Runs the steps on a dialog, every message box answered OK, and sums up a
// line each: the boxes shown ("title: text", their buttons unless a single
// OK), how the dialog finished ("accepted", "rejected", "open"), and what
// `form` expects that the dialog does not show.
inline QString run_form(QDialog *dialog, const QString &steps, const QString &form = QString())
{
    QSignalSpy finished(dialog, &QDialog::finished);
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    answerer.answer(QStringLiteral("OK"));
    QStringList summary{act(dialog, steps) ? QString() : QStringLiteral("<steps failed>")};
    for (const DialogAnswerer::Seen &seen : answerer.seen())
        summary << seen.title + QStringLiteral(": ") + seen.text +
                       (seen.buttons == QStringList{QStringLiteral("OK")} ? QString() : seen.buttons.join(QLatin1Char(',')));
    summary << (finished.isEmpty() ? QStringLiteral("open")
                : finished.first().first().toInt() ? QStringLiteral("accepted") : QStringLiteral("rejected"))
            << form_mismatches(dialog, form);
    summary.removeAll(QString());
    return summary.join(QLatin1Char('\n'));
}
