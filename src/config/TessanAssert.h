#pragma once
// Programming-error checks. A failed check names its source (e.g. "SRC/DF3/clsDF3") and the
// condition, and is reported through an installable handler: by default it prints to stderr
// and aborts; tests install a handler that records the failure instead.
#include <functional>
#include <string>

/// Called with (condition text, source name, file, line) on a failed check.
using AssertHandler = std::function<void(const char* expr, const char* source, const char* file, int line)>;

/// Installs a handler (an empty one restores the default). Returns the previous handler.
AssertHandler SetAssertHandler(AssertHandler handler);
/// Reports a failed check through the current handler.
void TessanAssertFailed(const char* expr, const char* source, const char* file, int line);

/// Checks expr; on failure reports it with the given source name. Always active.
#define TESSAN_ASSERT(expr, source)                                                                \
    do {                                                                                           \
        if (!(expr))                                                                               \
            TessanAssertFailed(#expr, source, __FILE__, __LINE__);                                 \
    } while (0)
