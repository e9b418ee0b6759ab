// Data slots streaming frames under memory limits: stage results one call at a time, the
// prefetch window, release by age with ties and margins, reloads of changed files, pausing, and
// playing a 40-frame series through idle passes.
#include "anim/TimeCtrl_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3_cls.h"
#include "volume/SeqTestUtil.h"
#include "volume/TexObjectJobsHeadless_cls.h"

#include <gtest/gtest.h>

#include <set>

namespace
{

constexpr uint16_t kEdge = 64; // 64^3 voxels: 1 MB of RGBA texture, 256 KB per voxel buffer

struct SlotFixture {
    TempDir dir;
    RecordingPrompt_cls prompt;
    ScopedUserPrompt_cls scoped{&prompt};
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls ctrl{&clock};
    DF3Sequence_cls& seq = ctrl.GetSequence(0);

    SlotFixture() { seq.SetMessageParent(&prompt); }

    // Opens a series into slot 0 (the scene length becomes count - 1).
    std::vector<std::wstring> Open(int count, uint16_t edge = kEdge, const std::string& prefix = "f_")
    {
        auto paths = WriteSeries(dir, prefix, count, edge, edge, edge);
        EXPECT_EQ(seq.AppendFileSequence(paths[0], true, 0), count);
        return paths;
    }
    bool Bound(int i) const { return seq.GetTexJobs(i)->IsTexObjectBindFinished(); }
    bool Resident(int i) const { return seq.GetTexJobs(i)->HasTexObjects(); }
    // One pass of the idle loop outside playback: release, and fetch only when nothing was released.
    // Returns 0 nothing done, 1 released, 2 fetched.
    int IdlePass()
    {
        if (ctrl.IdleProcessesRelease(-1, false))
            return 1;
        return ctrl.IdleProcessesFetch() ? 2 : 0;
    }
    // Idle passes until one does nothing; fails the test when it never settles.
    int Settle(int maxPasses = 2000)
    {
        for (int pass = 0; pass < maxPasses; ++pass)
            if (IdlePass() == 0)
                return pass;
        ADD_FAILURE() << "idle passes never settled";
        return maxPasses;
    }
};

std::vector<int> StagesOf(DF3Sequence_cls& seq, int index, bool skipTexture, int maxCalls = 20)
{
    std::vector<int> results;
    for (int call = 0; call < maxCalls; ++call) {
        results.push_back(seq.IdleProcessesMain(index, false, skipTexture));
        if (results.back() == DF3Sequence_cls::kIdleNothing || results.back() == DF3Sequence_cls::kIdleFailed)
            break;
    }
    return results;
}

TEST(DF3SeqCtrl, SettingsHaveTheirKeysAndDefaults)
{
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls ctrl(&clock);
    EXPECT_EQ(ctrl.SerializeConf(),
              L"DF3CritTexMemoryMB=100\nDF3CritXYMemoryMB=200\nDF3CritXYZMemoryMB=400\nDF3SequenceAppendType=0\n");
    EXPECT_TRUE(ctrl.ReadStrLine(L"DF3CritXYMemoryMB=33"));
    EXPECT_EQ(ctrl.GetCritXYMemoryMB(), 33u);
    EXPECT_TRUE(ctrl.IsPrefetch());
    EXPECT_FALSE(ctrl.IsPauseLoading());
    EXPECT_EQ(ctrl.GetActiveSlot(), 0);
    ctrl.SetActiveSlot(7);
    EXPECT_EQ(ctrl.GetActiveSlot(), 3) << "slot numbers are clamped";
    // The preview asks the slots whether their data needs the filter chain.
    ctrl.GetSequence(2).SetFilterProcessRequired(true);
    EXPECT_TRUE(GetPreviewProperty().IsFilterProcessRequired(2));
    EXPECT_FALSE(GetPreviewProperty().IsFilterProcessRequired(1));
}

TEST(DF3SeqCtrl, PrefetchCountSplitsThreeAheadToOneBehind)
{
    const int cases[][3] = {{-5, 0, 0}, {0, 0, 0},   {1, 1, 0},    {2, 2, 0},      {3, 2, 1},      {4, 3, 1},
                            {10, 8, 2}, {20, 15, 5}, {99, 74, 25}, {199, 149, 50}, {200, 150, 50}, {5000, 150, 50}};
    for (const auto& c : cases) {
        int f = -1, b = -1;
        DF3SeqCtrl_cls::SplitPrefetchCount(c[0], f, b);
        EXPECT_EQ(f, c[1]) << "n = " << c[0];
        EXPECT_EQ(b, c[2]) << "n = " << c[0];
    }
}

TEST(DF3SeqCtrl, PrefetchRangeFollowsLimitStepAndCurrentFrame)
{
    SlotFixture fx;
    fx.Open(30, 8);
    fx.clock.SetStep(2);
    fx.clock.SetIndex(10);
    fx.ctrl.SetCritMemoryMB(100, 200, 400);
    fx.ctrl.CalcPrefetchRange(1.0); // n = 99: 74 ahead, 25 behind, in steps of 2
    EXPECT_EQ(fx.ctrl.GetPrefetchForwardEnd(), 10 + 74 * 2);
    EXPECT_EQ(fx.ctrl.GetPrefetchBackwardEnd(), 10 - 25 * 2);
    fx.ctrl.CalcPrefetchRange(0.25); // below one megabyte counts as one
    EXPECT_EQ(fx.ctrl.GetPrefetchForwardEnd(), 10 + 74 * 2);
    fx.ctrl.CalcPrefetchRange(2.5); // n = 40 - 1 = 39: 29 ahead, 10 behind
    EXPECT_EQ(fx.ctrl.GetPrefetchForwardEnd(), 10 + 29 * 2);
    EXPECT_EQ(fx.ctrl.GetPrefetchBackwardEnd(), 10 - 10 * 2);
    fx.ctrl.SetCritMemoryMB(1, 200, 400); // n = 0: nothing but the current frame
    fx.ctrl.CalcPrefetchRange(1.0);
    EXPECT_EQ(fx.ctrl.GetPrefetchForwardEnd(), 10);
    EXPECT_EQ(fx.ctrl.GetPrefetchBackwardEnd(), 10);
    // The centre is clamped to slot 0's last frame.
    fx.clock.SetMaxFrame(60);
    fx.clock.SetIndex(50);
    fx.ctrl.CalcPrefetchRange(1.0);
    EXPECT_EQ(fx.ctrl.GetPrefetchBackwardEnd(), 29);
}

TEST(DF3SeqCtrl, TextureMegabytesPerStepCountEverySlotAndTheTextureType)
{
    TempDir dir;
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls ctrl(&clock);
    auto a = WriteSeries(dir, "a_", 2, kEdge, kEdge, kEdge);
    auto b = WriteSeries(dir, "b_", 2, kEdge, kEdge, 2 * kEdge);
    ctrl.GetSequence(0).AppendFileSequence(a[0], true, 0);
    ctrl.GetSequence(3).AppendFileSequence(b[0], true, 0);
    // Sizes are known once a header was read.
    ASSERT_TRUE(ctrl.GetSequence(0).GetDF3(1)->ReadHeader(nullptr));
    ASSERT_TRUE(ctrl.GetSequence(3).GetDF3(0)->ReadHeader(nullptr));
    PreviewGuard rgba(false, PreviewProperty_cls::kTexRGBA);
    EXPECT_DOUBLE_EQ(ctrl.CalcTextureMBPerStep(), 1.0 + 2.0);
    PreviewGuard alpha(false, PreviewProperty_cls::kTexAlpha);
    EXPECT_DOUBLE_EQ(ctrl.CalcTextureMBPerStep(), 0.75 + 1.5);
    ctrl.SetDownSizeSRC(2, 2); // half the slices along Z
    EXPECT_DOUBLE_EQ(ctrl.CalcTextureMBPerStep(), (0.75 + 1.5) / 2);
    ctrl.GetSequence(0).ClearFileSequence();
    ctrl.GetSequence(3).ClearFileSequence();
    EXPECT_DOUBLE_EQ(ctrl.CalcTextureMBPerStep(), 1.0) << "nothing loaded still counts one megabyte";
}

TEST(DF3SeqCtrl, StagesReturnOneStepAtATime)
{
    SlotFixture fx;
    fx.Open(3, 8);
    using S = DF3Sequence_cls;
    {
        PreviewGuard p(false, PreviewProperty_cls::kTexAlpha);
        // header+buffers, body, axis buffers, axis copies, stale textures, processing, generation,
        // binding
        EXPECT_EQ(StagesOf(fx.seq, 0, false),
                  (std::vector<int>{S::kIdleStep, S::kIdleStep, S::kIdleStep, S::kIdleStep, S::kIdleStep, S::kIdleStep,
                                    S::kIdleStep, S::kIdleBound, S::kIdleNothing}));
        DF3_cls& f0 = *fx.seq.GetDF3(0);
        EXPECT_TRUE(f0.IsReadFinished());
        EXPECT_TRUE(f0.IsXYConstructFinished());
        EXPECT_TRUE(f0.IsProcessed());
        EXPECT_FALSE(f0.IsDirty()) << "the textures hold the current contents";
        EXPECT_EQ(fx.seq.GetTexJobs(0)->GetAllocatedTextureKB(), 8u * 8 * 8 * 3 / 1024);
        // Axis copies hold the voxels reordered.
        EXPECT_EQ(f0.GetAxisData(0)[1 * 8 * 8 + 2 * 8 + 3], f0.GetXYZData()[f0.GetIndex(1, 3, 2)]);

        // Without textures the voxel stages end the work.
        EXPECT_EQ(StagesOf(fx.seq, 1, true),
                  (std::vector<int>{S::kIdleStep, S::kIdleStep, S::kIdleStep, S::kIdleStep, S::kIdleNothing}));
        EXPECT_FALSE(fx.seq.GetTexJobs(1)->HasTexObjects());
    }
    {
        PreviewGuard p(true, PreviewProperty_cls::kTexRGBA);
        // A 3D texture needs no axis copies.
        EXPECT_EQ(StagesOf(fx.seq, 2, false), (std::vector<int>{S::kIdleStep, S::kIdleStep, S::kIdleStep, S::kIdleStep,
                                                                S::kIdleStep, S::kIdleBound, S::kIdleNothing}));
        EXPECT_FALSE(fx.seq.GetDF3(2)->IsAllocatedXY());
        EXPECT_TRUE(fx.seq.GetTexJobs(2)->Is3DTexture());
        EXPECT_EQ(fx.seq.GetTexJobs(2)->GetAllocatedTextureKB(), 2u);
        // Frame 0's 2D textures are of the other kind: replaced on the next pass.
        EXPECT_EQ(StagesOf(fx.seq, 0, false),
                  (std::vector<int>{S::kIdleStep, S::kIdleStep, S::kIdleStep, S::kIdleBound, S::kIdleNothing}));
        EXPECT_TRUE(fx.seq.GetTexJobs(0)->Is3DTexture());
        // Indexes beyond the last frame mean the last frame.
        EXPECT_EQ(fx.seq.IdleProcessesMain(99, false, false), S::kIdleNothing);
    }
    EXPECT_EQ(fx.prompt.MessageCount(), 0u);
}

TEST(DF3SeqCtrl, FullPassDoesEverythingInOneCall)
{
    SlotFixture fx;
    auto paths = fx.Open(2, 8);
    PreviewGuard p(false, PreviewProperty_cls::kTexAlpha);
    EXPECT_EQ(fx.seq.IdleProcessesMain(1, true, false), DF3Sequence_cls::kIdleNothing);
    DF3_cls& f1 = *fx.seq.GetDF3(1);
    EXPECT_TRUE(f1.IsReadFinished());
    EXPECT_TRUE(f1.IsXYConstructFinished());
    EXPECT_TRUE(fx.Bound(1));
    EXPECT_EQ(std::vector<uint8_t>(f1.GetProcessedData(), f1.GetProcessedData() + 512), SeriesBody(512, 1));
    EXPECT_EQ(fx.seq.IdleProcessesMain(1, false, false), DF3Sequence_cls::kIdleNothing);
}

// Texture jobs whose binding fails: the stage reports failure.
class FailingBind_cls : public TexObjectJobsHeadless_cls
{
  protected:
    bool BindUnit(DF3_cls&, uint32_t) override { return false; }
};

TEST(DF3SeqCtrl, FactoryMakesTheTextureJobsAndBindFailureIsReported)
{
    TempDir dir;
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls ctrl(&clock);
    int made = 0;
    ctrl.SetTexJobsFactory([&](DF3_cls&) {
        ++made;
        return std::make_unique<FailingBind_cls>();
    });
    auto paths = WriteSeries(dir, "g_", 2, 8, 8, 8);
    ctrl.GetSequence(1).AppendFileSequence(paths[0], true, 0);
    EXPECT_EQ(made, 2);
    PreviewGuard p(true, PreviewProperty_cls::kTexAlpha);
    EXPECT_EQ(ctrl.IdleProcessesMainEach(1, 0, true, false), DF3Sequence_cls::kIdleFailed);
    EXPECT_EQ(ctrl.IdleProcessesMainAll(-1, true, false), DF3Sequence_cls::kIdleFailed);
    EXPECT_EQ(ctrl.IdleProcessesMainEach(2, 0, true, false), DF3Sequence_cls::kIdleNothing) << "empty slot";
}

TEST(DF3SeqCtrl, UnreadableFrameIsReportedOnceAndThenLeftAlone)
{
    SlotFixture fx;
    auto paths = fx.Open(2, 8);
    WriteFileBytes(Narrow(paths[1]), {0, 8, 0}); // shorter than a header
    EXPECT_EQ(fx.seq.IdleProcessesMain(1, false, false), DF3Sequence_cls::kIdleStep);
    EXPECT_EQ(fx.prompt.MessageCount(), 1u);
    EXPECT_FALSE(fx.seq.GetDF3(1)->IsValid());
    EXPECT_EQ(fx.seq.IdleProcessesMain(1, false, false), DF3Sequence_cls::kIdleNothing);
    EXPECT_EQ(fx.seq.IdleProcessesMain(1, true, false), DF3Sequence_cls::kIdleNothing);
    EXPECT_EQ(fx.prompt.MessageCount(), 1u);
    EXPECT_FALSE(fx.seq.GetDF3(1)->IsAllocated());
}

TEST(DF3SeqCtrl, CurrentFrameIsNeverReleasedAndTiesGoToTheLowerIndex)
{
    SlotFixture fx;
    fx.Open(3);
    PreviewGuard p(false, PreviewProperty_cls::kTexRGBA);
    fx.clock.SetIndex(2);
    for (int i : {0, 1, 2})
        ASSERT_EQ(fx.seq.IdleProcessesMain(i, true, false), DF3Sequence_cls::kIdleNothing);
    fx.ctrl.SetCritMemoryMB(0, 0, 0);

    // Within the margins nothing goes.
    EXPECT_FALSE(fx.ctrl.IdleProcessesRelease(-1, true));
    EXPECT_EQ(fx.ctrl.GetUsedTexMB(), 3u);
    EXPECT_EQ(fx.ctrl.GetUsedXYMB(), 1u);
    EXPECT_EQ(fx.ctrl.GetUsedXYZMB(), 3u);

    // Frames 0 and 1 are equally old: 0 goes first, textures before axis copies before voxels.
    std::vector<std::string> order;
    for (int call = 0; call < 20 && fx.ctrl.IdleProcessesRelease(0, false); ++call) {
        std::string state;
        for (int i = 0; i < 3; ++i)
            state += std::string(fx.Resident(i) ? "T" : "-") + (fx.seq.GetDF3(i)->IsAllocatedXY() ? "X" : "-") +
                     (fx.seq.GetDF3(i)->IsAllocated() ? "V" : "-") + " ";
        order.push_back(state);
    }
    EXPECT_EQ(order, (std::vector<std::string>{"-XV TXV TXV ", "-XV -XV TXV ", "--V -XV TXV ", "--V --V TXV ",
                                               "--- --V TXV ", "--- --- TXV "}));
    EXPECT_TRUE(fx.Bound(2));
    EXPECT_GT(fx.ctrl.GetUsedTexMB(), 0u) << "still over the limit, yet the current frame stays";
}

TEST(DF3SeqCtrl, OlderFramesGoFirst)
{
    SlotFixture fx;
    fx.Open(6);
    PreviewGuard p(true, PreviewProperty_cls::kTexRGBA);
    fx.ctrl.SetCritMemoryMB(2, 100, 100); // the window is the current frame alone
    for (int c = 0; c < 6; ++c) {
        fx.clock.SetIndex(c);
        ASSERT_EQ(fx.seq.IdleProcessesMain(c, true, false), DF3Sequence_cls::kIdleNothing);
        fx.ctrl.IdleProcessesRelease(-1, false); // ages everyone by one evaluation
    }
    // Each release removed the frame left longest ago; the last two remain.
    for (int i = 0; i < 6; ++i)
        EXPECT_EQ(fx.Resident(i), i >= 4) << "frame " << i;
    EXPECT_GT(fx.seq.GetTexAge(4), 0u);
    EXPECT_LT(fx.seq.GetTexAge(5), fx.seq.GetTexAge(4)) << "the current frame is the youngest";
}

TEST(DF3SeqCtrl, AgesGrowByMarkAndPlayDirection)
{
    SlotFixture fx;
    fx.Open(10, 8);
    PreviewGuard p(true, PreviewProperty_cls::kTexAlpha);
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(fx.seq.IdleProcessesMain(i, true, false), DF3Sequence_cls::kIdleNothing);
    fx.seq.GetDF3(9)->Release(); // textures only
    fx.clock.SetStep(2);         // scene steps 0, 2, 4, 6, 8 are shown
    fx.clock.SetIndex(4);
    fx.ctrl.SetCritMemoryMB(2, 100, 100); // n = 1: the window is frame 5 alone
    fx.ctrl.IdleProcessesRelease(-1, false);
    fx.ctrl.IdleProcessesFetch(); // marks
    auto deltas = [&](bool voxel) {
        std::vector<uint32_t> before;
        for (int i = 0; i < 10; ++i)
            before.push_back(voxel ? fx.seq.GetVoxAge(i) : fx.seq.GetTexAge(i));
        fx.seq.EvaluateOldPoint();
        std::vector<uint32_t> d;
        for (int i = 0; i < 10; ++i)
            d.push_back((voxel ? fx.seq.GetVoxAge(i) : fx.seq.GetTexAge(i)) - before[size_t(i)]);
        return d;
    };
    EXPECT_EQ(fx.seq.GetPreFetchMark(8), 1);
    EXPECT_EQ(fx.seq.GetPreFetchMark(9), 0);
    // Stopped: marked frames age by 1, others by 6. The current frame restarts from 0 first;
    // frame 5 lies inside the window but is never shown, so it ages.
    fx.clock.Play(TimeCtrl_cls::kBackward);
    fx.clock.Stop();
    std::vector<uint32_t> stopped = deltas(false);
    stopped[4] = fx.seq.GetTexAge(4);
    EXPECT_EQ(stopped, (std::vector<uint32_t>{1, 6, 1, 6, 1, 6, 1, 6, 1, 6}));
    EXPECT_EQ(fx.clock.GetPlayDirection(), 0) << "a stopped clock forgets its direction";
    // Playing forward: frames already passed (below the scene index) age three times as fast.
    fx.clock.Play(TimeCtrl_cls::kForward);
    std::vector<uint32_t> forward = deltas(false);
    forward[4] = fx.seq.GetTexAge(4);
    EXPECT_EQ(forward, (std::vector<uint32_t>{3, 18, 3, 18, 1, 6, 1, 6, 1, 6}));
    std::vector<uint32_t> voxels = deltas(true);
    voxels[4] = fx.seq.GetVoxAge(4);
    EXPECT_EQ(voxels, (std::vector<uint32_t>{3, 18, 3, 18, 1, 6, 1, 6, 1, 0})) << "frame 9 holds no voxels";
    fx.clock.Play(TimeCtrl_cls::kBackward);
    std::vector<uint32_t> backward = deltas(false);
    backward[4] = fx.seq.GetTexAge(4);
    EXPECT_EQ(backward, (std::vector<uint32_t>{1, 6, 1, 6, 1, 18, 3, 18, 3, 18}));
}

TEST(DF3SeqCtrl, ChangedFileIsReadAgain)
{
    SlotFixture fx;
    auto paths = fx.Open(2, 8);
    PreviewGuard p(true, PreviewProperty_cls::kTexAlpha);
    ASSERT_EQ(fx.seq.IdleProcessesMain(0, true, false), DF3Sequence_cls::kIdleNothing);
    auto& jobs = static_cast<TexObjectJobsHeadless_cls&>(*fx.seq.GetTexJobs(0));
    EXPECT_EQ(jobs.GetGenerateCount(), 1u);

    const std::vector<uint8_t> fresh(512, 77);
    WriteFileBytes(Narrow(paths[0]), Df3File(8, 8, 8, fresh));
    // Without the tag nothing is read again.
    EXPECT_EQ(fx.seq.IdleProcessesMain(0, true, false), DF3Sequence_cls::kIdleNothing);
    EXPECT_EQ(fx.seq.GetDF3(0)->GetXYZData()[0], SeriesBody(512, 0)[0]);

    fx.ctrl.SetFileChangedTagAll();
    EXPECT_TRUE(fx.seq.GetDF3(0)->IsFileChanged());
    EXPECT_TRUE(fx.seq.GetDF3(1)->GetLoadedFileTag().empty()) << "a never-loaded frame keeps its empty tag";
    const uint8_t* before = fx.seq.GetDF3(0)->GetXYZData();
    EXPECT_EQ(fx.seq.IdleProcessesMain(0, true, false), DF3Sequence_cls::kIdleNothing);
    DF3_cls& f0 = *fx.seq.GetDF3(0);
    EXPECT_EQ(std::vector<uint8_t>(f0.GetXYZData(), f0.GetXYZData() + 512), fresh);
    EXPECT_EQ(std::vector<uint8_t>(f0.GetProcessedData(), f0.GetProcessedData() + 512), fresh);
    EXPECT_EQ(f0.GetXYZData(), before) << "the same-size buffer is reused";
    EXPECT_EQ(jobs.GetGenerateCount(), 2u) << "textures were made again";
}

TEST(DF3SeqCtrl, PausedLoadingDoesNothing)
{
    SlotFixture fx;
    fx.Open(5, 8);
    fx.ctrl.SetPauseLoading(true);
    EXPECT_FALSE(fx.ctrl.IdleProcessesRelease(-1, false));
    EXPECT_FALSE(fx.ctrl.IdleProcessesFetch());
    EXPECT_EQ(fx.seq.IdleProcessesMain(0, true, false), DF3Sequence_cls::kIdleNothing);
    for (int i = 0; i < 5; ++i)
        EXPECT_FALSE(fx.seq.GetDF3(i)->IsAllocated());
    fx.ctrl.SetPauseLoading(false);
    EXPECT_TRUE(fx.ctrl.IdleProcessesFetch());
    EXPECT_TRUE(fx.seq.GetDF3(0)->IsAllocated());
}

TEST(DF3SeqCtrl, PrefetchMarksFollowStepAndRemap)
{
    SlotFixture fx;
    fx.Open(6, 8);
    fx.clock.SetMaxFrame(10);
    fx.clock.SetStep(2);
    fx.seq.UpdatePreFetchList();
    std::string marks;
    for (int i = 0; i < 6; ++i)
        marks += char('0' + fx.seq.GetPreFetchMark(i));
    EXPECT_EQ(marks, "101011") << "steps 0,2,4 and everything past the last frame lands on it";
    fx.clock.SetBUseTimeRemap(true); // identity curve over 10 scene frames onto 6 data frames
    fx.seq.UpdatePreFetchList();
    marks.clear();
    for (int i = 0; i < 6; ++i)
        marks += char('0' + fx.seq.GetPreFetchMark(i));
    EXPECT_EQ(marks, "111111"); // 0, 1, 2, 3, 4, 5 at steps 0, 2, 4, 6, 8, 10
    // With prefetch off, marked frames inside the window are not loaded.
    fx.ctrl.SetPrefetch(false);
    fx.ctrl.IdleProcessesRelease(-1, false);
    EXPECT_FALSE(fx.ctrl.IdleProcessesFetch());
    EXPECT_FALSE(fx.seq.GetDF3(0)->IsAllocated());
}

TEST(DF3SeqCtrl, RemapBlendsTheFrameWithItsNeighbour)
{
    SlotFixture fx;
    fx.Open(6, 8);
    PreviewGuard p(true, PreviewProperty_cls::kTexAlpha);
    fx.clock.SetMaxFrame(10);
    fx.clock.SetIndex(5);
    EXPECT_FALSE(fx.seq.IsRemap());
    EXPECT_EQ(fx.seq.GetRemappedIndex(-1), 5);
    EXPECT_FLOAT_EQ(fx.seq.GetRemapInterpolateFactor(), 0.0f);
    EXPECT_EQ(fx.seq.GetRemappedIndex(9), 5) << "clamped to the last frame";

    fx.clock.SetBUseTimeRemap(true); // scene 5 of 10 -> data 2.5 of 5
    EXPECT_TRUE(fx.seq.IsRemap());
    EXPECT_EQ(fx.seq.GetRemappedIndex(-1), 2);
    EXPECT_EQ(fx.ctrl.GetRemappedIndex(0, 10), 5);
    EXPECT_FLOAT_EQ(fx.seq.GetRemapInterpolateFactor(), 0.5f);

    ASSERT_EQ(fx.seq.IdleProcessesMain(3, true, false), DF3Sequence_cls::kIdleNothing); // the neighbour
    ASSERT_EQ(fx.seq.IdleProcessesMain(2, true, false), DF3Sequence_cls::kIdleNothing);
    const auto a = SeriesBody(512, 2), b = SeriesBody(512, 3);
    const uint8_t* out = fx.seq.GetDF3(2)->GetProcessedData();
    for (size_t i = 0; i < 512; ++i)
        ASSERT_EQ(out[i], uint8_t(float(a[i]) * 0.5f + float(b[i]) * 0.5f)) << i;
}

// An isosurface item holds the results of the frame processed last, and the preview draws them
// beside the shown frame's textures: frames ahead are only read while such an item is in the
// chain, and the shown frame always brings its own results, also when its textures were made
// before the item moved on.
TEST(DF3SeqCtrl, IsosurfaceResultsBelongToTheShownFrame)
{
    SlotFixture fx;
    constexpr uint16_t kSmall = 16;
    const size_t voxels = size_t{kSmall} * kSmall * kSmall;
    fx.Open(8, kSmall);
    PreviewGuard p(false, PreviewProperty_cls::kTexRGBA);
    fx.seq.GetFilterCtrl().AddToList(-1, std::make_unique<PovIsosurface_cls>());
    const auto* iso = static_cast<const PovIsosurface_cls*>(fx.seq.GetFilterCtrl().GetPFilterBase(0));

    fx.clock.SetIndex(2);
    ASSERT_EQ(fx.seq.IdleProcessesMain(2, true, false), DF3Sequence_cls::kIdleNothing);
    fx.Settle();
    EXPECT_TRUE(fx.seq.GetDF3(3)->IsReadFinished()) << "frames ahead are still read";
    EXPECT_FALSE(fx.Resident(3)) << "but not processed";
    EXPECT_EQ(iso->GetRefreshFrame(), 2);
    EXPECT_EQ(iso->GetDataCopy(), SeriesBody(voxels, 2));

    // On to a frame that was only read, then back to one whose textures are made.
    for (int shown : {3, 2, 3}) {
        fx.clock.SetIndex(shown);
        ASSERT_EQ(fx.seq.IdleProcessesMain(shown, true, false), DF3Sequence_cls::kIdleNothing) << shown;
        EXPECT_TRUE(fx.Bound(shown)) << shown;
        EXPECT_EQ(iso->GetRefreshFrame(), shown);
        EXPECT_EQ(iso->GetDataCopy(), SeriesBody(voxels, shown)) << shown;
    }
    // Shown again with nothing changed: the results are kept, nothing is processed.
    const int builds = iso->GetBuildCount();
    EXPECT_EQ(fx.seq.IdleProcessesMain(3, true, false), DF3Sequence_cls::kIdleNothing);
    EXPECT_EQ(iso->GetBuildCount(), builds);

    // Without the item, frames ahead are processed and textured again.
    ASSERT_TRUE(fx.seq.GetFilterCtrl().DeleteFilterItem(0));
    fx.Settle();
    EXPECT_TRUE(fx.Resident(4));
}

TEST(DF3SeqCtrl, FramesAheadLoadFirst)
{
    SlotFixture fx;
    fx.Open(40);
    PreviewGuard p(false, PreviewProperty_cls::kTexRGBA);
    fx.ctrl.SetCritMemoryMB(13, 6, 12); // n = 12: 9 ahead, 3 behind
    fx.clock.SetIndex(10);
    std::vector<int> order;
    std::set<int> seen;
    for (int pass = 0; pass < 500; ++pass) {
        const int did = fx.IdlePass();
        ASSERT_NE(did, 1) << "nothing needs releasing inside the window";
        for (int i = 0; i < 40; ++i)
            if (fx.Bound(i) && seen.insert(i).second)
                order.push_back(i);
        if (did == 0)
            break;
    }
    EXPECT_EQ(order, (std::vector<int>{10, 11, 12, 13, 14, 15, 16, 17, 18, 9, 8}));
    EXPECT_EQ(fx.ctrl.GetPrefetchForwardEnd(), 19);
    EXPECT_EQ(fx.ctrl.GetPrefetchBackwardEnd(), 7);
}

TEST(DF3SeqCtrl, PlayingForwardKeepsTheWindowLoadedWithinTheLimits)
{
    SlotFixture fx;
    fx.Open(40);
    PreviewGuard p(false, PreviewProperty_cls::kTexRGBA);
    // 1 MB of texture, 0.5 MB of axis copies and 1 MB of voxels per frame. n = 6: 5 ahead, 1 behind.
    fx.ctrl.SetCritMemoryMB(7, 3, 6);
    fx.clock.SetIndex(0);
    fx.clock.Play(TimeCtrl_cls::kForward);
    long long now = 0;
    for (int c = 0; c < 40; ++c) {
        if (c > 0) {
            ASSERT_TRUE(fx.ctrl.PlayTex(now += 40));
        }
        ASSERT_EQ(fx.clock.GetIndex(), c);
        ASSERT_EQ(fx.Bound(c), c > 0) << "the played frame is shown at once";
        // Idle passes until there is nothing left to do. Whenever the release step finds nothing
        // to release, use is within the limits.
        for (int pass = 0; pass < 3000; ++pass) {
            if (fx.ctrl.IdleProcessesRelease(-1, false))
                continue;
            fx.ctrl.CalcCurrentUsedMemory();
            ASSERT_LE(fx.ctrl.GetUsedTexMB(), 7u);
            ASSERT_LE(fx.ctrl.GetUsedXYMB(), 3u);
            ASSERT_LE(fx.ctrl.GetUsedXYZMB(), 6u);
            if (!fx.ctrl.IdleProcessesFetch())
                break;
        }
        const int forwardEnd = fx.ctrl.GetPrefetchForwardEnd();
        ASSERT_EQ(forwardEnd, c + 5);
        ASSERT_EQ(fx.ctrl.GetPrefetchBackwardEnd(), c - 1);
        // The window is loaded; behind it stay the most recently passed frames, as many as the
        // limits allow (7 textures, 6 voxel frames); nothing beyond it was touched.
        const int high = std::min(c + 4, 39);
        for (int i = 0; i < 40; ++i) {
            if (i >= c && i <= high) {
                ASSERT_TRUE(fx.Bound(i)) << "step " << c << " frame " << i;
            }
            ASSERT_EQ(fx.Resident(i), i <= high && i >= high - 6) << "step " << c << " frame " << i;
            ASSERT_EQ(fx.seq.GetDF3(i)->IsAllocated(), i <= high && i >= high - 5) << "step " << c << " frame " << i;
        }
    }
    // At the end of the working area playback stops.
    EXPECT_FALSE(fx.ctrl.PlayTex(now += 40));
    EXPECT_FALSE(fx.clock.IsPlaying());
}

TEST(DF3SeqCtrl, PlaybackPrefetchPreparesTheNextStepOfEverySlot)
{
    SlotFixture fx;
    fx.Open(4, 8);
    auto other = WriteSeries(fx.dir, "o_", 4, 8, 8, 8);
    fx.ctrl.GetSequence(2).AppendFileSequence(other[0], true, 0);
    PreviewGuard p(true, PreviewProperty_cls::kTexAlpha);
    EXPECT_EQ(fx.ctrl.PrefetchForPlay(1, [] { return false; }), 0) << "no spare time, no work";
    const int stages = fx.ctrl.PrefetchForPlay(1, [] { return true; });
    EXPECT_EQ(stages, 2 * 6) << "six stages per frame with a 3D texture";
    EXPECT_TRUE(fx.Bound(1));
    EXPECT_TRUE(fx.ctrl.GetSequence(2).GetTexJobs(1)->IsTexObjectBindFinished());
    EXPECT_FALSE(fx.seq.GetDF3(0)->IsAllocated()) << "only the next step";
    fx.ctrl.SetPrefetch(false);
    EXPECT_EQ(fx.ctrl.PrefetchForPlay(2, [] { return true; }), 0);
}

TEST(DF3SeqCtrl, PlayTexWaitsForTheClock)
{
    SlotFixture fx;
    fx.Open(4, 8);
    EXPECT_FALSE(fx.ctrl.PlayTex(0)) << "not playing";
    fx.clock.SetWaitMs(100);
    fx.clock.Play(TimeCtrl_cls::kForward);
    EXPECT_TRUE(fx.ctrl.PlayTex(1000));
    EXPECT_EQ(fx.clock.GetIndex(), 1);
    EXPECT_FALSE(fx.ctrl.PlayTex(1050)) << "within the wait";
    EXPECT_TRUE(fx.ctrl.PlayTex(1100));
    EXPECT_EQ(fx.clock.GetIndex(), 2);
    EXPECT_TRUE(fx.Bound(2));
}

} // namespace
