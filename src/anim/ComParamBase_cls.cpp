#include "anim/ComParamBase_cls.h"

ComParamBase_cls::ComParamBase_cls(Parameters_cls* param) : mpParam(param)
{
    if (param && param->GetName() == L"Color")
        AddType(kComColorRedraw);
}

bool ComParamBase_cls::Execute(bool undo)
{
    if (!Parameters_cls::IsLive(mpParam))
        return false;
    Apply(*mpParam);
    mpParam->SortKey();
    mpParam->AdjustAutoControl();
    mpParam->RefreshCurrent();
    return CheckRepeat(undo);
}

bool ComParamBase_cls::CheckRepeat(bool undo) const
{
    return undo ? mpParam->GetPSlave() != nullptr : mpParam->GetPMaster() != nullptr;
}

ComParamSetKey_cls::ComParamSetKey_cls(Parameters_cls* param, double time, const std::vector<double>& values,
                                       unsigned type, const std::vector<double>& D1, const std::vector<double>& D2)
    : ComParamBase_cls(param), mdTime(time), mvValue(values), muKeyType(type), mvD1(D1), mvD2(D2)
{
}

void ComParamSetKey_cls::Apply(Parameters_cls& param)
{
    KeyFrame_cls key(param.GetDimension());
    auto at = [](const std::vector<double>& v, unsigned i) { return i < v.size() ? v[i] : 0.0; };
    const int index = param.FindKey(-1, mdTime);
    if (index >= 0)
        key = *param.GetPKeyFrame(index);
    key.SetTime(mdTime);
    key.SetType(muKeyType);
    for (unsigned i = 0; i < key.GetDimension(); ++i) {
        key.GetPValue()[i] = at(mvValue, i);
        key.GetPD1()[i] = at(mvD1, i);
        key.GetPD2()[i] = at(mvD2, i);
    }
    if (index >= 0)
        param.ProcOverwriteKey(index, key);
    else
        param.ProcInsertKey(key);
}

ComParamSetKeyC_cls::ComParamSetKeyC_cls(Parameters_cls* param, const KeyFrame_cls& key)
    : ComParamBase_cls(param), mCKey(key)
{
}

void ComParamSetKeyC_cls::Apply(Parameters_cls& param)
{
    param.ProcInsertKey(mCKey);
}

ComParamOvwtKeyC_cls::ComParamOvwtKeyC_cls(Parameters_cls* param, int index, double expectedTime,
                                           const KeyFrame_cls& key)
    : ComParamBase_cls(param), miIndex(index), mdExpectedTime(expectedTime), mCKey(key)
{
}

void ComParamOvwtKeyC_cls::Apply(Parameters_cls& param)
{
    const int index = param.FindKey(miIndex, mdExpectedTime);
    if (index >= 0)
        param.ProcOverwriteKey(index, mCKey);
}

ComParamDelKey_cls::ComParamDelKey_cls(Parameters_cls* param, int index, double expectedTime)
    : ComParamBase_cls(param), miIndex(index), mdExpectedTime(expectedTime)
{
}

void ComParamDelKey_cls::Apply(Parameters_cls& param)
{
    const int index = param.FindKey(miIndex, mdExpectedTime);
    if (index >= 0)
        param.ProcDeleteKey(index);
}

ComParamMoveKey_cls::ComParamMoveKey_cls(Parameters_cls* param, double fromTime, double toTime, double resolution)
    : ComParamBase_cls(param), mdFrom(fromTime), mdTo(toTime), mdResolution(resolution)
{
}

void ComParamMoveKey_cls::Apply(Parameters_cls& param)
{
    int index = param.FindKey(-1, mdFrom);
    if (index < 0)
        index = param.CheckOverWrite(mdFrom, mdResolution > 0.0 ? mdResolution : Parameters_cls::GetResolution());
    if (index >= 0)
        param.ProcSetKeyTime(index, mdTo);
}

ComParamSetKeyType_cls::ComParamSetKeyType_cls(Parameters_cls* param, int index, unsigned type)
    : ComParamBase_cls(param), miIndex(index), muKeyType(type)
{
}

void ComParamSetKeyType_cls::Apply(Parameters_cls& param)
{
    param.ProcSetKeyType(miIndex, muKeyType);
}

ComParamSetKeyTypeMulti_cls::ComParamSetKeyTypeMulti_cls(Parameters_cls* param, const std::vector<int>& indices,
                                                         const std::vector<unsigned>& types)
    : ComParamBase_cls(param), mviIndex(indices), mvuType(types)
{
}

void ComParamSetKeyTypeMulti_cls::Apply(Parameters_cls& param)
{
    for (size_t i = 0; i < mviIndex.size() && i < mvuType.size(); ++i)
        param.ProcSetKeyType(mviIndex[i], mvuType[i]);
}

ComParamClearKey_cls::ComParamClearKey_cls(Parameters_cls* param, const std::vector<double>& values)
    : ComParamBase_cls(param), mvValue(values)
{
}

void ComParamClearKey_cls::Apply(Parameters_cls& param)
{
    param.ProcClearKey(mvValue);
}

ComParamSetTimeDependent_cls::ComParamSetTimeDependent_cls(Parameters_cls* param, bool on)
    : ComParamBase_cls(param), mbOn(on)
{
}

void ComParamSetTimeDependent_cls::Apply(Parameters_cls& param)
{
    param.ProcSetTimeDependent(mbOn);
}

ComParamMemento_cls::ComParamMemento_cls(Parameters_cls* param, const Parameters_cls::Snapshot& snapshot)
    : ComParamBase_cls(param), mCSnapshot(snapshot)
{
}

void ComParamMemento_cls::Apply(Parameters_cls& param)
{
    param.RestoreSnapshot(mCSnapshot);
}
