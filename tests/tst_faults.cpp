// Faults from outside: a host that dies, folders that refuse writes, a full
// disk, a process killed while it appends, damaged files and hostile names
// from the host's memory.  The utility must go on, keep every complete
// record of the archive and never leave a cut table file.
#include "calibrationfiles.h"
#include "archive_reader.h"
#include "archivetext.h"
#include "clock.h"
#include "dialoganswerer.h"
#include "environment_settings.h"
#include "functions.h"
#include "history.h"
#include "immutable.h"
#include "mainwindow.h"
#include "pointinfo.h"
#include "rebuild.h"
#include "report.h"
#include "simcell.h"
#include "station.h"
#include "uut_ref.h"
#include "vrel_cfg.h"
#include "vrel_util.h"
#include "worker.h"

#include <orvane/cell.h>
#include <orvane/shm.h>
#include <orvane/strings.h>
#include <orvane/tables.h>
#include <orvane/units.h>

#include <QDirIterator>
#include <QFile>
#include <QMutexLocker>
#include <QPushButton>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QtTest>

#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <thread>

namespace
{

constexpr std::time_t kRecordTime = 1700000000;

bool write_bytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.write(bytes) == bytes.size();
}

// A file of `size` bytes that holds no data: the disk is not filled.
bool write_sparse(const QString &path, qint64 size)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) && file.resize(size);
}

// Every file and folder under root, relative to it.
QStringList tree_of(const QString &root)
{
    QStringList entries;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext())
        entries.append(QDir(root).relativeFilePath(it.next()));
    entries.sort();
    return entries;
}

// Runs work in a child process whose files may not grow past limit bytes,
// as on a full disk: a write beyond it fails (EFBIG) instead of raising
// SIGXFSZ.  Returns the child's wait status.
int run_with_file_limit(rlim_t limit, const std::function<void()> &work)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        signal(SIGXFSZ, SIG_IGN);
        const rlimit fsize{limit, limit};
        setrlimit(RLIMIT_FSIZE, &fsize);
        work();
        _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return status;
}

