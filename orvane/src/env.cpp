// Where the host lives: the root folder and the cell instance name.
#include "orvane/common.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" size_t orvane_root_path(const char *absolute, char *out, size_t size)
{
    const char *root = std::getenv("ORVANE_ROOT");
    if (!root)
        root = "";
    if (!absolute)
        absolute = "";
    // A root given with a trailing slash must not double the separator.
    size_t root_len = std::strlen(root);
    while (root_len > 0 && root[root_len - 1] == '/')
        --root_len;
    int needed = std::snprintf(out, size, "%.*s%s", static_cast<int>(root_len), root, absolute);
    return needed < 0 ? 0 : static_cast<size_t>(needed);
}

extern "C" const char *orvane_cell_instance(void)
{
    const char *cell = std::getenv("ORVANE_CELL");
    return (cell && *cell) ? cell : "cell";
}
