#include "numpad.h"

#include "ui_numpad.h"

#include <QApplication>
#include <QEvent>
#include <QPushButton>
#include <QVariant>

#include <memory>

namespace
{

void insert_at_cursor(PadEntry &entry, const QString &text)
{
    const int at = qBound(0, entry.cursor, entry.text.size());
    entry.text.insert(at, text);
    entry.cursor = at + text.size();
}

void set_text(PadEntry &entry, const QString &text)
{
    entry.text = text;
    entry.cursor = text.size();
}

} // namespace

void consume_first_key(PadEntry &entry)
{
    if (!entry.first_key)
        return;
    set_text(entry, QString());
    entry.first_key = false;
}

void pad_digit(PadEntry &entry, const QString &digit)
{
    consume_first_key(entry);
    if (entry.text == QLatin1String("0"))
        set_text(entry, QString());
    insert_at_cursor(entry, digit);
}

bool pad_period(PadEntry &entry, const QString &period)
{
    consume_first_key(entry);
    if (entry.text.contains(period))
        return false;
    if (entry.text.isEmpty())
        insert_at_cursor(entry, QStringLiteral("0"));
    insert_at_cursor(entry, period);
    return true;
}

void pad_sign(PadEntry &entry)
{
    consume_first_key(entry);
    // An empty entry has no first character to look at: it takes the sign.
    if (entry.text.startsWith(QLatin1Char('-')))
        set_text(entry, entry.text.mid(1));
    else
        set_text(entry, QLatin1Char('-') + entry.text);
}

void pad_backspace(PadEntry &entry)
{
    set_text(entry, entry.text.left(entry.text.size() - 1));
}

QString pad_result(const QString &text, const QString &period)
{
    if (!period.isEmpty() && text.endsWith(period))
        return text.left(text.size() - period.size());
    return text;
}

EntryVerdict judge_entry(const QValidator *validator, const QString &text)
{
    if (!validator)
        return EntryVerdict::Unjudged;
    QString judged = text; // validate() may rewrite its input
    int position = 0;
    return validator->validate(judged, position) == QValidator::Acceptable
               ? EntryVerdict::Acceptable
               : EntryVerdict::Refused;
}

QPalette refused_palette(QPalette palette)
{
    palette.setColor(QPalette::All, QPalette::Text, QColor(255, 0, 0));
    return palette;
}

Numpad::Numpad(QWidget *parent)
    : QWidget(parent, Qt::Tool | Qt::WindowStaysOnTopHint), ui(new Ui::Numpad)
{
    ui->setupUi(this);
    setWindowModality(Qt::WindowModal);
    connect(qApp, &QApplication::focusChanged, this, &Numpad::saveFocusWidget);
    setFixedSize(size());
    allButtons = ui->keyholder->children();
    normal_palette = ui->edValue->palette();
    wire_keys();
}

Numpad::~Numpad()
{
    delete ui;
}

void Numpad::wire_keys()
{
    static const struct {
        const char *word;
        void (Numpad::*slot)();
    } functions[] = {
        {"ok", &Numpad::enterClicked},      {"escape", &Numpad::escapeClicked},
        {"clear", &Numpad::clearClicked},   {"backspace", &Numpad::backspaceClicked},
        {"period", &Numpad::periodClicked}, {"pm", &Numpad::pmClicked},
    };
    for (QObject *object : qAsConst(allButtons)) {
        auto *key = qobject_cast<QPushButton *>(object);
        if (!key)
            continue;
        const int mode = key->property("btnMode").toInt();
        if (mode == 0 || mode == 1) {
            connect(key, &QPushButton::clicked, this, &Numpad::buttonClicked);
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

void Numpad::show_for(const QVariant &text, const QValidator *validator)
{
    this->validator = validator;
    ui->edValue->clear();
    ui->edValue->insert(text.toString());
    first_key = 1;
    show();
    validate_entry();
}

void Numpad::set_echo_mode(QLineEdit::EchoMode mode)
{
    ui->edValue->setEchoMode(mode);
}

PadEntry Numpad::entry() const
{
    return {ui->edValue->text(), ui->edValue->cursorPosition(), first_key != 0};
}

void Numpad::show_entry(const PadEntry &entry)
{
    ui->edValue->setText(entry.text);
    ui->edValue->setCursorPosition(entry.cursor);
    first_key = entry.first_key ? 1 : 0;
}

void Numpad::validate_entry()
{
    switch (judge_entry(validator, ui->edValue->text())) {
    case EntryVerdict::Unjudged:
        return;
    case EntryVerdict::Acceptable:
        ui->edValue->setPalette(normal_palette);
        ui->btn_enter->setEnabled(true);
        return;
    case EntryVerdict::Refused:
        ui->edValue->setPalette(refused_palette(ui->edValue->palette()));
        ui->btn_enter->setEnabled(false);
        return;
    }
}

void Numpad::buttonClicked()
{
    auto *key = qobject_cast<QPushButton *>(sender());
    if (!key)
        return;
    PadEntry changed = entry();
    pad_digit(changed, key->text());
    show_entry(changed);
    validate_entry();
}

void Numpad::periodClicked()
{
    PadEntry changed = entry();
    const bool judged = pad_period(changed, ui->btn_period->text());
    show_entry(changed);
    if (judged)
        validate_entry();
}

void Numpad::pmClicked()
{
    PadEntry changed = entry();
    pad_sign(changed);
    show_entry(changed);
    validate_entry();
}

void Numpad::clearClicked()
{
    ui->edValue->clear();
    validate_entry();
}

void Numpad::backspaceClicked()
{
    PadEntry changed = entry();
    pad_backspace(changed);
    show_entry(changed);
    validate_entry();
}

void Numpad::enterClicked()
{
    auto value =
        std::make_unique<QVariant>(pad_result(ui->edValue->text(), ui->btn_period->text()));
    emit dataSet(value.get());
    close();
}

void Numpad::escapeClicked()
{
    close();
}

void Numpad::saveFocusWidget(QWidget *old, QWidget *newFocus)
{
    Q_UNUSED(old);
    if (newFocus && !isAncestorOf(newFocus))
        lastFocusedWidget = newFocus;
}

bool Numpad::event(QEvent *e)
{
    return QWidget::event(e);
}
