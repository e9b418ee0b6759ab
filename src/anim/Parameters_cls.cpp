// Key-framed parameter set.
//
// Sections: registry and class-wide settings; construction and labels; interpolation;
// key queries; selection; edits (command pairs); operations run by the commands; text form
// and key copy/paste.
#include "anim/Parameters_cls.h"

#include "anim/ComParamBase_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "config/TextFormat.h"
#include "config/Translate.h"

#include <algorithm>
#include <cmath>
#include <mutex>

namespace
{
std::mutex& RegistryMutex()
{
    static std::mutex sMutex;
    return sMutex;
}

const wchar_t kClipboardTag[] = L"TessanKeyFrames";

/// Opens a block on construction when asked and closes it on destruction, so that every return
/// path of a compound edit leaves the history balanced.
class BlockScope_cls
{
  public:
    /// name: display name of the undo step (msgid), "" to let the commands inside name it.
    BlockScope_cls(UndoManager_cls& undo, bool open, const char* name = "") : mrUndo(undo), mbOpen(open)
    {
        if (mbOpen)
            mrUndo.OpenBlock(name);
    }
    ~BlockScope_cls()
    {
        if (mbOpen)
            mrUndo.CloseBlock();
    }
    BlockScope_cls(const BlockScope_cls&) = delete;
    BlockScope_cls& operator=(const BlockScope_cls&) = delete;

  private:
    UndoManager_cls& mrUndo;
    bool mbOpen;
};
} // namespace

/// Marks a slave as being edited by its master for the lifetime of the object: such edits need
/// no block of their own because the master's pair follows the slave's in the history.
class SlaveDrive_cls
{
  public:
    explicit SlaveDrive_cls(Parameters_cls* slave) : mpSlave(slave) { ++mpSlave->miDrivenByMaster; }
    ~SlaveDrive_cls() { --mpSlave->miDrivenByMaster; }
    SlaveDrive_cls(const SlaveDrive_cls&) = delete;
    SlaveDrive_cls& operator=(const SlaveDrive_cls&) = delete;

  private:
    Parameters_cls* mpSlave;
};

// ---- registry and class-wide settings --------------------------------------------------------

std::vector<Parameters_cls*> Parameters_cls::mspVPInstancePrim;
int Parameters_cls::msFrameNumber = 1;
int Parameters_cls::msFrameStep = 1;
double Parameters_cls::msResolution = 1.0;
double Parameters_cls::msCurrentDoubleIndex = 0.0;

void Parameters_cls::SetFrameNumber(int frameNumber, int step)
{
    msFrameNumber = frameNumber;
    msFrameStep = step < 1 ? 1 : step;
    msResolution = frameNumber < 1 ? 1.0 : 1.0 / frameNumber;
}

double Parameters_cls::Quantize(double time, unsigned n)
{
    const long long m = n != 0 ? static_cast<long long>(n) : static_cast<long long>(msFrameNumber);
    if (m <= 0 || !std::isfinite(time))
        return 0.0;
    // Bound the product so that the integer conversion is always defined.
    const double scaled = std::clamp(2.0 * time * static_cast<double>(m), -1e15, 1e15);
    const long long twice = static_cast<long long>(scaled);
    const long long frames = (twice + 1) / 2;
    return static_cast<double>(frames) / static_cast<double>(m);
}

void Parameters_cls::RemapKeyFrameAll(int a, int b)
{
    for (Parameters_cls* p : GetInstances())
        p->RemapKeyFrame(a, b);
}

bool Parameters_cls::IsLive(const Parameters_cls* p)
{
    if (!p)
        return false;
    std::lock_guard<std::mutex> lock(RegistryMutex());
    return std::find(mspVPInstancePrim.begin(), mspVPInstancePrim.end(), p) != mspVPInstancePrim.end();
}

std::vector<Parameters_cls*> Parameters_cls::GetInstances()
{
    std::lock_guard<std::mutex> lock(RegistryMutex());
    return mspVPInstancePrim;
}

void Parameters_cls::MovePosForBox(double* box, const double* delta, const double* scale, int handle)
{
    const double d[3] = {delta ? delta[0] : 0.0, delta ? delta[1] : 0.0, delta ? delta[2] : 0.0};
    switch (handle) {
    case 1:
        for (int a = 0; a < 3; ++a) {
            box[a] += d[a];
            box[a + 3] += d[a];
        }
        break;
    case 2:
        box[0] += d[0];
        break;
    case 3:
        box[3] += d[0];
        break;
    case 4:
        box[1] += d[1];
        break;
    case 5:
        box[4] += d[1];
        break;
    case 6:
        box[2] += d[2];
        break;
    case 7:
        box[5] += d[2];
        break;
    default:
        break;
    }
    if (!scale)
        return;
    for (int a = 0; a < 3; ++a) {
        // A flat box could never grow by scaling alone: open it a little first.
        if (scale[a] > 1.0 && box[a] == box[a + 3]) {
            box[a] -= 0.001;
            box[a + 3] += 0.001;
        }
        const double centre = (box[a] + box[a + 3]) / 2.0;
        box[a] = box[a] * scale[a] + (1.0 - scale[a]) * centre;
        box[a + 3] = box[a + 3] * scale[a] + (1.0 - scale[a]) * centre;
    }
}

void Parameters_cls::MovePosForTwoPoints(double* values, const double* delta, int handle)
{
    if (!delta || (handle != 1 && handle != 2))
        return;
    const int first = handle == 1 ? 0 : 3;
    for (int a = 0; a < 3; ++a)
        values[first + a] += delta[a];
}

// ---- construction and labels -----------------------------------------------------------------

Parameters_cls::Parameters_cls(unsigned dimension, const std::wstring& name)
    : mStrName(name), muDimension(dimension), mvCurrent(dimension, 0.0)
{
    mCConfList.Add(&miDimensionItem, L"dimension ", WStrPrintf("%u", dimension));
    mCConfList.Add(&mbTimeDepend, L"timeDepend ", name == L"Color" ? L"1" : L"0");
    mCConfList.Add(&mbVisible, L"visible ", L"1");
    mCConfList.Add(&mbShow, L"show ", L"1");
    mCConfList.Add(&mbSelectable, L"selectable ", name == L"TimeRemap" ? L"0" : L"1");
    if (name == L"BoxSize" || name == L"Clipping")
        mHandleKind = kHandleBox;
    InitLabels();
    std::lock_guard<std::mutex> lock(RegistryMutex());
    mspVPInstancePrim.push_back(this);
}

