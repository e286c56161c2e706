#include "savetypedialog.h"

#include "inputdevice.h"
#include "mainwindow.h"
#include "messageboxes.h"
#include "vrel_cfg.h"

#include "ui_savetypedialog.h"

#include <orvane/strings.h>

#include <QEvent>
#include <QRect>

const char *const kDuplicateAsFoundTitle = "Duplicate As-Found Data";
const char *const kDuplicateAsFoundText =
    "Please describe why As-Found data is being\ncollected again in the description box";

namespace {
const char kModule[] = "savetypedialog";
} // namespace

RecordAction record_action(bool as_found_checked, bool verification_checked, bool as_found_present,
                           bool description_empty)
{
    if (as_found_checked)
        return as_found_present && description_empty ? RecordAction::DescriptionRequired
                                                      : RecordAction::AsFound;
    if (verification_checked)
        return RecordAction::Verification;
    return RecordAction::Nothing;
}

void store_user_comment(const QString &description, VREL_CFG &record)
{
    // copyn logs the cut of a long description.
    copyn(kModule, __LINE__, record.table_info.user_comment, description.toLatin1().constData(),
          sizeof record.table_info.user_comment);
}

SaveTypeDialog::SaveTypeDialog(QWidget *parent, bool as_found_present)
    : QDialog(parent, kTitledWindowFlags), as_found_present(as_found_present), ui(new Ui::SaveTypeDialog)
{
    ui->setupUi(this);
    // The rectangle is given by its corners; it is smaller than the form's
    // minimum size, which therefore decides the size, so only the position
    // is taken from it.
    const int top = parent ? parent->geometry().top() : 0;
    setGeometry(QRect(QPoint(280, top + 250), QPoint(860, top + 553)));
    if (touch_screen) {
        ui->txtComment->setProperty("keyboard", true);
        ui->txtComment->installEventFilter(this);
    }
}

SaveTypeDialog::~SaveTypeDialog()
{
    delete ui;
}

bool SaveTypeDialog::as_found_selected() const
{
    return ui->rbAsFound->isChecked();
}

bool SaveTypeDialog::eventFilter(QObject *object, QEvent *event)
{
    if (touch_screen && object == ui->txtComment && event->type() == QEvent::MouseButtonDblClick)
        request_input_panel(object);
    return false;
}

void SaveTypeDialog::changeEvent(QEvent *event)
{
    QDialog::changeEvent(event);
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
}

void SaveTypeDialog::on_btnRecord_clicked()
{
    const QString description = ui->txtComment->text();
    switch (record_action(ui->rbAsFound->isChecked(), ui->rbVerification->isChecked(), as_found_present,
                          description.isEmpty())) {
    case RecordAction::Nothing:
        return;
    case RecordAction::DescriptionRequired:
        show_titled_notice(this, QString::fromLatin1(kDuplicateAsFoundTitle),
                           QString::fromLatin1(kDuplicateAsFoundText));
        ui->txtComment->setFocus(Qt::OtherFocusReason);
        show();
        return;
    case RecordAction::AsFound:
        store_user_comment(description, *cfg);
        // The flow reports its own failures while this dialog is still up.
        if (the_main_window)
            the_main_window->recordAsFound();
        accept();
        return;
    case RecordAction::Verification:
        store_user_comment(description, *cfg);
        if (the_main_window)
            the_main_window->recordVerification();
        accept();
        return;
    }
}
