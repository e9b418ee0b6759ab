#pragma once
// Time series of image stacks: which stacks form the frames of a slot when the user points at one
// slice. Microscopes and CT scanners export a time series in one of two ways, and both are found
// from any slice of any time point:
//
// - one folder per time point: "run/t000/img_000.png ... run/t000/img_099.png", "run/t001/..."
//   (the folder's name carries the time number, the file's the slice number; every numbered
//   sibling folder with the same name pattern that holds slices of the same name pattern is a
//   frame);
// - time and slice in one file name: "cell_t000_z000.tif ... cell_t000_z039.tif", "cell_t001_z000
//   .tif", ... (the last digit group of the name is the slice, the group before it the time; text
//   between and after the groups must match).
//
// A series of multi-page TIFF files ("vol_t000.tif", "vol_t001.tif", each holding a whole stack)
// is a third, simpler case: each numbered file is a frame. When none of these finds more than one
// frame, the slice's own stack is the only frame. Frames are ordered by their time number from the
// lowest one found; each frame's slices are the numbered files of its stack from the lowest to the
// highest slice number.
#include "volume/DF3Sequence_cls.h"

#include <string>
#include <vector>

class ImageStackSeries_cls
{
  public:
    /// How the frames of a series were found.
    enum Layout {
        kLayoutSingle = 0,     ///< one stack (no time series around it)
        kLayoutFolders = 1,    ///< one numbered folder per time point
        kLayoutTimeInName = 2, ///< time and slice numbers in one file name
        kLayoutTiffPages = 3   ///< one multi-page TIFF file per time point
    };

    /// The frames of the series that `slice` belongs to (see above), as file entries of an image
    /// stack: the first and the last slice of each stack (or the TIFF file alone). `layout`
    /// receives how they were found. Returns an empty list when `slice` does not exist.
    static std::vector<DF3Sequence_cls::FileEntry> Find(const std::wstring& slice, Layout* layout = nullptr);
    /// A short English name of a layout for reports ("one stack", "folder per time point", ...).
    static const char* LayoutName(Layout layout);
};
