#include "startup.h"

#include "functions.h"
#include "messageboxes.h"
#include "vrel_cfg.h"

#include <orvane/log.h>
#include <orvane/strings.h>
#include <orvane/units.h>

#include <QApplication>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSocketNotifier>

#include <clocale>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

void prepare_application()
{
    std::setlocale(LC_NUMERIC, "C");
    std::setlocale(LC_TIME, "C");
    QFont font = QApplication::font();
    font.setPointSize(11);
    QApplication::setFont(font);
}

bool parse_debug_flag(int argc, char **argv)
{
    return argc > 1 && std::strcmp(argv[1], "-d") == 0;
}

int16_t touch_screen_marker_present()
{
    return QFileInfo::exists(host_path("/cell/orvane_ts.ini")) ? 1 : 0;
}

namespace {

int sigterm_pipe[2] = {-1, -1};

void on_sigterm(int)
{
    const char byte = 1;
    ssize_t written = write(sigterm_pipe[1], &byte, 1);
    (void)written;
}

} // namespace

void install_sigterm_exit()
{
    if (sigterm_pipe[0] >= 0)
        return;
    if (pipe2(sigterm_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    auto *notifier = new QSocketNotifier(sigterm_pipe[0], QSocketNotifier::Read, QCoreApplication::instance());
    QObject::connect(notifier, &QSocketNotifier::activated, [] {
        // One byte per signal: each SIGTERM ends the event loop running at
        // that moment, a modal box's as well as the application's.
        char byte;
        if (read(sigterm_pipe[0], &byte, 1) == 1)
            QCoreApplication::exit(0);
    });
    std::signal(SIGTERM, on_sigterm);
}

bool connect_to_host()
{
    int linked = link_shared_memory();
    if ((linked & 0xFFFF) == 0xFFFF) {
        show_information("Failure initializing shared memory for task - exiting");
        log_error("mainwindow", __LINE__, 1, linked, "Failure Initializing Shared Memory for vrel_util task");
        return false;
    }
    short units = units_init_access(1);
    if ((units & 0xFFFF) == 0xFFFF) {
        show_information("Failure initializing units for task - exiting");
        log_error("mainwindow", __LINE__, 1, units, "Failure Initializing Units for vrel task,");
        return false;
    }
    return true;
}

namespace {

bool make_directory(QWidget *parent, const char *absolute, const char *failure_text)
{
    const QString path = host_path(absolute);
    if (QDir(path).exists() || QDir().mkpath(path))
        return true;
    QMessageBox box(parent);
    style_message_box(box, true);
    box.setWindowTitle(QStringLiteral("FATAL ERROR"));
    box.setText(QString::fromLatin1(failure_text));
    box.setStandardButtons(QMessageBox::Ok);
    box.exec();
    return false;
}

} // namespace

bool make_data_directories(QWidget *parent)
{
    bool uut_ref = make_directory(parent, "/cell/tables/uut_ref_data/",
                                  "Unable to create the /cell/tables/uut_ref directory successfully. Check the "
                                  "permissions on the /cell/tables directory.\n\nExiting the application.");
    bool verifications = make_directory(parent, "/cell/tables/verifications/",
                                        "Unable to create the /cell/tables/verifications directory successfully. "
                                        "Check the permissions on the /cell/tables directory.\n\nExiting the "
                                        "application.");
    return uut_ref && verifications;
}

bool read_cell_names(CellInfo *info)
{
    const char *cell = get_cell_name(1);
    if (!cell)
        return false;
    copyn("mainwindow", __LINE__, info->cell_name, cell, sizeof info->cell_name);
    const char *site = get_site_name(0);
    if (!site)
        return false;
    copyn("mainwindow", __LINE__, info->site_name, site, sizeof info->site_name);
    return true;
}

int32_t averaging_count_for(int tick_ms, long seconds)
{
    if (tick_ms <= 0)
        return 0;
    return static_cast<int32_t>((1000 / tick_ms) * seconds);
}
