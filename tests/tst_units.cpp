// Unit table and conversions of the host stand-in.
#include "localeguard.h"
#include <orvane/units.h>

#include <QByteArray>
#include <QSet>
#include <QtTest>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstring>
#include <string>

namespace
{

const double kUntouched = -12345.5;

bool near(double actual, double expected, double relative = 1e-10)
{
    return std::fabs(actual - expected) <= relative * std::max(1.0, std::fabs(expected));
}

const orv_unit_record *record_of(const char *name)
{
    int count = 0;
    const orv_unit_record *table = orvane_unit_table(&count);
    for (int i = 0; i < count; ++i)
        if (std::strcmp(table[i].name, name) == 0)
            return &table[i];
    return nullptr;
}

/* Restores the process locale however a test ends. */

} // namespace

class TestUnits : public QObject
{
    Q_OBJECT

  private slots:
    void publishedFactors_data();
    void publishedFactors();
    void temperatureOffsets_data();
    void temperatureOffsets();
    void dimensionCheck_data();
    void dimensionCheck();
    void refusedConversionLeavesResult_data();
    void refusedConversionLeavesResult();
    void tokenConvert_data();
    void tokenConvert();
    void tokenRefused_data();
    void tokenRefused();
    void tokenIgnoresProcessLocale();
    void engineCellKeywordsPresent_data();
    void engineCellKeywordsPresent();
    void codeRangesFollowDimensions();
    void tableKeywordsAndCodesUnique();
    void tableFitsHostSegment();
    void initAccessWithoutHostFails();
};

void TestUnits::publishedFactors_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<double>("value");
    QTest::addColumn<double>("expected");

    QTest::newRow("psi->kPa") << QByteArray("PSI") << QByteArray("KPA") << 1.0 << 6.894757293168;
    QTest::newRow("atm->psi") << QByteArray("ATM") << QByteArray("PSI") << 1.0 << 14.695948775513;
    QTest::newRow("inHg->kPa") << QByteArray("INHG") << QByteArray("KPA") << 1.0 << 3.386389;
    QTest::newRow("inH2O->Pa") << QByteArray("INH2O") << QByteArray("PA") << 1.0 << 249.08891;
    QTest::newRow("mmHg->Pa") << QByteArray("MMHG") << QByteArray("PA") << 1.0 << 133.322387415;
    QTest::newRow("bar->mbar") << QByteArray("BAR") << QByteArray("MBAR") << 1.0 << 1000.0;
    QTest::newRow("atm->bar") << QByteArray("ATM") << QByteArray("BAR") << 1.0 << 1.01325;
    QTest::newRow("lbf->N") << QByteArray("LBF") << QByteArray("N") << 1.0 << 4.4482216152605;
    QTest::newRow("kN->lbf") << QByteArray("KN") << QByteArray("LBF") << 1.0 << 224.80894309971;
    QTest::newRow("lbft->Nm") << QByteArray("LBFT") << QByteArray("NM") << 1.0 << 1.3558179483314;
    QTest::newRow("lb->kg") << QByteArray("LB") << QByteArray("KG") << 1.0 << 0.45359237;
    QTest::newRow("kg->lb") << QByteArray("KG") << QByteArray("LB") << 1.0 << 2.2046226218488;
    QTest::newRow("g->kg") << QByteArray("G") << QByteArray("KG") << 250.0 << 0.25;
    QTest::newRow("lb/hr->kg/hr") << QByteArray("LB/HR") << QByteArray("KG/HR") << 100.0
                                  << 45.359237;
    QTest::newRow("g/s->kg/hr") << QByteArray("G/S") << QByteArray("KG/HR") << 1.0 << 3.6;
    QTest::newRow("gal/hr->L/hr") << QByteArray("GAL/HR") << QByteArray("L/HR") << 1.0
                                  << 3.785411784;
    QTest::newRow("L/hr->L/min") << QByteArray("L/HR") << QByteArray("L/MIN") << 90.0 << 1.5;
    QTest::newRow("ft->in") << QByteArray("FT") << QByteArray("IN") << 1.0 << 12.0;
    QTest::newRow("in->mm") << QByteArray("IN") << QByteArray("MM") << 1.0 << 25.4;
    QTest::newRow("hr->sec") << QByteArray("HR") << QByteArray("SEC") << 1.0 << 3600.0;
    QTest::newRow("min->hr") << QByteArray("MIN") << QByteArray("HR") << 90.0 << 1.5;
    QTest::newRow("ms->sec") << QByteArray("MS") << QByteArray("SEC") << 1500.0 << 1.5;
    QTest::newRow("V->mV") << QByteArray("V") << QByteArray("MV") << 2.5 << 2500.0;
    QTest::newRow("pct->frac") << QByteArray("PCT") << QByteArray("FRAC") << 50.0 << 0.5;
    QTest::newRow("frac->ppm") << QByteArray("FRAC") << QByteArray("PPM") << 0.002 << 2000.0;
    QTest::newRow("hp->W") << QByteArray("HP") << QByteArray("W") << 1.0 << 745.69987158227;
    QTest::newRow("mA->A") << QByteArray("MA") << QByteArray("A") << 20.0 << 0.02;
    QTest::newRow("rpm->rpm") << QByteArray("RPM") << QByteArray("RPM") << 1800.0 << 1800.0;
    QTest::newRow("lower case psi->kpa")
        << QByteArray("psi") << QByteArray("kpa") << 2.0 << 13.789514586336;
    QTest::newRow("mixed case Lb/Hr->kg/HR")
        << QByteArray("Lb/Hr") << QByteArray("kg/HR") << 1.0 << 0.45359237;
}

