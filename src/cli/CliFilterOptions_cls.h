#pragma once
// The filter options shared by the sub-commands that run a filter chain (process, iso): each
// option becomes one configured chain item, in the order given on the command line.
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

class FilterBase_cls;
class FilterCtrl_cls;

class CliFilterOptions_cls
{
  public:
    /// The value options this class understands (without "--").
    static const std::set<std::string>& OptionNames();
    /// The help text lines of the options.
    static const char* HelpText();

    /// Takes the filter options out of `ordered` (options in command-line order); others are
    /// left alone. False with an error text for stderr when a value is not understood.
    bool Parse(const std::vector<std::pair<std::string, std::string>>& ordered);
    const std::string& Error() const { return mError; }
    /// Number of filters parsed.
    int GetFilterNumber() const { return static_cast<int>(mvStrDescription.size()); }
    /// The option text of filter i as given ("blur 2", "morph opening:sphere:3", ...).
    const std::string& GetDescription(int i) const { return mvStrDescription[static_cast<size_t>(i)]; }
    /// Appends the filters, in order, to `chain` (no history); returns the position of each.
    /// The items move into the chain: call once.
    std::vector<int> AppendTo(FilterCtrl_cls& chain);

  private:
    bool Fail(const std::string& option, const std::string& value, const char* expected);

    std::vector<std::unique_ptr<FilterBase_cls>> mvItem;
    std::vector<std::string> mvStrDescription;
    std::string mError;
};
