// The message boxes of the utility: font size 13, and most of them a
// "titled window": a title and no close button.
#pragma once

#include <QMessageBox>
#include <QString>

class QWidget;

// Window flags of a titled window: a title, no close button.
constexpr Qt::WindowFlags kTitledWindowFlags = Qt::Dialog | Qt::WindowTitleHint | Qt::CustomizeWindowHint;

// Applies the utility's look to a box: font point size 13 and, when
// titled, the titled-window flags.
void style_message_box(QMessageBox &box, bool titled);

// A modal titled box with one OK button.
void show_titled_notice(QWidget *parent, const QString &title, const QString &text);

// A modal titled question with OK and Cancel, Cancel the default.  True
// when the technician chose OK.
bool confirm_ok_cancel(QWidget *parent, const QString &title, const QString &text);

// A modal titled question with Yes and No, No the default.  True for Yes.
bool ask_yes_no(QWidget *parent, const QString &title, const QString &text);
