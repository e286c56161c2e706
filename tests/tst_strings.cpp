// Strings and files services of the host stand-in.
#include <orvane/log.h>
#include <orvane/strings.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

#include <cstdio>
#include <cstring>
#include <thread>
#include <unistd.h>
#include <vector>

namespace
{

const char kModule[] = "tst_strings";

/* A stream holding exactly these bytes, positioned at its end as a writer
 * would leave it; closed by the caller. */
FILE *stream_with(const QByteArray &bytes)
{
    FILE *stream = tmpfile();
    if (stream && !bytes.isEmpty())
        fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stream);
    return stream;
}

struct StreamCloser {
    FILE *stream;
    ~StreamCloser()
    {
        if (stream)
            fclose(stream);
    }
};

/* The text a writer of the reference files produces: keyword lines, each
 * followed by its value line and a blank line. */
QByteArray uut_file()
{
    return "@UUT_CAL_TYPE_KEYWORD\nPRESSURE\n\n"
           "@UUT_MODEL_KEYWORD\nHPT-409\n\n"
           "@UUT_MTE_KEYWORD\nMTE-0042\n\n"
           "@UUT_ACTION_KEYWORD\nAS_FOUND\n";
}

} // namespace

class TestStrings : public QObject
{
    Q_OBJECT

  private slots:
    void initTestCase();

    void copyn_data();
    void copyn();
    void copynNullAndEmptyTargets();
    void copynUnendedSource();
    void copynLogsCut();
    void snprintfBounded_data();
    void snprintfBounded();
    void snprintfBoundedLogsCut();

    void stripAndTrim_data();
    void stripAndTrim();
    void blank_data();
    void blank();

    void associateFirstWordWins();
    void associateRebinds();
    void associateRefuses_data();
    void associateRefuses();
    void associateFullList();
    void associateFromThreads();

    void firstLine_data();
    void firstLine();
    void firstLineAnyOrder();
    void firstLineLeavesStreamAfterValue();
    void firstLineLongLines();
    void firstLineBinary();
    void firstLineMemoryAndPipeStreams();

    void splitPath_data();
    void splitPath();
    void splitPathCuts_data();
    void splitPathCuts();
    void splitPathNulls();

  private:
    QByteArray logText() const;

    QTemporaryDir root_;
};

void TestStrings::initTestCase()
{
    QVERIFY(root_.isValid());
    QVERIFY(QDir(root_.path()).mkpath("orvane/log"));
    qputenv("ORVANE_ROOT", QFile::encodeName(root_.path()));
}

QByteArray TestStrings::logText() const
{
    QFile log(root_.path() + ORV_LOG_PATH);
    if (!log.open(QIODevice::ReadOnly))
        return QByteArray();
    return log.readAll();
}

void TestStrings::copyn_data()
{
    QTest::addColumn<QByteArray>("source");
    QTest::addColumn<int>("size");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("fits with room") << QByteArray("hello") << 10 << QByteArray("hello");
    QTest::newRow("fits exactly") << QByteArray("hello") << 6 << QByteArray("hello");
    QTest::newRow("one too long") << QByteArray("hello") << 5 << QByteArray("hell");
    QTest::newRow("only the end fits") << QByteArray("hello") << 1 << QByteArray("");
    QTest::newRow("empty source") << QByteArray("") << 4 << QByteArray("");
    QTest::newRow("field of 32") << QByteArray(40, 'x') << 32 << QByteArray(31, 'x');
}

void TestStrings::copyn()
{
    QFETCH(QByteArray, source);
    QFETCH(int, size);
    QFETCH(QByteArray, expected);

    char buffer[48];
    std::memset(buffer, '#', sizeof buffer);
    ::copyn(kModule, __LINE__, buffer, source.constData(), static_cast<size_t>(size));
    QCOMPARE(QByteArray(buffer), expected);
    // Nothing beyond the given size is touched.
    for (size_t i = static_cast<size_t>(size); i < sizeof buffer; ++i)
        QCOMPARE(buffer[i], '#');
}

