#pragma once
// Base of the chain items whose settings are animated: the item owns one key-framed parameter
// set and copies the values evaluated at the frame's time into its own settings.
#include "anim/Parameters_cls.h"
#include "filter/FilterBase_cls.h"

#include <functional>
#include <string>

class LineStream_cls;

class FilterWithParameter_cls : public FilterBase_cls
{
  public:
    /// Shows a parameter set on the time line; installed by the GUI (the core has no time line).
    using TimeLineConnector = std::function<void(Parameters_cls*)>;

    /// Creates the set `setName` of `dimension` values holding `defaults` as a constant
    /// (no history: a new item starts with a clean set).
    FilterWithParameter_cls(unsigned dimension, const std::wstring& setName, const double* defaults);

    /// The key-framed set.
    Parameters_cls& GetParameters() { return mCParameters; }
    const Parameters_cls& GetParameters() const { return mCParameters; }

    /// Installs the time-line hook used by ConnectParameterToTL (empty: none). GUI thread.
    static void SetTimeLineConnector(TimeLineConnector connector);
    /// Shows this item's set on the time line (through the installed hook).
    void ConnectParameterToTL();
    /// Sets value `index` of the set's current values and of the item's settings (no key yet;
    /// SetKeyIfChanged records it). Indices outside the dimension are ignored.
    void SetParam(int index, double value);
    /// Keys the current values at `time` (-1: the current time) if they differ from the
    /// interpolated ones there: one undo step. True when a key was set.
    bool SetKeyIfChanged(double time);
    /// Evaluates the set at `time` and copies the values into the item's settings.
    void UpdateParameters(double time) override;
    /// Reads the set's text form when `firstLine` opens it; the item's settings follow the set.
    bool ReadParameters(LineStream_cls& stream, const std::wstring& firstLine);
    /// A block line: the parameter set's text form, else a settings line.
    bool ReadStrLine(LineStream_cls& stream, const std::wstring& line) override;

  protected:
    /// Copies the set's values (dimension of them) into the item's own settings.
    virtual void ApplyParameterValues(const double* values) = 0;

  private:
    Parameters_cls mCParameters;
};
