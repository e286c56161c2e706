// The host stand-in's services: strings, units, and the shared segments as the utility reads them.
#include "simcell.h"
#include <orvane/cell.h>
#include <orvane/log.h>
#include <orvane/shm.h>
#include <orvane/stats.h>
#include <orvane/strings.h>
#include <orvane/units.h>
#include <orvane/vars.h>
#include "localeguard.h"
#include <QSet>
#include <QtTest>
#include <cfloat>
#include <clocale>
#include <cstring>
#include <thread>
#include <unistd.h>

using Bytes = QByteArray;

namespace
{
const double kNo = -12345.5; // a result left untouched
const Bytes kUut = "@UUT_CAL_TYPE_KEYWORD\nPRESSURE\n\n@UUT_MODEL_KEYWORD\nHPT-409\n\n"
                   "@UUT_MTE_KEYWORD\nMTE-0042\n\n@UUT_ACTION_KEYWORD\nAS_FOUND\n";
template <typename... T> void columns(std::initializer_list<const char *> names)
{
    auto name = names.begin();
    (QTest::addColumn<T>(*name++), ...);
}
Bytes cell(const char *text) { return text ? Bytes(text) : Bytes(); }
template <typename T> T cell(const T &value) { return value; }
template <typename... A> void row(const char *name, const A &...values)
{
    QTestData &data = QTest::newRow(name);
    ((data << cell(values)), ...);
}
bool near(double actual, double expected, double relative = 1e-10)
{
    return std::fabs(actual - expected) <= relative * std::max(1.0, std::fabs(expected));
}
template <typename T> T at(const void *base, size_t offset)
{
    T value;
    std::memcpy(&value, static_cast<const char *>(base) + offset, sizeof value);
    return value;
}
Bytes text_at(const void *base, size_t offset) { return static_cast<const char *>(base) + offset; }
} // namespace

class TestHostServices : public QObject
{
    Q_OBJECT
    SimCell cell_;