void TestStrings::copynNullAndEmptyTargets()
{
    char buffer[8] = "abc";
    ::copyn(kModule, __LINE__, buffer, nullptr, sizeof buffer);
    QCOMPARE(buffer[0], '\0');

    std::strcpy(buffer, "keep");
    ::copyn(kModule, __LINE__, buffer, "new", 0);
    QCOMPARE(QByteArray(buffer), QByteArray("keep"));

    ::copyn(kModule, __LINE__, nullptr, "new", 8); // must simply return
    ::copyn(nullptr, 0, buffer, "0123456789", sizeof buffer);
    QCOMPARE(QByteArray(buffer), QByteArray("0123456"));
}

void TestStrings::copynUnendedSource()
{
    // A fixed-width field filled to its last byte has no end mark; the copy
    // must not read past what it may take.
    std::vector<char> field(4, 'Z');
    char buffer[4];
    ::copyn(kModule, __LINE__, buffer, field.data(), sizeof buffer);
    QCOMPARE(QByteArray(buffer), QByteArray("ZZZ"));
}

void TestStrings::copynLogsCut()
{
    const QByteArray before = logText();
    char buffer[8];
    ::copyn(kModule, __LINE__, buffer, "fits", 5);
    QCOMPARE(logText(), before);

    const int line = __LINE__ + 1;
    ::copyn(kModule, line, buffer, "too long", 4);
    const QByteArray added = logText().mid(before.size());
    QVERIFY2(added.contains(QByteArray(kModule) + ':' + QByteArray::number(line)),
             added.constData());
    QVERIFY2(added.contains("sev 1 code 0"), added.constData());
}

void TestStrings::snprintfBounded_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("value");
    QTest::addColumn<QByteArray>("expected");

    QTest::newRow("fits") << 32 << 42 << QByteArray("value 42");
    QTest::newRow("fits exactly") << 9 << 42 << QByteArray("value 42");
    QTest::newRow("cut by one") << 8 << 42 << QByteArray("value 4");
    QTest::newRow("cut to nothing") << 1 << 42 << QByteArray("");
}

void TestStrings::snprintfBounded()
{
    QFETCH(int, size);
    QFETCH(int, value);
    QFETCH(QByteArray, expected);

    char buffer[40];
    std::memset(buffer, '#', sizeof buffer);
    const int written =
        snprintf_bounded(kModule, __LINE__, buffer, static_cast<size_t>(size), "value %d", value);
    QCOMPARE(QByteArray(buffer), expected);
    QCOMPARE(written, expected.size());
    QVERIFY(written < size);
    QCOMPARE(buffer[size], '#');
}

void TestStrings::snprintfBoundedLogsCut()
{
    const QByteArray before = logText();
    char buffer[6];
    QCOMPARE(snprintf_bounded(kModule, __LINE__, buffer, sizeof buffer, "%s", "short"), 5);
    QCOMPARE(logText(), before);

    const int line = __LINE__ + 1;
    QCOMPARE(snprintf_bounded(kModule, line, buffer, sizeof buffer, "%s", "longer"), 5);
    const QByteArray added = logText().mid(before.size());
    QVERIFY2(added.contains(QByteArray(kModule) + ':' + QByteArray::number(line)),
             added.constData());

    // Size 0 writes nothing at all.
    std::strcpy(buffer, "keep");
    QCOMPARE(snprintf_bounded(kModule, __LINE__, buffer, 0, "%s", "x"), 0);
    QCOMPARE(QByteArray(buffer), QByteArray("keep"));
}

void TestStrings::stripAndTrim_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("stripped");
    QTest::addColumn<QByteArray>("trimmed");

    QTest::newRow("blanks both ends")
        << QByteArray("  abc  ") << QByteArray("abc  ") << QByteArray("  abc");
    QTest::newRow("tabs and newlines")
        << QByteArray("\t\n x y\r\n") << QByteArray("x y\r\n") << QByteArray("\t\n x y");
    QTest::newRow("inner blanks kept")
        << QByteArray("a  b") << QByteArray("a  b") << QByteArray("a  b");
    QTest::newRow("only blanks") << QByteArray(" \t\n ") << QByteArray("") << QByteArray("");
    QTest::newRow("empty") << QByteArray("") << QByteArray("") << QByteArray("");
    QTest::newRow("latin-1 nbsp is text")
        << QByteArray("\xa0x\xa0") << QByteArray("\xa0x\xa0") << QByteArray("\xa0x\xa0");
}

