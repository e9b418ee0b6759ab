#include "cli/CliFilterOptions_cls.h"

#include "config/TextFormat.h"
#include "filter/BlurGauss_cls.h"
#include "filter/DataRotate_cls.h"
#include "filter/FilterCtrl_cls.h"
#include "filter/InvDiffuse_cls.h"
#include "filter/LayerColorCurve_cls.h"
#include "filter/LevelAndGamma_cls.h"
#include "filter/MorphOpenClose_cls.h"

#include <cmath>
#include <cstdlib>
#include <locale.h>
#include <sstream>

namespace
{

std::vector<std::string> Split(const std::string& text, char sep)
{
    std::vector<std::string> parts;
    std::stringstream in(text);
    for (std::string part; std::getline(in, part, sep);)
        parts.push_back(part);
    if (!text.empty() && text.back() == sep)
        parts.push_back("");
    return parts;
}

/// A finite number in the C locale, the whole text.
bool Number(const std::string& text, double& value)
{
    // Plain decimal notation only (no hex, inf or nan), read in the C locale.
    if (text.empty() || text.find_first_not_of("0123456789+-.eE") != std::string::npos ||
        text.find_first_of("0123456789") == std::string::npos)
        return false;
    static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", static_cast<locale_t>(0));
    char* end = nullptr;
    value = strtod_l(text.c_str(), &end, cLocale);
    return end && *end == '\0' && std::isfinite(value);
}

bool Integer(const std::string& text, long lo, long hi, int& value)
{
    if (text.empty() || text.find_first_not_of("0123456789") != std::string::npos || text.size() > 9)
        return false;
    const long v = ParseLong(text);
    if (v < lo || v > hi)
        return false;
    value = static_cast<int>(v);
    return true;
}

bool Numbers(const std::string& text, size_t count, std::vector<double>& values)
{
    const std::vector<std::string> parts = Split(text, ',');
    if (parts.size() != count)
        return false;
    values.assign(count, 0.0);
    for (size_t i = 0; i < count; ++i)
        if (!Number(parts[i], values[i]))
            return false;
    return true;
}

} // namespace

const std::set<std::string>& CliFilterOptions_cls::OptionNames()
{
    static const std::set<std::string> kNames = {"blur", "blur-float", "morph", "level", "curve", "sharpen", "rotate"};
    return kNames;
}

const char* CliFilterOptions_cls::HelpText()
{
    return "Filters (applied in the order given; each may be repeated):\n"
           "  --blur S | SX,SY,SZ    Gaussian blur; S acts as the variance in voxels^2\n"
           "                         (kernel radius trunc(S)+1); three values blur each axis\n"
           "                         on its own; voxels near the border keep their value\n"
           "  --blur-float S | SX,SY,SZ\n"
           "                         the same with float intermediate passes\n"
           "  --morph OP[:sphere:R|:ellipsoid:RX,RY,RZ]\n"
           "                         grey-scale morphology; OP is dilation, erosion, opening,\n"
           "                         closing, opening4 (EEDD) or closing4 (DDEE); radii 0..12,\n"
           "                         default a sphere of radius 1\n"
           "  --level INMIN,INMAX,OUTMIN,OUTMAX,GAMMA,OFFSET[,smooth]\n"
           "                         level and gamma on normalised densities (0..1)\n"
           "  --curve X0:Y0,X1:Y1,...\n"
           "                         density curve through the points (normalised 0..1),\n"
           "                         straight between them and flat beyond the ends\n"
           "  --sharpen STRENGTH,STEPS\n"
           "                         inverse diffusion: STEPS (1..64) reversed heat steps\n"
           "  --rotate AXIS,DEGREES  rotate about the x, y or z axis through the centre\n"
           "                         (trilinear; what comes from outside is 0)\n";
}

bool CliFilterOptions_cls::Fail(const std::string& option, const std::string& value, const char* expected)
{
    mError = "invalid --" + option + " '" + value + "' (expected " + expected + ")";
    return false;
}

