// orvane-sim: the simulated test cell.  See usage() for the commands.
#include "cell_model.h"
#include "cell_runtime.h"
#include "demo_history.h"
#include "demo_tables.h"

#include <orvane/cell.h>
#include <orvane/log.h>
#include <orvane/shm.h>
#include <orvane/vars.h>

#include <fcntl.h>
#include <limits.h>
#include <poll.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

using namespace orvsim;

namespace {

volatile sig_atomic_t stop_requested = 0;
volatile sig_atomic_t vanish_requested = 0;

void on_stop(int) { stop_requested = 1; }
void on_vanish(int) { vanish_requested = 1; }

int usage(FILE *out)
{
    std::fprintf(out,
                 "usage: orvane-sim COMMAND [ARGS]\n"
                 "\n"
                 "A simulated engine test cell for the calibration utility.  The cell\n"
                 "instance is named by ORVANE_CELL (default \"cell\"), its files live under\n"
                 "ORVANE_ROOT (default: the real root).\n"
                 "\n"
                 "  run   [OPTIONS]        run the cell in the foreground until SIGTERM or Ctrl-C\n"
                 "  start [OPTIONS]        run it in the background; returns once it is ready\n"
                 "  stop                   stop the cell cleanly, removing its shared memory\n"
                 "  kill                   end a cell that does not stop (SIGKILL) and remove its memory\n"
                 "  status                 print the cell and every channel's live values\n"
                 "  apply CHANNEL VALUE    apply a physical value to a channel's sensor\n"
                 "  freeze | resume        stop or resume publishing live values\n"
                 "  refuse on|off          make the host refuse (or accept) the utility's task\n"
                 "  vanish                 the host disappears at once: shared memory removed\n"
                 "  demo-tables [OPTIONS]  only write the demo tables that are missing\n"
                 "\n"
                 "OPTIONS: --cell FILE (cell description, INI), --tick MS (scheduler tick),\n"
                 "         --seed N, --no-noise, --no-demo-tables,\n"
                 "         --history (with the demo tables, archives of a few years of earlier\n"
                 "         calibrations where a channel has none)\n");
    return out == stderr ? 2 : 0;
}

struct Options {
    std::string cell_file;
    int tick_ms = 0;
    long long seed = -1;
    bool no_noise = false;
    bool demo_tables = true;
    bool history = false;
};

bool parse_options(int argc, char **argv, int first, Options &options)
{
    for (int i = first; i < argc; ++i) {
        std::string arg = argv[i];
        auto value = [&](const char *name) -> const char * {
            if (i + 1 >= argc) {
                std::fprintf(stderr, "orvane-sim: %s needs a value\n", name);
                return nullptr;
            }
            return argv[++i];
        };
        if (arg == "--cell") {
            const char *v = value("--cell");
            if (!v)
                return false;
            options.cell_file = v;
        } else if (arg == "--tick") {
            const char *v = value("--tick");
            if (!v)
                return false;
            options.tick_ms = std::atoi(v);
            if (options.tick_ms < 1 || options.tick_ms > 10000) {
                std::fprintf(stderr, "orvane-sim: --tick must be 1 to 10000 milliseconds\n");
                return false;
            }
        } else if (arg == "--seed") {
            const char *v = value("--seed");
            if (!v)
                return false;
            options.seed = std::atoll(v);
        } else if (arg == "--no-noise") {
            options.no_noise = true;
        } else if (arg == "--no-demo-tables") {
            options.demo_tables = false;
        } else if (arg == "--history") {
            options.history = true;
        } else {
            std::fprintf(stderr, "orvane-sim: unknown option '%s'\n", arg.c_str());
            return false;
        }
    }
    return true;
}

bool load_cell(const Options &options, CellSpec &cell)
{
    if (options.cell_file.empty()) {
        cell = default_cell();
    } else {
        IniDocument doc;
        IniError error;
        if (!parse_ini_file(options.cell_file, doc, error) || !cell_from_ini(doc, cell, error)) {
            if (error.line > 0)
                std::fprintf(stderr, "orvane-sim: %s:%d: %s\n", options.cell_file.c_str(), error.line,
                             error.reason.c_str());
            else
                std::fprintf(stderr, "orvane-sim: %s\n", error.reason.c_str());
            return false;
        }
    }
    if (options.tick_ms > 0)
        cell.tick_ms = options.tick_ms;
    if (options.seed >= 0)
        cell.seed = static_cast<uint64_t>(options.seed);
    if (options.no_noise)
        cell.noise_pct = 0.0;
    return true;
}

std::string rooted(const char *absolute)
{
    char path[PATH_MAX];
    orvane_root_path(absolute, path, sizeof path);
    return path;
}

// The demo tables that are missing and, with --history, the archives that
// are missing.  Returns the number of tables written, or -1.
int write_demo_files(const CellSpec &cell, const Options &options)
{
    const std::time_t now = std::time(nullptr);
    const int written = write_demo_tables(cell, rooted("/cell/tables"), now);
    if (written >= 0 && options.history)
        write_demo_histories(cell, rooted("/cell/tables"), now);
    return written;
}


// The utility starts the host's table builder at /orvane/bin/bld_tables;
// under a private root that path is made to point at the builder that was
// built beside this program.
void install_builder_link()
{
    std::string link = rooted("/orvane/bin/bld_tables");
    struct stat st {};
    if (lstat(link.c_str(), &st) == 0)
        return;
    char self[PATH_MAX];
    ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    if (length <= 0)
        return;
    self[length] = '\0';
    std::string target(self);
    target = target.substr(0, target.rfind('/') + 1) + "bld_tables";
    if (access(target.c_str(), X_OK) != 0)
        return;
    std::string partial;
    for (size_t slash = link.find('/', 1); slash != std::string::npos; slash = link.find('/', slash + 1))
        mkdir(link.substr(0, slash).c_str(), 0755);
    if (symlink(target.c_str(), link.c_str()) != 0)
        log_error("orvane-sim", __LINE__, 1, errno, "cannot link %s to %s", link.c_str(), target.c_str());
}

double now_seconds()
{
    timespec ts {};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<double>(ts.tv_sec) + ts.tv_nsec * 1e-9;
}

// Runs the cell until asked to stop.  ready_fd, when not -1, gets one byte
// "R" once the cell is ready, or an error text.
int run_cell(const Options &options, int ready_fd)
{
    auto report_failure = [&](const std::string &message) {
        std::fprintf(stderr, "orvane-sim: %s\n", message.c_str());
        if (ready_fd >= 0) {
            std::string text = "E" + message;
            ssize_t written = write(ready_fd, text.data(), text.size());
            (void)written;
            close(ready_fd);
        }
        return 1;
    };
    CellSpec cell;
    if (!load_cell(options, cell))
        return report_failure("the cell description was refused");
    CellRuntime runtime(cell);
    std::string error;
    if (!runtime.lock_instance(error))
        return report_failure(error);
    if (options.demo_tables)
        write_demo_files(cell, options);
    install_builder_link();

    struct sigaction stop_action {};
    stop_action.sa_handler = on_stop;
    sigaction(SIGTERM, &stop_action, nullptr);
    sigaction(SIGINT, &stop_action, nullptr);
    struct sigaction vanish_action {};
    vanish_action.sa_handler = on_vanish;
    sigaction(SIGUSR1, &vanish_action, nullptr);

    if (!runtime.create(error))
        return report_failure(error);
    log_error("orvane-sim", __LINE__, 1, 0, "cell %s (%s) started, %d channels, tick %d ms",
              orvane_cell_instance(), cell.cell_name.c_str(), cell.channel_count(), cell.tick_ms);
    std::printf("orvane-sim: cell '%s' ready (pid %d, %d channels, tick %d ms)\n", orvane_cell_instance(),
                static_cast<int>(getpid()), cell.channel_count(), cell.tick_ms);
    std::fflush(stdout);
    if (ready_fd >= 0) {
        ssize_t written = write(ready_fd, "R", 1);
        (void)written;
        close(ready_fd);
    }

    const double start = now_seconds();
    timespec next {};
    clock_gettime(CLOCK_MONOTONIC, &next);
    const long tick_ns = static_cast<long>(cell.tick_ms) * 1000000L;
    while (!stop_requested && !vanish_requested) {
        next.tv_nsec += tick_ns;
        while (next.tv_nsec >= 1000000000L) {
            next.tv_nsec -= 1000000000L;
            ++next.tv_sec;
        }
        while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &next, nullptr) == EINTR)
            if (stop_requested || vanish_requested)
                break;
        if (stop_requested || vanish_requested)
            break;
        runtime.tick(now_seconds() - start);
    }
    if (vanish_requested) {
        // The host is gone without a word: names removed, no farewell.
        runtime.remove_segments();
        _exit(0);
    }
    log_error("orvane-sim", __LINE__, 1, 0, "cell %s stopped", orvane_cell_instance());
    return 0; // the runtime's destructor removes the segments
}

