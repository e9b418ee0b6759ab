// The window program's parts that need no display: command line, the shortcut table with the
// user's key assignments, and a view controller's mouse navigation and saved lines.
#include "gui/CommandLine_cls.h"
#include "gui/GLCanvasCtrl_cls.h"
#include "gui/SequencePanel_cls.h"
#include "gui/Shortcut_cls.h"

#include "config/TextFormat.h"
#include "support/TestUtil.h"

#include <gtest/gtest.h>

#include <cmath>

namespace
{

CommandLine_cls::Action ParseArgs(CommandLine_cls& cl, std::vector<const char*> args)
{
    args.insert(args.begin(), "tessan");
    return cl.Parse(static_cast<int>(args.size()), args.data());
}

double Dist(const Vec3d& a, const Vec3d& b)
{
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

} // namespace

TEST(CommandLine, OptionsAndFile)
{
    CommandLine_cls cl;
    ASSERT_EQ(ParseArgs(cl, {"--size", "800x600", "--screenshot=out/a.png", "scene.vsp"}), CommandLine_cls::kRun);
    EXPECT_EQ(cl.GetWidth(), 800);
    EXPECT_EQ(cl.GetHeight(), 600);
    EXPECT_EQ(cl.GetScreenshotPath(), "out/a.png");
    EXPECT_EQ(cl.GetFile(), "scene.vsp");

    CommandLine_cls help;
    EXPECT_EQ(ParseArgs(help, {"x.df3", "--help"}), CommandLine_cls::kHelp);
    CommandLine_cls version;
    EXPECT_EQ(ParseArgs(version, {"--version"}), CommandLine_cls::kVersion);
    EXPECT_NE(CommandLine_cls::VersionText().find("0.778"), std::string::npos);
}

TEST(CommandLine, StartFrame)
{
    CommandLine_cls none;
    ASSERT_EQ(ParseArgs(none, {"a.df3"}), CommandLine_cls::kRun);
    EXPECT_EQ(none.GetFrame(), -1);
    CommandLine_cls spaced;
    ASSERT_EQ(ParseArgs(spaced, {"--frame", "16", "a.df3"}), CommandLine_cls::kRun);
    EXPECT_EQ(spaced.GetFrame(), 16);
    EXPECT_EQ(spaced.GetFile(), "a.df3");
    CommandLine_cls joined;
    ASSERT_EQ(ParseArgs(joined, {"a.df3", "--frame=0"}), CommandLine_cls::kRun);
    EXPECT_EQ(joined.GetFrame(), 0);
    for (std::vector<const char*> bad : std::vector<std::vector<const char*>>{
             {"--frame"}, {"--frame", "-1"}, {"--frame", "3x"}, {"--frame="}, {"--frame", "1e3"}}) {
        CommandLine_cls cl;
        EXPECT_EQ(ParseArgs(cl, bad), CommandLine_cls::kUsageError) << bad.back();
        EXPECT_NE(cl.GetError().find("--frame"), std::string::npos);
        EXPECT_EQ(cl.GetFrame(), -1);
    }
    EXPECT_NE(CommandLine_cls::HelpText().find("--frame N"), std::string::npos);
}

TEST(CommandLine, UsageErrors)
{
    for (std::vector<const char*> bad : std::vector<std::vector<const char*>>{{"--size"},
                                                                              {"--size", "800"},
                                                                              {"--size", "x600"},
                                                                              {"--size", "63x600"},
                                                                              {"--size", "800x-6"},
                                                                              {"--size", "80 0x600"},
                                                                              {"--screenshot"},
                                                                              {"--screenshot="},
                                                                              {"-q"},
                                                                              {"a.df3", "b.df3"}}) {
        CommandLine_cls cl;
        EXPECT_EQ(ParseArgs(cl, bad), CommandLine_cls::kUsageError) << bad[0];
        EXPECT_FALSE(cl.GetError().empty());
        EXPECT_EQ(cl.GetWidth(), 0);
    }
    int w = 1, h = 2;
    EXPECT_TRUE(CommandLine_cls::ParseSize("16384X64", w, h));
    EXPECT_EQ(w, 16384);
    EXPECT_EQ(h, 64);
    EXPECT_FALSE(CommandLine_cls::ParseSize("16385x64", w, h));
    EXPECT_EQ(w, 16384); // untouched on failure
}

TEST(Shortcut, DefaultsAndAssignmentRules)
{
    Shortcut_cls keys;
    EXPECT_EQ(keys.GetKey("Quit"), L"Ctrl+Q");
    EXPECT_EQ(keys.GetKey("FourViews"), L"Ctrl+4");
    EXPECT_EQ(keys.GetKey("NoSuchCommand"), L"");
    // Normalised, so differently written keys are the same key.
    EXPECT_TRUE(keys.SetKey("Quit", L"ctrl+shift+x"));
    EXPECT_EQ(keys.GetKey("Quit"), L"Ctrl+Shift+X");
    // One key, one command.
    EXPECT_FALSE(keys.SetKey("About", L"CTRL+SHIFT+X"));
    EXPECT_EQ(keys.GetKey("About"), L"F1");
    // Invalid keys and unknown names change nothing.
    EXPECT_FALSE(keys.SetKey("About", L"Ctrl+Banana"));
    EXPECT_FALSE(keys.SetKey("Nothing", L"F5"));
    EXPECT_EQ(keys.GetKey("About"), L"F1");
    // An empty key removes it, freeing it for another command.
    EXPECT_TRUE(keys.SetKey("About", L""));
    EXPECT_TRUE(keys.SetKey("ResetCamera", L"F1"));
    EXPECT_EQ(keys.GetKey("ResetCamera"), L"F1");
}

TEST(Shortcut, BlockRoundTripAndMenuModel)
{
    Shortcut_cls a;
    ASSERT_TRUE(a.SetKey("OpenProject", L"Ctrl+Shift+P"));
    ASSERT_TRUE(a.SetKey("ToolTip", L"F2"));
    const std::wstring block = a.SerializeForConfigure();
    EXPECT_EQ(block.rfind(L"-ShortcutBegin\n", 0), 0u);
    EXPECT_NE(block.find(L"OpenProject=Ctrl+Shift+P\n"), std::wstring::npos);
    EXPECT_NE(block.find(L"-ShortcutEnd\n"), std::wstring::npos);

    // Written into a configuration file among other lines, read back by a fresh table.
    TempDir dir;
    WriteFileText(dir.File("KivrelConfigure.txt"),
                  "ToolTip=1\nQuit=Ctrl+W\n" + Narrow(block) + "FrameMainViewLayout=1\n");
    Shortcut_cls b;
    EXPECT_EQ(b.ReadShortcutSection(dir.File("KivrelConfigure.txt")), 27); // every named entry
    EXPECT_EQ(b.GetKey("OpenProject"), L"Ctrl+Shift+P");
    EXPECT_EQ(b.GetKey("ToolTip"), L"F2");
    EXPECT_EQ(b.GetKey("Quit"), L"Ctrl+Q"); // the line outside the block is not a key assignment
    EXPECT_EQ(b.SerializeForConfigure(), block);

    Shortcut_cls c;
    EXPECT_EQ(c.ReadShortcutSection(dir.File("missing.txt")), 0);
    EXPECT_EQ(c.ReadShortcutLines({L"Quit = F9", L"garbage", L"=F3", L"About=NotAKey"}), 1);
    EXPECT_EQ(c.GetKey("Quit"), L"F9");

    // The menu model carries the user's keys after a tab; separators have no label.
    const auto model = b.BuildMenuModel();
    ASSERT_EQ(model.size(), 5u);
    EXPECT_EQ(model[0].mStrTitle, L"&File");
    EXPECT_EQ(model[1].mStrTitle, L"&Edit");
    EXPECT_EQ(model[3].mStrTitle, L"&Animation");
    bool sawOpen = false, sawRecent = false;
    for (const auto& e : model[0].mvEntries) {
        if (e.miId == kIdOpenProject) {
            sawOpen = true;
            EXPECT_EQ(e.mStrLabel, L"&Open Project...\tCtrl+Shift+P");
        }
        sawRecent |= e.meKind == Shortcut_cls::kRecentSubmenu;
        if (e.meKind == Shortcut_cls::kSeparator) {
            EXPECT_TRUE(e.mStrLabel.empty());
        }
    }
    EXPECT_TRUE(sawOpen);
    EXPECT_TRUE(sawRecent);
}

TEST(Shortcut, PlainKeysFindTheirCommands)
{
    Shortcut_cls keys;
    // Every default key is one the toolkit accepts (an unknown name would be dropped silently).
    for (const auto& r : Shortcut_cls::Records())
        if (r.mpName[0] != '\0' && r.mpDefault[0] != '\0')
            EXPECT_FALSE(keys.GetKey(r.mpName).empty()) << r.mpName << " lost its key " << r.mpDefault;
    // The play keys are plain keys, found by any spelling the toolkit accepts.
    EXPECT_EQ(keys.FindCommandByKey(L"Space"), kIdPlay);
    EXPECT_EQ(keys.FindCommandByKey(L"RIGHT"), kIdStepForward);
    EXPECT_EQ(keys.FindCommandByKey(L"left"), kIdStepBack);
    EXPECT_EQ(keys.FindCommandByKey(L"Ctrl+Z"), kIdUndo);
    EXPECT_EQ(keys.FindCommandByKey(L"F7"), 0);
    EXPECT_EQ(keys.FindCommandByKey(L""), 0);
    EXPECT_TRUE(Shortcut_cls::IsPlainKey(L"Right"));
    EXPECT_TRUE(Shortcut_cls::IsPlainKey(L"Space"));
    EXPECT_FALSE(Shortcut_cls::IsPlainKey(L"Ctrl+Right"));
    EXPECT_FALSE(Shortcut_cls::IsPlainKey(L""));
    // A reassigned key follows its command; the old key no longer runs anything.
    ASSERT_TRUE(keys.SetKey("StepForward", L"Ctrl+Shift+Right"));
    EXPECT_EQ(keys.FindCommandByKey(L"Right"), 0);
    EXPECT_EQ(keys.FindCommandByKey(L"ctrl+shift+right"), kIdStepForward);
}

TEST(ViewCtrl, MouseDragsMoveTheCameraTheExpectedWay)
{
    GLCanvasCtrl_cls view(3, Camera_cls::kViewPerspective);
    const Vec3d start = view.GetCamera().GetPosition();
    EXPECT_FALSE(view.IsDragging());
    EXPECT_FALSE(view.ProcessDrag(500));

    // Left drag: motion is collected until the idle pass applies it; distance is kept.
    view.BeginDrag(GLCanvasCtrl_cls::kDragOrbit, 100, 100);
    view.DragTo(110, 100);
    view.DragTo(125, 100);
    EXPECT_TRUE(view.IsDragging());
    ASSERT_TRUE(view.ProcessDrag(500));
    const Vec3d orbited = view.GetCamera().GetPosition();
    EXPECT_NEAR(Dist(orbited, {0, 0, 0}), Dist(start, {0, 0, 0}), 1e-9);
    // 25 px at 0.4 deg/px: 10 degrees around the sky (y) axis.
    const double turned = std::atan2(start[0], start[2]) - std::atan2(orbited[0], orbited[2]);
    EXPECT_NEAR(turned * 180.0 / M_PI, 25 * GLCanvasCtrl_cls::kOrbitDegPerPixel, 1e-9);
    view.EndDrag();
    EXPECT_FALSE(view.IsDragging());

    // Right drag down moves away.
    const double d0 = view.GetCamera().Distance();
    view.BeginDrag(GLCanvasCtrl_cls::kDragZoom, 0, 0);
    view.DragTo(0, 40);
    view.EndDrag();
    EXPECT_TRUE(view.IsDragging()); // released, but motion still waiting
    ASSERT_TRUE(view.ProcessDrag(500));
    EXPECT_NEAR(view.GetCamera().Distance(), d0 * std::exp(0.2), 1e-9);

    // Wheel: two notches toward the user come 19 % closer.
    const double d1 = view.GetCamera().Distance();
    view.Wheel(240, 120);
    EXPECT_NEAR(view.GetCamera().Distance(), d1 * 0.81, 1e-9);

    // Middle drag: the scene follows the pointer (the anchor moves left when dragging right).
    view.BeginDrag(GLCanvasCtrl_cls::kDragPan, 0, 0);
    view.DragTo(50, 0);
    ASSERT_TRUE(view.ProcessDrag(500));
    const Vec3d right = view.GetCamera().Right();
    const Vec3d& anchor = view.GetCamera().GetAnchor();
    EXPECT_LT(anchor[0] * right[0] + anchor[1] * right[1] + anchor[2] * right[2], 0.0);

    // Motion without a held button is ignored; reset restores the start.
    view.EndDrag();
    view.DragTo(300, 300);
    EXPECT_FALSE(view.ProcessDrag(500));
    view.ResetCamera();
    EXPECT_NEAR(Dist(view.GetCamera().GetPosition(), start), 0.0, 1e-12);
}

TEST(ViewCtrl, SavedLinesBelongToTheirOwnView)
{
    GLCanvasCtrl_cls a(1, Camera_cls::kViewFront), b(1, Camera_cls::kViewFront), other(2, Camera_cls::kViewSide);
    a.SetView(Camera_cls::kViewTop);
    a.GetCamera().Orbit(15, 5);
    const std::wstring text = a.SerializeConf();
    EXPECT_EQ(text.rfind(L"--GLCanvas\n", 0), 0u);
    size_t start = 0, taken = 0, takenByOther = 0;
    for (size_t nl; (nl = text.find(L'\n', start)) != std::wstring::npos; start = nl + 1) {
        const std::wstring line = text.substr(start, nl - start);
        taken += b.ReadStrLine(line);
        takenByOther += other.ReadStrLine(line);
    }
    EXPECT_EQ(taken, 7u); // the view kind and six camera items
    EXPECT_EQ(takenByOther, 0u);
    EXPECT_EQ(b.GetView(), Camera_cls::kViewTop);
    EXPECT_NEAR(Dist(b.GetCamera().GetPosition(), a.GetCamera().GetPosition()), 0.0, 1e-5);
    EXPECT_EQ(b.GetViewName(), L"Top");
    EXPECT_EQ(other.GetView(), Camera_cls::kViewSide);
    // An unknown view kind falls back to the perspective view.
    EXPECT_TRUE(b.ReadStrLine(L"GLView1FixedView=9"));
    EXPECT_EQ(b.GetView(), Camera_cls::kViewPerspective);
}

TEST(SequencePanel, FrameAndMemoryLines)
{
    // The list names the file without its folder, marks the current frame and the load state.
    EXPECT_EQ(SequencePanel_cls::FrameLine(3, L"/data/run/data_0003.df3", SequencePanel_cls::kTextured, true),
              L"> [T] 3 data_0003.df3");
    EXPECT_EQ(SequencePanel_cls::FrameLine(12, L"rel/x.df3", SequencePanel_cls::kVoxels, false), L"  [V] 12 x.df3");
    EXPECT_EQ(SequencePanel_cls::FrameLine(0, L"", SequencePanel_cls::kNotLoaded, false), L"  [ ] 0 ");
    EXPECT_EQ(SequencePanel_cls::MemoryLine(12, 256, 3, 512, 10, 1024),
              L"Texture 12/256 MB\nXY 3/512 MB\nXYZ 10/1024 MB");
}