void TestUnits::publishedFactors()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(double, value);
    QFETCH(double, expected);

    double result = kUntouched;
    QCOMPARE(units_dbl_keyword_convrt(from.constData(), &result, to.constData(), value), short(0));
    QVERIFY2(near(result, expected), qPrintable(QString::number(result, 'g', 17)));

    double back = kUntouched;
    QCOMPARE(units_dbl_keyword_convrt(to.constData(), &back, from.constData(), result), short(0));
    QVERIFY2(near(back, value), qPrintable(QString::number(back, 'g', 17)));
}

void TestUnits::temperatureOffsets_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<double>("value");
    QTest::addColumn<double>("expected");

    QTest::newRow("boiling C->F") << QByteArray("C") << QByteArray("F") << 100.0 << 212.0;
    QTest::newRow("freezing F->C") << QByteArray("F") << QByteArray("C") << 32.0 << 0.0;
    QTest::newRow("-40 C->F") << QByteArray("C") << QByteArray("F") << -40.0 << -40.0;
    QTest::newRow("C->K") << QByteArray("C") << QByteArray("K") << 25.0 << 298.15;
    QTest::newRow("K->C absolute zero") << QByteArray("K") << QByteArray("C") << 0.0 << -273.15;
    QTest::newRow("K->F absolute zero") << QByteArray("K") << QByteArray("F") << 0.0 << -459.67;
    QTest::newRow("F->R") << QByteArray("F") << QByteArray("R") << 32.0 << 491.67;
    QTest::newRow("R->K") << QByteArray("R") << QByteArray("K") << 491.67 << 273.15;
    QTest::newRow("C->R") << QByteArray("C") << QByteArray("R") << 100.0 << 671.67;
    QTest::newRow("R->C") << QByteArray("R") << QByteArray("C") << 0.0 << -273.15;
    QTest::newRow("F->K") << QByteArray("F") << QByteArray("K") << 212.0 << 373.15;
    QTest::newRow("lower case f->c") << QByteArray("f") << QByteArray("c") << 50.0 << 10.0;
}

void TestUnits::temperatureOffsets()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(double, value);
    QFETCH(double, expected);

    double result = kUntouched;
    QCOMPARE(units_dbl_keyword_convrt(from.constData(), &result, to.constData(), value), short(0));
    QVERIFY2(near(result, expected, 1e-12), qPrintable(QString::number(result, 'g', 17)));

    double back = kUntouched;
    QCOMPARE(units_dbl_keyword_convrt(to.constData(), &back, from.constData(), expected), short(0));
    QVERIFY2(near(back, value, 1e-12), qPrintable(QString::number(back, 'g', 17)));
}

