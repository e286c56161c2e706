#include "archivecheck.h"

#include <QFile>
#include <QRegularExpression>

QStringList history_modes(const QString &archive)
{
    QFile file(archive);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList modes;
    const QRegularExpression first_line(QStringLiteral("^\\d+ \"[^\"]*\" '([A-Za-z_-]+)'"));
    for (const QString &line : QString::fromLatin1(file.readAll()).split('\n')) {
        const QRegularExpressionMatch match = first_line.match(line);
        if (match.hasMatch())
            modes << match.captured(1);
    }
    return modes;
}
