// tessan-cli process end to end, and a slot's frame going through its chain into the export.
#include "FilterTestUtil.h"

#include "config/TextFormat.h"
#include "filter/BlurGauss_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/LevelAndGamma_cls.h"
#include "filter/MorphOpenClose_cls.h"
#include "filter/PovVolume_cls.h"
#include "support/TestUtil.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/DF3_cls.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

std::vector<uint8_t> Df3Bytes(const TestVolume& t)
{
    std::vector<uint8_t> b;
    for (unsigned s : t.size) {
        b.push_back(static_cast<uint8_t>(s >> 8));
        b.push_back(static_cast<uint8_t>(s & 0xFF));
    }
    b.insert(b.end(), t.v.begin(), t.v.end());
    return b;
}

/// The same filters applied directly, one after the other.
std::vector<unsigned char> Expected(const TestVolume& t)
{
    BlurGauss_cls blur;
    blur.GetData().muKernelType.Set(1);
    blur.GetData().mvfAssymSize.Set(0, 1.0f);
    blur.GetData().mvfAssymSize.Set(1, 2.0f);
    blur.GetData().mvfAssymSize.Set(2, 0.5f);
    MorphOpenClose_cls morph;
    morph.GetData().miType.Set(3);
    morph.GetData().miKernelType.Set(1);
    morph.GetData().mviAsymSize.Set(0, 2);
    morph.GetData().mviAsymSize.Set(1, 1);
    morph.GetData().mviAsymSize.Set(2, 0);
    LevelAndGamma_cls level;
    level.GetParameters().ProcClearKey({0.1, 0.9, 0.0, 1.0, 0.8, 0.0});
    level.GetData().mbLevelSmooth.Set(true);
    level.UpdateParameters(0.0);
    std::vector<unsigned char> a(t.v.size()), b(t.v.size());
    blur.ProcessXYZData(a.data(), t.v.data(), t.size, a.size(), false);
    morph.ProcessXYZData(b.data(), a.data(), t.size);
    level.ProcessXYZData(a.data(), b.data(), t.size);
    return a;
}

TEST(ProcessCli, FiltersInOrderEqualTheDirectCallsForAnyThreadCount)
{
    TempDir dir;
    const TestVolume t = SmoothVolume(37, 21, 15);
    WriteFileBytes(dir.File("in.df3"), Df3Bytes(t));
    const std::vector<unsigned char> expected = Expected(t);
    for (const char* threads : {"1", "2", "7"}) {
        const std::string out = dir.File(std::string("out") + threads + ".df3");
        const RunResult r = RunCli("process " + dir.File("in.df3") + " " + out + " --threads " + threads +
                                   " --blur 1,2,0.5 --morph closing:ellipsoid:2,1,0 --level 0.1,0.9,0,1,0.8,0,smooth");
        ASSERT_EQ(r.exitCode, 0) << r.err;
        EXPECT_NE(r.out.find("blur 1,2,0.5"), std::string::npos) << r.out;
        EXPECT_NE(r.out.find("morph closing:ellipsoid:2,1,0"), std::string::npos);
        EXPECT_NE(r.out.find(" s\n"), std::string::npos) << "each filter's time";
        const std::vector<uint8_t> written = ReadFileBytes(out);
        ASSERT_EQ(written.size(), t.v.size() + 6);
        EXPECT_EQ(std::vector<uint8_t>(written.begin(), written.begin() + 6),
                  Df3Bytes(TestVolume{{t.size[0], t.size[1], t.size[2]}, {}}));
        EXPECT_EQ(FirstDifference(std::vector<unsigned char>(written.begin() + 6, written.end()), expected), -1)
            << threads;
    }
}

TEST(ProcessCli, NeverOverwritesAndRejectsBadOptions)
{
    TempDir dir;
    const TestVolume t = RandomVolume(5, 4, 3, 1);
    WriteFileBytes(dir.File("in.df3"), Df3Bytes(t));
    WriteFileText(dir.File("out.df3"), "keep");
    RunResult r = RunCli("process " + dir.File("in.df3") + " " + dir.File("out.df3") + " --blur 1");
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_EQ(ReadFileText(dir.File("out.df3")), "keep");
    const std::string io = dir.File("in.df3") + " " + dir.File("new.df3");
    for (const std::string bad :
         {"--morph grow", "--morph opening:sphere:13", "--blur -1", "--blur 1,2", "--level 0,1,0,1,1", "--curve 0:0,1",
          "--sharpen 0.1,0", "--rotate w,10", "--threads 0 --blur 1", "", "--blur 1x"}) {
        r = RunCli("process " + io + " " + bad);
        EXPECT_EQ(r.exitCode, 2) << bad;
        EXPECT_FALSE(r.err.empty()) << bad;
    }
    EXPECT_FALSE(std::filesystem::exists(dir.File("new.df3")));
    r = RunCli("process " + dir.File("missing.df3") + " " + dir.File("new.df3") + " --blur 1");
    EXPECT_EQ(r.exitCode, 1);
    EXPECT_FALSE(std::filesystem::exists(dir.File("new.df3")));
}

