// Image slice decoding.
// Sections: files, kinds and luma; PNG; TIFF; JPEG; BMP; the reader (dispatch and TIFF pages).
//
// Samples are taken as stored: no gamma or colour-profile correction, because stacks from CT and
// microscopy carry measured densities, not pictures to be displayed. 16-bit samples keep their high
// byte (the same reduction the DF3 reader makes), signed samples are shifted to offset binary first
// so that the order of densities survives, and colour becomes Rec. 601 luma (below).
#include "volume/ImageSliceReader_cls.h"

#include "config/TextFormat.h"
#include "config/Translate.h"

#include <algorithm>
#include <bit>
#include <csetjmp>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <new>

#include <jpeglib.h>
// (after jpeglib.h, which it needs)
#include <jerror.h>
#include <png.h>
#include <tiffio.h>

namespace
{

using Info = ImageSliceReader_cls::Info;

// --- files, kinds and luma --------------------------------------------------------------------

struct FileCloser {
    void operator()(FILE* f) const
    {
        if (f)
            std::fclose(f);
    }
};
using FilePtr = std::unique_ptr<FILE, FileCloser>;

FilePtr OpenRead(const std::wstring& path)
{
    return FilePtr(std::fopen(Narrow(path).c_str(), "rbe"));
}

// Rec. 601 luma in 16-bit fixed point: the weights libjpeg uses itself when it turns a colour JPEG
// into grey, so a colour slice gives the same grey whether it was stored as JPEG, PNG, TIFF or BMP.
// The weights add up to 65536, so grey pixels (r = g = b) keep their value exactly.
inline uint8_t Luma(unsigned r, unsigned g, unsigned b)
{
    return static_cast<uint8_t>((19595u * r + 38470u * g + 7471u * b + 32768u) >> 16);
}

std::wstring LowerExtension(const std::wstring& path)
{
    const size_t slash = path.find_last_of(L'/');
    const size_t dot = path.find_last_of(L'.');
    if (dot == std::wstring::npos || (slash != std::wstring::npos && dot < slash))
        return L"";
    std::wstring ext = path.substr(dot + 1);
    for (wchar_t& c : ext)
        if (c >= L'A' && c <= L'Z')
            c = static_cast<wchar_t>(c - L'A' + L'a');
    return ext;
}

// --- PNG --------------------------------------------------------------------------------------

// Everything the decoding function touches lives here, outside its stack frame, because libpng
// reports errors by longjmp and locals changed after setjmp are not reliable afterwards.
struct PngJob {
    FILE* pFile = nullptr;
    bool bInfoOnly = false;
    Info info;
    png_structp pPng = nullptr;
    png_infop pInfo = nullptr;
    std::vector<uint8_t> vPixels;
    std::vector<png_bytep> vRows;
    size_t uRowBytes = 0;
    int iChannels = 1;
    int iDepth = 8;
    bool bOutOfMemory = false;
    char acMessage[256] = {};
};

void PngError(png_structp png, png_const_charp message)
{
    auto* job = static_cast<PngJob*>(png_get_error_ptr(png));
    std::snprintf(job->acMessage, sizeof job->acMessage, "%s", message);
    png_longjmp(png, 1);
}

void PngWarning(png_structp, png_const_charp)
{
}

bool PngDecode(PngJob* job)
{
    if (setjmp(png_jmpbuf(job->pPng)))
        return false;
    png_init_io(job->pPng, job->pFile);
    png_read_info(job->pPng, job->pInfo);
    png_uint_32 w = 0, h = 0;
    int depth = 0, colorType = 0;
    png_get_IHDR(job->pPng, job->pInfo, &w, &h, &depth, &colorType, nullptr, nullptr, nullptr);
    job->info.eKind = ImageSliceReader_cls::KIND_PNG;
    job->info.uWidth = w;
    job->info.uHeight = h;
    job->info.iBits = depth == 16 ? 16 : 8;
    job->info.bColour = (colorType & PNG_COLOR_MASK_COLOR) != 0;
    if (job->bInfoOnly)
        return true;
    if (colorType == PNG_COLOR_TYPE_PALETTE)
        png_set_palette_to_rgb(job->pPng);
    if (colorType == PNG_COLOR_TYPE_GRAY && depth < 8)
        png_set_expand_gray_1_2_4_to_8(job->pPng);
    if (colorType & PNG_COLOR_MASK_ALPHA)
        png_set_strip_alpha(job->pPng);
    png_set_interlace_handling(job->pPng);
    png_read_update_info(job->pPng, job->pInfo);
    job->uRowBytes = png_get_rowbytes(job->pPng, job->pInfo);
    job->iChannels = png_get_channels(job->pPng, job->pInfo);
    job->iDepth = png_get_bit_depth(job->pPng, job->pInfo);
    try {
        job->vPixels.resize(job->uRowBytes * h);
        job->vRows.resize(h);
    } catch (const std::bad_alloc&) {
        job->bOutOfMemory = true;
        return false;
    }
    for (png_uint_32 y = 0; y < h; ++y)
        job->vRows[y] = job->vPixels.data() + y * job->uRowBytes;
    png_read_image(job->pPng, job->vRows.data());
    return true;
}

bool ReadPng(FILE* file, bool infoOnly, Info& info, std::vector<uint8_t>* grey, std::wstring& error)
{
    PngJob job;
    job.pFile = file;
    job.bInfoOnly = infoOnly;
    job.pPng = png_create_read_struct(PNG_LIBPNG_VER_STRING, &job, PngError, PngWarning);
    if (job.pPng)
        job.pInfo = png_create_info_struct(job.pPng);
    if (!job.pPng || !job.pInfo) {
        png_destroy_read_struct(&job.pPng, nullptr, nullptr);
        error = TrW("Not enough memory to decode the image");
        return false;
    }
    const bool ok = PngDecode(&job);
    png_destroy_read_struct(&job.pPng, &job.pInfo, nullptr);
    if (!ok) {
        error = job.bOutOfMemory ? TrW("Not enough memory to decode the image") : Widen(job.acMessage);
        return false;
    }
    info = job.info;
    if (infoOnly)
        return true;
    // Rows are big-endian for 16-bit samples, so the first byte of a sample is its high byte.
    const size_t w = info.uWidth, h = info.uHeight;
    const size_t bytes = static_cast<size_t>(job.iDepth) / 8;
    const size_t step = bytes * static_cast<size_t>(job.iChannels);
    grey->resize(w * h);
    for (size_t y = 0; y < h; ++y) {
        const uint8_t* row = job.vRows[y];
        uint8_t* out = grey->data() + y * w;
        if (job.iChannels >= 3)
            for (size_t x = 0; x < w; ++x, row += step)
                out[x] = Luma(row[0], row[bytes], row[2 * bytes]);
        else
            for (size_t x = 0; x < w; ++x, row += step)
                out[x] = row[0];
    }
    return true;
}

// --- TIFF -------------------------------------------------------------------------------------

// libtiff reports through handlers; the first error of an operation is kept for the message and
// warnings (unknown tags and the like) are dropped rather than printed.
int TiffErrorHandler(TIFF*, void* user, const char*, const char* fmt, va_list args)
{
    auto* text = static_cast<std::string*>(user);
    if (text->empty()) {
        char buffer[512];
        std::vsnprintf(buffer, sizeof buffer, fmt, args);
        *text = buffer;
    }
    return 1;
}

int TiffWarningHandler(TIFF*, void*, const char*, const char*, va_list)
{
    return 1;
}

// The layout of the current page.
struct TiffLayout {
    uint32_t uWidth = 0, uHeight = 0;
    uint16_t uBits = 1, uSamples = 1, uPhotometric = PHOTOMETRIC_MINISBLACK, uPlanar = PLANARCONFIG_CONTIG;
    uint16_t uFormat = SAMPLEFORMAT_UINT;
    bool bTiled = false;
};

TiffLayout GetTiffLayout(TIFF* tif)
{
    TiffLayout l;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &l.uWidth);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &l.uHeight);
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &l.uBits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &l.uSamples);
    TIFFGetFieldDefaulted(tif, TIFFTAG_PLANARCONFIG, &l.uPlanar);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &l.uFormat);
    // Photometric has no default; writers that leave it out mean grey or RGB by the sample count.
    if (!TIFFGetField(tif, TIFFTAG_PHOTOMETRIC, &l.uPhotometric))
        l.uPhotometric = l.uSamples >= 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    l.bTiled = TIFFIsTiled(tif) != 0;
    return l;
}

