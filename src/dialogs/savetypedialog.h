// The question Record Data asks: is this pass As-Found data, taken before
// any service, or Verification (As-Left) data, taken after an adjustment?
// The dialog takes the record's description into user_comment and runs the
// chosen recording flow of the main window itself, from its Record handler,
// before it closes as accepted.  A repeated As-Found record must carry a
// description; that is its only refusal.  Cancel (or Escape) records
// nothing and leaves user_comment as it was.
#pragma once

#include <QDialog>
#include <QString>

struct VREL_CFG;

namespace Ui {
class SaveTypeDialog;
}

// What a press on Record does, from the state of the form.
enum class RecordAction {
    Nothing,             // no kind of data chosen: no record, no message
    DescriptionRequired, // a repeated As-Found record without a description
    AsFound,
    Verification,
};

// The decision of the Record button.  As-Found wins when both choices are
// checked (the form's radio buttons never allow that).  A Verification
// record needs no description, even when As-Found data exist.
RecordAction record_action(bool as_found_checked, bool verification_checked, bool as_found_present,
                           bool description_empty);

// Stores the description as the record's user_comment: Latin-1, cut to the
// field's 80 bytes with its end, so at most 79 characters are kept.
void store_user_comment(const QString &description, VREL_CFG &record);

extern const char *const kDuplicateAsFoundTitle;
extern const char *const kDuplicateAsFoundText;

class SaveTypeDialog : public QDialog {
    Q_OBJECT
public:
    // `parent` is the main window; the dialog opens 250 pixels below its
    // top.  `as_found_present` is true when As-Found data have been
    // recorded on the channel already.
    SaveTypeDialog(QWidget *parent, bool as_found_present);
    ~SaveTypeDialog() override;

    // The state of the As-Found choice; the caller reads it after exec().
    bool as_found_selected() const;

    // On a touch station a double click in the description asks for the
    // on-screen keyboard.  Never consumes the event.
    bool eventFilter(QObject *object, QEvent *event) override;

protected:
    void changeEvent(QEvent *event) override;

private slots:
    void on_btnRecord_clicked();

private:
    bool as_found_present;
    Ui::SaveTypeDialog *ui;
};
