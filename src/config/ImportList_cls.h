#pragma once
// The import list's defaults: what the data-open dialog remembers between runs — the folder it
// starts in, the file-type filter chosen last, and the most recently opened data files (newest
// first, kFileCount at most) for the "recent data" entries. Kept in the configuration file and in
// projects ("ImportListFolder=", "ImportListFilterIndex=", "ImportListFile0=" ...), so a project
// opened on another day starts the dialog where its data lives.
#include "config/ConfItemList_cls.h"

#include <array>
#include <string>
#include <vector>

class ImportList_cls
{
  public:
    static constexpr size_t kFileCount = 8;

    /// An empty list, filter 0 (all readable types), no folder.
    ImportList_cls();
    ImportList_cls(const ImportList_cls&) = delete;
    ImportList_cls& operator=(const ImportList_cls&) = delete;

    /// Records a data file that was opened or appended: its folder becomes the dialog's folder
    /// and the file moves to the front of the list (no duplicates, the oldest falls off). An
    /// empty path is ignored.
    void PushData(const std::wstring& path);
    /// The folder the open dialog starts in (empty: the working directory).
    std::wstring GetFolder() const { return mStrFolder.Get(); }
    /// The remembered file-type filter; an index at or beyond `filterCount` gives 0.
    unsigned GetFilterIndex(unsigned filterCount) const;
    void SetFilterIndex(unsigned index) { muFilterIndex.Set(index); }
    /// The remembered files, newest first, empty entries left out.
    std::vector<std::wstring> GetFiles() const;

    /// The settings as configuration lines (empty file entries write no line).
    std::wstring SerializeConf() const;
    /// Takes the line when it holds one of the list's keys.
    bool ReadStrLine(const std::wstring& line) { return mCConfList.ReadStrLineAll(line); }

  private:
    ConfItemList_cls mCConfList;
    ConfItemSTR_cls mStrFolder;
    ConfItemUINT_cls muFilterIndex;
    std::array<ConfItemSTR_cls, kFileCount> mvStrFiles;
};
