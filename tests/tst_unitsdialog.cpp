// The units picker: the sorting of the host's unit table into categories,
// the search for the start unit, the two roles, and the lists a station
// without the host's unit table gets.
#include "simcell.h"
#include "warningguard.h"

#include "tablevalueunitsdialog.h"
#include "vrel_cfg.h"

#include <orvane/shm.h>
#include <orvane/units.h>

#include <QDir>
#include <QGroupBox>
#include <QListWidget>
#include <QPushButton>
#include <QtTest>

#include <cstring>
#include <functional>
#include <memory>

namespace
{

// Lists of a known shape, standing in for the host's table where the test
// is about the picker and not about the segment.
const char *const kTemperature[] = {"C", "F", "K"};
const char *const kPressure[] = {"KPA", "PA", "PSI"};
const char *const kTime[] = {"SEC", "MIN"};
const char *const kOther[] = {"MV", "PCT"};

void use_known_lists(VREL_CFG &record)
{
    const char *const *lists[] = {kTemperature, kPressure, kTime, kOther};
    const int16_t counts[] = {3, 3, 2, 2};
    for (int category = 0; category < 4; ++category) {
        for (int i = 0; i < counts[category]; ++i)
            record.unit_names[category][i] = lists[category][i];
        record.unit_counts[category] = counts[category];
    }
    record.units_lists_loaded = 1;
}

QStringList list_texts(const QListWidget *list)
{
    QStringList texts;
    for (int i = 0; i < list->count(); ++i)
        texts << list->item(i)->text();
    return texts;
}

QStringList category_list(const VREL_CFG &record, int category)
{
    QStringList names;
    for (int i = 0; i < record.unit_counts[category]; ++i)
        names << QString::fromLatin1(record.unit_names[category][i]);
    return names;
}

// Runs the picker modally; `act` works on it once it is up.
int run_picker(const std::function<void(TableValueUnitsDialog &)> &act)
{
    TableValueUnitsDialog picker(nullptr);
    QTimer::singleShot(0, &picker, [&picker, &act] { act(picker); });
    return picker.exec();
}

void choose(TableValueUnitsDialog &picker, int category, const QString &unit)
{
    picker.findChild<QListWidget *>(QStringLiteral("lstUnitCategory"))->setCurrentRow(category);
    auto *types = picker.findChild<QListWidget *>(QStringLiteral("lstUnitType"));
    const QList<QListWidgetItem *> found = types->findItems(unit, Qt::MatchExactly);
    if (!found.isEmpty())
        types->setCurrentItem(found.first());
}

void click(TableValueUnitsDialog &picker, const char *button)
{
    picker.findChild<QPushButton *>(QLatin1String(button))->click();
}

} // namespace

class TestUnitsDialog : public QObject
{
    Q_OBJECT
  private slots:
    void initTestCase();
    void init();
    void cleanup();

    void categoryOfCode_data();
    void categoryOfCode();
    void findUnit_data();
    void findUnit();
    void form();
    void opensOnStartUnit_data();
    void opensOnStartUnit();
    void okInEachRole_data();
    void okInEachRole();
    void categoryChangeThenOkLeavesNoUnit();
    void cancelLeavesRawUnits();
    void withoutHostListsAreEmpty();
    void hostSegmentIsSorted();

  private:
    std::unique_ptr<VREL_CFG> record_;
};

void TestUnitsDialog::initTestCase()
{
    record_.reset(new VREL_CFG());
}

void TestUnitsDialog::init()
{
    std::memset(static_cast<void *>(record_.get()), 0, sizeof(VREL_CFG));
    cfg = record_.get();
    units_opened_from_main = 1;
    units_opened_from_sensor = 0;
}

void TestUnitsDialog::cleanup()
{
    cfg = nullptr;
    const QWidgetList tops = QApplication::topLevelWidgets();
    QVERIFY(std::none_of(tops.begin(), tops.end(), [](QWidget *w) { return w->isVisible(); }));
}

void TestUnitsDialog::categoryOfCode_data()
{
    // clang-format off
    QTest::addColumn<uint>("code");
    QTest::addColumn<int>("category");
    QTest::newRow("0 is a temperature") << 0u << 0;
    QTest::newRow("99 is a temperature") << 99u << 0;
    QTest::newRow("100 is a pressure") << 100u << 1;
    QTest::newRow("199 is a pressure") << 199u << 1;
    QTest::newRow("200 is other") << 200u << 3;
    QTest::newRow("699 is other") << 699u << 3;
    QTest::newRow("700 is a time") << 700u << 2;
    QTest::newRow("799 is a time") << 799u << 2;
    QTest::newRow("800 is other") << 800u << 3;
    // clang-format on
}

