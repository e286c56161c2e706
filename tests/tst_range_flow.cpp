// A POLYNOMIAL_RANGE channel through As-Found and Adjust: after the
// rebuild's reload the channel works with the table just adopted, which the
// table file, the ADJUSTED record and its range file all hold.
#include "archivecheck.h"
#include "station.h"

#include "flow_questions.h"

#include "mainwindow.h"
#include "vrel_cfg.h"

#include "ui_mainwindow.h"

#include <orvane/tables.h>

#include <QFile>
#include <QRegularExpression>
#include <QtTest>

#include <cmath>
#include <memory>

namespace
{

const int kRangeChannel = 6; // INTAKE MANIFOLD PRESS: C0=0 C1=3 C2=0.0001 on range 0

QByteArray file_bytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool same_coefficients(const TablePoly &actual, const TablePoly &expected, double relative)
{
    if (actual.num_coeff != expected.num_coeff)
        return false;
    for (int c = 0; c < expected.num_coeff; ++c)
        if (std::fabs(actual.coeff[c] - expected.coeff[c]) >
            relative * std::max(1.0, std::fabs(expected.coeff[c])))
            return false;
    return true;
}

QString coefficient_text(const TablePoly &poly)
{
    QString text;
    for (int c = 0; c < poly.num_coeff; ++c)
        text += QString::asprintf("%.10g ", poly.coeff[c]);
    return text;
}

} // namespace

class TestRangeFlow : public QObject
{
    Q_OBJECT
  private slots:
    void adjustReloadsTheAdoptedRanges();
};

void TestRangeFlow::adjustReloadsTheAdoptedRanges()
{
    Station station;
    QVERIFY(station.open({"--tick", "20", "--no-noise"}));
    QVERIFY(station.select(kRangeChannel));
    QCOMPARE(cfg->table_info.tbl_type, int16_t(TBL_POLYNOMIAL_RANGE));
    const int range = range_in_use(cfg);
    const TablePoly outgoing = cfg->table_info.dim.table_poly[range];
    station.fillRecordTexts();
    averaging_count = 3;

    // The values applied lie a fifth below the rows' reference values: the
    // fit of the captures is far from the table in force.
    station.captureAllRows(kRangeChannel, 0.8);
    const TablePoly fitted = cfg->new_table_poly[range];
    QVERIFY2(fitted.num_coeff > 0 && !same_coefficients(fitted, outgoing, 0.01),
             qPrintable(coefficient_text(fitted)));
    station.recordAs("rbAsFound");
    QCOMPARE(cfg->table_info.cal_mode, uint16_t(CAL_AS_FOUND));
    if (!adjust_question(cfg->table_info.cal_mode, cfg->table_info.tol_state).title.isEmpty())
        station.answerer().answer(QStringLiteral("Yes"));
    station.window().form()->btnAdjustCalibration->click();
    QVERIFY(station.answerer().allAnswered());

    // The reload after the rebuild took the ranges from the ADJUSTED record.
    QCOMPARE(cfg->table_info.cal_mode, uint16_t(0));
    QCOMPARE(range_in_use(cfg), range);
    QVERIFY2(same_coefficients(cfg->table_info.dim.table_poly[range], fitted, 1e-9),
             qPrintable(coefficient_text(cfg->table_info.dim.table_poly[range]) + " instead of " +
                        coefficient_text(fitted)));

    const QString tables = station.cell().path(QStringLiteral("/cell/tables/"));
    auto written = std::make_unique<TableInfo>();
    QCOMPARE(read_table(qPrintable(tables + QStringLiteral("intake_press.tbl")), written.get()), 0);
    QVERIFY(
        same_coefficients(written->dim.table_poly[range], fitted, 1e-5)); // "%g" keeps six digits

    // The newest record is the ADJUSTED one; its range file is the last named.
    const QString archive = tables + QStringLiteral("intake_press.save");
    QCOMPARE(history_modes(archive).last(), QStringLiteral("ADJUSTED"));
    QString named;
    QRegularExpressionMatchIterator it =
        QRegularExpression(QStringLiteral("\"/cell/tables/(intake_press-\\d+\\.poly_range)\""))
            .globalMatch(QString::fromLatin1(file_bytes(archive)));
    while (it.hasNext())
        named = it.next().captured(1);
    QVERIFY(!named.isEmpty());
    const QByteArray sibling = file_bytes(tables + named);
    const QByteArray line = QString::asprintf("\n \" %d ", range).toLatin1() +
                            coefficient_text(fitted).toLatin1() + "\"";
    QVERIFY2(sibling.contains(line), sibling.constData());
}

QTEST_MAIN(TestRangeFlow)
#include "tst_range_flow.moc"
