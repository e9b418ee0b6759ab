#include "pov/ThreadPovRay.h"

#include "config/TextFormat.h"
#include "pov/PovRay_cls.h"

#include <cstdio>
#include <cstdlib>
#include <sys/wait.h>

void ThreadPovRay::SetParameters(PovRay_cls* owner, const std::wstring& command, const std::wstring& postCommands)
{
    mpOwner = owner;
    mStrCommand = command;
    mStrPostCommands = postCommands;
}

void ThreadPovRay::Entry()
{
    mbRunning.store(true);
    int ret = std::system(Narrow(mStrCommand).c_str());
    // The shell's raw status folds the exit code into the high byte; report the exit code.
    if (ret != -1 && WIFEXITED(ret))
        ret = WEXITSTATUS(ret);
    else if (ret != -1 && WIFSIGNALED(ret))
        ret = 128 + WTERMSIG(ret);
    miReturnValue.store(ret);
    std::printf("Return Value=%d\n", ret);
    if (ret != 0 && mpOwner != nullptr)
        mpOwner->PostError(mStrCommand);
    if (!mStrPostCommands.empty()) {
        std::system(Narrow(mStrPostCommands).c_str());
        std::printf("Commands=%ls\n", mStrCommand.c_str());
        std::printf("PostSceneCommands=%ls\n", mStrPostCommands.c_str());
    }
    std::fflush(stdout);
    mbRunning.store(false);
    if (mpOwner != nullptr)
        mpOwner->PostFinished();
}
