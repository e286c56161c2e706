#include "flow_questions.h"

#include "vrel_cfg.h"

namespace {

const char kAdjustTitle[] = "Adjust Calibration?";
const char kReuseTitle[] = "Re-Use Calibration?";
const char kVerificationData[] = "This data was collected as verification, not for calibration.\n\n";

FlowQuestion ask(const char *title, const QString &text, int band)
{
    return {QString::fromLatin1(title), text, band};
}

FlowQuestion silent(int band)
{
    return {QString(), QString(), band};
}

} // namespace

FlowQuestion reuse_question(uint16_t cal_mode, uint16_t tol_state)
{
    if (tol_state > TOL_SOOT)
        return silent(-1);
    if (cal_mode == CAL_AS_FOUND) {
        if (tol_state == TOL_NOADJ)
            return silent(TOL_NOADJ);
        if (tol_state == TOL_OOA)
            return ask(kReuseTitle,
                       QStringLiteral("Data shows that this channel needs to be adjusted.\n\nDo you want to re-use "
                                      "last calibration anyway?"),
                       TOL_OOA);
        return ask(kReuseTitle,
                   QStringLiteral("Data shows that this channel needs service.\n\nDo you want to re-use last "
                                  "calibration anyway?"),
                   TOL_SOOT);
    }
    if (cal_mode == CAL_VERIFICATION)
        return ask(kAdjustTitle,
                   QString::fromLatin1(kVerificationData) +
                       (tol_state == TOL_NOADJ ? QStringLiteral("Do you want to update cal anyway?")
                                               : QStringLiteral("Do you want to adjust anyway?")),
                   TOL_NOADJ);
    return silent(-1);
}

FlowQuestion adjust_question(uint16_t cal_mode, uint16_t tol_state)
{
    if (tol_state > TOL_SOOT)
        return silent(-1);
    if (cal_mode == CAL_AS_FOUND) {
        if (tol_state == TOL_NOADJ)
            return ask(kAdjustTitle,
                       QStringLiteral("Data shows that this channel does not require adjustment.\n\nDo you want "
                                      "to adjust anyway?"),
                       TOL_NOADJ);
        if (tol_state == TOL_OOA)
            return silent(TOL_NOADJ);
        return ask(kAdjustTitle,
                   QStringLiteral("Data shows that this channel needs service.\n\nDo you want to adjust the "
                                  "calibration anyway?"),
                   TOL_SOOT);
    }
    if (cal_mode == CAL_VERIFICATION)
        return ask(kAdjustTitle, QString::fromLatin1(kVerificationData) + QStringLiteral("Do you want to adjust anyway?"),
                   TOL_NOADJ);
    return silent(-1);
}

QString as_found_next_step(uint16_t tol_state)
{
    // Without the full stop of the verification text: the two differ, and stay so.
    if (tol_state == TOL_OOT || tol_state == TOL_SOOT)
        return QStringLiteral("<font color='red'>Channel is out of tolerance,<br>perform service and capture new "
                              "data</font>");
    return QString();
}

QString verification_next_step(uint16_t tol_state)
{
    switch (tol_state) {
    case TOL_NOADJ:
        return QStringLiteral("<font color='red'>Channel is within expected range</font>");
    case TOL_OOA:
        return QStringLiteral("<font color='red'>Channel is outside of expected range</font>");
    case TOL_OOT:
    case TOL_SOOT:
        return QStringLiteral("<font color='red'>Channel is out of tolerance,<br>perform service and capture new "
                              "data.</font>");
    default:
        return QString();
    }
}
