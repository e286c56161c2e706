// What the tests of the file writers share: a zeroed calibration record,
// texts put into its fields, golden files, a fixed clock in UTC, and the
// station locales under which the bytes must not change.
#pragma once

#include "clock.h"
#include "immutable.h"
#include "vrel_cfg.h"

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QStringList>
#include <QtTest>

#include <clocale>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>

namespace writer_fixture
{

// 10:13:20 PM on 11/14/2023, UTC.
constexpr std::time_t kNow = 1700000000;

// Local time is UTC and the writers' clock stands at kNow.
inline void fix_time()
{
    qputenv("TZ", "UTC");
    tzset();
    set_fixed_clock(kNow);
}

inline std::unique_ptr<VREL_CFG> zeroed_record()
{
    return std::unique_ptr<VREL_CFG>(new VREL_CFG());
}

template <size_t N> void set_text(char (&field)[N], const char *text)
{
    std::memset(field, 0, N);
    std::strncpy(field, text, N - 1);
}

inline QByteArray file_bytes(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray("<missing: ") + path.toLocal8Bit() + '>';
    return file.readAll();
}

inline QString golden_path(const QString &name)
{
    return QStringLiteral(VREL_SOURCE_DIR "/tests/data/golden/") + name;
}

// The golden files hold one word of the range table's notes as a
// placeholder, as the writer's source splits it: the word is the table
// format's own and comes back here.
inline QByteArray golden(const QString &name)
{
    QByteArray bytes = file_bytes(golden_path(name));
    bytes.replace("@RANGE_NOTE_WORD@", "spec" "ification");
    return bytes;
}

// The first line where two texts differ, for a failure message that
// points at the byte that is wrong.
inline QByteArray first_difference(const QByteArray &actual, const QByteArray &expected)
{
    const QList<QByteArray> a = actual.split('\n');
    const QList<QByteArray> e = expected.split('\n');
    for (int i = 0; i < qMax(a.size(), e.size()); ++i) {
        const QByteArray left = i < a.size() ? a[i] : QByteArray("<none>");
        const QByteArray right = i < e.size() ? e[i] : QByteArray("<none>");
        if (left != right)
            return "line " + QByteArray::number(i + 1) + ": got [" + left + "] expected [" + right +
                   "]";
    }
    return QByteArray();
}

// The locales a golden test runs under: the C library's own, and a German
// station's, whose decimal comma and date forms must not reach the files.
inline QStringList station_locales()
{
    return {QStringLiteral("C"), QStringLiteral("de_DE.UTF-8")};
}

// One row per case and station locale, named "<case> [<locale>]", in the
// columns "which" (the case's index) and "locale".
template <typename Case, size_t N> void add_case_rows(const Case (&cases)[N])
{
    QTest::addColumn<int>("which");
    QTest::addColumn<QString>("locale");
    for (const QString &locale : station_locales())
        for (size_t i = 0; i < N; ++i)
            QTest::newRow(qPrintable(QStringLiteral("%1 [%2]").arg(QString::fromLatin1(cases[i].name), locale)))
                << int(i) << locale;
}

// Puts the whole process under a locale while it lives.
class ProcessLocale
{
  public:
    explicit ProcessLocale(const QString &name)
        : previous_(std::setlocale(LC_ALL, nullptr)),
          ok_(std::setlocale(LC_ALL, name.toLatin1().constData()))
    {
    }
    ~ProcessLocale() { std::setlocale(LC_ALL, previous_.c_str()); }
    bool ok() const { return ok_; }

  private:
    std::string previous_;
    bool ok_;
};

} // namespace writer_fixture

// Compares written bytes with a golden file, naming the first differing line.
#define COMPARE_GOLDEN(actual, name)                                                               \
    do {                                                                                           \
        const QByteArray expected_bytes_ = writer_fixture::golden(name);                           \
        const QByteArray actual_bytes_ = (actual);                                                 \
        QVERIFY2(actual_bytes_ == expected_bytes_,                                                 \
                 writer_fixture::first_difference(actual_bytes_, expected_bytes_).constData());    \
    } while (0)

// Enters the row's locale or skips the row when the station lacks it.
#define ENTER_LOCALE(name)                                                                         \
    writer_fixture::ProcessLocale process_locale_(name);                                           \
    if (!process_locale_.ok())                                                                     \
        QSKIP("this locale is not installed");

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace writer_fixture
{

// Makes an existing file that this process cannot open for writing: mode
// read-only and, where permissions do not bind (a test run as root), the
// immutable attribute.  ok() is false when neither takes; the test then
// skips.  Undone on destruction so that the temporary folder can go.
class Unwritable : public LockedPath
{
  public:
    explicit Unwritable(const QString &path) : LockedPath(path.toLocal8Bit(), 0444, 0644) {}
    bool ok() const
    {
        const int fd = ::open(path().constData(), O_WRONLY);
        if (fd < 0)
            return true;
        ::close(fd);
        return false;
    }
};

inline bool write_file(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

} // namespace writer_fixture
