#include "archive_reader.h"

#include "record_tokens.h"

#include <orvane/common.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace {

const char kRecordStart[] = "# The following comment lines describes the data in";
constexpr qint64 kMaxLine = 64 << 10;         // a physical line; records write short ones
constexpr int kMaxDataLine = 8 << 20;         // a record's data line, all its lines
constexpr qint64 kMaxRangeFile = 4 << 20;     // a .poly_range sibling
constexpr int kMaxPoints = 100000;

// White space as QByteArray::trimmed takes it.
bool is_white(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r';
}

// Whether the text from `from` on is white space only.  The reader asks
// this of every line; a trimmed copy of each would be an allocation.
bool is_blank(const QByteArray &text, int from = 0)
{
    for (int i = from; i < text.size(); ++i)
        if (!is_white(text.at(i)))
            return false;
    return true;
}

// Whether the text's last character that is not white space is a
// backslash: the line goes on in the next.
bool continues(const QByteArray &text)
{
    int end = text.size();
    while (end > 0 && is_white(text.at(end - 1)))
        --end;
    return end > 0 && text.at(end - 1) == '\\';
}

bool is_record_start(const QByteArray &line)
{
    return line.startsWith(kRecordStart) && is_blank(line, int(sizeof kRecordStart) - 1);
}

QString latin1(const QByteArray &text)
{
    return QString::fromLatin1(text);
}

bool parse_pairs(const std::vector<RecordToken> &tokens, size_t &next, std::vector<HistoryPoint> &points,
                 QString &why)
{
    while (next < tokens.size() && !tokens[next].quoted) {
        double x = 0.0, y = 0.0;
        if (!parse_number(tokens[next].text, x))
            return true; // a word: what follows is not points
        if (next + 1 >= tokens.size() || tokens[next + 1].quoted || !parse_number(tokens[next + 1].text, y)) {
            why = QStringLiteral("a point without its second value on line %1").arg(tokens[next].line);
            return false;
        }
        if (points.size() >= size_t(kMaxPoints)) {
            why = QStringLiteral("more than %1 points").arg(kMaxPoints);
            return false;
        }
        points.push_back({x, y});
        next += 2;
    }
    return true;
}

// " %d " then "%.10g " per coefficient.
bool parse_coefficients(const QByteArray &text, int &range, std::vector<double> &coefficients)
{
    const QList<QByteArray> words = text.simplified().split(' ');
    bool ok = false;
    range = words.value(0).toInt(&ok);
    if (!ok || range < 0 || range > 7)
        return false;
    coefficients.clear();
    for (int i = 1; i < words.size(); ++i) {
        double value = 0.0;
        if (!parse_number(words.at(i), value) || coefficients.size() >= 8)
            return false;
        coefficients.push_back(value);
    }
    return true;
}

// The eight ranges of a .poly_range file.
bool read_range_file(const QString &path, std::vector<HistoryRange> &ranges, QString &why)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        why = QStringLiteral("its range file %1 cannot be read").arg(path);
        return false;
    }
    if (file.size() > kMaxRangeFile) {
        why = QStringLiteral("its range file %1 is too large").arg(path);
        return false;
    }
    std::optional<std::vector<RecordToken>> tokens = record_tokens(file.readAll(), 1, &why);
    if (!tokens)
        return false;
    ranges.assign(8, HistoryRange{});
    size_t next = 0;
    while (next < tokens->size()) {
        const RecordToken &token = (*tokens)[next++];
        int range = 0;
        std::vector<double> coefficients;
        if (!token.quoted || !parse_coefficients(token.text, range, coefficients)) {
            why = QStringLiteral("its range file %1 is malformed at line %2").arg(path).arg(token.line);
            return false;
        }
        ranges[range].coefficients = std::move(coefficients);
        ranges[range].points.clear();
        if (!parse_pairs(*tokens, next, ranges[range].points, why))
            return false;
        if (next < tokens->size() && !(*tokens)[next].quoted) {
            why = QStringLiteral("its range file %1 is malformed at line %2").arg(path).arg((*tokens)[next].line);
            return false;
        }
    }
    return true;
}

