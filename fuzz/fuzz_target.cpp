// One libFuzzer program per entry of fuzz_entries.h, picked by the name
// that VREL_FUZZ_TARGET gives at compile time.  A broken promise aborts,
// which libFuzzer reports as a crash and keeps as an input.
#include "fuzz_entries.h"

#include <cstdio>
#include <cstdlib>

#ifndef VREL_FUZZ_TARGET
#error "VREL_FUZZ_TARGET names the entry of fuzz_entries.h this program runs"
#endif

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const FuzzTarget *const target = fuzz_target(VREL_FUZZ_TARGET);
    if (!target) {
        std::fprintf(stderr, "fuzz: no target named %s\n", VREL_FUZZ_TARGET);
        std::abort();
    }
    const std::string broken = target->run(data, size);
    if (!broken.empty()) {
        std::fprintf(stderr, "fuzz %s: %s\n", target->name, broken.c_str());
        std::abort();
    }
    return 0;
}
