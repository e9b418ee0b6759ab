// Isosurface sequence export: each frame's surface equals a single-frame extraction, files are
// numbered by frame, nothing is ever overwritten, the chain's isosurface items are followed, and a
// stop leaves only complete files.
#include "anim/KeyFrame_cls.h"
#include "anim/Parameters_cls.h"
#include "anim/TimeCtrl_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "config/TextFormat.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/LevelAndGamma_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "iso/ExportIsosurfSeq_cls.h"
#include "iso/IsoTestUtil.h"
#include "volume/DF3Sequence_cls.h"
#include "volume/VolumeTestUtil.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

constexpr int kX = 20, kY = 18, kZ = 16;

// A ball that moves and grows from frame to frame, so every frame has its own surface.
TestVolume FrameVolume(int k)
{
    return MakeBall(kX, kY, kZ, 8.0 + 0.7 * k, 8.5, 7.5, 3.0 + 0.4 * k);
}

// Writes frames 0..count-1 as ball_0000.df3 ... and returns their paths.
std::vector<std::string> WriteBallSeries(const TempDir& dir, int count)
{
    std::vector<std::string> paths;
    for (int k = 0; k < count; ++k) {
        const TestVolume t = FrameVolume(k);
        paths.push_back(dir.File(StrPrintf("ball_%04d.df3", k)));
        WriteFileBytes(paths.back(), Df3File(kX, kY, kZ, std::vector<uint8_t>(t.v.begin(), t.v.end())));
    }
    return paths;
}

// The reference: one extraction of one volume, welded as the writers need it.
struct Single {
    size_t uTriangles, uVertices;
    std::string strObj;
};
Single Extract(const std::vector<unsigned char>& v, float level)
{
    MarchingCube_cls mc;
    EXPECT_TRUE(mc.ThreadControlMain(v.data(), kX, kY, kZ, level, MarchingCube_cls::kFlagNormals));
    mc.OptimizeVerticesFull();
    Single s{mc.GetFaceNumberOptFull(), mc.GetVertexNumberOptFull(), {}};
    mc.GetStrWaveFrontObj(&s.strObj, true);
    return s;
}

struct SeriesFixture {
    TempDir dir;
    std::vector<std::string> paths;
    DF3Sequence_cls seq;
    RecordingPrompt_cls prompt;
    explicit SeriesFixture(int count)
    {
        paths = WriteBallSeries(dir, count);
        seq.SetMessageParent(&prompt);
        EXPECT_EQ(seq.AppendFileSequence(Widen(paths[0]), true, DF3Sequence_cls::kAppendAtEnd), count);
    }
    std::wstring Pattern(const std::string& name) const { return Widen(dir.File(name)); }
    bool Exists(const std::string& name) const { return std::filesystem::exists(dir.File(name)); }
};

} // namespace