Parameters_cls::Parameters_cls(const Parameters_cls& other)
    : mStrName(other.mStrName), muDimension(other.muDimension), mvCurrent(other.mvCurrent), mvKeys(other.mvKeys),
      mvStrLabel(other.mvStrLabel), mvStrLabelD(other.mvStrLabelD), mvColor(other.mvColor),
      mHandleKind(other.mHandleKind), mpUndoManager(other.mpUndoManager)
{
    mCConfList.Add(&miDimensionItem, L"dimension ", WStrPrintf("%u", muDimension));
    mCConfList.Add(&mbTimeDepend, L"timeDepend ", other.mbTimeDepend.Get() ? L"1" : L"0");
    mCConfList.Add(&mbVisible, L"visible ", other.mbVisible.Get() ? L"1" : L"0");
    mCConfList.Add(&mbShow, L"show ", other.mbShow.Get() ? L"1" : L"0");
    mCConfList.Add(&mbSelectable, L"selectable ", other.mbSelectable.Get() ? L"1" : L"0");
    std::lock_guard<std::mutex> lock(RegistryMutex());
    mspVPInstancePrim.push_back(this);
}

Parameters_cls::~Parameters_cls()
{
    if (mpMaster && mpMaster->mpSlave == this)
        mpMaster->mpSlave = nullptr;
    if (mpSlave && mpSlave->mpMaster == this)
        mpSlave->mpMaster = nullptr;
    std::lock_guard<std::mutex> lock(RegistryMutex());
    auto it = std::find(mspVPInstancePrim.begin(), mspVPInstancePrim.end(), this);
    if (it != mspVPInstancePrim.end())
        mspVPInstancePrim.erase(it);
}

void Parameters_cls::InitLabels()
{
    std::vector<const char*> labels;
    std::vector<const char*> labelsD;
    const std::wstring& n = mStrName;
    if (n == L"Light") {
        labels = {"x", "y", "z", "Energy"};
        labelsD = {"vx", "vy", "vz", "dEnergy"};
    } else if (n == L"CamPos" || n == L"AncPos") {
        labels = {"x", "y", "z"};
        labelsD = {"vx", "vy", "vz"};
    } else if (n == L"CamRotYPR") {
        labels = {"Yaw", "Pitch", "Roll"};
        labelsD = {"dYaw", "dPitch", "dRoll"};
    } else if (n == L"HSpot") {
        labels = {"sizeX", "sizeY", "sizeZ"};
    } else if (n == L"BoxSize" || n == L"Clipping") {
        labels = {"minX", "minY", "minZ", "maxX", "maxY", "maxZ"};
        labelsD = {"dminX", "dminY", "dminZ", "dmaxX", "dmaxY", "dmaxZ"};
    } else if (n == L"BoxRotate") {
        labels = {"axisX", "axisY", "axisZ", "angle"};
    } else if (n == L"Isosurface") {
        labels = {"Critical", "Alpha"};
    } else if (n == L"DataRotate") {
        labels = {"degree"};
    } else if (n == L"CrossSection") {
        labels = {"Z layer", "Emboss", "Alpha", "Crit"};
    } else if (n == L"PovObject") {
        labels = {"x", "y", "z", "scaleX", "scaleY", "scaleZ", "rotY", "rotP", "rotR", "rotY2", "Alpha"};
    } else if (n == L"PovDiffObject") {
        labels = {"x", "y", "z", "scaleX", "scaleY", "scaleZ", "rotY", "rotP", "rotR", "rotY2"};
    } else if (n == L"BaseAlpha") {
        labels = {"Alpha"};
        labelsD = {"dAlpha"};
    } else if (n == L"DensityCurvePoints") {
        labels = {"x(in)", "x(out)"};
    } else if (n == L"LevelAndGamma") {
        labels = {"InMin", "InMax", "OutMin", "OutMax", "gamma", "offset"};
    } else if (n == L"ThreeView") {
        labels = {"LayerX", "LayerY", "LayerZ", "Emboss", "Alpha", "Crit"};
    } else if (n == L"StreamLine") {
        labels = {"L Alpha", "P Alpha", "P Size"};
    } else if (n == L"VelField") {
        labels = {"alpha", "length"};
    }
    const bool noLabels = n == L"TimeRemap";
    static const std::array<float, 4> kPalette[] = {
        {0.9f, 0.1f, 0.1f, 1.0f},   {0.1f, 0.7f, 0.1f, 1.0f},   {0.2f, 0.3f, 0.95f, 1.0f},  {0.85f, 0.6f, 0.0f, 1.0f},
        {0.75f, 0.1f, 0.75f, 1.0f}, {0.0f, 0.65f, 0.65f, 1.0f}, {0.45f, 0.45f, 0.45f, 1.0f}};
    mvStrLabel.assign(muDimension, L"");
    mvStrLabelD.assign(muDimension, L"");
    mvColor.resize(muDimension);
    for (unsigned i = 0; i < muDimension; ++i) {
        mvColor[i] = kPalette[i % (sizeof(kPalette) / sizeof(kPalette[0]))];
        if (noLabels)
            continue;
        mvStrLabel[i] = i < labels.size() ? TrW(labels[i]) : WStrPrintf("v%u", i);
        mvStrLabelD[i] = i < labelsD.size() ? TrW(labelsD[i]) : L"d" + mvStrLabel[i];
    }
}

std::wstring Parameters_cls::GetLabel(unsigned i) const
{
    return i < mvStrLabel.size() ? mvStrLabel[i] : std::wstring();
}

std::wstring Parameters_cls::GetLabelD(unsigned i) const
{
    return i < mvStrLabelD.size() ? mvStrLabelD[i] : std::wstring();
}

std::array<float, 4> Parameters_cls::GetCurveColor(unsigned i) const
{
    return i < mvColor.size() ? mvColor[i] : std::array<float, 4>{1.0f, 1.0f, 1.0f, 1.0f};
}

void Parameters_cls::SetSlaveParam(Parameters_cls* p)
{
    if (p == this)
        return;
    if (mpSlave && mpSlave->mpMaster == this)
        mpSlave->mpMaster = nullptr;
    mpSlave = p;
    if (p) {
        p->mpMaster = this;
        p->mpUndoManager = mpUndoManager; // a chained pair must live in one history
    }
}

