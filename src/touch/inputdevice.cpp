#include "inputdevice.h"

#include "keyboard.h"
#include "numpad.h"
#include "vrel_cfg.h"

#include <QApplication>
#include <QDoubleValidator>
#include <QEvent>
#include <QIntValidator>
#include <QLineEdit>
#include <QScreen>
#include <QVariant>

InputPanel panel_for(const QValidator *validator)
{
    if (qobject_cast<const QDoubleValidator *>(validator) ||
        qobject_cast<const QIntValidator *>(validator))
        return InputPanel::Numpad;
    return InputPanel::Keyboard;
}

namespace
{

bool property_set(const QObject *object, const char *name)
{
    return object->property(name).toBool();
}

// The request itself, for an object that asks for the keyboard: a disabled
// field, a field with the numpad property alone, or anything but a line
// edit gets no panel.
bool opens_panel(const QObject *object)
{
    return property_set(object, "enabled") && property_set(object, "keyboard") &&
           qobject_cast<const QLineEdit *>(object);
}

} // namespace

RequestRoute application_route(QObject *object, int event_type, const QString &window_name)
{
    // Every event of the application passes here: the type is looked at
    // before anything else.
    if (event_type != QEvent::RequestSoftwareInputPanel &&
        event_type != QEvent::CloseSoftwareInputPanel)
        return RequestRoute::Pass;
    if (!object)
        return event_type == QEvent::RequestSoftwareInputPanel ? RequestRoute::Swallow
                                                               : RequestRoute::Pass;
    if (!property_set(object, "keyboard") && !property_set(object, "numpad"))
        return RequestRoute::Pass;
    if (event_type == QEvent::CloseSoftwareInputPanel)
        return RequestRoute::ClosePanels;
    if (!opens_panel(object))
        return RequestRoute::Swallow;
    // Three levels up must be the main window, and all three must exist.
    QObject *ancestor = object;
    for (int level = 0; level < 3 && ancestor; ++level)
        ancestor = ancestor->parent();
    if (!ancestor || ancestor->objectName() != window_name)
        return RequestRoute::Pass;
    return RequestRoute::Open;
}

RequestRoute direct_route(QObject *object, int event_type)
{
    if (event_type != QEvent::RequestSoftwareInputPanel || !object || !opens_panel(object))
        return RequestRoute::Pass;
    return RequestRoute::Open;
}

QPoint centered_panel_position(const QRect &screen, const QSize &panel)
{
    return {screen.width() / 2 - panel.width() / 2, screen.height() / 2 - panel.height() / 2};
}

InputDevice::InputDevice(const QString &window_name)
    : keyboard(new Keyboard), numpad(new Numpad), window_name(window_name)
{
    keyboard->setObjectName(QStringLiteral("keyboard"));
    numpad->setObjectName(QStringLiteral("numpad"));
    connect(keyboard, &Keyboard::dataSet, this, &InputDevice::dataSet);
    connect(numpad, &Numpad::dataSet, this, &InputDevice::dataSet);
    qApp->installEventFilter(this);
}

InputDevice::~InputDevice()
{
    qApp->removeEventFilter(this);
    delete keyboard;
    delete numpad;
}

bool InputDevice::eventFilter(QObject *object, QEvent *event)
{
    switch (application_route(object, event->type(), window_name)) {
    case RequestRoute::Pass:
        return false;
    case RequestRoute::Swallow:
        return true;
    case RequestRoute::ClosePanels:
        numpad->close();
        keyboard->close();
        return true;
    case RequestRoute::Open:
        open_panel(object);
        return true;
    }
    return false;
}

bool InputDevice::open_panel_for(QObject *object, QEvent *event)
{
    if (!event || direct_route(object, event->type()) != RequestRoute::Open)
        return false;
    open_panel(object);
    return true;
}

void InputDevice::open_panel(QObject *object)
{
    focus_field = object;
    auto *field = qobject_cast<QLineEdit *>(object);
    const QValidator *validator = field->validator();
    center_panels();
    if (panel_for(validator) == InputPanel::Keyboard) {
        keyboard->show_for(field_text(), field->maxLength(), false);
        keyboard->set_echo_mode(field->echoMode());
        keyboard->set_validator(validator);
    } else {
        numpad->show_for(field_text(), validator);
        numpad->set_echo_mode(field->echoMode());
    }
}

QString InputDevice::field_text() const
{
    // "%8.2f" pads numbers with blanks; the panel shows the number alone.
    if (auto *field = qobject_cast<const QLineEdit *>(focus_field.data()))
        return field->text().trimmed();
    return QString();
}

void InputDevice::set_field_text(const QString &text)
{
    auto *field = qobject_cast<QLineEdit *>(focus_field.data());
    if (!field)
        return;
    // setText, so that the field's own validator is not asked.
    field->setText(text);
    // The forms take the value on editingFinished, which a line edit emits
    // when it loses a focus it holds.  A panel that was activated has taken
    // the focus away from the field's window: give it back to the field
    // first, so that clearing it is what finishes the edit.
    if (!field->hasFocus() && field->isVisible()) {
        QApplication::setActiveWindow(field->window());
        field->setFocus(Qt::OtherFocusReason);
    }
    field->clearFocus();
}

void InputDevice::center_panels()
{
    const QScreen *screen = QGuiApplication::primaryScreen();
    const QRect geometry = screen ? screen->geometry() : QRect();
    keyboard->move(centered_panel_position(geometry, keyboard->size()));
    numpad->move(centered_panel_position(geometry, numpad->size()));
}

void InputDevice::dataSet(QVariant *v)
{
    if (v)
        set_field_text(v->toString());
}

QString InputDevice::identifierName() const
{
    return QStringLiteral("InputDevice");
}

QString InputDevice::language() const
{
    return QStringLiteral("en_US");
}

bool InputDevice::isComposing() const
{
    return false;
}

void InputDevice::reset() {}

void request_input_panel(QObject *field)
{
    if (!input_device)
        return;
    QEvent request(QEvent::RequestSoftwareInputPanel);
    input_device->open_panel_for(field, &request);
}