void TestStrings::stripAndTrim()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, stripped);
    QFETCH(QByteArray, trimmed);

    QByteArray a = text;
    QCOMPARE(string_strip(a.data()), a.data());
    QCOMPARE(QByteArray(a.constData()), stripped);

    QByteArray b = text;
    QCOMPARE(string_trim(b.data()), b.data());
    QCOMPARE(QByteArray(b.constData()), trimmed);

    // Used as a pair, as the callers do.
    QByteArray c = text;
    QCOMPARE(QByteArray(string_trim(string_strip(c.data()))), stripped.trimmed());

    QCOMPARE(string_strip(nullptr), static_cast<char *>(nullptr));
    QCOMPARE(string_trim(nullptr), static_cast<char *>(nullptr));
}

void TestStrings::blank_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("isNull");
    QTest::addColumn<bool>("blank");

    QTest::newRow("null") << QByteArray() << true << true;
    QTest::newRow("empty") << QByteArray("") << false << true;
    QTest::newRow("white space") << QByteArray(" \t\r\n\v\f") << false << true;
    QTest::newRow("a letter") << QByteArray("  a ") << false << false;
    QTest::newRow("a zero") << QByteArray("0") << false << false;
    QTest::newRow("latin-1 nbsp") << QByteArray("\xa0") << false << false;
}

void TestStrings::blank()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, isNull);
    QFETCH(bool, blank);
    QCOMPARE(string_blank(isNull ? nullptr : text.constData()) != 0, blank);
}

void TestStrings::associateFirstWordWins()
{
    // The table-type words, bound again at every call in this order.
    const struct {
        const char *word;
        int code;
    } types[] = {{"INTERPOLATION", 0},    {"POLYNOMIAL", 1},
                 {"POLYNOMIAL_RANGE", 7}, {"SCALED", 2},
                 {"HYPERBOLIC", 6},       {"LONG_INTERPOLATION", 0},
                 {"2D_INTERPOLATION", 4}, {"LOCAL_2D_INTERPOLATION", 5}};
    const int list = 5;
    for (int round = 0; round < 100; ++round)
        for (const auto &type : types)
            QCOMPARE(string_associate_indexN(type.word, type.code, list), short(0));

    QCOMPARE(QByteArray(index_to_stringN(0, list)), QByteArray("INTERPOLATION"));
    QCOMPARE(QByteArray(index_to_stringN(1, list)), QByteArray("POLYNOMIAL"));
    QCOMPARE(QByteArray(index_to_stringN(7, list)), QByteArray("POLYNOMIAL_RANGE"));
    QCOMPARE(QByteArray(index_to_stringN(5, list)), QByteArray("LOCAL_2D_INTERPOLATION"));
    QCOMPARE(QByteArray(index_to_stringN(3, list)), QByteArray(""));
    // Another list is untouched by these bindings.
    QCOMPARE(QByteArray(index_to_stringN(0, 4)), QByteArray(""));
}

void TestStrings::associateRebinds()
{
    const int list = 6;
    QCOMPARE(string_associate_indexN("ALPHA", 1, list), short(0));
    QCOMPARE(string_associate_indexN("BETA", 2, list), short(0));
    QCOMPARE(string_associate_indexN("ALPHA", 2, list), short(0));
    QCOMPARE(QByteArray(index_to_stringN(1, list)), QByteArray(""));
    // ALPHA was bound first, so it reads back first for the shared index.
    QCOMPARE(QByteArray(index_to_stringN(2, list)), QByteArray("ALPHA"));
    QCOMPARE(string_associate_indexN("ALPHA", -3, list), short(0));
    QCOMPARE(QByteArray(index_to_stringN(2, list)), QByteArray("BETA"));
    QCOMPARE(QByteArray(index_to_stringN(-3, list)), QByteArray("ALPHA"));
}

void TestStrings::associateRefuses_data()
{
    QTest::addColumn<QByteArray>("word");
    QTest::addColumn<bool>("isNull");
    QTest::addColumn<int>("list");

    QTest::newRow("negative list") << QByteArray("W") << false << -1;
    QTest::newRow("list 16") << QByteArray("W") << false << 16;
    QTest::newRow("far list") << QByteArray("W") << false << 100000;
    QTest::newRow("null word") << QByteArray() << true << 7;
    QTest::newRow("empty word") << QByteArray("") << false << 7;
}