UndoManager_cls& Parameters_cls::GetUndo() const
{
    return mpUndoManager ? *mpUndoManager : GetUndoManager();
}

// ---- interpolation ---------------------------------------------------------------------------

void Parameters_cls::Evaluate(double time, double resolution, double* out) const
{
    if (time == -1.0)
        time = msCurrentDoubleIndex;
    const double r = resolution > 0.0 ? resolution : msResolution;
    const size_t n = mvKeys.size();
    const unsigned dim = muDimension;
    if (n == 0) {
        std::fill(out, out + dim, 0.0);
        return;
    }
    auto copyKey = [&](const KeyFrame_cls& key) {
        for (unsigned d = 0; d < dim; ++d)
            out[d] = d < key.GetDimension() ? key.GetPValue()[d] : 0.0;
    };
    if (!IsTimeDependent() || time <= mvKeys.front().GetTime()) {
        copyKey(mvKeys.front());
        return;
    }
    if (time >= mvKeys.back().GetTime()) {
        copyKey(mvKeys.back());
        return;
    }
    // A time within half a resolution before a key is evaluated on the following segment, so
    // that a time on a key yields exactly that key's values.
    size_t i = 0;
    for (; i + 1 < n; ++i)
        if (mvKeys[i + 1].GetTime() - r / 2.0 > time)
            break;
    if (i + 1 >= n) {
        copyKey(mvKeys.back());
        return;
    }
    const KeyFrame_cls& k0 = mvKeys[i];
    const KeyFrame_cls& k1 = mvKeys[i + 1];
    const double span = k1.GetTime() - k0.GetTime();
    const double s = span != 0.0 ? (time - k0.GetTime()) / span : 0.0;
    const unsigned type = k0.GetType();
    for (unsigned d = 0; d < dim; ++d) {
        const double p0 = k0.GetPValue()[d];
        const double p1 = k1.GetPValue()[d];
        if (type == kInterpStep) {
            out[d] = p0;
        } else if (type == kInterpHermiteAuto || type == kInterpHermiteSemiAuto || type == kInterpHermite) {
            double m0 = k0.GetPD1()[d];
            double m1 = k1.GetPD1()[d];
            if (k0.GetType() == kInterpHermiteSemiAuto)
                m0 *= k0.GetPD2()[0];
            if (k1.GetType() == kInterpHermiteSemiAuto)
                m1 *= k1.GetPD2()[0];
            const double a = m0 * span;
            const double b = m1 * span;
            out[d] =
                p0 + a * s + (-3.0 * p0 + 3.0 * p1 - 2.0 * a - b) * s * s + (2.0 * p0 - 2.0 * p1 + a + b) * s * s * s;
        } else {
            out[d] = p0 + (p1 - p0) * s;
        }
    }
}

const double* Parameters_cls::GetPInterpolatedValue(double time, double resolution)
{
    Evaluate(time, resolution, mvCurrent.data());
    return mvCurrent.data();
}

double Parameters_cls::GetPos(double time, int i) const
{
    if (i < 0 || static_cast<unsigned>(i) >= muDimension)
        return 0.0;
    std::vector<double> values(muDimension);
    Evaluate(time, 0.0, values.data());
    return values[static_cast<size_t>(i)];
}

void Parameters_cls::AdjustAutoControl()
{
    const int n = GetKeyNumber();
    if (n < 2)
        return;
    for (int k = 0; k < n; ++k) {
        KeyFrame_cls& key = mvKeys[static_cast<size_t>(k)];
        const unsigned type = key.GetType();
        if (type != kInterpHermiteAuto && type != kInterpHermiteSemiAuto)
            continue;
        // The ends use one-sided differences.
        CalcVelocity(std::max(k - 1, 0), std::min(k + 1, n - 1), key.GetPD1());
        if (type == kInterpHermiteAuto)
            std::copy(key.GetPD1(), key.GetPD1() + key.GetDimension(), key.GetPD2());
    }
}

void Parameters_cls::CalcVelocity(int i, int j, double* out) const
{
    const int n = GetKeyNumber();
    std::fill(out, out + muDimension, 0.0);
    if (i == j || i < 0 || j < 0 || i >= n || j >= n)
        return;
    const KeyFrame_cls& a = mvKeys[static_cast<size_t>(i)];
    const KeyFrame_cls& b = mvKeys[static_cast<size_t>(j)];
    const double dt = b.GetTime() - a.GetTime();
    if (dt == 0.0)
        return; // two keys on one time have no defined slope
    for (unsigned d = 0; d < muDimension && d < a.GetDimension() && d < b.GetDimension(); ++d)
        out[d] = (b.GetPValue()[d] - a.GetPValue()[d]) / dt;
}

void Parameters_cls::SetKeyToValueAt(KeyFrame_cls& key, double t) const
{
    const double r = msResolution;
    key = KeyFrame_cls(muDimension);
    key.SetTime(t);
    Evaluate(t, 0.0, key.GetPValue());
    const int n = GetKeyNumber();
    int before = -1;
    int after = -1;
    for (int i = 0; i < n; ++i) {
        const double kt = mvKeys[static_cast<size_t>(i)].GetTime();
        if (kt < t - r / 2.0)
            before = i;
        else if (kt >= t + r / 2.0 && after < 0)
            after = i;
    }
    if (before >= 0 && after >= 0)
        CalcVelocity(before, after, key.GetPD1());
    unsigned type = 0;
    const int at = GetKeyFrameIndexFromDouble(t, r, false);
    if (at >= 0) {
        type = mvKeys[static_cast<size_t>(at)].GetType();
    } else if (n > 0) {
        int start = -1;
        for (int i = 0; i < n; ++i)
            if (mvKeys[static_cast<size_t>(i)].GetTime() < t)
                start = i;
        type = mvKeys[static_cast<size_t>(start >= 0 ? start : 0)].GetType();
    }
    key.SetType(type);
}

// ---- key queries -----------------------------------------------------------------------------

int Parameters_cls::GetSelectedKeyNum() const
{
    return static_cast<int>(
        std::count_if(mvKeys.begin(), mvKeys.end(), [](const KeyFrame_cls& k) { return k.IsSelected(); }));
}

int Parameters_cls::GetSelectedKeyIndex() const
{
    for (size_t i = 0; i < mvKeys.size(); ++i)
        if (mvKeys[i].IsSelected())
            return static_cast<int>(i);
    return -1;
}

