#include "warningguard.h"

#include <QMutex>
#include <QtGlobal>

namespace {
QMutex lock;
QStringList collected;
QtMessageHandler previous = nullptr;

void collect(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (type == QtWarningMsg || type == QtCriticalMsg) {
        QMutexLocker guard(&lock);
        collected.append(message);
    }
    if (previous)
        previous(type, context, message);
}
} // namespace

WarningGuard::WarningGuard()
{
    clear();
    previous = qInstallMessageHandler(collect);
}

WarningGuard::~WarningGuard()
{
    qInstallMessageHandler(previous);
    previous = nullptr;
}

QStringList WarningGuard::warnings(const QString &needle) const
{
    QMutexLocker guard(&lock);
    if (needle.isEmpty())
        return collected;
    return collected.filter(needle);
}

void WarningGuard::clear()
{
    QMutexLocker guard(&lock);
    collected.clear();
}