void TestStrings::associateRefuses()
{
    QFETCH(QByteArray, word);
    QFETCH(bool, isNull);
    QFETCH(int, list);

    QCOMPARE(string_associate_indexN(isNull ? nullptr : word.constData(), 9, list) & 0xFFFF,
             0xFFFF);
    QCOMPARE(QByteArray(index_to_stringN(9, list)), QByteArray(""));
}

void TestStrings::associateFullList()
{
    const int list = 8;
    const char *first = nullptr;
    for (int i = 0; i < 64; ++i) {
        const QByteArray word = "WORD" + QByteArray::number(i);
        QCOMPARE(string_associate_indexN(word.constData(), i, list), short(0));
        if (i == 0)
            first = index_to_stringN(0, list);
    }
    QCOMPARE(string_associate_indexN("ONE_TOO_MANY", 64, list) & 0xFFFF, 0xFFFF);
    QCOMPARE(QByteArray(index_to_stringN(64, list)), QByteArray(""));
    // Rebinding a word already there needs no room.
    QCOMPARE(string_associate_indexN("WORD10", 100, list), short(0));
    QCOMPARE(QByteArray(index_to_stringN(100, list)), QByteArray("WORD10"));
    // A text handed out earlier stays valid while the list grows.
    QCOMPARE(QByteArray(first), QByteArray("WORD0"));
}

void TestStrings::associateFromThreads()
{
    const int list = 9;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([t, list] {
            for (int i = 0; i < 16; ++i) {
                const QByteArray word = "T" + QByteArray::number(t) + "_" + QByteArray::number(i);
                string_associate_indexN(word.constData(), t * 16 + i, list);
                index_to_stringN(i, list);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    for (int t = 0; t < 4; ++t)
        for (int i = 0; i < 16; ++i)
            QCOMPARE(QByteArray(index_to_stringN(t * 16 + i, list)),
                     "T" + QByteArray::number(t) + "_" + QByteArray::number(i));
}

void TestStrings::firstLine_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("keyword");
    QTest::addColumn<int>("size");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("value");

    const int found = 0;
    const int missing = ORV_KEYWORD_NOT_FOUND & 0xFFFF;
    QTest::newRow("first keyword") << uut_file() << QByteArray("@UUT_CAL_TYPE_KEYWORD") << 1024
                                   << found << QByteArray("PRESSURE");
    QTest::newRow("middle keyword")
        << uut_file() << QByteArray("@UUT_MTE_KEYWORD") << 1024 << found << QByteArray("MTE-0042");
    QTest::newRow("keyword with blanks asked") << uut_file() << QByteArray("  @UUT_MODEL_KEYWORD\t")
                                               << 1024 << found << QByteArray("HPT-409");
    QTest::newRow("not found") << uut_file() << QByteArray("@UUT_SN_KEYWORD") << 1024 << missing
                               << QByteArray("");
    QTest::newRow("prefix of a line is no match")
        << QByteArray("@KEY_LONGER\nwrong\n@KEY\nright\n") << QByteArray("@KEY") << 1024 << found
        << QByteArray("right");
    QTest::newRow("line inside is no match")
        << QByteArray("x @KEY\nwrong\n@KEY\nright\n") << QByteArray("@KEY") << 1024 << found
        << QByteArray("right");
    QTest::newRow("keyword line with blanks")
        << QByteArray(" \t@KEY  \nvalue\n") << QByteArray("@KEY") << 1024 << found
        << QByteArray("value");
    QTest::newRow("value keeps its blanks") << QByteArray("@KEY\n  v  \n") << QByteArray("@KEY")
                                            << 1024 << found << QByteArray("  v  ");
    QTest::newRow("first of two") << QByteArray("@KEY\none\n@KEY\ntwo\n") << QByteArray("@KEY")
                                  << 1024 << found << QByteArray("one");
    QTest::newRow("empty value line")
        << QByteArray("@KEY\n\nnext\n") << QByteArray("@KEY") << 1024 << found << QByteArray("");
    QTest::newRow("value without newline")
        << QByteArray("@KEY\nlast") << QByteArray("@KEY") << 1024 << found << QByteArray("last");
    QTest::newRow("keyword last line")
        << QByteArray("a\nb\n@KEY\n") << QByteArray("@KEY") << 1024 << missing << QByteArray("");
    QTest::newRow("keyword last without newline")
        << QByteArray("a\nb\n@KEY") << QByteArray("@KEY") << 1024 << missing << QByteArray("");
    QTest::newRow("empty file") << QByteArray() << QByteArray("@KEY") << 1024 << missing
                                << QByteArray("");
    QTest::newRow("crlf") << QByteArray("@A\r\none\r\n@KEY\r\ntwo\r\n") << QByteArray("@KEY")
                          << 1024 << found << QByteArray("two");
    QTest::newRow("crlf value without newline")
        << QByteArray("@KEY\r\ntwo\r") << QByteArray("@KEY") << 1024 << found << QByteArray("two");
    QTest::newRow("value cut to buffer")
        << QByteArray("@KEY\n0123456789\nnext\n") << QByteArray("@KEY") << 8 << found
        << QByteArray("0123456");
    QTest::newRow("cut value keeps a cut CR")
        << QByteArray("@KEY\n012345\r789\n") << QByteArray("@KEY") << 8 << found
        << QByteArray("012345\r");
    QTest::newRow("crlf value that just fits")
        << QByteArray("@KEY\n0123456\r\n") << QByteArray("@KEY") << 8 << found
        << QByteArray("0123456");
    QTest::newRow("one-byte buffer")
        << QByteArray("@KEY\nvalue\n") << QByteArray("@KEY") << 1 << found << QByteArray("");
}

void TestStrings::firstLine()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, keyword);
    QFETCH(int, size);
    QFETCH(int, status);
    QFETCH(QByteArray, value);

    StreamCloser file{stream_with(content)};
    QVERIFY(file.stream);
    std::vector<char> buffer(static_cast<size_t>(size) + 1, '#');
    buffer[0] = 'X';
    QCOMPARE(
        get_1st_line(file.stream, buffer.data(), static_cast<size_t>(size), keyword.constData()) &
            0xFFFF,
        status);
    QCOMPARE(QByteArray(buffer.data()), value);
    QCOMPARE(buffer[static_cast<size_t>(size)], '#');
}