const KeyFrame_cls* Parameters_cls::GetPKeyFrame(int i) const
{
    if (i < 0 || i >= GetKeyNumber())
        return nullptr;
    return &mvKeys[static_cast<size_t>(i)];
}

double Parameters_cls::GetKeyFrameDoubleIndex(int i) const
{
    const KeyFrame_cls* key = GetPKeyFrame(i);
    return key ? key->GetTime() : 0.0;
}

const double* Parameters_cls::GetPKeyFrameValue(int i) const
{
    const KeyFrame_cls* key = GetPKeyFrame(i);
    return key ? key->GetPValue() : nullptr;
}

const double* Parameters_cls::GetPKeyFrameValueD1(int i) const
{
    const KeyFrame_cls* key = GetPKeyFrame(i);
    return key ? key->GetPD1() : nullptr;
}

const double* Parameters_cls::GetPKeyFrameValueD2(int i) const
{
    const KeyFrame_cls* key = GetPKeyFrame(i);
    return key ? key->GetPD2() : nullptr;
}

bool Parameters_cls::IsKeyFrame(double time, double resolution) const
{
    return GetKeyFrameIndexFromDouble(time, resolution, false) >= 0;
}

int Parameters_cls::CheckOverWrite(double time, double resolution) const
{
    int found = -1;
    for (size_t i = 0; i < mvKeys.size(); ++i)
        if (std::fabs(time - mvKeys[i].GetTime()) < resolution / 2.0)
            found = static_cast<int>(i);
    return found;
}

int Parameters_cls::GetKeyFrameIndexFromDouble(double time, double resolution, bool nearest) const
{
    const double r = resolution > 0.0 ? resolution : msResolution;
    const int n = GetKeyNumber();
    for (int i = 0; i < n; ++i) {
        const double kt = mvKeys[static_cast<size_t>(i)].GetTime();
        if (kt >= time - r / 2.0 && kt < time + r / 2.0)
            return i;
    }
    if (!nearest || n == 0)
        return -1;
    if (mvKeys.front().GetTime() > time + r / 2.0)
        return 0;
    int last = n - 1;
    for (int i = 0; i < n; ++i) {
        if (mvKeys[static_cast<size_t>(i)].GetTime() > time + r / 2.0) {
            last = i - 1;
            break;
        }
    }
    return last;
}

int Parameters_cls::GetKeyFrameIndexToInsert(double time, double resolution) const
{
    const double r = resolution > 0.0 ? resolution : msResolution;
    for (size_t i = 0; i < mvKeys.size(); ++i)
        if (mvKeys[i].GetTime() > time + r / 2.0)
            return static_cast<int>(i);
    return GetKeyNumber();
}

double Parameters_cls::GetNextKeyPosDoubleIndex(double time) const
{
    const int i = GetAdjacentKey(time, 1);
    return i >= 0 ? mvKeys[static_cast<size_t>(i)].GetTime() : -1.0;
}

double Parameters_cls::GetPrevKeyPosDoubleIndex(double time) const
{
    const int i = GetAdjacentKey(time, -1);
    return i >= 0 ? mvKeys[static_cast<size_t>(i)].GetTime() : -1.0;
}

int Parameters_cls::GetAdjacentKey(double time, int direction) const
{
    const double r = msResolution;
    const int n = GetKeyNumber();
    if (direction > 0) {
        for (int i = 0; i < n; ++i)
            if (mvKeys[static_cast<size_t>(i)].GetTime() >= time + r / 2.0)
                return i;
    } else if (direction < 0) {
        for (int i = n - 1; i >= 0; --i)
            if (mvKeys[static_cast<size_t>(i)].GetTime() < time - r / 2.0)
                return i;
    }
    return -1;
}

unsigned Parameters_cls::GetInterpTypeFromDouble(double time) const
{
    const double r = msResolution;
    const int n = GetKeyNumber();
    if (n == 0)
        return 0;
    const int at = GetKeyFrameIndexFromDouble(time, r, false);
    if (at >= 0)
        return mvKeys[static_cast<size_t>(at)].GetType();
    if (mvKeys.front().GetTime() > time + r / 2.0)
        return mvKeys.front().GetType();
    for (int i = 1; i < n; ++i)
        if (mvKeys[static_cast<size_t>(i)].GetTime() > time + r / 2.0)
            return mvKeys[static_cast<size_t>(i - 1)].GetType();
    return mvKeys.back().GetType();
}

// ---- selection -------------------------------------------------------------------------------

int Parameters_cls::SelectKeyFrame(double time, double halfWidth, bool add)
{
    if (!add)
        ClearSelection();
    int hits = 0;
    for (KeyFrame_cls& key : mvKeys)
        hits += key.Select(time, halfWidth, false) ? 1 : 0;
    return hits;
}

int Parameters_cls::ToggleKeyFrame(double time, double halfWidth)
{
    int hits = 0;
    for (KeyFrame_cls& key : mvKeys)
        hits += key.Toggle(time, halfWidth) ? 1 : 0;
    return hits;
}

int Parameters_cls::SelectKeyFrameRegion(double t0, double t1, bool add)
{
    if (t0 > t1)
        std::swap(t0, t1);
    if (!add)
        ClearSelection();
    int hits = 0;
    for (KeyFrame_cls& key : mvKeys) {
        if (key.GetTime() >= t0 && key.GetTime() <= t1) {
            key.SetSelected(true);
            ++hits;
        }
    }
    return hits;
}

int Parameters_cls::OnWhichKeyFrame(double time, double resolution) const
{
    const double r = resolution > 0.0 ? resolution : msResolution;
    for (size_t i = 0; i < mvKeys.size(); ++i)
        if (mvKeys[i].IsHit(time, r / 2.0))
            return static_cast<int>(i);
    return -1;
}

void Parameters_cls::SetKeySelected(int i, bool on)
{
    if (i >= 0 && i < GetKeyNumber())
        mvKeys[static_cast<size_t>(i)].SetSelected(on);
}

void Parameters_cls::ClearSelection()
{
    for (KeyFrame_cls& key : mvKeys)
        key.SetSelected(false);
}

void Parameters_cls::SelectAll()
{
    for (KeyFrame_cls& key : mvKeys)
        key.SetSelected(true);
}

// ---- edits -----------------------------------------------------------------------------------

void Parameters_cls::Issue(std::unique_ptr<CommandItem_cls> redo, std::unique_ptr<CommandItem_cls> undo)
{
    UndoManager_cls& undoManager = GetUndo();
    undoManager.SetNewCommand(std::move(redo), std::move(undo));
    undoManager.ExecCurrent();
}

