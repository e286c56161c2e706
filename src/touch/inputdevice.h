// The router of on-screen input on a touch station.  When a text field asks
// for input, it puts the on-screen keyboard or numeric pad in front of the
// technician, filled with a copy of the field's text, and carries the
// finished text back into the field on the panel's Ok.  The main window
// creates the one instance, and only when the station has a touch screen;
// without it every field is a plain Qt field.
//
// A field opts in with the property "keyboard" = true.  A QDoubleValidator
// or QIntValidator on it brings the numeric pad, anything else the
// keyboard.  There are two ways in:
//  - the application-wide filter, for the RequestSoftwareInputPanel and
//    CloseSoftwareInputPanel events sent to a field; it admits only fields
//    exactly three levels under the main window (a field in a frame of the
//    central widget, or in a group box of a dialog on the main window).
//    Qt 5 itself hands these two events, when they are sent to a widget,
//    to its own input method before any filter sees them, so this route
//    is reached only by what calls the filter directly;
//  - open_panel_for, called by the forms' own filters on a double click,
//    for fields at any depth.
#pragma once

#include <QPoint>
#include <QPointer>
#include <QRect>
#include <QSize>
#include <QString>
#include <QWidget>

class Keyboard;
class Numpad;
class QEvent;
class QValidator;
class QVariant;

// Which panel a field with this validator takes.
enum class InputPanel { Keyboard, Numpad };
InputPanel panel_for(const QValidator *validator);

// What a request for a panel comes to.
enum class RequestRoute {
    Pass,        // not ours: the event goes on (the filter returns false)
    Swallow,     // ours, but no panel opens (the filter returns true)
    ClosePanels, // close both panels, and the event is taken
    Open,        // open the field's panel, and the event is taken
};
// The application-wide route for `event_type` sent to `object`;
// `window_name` is the object name of the main window.
RequestRoute application_route(QObject *object, int event_type, const QString &window_name);
// The direct route of the forms' filters: the same tests of the field, but
// no depth test, and nothing to close.
RequestRoute direct_route(QObject *object, int event_type);

// Top left corner of a panel centred on a screen; the screen's own origin
// is not added.
QPoint centered_panel_position(const QRect &screen, const QSize &panel);

class InputDevice : public QWidget
{
    Q_OBJECT
  public:
    // `window_name`: the object name of the main window, which the
    // application-wide route looks for three levels above a field.
    explicit InputDevice(const QString &window_name);
    ~InputDevice() override;

    // Sees the events of all objects (it filters the application).
    bool eventFilter(QObject *object, QEvent *event) override;
    // The direct route; true when the request was taken.
    bool open_panel_for(QObject *object, QEvent *event);

    QString field_text() const;
    void set_field_text(const QString &text);
    void center_panels();

    Keyboard *keyboard_panel() const { return keyboard; }
    Numpad *numpad_panel() const { return numpad; }
    QObject *field() const { return focus_field; }

    // Informational, asked by nothing.
    QString identifierName() const;
    QString language() const;
    bool isComposing() const;
    void reset();

  signals:
    // Declared for listeners outside; nothing emits it.
    void updateData(QString calledFrom);

  public slots:
    // The text of a panel's Ok goes to the field that asked last.
    void dataSet(QVariant *v);

  private:
    void open_panel(QObject *object);

    Keyboard *keyboard;            // owned
    Numpad *numpad;                // owned
    QPointer<QObject> focus_field; // not owned; kept after a panel closes
    QString window_name;
};

// A form's double click on one of its fields: asks the station's device,
// if there is one, for the field's panel by the direct route.
void request_input_panel(QObject *field);
