// Replays, through the fuzz targets' own entry points, every input that
// once broke a reader (fuzz/regressions/<target>/) and every seed of the
// targets' corpora (fuzz/corpus/<target>/): each must pass without a crash
// and with every promise of the reader kept.
#include "fuzz_entries.h"

#include <QDir>
#include <QFile>
#include <QtTest>

class TestFuzzRegressions : public QObject {
    Q_OBJECT
private slots:
    void replay_data();
    void replay();
    void everyTargetHasSeeds_data();
    void everyTargetHasSeeds();
};

namespace {

QStringList inputs_of(const QString &folder)
{
    QStringList files;
    const QDir dir(QStringLiteral(VREL_SOURCE_DIR "/fuzz/") + folder);
    for (const QString &name : dir.entryList(QDir::Files | QDir::Hidden, QDir::Name))
        files.append(dir.filePath(name));
    return files;
}

} // namespace

void TestFuzzRegressions::replay_data()
{
    QTest::addColumn<QString>("target");
    QTest::addColumn<QString>("file");
    size_t count = 0;
    const FuzzTarget *targets = fuzz_targets(&count);
    for (size_t t = 0; t < count; ++t)
        for (const char *kind : {"regressions", "corpus"}) {
            const QString folder = QStringLiteral("%1/%2").arg(QLatin1String(kind), QLatin1String(targets[t].name));
            for (const QString &file : inputs_of(folder))
                QTest::addRow("%s/%s", qPrintable(folder), qPrintable(QFileInfo(file).fileName()))
                    << QString::fromLatin1(targets[t].name) << file;
        }
}

void TestFuzzRegressions::replay()
{
    QFETCH(QString, target);
    QFETCH(QString, file);
    const FuzzTarget *entry = fuzz_target(target.toLatin1().constData());
    QVERIFY(entry);
    QFile input(file);
    QVERIFY2(input.open(QIODevice::ReadOnly), qPrintable(file));
    const QByteArray bytes = input.readAll();
    const std::string broken = entry->run(reinterpret_cast<const uint8_t *>(bytes.constData()),
                                          static_cast<size_t>(bytes.size()));
    QVERIFY2(broken.empty(), broken.c_str());
}

void TestFuzzRegressions::everyTargetHasSeeds_data()
{
    QTest::addColumn<QString>("target");
    size_t count = 0;
    const FuzzTarget *targets = fuzz_targets(&count);
    for (size_t t = 0; t < count; ++t)
        QTest::newRow(targets[t].name) << QString::fromLatin1(targets[t].name);
}

// A target without seeds would replay nothing here and start blind.
void TestFuzzRegressions::everyTargetHasSeeds()
{
    QFETCH(QString, target);
    QVERIFY(!inputs_of(QStringLiteral("corpus/") + target).isEmpty());
}

QTEST_MAIN(TestFuzzRegressions)
#include "tst_fuzz_regressions.moc"