int start_in_background(const Options &options)
{
    int fds[2];
    if (pipe(fds) != 0) {
        std::perror("orvane-sim: pipe");
        return 1;
    }
    pid_t pid = fork();
    if (pid < 0) {
        std::perror("orvane-sim: fork");
        return 1;
    }
    if (pid == 0) {
        close(fds[0]);
        setsid();
        std::string log = rooted("/orvane/log/orvane-sim.out");
        for (size_t slash = log.find('/', 1); slash != std::string::npos; slash = log.find('/', slash + 1))
            mkdir(log.substr(0, slash).c_str(), 0755);
        int null_in = open("/dev/null", O_RDONLY);
        int out = open(log.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        if (out < 0)
            out = open("/dev/null", O_WRONLY);
        dup2(null_in, 0);
        dup2(out, 1);
        dup2(out, 2);
        _exit(run_cell(options, fds[1]));
    }
    close(fds[1]);
    // Ready is a byte on the pipe; an error text or a closed pipe is failure.
    pollfd wait_for {fds[0], POLLIN, 0};
    std::string answer;
    if (poll(&wait_for, 1, 15000) > 0) {
        char buffer[512];
        ssize_t got;
        while ((got = read(fds[0], buffer, sizeof buffer)) > 0)
            answer.append(buffer, static_cast<size_t>(got));
    }
    close(fds[0]);
    if (answer.empty() || answer[0] != 'R') {
        std::fprintf(stderr, "orvane-sim: the cell did not start%s%s\n", answer.size() > 1 ? ": " : "",
                     answer.size() > 1 ? answer.c_str() + 1 : "");
        return 1;
    }
    std::printf("orvane-sim: cell '%s' ready (pid %d)\n", orvane_cell_instance(), static_cast<int>(pid));
    return 0;
}

orv_control *running_control()
{
    auto *control = static_cast<orv_control *>(orvane_segment_attach_rw(ORV_SEG_CONTROL, nullptr));
    if (!control || control->magic != ORV_CONTROL_MAGIC || !control->ready) {
        std::fprintf(stderr, "orvane-sim: cell '%s' is not running\n", orvane_cell_instance());
        return nullptr;
    }
    return control;
}

bool process_alive(int pid) { return pid > 0 && (kill(pid, 0) == 0 || errno == EPERM); }

bool control_segment_exists()
{
    char name[128];
    orvane_segment_name(ORV_SEG_CONTROL, name, sizeof name);
    int fd = shm_open(name, O_RDONLY, 0);
    if (fd < 0)
        return false;
    close(fd);
    return true;
}

// Signals the running cell and waits until its control block is gone: the
// cell removes it last on the way out (the process itself may be a zombie
// that nobody reaps, so its pid proves nothing).
int signal_and_wait(int signal_number)
{
    orv_control *control = running_control();
    if (!control)
        return 1;
    int pid = control->pid;
    if (!process_alive(pid)) {
        std::fprintf(stderr, "orvane-sim: cell '%s' left shared memory behind (pid %d is gone); removing it\n",
                     orvane_cell_instance(), pid);
        CellRuntime(CellSpec{}).remove_segments();
        return 0;
    }
    kill(pid, signal_number);
    for (int i = 0; i < 1000; ++i) {
        if (!control_segment_exists())
            return 0;
        usleep(10000);
    }
    std::fprintf(stderr, "orvane-sim: cell '%s' (pid %d) did not stop\n", orvane_cell_instance(), pid);
    return 1;
}

// For a cell that does not answer stop (stopped, or hung): it gets no
// chance to clean up, so its shared memory is removed here.
int kill_cell()
{
    orv_control *control = running_control();
    if (!control)
        return 1;
    const int pid = control->pid;
    if (process_alive(pid))
        kill(pid, SIGKILL);
    CellRuntime(CellSpec{}).remove_segments();
    std::printf("orvane-sim: cell '%s' (pid %d) killed, its shared memory removed\n", orvane_cell_instance(), pid);
    return 0;
}

int apply_value(const char *channel_text, const char *value_text)
{
    orv_control *control = running_control();
    if (!control)
        return 1;
    char *end = nullptr;
    long channel = std::strtol(channel_text, &end, 10);
    if (*channel_text == '\0' || *end != '\0' || channel < 0 || channel >= control->channel_count) {
        std::fprintf(stderr, "orvane-sim: channel must be 0 to %d\n", control->channel_count - 1);
        return 1;
    }
    double value = std::strtod(value_text, &end);
    if (*value_text == '\0' || *end != '\0' || !std::isfinite(value)) {
        std::fprintf(stderr, "orvane-sim: '%s' is not a number\n", value_text);
        return 1;
    }
    store_live(&control->applied[channel], value);
    control->applied_set[channel] = 1;
    std::printf("orvane-sim: channel %ld applied %g\n", channel, value);
    return 0;
}

int print_status()
{
    orv_control *control = running_control();
    if (!control)
        return 1;
    auto *attr = static_cast<const orv_sys_attr *>(get_shrd_mem(ORV_SEG_SYS_ATTR, 0));
    auto *ai = static_cast<const orv_ai_real *>(get_shrd_mem(ORV_SEG_AI_REAL, 0));
    auto *mv = static_cast<const orv_millivolts *>(get_shrd_mem(ORV_SEG_MILLIVOLTS, 0));
    auto *transfer = static_cast<const orv_ai_transfer *>(get_shrd_mem(ORV_SEG_AI_TRANSFER, 0));
    auto *vars = static_cast<const orv_variable_segment *>(get_shrd_mem(ORV_SEG_VARIABLES, 0));
    if (!attr || !ai || !mv || !transfer) {
        std::fprintf(stderr, "orvane-sim: cell '%s' is incomplete\n", orvane_cell_instance());
        return 1;
    }
    std::printf("cell %s  instance %s  site %s  pid %d  tick %d ms  ticks %lld  %s%s\n", attr->cell_name,
                orvane_cell_instance(), attr->site_name, control->pid, control->tick_ms,
                static_cast<long long>(control->ticks), control->publishing ? "publishing" : "frozen",
                control->refuse_task ? "  refusing tasks" : "");
    std::printf("%3s  %-24s %-6s %-8s %-18s %12s %14s\n", "ch", "name", "active", "units", "table", "applied",
                "millivolts");
    for (int ch = 0; ch < attr->channel_count; ++ch)
        std::printf("%3d  %-24.24s %-6d %-8.8s %-18.18s %12.4f %14.5f\n", ch, ai[ch].name, ai[ch].active,
                    ai[ch].units, transfer[ch].table_name, control->applied[ch], mv[ch].value);
    if (vars)
        for (int i = 0; i < vars->count && i < ORV_MAX_VARIABLES; ++i)
            std::printf("variable %-16s %12.4f %s\n", vars->variables[i].name, vars->variables[i].value,
                        vars->variables[i].units);
    return 0;
}

int set_flag(int32_t orv_control::*flag, int value, const char *what)
{
    orv_control *control = running_control();
    if (!control)
        return 1;
    __atomic_store_n(&(control->*flag), value, __ATOMIC_RELAXED);
    std::printf("orvane-sim: %s\n", what);
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        return usage(stderr);
    std::string command = argv[1];
    Options options;
    if (command == "run" || command == "start" || command == "demo-tables") {
        if (!parse_options(argc, argv, 2, options))
            return 2;
        if (command == "run")
            return run_cell(options, -1);
        if (command == "start")
            return start_in_background(options);
        CellSpec cell;
        if (!load_cell(options, cell))
            return 1;
        const int written = write_demo_files(cell, options);
        if (written < 0) {
            std::fprintf(stderr, "orvane-sim: cannot make %s\n", rooted("/cell/tables").c_str());
            return 1;
        }
        std::printf("orvane-sim: %d demo tables written to %s\n", written, rooted("/cell/tables").c_str());
        return 0;
    }
    if (command == "stop" && argc == 2)
        return signal_and_wait(SIGTERM);
    if (command == "kill" && argc == 2)
        return kill_cell();
    if (command == "vanish" && argc == 2)
        return signal_and_wait(SIGUSR1);
    if (command == "status" && argc == 2)
        return print_status();
    if (command == "apply" && argc == 4)
        return apply_value(argv[2], argv[3]);
    if (command == "freeze" && argc == 2)
        return set_flag(&orv_control::publishing, 0, "live values frozen");
    if (command == "resume" && argc == 2)
        return set_flag(&orv_control::publishing, 1, "live values published again");
    if (command == "refuse" && argc == 3 && (std::strcmp(argv[2], "on") == 0 || std::strcmp(argv[2], "off") == 0))
        return set_flag(&orv_control::refuse_task, std::strcmp(argv[2], "on") == 0,
                        std::strcmp(argv[2], "on") == 0 ? "tasks will be refused" : "tasks will be accepted");
    if (command == "help" || command == "--help" || command == "-h")
        return usage(stdout);
    return usage(stderr);
}
