// The calibration record's helpers.
#include "vrel_cfg.h"

#include <QtTest>

#include <cmath>
#include <cstring>
#include <memory>
#include <limits>

class TestRecord : public QObject
{
    Q_OBJECT

  private slots:
    void trimText_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("expected");
        QTest::newRow("both ends") << QByteArray("  abc  ") << QByteArray("abc");
        QTest::newRow("trailing newlines") << QByteArray("abc\n\n \n") << QByteArray("abc");
        QTest::newRow("leading newline stays") << QByteArray("\n abc") << QByteArray("\n abc");
        QTest::newRow("blank then newline") << QByteArray("  \nabc") << QByteArray("\nabc");
        QTest::newRow("tabs are not blanks") << QByteArray("\tabc\t") << QByteArray("\tabc\t");
        QTest::newRow("only blanks") << QByteArray("   ") << QByteArray("");
        QTest::newRow("empty") << QByteArray("") << QByteArray("");
        QTest::newRow("inner blanks stay") << QByteArray(" a b ") << QByteArray("a b");
    }
    void trimText()
    {
        QFETCH(QByteArray, text);
        char buffer[64] = {};
        std::memcpy(buffer, text.constData(), size_t(text.size()));
        trim_text(buffer);
        QTEST(QByteArray(buffer), "expected");
    }
    void equalWithin_data()
    {
        QTest::addColumn<double>("a");
        QTest::addColumn<double>("b");
        QTest::addColumn<bool>("equal");
        QTest::newRow("same") << 5.0 << 5.0 << true;
        QTest::newRow("at the bound") << 1.0 << 1.0 + 0.5e-6 << true;
        QTest::newRow("past the bound") << 0.0 << 2e-6 << false;
        QTest::newRow("marker") << -999999.0 << -999999.0000001 << true;
        QTest::newRow("nan") << std::nan("") << 0.0 << false;
    }
    void equalWithin()
    {
        QFETCH(double, a);
        QFETCH(double, b);
        QTEST(equal_within_1e6(a, b), "equal");
        QTEST(equal_within_1e6(b, a), "equal");
    }
    void unrecordedChangesMarkPending()
    {
        auto record = std::make_unique<VREL_CFG>();
        QVERIFY(!has_unrecorded_changes(record.get()));
        QCOMPARE(record->pending_changes, uint16_t(0));
        record->unrecorded_changes = 1;
        QVERIFY(has_unrecorded_changes(record.get()));
        QCOMPARE(record->pending_changes, uint16_t(1));
    }
    void toleranceTexts()
    {
        init_tolerance_texts();
        const QStringList texts{mua_instance_text, ooa_bias_text, ooa_tol_text, oot_bias_text,
                                oot_tol_text,      soot_bias_text, soot_tol_text};
        QCOMPARE(texts, QStringList({"none", "0[PCT]", ".25[PCT]", "0[PCT]", "1[PCT]", "0[PCT]", "2[PCT]"}));
    }
};

QTEST_APPLESS_MAIN(TestRecord)
#include "tst_record.moc"
