#include "volume/MyEndian.h"

#include <utility>

void MyEndian::SwapByte(void* p, unsigned size)
{
    auto* b = static_cast<uint8_t*>(p);
    for (unsigned i = 0, j = size; i + 1 < j; ++i, --j)
        std::swap(b[i], b[j - 1]);
}
