// The table information dialog: its form and filling, the check of the
// sensor range and its messages, what OK writes and in which cases it
// writes nothing, Cancel, the forced opening and the sensor units button.
#include "dialoganswerer.h"
#include "simcell.h"
#include "warningguard.h"

#include "configdialog2.h"
#include "sensor_range.h"
#include "tablevalueunitsdialog.h"
#include "vrel_cfg.h"

#include <QComboBox>
#include <QDir>
#include <QDoubleValidator>
#include <QGridLayout>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMouseEvent>
#include <QPushButton>
#include <QtTest>

#include <cmath>
#include <cstring>
#include <ctime>
#include <functional>
#include <limits>
#include <memory>

namespace
{

const char kClearing[] = "Changes may affect the calibration.\n\nCalibration data will be cleared.";
const char kChangesLost[] = "Changes made to the Calibration Configuration will be lost.";
const char kLimitsTitle[] = "Invalid Sensor Range Limit VALUES";
const char kUnitsTitle[] = "Invalid Sensor Range UNITS";

// 5 March 2024, noon, local time.
std::time_t calibration_day()
{
    std::tm day{};
    day.tm_year = 124;
    day.tm_mon = 2;
    day.tm_mday = 5;
    day.tm_hour = 12;
    day.tm_isdst = -1;
    return std::mktime(&day);
}

// A channel whose table information is complete and consistent: a 0..100 C
// sensor on a C table.
void fill_record(VREL_CFG &record)
{
    TableInfo &info = record.table_info;
    std::strcpy(info.tbl_units, "C");
    std::strcpy(record.raw_units, "C");
    std::strcpy(info.sensor_range_units, "C");
    info.sensor_range_lower_limit = 0.0;
    info.sensor_range_upper_limit = 100.0;
    std::strcpy(info.sensor_model, "Acme");
    std::strcpy(info.sensor_sn, "SN-4411");
    std::strcpy(info.tbl_desc, "Cell air temperature");
    std::strcpy(record.uut_model, "TX-100");
    std::strcpy(record.uut_cal_type, "RTD");
    std::strcpy(record.uut_mte, "MTE-7");
    std::strcpy(info.working_standard, "QIE-0042");
    std::strcpy(info.technician, "J Rivera");
    std::strcpy(info.mua_instance_name, "none");
    info.last_cal = static_cast<int64_t>(calibration_day());
    info.min_range = -10.0;
    info.max_range = 110.0;
    record.long_table.count = 7;
}

template <class T> T *child(QObject &parent, const QString &name)
{
    return parent.findChild<T *>(name);
}

QLineEdit *field(QObject &dialog, const QString &name)
{
    return child<QLineEdit>(dialog, name);
}

QPushButton *button(QObject &dialog, const char *name)
{
    return child<QPushButton>(dialog, QLatin1String(name));
}

QByteArray record_bytes(const VREL_CFG *record)
{
    return QByteArray(reinterpret_cast<const char *>(record), sizeof(VREL_CFG));
}

// Sets a field of the form by its object name: a line edit's text, the
// units button's text, or the cal type's current index (given as a number).
void set_entry(ConfigDialog2 &dialog, const QString &name, const QString &value)
{
    if (auto *edit = field(dialog, name))
        edit->setText(value);
    else if (name == QLatin1String("btnSensorUnits"))
        button(dialog, "btnSensorUnits")->setText(value);
    else if (name == QLatin1String("cboUUTCalType"))
        child<QComboBox>(dialog, name)->setCurrentIndex(value.toInt());
    else
        QFAIL(qPrintable(QStringLiteral("no field ") + name));
}

// Works on the units picker once it is the active modal window.
class PickerDriver : public QObject
{
  public:
    explicit PickerDriver(std::function<void(QDialog &)> act) : act_(std::move(act))
    {
        timer_.setInterval(10);
        connect(&timer_, &QTimer::timeout, this, [this] {
            auto *picker = qobject_cast<TableValueUnitsDialog *>(QApplication::activeModalWidget());
            if (!picker || !picker->isVisible())
                return;
            timer_.stop();
            done = true;
            act_(*picker);
        });
        timer_.start();
    }
    bool done = false;

  private:
    QTimer timer_;
    std::function<void(QDialog &)> act_;
};

void pick_unit(QDialog &picker, int category, const QString &unit)
{
    child<QListWidget>(picker, QStringLiteral("lstUnitCategory"))->setCurrentRow(category);
    auto *types = child<QListWidget>(picker, QStringLiteral("lstUnitType"));
    const QList<QListWidgetItem *> found = types->findItems(unit, Qt::MatchExactly);
    if (!found.isEmpty())
        types->setCurrentItem(found.first());
    button(picker, "btnOK")->click();
}

} // namespace

class TestConfigDialog2 : public QObject
{
    Q_OBJECT
  private slots:
    void initTestCase();
    void cleanupTestCase();
    void init();
    void cleanup();

    void checkSensorRange_data();
    void checkSensorRange();
    void form();
    void labels_data();
    void labels();
    void filledFromRecord_data();
    void filledFromRecord();
    void openingSideEffects();
    void calTypeFromRecord_data();
    void calTypeFromRecord();
    void openingReason_data();
    void openingReason();
    void okRefusesBadRange_data();
    void okRefusesBadRange();
    void okRefusesMissingField_data();
    void okRefusesMissingField();
    void okStoresEntry();
    void okReportsChanges_data();
    void okReportsChanges();
    void okUsesRecordForTolerances();
    void okRescalesTableRange();
    void cancel_data();
    void cancel();
    void dialogTolerance_data();
    void dialogTolerance();
    void dialogBias_data();
    void dialogBias();
    void sensorUnitsWrittenAtOnce();
    void sensorUnitsNotChosen_data();
    void sensorUnitsNotChosen();
    void touchStation_data();
    void touchStation();
    void screenshot();

  private:
    std::unique_ptr<VREL_CFG> record_;
    SimCell *cell_ = nullptr;
};

