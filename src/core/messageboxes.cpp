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

bool confirm_ok_cancel(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox box(parent);
    style_message_box(box, true);
    box.setWindowTitle(title);
    box.setText(text);
    box.setStandardButtons(QMessageBox::Ok | QMessageBox::Cancel);
    box.setDefaultButton(QMessageBox::Cancel);
    return box.exec() == QMessageBox::Ok;
}

bool ask_yes_no(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox box(parent);
    style_message_box(box, true);
    box.setWindowTitle(title);
    box.setText(text);
    box.setStandardButtons(QMessageBox::Yes | QMessageBox::No);
    box.setDefaultButton(QMessageBox::No);
    return box.exec() == QMessageBox::Yes;
}