bool IsTiffColour(const TiffLayout& l)
{
    return l.uPhotometric != PHOTOMETRIC_MINISBLACK && l.uPhotometric != PHOTOMETRIC_MINISWHITE;
}

// The high byte of sample i of a row, as an unsigned density.
inline uint8_t TiffSample(const uint8_t* row, size_t i, const TiffLayout& l)
{
    uint8_t v;
    if (l.uBits == 16) {
        uint16_t s;
        std::memcpy(&s, row + 2 * i, 2); // libtiff hands out samples in host order
        v = static_cast<uint8_t>(s >> 8);
    } else {
        v = row[i];
    }
    if (l.uFormat == SAMPLEFORMAT_INT)
        v ^= 0x80; // two's complement -> offset binary: -32768 becomes 0, 0 becomes 128
    return v;
}

// Strip-organised 8- and 16-bit grey or RGB pages, read row by row; everything else goes through
// libtiff's RGBA rendering (tiles, palettes, bilevel, YCbCr and so on).
bool ReadTiffScanlines(TIFF* tif, const TiffLayout& l, std::vector<uint8_t>& grey)
{
    const bool rgb = l.uPhotometric == PHOTOMETRIC_RGB;
    const size_t w = l.uWidth, h = l.uHeight;
    const int planes = l.uPlanar == PLANARCONFIG_SEPARATE ? (rgb ? 3 : 1) : 1;
    const size_t lineSize = static_cast<size_t>(TIFFScanlineSize64(tif));
    // Whole planes are read one after the other: separate planes live in separate strips, and
    // alternating between them row by row would restart the decompression of a strip each time.
    std::vector<uint8_t> plane[3];
    for (int s = 0; s < planes; ++s) {
        plane[s].resize(lineSize * h);
        for (uint32_t y = 0; y < l.uHeight; ++y)
            if (TIFFReadScanline(tif, plane[s].data() + y * lineSize, y, static_cast<uint16_t>(s)) < 0)
                return false;
    }
    grey.resize(w * h);
    const bool invert = l.uPhotometric == PHOTOMETRIC_MINISWHITE;
    for (size_t y = 0; y < h; ++y) {
        uint8_t* out = grey.data() + y * w;
        if (planes == 3) {
            const uint8_t* r = plane[0].data() + y * lineSize;
            const uint8_t* g = plane[1].data() + y * lineSize;
            const uint8_t* b = plane[2].data() + y * lineSize;
            for (size_t x = 0; x < w; ++x)
                out[x] = Luma(TiffSample(r, x, l), TiffSample(g, x, l), TiffSample(b, x, l));
            continue;
        }
        const uint8_t* row = plane[0].data() + y * lineSize;
        const size_t step = planes == 1 && l.uPlanar == PLANARCONFIG_CONTIG ? l.uSamples : 1;
        for (size_t x = 0; x < w; ++x) {
            const size_t i = x * step;
            uint8_t v = rgb ? Luma(TiffSample(row, i, l), TiffSample(row, i + 1, l), TiffSample(row, i + 2, l))
                            : TiffSample(row, i, l);
            out[x] = invert ? static_cast<uint8_t>(255 - v) : v;
        }
    }
    return true;
}

