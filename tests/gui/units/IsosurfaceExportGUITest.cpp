// The isosurface export dialog's decisions, without the dialog: which format a chosen name and
// filter entry give, and the question before an existing file is replaced.
#include "gui/IsosurfaceExportGUI_cls.h"

#include "config/RecordingPrompt_cls.h"
#include "filter/PovIsosurface_cls.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>
#include <vector>

namespace
{

class IsoExportDialog : public ::testing::Test
{
  protected:
    void SetUp() override
    {
        const unsigned n = 12;
        mvData.assign(n * n * n, 0);
        for (unsigned z = 3; z < 9; ++z)
            for (unsigned y = 3; y < 9; ++y)
                for (unsigned x = 3; x < 9; ++x)
                    mvData[(z * n + y) * n + x] = 255;
        const unsigned size[3] = {n, n, n};
        mCIso.RefreshFilter(mvData.data(), size);
        ASSERT_TRUE(mCIso.IsMeshValid());
    }
    std::wstring Path(const std::string& name) const { return std::filesystem::path(mCDir.File(name)).wstring(); }

    TempDir mCDir;
    std::vector<unsigned char> mvData;
    PovIsosurface_cls mCIso;
    RecordingPrompt_cls mCPrompt;
};

} // namespace

TEST(IsoExportDialogTexts, TitleAndFileTypes)
{
    EXPECT_STREQ(IsosurfaceExportGUI_cls::msTitle, "Export isosurfece (POV mesh2 Format)");
    EXPECT_STREQ(IsosurfaceExportGUI_cls::msWildcard, "All possible (*.pov, *.obj)|*.pov;*.obj|povray mesh2 "
                                                      "format(*.pov)|*.pov|Wavefront OBJ Format(*.obj)|*.obj");
}

TEST_F(IsoExportDialog, TheFilterEntryOrTheNameChoosesTheFormat)
{
    // "All possible": by the extension; without one, mesh2 with ".pov" added.
    ASSERT_TRUE(IsosurfaceExportGUI_cls::ExportTo(mCIso, Path("a.obj"), 0, &mCPrompt));
    EXPECT_EQ(ReadFileText(mCDir.File("a.obj")).rfind("o Isosurface", 0), 0u);
    ASSERT_TRUE(IsosurfaceExportGUI_cls::ExportTo(mCIso, Path("b"), 0, &mCPrompt));
    EXPECT_EQ(ReadFileText(mCDir.File("b.pov")).rfind("//Mesh2file", 0), 0u);
    // The OBJ entry with a bare name: OBJ with ".obj" added.
    ASSERT_TRUE(IsosurfaceExportGUI_cls::ExportTo(mCIso, Path("c"), 2, &mCPrompt));
    EXPECT_EQ(ReadFileText(mCDir.File("c.obj")).rfind("o Isosurface", 0), 0u);
    EXPECT_EQ(mCPrompt.MessageCount(), 0u);
}

TEST_F(IsoExportDialog, AnExistingFileIsReplacedOnlyAfterYes)
{
    WriteFileText(mCDir.File("old.pov"), "keep me\n");
    mCPrompt.QueueAnswer(0);
    EXPECT_FALSE(IsosurfaceExportGUI_cls::ExportTo(mCIso, Path("old.pov"), 1, &mCPrompt));
    EXPECT_EQ(ReadFileText(mCDir.File("old.pov")), "keep me\n");
    const std::vector<RecordingPrompt_cls::Entry> asked = mCPrompt.Entries();
    ASSERT_FALSE(asked.empty());
    EXPECT_EQ(asked.back().kind, RecordingPrompt_cls::Kind::YesNo);
    EXPECT_NE(asked.back().text.find(L"old.pov"), std::wstring::npos);

    mCPrompt.QueueAnswer(1);
    EXPECT_TRUE(IsosurfaceExportGUI_cls::ExportTo(mCIso, Path("old.pov"), 1, &mCPrompt));
    EXPECT_EQ(ReadFileText(mCDir.File("old.pov")).rfind("//Mesh2file", 0), 0u);
}

TEST_F(IsoExportDialog, FailuresAreShownOnceWithTheirTitles)
{
    EXPECT_FALSE(IsosurfaceExportGUI_cls::ExportTo(mCIso, Path("missing/dir/x.pov"), 1, &mCPrompt));
    ASSERT_EQ(mCPrompt.MessageCount(), 1u);
    EXPECT_EQ(mCPrompt.Messages().back().title, L"Write Error");
    PovIsosurface_cls empty;
    EXPECT_FALSE(IsosurfaceExportGUI_cls::ExportTo(empty, Path("e.pov"), 1, &mCPrompt));
    ASSERT_EQ(mCPrompt.MessageCount(), 2u);
    EXPECT_EQ(mCPrompt.Messages().back().title, L"Error!");
    EXPECT_FALSE(std::filesystem::exists(mCDir.File("e.pov")));
}