void TestUnits::dimensionCheck_data()
{
    QTest::addColumn<QByteArray>("a");
    QTest::addColumn<QByteArray>("b");
    QTest::addColumn<bool>("aNull");
    QTest::addColumn<short>("expected");

    QTest::newRow("psi kpa") << QByteArray("PSI") << QByteArray("KPA") << false << short(0);
    QTest::newRow("same keyword") << QByteArray("C") << QByteArray("C") << false << short(0);
    QTest::newRow("pct in frac") << QByteArray("PCT") << QByteArray("FRAC") << false << short(0);
    QTest::newRow("ppm in frac") << QByteArray("PPM") << QByteArray("PCT") << false << short(0);
    QTest::newRow("mv v") << QByteArray("MV") << QByteArray("V") << false << short(0);
    QTest::newRow("case folded") << QByteArray("inH2o") << QByteArray("Bar") << false << short(0);
    QTest::newRow("blanks around")
        << QByteArray(" psi ") << QByteArray("\tKPA") << false << short(0);
    QTest::newRow("temperature vs pressure")
        << QByteArray("C") << QByteArray("KPA") << false << short(1);
    QTest::newRow("mass vs mass flow")
        << QByteArray("KG") << QByteArray("KG/HR") << false << short(1);
    QTest::newRow("force vs torque")
        << QByteArray("LBF") << QByteArray("LBFT") << false << short(1);
    QTest::newRow("mv vs pct") << QByteArray("MV") << QByteArray("PCT") << false << short(1);
    QTest::newRow("unknown first") << QByteArray("XYZ") << QByteArray("KPA") << false << short(2);
    QTest::newRow("unknown second") << QByteArray("KPA") << QByteArray("PSIG") << false << short(2);
    QTest::newRow("both unknown and equal")
        << QByteArray("XYZ") << QByteArray("XYZ") << false << short(2);
    QTest::newRow("empty") << QByteArray("") << QByteArray("KPA") << false << short(2);
    QTest::newRow("blank") << QByteArray("   ") << QByteArray("KPA") << false << short(2);
    QTest::newRow("null") << QByteArray() << QByteArray("KPA") << true << short(2);
    QTest::newRow("prefix of a keyword")
        << QByteArray("KP") << QByteArray("KPA") << false << short(2);
    QTest::newRow("longer than a name")
        << QByteArray("KPAKPAKPAKPAKPAKPA") << QByteArray("KPA") << false << short(2);
}

void TestUnits::dimensionCheck()
{
    QFETCH(QByteArray, a);
    QFETCH(QByteArray, b);
    QFETCH(bool, aNull);
    QFETCH(short, expected);

    const char *first = aNull ? nullptr : a.constData();
    QCOMPARE(units_dimension_check_key(first, b.constData()), expected);
    QCOMPARE(units_dimension_check_key(b.constData(), first), expected);
}

void TestUnits::refusedConversionLeavesResult_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<short>("expected");

    QTest::newRow("incompatible") << QByteArray("C") << QByteArray("PSI") << short(1);
    QTest::newRow("unknown source") << QByteArray("DEGC") << QByteArray("C") << short(2);
    QTest::newRow("unknown target") << QByteArray("C") << QByteArray("") << short(2);
}

void TestUnits::refusedConversionLeavesResult()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(short, expected);

    double result = kUntouched;
    QCOMPARE(units_dbl_keyword_convrt(from.constData(), &result, to.constData(), 1.0), expected);
    QCOMPARE(result, kUntouched);
}

void TestUnits::tokenConvert_data()
{
    QTest::addColumn<QByteArray>("token");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<double>("expected");

    QTest::newRow("quarter percent") << QByteArray(".25[PCT]") << QByteArray("FRAC") << 0.0025;
    QTest::newRow("default tolerance") << QByteArray("1[PCT]") << QByteArray("FRAC") << 0.01;
    QTest::newRow("blanks around")
        << QByteArray("  14.7 [ psi ]  ") << QByteArray("KPA") << 14.7 * 6.894757293168;
    QTest::newRow("negative temperature") << QByteArray("-40[C]") << QByteArray("F") << -40.0;
    QTest::newRow("exponent") << QByteArray("1e3[MV]") << QByteArray("V") << 1.0;
    QTest::newRow("plus sign") << QByteArray("+2[HR]") << QByteArray("MIN") << 120.0;
    QTest::newRow("lower case target") << QByteArray("0.5[FRAC]") << QByteArray("pct") << 50.0;
    QTest::newRow("zero") << QByteArray("0[BAR]") << QByteArray("PSI") << 0.0;
    QTest::newRow("trailing newline") << QByteArray("2[IN]\n") << QByteArray("MM") << 50.8;
}

