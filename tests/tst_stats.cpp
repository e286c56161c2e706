// Statistics accumulator of the host stand-in.
#include <orvane/stats.h>

#include <QVector>
#include <QtTest>

#include <cfloat>
#include <cmath>

namespace
{

stat_record accumulate(const QVector<double> &values)
{
    stat_record record;
    clear_stat_values(&record);
    for (double value : values)
        x_statistics_acquire(&record, value, 0.0);
    x_statistics_compute(&record);
    return record;
}

/* A fixed sequence of uniform numbers in [-1, 1): the same on every
 * platform, unlike the standard distributions. */
class Noise
{
  public:
    double next()
    {
        state_ ^= state_ << 13;
        state_ ^= state_ >> 7;
        state_ ^= state_ << 17;
        return static_cast<double>(state_ >> 11) / 4503599627370496.0 - 1.0; /* 2^52 */
    }

  private:
    uint64_t state_ = 0x9E3779B97F4A7C15ULL;
};

} // namespace

class TestStats : public QObject
{
    Q_OBJECT

  private slots:
    void knownData_data();
    void knownData();
    void seededExtremes_data();
    void seededExtremes();
    void emptyRecord();
    void clearForgetsEarlierSamples();
    void memberIndexOutOfRange_data();
    void memberIndexOutOfRange();
    void stableFarFromZero();
};

void TestStats::knownData_data()
{
    QTest::addColumn<QVector<double>>("values");
    QTest::addColumn<double>("mean");
    QTest::addColumn<double>("variance");
    QTest::addColumn<double>("minimum");
    QTest::addColumn<double>("maximum");

    QTest::newRow("textbook eight")
        << QVector<double>{2, 4, 4, 4, 5, 5, 7, 9} << 5.0 << 32.0 / 7.0 << 2.0 << 9.0;
    QTest::newRow("single sample") << QVector<double>{3.5} << 3.5 << 0.0 << 3.5 << 3.5;
    QTest::newRow("two equal") << QVector<double>{1.25, 1.25} << 1.25 << 0.0 << 1.25 << 1.25;
    QTest::newRow("two apart") << QVector<double>{-1.0, 1.0} << 0.0 << 2.0 << -1.0 << 1.0;
    QTest::newRow("all negative") << QVector<double>{-1, -2, -3} << -2.0 << 1.0 << -3.0 << -1.0;
    QTest::newRow("millivolts") << QVector<double>{10.1, 10.3, 10.2, 10.4} << 10.25 << 0.05 / 3.0
                                << 10.1 << 10.4;
}

void TestStats::knownData()
{
    QFETCH(QVector<double>, values);
    QFETCH(double, mean);
    QFETCH(double, variance);
    QFETCH(double, minimum);
    QFETCH(double, maximum);

    const stat_record record = accumulate(values);
    QCOMPARE(record.count, int64_t(values.size()));
    QVERIFY(std::fabs(get_stat_member(&record, ORV_STAT_MEAN) - mean) < 1e-12);
    QVERIFY(std::fabs(get_stat_member(&record, ORV_STAT_VARIANCE) - variance) < 1e-12);
    QVERIFY(std::fabs(get_stat_member(&record, ORV_STAT_STDEV) - std::sqrt(variance)) < 1e-12);
    QCOMPARE(get_stat_member(&record, ORV_STAT_MIN), minimum);
    QCOMPARE(get_stat_member(&record, ORV_STAT_MAX), maximum);
}

void TestStats::seededExtremes_data()
{
    QTest::addColumn<double>("seedMin");
    QTest::addColumn<double>("seedMax");
    QTest::addColumn<QVector<double>>("values");
    QTest::addColumn<double>("minimum");
    QTest::addColumn<double>("maximum");

    QTest::newRow("seed below data") << 5.0 << 5.0 << QVector<double>{6, 7} << 5.0 << 7.0;
    QTest::newRow("seed above data") << 5.0 << 5.0 << QVector<double>{3, 4} << 3.0 << 5.0;
    QTest::newRow("seed around data") << 0.0 << 100.0 << QVector<double>{40, 60} << 0.0 << 100.0;
    QTest::newRow("data around seed") << 50.0 << 50.0 << QVector<double>{40, 60} << 40.0 << 60.0;
}

