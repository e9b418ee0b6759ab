#include "ImgStackTestUtil.h"
#include "volume/VolumeTestUtil.h"

#include "volume/ImageSliceReader_cls.h"
#include "volume/ReadBodyImgSeq_cls.h"

#include <cmath>
#include <filesystem>

namespace
{

constexpr uint32_t kX = 7, kY = 5, kZ = 6;

// A 16-bit test volume kept three ways: as a DF3 file, as raw big-endian slices and as a TIFF
// stack that ImageMagick made from those slices.
struct Volume16 {
    TempDir dir;
    std::vector<uint8_t> samples = PatternBytes(kX * kY * kZ * 2, 77);
    std::string df3 = dir.File("vol.df3");
    std::string Slice(uint32_t z, const char* ext = "tif") const { return dir.File(StrPrintf("ct_%04u.%s", z, ext)); }
    bool WriteStack(const char* ext = "tif")
    {
        for (uint32_t z = 0; z < kZ; ++z)
            if (!MagickFromRaw(Slices(samples, kX * kY * 2, z, 1), kX, kY, 16, "gray", Slice(z, ext)))
                return false;
        return true;
    }
    Volume16() { WriteFileBytes(df3, Df3File(kX, kY, kZ, samples)); }
};

TEST(ImageStackRead, SixteenBitTiffStackReadsLikeTheDf3OfTheSameData)
{
    ASSERT_TRUE(HaveImageMagick()) << "the tests need ImageMagick's convert";
    Volume16 v;
    ASSERT_TRUE(v.WriteStack());
    // A file that only looks like a member of the series stays out of it.
    WriteFileText(v.dir.File("ct_00001.tif"), "other digit count");
    WriteFileText(v.dir.File("ct_0001.tiff"), "other extension");

    FrameFixture df3;
    ::testing::internal::CaptureStdout(); // the DF3 reader's 16-bit conversion traces to stdout
    ASSERT_TRUE(df3.Load(v.df3, DF3_cls::FORMAT_DF3));
    ::testing::internal::GetCapturedStdout();

    FrameFixture stack; // any slice names the whole stack
    ASSERT_TRUE(stack.Load(v.Slice(3), DF3_cls::FORMAT_IMGSEQ)) << Narrow(stack.OnlyMessage().text);
    EXPECT_EQ(stack.Size(), (std::vector<uint32_t>{kX, kY, kZ}));
    EXPECT_EQ(stack.Data(), df3.Data());
    EXPECT_EQ(stack.Data(), HighBytes(v.samples));
    EXPECT_TRUE(stack.frame.IsReadFinished());
    EXPECT_TRUE(stack.frame.GetReadFinishedFlag());
    EXPECT_EQ(stack.prompt.MessageCount(), 0u);
    const ReadBodyImgSeq_cls& reader = stack.frame.GetReadBodyImgSeq();
    EXPECT_EQ(reader.GetFirstSliceInfo().iBits, 16);
    EXPECT_EQ(reader.GetFirstSliceInfo().eKind, ImageSliceReader_cls::KIND_TIFF);
    EXPECT_FALSE(reader.IsMultiPage());
    ASSERT_EQ(reader.GetSliceFiles().size(), kZ);
    EXPECT_EQ(reader.GetSliceFiles().front(), Widen(v.Slice(0)));
    EXPECT_EQ(reader.GetSliceFiles().back(), Widen(v.Slice(kZ - 1)));

    // The second path limits the stack to a range of numbers, given in either order.
    FrameFixture range;
    ASSERT_TRUE(range.Load(v.Slice(4), DF3_cls::FORMAT_IMGSEQ, v.Slice(2)));
    EXPECT_EQ(range.Size(), (std::vector<uint32_t>{kX, kY, 3u}));
    EXPECT_EQ(range.Data(), Slices(HighBytes(v.samples), kX * kY, 2, 3));

    FrameFixture foreign;
    EXPECT_FALSE(foreign.Load(v.Slice(1), DF3_cls::FORMAT_IMGSEQ, v.dir.File("mr_0004.tif")));
    EXPECT_EQ(foreign.OnlyMessage().title, L"read error Header Image");
    EXPECT_FALSE(foreign.frame.IsValid());
}

TEST(ImageStackRead, MultiPageTiffIsAStackOfItsOwn)
{
    ASSERT_TRUE(HaveImageMagick());
    Volume16 v;
    // Numbered like a series, with a neighbour that must not be pulled in.
    const std::string multi = v.dir.File("scan_0001.tif");
    ASSERT_TRUE(MagickFromRaw(v.samples, kX, kY, 16, "gray", multi));
    ASSERT_TRUE(MagickFromRaw(Slices(v.samples, kX * kY * 2, 0, 1), kX, kY, 16, "gray", v.dir.File("scan_0002.tif")));

    FrameFixture f;
    ASSERT_TRUE(f.Load(multi, DF3_cls::FORMAT_IMGSEQ)) << Narrow(f.OnlyMessage().text);
    EXPECT_TRUE(f.frame.GetReadBodyImgSeq().IsMultiPage());
    EXPECT_EQ(f.Size(), (std::vector<uint32_t>{kX, kY, kZ}));
    EXPECT_EQ(f.Data(), HighBytes(v.samples));

    // Pages read one idle step at a time, and from the middle after a down-sized z, still agree.
    FrameFixture slow;
    slow.frame.SetFilePath(Widen(multi), L"", DF3_cls::FORMAT_IMGSEQ);
    ASSERT_TRUE(slow.frame.ReadHeader(&slow.prompt));
    ASSERT_TRUE(slow.frame.Allocate());
    slow.frame.GetReadBodyImgSeq().SetTimeBudget(0);
    int calls = 0;
    while (!slow.frame.IsReadFinished() && calls < 100) {
        ASSERT_TRUE(slow.frame.ReadBodyIfNotFinished(false, &slow.prompt));
        ++calls;
    }
    EXPECT_EQ(calls, static_cast<int>(kZ)) << "one page per call with no time to spare";
    EXPECT_EQ(slow.Data(), f.Data());

    FrameFixture half;
    half.seq.SetDownSizeSRC(2, 2);
    ASSERT_TRUE(half.Load(multi, DF3_cls::FORMAT_IMGSEQ));
    EXPECT_EQ(half.Size(), (std::vector<uint32_t>{kX, kY, kZ / 2}));
    const auto all = HighBytes(v.samples);
    std::vector<uint8_t> even;
    for (uint32_t z = 0; z < kZ; z += 2)
        for (uint8_t b : Slices(all, kX * kY, z, 1))
            even.push_back(b);
    EXPECT_EQ(half.Data(), even);
}

TEST(ImageStackRead, EightBitPngJpegAndBmpSlices)
{
    ASSERT_TRUE(HaveImageMagick());
    TempDir dir;
    const uint32_t w = 9, h = 4, n = 3;
    const auto grey = PatternBytes(w * h * n, 5);
    for (uint32_t z = 0; z < n; ++z) {
        ASSERT_TRUE(MagickFromRaw(Slices(grey, w * h, z, 1), w, h, 8, "gray", dir.File(StrPrintf("p%02u.png", z))));
        ASSERT_TRUE(MagickFromRaw(Slices(grey, w * h, z, 1), w, h, 8, "gray", dir.File(StrPrintf("b%02u.bmp", z))));
    }
    FrameFixture png;
    ASSERT_TRUE(png.Load(dir.File("p00.png"), DF3_cls::FORMAT_IMGSEQ)) << Narrow(png.OnlyMessage().text);
    EXPECT_EQ(png.Size(), (std::vector<uint32_t>{w, h, n}));
    EXPECT_EQ(png.Data(), grey);
    EXPECT_EQ(png.frame.GetReadBodyImgSeq().GetFirstSliceInfo().iBits, 8);

    FrameFixture bmp;
    ASSERT_TRUE(bmp.Load(dir.File("b01.bmp"), DF3_cls::FORMAT_IMGSEQ)) << Narrow(bmp.OnlyMessage().text);
    EXPECT_EQ(bmp.Data(), grey) << "bottom-up rows come out top row first";

    // JPEG is lossy, but a uniform picture survives exactly.
    ASSERT_TRUE(
        MagickFromRaw(std::vector<uint8_t>(16 * 8, 123), 16, 8, 8, "gray", dir.File("j_1.jpg"), "-quality 100"));
    FrameFixture jpg;
    ASSERT_TRUE(jpg.Load(dir.File("j_1.jpg"), DF3_cls::FORMAT_IMGSEQ)) << Narrow(jpg.OnlyMessage().text);
    EXPECT_EQ(jpg.Data(), std::vector<uint8_t>(16 * 8, 123));
}

// Sets the photometric tag of the first page of a little-endian TIFF file to min-is-white (0),
// so the same samples now mean the inverted densities.
bool MakeMinIsWhite(std::vector<uint8_t>& tiff)
{
    if (tiff.size() < 8 || tiff[0] != 'I')
        return false;
    auto u16 = [&](size_t o) { return static_cast<uint32_t>(tiff[o] | (tiff[o + 1] << 8)); };
    const size_t ifd = u16(4) | (u16(6) << 16);
    for (size_t i = 0, n = u16(ifd); i < n; ++i) {
        const size_t entry = ifd + 2 + 12 * i;
        if (u16(entry) == 262) {
            tiff[entry + 8] = 0;
            tiff[entry + 9] = 0;
            return true;
        }
    }
    return false;
}

TEST(ImageStackRead, TiledAndMinIsWhiteTiffPages)
{
    ASSERT_TRUE(HaveImageMagick());
    TempDir dir;
    const uint32_t w = 40, h = 30; // several 16 x 16 tiles, the last ones cut
    const auto grey = PatternBytes(w * h, 12);
    ASSERT_TRUE(MagickFromRaw(grey, w, h, 8, "gray", dir.File("tiled_0.tif"), "-define tiff:tile-geometry=16x16"));
    FrameFixture tiled;
    ASSERT_TRUE(tiled.Load(dir.File("tiled_0.tif"), DF3_cls::FORMAT_IMGSEQ)) << Narrow(tiled.OnlyMessage().text);
    EXPECT_EQ(tiled.Data(), grey);

    ASSERT_TRUE(MagickFromRaw(grey, w, h, 8, "gray", dir.File("white_0.tif"), "-endian LSB -compress none"));
    auto bytes = ReadFileBytes(dir.File("white_0.tif"));
    ASSERT_TRUE(MakeMinIsWhite(bytes));
    WriteFileBytes(dir.File("white_0.tif"), bytes);
    FrameFixture white;
    ASSERT_TRUE(white.Load(dir.File("white_0.tif"), DF3_cls::FORMAT_IMGSEQ)) << Narrow(white.OnlyMessage().text);
    std::vector<uint8_t> inverted;
    for (uint8_t g : grey)
        inverted.push_back(static_cast<uint8_t>(255 - g));
    EXPECT_EQ(white.Data(), inverted);
}

// Rec. 601 luma rounded to nearest, computed in floating point.
int ExpectedLuma(int r, int g, int b)
{
    return static_cast<int>(std::floor(0.299 * r + 0.587 * g + 0.114 * b + 0.5));
}

TEST(ImageStackRead, ColourSlicesBecomeLuma)
{
    ASSERT_TRUE(HaveImageMagick());
    TempDir dir;
    // Pure primaries, a grey and a mixed colour first, then pseudo-random colours.
    std::vector<uint8_t> rgb = {255, 0, 0, 0, 255, 0, 0, 0, 255, 100, 100, 100, 10, 200, 30};
    const auto more = PatternBytes(3 * 35, 9);
    rgb.insert(rgb.end(), more.begin(), more.end());
    const uint32_t w = 8, h = 5; // 40 pixels
    ASSERT_EQ(rgb.size(), 3u * w * h);
    for (const char* name : {"c_0.png", "c_1.png", "d_0.bmp", "e_0.tif"})
        ASSERT_TRUE(MagickFromRaw(rgb, w, h, 8, "rgb", dir.File(name)));

    FrameFixture png;
    ASSERT_TRUE(png.Load(dir.File("c_0.png"), DF3_cls::FORMAT_IMGSEQ)) << Narrow(png.OnlyMessage().text);
    EXPECT_TRUE(png.frame.GetReadBodyImgSeq().GetFirstSliceInfo().bColour);
    const auto luma = png.Data();
    ASSERT_EQ(luma.size(), 2u * w * h);
    EXPECT_EQ((std::vector<uint8_t>(luma.begin(), luma.begin() + 5)), (std::vector<uint8_t>{76, 150, 29, 100, 124}));
    for (uint32_t i = 0; i < w * h; ++i) {
        EXPECT_NEAR(luma[i], ExpectedLuma(rgb[3 * i], rgb[3 * i + 1], rgb[3 * i + 2]), 1) << "pixel " << i;
        EXPECT_EQ(luma[i + w * h], luma[i]) << "both slices hold the same picture";
    }
    // The same picture gives the same grey whatever file kind holds it.
    for (const char* name : {"d_0.bmp", "e_0.tif"}) {
        FrameFixture other;
        ASSERT_TRUE(other.Load(dir.File(name), DF3_cls::FORMAT_IMGSEQ)) << Narrow(other.OnlyMessage().text);
        EXPECT_EQ(other.Data(), std::vector<uint8_t>(luma.begin(), luma.begin() + w * h)) << name;
    }
    // A colour JPEG is turned grey by libjpeg with the same weights.
    std::vector<uint8_t> uniform;
    for (int i = 0; i < 16 * 16; ++i)
        uniform.insert(uniform.end(), {10, 200, 30});
    ASSERT_TRUE(MagickFromRaw(uniform, 16, 16, 8, "rgb", dir.File("u.jpg"), "-quality 100 -sampling-factor 1x1"));
    FrameFixture jpg;
    ASSERT_TRUE(jpg.Load(dir.File("u.jpg"), DF3_cls::FORMAT_IMGSEQ)) << Narrow(jpg.OnlyMessage().text);
    for (uint8_t b : jpg.Data())
        ASSERT_NEAR(b, 124, 1);
}

// A small uncompressed BMP built byte by byte: 8-bit palette, rows top-down (negative height).
std::vector<uint8_t> TopDownPaletteBmp(uint32_t w, uint32_t h, const std::vector<uint8_t>& index,
                                       const std::vector<uint8_t>& paletteGrey)
{
    const uint32_t rowBytes = (w + 3) / 4 * 4;
    const uint32_t paletteBytes = 4 * static_cast<uint32_t>(paletteGrey.size());
    const uint32_t offset = 14 + 40 + paletteBytes;
    std::vector<uint8_t> f;
    auto le = [&](uint32_t v, int n) {
        for (int i = 0; i < n; ++i)
            f.push_back(static_cast<uint8_t>(v >> (8 * i)));
    };
    f.push_back('B');
    f.push_back('M');
    le(offset + rowBytes * h, 4);
    le(0, 4);
    le(offset, 4);
    le(40, 4);
    le(w, 4);
    le(static_cast<uint32_t>(-static_cast<int32_t>(h)), 4);
    le(1, 2);
    le(8, 2);
    le(0, 4);
    le(rowBytes * h, 4);
    le(2835, 4);
    le(2835, 4);
    le(static_cast<uint32_t>(paletteGrey.size()), 4);
    le(0, 4);
    for (uint8_t g : paletteGrey)
        le(g | (g << 8) | (g << 16), 4);
    for (uint32_t y = 0; y < h; ++y) {
        for (uint32_t x = 0; x < w; ++x)
            f.push_back(index[y * w + x]);
        for (uint32_t p = w; p < rowBytes; ++p)
            f.push_back(0);
    }
    return f;
}

TEST(ImageStackRead, HandMadeTopDownBmpAndItsFaults)
{
    TempDir dir;
    // Indices 0..2 map to greys 10, 20, 30; index 3 lies beyond the palette and reads as 0.
    const std::vector<uint8_t> index = {0, 1, 2, 3, 2, 1};
    WriteFileBytes(dir.File("t_0.bmp"), TopDownPaletteBmp(3, 2, index, {10, 20, 30}));
    FrameFixture f;
    ASSERT_TRUE(f.Load(dir.File("t_0.bmp"), DF3_cls::FORMAT_IMGSEQ)) << Narrow(f.OnlyMessage().text);
    EXPECT_EQ(f.Size(), (std::vector<uint32_t>{3u, 2u, 1u}));
    EXPECT_EQ(f.Data(), (std::vector<uint8_t>{10, 20, 30, 0, 30, 20}));
    EXPECT_FALSE(f.frame.GetReadBodyImgSeq().GetFirstSliceInfo().bColour);

    // Run-length compression is refused with its own reason, already by the header.
    auto rle = TopDownPaletteBmp(3, 2, index, {10, 20, 30});
    rle[30] = 1; // the compression field
    WriteFileBytes(dir.File("r_0.bmp"), rle);
    FrameFixture r;
    EXPECT_FALSE(r.Load(dir.File("r_0.bmp"), DF3_cls::FORMAT_IMGSEQ));
    EXPECT_EQ(r.OnlyMessage().title, L"read error Header Image");
    EXPECT_EQ(r.OnlyMessage().text, Widen(dir.File("r_0.bmp")) + L"\nCompressed BMP images are not supported");
    EXPECT_FALSE(r.frame.IsValid());

    // A file cut short in its pixels.
    auto cut = TopDownPaletteBmp(3, 2, index, {10, 20, 30});
    cut.resize(cut.size() - 2);
    WriteFileBytes(dir.File("s_0.bmp"), cut);
    FrameFixture s;
    EXPECT_FALSE(s.Load(dir.File("s_0.bmp"), DF3_cls::FORMAT_IMGSEQ));
    EXPECT_EQ(s.OnlyMessage().title, L"read Error Main");
    EXPECT_EQ(s.OnlyMessage().text, Widen(dir.File("s_0.bmp")) + L"\nThe BMP file is shorter than its pixels");
}

TEST(ImageStackRead, SlicesOfAnotherSizeAreRefusedByName)
{
    ASSERT_TRUE(HaveImageMagick());
    TempDir dir;
    const auto a = PatternBytes(5 * 4, 1), b = PatternBytes(6 * 4, 2);
    ASSERT_TRUE(MagickFromRaw(a, 5, 4, 8, "gray", dir.File("m_10.png")));
    ASSERT_TRUE(MagickFromRaw(a, 5, 4, 8, "gray", dir.File("m_11.png")));
    ASSERT_TRUE(MagickFromRaw(b, 6, 4, 8, "gray", dir.File("m_12.png")));
    FrameFixture f;
    EXPECT_FALSE(f.Load(dir.File("m_10.png"), DF3_cls::FORMAT_IMGSEQ));
    const auto m = f.OnlyMessage();
    EXPECT_EQ(m.title, L"read Error Main");
    EXPECT_EQ(m.text,
              L"Slice z = 2 (" + Widen(dir.File("m_12.png")) + L") is 6 x 4 pixels, but the first slice is 5 x 4");
    EXPECT_FALSE(f.frame.IsValid());
    EXPECT_FALSE(f.frame.IsReadFinished());
    EXPECT_FALSE(f.frame.GetReadFinishedFlag());
}

TEST(ImageStackRead, UnreadableSlicesAreReportedAndLeaveTheFrameInvalid)
{
    ASSERT_TRUE(HaveImageMagick());
    TempDir dir;
    const auto a = PatternBytes(5 * 4, 1);
    ASSERT_TRUE(MagickFromRaw(a, 5, 4, 8, "gray", dir.File("u_0.png")));
    WriteFileText(dir.File("u_1.png"), "this is no picture at all");
    ASSERT_TRUE(MagickFromRaw(a, 5, 4, 8, "gray", dir.File("u_2.png")));
    FrameFixture f;
    EXPECT_FALSE(f.Load(dir.File("u_2.png"), DF3_cls::FORMAT_IMGSEQ));
    EXPECT_EQ(f.OnlyMessage().title, L"read Error Main");
    EXPECT_EQ(f.OnlyMessage().text, Widen(dir.File("u_1.png")) + L"\nThis is not a PNG, TIFF, JPEG or BMP image");
    EXPECT_FALSE(f.frame.IsValid());

    // A PNG cut off in its data: libpng's own reason is passed on.
    auto bytes = ReadFileBytes(dir.File("u_0.png"));
    bytes.resize(bytes.size() / 2);
    WriteFileBytes(dir.File("v_0.png"), bytes);
    FrameFixture cut;
    EXPECT_FALSE(cut.Load(dir.File("v_0.png"), DF3_cls::FORMAT_IMGSEQ));
    const auto m = cut.OnlyMessage();
    EXPECT_EQ(m.text.rfind(Widen(dir.File("v_0.png")) + L"\n", 0), 0u) << Narrow(m.text);
    EXPECT_GT(m.text.size(), dir.File("v_0.png").size() + 1) << "a reason follows the name";

    // A JPEG cut off in its data would be filled with grey by libjpeg; here it is an error.
    ASSERT_TRUE(MagickFromRaw(PatternBytes(64 * 64, 3), 64, 64, 8, "gray", dir.File("j_0.jpg")));
    bytes = ReadFileBytes(dir.File("j_0.jpg"));
    bytes.resize(bytes.size() * 2 / 3);
    WriteFileBytes(dir.File("j_0.jpg"), bytes);
    FrameFixture jpg;
    EXPECT_FALSE(jpg.Load(dir.File("j_0.jpg"), DF3_cls::FORMAT_IMGSEQ));
    EXPECT_EQ(jpg.OnlyMessage().text, Widen(dir.File("j_0.jpg")) + L"\nThe file ends before the image is complete");

    // The named slice itself missing or not an image: the header fails, shown only with a parent.
    FrameFixture missing;
    missing.frame.SetFilePath(Widen(dir.File("gone_0.png")), L"", DF3_cls::FORMAT_IMGSEQ);
    EXPECT_FALSE(missing.frame.ReadHeader(nullptr));
    EXPECT_EQ(missing.prompt.MessageCount(), 0u);
    EXPECT_FALSE(missing.frame.ReadHeader(&missing.prompt));
    EXPECT_EQ(missing.OnlyMessage().text, Widen(dir.File("gone_0.png")) + L"\ncan not open");
}

TEST(ImageStackRead, DownSizingTakesTheNearestSampleLikeTheDf3Reader)
{
    ASSERT_TRUE(HaveImageMagick());
    Volume16 v;
    ASSERT_TRUE(v.WriteStack("png"));
    for (uint32_t f : {2u, 3u}) {
        FrameFixture df3, stack;
        for (FrameFixture* p : {&df3, &stack}) {
            p->seq.SetDownSizeSRC(0, f);
            p->seq.SetDownSizeSRC(1, 2);
            p->seq.SetDownSizeSRC(2, f);
        }
        ::testing::internal::CaptureStdout();
        ASSERT_TRUE(df3.Load(v.df3, DF3_cls::FORMAT_DF3));
        ::testing::internal::GetCapturedStdout();
        ASSERT_TRUE(stack.Load(v.Slice(0, "png"), DF3_cls::FORMAT_IMGSEQ)) << Narrow(stack.OnlyMessage().text);
        EXPECT_EQ(stack.Size(), (std::vector<uint32_t>{kX / f, kY / 2, kZ / f}));
        EXPECT_EQ(stack.Data(), df3.Data()) << "factor " << f;
        // One voxel by hand: current (1, 1, 1) is true (f, 2, f).
        const auto high = HighBytes(v.samples);
        EXPECT_EQ(stack.Data()[stack.frame.GetIndex(1, 1, 1)], high[(2 + f * kY) * kX + f]);
    }
}

TEST(ImageStackRead, ResumedReadingEqualsOneUninterruptedRead)
{
    ASSERT_TRUE(HaveImageMagick());
    Volume16 v;
    ASSERT_TRUE(v.WriteStack("png"));
    FrameFixture whole;
    ASSERT_TRUE(whole.Load(v.Slice(0, "png"), DF3_cls::FORMAT_IMGSEQ));

    FrameFixture steps;
    steps.frame.SetFilePath(Widen(v.Slice(5, "png")), L"", DF3_cls::FORMAT_IMGSEQ);
    ASSERT_TRUE(steps.frame.ReadHeader(&steps.prompt));
    ASSERT_TRUE(steps.frame.Allocate());
    ReadBodyImgSeq_cls& reader = steps.frame.GetReadBodyImgSeq();
    reader.SetTimeBudget(0);
    std::vector<int> percents;
    while (!steps.frame.IsReadFinished() && percents.size() < 100) {
        ASSERT_TRUE(steps.frame.ReadBodyIfNotFinished(false, &steps.prompt));
        percents.push_back(reader.GetPercent());
    }
    EXPECT_EQ(percents, (std::vector<int>{16, 33, 50, 66, 83, 100}));
    EXPECT_EQ(steps.Data(), whole.Data());
    EXPECT_EQ(steps.frame.GetWorkState(), static_cast<uint32_t>(DF3_cls::WORK_IDLE));

    // Released in the middle of a read, the frame starts again from the first slice.
    FrameFixture again;
    again.frame.SetFilePath(Widen(v.Slice(0, "png")), L"", DF3_cls::FORMAT_IMGSEQ);
    ASSERT_TRUE(again.frame.ReadHeader(&again.prompt));
    ASSERT_TRUE(again.frame.Allocate());
    again.frame.GetReadBodyImgSeq().SetTimeBudget(0);
    ASSERT_TRUE(again.frame.ReadBodyIfNotFinished(false, &again.prompt));
    again.frame.Release();
    EXPECT_EQ(again.frame.GetReadBodyImgSeq().GetPosition(), 0u);
    ASSERT_TRUE(again.frame.ReadHeader(&again.prompt));
    ASSERT_TRUE(again.frame.Allocate());
    ASSERT_TRUE(again.frame.ReadBodyIfNotFinished(true, &again.prompt));
    EXPECT_EQ(again.Data(), whole.Data());
}

TEST(ImageStackRead, KindsAreKnownByContentAndByName)
{
    TempDir dir;
    WriteFileBytes(dir.File("a.dat"), {0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A});
    WriteFileBytes(dir.File("b.dat"), {'M', 'M', 0, 42, 0, 0, 0, 8});
    WriteFileBytes(dir.File("c.dat"), {'I', 'I', 42, 0, 8, 0, 0, 0});
    WriteFileBytes(dir.File("d.dat"), {0xFF, 0xD8, 0xFF, 0xE0});
    WriteFileBytes(dir.File("e.dat"), {'B', 'M', 0, 0, 0, 0});
    WriteFileBytes(dir.File("f.png"), {'G', 'I', 'F', '8', '9', 'a'});
    using R = ImageSliceReader_cls;
    EXPECT_EQ(R::DetectKind(Widen(dir.File("a.dat"))), R::KIND_PNG);
    EXPECT_EQ(R::DetectKind(Widen(dir.File("b.dat"))), R::KIND_TIFF);
    EXPECT_EQ(R::DetectKind(Widen(dir.File("c.dat"))), R::KIND_TIFF);
    EXPECT_EQ(R::DetectKind(Widen(dir.File("d.dat"))), R::KIND_JPEG);
    EXPECT_EQ(R::DetectKind(Widen(dir.File("e.dat"))), R::KIND_BMP);
    EXPECT_EQ(R::DetectKind(Widen(dir.File("f.png"))), R::KIND_UNKNOWN);
    EXPECT_EQ(R::DetectKind(Widen(dir.File("none.png"))), R::KIND_UNKNOWN);
    EXPECT_EQ(R::KindFromExtension(L"/x.y/ct_01.TIFF"), R::KIND_TIFF);
    EXPECT_EQ(R::KindFromExtension(L"/x.png/ct_01"), R::KIND_UNKNOWN);
    EXPECT_EQ(R::KindFromExtension(L"a.JPeG"), R::KIND_JPEG);
}

} // namespace
