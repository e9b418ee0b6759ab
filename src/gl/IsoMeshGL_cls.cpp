#include "gl/IsoMeshGL_cls.h"

#include "iso/MarchingCube_cls.h"

#define GL_GLEXT_PROTOTYPES 1
#include <GL/gl.h>
#include <GL/glext.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

std::vector<IsoMeshGL_cls::SceneLight> IsoMeshGL_cls::msvLights;

namespace
{

// Buffer objects came with GL 1.5; older drivers draw from client memory.
bool HasBufferObjects()
{
    const char* version = reinterpret_cast<const char*>(glGetString(GL_VERSION));
    int major = 0, minor = 0;
    if (version == nullptr || std::sscanf(version, "%d.%d", &major, &minor) != 2)
        return false;
    return major > 1 || (major == 1 && minor >= 5);
}

// Area-weighted vertex normals pointing the way the marching cubes would point them: from the
// dense side outwards. Used only when the mesh came without normals.
std::vector<float> NormalsFromTriangles(const std::vector<float>& pos, const std::vector<uint32_t>& index)
{
    std::vector<float> n(pos.size(), 0.0f);
    for (size_t t = 0; t + 2 < index.size(); t += 3) {
        const float* a = &pos[index[t] * 3];
        const float* b = &pos[index[t + 1] * 3];
        const float* c = &pos[index[t + 2] * 3];
        const float u[3] = {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
        const float v[3] = {c[0] - a[0], c[1] - a[1], c[2] - a[2]};
        const float f[3] = {u[1] * v[2] - u[2] * v[1], u[2] * v[0] - u[0] * v[2], u[0] * v[1] - u[1] * v[0]};
        for (int k = 0; k < 3; ++k)
            for (int a3 = 0; a3 < 3; ++a3)
                n[index[t + static_cast<size_t>(k)] * 3 + static_cast<size_t>(a3)] += f[a3];
    }
    for (size_t i = 0; i + 2 < n.size(); i += 3) {
        const float len = std::sqrt(n[i] * n[i] + n[i + 1] * n[i + 1] + n[i + 2] * n[i + 2]);
        if (len > 0.0f) {
            n[i] /= len;
            n[i + 1] /= len;
            n[i + 2] /= len;
        } else {
            n[i + 2] = 1.0f;
        }
    }
    return n;
}

} // namespace

IsoMeshGL_cls::~IsoMeshGL_cls()
{
    ReleaseBuffers();
}

bool IsoMeshGL_cls::SetMesh(const MarchingCube_cls& mesh, const unsigned gridSize[3])
{
    if (!mesh.GetIndicesFull().empty())
        return SetMesh(mesh.GetPositionsFull(), mesh.HasNormals() ? mesh.GetNormalsFull() : std::vector<float>{},
                       mesh.GetIndicesFull(), gridSize);
    // Not fully welded: gather the blocks, welded ones by their lists, the others as they came.
    std::vector<float> pos, norm;
    std::vector<uint32_t> index;
    const bool normals = mesh.HasNormals();
    for (int b = 0; b < MarchingCube_cls::kBlockNum; ++b) {
        const MarchingBlock_cls& block = mesh.GetBlock(b);
        const uint32_t first = static_cast<uint32_t>(pos.size() / 3);
        if (!block.mvIndexOpt.empty()) {
            pos.insert(pos.end(), block.mvPosOpt.begin(), block.mvPosOpt.end());
            if (normals)
                norm.insert(norm.end(), block.mvNormOpt.begin(), block.mvNormOpt.end());
            for (uint32_t i : block.mvIndexOpt)
                index.push_back(first + i);
        } else if (!block.mvPos.empty()) {
            pos.insert(pos.end(), block.mvPos.begin(), block.mvPos.end());
            if (normals)
                norm.insert(norm.end(), block.mvNorm.begin(), block.mvNorm.end());
            for (uint32_t i = 0; i < block.mvPos.size() / 3; ++i)
                index.push_back(first + i);
        }
    }
    if (norm.size() != pos.size())
        norm.clear();
    return SetMesh(std::move(pos), std::move(norm), std::move(index), gridSize);
}

bool IsoMeshGL_cls::SetMesh(std::vector<float> positions, std::vector<float> normals, std::vector<uint32_t> indices,
                            const unsigned gridSize[3])
{
    Clear();
    const size_t vertices = positions.size() / 3;
    if (indices.size() < 3 || positions.size() % 3 != 0)
        return false;
    indices.resize(indices.size() / 3 * 3);
    if (std::any_of(indices.begin(), indices.end(), [&](uint32_t i) { return i >= vertices; }))
        return false;
    if (normals.size() != positions.size())
        normals = NormalsFromTriangles(positions, indices);
    // Vertex k/N of the grid is voxel k, whose slice the volume draws at (k + 0.5)/N of the box.
    double shift[3];
    for (int a = 0; a < 3; ++a)
        shift[a] = (gridSize[a] > 0 ? 0.5 / gridSize[a] : 0.0) - 0.5;
    for (size_t i = 0; i < positions.size(); ++i)
        positions[i] = static_cast<float>(positions[i] + shift[i % 3]);
    mvPos = std::move(positions);
    mvNorm = std::move(normals);
    mvIndex = std::move(indices);
    return true;
}

void IsoMeshGL_cls::Clear()
{
    ReleaseBuffers();
    mvPos.clear();
    mvNorm.clear();
    mvIndex.clear();
    ++muSerial;
}

void IsoMeshGL_cls::ReleaseBuffers()
{
    if (mbUploaded && mbUseBuffers && muBuffer[0] != 0)
        glDeleteBuffers(3, muBuffer);
    std::fill(std::begin(muBuffer), std::end(muBuffer), 0u);
    mbUploaded = false;
}

void IsoMeshGL_cls::Upload()
{
    mbUseBuffers = HasBufferObjects();
    mbUploaded = true;
    if (!mbUseBuffers)
        return;
    glGenBuffers(3, muBuffer);
    glBindBuffer(GL_ARRAY_BUFFER, muBuffer[0]);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(mvPos.size() * sizeof(float)), mvPos.data(), GL_STATIC_DRAW);
    glBindBuffer(GL_ARRAY_BUFFER, muBuffer[1]);
    glBufferData(GL_ARRAY_BUFFER, static_cast<GLsizeiptr>(mvNorm.size() * sizeof(float)), mvNorm.data(),
                 GL_STATIC_DRAW);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, muBuffer[2]);
    glBufferData(GL_ELEMENT_ARRAY_BUFFER, static_cast<GLsizeiptr>(mvIndex.size() * sizeof(uint32_t)), mvIndex.data(),
                 GL_STATIC_DRAW);
    glBindBuffer(GL_ARRAY_BUFFER, 0);
    glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    if (glGetError() != GL_NO_ERROR) {
        // A driver that announces buffers but cannot hold these: fall back to client memory.
        glDeleteBuffers(3, muBuffer);
        std::fill(std::begin(muBuffer), std::end(muBuffer), 0u);
        mbUseBuffers = false;
    }
}

