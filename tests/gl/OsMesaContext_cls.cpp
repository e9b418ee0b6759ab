#include "OsMesaContext_cls.h"

#include <GL/gl.h>
#include <GL/osmesa.h>

#include <cstddef>

OsMesaContext_cls::OsMesaContext_cls(int width, int height) : miWidth(width), miHeight(height)
{
    // A compatibility context: the drawing uses the fixed-function pipeline.
    const int attribs[] = {OSMESA_FORMAT,
                           OSMESA_RGBA,
                           OSMESA_DEPTH_BITS,
                           24,
                           OSMESA_PROFILE,
                           OSMESA_COMPAT_PROFILE,
                           OSMESA_CONTEXT_MAJOR_VERSION,
                           2,
                           OSMESA_CONTEXT_MINOR_VERSION,
                           1,
                           0};
    OSMesaContext ctx = OSMesaCreateContextAttribs(attribs, nullptr);
    if (!ctx)
        ctx = OSMesaCreateContextExt(OSMESA_RGBA, 24, 0, 0, nullptr);
    mpContext = ctx;
    mvBuffer.assign(static_cast<size_t>(width) * height * 4, 0);
    MakeCurrent();
}

OsMesaContext_cls::~OsMesaContext_cls()
{
    if (mpContext)
        OSMesaDestroyContext(static_cast<OSMesaContext>(mpContext));
}

bool OsMesaContext_cls::MakeCurrent()
{
    mbCurrent = mpContext && OSMesaMakeCurrent(static_cast<OSMesaContext>(mpContext), mvBuffer.data(), GL_UNSIGNED_BYTE,
                                               miWidth, miHeight);
    return mbCurrent;
}

std::vector<uint8_t> OsMesaContext_cls::ReadRGB() const
{
    std::vector<uint8_t> rows(static_cast<size_t>(miWidth) * miHeight * 3);
    std::vector<uint8_t> rgba(static_cast<size_t>(miWidth) * miHeight * 4);
    glFinish();
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, miWidth, miHeight, GL_RGBA, GL_UNSIGNED_BYTE, rgba.data());
    // GL rows run bottom to top; pictures are kept top to bottom.
    for (int y = 0; y < miHeight; ++y)
        for (int x = 0; x < miWidth; ++x)
            for (int c = 0; c < 3; ++c)
                rows[(static_cast<size_t>(y) * miWidth + x) * 3 + c] =
                    rgba[(static_cast<size_t>(miHeight - 1 - y) * miWidth + x) * 4 + c];
    return rows;
}
