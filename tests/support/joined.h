// Texts of several fields joined by '|', to compare them in one check that
// shows every difference at once.
#pragma once

#include <QByteArray>
#include <QList>

#include <initializer_list>

inline QByteArray joined(std::initializer_list<const char *> texts)
{
    QList<QByteArray> parts;
    for (const char *text : texts)
        parts << text;
    return parts.join('|');
}
