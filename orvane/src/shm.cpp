// Shared-memory segments of the host, one POSIX shared-memory object per
// segment id, named after the cell instance.
#include "orvane/cell.h"
#include "orvane/log.h"
#include "orvane/shm.h"
#include "orvane/strings.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>

namespace {

struct Mapping {
    void *address = nullptr;
    size_t size = 0;
    dev_t device = 0;
    ino_t inode = 0;
};

std::mutex mappings_lock;
std::map<int, Mapping> read_only_mappings;

// Opens the segment `id` and reads its size; -1 when it does not exist or
// is empty.
int open_segment(int id, int flags, struct stat &st)
{
    char name[128];
    orvane_segment_name(id, name, sizeof name);
    int fd = shm_open(name, flags, 0);
    if (fd < 0)
        return -1;
    if (fstat(fd, &st) != 0 || st.st_size <= 0) {
        close(fd);
        return -1;
    }
    return fd;
}

// Maps the segment `id` read-only, reusing the last mapping while the
// object is the same one: pointers handed out earlier stay valid, and a
// segment the host replaced (a rebuild) is mapped anew.
void *map_read_only(int id)
{
    struct stat st {};
    int fd = open_segment(id, O_RDONLY, st);
    if (fd < 0)
        return nullptr;
    std::lock_guard<std::mutex> guard(mappings_lock);
    auto found = read_only_mappings.find(id);
    if (found != read_only_mappings.end() && found->second.device == st.st_dev &&
        found->second.inode == st.st_ino && found->second.size == static_cast<size_t>(st.st_size)) {
        close(fd);
        return found->second.address;
    }
    void *address = mmap(nullptr, static_cast<size_t>(st.st_size), PROT_READ, MAP_SHARED, fd, 0);
    close(fd);
    if (address == MAP_FAILED)
        return nullptr;
    // The previous mapping is deliberately kept: another thread may still
    // be reading through a pointer into it.
    read_only_mappings[id] = Mapping{address, static_cast<size_t>(st.st_size), st.st_dev, st.st_ino};
    return address;
}

const orv_control *control_block()
{
    auto *control = static_cast<const orv_control *>(get_shrd_mem(ORV_SEG_CONTROL, 0));
    if (!control || control->magic != ORV_CONTROL_MAGIC)
        return nullptr;
    return control;
}

} // namespace

extern "C" char *orvane_segment_name(int id, char *out, size_t size)
{
    std::snprintf(out, size, "/orvane.%s.%d", orvane_cell_instance(), id);
    // Shared-memory names may not hold further slashes.
    for (char *p = out + 1; *p; ++p)
        if (*p == '/')
            *p = '_';
    return out;
}

extern "C" void *orvane_segment_create(int id, size_t size)
{
    char name[128];
    orvane_segment_name(id, name, sizeof name);
    shm_unlink(name); // a new object, so that readers notice the replacement
    int fd = shm_open(name, O_RDWR | O_CREAT | O_EXCL, 0644);
    if (fd < 0)
        return nullptr;
    if (ftruncate(fd, static_cast<off_t>(size)) != 0) {
        close(fd);
        shm_unlink(name);
        return nullptr;
    }
    void *address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    return address == MAP_FAILED ? nullptr : address;
}

extern "C" void *orvane_segment_attach_rw(int id, size_t *size)
{
    struct stat st {};
    int fd = open_segment(id, O_RDWR, st);
    if (fd < 0)
        return nullptr;
    void *address = mmap(nullptr, static_cast<size_t>(st.st_size), PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    close(fd);
    if (address == MAP_FAILED)
        return nullptr;
    if (size)
        *size = static_cast<size_t>(st.st_size);
    return address;
}

extern "C" int orvane_segment_remove(int id)
{
    char name[128];
    orvane_segment_name(id, name, sizeof name);
    return shm_unlink(name);
}

extern "C" void *get_shrd_mem(int id, int /*reserved*/)
{
    return map_read_only(id);
}

extern "C" int link_to_memory(int id, void **pointer)
{
    void *address = map_read_only(id);
    if (!address)
        return 0;
    if (pointer)
        *pointer = address;
    return 1;
}

extern "C" unsigned short join_layer(int layer)
{
    const orv_control *control = control_block();
    if (!control)
        return 0xFFFF;
    if (control->refuse_task) {
        log_error("shm", __LINE__, 1, 5000, "task refused at layer %d of cell %s", layer,
                  orvane_cell_instance());
        return 5000;
    }
    return 0;
}

extern "C" void exit_auth_failure(void)
{
    log_error("shm", __LINE__, 1, 5000, "task not authorised on cell %s; exiting", orvane_cell_instance());
    std::fprintf(stderr, "Orvane: this task is not authorised on cell '%s'\n", orvane_cell_instance());
    std::exit(2);
}

namespace {

// The names are copied out of the segment once: the text handed out must
// stay valid even if the host goes away.
char *cached_name(size_t offset, size_t width, char *store)
{
    auto *attr = static_cast<const char *>(get_shrd_mem(ORV_SEG_SYS_ATTR, 0));
    if (!attr)
        return nullptr;
    std::memcpy(store, attr + offset, width);
    store[width] = '\0';
    return store;
}

} // namespace

extern "C" char *get_cell_name(int /*reserved*/)
{
    static char name[sizeof(orv_sys_attr::cell_name) + 1];
    return cached_name(offsetof(orv_sys_attr, cell_name), sizeof(orv_sys_attr::cell_name), name);
}

extern "C" char *get_site_name(int /*reserved*/)
{
    static char name[sizeof(orv_sys_attr::site_name) + 1];
    return cached_name(offsetof(orv_sys_attr, site_name), sizeof(orv_sys_attr::site_name), name);
}

extern "C" int is_display_env_var_empty(const char *program)
{
    const char *display = std::getenv("DISPLAY");
    if (display && *display)
        return 0;
    std::fprintf(stderr, "%s: the DISPLAY environment variable is empty; a display is needed\n",
                 program ? program : "program");
    return 1;
}
