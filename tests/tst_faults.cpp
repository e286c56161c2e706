// Faults from outside: a host that dies, folders that refuse writes, a full
// disk, a process killed while it appends, damaged files and hostile names
// from the host's memory.  The utility must go on, keep every complete
// record of the archive and never leave a cut table file.
#include "faults_fixture.h"

#include "archivetext.h"
#include "clock.h"
#include "environment_settings.h"
#include "functions.h"
#include "history.h"
#include "immutable.h"
#include "mainwindow.h"
#include "pointinfo.h"
#include "rebuild.h"
#include "report.h"
#include "station.h"
#include "uut_ref.h"
#include "vrel_util.h"
#include "worker.h"

#include <orvane/cell.h>
#include <orvane/strings.h>
#include <orvane/tables.h>
#include <orvane/units.h>

#include <QPushButton>
#include <cstring>
#include <random>
#include <sys/resource.h>
#include <sys/wait.h>

namespace {

constexpr std::time_t kRecordTime = 1700000000;

// Every file and folder under root, relative to it.
QStringList tree_of(const QString &root)
{
    QStringList entries;
    for (QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot, QDirIterator::Subdirectories); it.hasNext();)
        entries.append(QDir(root).relativeFilePath(it.next()));
    entries.sort();
    return entries;
}

// Runs work in a child whose files may not grow past limit bytes, as on a full disk: a write
// beyond it fails (EFBIG) instead of raising SIGXFSZ.  True when the child ended normally.
bool run_with_file_limit(rlim_t limit, const std::function<void()> &work)
{
    std::fflush(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const rlimit fsize{limit, limit};
        signal(SIGXFSZ, SIG_IGN), setrlimit(RLIMIT_FSIZE, &fsize), work(), _exit(0);
    }
    int status = -1;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// Locks a folder, or with `whole` everything under it too, while the result lives; null where
// a new file still gets in (no immutable flag for root on this file system).
using Locks = std::vector<std::unique_ptr<LockedPath>>;
std::unique_ptr<Locks> lock(const QString &root, bool whole)
{
    auto locks = std::make_unique<Locks>();
    for (const QString &entry : QStringList{QString()} + (whole ? tree_of(root) : QStringList())) {
        const QString path = entry.isEmpty() ? root : root + '/' + entry;
        const bool dir = QFileInfo(path).isDir();
        locks->push_back(std::make_unique<LockedPath>(QFile::encodeName(path), dir ? 0555 : 0444, dir ? 0755 : 0644));
    }
    QFile probe(root + "/write_probe");
    return probe.open(QIODevice::WriteOnly) && probe.remove() ? nullptr : std::move(locks);
}

// A simulated cell and the record of one of its channels, loaded as the utility loads it.
struct LoadedChannel {
    SimCell cell;
    DialogAnswerer answerer;
    ~LoadedChannel() { set_fixed_clock(0); }
    bool open(const QStringList &options = {"--tick", "20", "--no-noise"})
    {
        // The process's one record, as the program has it: never freed,
        // since a live monitor thread of an earlier window still marks it.
        if (!cfg)
            set_cfg(new VREL_CFG{});
        init_tolerance_texts(), set_fixed_clock(kRecordTime);
        return cell.start(options) && link_shared_memory() == 0 && units_init_access(1) == 0 &&
               QDir().mkpath(tables("uut_ref_data")) && QDir().mkpath(tables("verifications"));
    }
    short load(int channel)
    {
        for (int i = 0; i < 4; ++i) // whatever notice a damaged file brings up
            answerer.answer(QStringLiteral("OK"));
        std::memset(cfg, 0, sizeof(VREL_CFG));
        cfg->channel = static_cast<int16_t>(channel);
        return load_channel(cfg);
    }
    // Loads a channel and makes its table the candidate of an adjustment.
    bool ready(int channel = 0)
    {
        if (!open() || load(channel) != 0)
            return false;
        cfg->new_long_table = cfg->long_table, num_points = cfg->long_table.count;
        cfg->new_table_poly[0] = cfg->table_info.dim.table_poly[0], cfg->new_table_poly[0].num_coeff = 2;
        copyn("tst_faults", __LINE__, cfg->table_info.technician, "J. Doe", sizeof cfg->table_info.technician);
        return true;
    }
    QString tables(const QString &name = QString()) const { return cell.path("/cell/tables/") + name; }
};

// What a flow writes; each is run whole.
enum class Flow { Adjust, AsFound, UutRef, Report };

void run_flow(Flow flow)
{
    if (flow == Flow::Adjust || flow == Flow::AsFound)
        save_calibration(cfg, flow == Flow::Adjust ? CAL_ADJUSTED : CAL_AS_FOUND);
    if (flow == Flow::UutRef)
        write_uut_data(cfg, CAL_ADJUSTED), write_ref_data(cfg, CAL_ADJUSTED);
    if (flow == Flow::Report)
        write_calibration_report(CAL_ADJUSTED);
}

// The time of the newest record of an archive as the host reads it, or 0.
int64_t newest_time(const QString &archive, int16_t *points = nullptr)
{
    void *records[500] = {};
    int64_t scratch[500] = {};
    if (read_archive_file_poly(1, QFile::encodeName(archive).constData(), records, scratch) != 1)
        return 0;
    const auto *newest = static_cast<const TableInfo *>(records[0]);
    if (points)
        *points = newest->dim.table_poly[0].raw_data.count;
    return newest->last_cal;
}

enum class Damage { Empty, Truncated, Binary, Huge, Malformed };

// Writes a damaged file in place of `good`: cut in half, random bytes after a good start, 100 MB
// that hold no data (the disk is not filled), or a text deep rather than long.
bool damage_file(const QString &path, Damage damage, const QByteArray &good)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        return false;
    if (damage == Damage::Huge)
        return file.resize(qint64(100) << 20);
    QByteArray bytes = damage == Damage::Empty ? QByteArray() : damage == Damage::Truncated ? good.left(good.size() / 2) : good.left(good.size() / 3);
    std::mt19937 random(7);
    for (int i = 0; damage == Damage::Binary && i < 4096; ++i)
        bytes += char(random());
    for (int i = 0; damage == Damage::Malformed && i <= 20000; ++i) // continued lines, then a line of a megabyte,
        bytes += i < 20000 ? " \"[[\\\n" : QByteArray(1 << 20, '[') + "\n\"\n"; // brackets and quotes never closed
    return file.write(bytes) == bytes.size();
}

} // namespace