bool ReadTiffRGBA(TIFF* tif, const TiffLayout& l, std::vector<uint8_t>& grey, std::string& error)
{
    char message[1024] = {};
    if (!TIFFRGBAImageOK(tif, message)) {
        error = message;
        return false;
    }
    const size_t n = static_cast<size_t>(l.uWidth) * l.uHeight;
    std::vector<uint32_t> raster(n);
    if (!TIFFReadRGBAImageOriented(tif, l.uWidth, l.uHeight, raster.data(), ORIENTATION_TOPLEFT, 0))
        return false;
    grey.resize(n);
    for (size_t i = 0; i < n; ++i)
        grey[i] = Luma(TIFFGetR(raster[i]), TIFFGetG(raster[i]), TIFFGetB(raster[i]));
    return true;
}

// --- JPEG -------------------------------------------------------------------------------------

// As with PNG, the state reached by longjmp lives outside the decoding function's frame.
struct JpegJob {
    jpeg_error_mgr errorManager; // first member: libjpeg hands back a pointer to it
    std::jmp_buf jump;
    char acMessage[JMSG_LENGTH_MAX] = {};
    FILE* pFile = nullptr;
    bool bInfoOnly = false;
    bool bCmyk = false;
    bool bOutOfMemory = false;
    bool bTruncated = false;
    Info info;
    std::vector<uint8_t>* pGrey = nullptr;
    jpeg_decompress_struct decompress;
};