TEST(IsosurfSeq, EveryFrameEqualsItsSingleFrameExtractionAndFilesAreNumbered)
{
    SeriesFixture fx(5);
    ExportIsosurfSeq_cls::Settings s;
    s.iFirst = 1;
    s.iLast = 4;
    s.dLevel = 0.4;
    s.strPatternObj = fx.Pattern("iso_%04d.obj");
    s.strPatternMesh2 = fx.Pattern("mesh/");
    s.iWorkers = 3;
    ExportIsosurfSeq_cls exporter(&fx.seq);
    ASSERT_TRUE(exporter.Run(s, &fx.prompt)) << Narrow(exporter.GetError());
    EXPECT_TRUE(exporter.IsSucceeded());
    EXPECT_EQ(fx.prompt.MessageCount(), 0u);

    ASSERT_EQ(exporter.GetResults().size(), 4u);
    EXPECT_FALSE(fx.Exists("iso_0000.obj")) << "frame 0 lies outside the range";
    EXPECT_FALSE(fx.Exists("iso_0005.obj"));
    for (int k = 1; k <= 4; ++k) {
        const ExportIsosurfSeq_cls::FrameResult& r = exporter.GetResults()[static_cast<size_t>(k - 1)];
        const TestVolume t = FrameVolume(k);
        const Single ref = Extract(t.v, 0.4f);
        EXPECT_TRUE(r.bDone);
        EXPECT_EQ(r.iStep, k);
        EXPECT_EQ(r.iFrame, k);
        EXPECT_EQ(r.uTriangles, ref.uTriangles) << "frame " << k;
        EXPECT_EQ(r.uVertices, ref.uVertices) << "frame " << k;
        EXPECT_GT(r.uTriangles, 0u);
        EXPECT_EQ(Narrow(r.strObj), fx.dir.File(StrPrintf("iso_%04d.obj", k)));
        EXPECT_EQ(ReadFileText(fx.dir.File(StrPrintf("iso_%04d.obj", k))), ref.strObj) << "frame " << k;
        const std::string mesh2 = ReadFileText(fx.dir.File(StrPrintf("mesh/iso_%04d.pov", k)));
        EXPECT_NE(mesh2.find(StrPrintf("#declare ISOSURF_Isosurface_%d=mesh2{", k)), std::string::npos);
        EXPECT_NE(mesh2.find(StrPrintf("\t\t%zu,\n", ref.uVertices)), std::string::npos);
    }
    // Growing balls: the counts really differ between frames, so a mix-up would show.
    EXPECT_NE(exporter.GetResults()[0].uTriangles, exporter.GetResults()[3].uTriangles);

    // Progress went through the prompt and ended hidden.
    bool sawProgress = false;
    int lastProgress = 0;
    for (const auto& call : fx.prompt.Entries())
        if (call.kind == RecordingPrompt_cls::Kind::Progress) {
            sawProgress = true;
            lastProgress = call.value;
        }
    EXPECT_TRUE(sawProgress);
    EXPECT_EQ(lastProgress, -1);
}

TEST(IsosurfSeq, SceneStepsFollowTheTimeRemapAndBlendBetweenFrames)
{
    TempDir dir;
    const std::vector<std::string> paths = WriteBallSeries(dir, 4);
    TimeCtrl_cls clock;
    DF3Sequence_cls seq;
    RecordingPrompt_cls prompt;
    seq.SetMessageParent(&prompt);
    seq.Link(nullptr, 0, &clock);
    ASSERT_EQ(seq.AppendFileSequence(Widen(paths[0]), true, DF3Sequence_cls::kAppendAtEnd), 4);
    // Seven scene steps over four data frames: with the linear remap curve step s shows data
    // position s / 2, so odd steps lie halfway between two frames.
    clock.SetMaxFrame(6);
    clock.SetBUseTimeRemap(true);
    ExportIsosurfSeq_cls::Settings s;
    s.iFirst = 0;
    s.iLast = 6;
    s.dLevel = 0.4;
    s.strPatternObj = Widen(dir.File("r_%d.obj"));
    ExportIsosurfSeq_cls exporter(&seq);
    ASSERT_TRUE(exporter.Run(s, &prompt)) << Narrow(exporter.GetError());
    ASSERT_EQ(exporter.GetResults().size(), 7u);
    for (int step = 0; step <= 6; ++step) {
        const int frame = step / 2;
        std::vector<unsigned char> v = FrameVolume(frame).v;
        if (step % 2 == 1) {
            // The chain's blend: single precision, truncated.
            const std::vector<unsigned char> w = FrameVolume(frame + 1).v;
            for (size_t i = 0; i < v.size(); ++i)
                v[i] = static_cast<unsigned char>(static_cast<float>(v[i]) * 0.5f + static_cast<float>(w[i]) * 0.5f);
        }
        const auto& r = exporter.GetResults()[static_cast<size_t>(step)];
        EXPECT_EQ(r.iStep, step);
        EXPECT_EQ(r.iFrame, frame);
        EXPECT_EQ(ReadFileText(dir.File(StrPrintf("r_%d.obj", step))), Extract(v, 0.4f).strObj) << "step " << step;
    }

    // Without the remap a scene step is the data frame of the same number.
    clock.SetBUseTimeRemap(false);
    s.iLast = 3;
    s.strPatternObj = Widen(dir.File("plain_%d.obj"));
    ExportIsosurfSeq_cls plain(&seq);
    ASSERT_TRUE(plain.Run(s, &prompt));
    for (int step = 0; step <= 3; ++step)
        EXPECT_EQ(ReadFileText(dir.File(StrPrintf("plain_%d.obj", step))), Extract(FrameVolume(step).v, 0.4f).strObj);
}

