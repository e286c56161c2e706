#include "history_cli.h"

#include "certificate.h"
#include "drift_plot.h"
#include "history_export.h"
#include "history_session.h"

#include <QJsonDocument>

const char kHistoryUsage[] =
    "Usage: vrel_history TABLE|FILE.save [--pdf FILE] [--csv FILE] [--json FILE] [--plot FILE.png]\n"
    "  TABLE         a table name under the host's tables folder (ORVANE_ROOT/cell/tables)\n"
    "  FILE.save     a channel's archive by its path\n"
    "  --pdf FILE    the certificate of the newest calibration\n"
    "  --csv FILE    all records with their errors, the drift and the interval, as CSV\n"
    "  --json FILE   the same as JSON\n"
    "  --plot FILE   the drift plot as a PNG picture\n"
    "With none of these options the history opens in a window.\n";

std::optional<HistoryOptions> parse_history_options(const QStringList &arguments, QString *error)
{
    HistoryOptions options;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString &argument = arguments.at(i);
        QString *target = argument == QLatin1String("--pdf")    ? &options.pdf
                          : argument == QLatin1String("--csv")  ? &options.csv
                          : argument == QLatin1String("--json") ? &options.json
                          : argument == QLatin1String("--plot") ? &options.plot
                                                                : nullptr;
        if (target) {
            if (i + 1 >= arguments.size() || arguments.at(i + 1).isEmpty()) {
                *error = QStringLiteral("%1 needs a file name").arg(argument);
                return std::nullopt;
            }
            *target = arguments.at(++i);
        } else if (argument.startsWith(QLatin1String("--"))) {
            *error = QStringLiteral("unknown option %1").arg(argument);
            return std::nullopt;
        } else if (options.channel.isEmpty()) {
            options.channel = argument;
        } else {
            *error = QStringLiteral("one channel at a time: %1 and %2").arg(options.channel, argument);
            return std::nullopt;
        }
    }
    if (options.channel.isEmpty()) {
        *error = QStringLiteral("no table or archive named");
        return std::nullopt;
    }
    return options;
}

int run_headless(const HistoryOptions &options, QStringList &log)
{
    QString error;
    const std::optional<HistorySession> session = open_history(options.channel, &error);
    if (!session) {
        log << error;
        return 1;
    }
    for (const ArchiveDamage &damage : session->damage)
        log << QStringLiteral("%1: damaged record at line %2 skipped: %3")
                   .arg(session->archive)
                   .arg(damage.line)
                   .arg(damage.reason);
    int status = 0;
    auto written = [&](bool ok, const QString &what, const QString &path) {
        if (ok)
            log << QStringLiteral("%1 written to %2").arg(what, path);
        else {
            log << error;
            status = 3;
        }
    };
    if (!options.csv.isEmpty())
        written(write_file(options.csv, history_csv(session->history, session->damage), &error),
                QStringLiteral("history"), options.csv);
    if (!options.json.isEmpty())
        written(write_file(options.json,
                           QJsonDocument(history_json(session->history, session->damage)).toJson(),
                           &error),
                QStringLiteral("history"), options.json);
    if (!options.plot.isEmpty()) {
        const bool ok = save_drift_picture(session->history, options.plot);
        if (!ok)
            error = QStringLiteral("cannot write %1").arg(options.plot);
        written(ok, QStringLiteral("drift plot"), options.plot);
    }
    if (!options.pdf.isEmpty()) {
        const std::optional<CertificateInput> input = newest_certificate(*session, QDate::currentDate(), &error);
        if (!input) {
            log << QStringLiteral("no certificate: %1").arg(error);
            status = 3;
        } else {
            written(write_certificate_pdf(options.pdf, *input, &error),
                    QStringLiteral("certificate %1").arg(certificate_number(*input)), options.pdf);
        }
    }
    return status;
}