bool exited_cleanly(int status)
{
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// A folder tree made read-only while this lives: no write bits, and,
// since the tests run as root and root ignores the bits, the immutable
// flag on every folder and file of it.  Put back on destruction.
class ReadOnlyTree
{
  public:
    explicit ReadOnlyTree(const QString &root) : root_(root)
    {
        paths_ = tree_of(root);
        for (QString &path : paths_)
            path = root + '/' + path;
        paths_.prepend(root);
        for (const QString &path : paths_) {
            QFile::setPermissions(path, QFileInfo(path).isDir() ? QFile::ReadOwner | QFile::ExeOwner
                                                                : QFile::ReadOwner);
            if (set_immutable(QFile::encodeName(path).constData(), true))
                immutable_.append(path);
        }
    }
    ~ReadOnlyTree()
    {
        for (const QString &path : immutable_)
            set_immutable(QFile::encodeName(path).constData(), false);
        for (const QString &path : paths_)
            QFile::setPermissions(path, QFileInfo(path).isDir()
                                            ? QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner
                                            : QFile::ReadOwner | QFile::WriteOwner);
    }
    ReadOnlyTree(const ReadOnlyTree &) = delete;
    ReadOnlyTree &operator=(const ReadOnlyTree &) = delete;

    // True when neither a new file nor a write to an existing one gets in.
    bool holds(const QString &existing_file) const
    {
        const QByteArray probe = QFile::encodeName(root_ + "/write_probe");
        int fd = ::open(probe.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (fd >= 0) {
            ::close(fd);
            ::unlink(probe.constData());
            return false;
        }
        fd = ::open(QFile::encodeName(existing_file).constData(), O_WRONLY | O_APPEND | O_CLOEXEC);
        if (fd >= 0) {
            ::close(fd);
            return false;
        }
        return true;
    }

  private:
    QString root_;
    QStringList paths_;
    QStringList immutable_;
};

// A folder that takes no new file while this lives, its files staying
// writable: no write bits and, for root, the immutable flag.
class ClosedFolder : public LockedPath
{
  public:
    explicit ClosedFolder(const QString &path) : LockedPath(QFile::encodeName(path), 0555, 0755) {}

    bool holds() const
    {
        const QByteArray probe = path() + "/write_probe";
        const int fd = ::open(probe.constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
        if (fd < 0)
            return true;
        ::close(fd);
        ::unlink(probe.constData());
        return false;
    }
};

// A simulated cell and the calibration record of one of its channels,
// loaded as the utility loads it, without the window.
class LoadedChannel
{
  public:
    ~LoadedChannel() { set_fixed_clock(0); }

    bool open(const QStringList &options = {"--tick", "20", "--no-noise"})
    {
        if (!cell_.start(options))
            return false;
        if (link_shared_memory() != 0 || units_init_access(1) != 0)
            return false;
        // The process's one record, as the program has it: never freed,
        // since a live monitor thread of an earlier window still marks it.
        if (!cfg)
            set_cfg(new VREL_CFG{});
        init_tolerance_texts();
        set_fixed_clock(kRecordTime);
        return QDir().mkpath(tables("uut_ref_data")) && QDir().mkpath(tables("verifications"));
    }

    short load(int channel)
    {
        // Whatever notice a damaged file brings up is answered.
        for (int i = 0; i < 4; ++i)
            answerer_.answer(QStringLiteral("OK"));
        std::memset(cfg, 0, sizeof(VREL_CFG));
        cfg->channel = static_cast<int16_t>(channel);
        return load_channel(cfg);
    }

    // The loaded table as the candidate of an adjustment.
    void prepareAdjustment()
    {
        VREL_CFG &r = *cfg;
        r.new_long_table = r.long_table;
        r.new_table_poly[0] = r.table_info.dim.table_poly[0];
        r.new_table_poly[0].num_coeff = 2;
        num_points = r.long_table.count;
        copyn("tst_faults", __LINE__, r.table_info.technician, "J. Doe", sizeof r.table_info.technician);
    }

    VREL_CFG *record() { return cfg; }
    SimCell &cell() { return cell_; }
    DialogAnswerer &answerer() { return answerer_; }
    QString tables(const QString &name = QString()) const
    {
        return cell_.path(QStringLiteral("/cell/tables/")) + name;
    }

  private:
    SimCell cell_;
    DialogAnswerer answerer_;
};

// What a flow writes; each is run whole.
enum class Flow { Adjust, AsFound, UutRef, Report };

void run_flow(Flow flow, VREL_CFG *record)
{
    switch (flow) {
    case Flow::Adjust:
        save_calibration(record, CAL_ADJUSTED);
        break;
    case Flow::AsFound:
        save_calibration(record, CAL_AS_FOUND);
        break;
    case Flow::UutRef:
        write_uut_data(record, CAL_ADJUSTED);
        write_ref_data(record, CAL_ADJUSTED);
        break;
    case Flow::Report:
        write_calibration_report(CAL_ADJUSTED);
        break;
    }
}

// The newest record of an archive, or null.
const TableInfo *newest_record(const QString &archive)
{
    void *records[500] = {};
    int64_t scratch[500] = {};
    if (read_archive_file_poly(1, QFile::encodeName(archive).constData(), records, scratch) != 1)
        return nullptr;
    return static_cast<const TableInfo *>(records[0]);
}

// Checks that an archive is a run of whole copies of `record`, among which
// copies cut off part way (a process killed inside its write) may stand;
// the copy after a cut one starts on a line of its own.  Returns what is
// wrong, or an empty text.
QString check_whole_records(const QByteArray &archive, const QByteArray &record, int *whole)
{
    *whole = 0;
    int at = 0;
    while (at < archive.size()) {
        // Each append starts with the opening lines, which a record holds
        // only at its start: the next append begins at the next of them.
        const int next = archive.indexOf(kArchiveRecordStart, at + 1);
        QByteArray piece = archive.mid(at, next < 0 ? -1 : next - at);
        if (piece != record && next >= 0 && piece.endsWith('\n') && !record.startsWith(piece))
            piece.chop(1); // the line end put before the next record
        // A whole record may be followed by one cut within its opening
        // line, which the search for the next record's start passes over.
        const bool starts_whole = piece.startsWith(record);
        if (starts_whole) {
            ++*whole;
            piece.remove(0, record.size());
        }
        if ((!starts_whole && piece.isEmpty()) || !record.startsWith(piece))
            return QStringLiteral("bytes %1 to %2 are no part of a record").arg(at).arg(at + piece.size());
        if (next < 0)
            break;
        if (archive.at(next - 1) != '\n')
            return QStringLiteral("the record at byte %1 does not start a line").arg(next);
        at = next;
    }
    return QString();
}

} // namespace

Q_DECLARE_METATYPE(Flow)

namespace
{

// Counts the queued calls that reach an object, such as the ticks of the
// worker's timer once the worker's thread runs its loop.
class QueuedCalls : public QObject
{
  public:
    int count = 0;
    bool eventFilter(QObject *, QEvent *event) override
    {
        if (event->type() == QEvent::MetaCall)
            ++count;
        return false;
    }
};

// A cell description with one channel of the given table name.
QByteArray hostile_cell(const QByteArray &table)
{
    return "[cell]\nname = HOSTILE\ntick_ms = 20\n\n[channel 0]\nname = HOSTILE NAME\nunits = KPA\ntable = " +
           table + "\ncoefficients = 0, 10\n";
}

} // namespace

class TestFaults : public QObject
{
    Q_OBJECT

  private slots:
    void cleanup();

    void readOnlyTables_data();
    void readOnlyTables();
    void unwritableFiles_data();
    void unwritableFiles();
    void rewrittenFiles_data();
    void rewrittenFiles();
    void fullDisk_data();
    void fullDisk();
    void recordAfterTornTail_data();
    void recordAfterTornTail();
    void killedDuringAppends();
    void damagedFiles_data();
    void damagedFiles();
    void damagedSettings_data();
    void damagedSettings();
    void damagedCellDescription_data();
    void damagedCellDescription();
    void hostileTableNames_data();
    void hostileTableNames();
    // Last: the windows it opens leave their threads running, and the
    // tests above fork.
    void hostDiesDuringAverage_data();
    void hostDiesDuringAverage();
};

void TestFaults::cleanup()
{
    set_fixed_clock(0);
    averaging_count = 0;
}

// ---------------------------------------------------------------- host

void TestFaults::hostDiesDuringAverage_data()
{
    QTest::addColumn<bool>("vanish"); // else the cell's process is killed
    QTest::newRow("host vanishes") << true;
    QTest::newRow("host killed") << false;
}

void TestFaults::hostDiesDuringAverage()
{
    QFETCH(bool, vanish);
    Station station;
    QVERIFY(station.open());
    QVERIFY(station.select(0));
    // The worker's thread clears the averaging flag as it starts: a capture
    // is started only once its timer ticks.
    QueuedCalls ticks;
    station.worker()->installEventFilter(&ticks);
    QTRY_VERIFY_WITH_TIMEOUT(ticks.count > 0, 10000);
    averaging_count = 100;
    QSignalSpy finished(station.worker(), &Worker::finishedAveraging);
    station.row(0)->findChild<QPushButton *>(QStringLiteral("btnCapture"))->click();
    QTRY_VERIFY_WITH_TIMEOUT(station.worker()->sampleCount() >= 5, 10000);
    const void *old_millivolts = Mv;

    if (vanish) {
        QVERIFY(station.cell().command({"vanish"}));
    } else {
        const auto *control = static_cast<const orv_control *>(orvane_segment_attach_rw(ORV_SEG_CONTROL, nullptr));
        QVERIFY(control && control->pid > 0);
        QCOMPARE(::kill(control->pid, SIGKILL), 0);
    }

    // The worker goes on reading the mapping it has: the average ends.
    QVERIFY(finished.wait(20000));
    QCOMPARE(station.worker()->sampleCount(), 100);
    QVERIFY(std::isfinite(cfg->point_stats[0].raw_mean));
    QCOMPARE(station.row(0)->captureText(), QStringLiteral("Undo"));

    // The host comes back with new segments; a rebuild attaches to them.
    station.cell().stop(); // a dead cell leaves nothing to stop, or its segments
    QVERIFY2(station.cell().start({"--tick", "20", "--no-noise"}), qPrintable(station.cell().lastOutput()));
    {
        QMutexLocker lock(station.window().cfgMutex());
        rebuildTables(cfg);
    }
    QVERIFY(Mv != old_millivolts);
    QCOMPARE(static_cast<const void *>(Mv), get_shrd_mem(ORV_SEG_MILLIVOLTS, 0));
    const double before = live_millivolts(0);
    QVERIFY(station.cell().apply(0, 80.0));
    QTRY_VERIFY_WITH_TIMEOUT(std::fabs(live_millivolts(0) - before) > 1.0, 10000);
    QCOMPARE(cfg->channel, int16_t(0));
    QVERIFY(cfg->long_table.count > 0);
    station.worker()->removeEventFilter(&ticks);
}

// ---------------------------------------------------------------- unwritable

void TestFaults::readOnlyTables_data()
{
    QTest::addColumn<Flow>("flow");
    QTest::newRow("adjust") << Flow::Adjust;
    QTest::newRow("as found") << Flow::AsFound;
    QTest::newRow("uut and reference") << Flow::UutRef;
    QTest::newRow("report") << Flow::Report;
}

void TestFaults::readOnlyTables()
{
    QFETCH(Flow, flow);
    LoadedChannel channel;
    QVERIFY(channel.open());
    QCOMPARE(channel.load(0), short(0));
    channel.prepareAdjustment();
    save_history(channel.record(), CAL_AS_FOUND); // an archive to keep
    const QString archive = channel.tables("oil_temp_in.save");
    const QString table = channel.tables("oil_temp_in.tbl");
    const QByteArray archive_before = file_bytes(archive);
    const QByteArray table_before = file_bytes(table);
    QVERIFY(!archive_before.isEmpty() && !table_before.isEmpty());
    const QStringList tree_before = tree_of(channel.tables());

    {
        ReadOnlyTree read_only(channel.tables());
        if (!read_only.holds(archive))
            QSKIP("this station cannot make a folder read-only (no immutable flag)");
        run_flow(flow, channel.record());
    }

    QCOMPARE(file_bytes(archive), archive_before);
    QCOMPARE(file_bytes(table), table_before);
    QCOMPARE(tree_of(channel.tables()), tree_before);
    // The channel still loads from what was there.
    QCOMPARE(channel.load(0), short(0));
    QVERIFY(channel.record()->long_table.count > 0);
}

void TestFaults::unwritableFiles_data()
{
    QTest::addColumn<QString>("blocked"); // made a folder where a file would go
    QTest::addColumn<Flow>("flow");
    QTest::addColumn<bool>("tableRewritten");
    QTest::newRow("archive is a folder") << "oil_temp_in.save" << Flow::Adjust << true;
    QTest::newRow("old tables file is a folder") << "oil_temp_in.old" << Flow::Adjust << true;
    QTest::newRow("uut file is a folder") << "uut_ref_data/oil_temp_in.uut" << Flow::UutRef << false;
    QTest::newRow("report folder is a file") << "verifications" << Flow::Report << false;
}

void TestFaults::unwritableFiles()
{
    QFETCH(QString, blocked);
    QFETCH(Flow, flow);
    QFETCH(bool, tableRewritten);
    LoadedChannel channel;
    QVERIFY(channel.open());
    QCOMPARE(channel.load(0), short(0));
    channel.prepareAdjustment();
    const QString path = channel.tables(blocked);
    QFileInfo(path).isDir() ? (void)QDir(path).removeRecursively() : (void)QFile::remove(path);
    if (blocked == QLatin1String("verifications"))
        QVERIFY(write_bytes(path, "not a folder\n"));
    else
        QVERIFY(QDir().mkpath(path));
    const QString table = channel.tables("oil_temp_in.tbl");
    const QByteArray table_before = file_bytes(table);

    run_flow(flow, channel.record());

    const QByteArray table_after = file_bytes(table);
    TableInfo read_back{};
    QCOMPARE(read_table(QFile::encodeName(table).constData(), &read_back), 0);
    QCOMPARE(table_after != table_before, tableRewritten);
    QCOMPARE(channel.load(0), short(0));
    QVERIFY(channel.record()->long_table.count > 0);
}

void TestFaults::rewrittenFiles_data()
{
    QTest::addColumn<QString>("file");
    QTest::addColumn<Flow>("flow");
    QTest::addColumn<bool>("closedFolder");
    QTest::newRow("table") << "oil_temp_in.tbl" << Flow::Adjust << false;
    QTest::newRow("table, folder takes no new file") << "oil_temp_in.tbl" << Flow::Adjust << true;
    QTest::newRow("uut") << "uut_ref_data/oil_temp_in.uut" << Flow::UutRef << false;
    QTest::newRow("reference, folder takes no new file")
        << "uut_ref_data/oil_temp_in.ref" << Flow::UutRef << true;
}

// A rewritten file keeps its owner, group and mode; where its folder takes
// no new file it is rewritten where it stands.
void TestFaults::rewrittenFiles()
{
    QFETCH(QString, file);
    QFETCH(Flow, flow);
    QFETCH(bool, closedFolder);
    LoadedChannel channel;
    QVERIFY(channel.open());
    QCOMPARE(channel.load(0), short(0));
    channel.prepareAdjustment();
    const QString path = channel.tables(file);
    run_flow(flow, channel.record());
    const QByteArray expected = file_bytes(path);
    QVERIFY(!expected.isEmpty());
    QVERIFY(write_bytes(path, "stale\n"));
    const QByteArray native = QFile::encodeName(path);
    if (::chown(native.constData(), 4321, 4321) != 0)
        QSKIP("this process may not give a file away");
    QCOMPARE(::chmod(native.constData(), 0640), 0);

    {
        std::unique_ptr<ClosedFolder> closed;
        if (closedFolder) {
            closed = std::make_unique<ClosedFolder>(QFileInfo(path).path());
            if (!closed->holds())
                QSKIP("this station cannot close a folder to new files (no immutable flag)");
        }
        run_flow(flow, channel.record());
    }

    QCOMPARE(file_bytes(path), expected);
    struct stat after;
    QCOMPARE(::stat(native.constData(), &after), 0);
    QCOMPARE(after.st_uid, uid_t(4321));
    QCOMPARE(after.st_gid, gid_t(4321));
    QCOMPARE(after.st_mode & 07777, mode_t(0640));
    const QStringList partial =
        QDir(QFileInfo(path).path()).entryList({"*.partial-*"}, QDir::Files);
    QVERIFY2(partial.isEmpty(), qPrintable(partial.join(' ')));
}

// ---------------------------------------------------------------- full disk

void TestFaults::fullDisk_data()
{
    QTest::addColumn<int>("channel_number");
    QTest::addColumn<Flow>("flow");
    QTest::addColumn<bool>("pastArchive"); // the limit counts from the archive's end
    QTest::addColumn<qint64>("bytes");
    QTest::newRow("record cut off") << 0 << Flow::AsFound << true << qint64(700);
    QTest::newRow("no room for a record") << 0 << Flow::AsFound << true << qint64(0);
    QTest::newRow("table file cut off") << 0 << Flow::Adjust << false << qint64(300);
    QTest::newRow("uut and reference cut off") << 0 << Flow::UutRef << false << qint64(40);
    QTest::newRow("uut and reference cut near their ends") << 0 << Flow::UutRef << false << qint64(200);
    QTest::newRow("report cut off") << 0 << Flow::Report << false << qint64(300);
    QTest::newRow("range sibling cut off") << 6 << Flow::AsFound << false << qint64(200);
}

void TestFaults::fullDisk()
{
    QFETCH(int, channel_number);
    QFETCH(Flow, flow);
    QFETCH(bool, pastArchive);
    QFETCH(qint64, bytes);
    LoadedChannel channel;
    QVERIFY(channel.open());
    QCOMPARE(channel.load(channel_number), short(0));
    channel.prepareAdjustment();
    save_history(channel.record(), CAL_AS_FOUND);
    run_flow(Flow::UutRef, channel.record()); // earlier .uut and .ref to keep
    const QString name = QString::fromLatin1(channel.record()->table_info.tbl_name);
    const QString archive = channel.tables(name + ".save");
    const QString table = channel.tables(name + ".tbl");
    const QStringList kept{archive, table, channel.tables("uut_ref_data/" + name + ".uut"),
                           channel.tables("uut_ref_data/" + name + ".ref")};
    QList<QByteArray> kept_before;
    for (const QString &path : kept)
        kept_before.append(file_bytes(path));
    const QByteArray &archive_before = kept_before.at(0);
    const qint64 limit = pastArchive ? archive_before.size() + bytes : bytes;
    QVERIFY(kept_before.at(1).size() > limit || pastArchive);

    set_fixed_clock(kRecordTime + 60);
    const int status = run_with_file_limit(rlim_t(limit), [&] { run_flow(flow, channel.record()); });
    QVERIFY2(exited_cleanly(status), qPrintable(QStringLiteral("wait status %1").arg(status)));

    const QByteArray archive_after = file_bytes(archive);
    QVERIFY(archive_after.startsWith(archive_before));
    // A record that did not fit is taken back whole.
    if (archive_after.size() > archive_before.size())
        QVERIFY(archive_after.size() <= limit && newest_record(archive) &&
                newest_record(archive)->last_cal == kRecordTime + 60);
    else
        QCOMPARE(archive_after, archive_before);
    // A table, .uut or .ref that could not be written whole is left as it was.
    for (int i = 1; i < kept.size(); ++i)
        QVERIFY2(file_bytes(kept.at(i)) == kept_before.at(i), qPrintable(kept.at(i)));
    // No cut file is left behind, whole or under its working name.
    QDirIterator files(channel.tables(), QDir::Files, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        const QString path = files.next();
        QVERIFY2(!path.contains(QLatin1String(".partial-")), qPrintable(path));
        QVERIFY2(!path.contains(QLatin1String("verifications/")), qPrintable(path));
        QVERIFY2(!path.endsWith(QStringLiteral("-%1.poly_range").arg(kRecordTime + 60)), qPrintable(path));
    }

    // With room again, the next record goes in and is the one read.
    set_fixed_clock(kRecordTime + 120);
    run_flow(Flow::AsFound, channel.record());
    QVERIFY(file_bytes(archive).startsWith(archive_after));
    const TableInfo *newest = newest_record(archive);
    QVERIFY(newest);
    QCOMPARE(newest->last_cal, int64_t(kRecordTime + 120));
    QCOMPARE(channel.load(channel_number), short(0));
    QVERIFY(channel.record()->long_table.count > 0);
}

// ---------------------------------------------------------------- killed appends

void TestFaults::recordAfterTornTail_data()
{
    QTest::addColumn<double>("kept"); // share of the record that reached the disk
    QTest::newRow("inside the opening line") << 0.01;
    QTest::newRow("inside the comment block") << 0.3;
    QTest::newRow("inside the data line") << 0.8;
    QTest::newRow("before the last line end") << 0.9999;
}

void TestFaults::recordAfterTornTail()
{
    QFETCH(double, kept);
    LoadedChannel channel;
    QVERIFY(channel.open());
    QCOMPARE(channel.load(0), short(0));
    channel.prepareAdjustment();
    const QString archive = channel.tables("oil_temp_in.save");
    save_history(channel.record(), CAL_AS_FOUND);
    const QByteArray record = file_bytes(archive);
    const int cut = std::max(1, int(record.size() * kept));
    const QByteArray torn = record + record.left(cut == record.size() ? cut - 1 : cut);
    QVERIFY(write_bytes(archive, torn));

    set_fixed_clock(kRecordTime + 60);
    save_history(channel.record(), CAL_AS_FOUND);

    QVERIFY(file_bytes(archive).startsWith(torn));
    const TableInfo *newest = newest_record(archive);
    QVERIFY2(newest, qPrintable("the record after a cut one must read: " + channel.cell().hostLog().right(400)));
    QCOMPARE(newest->last_cal, int64_t(kRecordTime + 60));
}

void TestFaults::killedDuringAppends()
{
    LoadedChannel channel;
    QVERIFY(channel.open());
    QCOMPARE(channel.load(0), short(0));
    channel.prepareAdjustment();
    // A record of 64 points, larger than one buffer of the C library.
    VREL_CFG &r = *channel.record();
    for (int i = 0; i < kMaxPoints; ++i) {
        r.new_long_table.x[i] = 0.15625 * i;
        r.new_long_table.y[i] = -10.0 + 2.5 * i;
        r.table_info.dim.table_poly[0].raw_data.x[i] = r.new_long_table.x[i];
        r.table_info.dim.table_poly[0].raw_data.y[i] = r.new_long_table.y[i];
    }
    r.new_long_table.count = kMaxPoints;
    r.table_info.dim.table_poly[0].raw_data.count = kMaxPoints;
    const QString archive = channel.tables("oil_temp_in.save");
    const QByteArray path = QFile::encodeName(archive);
    QFile::remove(archive);
    append_history_record(path.constData(), &r, CAL_AS_FOUND);
    const QByteArray record = file_bytes(archive);
    QVERIFY(record.size() > 8192);

    std::mt19937 random(20240405); // the same moments on every run
    std::uniform_int_distribution<int> delay_us(0, 3000);
    QByteArray previous = record;
    int kills = 0;
    for (int round = 0; round < 40; ++round) {
        std::fflush(nullptr);
        const pid_t child = fork();
        if (child == 0) {
            for (int i = 0; i < 60; ++i)
                append_history_record(path.constData(), &r, CAL_AS_FOUND);
            _exit(0);
        }
        QVERIFY(child > 0);
        std::this_thread::sleep_for(std::chrono::microseconds(delay_us(random)));
        kills += ::kill(child, SIGKILL) == 0;
        int status = 0;
        QCOMPARE(waitpid(child, &status, 0), child);
        const QByteArray now = file_bytes(archive);
        QVERIFY2(now.startsWith(previous), qPrintable(QStringLiteral("round %1 changed earlier bytes").arg(round)));
        previous = now;
    }
    QVERIFY(kills > 0);

    int whole = 0;
    const QString broken = check_whole_records(previous, record, &whole);
    QVERIFY2(broken.isEmpty(), qPrintable(broken));
    QVERIFY(whole >= 1);
    // The next append is the record that reads.
    set_fixed_clock(kRecordTime + 60);
    append_history_record(path.constData(), &r, CAL_AS_FOUND);
    const TableInfo *newest = newest_record(archive);
    QVERIFY(newest);
    QCOMPARE(newest->last_cal, int64_t(kRecordTime + 60));
    QCOMPARE(newest->dim.table_poly[0].raw_data.count, int16_t(kMaxPoints));

    // The history program reads every whole record and the one after the
    // cut ones; a cut record is skipped or read as far as it went.
    ArchiveReader reader(archive);
    QVERIFY(reader.open());
    HistoryRecord read, last;
    int records = 0;
    while (reader.next(read)) {
        ++records;
        QVERIFY(read.points.size() <= size_t(kMaxPoints));
        last = read;
    }
    QVERIFY2(records >= whole + 1, qPrintable(QStringLiteral("%1 records read of %2").arg(records).arg(whole + 1)));
    QCOMPARE(last.time, int64_t(kRecordTime + 60));
    QCOMPARE(last.points.size(), size_t(kMaxPoints));
    for (const ArchiveDamage &damage : reader.damage())
        QVERIFY(damage.line >= 1 && !damage.reason.isEmpty());
}

// ---------------------------------------------------------------- damaged files

namespace
{

enum class Damage { Empty, Truncated, Binary, Huge, Malformed };

QByteArray binary_bytes()
{
    QByteArray bytes(4096, '\0');
    std::mt19937 random(7);
    for (char &c : bytes)
        c = char(random());
    return bytes;
}

// A text that is deep rather than long: thousands of continued lines, a
// line of a megabyte, and brackets and quotes that never close.
QByteArray malformed_text(const QByteArray &start)
{
    QByteArray text = start;
    for (int i = 0; i < 20000; ++i)
        text += " \"[[\\\n";
    text += QByteArray(1 << 20, '[');
    return text + "\n\"\n";
}

} // namespace

Q_DECLARE_METATYPE(Damage)

void TestFaults::damagedFiles_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<QString>("file"); // relative to the tables folder
    QTest::addColumn<Damage>("damage");
    QTest::addColumn<bool>("logged");    // the host log names the file
    QTest::addColumn<bool>("tableData"); // the .tbl's points are still in force

    const struct {
        const char *name;
        int channel;
        const char *file;
        bool table_damaged;
    } kinds[] = {
        {"tbl", 0, "oil_temp_in.tbl", true},
        {"save", 0, "oil_temp_in.save", false},
        {"poly_range", 6, "intake_press-1700000000.poly_range", false},
        {"uut", 0, "uut_ref_data/oil_temp_in.uut", false},
        {"ref", 0, "uut_ref_data/oil_temp_in.ref", false},
    };
    const struct {
        const char *name;
        Damage damage;
    } damages[] = {
        {"empty", Damage::Empty},   {"truncated", Damage::Truncated}, {"binary", Damage::Binary},
        {"huge", Damage::Huge},     {"malformed", Damage::Malformed},
    };
    for (const auto &kind : kinds)
        for (const auto &damage : damages) {
            const bool table_reader = QByteArray(kind.name) != "uut" && QByteArray(kind.name) != "ref";
            // An empty archive is an archive without records, and the first
            // half of a .poly_range may be whole ranges: nothing to say.
            const bool logged = table_reader && !(QByteArray(kind.name) == "save" && damage.damage == Damage::Empty) &&
                                !(QByteArray(kind.name) == "poly_range" && damage.damage == Damage::Truncated);
            QTest::addRow("%s %s", damage.name, kind.name)
                << kind.channel << QString::fromLatin1(kind.file) << damage.damage << logged << !kind.table_damaged;
        }
}

void TestFaults::damagedFiles()
{
    QFETCH(int, channel);
    QFETCH(QString, file);
    QFETCH(Damage, damage);
    QFETCH(bool, logged);
    QFETCH(bool, tableData);
    LoadedChannel loaded;
    QVERIFY(loaded.open());
    QCOMPARE(loaded.load(channel), short(0));
    // Every file of the channel, written as the utility writes it.
    loaded.prepareAdjustment();
    run_flow(Flow::AsFound, loaded.record());
    run_flow(Flow::UutRef, loaded.record());
    const QString path = loaded.tables(file);
    if (!tableData) // the archive would stand in for the table
        QVERIFY(QFile::remove(loaded.tables("oil_temp_in.save")));
    const QByteArray good = file_bytes(path);
    QVERIFY2(!good.isEmpty(), qPrintable(path));

    switch (damage) {
    case Damage::Empty:
        QVERIFY(write_bytes(path, QByteArray()));
        break;
    case Damage::Truncated:
        QVERIFY(write_bytes(path, good.left(good.size() / 2)));
        break;
    case Damage::Binary:
        QVERIFY(write_bytes(path, good.left(200) + binary_bytes()));
        break;
    case Damage::Huge:
        QVERIFY(write_sparse(path, qint64(100) << 20));
        break;
    case Damage::Malformed:
        QVERIFY(write_bytes(path, malformed_text(good.left(good.size() / 3))));
        break;
    }
    const QString log_before = loaded.cell().hostLog();

    QCOMPARE(loaded.load(channel), short(0));

    const VREL_CFG &r = *loaded.record();
    const QString log_lines = loaded.cell().hostLog().mid(log_before.size());
    if (logged)
        QVERIFY2(log_lines.contains(QFileInfo(path).fileName()), qPrintable(log_lines));
    QVERIFY(std::memchr(r.table_info.tbl_desc, '\0', sizeof r.table_info.tbl_desc));
    QVERIFY(r.long_table.count >= 0 && r.long_table.count <= kMaxPoints);
    if (tableData)
        QVERIFY(r.long_table.count > 0);
    else
        QCOMPARE(QByteArray(r.table_info.tbl_desc), QByteArray("No Description"));
    for (const char *text : {static_cast<const char *>(r.uut_cal_type), static_cast<const char *>(r.uut_model),
                             static_cast<const char *>(r.uut_mte), static_cast<const char *>(hist_ref_mfg),
                             static_cast<const char *>(hist_ref_model), static_cast<const char *>(hist_ref_physical_con)})
        QVERIFY(std::memchr(text, '\0', 32));
}

void TestFaults::damagedSettings_data()
{
    QTest::addColumn<Damage>("damage");
    QTest::newRow("empty") << Damage::Empty;
    QTest::newRow("binary") << Damage::Binary;
    QTest::newRow("huge") << Damage::Huge;
    QTest::newRow("malformed") << Damage::Malformed;
}

// The configuration file: the environment settings and the site's address.
void TestFaults::damagedSettings()
{
    QFETCH(Damage, damage);
    LoadedChannel channel;
    QVERIFY(channel.open());
    QCOMPARE(channel.load(0), short(0));
    channel.prepareAdjustment();
    const QString ini = environment_ini_path();
    switch (damage) {
    case Damage::Empty:
        QVERIFY(write_bytes(ini, QByteArray()));
        break;
    case Damage::Binary:
        QVERIFY(write_bytes(ini, "[Environment]\n" + binary_bytes()));
        break;
    case Damage::Huge:
        QVERIFY(write_sparse(ini, qint64(100) << 20));
        break;
    case Damage::Truncated:
    case Damage::Malformed:
        QVERIFY(write_bytes(ini, malformed_text("[Environment]\nROOM_TEMP_VARIABLE=\"instr_t")));
        break;
    }
    EnvSettings settings{};
    EnvSettings *const window_settings = env_settings; // an earlier window's, kept for the process
    env_settings = &settings;
    load_environment_settings();
    QVERIFY(settings.env_vars_used == 0 || settings.env_vars_used == 1);
    QVERIFY(std::memchr(settings.room_temp_variable, '\0', sizeof settings.room_temp_variable));
    run_flow(Flow::Report, channel.record());
    env_settings = window_settings;
    QCOMPARE(QDir(channel.tables("verifications")).entryList({"*.csv"}, QDir::Files).size(), 1);
}

void TestFaults::damagedCellDescription_data()
{
    QTest::addColumn<Damage>("damage");
    QTest::newRow("binary") << Damage::Binary;
    QTest::newRow("huge") << Damage::Huge;
    QTest::newRow("malformed") << Damage::Malformed;
}

// The cell description is refused, and the cell's output says at which
// line and why.
void TestFaults::damagedCellDescription()
{
    QFETCH(Damage, damage);
    SimCell cell;
    const QString description = cell.root() + "/cell.ini";
    if (damage == Damage::Huge)
        QVERIFY(write_sparse(description, qint64(100) << 20));
    else if (damage == Damage::Binary)
        QVERIFY(write_bytes(description, "[cell]\n" + binary_bytes()));
    else
        QVERIFY(write_bytes(description, malformed_text("[cell]\nname = X\n")));
    QVERIFY(!cell.start({"--cell", description}));
    const QString said = QString::fromLocal8Bit(file_bytes(cell.path("/orvane/log/orvane-sim.out")));
    QVERIFY2(said.contains(QRegularExpression(QStringLiteral("cell\\.ini:[0-9]+: \\S"))), qPrintable(said));
}

// ---------------------------------------------------------------- hostile names

void TestFaults::hostileTableNames_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("fits"); // the paths hold the whole name under the test's root
    QTest::newRow("79 characters") << QByteArray(79, 'n') << false;
    QTest::newRow("blanks") << QByteArray("oil temp  in") << true;
    QTest::newRow("quotes") << QByteArray("oil\"temp'in") << true;
    QTest::newRow("semicolon") << QByteArray("oil;touch PWNED;x") << true;
    QTest::newRow("command substitution") << QByteArray("$(touch PWNED)") << true;
    QTest::newRow("backquotes") << QByteArray("`touch PWNED`x") << true;
    QTest::newRow("parent folders") << QByteArray("../../../escaped") << true;
    QTest::newRow("absolute path") << QByteArray("/tmp/escaped") << true;
    QTest::newRow("79 characters up and out") << QByteArray("../../../../") + QByteArray(67, 'u') << false;
}

