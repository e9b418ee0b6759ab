#pragma once
// Projects of the bundled sample for the command-line tests, written with the core's own writers
// of each block, and pixel comparison of rendered pictures.
#include "anim/TimeCtrl_cls.h"
#include "config/Main_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/PovVolume_cls.h"
#include "support/PovRayRunner.h"
#include "support/TestUtil.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3Sequence_cls.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

/// The sample's first `frames` frames (from dataDir) in slot 0 with a volume item, down-sized to
/// 32^3, rendered at 48x36 without anti-aliasing from a fixed camera; `extra` lines follow.
/// Returns the project's path (dir/scene.vsp).
inline std::string WriteSampleProject(const TempDir& dir, const std::filesystem::path& dataDir, int frames,
                                      const std::wstring& extra = std::wstring())
{
    Main_cls main(Widen(dir.Path().string()));
    std::vector<DF3Sequence_cls::FileEntry> files;
    for (int i = 0; i < frames; ++i)
        files.push_back({Widen((dataDir / StrPrintf("demo_%04d.df3", i)).string()), L"", 0});
    main.GetSeqCtrl().GetSequence(0).AppendFiles(files);
    FilterCtrl_cls& chain = main.GetSeqCtrl().GetSequence(0).GetFilterCtrl();
    chain.AddToList(-1, std::make_unique<PovVolume_cls>(&chain));
    main.GetTimeCtrl().SetMaxFrame(frames - 1);
    std::wstring text = main.GetSeqCtrl().SerializeAllDF3Sequence() + main.GetTimeCtrl().SerializeParam();
    text += L"DownSizeSRC=4 4 4\nPovImageWidth=48\nPovImageHeight=36\nPovAntialias=0\n";
    text += L"GLView0CamLocation=1.5 1.1 2.2\nGLView0CamLookAt=0 0 0\n" + extra;
    const std::string path = dir.File("scene.vsp");
    WriteFileText(path, Narrow(text));
    return path;
}

/// The pixels of a picture file (through ImageMagick's convert); invalid when it cannot be read.
inline PovImage ReadPicture(const std::string& path)
{
    PovImage image;
    const RunResult r = RunCommand("convert '" + path + "' ppm:-");
    if (r.exitCode == 0)
        DecodePpm(std::vector<uint8_t>(r.out.begin(), r.out.end()), image);
    return image;
}

/// A test suite sharing one written sample series (DataDir()/demo_NNNN.df3) and a fresh folder
/// per test; the series is written once per suite because it is the slow part.
struct SampleSeriesFixture : public ::testing::Test {
    static inline TempDir* msData = nullptr;
    TempDir mDir;

    static void SetUpTestSuite()
    {
        msData = new TempDir;
        RunCli("sample " + msData->Path().string() + "/data");
    }
    static void TearDownTestSuite()
    {
        delete msData;
        msData = nullptr;
    }
    static std::filesystem::path DataDir() { return msData->Path() / "data"; }
};
