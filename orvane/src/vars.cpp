// Named host variables, looked up in the host's variable segment.
#include "orvane/vars.h"
#include "orvane/shm.h"

#include <cstring>

namespace {

const orv_variable_segment *variable_segment()
{
    return static_cast<const orv_variable_segment *>(get_shrd_mem(ORV_SEG_VARIABLES, 0));
}

} // namespace

extern "C" short find_variable(const char *name, vrbl_handle *handle)
{
    const orv_variable_segment *segment = variable_segment();
    if (!segment)
        return ORV_FAILURE;
    if (!name || !*name)
        return 1;
    int count = segment->count;
    if (count < 0 || count > ORV_MAX_VARIABLES)
        count = ORV_MAX_VARIABLES;
    for (int i = 0; i < count; ++i) {
        const orv_variable &variable = segment->variables[i];
        if (strncmp(variable.name, name, sizeof variable.name) == 0) {
            if (handle) {
                handle->word[0] = ORV_SEG_VARIABLES;
                handle->word[1] = i;
            }
            return 0;
        }
    }
    return 1;
}

extern "C" void *get_vrbl_adr(vrbl_handle handle)
{
    if (handle.word[0] != ORV_SEG_VARIABLES || handle.word[1] < 0 || handle.word[1] >= ORV_MAX_VARIABLES)
        return nullptr;
    const orv_variable_segment *segment = variable_segment();
    if (!segment)
        return nullptr;
    return const_cast<orv_variable *>(&segment->variables[handle.word[1]]);
}
