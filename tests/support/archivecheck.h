// Reading a history archive back in tests: what it records, in order.
#pragma once

#include <QString>
#include <QStringList>

// The cal_mode word of every record of the archive, oldest first.
QStringList history_modes(const QString &archive);
