#include "filter/FilterWithParameter_cls.h"

#include <vector>

namespace
{
FilterWithParameter_cls::TimeLineConnector& Connector()
{
    static FilterWithParameter_cls::TimeLineConnector sConnector;
    return sConnector;
}
} // namespace

FilterWithParameter_cls::FilterWithParameter_cls(unsigned dimension, const std::wstring& setName,
                                                 const double* defaults)
    : mCParameters(dimension, setName)
{
    mCParameters.ProcClearKey(std::vector<double>(defaults, defaults + dimension));
    mCParameters.GetPInterpolatedValue(0.0);
}

void FilterWithParameter_cls::SetTimeLineConnector(TimeLineConnector connector)
{
    Connector() = std::move(connector);
}

void FilterWithParameter_cls::ConnectParameterToTL()
{
    if (Connector())
        Connector()(&mCParameters);
}

void FilterWithParameter_cls::SetParam(int index, double value)
{
    if (index < 0 || static_cast<unsigned>(index) >= mCParameters.GetDimension())
        return;
    mCParameters.GetPCurrentValue()[index] = value;
    ApplyParameterValues(mCParameters.GetPCurrentValue());
}

bool FilterWithParameter_cls::SetKeyIfChanged(double time)
{
    return mCParameters.SetKeyIfChanged(time, false);
}

void FilterWithParameter_cls::UpdateParameters(double time)
{
    ApplyParameterValues(mCParameters.GetPInterpolatedValue(time));
}

bool FilterWithParameter_cls::ReadParameters(LineStream_cls& stream, const std::wstring& firstLine)
{
    if (!mCParameters.ReadStrLine(stream, firstLine))
        return false;
    ApplyParameterValues(mCParameters.GetPInterpolatedValue(-1.0));
    return true;
}

bool FilterWithParameter_cls::ReadStrLine(LineStream_cls& stream, const std::wstring& line)
{
    if (ReadParameters(stream, line))
        return true;
    return FilterBase_cls::ReadStrLine(stream, line);
}
