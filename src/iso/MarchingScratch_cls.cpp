#include "iso/MarchingScratch_cls.h"

std::unique_ptr<MarchingScratch_cls> MarchingScratchPool_cls::Acquire()
{
    std::lock_guard<std::mutex> lock(mMutex);
    if (mvFree.empty())
        return std::make_unique<MarchingScratch_cls>();
    std::unique_ptr<MarchingScratch_cls> s = std::move(mvFree.back());
    mvFree.pop_back();
    return s;
}

void MarchingScratchPool_cls::Release(std::unique_ptr<MarchingScratch_cls> scratch)
{
    if (!scratch)
        return;
    std::lock_guard<std::mutex> lock(mMutex);
    mvFree.push_back(std::move(scratch));
}

void MarchingScratchPool_cls::Clear()
{
    std::lock_guard<std::mutex> lock(mMutex);
    mvFree.clear();
}
