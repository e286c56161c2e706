#include "messageboxes.h"

#include <QApplication>

void style_message_box(QMessageBox &box, bool titled)
{
    QFont font = box.font();
    font.setPointSize(13);
    box.setFont(font);
    if (titled)
        box.setWindowFlags(kTitledWindowFlags);
}

void show_titled_notice(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox box(parent);
    style_message_box(box, true);
    box.setWindowTitle(title);
    box.setText(text);
    box.setStandardButtons(QMessageBox::Ok);
    box.exec();
}

namespace {

// A titled question whose second button is the default: the answer that
// changes nothing.
bool ask(QWidget *parent, const QString &title, const QString &text, QMessageBox::StandardButton go,
         QMessageBox::StandardButton stay)
{
    QMessageBox box(parent);
    style_message_box(box, true);
    box.setWindowTitle(title);
    box.setText(text);
    box.setStandardButtons(go | stay);
    box.setDefaultButton(stay);
    return box.exec() == go;
}

} // namespace

bool confirm_ok_cancel(QWidget *parent, const QString &title, const QString &text)
{
    return ask(parent, title, text, QMessageBox::Ok, QMessageBox::Cancel);
}

bool ask_yes_no(QWidget *parent, const QString &title, const QString &text)
{
    return ask(parent, title, text, QMessageBox::Yes, QMessageBox::No);
}
