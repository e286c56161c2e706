#include "keyboard.h"

#include "ui_keyboard.h"

#include <QApplication>
#include <QEvent>
#include <QPushButton>
#include <QVariant>

#include <memory>

LineEdit inserted_at_cursor(const LineEdit &line, const QString &insertion)
{
    const int at = qBound(0, line.cursor, line.text.size());
    LineEdit result{line.text, at + 1};
    result.text.insert(at, insertion);
    return result;
}

LineEdit backspaced(const LineEdit &line)
{
    const int at = qMin(line.cursor, line.text.size());
    if (at <= 0)
        return line;
    LineEdit result{line.text, at - 1};
    result.text.remove(at - 1, 1);
    return result;
}

QString key_label(int mode, const QString &normal, const QString &shifted, const QString &current,
                  bool shift, bool caps)
{
    switch (mode) {
    case 0:
        return shift || caps ? shifted : normal;
    case 1:
        return shift ? shifted : normal;
    default:
        return current;
    }
}

QString key_insertion(const QString &label)
{
    return label == QLatin1String("&&") ? QStringLiteral("&") : label;
}

Keyboard::Keyboard() : QWidget(nullptr, Qt::Tool | Qt::WindowStaysOnTopHint), ui(new Ui::Keyboard)
{
    ui->setupUi(this);
    setWindowModality(Qt::WindowModal);
    connect(qApp, &QApplication::focusChanged, this, &Keyboard::saveFocusWidget);
    setFixedSize(size());
    allButtons = ui->keyholder->children();
    wire_keys();
}

Keyboard::~Keyboard()
{
    delete ui;
}

void Keyboard::wire_keys()
{
    // The first word that matches decides; both Shift keys share a slot.
    static const struct {
        const char *word;
        void (Keyboard::*slot)();
    } functions[] = {
        {"shift", &Keyboard::shiftClicked},         {"caps", &Keyboard::capsClicked},
        {"enter", &Keyboard::enterClicked},         {"ok", &Keyboard::okClicked},
        {"escape", &Keyboard::escapeClicked},       {"space", &Keyboard::spaceClicked},
        {"clear", &Keyboard::clearClicked},         {"tab", &Keyboard::tabClicked},
        {"backspace", &Keyboard::backspaceClicked}, {"left", &Keyboard::leftClicked},
        {"right", &Keyboard::rightClicked},
    };
    for (QObject *object : qAsConst(allButtons)) {
        auto *key = qobject_cast<QPushButton *>(object);
        if (!key)
            continue;
        const int mode = key->property("btnMode").toInt();
        if (mode == 0 || mode == 1) {
            connect(key, &QPushButton::clicked, this, &Keyboard::buttonClicked);
        } else if (mode == 2) {
            const QString word = key->property("btnNormal").toString();
            for (const auto &function : functions) {
                if (word == QLatin1String(function.word)) {
                    connect(key, &QPushButton::clicked, this, function.slot);
                    break;
                }
            }
        }
    }
}

void Keyboard::show_for(const QVariant &text, int max_length, bool multi_line)
{
    this->multi_line = multi_line ? 1 : 0;
    ui->edValue->setMaxLength(max_length);
    ui->edValue->setText(text.toString());
    show();
}

void Keyboard::set_echo_mode(QLineEdit::EchoMode mode)
{
    ui->edValue->setEchoMode(mode);
}

void Keyboard::set_validator(const QValidator *validator)
{
    ui->edValue->setValidator(validator);
}

void Keyboard::insert_text(const QString &text)
{
    // Through setText, so that the maximum length cuts the line and the
    // cursor lands one further, clipped to the text by the line edit.
    const LineEdit line =
        inserted_at_cursor({ui->edValue->text(), ui->edValue->cursorPosition()}, text);
    ui->edValue->setText(line.text);
    ui->edValue->setCursorPosition(line.cursor);
}

void Keyboard::update_keys()
{
    for (QObject *object : qAsConst(allButtons)) {
        if (auto *key = qobject_cast<QPushButton *>(object))
            key->setText(key_label(key->property("btnMode").toInt(),
                                   key->property("btnNormal").toString(),
                                   key->property("btnShift").toString(), key->text(), shift, caps));
    }
}

void Keyboard::buttonClicked()
{
    if (auto *key = qobject_cast<QPushButton *>(sender()))
        insert_text(key_insertion(key->text()));
    if (shift) {
        shift = 0;
        update_keys();
    }
}

void Keyboard::shiftClicked()
{
    shift = shift ? 0 : 1;
    update_keys();
}

void Keyboard::capsClicked()
{
    shift = 0;
    caps = caps ? 0 : 1;
    update_keys();
}

void Keyboard::enterClicked()
{
    if (multi_line)
        insert_text(QStringLiteral("\n"));
    else
        okClicked();
}

void Keyboard::okClicked()
{
    auto value = std::make_unique<QVariant>(ui->edValue->text());
    emit dataSet(value.get());
    close();
}

void Keyboard::escapeClicked()
{
    close();
}

void Keyboard::spaceClicked()
{
    insert_text(QStringLiteral(" "));
}

void Keyboard::clearClicked()
{
    ui->edValue->clear();
}

void Keyboard::tabClicked()
{
    insert_text(QStringLiteral("\t"));
}

void Keyboard::backspaceClicked()
{
    const LineEdit line = backspaced({ui->edValue->text(), ui->edValue->cursorPosition()});
    ui->edValue->setText(line.text);
    ui->edValue->setCursorPosition(line.cursor);
}

void Keyboard::leftClicked()
{
    ui->edValue->cursorBackward(false, 1);
}

void Keyboard::rightClicked()
{
    ui->edValue->cursorForward(false, 1);
}

void Keyboard::saveFocusWidget(QWidget *old, QWidget *newFocus)
{
    Q_UNUSED(old);
    if (newFocus && !isAncestorOf(newFocus))
        lastFocusedWidget = newFocus;
}

bool Keyboard::event(QEvent *e)
{
    if (e->type() == QEvent::WindowActivate && lastFocusedWidget)
        lastFocusedWidget->activateWindow();
    return QWidget::event(e);
}
