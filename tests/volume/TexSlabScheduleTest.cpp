// Bringing a frame to the screen without long idle passes: the upload plan (every plane or slice
// in exactly one unit, in order, units about the size asked for), the texture jobs filling one
// unit per step with the textures complete only after the last, a frame released in the middle
// of its upload, and the processing of frames on the slot's worker (same result as on the
// calling thread, and frames or chains never freed under it).
#include "anim/TimeCtrl_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3_cls.h"
#include "volume/SeqTestUtil.h"
#include "volume/TexObjectJobsHeadless_cls.h"
#include "volume/TexSlabPlan_cls.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <tuple>
#include <vector>

namespace
{

using Unit = TexSlabPlan_cls::Unit;

// Every slice of each axis the plan covers, counted.
std::vector<std::vector<int>> Coverage(const TexSlabPlan_cls& plan, const uint32_t size[3])
{
    std::vector<std::vector<int>> seen(3);
    for (int a = 0; a < 3; ++a)
        seen[a].assign(size[a], 0);
    for (uint32_t i = 0; i < plan.GetUnitCount(); ++i) {
        const Unit& u = plan.GetUnit(i);
        for (uint32_t k = u.uFirst; k < u.uFirst + u.uCount; ++k)
            ++seen[u.iAxis].at(k);
    }
    return seen;
}

TEST(TexSlabPlan, SlabsCoverEveryPlaneOnceInOrder)
{
    const uint32_t size[3] = {40, 30, 21};
    TexSlabPlan_cls plan;
    // Four z planes of ALPHA texels per unit: 21 planes give 5 full slabs and one of 1 plane.
    plan.Make(size, true, 1, 4 * 40 * 30);
    ASSERT_EQ(plan.GetUnitCount(), 6u);
    uint32_t next = 0;
    for (uint32_t i = 0; i < plan.GetUnitCount(); ++i) {
        const Unit& u = plan.GetUnit(i);
        EXPECT_EQ(u.iAxis, 2);
        EXPECT_EQ(u.uFirst, next) << "unit " << i;
        next += u.uCount;
        EXPECT_LE(plan.GetUnitBytes(i), 4u * 40 * 30);
    }
    EXPECT_EQ(next, 21u);
    EXPECT_EQ(plan.GetUnit(5).uCount, 1u);
    EXPECT_EQ(Coverage(plan, size)[2], std::vector<int>(21, 1));

    // RGBA texels take four times the bytes: a quarter of the planes per unit.
    plan.Make(size, true, 4, 4 * 40 * 30 * 4);
    EXPECT_EQ(plan.GetUnit(0).uCount, 4u);
    // A budget below one plane still moves one plane per unit; above the volume, one unit.
    plan.Make(size, true, 1, 10);
    EXPECT_EQ(plan.GetUnitCount(), 21u);
    plan.Make(size, true, 1, uint64_t{1} << 40);
    ASSERT_EQ(plan.GetUnitCount(), 1u);
    EXPECT_EQ(plan.GetUnit(0), (Unit{2, 0, 21}));
    // Nothing to upload, nothing planned.
    const uint32_t empty[3] = {40, 0, 21};
    plan.Make(empty, true, 1, 1000);
    EXPECT_EQ(plan.GetUnitCount(), 0u);
}

TEST(TexSlabPlan, StacksGoAxisByAxisAndNeverMixAxesInOneUnit)
{
    const uint32_t size[3] = {10, 12, 7};
    TexSlabPlan_cls plan;
    // Slices across X are 12x7 = 84 bytes, across Y 10x7 = 70, across Z 10x12 = 120.
    plan.Make(size, false, 1, 250);
    const auto seen = Coverage(plan, size);
    for (int a = 0; a < 3; ++a)
        EXPECT_EQ(seen[a], std::vector<int>(size[a], 1)) << "axis " << a;
    int axis = 0;
    for (uint32_t i = 0; i < plan.GetUnitCount(); ++i) {
        const Unit& u = plan.GetUnit(i);
        EXPECT_GE(u.iAxis, axis) << "axes in order";
        axis = u.iAxis;
        EXPECT_LE(u.uFirst + u.uCount, size[u.iAxis]);
    }
    EXPECT_EQ(plan.GetUnit(0), (Unit{0, 0, 2}));               // 250 / 84
    EXPECT_EQ(plan.GetUnit(plan.GetUnitCount() - 1).iAxis, 2); // Z last
}

TEST(TexSlabPlan, UnitSizeFollowsTheMeasuredRate)
{
    const double saved = TexSlabPlan_cls::GetUploadRate();
    EXPECT_EQ(TexSlabPlan_cls::UnitBytesFor(0.0, 6.0), 256u * 1024) << "no rate yet: the small end";
    EXPECT_EQ(TexSlabPlan_cls::UnitBytesFor(200.0 * 1024, 6.0), 1200u * 1024);
    EXPECT_EQ(TexSlabPlan_cls::UnitBytesFor(1e12, 6.0), 8u * 1024 * 1024) << "capped";
    EXPECT_EQ(TexSlabPlan_cls::UnitBytesFor(1.0, 6.0), 256u * 1024) << "floored";

    TexSlabPlan_cls::SetUploadRate(0.0);
    TexSlabPlan_cls::AddUploadSample(1000, 2.0);
    EXPECT_DOUBLE_EQ(TexSlabPlan_cls::GetUploadRate(), 500.0) << "the first sample is the rate";
    TexSlabPlan_cls::AddUploadSample(1000, 1.0);
    EXPECT_DOUBLE_EQ(TexSlabPlan_cls::GetUploadRate(), 500.0 * 0.75 + 1000.0 * 0.25);
    TexSlabPlan_cls::AddUploadSample(0, 1.0);
    TexSlabPlan_cls::AddUploadSample(1000, 0.0);
    EXPECT_DOUBLE_EQ(TexSlabPlan_cls::GetUploadRate(), 625.0) << "empty samples change nothing";
    TexSlabPlan_cls::SetUploadRate(saved);
}

// Bricks: each drawn plane in exactly one brick, in order; every brick stores its drawn planes
// and one neighbour on each side where there is one, and no more bytes than asked for.
TEST(TexSlabPlan, BricksDrawEveryPlaneOnceAndStoreTheirNeighbours)
{
    using Brick = TexSlabPlan_cls::Brick;
    EXPECT_TRUE(TexSlabPlan_cls::MakeBricks(0, 100, 1000).empty());
    EXPECT_EQ(TexSlabPlan_cls::MakeBricks(10, 100, 1000), (std::vector<Brick>{{0, 10, 0, 10}})) << "it fits whole";
    // 256 planes of 64 KB in bricks of at most 4 MB: 62 drawn planes fit beside the overlap,
    // so five bricks of 52 or 51 planes.
    const uint64_t plane = 64 * 1024, most = 4 * 1024 * 1024;
    for (auto [depth, planeBytes, brickBytes] :
         {std::tuple{256u, plane, most}, {100u, uint64_t{10}, uint64_t{95}}, {7u, uint64_t{50}, uint64_t{60}}}) {
        SCOPED_TRACE(depth);
        const std::vector<Brick> bricks = TexSlabPlan_cls::MakeBricks(depth, planeBytes, brickBytes);
        ASSERT_GT(bricks.size(), 1u);
        uint32_t next = 0, smallest = depth, largest = 0;
        uint64_t stored = 0;
        for (const Brick& b : bricks) {
            EXPECT_EQ(b.uFirst, next);
            EXPECT_LT(b.uFirst, b.uEnd);
            EXPECT_EQ(b.uStoreFirst, b.uFirst == 0 ? 0 : b.uFirst - 1);
            EXPECT_EQ(b.uStoreEnd, std::min(depth, b.uEnd + 1));
            EXPECT_TRUE(b.GetStoredPlanes() * planeBytes <= brickBytes || b.uEnd - b.uFirst == 1);
            smallest = std::min(smallest, b.uEnd - b.uFirst);
            largest = std::max(largest, b.uEnd - b.uFirst);
            stored += b.GetStoredPlanes() * planeBytes;
            next = b.uEnd;
        }
        EXPECT_EQ(next, depth);
        EXPECT_LE(largest - smallest, 1u) << "spread evenly";
        EXPECT_EQ(TexSlabPlan_cls::BrickedBytes(depth, planeBytes, brickBytes), stored);
    }
    EXPECT_EQ(TexSlabPlan_cls::MakeBricks(256, plane, most).size(), 5u);
    EXPECT_EQ(TexSlabPlan_cls::MakeBricks(256, plane, most)[0], (Brick{0, 52, 0, 53}));
    // Planes larger than a brick: one drawn plane per brick.
    EXPECT_EQ(TexSlabPlan_cls::MakeBricks(3, 100, 10), (std::vector<Brick>{{0, 1, 0, 2}, {1, 2, 0, 3}, {2, 3, 1, 3}}));
}

constexpr uint16_t kEdge = 16;

struct SlabFixture {
    TempDir dir;
    RecordingPrompt_cls prompt;
    ScopedUserPrompt_cls scoped{&prompt};
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls ctrl{&clock};
    DF3Sequence_cls& seq = ctrl.GetSequence(0);