bool Parameters_cls::NeedsOwnBlock() const
{
    // A single pair of a set in a master/slave chain would chain into an unrelated neighbour
    // pair; such edits are kept in a block of their own unless the master is driving them.
    return mpSlave != nullptr || (mpMaster != nullptr && miDrivenByMaster == 0);
}

bool Parameters_cls::ExecCommandSetKey(double time, const double* values, unsigned type, const double* D1,
                                       const double* D2)
{
    KeyFrame_cls key(muDimension);
    key.Set(time, type, values, D1, D2, false);
    return SetKey(key, KeyFrame_cls(), 0.0);
}

bool Parameters_cls::ExecCommandSetKey(const KeyFrame_cls& key)
{
    return SetKey(key, KeyFrame_cls(), 0.0);
}

bool Parameters_cls::SetKey(const KeyFrame_cls& key, const KeyFrame_cls& slaveKey, double resolution)
{
    const double r = resolution > 0.0 ? resolution : msResolution;
    KeyFrame_cls newKey = key;
    newKey.Resize(muDimension);
    // The slave's pair is recorded first and the master's second: the chain flags then move both
    // together on one undo or redo. A slave edited on its own gets a block instead.
    BlockScope_cls block(GetUndo(), mpMaster != nullptr && miDrivenByMaster == 0);
    if (mpSlave) {
        SlaveDrive_cls drive(mpSlave);
        if (slaveKey.GetDimension() > 0)
            mpSlave->SetKey(slaveKey, KeyFrame_cls(), r);
        else
            mpSlave->InsertKey(newKey.GetTime(), nullptr);
    }
    const int index = CheckOverWrite(newKey.GetTime(), r);
    std::unique_ptr<ComParamBase_cls> redo;
    std::unique_ptr<ComParamBase_cls> undo;
    if (index >= 0) {
        const KeyFrame_cls& old = mvKeys[static_cast<size_t>(index)];
        redo = std::make_unique<ComParamOvwtKeyC_cls>(this, index, old.GetTime(), newKey);
        undo = std::make_unique<ComParamOvwtKeyC_cls>(this, index, newKey.GetTime(), old);
    } else {
        // The key lands after every key of an equal or earlier time.
        const int landing = static_cast<int>(std::count_if(
            mvKeys.begin(), mvKeys.end(), [&](const KeyFrame_cls& k) { return k.GetTime() <= newKey.GetTime(); }));
        redo = std::make_unique<ComParamSetKeyC_cls>(this, newKey);
        undo = std::make_unique<ComParamDelKey_cls>(this, landing, newKey.GetTime());
    }
    Issue(std::move(redo), std::move(undo));
    return true;
}

bool Parameters_cls::SetKeyIfChanged(double time, bool force)
{
    if (time == -1.0)
        time = msCurrentDoubleIndex;
    if (!IsTimeDependent())
        time = 0.0;
    const std::vector<double> saved = mvCurrent;
    std::vector<double> interpolated(muDimension);
    Evaluate(time, 0.0, interpolated.data());
    if (saved == interpolated && !force)
        return false;
    InsertKey(time, saved.data());
    Evaluate(time, 0.0, mvCurrent.data());
    return true;
}

bool Parameters_cls::InsertKey(double time, const double* values)
{
    KeyFrame_cls key(muDimension);
    const int existing = CheckOverWrite(time, msResolution);
    if (existing >= 0)
        key = mvKeys[static_cast<size_t>(existing)]; // keeps type, tangents and selection
    else
        SetKeyToValueAt(key, time);
    if (values)
        std::copy(values, values + muDimension, key.GetPValue());
    return SetKey(key, KeyFrame_cls(), 0.0);
}

bool Parameters_cls::DeleteKeyImpl(int index)
{
    if (index < 0 || index >= GetKeyNumber())
        return false;
    const KeyFrame_cls old = mvKeys[static_cast<size_t>(index)];
    if (mpSlave) {
        SlaveDrive_cls drive(mpSlave);
        mpSlave->DeleteKeyImpl(mpSlave->CheckOverWrite(old.GetTime(), msResolution));
    }
    Issue(std::make_unique<ComParamDelKey_cls>(this, index, old.GetTime()),
          std::make_unique<ComParamSetKeyC_cls>(this, old));
    return true;
}

bool Parameters_cls::ExecCommandDeleteKey(int index)
{
    if (index < 0 || index >= GetKeyNumber())
        return false;
    BlockScope_cls block(GetUndo(), NeedsOwnBlock());
    return DeleteKeyImpl(index);
}

bool Parameters_cls::DeleteKey(double time, double resolution)
{
    return ExecCommandDeleteKey(GetKeyFrameIndexFromDouble(time, resolution, false));
}

bool Parameters_cls::DeleteSelectedKey()
{
    if (GetSelectedKeyNum() == 0)
        return false;
    BlockScope_cls block(GetUndo(), true, "Delete Keys");
    // From the back, so that the indices still to visit stay valid.
    for (int i = GetKeyNumber() - 1; i >= 0; --i)
        if (i < GetKeyNumber() && mvKeys[static_cast<size_t>(i)].IsSelected())
            DeleteKeyImpl(i);
    return true;
}

bool Parameters_cls::ExecCommandMoveKey(double fromTime, double toTime, double resolution)
{
    const double r = resolution > 0.0 ? resolution : msResolution;
    int index = FindKey(-1, fromTime);
    if (index < 0)
        index = CheckOverWrite(fromTime, r);
    if (index < 0 || fromTime == toTime)
        return false;
    BlockScope_cls block(GetUndo(), NeedsOwnBlock());
    Issue(std::make_unique<ComParamMoveKey_cls>(this, fromTime, toTime, r),
          std::make_unique<ComParamMoveKey_cls>(this, toTime, fromTime, r));
    return true;
}