void TestConfigDialog2::initTestCase()
{
    record_.reset(new VREL_CFG());
    cell_ = new SimCell;
    QVERIFY2(cell_->start({"--tick", "50"}), qPrintable(cell_->lastOutput()));
}

void TestConfigDialog2::cleanupTestCase()
{
    delete cell_;
    cell_ = nullptr;
}

void TestConfigDialog2::init()
{
    std::memset(static_cast<void *>(record_.get()), 0, sizeof(VREL_CFG));
    cfg = record_.get();
    fill_record(*cfg);
    init_tolerance_texts();
    touch_screen = 0;
    num_points = 0;
    selected_mua_index = 0;
}

void TestConfigDialog2::cleanup()
{
    touch_screen = 0;
    cfg = nullptr;
    const QWidgetList tops = QApplication::topLevelWidgets();
    QVERIFY(std::none_of(tops.begin(), tops.end(), [](QWidget *w) { return w->isVisible(); }));
}

void TestConfigDialog2::checkSensorRange_data()
{
    // clang-format off
    QTest::addColumn<QString>("lower");
    QTest::addColumn<QString>("upper");
    QTest::addColumn<QByteArray>("units");
    QTest::addColumn<QByteArray>("tbl_units");
    QTest::addColumn<int>("status");
    QTest::newRow("good range") << "0" << "100" << QByteArray("C") << QByteArray("C") << 0;
    QTest::newRow("limits as the form shows them") << "  -10.00" << "  100.00" << QByteArray("F")
        << QByteArray("C") << 0;
    QTest::newRow("lower above upper") << "100" << "0" << QByteArray("C") << QByteArray("C") << 1;
    QTest::newRow("5 and abc: upper reads 0") << "5" << "abc" << QByteArray("C") << QByteArray("C")
        << 1;
    QTest::newRow("limits equal") << "50" << "50.000" << QByteArray("C") << QByteArray("C") << 2;
    QTest::newRow("abc and def both read 0") << "abc" << "def" << QByteArray("C") << QByteArray("C")
        << 2;
    QTest::newRow("nan lower") << "nan" << "100" << QByteArray("C") << QByteArray("C") << 3;
    QTest::newRow("nan upper") << "0" << "nan" << QByteArray("C") << QByteArray("C") << 3;
    QTest::newRow("banana and 0: the comparisons come first")
        << "banana" << "0" << QByteArray("C") << QByteArray("C") << 2;
    QTest::newRow("5 and nano: upper reads 0")
        << "5" << "nano" << QByteArray("C") << QByteArray("C") << 1;
    QTest::newRow("-5 and nano: nan before no number")
        << "-5" << "nano" << QByteArray("C") << QByteArray("C") << 3;
    QTest::newRow("NaN passes to the units: empty") << "NaN" << "100" << QByteArray()
        << QByteArray("C") << 5;
    QTest::newRow("NaN passes to the units: accepted") << "NaN" << "100" << QByteArray("C")
        << QByteArray("C") << 0;
    QTest::newRow("upper is no number") << "-5" << "abc" << QByteArray("C") << QByteArray("C") << 4;
    QTest::newRow("lower is no number") << "1x" << "10" << QByteArray("C") << QByteArray("C") << 4;
    QTest::newRow("units empty") << "0" << "100" << QByteArray() << QByteArray("C") << 5;
    QTest::newRow("units none") << "0" << "100" << QByteArray("none") << QByteArray("C") << 6;
    QTest::newRow("units NONE") << "0" << "100" << QByteArray("NONE") << QByteArray("C") << 6;
    QTest::newRow("none inside a longer name") << "0" << "100" << QByteArray("DEGNoneX")
        << QByteArray("C") << 6;
    QTest::newRow("units of another dimension") << "0" << "100" << QByteArray("KPA")
        << QByteArray("C") << 7;
    QTest::newRow("units unknown") << "0" << "100" << QByteArray("FURLONG") << QByteArray("C") << 7;
    QTest::newRow("table units unknown") << "0" << "100" << QByteArray("C") << QByteArray("") << 7;
    // clang-format on
}

void TestConfigDialog2::checkSensorRange()
{
    QFETCH(QString, lower);
    QFETCH(QString, upper);
    QFETCH(QByteArray, units);
    QFETCH(QByteArray, tbl_units);
    QFETCH(int, status);
    QCOMPARE(check_sensor_range(lower, upper, units, tbl_units.constData()), status);
}

