// What the table storage tests share: texts put into the record's fixed
// fields, files written by hand, golden files compared byte for byte, a
// fixed clock in UTC, the station locales the files must not follow, and
// a file this process cannot write.
#pragma once

#include "calibrationfiles.h"
#include "joined.h"
#include "clock.h"
#include "immutable.h"
#include "localeguard.h"

#include <QFile>
#include <QtTest>

#include <clocale>
#include <cstring>
#include <ctime>

namespace table_fixture
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

template <size_t N> void set_text(char (&field)[N], const char *text)
{
    std::memset(field, 0, N);
    std::strncpy(field, text, N - 1);
}


inline bool write_file(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(bytes) == bytes.size();
}

// The golden files hold one word of the range table's notes as a
// placeholder, as the writer's source splits it: the word is the table
// format's own and comes back here.
inline QByteArray golden(const QString &name)
{
    QByteArray bytes = file_bytes(QStringLiteral(VREL_SOURCE_DIR "/tests/data/golden/") + name);
    bytes.replace("@RANGE_NOTE_WORD@", "spec" "ification");
    return bytes;
}

// The first line where two texts differ, so that a failure points at it.
inline QByteArray first_difference(const QByteArray &actual, const QByteArray &expected)
{
    const QList<QByteArray> a = actual.split('\n'), e = expected.split('\n');
    for (int i = 0; i < qMax(a.size(), e.size()); ++i) {
        const QByteArray left = i < a.size() ? a[i] : "<none>", right = i < e.size() ? e[i] : "<none>";
        if (left != right)
            return "line " + QByteArray::number(i + 1) + ": got [" + left + "] expected [" + right + "]";
    }
    return QByteArray();
}

// One row per case and station locale, "<case> [<locale>]", in the
// columns "which" (the case's index) and "locale".  The German station's
// decimal comma and date forms must never reach a file.
inline void add_locale_rows(const QStringList &cases)
{
    QTest::addColumn<int>("which");
    QTest::addColumn<QString>("locale");
    for (const char *locale : {"C", "de_DE.UTF-8"})
        for (int i = 0; i < cases.size(); ++i)
            QTest::addRow("%s [%s]", qPrintable(cases[i]), locale) << i << QString::fromLatin1(locale);
}

// The same for a table of cases, each named by its member `name`.
template <typename Case, size_t N> void add_locale_rows(const Case (&cases)[N], const char *const Case::*name)
{
    QStringList names;
    for (const Case &c : cases)
        names << QString::fromLatin1(c.*name);
    add_locale_rows(names);
}

// Makes an existing file that this process cannot open for writing: read
// only and, where permissions do not bind (a test run as root), immutable.
class Unwritable : public LockedPath
{
  public:
    explicit Unwritable(const QString &path) : LockedPath(QFile::encodeName(path), 0444, 0644) {}
    bool ok() const
    {
        QFile probe(QFile::decodeName(path()));
        return !probe.open(QIODevice::WriteOnly | QIODevice::Append);
    }
};

} // namespace table_fixture

// Compares written bytes with a golden file, naming the first differing line.
#define COMPARE_GOLDEN(actual, name)                                                               \
    do {                                                                                           \
        const QByteArray expected_ = table_fixture::golden(name), actual_ = (actual);              \
        QVERIFY2(actual_ == expected_,                                                             \
                 table_fixture::first_difference(actual_, expected_).constData());                 \
    } while (0)

// Puts the process under the row's locale until the test ends, or skips
// the row where the station lacks it.
#define ENTER_LOCALE(name)                                                                         \
    LocaleGuard locale_guard_;                                                                     \
    if (!std::setlocale(LC_ALL, QString(name).toLatin1().constData()))                           \
        QSKIP("this locale is not installed");