void TestUnitsDialog::categoryOfCode()
{
    QFETCH(uint, code);
    QFETCH(int, category);
    QCOMPARE(unit_category(code), category);
}

void TestUnitsDialog::findUnit_data()
{
    // clang-format off
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("found");
    QTest::addColumn<int>("category");
    QTest::addColumn<int>("index");
    QTest::newRow("exact name in a later category") << QByteArray("PSI") << true << 1 << 2;
    QTest::newRow("K finds kelvin before KPA") << QByteArray("K") << true << 0 << 2;
    QTest::newRow("M finds MIN, earlier than MV") << QByteArray("M") << true << 2 << 1;
    QTest::newRow("P finds PA, earlier than PSI and PCT") << QByteArray("P") << true << 1 << 1;
    QTest::newRow("KP finds KPA") << QByteArray("KP") << true << 1 << 0;
    QTest::newRow("longer than any entry") << QByteArray("PSIA") << false << 0 << 0;
    QTest::newRow("no such unit") << QByteArray("FOO") << false << 0 << 0;
    QTest::newRow("case counts") << QByteArray("psi") << false << 0 << 0;
    QTest::newRow("empty name is not found") << QByteArray("") << false << 0 << 0;
    // clang-format on
}

void TestUnitsDialog::findUnit()
{
    QFETCH(QByteArray, name);
    QFETCH(bool, found);
    QFETCH(int, category);
    QFETCH(int, index);
    use_known_lists(*cfg);
    int got_category = -1;
    int got_index = -1;
    QCOMPARE(find_unit(cfg, &got_category, &got_index, name.constData()), found);
    QCOMPARE(got_category, category);
    QCOMPARE(got_index, index);
}

void TestUnitsDialog::form()
{
    use_known_lists(*cfg);
    WarningGuard warnings;
    TableValueUnitsDialog picker(nullptr);
    QVERIFY2(warnings.warnings(QStringLiteral("connectSlotsByName")).isEmpty(),
             qPrintable(warnings.warnings().join('\n')));
    QCOMPARE(picker.windowTitle(), QStringLiteral("Table Value Units"));
    QCOMPARE(picker.size(), QSize(391, 407));
    QCOMPARE(picker.windowFlags() &
                 (Qt::WindowTitleHint | Qt::CustomizeWindowHint | Qt::WindowCloseButtonHint),
             Qt::WindowTitleHint | Qt::CustomizeWindowHint);
    auto *categories = picker.findChild<QListWidget *>(QStringLiteral("lstUnitCategory"));
    QVERIFY(categories && categories->hasAutoScroll());
    QCOMPARE(list_texts(categories), QStringList({"Temperature", "Pressure", "Time", "Other"}));
    QCOMPARE(picker.findChild<QGroupBox *>(QStringLiteral("groupBox"))->title(),
             QStringLiteral("Unit Category"));
    QCOMPARE(picker.findChild<QGroupBox *>(QStringLiteral("groupBox_2"))->title(),
             QStringLiteral("Unit Type"));
    QCOMPARE(picker.findChild<QPushButton *>(QStringLiteral("btnOK"))->text(),
             QStringLiteral("OK"));
    QCOMPARE(picker.findChild<QPushButton *>(QStringLiteral("btnCancel"))->text(),
             QStringLiteral("Cancel"));
    const QPalette palette = picker.palette();
    const QColor cream(255, 252, 239);
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        QCOMPARE(palette.color(group, QPalette::Window), cream);
    QCOMPARE(palette.color(QPalette::Active, QPalette::Base), QColor(Qt::white));
    QCOMPARE(palette.color(QPalette::Inactive, QPalette::Base), QColor(Qt::white));
    QCOMPARE(palette.color(QPalette::Disabled, QPalette::Base), cream);
}

void TestUnitsDialog::opensOnStartUnit_data()
{
    // clang-format off
    QTest::addColumn<bool>("from_main");
    QTest::addColumn<QByteArray>("raw_units");
    QTest::addColumn<QByteArray>("sensor_units");
    QTest::addColumn<int>("category");
    QTest::addColumn<int>("index");
    QTest::addColumn<QString>("units_text");
    QTest::newRow("main role starts on raw_units") << true << QByteArray("PSI") << QByteArray("MIN")
        << 1 << 2 << "PSI";
    QTest::newRow("sensor role starts on the sensor units") << false << QByteArray("PSI")
        << QByteArray("MIN") << 2 << 1 << "MIN";
    QTest::newRow("a prefix selects the earlier entry") << true << QByteArray("M") << QByteArray()
        << 2 << 1 << "MIN";
    QTest::newRow("blanks around the unit are trimmed") << true << QByteArray("  PA ")
        << QByteArray() << 1 << 1 << "PA";
    QTest::newRow("a unit that is no entry opens on the first") << true << QByteArray("FOO")
        << QByteArray("PSI") << 0 << 0 << "C";
    QTest::newRow("no unit opens on the first") << false << QByteArray("PSI") << QByteArray() << 0
        << 0 << "C";
    // clang-format on
}