void TestConfigDialog2::form()
{
    WarningGuard warnings;
    ConfigDialog2 dialog(nullptr, false, 0);
    QVERIFY2(warnings.warnings(QStringLiteral("connectSlotsByName")).isEmpty(),
             qPrintable(warnings.warnings().join('\n')));
    QCOMPARE(dialog.size(), QSize(902, 748));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Sensiva Calibration Configuration"));
    QCOMPARE(dialog.windowFlags() &
                 (Qt::WindowTitleHint | Qt::CustomizeWindowHint | Qt::WindowCloseButtonHint),
             Qt::WindowTitleHint | Qt::CustomizeWindowHint);
    const QPalette palette = dialog.palette();
    const QColor cream(255, 252, 239);
    for (QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
        QCOMPARE(palette.color(group, QPalette::Window), cream);
    QCOMPARE(palette.color(QPalette::Disabled, QPalette::Base), cream);

    auto *cal_type = child<QComboBox>(dialog, QStringLiteral("cboUUTCalType"));
    QVERIFY(cal_type);
    QStringList options;
    for (int i = 0; i < cal_type->count(); ++i)
        options << cal_type->itemText(i);
    QCOMPARE(options, QStringList({"Temperature K", "Temperature J", "Temperature E", "RTD",
                                   "Gauge", "Absolute"}));

    QCOMPARE(child<QGroupBox>(dialog, QStringLiteral("groupBox"))->title(),
             QStringLiteral("Sensor Information"));
    QCOMPARE(child<QGroupBox>(dialog, QStringLiteral("groupBox_2"))->title(),
             QStringLiteral("Calibration Information"));
    auto *mua_group = child<QGroupBox>(dialog, QStringLiteral("groupBox_3"));
    QVERIFY(mua_group &&
            mua_group->isAncestorOf(child<QLabel>(dialog, QStringLiteral("lblMUAInstanceName_2"))));
    for (const char *name : {"lblOOABias", "lblOOATolerance", "lblOOTBias", "lblOOTTolerance",
                             "lblSOOTBias", "lblSOOTTolerance"})
        QCOMPARE(child<QLabel>(dialog, QLatin1String(name))->frameShape(), QFrame::Box);
    // "Tolerance" heads the left column, "Bias" the right, each over its
    // band's label.
    auto *grid = qobject_cast<QGridLayout *>(
        child<QGroupBox>(dialog, QStringLiteral("groupBox_2"))->layout());
    QVERIFY(grid);
    const auto column_of = [&](const char *name) {
        int row = 0, column = -1, row_span = 0, column_span = 0;
        grid->getItemPosition(grid->indexOf(child<QWidget>(dialog, QLatin1String(name))), &row,
                              &column, &row_span, &column_span);
        return column;
    };
    QVERIFY(column_of("lblTech_6") < column_of("lblTech_5"));
    QCOMPARE(column_of("lblOOATolerance"), column_of("lblTech_6"));
    QCOMPARE(column_of("lblSOOTBias"), column_of("lblTech_5"));
    QCOMPARE(button(dialog, "btnOk")->text(), QStringLiteral("OK"));
    QCOMPARE(button(dialog, "btnCancel")->text(), QStringLiteral("Cancel"));
}

void TestConfigDialog2::labels_data()
{
    // clang-format off
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    const char *const rows[][2] = {
        {"lblUUTMfgModel", "UUT Manufacturer:"},
        {"lblUUTModel", "UUT Model:"},
        {"lblSerialNumber", "UUT Serial Number:"},
        {"lblDescription", "Description:"},
        {"lblUUTCalType", "UUT Cal Type:"},
        {"lblUUTMTE", "UUT M&TE:"},
        {"lblLowerRangeLimit", "Lower Range Limit:"},
        {"lblUpperRangeLimit", "Upper Range Limit:"},
        {"lblSensorUnits", "Sensor Units:"},
        {"lblMUAInstanceName", "MUA Instance Name:"},
        {"lblQIE", "QIE:"},
        {"lblTech", "Tech:"},
        {"lblDate", "Date:"},
        {"lblCalibrationUnits", "Calibration Units:"},
        {"lblMinimum", "Minimum:"},
        {"lblMaximum", "Maximum:"},
        {"lblTech_6", "Tolerance"},
        {"lblTech_5", "Bias"},
        {"label", "Active Cal Info:"},
        {"lblOOA", "Out of Adjustment (OOA):"},
        {"lblOOT", "Out of Tolerance (OOT):"},
        {"lblSOOT", "Significantly OOT (SOOT):"},
    };
    for (const auto &row : rows)
        QTest::newRow(row[0]) << QString::fromLatin1(row[0]) << QString::fromLatin1(row[1]);
    // clang-format on
}

void TestConfigDialog2::labels()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    ConfigDialog2 dialog(nullptr, false, 0);
    auto *label = child<QLabel>(dialog, name);
    QVERIFY2(label, qPrintable(name));
    QCOMPARE(label->text(), text);
}

void TestConfigDialog2::filledFromRecord_data()
{
    // clang-format off
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    char date[24] = {};
    const std::time_t day = calibration_day();
    std::strftime(date, sizeof date, "%m/%d/%y", std::localtime(&day));
    const QString rows[][2] = {
        {"txtUUTMfg", "Acme"},
        {"txtUUTModel", "TX-100"},
        {"txtUUTSerialNumber", "SN-4411"},
        {"txtDescription", "Cell air temperature"},
        {"txtUUT_MTE", "MTE-7"},
        {"txtLowerRangeLimit", "    0.00"},
        {"txtUpperRangeLimit", "  100.00"},
        {"btnSensorUnits", "C"},
        {"lblMUAInstanceName_2", "none"},
        {"lblOOABias", "0[PCT]"},
        {"lblOOATolerance", ".25[PCT]"},
        {"lblOOTBias", "0[PCT]"},
        {"lblOOTTolerance", "1[PCT]"},
        {"lblSOOTBias", "0[PCT]"},
        {"lblSOOTTolerance", "2[PCT]"},
        {"lblQIEText", "QIE-0042"},
        {"lblTechText", "J Rivera"},
        {"lblDateText", QString::fromLatin1(date)},
        {"lblCalibrationUnitsText", "K"},
        // -10 and 110 K shown in raw_units, F.
        {"lblMinimumText", " -477.67"},
        {"lblMaximumText", " -261.67"},
    };
    for (const auto &row : rows)
        QTest::newRow(qPrintable(row[0])) << row[0] << row[1];
    // clang-format on
}

void TestConfigDialog2::filledFromRecord()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    std::strcpy(cfg->table_info.tbl_units, "K");
    std::strcpy(cfg->raw_units, "F");
    ConfigDialog2 dialog(nullptr, false, 0);
    QObject *widget = dialog.findChild<QObject *>(name);
    QVERIFY2(widget, qPrintable(name));
    QCOMPARE(widget->property("text").toString(), text);
}

void TestConfigDialog2::openingSideEffects()
{
    cfg->unrecorded_changes = 1;
    std::strcpy(cfg->uut_mfg, "old maker");
    ConfigDialog2 dialog(nullptr, false, 0);
    QCOMPARE(cfg->unrecorded_changes, static_cast<uint16_t>(0));
    QCOMPARE(QByteArray(cfg->uut_mfg), QByteArray("Acme"));
    QCOMPARE(QByteArray(cfg->uut_sn), QByteArray("SN-4411"));
    QCOMPARE(QByteArray(cfg->uut_description), QByteArray("Cell air temperature"));
    QCOMPARE(num_points, static_cast<int16_t>(7));
    QCOMPARE(dialog.range_status(), 0);
    dialog.set_range_status(6);
    QCOMPARE(dialog.range_status(), 6);
}

