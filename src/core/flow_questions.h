// The questions the two finishing buttons ask when the decision and the
// data disagree, by the record's cal_mode and tol_state.
#pragma once

#include <QString>

#include <cstdint>

struct FlowQuestion {
    QString title; // empty: no question
    QString text;
    int date_band = -1; // the style of the date field on Yes or without a question; -1 keeps it
};

// "Accept No-Adjust".
FlowQuestion reuse_question(uint16_t cal_mode, uint16_t tol_state);
// "Adjust & Rebuild Calibration".
FlowQuestion adjust_question(uint16_t cal_mode, uint16_t tol_state);

// The next-step line after a record, by band ("" keeps the line).
QString as_found_next_step(uint16_t tol_state);
QString verification_next_step(uint16_t tol_state);