TEST(IsosurfSeq, StepSkipsFramesAndNumbersStayFrameNumbers)
{
    SeriesFixture fx(6);
    ExportIsosurfSeq_cls::Settings s;
    s.iFirst = 0;
    s.iLast = 5;
    s.iStep = 2;
    s.dLevel = 0.4;
    s.strPatternObj = fx.Pattern("f%d.obj");
    ExportIsosurfSeq_cls exporter(&fx.seq);
    ASSERT_TRUE(exporter.Run(s, &fx.prompt));
    for (int k = 0; k <= 5; ++k)
        EXPECT_EQ(fx.Exists(StrPrintf("f%d.obj", k)), k % 2 == 0) << k;
}

TEST(IsosurfSeq, RefusesToOverwriteAndWritesNothing)
{
    SeriesFixture fx(4);
    WriteFileText(fx.dir.File("iso_0002.obj"), "keep me");
    ExportIsosurfSeq_cls::Settings s;
    s.iLast = 3;
    s.dLevel = 0.4;
    s.strPatternObj = fx.Pattern("iso_%04d.obj");
    ExportIsosurfSeq_cls exporter(&fx.seq);
    EXPECT_FALSE(exporter.Run(s, &fx.prompt));
    EXPECT_EQ(ReadFileText(fx.dir.File("iso_0002.obj")), "keep me");
    for (int k : {0, 1, 3})
        EXPECT_FALSE(fx.Exists(StrPrintf("iso_%04d.obj", k))) << "a refused export writes nothing";
    const auto messages = fx.prompt.Messages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].title, L"Write Error");
    EXPECT_NE(messages[0].text.find(L"iso_0002.obj overwrite forbidden"), std::wstring::npos);
}

TEST(IsosurfSeq, RefusesUnusableSettings)
{
    SeriesFixture fx(3);
    auto refused = [&](ExportIsosurfSeq_cls::Settings s, const std::wstring& text) {
        fx.prompt.Reset();
        ExportIsosurfSeq_cls exporter(&fx.seq);
        EXPECT_FALSE(exporter.Start(s, &fx.prompt));
        EXPECT_FALSE(exporter.IsRunning());
        const auto messages = fx.prompt.Messages();
        ASSERT_EQ(messages.size(), 1u);
        EXPECT_NE(messages[0].text.find(text), std::wstring::npos) << Narrow(messages[0].text);
    };
    ExportIsosurfSeq_cls::Settings s;
    s.strPatternObj = fx.Pattern("a_%04d.obj");
    // No level and no isosurface item in the chain: nothing to export.
    refused(s, L"no isosurface");
    s.dLevel = 0.5;
    ExportIsosurfSeq_cls::Settings t = s;
    t.iLast = 3;
    refused(t, L"not within 0 to 2");
    t = s;
    t.strPatternObj = fx.Pattern("a_%d_%d.obj");
    refused(t, L"exactly one number");
    t = s;
    t.strPatternObj.clear();
    refused(t, L"No file name");
    t = s;
    t.strPatternObj = fx.Pattern("missing/a_%d.obj");
    refused(t, L"does not exist");
    t = s;
    t.strPatternMesh2 = s.strPatternObj;
    refused(t, L"same names");
    EXPECT_FALSE(fx.Exists("a_0000.obj"));
}

