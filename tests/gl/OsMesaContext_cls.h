#pragma once
// An off-screen OpenGL context in Mesa's software renderer (OSMesa), so the drawing code can be
// run and its pixels read back without a display. Test and benchmark support only: the program
// that uses it must link libOSMesa before libGL, so that the gl* entry points are OSMesa's.
#include <cstdint>
#include <vector>

class OsMesaContext_cls
{
  public:
    /// Creates an RGBA context of width x height pixels with a depth buffer and makes it
    /// current. IsValid() tells whether that worked.
    OsMesaContext_cls(int width, int height);
    ~OsMesaContext_cls();
    OsMesaContext_cls(const OsMesaContext_cls&) = delete;
    OsMesaContext_cls& operator=(const OsMesaContext_cls&) = delete;

    bool IsValid() const { return mpContext != nullptr && mbCurrent; }
    int GetWidth() const { return miWidth; }
    int GetHeight() const { return miHeight; }
    /// Makes the context current again (after another context was used).
    bool MakeCurrent();
    /// Finishes drawing and returns the picture as RGB rows from top to bottom.
    std::vector<uint8_t> ReadRGB() const;

  private:
    void* mpContext = nullptr;
    std::vector<uint8_t> mvBuffer;
    int miWidth;
    int miHeight;
    bool mbCurrent = false;
};