void TestStats::seededExtremes()
{
    QFETCH(double, seedMin);
    QFETCH(double, seedMax);
    QFETCH(QVector<double>, values);
    QFETCH(double, minimum);
    QFETCH(double, maximum);

    stat_record record;
    clear_stat_values(&record);
    record.member[ORV_STAT_MIN] = seedMin;
    record.member[ORV_STAT_MAX] = seedMax;
    for (double value : values)
        x_statistics_acquire(&record, value, 0.0);
    x_statistics_compute(&record);

    QCOMPARE(get_stat_member(&record, ORV_STAT_MIN), minimum);
    QCOMPARE(get_stat_member(&record, ORV_STAT_MAX), maximum);
    // The seeds are not samples: the mean is the data's alone.
    double sum = 0.0;
    for (double value : values)
        sum += value;
    QCOMPARE(get_stat_member(&record, ORV_STAT_MEAN), sum / values.size());
}

void TestStats::emptyRecord()
{
    stat_record record;
    clear_stat_values(&record);
    x_statistics_compute(&record);
    QCOMPARE(record.count, int64_t(0));
    QCOMPARE(get_stat_member(&record, ORV_STAT_MEAN), 0.0);
    QCOMPARE(get_stat_member(&record, ORV_STAT_VARIANCE), 0.0);
    QCOMPARE(get_stat_member(&record, ORV_STAT_STDEV), 0.0);
    QCOMPARE(get_stat_member(&record, ORV_STAT_MIN), DBL_MAX);
    QCOMPARE(get_stat_member(&record, ORV_STAT_MAX), -DBL_MAX);
}

void TestStats::clearForgetsEarlierSamples()
{
    stat_record record = accumulate({100.0, 200.0, 300.0});
    clear_stat_values(&record);
    x_statistics_acquire(&record, 1.0, 0.0);
    x_statistics_acquire(&record, 3.0, 0.0);
    x_statistics_compute(&record);
    QCOMPARE(record.count, int64_t(2));
    QCOMPARE(get_stat_member(&record, ORV_STAT_MEAN), 2.0);
    QCOMPARE(get_stat_member(&record, ORV_STAT_VARIANCE), 2.0);
    QCOMPARE(get_stat_member(&record, ORV_STAT_MIN), 1.0);
    QCOMPARE(get_stat_member(&record, ORV_STAT_MAX), 3.0);
}

void TestStats::memberIndexOutOfRange_data()
{
    QTest::addColumn<int>("index");
    QTest::newRow("negative") << -1;
    QTest::newRow("one past") << 5;
    QTest::newRow("far") << 1000;
}

void TestStats::memberIndexOutOfRange()
{
    QFETCH(int, index);
    const stat_record record = accumulate({7.0, 8.0});
    QCOMPARE(get_stat_member(&record, index), 0.0);
    QCOMPARE(get_stat_member(nullptr, ORV_STAT_MEAN), 0.0);
}

void TestStats::stableFarFromZero()
{
    // A million readings near 1e9 with a spread near 0.58: the sum of squares
    // method would lose every digit; the reference is a two-pass sum in
    // extended precision.
    const int n = 1000000;
    const double centre = 1e9;
    QVector<double> values(n);
    Noise noise;
    for (double &value : values)
        value = centre + noise.next();

    long double sum = 0.0L;
    for (double value : values)
        sum += value;
    const long double mean = sum / n;
    long double squares = 0.0L;
    for (double value : values)
        squares += (value - mean) * (value - mean);
    const double reference_stdev = static_cast<double>(std::sqrt(squares / (n - 1)));

    const stat_record record = accumulate(values);
    const double stdev = get_stat_member(&record, ORV_STAT_STDEV);
    QVERIFY2(
        std::fabs(stdev - reference_stdev) <= 1e-7 * reference_stdev,
        qPrintable(QString("%1 vs %2").arg(stdev, 0, 'g', 17).arg(reference_stdev, 0, 'g', 17)));
    QVERIFY(std::fabs(get_stat_member(&record, ORV_STAT_MEAN) - static_cast<double>(mean)) < 1e-3);
}

QTEST_APPLESS_MAIN(TestStats)
#include "tst_stats.moc"