void TestConfigDialog2::calTypeFromRecord_data()
{
    // clang-format off
    QTest::addColumn<QByteArray>("stored");
    QTest::addColumn<int>("index");
    QTest::newRow("first option") << QByteArray("Temperature K") << 0;
    QTest::newRow("RTD") << QByteArray("RTD") << 3;
    QTest::newRow("last option") << QByteArray("Absolute") << 5;
    QTest::newRow("not an option") << QByteArray("Thermocouple") << -1;
    QTest::newRow("case differs") << QByteArray("rtd") << -1;
    QTest::newRow("nothing stored") << QByteArray() << -1;
    // clang-format on
}

void TestConfigDialog2::calTypeFromRecord()
{
    QFETCH(QByteArray, stored);
    QFETCH(int, index);
    std::strcpy(cfg->uut_cal_type, stored.constData());
    ConfigDialog2 dialog(nullptr, false, 0);
    QCOMPARE(child<QComboBox>(dialog, QStringLiteral("cboUUTCalType"))->currentIndex(), index);
}

void TestConfigDialog2::openingReason_data()
{
    // clang-format off
    QTest::addColumn<bool>("show_reason");
    QTest::addColumn<int>("reason");
    QTest::addColumn<QString>("text");
    const QString press = QStringLiteral("\n\nPress OK to update Table Information");
    QTest::newRow("1 lower above upper") << true << 1
        << "The Sensor Lower Range Value is greater than the Upper Range Value." + press;
    QTest::newRow("2 limits the same") << true << 2
        << "The Sensor Lower and Upper Range Values are the same." + press;
    QTest::newRow("3 limit NaN") << true << 3
        << "The Sensor Lower and Upper Range Values are INVALID and need to be updated." + press;
    QTest::newRow("5 units missing") << true << 5
        << "The Sensor Range Units must be specified." + press;
    QTest::newRow("6 units none") << true << 6
        << "The Sensor Range Units = NONE and need to be updated." + press;
    QTest::newRow("7 units unfit") << true << 7
        << "The Sensor Range Units (KPA) are not compatible with the table units (C)." + press;
    QTest::newRow("8 UUT missing") << true << 8 << "UUT Information is missing" + press;
    QTest::newRow("4 has no message") << true << 4 << QString();
    QTest::newRow("0 has no message") << true << 0 << QString();
    QTest::newRow("menu route shows no reason") << false << 1 << QString();
    // clang-format on
}

void TestConfigDialog2::openingReason()
{
    QFETCH(bool, show_reason);
    QFETCH(int, reason);
    QFETCH(QString, text);
    std::strcpy(cfg->table_info.sensor_range_units, "KPA");
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    ConfigDialog2 dialog(nullptr, show_reason, reason);
    QCOMPARE(dialog.range_status(), reason);
    if (text.isEmpty()) {
        QVERIFY(answerer.seen().isEmpty());
        return;
    }
    QCOMPARE(answerer.seen().size(), 1);
    const DialogAnswerer::Seen &seen = answerer.seen().first();
    QCOMPARE(seen.title, QStringLiteral("Update Data"));
    QCOMPARE(seen.text, text);
    QCOMPARE(seen.buttons, QStringList({"OK"}));
    // The message comes before the form.
    QVERIFY(!dialog.isVisible());
}

void TestConfigDialog2::okRefusesBadRange_data()
{
    // clang-format off
    QTest::addColumn<QString>("lower");
    QTest::addColumn<QString>("upper");
    QTest::addColumn<QString>("units");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("title");
    QTest::addColumn<QString>("text");
    const QString reenter = QStringLiteral("\n\nPlease reenter the Limit Values.");
    const QString reselect = QStringLiteral("\n\nPlease reselect the Sensor Range Units.");
    QTest::newRow("1 lower above upper") << "5" << "abc" << "C" << 1 << kLimitsTitle
        << "The entered value for the Sensor Range Lower Limit cannot be more than "
           "the Sensor Range Upper Limit value" + reenter;
    QTest::newRow("2 limits the same") << "abc" << "def" << "C" << 2 << kLimitsTitle
        << "The Sensor Range Lower and Upper Limit Values cannot be the same" + reenter;
    QTest::newRow("3 NaN") << "nan" << "100" << "C" << 3 << kLimitsTitle
        << "NAN is not an acceptable value for the Sensor Range Lower or Upper Limit "
           "Values" + reenter;
    QTest::newRow("4 no number") << "-5" << "1e" << "C" << 4 << kLimitsTitle
        << "Invalid data was entered for the Sensor Range Lower or Upper Limit Values\n\n"
           "Please reenter the Limit Values";
    QTest::newRow("5 units missing") << "0" << "50" << "" << 5 << kUnitsTitle
        << "The Sensor Range Units must be specified" + reselect;
    QTest::newRow("6 units none") << "0" << "50" << "Nonesuch" << 6 << kUnitsTitle
        << "The Sensor Range Units cannot be NONE" + reselect;
    QTest::newRow("7 units unfit") << "0" << "50" << "PSI" << 7 << kUnitsTitle
        << "The Sensor Range Units (PSI) are not compatible with the table units (C)." + reselect;
    // clang-format on
}

