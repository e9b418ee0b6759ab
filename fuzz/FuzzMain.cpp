// One libFuzzer target: TESSAN_FUZZ_ENTRY names the entry point it drives (set per target by
// fuzz/CMakeLists.txt), so every input kind gets its own program, corpus and statistics.
#include "FuzzEntries.h"

#include "config/Preference_cls.h"
#include "config/TessanAssert.h"

#include <cstdio>
#include <cstdlib>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    // A failed check in the core is a finding like a crash: report it and abort.
    SetAssertHandler([](const char* expr, const char* source, const char* file, int line) {
        std::fprintf(stderr, "assertion failed: %s (%s) at %s:%d\n", expr, source, file, line);
        std::abort();
    });
    // One worker: the filters then run their ranges on the calling thread instead of starting
    // threads for every input (most of the time of a chain over a tiny volume). The corpus replay
    // in test_fuzz keeps the default count, so the split ranges stay covered there.
    GetPreference().SetThreadNumFilter(1);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    return TESSAN_FUZZ_ENTRY(data, size);
}
