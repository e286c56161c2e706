// The host's segments as a guest sees them: every field the utility reads,
// at its byte offset, through the stand-in library, against a running cell.
#include "simcell.h"

#include <orvane/cell.h>
#include <orvane/log.h>
#include <orvane/shm.h>
#include <orvane/vars.h>

#include <QtTest>

#include <cstring>

namespace {

template <typename T> T at(const void *base, size_t offset)
{
    T value;
    std::memcpy(&value, static_cast<const char *>(base) + offset, sizeof value);
    return value;
}

QString text_at(const void *base, size_t offset)
{
    return QString::fromLatin1(static_cast<const char *>(base) + offset);
}

} // namespace

class TestSegments : public QObject {
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanupTestCase();

    void channelRecords_data();
    void channelRecords();
    void systemAndScheduler();
    void versionText();
    void unitTable();
    void hostVariables_data();
    void hostVariables();
    void unknownVariable();
    void taskRefusal();
    void logLines();
    void secondInstanceRefused();
    void withoutHost();

private:
    SimCell *cell_ = nullptr;
};

void TestSegments::initTestCase()
{
    cell_ = new SimCell;
    QVERIFY2(cell_->start({"--tick", "20", "--no-noise"}), qPrintable(cell_->lastOutput()));
}

void TestSegments::cleanupTestCase()
{
    delete cell_;
}

void TestSegments::channelRecords_data()
{
    QTest::addColumn<int>("channel");
    QTest::addColumn<int>("active");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("units");
    QTest::addColumn<QString>("table");
    QTest::newRow("first") << 0 << 1 << "OIL TEMP IN" << "C" << "oil_temp_in";
    QTest::newRow("inactive") << 3 << 0 << "FUEL TEMP" << "C" << "fuel_temp";
    QTest::newRow("blanks in name") << 6 << 1 << "INTAKE MANIFOLD PRESS" << "KPA" << "intake_press";
    QTest::newRow("other active state") << 11 << 2 << "AIR FLOW" << "KG/HR" << "air_flow";
    QTest::newRow("spare without table") << 13 << 0 << "SPARE 13" << "" << "";
    QTest::newRow("last") << 15 << 1 << "BLOWBY FLOW" << "L/MIN" << "blowby_flow";
}

void TestSegments::channelRecords()
{
    QFETCH(int, channel);
    const void *ai = get_shrd_mem(ORV_SEG_AI_REAL, 0);
    const void *transfer = get_shrd_mem(ORV_SEG_AI_TRANSFER, 0);
    const void *mv = get_shrd_mem(ORV_SEG_MILLIVOLTS, 0);
    QVERIFY(ai && transfer && mv);
    const size_t ai_record = 448u * channel, transfer_record = 388u * channel;
    QFETCH(int, active);
    QCOMPARE(int(at<int16_t>(ai, ai_record + 118)), active);
    QTEST(text_at(ai, ai_record + 136), "name");
    QTEST(text_at(ai, ai_record + 232), "units");
    QTEST(text_at(transfer, transfer_record + 72), "table");
    // Each live value is published as a finite double at byte 64.
    QVERIFY(std::isfinite(at<double>(mv, 488u * channel + 64)));
}

void TestSegments::systemAndScheduler()
{
    const void *attr = get_shrd_mem(ORV_SEG_SYS_ATTR, 0);
    const void *scheduler = get_shrd_mem(ORV_SEG_SCHEDULER, 0);
    QVERIFY(attr && scheduler);
    QCOMPARE(int(at<int16_t>(attr, 1560)), 16);
    QCOMPARE(at<int32_t>(scheduler, 16), 20);
    QCOMPARE(QString::fromLatin1(get_cell_name(1)), QStringLiteral("TC-07"));
    QCOMPARE(QString::fromLatin1(get_site_name(0)), QStringLiteral("NRTC"));
    void *pointer = nullptr;
    QVERIFY(link_to_memory(ORV_SEG_CAL_TABLES, &pointer));
    QVERIFY(pointer);
}

void TestSegments::versionText()
{
    void *strings = nullptr;
    QVERIFY(link_to_memory(ORV_SEG_DISPLAY_STRINGS, &strings));
    QCOMPARE(text_at(strings, 30108), QStringLiteral("$Version: E-7.1.0    $"));
}