    explicit SlabFixture(int frames)
    {
        seq.SetMessageParent(&prompt);
        auto paths = WriteSeries(dir, "s_", frames, kEdge, kEdge, kEdge);
        EXPECT_EQ(seq.AppendFileSequence(paths[0], true, 0), frames);
        for (int i = 0; i < frames; ++i) {
            // Three z planes per unit and one unit per step.
            Jobs(i).SetUnitBytes(3 * kEdge * kEdge);
            Jobs(i).SetTimeBudget(0);
        }
    }
    TexObjectJobsHeadless_cls& Jobs(int i) { return static_cast<TexObjectJobsHeadless_cls&>(*seq.GetTexJobs(i)); }
    // Steps frame i until its voxel stages are done and its textures are generated.
    void UpToBinding(int i)
    {
        for (int call = 0; call < 50 && !Jobs(i).IsTexObjectGenFinished(); ++call)
            ASSERT_EQ(seq.IdleProcessesMain(i, false, false), DF3Sequence_cls::kIdleStep);
        ASSERT_TRUE(Jobs(i).IsTexObjectGenFinished());
        ASSERT_FALSE(seq.IsProcessing());
    }
};

TEST(TexSlabSchedule, EverySlabIsFilledOnceInOrderAndTheTexturesCountOnlyAfterTheLast)
{
    PreviewGuard p(true, PreviewProperty_cls::kTexAlpha);
    SlabFixture fx(2);
    fx.UpToBinding(0);
    // Generation holds the memory already; nothing is filled yet.
    EXPECT_EQ(fx.Jobs(0).GetAllocatedTextureKB(), kEdge * kEdge * kEdge * 3u / 1024);
    const uint32_t slabs = (kEdge + 2) / 3; // 16 planes in threes: 6 slabs
    std::vector<Unit> expected;
    for (uint32_t i = 0; i < slabs; ++i)
        expected.push_back(Unit{2, 3 * i, std::min<uint32_t>(3, kEdge - 3 * i)});
    for (uint32_t i = 0; i + 1 < slabs; ++i) {
        ASSERT_EQ(fx.seq.IdleProcessesMain(0, false, false), DF3Sequence_cls::kIdleStep) << "slab " << i;
        EXPECT_FALSE(fx.Jobs(0).IsTexObjectBindFinished()) << "not complete after slab " << i;
        EXPECT_EQ(fx.Jobs(0).GetFilledUnits().size(), i + 1);
    }
    EXPECT_EQ(fx.seq.IdleProcessesMain(0, false, false), DF3Sequence_cls::kIdleBound);
    EXPECT_TRUE(fx.Jobs(0).IsTexObjectBindFinished());
    EXPECT_EQ(fx.Jobs(0).GetFilledUnits(), expected);
    EXPECT_EQ(fx.seq.IdleProcessesMain(0, false, false), DF3Sequence_cls::kIdleNothing);
    EXPECT_EQ(fx.Jobs(0).GetFilledUnits(), expected) << "nothing filled twice";
    fx.ctrl.CalcCurrentUsedMemory();
    EXPECT_EQ(fx.ctrl.GetUsedTexMB(), 0u) << "12 KB are below a megabyte";
    EXPECT_EQ(fx.seq.GetTextureKB(), kEdge * kEdge * kEdge * 3u / 1024);
}

TEST(TexSlabSchedule, TwoDimensionalStacksAreMadeAndFilledARunOfSlicesAtATime)
{
    PreviewGuard p(false, PreviewProperty_cls::kTexAlpha);
    SlabFixture fx(1);
    fx.Jobs(0).SetUnitBytes(5 * kEdge * kEdge); // five slices per unit
    const uint32_t full = kEdge * kEdge * kEdge * 3u / 1024;
    uint32_t lastKB = 0;
    int generationSteps = 0;
    for (int call = 0; call < 60 && !fx.Jobs(0).IsTexObjectGenFinished(); ++call) {
        ASSERT_EQ(fx.seq.IdleProcessesMain(0, false, false), DF3Sequence_cls::kIdleStep);
        const uint32_t kb = fx.Jobs(0).GetAllocatedTextureKB();
        EXPECT_GE(kb, lastKB) << "the stacks grow as they are made";
        if (kb != lastKB)
            ++generationSteps;
        lastKB = kb;
    }
    EXPECT_EQ(lastKB, full);
    EXPECT_EQ(generationSteps, 3 * 4) << "16 slices in fives: four units per axis";
    int binds = 0;
    while (fx.seq.IdleProcessesMain(0, false, false) == DF3Sequence_cls::kIdleStep)
        ++binds;
    EXPECT_TRUE(fx.Jobs(0).IsTexObjectBindFinished());
    EXPECT_EQ(binds + 1, 12);
    std::vector<std::vector<int>> seen(3, std::vector<int>(kEdge, 0));
    for (const Unit& u : fx.Jobs(0).GetFilledUnits())
        for (uint32_t k = u.uFirst; k < u.uFirst + u.uCount; ++k)
            ++seen[u.iAxis][k];
    for (int a = 0; a < 3; ++a)
        EXPECT_EQ(seen[a], std::vector<int>(kEdge, 1)) << "axis " << a;
}

TEST(TexSlabSchedule, AFrameReleasedMidUploadLeavesNoHalfTextureAndStartsOver)
{
    PreviewGuard p(true, PreviewProperty_cls::kTexAlpha);
    SlabFixture fx(2);
    // Frame 1 is not the clock's: the release step may take its textures.
    fx.UpToBinding(1);
    ASSERT_EQ(fx.seq.IdleProcessesMain(1, false, false), DF3Sequence_cls::kIdleStep);
    ASSERT_EQ(fx.seq.IdleProcessesMain(1, false, false), DF3Sequence_cls::kIdleStep);
    ASSERT_EQ(fx.Jobs(1).GetFilledUnits().size(), 2u);
    // Deleted as the release step deletes a frame's textures, in the middle of the upload.
    fx.Jobs(1).DeleteTexObjects(true, false);
    EXPECT_FALSE(fx.Jobs(1).HasTexObjects());
    EXPECT_FALSE(fx.Jobs(1).IsTexObjectBindFinished());
    EXPECT_FALSE(fx.Jobs(1).IsTexObjectBindInProcess()) << "no upload left half done";
    EXPECT_EQ(fx.Jobs(1).GetAllocatedTextureKB(), 0u);
    EXPECT_TRUE(fx.Jobs(1).GetFilledUnits().empty());
    EXPECT_EQ(fx.seq.GetTextureKB(), 0u);

    // Brought up again, it is made anew and every slab filled once, from the first.
    const unsigned generations = fx.Jobs(1).GetGenerateCount();
    for (int call = 0; call < 40 && !fx.Jobs(1).IsTexObjectBindFinished(); ++call)
        ASSERT_NE(fx.seq.IdleProcessesMain(1, false, false), DF3Sequence_cls::kIdleFailed);
    EXPECT_EQ(fx.Jobs(1).GetGenerateCount(), generations + 1);
    ASSERT_EQ(fx.Jobs(1).GetFilledUnits().size(), 6u);
    for (uint32_t i = 0; i < 6; ++i)
        EXPECT_EQ(fx.Jobs(1).GetFilledUnits()[i].uFirst, 3 * i);
}

TEST(TexSlabSchedule, ReleaseByTheSlotDropsAHalfFilledFrameButNeverTheCurrentOne)
{
    PreviewGuard p(true, PreviewProperty_cls::kTexRGBA);
    TempDir dir;
    RecordingPrompt_cls prompt;
    ScopedUserPrompt_cls scoped{&prompt};
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls ctrl{&clock};
    DF3Sequence_cls& seq = ctrl.GetSequence(0);
    seq.SetMessageParent(&prompt);
    // 64^3 RGBA frames count 1 MB of textures each, so a limit of 1 MB is passed by two.
    constexpr uint16_t edge = 64;
    auto paths = WriteSeries(dir, "r_", 3, edge, edge, edge);
    ASSERT_EQ(seq.AppendFileSequence(paths[0], true, 0), 3);
    ctrl.SetCritMemoryMB(1, 200, 400);
    auto jobs = [&](int i) -> TexObjectJobsHeadless_cls& {
        return static_cast<TexObjectJobsHeadless_cls&>(*seq.GetTexJobs(i));
    };
    for (int i = 0; i < 3; ++i) {
        jobs(i).SetUnitBytes(8 * edge * edge * 4);
        jobs(i).SetTimeBudget(0);
    }
    // The current frame 0 complete; frame 1 half filled.
    ASSERT_EQ(seq.IdleProcessesMain(0, true, false), DF3Sequence_cls::kIdleNothing);
    for (int call = 0; call < 40 && jobs(1).GetFilledUnits().size() < 4; ++call)
        ASSERT_NE(seq.IdleProcessesMain(1, false, false), DF3Sequence_cls::kIdleFailed);
    ASSERT_EQ(jobs(1).GetFilledUnits().size(), 4u);
    ASSERT_FALSE(jobs(1).IsTexObjectBindFinished());

    ctrl.CalcCurrentUsedMemory();
    EXPECT_EQ(ctrl.GetUsedTexMB(), 2u);
    EXPECT_TRUE(seq.IdleProcessesRelease(false));
    // The half-filled frame went, with no part of its upload left; the current one stays.
    EXPECT_FALSE(jobs(1).HasTexObjects());
    EXPECT_FALSE(jobs(1).IsTexObjectBindInProcess());
    EXPECT_EQ(jobs(1).GetAllocatedTextureKB(), 0u);
    EXPECT_TRUE(jobs(0).IsTexObjectBindFinished());
    ctrl.CalcCurrentUsedMemory();
    EXPECT_EQ(ctrl.GetUsedTexMB(), 1u);
    EXPECT_FALSE(seq.IdleProcessesRelease(false)) << "at the limit nothing more goes";
    EXPECT_TRUE(jobs(0).IsTexObjectBindFinished());
}

TEST(TexSlabSchedule, ProcessingRunsOnTheSlotWorkerWithTheSameResult)
{
    PreviewGuard p(true, PreviewProperty_cls::kTexAlpha);
    SlabFixture fx(2);
    FilterCtrl_cls& chain = fx.seq.GetFilterCtrl();
    ASSERT_TRUE(chain.AddFilterExecute(5, -1)); // Gauss Blur
    ASSERT_TRUE(chain.AddFilterExecute(4, -1)); // the volume item takes the blurred data
    FilterBase_cls* blur = nullptr;
    for (int i = 0; i < chain.GetItemNum(); ++i)
        if (chain.GetPFilterBase(i)->GetType() == 5)
            blur = chain.GetPFilterBase(i);
    ASSERT_NE(blur, nullptr);
    ASSERT_TRUE(blur->GetPData()->ReadStrLine(L"GaussBlurKernelSize=2"));
    const unsigned before = fx.seq.GetProcessRunCount();
    fx.UpToBinding(0);
    EXPECT_EQ(fx.seq.GetProcessRunCount(), before + 1) << "the chain ran on the worker";
    DF3_cls& f0 = *fx.seq.GetDF3(0);
    const std::vector<uint8_t> viaWorker(f0.GetProcessedData(), f0.GetProcessedData() + f0.GetCurrentTotalSize());
    EXPECT_NE(viaWorker, SeriesBody(f0.GetCurrentTotalSize(), 0)) << "the blur changed something";

    // The same chain on the calling thread gives the same bytes.
    fx.seq.SetReprocessRequired(true);
    ASSERT_TRUE(f0.ProcessXYZData());
    fx.seq.SetReprocessRequired(false);
    const std::vector<uint8_t> here(f0.GetProcessedData(), f0.GetProcessedData() + f0.GetCurrentTotalSize());
    EXPECT_EQ(here, viaWorker);
    EXPECT_EQ(fx.seq.GetProcessRunCount(), before + 1) << "a direct call does not use the worker";
}

TEST(TexSlabSchedule, RemapBlendOnTheWorkerUsesTheFactorOfTheRequest)
{
    PreviewGuard p(true, PreviewProperty_cls::kTexAlpha);
    SlabFixture fx(6);
    fx.clock.SetMaxFrame(10);
    fx.clock.SetIndex(5);
    fx.clock.SetBUseTimeRemap(true); // scene 5 of 10 -> data 2.5 of 5
    ASSERT_EQ(fx.seq.IdleProcessesMain(3, true, false), DF3Sequence_cls::kIdleNothing); // the neighbour
    fx.UpToBinding(2);
    const size_t n = size_t{kEdge} * kEdge * kEdge;
    const auto a = SeriesBody(n, 2), b = SeriesBody(n, 3);
    const uint8_t* out = fx.seq.GetDF3(2)->GetProcessedData();
    for (size_t i = 0; i < n; ++i)
        ASSERT_EQ(out[i], uint8_t(float(a[i]) * 0.5f + float(b[i]) * 0.5f)) << i;
}

TEST(TexSlabSchedule, FramesAndChainsAreNeverFreedUnderTheWorker)
{
    PreviewGuard p(true, PreviewProperty_cls::kTexAlpha);
    {
        SlabFixture fx(3);
        ASSERT_TRUE(fx.seq.GetFilterCtrl().AddFilterExecute(5, -1));
        // Header, body, then the step that starts the processing.
        for (int call = 0; call < 10 && !fx.seq.IsProcessing(); ++call)
            fx.seq.IdleProcessesMain(1, false, false);
        // Whether or not it is still running, releasing everything waits for it first.
        fx.seq.ReleaseAll();
        EXPECT_FALSE(fx.seq.IsProcessing());
        EXPECT_FALSE(fx.seq.GetDF3(1)->IsAllocated());
    }
    {
        SlabFixture fx(3);
        ASSERT_TRUE(fx.seq.GetFilterCtrl().AddFilterExecute(5, -1));
        for (int call = 0; call < 10 && !fx.seq.IsProcessing(); ++call)
            fx.seq.IdleProcessesMain(2, false, false);
        // Closing the slot mid-run.
        fx.seq.ClearFileSequence();
        EXPECT_FALSE(fx.seq.IsProcessing());
        EXPECT_EQ(fx.seq.GetFrameCount(), 0);
    }
    {
        SlabFixture fx(2);
        ASSERT_TRUE(fx.seq.GetFilterCtrl().AddFilterExecute(5, -1));
        for (int call = 0; call < 10 && !fx.seq.IsProcessing(); ++call)
            fx.seq.IdleProcessesMain(1, false, false);
        // The frame wanted now takes over the chain only after the run.
        EXPECT_EQ(fx.seq.IdleProcessesMain(0, true, false), DF3Sequence_cls::kIdleNothing);
        EXPECT_FALSE(fx.seq.IsProcessing());
        // The slot goes away with a run possibly still going: its destructor waits.
        for (int call = 0; call < 10 && !fx.seq.IsProcessing(); ++call)
            fx.seq.IdleProcessesMain(1, false, false);
    }
}

} // namespace