void TestConfigDialog2::okRefusesBadRange()
{
    QFETCH(QString, lower);
    QFETCH(QString, upper);
    QFETCH(QString, units);
    QFETCH(int, status);
    QFETCH(QString, title);
    QFETCH(QString, text);
    ConfigDialog2 dialog(nullptr, false, 0);
    set_entry(dialog, QStringLiteral("txtUUTModel"), QStringLiteral("TX-200"));
    set_entry(dialog, QStringLiteral("txtLowerRangeLimit"), lower);
    set_entry(dialog, QStringLiteral("txtUpperRangeLimit"), upper);
    set_entry(dialog, QStringLiteral("btnSensorUnits"), units);
    const QByteArray before = record_bytes(cfg);
    QSignalSpy accepted(&dialog, &QDialog::accepted);

    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    button(dialog, "btnOk")->click();

    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, title);
    QCOMPARE(answerer.seen().first().text, text);
    QCOMPARE(answerer.seen().first().buttons, QStringList({"OK"}));
    QCOMPARE(dialog.range_status(), status);
    QCOMPARE(accepted.count(), 0);
    QVERIFY2(record_bytes(cfg) == before, "a refused entry wrote to the record");
    // The refused group is put back from the record, the other stays.
    const bool limits = status <= 4;
    QCOMPARE(field(dialog, QStringLiteral("txtLowerRangeLimit"))->text(),
             limits ? QStringLiteral("    0.00") : lower);
    QCOMPARE(field(dialog, QStringLiteral("txtUpperRangeLimit"))->text(),
             limits ? QStringLiteral("  100.00") : upper);
    QCOMPARE(button(dialog, "btnSensorUnits")->text(), limits ? units : QStringLiteral("C"));
    QCOMPARE(field(dialog, QStringLiteral("txtUUTModel"))->text(), QStringLiteral("TX-200"));
}

void TestConfigDialog2::okRefusesMissingField_data()
{
    // clang-format off
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::newRow("manufacturer") << "txtUUTMfg" << "";
    QTest::newRow("model") << "txtUUTModel" << "";
    QTest::newRow("serial number") << "txtUUTSerialNumber" << "";
    QTest::newRow("description") << "txtDescription" << "";
    QTest::newRow("cal type") << "cboUUTCalType" << "-1";
    QTest::newRow("M&TE") << "txtUUT_MTE" << "";
    // clang-format on
}

void TestConfigDialog2::okRefusesMissingField()
{
    QFETCH(QString, name);
    QFETCH(QString, value);
    ConfigDialog2 dialog(nullptr, false, 0);
    set_entry(dialog, name, value);
    // A range that would be refused too: presence is checked first.
    set_entry(dialog, QStringLiteral("txtLowerRangeLimit"), QStringLiteral("500"));
    const QByteArray before = record_bytes(cfg);
    QSignalSpy accepted(&dialog, &QDialog::accepted);
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    button(dialog, "btnOk")->click();
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, QStringLiteral("Data Missing In Fields"));
    QCOMPARE(answerer.seen().first().text,
             QStringLiteral("Make sure all fields in the screen contain data\n\n"));
    QCOMPARE(accepted.count(), 0);
    QVERIFY2(record_bytes(cfg) == before, "a refused entry wrote to the record");
    QCOMPARE(field(dialog, QStringLiteral("txtLowerRangeLimit"))->text(), QStringLiteral("500"));
}

void TestConfigDialog2::okStoresEntry()
{
    std::strcpy(cfg->table_info.mua_instance_name, "  none  ");
    ConfigDialog2 dialog(nullptr, false, 0);
    set_entry(dialog, QStringLiteral("txtUUTMfg"), QStringLiteral("  Sensiva Instruments "));
    set_entry(dialog, QStringLiteral("txtUUTModel"), QStringLiteral("PT-9"));
    set_entry(dialog, QStringLiteral("txtUUTSerialNumber"), QStringLiteral(" 77-A"));
    set_entry(dialog, QStringLiteral("txtDescription"), QStringLiteral("Oil gallery "));
    set_entry(dialog, QStringLiteral("cboUUTCalType"), QStringLiteral("4"));
    set_entry(dialog, QStringLiteral("txtUUT_MTE"), QStringLiteral("MTE-9"));
    set_entry(dialog, QStringLiteral("txtLowerRangeLimit"), QStringLiteral("-40"));
    set_entry(dialog, QStringLiteral("txtUpperRangeLimit"), QStringLiteral("150.5"));
    set_entry(dialog, QStringLiteral("btnSensorUnits"), QStringLiteral("F"));
    QSignalSpy accepted(&dialog, &QDialog::accepted);
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    button(dialog, "btnOk")->click();

    QCOMPARE(accepted.count(), 1);
    QCOMPARE(dialog.range_status(), 0);
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, QStringLiteral("Clearing Calibration Data"));
    QCOMPARE(answerer.seen().first().text, QString::fromLatin1(kClearing));
    QCOMPARE(answerer.seen().first().buttons, QStringList({"OK"}));
    QCOMPARE(cfg->unrecorded_changes, static_cast<uint16_t>(1));

    const TableInfo &info = cfg->table_info;
    QCOMPARE(QByteArray(info.sensor_model), QByteArray("Sensiva Instruments"));
    QCOMPARE(QByteArray(cfg->uut_mfg), QByteArray("  Sensiva Instruments "));
    QCOMPARE(QByteArray(cfg->uut_model), QByteArray("PT-9"));
    QCOMPARE(QByteArray(info.sensor_sn), QByteArray("77-A"));
    QCOMPARE(QByteArray(cfg->uut_sn), QByteArray(" 77-A"));
    QCOMPARE(QByteArray(info.tbl_desc), QByteArray("Oil gallery"));
    QCOMPARE(QByteArray(cfg->uut_description), QByteArray("Oil gallery "));
    QCOMPARE(QByteArray(cfg->uut_cal_type), QByteArray("Gauge"));
    QCOMPARE(QByteArray(cfg->uut_mte), QByteArray("MTE-9"));
    QCOMPARE(info.sensor_range_lower_limit, -40.0);
    QCOMPARE(info.sensor_range_upper_limit, 150.5);
    QCOMPARE(cfg->uut_full_scale, 150.5);
    QCOMPARE(QByteArray(info.sensor_range_units), QByteArray("F"));
    QCOMPARE(QByteArray(cfg->uut_full_scale_units), QByteArray("F"));
    QCOMPARE(QByteArray(info.mua_instance_name), QByteArray("none"));
    // The tolerances of the span as it stood, 100 C.
    QCOMPARE(info.no_adjust_tol, 0.25);
    QCOMPARE(info.oot_tol, 1.0);
    QCOMPARE(info.soot_tol, 2.0);
    QCOMPARE(info.no_adjust_bias, 0.0);
    QCOMPARE(info.oot_bias, 0.0);
    QCOMPARE(info.soot_bias, 0.0);
    QCOMPARE(cfg->uut_error_limit, 1.0);
    QCOMPARE(QByteArray(cfg->uut_error_limit_units), QByteArray("PCT"));
    // raw_units and tbl_units agree, so the table's range stays.
    QCOMPARE(info.min_range, -10.0);
    QCOMPARE(info.max_range, 110.0);
}

