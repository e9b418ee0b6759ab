#include "pov/PovExport_cls.h"

#include "anim/TimeCtrl_cls.h"
#include "color/ClrMapStyle_cls.h"
#include "color/Coloring_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"
#include "config/UserPrompt_cls.h"
#include "filter/PovVolume_cls.h"
#include "pov/StereoGram_cls.h"

#include <algorithm>
#include <cmath>
#include <set>

PovExport_cls::PovExport_cls(TimeCtrl_cls* clock) : mpClock(clock)
{
}

PovExport_cls::~PovExport_cls() = default;

void PovExport_cls::SetPrompt(UserPrompt_cls* prompt)
{
    mpPrompt = prompt;
    mCPovRay.SetPrompt(prompt);
}

UserPrompt_cls* PovExport_cls::Prompt() const
{
    return mpPrompt != nullptr ? mpPrompt : GetUserPrompt();
}

bool PovExport_cls::FilterExists(int kind) const
{
    if (mDoesFilterExist)
        return mDoesFilterExist(kind);
    return kind == kVolume && mDataBoxes && !mDataBoxes(mpClock->GetIndex()).empty();
}

// ---- pre-flight check --------------------------------------------------------------------------

bool PovExport_cls::IsPovrayCondistionSatisfiled()
{
    if (mIsAllDataDF3 && !mIsAllDataDF3()) {
        Prompt()->Message(TrW("Please Use DF3 File"), TrW("Can not Render"));
        return false;
    }
    // The diff object and the velocity field need another object to show anything, so they
    // do not count as objects here.
    bool anyObject = false;
    for (int kind : {kVolume, kIsosurface, kCrossSection, kObject, kThreeView, kStreamLine})
        anyObject = anyObject || FilterExists(kind);
    if (!anyObject && !Prompt()->AskYesNo(TrW("No Object"), TrW("Output .pov file"), true))
        return false;
    const bool needsLight = FilterExists(kIsosurface) || FilterExists(kCrossSection) || FilterExists(kObject);
    if (!needsLight)
        return true;
    if (!FilterExists(kVolume) && mCLights.IsEmpty())
        return Prompt()->AskYesNo(TrW("No Light"), TrW("Output .pov file"), true);
    return true;
}

// ---- sequence export ---------------------------------------------------------------------------

bool PovExport_cls::OutputPovRayIOAnim(unsigned* first, unsigned* last, bool ask)
{
    if (!IsPovrayCondistionSatisfiled())
        return false;
    mCPovRay.GetFrameRange(*mpClock, first, last);
    if (ask && *last - *first > 100u &&
        !Prompt()->AskYesNo(TrW("You are goint to export many files.\nExecute it now?"), TrW("Exporting many files."),
                            true))
        return false;
    if (mIsPanel0CameraMode && !mIsPanel0CameraMode()) {
        if (Prompt()->AskYesNo(TrW("Panel 0 is not linked to camera"), TrW("Output .pov file"), true) &&
            mCPovRay.GetRender().GetCamera() != PovRender_cls::kNoCamera && mLinkPanel0)
            mLinkPanel0(mCPovRay.GetRender().GetCamera());
    }
    if (FilterExists(kIsosurface) && miIsoOutputType == 2 &&
        !Prompt()->AskYesNo(
            TrW("You are making .pov files with isosurface data.\nThese file may be very large ones.\nContinue?"),
            TrW("Output .pov file"), true))
        return false;

    mCPovRay.ExportPovAnim();
    mCPovRay.ClearCommands();
    const bool stereo = mCPovRay.GetRender().GetStereoEye() != 0;
    const unsigned passes = stereo ? 2u : 1u;
    const unsigned count = *last >= *first ? *last - *first + 1u : 0u;
    unsigned done = 0;
    for (unsigned pass = 0; pass < passes; ++pass) {
        const unsigned eye = stereo ? pass + 1u : 0u;
        const std::wstring pattern = mCPovRay.GetFileStr(1, eye);
        for (unsigned frame = *first; frame <= *last && *last >= *first; ++frame) {
            if (mCPovRay.IsExportStopRequested()) {
                Prompt()->SetProgress(-1);
                return false;
            }
            const std::wstring stem = PovRay_cls::FormatStem(pattern, static_cast<int>(frame));
            if (!OutputPovRayIO(stem, static_cast<int>(frame), eye)) {
                Prompt()->SetStatusText(TrW("Disk I/O Error"), 0);
                Prompt()->Message(TrW("File output failed. Please check the working directory and its permission."),
                                  TrW("Write Error"));
                mCPovRay.StopExportAnim();
                Prompt()->SetProgress(-1);
                return false;
            }
            ++done;
            Prompt()->SetProgress(static_cast<int>(done * 100u / (count * passes)));
            mCPovRay.PushBackCommands(stem);
            if (frame == 0xFFFFFFFFu)
                break;
        }
    }
    mCPovRay.StopExportAnim();
    mCPovRay.WaitingForExport(false);
    Prompt()->SetProgress(-1);
    Prompt()->SetStatusText(TrW("Disk Output Suceed.") + mStrLastStem + L".ini", 0);
    return true;
}

