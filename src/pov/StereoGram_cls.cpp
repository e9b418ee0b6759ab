#include "pov/StereoGram_cls.h"

#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "config/TextFormat.h"
#include "pov/ComStereoSettings_cls.h"

#include <cmath>
#include <mutex>
#include <set>

namespace
{
const std::wstring kBlockTag = L"--StereoGram";
const std::wstring kBlockEnd = L"--StereoGramEnd";
const std::wstring kParamName = L"StereoGram";
constexpr double kDefaultSeparation = 0.065;
constexpr double kDefaultConvergence = 3.0;
// Below this the toe-in angle would approach 90 degrees and the pair becomes unviewable.
constexpr double kMinConvergence = 1e-6;

// Live stereograms, so that a command left in the history after its owner is gone does nothing.
std::mutex GLiveStereoMutex;
std::set<const StereoGram_cls*> GLiveStereo;

std::wstring Trimmed(const std::wstring& line)
{
    std::wstring s = StripLineEnd(line);
    while (!s.empty() && (s.back() == L' ' || s.back() == L'\t'))
        s.pop_back();
    return s;
}
} // namespace

StereoGram_cls::StereoGram_cls() : mpParam(std::make_unique<Parameters_cls>(2, kParamName))
{
    mCConfList.Add(&mdItemSeparation, L"StereoGramEyeSeparation=", L"0.065");
    mCConfList.Add(&mdItemConvergence, L"StereoGramConvergence=", L"3");
    mCConfList.Add(&muItemMode, L"StereoGramMode=", L"0");
    MakeValid();
    std::lock_guard<std::mutex> lock(GLiveStereoMutex);
    GLiveStereo.insert(this);
}

StereoGram_cls::~StereoGram_cls()
{
    std::lock_guard<std::mutex> lock(GLiveStereoMutex);
    GLiveStereo.erase(this);
}

bool StereoGram_cls::IsLive(const StereoGram_cls* stereo)
{
    std::lock_guard<std::mutex> lock(GLiveStereoMutex);
    return GLiveStereo.count(stereo) != 0;
}

bool StereoGram_cls::SetSettingsExecute(unsigned mode, double separation, double convergence)
{
    const ComStereoSettings_cls::Settings before{static_cast<unsigned>(GetMode()), GetEyeSeparation(),
                                                 GetConvergence()};
    // The values as MakeValid repairs them, so that an OK with nothing changed (or changed only
    // to values that are repaired back) leaves no step.
    ComStereoSettings_cls::Settings after{mode > kModeLast ? kModeOff : mode, separation, convergence};
    if (!std::isfinite(after.dSeparation))
        after.dSeparation = kDefaultSeparation;
    after.dSeparation = std::abs(after.dSeparation);
    if (!std::isfinite(after.dConvergence) || after.dConvergence < kMinConvergence)
        after.dConvergence = kDefaultConvergence;
    if (after.uMode == before.uMode && after.dSeparation == before.dSeparation &&
        after.dConvergence == before.dConvergence)
        return false;
    UndoManager_cls& history = GetUndoManager();
    history.SetNewCommand(std::make_unique<ComStereoSettings_cls>(this, after),
                          std::make_unique<ComStereoSettings_cls>(this, before));
    history.ExecCurrent();
    return true;
}

void StereoGram_cls::SetToDefault()
{
    mdItemSeparation.Set(kDefaultSeparation);
    mdItemConvergence.Set(kDefaultConvergence);
    muItemMode.Set(kModeOff);
    // A fresh set: not animated, no keys (no history: this is a reset, not an edit).
    const Parameters_cls fresh(2, kParamName);
    mpParam->CopyFromP(&fresh);
    MakeValid();
}

void StereoGram_cls::SetEyeSeparation(double d)
{
    mdItemSeparation.Set(d);
    MakeValid();
}

void StereoGram_cls::SetConvergence(double d)
{
    mdItemConvergence.Set(d);
    MakeValid();
}

void StereoGram_cls::GetGeometryAt(double time, double& separation, double& convergence) const
{
    separation = GetEyeSeparation();
    convergence = GetConvergence();
    if (!mpParam->IsTimeDependent() || mpParam->GetKeyNumber() == 0)
        return;
    double v[2] = {0.0, 0.0};
    mpParam->Evaluate(time, 0.0, v);
    // Keys may swing a spline below zero between them: the same repair as for typed values.
    if (std::isfinite(v[0]))
        separation = std::abs(v[0]);
    if (std::isfinite(v[1]) && v[1] >= kMinConvergence)
        convergence = v[1];
}