bool Parameters_cls::MoveKeyImpl(int index, double deltaTime, unsigned frameNumber)
{
    if (index < 0 || index >= GetKeyNumber())
        return false;
    const double oldTime = mvKeys[static_cast<size_t>(index)].GetTime();
    const unsigned m = frameNumber != 0 ? frameNumber : static_cast<unsigned>(std::max(msFrameNumber, 0));
    const double target = std::clamp(Quantize(oldTime + deltaTime, m), 0.0, 1.0);
    if (target == oldTime)
        return false;
    if (mpSlave) {
        SlaveDrive_cls drive(mpSlave);
        mpSlave->MoveKeyImpl(mpSlave->CheckOverWrite(oldTime, msResolution), deltaTime, frameNumber);
    }
    const double r = m > 0 ? 1.0 / m : msResolution;
    int victim = -1;
    for (int j = 0; j < GetKeyNumber(); ++j)
        if (j != index && std::fabs(mvKeys[static_cast<size_t>(j)].GetTime() - target) < r / 2.0)
            victim = j;
    if (victim >= 0) {
        // The moved key replaces the one at the target and the source is removed; the block
        // around the two pairs lets one undo restore both keys.
        const KeyFrame_cls source = mvKeys[static_cast<size_t>(index)];
        const KeyFrame_cls replaced = mvKeys[static_cast<size_t>(victim)];
        KeyFrame_cls moved = source;
        moved.SetTime(target);
        Issue(std::make_unique<ComParamOvwtKeyC_cls>(this, victim, replaced.GetTime(), moved),
              std::make_unique<ComParamOvwtKeyC_cls>(this, victim, target, replaced));
        const int from = FindKey(index, oldTime);
        Issue(std::make_unique<ComParamDelKey_cls>(this, from, oldTime),
              std::make_unique<ComParamSetKeyC_cls>(this, source));
    } else {
        Issue(std::make_unique<ComParamMoveKey_cls>(this, oldTime, target, r),
              std::make_unique<ComParamMoveKey_cls>(this, target, oldTime, r));
    }
    return true;
}

bool Parameters_cls::MoveKey(int index, double deltaTime, unsigned frameNumber, bool nested)
{
    if (index < 0 || index >= GetKeyNumber())
        return false;
    const unsigned m = frameNumber != 0 ? frameNumber : static_cast<unsigned>(std::max(msFrameNumber, 0));
    const double oldTime = mvKeys[static_cast<size_t>(index)].GetTime();
    if (std::clamp(Quantize(oldTime + deltaTime, m), 0.0, 1.0) == oldTime)
        return false;
    BlockScope_cls block(GetUndo(), !nested, "Move Key");
    return MoveKeyImpl(index, deltaTime, frameNumber);
}

bool Parameters_cls::MoveTimeSelectedKey(double deltaTime)
{
    std::vector<double> times;
    for (const KeyFrame_cls& key : mvKeys)
        if (key.IsSelected())
            times.push_back(key.GetTime());
    if (times.empty() || deltaTime == 0.0)
        return false;
    // Move in the direction of travel first, so that no key passes over a selected neighbour.
    if (deltaTime > 0.0)
        std::reverse(times.begin(), times.end());
    BlockScope_cls block(GetUndo(), true, "Move Keys");
    bool moved = false;
    for (double t : times)
        moved |= MoveKeyImpl(FindKey(-1, t), deltaTime, 0);
    return moved;
}

namespace
{
void ApplyHandle(Parameters_cls::HandleKind kind, unsigned dimension, double* values, const double* delta,
                 const double* scale, int handle)
{
    if (kind == Parameters_cls::kHandleBox && dimension >= 6) {
        Parameters_cls::MovePosForBox(values, delta, scale, handle);
    } else if (kind == Parameters_cls::kHandleTwoPoints && dimension >= 6) {
        Parameters_cls::MovePosForTwoPoints(values, delta, handle);
    } else if (delta) {
        for (unsigned d = 0; d < dimension && d < 3; ++d)
            values[d] += delta[d];
    }
}
} // namespace

bool Parameters_cls::MovePosSelectedKey(const double* delta, const double* scale, int handle)
{
    if (GetSelectedKeyNum() == 0)
        return false;
    BlockScope_cls block(GetUndo(), true, "Edit Keys");
    for (int i = 0; i < GetKeyNumber(); ++i) {
        const KeyFrame_cls old = mvKeys[static_cast<size_t>(i)];
        if (!old.IsSelected())
            continue;
        KeyFrame_cls moved = old;
        ApplyHandle(mHandleKind, muDimension, moved.GetPValue(), delta, scale, handle);
        if (moved.SameContent(old))
            continue;
        Issue(std::make_unique<ComParamOvwtKeyC_cls>(this, i, old.GetTime(), moved),
              std::make_unique<ComParamOvwtKeyC_cls>(this, i, old.GetTime(), old));
    }
    return true;
}

bool Parameters_cls::MoveInterpolatedPos(double time, const double* delta, const double* scale, int handle)
{
    if (time == -1.0)
        time = msCurrentDoubleIndex;
    if (!IsTimeDependent())
        time = 0.0;
    std::vector<double> values(muDimension);
    Evaluate(time, 0.0, values.data());
    const std::vector<double> before = values;
    ApplyHandle(mHandleKind, muDimension, values.data(), delta, scale, handle);
    if (values == before)
        return false;
    return InsertKey(time, values.data());
}

bool Parameters_cls::SetKeyTypeImpl(unsigned index, unsigned type, bool force)
{
    const bool exists = index < mvKeys.size();
    const bool change = exists && mvKeys[index].GetType() != type;
    bool slaveIssued = false;
    if (mpSlave) {
        // Both members of the chain must record a pair, or neither: a lone chained pair would
        // pull an unrelated neighbour into the next undo.
        SlaveDrive_cls drive(mpSlave);
        slaveIssued = mpSlave->SetKeyTypeImpl(index, type, force || change);
    }
    if (!change && !force && !slaveIssued)
        return false;
    const unsigned old = exists ? mvKeys[index].GetType() : type;
    const int i = static_cast<int>(index);
    Issue(std::make_unique<ComParamSetKeyType_cls>(this, i, type),
          std::make_unique<ComParamSetKeyType_cls>(this, i, old));
    return true;
}

bool Parameters_cls::SetKeyType(unsigned index, unsigned type)
{
    BlockScope_cls block(GetUndo(), mpMaster != nullptr && miDrivenByMaster == 0);
    return SetKeyTypeImpl(index, type, false);
}

