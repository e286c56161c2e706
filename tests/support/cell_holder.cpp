// Starts a simulated cell the way a test does, says where it is, and waits
// to be killed: the cell must not outlive it.
#include "simcell.h"

#include <QCoreApplication>
#include <QRegularExpression>

#include <cstdio>
#include <unistd.h>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    SimCell cell;
    if (!cell.start())
        return 1;
    const QString pid = QRegularExpression(QStringLiteral("pid (\\d+)")).match(cell.lastOutput()).captured(1);
    std::printf("%s %s %s\n", qPrintable(cell.root()), qPrintable(cell.instance()), qPrintable(pid));
    std::fflush(stdout);
    ::pause();
    return 0;
}