class FieldCursor {
public:
    FieldCursor(const std::vector<RecordToken> &tokens) : tokens_(tokens) {}
    bool text(QString &out, const char *name)
    {
        if (next_ >= tokens_.size() || !tokens_[next_].quoted)
            return fail(name);
        out = latin1(tokens_[next_++].text);
        return true;
    }
    bool number(double &out, const char *name, QString *units = nullptr)
    {
        if (next_ >= tokens_.size() || !tokens_[next_].quoted || !parse_number(tokens_[next_].text, out, units))
            return fail(name);
        ++next_;
        return true;
    }
    bool skip(int count, const char *name)
    {
        for (int i = 0; i < count; ++i) {
            QString ignored;
            if (!text(ignored, name))
                return false;
        }
        return true;
    }
    size_t &next() { return next_; }
    QString why;

private:
    bool fail(const char *name)
    {
        const int line = next_ < tokens_.size() ? tokens_[next_].line : (tokens_.empty() ? 0 : tokens_.back().line);
        why = QStringLiteral("the field %1 is missing or malformed on line %2").arg(QLatin1String(name)).arg(line);
        return false;
    }
    const std::vector<RecordToken> &tokens_;
    size_t next_ = 0;
};

bool parse_data_line(const QByteArray &data, int first_line, HistoryRecord &r, QString &why)
{
    std::optional<std::vector<RecordToken>> tokens = record_tokens(data, first_line, &why);
    if (!tokens)
        return false;
    const std::vector<RecordToken> &t = *tokens;
    bool ok = false;
    if (t.empty() || t[0].quoted || ((r.time = t[0].text.toLongLong(&ok)), !ok)) {
        why = QStringLiteral("the record does not open with its time on line %1").arg(first_line);
        return false;
    }
    FieldCursor f(t);
    f.next() = 1;
    QString units;
    const bool fields = f.text(r.time_text, "time_date") && f.text(r.mode, "cal_mode") &&
                        f.text(r.tol_state, "tol_state") && f.text(r.table, "tbl_name") &&
                        f.text(r.type, "tbl_type") && f.number(r.table_tolerance, "tbl_tol") &&
                        f.skip(1, "tol_units") && f.text(r.comment, "user_comment") && f.skip(6, "bands") &&
                        f.number(r.y_intercept_bias, "y_intercept_bias", &units) &&
                        f.number(r.y_intercept_tol, "y_intercept_tol", &units) &&
                        f.number(r.linearity_bias, "linearity_bias", &units) &&
                        f.number(r.linearity_tol, "linearity_tol", &units) &&
                        f.number(r.hysteresis_bias, "hysteresis.bias", &units) &&
                        f.number(r.hysteresis_tol, "hysteresis_tolerance", &units) &&
                        f.text(r.sensor_model, "sensor_model") && f.text(r.sensor_serial, "sensor_sn") &&
                        f.text(r.sensor_range_units, "sensor_range_units") &&
                        f.number(r.sensor_lower, "sensor_range_lower_limit", &units) &&
                        f.number(r.sensor_upper, "sensor_range_upper_limit", &units) &&
                        f.number(r.min_range, "min_range", &units) && f.number(r.max_range, "max_range", &units) &&
                        f.text(r.technician, "technician") && f.text(r.working_standard, "cal_method") &&
                        f.text(r.x_units, "x_units") && f.text(r.table_units, "tbl_units");
    if (!fields) {
        why = f.why;
        return false;
    }
    QString table_text;
    if (!f.text(table_text, "polynomial coefficents")) {
        why = f.why;
        return false;
    }
    if (table_text == QLatin1String("POLYNOMIAL_RANGE")) {
        if (!f.text(r.range_file, "poly_range_filename")) {
            why = f.why;
            return false;
        }
    } else if (!parse_coefficients(table_text.toLatin1(), r.range_index, r.coefficients)) {
        why = QStringLiteral("the coefficients are malformed");
        return false;
    }
    if (!f.text(r.mua_instance, "mua_instance_name") || !f.text(r.description, "tbl_desc")) {
        why = f.why;
        return false;
    }
    size_t &next = f.next();
    if (!parse_pairs(t, next, r.points, why))
        return false;
    // Only an auto_cal record goes on: its dyno_cal word and points.
    if (next < t.size() && r.mode != QLatin1String("auto_cal")) {
        why = QStringLiteral("unexpected text after the points on line %1").arg(t[next].line);
        return false;
    }
    return true;
}

} // namespace

struct ArchiveReader::Source {
    QFile file;
    int line = 0;             // lines read so far
    std::optional<int> start; // a record start read ahead, by its line
    QByteArray buffer = QByteArray(int(kMaxLine) + 1, Qt::Uninitialized); // one line at a time, reused

