#pragma once
// GNU-style argument scanning for the sub-commands: "--name value", "--name=value", flags,
// and positional operands (everything after "--" is an operand).
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

class CliArgs_cls
{
  public:
    /// valueOptions: options that take a value (without "--"); flagOptions: options that do not.
    /// Repeated value options keep every value in order.
    CliArgs_cls(const std::vector<std::string>& args, const std::set<std::string>& valueOptions,
                const std::set<std::string>& flagOptions);
    /// Empty when the arguments were understood, else the error text for stderr.
    const std::string& Error() const { return mError; }
    bool Has(const std::string& name) const;
    std::optional<std::string> Value(const std::string& name) const;
    std::vector<std::string> Values(const std::string& name) const;
    const std::vector<std::string>& Operands() const { return mOperands; }
    /// Options and values in the order given (for commands where order matters, e.g. filters).
    const std::vector<std::pair<std::string, std::string>>& Ordered() const { return mOrdered; }

  private:
    std::string mError;
    std::multimap<std::string, std::string> mValues;
    std::vector<std::pair<std::string, std::string>> mOrdered;
    std::vector<std::string> mOperands;
};