bool Parameters_cls::SetKeyTypeMultiImpl(unsigned type, bool force)
{
    std::vector<int> indices;
    for (size_t i = 0; i < mvKeys.size(); ++i)
        if (mvKeys[i].IsSelected())
            indices.push_back(static_cast<int>(i));
    bool slaveIssued = false;
    if (mpSlave) {
        for (int j = 0; j < mpSlave->GetKeyNumber(); ++j)
            mpSlave->SetKeySelected(j, j < GetKeyNumber() && mvKeys[static_cast<size_t>(j)].IsSelected());
        SlaveDrive_cls drive(mpSlave);
        slaveIssued = mpSlave->SetKeyTypeMultiImpl(type, force || !indices.empty());
    }
    if (indices.empty() && !force && !slaveIssued)
        return false;
    std::vector<unsigned> newTypes(indices.size(), type);
    std::vector<unsigned> oldTypes;
    for (int i : indices)
        oldTypes.push_back(mvKeys[static_cast<size_t>(i)].GetType());
    Issue(std::make_unique<ComParamSetKeyTypeMulti_cls>(this, indices, newTypes),
          std::make_unique<ComParamSetKeyTypeMulti_cls>(this, indices, oldTypes));
    return true;
}

bool Parameters_cls::SetKeyTypeMulti(unsigned type)
{
    BlockScope_cls block(GetUndo(), mpMaster != nullptr && miDrivenByMaster == 0);
    return SetKeyTypeMultiImpl(type, false);
}

bool Parameters_cls::ExecCommandOvwtKey(unsigned index, const KeyFrame_cls& key)
{
    if (index >= mvKeys.size())
        return false;
    KeyFrame_cls newKey = key;
    newKey.Resize(muDimension);
    BlockScope_cls block(GetUndo(), mpMaster != nullptr && miDrivenByMaster == 0);
    if (mpSlave) {
        SlaveDrive_cls drive(mpSlave);
        mpSlave->InsertKey(newKey.GetTime(), nullptr);
    }
    const KeyFrame_cls old = mvKeys[index];
    const int i = static_cast<int>(index);
    Issue(std::make_unique<ComParamOvwtKeyC_cls>(this, i, old.GetTime(), newKey),
          std::make_unique<ComParamOvwtKeyC_cls>(this, i, newKey.GetTime(), old));
    return true;
}

bool Parameters_cls::SetTimeDependent(bool on, bool nested)
{
    if (on == IsTimeDependent())
        return false;
    BlockScope_cls block(GetUndo(), !nested, "Time Dependence");
    if (mpSlave) {
        SlaveDrive_cls drive(mpSlave);
        mpSlave->SetTimeDependent(on, true);
    }
    Issue(std::make_unique<ComParamClearKey_cls>(this, mvCurrent),
          std::make_unique<ComParamMemento_cls>(this, TakeSnapshot()));
    Issue(std::make_unique<ComParamSetTimeDependent_cls>(this, on),
          std::make_unique<ComParamSetTimeDependent_cls>(this, !on));
    return true;
}

bool Parameters_cls::InitSet(const double* values)
{
    if (!values)
        return false;
    if (IsTimeDependent())
        return InsertKey(msCurrentDoubleIndex, values);
    const std::vector<double> newValues(values, values + muDimension);
    const std::vector<double> zeros(muDimension, 0.0);
    if (!mvKeys.empty() && mvKeys.front().GetValues() == newValues)
        return false;
    BlockScope_cls block(GetUndo(), NeedsOwnBlock());
    if (mvKeys.empty()) {
        Issue(std::make_unique<ComParamSetKey_cls>(this, 0.0, newValues, kInterpHermiteAuto, zeros, zeros),
              std::make_unique<ComParamDelKey_cls>(this, 0, 0.0));
    } else {
        const KeyFrame_cls& k = mvKeys.front();
        const std::vector<double> d1(k.GetPD1(), k.GetPD1() + muDimension);
        const std::vector<double> d2(k.GetPD2(), k.GetPD2() + muDimension);
        Issue(std::make_unique<ComParamSetKey_cls>(this, k.GetTime(), newValues, k.GetType(), d1, d2),
              std::make_unique<ComParamSetKey_cls>(this, k.GetTime(), k.GetValues(), k.GetType(), d1, d2));
    }
    return true;
}

bool Parameters_cls::RemapKeys(double factor, bool nested)
{
    if (!(factor > 0.0) || factor == 1.0)
        return false;
    std::vector<double> times;
    for (const KeyFrame_cls& key : mvKeys)
        if (key.GetTime() != 0.0)
            times.push_back(key.GetTime());
    if (times.empty())
        return false;
    // Shrinking goes first to last and stretching last to first, so no key passes a neighbour.
    if (factor >= 1.0)
        std::reverse(times.begin(), times.end());
    BlockScope_cls block(GetUndo(), !nested, "Remap Keys");
    bool moved = false;
    for (double t : times)
        moved |= MoveKeyImpl(FindKey(-1, t), (factor - 1.0) * t, 0);
    return moved;
}

void Parameters_cls::RemapKeyFrame(int a, int b)
{
    if (b == 0)
        return;
    const double factor = static_cast<double>(a) / static_cast<double>(b);
    for (KeyFrame_cls& key : mvKeys)
        key.SetTime(key.GetTime() * factor);
    std::stable_sort(mvKeys.begin(), mvKeys.end(), [](const KeyFrame_cls& x, const KeyFrame_cls& y) { return y > x; });
    AdjustAutoControl();
}

void Parameters_cls::CopyFromP(const Parameters_cls* p)
{
    if (!p || p == this)
        return;
    RestoreSnapshot(p->TakeSnapshot());
}

bool Parameters_cls::CopyParameterFromP(const Parameters_cls* p, bool undoable)
{
    if (!p || p == this)
        return false;
    if (!undoable) {
        CopyFromP(p);
        return true;
    }
    BlockScope_cls block(GetUndo(), NeedsOwnBlock());
    Issue(std::make_unique<ComParamMemento_cls>(this, p->TakeSnapshot()),
          std::make_unique<ComParamMemento_cls>(this, TakeSnapshot()));
    return true;
}

// ---- operations run by the commands ----------------------------------------------------------

void Parameters_cls::ProcInsertKey(const KeyFrame_cls& key)
{
    KeyFrame_cls k = key;
    k.Resize(muDimension);
    auto it = std::upper_bound(mvKeys.begin(), mvKeys.end(), k,
                               [](const KeyFrame_cls& x, const KeyFrame_cls& y) { return y > x; });
    mvKeys.insert(it, std::move(k));
}