void IsoMeshGL_cls::DrawElements()
{
    const GLsizei count = static_cast<GLsizei>(mvIndex.size());
    if (mbUseBuffers) {
        glBindBuffer(GL_ARRAY_BUFFER, muBuffer[0]);
        glVertexPointer(3, GL_FLOAT, 0, nullptr);
        glBindBuffer(GL_ARRAY_BUFFER, muBuffer[1]);
        glNormalPointer(GL_FLOAT, 0, nullptr);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, muBuffer[2]);
        glDrawElements(GL_TRIANGLES, count, GL_UNSIGNED_INT, nullptr);
        glBindBuffer(GL_ARRAY_BUFFER, 0);
        glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, 0);
    } else {
        glVertexPointer(3, GL_FLOAT, 0, mvPos.data());
        glNormalPointer(GL_FLOAT, 0, mvNorm.data());
        glDrawElements(GL_TRIANGLES, count, GL_UNSIGNED_INT, mvIndex.data());
    }
}

bool IsoMeshGL_cls::Draw(const float rgb[3], float alpha, const double scale[3])
{
    if (mvIndex.empty())
        return false;
    if (!mbUploaded)
        Upload();
    alpha = std::clamp(alpha, 0.0f, 1.0f);
    if (alpha <= 0.0f)
        return false;

    glPushAttrib(GL_ENABLE_BIT | GL_LIGHTING_BIT | GL_DEPTH_BUFFER_BIT | GL_COLOR_BUFFER_BIT | GL_CURRENT_BIT |
                 GL_POLYGON_BIT | GL_TEXTURE_BIT);
    glPushClientAttrib(GL_CLIENT_VERTEX_ARRAY_BIT);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_TEXTURE_3D);
    glDisable(GL_CULL_FACE);
    glEnable(GL_DEPTH_TEST);

    const GLfloat ambient[4] = {0.25f, 0.25f, 0.25f, 1.0f};
    if (msvLights.empty()) {
        // A headlight: set with an identity modelview so it stays at the eye whatever the camera.
        glMatrixMode(GL_MODELVIEW);
        glPushMatrix();
        glLoadIdentity();
        const GLfloat eyeDir[4] = {0.0f, 0.0f, 1.0f, 0.0f};
        const GLfloat white[4] = {0.85f, 0.85f, 0.85f, 1.0f};
        glLightfv(GL_LIGHT0, GL_POSITION, eyeDir);
        glLightfv(GL_LIGHT0, GL_DIFFUSE, white);
        glLightfv(GL_LIGHT0, GL_AMBIENT, ambient);
        glPopMatrix();
        glEnable(GL_LIGHT0);
    } else {
        // The scene's own lights, placed with the camera's modelview as the markers are; their
        // colours are what the export writes (colour times energy), seen through the 0..1 range.
        const size_t n = std::min(msvLights.size(), kMaxLights);
        for (size_t i = 0; i < n; ++i) {
            const SceneLight& light = msvLights[i];
            const GLenum id = GL_LIGHT0 + static_cast<GLenum>(i);
            const GLfloat w = light.uKind == 2 ? 0.0f : 1.0f;
            const GLfloat pos[4] = {static_cast<GLfloat>(light.dPos[0]), static_cast<GLfloat>(light.dPos[1]),
                                    static_cast<GLfloat>(light.dPos[2]), w};
            GLfloat diffuse[4] = {1, 1, 1, 1};
            for (int c = 0; c < 3; ++c)
                diffuse[c] = std::clamp(std::isfinite(light.fRgb[c]) ? light.fRgb[c] : 0.0f, 0.0f, 1.0f);
            const GLfloat none[4] = {0, 0, 0, 1};
            glLightfv(id, GL_POSITION, pos);
            glLightfv(id, GL_DIFFUSE, diffuse);
            glLightfv(id, GL_SPECULAR, none);
            glLightfv(id, GL_AMBIENT, i == 0 ? ambient : none);
            if (light.uKind == 1) {
                // Aimed at the origin with the export's falloff angle.
                const GLfloat dir[3] = {-pos[0], -pos[1], -pos[2]};
                glLightfv(id, GL_SPOT_DIRECTION, dir);
                glLightf(id, GL_SPOT_CUTOFF, 30.0f);
                glLightf(id, GL_SPOT_EXPONENT, 2.0f);
            } else {
                glLightf(id, GL_SPOT_CUTOFF, 180.0f);
            }
            glEnable(id);
        }
    }
    glEnable(GL_LIGHTING);
    glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, GL_TRUE);
    glEnable(GL_COLOR_MATERIAL);
    glColorMaterial(GL_FRONT_AND_BACK, GL_AMBIENT_AND_DIFFUSE);
    // The box scale need not be uniform; the normals are scaled with it and made unit again.
    glEnable(GL_NORMALIZE);

    glPushMatrix();
    glScaled(scale[0], scale[1], scale[2]);
    glEnableClientState(GL_VERTEX_ARRAY);
    glEnableClientState(GL_NORMAL_ARRAY);
    glColor4f(rgb[0], rgb[1], rgb[2], alpha);
    if (alpha >= 1.0f) {
        glDisable(GL_BLEND);
        glDepthMask(GL_TRUE);
        glDepthFunc(GL_LESS);
        DrawElements();
    } else {
        // Depth of the nearest layer first, then its colour blended where the depth matches.
        glDepthMask(GL_TRUE);
        glDepthFunc(GL_LESS);
        glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
        DrawElements();
        glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        glDepthMask(GL_FALSE);
        glDepthFunc(GL_LEQUAL);
        glEnable(GL_BLEND);
        glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
        DrawElements();
    }
    glPopMatrix();
    glPopClientAttrib();
    glPopAttrib();
    return true;
}