void TestSegments::unitTable()
{
    const void *units = get_shrd_mem(ORV_SEG_UNITS, 0);
    QVERIFY(units);
    QStringList names;
    for (int i = 0; i < ORV_MAX_UNITS; ++i) {
        QString name = text_at(units, 40u * i + 24);
        if (name.trimmed().isEmpty())
            break;
        const uint32_t code = at<uint32_t>(units, 40u * i + 16);
        if (name == "PCT" || name == "KPA" || name == "SEC" || name == "C")
            names.append(QStringLiteral("%1=%2").arg(name).arg(code >= 700 && code <= 799   ? "time"
                                                             : code >= 200              ? "other"
                                                             : code >= 100              ? "pressure"
                                                                                        : "temperature"));
    }
    names.sort();
    QCOMPARE(names, QStringList({"C=temperature", "KPA=pressure", "PCT=other", "SEC=time"}));
}

void TestSegments::hostVariables_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("units");
    QTest::addColumn<double>("low");
    QTest::addColumn<double>("high");
    QTest::newRow("room temperature") << "instr_t" << "C" << 20.0 << 24.0;
    QTest::newRow("barometer") << "barometer" << "KPA" << 97.0 << 100.0;
    QTest::newRow("humidity") << "instr_rel_hum" << "PCT" << 35.0 << 55.0;
}

void TestSegments::hostVariables()
{
    QFETCH(QString, name);
    vrbl_handle handle {};
    QCOMPARE(int(find_variable(name.toLatin1().constData(), &handle)), 0);
    const void *address = get_vrbl_adr(handle);
    QVERIFY(address);
    QFETCH(double, low);
    QFETCH(double, high);
    const double value = at<double>(address, 64);
    QVERIFY2(value >= low && value <= high, qPrintable(QString::number(value)));
    QTEST(text_at(address, 232), "units");
}

void TestSegments::unknownVariable()
{
    vrbl_handle handle {{7, 7}};
    QVERIFY(find_variable("no_such_variable", &handle) != 0);
    QCOMPARE(handle.word[0], int64_t(7)); // untouched
    QVERIFY(!get_vrbl_adr(vrbl_handle{{ORV_SEG_VARIABLES, 100000}}));
}

void TestSegments::taskRefusal()
{
    QCOMPARE(int(join_layer(3)), 0);
    QVERIFY(cell_->command({"refuse", "on"}));
    QCOMPARE(int(join_layer(3)), 5000);
    QVERIFY(cell_->command({"refuse", "off"}));
    QCOMPARE(int(join_layer(3)), 0);
}

void TestSegments::logLines()
{
    log_error("tst_segments", 42, 1, 17, "first line\nsecond line %d", 5);
    const QStringList lines = cell_->hostLog().split('\n', Qt::SkipEmptyParts);
    QVERIFY(!lines.isEmpty());
    QVERIFY2(lines.last().endsWith("tst_segments:42 sev 1 code 17 first line|second line 5"),
             qPrintable(lines.last()));
}

void TestSegments::secondInstanceRefused()
{
    QString output;
    QVERIFY(!cell_->command({"start"}, &output));
    QVERIFY2(output.contains("is already running"), qPrintable(output));
    QVERIFY(get_shrd_mem(ORV_SEG_AI_REAL, 0)); // the first cell is untouched
}

void TestSegments::withoutHost()
{
    SimCell empty; // a root and an instance with no cell running
    void *pointer = reinterpret_cast<void *>(0x1234);
    QVERIFY(!get_shrd_mem(ORV_SEG_AI_REAL, 0));
    QCOMPARE(link_to_memory(ORV_SEG_SCHEDULER, &pointer), 0);
    QCOMPARE(pointer, reinterpret_cast<void *>(0x1234));
    QCOMPARE(int(join_layer(3)), 0xFFFF);
    QVERIFY(!get_cell_name(1));
    vrbl_handle handle {};
    QCOMPARE(int(find_variable("instr_t", &handle)), int(ORV_FAILURE));
}

QTEST_GUILESS_MAIN(TestSegments)
#include "tst_segments.moc"