void JpegErrorExit(j_common_ptr common)
{
    auto* job = reinterpret_cast<JpegJob*>(common->err);
    (*common->err->format_message)(common, job->acMessage);
    std::longjmp(job->jump, 1);
}

void JpegOutputMessage(j_common_ptr)
{
}

// libjpeg only warns when the data ends early and fills the rest with grey; for a volume that
// would be invented densities, so the warning counts as a failure. Other warnings are harmless.
void JpegEmitMessage(j_common_ptr common, int level)
{
    if (level < 0 && common->err->msg_code == JWRN_JPEG_EOF)
        reinterpret_cast<JpegJob*>(common->err)->bTruncated = true;
}

bool JpegDecode(JpegJob* job)
{
    jpeg_decompress_struct* d = &job->decompress;
    d->err = jpeg_std_error(&job->errorManager);
    job->errorManager.error_exit = JpegErrorExit;
    job->errorManager.output_message = JpegOutputMessage;
    job->errorManager.emit_message = JpegEmitMessage;
    if (setjmp(job->jump)) {
        jpeg_destroy_decompress(d);
        return false;
    }
    jpeg_create_decompress(d);
    jpeg_stdio_src(d, job->pFile);
    jpeg_read_header(d, TRUE);
    job->info.eKind = ImageSliceReader_cls::KIND_JPEG;
    job->info.uWidth = d->image_width;
    job->info.uHeight = d->image_height;
    job->info.iBits = 8;
    job->info.bColour = d->num_components > 1;
    if (job->bInfoOnly || d->jpeg_color_space == JCS_CMYK || d->jpeg_color_space == JCS_YCCK) {
        job->bCmyk = !job->bInfoOnly;
        jpeg_destroy_decompress(d);
        return job->bInfoOnly;
    }
    // libjpeg takes the Y channel of YCbCr data and converts RGB data with the Rec. 601 weights.
    d->out_color_space = JCS_GRAYSCALE;
    const size_t w = d->image_width;
    try {
        job->pGrey->resize(w * d->image_height);
    } catch (const std::bad_alloc&) {
        job->bOutOfMemory = true;
        jpeg_destroy_decompress(d);
        return false;
    }
    jpeg_start_decompress(d);
    while (d->output_scanline < d->output_height) {
        JSAMPROW row = job->pGrey->data() + static_cast<size_t>(d->output_scanline) * w;
        jpeg_read_scanlines(d, &row, 1);
    }
    jpeg_finish_decompress(d);
    jpeg_destroy_decompress(d);
    return !job->bTruncated;
}

