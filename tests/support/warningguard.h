// Collects Qt warnings while it lives, so that a test can fail on the ones
// that mean a wiring fault, such as a slot that the form could not bind.
#pragma once

#include <QStringList>

class WarningGuard {
public:
    WarningGuard();
    ~WarningGuard();
    // Warnings seen that contain `needle` (all of them when empty).
    QStringList warnings(const QString &needle = QString()) const;
    void clear();
};
