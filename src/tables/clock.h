// The writers' clock.  Every time stamp that goes into the channel's files
// is taken here, so that the tests can fix it.
#pragma once

#include <QDateTime>

#include <ctime>

// The current time: the real clock, or the fixed time a test has set.
std::time_t vrel_now();
// The same instant as a local QDateTime.
QDateTime vrel_now_qt();

// For tests only: every later call of the two above returns `seconds`;
// 0 goes back to the real clock.
void set_fixed_clock(std::time_t seconds);