bool ReadJpeg(FILE* file, bool infoOnly, Info& info, std::vector<uint8_t>* grey, std::wstring& error)
{
    auto job = std::make_unique<JpegJob>();
    job->pFile = file;
    job->bInfoOnly = infoOnly;
    job->pGrey = grey;
    if (!JpegDecode(job.get())) {
        if (job->bCmyk)
            error = TrW("CMYK JPEG images are not supported");
        else if (job->bOutOfMemory)
            error = TrW("Not enough memory to decode the image");
        else if (job->bTruncated)
            error = TrW("The file ends before the image is complete");
        else
            error = Widen(job->acMessage);
        return false;
    }
    info = job->info;
    return true;
}

// --- BMP --------------------------------------------------------------------------------------

// Windows and OS/2 bitmaps are simple enough to read directly: uncompressed 1-, 4-, 8-bit palette
// images, 24-bit BGR and 16-/32-bit pixels with or without bit-field masks, bottom-up or top-down.

uint32_t LE16(const uint8_t* p)
{
    return static_cast<uint32_t>(p[0] | (p[1] << 8));
}

uint32_t LE32(const uint8_t* p)
{
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16) |
           (static_cast<uint32_t>(p[3]) << 24);
}

// One colour channel given by a bit mask, scaled to 0..255.
struct BmpChannel {
    uint32_t uMask = 0;
    int iShift = 0;
    uint32_t uMax = 0;
    explicit BmpChannel(uint32_t mask) : uMask(mask)
    {
        if (mask) {
            iShift = std::countr_zero(mask);
            uMax = mask >> iShift;
        }
    }
    unsigned operator()(uint32_t pixel) const
    {
        if (!uMax)
            return 0;
        const uint32_t v = (pixel & uMask) >> iShift;
        return static_cast<unsigned>((static_cast<uint64_t>(v) * 255 + uMax / 2) / uMax);
    }
};

