#include "config/GlobalFlags.h"

std::atomic<bool> GbGLLockForLoading{false};
std::atomic<bool> GbGLUnlockOK{false};
std::atomic<bool> GbGLLockForMultithread{false};
std::atomic<bool> GbGLForceWaitThreadEnd{false};
