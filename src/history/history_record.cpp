#include "history_record.h"

bool HistoryRecord::as_left() const
{
    return adjusting() || mode == QLatin1String("VERIFICATION") || mode == QLatin1String("REUSE");
}

bool HistoryRecord::adjusting() const
{
    return mode == QLatin1String("ADJUSTED") || mode == QLatin1String("CORRELATION_CHANGE");
}

QString mode_title(const QString &mode)
{
    static const struct {
        const char *word, *title;
    } titles[] = {{"AS_FOUND", "As-Found"},
                  {"ADJUSTED", "Adjusted"},
                  {"VERIFICATION", "Verification"},
                  {"REUSE", "Re-use"},
                  {"CORRELATION_CHANGE", "Correlation change"},
                  {"NOADJ", "No adjustment"},
                  {"AFTER_SERVICE", "After service"},
                  {"auto_cal", "Auto cal"},
                  {"auto_cal_complete", "Auto cal complete"}};
    for (const auto &t : titles)
        if (mode == QLatin1String(t.word))
            return QString::fromLatin1(t.title);
    return mode;
}