void TestUnits::tokenConvert()
{
    QFETCH(QByteArray, token);
    QFETCH(QByteArray, to);
    QFETCH(double, expected);

    double result = kUntouched;
    QCOMPARE(units_token_convert(token.constData(), to.constData(), &result), short(0));
    QVERIFY2(near(result, expected), qPrintable(QString::number(result, 'g', 17)));
}

void TestUnits::tokenRefused_data()
{
    QTest::addColumn<QByteArray>("token");
    QTest::addColumn<bool>("tokenNull");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<short>("expected");

    QTest::newRow("null token") << QByteArray() << true << QByteArray("FRAC") << short(3);
    QTest::newRow("empty") << QByteArray("") << false << QByteArray("FRAC") << short(3);
    QTest::newRow("units only") << QByteArray("[PCT]") << false << QByteArray("FRAC") << short(3);
    QTest::newRow("number only") << QByteArray(".25") << false << QByteArray("FRAC") << short(3);
    QTest::newRow("no brackets") << QByteArray(".25PCT") << false << QByteArray("FRAC") << short(3);
    QTest::newRow("no closing bracket")
        << QByteArray(".25[PCT") << false << QByteArray("FRAC") << short(3);
    QTest::newRow("no opening bracket")
        << QByteArray(".25PCT]") << false << QByteArray("FRAC") << short(3);
    QTest::newRow("not a number") << QByteArray("abc[PCT]") << false << QByteArray("FRAC")
                                  << short(3);
    QTest::newRow("two points") << QByteArray(".2.5[PCT]") << false << QByteArray("FRAC")
                                << short(3);
    QTest::newRow("two numbers") << QByteArray("1 2[PCT]") << false << QByteArray("FRAC")
                                 << short(3);
    QTest::newRow("decimal comma")
        << QByteArray("1,5[PCT]") << false << QByteArray("FRAC") << short(3);
    QTest::newRow("text after bracket")
        << QByteArray("1[PCT]x") << false << QByteArray("FRAC") << short(3);
    QTest::newRow("incompatible") << QByteArray(".25[PCT]") << false << QByteArray("KPA")
                                  << short(1);
    QTest::newRow("unknown units")
        << QByteArray("1[XYZ]") << false << QByteArray("FRAC") << short(2);
    QTest::newRow("empty units") << QByteArray("1[]") << false << QByteArray("FRAC") << short(2);
    QTest::newRow("unknown target")
        << QByteArray("1[PCT]") << false << QByteArray("PERCENT") << short(2);
}

void TestUnits::tokenRefused()
{
    QFETCH(QByteArray, token);
    QFETCH(bool, tokenNull);
    QFETCH(QByteArray, to);
    QFETCH(short, expected);

    double result = kUntouched;
    const char *text = tokenNull ? nullptr : token.constData();
    QCOMPARE(units_token_convert(text, to.constData(), &result), expected);
    QCOMPARE(result, kUntouched);
}

void TestUnits::tokenIgnoresProcessLocale()
{
    LocaleGuard guard;
    if (!std::setlocale(LC_ALL, "de_DE.UTF-8") && !std::setlocale(LC_ALL, "tr_TR.UTF-8"))
        QSKIP("no locale with a decimal comma is installed");
    if (std::strcmp(std::localeconv()->decimal_point, ",") != 0)
        QSKIP("the installed locale does not use a decimal comma");

    double result = kUntouched;
    QCOMPARE(units_token_convert(".25[PCT]", "FRAC", &result), short(0));
    QVERIFY(near(result, 0.0025));
    result = kUntouched;
    QCOMPARE(units_token_convert("1,5[BAR]", "KPA", &result), short(3));
    QCOMPARE(result, kUntouched);

    // The Turkish upper case of 'i' is not 'I': keyword folding must stay ASCII.
    if (std::setlocale(LC_ALL, "tr_TR.UTF-8") || std::setlocale(LC_ALL, "tr_TR.ISO-8859-9")) {
        QCOMPARE(units_dimension_check_key("min", "sec"), short(0));
        QCOMPARE(units_dimension_check_key("inhg", "psi"), short(0));
    }
}