TEST(IsosurfSeq, FollowsTheChainsIsosurfaceItemsAndTheirKeyedLevels)
{
    GetUndoManager().Clear();
    const int oldFrames = Parameters_cls::GetFrameNumber();
    Parameters_cls::SetFrameNumber(3);
    SeriesFixture fx(4);
    FilterCtrl_cls& chain = fx.seq.GetFilterCtrl();
    // A density filter first, so the surfaces must come from the filtered data.
    chain.AddToList(-1, FilterCtrl_cls::CreateItem(LevelAndGamma_cls::kTypeCode, &chain));
    auto* lg = static_cast<LevelAndGamma_cls*>(chain.GetPFilterBase(0));
    ASSERT_NE(lg, nullptr);
    chain.AddToList(-1, std::make_unique<PovIsosurface_cls>(&chain));
    chain.AddToList(-1, std::make_unique<PovIsosurface_cls>(&chain));
    auto* first = static_cast<PovIsosurface_cls*>(chain.GetPFilterBase(1));
    auto* second = static_cast<PovIsosurface_cls*>(chain.GetPFilterBase(2));
    // The second surface's level runs from 0.3 at time 0 to 0.6 at time 1.
    Parameters_cls& p = second->GetParameters();
    ASSERT_TRUE(p.ExecCommandTimeDependent(true));
    const double a[2] = {0.3, 1.0}, b[2] = {0.6, 1.0};
    ASSERT_TRUE(p.ExecCommandSetKey(0.0, a, kInterpLinear, nullptr, nullptr));
    ASSERT_TRUE(p.ExecCommandSetKey(1.0, b, kInterpLinear, nullptr, nullptr));

    ExportIsosurfSeq_cls::Settings s;
    s.iLast = 3;
    s.strPatternObj = fx.Pattern("s_%02d.obj");
    ExportIsosurfSeq_cls exporter(&fx.seq);
    ASSERT_TRUE(exporter.Run(s, &fx.prompt)) << Narrow(exporter.GetError());
    ASSERT_EQ(exporter.GetResults().size(), 8u);

    for (int k = 0; k <= 3; ++k) {
        // What each item receives: the chain's own result for this frame and time.
        const TestVolume t = FrameVolume(k);
        const double time = k / 3.0;
        chain.UpdateParameters(time);
        std::vector<unsigned char> out(t.v.size());
        const unsigned size[3] = {kX, kY, kZ};
        chain.ProcessXYZData(out.data(), t.v.data(), size, false, 0.0f, nullptr);
        ASSERT_EQ(first->GetDataCopy().size(), t.v.size());
        const Single r0 = Extract(first->GetDataCopy(), static_cast<float>(first->GetCritical()));
        const Single r1 = Extract(second->GetDataCopy(), static_cast<float>(second->GetCritical()));
        EXPECT_NEAR(second->GetCritical(), 0.3 + 0.3 * time, 1e-9);
        const auto& res0 = exporter.GetResults()[static_cast<size_t>(2 * k)];
        const auto& res1 = exporter.GetResults()[static_cast<size_t>(2 * k + 1)];
        EXPECT_EQ(res0.iSurface, 0);
        EXPECT_EQ(res1.iSurface, 1);
        EXPECT_EQ(res0.uTriangles, r0.uTriangles) << "frame " << k;
        EXPECT_EQ(res1.uTriangles, r1.uTriangles) << "frame " << k;
        EXPECT_EQ(ReadFileText(fx.dir.File(StrPrintf("s_%02d_0.obj", k))), r0.strObj) << "frame " << k;
        EXPECT_EQ(ReadFileText(fx.dir.File(StrPrintf("s_%02d_1.obj", k))), r1.strObj) << "frame " << k;
    }
    Parameters_cls::SetFrameNumber(oldFrames);
}

TEST(IsosurfSeq, StopLeavesOnlyCompleteFilesAndAnUnreadableFrameIsReported)
{
    SeriesFixture fx(12);
    ExportIsosurfSeq_cls::Settings s;
    s.iLast = 11;
    s.dLevel = 0.4;
    s.iWorkers = 1;
    s.strPatternObj = fx.Pattern("st_%04d.obj");
    ExportIsosurfSeq_cls exporter(&fx.seq);
    ASSERT_TRUE(exporter.Start(s, &fx.prompt));
    EXPECT_TRUE(exporter.IsRunning());
    exporter.RequestStop();
    while (exporter.Poll())
        exporter.WaitFinished(50);
    EXPECT_FALSE(exporter.IsRunning());
    EXPECT_TRUE(exporter.IsStopped());
    EXPECT_FALSE(exporter.IsSucceeded());
    EXPECT_LT(exporter.GetDoneNumber(), 12);
    EXPECT_EQ(fx.prompt.MessageCount(), 0u) << "a stop is no error";
    for (const auto& r : exporter.GetResults()) {
        const bool exists = std::filesystem::exists(Narrow(r.strObj));
        EXPECT_EQ(exists, r.bDone) << Narrow(r.strObj);
        if (r.bDone)
            EXPECT_EQ(ReadFileText(Narrow(r.strObj)), Extract(FrameVolume(r.iFrame).v, 0.4f).strObj);
    }

    // A frame that cannot be read ends the export with one message naming it.
    WriteFileText(fx.paths[5], "not a volume");
    fx.prompt.Reset();
    s.strPatternObj = fx.Pattern("bad_%04d.obj");
    ExportIsosurfSeq_cls again(&fx.seq);
    EXPECT_FALSE(again.Run(s, &fx.prompt));
    const auto messages = fx.prompt.Messages();
    ASSERT_EQ(messages.size(), 1u);
    EXPECT_EQ(messages[0].title, L"Write Error");
    EXPECT_NE(messages[0].text.find(L"Frame 5"), std::wstring::npos) << Narrow(messages[0].text);
    EXPECT_FALSE(fx.Exists("bad_0005.obj"));
}

