#pragma once
// The view anchor: the one point of the scene that every view panel orbits around. Panning a
// view moves it (and with it the orbit centre of the other views); a project keeps it in the
// block "--AnchorPos" with the line "AnchorPos=x y z", so an opened scene turns around the
// same point again. Model only: the canvas applies it to the views' cameras.
#include "config/ConfItemList_cls.h"
#include "pov/Camera_cls.h"

#include <string>

class LineStream_cls;

class ViewAnchor_cls
{
  public:
    /// The block marker.
    static constexpr const wchar_t* kMarker = L"--AnchorPos";

    /// The origin.
    ViewAnchor_cls();
    ViewAnchor_cls(const ViewAnchor_cls&) = delete;
    ViewAnchor_cls& operator=(const ViewAnchor_cls&) = delete;

    /// The anchor in world units. Non-finite components read as 0.
    Vec3d Get() const;
    /// Sets the anchor (stored as the file stores it: single precision).
    void Set(const Vec3d& anchor);
    /// True once a file's anchor line was read since the last ClearReadFlag (the views take the
    /// anchor over only then; files without the block leave the views' own anchors alone).
    bool WasRead() const { return mbRead; }
    void ClearReadFlag() { mbRead = false; }

    /// The marker line and the "AnchorPos=" line.
    std::wstring SerializeAnchor() const;
    /// Takes the marker (and the anchor line right after it, when it is one) or an anchor line.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& line);

  private:
    ConfItemList_cls mCConfList;
    ConfItemFLOATARRAY_cls mCItemAnchor;
    bool mbRead = false;
};
