#include "cli/CliArgs_cls.h"

CliArgs_cls::CliArgs_cls(const std::vector<std::string>& args, const std::set<std::string>& valueOptions,
                         const std::set<std::string>& flagOptions)
{
    bool operandsOnly = false;
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (operandsOnly || a.size() < 3 || a.compare(0, 2, "--") != 0) {
            if (!operandsOnly && a == "--") {
                operandsOnly = true;
                continue;
            }
            mOperands.push_back(a);
            continue;
        }
        std::string name = a.substr(2), value;
        bool inlineValue = false;
        if (auto eq = name.find('='); eq != std::string::npos) {
            value = name.substr(eq + 1);
            name = name.substr(0, eq);
            inlineValue = true;
        }
        if (valueOptions.count(name)) {
            if (!inlineValue) {
                if (i + 1 >= args.size()) {
                    mError = "option '--" + name + "' requires an argument";
                    return;
                }
                value = args[++i];
            }
        } else if (flagOptions.count(name)) {
            if (inlineValue) {
                mError = "option '--" + name + "' doesn't allow an argument";
                return;
            }
        } else {
            mError = "unrecognized option '--" + name + "'";
            return;
        }
        mValues.emplace(name, value);
        mOrdered.emplace_back(name, value);
    }
}

bool CliArgs_cls::Has(const std::string& name) const
{
    return mValues.count(name) > 0;
}

std::optional<std::string> CliArgs_cls::Value(const std::string& name) const
{
    auto it = mValues.find(name);
    if (it == mValues.end())
        return std::nullopt;
    return it->second;
}

std::vector<std::string> CliArgs_cls::Values(const std::string& name) const
{
    std::vector<std::string> out;
    auto [b, e] = mValues.equal_range(name);
    for (auto it = b; it != e; ++it)
        out.push_back(it->second);
    return out;
}