bool ReadBmp(FILE* file, bool infoOnly, Info& info, std::vector<uint8_t>* grey, std::wstring& error)
{
    std::vector<uint8_t> data;
    {
        // The headers and the palette fit in the first 2 KB; pixels are read only when wanted.
        std::fseek(file, 0, SEEK_END);
        const long size = std::ftell(file);
        std::fseek(file, 0, SEEK_SET);
        if (size < 0) {
            error = TrW("The file can not be read");
            return false;
        }
        const size_t want = infoOnly ? std::min<size_t>(static_cast<size_t>(size), 2048) : static_cast<size_t>(size);
        try {
            data.resize(want);
        } catch (const std::bad_alloc&) {
            error = TrW("Not enough memory to decode the image");
            return false;
        }
        if (std::fread(data.data(), 1, want, file) != want) {
            error = TrW("The file can not be read");
            return false;
        }
    }
    auto broken = [&](const char* why) {
        error = TrW(why);
        return false;
    };
    if (data.size() < 26 || data[0] != 'B' || data[1] != 'M')
        return broken("The BMP header is damaged");
    const uint32_t pixelOffset = LE32(&data[10]);
    const uint32_t dibSize = LE32(&data[14]);
    int64_t width, height;
    uint32_t bpp, compression = 0, coloursUsed = 0, paletteEntry = 4;
    if (dibSize == 12) {
        width = LE16(&data[18]);
        height = static_cast<int16_t>(LE16(&data[20]));
        bpp = LE16(&data[24]);
        paletteEntry = 3;
    } else if (dibSize >= 40 && data.size() >= 54) {
        width = static_cast<int32_t>(LE32(&data[18]));
        height = static_cast<int32_t>(LE32(&data[22]));
        bpp = LE16(&data[28]);
        compression = LE32(&data[30]);
        coloursUsed = LE32(&data[46]);
    } else {
        return broken("The BMP header is damaged");
    }
    const bool topDown = height < 0;
    if (height < 0)
        height = -height;
    if (width <= 0 || height <= 0 || width > 1 << 20 || height > 1 << 20)
        return broken("The BMP header is damaged");
    const bool bitFields = compression == 3 || compression == 6;
    if (compression != 0 && !(bitFields && (bpp == 16 || bpp == 32)))
        return broken("Compressed BMP images are not supported");
    if (bpp != 1 && bpp != 4 && bpp != 8 && bpp != 16 && bpp != 24 && bpp != 32)
        return broken("This BMP pixel depth is not supported");

    // Masks follow a 40-byte header (and sit inside the longer ones at the same place).
    uint32_t masks[3] = {bpp == 16 ? 0x7C00u : 0xFF0000u, bpp == 16 ? 0x03E0u : 0x00FF00u,
                         bpp == 16 ? 0x001Fu : 0x0000FFu};
    size_t paletteStart = 14 + dibSize;
    if (bitFields) {
        if (data.size() < 66)
            return broken("The BMP header is damaged");
        for (int c = 0; c < 3; ++c)
            masks[c] = LE32(&data[54 + 4 * c]);
        if (dibSize == 40)
            paletteStart += 12;
    }
    std::vector<uint8_t> palette; // grey value of every palette entry
    bool colour = bpp > 8;
    if (bpp <= 8) {
        const size_t count = coloursUsed ? std::min<uint32_t>(coloursUsed, 1u << bpp) : (1u << bpp);
        if (paletteStart + count * paletteEntry > data.size())
            return broken("The BMP palette is damaged");
        for (size_t i = 0; i < count; ++i) {
            const uint8_t* e = &data[paletteStart + i * paletteEntry];
            colour = colour || e[0] != e[1] || e[1] != e[2];
            palette.push_back(Luma(e[2], e[1], e[0]));
        }
    }
    info.eKind = ImageSliceReader_cls::KIND_BMP;
    info.uWidth = static_cast<uint32_t>(width);
    info.uHeight = static_cast<uint32_t>(height);
    info.iBits = 8;
    info.bColour = colour;
    if (infoOnly)
        return true;

    const size_t w = static_cast<size_t>(width), h = static_cast<size_t>(height);
    const size_t rowBytes = (w * bpp + 31) / 32 * 4;
    if (pixelOffset > data.size() || rowBytes * h > data.size() - pixelOffset)
        return broken("The BMP file is shorter than its pixels");
    const BmpChannel red(masks[0]), green(masks[1]), blue(masks[2]);
    grey->resize(w * h);
    for (size_t y = 0; y < h; ++y) {
        const uint8_t* row = &data[pixelOffset + (topDown ? y : h - 1 - y) * rowBytes];
        uint8_t* out = grey->data() + y * w;
        for (size_t x = 0; x < w; ++x) {
            switch (bpp) {
            case 1:
            case 4:
            case 8: {
                const size_t bit = x * bpp;
                const unsigned index = (row[bit / 8] >> (8 - bpp - bit % 8)) & ((1u << bpp) - 1);
                out[x] = index < palette.size() ? palette[index] : 0;
                break;
            }
            case 16: {
                const uint32_t p = LE16(row + 2 * x);
                out[x] = Luma(red(p), green(p), blue(p));
                break;
            }
            case 24:
                out[x] = Luma(row[3 * x + 2], row[3 * x + 1], row[3 * x]);
                break;
            default: {
                const uint32_t p = LE32(row + 4 * x);
                out[x] = Luma(red(p), green(p), blue(p));
                break;
            }
            }
        }
    }
    return true;
}

} // namespace

// --- the reader -------------------------------------------------------------------------------

struct ImageSliceReader_cls::Impl {
    TIFF* pTiff = nullptr;
    std::wstring strTiffPath;
    std::string strTiffError;

