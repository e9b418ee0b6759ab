#pragma once
// Base of the output items that consume the data at their place in the chain (isosurface,
// cross-section, object, three-view): each keeps its own copy of that data, so that drawing and
// export can use it after the chain has moved on, and knows whether the copy changed.
#include "filter/FilterWithParameter_cls.h"

#include <cstdint>
#include <vector>

class FilterOutput_cls : public FilterWithParameter_cls
{
  public:
    /// See FilterWithParameter_cls.
    FilterOutput_cls(unsigned dimension, const std::wstring& setName, const double* defaults);

    /// Keeps a copy of the data; when it equals the copy already held (same sizes, same bytes)
    /// nothing is copied. Then OnRefresh tells the item whether the data changed.
    void RefreshFilter(const unsigned char* data, const unsigned int* sizes) override;

    /// The data as last handed over (empty before the first RefreshFilter).
    const std::vector<unsigned char>& GetDataCopy() const { return mvData; }
    /// Sizes of the copy (0 before the first RefreshFilter).
    const unsigned int* GetDataSize() const { return muSize; }
    /// Raised by one whenever the copy's contents change.
    uint64_t GetDataGeneration() const { return muGeneration; }

    /// The plane across `axis` (0..2) at `layer` (fraction 0..1 of that axis, nearest voxel
    /// plane) of the copy, row by row: across x the rows run along z and the columns along y,
    /// across y rows along z and columns along x, across z rows along y and columns along x.
    /// False without data.
    bool GetSection(int axis, double layer, std::vector<unsigned char>& plane, unsigned& width, unsigned& height) const;

  protected:
    /// Called at the end of every RefreshFilter; `changed` when the copy was replaced.
    virtual void OnRefresh(bool changed) {}

  private:
    std::vector<unsigned char> mvData;
    unsigned int muSize[3] = {0, 0, 0};
    uint64_t muGeneration = 0;
};