void TestUnitsDialog::opensOnStartUnit()
{
    QFETCH(bool, from_main);
    QFETCH(QByteArray, raw_units);
    QFETCH(QByteArray, sensor_units);
    QFETCH(int, category);
    QFETCH(int, index);
    QFETCH(QString, units_text);
    use_known_lists(*cfg);
    std::strcpy(cfg->raw_units, raw_units.constData());
    std::strcpy(cfg->table_info.sensor_range_units, sensor_units.constData());
    units_opened_from_main = from_main ? 1 : 0;
    units_opened_from_sensor = from_main ? 0 : 1;

    TableValueUnitsDialog picker(nullptr);
    QCOMPARE(cfg->units_for_table, static_cast<uint16_t>(from_main ? 1 : 0));
    auto *categories = picker.findChild<QListWidget *>(QStringLiteral("lstUnitCategory"));
    auto *types = picker.findChild<QListWidget *>(QStringLiteral("lstUnitType"));
    QCOMPARE(categories->currentRow(), category);
    QCOMPARE(types->currentRow(), index);
    QCOMPARE(list_texts(types), category_list(*cfg, category));
    QCOMPARE(QString::fromLatin1(cfg->units_text), units_text);
    // Opening writes nothing but units_text.
    QCOMPARE(QByteArray(cfg->raw_units), raw_units);
}

void TestUnitsDialog::okInEachRole_data()
{
    // clang-format off
    QTest::addColumn<bool>("from_main");
    QTest::addColumn<QString>("raw_units_after");
    QTest::newRow("main role writes raw_units") << true << "PCT";
    QTest::newRow("sensor role leaves raw_units") << false << "C";
    // clang-format on
}

void TestUnitsDialog::okInEachRole()
{
    QFETCH(bool, from_main);
    QFETCH(QString, raw_units_after);
    use_known_lists(*cfg);
    std::strcpy(cfg->raw_units, "C");
    std::strcpy(cfg->table_info.sensor_range_units, "C");
    units_opened_from_main = from_main ? 1 : 0;
    units_opened_from_sensor = from_main ? 0 : 1;
    const int result = run_picker([](TableValueUnitsDialog &picker) {
        choose(picker, 3, QStringLiteral("PCT"));
        click(picker, "btnOK");
    });
    // Both the acceptance and the role's write are done when exec returns.
    QCOMPARE(result, int(QDialog::Accepted));
    QCOMPARE(QString::fromLatin1(cfg->units_text), QStringLiteral("PCT"));
    QCOMPARE(QString::fromLatin1(cfg->raw_units), raw_units_after);
}

void TestUnitsDialog::categoryChangeThenOkLeavesNoUnit()
{
    use_known_lists(*cfg);
    std::strcpy(cfg->raw_units, "C");
    const int result = run_picker([](TableValueUnitsDialog &picker) {
        picker.findChild<QListWidget *>(QStringLiteral("lstUnitCategory"))->setCurrentRow(2);
        click(picker, "btnOK");
    });
    QCOMPARE(result, int(QDialog::Accepted));
    QCOMPARE(cfg->units_text[0], '\0');
    // In the main role the empty choice also reaches raw_units; the caller
    // logs the missing unit.
    QCOMPARE(cfg->raw_units[0], '\0');
}

void TestUnitsDialog::cancelLeavesRawUnits()
{
    use_known_lists(*cfg);
    std::strcpy(cfg->raw_units, "C");
    const int result = run_picker([](TableValueUnitsDialog &picker) {
        choose(picker, 1, QStringLiteral("KPA"));
        click(picker, "btnCancel");
    });
    QCOMPARE(result, int(QDialog::Rejected));
    QCOMPARE(QByteArray(cfg->raw_units), QByteArray("C"));
    QCOMPARE(QByteArray(cfg->units_text), QByteArray("KPA"));
}

