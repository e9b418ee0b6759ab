#include "config/TessanAssert.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace {
std::mutex gAssertMutex;
AssertHandler& Handler()
{
    static AssertHandler sHandler;
    return sHandler;
}
} // namespace

AssertHandler SetAssertHandler(AssertHandler handler)
{
    std::lock_guard lock(gAssertMutex);
    AssertHandler old = std::move(Handler());
    Handler() = std::move(handler);
    return old;
}

void TessanAssertFailed(const char* expr, const char* source, const char* file, int line)
{
    AssertHandler handler;
    {
        std::lock_guard lock(gAssertMutex);
        handler = Handler();
    }
    if (handler) {
        handler(expr, source, file, line);
        return;
    }
    std::fprintf(stderr, "Assertion \"%s\" failed in %s (%s:%d)\n", expr, source, file, line);
    std::abort();
}
