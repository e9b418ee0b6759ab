#include "config/Preference_cls.h"

#include "config/TextFormat.h"

#include <thread>

Preference_cls::Preference_cls()
{
    unsigned cores = std::thread::hardware_concurrency();
    if (cores < 1)
        cores = 1;
    if (cores > 16)
        cores = 16;
    mCConfList.Add(&miThreadNumFilter, L"ThreadNumFilter=", WStrPrintf("%u", cores));
}

Preference_cls& GetPreference()
{
    static Preference_cls sPreference;
    return sPreference;
}