void TestConfigDialog2::okReportsChanges_data()
{
    // clang-format off
    QTest::addColumn<double>("stored_lower");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("message");
    QTest::addColumn<int>("unrecorded");
    QTest::addColumn<double>("lower_after");
    QTest::newRow("nothing changed") << 0.0 << "" << "" << false << 0 << 0.0;
    QTest::newRow("model only") << 0.0 << "txtUUTModel" << "TX-101" << true << 0 << 0.0;
    QTest::newRow("cal type only") << 0.0 << "cboUUTCalType" << "5" << true << 0 << 0.0;
    QTest::newRow("M&TE only") << 0.0 << "txtUUT_MTE" << "MTE-8" << true << 0 << 0.0;
    QTest::newRow("manufacturer") << 0.0 << "txtUUTMfg" << "Other" << true << 1 << 0.0;
    QTest::newRow("serial number") << 0.0 << "txtUUTSerialNumber" << "SN-1" << true << 1 << 0.0;
    QTest::newRow("description") << 0.0 << "txtDescription" << "Fuel" << true << 1 << 0.0;
    QTest::newRow("units") << 0.0 << "btnSensorUnits" << "K" << true << 1 << 0.0;
    QTest::newRow("upper limit") << 0.0 << "txtUpperRangeLimit" << "120" << true << 1 << 0.0;
    QTest::newRow("lower limit") << 0.0 << "txtLowerRangeLimit" << "-1" << true << 1 << -1.0;
    QTest::newRow("lower within 1e-6 is no change") << 0.0 << "txtLowerRangeLimit" << "0.0000005"
        << false << 0 << 0.0000005;
    QTest::newRow("more than two decimals stored") << 1.234 << "" << "" << true << 1 << 1.23;
    // clang-format on
}

void TestConfigDialog2::okReportsChanges()
{
    QFETCH(double, stored_lower);
    QFETCH(QString, name);
    QFETCH(QString, value);
    QFETCH(bool, message);
    QFETCH(int, unrecorded);
    QFETCH(double, lower_after);
    cfg->table_info.sensor_range_lower_limit = stored_lower;
    ConfigDialog2 dialog(nullptr, false, 0);
    if (!name.isEmpty())
        set_entry(dialog, name, value);
    QSignalSpy accepted(&dialog, &QDialog::accepted);
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    button(dialog, "btnOk")->click();
    QCOMPARE(accepted.count(), 1);
    QCOMPARE(answerer.seen().size(), message ? 1 : 0);
    if (message)
        QCOMPARE(answerer.seen().first().title, QStringLiteral("Clearing Calibration Data"));
    QCOMPARE(int(cfg->unrecorded_changes), unrecorded);
    QCOMPARE(cfg->table_info.sensor_range_lower_limit, lower_after);
}

void TestConfigDialog2::okUsesRecordForTolerances()
{
    // The new span (0..200 F) must not be used: the record is written after
    // the tolerances.
    ConfigDialog2 dialog(nullptr, false, 0);
    set_entry(dialog, QStringLiteral("txtUpperRangeLimit"), QStringLiteral("200"));
    set_entry(dialog, QStringLiteral("btnSensorUnits"), QStringLiteral("F"));
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    button(dialog, "btnOk")->click();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(cfg->table_info.no_adjust_tol, 0.25);
    QCOMPARE(cfg->table_info.soot_tol, 2.0);
    QCOMPARE(cfg->table_info.sensor_range_upper_limit, 200.0);
}

void TestConfigDialog2::okRescalesTableRange()
{
    // raw_units made F by an earlier units change on a C table: each OK
    // converts the range again.
    std::strcpy(cfg->raw_units, "F");
    cfg->table_info.min_range = 32.0;
    cfg->table_info.max_range = 212.0;
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    for (int pass = 0; pass < 2; ++pass) {
        ConfigDialog2 dialog(nullptr, false, 0);
        button(dialog, "btnOk")->click();
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
    }
    QVERIFY(answerer.seen().isEmpty());
    QVERIFY(std::fabs(cfg->table_info.min_range - (0.0 - 32.0) * 5.0 / 9.0) < 1e-9);
    QVERIFY(std::fabs(cfg->table_info.max_range - (100.0 - 32.0) * 5.0 / 9.0) < 1e-9);
}

void TestConfigDialog2::cancel_data()
{
    // clang-format off
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("message");
    QTest::newRow("nothing changed") << "" << "" << false;
    QTest::newRow("model changed") << "txtUUTModel" << "TX-101" << true;
    QTest::newRow("manufacturer changed") << "txtUUTMfg" << "Other" << true;
    QTest::newRow("units changed") << "btnSensorUnits" << "F" << true;
    QTest::newRow("upper limit changed") << "txtUpperRangeLimit" << "99" << true;
    // clang-format on
}

void TestConfigDialog2::cancel()
{
    QFETCH(QString, name);
    QFETCH(QString, value);
    QFETCH(bool, message);
    cfg->unrecorded_changes = 1;
    ConfigDialog2 dialog(nullptr, false, 0);
    if (!name.isEmpty())
        set_entry(dialog, name, value);
    const QByteArray before = record_bytes(cfg);
    QSignalSpy rejected(&dialog, &QDialog::rejected);
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    button(dialog, "btnCancel")->click();
    QCOMPARE(rejected.count(), 1);
    QCOMPARE(answerer.seen().size(), message ? 1 : 0);
    if (message) {
        QCOMPARE(answerer.seen().first().title, QStringLiteral("Changes Lost"));
        QCOMPARE(answerer.seen().first().text, QString::fromLatin1(kChangesLost));
        QCOMPARE(answerer.seen().first().buttons, QStringList({"OK"}));
    }
    QVERIFY2(record_bytes(cfg) == before, "Cancel wrote to the record");
    // The opening cleared it, and Cancel does not set it again.
    QCOMPARE(cfg->unrecorded_changes, static_cast<uint16_t>(0));
}