TEST(IsoCli, FilterOptionsRunBeforeTheExtraction)
{
    TempDir dir;
    const TestVolume t = RandomVolume(24, 20, 18, 77);
    WriteFileBytes(dir.File("in.df3"), Df3Bytes(t));
    const std::string filters = " --blur 2 --level 0,1,0,1,0.8,0";
    RunResult r = RunCli("process " + dir.File("in.df3") + " " + dir.File("pre.df3") + filters);
    ASSERT_EQ(r.exitCode, 0) << r.err;
    const RunResult direct = RunCli("iso " + dir.File("pre.df3") + " --level 0.5 --obj " + dir.File("a.obj"));
    ASSERT_EQ(direct.exitCode, 0) << direct.err;
    const RunResult chained =
        RunCli("iso " + dir.File("in.df3") + " --level 0.5 --obj " + dir.File("b.obj") + " --filters" + filters);
    ASSERT_EQ(chained.exitCode, 0) << chained.err;
    EXPECT_NE(chained.out.find("time filter blur 2:"), std::string::npos) << chained.out;
    EXPECT_EQ(ReadFileText(dir.File("a.obj")), ReadFileText(dir.File("b.obj")))
        << "the same surface as from the filtered file";
    const RunResult raw = RunCli("iso " + dir.File("in.df3") + " --level 0.5 --obj " + dir.File("c.obj"));
    EXPECT_NE(ReadFileText(dir.File("c.obj")), ReadFileText(dir.File("b.obj"))) << "the filters did something";
    for (const std::string bad :
         {" --filters --morph grow", " --filters", " --filters --obj x.obj", " --blur 2", " --filters 2"}) {
        r = RunCli("iso " + dir.File("in.df3") + " --level 0.5" + bad);
        EXPECT_EQ(r.exitCode, 2) << bad;
    }
}

TEST(SlotChain, FrameProcessingAndExportGoThroughTheChainAndReprocessOnChange)
{
    TempDir dir;
    const TestVolume t = SmoothVolume(21, 13, 11);
    WriteFileBytes(dir.File("in.df3"), Df3Bytes(t));
    DF3Sequence_cls seq;
    DF3_cls frame(&seq);
    frame.SetFilePath(Widen(dir.File("in.df3")));
    frame.SetSelfIndex(0);
    ASSERT_TRUE(frame.ReadHeader(nullptr) && frame.Allocate() && frame.ReadBodyIfNotFinished(true, nullptr));
    // Without a volume item the processed voxels are the frame itself.
    ASSERT_TRUE(frame.ProcessXYZData());
    EXPECT_EQ(std::vector<unsigned char>(frame.GetProcessedData(), frame.GetProcessedData() + t.v.size()), t.v);
    EXPECT_FALSE(seq.IsFilterProcessRequired());

    FilterCtrl_cls& chain = seq.GetFilterCtrl();
    auto level = std::make_unique<LevelAndGamma_cls>();
    level->GetParameters().ProcClearKey({0, 1, 1, 0, 1, 0}); // inverted output window
    chain.AddToList(-1, std::move(level));
    chain.AddToList(-1, std::make_unique<PovVolume_cls>());
    EXPECT_TRUE(seq.IsFilterProcessRequired());
    ASSERT_TRUE(frame.ProcessXYZData());
    // An inverted window: 255 - v up to the truncation of the table.
    LevelAndGamma_cls alone;
    alone.GetParameters().ProcClearKey({0, 1, 1, 0, 1, 0});
    alone.UpdateParameters(0.0);
    unsigned char table[256];
    alone.MakeLevelMap(table);
    EXPECT_EQ(table[0], 255);
    EXPECT_GE(table[200], 54);
    EXPECT_LE(table[200], 55);
    std::vector<unsigned char> inverted(t.v.size());
    for (size_t i = 0; i < t.v.size(); ++i)
        inverted[i] = table[t.v[i]];
    EXPECT_EQ(std::vector<unsigned char>(frame.GetProcessedData(), frame.GetProcessedData() + t.v.size()), inverted);

    // Switching the filter off changes the signature: the next request reprocesses.
    chain.GetPFilterData(0)->SetValid(false);
    ASSERT_TRUE(frame.ExportDF3(Widen(dir.File("out.df3")), nullptr));
    const std::vector<uint8_t> written = ReadFileBytes(dir.File("out.df3"));
    EXPECT_EQ(std::vector<unsigned char>(written.begin() + 6, written.end()), t.v)
        << "the export writes what the chain gives now";
}

} // namespace