void TestStrings::firstLineAnyOrder()
{
    StreamCloser file{stream_with(uut_file())};
    QVERIFY(file.stream);
    char buffer[1024];
    const char *const order[][2] = {{"@UUT_ACTION_KEYWORD", "AS_FOUND"},
                                    {"@UUT_MTE_KEYWORD", "MTE-0042"},
                                    {"@UUT_CAL_TYPE_KEYWORD", "PRESSURE"},
                                    {"@UUT_MODEL_KEYWORD", "HPT-409"},
                                    {"@UUT_CAL_TYPE_KEYWORD", "PRESSURE"}};
    for (const auto &pair : order) {
        QCOMPARE(get_1st_line(file.stream, buffer, sizeof buffer, pair[0]), short(0));
        QCOMPARE(QByteArray(buffer), QByteArray(pair[1]));
    }
    QCOMPARE(get_1st_line(file.stream, buffer, sizeof buffer, "@MISSING"), ORV_KEYWORD_NOT_FOUND);
    QCOMPARE(get_1st_line(file.stream, buffer, sizeof buffer, "@UUT_MODEL_KEYWORD"), short(0));
    QCOMPARE(QByteArray(buffer), QByteArray("HPT-409"));
}

void TestStrings::firstLineLeavesStreamAfterValue()
{
    StreamCloser file{stream_with("@KEY\nvalue\nafter\n")};
    QVERIFY(file.stream);
    char buffer[16];
    QCOMPARE(get_1st_line(file.stream, buffer, sizeof buffer, "@KEY"), short(0));
    char rest[16] = {};
    QVERIFY(fgets(rest, sizeof rest, file.stream));
    QCOMPARE(QByteArray(rest), QByteArray("after\n"));

    QCOMPARE(get_1st_line(nullptr, buffer, sizeof buffer, "@KEY"), ORV_KEYWORD_NOT_FOUND);
    QCOMPARE(get_1st_line(file.stream, buffer, sizeof buffer, nullptr), ORV_KEYWORD_NOT_FOUND);
    QCOMPARE(get_1st_line(file.stream, nullptr, 0, "@KEY"), short(0));
}