    ~Impl() { CloseTiff(); }
    void CloseTiff()
    {
        if (pTiff)
            TIFFClose(pTiff);
        pTiff = nullptr;
        strTiffPath.clear();
    }
    bool OpenTiff(const std::wstring& path)
    {
        if (pTiff && strTiffPath == path)
            return true;
        CloseTiff();
        strTiffError.clear();
        TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
        TIFFOpenOptionsSetErrorHandlerExtR(options, TiffErrorHandler, &strTiffError);
        TIFFOpenOptionsSetWarningHandlerExtR(options, TiffWarningHandler, nullptr);
        pTiff = TIFFOpenExt(Narrow(path).c_str(), "r", options);
        TIFFOpenOptionsFree(options);
        if (pTiff)
            strTiffPath = path;
        return pTiff != nullptr;
    }
    // Reading pages in order steps to the next directory; anything else seeks from the start.
    bool SeekPage(uint32_t page)
    {
        const tdir_t current = TIFFCurrentDirectory(pTiff);
        if (current == page)
            return true;
        if (page == static_cast<uint32_t>(current) + 1)
            return TIFFReadDirectory(pTiff) != 0;
        return TIFFSetDirectory(pTiff, static_cast<tdir_t>(page)) != 0;
    }
};

ImageSliceReader_cls::ImageSliceReader_cls() : mpImpl(std::make_unique<Impl>())
{
}

ImageSliceReader_cls::~ImageSliceReader_cls() = default;

void ImageSliceReader_cls::Close()
{
    mpImpl->CloseTiff();
}

ImageSliceReader_cls::Kind ImageSliceReader_cls::DetectKind(const std::wstring& path)
{
    FilePtr file = OpenRead(path);
    uint8_t m[8] = {};
    if (!file || std::fread(m, 1, sizeof m, file.get()) < 4)
        return KIND_UNKNOWN;
    static const uint8_t kPng[8] = {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A};
    if (std::memcmp(m, kPng, 8) == 0)
        return KIND_PNG;
    // Classic TIFF (42) and BigTIFF (43), either byte order.
    if ((m[0] == 'I' && m[1] == 'I' && (m[2] == 42 || m[2] == 43) && m[3] == 0) ||
        (m[0] == 'M' && m[1] == 'M' && m[2] == 0 && (m[3] == 42 || m[3] == 43)))
        return KIND_TIFF;
    if (m[0] == 0xFF && m[1] == 0xD8 && m[2] == 0xFF)
        return KIND_JPEG;
    if (m[0] == 'B' && m[1] == 'M')
        return KIND_BMP;
    return KIND_UNKNOWN;
}

ImageSliceReader_cls::Kind ImageSliceReader_cls::KindFromExtension(const std::wstring& path)
{
    const std::wstring ext = LowerExtension(path);
    if (ext == L"png")
        return KIND_PNG;
    if (ext == L"tif" || ext == L"tiff")
        return KIND_TIFF;
    if (ext == L"jpg" || ext == L"jpeg")
        return KIND_JPEG;
    if (ext == L"bmp")
        return KIND_BMP;
    return KIND_UNKNOWN;
}

const char* ImageSliceReader_cls::KindName(Kind kind)
{
    switch (kind) {
    case KIND_PNG:
        return "PNG";
    case KIND_TIFF:
        return "TIFF";
    case KIND_JPEG:
        return "JPEG";
    case KIND_BMP:
        return "BMP";
    default:
        return "?";
    }
}

bool ImageSliceReader_cls::ReadInfo(const std::wstring& path, Info& info)
{
    mStrError.clear();
    const Kind kind = DetectKind(path);
    if (kind == KIND_TIFF) {
        Close(); // a fresh handle: the page count is counted from the first directory
        if (!mpImpl->OpenTiff(path)) {
            mStrError = mpImpl->strTiffError.empty() ? TrW("can not open") : Widen(mpImpl->strTiffError);
            return false;
        }
        const TiffLayout l = GetTiffLayout(mpImpl->pTiff);
        info = Info();
        info.eKind = KIND_TIFF;
        info.uWidth = l.uWidth;
        info.uHeight = l.uHeight;
        info.uPages = TIFFNumberOfDirectories(mpImpl->pTiff);
        info.iBits = l.uBits == 16 ? 16 : 8;
        info.bColour = IsTiffColour(l);
        Close();
        return true;
    }
    if (kind == KIND_UNKNOWN) {
        FilePtr probe = OpenRead(path);
        mStrError = probe ? TrW("This is not a PNG, TIFF, JPEG or BMP image") : TrW("can not open");
        return false;
    }
    FilePtr file = OpenRead(path);
    if (!file) {
        mStrError = TrW("can not open");
        return false;
    }
    info = Info();
    if (kind == KIND_PNG)
        return ReadPng(file.get(), true, info, nullptr, mStrError);
    if (kind == KIND_JPEG)
        return ReadJpeg(file.get(), true, info, nullptr, mStrError);
    return ReadBmp(file.get(), true, info, nullptr, mStrError);
}

