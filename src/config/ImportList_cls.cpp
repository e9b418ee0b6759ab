#include "config/ImportList_cls.h"

#include "config/TextFormat.h"

#include <filesystem>

ImportList_cls::ImportList_cls()
{
    mCConfList.Add(&mStrFolder, L"ImportListFolder=", L"");
    mCConfList.Add(&muFilterIndex, L"ImportListFilterIndex=", L"0");
    for (size_t i = 0; i < kFileCount; ++i)
        mCConfList.Add(&mvStrFiles[i], WStrPrintf("ImportListFile%d=", static_cast<int>(i)), L"");
}

void ImportList_cls::PushData(const std::wstring& path)
{
    if (path.empty())
        return;
    mStrFolder.Set(std::filesystem::path(path).parent_path().wstring());
    std::vector<std::wstring> files = GetFiles();
    std::erase(files, path);
    files.insert(files.begin(), path);
    for (size_t i = 0; i < kFileCount; ++i)
        mvStrFiles[i].Set(i < files.size() ? files[i] : std::wstring());
}

unsigned ImportList_cls::GetFilterIndex(unsigned filterCount) const
{
    return muFilterIndex.Get() < filterCount ? muFilterIndex.Get() : 0u;
}

std::vector<std::wstring> ImportList_cls::GetFiles() const
{
    std::vector<std::wstring> files;
    for (const auto& item : mvStrFiles)
        if (!item.Get().empty())
            files.push_back(item.Get());
    return files;
}

std::wstring ImportList_cls::SerializeConf() const
{
    // Unused entries are left out, so a short history does not fill the file with empty keys.
    std::wstring text = mStrFolder.Serialize() + muFilterIndex.Serialize();
    for (const auto& item : mvStrFiles)
        if (!item.Get().empty())
            text += item.Serialize();
    return text;
}
