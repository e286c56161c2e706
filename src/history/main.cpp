// vrel_history: a channel's calibration history, drift, interval and
// certificate.  See kHistoryUsage.
#include "history_cli.h"
#include "historywindow.h"

#include <QApplication>

#include <cstdio>

int main(int argc, char **argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);
    QString error;
    const std::optional<HistoryOptions> options = parse_history_options(arguments, &error);
    if (!options) {
        std::fprintf(stderr, "vrel_history: %s\n%s", qPrintable(error), kHistoryUsage);
        return 2;
    }
    // Files are written without a display; the PDF and the picture still
    // need a platform for their fonts.
    if (options->headless() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    if (options->headless()) {
        QStringList log;
        const int status = run_headless(*options, log);
        for (const QString &line : log)
            std::fprintf(status == 0 ? stdout : stderr, "vrel_history: %s\n", qPrintable(line));
        return status;
    }
    const std::optional<HistorySession> session = open_history(options->channel, &error);
    if (!session) {
        std::fprintf(stderr, "vrel_history: %s\n", qPrintable(error));
        return 1;
    }
    HistoryWindow window(*session);
    window.show();
    return app.exec();
}