Q_DECLARE_METATYPE(Flow)
Q_DECLARE_METATYPE(Damage)

class TestFaults : public QObject
{
    Q_OBJECT

  private slots:
    void cleanup() { set_fixed_clock(0), averaging_count = 0; }
    void refusedWrites_data()
    {
        QTest::addColumn<int>("channel");
        QTest::addColumn<Flow>("flow");
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("how"); // "tree", "folder", "owned", "disk", or the file stands in the way
        QTest::addColumn<qint64>("bytes"); // on a full disk, what files may hold (an archive: past its end)
        QTest::addColumn<bool>("tableRewritten");
        const QString tbl = "oil_temp_in.tbl", save = "oil_temp_in.save", uut = "uut_ref_data/oil_temp_in.uut";
        QTest::newRow("read-only: adjust") << 0 << Flow::Adjust << tbl << "tree" << 0ll << false;
        QTest::newRow("read-only: as found") << 0 << Flow::AsFound << tbl << "tree" << 0ll << false;
        QTest::newRow("read-only: uut and reference") << 0 << Flow::UutRef << uut << "tree" << 0ll << false;
        QTest::newRow("read-only: report") << 0 << Flow::Report << tbl << "tree" << 0ll << false;
        QTest::newRow("archive is a folder") << 0 << Flow::Adjust << save << "" << 0ll << true;
        QTest::newRow("old tables file is a folder") << 0 << Flow::Adjust << "oil_temp_in.old" << "" << 0ll << true;
        QTest::newRow("uut file is a folder") << 0 << Flow::UutRef << uut << "" << 0ll << false;
        QTest::newRow("report folder is a file") << 0 << Flow::Report << "verifications" << "" << 0ll << false;
        // A rewritten file keeps its owner, group and mode; where its folder
        // takes no new file it is rewritten where it stands.
        QTest::newRow("table of another owner") << 0 << Flow::Adjust << tbl << "owned" << 0ll << true;
        QTest::newRow("table, folder takes no new file") << 0 << Flow::Adjust << tbl << "folder" << 0ll << true;
        QTest::newRow("uut of another owner") << 0 << Flow::UutRef << uut << "owned" << 0ll << false;
        QTest::newRow("reference, folder takes no new file")
            << 0 << Flow::UutRef << "uut_ref_data/oil_temp_in.ref" << "folder" << 0ll << false;
        QTest::newRow("full disk: record cut off") << 0 << Flow::AsFound << save << "disk" << 700ll << false;
        QTest::newRow("full disk: no room for a record") << 0 << Flow::AsFound << save << "disk" << 0ll << false;
        QTest::newRow("full disk: table file cut off") << 0 << Flow::Adjust << tbl << "disk" << 300ll << false;
        QTest::newRow("full disk: uut and reference cut off") << 0 << Flow::UutRef << tbl << "disk" << 40ll << false;
        QTest::newRow("full disk: uut and reference cut near their ends")
            << 0 << Flow::UutRef << tbl << "disk" << 200ll << false;
        QTest::newRow("full disk: report cut off") << 0 << Flow::Report << tbl << "disk" << 300ll << false;
        QTest::newRow("full disk: range sibling cut off")
            << 6 << Flow::AsFound << "intake_press.tbl" << "disk" << 200ll << false;
    }
    void refusedWrites()
    {
        QFETCH(int, channel);
        QFETCH(Flow, flow);
        QFETCH(QString, file);
        QFETCH(QString, how);
        QFETCH(qint64, bytes);
        LoadedChannel loaded;
        QVERIFY(loaded.ready(channel));
        save_history(cfg, CAL_AS_FOUND); // an archive, a .uut and a .ref to keep
        run_flow(Flow::UutRef);
        const QString name = QString::fromLatin1(cfg->table_info.tbl_name), path = loaded.tables(file);
        const QString table = loaded.tables(name + ".tbl"), archive = loaded.tables(name + ".save");
        const auto uut_ref = [&] { return file_bytes(loaded.tables("uut_ref_data/" + name + ".uut")) + "|" +
                                          file_bytes(loaded.tables("uut_ref_data/" + name + ".ref")); };
        const QByteArray native = QFile::encodeName(path);
        QByteArray expected;
        if (how == "owned" || how == "folder") {
            run_flow(flow);
            expected = file_bytes(path);
            QVERIFY(!expected.isEmpty() && write_bytes(path, "stale\n"));
            if (::chown(native.constData(), 4321, 4321) != 0)
                QSKIP("this process may not give a file away");
            QCOMPARE(::chmod(native.constData(), 0640), 0);
        } else if (how.isEmpty()) { // a folder where a file goes, or a file where the reports' folder goes
            QVERIFY(file == "verifications" ? QDir(path).removeRecursively() && write_bytes(path, "not a folder\n")
                                            : (QFile::remove(path), QDir().mkpath(path)));
        }
        const QByteArray table_before = file_bytes(table), archive_before = file_bytes(archive);
        const QByteArray uut_ref_before = uut_ref();
        const QStringList tree_before = tree_of(loaded.tables());
        const qint64 limit = file.endsWith(".save") ? archive_before.size() + bytes : bytes;
        QVERIFY(how != "disk" || file.endsWith(".save") || table_before.size() > limit);
        if (how == "disk") {
            set_fixed_clock(kRecordTime + 60);
            QVERIFY(run_with_file_limit(rlim_t(limit), [flow] { run_flow(flow); }));
        } else {
            const std::unique_ptr<Locks> locks = how == "tree" ? lock(QDir::cleanPath(loaded.tables()), true)
                                                 : how == "folder" ? lock(QFileInfo(path).path(), false)
                                                                   : std::make_unique<Locks>();
            if (!locks)
                QSKIP("this station cannot make a folder read-only (no immutable flag)");
            run_flow(flow);
        }
        TableInfo read_back{};
        QCOMPARE(read_table(QFile::encodeName(table).constData(), &read_back), 0);
        QTEST(file_bytes(table) != table_before, "tableRewritten");
        const QByteArray archive_after = file_bytes(archive);
        QVERIFY(archive_after.startsWith(archive_before));
        if (how == "tree" || how == "disk") // the .uut and .ref are left as they were
            QVERIFY(uut_ref() == uut_ref_before);
        if (how == "tree") {
            QVERIFY(archive_after == archive_before && tree_of(loaded.tables()) == tree_before);
        } else if (!expected.isEmpty()) {
            QCOMPARE(file_bytes(path), expected);
            struct stat after;
            QCOMPARE(::stat(native.constData(), &after), 0);
            QCOMPARE(QList<uint>({after.st_uid, after.st_gid, after.st_mode & 07777u}), QList<uint>({4321, 4321, 0640}));
            QCOMPARE(QDir(QFileInfo(path).path()).entryList({"*.partial-*"}, QDir::Files), QStringList());
        } else if (how == "disk") {
            // A record that did not fit is taken back whole; no cut file is left, under any name.
            QVERIFY(archive_after == archive_before || (archive_after.size() <= limit && newest_time(archive) == kRecordTime + 60));
            for (QDirIterator files(loaded.tables(), QDir::Files, QDirIterator::Subdirectories); files.hasNext();) {
                const QString cut = files.next();
                QVERIFY2(!cut.contains(".partial-") && !cut.contains("verifications/") &&
                             !cut.endsWith(QStringLiteral("-%1.poly_range").arg(kRecordTime + 60)), qPrintable(cut));
            }
            // With room again, the next record goes in and is the one read.
            set_fixed_clock(kRecordTime + 120);
            run_flow(Flow::AsFound);
            QVERIFY(file_bytes(archive).startsWith(archive_after));
            QCOMPARE(newest_time(archive), int64_t(kRecordTime + 120));
        }
        QCOMPARE(loaded.load(channel), short(0)); // the channel still loads from what is there
        QVERIFY(cfg->long_table.count > 0);
    }
    void killedDuringAppends()
    {
        LoadedChannel channel;
        QVERIFY(channel.ready());
        const QString archive = channel.tables("oil_temp_in.save");
        const QByteArray path = QFile::encodeName(archive);
        // Killed at random moments, the same on every run, while appending
        // records of 64 points, larger than one buffer of the C library.
        auto &raw = cfg->table_info.dim.table_poly[0].raw_data;
        for (int i = 0; i < kMaxPoints; ++i) {
            raw.x[i] = cfg->new_long_table.x[i] = 0.15625 * i;
            raw.y[i] = cfg->new_long_table.y[i] = -10.0 + 2.5 * i;
        }
        raw.count = cfg->new_long_table.count = kMaxPoints;
        set_fixed_clock(kRecordTime), write_bytes(archive, {}), append_history_record(path.constData(), cfg, CAL_AS_FOUND);
        const QByteArray record = file_bytes(archive);
        QVERIFY(record.size() > 8192);
        std::mt19937 random(20240405);
        QByteArray previous = record;
        int kills = 0;
        for (int round = 0; round < 40; ++round) {
            std::fflush(nullptr);
            const pid_t child = fork();
            for (int i = 0; child == 0 && i < 60; ++i)
                append_history_record(path.constData(), cfg, CAL_AS_FOUND);
            if (child == 0)
                _exit(0);
            QVERIFY(child > 0);
            usleep(std::uniform_int_distribution<useconds_t>(0, 3000)(random));
            kills += ::kill(child, SIGKILL) == 0;
            QCOMPARE(waitpid(child, nullptr, 0), child);
            const QByteArray now = file_bytes(archive);
            QVERIFY2(now.startsWith(previous), qPrintable(QStringLiteral("round %1 changed earlier bytes").arg(round)));
            previous = now;
        }
        QVERIFY(kills > 0 && previous.count(record) >= 1);
        // The copy after a cut one starts a line, and the next append is the record that reads.
        for (int at = previous.indexOf(kArchiveRecordStart, 1); at > 0; at = previous.indexOf(kArchiveRecordStart, at + 1))
            QVERIFY2(previous.at(at - 1) == '\n', qPrintable(QStringLiteral("the record at byte %1 starts no line").arg(at)));
        set_fixed_clock(kRecordTime + 60);
        append_history_record(path.constData(), cfg, CAL_AS_FOUND);
        int16_t points = 0;
        QCOMPARE(newest_time(archive, &points), int64_t(kRecordTime + 60));
        QCOMPARE(points, int16_t(kMaxPoints));
    }
    void damagedFiles_data()
    {
        QTest::addColumn<int>("channel");
        QTest::addColumn<QString>("file"); // relative to the tables folder
        QTest::addColumn<Damage>("damage");
        QTest::addColumn<bool>("logged"); // the host log names the file
        const char *kinds[] = {"tbl", "save", "poly_range", "uut", "ref"};
        const char *files[] = {"oil_temp_in.tbl", "oil_temp_in.save", "intake_press-1700000000.poly_range",
                               "uut_ref_data/oil_temp_in.uut", "uut_ref_data/oil_temp_in.ref"};
        const char *damages[] = {"empty", "truncated", "binary", "huge", "malformed"};
        for (int k = 0; k < 5; ++k)
            for (int d = 0; d < 5; ++d) {
                // The .uut and .ref go unsaid; an empty archive has no records, and the first
                // half of a .poly_range may be whole ranges: nothing to say.
                const bool logged = k < 3 && !(k == 1 && d == int(Damage::Empty)) && !(k == 2 && d == int(Damage::Truncated));
                QTest::addRow("%s %s", damages[d], kinds[k]) << (k == 2 ? 6 : 0) << files[k] << Damage(d) << logged;
            }
    }
    void damagedFiles()
    {
        QFETCH(int, channel);
        QFETCH(QString, file);
        QFETCH(Damage, damage);
        QFETCH(bool, logged);
        LoadedChannel loaded;
        QVERIFY(loaded.ready(channel));
        run_flow(Flow::AsFound); // every file of the channel, as the utility writes it
        run_flow(Flow::UutRef);
        const QString path = loaded.tables(file);
        const bool table = file.endsWith(".tbl"); // its points are no longer in force
        QVERIFY(!table || QFile::remove(loaded.tables("oil_temp_in.save"))); // else the archive would stand in
        const QByteArray good = file_bytes(path);
        QVERIFY2(!good.isEmpty() && damage_file(path, damage, good), qPrintable(path));
        const QString log_before = loaded.cell.hostLog();
        QCOMPARE(loaded.load(channel), short(0));
        const QString log_lines = loaded.cell.hostLog().mid(log_before.size());
        QVERIFY2(!logged || log_lines.contains(QFileInfo(path).fileName()), qPrintable(log_lines));
        QVERIFY(cfg->long_table.count >= (table ? 0 : 1) && cfg->long_table.count <= kMaxPoints);
        QVERIFY(!table || QByteArray(cfg->table_info.tbl_desc) == "No Description");
        for (const char *text : {cfg->table_info.tbl_desc, cfg->uut_cal_type, cfg->uut_model, cfg->uut_mte,
                                 hist_ref_mfg, hist_ref_model, hist_ref_physical_con})
            QVERIFY(std::memchr(text, '\0', 32));
    }
    void tornTail_data()
    {
        QTest::addColumn<double>("kept"); // share of the record that reached the disk
        QTest::newRow("inside the opening line") << 0.01;
        QTest::newRow("inside the comment block") << 0.3;
        QTest::newRow("inside the data line") << 0.8;
        QTest::newRow("before the last line end") << 0.9999;
    }
    // After a record cut anywhere, the next one is appended whole and is the one read.
    void tornTail()
    {
        QFETCH(double, kept);
        LoadedChannel loaded;
        QVERIFY(loaded.ready());
        const QString archive = loaded.tables("oil_temp_in.save");
        QFile::remove(archive);
        save_history(cfg, CAL_AS_FOUND);
        const QByteArray record = file_bytes(archive);
        const int cut = std::max(1, int(record.size() * kept));
        const QByteArray torn = record + record.left(std::min(cut, int(record.size()) - 1));
        QVERIFY(write_bytes(archive, torn));
        set_fixed_clock(kRecordTime + 60);
        save_history(cfg, CAL_AS_FOUND);
        QVERIFY(file_bytes(archive).startsWith(torn));
        QCOMPARE(newest_time(archive), int64_t(kRecordTime + 60));
    }
    void damagedConfiguration_data()
    {
        QTest::addColumn<bool>("settings"); // the environment settings, else the cell's description
        QTest::addColumn<Damage>("damage");
        const char *damages[] = {"empty", "truncated", "binary", "huge", "malformed"};
        for (Damage damage : {Damage::Empty, Damage::Binary, Damage::Huge, Damage::Malformed}) {
            QTest::addRow("%s environment settings", damages[int(damage)]) << true << damage;
            if (damage != Damage::Empty)
                QTest::addRow("%s cell description", damages[int(damage)]) << false << damage;
        }
    }
    void damagedConfiguration()
    {
        QFETCH(bool, settings);
        QFETCH(Damage, damage);
        if (!settings) { // refused, and the cell's output says at which line and why
            SimCell cell;
            const QString description = cell.root() + "/cell.ini";
            QVERIFY(damage_file(description, damage, "[cell]\nname = X\ntick_ms = 20\n"));
            QVERIFY(!cell.start({"--cell", description}));
            const QString said = QString::fromLocal8Bit(file_bytes(cell.path("/orvane/log/orvane-sim.out")));
            QVERIFY2(said.contains(QRegularExpression(QStringLiteral("cell\\.ini:[0-9]+: \\S"))), qPrintable(said));
            return;
        }
        LoadedChannel loaded;
        QVERIFY(loaded.ready());
        QVERIFY(damage_file(environment_ini_path(), damage, "[Environment]\nROOM_TEMP_VARIABLE=\"instr_t\"\n"));
        EnvSettings read{};
        EnvSettings *const window_settings = env_settings; // an earlier window's, kept for the process
        env_settings = &read;
        load_environment_settings();
        run_flow(Flow::Report);
        env_settings = window_settings;
        QVERIFY(read.env_vars_used == 0 || read.env_vars_used == 1);
        QVERIFY(std::memchr(read.room_temp_variable, '\0', sizeof read.room_temp_variable));
        QCOMPARE(QDir(loaded.tables("verifications")).entryList({"*.csv"}, QDir::Files).size(), 1);
    }
    void hostileTableNames_data()
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
    void hostileTableNames()
    {
        QFETCH(QByteArray, name);
        QFETCH(bool, fits);
        LoadedChannel channel;
        const QString root = channel.cell.root(), description = root + "/hostile.ini";
        QVERIFY(write_bytes(description, "[cell]\nname = HOSTILE\ntick_ms = 20\n\n[channel 0]\nname = HOSTILE NAME\n"
                                         "units = KPA\ntable = " + name + "\ncoefficients = 0, 10\n"));
        QVERIFY(channel.open({"--cell", description, "--tick", "20", "--no-noise", "--no-demo-tables"}));
        // The process works in a folder of its own, where a relative name would land.
        QTemporaryDir work_dir;
        const QString previous_dir = QDir::currentPath(), root_parent = QFileInfo(root).absolutePath();
        QVERIFY(QDir::setCurrent(work_dir.path()));
        const auto restore_dir = qScopeGuard([&previous_dir] { QDir::setCurrent(previous_dir); });
        const QStringList root_before = tree_of(root), parent_before = QDir(root_parent).entryList({"escaped*"});
        QCOMPARE(channel.load(0), short(0));
        // A table to adjust to, as a capture would leave it, under the name.
        cfg->table_info.tbl_type = TBL_INTERPOLATION;
        copyn("tst_faults", __LINE__, cfg->table_info.tbl_name, name.constData(), sizeof cfg->table_info.tbl_name);
        copyn("tst_faults", __LINE__, cfg->table_info.tbl_units, "KPA", sizeof cfg->table_info.tbl_units);
        cfg->new_long_table = LongTable{};
        for (int i = 0; i < 3; ++i)
            cfg->new_long_table.x[i] = i, cfg->new_long_table.y[i] = 10 * i;
        cfg->new_long_table.count = num_points = 3;
        // An archive larger than a buffer of the C library: where a cut name makes the .tbl, the
        // archive and the .old one file, copying the table into the .old would never end.
        for (int i = 0; i < 20; ++i)
            save_history(cfg, CAL_AS_FOUND);
        const QString archive = QFile::decodeName(cfg->save_file);
        const QByteArray archive_before = file_bytes(archive);
        QVERIFY(archive_before.size() > 16384);
        // In a child whose files stop at 4 MB, so that a runaway copy ends.
        QVERIFY(run_with_file_limit(rlim_t(4) << 20, [] { run_flow(Flow::Adjust), run_flow(Flow::AsFound), run_flow(Flow::UutRef), run_flow(Flow::Report); }));
        const QByteArray archive_after = file_bytes(archive);
        QVERIFY(archive_after.startsWith(archive_before) && archive_after.size() < archive_before.size() + 8192);
        QCOMPARE(channel.load(0), short(0));
        QCOMPARE(cfg->long_table.count, int16_t(fits ? 3 : 0)); // where the paths hold the name, it is what reads
        // Nothing was run, and nothing written outside the tables folder but the host's log.
        QStringList outside;
        for (const QString &entry : tree_of(root))
            if (!entry.startsWith("cell/tables") && !entry.startsWith("orvane/log") && !root_before.contains(entry))
                outside.append(entry);
        QCOMPARE(outside + tree_of(work_dir.path()), QStringList());
        QCOMPARE(QDir(root_parent).entryList({"escaped*"}), parent_before);
    }
    // Last: the windows it opens leave their threads running, and the tests above fork.
    void hostDiesDuringAverage()
    {
        for (bool vanish : {true, false}) { // the host vanishes, or its process is killed
            Station station;
            QVERIFY(station.open() && station.select(0));
            QVERIFY(station.worker()->isRunning());
            averaging_count = 100;
            QSignalSpy finished(station.worker(), &Worker::finishedAveraging);
            station.row(0)->findChild<QPushButton *>(QStringLiteral("btnCapture"))->click();
            QTRY_VERIFY_WITH_TIMEOUT(station.worker()->sampleCount() >= 5, 10000);
            const void *old_millivolts = Mv;
            const auto *control = static_cast<const orv_control *>(orvane_segment_attach_rw(ORV_SEG_CONTROL, nullptr));
            QVERIFY(control && control->pid > 0);
            QVERIFY(vanish ? station.cell().command({"vanish"}) : ::kill(control->pid, SIGKILL) == 0);
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
            QVERIFY(cfg->channel == 0 && cfg->long_table.count > 0);
        }
    }
};

QTEST_MAIN(TestFaults)
#include "tst_faults.moc"