void TestConfigDialog2::dialogTolerance_data()
{
    // clang-format off
    QTest::addColumn<int>("band");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QByteArray>("tbl_units");
    QTest::addColumn<double>("tolerance");
    QTest::addColumn<QString>("warning");
    QTest::addColumn<int>("mua_index");
    const QString sensor_warning =
        QStringLiteral("Defaulting to the NONE MUA Instance Name and Tolerance values.\n\n"
                       "The tolerance units are not compatible with the sensor units.");
    const QString table_warning =
        QStringLiteral("Defaulting to the NONE MUA Instance Name and Tolerance values.\n\n"
                       "The tolerance units are not compatible with the calibration table units.");
    QTest::newRow("OOA reads its label") << 1 << "lblOOATolerance" << "0.5[PCT]" << QByteArray("C")
        << 0.5 << QString() << 5;
    QTest::newRow("OOT in sensor units") << 2 << "lblOOTTolerance" << "2[C]" << QByteArray("C")
        << 2.0 << QString() << 5;
    QTest::newRow("OOT converted to table units") << 2 << "lblOOTTolerance" << "300[K]"
        << QByteArray("C") << 26.85 << QString() << 5;
    QTest::newRow("SOOT reads its label") << 3 << "lblSOOTTolerance" << "3[PCT]" << QByteArray("C")
        << 3.0 << QString() << 5;
    QTest::newRow("band 0 is SOOT") << 0 << "lblSOOTTolerance" << "4[PCT]" << QByteArray("C") << 4.0
        << QString() << 5;
    QTest::newRow("band 9 is SOOT") << 9 << "lblSOOTTolerance" << "5[PCT]" << QByteArray("C") << 5.0
        << QString() << 5;
    // Sensor-units warning: the index is reset and the band's own text,
    // .25[PCT], gives the fraction.
    QTest::newRow("unit of neither kind") << 1 << "lblOOATolerance" << "1[KPA]" << QByteArray("C")
        << 0.25 << sensor_warning << 0;
    // Table-units warning: unlike the channel load, the index stays; the
    // label's text gives no fraction and its number stands.
    QTest::newRow("unit unfit for the table") << 2 << "lblOOTTolerance" << "1[F]"
        << QByteArray("KPA") << 100.0 << table_warning << 5;
    // clang-format on
}

void TestConfigDialog2::dialogTolerance()
{
    QFETCH(int, band);
    QFETCH(QString, label);
    QFETCH(QString, text);
    QFETCH(QByteArray, tbl_units);
    QFETCH(double, tolerance);
    QFETCH(QString, warning);
    QFETCH(int, mua_index);
    std::strcpy(cfg->table_info.tbl_units, tbl_units.constData());
    std::strcpy(cfg->raw_units, tbl_units.constData());
    ConfigDialog2 dialog(nullptr, false, 0);
    child<QLabel>(dialog, label)->setText(text);
    selected_mua_index = 5;
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    const double got = dialog.dialog_tolerance(band);
    QVERIFY2(std::fabs(got - tolerance) < 1e-9, qPrintable(QString::number(got, 'g', 17)));
    QCOMPARE(answerer.seen().size(), warning.isEmpty() ? 0 : 1);
    if (!warning.isEmpty()) {
        QCOMPARE(answerer.seen().first().title, QStringLiteral("Warning"));
        QCOMPARE(answerer.seen().first().text, warning);
    }
    QCOMPARE(int(selected_mua_index), mua_index);
}

void TestConfigDialog2::dialogBias_data()
{
    // clang-format off
    QTest::addColumn<int>("band");
    QTest::addColumn<QString>("label");
    QTest::addColumn<QString>("text");
    QTest::addColumn<double>("bias");
    QTest::newRow("OOA in sensor units") << 1 << "lblOOABias" << "2[C]" << 2.0;
    QTest::newRow("OOT converted to sensor units") << 2 << "lblOOTBias" << "212[F]" << 100.0;
    QTest::newRow("SOOT fraction not scaled by the span") << 3 << "lblSOOTBias" << "50[PCT]" << 0.5;
    QTest::newRow("band 7 is SOOT") << 7 << "lblSOOTBias" << "1[C]" << 1.0;
    QTest::newRow("unit of neither kind stays silent") << 1 << "lblOOABias" << "3[KPA]" << 3.0;
    // clang-format on
}

void TestConfigDialog2::dialogBias()
{
    QFETCH(int, band);
    QFETCH(QString, label);
    QFETCH(QString, text);
    QFETCH(double, bias);
    ConfigDialog2 dialog(nullptr, false, 0);
    child<QLabel>(dialog, label)->setText(text);
    selected_mua_index = 5;
    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    const double got = dialog.dialog_bias(band);
    QVERIFY2(std::fabs(got - bias) < 1e-9, qPrintable(QString::number(got, 'g', 17)));
    QVERIFY(answerer.seen().isEmpty());
    QCOMPARE(int(selected_mua_index), 5);
}

