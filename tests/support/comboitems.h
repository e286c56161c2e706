// What a combo box offers, as texts, for comparing with a list.
#pragma once

#include <QComboBox>
#include <QStringList>

inline QStringList items_of(const QComboBox *box)
{
    QStringList items;
    for (int i = 0; i < box->count(); ++i)
        items << box->itemText(i);
    return items;
}

// The polynomial orders "1" to "k".
inline QStringList orders_up_to(int k)
{
    QStringList items;
    for (int i = 1; i <= k; ++i)
        items << QString::number(i);
    return items;
}