void TestUnits::engineCellKeywordsPresent_data()
{
    QTest::addColumn<QByteArray>("keyword");
    const char *const keywords[] = {
        "C",      "F",   "K",  "R",   "KPA",  "PA",   "BAR",   "MBAR",  "PSI", "INHG",  "INH2O",
        "MMHG",   "ATM", "MV", "V",   "FRAC", "PCT",  "PPM",   "MS",    "SEC", "MIN",   "HR",
        "RPM",    "N",   "KN", "LBF", "NM",   "LBFT", "KG/HR", "LB/HR", "G/S", "L/MIN", "L/HR",
        "GAL/HR", "KG",  "G",  "LB",  "M",    "MM",   "IN",    "FT"};
    for (const char *keyword : keywords)
        QTest::newRow(keyword) << QByteArray(keyword);
}

void TestUnits::engineCellKeywordsPresent()
{
    QFETCH(QByteArray, keyword);
    QVERIFY2(record_of(keyword.constData()), keyword.constData());
    QCOMPARE(units_dimension_check_key(keyword.constData(), keyword.toLower().constData()),
             short(0));
}

void TestUnits::codeRangesFollowDimensions()
{
    // A picker sorts units by code alone; the dimension must agree with it.
    const orv_unit_record *celsius = record_of("C");
    const orv_unit_record *kpa = record_of("KPA");
    const orv_unit_record *second = record_of("SEC");
    QVERIFY(celsius && kpa && second);

    int count = 0;
    const orv_unit_record *table = orvane_unit_table(&count);
    QVERIFY(count > 0);
    for (int i = 0; i < count; ++i) {
        const orv_unit_record &unit = table[i];
        const uint32_t code = unit.code;
        const QByteArray what = QByteArray(unit.name) + " code " + QByteArray::number(code);
        QVERIFY2((unit.dimension == celsius->dimension) == (code < 100), what.constData());
        QVERIFY2((unit.dimension == kpa->dimension) == (code >= 100 && code <= 199),
                 what.constData());
        QVERIFY2((unit.dimension == second->dimension) == (code >= 700 && code <= 799),
                 what.constData());
        QVERIFY2(unit.factor > 0.0 && std::isfinite(unit.factor), what.constData());
        if (unit.dimension != celsius->dimension)
            QVERIFY2(unit.offset == 0.0, what.constData());
    }
}

void TestUnits::tableKeywordsAndCodesUnique()
{
    int count = 0;
    const orv_unit_record *table = orvane_unit_table(&count);
    QSet<QByteArray> names;
    QSet<uint32_t> codes;
    for (int i = 0; i < count; ++i) {
        const QByteArray name = QByteArray(table[i].name).toUpper();
        QVERIFY2(!names.contains(name), name.constData());
        QVERIFY2(!codes.contains(table[i].code), name.constData());
        names.insert(name);
        codes.insert(table[i].code);
    }
    QCOMPARE(names.size(), count);
}

void TestUnits::tableFitsHostSegment()
{
    int count = -1;
    const orv_unit_record *table = orvane_unit_table(&count);
    QVERIFY(table);
    QVERIFY(count > 0 && count <= ORV_MAX_UNITS);
    QCOMPARE(orvane_unit_table(nullptr), table);
    for (int i = 0; i < count; ++i) {
        const char *name = table[i].name;
        const size_t length = strnlen(name, sizeof table[i].name);
        QVERIFY2(length > 0 && length <= 15, QByteArray::number(i).constData());
        // A blank name ends the table in the segment; keywords are stored upper case.
        for (size_t c = 0; c < length; ++c) {
            QVERIFY2(name[c] != ' ' && !(name[c] >= 'a' && name[c] <= 'z'), name);
        }
    }
}

void TestUnits::initAccessWithoutHostFails()
{
    // A cell instance that no host serves: the unit segment cannot be mapped.
    const QByteArray saved = qgetenv("ORVANE_CELL");
    const bool had = qEnvironmentVariableIsSet("ORVANE_CELL");
    qputenv("ORVANE_CELL",
            "tst_units_no_host_" + QByteArray::number(QCoreApplication::applicationPid()));
    const short status = units_init_access(1);
    if (had)
        qputenv("ORVANE_CELL", saved);
    else
        qunsetenv("ORVANE_CELL");
    QCOMPARE(status & 0xFFFF, 0xFFFF);
}

QTEST_APPLESS_MAIN(TestUnits)
#include "tst_units.moc"
