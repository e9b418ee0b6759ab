#pragma once
// Program-wide preferences (the preferences dialog edits them; they are saved in the
// configuration file). One instance for the process, reached through GetPreference().
#include "config/ConfItemList_cls.h"

class Preference_cls {
public:
    Preference_cls();
    /// Worker threads used by filters, marching cubes and writers ("ThreadNumFilter=";
    /// default: the number of cores). Read on the GUI thread before work is started.
    int GetThreadNumFilter() const { return miThreadNumFilter.Get(); }
    void SetThreadNumFilter(int n) { miThreadNumFilter.Set(n); }
    ConfItemList_cls& GetConfList() { return mCConfList; }

private:
    ConfItemList_cls mCConfList;
    ConfItemINT_cls miThreadNumFilter;
};

/// The process-wide preferences.
Preference_cls& GetPreference();