bool PovExport_cls::ProcOutputPovRay(int frame, unsigned eye)
{
    const std::wstring stem = PovRay_cls::FormatStem(mCPovRay.GetFileStr(0, eye), frame);
    if (!OutputPovRayIO(stem, frame, eye)) {
        Prompt()->SetStatusText(TrW("Disk I/O Error"), 0);
        Prompt()->Message(TrW("File output failed. Please check the working directory and its permission."),
                          TrW("Write Error"));
        return false;
    }
    Prompt()->SetStatusText(TrW("Disk Output Suceed.") + stem + L".ini", 0);
    return true;
}

// ---- window commands ---------------------------------------------------------------------------

bool PovExport_cls::CommandExportAnim()
{
    unsigned first = 0, last = 0;
    mCPovRay.WaitingForExport(true);
    const bool ok = OutputPovRayIOAnim(&first, &last, true);
    mCPovRay.WaitingForExport(false);
    if (!ok)
        return false;
    const unsigned eye = mCPovRay.GetRender().GetStereoEye() != 0 ? 1u : 0u;
    if (!mCPovRay.WriteRenderScript(eye)) {
        Prompt()->SetStatusText(TrW("Disk I/O Error"), 0);
        Prompt()->Message(TrW("File output failed. Please check the working directory and its permission."),
                          TrW("Write Error"));
        return false;
    }
    return true;
}

bool PovExport_cls::CommandRenderAnim()
{
    if (mCPovRay.IsRendering()) {
        if (Prompt()->AskYesNo(TrW("Rendering sequence is running.\nStop the rendering?\n(Rendering stops after the "
                                   "current frame is finished.)"),
                               TrW("Render Anim by Pov-Ray"), false))
            mCPovRay.StopRenderAnim();
        return false;
    }
    if (!Prompt()->AskYesNo(TrW("You are goint to render sequence.\nExecute it now?"), TrW("Render Anim by Pov-Ray"),
                            true))
        return false;
    unsigned first = 0, last = 0;
    mCPovRay.WaitingForExport(true);
    const bool ok = OutputPovRayIOAnim(&first, &last, false);
    mCPovRay.StopExportAnim();
    mCPovRay.WaitingForExport(false);
    if (!ok)
        return false;
    mCPovRay.RenderByPovAnim();
    return true;
}

bool PovExport_cls::CommandSnapshot(bool render)
{
    std::vector<unsigned> eyes{0};
    if (mCPovRay.GetRender().GetStereoEye() != 0) {
        int answer = miStereoSnapAlways;
        if (answer < 0) {
            const std::wstring text = (render ? TrW("Rendering with Stereogram.\nSelect Rendering type.")
                                              : TrW("Exporting with Stereogram.\nSelect Export type.")) +
                                      TrW("\n\n*)To Render 2 images,\nCheck off [Keep Single Instance]");
            answer = Prompt()->AskChoice(text, TrW("Stereogram Snapshot"),
                                         {TrW("0: Take two stereogram snapshots."), TrW("1: Take only one snapshot."),
                                          TrW("2: Take two stereogram snapshots always."),
                                          TrW("3: Take only one snapshot always.")},
                                         0);
            if (answer < 0)
                return false;
            if (answer >= 2)
                miStereoSnapAlways = answer;
        }
        if (answer == 0 || answer == 2)
            eyes = {1, 2};
    }
    const int frame = mpClock->GetIndex();
    for (unsigned eye : eyes) {
        if (!ProcOutputPovRay(frame, eye))
            return false;
        if (render)
            mCPovRay.RenderByPovSnap(mStrLastStem);
    }
    return true;
}