void TestFaults::hostileTableNames()
{
    QFETCH(QByteArray, name);
    QFETCH(bool, fits);
    LoadedChannel channel;
    const QString description = channel.cell().root() + "/hostile.ini";
    QVERIFY(write_bytes(description, hostile_cell(name)));
    QVERIFY(channel.open({"--cell", description, "--tick", "20", "--no-noise", "--no-demo-tables"}));
    const QString root = channel.cell().root();
    // The process works in a folder of its own: a relative name would land
    // there, and no other test running beside this one writes into it.
    QTemporaryDir own_work_dir;
    const QString previous_dir = QDir::currentPath();
    QVERIFY(QDir::setCurrent(own_work_dir.path()));
    const auto restore_dir = qScopeGuard([&previous_dir] { QDir::setCurrent(previous_dir); });
    const QString work_dir = QDir::currentPath();
    const QString root_parent = QFileInfo(root).absolutePath();
    const QStringList root_before = tree_of(root);
    const QStringList work_before = tree_of(work_dir);
    const QStringList parent_before = QDir(root_parent).entryList({"escaped*"});

    QCOMPARE(channel.load(0), short(0));
    VREL_CFG &r = *channel.record();
    for (const char *path : {r.tbl_file, r.save_file, r.old_file, r.uut_file, r.ref_file, r.report_file})
        QVERIFY(std::memchr(path, '\0', sizeof r.tbl_file));
    // A table to adjust to, as a capture would leave it; the failed load
    // left the record without a name.
    r.table_info.tbl_type = TBL_INTERPOLATION;
    copyn("tst_faults", __LINE__, r.table_info.tbl_name, name.constData(), sizeof r.table_info.tbl_name);
    copyn("tst_faults", __LINE__, r.table_info.tbl_units, "KPA", sizeof r.table_info.tbl_units);
    for (int i = 0; i < 3; ++i) {
        r.new_long_table.x[i] = i;
        r.new_long_table.y[i] = 10.0 * i;
    }
    r.new_long_table.count = 3;
    num_points = 3;
    // An archive larger than a buffer of the C library: where a cut name
    // makes the .tbl, the archive and the .old one file, copying the table
    // into the .old would read what it writes for ever.
    for (int i = 0; i < 20; ++i)
        save_history(&r, CAL_AS_FOUND);
    const QString archive = QFile::decodeName(r.save_file);
    const QByteArray archive_before = file_bytes(archive);
    QVERIFY(archive_before.size() > 16384);
    // In a child whose files stop at 4 MB, so that a runaway copy ends.
    const int status = run_with_file_limit(rlim_t(4) << 20, [&r] {
        for (Flow flow : {Flow::Adjust, Flow::AsFound, Flow::UutRef, Flow::Report})
            run_flow(flow, &r);
    });
    QVERIFY(exited_cleanly(status));
    const QByteArray archive_after = file_bytes(archive);
    QVERIFY(archive_after.startsWith(archive_before));
    QVERIFY(archive_after.size() < archive_before.size() + 8192);
    QCOMPARE(channel.load(0), short(0));
    // Where the paths hold the name, the adjusted table is the one read.
    QCOMPARE(channel.record()->long_table.count, int16_t(fits ? 3 : 0));

    // Nothing was run: no file of the names' commands exists.
    QVERIFY(!QFile::exists(root + "/PWNED") && !QFile::exists(work_dir + "/PWNED"));
    // Nothing was written outside the tables folder but the host's log.
    QStringList outside;
    for (const QString &entry : tree_of(root))
        if (!entry.startsWith(QLatin1String("cell/tables")) && !entry.startsWith(QLatin1String("orvane/log")) &&
            !root_before.contains(entry))
            outside.append(entry);
    QVERIFY2(outside.isEmpty(), qPrintable(outside.join(' ')));
    QCOMPARE(tree_of(work_dir), work_before);
    QCOMPARE(QDir(root_parent).entryList({"escaped*"}), parent_before);
}

QTEST_MAIN(TestFaults)
#include "tst_faults.moc"
