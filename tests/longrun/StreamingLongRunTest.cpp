// A long session: a 200-frame series of 32^3 volumes played in a loop for thousands of idle passes
// under small memory limits, driven as the window's idle handler drives the slots (play a step
// when the clock says so and prefetch the next one in the spare time, otherwise release, and fetch
// only when nothing was released). The memory held by the frames stays within the limits, every
// shown frame holds its own file's voxels, and the process does not grow from lap to lap.
#include "anim/TimeCtrl_cls.h"
#include "config/RecordingPrompt_cls.h"
#include "volume/DF3SeqCtrl_cls.h"
#include "volume/DF3_cls.h"
#include "volume/SeqTestUtil.h"
#include "volume/TexObjectJobs_cls.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <unistd.h>

namespace
{

constexpr int kFrames = 200;
constexpr uint16_t kEdge = 32;
constexpr uint64_t kVoxels = uint64_t(kEdge) * kEdge * kEdge;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitized = true; // freed memory is held in quarantine: the resident size means little
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
constexpr bool kSanitized = true;
#else
constexpr bool kSanitized = false;
#endif
#else
constexpr bool kSanitized = false;
#endif

/// Resident size of this process in kilobytes (from /proc/self/statm).
long ResidentKB()
{
    long pages = 0, resident = 0;
    std::FILE* f = std::fopen("/proc/self/statm", "r");
    if (!f)
        return -1;
    const int n = std::fscanf(f, "%ld %ld", &pages, &resident);
    std::fclose(f);
    return n == 2 ? resident * (sysconf(_SC_PAGESIZE) / 1024) : -1;
}

/// Bytes of voxel and axis-copy buffers the frames hold, counted from the frames themselves.
uint64_t HeldBytes(DF3Sequence_cls& seq, uint64_t* axisBytes, int* loaded)
{
    uint64_t voxels = 0, axis = 0;
    *loaded = 0;
    for (int i = 0; i < seq.GetFrameCount(); ++i) {
        const DF3_cls* f = seq.GetDF3(i);
        if (f->IsAllocated()) {
            voxels += 2 * f->GetCurrentTotalSize();
            ++*loaded;
        }
        if (f->IsAllocatedXY())
            axis += 2 * f->GetCurrentTotalSize();
    }
    *axisBytes = axis;
    return voxels;
}

TEST(StreamingLongRun, LoopedPlaybackStaysWithinTheLimitsAndDoesNotGrow)
{
    TempDir dir;
    RecordingPrompt_cls prompt;
    ScopedUserPrompt_cls scoped(&prompt);
    TimeCtrl_cls clock;
    DF3SeqCtrl_cls ctrl(&clock);
    DF3Sequence_cls& seq = ctrl.GetSequence(0);
    seq.SetMessageParent(&prompt);
    const auto paths = WriteSeries(dir, "long_", kFrames, kEdge, kEdge, kEdge);
    ASSERT_EQ(seq.AppendFileSequence(paths[0], true, 0), kFrames);
    std::vector<std::vector<uint8_t>> bodies;
    for (int i = 0; i < kFrames; ++i)
        bodies.push_back(SeriesBody(kVoxels, i));

    // Slices need axis copies (no 3D textures); RGBA textures: 128 KB per frame, 64 KB of axis
    // copies, 64 KB of voxels (+64 KB while the copies exist).
    PreviewGuard preview(false, PreviewProperty_cls::kTexRGBA);
    const uint32_t texMB = 2, xyMB = 1, xyzMB = 1;
    ctrl.SetCritMemoryMB(texMB, xyMB, xyzMB);
    clock.SetRepeat(true);
    clock.SetWaitMs(60); // one step every fourth pass; the passes between release and fetch
    clock.SetIndex(0);
    clock.Play(TimeCtrl_cls::kForward);

    // On a pass where the release step found nothing to release, every counter is within its
    // limit, and so is what the frames hold by their own account.
    auto CheckQuietPass = [&](int pass) {
        ASSERT_LE(ctrl.GetUsedTexMB(), texMB) << "pass " << pass;
        ASSERT_LE(ctrl.GetUsedXYMB(), xyMB) << "pass " << pass;
        ASSERT_LE(ctrl.GetUsedXYZMB(), xyzMB) << "pass " << pass;
        uint64_t axis = 0;
        int loaded = 0;
        const uint64_t voxels = HeldBytes(seq, &axis, &loaded);
        ASSERT_LT(voxels + axis, (uint64_t(xyzMB) + 1) << 20) << "pass " << pass;
        ASSERT_LT(axis, (uint64_t(xyMB) + 1) << 20) << "pass " << pass;
        ASSERT_LE(loaded, 16) << "pass " << pass;
    };
    const int kPasses = 20000;
    long long nowMs = 0;
    int played = 0, released = 0, fetched = 0, quiet = 0, lapsSeen = 0, lastIndex = 0;
    long rssAfterSecondLap = -1;
    for (int pass = 0; pass < kPasses; ++pass) {
        nowMs += 10;
        if (ctrl.PlayTex(nowMs)) {
            ++played;
            const int index = clock.GetIndex();
            if (index < lastIndex) {
                ++lapsSeen;
                if (lapsSeen == 2)
                    rssAfterSecondLap = ResidentKB();
            }
            lastIndex = index;
            // The frame on screen holds its own file's voxels, whatever buffer it was read into.
            const DF3_cls* shown = seq.GetDF3(seq.GetRemappedIndex(-1));
            ASSERT_TRUE(shown->IsAllocated()) << "pass " << pass;
            ASSERT_TRUE(std::equal(bodies[index].begin(), bodies[index].end(), shown->GetXYZData()))
                << "frame " << index << " at pass " << pass;
            int budget = 4;
            ctrl.PrefetchForPlay(index + 1, [&budget] { return budget-- > 0; });
            continue;
        }
        if (ctrl.IdleProcessesRelease(-1, false)) {
            ++released;
            continue;
        }
        CheckQuietPass(pass);
        ++quiet;
        if (ctrl.IdleProcessesFetch())
            ++fetched;
    }
    const long rssEnd = ResidentKB();
    EXPECT_EQ(prompt.MessageCount(), 0u);
    EXPECT_GE(lapsSeen, 3) << "the series looped";
    EXPECT_GT(released, 1000);
    EXPECT_GT(quiet, 1000);

    // Stopped: the user jumps about the series (fixed seed); idle passes bring the new current
    // frame up and drop old ones until nothing is left to do.
    clock.Stop();
    uint32_t seed = 12345;
    for (int jump = 0; jump < 300; ++jump) {
        seed = seed * 1103515245u + 12345u;
        const int target = static_cast<int>((seed >> 8) % kFrames);
        clock.SetIndex(target);
        int pass = 0;
        for (; pass < 400; ++pass) {
            if (ctrl.IdleProcessesRelease(-1, false)) {
                ++released;
                continue;
            }
            CheckQuietPass(pass);
            if (!ctrl.IdleProcessesFetch())
                break;
            ++fetched;
        }
        ASSERT_LT(pass, 400) << "idle passes never settle after the jump to " << target;
        const DF3_cls* shown = seq.GetDF3(target);
        ASSERT_TRUE(shown->IsAllocated()) << "jump " << jump;
        ASSERT_TRUE(std::equal(bodies[target].begin(), bodies[target].end(), shown->GetXYZData())) << "jump " << jump;
    }
    EXPECT_GT(fetched, 1000);
    RecordProperty("played", played);
    RecordProperty("rss_after_second_lap_kb", static_cast<int>(rssAfterSecondLap));
    RecordProperty("rss_end_kb", static_cast<int>(rssEnd));
    std::printf("played %d steps, %d releases, %d fetches, %d quiet passes, %d laps; RSS %ld KB after the second lap, "
                "%ld KB at the end\n",
                played, released, fetched, quiet, lapsSeen, rssAfterSecondLap, rssEnd);
    if (!kSanitized) {
        // A frame's buffers leaked on every release would add 64 KB or more per frame and lap.
        ASSERT_GT(rssAfterSecondLap, 0);
        EXPECT_LT(rssEnd - rssAfterSecondLap, 8 * 1024) << "the process grew from lap to lap";
    }
    ctrl.ReleaseAll();
    uint64_t axis = 0;
    int loaded = 0;
    EXPECT_EQ(HeldBytes(seq, &axis, &loaded), 0u);
    EXPECT_EQ(axis, 0u);
}

} // namespace
