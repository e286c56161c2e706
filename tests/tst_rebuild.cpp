// Rebuilding the host's tables and reloading the channel afterwards.
#include "dialoganswerer.h"
#include "functions.h"
#include "rebuild.h"
#include "simcell.h"
#include "vrel_cfg.h"
#include "vrel_util.h"

#include <orvane/shm.h>
#include <orvane/units.h>

#include <QFile>
#include <QPointer>
#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

#include <cstring>
#include <memory>

namespace
{

// Channel 0 of the default cell: active, table "oil_temp_in".
const int kChannel = 0;

// A table for that channel that no demo table resembles.
QByteArray rebuilt_table()
{
    return "#revision code\n@AUG07\n\n#Description\nREBUILT TABLE\n\n"
           "#calibration units\n#eng_units          raw_units\n  C                 MV\n\n"
           "#type_code\nINTERPOLATION           \n\n"
           "#number of points\n3\n\n#          MV            C\n"
           "      1.00000      11.00000\n      2.00000      22.00000\n      3.00000      "
           "33.00000\n";
}

int64_t build_count()
{
    const auto *stamp = static_cast<const orv_cal_tables *>(get_shrd_mem(ORV_SEG_CAL_TABLES, 0));
    return stamp ? __atomic_load_n(&stamp->build_count, __ATOMIC_ACQUIRE) : -1;
}

} // namespace

class TestRebuild : public QObject
{
    Q_OBJECT

  private slots:
    void init();
    void cleanup();

    void builderRunsAndChannelReloads();
    void twoRebuildsTwoBuilders();
    void failedRelinkIsLogged_data();
    void failedRelinkIsLogged();
    void reloadAfterRebuild_data();
    void reloadAfterRebuild();

  private:
    bool startCell();
    std::unique_ptr<SimCell> cell_;
    std::unique_ptr<VREL_CFG> record_;
};

void TestRebuild::init()
{
    record_ = std::make_unique<VREL_CFG>();
    set_cfg(record_.get());
    init_tolerance_texts();
    cell_ = std::make_unique<SimCell>();
}

void TestRebuild::cleanup()
{
    cell_.reset();
}

bool TestRebuild::startCell()
{
    if (!cell_->start({"--tick", "20", "--no-noise"}))
        return false;
    return link_shared_memory() == 0 && units_init_access(1) == 0;
}

void TestRebuild::builderRunsAndChannelReloads()
{
    QVERIFY(startCell());
    record_->channel = kChannel;
    DialogAnswerer answerer;
    QCOMPARE(load_channel(record_.get()), short(0));
    QVERIFY(record_->long_table.count > 3);

    QFile table(cell_->path("/cell/tables/oil_temp_in.tbl"));
    QVERIFY(table.open(QIODevice::WriteOnly | QIODevice::Truncate));
    table.write(rebuilt_table());
    table.close();
    record_->unrecorded_changes = 1;
    const int64_t builds = build_count();
    const size_t started = table_builders().size();
    answerer.answer(QStringLiteral("OK")); // a box wrongly shown is noted

    rebuildTables(record_.get());

    QCOMPARE(table_builders().size(), started + 1);
    QProcess *builder = table_builders().back();
    QCOMPARE(builder->program(), host_path("/orvane/bin/bld_tables"));
    QVERIFY(builder->arguments().isEmpty());
    QCOMPARE(builder->openMode(), QIODevice::OpenMode(QIODevice::ReadWrite));
    QVERIFY(builder->parent() == nullptr);
    QTRY_VERIFY_WITH_TIMEOUT(build_count() > builds, 20000);
    QVERIFY(answerer.seen().isEmpty());

    QCOMPARE(QByteArray(record_->table_info.tbl_desc), QByteArray("REBUILT TABLE"));
    QCOMPARE(record_->long_table.count, int16_t(3));
    QCOMPARE(record_->long_table.y[2], 33.0);
    QCOMPARE(record_->unrecorded_changes, uint16_t(0));
}

void TestRebuild::twoRebuildsTwoBuilders()
{
    QVERIFY(startCell());
    record_->channel = kChannel;
    const int64_t builds = build_count();
    const size_t started = table_builders().size();

    rebuildTables(record_.get());
    QPointer<QProcess> first = table_builders().back();
    rebuildTables(record_.get());

    QCOMPARE(table_builders().size(), started + 2);
    QVERIFY2(!first.isNull(), "the first builder object stays alive");
    QVERIFY(table_builders().back() != first.data());
    QTRY_VERIFY_WITH_TIMEOUT(build_count() >= builds + 2, 20000);
}

void TestRebuild::failedRelinkIsLogged_data()
{
    QTest::addColumn<QString>("how");
    QTest::newRow("host stopped") << "stop";
    QTest::newRow("host vanished") << "vanish";
}

void TestRebuild::failedRelinkIsLogged()
{
    QFETCH(QString, how);

    QVERIFY(startCell());
    record_->channel = kChannel;
    DialogAnswerer answerer;
    QCOMPARE(load_channel(record_.get()), short(0));
    const int16_t points = record_->long_table.count;
    record_->unrecorded_changes = 1;
    if (how == QLatin1String("stop"))
        QVERIFY(cell_->stop());
    else
        QVERIFY(cell_->command({how}));
    QTRY_VERIFY(get_shrd_mem(ORV_SEG_AI_REAL, 0) == nullptr);

    // The link tells its own notice; the rebuild only logs.
    answerer.answer(QStringLiteral("OK"));
    answerer.answer(QStringLiteral("OK")); // a second box would be noted
    rebuildTables(record_.get());

    QCOMPARE(answerer.pending(), 1);
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen()[0].text,
             QStringLiteral("Orvane must be running\nUnable to get AI_REAL memory"));
    const QRegularExpression line(
        QStringLiteral("rebuild:\\d+ sev 1 code -1 "
                       "Failure Initializing Shared Memory after Table Rebuild"));
    QVERIFY(cell_->hostLog().contains(line));
    QVERIFY(!cell_->hostLog().contains(QStringLiteral("Failure Re-initializing Units")));
    QCOMPARE(record_->unrecorded_changes, uint16_t(1));
    QCOMPARE(record_->long_table.count, points);
}

void TestRebuild::reloadAfterRebuild_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<int>("unrecorded_after");

    QTest::newRow("loaded: cleared") << kChannel << 0;
    // Channel 3 of the default cell is not in use: the load fails.
    QTest::newRow("refused: kept") << 3 << 1;
}

void TestRebuild::reloadAfterRebuild()
{
    QFETCH(int, channel);
    QFETCH(int, unrecorded_after);

    QVERIFY(startCell());
    record_->channel = static_cast<int16_t>(channel);
    record_->unrecorded_changes = 1;
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK")); // a stray box is noted
    if (unrecorded_after)
        answerer.answer(QStringLiteral("OK"));
    reload_after_rebuild(record_.get());
    QCOMPARE(answerer.pending(), 1);
    QCOMPARE(int(record_->unrecorded_changes), unrecorded_after);
}

QTEST_MAIN(TestRebuild)
#include "tst_rebuild.moc"