    // The next physical line without its end; `too_long` when it did not
    // fit in the buffer (its rest is skipped).
    QByteArray read_line(bool &too_long)
    {
        too_long = false;
        qint64 length = file.readLine(buffer.data(), buffer.size());
        if (length <= 0)
            return {};
        ++line;
        QByteArray text(buffer.constData(), int(length));
        if (!text.endsWith('\n') && !file.atEnd()) {
            too_long = true;
            while ((length = file.readLine(buffer.data(), buffer.size())) > 0 && buffer.at(int(length) - 1) != '\n') {
            }
        }
        if (text.endsWith('\n'))
            text.chop(1);
        if (text.endsWith('\r'))
            text.chop(1);
        return text;
    }
};

ArchiveReader::ArchiveReader(const QString &path) : path_(path) {}

ArchiveReader::~ArchiveReader() = default;

bool ArchiveReader::open()
{
    const QFileInfo info(path_);
    if (!info.exists()) {
        error_ = QStringLiteral("no archive %1").arg(path_);
        return false;
    }
    if (!info.isFile()) {
        error_ = QStringLiteral("%1 is not a file").arg(path_);
        return false;
    }
    source_ = std::make_unique<Source>();
    source_->file.setFileName(path_);
    if (!source_->file.open(QIODevice::ReadOnly)) {
        error_ = QStringLiteral("cannot read %1: %2").arg(path_, source_->file.errorString());
        source_.reset();
        return false;
    }
    return true;
}

bool ArchiveReader::next(HistoryRecord &record)
{
    if (!source_)
        return false;
    Source &s = *source_;
    for (;;) {
        // Find the start of a record.
        int start = 0;
        if (s.start) {
            start = *s.start;
            s.start.reset();
        } else {
            for (;;) {
                if (s.file.atEnd())
                    return false;
                bool too_long = false;
                const QByteArray line = s.read_line(too_long);
                if (!too_long && is_record_start(line)) {
                    start = s.line;
                    break;
                }
            }
        }
        auto damaged = [&](const QString &why) { damage_.push_back({start, why}); };

        // The comment block, then the data line over its continuations.
        QByteArray data;
        int data_line = 0;
        bool cut = false, restarted = false, oversized = false;
        while (!s.file.atEnd()) {
            bool too_long = false;
            const QByteArray line = s.read_line(too_long);
            if (is_record_start(line)) {
                s.start = s.line;
                restarted = true;
                break;
            }
            if (too_long)
                oversized = true;
            if (data_line == 0) {
                if (is_blank(line) || line.startsWith('#'))
                    continue;
                data_line = s.line;
            }
            if (data.size() + line.size() > kMaxDataLine)
                oversized = true;
            else
                data.append(line).append('\n');
            if (!continues(line))
                break;
            if (s.file.atEnd())
                cut = true;
        }
        if (data_line == 0 || cut || (restarted && data_line != 0 && continues(data))) {
            damaged(data_line == 0 ? QStringLiteral("the record has no data line")
                                   : QStringLiteral("the record is cut short"));
            continue;
        }
        if (oversized) {
            damaged(QStringLiteral("a line of the record is too long"));
            continue;
        }
        record = HistoryRecord{};
        record.line = start;
        QString why;
        if (!parse_data_line(data, data_line, record, why)) {
            damaged(why);
            continue;
        }
        if (!record.range_file.isEmpty()) {
            QString sibling = record.range_file;
            if (!QFileInfo::exists(sibling)) {
                char rooted[4096];
                orvane_root_path(QFile::encodeName(sibling).constData(), rooted, sizeof rooted);
                sibling = QFile::decodeName(rooted);
            }
            if (!QFileInfo::exists(sibling))
                sibling = QFileInfo(path_).absoluteDir().filePath(QFileInfo(record.range_file).fileName());
            if (!read_range_file(sibling, record.ranges, why)) {
                record.ranges.clear();
                damaged(why);
            }
        }
        return true;
    }
}

QString archive_path_for(const QString &table_or_path)
{
    if (table_or_path.endsWith(QLatin1String(".save")) || table_or_path.contains(QLatin1Char('/')))
        return table_or_path;
    const QByteArray absolute = QFile::encodeName(QStringLiteral("/cell/tables/%1.save").arg(table_or_path));
    char rooted[4096];
    orvane_root_path(absolute.constData(), rooted, sizeof rooted);
    return QFile::decodeName(rooted);
}
