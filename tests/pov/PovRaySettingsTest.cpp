// Export settings: keys and defaults, the scene header, the option file, the render command and
// script, stem names and the frame range rules.
#include "anim/TimeCtrl_cls.h"
#include "config/TextFormat.h"
#include "pov/Camera_cls.h"
#include "pov/PovRay_cls.h"
#include "filter/PovVolume_cls.h"

#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <sstream>

namespace
{

size_t CountOf(const std::wstring& text, const std::wstring& what)
{
    size_t n = 0;
    for (size_t at = text.find(what); at != std::wstring::npos; at = text.find(what, at + 1))
        ++n;
    return n;
}

TEST(PovRaySettings, EveryKeyWithItsDefault)
{
    PovRay_cls pov;
    const std::wstring text = pov.Serialize();
    for (const wchar_t* line :
         {L"POVRAY_PATH=/usr/bin/povray\n", L"POV_SNAP_FILE=povsnap%04d\n", L"POV_ANIM_FILE=povanim%04d\n",
          L"PovMaxTraceLevel=12\n", L"PovWorkThread=0\n", L"PovRenderBlockSize=32\n", L"PovBoundingMethod=0\n",
          L"PovBufferSize=1\n", L"PovSSSQuality1=50\n", L"PovSSSQuality250\n", L"PovRemoveFile=0\n",
          L"PovShowTweaks=0\n", L"PovSubsetRow=0\n", L"PovStartRow=1\n", L"PovEnRow=480\n", L"PovRegionCustomMin=0\n",
          L"PovRegionCustomMax=100\n", L"PovRenderCamera=0\n", L"PovStereoEye=0\n"})
        EXPECT_NE(text.find(line), std::wstring::npos) << Narrow(line) << " missing in\n" << Narrow(text);
    EXPECT_EQ(CountOf(text, L"PovRenderRegion=0\n"), 2u);
    EXPECT_NE(text.find(L"WORKING_DIR="), std::wstring::npos);
    EXPECT_NE(text.find(L"/POV\n"), std::wstring::npos);
    EXPECT_NEAR(pov.GetAssumedGamma(), 2.2, 1e-12);
}

TEST(PovRaySettings, LinesReadBackAndDefaultsRestoreEverything)
{
    PovRay_cls pov;
    EXPECT_TRUE(pov.ReadStrLine(L"PovSSSQuality2 77"));
    EXPECT_TRUE(pov.ReadStrLine(L"PovEnRow=123"));
    EXPECT_TRUE(pov.ReadStrLine(L"PovRenderRegion=2"));
    EXPECT_TRUE(pov.ReadStrLine(L"PovImageWidth=320"));
    EXPECT_TRUE(pov.ReadStrLine(L"PovRadiosity=1"));
    EXPECT_FALSE(pov.ReadStrLine(L"SomethingElse=1"));
    EXPECT_EQ(pov.GetRender().GetRegion(), 2u);
    EXPECT_EQ(pov.GetFormat().GetWidth(), 320u);
    EXPECT_NE(pov.Serialize().find(L"PovEnRow=123\n"), std::wstring::npos);
    EXPECT_NE(pov.GetPovStrCommon().find(L"samples 50,77}"), std::wstring::npos);
    PovVolume_cls::msSamplesMax = 999;
    PovVolume_cls::msAAThreshold = 0.5f;

    pov.SetToDefault();
    EXPECT_EQ(pov.GetRender().GetRegion(), 0u);
    EXPECT_EQ(pov.GetFormat().GetWidth(), 640u);
    EXPECT_FALSE(pov.GetRadiosity().IsOn());
    EXPECT_NE(pov.Serialize().find(L"PovEnRow=480\n"), std::wstring::npos);
    EXPECT_EQ(PovVolume_cls::msSamplesMax, 128u);
    EXPECT_EQ(PovVolume_cls::msInterpolation, 1u);
    EXPECT_EQ(PovVolume_cls::msMethod, 3u);
    EXPECT_EQ(PovVolume_cls::msSamplesMin, 64u);
    EXPECT_EQ(PovVolume_cls::msAALevel, 4u);
    EXPECT_FLOAT_EQ(PovVolume_cls::msAAThreshold, 0.05f);
}

TEST(PovRaySettings, CommonHeaderText)
{
    PovRay_cls pov;
    pov.SetWorkingDir(L"/data/wd");
    EXPECT_EQ(Narrow(pov.GetPovStrCommon()), "\n#include \"functions.inc\"\n#include \"shapes.inc\"\n"
                                             "#declare WORKINGDIR=\"/data/wd/\"\nglobal_settings {\n\tcharset utf8\n"
                                             "\tmax_trace_level 12\n\tsubsurface { samples 50,50}\n}\n"
                                             "background { color rgb <0.000,0.000,0.000> }\n");
    // Radiosity and photons go inside global_settings, before its closing brace.
    pov.GetRadiosity().SetOn(true);
    pov.GetPhotons().SetOn(true);
    pov.GetBG().SetColor(0.25f, 0.5f, 1.0f);
    const std::string text = Narrow(pov.GetPovStrCommon());
    const size_t close = text.find("\n}\n");
    EXPECT_LT(text.find("\tradiosity {\n\t\tcount 35\n\t\terror_bound 1.8\n"), close);
    EXPECT_LT(text.find("\tphotons {\n\t\tspacing 0.01\n"), close);
    EXPECT_NE(text.find("background { color rgb <0.250,0.500,1.000> }\n"), std::string::npos);
}

TEST(PovRaySettings, OptionFileAndRemoveCommands)
{
    PovRay_cls pov;
    pov.SetWorkingDir(L"/data/wd");
    pov.SetWorkThread(3);
    std::wstring ini;
    pov.GetPovStrIniFile(ini, L"povanim0007", 7);
    EXPECT_EQ(Narrow(ini), "Version=3.7\nDisplay_Gamma=1.000000\nFile_Gamma=1.000000\nWork_Threads=3\n"
                           "Render_Block_Size=32\nMax_Image_Buffer_Memory=1\nWidth=640\nHeight=480\n"
                           "Antialias=On\nAntialias_Threshold=0.3\nAntialias_Depth=3\nOutput_File_Type=N\n"
                           "Output_Alpha=Off\nDisplay=Off\nInput_File_Name=\"/data/wd/povanim0007.pov\"\n"
                           "Output_File_Name=\"./povanim0007\"\n");
    EXPECT_TRUE(pov.GetPostSceneCommands().empty());

    pov.SetBoundingMethod(1);
    pov.SetRemoveFile(true);
    pov.SetOutputDir(L"/data/out");
    pov.SetSubsetRow(true, 10, 20);
    pov.GetFormat().SetAntialias(false);
    ini.clear();
    pov.GetPovStrIniFile(ini, L"s1", 1);
    const std::string t = Narrow(ini);
    EXPECT_NE(t.find("Render_Block_Size=32\nBounding_Method=2\nMax_Image_Buffer_Memory=1\n"), std::string::npos);
    EXPECT_NE(t.find("Antialias=Off\n"), std::string::npos);
    EXPECT_EQ(t.find("Antialias_Threshold"), std::string::npos);
    EXPECT_NE(t.find("Start_Row=10\nEnd_Row=20\n"), std::string::npos);
    EXPECT_NE(t.find("Output_File_Name=\"/data/out/s1\"\n"), std::string::npos);
    EXPECT_EQ(Narrow(pov.GetPostSceneCommands()), "rm \"/data/wd/s1.pov\";rm \"/data/wd/s1.ini\";");
    pov.ResetPostSceneCommands();
    EXPECT_TRUE(pov.GetPostSceneCommands().empty());
}

TEST(PovRaySettings, WorkThreadsZeroMeansHalfTheProcessors)
{
    PovRay_cls pov;
    pov.SetProcessorCount(8);
    std::wstring ini;
    pov.GetPovStrIniFile(ini, L"a", 0);
    EXPECT_NE(ini.find(L"\nWork_Threads=4\n"), std::wstring::npos);
    pov.SetProcessorCount(1);
    EXPECT_EQ(pov.GetWorkThreadsForIni(), 1u);
    pov.SetWorkThread(6);
    EXPECT_EQ(pov.GetWorkThreadsForIni(), 6u);
}

TEST(PovRaySettings, RenderCommandAndScript)
{
    PovRay_cls pov;
    pov.SetWorkingDir(L"/data/wd");
    EXPECT_EQ(Narrow(pov.GetPovRayCommand(L"povsnap0003")), "nice /usr/bin/povray /data/wd/povsnap0003.ini");

    const std::string script = Narrow(pov.GetRenderScriptText(1));
    // The name goes in as a pointer: the address of the held buffer, as a stream prints it.
    std::ostringstream address;
    address << static_cast<const void*>(pov.GetScriptNameBuffer());
    EXPECT_EQ(script, "trap ctrl_c INT\nfunction ctrl_c() {\n\techo -- Trapped CTRL-C\n\texit;\n}\n"
                      "for f in `seq -f %04g $1 $2 $3`; do povray " +
                          address.str() + "${f}.ini; done");
    EXPECT_TRUE(std::regex_search(script, std::regex("do povray 0x[0-9a-f]+\\$\\{f\\}\\.ini; done$")));
    EXPECT_EQ(std::wstring(pov.GetScriptNameBuffer()), L"povanimL");
    pov.GetRenderScriptText(0);
    EXPECT_EQ(std::wstring(pov.GetScriptNameBuffer()), L"povanim");
}

TEST(PovRaySettings, StemNames)
{
    PovRay_cls pov;
    EXPECT_EQ(pov.GetFileStr(1, 0), L"povanim%04d");
    EXPECT_EQ(pov.GetFileStr(1, 1), L"povanimL%04d");
    EXPECT_EQ(pov.GetFileStr(1, 2), L"povanimR%04d");
    EXPECT_EQ(pov.GetFileStr(0, 2), L"povsnapR%04d");
    EXPECT_EQ(PovRay_cls::FormatStem(pov.GetFileStr(1, 1), 0), L"povanimL0000");
    EXPECT_EQ(PovRay_cls::FormatStem(L"povanim%04d", 12345), L"povanim12345");
    // A stray percent sign is kept, it never reads a missing argument.
    EXPECT_EQ(PovRay_cls::FormatStem(L"a%s_%03d", 7), L"a%s_007");
    const std::wstring longStem = PovRay_cls::FormatStem(std::wstring(80, L'x') + L"%04d", 1);
    EXPECT_EQ(longStem.size(), 63u);
}

TEST(PovRaySettings, FrameRangeRules)
{
    TimeCtrl_cls clock;
    clock.SetMaxFrame(200);
    clock.SetWA(10, 50);
    ASSERT_EQ(clock.GetWAMin(), 10);
    ASSERT_EQ(clock.GetWAMax(), 50);
    PovRay_cls pov;
    unsigned first = 0, last = 0;
    pov.GetFrameRange(clock, &first, &last);
    EXPECT_EQ(first, 10u);
    EXPECT_EQ(last, 50u);
    pov.GetRender().SetRegion(PovRender_cls::kRegionAll);
    pov.GetFrameRange(clock, &first, &last);
    EXPECT_EQ(first, 0u);
    EXPECT_EQ(last, 200u);
    pov.GetRender().SetRegion(PovRender_cls::kRegionCustom);
    pov.GetRender().SetCustom(5, 40);
    pov.GetFrameRange(clock, &first, &last);
    EXPECT_EQ(first, 10u); // never before the play start
    EXPECT_EQ(last, 40u);
    pov.GetRender().SetCustom(20, 60);
    pov.GetFrameRange(clock, &first, &last);
    EXPECT_EQ(first, 50u); // the first frame, not the last, moves to the play end
    EXPECT_EQ(last, 60u);
}

TEST(PovRaySettings, CameraBlockWithBlurAndMatrix)
{
    PovRay_cls pov;
    Camera_cls cam;
    ASSERT_TRUE(cam.Set({1, 2, 3}, {0, 0, 0}, {0, 1, 0}));
    pov.GetFocalBlur().SetOn(true);
    std::wstring out;
    pov.GetPovStrCamInfo(out, cam, 0.0);
    const std::string t = Narrow(out);
    ASSERT_EQ(t.rfind("camera {", 0), 0u);
    const size_t blur = t.find("\taperture 0.1\n\tblur_samples 20\n\tfocal_point <0,0,-0>\n");
    const size_t close = t.find("}\n#macro MatrixYZ2Cam()\n");
    ASSERT_NE(blur, std::string::npos) << t;
    ASSERT_NE(close, std::string::npos) << t;
    EXPECT_LT(blur, close);
    EXPECT_NE(t.find("#end\n#declare SCALE="), std::string::npos);

    // The matrix rows are the camera's right, up and direction: orthonormal, and the third row
    // is the mirrored viewing direction.
    std::smatch m;
    ASSERT_TRUE(std::regex_search(t, m, std::regex("matrix < ([^>]*)>")));
    std::vector<double> v;
    std::stringstream ss(m[1].str());
    for (std::string part; std::getline(ss, part, ',');)
        v.push_back(std::stod(part));
    ASSERT_EQ(v.size(), 12u);
    for (int a = 0; a < 3; ++a)
        for (int b = 0; b < 3; ++b) {
            double dot = 0;
            for (int k = 0; k < 3; ++k)
                dot += v[a * 3 + k] * v[b * 3 + k];
            EXPECT_NEAR(dot, a == b ? 1.0 : 0.0, 1e-4);
        }
    const double n = std::sqrt(14.0);
    EXPECT_NEAR(v[6], -1 / n, 1e-4);
    EXPECT_NEAR(v[7], -2 / n, 1e-4);
    EXPECT_NEAR(v[8], 3 / n, 1e-4);
}

} // namespace
