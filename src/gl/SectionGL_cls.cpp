#include "gl/SectionGL_cls.h"

#include "color/Coloring_cls.h"

#include <GL/gl.h>

#include <algorithm>
#include <cmath>

SectionGL_cls::~SectionGL_cls()
{
    if (muTexture != 0)
        glDeleteTextures(1, &muTexture);
}

unsigned SectionGL_cls::LayerIndex(double layer, unsigned n)
{
    if (n == 0)
        return 0;
    const double clamped = std::clamp(layer, 0.0, 1.0);
    return static_cast<unsigned>(std::floor(clamped * (n - 1) + 0.5));
}

bool SectionGL_cls::SetPlane(const std::vector<uint8_t>& plane, unsigned width, unsigned height,
                             const Coloring_cls& coloring, int colorIndex, float alpha, float threshold)
{
    if (width == 0 || height == 0 || plane.size() < static_cast<size_t>(width) * height)
        return false;
    // One table of 256 entries: the plane has only byte values.
    uint8_t table[256][4];
    const uint8_t a = static_cast<uint8_t>(std::lround(255.0f * std::clamp(alpha, 0.0f, 1.0f)));
    const int cut = static_cast<int>(std::ceil(255.0f * std::clamp(threshold, 0.0f, 1.0f)));
    for (int v = 0; v < 256; ++v) {
        float rgb[3];
        coloring.GetColor(rgb, v / 255.0f, colorIndex, true);
        for (int c = 0; c < 3; ++c)
            table[v][c] = static_cast<uint8_t>(std::lround(255.0f * std::clamp(rgb[c] * v / 255.0f, 0.0f, 1.0f)));
        table[v][3] = v >= cut ? a : 0;
    }
    mvTexel.resize(static_cast<size_t>(width) * height * 4);
    for (size_t i = 0; i < static_cast<size_t>(width) * height; ++i)
        std::copy(table[plane[i]], table[plane[i]] + 4, &mvTexel[i * 4]);
    muWidth = width;
    muHeight = height;
    mbDirty = true;
    return true;
}

bool SectionGL_cls::Draw(int axis, unsigned layerIndex, unsigned gridSize, const double scale[3])
{
    if (mvTexel.empty() || axis < 0 || axis > 2 || gridSize == 0)
        return false;
    if (muTexture == 0)
        glGenTextures(1, &muTexture);
    glPushAttrib(GL_ENABLE_BIT | GL_TEXTURE_BIT | GL_DEPTH_BUFFER_BIT | GL_COLOR_BUFFER_BIT | GL_CURRENT_BIT);
    glBindTexture(GL_TEXTURE_2D, muTexture);
    if (mbDirty) {
        glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
        // Edges clamp so the outermost voxels are not blended with the opposite side.
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_NEAREST);
        glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_NEAREST);
        glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, static_cast<GLsizei>(muWidth), static_cast<GLsizei>(muHeight), 0,
                     GL_RGBA, GL_UNSIGNED_BYTE, mvTexel.data());
        mbDirty = false;
    }
    glDisable(GL_LIGHTING);
    glDisable(GL_CULL_FACE);
    glDisable(GL_TEXTURE_3D);
    glEnable(GL_TEXTURE_2D);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glEnable(GL_DEPTH_TEST);
    glDepthMask(GL_FALSE);
    glColor4f(1.0f, 1.0f, 1.0f, 1.0f);

    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glScaled(scale[0], scale[1], scale[2]);
    // The voxel plane's centre, where the slices put it.
    const double depth = (layerIndex + 0.5) / gridSize - 0.5;
    const int s = axis == 0 ? 1 : 0; // column axis
    const int t = axis == 2 ? 1 : 2; // row axis
    const double corner[4][2] = {{0, 0}, {1, 0}, {1, 1}, {0, 1}};
    glBegin(GL_QUADS);
    for (const auto& c : corner) {
        double p[3];
        p[axis] = depth;
        p[s] = c[0] - 0.5;
        p[t] = c[1] - 0.5;
        glTexCoord2d(c[0], c[1]);
        glVertex3d(p[0], p[1], p[2]);
    }
    glEnd();
    glPopMatrix();
    glPopAttrib();
    return true;
}