void TestUnitsDialog::withoutHostListsAreEmpty()
{
    // A private root and cell name with no cell running: segment 43 is
    // absent.
    SimCell cell;
    std::strcpy(cfg->raw_units, "C");
    int category = -1;
    int index = -1;
    init_units_lists(cfg, &category, &index);
    QCOMPARE(cfg->units_lists_loaded, static_cast<uint16_t>(1));
    for (int c = 0; c < 4; ++c) {
        QCOMPARE(cfg->unit_counts[c], static_cast<int16_t>(1));
        QCOMPARE(QByteArray(cfg->unit_names[c][0]), QByteArray(" <empty>"));
    }
    QCOMPARE(QByteArray(cfg->unit_category_names[0]), QByteArray("Temperature"));
    QCOMPARE(QByteArray(cfg->unit_category_names[3]), QByteArray("Other"));
    QCOMPARE(category, 0);
    QCOMPARE(index, 0);
    QCOMPARE(cfg->units_text[0], '\0');
    const QString log = cell.hostLog();
    QVERIFY2(log.contains(QStringLiteral("tablevalueunitsdialog:")), qPrintable(log));
    QVERIFY2(
        log.contains(QStringLiteral(
            "code 41 Unable to link to Units shared memory.|The Units list will be unavailable")),
        qPrintable(log));

    // The picker still opens, and the only choice is the empty entry.
    {
        TableValueUnitsDialog picker(nullptr);
        auto *types = picker.findChild<QListWidget *>(QStringLiteral("lstUnitType"));
        QCOMPARE(list_texts(types), QStringList({" <empty>"}));
        QCOMPARE(QByteArray(cfg->units_text), QByteArray(" <empty>"));
    }

    // A failed link is not tried again in the run, even once the host is up.
    QVERIFY2(cell.start({"--tick", "50"}), qPrintable(cell.lastOutput()));
    init_units_lists(cfg, &category, &index);
    QCOMPARE(cfg->unit_counts[0], static_cast<int16_t>(1));
    QCOMPARE(QByteArray(cfg->unit_names[0][0]), QByteArray(" <empty>"));
    QCOMPARE(cell.hostLog().count(QStringLiteral("code 41 ")), 1);
}

void TestUnitsDialog::hostSegmentIsSorted()
{
    SimCell cell;
    QVERIFY2(cell.start({"--tick", "50"}), qPrintable(cell.lastOutput()));
    std::strcpy(cfg->raw_units, "BAR");
    cfg->units_for_table = 1;
    int category = -1;
    int index = -1;
    init_units_lists(cfg, &category, &index);
    QCOMPARE(category, 1);
    QCOMPARE(index, 2);
    QCOMPARE(category_list(*cfg, 0), QStringList({"C", "F", "K", "R"}));
    QCOMPARE(category_list(*cfg, 1),
             QStringList({"KPA", "PA", "BAR", "MBAR", "PSI", "INHG", "INH2O", "MMHG", "ATM"}));
    QCOMPARE(category_list(*cfg, 2), QStringList({"MS", "SEC", "MIN", "HR"}));
    const QStringList other = category_list(*cfg, 3);
    QCOMPARE(other.mid(0, 4), QStringList({"MV", "V", "FRAC", "PCT"}));
    QVERIFY(other.contains(QStringLiteral("KG/HR")) && other.contains(QStringLiteral("L/MIN")));

    // Every unit of the host's table is in exactly one list, and each list
    // entry is the name inside the segment itself, not a copy.
    int table_count = 0;
    orvane_unit_table(&table_count);
    QCOMPARE(cfg->unit_counts[0] + cfg->unit_counts[1] + cfg->unit_counts[2] + cfg->unit_counts[3],
             table_count);
    const auto *segment = static_cast<const orv_unit_record *>(get_shrd_mem(ORV_SEG_UNITS, 0));
    QVERIFY(segment);
    QCOMPARE(cfg->unit_names[0][0], static_cast<const char *>(segment[0].name));
    QCOMPARE(cfg->unit_names[2][0], static_cast<const char *>(segment[table_count - 4].name));
    QCOMPARE(cell.hostLog().count(QStringLiteral("code 41 ")), 0);

    // What a technician sees when the main window's button opens it on BAR.
    TableValueUnitsDialog picker(nullptr);
    QCOMPARE(QByteArray(cfg->units_text), QByteArray("BAR"));
    picker.show();
    QVERIFY(QTest::qWaitForWindowExposed(&picker));
    const QString dir = QStringLiteral(VREL_BIN_DIR "/../screenshots");
    QDir().mkpath(dir);
    QVERIFY(picker.grab().save(dir + QStringLiteral("/tablevalueunitsdialog.png")));
    picker.close();
}

QTEST_MAIN(TestUnitsDialog)
#include "tst_unitsdialog.moc"
