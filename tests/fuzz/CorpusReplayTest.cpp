// Replays every stored fuzz case (seeds and the regression cases of past findings) through the
// same entry points as the fuzz targets, without the fuzzer runtime. A broken check aborts the
// program with the case's name on stderr.
#include "../../fuzz/FuzzEntries.h"

#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

namespace
{

namespace fs = std::filesystem;

fs::path CorpusDir(const std::string& target)
{
    return fs::path(TESSAN_SOURCE_DIR) / "fuzz" / "corpus" / target;
}

std::vector<fs::path> CasesOf(const std::string& target)
{
    std::vector<fs::path> cases;
    if (fs::is_directory(CorpusDir(target)))
        for (const auto& e : fs::directory_iterator(CorpusDir(target)))
            if (e.is_regular_file())
                cases.push_back(e.path());
    std::sort(cases.begin(), cases.end());
    return cases;
}

class CorpusReplay : public ::testing::TestWithParam<FuzzTarget>
{
};

TEST_P(CorpusReplay, EveryStoredCasePassesTheChecks)
{
    const FuzzTarget target = GetParam();
    const auto cases = CasesOf(target.pName);
    // A target without cases would pass without testing anything.
    ASSERT_GE(cases.size(), 3u) << "too few stored cases in " << CorpusDir(target.pName);
    ::testing::internal::CaptureStdout(); // the 16-bit conversion traces its progress
    for (const fs::path& path : cases) {
        const std::vector<uint8_t> bytes = ReadFileBytes(path.string());
        SetFuzzCaseName(path.string());
        EXPECT_EQ(target.fn(bytes.data(), bytes.size()), 0) << path;
    }
    SetFuzzCaseName("");
    ::testing::internal::GetCapturedStdout();
}

// The DF3 entry on hand-made files of every outcome (8-bit, 16-bit, size inconsistency, empty,
// 0-size axis, negative size): the entry compares the reader with its own decoding and message
// rules, so these pass only when the reader and the checks agree on files whose outcome is known.
TEST(CorpusReplayChecks, HandMadeDf3FilesPassEveryCheck)
{
    // 2 x 3 x 4, 8-bit; 16-bit; one byte too many; empty; header only with a 0-size axis.
    const std::vector<std::vector<uint8_t>> files = {
        [] {
            std::vector<uint8_t> f = {0, 2, 0, 3, 0, 4};
            f.resize(30, 7);
            return f;
        }(),
        [] {
            std::vector<uint8_t> f = {0, 2, 0, 3, 0, 4};
            f.resize(54, 9);
            return f;
        }(),
        [] {
            std::vector<uint8_t> f = {0, 2, 0, 3, 0, 4};
            f.resize(31, 1);
            return f;
        }(),
        {},
        {0, 0, 0, 5, 0, 5},
        {0x80, 0, 0, 1, 0, 1, 42},
    };
    ::testing::internal::CaptureStdout();
    for (const auto& f : files)
        EXPECT_EQ(FuzzDf3File(f.data(), f.size()), 0);
    ::testing::internal::GetCapturedStdout();
}

std::string TargetName(const ::testing::TestParamInfo<FuzzTarget>& info)
{
    return info.param.pName;
}

INSTANTIATE_TEST_SUITE_P(Targets, CorpusReplay, ::testing::ValuesIn(GetFuzzTargets()), TargetName);

} // namespace
