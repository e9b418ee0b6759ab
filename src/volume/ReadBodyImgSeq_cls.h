#pragma once
// Resumable reader of a frame stored as a stack of images, one slice per z: a numbered series of
// PNG, TIFF, JPEG or BMP files, or one multi-page TIFF file.
//
// Which files form the stack: the frame's file path names one slice. When it is a TIFF file with
// more than one page, its pages are the stack. Otherwise the stack is every file with the same
// prefix, digit count and extension, in numeric order (ct_0012.tif of ct_0000.tif ... ct_0099.tif
// gives z = 0 ... 99). The frame's second path, when set, names the last slice of a sub-range:
// only the numbers between the two names (inclusive, in either order) are taken, so a user can cut
// a long scan down to the part of interest. The list is fixed when the header is read.
//
// Image rows become y (row 0, the top of the picture, is y = 0) and columns x, so a slice and a
// DF3 body with the same bytes in x-fastest order hold the same voxels.
#include "volume/ImageSliceReader_cls.h"
#include "volume/ResumableProgress_cls.h"

#include <cstdint>
#include <string>
#include <vector>

class DF3_cls;
class UserPrompt_cls;

class ReadBodyImgSeq_cls : public ResumableProgress_cls
{
  public:
    /// frame: the frame this reader fills (not owned). Position and total count current z slices.
    explicit ReadBodyImgSeq_cls(DF3_cls* frame) : mpDF3(frame) {}

    /// Finds the slices and reads X, Y from the first one and Z as the slice count into the
    /// frame's true sizes. Failures are shown on parent (nothing when null), titled
    /// "read error Header Image".
    bool ReadHeaderInfo(UserPrompt_cls* parent);
    /// Reads slices into the allocated frame until the budget is spent (all with noInterrupt),
    /// down-sizing by nearest sample. A slice that cannot be decoded or whose size differs from
    /// the first slice's is reported on parent (or the frame's message parent when null), titled
    /// "read Error Main", and the read fails. GUI thread.
    bool MainProcess(bool noInterrupt, UserPrompt_cls* parent);

    /// The files of the stack found by the last header read (one file for a multi-page TIFF).
    const std::vector<std::wstring>& GetSliceFiles() const { return mvStrFiles; }
    /// True when the stack is the pages of one TIFF file.
    bool IsMultiPage() const { return mbMultiPage; }
    /// What the first slice holds (kind, sample width, colour), from the last header read.
    const ImageSliceReader_cls::Info& GetFirstSliceInfo() const { return mCFirstInfo; }

    /// The numbered files that form a stack with `path` (see above); `last` may be empty. Returns
    /// an empty list when the two names do not belong to one series.
    static std::vector<std::wstring> FindSliceFiles(const std::wstring& path, const std::wstring& last);

  private:
    DF3_cls* mpDF3;
    std::vector<std::wstring> mvStrFiles;
    bool mbMultiPage = false;
    ImageSliceReader_cls::Info mCFirstInfo;
    ImageSliceReader_cls mCImage;
    std::vector<uint8_t> mvSlice; ///< one decoded true-size slice
};