// ---- one frame ---------------------------------------------------------------------------------

Camera_cls PovExport_cls::GetCameraForEye(unsigned eye, double time) const
{
    Camera_cls camera = mCameraOfPanel0 ? mCameraOfPanel0() : mCSavedCamera;
    if ((eye == 1 || eye == 2) && mpStereo != nullptr)
        return mpStereo->MakeEyeCamera(camera, eye, time);
    if (eye == 1 || eye == 2) {
        // Eyes apart by a thirtieth of the viewing distance, both looking at the same point.
        const double half = camera.Distance() / 60.0 * (eye == 1 ? -1.0 : 1.0);
        const Vec3d r = camera.Right();
        const Vec3d p = camera.GetPosition();
        camera.Set({p[0] + r[0] * half, p[1] + r[1] * half, p[2] + r[2] * half}, camera.GetLookAt(), camera.GetSky());
    }
    return camera;
}

bool PovExport_cls::OutputPovRayIO(const std::wstring& stem, int frame, unsigned eye)
{
    mCPovRay.ResetPostSceneCommands();
    const std::string povPath = Narrow(mCPovRay.GetWorkingDir() + L"/" + stem + L".pov");
    std::ofstream file(povPath, std::ios::binary | std::ios::trunc);
    if (!file)
        return false;
    Prompt()->SetStatusText(WStrPrintf("making .pov %d/%d", frame, mpClock->GetMaxFrame()), 2);
    if (mPumpEvents)
        mPumpEvents();
    if (mPrepareFrame)
        mPrepareFrame(frame);
    const Camera_cls camera = GetCameraForEye(eye, mpClock->GetDoubleIndex(frame));
    if (!OutputPovRayMain(file, povPath, frame, camera, stem))
        return false;
    file.close();
    if (!file)
        return false;

    std::wstring ini;
    mCPovRay.GetPovStrIniFile(ini, stem, frame);
    std::ofstream iniFile(Narrow(mCPovRay.GetWorkingDir() + L"/" + stem + L".ini"), std::ios::binary | std::ios::trunc);
    if (!iniFile)
        return false;
    iniFile << Narrow(ini);
    iniFile.close();
    if (!iniFile)
        return false;
    mStrLastStem = stem;
    return true;
}

// ---- scene text --------------------------------------------------------------------------------

bool PovExport_cls::OutputPovRayMain(std::ofstream& file, const std::string& path, int frame, const Camera_cls& camera,
                                     const std::wstring& stem)
{
    mStrCurrentStem = stem;
    const double time = mpClock->GetDoubleIndex(frame);
    if (mUpdateFilterParameters)
        mUpdateFilterParameters(time);
    std::vector<DataBox> boxes = mDataBoxes ? mDataBoxes(frame) : std::vector<DataBox>{};
    boxes.erase(std::remove_if(boxes.begin(), boxes.end(), [&](const DataBox& b) { return !IsBoxVisible(b, camera); }),
                boxes.end());

    std::wstring header = mCPovRay.GetPovStrCommon() + mCLights.GetPovStrLightSource(time);
    if (mFog)
        header += mFog(time);
    mCPovRay.GetPovStrCamInfo(header, camera, time);
    file << Narrow(header);
    // The header is complete on disk before the long part is built.
    file.close();
    file.open(path, std::ios::binary | std::ios::app);
    if (!file)
        return false;

    // The gamma the scene's colours are given in; without it the ray tracer falls back to its
    // legacy gamma handling and says so on every render.
    std::wstring body = WStrPrintf("global_settings { assumed_gamma %g }\n", mCPovRay.GetAssumedGamma());
    if (mMask)
        body += mMask();
    if (mColorMaps)
        body += mColorMaps(time);
    if (mpColoring != nullptr) {
        std::set<int> written;
        ClrMapStyle_cls style;
        for (const DataBox& box : boxes)
            if (written.insert(box.iColorIndex).second)
                body += mpColoring->GetPovStrColorMapMacro(box.iColorIndex, style);
    }
    std::wstring members;
    if (!OutputPovStrObjDensity(body, members, boxes, camera, stem))
        return false;
    ObjectsText objects = mObjects ? mObjects(frame, time) : ObjectsText{};
    if (!objects.bOk)
        return false;
    body += objects.strDeclare;
    if (boxes.size() == 1 && objects.strInstances.empty()) {
        // A lone box needs no union (the ray tracer warns about a union of one object).
        body += members.substr(1);
    } else if (!members.empty() || !objects.strInstances.empty()) {
        body += L"union {\n" + members + objects.strInstances + L"}\n";
    }
    file << Narrow(body);
    return static_cast<bool>(file);
}