void TestStrings::firstLineLongLines()
{
    // A long line before the keyword, a long value, and a keyword after the
    // cut value: each is read past correctly.
    QByteArray content = QByteArray(200000, 'a') + "\n@KEY\n" + QByteArray(5000, 'v') +
                         "\n@NEXT\n" + QByteArray(100000, ' ') + "\n@KEY_AFTER_BLANKS\nok\n";
    StreamCloser file{stream_with(content)};
    QVERIFY(file.stream);
    char buffer[1024];
    QCOMPARE(get_1st_line(file.stream, buffer, sizeof buffer, "@KEY"), short(0));
    QCOMPARE(QByteArray(buffer), QByteArray(1023, 'v'));
    QCOMPARE(get_1st_line(file.stream, buffer, sizeof buffer, "@NEXT"), short(0));
    QCOMPARE(QByteArray(buffer), QByteArray(100000, ' ').left(1023));
    QCOMPARE(get_1st_line(file.stream, buffer, sizeof buffer, "@KEY_AFTER_BLANKS"), short(0));
    QCOMPARE(QByteArray(buffer), QByteArray("ok"));
}

void TestStrings::firstLineBinary()
{
    QByteArray noise;
    for (int i = 0; i < 70000; ++i)
        noise.append(static_cast<char>((i * 131 + 7) % 256));
    const QByteArray content = noise + QByteArray("\n@KEY\nva\0lue\n", 13) + noise;
    StreamCloser file{stream_with(content)};
    QVERIFY(file.stream);
    char buffer[64];
    QCOMPARE(get_1st_line(file.stream, buffer, sizeof buffer, "@KEY"), short(0));
    QCOMPARE(QByteArray(buffer), QByteArray("va"));
    QCOMPARE(get_1st_line(file.stream, buffer, sizeof buffer, "@ABSENT"), ORV_KEYWORD_NOT_FOUND);
}

void TestStrings::firstLineMemoryAndPipeStreams()
{
    QByteArray text = uut_file();
    FILE *memory = fmemopen(text.data(), static_cast<size_t>(text.size()), "r");
    QVERIFY(memory);
    StreamCloser memoryCloser{memory};
    char buffer[32];
    QCOMPARE(get_1st_line(memory, buffer, sizeof buffer, "@UUT_MTE_KEYWORD"), short(0));
    QCOMPARE(QByteArray(buffer), QByteArray("MTE-0042"));
    QCOMPARE(get_1st_line(memory, buffer, sizeof buffer, "@UUT_CAL_TYPE_KEYWORD"), short(0));
    QCOMPARE(QByteArray(buffer), QByteArray("PRESSURE"));

    // A pipe cannot go back: it is searched from where it stands.
    int fds[2];
    QCOMPARE(pipe(fds), 0);
    QCOMPARE(write(fds[1], text.constData(), static_cast<size_t>(text.size())),
             static_cast<ssize_t>(text.size()));
    close(fds[1]);
    FILE *reader = fdopen(fds[0], "r");
    QVERIFY(reader);
    StreamCloser pipeCloser{reader};
    QCOMPARE(get_1st_line(reader, buffer, sizeof buffer, "@UUT_MODEL_KEYWORD"), short(0));
    QCOMPARE(QByteArray(buffer), QByteArray("HPT-409"));
    QCOMPARE(get_1st_line(reader, buffer, sizeof buffer, "@UUT_CAL_TYPE_KEYWORD"),
             ORV_KEYWORD_NOT_FOUND);
}