  private slots:
    void initTestCase() { QVERIFY2(cell_.start({"--tick", "20", "--no-noise"}), qPrintable(cell_.lastOutput())); }
    void boundedCopies_data()
    {
        columns<Bytes, int, Bytes>({"source", "size", "expected"});
        row("fits with room", "hello", 10, "hello"); row("fits exactly", "hello", 6, "hello");
        row("one too long", "hello", 5, "hell"); row("only the end fits", "hello", 1, "");
        row("empty source", "", 4, ""); row("field of 32", Bytes(40, 'x'), 32, Bytes(31, 'x'));
        row("unended field", "ZZZZ", 4, "ZZZ"); row("size 0 writes nothing", "hello", 0, "keep");
    }
    void boundedCopies()
    {
        QFETCH(Bytes, source); QFETCH(int, size);
        // On the heap, ended only when shorter than the size: an over-read is caught.
        std::vector<char> field(source.constData(), source.constData() + source.size() + (source.size() < size));
        for (int way = 0; way < 2; ++way) { // the copy, then the formatted copy
            char buffer[48] = "keep";
            std::memset(buffer + 5, '#', sizeof buffer - 5);
            const int before = cell_.hostLog().size(), line = __LINE__ + 2;
            const int written = way ? snprintf_bounded("tst_host", line, buffer, size_t(size), "%.*s",
                                                       int(field.size()), field.data())
                                    : (::copyn("tst_host", line, buffer, field.data(), size_t(size)), 0);
            QTEST(Bytes(buffer), "expected");
            QCOMPARE(written, way && size ? int(strlen(buffer)) : 0);
            const int past = std::max(size, 5); // nothing past the given size is touched
            QCOMPARE(Bytes(buffer + past, 48 - past), Bytes(48 - past, '#'));
            // A cut is logged with the caller's place; a copy into nothing is not.
            QCOMPARE(cell_.hostLog().mid(before).contains(QString("tst_host:%1 sev 1 code 0").arg(line)),
                     source.size() >= size && (size || way));
        }
    }
    void stripTrimBlank_data()
    {
        columns<Bytes, Bytes, Bytes, bool>({"text", "stripped", "trimmed", "blank"});
        row("blanks both ends", "  abc  ", "abc  ", "  abc", false);
        row("tabs and newlines", "\t\n x y\r\n", "x y\r\n", "\t\n x y", false);
        row("inner blanks kept", "a  b", "a  b", "a  b", false); row("all white space", " \t\r\n\v\f", "", "", true);
        row("empty", "", "", "", true); row("latin-1 nbsp is text", "\xa0x\xa0", "\xa0x\xa0", "\xa0x\xa0", false);
    }
    void stripTrimBlank()
    {
        QFETCH(Bytes, text); QFETCH(Bytes, stripped);
        Bytes a = text, b = text;
        QVERIFY(string_strip(a.data()) == a.data() && string_trim(b.data()) == b.data() && !string_strip(nullptr));
        QCOMPARE(Bytes(a.constData()), stripped);
        QTEST(Bytes(b.constData()), "trimmed");
        QTEST(string_blank(text.constData()) != 0, "blank");
        QVERIFY(!string_trim(nullptr) && string_blank(nullptr));
    }
    void associate()
    {
        // Bound again and again, the first word keeps an index; refused: lists outside 0..15, no word, a 65th.
        Bytes read;
        for (const auto &[word, code, list] : {std::tuple{"INTERPOLATION", 0, 5}, {"POLYNOMIAL", 1, 5},
                 {"LONG_INTERPOLATION", 0, 5}, {"INTERPOLATION", 0, 5}, {"ALPHA", 1, 6}, {"BETA", 2, 6},
                 {"ALPHA", 2, 6}, {"W", -1, -1}, {"W", 16, 16}, {"", 7, 7}, {nullptr, 7, 7}})
            read += Bytes::number(string_associate_indexN(word, code, list) & 0xFFFF) + " ";
        for (int i = 0; i < 64; ++i)
            string_associate_indexN(("WORD" + Bytes::number(i)).constData(), i, 8);
        const char *first = index_to_stringN(0, 8); // a text handed out stays valid as the list grows
        read += Bytes::number(string_associate_indexN("ONE_TOO_MANY", 64, 8) & 0xFFFF);
        read += Bytes::number(string_associate_indexN("WORD10", 100, 8)); // needs no room
        for (const auto &[index, list] : {std::pair{0, 5}, {1, 5}, {0, 4}, {1, 6}, {2, 6}, {64, 8}, {100, 8}, {7, 7}})
            read += Bytes(" ") + index_to_stringN(index, list);
        QCOMPARE(read + " " + first, "0 0 0 0 0 0 0 65535 65535 65535 65535 655350 INTERPOLATION POLYNOMIAL "
                                     "  ALPHA  WORD10  WORD0");
    }
    void firstLine_data()
    {
        // Keywords asked in turn of one stream (a pipe cannot go back), what each gives ("-": none).
        columns<Bytes, Bytes, int, Bytes>({"content", "keywords", "size", "values"});
        Bytes noise; // binary noise around, a NUL inside the value
        for (int i = 0; i < 70000; ++i)
            noise.append(char((i * 131 + 7) % 256));
        const char *k = "@KEY";
        const struct { const char *name; Bytes content; const char *keywords; int size; Bytes values; } cases[] = {
            {"asked with blanks", kUut, "  @UUT_MODEL_KEYWORD\t", 0, "HPT-409"},
            {"any order, again", kUut, "@UUT_ACTION_KEYWORD|@UUT_MTE_KEYWORD|@UUT_SN_KEYWORD|@UUT_CAL_TYPE_KEYWORD|"
             "@UUT_MTE_KEYWORD", 0, "AS_FOUND|MTE-0042|-|PRESSURE|MTE-0042"},
            {"pipe", kUut, "@UUT_MODEL_KEYWORD|@UUT_MTE_KEYWORD|@UUT_CAL_TYPE_KEYWORD", 0, "HPT-409|MTE-0042|-"},
            {"prefix or inside a line", "@KEY_LONGER\nwrong\nx @KEY\nwrong\n@KEY\nright\n", k, 0, "right"},
            {"keyword line with blanks", " \t@KEY  \nvalue\n", k, 0, "value"}, {"first of two", "@KEY\n1\n@KEY\n2\n", k, 0, "1"},
            {"value keeps its blanks", "@KEY\n  v  \n", k, 0, "  v  "}, {"empty value", "@KEY\n\nnext\n", k, 0, ""},
            {"value unended", "@KEY\nlast", k, 0, "last"}, {"keyword last", "a\nb\n@KEY\n", k, 0, "-"},
            {"keyword last unended", "a\nb\n@KEY", k, 0, "-"}, {"empty file", "", k, 0, "-"},
            {"crlf", "@A\r\none\r\n@KEY\r\ntwo\r\n", k, 0, "two"}, {"crlf unended", "@KEY\r\ntwo\r", k, 0, "two"},
            {"cut to buffer", "@KEY\n0123456789\nnext\n", k, 8, "0123456"}, {"one-byte buffer", "@KEY\nvalue\n", k, 1, ""},
            {"cut keeps a cut CR", "@KEY\n012345\r789\n", k, 8, "012345\r"}, {"crlf just fits", "@KEY\n0123456\r\n", k, 8, "0123456"},
            {"long lines", Bytes(200000, 'a') + "\n@KEY\n" + Bytes(5000, 'v') + "\n@NEXT\n" + Bytes(99999, ' ') +
             "\n@LAST\nok\n", "@KEY|@NEXT|@LAST", 0, Bytes(1023, 'v') + "|" + Bytes(1023, ' ') + "|ok"},
            {"binary", noise + Bytes("\n@KEY\nva\0lue\n", 13) + noise, "@KEY|@ABSENT", 64, "va|-"}};
        for (const auto &c : cases)
            QTest::newRow(c.name) << c.content << Bytes(c.keywords) << (c.size ? c.size : 1024) << c.values;
    }
    void firstLine()
    {
        QFETCH(Bytes, content); QFETCH(int, size); QFETCH(Bytes, keywords);
        const bool pipe = Bytes(QTest::currentDataTag()) == "pipe";
        int fds[2] = {-1, -1};
        FILE *file = pipe ? (::pipe(fds), fdopen(fds[0], "r")) : tmpfile(); // left at the end, as written
        QCOMPARE(write(pipe ? fds[1] : fileno(file), content.data(), size_t(content.size())), ssize_t(content.size()));
        QVERIFY(!pipe || close(fds[1]) == 0);
        std::vector<char> buffer(size_t(size) + 1, '#');
        QList<Bytes> values;
        for (const Bytes &keyword : keywords.split('|')) {
            buffer[0] = 'X';
            const short status = get_1st_line(file, buffer.data(), size_t(size), keyword.data());
            values << (status == ORV_KEYWORD_NOT_FOUND ? "-" : status ? "?" : Bytes(buffer.data()));
        }
        const short nothing = get_1st_line(file, nullptr, 0, keywords.split('|').first()); // nowhere to put it
        QVERIFY(get_1st_line(file, buffer.data(), size_t(size), nullptr) == ORV_KEYWORD_NOT_FOUND && !fclose(file));
        QTEST(values.join('|'), "values");
        QVERIFY(buffer[size_t(size)] == '#' && (pipe || values[0] == "-" || !nothing));
        QCOMPARE(get_1st_line(nullptr, buffer.data(), size_t(size), "@KEY"), ORV_KEYWORD_NOT_FOUND);
    }
    void splitPath_data()
    {
        columns<Bytes, Bytes, Bytes, Bytes>({"path", "dir", "fname", "ext"});
        const Bytes d(ORV_MAX_DIR - 3, 'd'), n(ORV_MAX_FNAME - 1, 'n'), e(ORV_MAX_EXT - 2, 'e');
        const struct { const char *name; Bytes path, dir, fname, ext; } cases[] = {
            {"table file", "/cell/tables/oil_press.tbl", "/cell/tables/", "oil_press", ".tbl"},
            {"relative", "oil_press.save", "", "oil_press", ".save"}, {"root", "/", "/", "", ""},
            {"two dots", "/a/archive.tar.gz", "/a/", "archive.tar", ".gz"}, {"dot in folder only", "/a.b/c", "/a.b/", "c", ""},
            {"folder only", "/cell/", "/cell/", "", ""}, {"hidden file", "/home/.profile", "/home/", "", ".profile"},
            {"trailing dot", "name.", "", "name", "."}, {"folder just fits", "/" + d + "/t", "/" + d + "/", "t", ""},
            {"long folder", "/" + d + "dd/t.tbl", "/" + d + "d", "t", ".tbl"}, // each part is cut
            {"long name", "/c/" + n + "nn.tbl", "/c/", n, ".tbl"}, {"long extension", "/c/t." + e + "ee", "/c/", "t", "." + e}};
        for (const auto &c : cases)
            QTest::newRow(c.name) << c.path << c.dir << c.fname << c.ext;
    }
    void splitPath()
    {
        QFETCH(Bytes, path);
        // Outputs of exactly the documented sizes on the heap: a store past them is caught.
        std::vector<char> drive(4, 'X'), dir(ORV_MAX_DIR), name(ORV_MAX_FNAME), ext(ORV_MAX_EXT);
        _splitpath(path.constData(), drive.data(), dir.data(), name.data(), ext.data());
        QTEST(Bytes(dir.data()), "dir");
        QTEST(Bytes(ext.data()), "ext");
        _splitpath(path.constData(), nullptr, nullptr, name.data(), nullptr);
        QTEST(Bytes(name.data()), "fname");
        _splitpath(nullptr, nullptr, dir.data(), nullptr, nullptr);
        QVERIFY(!drive[0] && !dir[0]);
    }
    void keywords_data()
    {
        // "value[units]" to a keyword, by keywords and back, their dimensions; a refusal leaves the result.
        columns<Bytes, Bytes, short, double>({"token", "to", "status", "expected"});
        const struct { const char *token, *to; short status; double expected = kNo; } cases[] = {
            {"1[PSI]", "KPA", 0, 6.894757293168}, {"1[ATM]", "PSI", 0, 14.695948775513},
            {"1[INHG]", "KPA", 0, 3.386389}, {"1[INH2O]", "PA", 0, 249.08891}, {"1[BAR]", "MBAR", 0, 1000},
            {"1[MMHG]", "PA", 0, 133.322387415}, {"250[G]", "KG", 0, 0.25}, {"1[LBF]", "N", 0, 4.4482216152605},
            {"1[KN]", "LBF", 0, 224.80894309971}, {"1[LBFT]", "NM", 0, 1.3558179483314}, {"1[LB]", "KG", 0, 0.45359237},
            {"1[FT]", "IN", 0, 12}, {"1[M]", "FT", 0, 3.2808398950131}, {"100[LB/HR]", "KG/HR", 0, 45.359237},
            {"1[G/S]", "KG/HR", 0, 3.6}, {"1[GAL/HR]", "L/HR", 0, 3.785411784}, {"1[IN]", "MM", 0, 25.4},
            {"90[L/HR]", "L/MIN", 0, 1.5}, {"1[HR]", "SEC", 0, 3600}, {"90[MIN]", "HR", 0, 1.5}, {"1e3[MV]", "V", 0, 1},
            {"1500[MS]", "SEC", 0, 1.5}, {"50[PCT]", "FRAC", 0, 0.5}, {"0.002[FRAC]", "PPM", 0, 2000},
            {"20[MA]", "A", 0, 0.02}, {"1[HP]", "W", 0, 745.69987158227}, {"1800[RPM]", "RPM", 0, 1800},
            {"50[f]", "c", 0, 10}, {"1[Lb/Hr]", "kg/HR", 0, 0.45359237}, {"100[C]", "F", 0, 212},
            {"-40[C]", "F", 0, -40}, {"25[C]", "K", 0, 298.15}, {"0[K]", "F", 0, -459.67}, {"32[F]", "R", 0, 491.67},
            {"491.67[R]", "K", 0, 273.15}, {"100[C]", "R", 0, 671.67}, {"212[F]", "K", 0, 373.15},
            {"1[PPM]", "PCT", 0, 1e-4}, {"  14.7 [ psi ]  ", "KPA", 0, 101.35293220957}, {"+2[HR]", "MIN", 0, 120},
            {"0.5[FRAC]", "pct", 0, 50}, {"2[IN]\n", "MM", 0, 50.8}, {"1[inH2o]", "Bar", 0, 0.0024908891},
            {nullptr, "FRAC", 3}, {"", "FRAC", 3}, {"[PCT]", "FRAC", 3}, {".25", "FRAC", 3}, {".25PCT", "FRAC", 3},
            {".25[PCT", "FRAC", 3}, {".25PCT]", "FRAC", 3}, {"abc[PCT]", "FRAC", 3}, {".2.5[PCT]", "FRAC", 3},
            {"1 2[PCT]", "FRAC", 3}, {"1,5[PCT]", "FRAC", 3}, {"1[PCT]x", "FRAC", 3}, {".25[PCT]", "KPA", 1},
            {"1[C]", "KPA", 1}, {"1[KG]", "KG/HR", 1}, {"1[LBF]", "LBFT", 1}, {"1[MV]", "PCT", 1},
            {"1[XYZ]", "FRAC", 2}, {"1[]", "FRAC", 2}, {"1[PCT]", "PERCENT", 2}, {"1[KPA]", "PSIG", 2},
            {"1[XYZ]", "XYZ", 2}, {"1[   ]", "KPA", 2}, {"1[KP]", "KPA", 2}, {"1[KPAKPAKPAKPAKPAKPA]", "KPA", 2}};
        for (const auto &c : cases)
            QTest::addRow("%s to %s", c.token ? Bytes(c.token).trimmed().data() : "(null)", c.to)
                << cell(c.token) << Bytes(c.to) << c.status << c.expected;
    }
    void keywords()
    {
        QFETCH(Bytes, token); QFETCH(Bytes, to); QFETCH(short, status); QFETCH(double, expected);
        double result = kNo, back = kNo;
        QCOMPARE(units_token_convert(token.isNull() ? nullptr : token.data(), to, &result), status);
        QVERIFY2(near(result, expected, 1e-9), qPrintable(QString::number(result, 'g', 17)));
        const Bytes units = token.mid(token.indexOf('[') + 1).split(']').first();
        const double value = token.left(token.indexOf('[')).trimmed().toDouble();
        QVERIFY(status == 3 || (units_dbl_keyword_convrt(units, &result, to, value) == status &&
                                units_dbl_keyword_convrt(to, &back, units, expected) == status &&
                                units_dimension_check_key(units, to) == status && units_dimension_check_key(to, units) == status));
        QVERIFY(status ? result == kNo && back == kNo && units_dimension_check_key(nullptr, to) == 2
                       : near(result, expected, 1e-9) && near(back, value, 1e-9));
    }
    void decimalCommaLocale()
    {
        LocaleGuard guard; // a value's point and a keyword's case do not follow the process's locale
        if (!std::setlocale(LC_ALL, "de_DE.UTF-8") || std::strcmp(std::localeconv()->decimal_point, ",") != 0)
            QSKIP("no locale with a decimal comma is installed");
        double result = kNo;
        QVERIFY(units_token_convert(".25[PCT]", "FRAC", &result) == 0 && near(result, 0.0025));
        QCOMPARE(units_token_convert("1,5[BAR]", "KPA", &result), short(3));
        if (std::setlocale(LC_ALL, "tr_TR.UTF-8")) // the Turkish upper case of 'i' is not 'I'
            QVERIFY(units_dimension_check_key("min", "sec") == 0 && units_dimension_check_key("inhg", "psi") == 0);
    }
    void unitTable()
    {
        // As the host's segment holds it: names of 1..15 upper-case characters, no blank, names
        // and codes unique, a factor to the base unit.
        int count = -1;
        const orv_unit_record *table = orvane_unit_table(&count);
        QVERIFY(table && count > 0 && count <= ORV_MAX_UNITS && orvane_unit_table(nullptr) == table);
        QSet<Bytes> names;
        QSet<uint32_t> codes;
        for (int i = 0; i < count; ++i) {
            const Bytes name(table[i].name, int(strnlen(table[i].name, sizeof table[i].name)));
            QVERIFY2(!name.isEmpty() && name.size() <= 15 && name == name.toUpper() && !name.contains(' '), name);
            QVERIFY2(table[i].factor > 0 && !names.contains(name) && !codes.contains(table[i].code), name);
            names.insert(name), codes.insert(table[i].code);
        }
    }
    void wordsFromThreads()
    {
        // Four threads bind words to one list at once: none is lost.
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t)
            threads.emplace_back([t] {
                for (int i = 0; i < 16; ++i) {
                    string_associate_indexN(("T" + Bytes::number(t) + "_" + Bytes::number(i)).constData(), t * 16 + i, 12);
                    index_to_stringN(i, 12);
                }
            });
        for (std::thread &thread : threads)
            thread.join();
        for (int t = 0; t < 4; ++t)
            for (int i = 0; i < 16; ++i)
                QCOMPARE(Bytes(index_to_stringN(t * 16 + i, 12)), "T" + Bytes::number(t) + "_" + Bytes::number(i));
    }
    void statistics_data()
    {
        // Samples after optional seeds of the extremes; mean, variance, minimum, maximum.
        using Values = QVector<double>;
        columns<Values, Values, Values>({"seeds", "values", "expected"});
        const Values none;
        row("textbook eight", none, Values{2, 4, 4, 4, 5, 5, 7, 9}, Values{5, 32.0 / 7, 2, 9});
        row("one sample", none, Values{3.5}, Values{3.5, 0, 3.5, 3.5});
        row("two apart", none, Values{-1, 1}, Values{0, 2, -1, 1});
        row("millivolts", none, Values{10.1, 10.3, 10.2, 10.4}, Values{10.25, 0.05 / 3, 10.1, 10.4});
        row("no samples", none, none, Values{0, 0, DBL_MAX, -DBL_MAX});
        row("seeds around the data: not samples", Values{0, 100}, Values{40, 60}, Values{50, 200, 0, 100});
        row("data around the seeds", Values{50, 50}, Values{40, 60}, Values{50, 200, 40, 60});
    }
    void statistics()
    {
        QFETCH(QVector<double>, seeds);
        QFETCH(QVector<double>, values);
        QFETCH(QVector<double>, expected);
        stat_record record;
        clear_stat_values(&record);
        for (double value : {100.0, 300.0}) // forgotten by the clearing
            x_statistics_acquire(&record, value, 0.0);
        clear_stat_values(&record);
        if (!seeds.isEmpty())
            record.member[ORV_STAT_MIN] = seeds[0], record.member[ORV_STAT_MAX] = seeds[1];
        for (double value : values)
            x_statistics_acquire(&record, value, 0.0);
        x_statistics_compute(&record);
        QCOMPARE(record.count, int64_t(values.size()));
        const double variance = get_stat_member(&record, ORV_STAT_VARIANCE);
        QVERIFY(near(get_stat_member(&record, ORV_STAT_MEAN), expected[0], 1e-12) && near(variance, expected[1], 1e-12));
        QVERIFY(near(get_stat_member(&record, ORV_STAT_STDEV), std::sqrt(expected[1]), 1e-12));
        QCOMPARE(get_stat_member(&record, ORV_STAT_MIN), expected[2]);
        QCOMPARE(get_stat_member(&record, ORV_STAT_MAX), expected[3]);
        QVERIFY(get_stat_member(&record, -1) == 0 && get_stat_member(&record, 5) == 0 && !get_stat_member(nullptr, 0));
    }
    void statisticsFarFromZero()
    {
        // A million readings near 1e9 spread by about 0.58: a sum of squares would lose every
        // digit. The reference is a two-pass sum in extended precision.
        uint64_t state = 0x9E3779B97F4A7C15ULL; // the same numbers on every platform
        std::vector<double> values(1000000);
        long double sum = 0, squares = 0;
        for (double &value : values) {
            state ^= state << 13, state ^= state >> 7, state ^= state << 17;
            sum += value = 1e9 + double(state >> 11) / 4503599627370496.0 - 1.0;
        }
        for (double value : values)
            squares += (value - sum / values.size()) * (value - sum / values.size());
        stat_record record;
        clear_stat_values(&record);
        for (double value : values)
            x_statistics_acquire(&record, value, 0.0);
        x_statistics_compute(&record);
        const double reference = double(std::sqrt(squares / (values.size() - 1)));
        QVERIFY(near(get_stat_member(&record, ORV_STAT_STDEV), reference, 1e-7));
        QVERIFY(std::fabs(get_stat_member(&record, ORV_STAT_MEAN) - double(sum / values.size())) < 1e-3);
    }
    void channelRecords_data()
    {
        columns<int, Bytes>({"channel", "record"}); // active word, name, units; the table
        row("first", 0, "1|OIL TEMP IN|C|oil_temp_in"); row("inactive", 3, "0|FUEL TEMP|C|fuel_temp");
        row("blanks in name", 6, "1|INTAKE MANIFOLD PRESS|KPA|intake_press"); row("last", 15, "1|BLOWBY FLOW|L/MIN|blowby_flow");
        row("other active state", 11, "2|AIR FLOW|KG/HR|air_flow"); row("spare without table", 13, "0|SPARE 13||");
    }
    void channelRecords()
    {
        QFETCH(int, channel);
        const void *ai = get_shrd_mem(ORV_SEG_AI_REAL, 0), *transfer = get_shrd_mem(ORV_SEG_AI_TRANSFER, 0);
        QVERIFY(ai && transfer && std::isfinite(at<double>(get_shrd_mem(ORV_SEG_MILLIVOLTS, 0), 488u * channel + 64)));
        QTEST(Bytes::number(at<int16_t>(ai, 448u * channel + 118)) + "|" + text_at(ai, 448u * channel + 136) + "|" +
                  text_at(ai, 448u * channel + 232) + "|" + text_at(transfer, 388u * channel + 72), "record");
    }
    void cellSegments()
    {
        const char *attr = static_cast<char *>(get_shrd_mem(ORV_SEG_SYS_ATTR, 0));
        const char *units = static_cast<char *>(get_shrd_mem(ORV_SEG_UNITS, 0));
        void *strings = nullptr, *tables = nullptr, *scheduler = get_shrd_mem(ORV_SEG_SCHEDULER, 0);
        QVERIFY(attr && scheduler && units && link_to_memory(ORV_SEG_CAL_TABLES, &tables) && tables);
        QVERIFY(link_to_memory(ORV_SEG_DISPLAY_STRINGS, &strings) && strings);
        QCOMPARE(int(at<int16_t>(attr, 1560)) * 100 + at<int32_t>(scheduler, 16), 1620);
        QCOMPARE(text_at(strings, 30108).append(get_cell_name(1)).append(get_site_name(0)), Bytes("$Version: E-7.1.0    $TC-07NRTC"));
        int count = 0;
        const orv_unit_record *table = orvane_unit_table(&count);
        QCOMPARE(Bytes(units + 40 * count, 40), Bytes(40, '\0')); // a blank name ends the table
        for (int i = 0; i < count; ++i) // a picker sorts units by code alone: the ranges follow the dimensions
            QVERIFY(text_at(units, 40u * i + 24) == table[i].name && at<uint32_t>(units, 40u * i + 16) == table[i].code &&
                    !units_dimension_check_key(table[i].name, "C") == (table[i].code < 100) &&
                    !units_dimension_check_key(table[i].name, "KPA") == (table[i].code / 100 == 1) &&
                    !units_dimension_check_key(table[i].name, "SEC") == (table[i].code / 100 == 7));
        vrbl_handle handle{{7, 7}};
        QVERIFY(find_variable("no_such_variable", &handle) != 0 && handle.word[0] == 7);
        QVERIFY(!find_variable("barometer", &handle) && text_at(get_vrbl_adr(handle), 232) == "KPA");
        QVERIFY(!get_vrbl_adr(vrbl_handle{{ORV_SEG_VARIABLES, 100000}}));
        Bytes joined = Bytes::number(join_layer(3)); // the host refuses a task on demand
        joined += cell_.command({"refuse", "on"}) ? Bytes::number(join_layer(3)) : "?";
        QVERIFY(cell_.command({"refuse", "off"}));
        QCOMPARE(joined + Bytes::number(join_layer(3)), Bytes("050000"));
        log_error("tst_host", 42, 1, 17, "first line\nsecond line %d", 5); // one line
        QVERIFY(cell_.hostLog().endsWith("tst_host:42 sev 1 code 17 first line|second line 5\n"));
        QString output; // a second host on the same instance is refused, the first untouched
        QVERIFY(!cell_.command({"start"}, &output) && get_shrd_mem(ORV_SEG_AI_REAL, 0));
        QVERIFY2(output.contains("is already running"), qPrintable(output));
    }
};

QTEST_GUILESS_MAIN(TestHostServices)
#include "tst_host_services.moc"