StereoGram_cls::Mode StereoGram_cls::GetMode() const
{
    return muItemMode.Get() > kModeLast ? kModeOff : static_cast<Mode>(muItemMode.Get());
}

void StereoGram_cls::SetMode(unsigned mode)
{
    muItemMode.Set(mode > kModeLast ? kModeOff : mode);
}

void StereoGram_cls::MakeValid()
{
    if (!std::isfinite(mdItemSeparation.Get()) || mdItemSeparation.Get() < 0.0)
        mdItemSeparation.Set(std::isfinite(mdItemSeparation.Get()) ? -mdItemSeparation.Get() : kDefaultSeparation);
    if (!std::isfinite(mdItemConvergence.Get()) || mdItemConvergence.Get() < kMinConvergence)
        mdItemConvergence.Set(kDefaultConvergence);
    if (muItemMode.Get() > kModeLast)
        muItemMode.Set(kModeOff);
    // The key-framed set carries the fixed values as its current ones, so keying starts there.
    if (mpParam != nullptr && !mpParam->IsTimeDependent()) {
        mpParam->GetPCurrentValue()[0] = mdItemSeparation.Get();
        mpParam->GetPCurrentValue()[1] = mdItemConvergence.Get();
    }
}

double StereoGram_cls::GetEyeOffset(unsigned eye) const
{
    if (eye == 1)
        return -0.5 * GetEyeSeparation();
    if (eye == 2)
        return 0.5 * GetEyeSeparation();
    return 0.0;
}

double StereoGram_cls::GetToeInAngle(unsigned eye) const
{
    if (eye != 1 && eye != 2)
        return 0.0;
    const double angle = std::atan2(0.5 * GetEyeSeparation(), GetConvergence());
    return eye == 1 ? angle : -angle;
}

int StereoGram_cls::GetHalfForEye(unsigned eye) const
{
    const int natural = eye == 2 ? 1 : 0;
    // Over-under has no crossed variant: the left eye's picture is always on top.
    return GetMode() == kModeCrossed ? 1 - natural : natural;
}

bool StereoGram_cls::IsSplit() const
{
    const Mode mode = GetMode();
    return mode == kModeParallel || mode == kModeCrossed || mode == kModeOverUnder;
}

Camera_cls StereoGram_cls::MakeEyeCamera(const Camera_cls& mono, unsigned eye, double time) const
{
    Camera_cls camera = mono;
    if (eye != 1 && eye != 2)
        return camera;
    double separation = 0.0, conv = 0.0;
    GetGeometryAt(time, separation, conv);
    const Vec3d p = mono.GetPosition();
    const Vec3d d = mono.Direction();
    const Vec3d r = mono.Right();
    const double offset = (eye == 1 ? -0.5 : 0.5) * separation;
    const Vec3d eyePos = {p[0] + r[0] * offset, p[1] + r[1] * offset, p[2] + r[2] * offset};
    Vec3d target = {p[0] + d[0] * conv, p[1] + d[1] * conv, p[2] + d[2] * conv};
    if (mono.GetProjection() == Camera_cls::kOrthographic) {
        // An orthographic view's scale follows the look-at distance: keep the mono distance along
        // the turned line of sight so that both eyes show the scene at the preview's size.
        const Vec3d v = {target[0] - eyePos[0], target[1] - eyePos[1], target[2] - eyePos[2]};
        const double len = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
        const double k = mono.Distance() / len;
        target = {eyePos[0] + v[0] * k, eyePos[1] + v[1] * k, eyePos[2] + v[2] * k};
    }
    if (!camera.Set(eyePos, target, mono.GetSky()))
        return mono;
    return camera;
}

std::wstring StereoGram_cls::Serialize() const
{
    // The key-framed set only when animated: a still pair keeps the short block older
    // versions wrote.
    std::wstring keys;
    if (mpParam->IsTimeDependent())
        keys = mpParam->Serialize();
    return kBlockTag + L"\n" + mCConfList.SerializeAll() + keys + kBlockEnd + L"\n";
}

bool StereoGram_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& firstLine)
{
    if (Trimmed(firstLine) != kBlockTag)
        return false;
    std::wstring line;
    while (stream.GetLine(line)) {
        const std::wstring head = Trimmed(line);
        if (head == kBlockEnd)
            break;
        if (head.rfind(L"--", 0) == 0) { // cut short: the next block is not ours
            stream.UngetLine();
            break;
        }
        if (head == L"Parameter_" + kParamName) {
            mpParam->ReadStrLine(stream, head);
            continue;
        }
        mCConfList.ReadStrLineAll(line);
    }
    MakeValid();
    return true;
}
