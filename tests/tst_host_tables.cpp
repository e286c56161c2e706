// Table library of the host stand-in: table files, history archives and
// the numerics on tables.
#include "archivetext.h"
#include "joined.h"
#include <orvane/log.h>
#include <orvane/tables.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QPointF>
#include <QProcess>
#include <QTemporaryDir>
#include <QVector>
#include <QtTest>

#include <sys/resource.h>
#include <sys/stat.h>

#include <clocale>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace
{

using Points = QVector<QPointF>;
using Numbers = QVector<double>;

const char kMarker[] = "# The following comment lines describes the data in";

QByteArray sampleFile(const char *name)
{
    QFile file(QStringLiteral(VREL_SOURCE_DIR "/tests/data/tables/") + name);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Numbers of several fields, to compare them in one check.
QVector<double> numbers(std::initializer_list<double> values) { return QVector<double>(values); }

// 1-based line of the first needle in text.
int lineOf(const QByteArray &text, const QByteArray &needle)
{
    return text.left(text.indexOf(needle)).count('\n') + 1;
}

// One history record as the utility appends it; the fields a test varies
// are members, the others are fixed.
struct Record {
    long time = 1700000000;
    QByteArray mode = "AS_FOUND", state = "NOADJ", type = "INTERPOLATION";
    QByteArray comment = "none", desc = "Inlet air", coefficients = " 0 -50 20 ";
    QByteArray sibling; // POLYNOMIAL_RANGE: the path it names
    QByteArray version;
    Points points{{0, -50}, {5, 50}, {10, 150}};
    QByteArray tail; // inside the data line, after the points
    int dynoPoints = 0;

    QByteArray text() const
    {
        QByteArray s = QByteArray(kMarker) + "\n# the section below\n" + (version.isEmpty() ? "" : "# ORVANE VERSION\n");
        s += kArchiveFieldNames;
        s += sibling.isEmpty() ? "# polynomial coefficents\n" : "# POLYNOMIAL_RANGE\n# poly_range_filename\n";
        s += "# mua_instance_name  tbl_desc\n";
        const QString names = "# channel->table_info.%1.x[%2] channel->table_info.%1.y[%2]\n";
        for (int i = 0; i < points.size(); ++i)
            s += names.arg("dim.table_poly[0].raw_data").arg(i).toLatin1();
        s += dynoPoints > 0 ? "# dyno_cal_type\n" : "";
        for (int i = 0; i < dynoPoints; ++i)
            s += names.arg("dyno_cal").arg(i).toLatin1();
        s += version.isEmpty() ? QByteArray() : "\n\n# OrVane Version " + version;
        s += "\n" + QByteArray::number(qlonglong(time)) + " \"10:13:20 PM 11/14/23\" '" + mode + "' '" + state +
             "' \"inlet_air\" \\\n \"" + type + "\" \"0.25\" \"PCT\" \\\n   \"" + comment + "\" \\\n" +
             "   \"0[PCT]\"   \".25[PCT]\" \\\n   \"0[PCT]\"   \"1[PCT]\" \\\n   \"0[PCT]\"   \"2[PCT]\" \\\n"
             "   \"0.1[PCT]\"   \"0.5[PCT]\" \\\n   \"0.2[PCT]\"   \"1[PCT]\" \\\n   \"0[PCT]\"   \"0.75[PCT]\" \\\n"
             "   \"PT100\" \"SN-4711\" \"degC\" \\\n   \"-50[degC]\" \"150[degC]\" \\\n"
             "   \"-50.125[degC]\" \"150.25[degC]\" \\\n   \"J. Doe\" \"WS-17\" \"mV\" \"degC\" \\\n";
        if (sibling.isEmpty())
            s += " \"" + coefficients + "\"  \\\n \"none\" \"" + desc + "\"  ";
        else
            s += " \"POLYNOMIAL_RANGE\"  \\\n \"" + sibling + "\" \\\n \"none\" \"" + desc + "\"  ";
        for (const QPointF &p : points)
            s += QString::asprintf(" \\\n   %10.6g %10.6g", p.x(), p.y()).toLatin1();
        return s + tail + "\n\n";
    }
};

// The same record with comment lines added after its first line, so that
// it is exactly size bytes long.
QByteArray paddedTo(const QByteArray &record, int size)
{
    const int firstLine = record.indexOf('\n') + 1;
    QByteArray padding;
    while (record.size() + padding.size() < size) {
        const int room = size - record.size() - padding.size();
        padding +=
            room >= 2 ? "#" + QByteArray(std::min(room, 80) - 2, 'p') + "\n" : QByteArray("\n");
    }
    return record.left(firstLine) + padding + record.mid(firstLine);
}

} // namespace

class TestHostTables : public QObject
{
    Q_OBJECT

    QTemporaryDir root_;
    QString tables_;

    qint64 logSize() const { return QFileInfo(root_.path() + ORV_LOG_PATH).size(); }
    // A fresh file each time: rewriting one in place makes some file systems
    // flush it on close, which turns the loops below from milliseconds into
    // seconds.
    QString write(const QString &name, const QByteArray &bytes) const
    {
        QFile file(tables_ + name);
        file.remove();
        if (!file.open(QIODevice::WriteOnly))
            return QString();
        file.write(bytes);
        return file.fileName();
    }
    QByteArray logSince(qint64 mark) const
    {
        QFile log(root_.path() + ORV_LOG_PATH);
        if (!log.open(QIODevice::ReadOnly) || !log.seek(mark))
            return QByteArray();
        return log.readAll();
    }
    int readTable(const QString &path, TableInfo &table) const
    {
        std::memset(&table, 0, sizeof table);
        return read_table(QFile::encodeName(path).constData(), &table);
    }
    short readArchive(const QString &path, const TableInfo **newest) const
    {
        void *records[500] = {};
        int64_t scratch[500] = {};
        const short result =
            read_archive_file_poly(1, QFile::encodeName(path).constData(), records, scratch);
        *newest = static_cast<const TableInfo *>(records[0]);
        return result;
    }

  private slots:
    void initTestCase()
    {
        QVERIFY(root_.isValid());
        QVERIFY(QDir(root_.path()).mkpath("orvane/log"));
        QVERIFY(QDir(root_.path()).mkpath("cell/tables"));
        tables_ = root_.path() + "/cell/tables/";
        qputenv("ORVANE_ROOT", QFile::encodeName(root_.path()));
        for (const char *name : {"inlet_air.save", "manifold.save", "manifold-1700000300.poly_range"})
            write(name, sampleFile(name));
        // A range sibling whose one range is range 0, with the record's points.
        write("solo-1.poly_range", "\n \" 0 -50 20 \"  \\\n \\\n            0        -50 \\\n"
                                   "            5         50 \\\n           10        150\n");
    }

    // ---- table files
    void readsInterpolationTable()
    {
        TableInfo t;
        QCOMPARE(readTable(write("inlet.tbl", sampleFile("interpolation.tbl")), t), 0);
        QCOMPARE(joined({t.tbl_name, t.user_comment, t.working_standard, t.technician, t.tbl_desc, t.tbl_units,
                        t.x_units, t.tol_units, t.mua_instance_name, t.sensor_model, t.sensor_sn, t.sensor_range_units}),
                 QByteArray("inlet|# 3-wire PT100, see sheet 12|WS-17|J. Doe|Inlet air temperature, cell 7 n" // cut at 31
                            "|degC|mV|PCT|MUA-AIR-1|PT100|SN-4711|degC"));
        QCOMPARE(numbers({double(t.tbl_type), double(t.last_cal), double(t.cal_interval), t.min_range, t.max_range,
                          t.tbl_tol, t.sensor_range_lower_limit, t.sensor_range_upper_limit}),
                 numbers({ORV_INTERPOLATION, 1700000000, 26 * 604800, -50, 150, 0.25, -50, 150}));
        const RawData &raw = t.dim.table_poly[0].raw_data;
        QCOMPARE(numbers({double(raw.count), raw.x[0], raw.x[1], raw.x[2], raw.x[3], raw.x[4], raw.y[0], raw.y[1],
                          raw.y[2], raw.y[3], raw.y[4]}),
                 numbers({5, 0, 2.5, 5, 7.5, 10, -50.125, 0, 49.875, 100, 150.25}));
    }
    void readsCoefficientTables_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("type");
        QTest::addColumn<Numbers>("coefficients");
        QTest::addColumn<double>("maxRange");
        QTest::newRow("polynomial") << sampleFile("polynomial.tbl") << int(ORV_POLYNOMIAL)
                                    << Numbers{0, 9.5, 0.005, -1.25e-06} << 1000.0;
        QTest::newRow("hyperbolic") << sampleFile("hyperbolic.tbl") << int(ORV_HYPERBOLIC)
                                    << Numbers{12.5, -0.75} << 1000.0;
        QTest::newRow("polynomial of no coefficients")
            << QByteArray("#type_code\nPOLYNOMIAL\n\n#number of points\n0\n") << int(ORV_POLYNOMIAL)
            << Numbers{} << 0.0;
    }
    void readsCoefficientTables()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, type);
        QFETCH(Numbers, coefficients);
        TableInfo t;
        QCOMPARE(readTable(write("coefficients.tbl", text), t), 0);
        QCOMPARE(int(t.tbl_type), type);
        QCOMPARE(int(t.dim.table_poly[0].num_coeff), coefficients.size());
        for (int i = 0; i < coefficients.size(); ++i)
            QCOMPARE(t.dim.table_poly[0].coeff[i], coefficients[i]);
        QCOMPARE(t.dim.table_poly[0].raw_data.count, int16_t(0));
        QTEST(t.max_range, "maxRange");
    }
    void readsOtherTypes_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QVector<double>>("expected"); // type, points, x[0], y[63], sensor upper limit
        QTest::addColumn<QByteArray>("texts");         // description, sensor range units
        QTest::newRow("scaled: the factor as x[0]") << sampleFile("scaled.tbl") << numbers({ORV_SCALED, 0, 0.4375, 0, 50})
                                                    << QByteArray("Exhaust back press|none");
        QTest::newRow("2D map: the type word only") << sampleFile("local_2d.tbl")
                                                    << numbers({ORV_LOCAL_2D_INTERPOLATION, 0, 0, 0, 1})
                                                    << QByteArray("Cylinder map|C");
        // Their data are the host builder's business, whatever lines they hold.
        QTest::newRow("2D map with a RANGE= line") << QByteArray("#type_code\n2D_INTERPOLATION\n\nRANGE=0 C0=1\n")
                                                   << numbers({ORV_2D_INTERPOLATION, 0, 0, 0, 0}) << QByteArray("|");
        QByteArray full = "#type_code\nINTERPOLATION\n\n#number of points\n64\n\n";
        for (int i = 0; i < ORV_MAX_POINTS; ++i)
            full += QByteArray::number(i) + " " + QByteArray::number(i * 2) + "\n";
        QTest::newRow("64 points, the most there is")
            << full << numbers({ORV_INTERPOLATION, 64, 0, 126, 0}) << QByteArray("|");
    }
    void readsOtherTypes()
    {
        QFETCH(QByteArray, text);
        TableInfo t;
        QCOMPARE(readTable(write("other.tbl", text), t), 0);
        const RawData &raw = t.dim.table_poly[0].raw_data;
        QTEST(numbers({double(t.tbl_type), double(raw.count), raw.x[0], raw.y[63], t.sensor_range_upper_limit}),
              "expected");
        QTEST(joined({t.tbl_desc, t.sensor_range_units}), "texts");
    }
    void readsPolynomialRangeTable()
    {
        TableInfo t;
        QCOMPARE(readTable(write("range.tbl", sampleFile("polynomial_range.tbl")), t), 0);
        QCOMPARE(numbers({double(t.tbl_type), double(t.range_index)}), numbers({ORV_POLYNOMIAL_RANGE, 1}));
        QCOMPARE(joined({t.user_comment, t.tol_units}), QByteArray("Two ranges and a spare|")); // no limits section here
        const TablePoly *p = t.dim.table_poly;
        const auto range = [](const TablePoly &r) {
            return numbers({double(r.range), double(r.num_coeff), r.coeff[0], r.coeff[1], r.coeff[2], r.coeff[3], r.min,
                            r.max, r.bias, r.gain, r.vz_x, r.vz_y, r.vs_x, r.vs_y, r.calz_x, r.cals_x});
        };
        QCOMPARE(range(p[0]), numbers({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})); // no line: left empty
        QCOMPARE(range(p[1]).mid(0, 8), numbers({1, 3, 0, 3, 0.0001, 0, 0, 300}));
        // Continued over four physical lines; MAX takes its default.
        QCOMPARE(range(p[3]), numbers({3, 2, -1.5, 0.3, 0, 0, 5, 1e6, 0.25, 1.02, 0.1, 0.2, 9.9, 99, 0.01, 10.01}));
        // Only C3 given: the lower coefficients count, at their default 0.
        QCOMPARE(range(p[6]).mid(0, 10), numbers({6, 4, 0, 0, 0, 2, 0, 1e6, 0, 1}));
    }
    void refusesMalformedTables_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<int>("line");
        QTest::addColumn<QByteArray>("reason");

        const QByteArray points =
            "#type_code\nINTERPOLATION\n\n#number of points\n2\n\n#          mV         degC\n"
            "      0.00000      0.00000\n     10.00000    100.00000\n";
        auto withCount = [&](const char *count) {
            return QByteArray(points).replace("points\n2\n", QByteArray("points\n") + count + "\n");
        };
        auto withLastRow = [&](const char *row) {
            return QByteArray(points).replace("     10.00000    100.00000", row);
        };
        const QByteArray range = "#type_code\nPOLYNOMIAL_RANGE\n\n";

        QTest::newRow("empty file") << QByteArray() << 1 << QByteArray("empty file");
        QTest::newRow("blank lines only") << QByteArray("\n \n\t\n") << 1 << QByteArray("empty file");
        QTest::newRow("no type_code") << QByteArray("#Technician\nJ. Doe\n") << 2
                                      << QByteArray("no #type_code section");
        QTest::newRow("unknown type word")
            << QByteArray("#type_code\nLOOKUP\n") << 2 << QByteArray("unknown table type \"LOOKUP\"");
        QTest::newRow("count above 64") << withCount("65") << 5 << QByteArray("point count 65 is not 0..64");
        QTest::newRow("negative count") << withCount("-1") << 5 << QByteArray("point count -1 is not 0..64");
        QTest::newRow("count not whole") << withCount("2.5") << 5 << QByteArray("\"2.5\" is not a whole number");
        QTest::newRow("fewer rows than count")
            << withCount("3") << 5 << QByteArray("point count 3 does not match the 2 point rows");
        QTest::newRow("more rows than count")
            << points + "     20.00000    200.00000\n"
            << 10 << QByteArray("point count 2 does not match the 3 point rows");
        QTest::newRow("row of one number") << withLastRow("     10.00000") << 9
                                           << QByteArray("a point row needs two numbers, it has 1");
        QTest::newRow("decimal comma") << withLastRow("     10,00000    100,00000") << 9
                                       << QByteArray("\"10,00000\" is not a number");
        QTest::newRow("number overflows")
            << withLastRow("     1e999    1") << 9 << QByteArray("\"1e999\" is not a number");
        QTest::newRow("binary byte") << QByteArray(points).insert(points.indexOf("10.0"), '\0') << 9
                                     << QByteArray("binary content");
        QTest::newRow("limits do not parse")
            << "# calibration limits\n#  min_cal_range  max_cal_range  tolerance  tolerance_units\n"
               "   abc[degC]   150.00[degC]   0.25   PCT\n\n" +
                   points
            << 3
            << QByteArray("calibration limits \"abc[degC]   150.00[degC]   0.25   PCT\" do not parse");
        QTest::newRow("last_cal does not parse")
            << "#last_cal(time_t)        cal_interval\n 17000x0000   26[week]\n" + points << 2
            << QByteArray("last_cal and cal_interval");
        QTest::newRow("stray text before the points")
            << "stray words\n" + points << 1 << QByteArray("text outside any section: \"stray words\"");
        QTest::newRow("nine coefficients")
            << QByteArray("#type_code\nPOLYNOMIAL\n\n#number of points\n9\n\n#coefficients\n 1\n") << 5
            << QByteArray("coefficient count 9 is not 0..8");
        QTest::newRow("coefficient missing")
            << QByteArray("#type_code\nPOLYNOMIAL\n\n#number of points\n3\n\n#coefficients\n 1\n 2\n")
            << 5 << QByteArray("coefficient count 3 does not match the 2 coefficients");
        QTest::newRow("scaled without factor")
            << QByteArray("#type_code\nSCALED\n") << 2 << QByteArray("no #conversion factor section");
        QTest::newRow("factor not a number")
            << QByteArray("#type_code\nSCALED\n\n#conversion factor\n half\n") << 5
            << QByteArray("conversion factor \"half\" is not a number");
        QTest::newRow("RANGE line in a polynomial table")
            << QByteArray("#type_code\nPOLYNOMIAL\n\n#number of points\n0\n\nRANGE=0 C0=1\n") << 7
            << QByteArray("RANGE= line in a table that is not POLYNOMIAL_RANGE");
        QTest::newRow("range index 8") << range + "RANGE=8 C0=1 \n" << 4 << QByteArray("RANGE index \"8\" is not 0..7");
        QTest::newRow("negative range index") << range + "RANGE=-1 C0=1 \n"
                                              << 4 << QByteArray("RANGE index \"-1\" is not 0..7");
        QTest::newRow("blank after RANGE=") << range + "RANGE= 0 C0=1 \n"
                                            << 4 << QByteArray("keyword RANGE= without a value");
        QTest::newRow("blank after C0=") << range + "RANGE=0 C0= 5 \n"
                                         << 4 << QByteArray("keyword \"C0=\" without an '=' value");
        QTest::newRow("keyword without = on a continued line")
            << range + "RANGE=0 \\\n   C0 5 \n"
            << 5 << QByteArray("keyword \"C0\" without an '=' value");
        QTest::newRow("unknown keyword") << range + "RANGE=0 OFFSET=2 \n"
                                         << 4 << QByteArray("unknown keyword \"OFFSET=\"");
        QTest::newRow("coefficient C8") << range + "RANGE=0 C8=2 \n" << 4 << QByteArray("unknown keyword \"C8=\"");
        QTest::newRow("range given twice") << range + "RANGE=0 C0=1 \nRANGE=0 C1=2 \n"
                                           << 5 << QByteArray("range 0 is given twice");
        QTest::newRow("RANGE= not first") << range + "RANGE=0 C0=1 RANGE=1 \n"
                                          << 4 << QByteArray("RANGE= must be the first entry");
        QTest::newRow("range value not a number")
            << range + "RANGE=0 MAX=1,5 \n"
            << 4 << QByteArray("value of MAX \"1,5\" is not a number");
    }
    void refusesMalformedTables()
    {
        QFETCH(QByteArray, text);
        QFETCH(int, line);
        QFETCH(QByteArray, reason);
        const QString path = write("bad.tbl", text);
        const qint64 mark = logSize();
        TableInfo t;
        QCOMPARE(readTable(path, t) & 0xFFFF, 0xFFFF);
        const QByteArray log = logSince(mark);
        QVERIFY2(log.contains(QFile::encodeName(path) + ":" + QByteArray::number(line) + ": "),
                 log.constData());
        QVERIFY2(log.contains(reason), log.constData());
        // A refused file leaves the caller's block as it was.
        QCOMPARE(t.tbl_type, int16_t(0));
        QCOMPARE(t.dim.table_poly[0].raw_data.count, int16_t(0));
    }
    void refusesUnreadableFiles_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QByteArray>("reason");
        QTest::newRow("no such file") << "missing" << QByteArray("no such file");
        QTest::newRow("a folder") << "folder" << QByteArray("not a regular file");
        QTest::newRow("a pipe without writer") << "fifo" << QByteArray("not a regular file");
        QTest::newRow("100 MB") << "huge" << QByteArray("larger than 4 MB");
        QTest::newRow("a table padded past 4 MB") << "padded" << QByteArray("larger than 4 MB");
        // A file that says it is empty and is not, as those under /proc: the
        // reading stops at the limit all the same.
        QTest::newRow("past 4 MB, its size given as 0") << "proc" << QByteArray("larger than 4 MB");
    }
    void refusesUnreadableFiles()
    {
        QFETCH(QString, kind);
        QFETCH(QByteArray, reason);
        QString path = tables_ + "unreadable-" + kind + ".tbl";
        if (kind == "folder") {
            QVERIFY(QDir().mkpath(path));
        } else if (kind == "fifo") {
            QFile::remove(path);
            QCOMPARE(mkfifo(QFile::encodeName(path).constData(), 0600), 0);
        } else if (kind == "huge") {
            QFile file(path);
            QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(100LL << 20)); // sparse
        } else if (kind == "padded") {
            write("unreadable-padded.tbl", sampleFile("interpolation.tbl") + QByteArray(4 << 20, '\n'));
        }
        QProcess holder; // its environment, of 5 MB, is read through /proc
        if (kind == "proc") {
            rlimit stack{}, previous{};
            getrlimit(RLIMIT_STACK, &previous), stack = previous;
            stack.rlim_cur = std::min<rlim_t>(stack.rlim_max, rlim_t(256) << 20); // room for the arguments
            if (setrlimit(RLIMIT_STACK, &stack) != 0 || stack.rlim_cur < (rlim_t(64) << 20))
                QSKIP("the stack limit leaves no room for an environment of 5 MB");
            QProcessEnvironment env;
            for (int i = 0; i < 50; ++i)
                env.insert(QStringLiteral("FILLER%1").arg(i), QString(100000, QLatin1Char('x')));
            holder.setProcessEnvironment(env);
            holder.start(QStringLiteral("/bin/sleep"), {QStringLiteral("60")});
            const bool started = holder.waitForStarted();
            setrlimit(RLIMIT_STACK, &previous);
            QVERIFY(started);
            path = QStringLiteral("/proc/%1/environ").arg(holder.processId());
            QCOMPARE(QFileInfo(path).size(), 0);
        }
        const auto end_holder = qScopeGuard([&] { holder.kill(), holder.waitForFinished(); });
        const qint64 mark = logSize();
        TableInfo t;
        QCOMPARE(readTable(path, t), -1);
        QVERIFY(logSince(mark).contains(QFile::encodeName(path) + ":1: " + reason));
    }
    void survivesTruncatedTables()
    {
        const QByteArray text = sampleFile("interpolation.tbl");
        const int typeEnd = text.indexOf("INTERPOLATION") + int(std::strlen("INTERPOLATION"));
        int accepted = 0;
        for (int cut = 0; cut < text.size(); ++cut) {
            TableInfo t;
            const int result = readTable(write("cut.tbl", text.left(cut)), t);
            QVERIFY2(result == 0 || result == -1, qPrintable(QString("cut at %1").arg(cut)));
            if (cut < typeEnd)
                QCOMPARE(result, -1);
            accepted += result == 0;
        }
        QVERIFY(accepted > 0); // cuts inside the last number still read
    }

    // ---- history archives
    void readsNewestArchiveRecord()
    {
        const TableInfo *t = nullptr;
        QCOMPARE(readArchive("/cell/tables/inlet_air.save", &t), short(1));
        QVERIFY(t);
        QCOMPARE(joined({t->tbl_name, t->tol_units, t->user_comment, t->sensor_model, t->sensor_sn, t->sensor_range_units,
                        t->technician, t->working_standard, t->x_units, t->tbl_units, t->mua_instance_name, t->tbl_desc}),
                 "inlet_air|PCT|" + QByteArray(kMarker) + "|PT100|SN-4711|degC|J. Doe|WS-17|mV|degC|MUA-AIR-1|#7 # inlet");
        // The record's mode and state words are checked, not loaded: both are the
        // utility's own, and 0 after every load. LONG_INTERPOLATION reads as INTERPOLATION.
        QCOMPARE(numbers({double(t->last_cal), double(t->cal_mode), double(t->tol_state), double(t->tbl_type), t->tbl_tol,
                          t->sensor_range_lower_limit, t->sensor_range_upper_limit, t->min_range, t->max_range}),
                 numbers({1700000000, 0, 0, ORV_INTERPOLATION, 0.25, -50, 150, -50.125, 150.25}));
        QCOMPARE(numbers({t->no_adjust_bias, t->no_adjust_tol, t->y_intercept_bias, t->y_intercept_tol, t->linearity_bias,
                          t->linearity_tol, t->hysteresis_bias, t->hysteresis_tolerance}),
                 numbers({0, 0.25, 0.1, 0.5, 0.2, 1, 0, 0.75}));
        // Five data rows though the comment block names four points.
        const TablePoly &p = t->dim.table_poly[0];
        QCOMPARE(numbers({double(t->range_index), double(p.num_coeff), p.coeff[0], p.coeff[1], double(p.raw_data.count),
                          p.raw_data.x[3], p.raw_data.y[4]}),
                 numbers({0, 2, -50.1, 20.0375, 5, 7.5, 150.25}));
    }
    void archiveWordCodes_data()
    {
        QTest::addColumn<QByteArray>("field");
        QTest::addColumn<QByteArray>("word");
        QTest::addColumn<int>("code");
        const char *modes[] = {"5-point", "auto_cal",          "auto_cal_complete", "AS_FOUND",
                               "NOADJ",   "AFTER_SERVICE",     "VERIFICATION",      "ADJUSTED",
                               "REUSE",   "CORRELATION_CHANGE"};
        for (int code = 0; code < 10; ++code)
            QTest::newRow(qPrintable(QString("cal_mode ") + modes[code]))
                << QByteArray("mode") << QByteArray(modes[code]) << code;
        const char *states[] = {"NOADJ", "OOA", "OOT", "SOOT"};
        for (int code = 0; code < 4; ++code)
            QTest::newRow(qPrintable(QString("tol_state ") + states[code]))
                << QByteArray("state") << QByteArray(states[code]) << code;
        const struct {
            const char *word;
            int code;
        } types[] = {
            {"INTERPOLATION", 0},    {"LONG_INTERPOLATION", 0},     {"POLYNOMIAL", 1}, {"SCALED", 2},
            {"2D_INTERPOLATION", 4}, {"LOCAL_2D_INTERPOLATION", 5}, {"HYPERBOLIC", 6}, {"", -1},
            {"LOOKUP", -1}};
        for (const auto &type : types)
            QTest::newRow(qPrintable(QString("tbl_type '%1'").arg(type.word)))
                << QByteArray("type") << QByteArray(type.word) << type.code;
    }
    void archiveWordCodes()
    {
        QFETCH(QByteArray, field);
        QFETCH(QByteArray, word);
        QFETCH(int, code);
        Record record;
        (field == "mode" ? record.mode : field == "state" ? record.state : record.type) = word;
        const TableInfo *t = nullptr;
        QCOMPARE(readArchive(write("words.save", record.text()), &t), short(1));
        if (field == "type") {
            QCOMPARE(int(t->tbl_type), code);
        } else {
            // Every known word is accepted, and none reaches the block.
            QVERIFY(code >= 0);
            QCOMPARE(int(t->cal_mode) + int(t->tol_state), 0);
        }
    }
    void newestRecordWins_data()
    {
        QTest::addColumn<QByteArray>("archive");
        QTest::addColumn<QByteArray>("desc");

        Record older, newest;
        older.time = 1690000000;
        older.desc = "older";
        newest.desc = "newest";
        Record marked = newest;
        marked.comment = kMarker;
        Record versioned = newest;
        versioned.version = "3.1.4";

        QTest::newRow("one record") << newest.text() << QByteArray("newest");
        QTest::newRow("three records") << older.text() + older.text() + newest.text() << QByteArray("newest");
        QTest::newRow("record start words in the newest comment")
            << older.text() + marked.text() << QByteArray("newest");
        Record markedOlder = older;
        markedOlder.comment = kMarker;
        QTest::newRow("record start words in an older comment")
            << markedOlder.text() + newest.text() << QByteArray("newest");
        Record hashes = newest;
        hashes.desc = "#7 # inlet";
        QTest::newRow("hashes in the description") << older.text() + hashes.text() << QByteArray("#7 # inlet");
        Record solo = newest;
        solo.type = "POLYNOMIAL_RANGE";
        solo.sibling = "/cell/tables/solo-1.poly_range";
        QTest::newRow("range sibling of range 0 alone") << older.text() + solo.text() << QByteArray("newest");
        QTest::newRow("version lines") << versioned.text() + older.text() + versioned.text() << QByteArray("newest");
        QTest::newRow("blank lines after the last record") << older.text() + newest.text() + "\n\n\n"
                                                           << QByteArray("newest");
        QTest::newRow("CRLF line ends")
            << QByteArray(older.text() + newest.text()).replace("\n", "\r\n") << QByteArray("newest");
        // The newest record's opening line before, across and after the
        // boundary of the last 64 KiB block that the search reads.
        for (int offset : {-1, 0, 1, 26, 51, 52, 53, 60})
            QTest::newRow(qPrintable(QString("record start %1 bytes into the next block").arg(offset)))
                << older.text() + paddedTo(newest.text(), 65536 + offset) << QByteArray("newest");
        QByteArray many;
        for (int i = 0; i < 2000; ++i)
            many += older.text();
        QTest::newRow("2000 older records") << many + newest.text() << QByteArray("newest");
    }
    void newestRecordWins()
    {
        QFETCH(QByteArray, archive);
        QFETCH(QByteArray, desc);
        const TableInfo *t = nullptr;
        QCOMPARE(readArchive(write("wins.save", archive), &t), short(1));
        QCOMPARE(QByteArray(t->tbl_desc), desc);
        QCOMPARE(t->last_cal, int64_t(1700000000));
        QCOMPARE(t->dim.table_poly[0].raw_data.count, int16_t(3));
        QCOMPARE(t->dim.table_poly[0].raw_data.y[2], 150.0);
    }
    void readsPolynomialRangeRecord_data()
    {
        QTest::addColumn<QString>("archive");
        QTest::newRow("sibling at the host path it names") << "/cell/tables/manifold.save";
        QTest::newRow("sibling beside the archive") << "moved";
    }
    void readsPolynomialRangeRecord()
    {
        QFETCH(QString, archive);
        QTemporaryDir moved;
        if (archive == "moved") {
            // A copied folder: the host path the record names does not exist.
            for (const char *name : {"manifold.save", "manifold-1700000300.poly_range"})
                QVERIFY(QFile::copy(tables_ + name, moved.path() + "/" + name));
            QVERIFY(QFile::rename(tables_ + "manifold-1700000300.poly_range",
                                  tables_ + "aside.poly_range"));
            archive = moved.path() + "/manifold.save";
        }
        const TableInfo *t = nullptr;
        const short result = readArchive(archive, &t);
        QFile::rename(tables_ + "aside.poly_range", tables_ + "manifold-1700000300.poly_range");
        QCOMPARE(result, short(1));
        QCOMPARE(numbers({double(t->tbl_type), double(t->range_index)}), numbers({ORV_POLYNOMIAL_RANGE, 0}));
        QCOMPARE(QByteArray(t->tbl_desc), QByteArray("Intake manifold press"));
        const TablePoly *p = t->dim.table_poly;
        for (int r = 0; r < ORV_MAX_RANGES; ++r)
            QCOMPARE(numbers({double(p[r].range), p[r].gain, p[r].max}), numbers({double(r), 1, 1e6}));
        // The sibling's range 0, the default line, stands over the record's points.
        // A range without points (3): its line's continuation runs into the next.
        QCOMPARE(numbers({double(p[0].num_coeff), double(p[0].raw_data.count), p[0].raw_data.y[2], double(p[1].num_coeff),
                          p[1].coeff[2], double(p[1].raw_data.count), p[1].raw_data.x[1], p[1].raw_data.y[2],
                          double(p[3].num_coeff), p[3].coeff[0], double(p[3].raw_data.count), double(p[4].raw_data.count)}),
                 numbers({2, 3, 2, 3, 0.0001, 3, 50, 301, 1, 2.5, 0, 3}));
    }
    void readsAutoCalRecord_data()
    {
        QTest::addColumn<QByteArray>("typeWord");
        QTest::newRow("dyno_cal type word") << QByteArray("ABSORBER");
        QTest::newRow("empty dyno_cal type word") << QByteArray();
    }
    void readsAutoCalRecord()
    {
        QFETCH(QByteArray, typeWord);
        Record record;
        record.mode = "auto_cal";
        record.dynoPoints = 2;
        record.tail =
            " \\\n   " + typeWord + " \\\n            1          2 \\\n            3          4";
        const TableInfo *t = nullptr;
        QCOMPARE(readArchive(write("dyno.save", record.text()), &t), short(1));
        QCOMPARE(t->dim.table_poly[0].raw_data.count, int16_t(3));
        QCOMPARE(t->dim.table_poly[0].raw_data.x[2], 10.0);
        QCOMPARE(t->dyno_cal.count, int16_t(2));
        QCOMPARE(t->dyno_cal.x[1], 3.0);
        QCOMPARE(t->dyno_cal.y[1], 4.0);
    }
    void archiveWithoutRecords_data()
    {
        QTest::addColumn<bool>("exists");
        QTest::newRow("no archive") << false;
        QTest::newRow("empty archive") << true;
    }
    void archiveWithoutRecords()
    {
        QFETCH(bool, exists);
        QFile::remove(tables_ + "none.save");
        if (exists)
            write("none.save", QByteArray());
        const qint64 mark = logSize();
        const TableInfo *t = nullptr;
        QCOMPARE(readArchive(tables_ + "none.save", &t), short(0));
        QVERIFY(!t);
        QCOMPARE(logSince(mark), QByteArray());
    }
    void refusesMalformedArchives_data()
    {
        QTest::addColumn<QByteArray>("record");
        QTest::addColumn<QByteArray>("lineOf"); // the record's line named in the log; empty: none
        QTest::addColumn<QByteArray>("reason");

        const QByteArray good = Record().text();
        auto edited = [&](const char *from, const QByteArray &to) {
            return QByteArray(good).replace(from, to);
        };
        auto with = [](auto change) {
            Record r;
            change(r);
            return r.text();
        };

        QTest::newRow("no record start")
            << QByteArray("plain text\n") << QByteArray() << QByteArray("no record starts in the file");
        // The opening words one byte into the file, after a character
        // rather than a line end: no record starts there.
        QTest::newRow("record start not at its line's start")
            << "x" + good << QByteArray() << QByteArray("no record starts in the file");
        QTest::newRow("quote not closed")
            << edited("\"none\" \\\n", "\"none \\\n") << QByteArray("\"none \\")
            << QByteArray("a quoted field is not closed on its line");
        QTest::newRow("time_t not a number")
            << edited("\n1700000000 ", "\n17000x0000 ") << QByteArray("17000x0000")
            << QByteArray("the record does not start with its time_t");
        QTest::newRow("unknown cal_mode")
            << with([](Record &r) { r.mode = "CHECKED"; }) << QByteArray("CHECKED")
            << QByteArray("unknown cal_mode \"CHECKED\"");
        QTest::newRow("unknown tol_state")
            << with([](Record &r) { r.state = "BAD"; }) << QByteArray("BAD")
            << QByteArray("unknown tol_state \"BAD\"");
        QTest::newRow("decimal comma in a tolerance")
            << edited("\"0.5[PCT]\"", "\"0,5[PCT]\"") << QByteArray("0,5")
            << QByteArray("\"0,5[PCT]\" is not a number");
        QTest::newRow("data line cut after tol_units")
            << good.left(good.indexOf("\"PCT\" \\\n") + 6) + "\n\n"
            << QByteArray("\"PCT\"") << QByteArray("the quoted field user_comment is missing");
        QTest::newRow("a point without y")
            << with([](Record &r) { r.tail = " \\\n   20"; }) << QByteArray("   20")
            << QByteArray("a point lacks its y value");
        QTest::newRow("point not a number")
            << with([](Record &r) { r.tail = " \\\n   20 abc"; }) << QByteArray("20 abc")
            << QByteArray("point value \"abc\" is not a number");
        QTest::newRow("65 points") << with([](Record &r) { r.points = Points(65, QPointF(1, 2)); })
                                   << QByteArray() << QByteArray("65 points, more than 64");
        QTest::newRow("quoted field among the points")
            << with([](Record &r) { r.tail = " \\\n   \"x\" 1"; }) << QByteArray("\"x\" 1")
            << QByteArray("a quoted field among the points");
        QTest::newRow("range 9 in the coefficients")
            << with([](Record &r) { r.coefficients = " 9 1 2 "; }) << QByteArray(" 9 1 2 ")
            << QByteArray("does not start with a range 0..7");
        QTest::newRow("range record without its sibling's name")
            << with([](Record &r) {
                   r.type = "POLYNOMIAL_RANGE";
                   r.sibling = "/cell/tables/manifold-1700000300.poly_range";
               }).replace("\"/cell/tables/manifold-1700000300.poly_range\" \\\n \"none\" \"Inlet air\"  ", "")
            << QByteArray() << QByteArray("the quoted field poly_range_filename is missing");
        QTest::newRow("ten coefficients")
            << with([](Record &r) { r.coefficients = " 0 1 2 3 4 5 6 7 8 9 10 "; })
            << QByteArray(" 0 1 2 3") << QByteArray("10 coefficients, more than 8");
        QTest::newRow("text after the data line")
            << good + "stray\n"
            << QByteArray("stray") << QByteArray("text after the data line");
        QTest::newRow("binary byte") << edited("# the section below",
                                               QByteArray("# the sec\0tion below", 20))
                                     << QByteArray("# the sec") << QByteArray("binary content");
        QTest::newRow("sibling missing")
            << with([](Record &r) {
                   r.type = "POLYNOMIAL_RANGE";
                   r.sibling = "/cell/tables/nowhere-1.poly_range";
               })
            << QByteArray("nowhere")
            << QByteArray("POLYNOMIAL_RANGE sibling /cell/tables/nowhere-1.poly_range: no such file");
        QTest::newRow("sibling malformed")
            << with([](Record &r) {
                   r.type = "POLYNOMIAL_RANGE";
                   r.sibling = "/cell/tables/broken-1.poly_range";
               })
            << QByteArray()
            << QByteArray(
                   "broken-1.poly_range:2: coefficient string \" 9 1 \" does not start with a range");
    }
    void refusesMalformedArchives()
    {
        QFETCH(QByteArray, record);
        QFETCH(QByteArray, lineOf);
        QFETCH(QByteArray, reason);
        write("broken-1.poly_range", "\n \" 9 1 \"  \\\n");
        // A good older record before one that opens as a record: a
        // malformed newest one is refused, not skipped.
        const QByteArray older = record.startsWith(kMarker) ? Record().text() : QByteArray();
        const QString path = write("broken.save", older + record);
        const qint64 mark = logSize();
        const TableInfo *t = nullptr;
        QCOMPARE(readArchive(path, &t), short(-1));
        QVERIFY(!t);
        const QByteArray log = logSince(mark);
        QVERIFY2(log.contains(reason), log.constData());
        if (!lineOf.isEmpty())
            QVERIFY2(log.contains(QFile::encodeName(path) + ": newest record at byte " +
                                  QByteArray::number(older.size()) + ", line " +
                                  QByteArray::number(::lineOf(record, lineOf)) + ": "),
                     log.constData());
    }
    void survivesTruncatedArchives()
    {
        const QByteArray archive = sampleFile("inlet_air.save");
        const int newest = archive.lastIndexOf(kMarker);
        int refused = 0;
        for (int cut = newest - 8; cut <= archive.size(); ++cut) {
            const TableInfo *t = nullptr;
            const short result = readArchive(write("cut.save", archive.left(cut)), &t);
            QVERIFY2(result == 1 || result == -1, qPrintable(QString("cut at %1").arg(cut)));
            QCOMPARE(t != nullptr, result == 1);
            refused += result == -1;
        }
        QVERIFY(refused > 0);
    }

    // ---- numerics
    void longTableOfPoints_data()
    {
        QTest::addColumn<Points>("raw");
        QTest::addColumn<Points>("sorted");
        QTest::addColumn<Numbers>("slope");
        QTest::addColumn<Numbers>("xIntercept");
        QTest::addColumn<Numbers>("yIntercept");

        QTest::newRow("unsorted points")
            << Points{{10, 100}, {0, -50}, {5, 25}} << Points{{0, -50}, {5, 25}, {10, 100}}
            << Numbers{15, 15, 15} << Numbers{10.0 / 3, 10.0 / 3, 10.0 / 3} << Numbers{-50, -50, -50};
        QTest::newRow("zero-width segment")
            << Points{{0, 0}, {2, 10}, {2, 20}, {4, 30}} << Points{{0, 0}, {2, 10}, {2, 20}, {4, 30}}
            << Numbers{5, 0, 5, 5} << Numbers{0, 0, -2, -2} << Numbers{0, 10, 10, 10};
        QTest::newRow("flat segment") << Points{{1, 4}, {3, 4}} << Points{{1, 4}, {3, 4}}
                                      << Numbers{0, 0} << Numbers{0, 0} << Numbers{4, 4};
        QTest::newRow("one point") << Points{{3, 7}} << Points{{3, 7}} << Numbers{0} << Numbers{0} << Numbers{7};
        QTest::newRow("no points") << Points{} << Points{} << Numbers{} << Numbers{} << Numbers{};
    }
    void longTableOfPoints()
    {
        QFETCH(Points, raw);
        QFETCH(Points, sorted);
        QFETCH(Numbers, slope);
        QFETCH(Numbers, xIntercept);
        QFETCH(Numbers, yIntercept);
        auto table = std::make_unique<TableInfo>();
        RawData &data = table->dim.table_poly[0].raw_data;
        for (int i = 0; i < raw.size(); ++i) {
            data.x[i] = raw[i].x();
            data.y[i] = raw[i].y();
        }
        data.count = int16_t(raw.size());
        auto longTable = std::make_unique<LongTable>();
        std::memset(longTable.get(), 0x5A, sizeof *longTable);
        compute_long_table(table.get(), longTable.get());
        QCOMPARE(int(longTable->count), sorted.size());
        QCOMPARE(longTable->host_count, longTable->count);
        for (int i = 0; i < sorted.size(); ++i) {
            QCOMPARE(longTable->x[i], sorted[i].x());
            QCOMPARE(longTable->y[i], sorted[i].y());
            QCOMPARE(longTable->slope[i], slope[i]);
            QCOMPARE(longTable->x_intercept[i], xIntercept[i]);
            QCOMPARE(longTable->y_intercept[i], yIntercept[i]);
        }
        QCOMPARE(longTable->x[sorted.size()], 0.0);       // stale entries cleared
        QCOMPARE(longTable->reserved1[0], uint8_t(0x5A)); // the host's own bytes untouched
    }
    void longTableOfPolynomials_data()
    {
        QTest::addColumn<int>("type");
        QTest::addColumn<int>("rangeIndex");
        QTest::addColumn<int>("filledRange");
        QTest::addColumn<Numbers>("coefficients");
        QTest::addColumn<Numbers>("rawX");
        QTest::addColumn<Numbers>("span"); // MIN, MAX
        QTest::addColumn<Points>("expected");

        const Numbers quadratic{1, 2, 0.5};
        QTest::newRow("at the raw points, sorted")
            << int(ORV_POLYNOMIAL) << 0 << 0 << quadratic << Numbers{4, 0, 2} << Numbers{0, 0}
            << Points{{0, 1}, {2, 7}, {4, 17}};
        Points overSpan;
        for (int i = 0; i <= 10; ++i)
            overSpan << QPointF(2 * i, 1 + 4 * i + 2.0 * i * i);
        QTest::newRow("eleven points over MIN..MAX")
            << int(ORV_POLYNOMIAL) << 0 << 0 << quadratic << Numbers{5} << Numbers{0, 20} << overSpan;
        Points percent;
        for (int i = 0; i <= 10; ++i)
            percent << QPointF(10 * i, 5);
        QTest::newRow("hyperbolic without span: 0..100")
            << int(ORV_HYPERBOLIC) << 0 << 0 << Numbers{5} << Numbers{} << Numbers{3, 3} << percent;
        QTest::newRow("range in use") << int(ORV_POLYNOMIAL_RANGE) << 2 << 2 << Numbers{0, 3}
                                      << Numbers{2, 1} << Numbers{0, 0} << Points{{1, 3}, {2, 6}};
        QTest::newRow("range index one past the last: range 0")
            << int(ORV_POLYNOMIAL_RANGE) << ORV_MAX_RANGES << 0 << Numbers{1, 1} << Numbers{5, 6} << Numbers{0, 0}
            << Points{{5, 6}, {6, 7}};
    }
    void longTableOfPolynomials()
    {
        QFETCH(int, type);
        QFETCH(int, rangeIndex);
        QFETCH(int, filledRange);
        QFETCH(Numbers, coefficients);
        QFETCH(Numbers, rawX);
        QFETCH(Numbers, span);
        QFETCH(Points, expected);
        auto table = std::make_unique<TableInfo>();
        table->tbl_type = int16_t(type);
        table->range_index = int16_t(rangeIndex);
        TablePoly &poly = table->dim.table_poly[filledRange];
        poly.num_coeff = int16_t(coefficients.size());
        std::copy(coefficients.begin(), coefficients.end(), poly.coeff);
        for (int i = 0; i < rawX.size(); ++i) {
            poly.raw_data.x[i] = rawX[i];
            poly.raw_data.y[i] = -999.0; // the table's own y values are not used
        }
        poly.raw_data.count = int16_t(rawX.size());
        poly.min = span[0];
        poly.max = span[1];
        auto longTable = std::make_unique<LongTable>();
        compute_long_table(table.get(), longTable.get());
        QCOMPARE(int(longTable->count), expected.size());
        for (int i = 0; i < expected.size(); ++i) {
            QCOMPARE(longTable->x[i], expected[i].x());
            QCOMPARE(longTable->y[i], expected[i].y());
        }
    }
    void longTableScaledAndBounds()
    {
        auto table = std::make_unique<TableInfo>();
        auto longTable = std::make_unique<LongTable>();
        table->tbl_type = ORV_SCALED;
        table->dim.table_poly[0].raw_data.x[0] = 0.4375;
        longTable->count = 9;
        compute_long_table(table.get(), longTable.get());
        QCOMPARE(longTable->x[0], 0.4375);
        QCOMPARE(longTable->count, int16_t(0));
        QCOMPARE(longTable->host_count, int16_t(0));

        // A corrupt count is held to the 64 slots; NaN sorts last.
        table->tbl_type = ORV_INTERPOLATION;
        RawData &raw = table->dim.table_poly[0].raw_data;
        for (int i = 0; i < ORV_MAX_POINTS; ++i)
            raw.x[i] = ORV_MAX_POINTS - i;
        raw.x[10] = std::nan("");
        raw.count = 900;
        compute_long_table(table.get(), longTable.get());
        QCOMPARE(longTable->count, int16_t(ORV_MAX_POINTS));
        QCOMPARE(longTable->x[0], 1.0);
        QVERIFY(std::isnan(longTable->x[ORV_MAX_POINTS - 1]));
    }
    void interpolates_data()
    {
        QTest::addColumn<Points>("points");
        QTest::addColumn<double>("x");
        QTest::addColumn<double>("y");
        QTest::addColumn<int>("error");
        const Points three{{0, 0}, {10, 100}, {20, 300}};
        const Points step{{0, 0}, {1, 10}, {1, 20}, {2, 30}};
        QTest::newRow("first segment") << three << 5.0 << 50.0 << 0;
        QTest::newRow("on a point") << three << 10.0 << 100.0 << 0;
        QTest::newRow("second segment") << three << 15.0 << 200.0 << 0;
        QTest::newRow("below the table") << three << -5.0 << -50.0 << 0;
        QTest::newRow("above the table") << three << 30.0 << 500.0 << 0;
        QTest::newRow("at a step: its upper side") << step << 1.0 << 20.0 << 0;
        QTest::newRow("before a step") << step << 0.5 << 5.0 << 0;
        QTest::newRow("after a step") << step << 1.5 << 25.0 << 0;
        QTest::newRow("beyond a vertical end") << Points{{0, 0}, {1, 10}, {1, 20}} << 3.0 << 20.0 << 0;
        QTest::newRow("one point") << Points{{5, 7}} << 100.0 << 7.0 << 1;
        QTest::newRow("no points") << Points{} << 1.0 << 0.0 << 1;
    }
    void interpolates()
    {
        QFETCH(Points, points);
        QFETCH(double, x);
        QFETCH(double, y);
        QFETCH(int, error);
        auto table = std::make_unique<LongTable>();
        for (int i = 0; i < points.size(); ++i) {
            table->x[i] = points[i].x();
            table->y[i] = points[i].y();
        }
        table->count = int16_t(points.size());
        short flag = 7;
        QCOMPARE(linear_interp_long(&flag, table.get(), 0, x), y);
        QCOMPARE(int(flag), error);
    }
    void computesPoints_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<Numbers>("span");
        QTest::addColumn<Points>("expected");
        QTest::newRow("five points") << 5 << Numbers{0, 4} << Points{{0, 1}, {1, 3.5}, {2, 7}, {3, 11.5}, {4, 17}};
        QTest::newRow("descending span") << 3 << Numbers{2, -2} << Points{{2, 7}, {0, 1}, {-2, -1}};
        QTest::newRow("one point") << 1 << Numbers{3, 9} << Points{{3, 11.5}};
        QTest::newRow("no points") << 0 << Numbers{0, 1} << Points{};
    }
    void computesPoints()
    {
        QFETCH(int, count);
        QFETCH(Numbers, span);
        QFETCH(Points, expected);
        const double coeff[] = {1, 2, 0.5};
        double x[8], y[8];
        std::fill(x, x + 8, -1.0);
        computepoints(coeff, 3, count, x, y, span[0], span[1]);
        for (int i = 0; i < expected.size(); ++i) {
            QCOMPARE(x[i], expected[i].x());
            QCOMPARE(y[i], expected[i].y());
        }
        QCOMPARE(x[expected.size()], -1.0);
    }
    void fitsPolynomials_data()
    {
        QTest::addColumn<Numbers>("x");
        QTest::addColumn<Numbers>("coefficients"); // of the exact polynomial
        QTest::addColumn<int>("count");
        QTest::addColumn<Numbers>("expected");
        QTest::newRow("line through two points") << Numbers{0, 10} << Numbers{1, 2} << 2 << Numbers{1, 2};
        QTest::newRow("quadratic through five points")
            << Numbers{-2, -1, 0, 1, 2} << Numbers{1, -2, 0.5} << 3 << Numbers{1, -2, 0.5};
        QTest::newRow("quadratic over millivolts")
            << Numbers{0, 1000, 2000, 3000, 4000, 5000} << Numbers{0.5, 0.05, 2e-6} << 3
            << Numbers{0.5, 0.05, 2e-6};
        QTest::newRow("line asked for a cubic")
            << Numbers{0, 1, 2, 3, 4} << Numbers{3, -1} << 4 << Numbers{3, -1, 0, 0};
        Numbers many;
        for (int i = 0; i < 20; ++i)
            many << 0.1 * i;
        const Numbers seventh{1, -1, 0.5, 0.25, -0.125, 0.0625, 0.03125, -0.015625};
        QTest::newRow("degree seven on twenty points") << many << seventh << 8 << seventh;
        QTest::newRow("fewer points than coefficients") << Numbers{1, 3} << Numbers{0, 2} << 4 << Numbers{0, 2, 0, 0};
        QTest::newRow("one point") << Numbers{2} << Numbers{7} << 2 << Numbers{7, 0};
    }
    void fitsPolynomials()
    {
        QFETCH(Numbers, x);
        QFETCH(Numbers, coefficients);
        QFETCH(int, count);
        QFETCH(Numbers, expected);
        Numbers y;
        for (double xi : x) {
            double value = 0.0, power = 1.0;
            for (double c : coefficients) {
                value += c * power;
                power *= xi;
            }
            y << value;
        }
        double out[ORV_MAX_COEFFS + 1];
        std::fill(out, out + ORV_MAX_COEFFS + 1, 99.0);
        QCOMPARE(polynomialfit(x.size(), count, x.constData(), y.constData(), out), 0);
        for (int k = 0; k < count; ++k)
            QVERIFY2(std::fabs(out[k] - expected[k]) <= 1e-8 * std::max(1.0, std::fabs(expected[k])),
                     qPrintable(
                         QString("c%1 = %2, not %3").arg(k).arg(out[k], 0, 'g', 17).arg(expected[k])));
        QCOMPARE(out[count], 99.0); // nothing written past the coefficients asked for
    }
    void fitRefusals_data()
    {
        QTest::addColumn<int>("n");
        QTest::addColumn<int>("count");
        QTest::addColumn<double>("value");
        QTest::newRow("no points") << 0 << 3 << 1.0;
        QTest::newRow("negative point count") << -4 << 3 << 1.0;
        QTest::newRow("no coefficients") << 5 << 0 << 1.0;
        QTest::newRow("nine coefficients") << 12 << 9 << 1.0;
        QTest::newRow("NaN among the values") << 5 << 3 << std::nan("");
        QTest::newRow("infinity among the values") << 5 << 3 << HUGE_VAL;
    }
    void fitRefusals()
    {
        QFETCH(int, n);
        QFETCH(int, count);
        QFETCH(double, value);
        const double x[12] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
        double y[12] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
        y[2] = value;
        double out[12];
        std::fill(out, out + 12, 99.0);
        QCOMPARE(polynomialfit(n, count, x, y, out), -1);
        for (int k = 0; k < count; ++k)
            QCOMPARE(out[k], 0.0);
        QCOMPARE(out[count], 99.0);
    }
    void fitIsLeastSquares()
    {
        // A line through scattered points: the normal equations in closed form.
        Numbers x, y;
        for (int i = 0; i < 15; ++i) {
            x << 0.7 * i;
            y << 3.0 + 0.5 * x.last() + ((i * 7919) % 13 - 6) * 0.03;
        }
        double mx = 0, my = 0;
        for (int i = 0; i < x.size(); ++i) {
            mx += x[i] / x.size();
            my += y[i] / y.size();
        }
        double sxy = 0, sxx = 0;
        for (int i = 0; i < x.size(); ++i) {
            sxy += (x[i] - mx) * (y[i] - my);
            sxx += (x[i] - mx) * (x[i] - mx);
        }
        double out[2];
        QCOMPARE(polynomialfit(x.size(), 2, x.constData(), y.constData(), out), 0);
        QVERIFY(std::fabs(out[1] - sxy / sxx) < 1e-12);
        QVERIFY(std::fabs(out[0] - (my - sxy / sxx * mx)) < 1e-12);
    }

    // ---- environment
    void readsUnderGermanLocale()
    {
        const QString table = write("locale.tbl", sampleFile("interpolation.tbl"));
        const QString archive = write("locale.save", sampleFile("inlet_air.save"));
        auto inC = std::make_unique<TableInfo>(), inGerman = std::make_unique<TableInfo>();
        auto savedC = std::make_unique<TableInfo>();
        const TableInfo *newest = nullptr;
        QCOMPARE(readTable(table, *inC), 0);
        QCOMPARE(readArchive(archive, &newest), short(1));
        *savedC = *newest;

        const QByteArray previous = std::setlocale(LC_ALL, nullptr);
        if (!std::setlocale(LC_ALL, "de_DE.UTF-8"))
            QSKIP("the de_DE.UTF-8 locale is not installed");
        const bool commaLocale = std::strtod("0.25", nullptr) == 0.0;
        const int tableResult = readTable(table, *inGerman);
        const short archiveResult = readArchive(archive, &newest);
        std::setlocale(LC_ALL, previous.constData());

        QVERIFY2(commaLocale, "the locale under test reads '.' as the end of a number");
        QCOMPARE(tableResult, 0);
        QCOMPARE(archiveResult, short(1));
        QCOMPARE(inGerman->tbl_tol, 0.25);
        QCOMPARE(std::memcmp(inC.get(), inGerman.get(), sizeof(TableInfo)), 0);
        QCOMPARE(std::memcmp(savedC.get(), newest, sizeof(TableInfo)), 0);
    }
    void registersWrittenFiles()
    {
        const qint64 mark = logSize();
        QCOMPARE(put_rcs_specs("/cell/tables/inlet_air.tbl"), 0);
        QVERIFY(logSince(mark).contains("/cell/tables/inlet_air.tbl"));
        QCOMPARE(put_rcs_specs(nullptr), -1);
    }
};

QTEST_GUILESS_MAIN(TestHostTables)
#include "tst_host_tables.moc"