void Parameters_cls::ProcOverwriteKey(int index, const KeyFrame_cls& key)
{
    if (index < 0 || index >= GetKeyNumber())
        return;
    KeyFrame_cls k = key;
    k.Resize(muDimension);
    mvKeys[static_cast<size_t>(index)] = std::move(k);
}

void Parameters_cls::ProcDeleteKey(int index)
{
    if (index < 0 || index >= GetKeyNumber())
        return;
    mvKeys.erase(mvKeys.begin() + index);
}

void Parameters_cls::ProcSetKeyTime(int index, double time)
{
    if (index < 0 || index >= GetKeyNumber())
        return;
    mvKeys[static_cast<size_t>(index)].SetTime(time);
}

void Parameters_cls::ProcSetKeyType(int index, unsigned type)
{
    if (index < 0 || index >= GetKeyNumber())
        return;
    mvKeys[static_cast<size_t>(index)].SetType(type);
}

void Parameters_cls::ProcClearKey(const std::vector<double>& values)
{
    KeyFrame_cls constant(muDimension);
    std::vector<double> v = values;
    v.resize(muDimension, 0.0);
    constant.Set(0.0, kInterpHermiteAuto, v.data(), nullptr, nullptr, false);
    mvKeys.clear();
    mvKeys.push_back(std::move(constant));
}

Parameters_cls::Snapshot Parameters_cls::TakeSnapshot() const
{
    Snapshot s;
    s.vKeys = mvKeys;
    s.vCurrent = mvCurrent;
    s.bTimeDepend = mbTimeDepend.Get();
    s.bVisible = mbVisible.Get();
    s.bShow = mbShow.Get();
    s.bSelectable = mbSelectable.Get();
    return s;
}

void Parameters_cls::RestoreSnapshot(const Snapshot& snapshot)
{
    mvKeys = snapshot.vKeys;
    for (KeyFrame_cls& key : mvKeys)
        key.Resize(muDimension);
    mvCurrent = snapshot.vCurrent;
    mvCurrent.resize(muDimension, 0.0);
    mbTimeDepend.Set(snapshot.bTimeDepend);
    mbVisible.Set(snapshot.bVisible);
    mbShow.Set(snapshot.bShow);
    mbSelectable.Set(snapshot.bSelectable);
}

int Parameters_cls::FindKey(int hint, double time) const
{
    if (hint >= 0 && hint < GetKeyNumber() && mvKeys[static_cast<size_t>(hint)].GetTime() == time)
        return hint;
    for (size_t i = 0; i < mvKeys.size(); ++i)
        if (mvKeys[i].GetTime() == time)
            return static_cast<int>(i);
    return -1;
}

void Parameters_cls::SortKey()
{
    if (mpSlave && mpSlave != this)
        mpSlave->SortKey();
    std::stable_sort(mvKeys.begin(), mvKeys.end(), [](const KeyFrame_cls& x, const KeyFrame_cls& y) { return y > x; });
}

void Parameters_cls::RefreshCurrent()
{
    Evaluate(msCurrentDoubleIndex, 0.0, mvCurrent.data());
}

// ---- text form and key copy/paste ------------------------------------------------------------

std::wstring Parameters_cls::Serialize() const
{
    std::wstring out = L"Parameter_" + mStrName + L"\n";
    out += mCConfList.SerializeAll();
    out += WStrPrintf("itemnum %d\n", GetKeyNumber());
    for (const KeyFrame_cls& key : mvKeys)
        out += key.Serialize();
    return out;
}

bool Parameters_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& firstLine)
{
    std::wstring head = StripLineEnd(firstLine);
    while (!head.empty() && (head.back() == L' ' || head.back() == L'\t'))
        head.pop_back();
    if (head != L"Parameter_" + mStrName)
        return false;
    const std::wstring countKey = L"itemnum ";
    long count = 0;
    std::wstring line;
    while (stream.GetLine(line)) {
        if (line.rfind(countKey, 0) == 0) {
            count = ParseLong(std::wstring_view(line).substr(countKey.size()));
            break;
        }
        if (!mCConfList.ReadStrLineAll(line)) {
            stream.UngetLine(); // not ours: the text ended early
            break;
        }
    }
    // The dimension is fixed by the owner; a different one in the file is adapted to it.
    miDimensionItem.Set(static_cast<int32_t>(muDimension));
    std::vector<KeyFrame_cls> keys;
    for (long i = 0; i < count && stream.GetLine(line); ++i) {
        KeyFrame_cls key;
        if (!key.ReadStrLine(line)) {
            stream.UngetLine();
            break;
        }
        key.Resize(muDimension);
        keys.push_back(std::move(key));
    }
    mvKeys = std::move(keys);
    std::stable_sort(mvKeys.begin(), mvKeys.end(), [](const KeyFrame_cls& x, const KeyFrame_cls& y) { return y > x; });
    RefreshCurrent();
    return true;
}

std::wstring Parameters_cls::CopyKeyFrameToClipBoard() const
{
    const int selected = GetSelectedKeyNum();
    if (selected == 0)
        return std::wstring();
    std::wstring out = std::wstring(kClipboardTag) + L" " + mStrName + WStrPrintf(" %u %d\n", muDimension, selected);
    for (const KeyFrame_cls& key : mvKeys)
        if (key.IsSelected())
            out += key.Serialize();
    return out;
}

bool Parameters_cls::PasteKeyFrameFromClipBoard(const std::wstring& text, double time)
{
    LineStream_cls stream(text);
    std::wstring line;
    if (!stream.GetLine(line))
        return false;
    const std::vector<std::wstring> head = SplitBlanks(line);
    if (head.size() < 4 || head[0] != kClipboardTag || ParseLong(head[2]) != static_cast<long>(muDimension))
        return false;
    std::vector<KeyFrame_cls> keys;
    while (stream.GetLine(line)) {
        KeyFrame_cls key;
        if (!key.ReadStrLine(line) || key.GetDimension() != muDimension)
            return false;
        keys.push_back(std::move(key));
    }
    if (keys.empty())
        return false;
    if (time == -1.0)
        time = msCurrentDoubleIndex;
    // The copied keys keep their spacing; the first one lands at the paste time.
    const double offset = time - keys.front().GetTime();
    BlockScope_cls block(GetUndo(), true, "Paste Keys");
    for (KeyFrame_cls& key : keys) {
        key.SetTime(std::clamp(key.GetTime() + offset, 0.0, 1.0));
        key.SetSelected(false);
        SetKey(key, KeyFrame_cls(), 0.0);
    }
    return true;
}