TEST(IsosurfSeq, NamesForSeveralSurfacesAndFolders)
{
    TempDir dir;
    std::vector<std::wstring> names;
    std::wstring error;
    // The folder "a.b" does not exist: refused before anything is made.
    EXPECT_FALSE(ExportIsosurfSeq_cls::MakeNames(Widen(dir.File("a.b/m_%03d.pov")), {4, 6}, 2, L".pov", names, error));
    EXPECT_NE(error.find(L"does not exist"), std::wstring::npos);
    ASSERT_TRUE(ExportIsosurfSeq_cls::MakeNames(Widen(dir.File("m_%03d.pov")), {4, 6}, 2, L".pov", names, error));
    ASSERT_EQ(names.size(), 4u);
    EXPECT_EQ(Narrow(names[0]), dir.File("m_004_0.pov"));
    EXPECT_EQ(Narrow(names[1]), dir.File("m_004_1.pov"));
    EXPECT_EQ(Narrow(names[3]), dir.File("m_006_1.pov"));
    ASSERT_TRUE(ExportIsosurfSeq_cls::MakeNames(Widen(dir.File("out.d")) + L"/", {12}, 1, L".obj", names, error));
    ASSERT_EQ(names.size(), 1u);
    EXPECT_EQ(Narrow(names[0]), dir.File("out.d/iso_0012.obj"));
    EXPECT_TRUE(std::filesystem::is_directory(dir.File("out.d")));
}

TEST(IsosurfSeq, CliFramesOptionChecksItsArguments)
{
    TempDir dir;
    const std::vector<std::string> paths = WriteBallSeries(dir, 3);
    const std::string in = " '" + paths[0] + "' --level 0.4 ";
    const std::string obj = " --obj '" + dir.File("c_%d.obj") + "'";
    for (const char* bad : {"--frames 2:1", "--frames 1", "--frames a:2", "--frames -1:2", "--frames 0:"}) {
        const RunResult r = RunCli(std::string("iso ") + bad + in + obj);
        EXPECT_EQ(r.exitCode, 2) << bad << ": " << r.err;
        EXPECT_NE(r.err.find("--frames must be A:B"), std::string::npos) << r.err;
    }
    const RunResult noOutput = RunCli("iso --frames 0:1" + in);
    EXPECT_EQ(noOutput.exitCode, 2);
    EXPECT_NE(noOutput.err.find("--frames needs --obj or --mesh2"), std::string::npos);
    const RunResult beyond = RunCli("iso --frames 0:3" + in + obj);
    EXPECT_EQ(beyond.exitCode, 1);
    EXPECT_NE(beyond.err.find("the series has 3 frames (0:2)"), std::string::npos) << beyond.err;
    EXPECT_FALSE(std::filesystem::exists(dir.File("c_0.obj"))) << "nothing is written for a bad range";

    const RunResult ok = RunCli("iso --frames 1:2" + in + obj);
    ASSERT_EQ(ok.exitCode, 0) << ok.err;
    for (int k = 1; k <= 2; ++k) {
        const Single ref = Extract(FrameVolume(k).v, 0.4f);
        EXPECT_NE(ok.out.find(StrPrintf("frame %d: %zu triangles, %zu vertices\n", k, ref.uTriangles, ref.uVertices)),
                  std::string::npos)
            << ok.out;
        EXPECT_EQ(ReadFileText(dir.File(StrPrintf("c_%d.obj", k))), ref.strObj);
    }
    // Run again: every name is taken, nothing is replaced, exit status 1.
    const RunResult again = RunCli("iso --frames 1:2" + in + obj);
    EXPECT_EQ(again.exitCode, 1);
    EXPECT_NE(again.err.find("overwrite forbidden"), std::string::npos) << again.err;
}
