// The history program on a long archive: 100,000 records (As-Found and
// Adjusted in turn, a week apart, with a slow drift) read to the window's
// table and drift plot.  Prints the seconds and the peak resident memory.
//
// Usage: bench_history [records]   (default 100000)
#include "archive_records.h"

#include "history_session.h"
#include "historywindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <sys/resource.h>

#include <cstdio>
#include <cstdlib>

namespace {

long peak_resident_mb()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024;
}

bool write_archive(const QString &path, int records)
{
    FILE *file = std::fopen(qPrintable(path), "w");
    if (!file)
        return false;
    const long start = 1000000000;
    for (int i = 0; i < records; ++i) {
        const bool adjusted = i % 2 == 1;
        const double drift = adjusted ? 0.0 : 0.01 * (i % 20);
        const std::string text = archive_record(start + 302400L * i, adjusted ? "ADJUSTED" : "AS_FOUND", drift);
        std::fwrite(text.data(), 1, text.size(), file);
    }
    return std::fclose(file) == 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int records = argc > 1 ? std::atoi(argv[1]) : 100000;
    QTemporaryDir dir;
    const QString path = dir.filePath("inlet_air.save");
    if (!write_archive(path, records)) {
        std::fprintf(stderr, "bench_history: cannot write %s\n", qPrintable(path));
        return 1;
    }
    const long before = peak_resident_mb();
    QElapsedTimer timer;
    timer.start();
    QString error;
    std::optional<HistorySession> session = open_history(path, &error);
    if (!session) {
        std::fprintf(stderr, "bench_history: %s\n", qPrintable(error));
        return 1;
    }
    const qint64 read_ms = timer.elapsed();
    HistoryWindow window(std::move(*session));
    const qint64 built_ms = timer.elapsed();
    window.show();
    app.processEvents();
    const qint64 shown_ms = timer.elapsed();
    std::printf("bench_history: %d records (%.1f MB archive): read and analysed in %.2f s, window built at "
                "%.2f s, table and drift plot shown at %.2f s; peak resident %ld MB (%ld MB before opening)\n",
                records, QFileInfo(path).size() / 1e6, read_ms / 1000.0, built_ms / 1000.0, shown_ms / 1000.0,
                peak_resident_mb(), before);
    return 0;
}