void TestStrings::splitPath_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("dir");
    QTest::addColumn<QByteArray>("fname");
    QTest::addColumn<QByteArray>("ext");

    QTest::newRow("table file") << QByteArray("/cell/tables/oil_press.tbl")
                                << QByteArray("/cell/tables/") << QByteArray("oil_press")
                                << QByteArray(".tbl");
    QTest::newRow("relative") << QByteArray("oil_press.save") << QByteArray("")
                              << QByteArray("oil_press") << QByteArray(".save");
    QTest::newRow("two dots") << QByteArray("/a/archive.tar.gz") << QByteArray("/a/")
                              << QByteArray("archive.tar") << QByteArray(".gz");
    QTest::newRow("dot in folder only")
        << QByteArray("/a.b/c") << QByteArray("/a.b/") << QByteArray("c") << QByteArray("");
    QTest::newRow("folder only") << QByteArray("/cell/tables/") << QByteArray("/cell/tables/")
                                 << QByteArray("") << QByteArray("");
    QTest::newRow("hidden file") << QByteArray("/home/.profile") << QByteArray("/home/")
                                 << QByteArray("") << QByteArray(".profile");
    QTest::newRow("root") << QByteArray("/") << QByteArray("/") << QByteArray("") << QByteArray("");
    QTest::newRow("empty") << QByteArray("") << QByteArray("") << QByteArray("") << QByteArray("");
    QTest::newRow("trailing dot") << QByteArray("name.") << QByteArray("") << QByteArray("name")
                                  << QByteArray(".");
}

void TestStrings::splitPath()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, dir);
    QFETCH(QByteArray, fname);
    QFETCH(QByteArray, ext);

    char drive[4] = "X:";
    char outDir[ORV_MAX_DIR];
    char outName[ORV_MAX_FNAME];
    char outExt[ORV_MAX_EXT];
    _splitpath(path.constData(), drive, outDir, outName, outExt);
    QCOMPARE(QByteArray(drive), QByteArray(""));
    QCOMPARE(QByteArray(outDir), dir);
    QCOMPARE(QByteArray(outName), fname);
    QCOMPARE(QByteArray(outExt), ext);
    QCOMPARE(QByteArray(outDir) + QByteArray(outName) + QByteArray(outExt), path);
}

void TestStrings::splitPathCuts_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<int>("dirLength");
    QTest::addColumn<int>("nameLength");
    QTest::addColumn<int>("extLength");

    QTest::newRow("long folder") << "/" + QByteArray(400, 'd') + "/t.tbl" << ORV_MAX_DIR - 1 << 1
                                 << 4;
    QTest::newRow("long name") << "/c/" + QByteArray(100, 'n') + ".tbl" << 3 << ORV_MAX_FNAME - 1
                               << 4;
    QTest::newRow("long extension") << "/c/t." + QByteArray(100, 'e') << 3 << 1 << ORV_MAX_EXT - 1;
    QTest::newRow("folder just fits")
        << "/" + QByteArray(ORV_MAX_DIR - 3, 'd') + "/t" << ORV_MAX_DIR - 1 << 1 << 0;
}

void TestStrings::splitPathCuts()
{
    QFETCH(QByteArray, path);
    QFETCH(int, dirLength);
    QFETCH(int, nameLength);
    QFETCH(int, extLength);

    // Outputs of exactly the documented sizes on the heap, so that a store
    // past them is caught by the address checker.
    std::vector<char> dir(ORV_MAX_DIR), name(ORV_MAX_FNAME), ext(ORV_MAX_EXT);
    _splitpath(path.constData(), nullptr, dir.data(), name.data(), ext.data());
    QCOMPARE(int(strnlen(dir.data(), dir.size())), dirLength);
    QCOMPARE(int(strnlen(name.data(), name.size())), nameLength);
    QCOMPARE(int(strnlen(ext.data(), ext.size())), extLength);
    QVERIFY(path.startsWith(dir.data()));
    const QByteArray rebuilt =
        QByteArray(dir.data()) + QByteArray(name.data()) + QByteArray(ext.data());
    QCOMPARE(rebuilt == path, path.size() == dirLength + nameLength + extLength);
}

void TestStrings::splitPathNulls()
{
    char name[ORV_MAX_FNAME] = "old";
    _splitpath("/cell/x.tbl", nullptr, nullptr, name, nullptr);
    QCOMPARE(QByteArray(name), QByteArray("x"));
    char dir[ORV_MAX_DIR] = "old";
    _splitpath(nullptr, nullptr, dir, nullptr, nullptr);
    QCOMPARE(QByteArray(dir), QByteArray(""));
}

QTEST_APPLESS_MAIN(TestStrings)
#include "tst_strings.moc"
