#include "pov/LightSRC_cls.h"

#include "pov/ComLightParamRemove_cls.h"

#include "anim/Parameters_cls.h"
#include "anim/UndoManager_cls.h"
#include "config/LineStream_cls.h"
#include "config/TextFormat.h"

#include <algorithm>
#include <mutex>
#include <set>

namespace
{
// Live lists, so that a command left in the history after its list is gone does nothing.
std::mutex GLiveMutex;
std::set<const LightSRC_cls*> GLiveLights;
} // namespace

LightSRC_cls::LightSRC_cls()
{
    std::lock_guard<std::mutex> lock(GLiveMutex);
    GLiveLights.insert(this);
}

LightSRC_cls::~LightSRC_cls()
{
    std::lock_guard<std::mutex> lock(GLiveMutex);
    GLiveLights.erase(this);
}

bool LightSRC_cls::IsLive(const LightSRC_cls* lights)
{
    std::lock_guard<std::mutex> lock(GLiveMutex);
    return GLiveLights.count(lights) != 0;
}

std::unique_ptr<Parameters_cls> LightSRC_cls::TakeLight(size_t i, unsigned* kind)
{
    if (i >= mvLights.size())
        return nullptr;
    if (kind)
        *kind = mvLights[i].uKind;
    std::unique_ptr<Parameters_cls> param = std::move(mvLights[i].pParam);
    mvLights.erase(mvLights.begin() + static_cast<std::ptrdiff_t>(i));
    return param;
}

void LightSRC_cls::InsertLight(size_t i, unsigned kind, std::unique_ptr<Parameters_cls> param)
{
    if (!param)
        return;
    Light light;
    light.uKind = kind <= kParallel ? kind : kPoint;
    light.pParam = std::move(param);
    mvLights.insert(mvLights.begin() + static_cast<std::ptrdiff_t>(std::min(i, mvLights.size())), std::move(light));
}

int LightSRC_cls::AddLightExecute(unsigned kind, const double* position, const double* rgb, double energy)
{
    // The light is made outside the list and handed to the command pair, which inserts it.
    const int index = AddLight(kind, position, rgb, energy);
    unsigned madeKind = kPoint;
    auto holder = std::make_shared<ComLightParamRemove_cls::Holder>();
    holder->pParam = TakeLight(static_cast<size_t>(index), &madeKind);
    holder->uKind = madeKind;
    GetUndoManager().SetNewCommand(std::make_unique<ComLightParamAdd_cls>(this, index, holder, true),
                                   std::make_unique<ComLightParamAdd_cls>(this, index, holder, false));
    GetUndoManager().ExecCurrent();
    return index;
}

bool LightSRC_cls::RemoveLightExecute(size_t i)
{
    if (i >= mvLights.size())
        return false;
    auto holder = std::make_shared<ComLightParamRemove_cls::Holder>();
    const int index = static_cast<int>(i);
    GetUndoManager().SetNewCommand(std::make_unique<ComLightParamRemove_cls>(this, index, holder, false),
                                   std::make_unique<ComLightParamRemove_cls>(this, index, holder, true));
    return GetUndoManager().ExecCurrent();
}

int LightSRC_cls::AddLight(unsigned kind, const double* position, const double* rgb, double energy)
{
    Light light;
    light.uKind = kind <= kParallel ? kind : kPoint;
    light.pParam = std::make_unique<Parameters_cls>(kDimension, L"Light");
    double values[kDimension] = {position[0], position[1], position[2], rgb[0], rgb[1], rgb[2], energy};
    // Made on a scratch set with its own history and copied over: creating a light is no edit
    // the user could undo.
    UndoManager_cls scratchHistory;
    Parameters_cls constant(kDimension, L"Light");
    constant.SetUndoManager(&scratchHistory);
    constant.InitSet(values);
    light.pParam->CopyFromP(&constant);
    mvLights.push_back(std::move(light));
    return static_cast<int>(mvLights.size()) - 1;
}

bool LightSRC_cls::RemoveLight(size_t i)
{
    if (i >= mvLights.size())
        return false;
    mvLights.erase(mvLights.begin() + static_cast<std::ptrdiff_t>(i));
    return true;
}

void LightSRC_cls::Clear()
{
    mvLights.clear();
}

std::wstring LightSRC_cls::GetPovStrLightSource(double time) const
{
    std::wstring s;
    for (const Light& light : mvLights) {
        double v[kDimension];
        light.pParam->Evaluate(time, 0.0, v);
        const double e = v[6] < 0.0 ? 0.0 : v[6];
        s += L"light_source {\n";
        s += WStrPrintf("\t<%g,%g,%g>\n", v[0], v[1], -v[2]);
        s += WStrPrintf("\tcolor rgb <%g,%g,%g>\n", v[3] * e, v[4] * e, v[5] * e);
        if (light.uKind == kSpot)
            s += L"\tspotlight\n\tpoint_at <0,0,0>\n\tradius 15\n\tfalloff 30\n";
        else if (light.uKind == kParallel)
            s += L"\tparallel\n\tpoint_at <0,0,0>\n";
        s += L"}\n";
    }
    return s;
}

std::wstring LightSRC_cls::Serialize() const
{
    std::wstring s = L"--LightSource\n";
    for (const Light& light : mvLights) {
        s += WStrPrintf("LightKind=%u\n", light.uKind);
        s += light.pParam->Serialize();
    }
    s += L"--FinishLightSource\n";
    return s;
}

bool LightSRC_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& firstLine)
{
    if (firstLine.rfind(L"--LightSource", 0) != 0)
        return false;
    mvLights.clear();
    struct Notify {
        LightSRC_cls* p;
        ~Notify() { p->NotifyChanged(); }
    } notify{this};
    std::wstring line;
    while (stream.GetLine(line)) {
        if (line.rfind(L"--FinishLightSource", 0) == 0)
            break;
        if (line.rfind(L"LightKind=", 0) == 0) {
            const long kind = ParseLong(std::wstring_view(line).substr(10));
            const double zero[3] = {0, 0, 0}, white[3] = {1, 1, 1};
            AddLight(static_cast<unsigned>(kind), zero, white, 1.0);
            continue;
        }
        if (!mvLights.empty())
            mvLights.back().pParam->ReadStrLine(stream, line);
    }
    return true;
}