// ---- data boxes --------------------------------------------------------------------------------

bool PovExport_cls::IsBoxVisible(const DataBox& box, const Camera_cls& camera) const
{
    const Vec3d eye = camera.GetPosition();
    const Vec3d dir = camera.Direction();
    const double v[3] = {box.dCenter[0] - eye[0], box.dCenter[1] - eye[1], box.dCenter[2] - eye[2]};
    const double dist = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    const double radius =
        0.5 * std::sqrt(box.dSize[0] * box.dSize[0] + box.dSize[1] * box.dSize[1] + box.dSize[2] * box.dSize[2]);
    if (dist <= radius)
        return true;
    if (camera.GetProjection() == Camera_cls::kOrthographic)
        return (v[0] * dir[0] + v[1] * dir[1] + v[2] * dir[2]) > -radius;
    const double cosAngle = std::clamp((v[0] * dir[0] + v[1] * dir[1] + v[2] * dir[2]) / dist, -1.0, 1.0);
    const double angle = std::acos(cosAngle) - std::asin(radius / dist);
    const double half = std::max(mCPovRay.GetRadianForVisCheck(),
                                 0.5 * camera.HorizontalAngle(mCPovRay.GetFormat().GetAspect()) * M_PI / 180.0);
    return angle <= half;
}

bool PovExport_cls::OutputPovStrObjDensity(std::wstring& out, std::wstring& members, const std::vector<DataBox>& boxes,
                                           const Camera_cls& /*camera*/, const std::wstring& stem)
{
    if (boxes.empty())
        return true;
    out += L"#declare BOX_TEX_FINISH=finish{\n\tambient 0\n\tdiffuse 0\n}\n";
    ClrMapStyle_cls style;
    for (size_t i = 0; i < boxes.size(); ++i) {
        const DataBox& b = boxes[i];
        const std::wstring n = WStrPrintf("%zu", i);
        const std::wstring df3Name = stem + L"_BOX" + n + L".df3";
        if (!PovVolume_cls::WritePaddedDF3(Narrow(mCPovRay.GetWorkingDir() + L"/" + df3Name), b.pVoxels, b.uX, b.uY,
                                           b.uZ))
            return false;
        const std::wstring macro =
            mpColoring != nullptr ? mpColoring->GetPovStrColorMapName(b.iColorIndex, style) : std::wstring();
        out += PovVolume_cls::GetPovStrDensityDeclare(L"BOX_" + n, df3Name, b.uX, b.uY, b.uZ, macro, b.fEmission,
                                                      b.fAbsorption, b.strCutOut, b.uIntervals);
        // The world's z axis is mirrored in the ray tracer's frame: the box is mirrored with it,
        // so voxel order along z keeps matching the preview.
        const std::wstring place =
            WStrPrintf("\ttranslate <-0.5, -0.5, -0.5>\n\tscale <%.9g,%.9g,%.9g>\n"
                       "\ttranslate <%.9g,%.9g,%.9g>\n",
                       b.dSize[0], b.dSize[1], -b.dSize[2], b.dCenter[0], b.dCenter[1], -b.dCenter[2]);
        out += L"#declare BOX_TEX" + (i == 0 ? std::wstring() : n) +
               L"=texture{\n\tpigment { rgbt 1 }\n"
               L"\tfinish { BOX_TEX_FINISH }\n" +
               place + L"}\n";
        members += L"\tobject { BOX_" + n + L"\n" + place + L"\t\ttexture { BOX_TEX" + (i == 0 ? std::wstring() : n) +
                   L" }\n\t}\n";
    }
    return true;
}
