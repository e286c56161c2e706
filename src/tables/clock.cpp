#include "clock.h"

namespace
{
std::time_t fixed_seconds = 0;
}

std::time_t vrel_now()
{
    return fixed_seconds != 0 ? fixed_seconds : std::time(nullptr);
}

QDateTime vrel_now_qt()
{
    if (fixed_seconds == 0)
        return QDateTime::currentDateTime();
    return QDateTime::fromSecsSinceEpoch(static_cast<qint64>(fixed_seconds));
}

void set_fixed_clock(std::time_t seconds)
{
    fixed_seconds = seconds;
}
