// Replays, through the fuzz targets' own entry points, every input that
// once broke a reader (fuzz/regressions/<target>/) and every seed of the
// targets' corpora (fuzz/corpus/<target>/): each must pass without a crash
// and with every promise of the reader kept.  A target without seeds would
// start blind: it gets a row that fails.
#include "fuzz_entries.h"

#include <QtTest>

class TestFuzzRegressions : public QObject {
    Q_OBJECT
private slots:
    void replay_data();
    void replay();
};

void TestFuzzRegressions::replay_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("file");
    size_t count = 0;
    for (const FuzzTarget *target = fuzz_targets(&count), *end = target + count; target != end; ++target)
        for (const QString kind : {"corpus", "regressions"}) {
            const QDir dir(QStringLiteral(VREL_SOURCE_DIR "/fuzz/%1/%2").arg(kind, target->name));
            const QStringList files = dir.entryList(QDir::Files | QDir::Hidden, QDir::Name);
            for (const QString &file : files)
                QTest::addRow("%s/%s/%s", qPrintable(kind), target->name, qPrintable(file)) << target->name << dir.filePath(file);
            if (files.isEmpty() && kind == "corpus")
                QTest::addRow("%s has no seeds", target->name) << target->name << QString();
        }
}

void TestFuzzRegressions::replay()
{
    QFETCH(QString, target);
    QFETCH(QString, file);
    const FuzzTarget *entry = fuzz_target(target.toLatin1().constData());
    QFile input(file);
    QVERIFY2(entry && input.open(QIODevice::ReadOnly), qPrintable(file));
    const QByteArray bytes = input.readAll();
    const std::string broken =
        entry->run(reinterpret_cast<const uint8_t *>(bytes.constData()), static_cast<size_t>(bytes.size()));
    QVERIFY2(broken.empty(), broken.c_str());
}

QTEST_MAIN(TestFuzzRegressions)
#include "tst_fuzz_regressions.moc"