bool CliFilterOptions_cls::Parse(const std::vector<std::pair<std::string, std::string>>& ordered)
{
    for (const auto& [name, value] : ordered) {
        if (!OptionNames().count(name))
            continue;
        std::unique_ptr<FilterBase_cls> item;
        if (name == "blur" || name == "blur-float") {
            auto blur = std::make_unique<BlurGauss_cls>();
            std::vector<double> v;
            if (Numbers(value, 1, v) && v[0] >= 0.0) {
                blur->GetData().muKernelType.Set(0);
                blur->GetData().mfKernelSize.Set(static_cast<float>(v[0]));
            } else if (Numbers(value, 3, v) && v[0] >= 0.0 && v[1] >= 0.0 && v[2] >= 0.0) {
                blur->GetData().muKernelType.Set(1);
                for (int a = 0; a < 3; ++a)
                    blur->GetData().mvfAssymSize.Set(a, static_cast<float>(v[static_cast<size_t>(a)]));
            } else {
                return Fail(name, value, "S or SX,SY,SZ with numbers >= 0");
            }
            blur->GetData().mbFloatVariant.Set(name == "blur-float");
            item = std::move(blur);
        } else if (name == "morph") {
            static const char* const kOps[] = {"dilation", "erosion", "opening", "closing", "opening4", "closing4"};
            const std::vector<std::string> parts = Split(value, ':');
            auto morph = std::make_unique<MorphOpenClose_cls>();
            int op = -1;
            for (int k = 0; k < 6; ++k)
                if (!parts.empty() && parts[0] == kOps[k])
                    op = k;
            const char* expected = "OP[:sphere:R|:ellipsoid:RX,RY,RZ] with OP among dilation, erosion, opening, "
                                   "closing, opening4, closing4 and radii 0..12";
            if (op < 0 || (parts.size() != 1 && parts.size() != 3))
                return Fail(name, value, expected);
            morph->GetData().miType.Set(op);
            if (parts.size() == 3) {
                if (parts[1] == "sphere") {
                    int r = 0;
                    if (!Integer(parts[2], 0, 12, r))
                        return Fail(name, value, expected);
                    morph->GetData().miKernelType.Set(0);
                    morph->GetData().miKernelSize.Set(r);
                } else if (parts[1] == "ellipsoid") {
                    const std::vector<std::string> r = Split(parts[2], ',');
                    int rr[3];
                    if (r.size() != 3 || !Integer(r[0], 0, 12, rr[0]) || !Integer(r[1], 0, 12, rr[1]) ||
                        !Integer(r[2], 0, 12, rr[2]))
                        return Fail(name, value, expected);
                    morph->GetData().miKernelType.Set(1);
                    for (int a = 0; a < 3; ++a)
                        morph->GetData().mviAsymSize.Set(a, rr[a]);
                } else {
                    return Fail(name, value, expected);
                }
            }
            item = std::move(morph);
        } else if (name == "level") {
            std::vector<std::string> parts = Split(value, ',');
            bool smooth = false;
            if (parts.size() == 7 && parts[6] == "smooth") {
                smooth = true;
                parts.pop_back();
            }
            std::vector<double> v(6);
            bool ok = parts.size() == 6;
            for (size_t i = 0; ok && i < 6; ++i)
                ok = Number(parts[i], v[i]);
            if (!ok)
                return Fail(name, value, "INMIN,INMAX,OUTMIN,OUTMAX,GAMMA,OFFSET[,smooth]");
            auto level = std::make_unique<LevelAndGamma_cls>();
            level->GetData().mbLevelSmooth.Set(smooth);
            level->GetParameters().ProcClearKey(v);
            level->UpdateParameters(0.0);
            item = std::move(level);
        } else if (name == "curve") {
            std::vector<std::pair<double, double>> points;
            for (const std::string& p : Split(value, ',')) {
                const std::vector<std::string> xy = Split(p, ':');
                double x = 0, y = 0;
                if (xy.size() != 2 || !Number(xy[0], x) || !Number(xy[1], y))
                    return Fail(name, value, "X0:Y0,X1:Y1,... with numbers");
                points.emplace_back(x, y);
            }
            auto curve = std::make_unique<LayerColorCurve_cls>();
            curve->SetPoints(points);
            item = std::move(curve);
        } else if (name == "sharpen") {
            const std::vector<std::string> parts = Split(value, ',');
            double s = 0;
            int steps = 0;
            if (parts.size() != 2 || !Number(parts[0], s) || s < 0.0 ||
                !Integer(parts[1], 1, InvDiffuse_cls::kMaxStep, steps))
                return Fail(name, value, "STRENGTH,STEPS with STRENGTH >= 0 and STEPS 1..64");
            auto sharpen = std::make_unique<InvDiffuse_cls>();
            sharpen->GetData().mfStrength.Set(static_cast<float>(s));
            sharpen->GetData().miStep.Set(steps);
            item = std::move(sharpen);
        } else if (name == "rotate") {
            const std::vector<std::string> parts = Split(value, ',');
            double degree = 0;
            const int axis = parts.size() == 2 ? (parts[0] == "x"   ? 0
                                                  : parts[0] == "y" ? 1
                                                  : parts[0] == "z" ? 2
                                                                    : -1)
                                               : -1;
            if (axis < 0 || !Number(parts[1], degree))
                return Fail(name, value, "AXIS,DEGREES with AXIS x, y or z");
            auto rotate = std::make_unique<DataRotate_cls>();
            rotate->GetData().miAxis.Set(axis);
            rotate->GetParameters().ProcClearKey({degree});
            rotate->UpdateParameters(0.0);
            item = std::move(rotate);
        }
        mvItem.push_back(std::move(item));
        mvStrDescription.push_back(name + " " + value);
    }
    return true;
}

std::vector<int> CliFilterOptions_cls::AppendTo(FilterCtrl_cls& chain)
{
    std::vector<int> positions;
    for (auto& item : mvItem)
        positions.push_back(chain.AddToList(-1, std::move(item)));
    mvItem.clear();
    return positions;
}