void TestConfigDialog2::sensorUnitsWrittenAtOnce()
{
    units_opened_from_main = 1;
    ConfigDialog2 dialog(nullptr, false, 0);
    PickerDriver driver([](QDialog &picker) { pick_unit(picker, 0, QStringLiteral("F")); });
    button(dialog, "btnSensorUnits")->click();
    QVERIFY(driver.done);
    // The picker was opened in its sensor role.
    QCOMPARE(units_opened_from_main, static_cast<uint16_t>(0));
    QCOMPARE(units_opened_from_sensor, static_cast<uint16_t>(1));
    QCOMPARE(cfg->units_for_table, static_cast<uint16_t>(0));
    QCOMPARE(QByteArray(cfg->raw_units), QByteArray("F"));
    QCOMPARE(button(dialog, "btnSensorUnits")->text(), QStringLiteral("F"));
    QCOMPARE(field(dialog, QStringLiteral("txtLowerRangeLimit"))->text(),
             QStringLiteral("   32.00"));
    QCOMPARE(field(dialog, QStringLiteral("txtUpperRangeLimit"))->text(),
             QStringLiteral("  212.00"));
    QCOMPARE(QByteArray(cfg->table_info.sensor_range_units), QByteArray("C"));

    DialogAnswerer answerer;
    answerer.answer(QStringLiteral("OK"));
    button(dialog, "btnCancel")->click();
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, QStringLiteral("Changes Lost"));
    // Cancel does not take the units back; the limits on the record stay.
    QCOMPARE(QByteArray(cfg->raw_units), QByteArray("F"));
    QCOMPARE(QByteArray(cfg->table_info.sensor_range_units), QByteArray("C"));
    QCOMPARE(cfg->table_info.sensor_range_lower_limit, 0.0);
    QCOMPARE(cfg->table_info.sensor_range_upper_limit, 100.0);
}

void TestConfigDialog2::sensorUnitsNotChosen_data()
{
    // clang-format off
    QTest::addColumn<bool>("accept");
    QTest::addColumn<bool>("logged");
    QTest::newRow("picker cancelled") << false << false;
    QTest::newRow("category changed, no unit") << true << true;
    // clang-format on
}

void TestConfigDialog2::sensorUnitsNotChosen()
{
    QFETCH(bool, accept);
    QFETCH(bool, logged);
    const int logged_before =
        cell_->hostLog().count(QStringLiteral("Error: No units selected for table."));
    ConfigDialog2 dialog(nullptr, false, 0);
    PickerDriver driver([accept](QDialog &picker) {
        child<QListWidget>(picker, QStringLiteral("lstUnitCategory"))->setCurrentRow(1);
        button(picker, accept ? "btnOK" : "btnCancel")->click();
    });
    button(dialog, "btnSensorUnits")->click();
    QVERIFY(driver.done);
    QCOMPARE(QByteArray(cfg->raw_units), QByteArray("C"));
    QCOMPARE(button(dialog, "btnSensorUnits")->text(), QStringLiteral("C"));
    QCOMPARE(field(dialog, QStringLiteral("txtUpperRangeLimit"))->text(),
             QStringLiteral("  100.00"));
    const QString log = cell_->hostLog();
    QCOMPARE(log.count(QStringLiteral("Error: No units selected for table.")) - logged_before,
             logged ? 1 : 0);
    if (logged)
        QVERIFY2(log.contains(QStringLiteral("configdialog2:")), qPrintable(log));
}

void TestConfigDialog2::touchStation_data()
{
    // clang-format off
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("validated");
    QTest::newRow("lower limit") << "txtLowerRangeLimit" << true;
    QTest::newRow("upper limit") << "txtUpperRangeLimit" << true;
    QTest::newRow("manufacturer") << "txtUUTMfg" << false;
    QTest::newRow("model") << "txtUUTModel" << false;
    QTest::newRow("serial number") << "txtUUTSerialNumber" << false;
    QTest::newRow("description") << "txtDescription" << false;
    QTest::newRow("M&TE") << "txtUUT_MTE" << false;
    // clang-format on
}

void TestConfigDialog2::touchStation()
{
    QFETCH(QString, name);
    QFETCH(bool, validated);
    {
        ConfigDialog2 plain(nullptr, false, 0);
        QVERIFY(!field(plain, name)->property("keyboard").isValid());
        QVERIFY(!field(plain, name)->validator());
    }
    touch_screen = 1;
    ConfigDialog2 dialog(nullptr, false, 0);
    QLineEdit *edit = field(dialog, name);
    QCOMPARE(edit->property("keyboard").toBool(), true);
    QCOMPARE(edit->validator() != nullptr, validated);
    if (validated) {
        QCOMPARE(edit->validator()->parent(), static_cast<QObject *>(&dialog));
        QVERIFY(qobject_cast<const QDoubleValidator *>(edit->validator()));
        // The filled text stays editable, and a number is read in the C locale.
        QCOMPARE(edit->hasAcceptableInput(), true);
        QString text = QStringLiteral("  -12.50");
        int position = text.size();
        QCOMPARE(edit->validator()->validate(text, position), QValidator::Acceptable);
        text = QStringLiteral("12,5");
        QVERIFY(edit->validator()->validate(text, position) != QValidator::Acceptable);
        text = QStringLiteral("abc");
        QCOMPARE(edit->validator()->validate(text, position), QValidator::Invalid);
    }
    // The double click goes on to the field: the filter never eats it.
    QMouseEvent click(QEvent::MouseButtonDblClick, QPointF(5, 5), Qt::LeftButton, Qt::LeftButton,
                      Qt::NoModifier);
    QCOMPARE(dialog.eventFilter(edit, &click), false);
}

void TestConfigDialog2::screenshot()
{
    std::strcpy(cfg->table_info.tbl_units, "KPA");
    std::strcpy(cfg->raw_units, "KPA");
    std::strcpy(cfg->table_info.sensor_range_units, "KPA");
    cfg->table_info.sensor_range_upper_limit = 250.0;
    cfg->table_info.min_range = 0.0;
    cfg->table_info.max_range = 250.0;
    std::strcpy(cfg->table_info.tbl_desc, "Intake manifold pressure");
    std::strcpy(cfg->uut_cal_type, "Absolute");
    ConfigDialog2 dialog(nullptr, false, 0);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    const QString dir = QStringLiteral(VREL_BIN_DIR "/../screenshots");
    QDir().mkpath(dir);
    QVERIFY(dialog.grab().save(dir + QStringLiteral("/configdialog2.png")));
    dialog.close();
}

QTEST_MAIN(TestConfigDialog2)
#include "tst_configdialog2.moc"
