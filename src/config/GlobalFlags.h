#pragma once
// Flags that keep the GUI thread from drawing while loading and filter workers own the buffers it
// would draw. Set only by the controller that starts and joins the work; read by the drawing code.
#include <atomic>

/// Set while a frame is being loaded on behalf of the drawing code.
extern std::atomic<bool> GbGLLockForLoading;
/// Set when drawing may resume after a load.
extern std::atomic<bool> GbGLUnlockOK;
/// Set while filter or extraction workers run over frame buffers.
extern std::atomic<bool> GbGLLockForMultithread;
/// Set to make drawing wait until running workers have ended.
extern std::atomic<bool> GbGLForceWaitThreadEnd;
