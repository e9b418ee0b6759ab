#include "pov/PovPhotons_cls.h"

#include "config/TextFormat.h"

PovPhotons_cls::PovPhotons_cls()
{
    AddItem(&mbOn, L"PovPhotons=", L"0");
    AddItem(&mfSpacing, L"PovPhotonsSpacing=", L"0.01");
    AddItem(&muMaxTrace, L"PovPhotonsMaxTrace=", L"5");
}

std::wstring PovPhotons_cls::GetPovStr() const
{
    if (!IsOn())
        return L"";
    // A spacing of 0 would ask for infinitely many photons.
    const double spacing = mfSpacing.Get() > 0.0f ? mfSpacing.Get() : 0.01;
    return WStrPrintf("\tphotons {\n\t\tspacing %g\n\t\tmax_trace_level %u\n\t}\n", spacing,
                      muMaxTrace.Get() < 1 ? 1u : muMaxTrace.Get());
}