bool ImageSliceReader_cls::ReadSlice(const std::wstring& path, uint32_t page, std::vector<uint8_t>& grey,
                                     uint32_t& width, uint32_t& height)
{
    mStrError.clear();
    const Kind kind = DetectKind(path);
    if (kind == KIND_TIFF) {
        Impl& impl = *mpImpl;
        if (!impl.OpenTiff(path)) {
            mStrError = impl.strTiffError.empty() ? TrW("can not open") : Widen(impl.strTiffError);
            return false;
        }
        impl.strTiffError.clear();
        if (!impl.SeekPage(page)) {
            mStrError = WStrPrintf(Tr("The file has no page %u").c_str(), page + 1);
            Close();
            return false;
        }
        const TiffLayout l = GetTiffLayout(impl.pTiff);
        width = l.uWidth;
        height = l.uHeight;
        if (l.uFormat == SAMPLEFORMAT_IEEEFP || l.uBits > 16) {
            mStrError = TrW("32-bit and floating-point samples are not supported; save the stack with 8 or 16 bits");
            return false;
        }
        // Rows are read whole, so the direct path takes only the sample counts it can use (grey,
        // grey + alpha, RGB, RGBA): a damaged SamplesPerPixel of thousands would make every row
        // thousands of times the picture's width.
        const bool direct = !l.bTiled && (l.uBits == 8 || l.uBits == 16) && l.uSamples >= 1 && l.uSamples <= 4 &&
                            (l.uFormat == SAMPLEFORMAT_UINT || l.uFormat == SAMPLEFORMAT_INT) &&
                            (l.uPhotometric == PHOTOMETRIC_MINISBLACK || l.uPhotometric == PHOTOMETRIC_MINISWHITE ||
                             (l.uPhotometric == PHOTOMETRIC_RGB && l.uSamples >= 3));
        std::string rgbaError;
        bool ok;
        try {
            ok = direct ? ReadTiffScanlines(impl.pTiff, l, grey) : ReadTiffRGBA(impl.pTiff, l, grey, rgbaError);
        } catch (const std::bad_alloc&) {
            mStrError = TrW("Not enough memory to decode the image");
            return false;
        }
        if (!ok) {
            const std::string& why = !impl.strTiffError.empty() ? impl.strTiffError : rgbaError;
            mStrError = why.empty() ? TrW("The image data is damaged") : Widen(why);
            Close(); // a handle that failed mid-strip is not reused
        }
        return ok;
    }
    if (kind == KIND_UNKNOWN) {
        FilePtr probe = OpenRead(path);
        mStrError = probe ? TrW("This is not a PNG, TIFF, JPEG or BMP image") : TrW("can not open");
        return false;
    }
    FilePtr file = OpenRead(path);
    if (!file) {
        mStrError = TrW("can not open");
        return false;
    }
    Info info;
    bool ok;
    try {
        if (kind == KIND_PNG)
            ok = ReadPng(file.get(), false, info, &grey, mStrError);
        else if (kind == KIND_JPEG)
            ok = ReadJpeg(file.get(), false, info, &grey, mStrError);
        else
            ok = ReadBmp(file.get(), false, info, &grey, mStrError);
    } catch (const std::bad_alloc&) {
        mStrError = TrW("Not enough memory to decode the image");
        return false;
    }
    width = info.uWidth;
    height = info.uHeight;
    return ok;
}
