#pragma once
// Decodes one slice of an image stack - a PNG, TIFF (any page of a multi-page file), JPEG or BMP
// file - into 8-bit grey samples, rows from the top of the picture, x fastest. 16-bit samples keep
// their high byte; colour is reduced to luma (weights in the .cpp). A multi-page TIFF stays open
// between calls, so reading its pages in order does not walk its directory chain for every page;
// Close() lets it go.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class ImageSliceReader_cls
{
  public:
    /// Image file kinds that can be decoded.
    enum Kind { KIND_UNKNOWN = 0, KIND_PNG, KIND_TIFF, KIND_JPEG, KIND_BMP };

    /// What ReadInfo found.
    struct Info {
        Kind eKind = KIND_UNKNOWN;
        uint32_t uWidth = 0;  ///< pixels per row
        uint32_t uHeight = 0; ///< rows
        uint32_t uPages = 1;  ///< pages of a TIFF file, 1 for every other kind
        int iBits = 8;        ///< bits per sample of the file (8 or 16; smaller depths count as 8)
        bool bColour = false; ///< true when luma is computed from colour channels
    };

    ImageSliceReader_cls();
    ~ImageSliceReader_cls();
    ImageSliceReader_cls(const ImageSliceReader_cls&) = delete;
    ImageSliceReader_cls& operator=(const ImageSliceReader_cls&) = delete;

    /// The kind of the file judged by its first bytes; KIND_UNKNOWN when it cannot be opened or
    /// is none of the four.
    static Kind DetectKind(const std::wstring& path);
    /// The kind the file name promises (.png, .tif/.tiff, .jpg/.jpeg, .bmp; any case).
    static Kind KindFromExtension(const std::wstring& path);
    /// A short name of the kind ("PNG", "TIFF", "JPEG", "BMP", "?").
    static const char* KindName(Kind kind);

    /// Reads the sizes and sample layout of page 0 (and the page count) without decoding pixels.
    /// False with GetError() set when the file cannot be read.
    bool ReadInfo(const std::wstring& path, Info& info);
    /// Decodes page `page` (0 for everything but TIFF) into grey: width*height bytes.
    /// False with GetError() set when the file cannot be decoded; grey is then unspecified.
    bool ReadSlice(const std::wstring& path, uint32_t page, std::vector<uint8_t>& grey, uint32_t& width,
                   uint32_t& height);
    /// Why the last ReadInfo/ReadSlice failed (translated where the text is ours).
    const std::wstring& GetError() const { return mStrError; }
    /// Closes a TIFF file kept open by ReadSlice.
    void Close();

  private:
    struct Impl;
    std::unique_ptr<Impl> mpImpl;
    std::wstring mStrError;
};
