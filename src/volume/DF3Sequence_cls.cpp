#include "volume/DF3Sequence_cls.h"

#include "config/UserPrompt_cls.h"

#include <cstring>

DF3Sequence_cls::DF3Sequence_cls()
{
    mCConfList.Add(&mCDownSizeSRC, L"DownSizeSRC=", L"1 1 1");
}

uint32_t DF3Sequence_cls::GetDownSizeSRC(int axis) const
{
    uint32_t f = mCDownSizeSRC.Get(axis);
    return f == 0 ? 1 : f;
}

void DF3Sequence_cls::SetDownSizeSRC(int axis, uint32_t factor)
{
    mCDownSizeSRC.Set(axis, factor);
}

UserPrompt_cls* DF3Sequence_cls::GetMessageParent() const
{
    return mpMessageParent ? mpMessageParent : GetUserPrompt();
}

void DF3Sequence_cls::SetRemap(bool active, float factor)
{
    mbRemap = active;
    mfRemapFactor = factor;
}

bool DF3Sequence_cls::ProcessXYZData(uint8_t* out, const uint8_t* in, const uint32_t* size, bool blend, float factor,
                                     const uint8_t* next)
{
    if (!out || !in)
        return false;
    size_t n = static_cast<size_t>(size[0]) * size[1] * size[2];
    if (blend && factor != 0.0f && next) {
        // Single precision and truncation, as the filter chain will blend.
        const float keep = 1.0f - factor;
        for (size_t i = 0; i < n; ++i) {
            float v = static_cast<float>(in[i]) * keep + static_cast<float>(next[i]) * factor;
            // A factor outside 0..1 must not turn into an undefined float-to-byte conversion.
            v = v < 0.0f ? 0.0f : (v > 255.0f ? 255.0f : v);
            out[i] = static_cast<uint8_t>(v);
        }
        return true;
    }
    if (out != in)
        std::memcpy(out, in, n);
    return true;
}
