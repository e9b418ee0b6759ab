#include "gui/IdleBenchLog_cls.h"

#include "config/TextFormat.h"

#include <algorithm>
#include <fstream>

IdleBenchLog_cls::Summary IdleBenchLog_cls::Summarise() const
{
    Summary s;
    s.uPasses = mvPassUs.size();
    if (!mvPassUs.empty()) {
        std::vector<int64_t> sorted = mvPassUs;
        std::sort(sorted.begin(), sorted.end());
        // Nearest-rank percentiles: the value below which the given share of passes lies.
        auto rank = [&](double p) {
            size_t k = static_cast<size_t>(p * static_cast<double>(sorted.size()) + 0.999999);
            k = std::clamp<size_t>(k, 1, sorted.size());
            return static_cast<double>(sorted[k - 1]) / 1000.0;
        };
        s.dMedianMs = rank(0.5);
        s.dP95Ms = rank(0.95);
        s.dMaxMs = static_cast<double>(sorted.back()) / 1000.0;
        s.uOver50 =
            static_cast<size_t>(std::count_if(sorted.begin(), sorted.end(), [](int64_t us) { return us > 50000; }));
    }
    s.uFrames = mvFrames.size();
    if (mvFrames.size() >= 2) {
        const double span = mvFrames.back().dMs - mvFrames.front().dMs;
        if (span > 0)
            s.dFps = static_cast<double>(mvFrames.size() - 1) * 1000.0 / span;
    }
    return s;
}

std::string IdleBenchLog_cls::SummaryLine(const Summary& s)
{
    return StrPrintf("summary passes=%zu median_ms=%.3f p95_ms=%.3f max_ms=%.3f over50=%zu frames=%zu fps=%.2f",
                     s.uPasses, s.dMedianMs, s.dP95Ms, s.dMaxMs, s.uOver50, s.uFrames, s.dFps);
}

bool IdleBenchLog_cls::Write() const
{
    std::ofstream out(mStrPath, std::ios::binary | std::ios::trunc);
    if (!out)
        return false;
    for (size_t i = 0; i < mvPassUs.size(); ++i)
        out << "pass " << mvPassUs[i] << (mvPassKind[i][0] != '\0' ? " " : "") << mvPassKind[i]
            << (mvPassStage[i][0] != '\0' ? " " : "") << mvPassStage[i] << "\n";
    for (const FrameRecord& f : mvFrames)
        out << StrPrintf("frame %.3f %d\n", f.dMs, f.iIndex);
    out << SummaryLine(Summarise()) << "\n";
    return static_cast<bool>(out);
}
