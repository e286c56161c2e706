// Time of one channel load (load_channel: the table pair, the tolerances,
// the UUT and reference files) when the channel's archive holds 10, 1,000,
// 10,000 and 100,000 records.  The archive is read backwards from its end,
// so the figures should not grow with its length.
//
// Runs against a simulated cell of its own (orvane-sim beside this
// program); its channel 0 is an 11-point interpolation table.  The records
// are the utility's own, written once by append_history_record and then
// repeated.  Usage: bench_load [runs]   (default 31)
#include "dialoganswerer.h"
#include "functions.h"
#include "history.h"
#include "simcell.h"
#include "vrel_cfg.h"
#include "vrel_util.h"

#include <orvane/units.h>

#include <QApplication>
#include <QFile>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace
{

constexpr int kChannel = 0;

// The archive made of `records` copies of one record.
bool write_archive(const QString &path, const QByteArray &record, int records)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    QByteArray block;
    for (int i = 0; i < 1000 && i < records; ++i)
        block += record;
    const int per_block = std::min(records, 1000);
    for (int written = 0; written < records; written += per_block) {
        const int now = std::min(per_block, records - written);
        if (file.write(block.constData(), qint64(record.size()) * now) != qint64(record.size()) * now)
            return false;
    }
    return true;
}

} // namespace

int main(int argc, char **argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 31;

    SimCell cell;
    if (!cell.start({"--tick", "50", "--no-noise"}) || link_shared_memory() != 0 || units_init_access(1) != 0) {
        std::fprintf(stderr, "bench_load: no cell: %s\n", qPrintable(cell.lastOutput()));
        return 1;
    }
    DialogAnswerer answerer; // a notice would be answered, and counted below
    set_cfg(new VREL_CFG{});
    init_tolerance_texts();
    cfg->channel = kChannel;
    if (load_channel(cfg) != 0 || cfg->long_table.count == 0) {
        std::fprintf(stderr, "bench_load: channel %d does not load\n", kChannel);
        return 1;
    }
    // One record of the channel as the utility writes it.
    cfg->new_long_table = cfg->long_table;
    const QString archive = QFile::decodeName(cfg->save_file);
    QFile::remove(archive);
    append_history_record(cfg->save_file, cfg, CAL_AS_FOUND);
    QFile first(archive);
    if (!first.open(QIODevice::ReadOnly)) {
        std::fprintf(stderr, "bench_load: no record written to %s\n", qPrintable(archive));
        return 1;
    }
    const QByteArray record = first.readAll();
    first.close();

    std::printf("%10s %10s %14s %14s %14s\n", "records", "MB", "median (ms)", "fastest (ms)", "slowest (ms)");
    for (int records : {10, 1000, 10000, 100000}) {
        if (!write_archive(archive, record, records)) {
            std::fprintf(stderr, "bench_load: cannot write %s\n", qPrintable(archive));
            return 1;
        }
        std::vector<double> millis;
        for (int run = 0; run <= runs; ++run) { // run 0 warms the page cache
            std::memset(cfg, 0, sizeof(VREL_CFG));
            cfg->channel = kChannel;
            const auto start = std::chrono::steady_clock::now();
            const short result = load_channel(cfg);
            const auto end = std::chrono::steady_clock::now();
            if (result != 0 || cfg->long_table.count != record.count("raw_data.x[")) {
                std::fprintf(stderr, "bench_load: the archive's record was not loaded\n");
                return 1;
            }
            if (run > 0)
                millis.push_back(std::chrono::duration<double, std::milli>(end - start).count());
        }
        std::sort(millis.begin(), millis.end());
        std::printf("%10d %10.1f %14.3f %14.3f %14.3f\n", records, double(record.size()) * records / 1e6,
                    millis[millis.size() / 2], millis.front(), millis.back());
    }
    if (!answerer.seen().isEmpty())
        std::printf("(%d notices came up during the loads)\n", int(answerer.seen().size()));
    QFile::remove(archive);
    return 0;
}
